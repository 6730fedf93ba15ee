// The lock of one object of which there may be many, made and destroyed with it: like a LibraryLock it is free, and
// what it protects whole, in a copy of the process. Nothing else of the library is locked, made or destroyed under it.
#pragma once

#include <mutex>

namespace vk {

class ObjectLock {
public:
    ObjectLock() noexcept;
    ~ObjectLock();
    ObjectLock(const ObjectLock&) = delete;
    ObjectLock& operator=(const ObjectLock&) = delete;

    void lock() noexcept { mutex_.lock(); }
    void unlock() noexcept { mutex_.unlock(); }

private:
    friend class ObjectLocks;

    std::mutex mutex_;
    ObjectLock* next_ = nullptr;
    ObjectLock** link_ = nullptr; ///< what points to this one
};

} // namespace vk
