// Threads, modules, and the settings of threads and of the process.
#include "tests/faults/OtherOperations.h"

#include "Vkbitmap.h"
#include "Vkcolorres.h"
#include "Vkdither.h"
#include "Vkloader.h"
#include "Vkmodule.h"
#include "Vkresample.h"
#include "Vkrotate.h"
#include "Vkthreading.h"
#include "platform/fault/fault.h"

#include <gtest/gtest.h>

namespace vk::testing {

namespace {

#if defined(_WIN32)
constexpr const wchar_t* kModule = L"kernel32.dll";
constexpr const char* kNarrowModule = "kernel32.dll";
constexpr const char* kFunction = "GetTickCount";
#else
constexpr const wchar_t* kModule = L"libm.so.6";
constexpr const char* kNarrowModule = "libm.so.6";
constexpr const char* kFunction = "cos";
#endif

intptr_t events()
{
    HWAITEVENT event = nullptr, copy = nullptr;
    const int made = V_CreateWaitEvent(&event, 0, 1);
    if (made != V_SUCCESS)
        return made;
    const int copied = V_CopyWaitEvent(&copy, event);
    EXPECT_TRUE(V_ResetWaitEvent(event) == V_SUCCESS && V_SetWaitEvent(event) == V_SUCCESS);
    EXPECT_EQ(V_SUCCESS, V_WaitForEvent(event, 0));
    if (copied == V_SUCCESS)
        V_DestroyWaitEvent(copy);
    V_DestroyWaitEvent(event);
    return copied;
}

intptr_t locks()
{
    HREADERWRITERLOCK lock = nullptr;
    const int made = V_CreateReaderWriterLock(&lock);
    if (made != V_SUCCESS)
        return made;
    EXPECT_TRUE(V_AcquireReaderLock(lock) == V_SUCCESS && V_ReleaseReaderLock(lock) == V_SUCCESS);
    EXPECT_TRUE(V_AcquireWriterLock(lock) == V_SUCCESS && V_ReleaseWriterLock(lock) == V_SUCCESS);
    return V_DestroyReaderWriterLock(lock);
}

int do_item(HWORKITEMS, void* count)
{
    V_InterlockedIncrement(static_cast<volatile int32_t*>(count));
    return V_SUCCESS;
}

/// Two items; those that the pool refuses are queued again.
intptr_t batch()
{
    HWORKITEMS items = nullptr;
    int code = V_CreateWorkItems(&items, 1, VKWORKITEMS_LOCK, 0);
    if (code != V_SUCCESS)
        return code;
    code = V_RestartWorkItems(items, 2, VKWORKITEMS_LOCK | VKWORKITEMS_STORERESULT, 0);
    volatile int32_t done = 0;
    for (int i = 0; i < 2; ++i)
        if (const int queued = V_QueueWorkItem(items, do_item, const_cast<int32_t*>(&done)); queued != V_SUCCESS) {
            code = queued;
            fault::disarm();
            EXPECT_EQ(V_SUCCESS, V_QueueWorkItem(items, do_item, const_cast<int32_t*>(&done)));
        }
    int status = 0;
    EXPECT_EQ(V_SUCCESS, V_WaitForWorkItems(items));
    EXPECT_EQ(2, done);
    EXPECT_TRUE(V_GetWorkItemsStatus(items, &status) == V_SUCCESS && status == V_SUCCESS);
    EXPECT_TRUE(V_SetWorkItemsStatus(items, 5) == V_SUCCESS && V_FinishWorkItems(items) == V_SUCCESS);
    EXPECT_TRUE(V_CancelWorkItems(items) == V_SUCCESS && V_WorkItemsAreCanceled(items) == 1);
    EXPECT_TRUE(V_WorkItemsAreThreaded(items) >= 0 && V_GetWorkItemsLock(items));
    V_DestroyWorkItems(items);
    return code;
}

int dither(BITMAPHANDLE* bitmap)
{
    return V_ColorResBitmap(bitmap, bitmap, sizeof *bitmap, 4, 0, nullptr, nullptr, 0);
}
int shrink(BITMAPHANDLE* bitmap)
{
    return V_ResampleBitmap(bitmap, 200, 10);
}
int turn(BITMAPHANDLE* bitmap)
{
    return V_RotateBitmap(bitmap, 500, ROTATEFLAG_BICUBIC, 0);
}

/// An operation by three threads on rows that one of them moves. Whoever gets no memory leaves the work to the others.
template <auto change> intptr_t workers()
{
    BITMAPHANDLE bitmap{};
    int code = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_DISK, 1030, 24, 24, COLORORDER_BGR, nullptr, TOP_LEFT,
                              nullptr, 0);
    if (code != V_SUCCESS)
        return code;
    V_SetWorkers(3);
    code = change(&bitmap);
    V_SetWorkers(1);
    V_Shutdown(); // so that they have ended
    V_FreeBitmap(&bitmap);
    return code;
}

V_THREADRESULT set_event(void* event)
{
    V_SetWaitEvent(static_cast<HWAITEVENT>(event));
    return 7;
}

template <uint32_t flags> intptr_t queue()
{
    HWAITEVENT event = nullptr;
    int code = V_CreateWaitEvent(&event, 1, 0);
    if (code != V_SUCCESS)
        return code;
    code = V_QueueUserWorkItem(set_event, event, flags);
    if (code == V_SUCCESS)
        V_WaitForEvent(event, VKTIMEOUT_INFINITE);
    V_Shutdown(); // so that the item has ended
    V_DestroyWaitEvent(event);
    return code;
}

intptr_t own_thread()
{
    HWAITEVENT event = nullptr;
    uint32_t result = 0;
    int code = V_CreateWaitEvent(&event, 1, 0);
    if (code != V_SUCCESS)
        return code;
    code = V_VellThreadCreateAndRun(set_event, event, VELLTHREAD_WAIT | VELLTHREAD_INHERIT, &result);
    EXPECT_EQ(code == V_SUCCESS ? 7u : 0u, result);
    V_DestroyWaitEvent(event);
    return code;
}

template <auto load, auto name> intptr_t module()
{
    HDLLLOADER loader = nullptr, copy = nullptr;
    int code = load(&loader, *name, DLLLOADER_SYSTEM);
    if (code != V_SUCCESS)
        return code;
    code = V_CopyDll(&copy, loader);
    const bool is_found = V_GetDllFunction(loader, kFunction) != nullptr;
    if (code == V_SUCCESS)
        V_UnloadDll(copy);
    V_UnloadDll(loader);
    return is_found ? code : FAILURE;
}

/// The classes, made as C++ makes them.
intptr_t classes()
{
    VKWaitEvent event;
    VKReaderWriterLock lock;
    VKWorkItems items;
    V_DllLoader loader;
    const VKThreadPool pool;
    const VKThreadToolsUnmanaged tools;
    const VKThreadToolsManaged machine;
    const bool went_well = event.Create(1, 1) == 1 && lock.Create() == 1 &&
                           items.Create(1, VKWORKITEMS_NEVERTHREAD, 0) == 1 &&
                           loader.Load(kModule, DLLLOADER_SYSTEM) == V_SUCCESS;
    const VKWaitEvent same(event);
    const VKReaderWriterLock another(lock);
    const V_DllLoader shared(loader);
    const VKReaderWriterLockItem guard = lock.AcquireReaderLock();
    return result_of(went_well && same.IsCreated() && another.IsCreated());
}

void note(void* count)
{
    ++*static_cast<int*>(count);
}

intptr_t cleanup()
{
    static int calls = 0;
    const int code = V_RegisterCleanup(note, &calls);
    return code == V_SUCCESS ? V_UnregisterCleanup(note, &calls) : code;
}

intptr_t resource_directory()
{
    wchar_t wide[64];
    char narrow[64];
    return result_of(V_SetResourceDirectory(nullptr) == V_SUCCESS && V_SetResourceDirectoryA("") == V_SUCCESS &&
                     V_GetResourceDirectory(wide, 64) == V_SUCCESS && V_GetResourceDirectoryA(narrow, 64) == V_SUCCESS);
}

intptr_t thread_settings()
{
    V_STATUSCALLBACK callback = nullptr;
    void* data = nullptr;
    uint32_t memory = 0;
    int32_t low = 0;
    const bool went_well =
        V_SetStatusCallback(nullptr, nullptr, &callback, &data) == V_SUCCESS &&
        V_GetStatusCallback(&callback, &data) == V_SUCCESS && V_SetDefaultMemoryType(TYPE_CONV) == V_SUCCESS &&
        V_GetDefaultMemoryType(&memory) == V_SUCCESS && V_SetMemoryThresholds(0, 0, 0, 0, 0, 0) == V_SUCCESS &&
        V_GetMemoryThresholds(&low, nullptr, nullptr, nullptr, nullptr) == V_SUCCESS &&
        V_DefaultDithering(V_GetDefaultDithering()) == V_SUCCESS && V_SetWorkers(V_GetWorkers()) == V_SUCCESS;
    return result_of(V_FreeThreadState() == V_SUCCESS && V_SetProcessDefaults() == V_SUCCESS && went_well);
}

intptr_t process_settings()
{
    GLOBALMEMORYTHRESHOLDS thresholds{};
    V_ALLOCATEBITMAPCALLBACK callback = nullptr;
    void* data = nullptr;
    char narrow[80];
    wchar_t wide[80];
    volatile int32_t count = 0;
    return result_of(V_SetGlobalMemoryThresholds(nullptr) == V_SUCCESS &&
                     V_GetGlobalMemoryThresholds(&thresholds, sizeof thresholds) == V_SUCCESS &&
                     V_SetAllocateBitmapCallback(nullptr, nullptr, &callback, &data) == V_SUCCESS &&
                     V_SetRegionHooks(nullptr) == V_SUCCESS && V_GetCoreCount() >= 1 &&
                     V_GetFriendlyErrorMessage(-1, wide, 80) == V_SUCCESS &&
                     V_GetFriendlyErrorMessageA(-1, narrow, 80) == V_SUCCESS && V_InterlockedIncrement(&count) == 1 &&
                     V_InterlockedDecrement(&count) == 0);
}

} // namespace

