/* The threading tools and modules as C99 code uses them. Each function returns 0, or the line of the first step that
 * went wrong. */
#include "Vkmodule.h"
#include "Vkthreadtools.h"

#define STEP(condition)                                                                                                \
    if (!(condition))                                                                                                  \
    return __LINE__

struct Sum {
    HREADERWRITERLOCK lock;
    HWAITEVENT first;
    int runs;
    volatile int32_t counted;
};

static int add_one(HWORKITEMS items, void* data)
{
    struct Sum* const sum = (struct Sum*)data;
    if (V_AcquireWriterLock(sum->lock) != V_SUCCESS)
        return V_FAILURE;
    ++sum->runs;
    V_ReleaseWriterLock(sum->lock);
    V_InterlockedIncrement(&sum->counted);
    V_SetWaitEvent(sum->first);
    return V_WorkItemsAreCanceled(items) == 0 ? V_SUCCESS : V_FAILURE;
}

static V_THREADRESULT signal_event(void* event)
{
    V_SetWaitEvent((HWAITEVENT)event);
    return 0;
}

int vk_c99_events_and_locks(void)
{
    HWAITEVENT event = NULL;
    HWAITEVENT copy = NULL;
    HREADERWRITERLOCK lock = NULL;
    STEP(V_CreateWaitEvent(&event, 0, 1) == V_SUCCESS && V_CopyWaitEvent(&copy, event) == V_SUCCESS);
    STEP(V_WaitForEvent(copy, 0) == V_SUCCESS);
    STEP(V_WaitForEvent(event, 0) == VKRESULT_TIMEOUT); /* it is one event, and reset by the waiter */
    STEP(V_DestroyWaitEvent(event) == V_SUCCESS);
    STEP(V_QueueUserWorkItem(signal_event, copy, VKPOOL_LONGRUNNING) == V_SUCCESS);
    STEP(V_WaitForEvent(copy, VKTIMEOUT_INFINITE) == V_SUCCESS);
    STEP(V_SetWaitEvent(copy) == V_SUCCESS && V_ResetWaitEvent(copy) == V_SUCCESS);
    STEP(V_WaitForEvent(copy, 1) == VKRESULT_TIMEOUT);
    STEP(V_CreateReaderWriterLock(&lock) == V_SUCCESS);
    STEP(V_AcquireReaderLock(lock) == V_SUCCESS && V_ReleaseReaderLock(lock) == V_SUCCESS);
    STEP(V_AcquireWriterLock(lock) == V_SUCCESS && V_ReleaseWriterLock(lock) == V_SUCCESS);
    STEP(V_DestroyReaderWriterLock(lock) == V_SUCCESS);
    STEP(V_DestroyWaitEvent(copy) == V_SUCCESS);
    return 0;
}

int vk_c99_batches(void)
{
    enum { kItems = 200 };
    HWORKITEMS items = NULL;
    struct Sum sum = {NULL, NULL, 0, 0};
    int status = 0;
    int i;
    STEP(V_CreateReaderWriterLock(&sum.lock) == V_SUCCESS && V_CreateWaitEvent(&sum.first, 1, 0) == V_SUCCESS);
    STEP(V_CreateWorkItems(&items, kItems, VKWORKITEMS_STORERESULT, 0) == V_SUCCESS);
    for (i = 0; i < kItems; ++i)
        STEP(V_QueueWorkItem(items, add_one, &sum) == V_SUCCESS);
    STEP(V_WaitForWorkItems(items) == V_SUCCESS && sum.runs == kItems && sum.counted == kItems);
    STEP(V_GetWorkItemsStatus(items, &status) == V_SUCCESS && status == V_SUCCESS);
    STEP(V_WaitForEvent(sum.first, 0) == V_SUCCESS);

    STEP(V_RestartWorkItems(items, 0, VKWORKITEMS_NEVERTHREAD, 0) == V_SUCCESS);
    STEP(V_WorkItemsAreThreaded(items) == 0 && V_WorkItemsAreCanceled(items) == 0);
    STEP(V_GetWorkItemsLock(items) != NULL && V_SetWorkItemsStatus(items, 7) == V_SUCCESS);
    STEP(V_GetWorkItemsStatus(items, &status) == V_SUCCESS && status == 7);
    STEP(V_CancelWorkItems(items) == V_SUCCESS && V_WorkItemsAreCanceled(items) == 1);
    STEP(V_QueueWorkItem(items, add_one, &sum) == V_SUCCESS && sum.runs == kItems);
    STEP(V_FinishWorkItems(items) == V_SUCCESS && V_WaitForWorkItems(items) == V_SUCCESS);
    STEP(V_DestroyWorkItems(items) == V_SUCCESS);
    STEP(V_DestroyWaitEvent(sum.first) == V_SUCCESS && V_DestroyReaderWriterLock(sum.lock) == V_SUCCESS);
    STEP(V_InterlockedDecrement(&sum.counted) == kItems - 1 && V_GetCoreCount() >= 1);
    return 0;
}

