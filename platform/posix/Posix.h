// Private header of the POSIX back end: what its files share.
//
// Only the files in this folder and the tests of what cannot be reached through platform.h include it.
#pragma once

#include "platform/platform.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <pthread.h>

namespace vk::backend::posix {

/// The status of an errno value; the only place that translates one.
Status to_status(int error) noexcept;
/// The status of the call that just failed.
Status last_status() noexcept;

/// Room for a file name in UTF-8, with its final zero.
constexpr size_t kMaxPath = PATH_MAX;

/// Converts a wide string to UTF-8. bad_name: null, not Unicode, or longer than `room` with its zero.
Status to_utf8(const wchar_t* text, char* utf8, size_t room) noexcept;
/// Converts UTF-8 to a wide string. bad_name: not UTF-8; too_long: more than `room` characters with its zero.
Status from_utf8(const char* utf8, wchar_t* text, size_t room) noexcept;

/// disk_full when a file may not reach `end` bytes. A write past the limit would raise SIGXFSZ, whose default action
/// ends the process, so callers ask first.
Status check_size_limit(int64_t end) noexcept;

/// Backs [offset, end) with zeros where the file has none of its own, on file systems that cannot do it themselves.
Status reserve_by_writing(int file, int64_t offset, int64_t end) noexcept;

/// Says, for as long as it lives, that the calling thread waits. Where that is an item of the pool, another thread
/// takes its place meanwhile.
class ItemWaits {
public:
    ItemWaits() noexcept;
    ~ItemWaits();
    ItemWaits(const ItemWaits&) = delete;
    ItemWaits& operator=(const ItemWaits&) = delete;

private:
    bool is_item_;
};

/// A mutex of static storage that is free in a copy of the process, whoever held it. Nothing else is locked under it.
class Mutex : ForkGuard {
public:
    constexpr Mutex() noexcept : ForkGuard{&enter_fork, &leave_fork} {}
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept
    {
        if (!known.load(std::memory_order_acquire))
            guard_forks(*this);
        pthread_mutex_lock(&mutex_);
    }
    bool try_lock() noexcept
    {
        if (!known.load(std::memory_order_acquire))
            guard_forks(*this);
        return pthread_mutex_trylock(&mutex_) == 0;
    }
    void unlock() noexcept { pthread_mutex_unlock(&mutex_); }

private:
    static void enter_fork(ForkGuard& self) noexcept { pthread_mutex_lock(&static_cast<Mutex&>(self).mutex_); }
    static void leave_fork(ForkGuard& self, bool) noexcept { pthread_mutex_unlock(&static_cast<Mutex&>(self).mutex_); }

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// A time of the monotonic clock.
timespec time_from_now(uint32_t milliseconds) noexcept;

} // namespace vk::backend::posix
