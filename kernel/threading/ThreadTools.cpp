// The threading family's door for Vkthreadtools.h: the threading classes by handles, which point at their objects.
#include "Vkthreadtools.h"

#include "Vkrecord.h"
#include "Vkthreading.h"
#include "kernel/system/HeapObject.h"
#include "platform/platform.h"

using namespace vk;

/// Takes and releases locks without a guard.
class VKReaderWriterLockHandle {
public:
    static void acquire(VKReaderWriterLock& lock, bool shared) noexcept
    {
        if (lock.created_ != 0)
            platform::lock_acquire(lock.storage_, shared);
    }
    static void release(VKReaderWriterLock& lock, bool shared) noexcept
    {
        if (lock.created_ != 0)
            platform::lock_release(lock.storage_, shared);
    }
};

namespace {

/// Makes an object that then has to be created. `create` says 1 or ERROR_NO_MEMORY, as the classes do.
template <class Object, class Create> int make(Object** handle, Create&& create) noexcept
{
    if (!handle)
        return V_ERROR_INVALID_PARAMETER;
    *handle = nullptr;
    auto* const object = make_object<Object>();
    if (!object)
        return V_ERROR_NO_MEMORY;
    const int result = create(*object);
    if (result == V_SUCCESS)
        *handle = object;
    else
        end_object(object);
    return result;
}

/// Does something with a handle's object.
template <class Object, class Action> int with(Object* object, Action&& action) noexcept
{
    if (!object)
        return V_ERROR_INVALID_PARAMETER;
    action(*object);
    return V_SUCCESS;
}

template <class Object> int destroy(Object* object) noexcept
{
    return with(object, [](Object& it) noexcept { end_object(&it); });
}

} // namespace

int V_CreateWaitEvent(HWAITEVENT* phEvent, int bManualReset, int bInitialState) noexcept
{
    return make(phEvent, [&](VKWaitEvent& event) noexcept { return event.Create(bManualReset, bInitialState); });
}

int V_CopyWaitEvent(HWAITEVENT* phCopy, HWAITEVENT hEvent) noexcept
{
    if (!phCopy)
        return V_ERROR_INVALID_PARAMETER;
    *phCopy = nullptr;
    if (!hEvent)
        return V_ERROR_INVALID_PARAMETER;
    return make(phCopy, [&](VKWaitEvent& copy) noexcept {
        copy = *hEvent;
        return copy.IsCreated() == hEvent->IsCreated() ? V_SUCCESS : V_ERROR_NO_MEMORY;
    });
}

int V_DestroyWaitEvent(HWAITEVENT hEvent) noexcept
{
    return destroy(hEvent);
}

int V_WaitForEvent(HWAITEVENT hEvent, uint32_t uMilliseconds) noexcept
{
    return hEvent ? hEvent->WaitOne(uMilliseconds) : V_ERROR_INVALID_PARAMETER;
}

int V_SetWaitEvent(HWAITEVENT hEvent) noexcept
{
    return with(hEvent, [](VKWaitEvent& event) noexcept { event.Set(); });
}

int V_ResetWaitEvent(HWAITEVENT hEvent) noexcept
{
    return with(hEvent, [](VKWaitEvent& event) noexcept { event.Reset(); });
}

int V_CreateReaderWriterLock(HREADERWRITERLOCK* phLock) noexcept
{
    return make(phLock, [](VKReaderWriterLock& lock) noexcept { return lock.Create(); });
}

int V_DestroyReaderWriterLock(HREADERWRITERLOCK hLock) noexcept
{
    return destroy(hLock);
}

int V_AcquireReaderLock(HREADERWRITERLOCK hLock) noexcept
{
    return with(hLock, [](VKReaderWriterLock& lock) noexcept { VKReaderWriterLockHandle::acquire(lock, true); });
}

int V_ReleaseReaderLock(HREADERWRITERLOCK hLock) noexcept
{
    return with(hLock, [](VKReaderWriterLock& lock) noexcept { VKReaderWriterLockHandle::release(lock, true); });
}