/* Loads a library that every system has, by the name that its search finds. */
int vk_c99_modules(const wchar_t* name, const char* narrow_name, const char* function)
{
    HDLLLOADER module = NULL;
    HDLLLOADER copy = NULL;
    STEP(V_LoadDll(&module, name, DLLLOADER_SYSTEM) == V_SUCCESS && V_CopyDll(&copy, module) == V_SUCCESS);
    STEP(V_UnloadDll(module) == V_SUCCESS);
    STEP(V_GetDllFunction(copy, function) != NULL && V_GetDllFunction(copy, "no such function") == NULL);
    STEP(V_UnloadDll(copy) == V_SUCCESS);
    STEP(V_LoadDllA(&module, narrow_name, DLLLOADER_SYSTEM) == V_SUCCESS && V_UnloadDll(module) == V_SUCCESS);
    STEP(V_LoadDllA(&module, "no-such-module", DLLLOADER_BESIDE) == V_ERROR_FILE_NOT_FOUND && module == NULL);
    return 0;
}

/* Every function given nothing refuses. */
int vk_c99_threads_given_nothing(void)
{
    HWAITEVENT event = NULL;
    HDLLLOADER module = NULL;
    int status = 0;
    const int bad = V_ERROR_INVALID_PARAMETER;
    STEP(V_CreateWaitEvent(NULL, 0, 0) == bad && V_CreateReaderWriterLock(NULL) == bad);
    STEP(V_CreateWorkItems(NULL, 0, 0, 0) == bad && V_LoadDll(NULL, L"m", DLLLOADER_SYSTEM) == bad);
    STEP(V_CopyWaitEvent(&event, NULL) == bad && V_CopyWaitEvent(NULL, NULL) == bad);
    STEP(V_CopyDll(&module, NULL) == bad && V_CopyDll(NULL, NULL) == bad && V_UnloadDll(NULL) == bad);
    STEP(V_LoadDll(&module, NULL, DLLLOADER_SYSTEM) == bad && V_LoadDllA(&module, NULL, DLLLOADER_SYSTEM) == bad);
    STEP(V_LoadDllA(NULL, "m", DLLLOADER_SYSTEM) == bad && V_LoadDllA(&module, "\xFF", DLLLOADER_SYSTEM) == bad);
    STEP(V_DestroyWaitEvent(NULL) == bad && V_DestroyReaderWriterLock(NULL) == bad && V_DestroyWorkItems(NULL) == bad);
    STEP(V_WaitForEvent(NULL, 0) == bad && V_SetWaitEvent(NULL) == bad && V_ResetWaitEvent(NULL) == bad);
    STEP(V_AcquireReaderLock(NULL) == bad && V_ReleaseReaderLock(NULL) == bad);
    STEP(V_AcquireWriterLock(NULL) == bad && V_ReleaseWriterLock(NULL) == bad);
    STEP(V_RestartWorkItems(NULL, 0, 0, 0) == bad && V_QueueWorkItem(NULL, add_one, NULL) == bad);
    STEP(V_WaitForWorkItems(NULL) == bad && V_FinishWorkItems(NULL) == bad && V_CancelWorkItems(NULL) == bad);
    STEP(V_GetWorkItemsStatus(NULL, &status) == bad && V_SetWorkItemsStatus(NULL, 0) == bad);
    STEP(V_WorkItemsAreCanceled(NULL) == bad && V_WorkItemsAreThreaded(NULL) == bad);
    STEP(V_GetWorkItemsLock(NULL) == NULL && V_GetDllFunction(NULL, "f") == NULL);
    STEP(V_QueueUserWorkItem(NULL, NULL, 0) == bad);
    STEP(V_InterlockedIncrement(NULL) == 0 && V_InterlockedDecrement(NULL) == 0);
    return 0;
}
