// The lock of what the whole library shares: a mutex that is free, and what it protects whole, in a copy of the process
// too. Held for a few instructions or one call of the system, never while another is taken or a callback runs.
//
// An object of static storage, constant-initialised and never destroyed, so that it may be used at any time. Every
// lock of that kind is one of these; objects that have a lock each bring a guard of their own (storage/SuperBands.cpp).
#pragma once

#include "kernel/system/WordMutex.h"
#include "platform/platform.h"

#include <atomic>
#include <mutex>

namespace vk {

class LibraryLock : ForkGuard {
public:
    /// `in_child`, if any, runs in each copy of the process, before the lock is free there.
    constexpr explicit LibraryLock(void (*in_child)() noexcept) noexcept
        : ForkGuard{&enter_fork, &leave_fork}, in_child_(in_child)
    {}
    constexpr LibraryLock() noexcept : LibraryLock(nullptr) {}
    LibraryLock(const LibraryLock&) = delete;
    LibraryLock& operator=(const LibraryLock&) = delete;

    void lock() noexcept
    {
        if (!known.load(std::memory_order_acquire))
            platform::guard_forks(*this);
        mutex_.lock();
    }
    void unlock() noexcept { mutex_.unlock(); }

private:
    static void enter_fork(ForkGuard& self) noexcept { static_cast<LibraryLock&>(self).mutex_.lock(); }
    static void leave_fork(ForkGuard& self, bool is_child) noexcept
    {
        auto& lock = static_cast<LibraryLock&>(self);
        if (is_child && lock.in_child_)
            lock.in_child_();
        lock.mutex_.unlock();
    }

    WordMutex mutex_;
    void (*in_child_)() noexcept;
};

} // namespace vk
