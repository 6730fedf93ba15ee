/**
 * @file Vkthreadtools.h
 * The threading tools of Vkkrnx as plain functions: events, reader/writer locks, batches of work on the thread pool.
 * They are for C, and for C++ compilers that cannot link Vkthreading.h. Vkkrnx.h includes it.
 *
 * A handle is a pointer to an object as Vkthreading.h declares it, so the functions also take the address of an object
 * that a program made by itself, and both ways may be mixed. Only the functions that destroy want a handle that was
 * made here. What is said there of the members holds for the functions, which call them.
 */
#ifndef VKTHREADTOOLS_H
#define VKTHREADTOOLS_H

#include "Vkrecord.h"
#include "Vkthread.h"

/** A time-out that never comes. */
#define VKTIMEOUT_INFINITE 0xFFFFFFFFu

/** Result of waiting when the time is up, and of a work item that wants the rest of its batch cancelled. */
#define VKRESULT_TIMEOUT (-100)

/** Options of a batch; they combine. */
#define VKWORKITEMS_LOCK 0x1u        /**< create the lock, for callers that use it */
#define VKWORKITEMS_LOCKCANCEL 0x2u  /**< cancelling, and asking whether, go through the lock */
#define VKWORKITEMS_STORERESULT 0x4u /**< each item's result becomes the batch's status */
#define VKWORKITEMS_NEVERTHREAD 0x8u /**< run every item at once on the calling thread */

/** Flags of V_QueueUserWorkItem, and of a batch's items; they combine, VKPOOL_NEWTHREAD first. */
#define VKPOOL_NEWTHREAD 0x1u   /**< a new thread, for this routine alone */
#define VKPOOL_LONGRUNNING 0x2u /**< the routine will run for long: the pool does not count it among its threads */

#if defined(__cplusplus)
class VKWaitEvent;
class VKReaderWriterLock;
class VKWorkItems;
/** An event. */
typedef VKWaitEvent* HWAITEVENT;
/** A reader/writer lock. */
typedef VKReaderWriterLock* HREADERWRITERLOCK;
/** A batch of work items. */
typedef VKWorkItems* HWORKITEMS;
#else
typedef struct VKWaitEvent* HWAITEVENT;
typedef struct VKReaderWriterLock* HREADERWRITERLOCK;
typedef struct VKWorkItems* HWORKITEMS;
#endif

/** An item of a batch: gets the batch and the caller's data, returns a result code; VKRESULT_TIMEOUT cancels a threaded
 *  batch. */
typedef int (*VKWORKITEMCALLBACK)(HWORKITEMS hItems, void* pUserData);

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Events
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Makes an event that threads can wait for.
 * @param phEvent receives it, or null. @param bManualReset not 0: it stays signalled until V_ResetWaitEvent; 0: it
 * releases one waiter and is reset by that. @param bInitialState not 0: signalled at first.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer; ERROR_NO_MEMORY: the system has no more.
 * @remark Thread-safe.
 */
V_API int V_CreateWaitEvent(HWAITEVENT* phEvent, int bManualReset, int bInitialState) V_NOEXCEPT;
/** Makes a second handle for the same event, which lives until both are destroyed. @param phCopy receives it, or null.
 *  @param hEvent the event. @return SUCCESS; ERROR_INVALID_PARAMETER: null event or pointer; ERROR_NO_MEMORY: the
 *  system has no more. @remark Thread-safe. */
V_API int V_CopyWaitEvent(HWAITEVENT* phCopy, HWAITEVENT hEvent) V_NOEXCEPT;
/** Lets go of an event that one of these two functions made. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark No other thread may be using the handle. */
V_API int V_DestroyWaitEvent(HWAITEVENT hEvent) V_NOEXCEPT;
/**
 * Waits until an event is signalled.
 * @param hEvent the event. @param uMilliseconds the longest time to wait; 0 only looks, VKTIMEOUT_INFINITE waits for
 * ever.
 * @return SUCCESS: it is signalled; VKRESULT_TIMEOUT: the time is up; FAILURE: waiting failed; ERROR_INVALID_PARAMETER:
 * null.
 * @remark Thread-safe.
 */
V_API int V_WaitForEvent(HWAITEVENT hEvent, uint32_t uMilliseconds) V_NOEXCEPT;
/** Signals an event. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_SetWaitEvent(HWAITEVENT hEvent) V_NOEXCEPT;
/** Takes an event's signal back. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_ResetWaitEvent(HWAITEVENT hEvent) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Locks
 * --------------------------------------------------------------------------------------------------------------- */

/** Makes a lock for many readers or one writer. @param phLock receives it, or null. @return SUCCESS;
 *  ERROR_INVALID_PARAMETER: null pointer; ERROR_NO_MEMORY: the system has no more. @remark Thread-safe. */
V_API int V_CreateReaderWriterLock(HREADERWRITERLOCK* phLock) V_NOEXCEPT;
/** Frees a lock that V_CreateReaderWriterLock made and that nobody holds. @return SUCCESS; ERROR_INVALID_PARAMETER:
 *  null. @remark No other thread may be using the lock. */