const OtherFamily thread_scenarios = {
    {"V_CreateWaitEvent, V_CopyWaitEvent, V_ResetWaitEvent, V_SetWaitEvent, V_WaitForEvent, V_DestroyWaitEvent",
     events},
    {"V_CreateReaderWriterLock, V_AcquireReaderLock, V_ReleaseReaderLock, V_AcquireWriterLock, V_ReleaseWriterLock, "
     "V_DestroyReaderWriterLock",
     locks},
    {"V_CreateWorkItems, V_RestartWorkItems, V_QueueWorkItem, V_WaitForWorkItems, V_GetWorkItemsStatus, "
     "V_SetWorkItemsStatus, V_FinishWorkItems, V_CancelWorkItems, V_WorkItemsAreCanceled, V_WorkItemsAreThreaded, "
     "V_GetWorkItemsLock, V_DestroyWorkItems",
     batch},
    {"V_QueueUserWorkItem, V_Shutdown", queue<0>},
    {"V_QueueUserWorkItem (a new thread)", queue<VKPOOL_NEWTHREAD>},
    {"V_SetWorkers (V_ColorResBitmap)", workers<dither>},
    {"V_SetWorkers (V_ResampleBitmap)", workers<shrink>},
    {"V_SetWorkers (V_RotateBitmap)", workers<turn>},
    {"V_VellThreadCreateAndRun", own_thread},
    {"V_LoadDll, V_CopyDll, V_GetDllFunction, V_UnloadDll", module<V_LoadDll, &kModule>},
    {"V_LoadDllA", module<V_LoadDllA, &kNarrowModule>},
    {"VKWaitEvent, VKReaderWriterLock, VKReaderWriterLockItem, VKWorkItems, VKThreadPool, VKThreadToolsManaged, "
     "VKThreadToolsUnmanaged, V_DllLoader",
     classes},
};

const OtherFamily settings_scenarios = {
    {"V_RegisterCleanup, V_UnregisterCleanup", cleanup},
    {"V_SetResourceDirectory, V_SetResourceDirectoryA, V_GetResourceDirectory, V_GetResourceDirectoryA",
     resource_directory, Calls::none},
    {"V_SetStatusCallback, V_GetStatusCallback, V_SetDefaultMemoryType, V_GetDefaultMemoryType, V_SetMemoryThresholds, "
     "V_GetMemoryThresholds, V_DefaultDithering, V_GetDefaultDithering, V_SetWorkers, V_GetWorkers, V_FreeThreadState, "
     "V_SetProcessDefaults",
     thread_settings, Calls::none},
    {"V_SetGlobalMemoryThresholds, V_GetGlobalMemoryThresholds, V_SetAllocateBitmapCallback, V_SetRegionHooks, "
     "V_GetCoreCount, V_GetFriendlyErrorMessage, V_GetFriendlyErrorMessageA, V_InterlockedIncrement, "
     "V_InterlockedDecrement",
     process_settings, Calls::none},
};

} // namespace vk::testing