int V_AcquireWriterLock(HREADERWRITERLOCK hLock) noexcept
{
    return with(hLock, [](VKReaderWriterLock& lock) noexcept { VKReaderWriterLockHandle::acquire(lock, false); });
}

int V_ReleaseWriterLock(HREADERWRITERLOCK hLock) noexcept
{
    return with(hLock, [](VKReaderWriterLock& lock) noexcept { VKReaderWriterLockHandle::release(lock, false); });
}

int V_CreateWorkItems(HWORKITEMS* phItems, uint32_t uCount, uint32_t uOptions, uint32_t uPoolFlags) noexcept
{
    return make(phItems, [&](VKWorkItems& items) noexcept { return items.Create(uCount, uOptions, uPoolFlags); });
}

int V_DestroyWorkItems(HWORKITEMS hItems) noexcept
{
    return destroy(hItems);
}

int V_RestartWorkItems(HWORKITEMS hItems, uint32_t uCount, uint32_t uOptions, uint32_t uPoolFlags) noexcept
{
    return hItems ? hItems->Create(uCount, uOptions, uPoolFlags) : V_ERROR_INVALID_PARAMETER;
}

int V_QueueWorkItem(HWORKITEMS hItems, VKWORKITEMCALLBACK pfnItem, void* pUserData) noexcept
{
    return hItems ? hItems->QueueItem(pfnItem, pUserData) : V_ERROR_INVALID_PARAMETER;
}

int V_WaitForWorkItems(HWORKITEMS hItems) noexcept
{
    return with(hItems, [](VKWorkItems& items) noexcept { items.Wait(); });
}

int V_FinishWorkItems(HWORKITEMS hItems) noexcept
{
    return with(hItems, [](VKWorkItems& items) noexcept { items.Finish(); });
}

int V_GetWorkItemsStatus(HWORKITEMS hItems, int* pnStatus) noexcept
{
    if (!hItems || !pnStatus)
        return V_ERROR_INVALID_PARAMETER;
    *pnStatus = hItems->GetStatus();
    return V_SUCCESS;
}

int V_SetWorkItemsStatus(HWORKITEMS hItems, int nStatus) noexcept
{
    return with(hItems, [&](VKWorkItems& items) noexcept { items.SetStatus(nStatus); });
}

int V_CancelWorkItems(HWORKITEMS hItems) noexcept
{
    return with(hItems, [](VKWorkItems& items) noexcept { items.Cancel(); });
}

int V_WorkItemsAreCanceled(HWORKITEMS hItems) noexcept
{
    return hItems ? hItems->IsCanceled() : V_ERROR_INVALID_PARAMETER;
}

int V_WorkItemsAreThreaded(HWORKITEMS hItems) noexcept
{
    return hItems ? hItems->IsThreaded() : V_ERROR_INVALID_PARAMETER;
}

HREADERWRITERLOCK V_GetWorkItemsLock(HWORKITEMS hItems) noexcept
{
    return hItems ? &hItems->GetLock() : nullptr;
}

int V_QueueUserWorkItem(V_THREADROUTINE pfnRoutine, void* pParameter, uint32_t uFlags) noexcept
{
    return pfnRoutine ? VKThreadPool::QueueUserWorkItem(pfnRoutine, pParameter, uFlags) : V_ERROR_INVALID_PARAMETER;
}

uint32_t V_GetCoreCount(void) noexcept
{
    return VKThreadToolsManaged::GetCoreCount();
}

int32_t V_InterlockedIncrement(volatile int32_t* pnValue) noexcept
{
    return pnValue ? VKThreadToolsUnmanaged::_InterlockedIncrement(pnValue) : 0;
}

int32_t V_InterlockedDecrement(volatile int32_t* pnValue) noexcept
{
    return pnValue ? VKThreadToolsUnmanaged::_InterlockedDecrement(pnValue) : 0;
}
