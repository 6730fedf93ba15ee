// All object locks there are, in a list that a fork takes first and walks then.
#include "kernel/system/ObjectLock.h"

#include "kernel/system/WordMutex.h"
#include "platform/platform.h"

namespace vk {

class ObjectLocks : ForkGuard {
public:
    constexpr ObjectLocks() noexcept : ForkGuard{&enter_fork, &leave_fork} {}

    void add(ObjectLock& lock) noexcept
    {
        if (!known.load(std::memory_order_acquire))
            platform::guard_forks(*this);
        const std::lock_guard guard(mutex_);
        lock.next_ = first_;
        lock.link_ = &first_;
        if (first_)
            first_->link_ = &lock.next_;
        first_ = &lock;
    }

    void remove(ObjectLock& lock) noexcept
    {
        const std::lock_guard guard(mutex_);
        *lock.link_ = lock.next_;
        if (lock.next_)
            lock.next_->link_ = lock.link_;
    }

private:
    static void enter_fork(ForkGuard& self) noexcept
    {
        auto& all = static_cast<ObjectLocks&>(self);
        all.mutex_.lock();
        for (ObjectLock* lock = all.first_; lock; lock = lock->next_)
            lock->lock();
    }
    static void leave_fork(ForkGuard& self, bool) noexcept
    {
        auto& all = static_cast<ObjectLocks&>(self);
        for (ObjectLock* lock = all.first_; lock; lock = lock->next_)
            lock->unlock();
        all.mutex_.unlock();
    }

    WordMutex mutex_;
    ObjectLock* first_ = nullptr;
};

namespace {

constinit ObjectLocks g_all;

} // namespace

ObjectLock::ObjectLock() noexcept
{
    g_all.add(*this);
}

ObjectLock::~ObjectLock()
{
    g_all.remove(*this);
}

} // namespace vk
