// VKReaderWriterLock and its guard. A hold is released once: copies of a guard take it over. Copies of a lock are locks
// of their own, since a system lock must stay where it is.
#include "Vkrecord.h"
#include "Vkthreading.h"

#include "kernel/threading/Tools.h"
#include "platform/platform.h"

#include <utility>

using namespace vk;

VKReaderWriterLockItem::VKReaderWriterLockItem() noexcept : lock_(nullptr), shared_(0) {}

VKReaderWriterLockItem::VKReaderWriterLockItem(VKReaderWriterLock* pLock, int shared) noexcept
    : lock_(pLock != nullptr && pLock->created_ != 0 ? pLock : nullptr), shared_(shared != 0 ? 1 : 0)
{
    if (lock_ != nullptr)
        platform::lock_acquire(lock_->storage_, shared_ != 0);
}

VKReaderWriterLockItem::VKReaderWriterLockItem(const VKReaderWriterLockItem& other) noexcept
    : lock_(std::exchange(other.lock_, nullptr)), shared_(other.shared_)
{}

VKReaderWriterLockItem& VKReaderWriterLockItem::operator=(const VKReaderWriterLockItem& other) noexcept
{
    VKReaderWriterLockItem taken(other);
    std::swap(lock_, taken.lock_);
    std::swap(shared_, taken.shared_);
    return *this;
}

VKReaderWriterLockItem::~VKReaderWriterLockItem()
{
    if (lock_ == nullptr)
        return;
    if (shared_ != 0)
        lock_->ReleaseReaderLock();
    else
        lock_->Unlock();
}

VKReaderWriterLock::VKReaderWriterLock() noexcept : storage_{}, created_(0) {}

VKReaderWriterLock::VKReaderWriterLock(const VKReaderWriterLock& other) noexcept : storage_{}, created_(0)
{
    if (other.created_ != 0)
        Create();
}

VKReaderWriterLock& VKReaderWriterLock::operator=(const VKReaderWriterLock& other) noexcept
{
    if (this != &other) {
        Destroy();
        if (other.created_ != 0)
            Create();
    }
    return *this;
}

VKReaderWriterLock::~VKReaderWriterLock()
{
    Destroy();
}

int VKReaderWriterLock::Create() noexcept
{
    Destroy();
    prepare_locks();
    if (platform::lock_create(storage_) != Status::ok)
        return -1;
    created_ = 1;
    return 1;
}

void VKReaderWriterLock::Destroy() noexcept
{
    if (std::exchange(created_, 0) != 0)
        platform::lock_destroy(storage_);
}

int VKReaderWriterLock::IsCreated() const noexcept
{
    return created_;
}

VKReaderWriterLockItem VKReaderWriterLock::AcquireReaderLock() noexcept
{
    return VKReaderWriterLockItem(this, 1);
}

VKReaderWriterLockItem VKReaderWriterLock::AcquireReaderLock(int acquire) noexcept
{
    return VKReaderWriterLockItem(acquire != 0 ? this : nullptr, 1);
}

VKReaderWriterLockItem VKReaderWriterLock::AcquireWriterLock() noexcept
{
    return VKReaderWriterLockItem(this, 0);
}

VKReaderWriterLockItem VKReaderWriterLock::AcquireWriterLock(int acquire) noexcept
{
    return VKReaderWriterLockItem(acquire != 0 ? this : nullptr, 0);
}

void VKReaderWriterLock::Lock() noexcept
{
    if (created_ != 0)
        platform::lock_acquire(storage_, false);
}

void VKReaderWriterLock::Unlock() noexcept
{
    if (created_ != 0)
        platform::lock_release(storage_, false);
}

void VKReaderWriterLock::ReleaseReaderLock() noexcept
{
    platform::lock_release(storage_, true);
}
