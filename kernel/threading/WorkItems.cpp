// VKWorkItems: a batch of items on the thread pool.
//
// An item on its way is a record on the heap, which is freed before the item counts as done: once the last one has
// counted, the batch may be gone. The counter and the flags are changed atomically, whatever the options; the lock,
// when the options ask for it, comes on top. It is never held while an item's callback runs.
//
// An item that waits for a batch occupies a thread of the pool, and the batch's items may stand behind many others that
// do the same. So it runs them itself, those of its own batch alone: no item's callback can come to lie below another's
// that it has nothing to do with, and however many wait, each has what it waits for run or running.
#include "Vkthread.h"
#include "Vkthreading.h"

#include "kernel/system/ThreadState.h"
#include "kernel/threading/QueuedItems.h"
#include "platform/platform.h"

#include <atomic>
#include <new>

using namespace vk;

namespace {

constexpr uint32_t kAnyLock = VKWORKITEMS_LOCK | VKWORKITEMS_LOCKCANCEL | VKWORKITEMS_STORERESULT;

/// Frees a ticket. False when there is nothing left to do for it.
bool redeem(void* parameter, Work& work) noexcept
{
    auto& item = *static_cast<QueuedItem*>(parameter);
    const bool is_ours = withdraw_queued(item);
    work = item.work;
    platform::heap_free(parameter);
    return is_ours;
}

/// For values that the options may leave without a lock.
template <class Value> std::atomic_ref<Value> shared(Value& value) noexcept
{
    return std::atomic_ref<Value>(value);
}

} // namespace

VKWorkItems::VKWorkItems() noexcept
    : options_(0), created_(0), count_(0), pending_(0), cancelled_(0), status_(V_SUCCESS), pool_flags_(0)
{}

VKWorkItems::VKWorkItems(const VKWorkItems& other) noexcept = default;
VKWorkItems& VKWorkItems::operator=(const VKWorkItems& other) noexcept = default;

VKWorkItems::~VKWorkItems()
{
    Destroy();
}

int VKWorkItems::Create(uint32_t count, uint32_t options, uint32_t poolFlags) noexcept
{
    if (created_ != 0)
        Destroy();
    if ((options & VKWORKITEMS_NEVERTHREAD) == 0 && VKThreadToolsManaged::GetCoreCount() > 1) {
        if (const int result = done_.Create(0, 0); result != 1)
            return result;
        if (const int result = (options & kAnyLock) != 0 ? lock_.Create() : 1; result != 1) {
            done_.Destroy();
            return result;
        }
    }
    options_ = options;
    created_ = 1;
    count_ = count;
    cancelled_ = 0;
    status_ = V_SUCCESS;
    pool_flags_ = poolFlags;
    pending_ = static_cast<int32_t>(count);
    return 1;
}

void VKWorkItems::Destroy() noexcept
{
    count_ = 0;
    done_.Destroy();
    lock_.Destroy();
    created_ = 0;
    cancelled_ = 0;
    status_ = V_SUCCESS;
}

int VKWorkItems::IsCreated() const noexcept
{
    return created_;
}

int VKWorkItems::IsThreaded() const noexcept
{
    return created_ != 0 && done_.IsCreated() != 0 ? 1 : 0;
}

VKReaderWriterLock& VKWorkItems::GetLock() noexcept
{
    return lock_;
}

int VKWorkItems::QueueItem(VKWORKITEMCALLBACK callback, void* userData) noexcept
{
    if (callback == nullptr)
        return V_ERROR_INVALID_PARAMETER;
    const bool threaded = IsThreaded() != 0;
    if (IsCanceled() != 0) {
        if (threaded)
            ItemDone(); // skipped, like those that are on their way
        return 1;
    }
    if (!threaded) {
        SetStatus(callback(this, userData));
        return 1;
    }
    void* const block = platform::heap_alloc(sizeof(QueuedItem));
    if (block == nullptr)
        return -1;
    auto* item = new (block) QueuedItem{{this, callback, userData}};
    const uint32_t flags = pool_flags_;
    if ((flags & VKPOOL_NEWTHREAD) == 0)
        add_queued(*item); // the batch may be done, and gone, from here on
    const Status status =
        (flags & VKPOOL_NEWTHREAD) != 0
            ? platform::thread_start(&WaitCallback, item)
            : platform::pool_queue(&WaitCallback, item, (flags & VKPOOL_LONGRUNNING) != 0, &DropCallback);
    if (status == Status::ok)
        return 1;
    const bool is_ours = withdraw_queued(*item); // else a waiter has run it meanwhile
    platform::heap_free(item);
    return is_ours ? -1 : 1;
}

void VKWorkItems::Wait() noexcept
{
    if (IsThreaded() == 0)
        return;
    if (platform::on_pool_thread()) {
        Work work;
        while (take_queued(*this, work)) {
            const FreshThreadState fresh;
            RunItem(work.callback, work.user_data);
            if (done_.WaitOne(0) == 1)
                return;
        }
    }
    done_.WaitOne(VKTIMEOUT_INFINITE);
}

void VKWorkItems::Finish() noexcept
{
    done_.Set();
}

int VKWorkItems::GetStatus() noexcept
{
    const VKReaderWriterLockItem guard = lock_.AcquireReaderLock(created_);
    return shared(status_).load(std::memory_order_relaxed);
}

void VKWorkItems::SetStatus(int status) noexcept
{
    const VKReaderWriterLockItem guard = lock_.AcquireWriterLock(created_);
    shared(status_).store(status, std::memory_order_relaxed);
}

void VKWorkItems::Cancel() noexcept
{
    const VKReaderWriterLockItem guard = lock_.AcquireWriterLock((options_ & VKWORKITEMS_LOCKCANCEL) != 0);
    shared(cancelled_).store(1, std::memory_order_relaxed);
}

int VKWorkItems::IsCanceled() noexcept
{
    const VKReaderWriterLockItem guard = lock_.AcquireReaderLock((options_ & VKWORKITEMS_LOCKCANCEL) != 0);
    return shared(cancelled_).load(std::memory_order_relaxed);
}

V_THREADRESULT VKWorkItems::WaitCallback(void* parameter) noexcept
{
    Work work;
    if (!redeem(parameter, work))
        return static_cast<V_THREADRESULT>(V_SUCCESS);
    return static_cast<V_THREADRESULT>(work.items->RunItem(work.callback, work.user_data));
}

void VKWorkItems::DropCallback(void* parameter) noexcept
{
    Work work;
    if (redeem(parameter, work))
        work.items->ItemDone();
}

int VKWorkItems::RunItem(VKWORKITEMCALLBACK callback, void* userData) noexcept
{
    int result = V_SUCCESS;
    if (IsCanceled() == 0) {
        result = callback(this, userData);
        if ((options_ & VKWORKITEMS_STORERESULT) != 0)
            SetStatus(result);
        if (result == VKRESULT_TIMEOUT)
            Cancel();
    }
    ItemDone();
    return result;
}

void VKWorkItems::ItemDone() noexcept
{
    if (count_ != 0 && shared(pending_).fetch_sub(1, std::memory_order_acq_rel) == 1)
        done_.Set();
}