V_API int V_DestroyReaderWriterLock(HREADERWRITERLOCK hLock) V_NOEXCEPT;
/** Waits until no writer has the lock, and takes it for reading. A thread that holds it must not take it again, in
 *  either mode. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_AcquireReaderLock(HREADERWRITERLOCK hLock) V_NOEXCEPT;
/** Releases what V_AcquireReaderLock took on this thread. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_ReleaseReaderLock(HREADERWRITERLOCK hLock) V_NOEXCEPT;
/** Waits until nobody has the lock, and takes it for writing; as V_AcquireReaderLock. @return SUCCESS;
 *  ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_AcquireWriterLock(HREADERWRITERLOCK hLock) V_NOEXCEPT;
/** Releases what V_AcquireWriterLock took on this thread. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_ReleaseWriterLock(HREADERWRITERLOCK hLock) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Batches of work
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Starts a batch of work items, which share a status and a cancel flag.
 * @param phItems receives it, or null. @param uCount the number of items that it is for; with 0, V_WaitForWorkItems
 * waits for V_FinishWorkItems. @param uOptions VKWORKITEMS_ options. @param uPoolFlags VKPOOL_ flags for each item.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer; ERROR_NO_MEMORY: the system has no more.
 * @remark Thread-safe.
 */
V_API int V_CreateWorkItems(HWORKITEMS* phItems, uint32_t uCount, uint32_t uOptions, uint32_t uPoolFlags) V_NOEXCEPT;
/** Frees a batch that V_CreateWorkItems made, of which no item may be queued or running any more. @return SUCCESS;
 *  ERROR_INVALID_PARAMETER: null. @remark No other thread may be using the batch. */
V_API int V_DestroyWorkItems(HWORKITEMS hItems) V_NOEXCEPT;
/** Ends a batch, of which no item may be queued or running any more, and starts another with the same handle.
 *  @param hItems the batch. @param uCount,uOptions,uPoolFlags as for V_CreateWorkItems. @return as V_CreateWorkItems;
 *  after ERROR_NO_MEMORY items run at once, as with VKWORKITEMS_NEVERTHREAD.
 *  @remark No other thread may be using the batch. */
V_API int V_RestartWorkItems(HWORKITEMS hItems, uint32_t uCount, uint32_t uOptions, uint32_t uPoolFlags) V_NOEXCEPT;
/**
 * Hands an item to the pool, or runs it at once where the batch is not threaded; its result is the status then. On a
 * cancelled batch nothing runs, but in a threaded one the item counts.
 * @param hItems the batch. @param pfnItem what to run. @param pUserData passed to it.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null batch or item; ERROR_NO_MEMORY: the pool refuses, and the item neither
 * runs nor counts.
 * @remark Thread-safe, also from the items.
 */
V_API int V_QueueWorkItem(HWORKITEMS hItems, VKWORKITEMCALLBACK pfnItem, void* pUserData) V_NOEXCEPT;
/** Waits, without limit, until all items have run or been skipped, or for V_FinishWorkItems; either releases one
 *  waiter. Comes back at once where the batch is not threaded. On a thread of the pool it runs items of the batch that
 *  nobody has begun meanwhile. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_WaitForWorkItems(HWORKITEMS hItems) V_NOEXCEPT;
/** Releases a waiter before all items are done. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_FinishWorkItems(HWORKITEMS hItems) V_NOEXCEPT;
/** Gives the batch's status, which is SUCCESS at first. @param hItems the batch. @param pnStatus receives it.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null batch or pointer. @remark Thread-safe. */
V_API int V_GetWorkItemsStatus(HWORKITEMS hItems, int* pnStatus) V_NOEXCEPT;
/** Sets the batch's status. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_SetWorkItemsStatus(HWORKITEMS hItems, int nStatus) V_NOEXCEPT;
/** Cancels the batch: items that have not started will not run. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_CancelWorkItems(HWORKITEMS hItems) V_NOEXCEPT;
/** @return 1: the batch is cancelled; 0: it is not; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_WorkItemsAreCanceled(HWORKITEMS hItems) V_NOEXCEPT;
/** @return 1: items go to the pool; 0: they run at once; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_WorkItemsAreThreaded(HWORKITEMS hItems) V_NOEXCEPT;
/** @return the batch's lock, which is the batch's and goes with it; null for null. It is a lock in threaded batches
 *  with one of the options 0x1, 0x2 and 0x4, and lets everybody through in others. @remark Thread-safe. */
V_API HREADERWRITERLOCK V_GetWorkItemsLock(HWORKITEMS hItems) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * The pool, the machine, counters
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Runs a routine on another thread: of the pool, or a new one. What waits in the pool when the library is shut down or
 * unloaded is dropped.
 * @param pfnRoutine what to run. @param pParameter passed to it. @param uFlags VKPOOL_ flags.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null routine; ERROR_NO_MEMORY: the system refuses, and the routine will not
 * run.
 * @remark Thread-safe.
 */
V_API int V_QueueUserWorkItem(V_THREADROUTINE pfnRoutine, void* pParameter, uint32_t uFlags) V_NOEXCEPT;
/** @return the number of processors, at least 1; asked for once. @remark Thread-safe. */
V_API uint32_t V_GetCoreCount(void) V_NOEXCEPT;
/** Adds 1 to a value that other threads may change, too. @return the new value; 0 for null. @remark Thread-safe. */
V_API int32_t V_InterlockedIncrement(volatile int32_t* pnValue) V_NOEXCEPT;
/** Takes 1 from a value that other threads may change, too. @return the new value; 0 for null. @remark Thread-safe. */
V_API int32_t V_InterlockedDecrement(volatile int32_t* pnValue) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKTHREADTOOLS_H */
