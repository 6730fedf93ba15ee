/**
 * @file Vkthreading.h
 * The threading tools of Vkkrnx, for C++: an event, a reader/writer lock with a scoped guard, batches of work on the
 * system's thread pool, and the functions these stand on.
 *
 * Their members are linked by names that only compilers of the library's own kind make, GCC and Clang on either system.
 * Vkthreadtools.h has the same as plain functions, and the constants; Vkkrnx.hpp has classes over those.
 *
 * Nothing here throws. An object may be used by several threads at once, except while it is created, destroyed, copied
 * or assigned to. No thread exists before something is queued.
 */
#ifndef VKTHREADING_H
#define VKTHREADING_H

#include "Vkkrnx.h"

/** What the pool and new threads run. */
typedef V_THREADROUTINE VKTHREADROUTINE;

/**
 * An event that threads wait for. A copy refers to the same event, which lives until the last of them lets go of it.
 * @remark WaitOne, Set, Reset and IsCreated are thread-safe; the other members are for one thread at a time.
 */
class V_API VKWaitEvent {
public:
    /** Without an event. */
    VKWaitEvent() noexcept;
    /** Refers to the other's event, or to none when it has none or the system refuses. */
    VKWaitEvent(const VKWaitEvent& other) noexcept;
    /** Lets go of the present event and refers to the other's. */
    VKWaitEvent& operator=(const VKWaitEvent& other) noexcept;
    virtual ~VKWaitEvent();

    /**
     * Makes a new event and lets go of an earlier one.
     * @param manualReset non-zero: stays signalled until Reset; 0: releases one waiter and is reset by that.
     * @param initialState non-zero: signalled at first.
     * @return 1, or -1: then there is no event.
     */
    int Create(int manualReset, int initialState) noexcept;
    /** Lets go of the event. */
    void Destroy() noexcept;
    /** @return 1 with an event, else 0. */
    int IsCreated() const noexcept;
    /**
     * Waits until the event is signalled.
     * @param milliseconds the longest time to wait; 0 only looks, VKTIMEOUT_INFINITE waits for ever.
     * @return 1 when it is signalled, and at once without an event; -100 (VKRESULT_TIMEOUT) when the time is up; 0 when
     * waiting fails.
     */
    int WaitOne(uint32_t milliseconds) noexcept;
    /** Signals the event. */
    void Set() noexcept;
    /** Takes the signal back. */
    void Reset() noexcept;

private:
    void* event_;
};

class VKReaderWriterLock;

/**
 * Holds a lock until it is destroyed. Guards come from VKReaderWriterLock; copying one hands the hold over, so that a
 * lock is released exactly once.
 * @remark One thread per guard at a time, the one that the lock was taken on.
 */
class V_API VKReaderWriterLockItem {
public:
    /** Takes a lock and holds it. @param pLock the lock, which must outlive the guard; null or not created gives an
     *  empty guard. @param shared non-zero for reading, 0 for writing. */
    VKReaderWriterLockItem(VKReaderWriterLock* pLock, int shared) noexcept;
    /** Takes the other's hold over; the other is empty then. */
    VKReaderWriterLockItem(const VKReaderWriterLockItem& other) noexcept;
    /** Releases its own hold and takes the other's over. */
    VKReaderWriterLockItem& operator=(const VKReaderWriterLockItem& other) noexcept;
    virtual ~VKReaderWriterLockItem();

private:
    friend class VKReaderWriterLock;
    VKReaderWriterLockItem() noexcept;

    mutable VKReaderWriterLock* lock_;
    int32_t shared_;
};

/**
 * A lock for many readers or one writer. A thread that holds it must not take it again, in either mode. A lock that was
 * never created lets everybody through. A copy is a lock of its own, free, and created when the other is.
 * @remark Acquiring, Lock, Unlock and IsCreated are thread-safe; the other members are for one thread at a time.
 */
class V_API VKReaderWriterLock {
public:
    /** Not created. */
    VKReaderWriterLock() noexcept;
    /** Another lock, created when the other is. */
    VKReaderWriterLock(const VKReaderWriterLock& other) noexcept;
    /** Destroys the present lock, and creates another when the other one is created. */
    VKReaderWriterLock& operator=(const VKReaderWriterLock& other) noexcept;
    virtual ~VKReaderWriterLock();

    /** Destroys an earlier lock and creates a new one. @return 1; -1 when the system refuses: not created then. */
    int Create() noexcept;
    /** Destroys the lock, which nobody may hold. */
    void Destroy() noexcept;
    /** @return 1 when created, else 0. */
    int IsCreated() const noexcept;

    /** Waits until no writer has the lock. @return a guard that holds it for reading. */
    VKReaderWriterLockItem AcquireReaderLock() noexcept;
    /** AcquireReaderLock when `acquire` is not 0, else an empty guard. */
    VKReaderWriterLockItem AcquireReaderLock(int acquire) noexcept;
    /** Waits until nobody has the lock. @return a guard that holds it for writing. */
    VKReaderWriterLockItem AcquireWriterLock() noexcept;
    /** AcquireWriterLock when `acquire` is not 0, else an empty guard. */
    VKReaderWriterLockItem AcquireWriterLock(int acquire) noexcept;

    /** Takes the lock for writing, without a guard. */
    void Lock() noexcept;
    /** Releases what Lock took. */
    void Unlock() noexcept;

private:
    friend class VKReaderWriterLockItem;
    friend class VKReaderWriterLockHandle;
    void ReleaseReaderLock() noexcept;

    void* storage_[8];
    int32_t created_;
};

/**
 * A batch of work items that run on the thread pool, with a status and a cancel flag that they share.
 *
 * A batch is meant for exactly as many items as Create was told: Wait returns when that many have run or been skipped.
 * It must stay where it is, created, until then. On a machine with one processor, or with VKWORKITEMS_NEVERTHREAD, the
 * items run inside QueueItem. A copy shares the event that Wait waits for; items belong to the batch they were queued
 * on.
 * @remark Thread-safe, also from the items, but for Create, Destroy, copying and assigning, which no other member may
 * meet.
 */
class V_API VKWorkItems {
public:
    /** Not created. */
    VKWorkItems() noexcept;
    /** Copies the members, as described for the class. */
    VKWorkItems(const VKWorkItems& other) noexcept;
    /** Copies the members over the present ones. */
    VKWorkItems& operator=(const VKWorkItems& other) noexcept;
    virtual ~VKWorkItems();

    /**
     * Starts a batch, and destroys an earlier one.
     * @param count the number of items; with 0, Wait waits for Finish. @param options VKWORKITEMS_ options.
     * @param poolFlags VKPOOL_ flags for each item.
     * @return 1, or -1: not created then.
     */
    int Create(uint32_t count, uint32_t options, uint32_t poolFlags) noexcept;
    /** Ends the batch, of which no item may be queued or running any more. */
    void Destroy() noexcept;
    /** @return 1 when created, else 0. */
    int IsCreated() const noexcept;
    /** @return 1 when created and items go to the pool, else 0. */
    int IsThreaded() const noexcept;
    /** @return the batch's lock, created with one of the options 0x1, 0x2 and 0x4 and in threaded batches only. */
    VKReaderWriterLock& GetLock() noexcept;
    /**
     * Hands an item to the pool, or runs it at once when the batch is not threaded; its result is the status then.
     * On a cancelled batch nothing runs, but in a threaded one the item counts.
     * @param callback what to run. @param userData passed to it.
     * @return 1; -1 when the pool refuses: the item neither runs nor counts; ERROR_INVALID_PARAMETER: null callback.
     */
    int QueueItem(VKWORKITEMCALLBACK callback, void* userData) noexcept;
    /** Waits, without limit, until all items have run or been skipped, or Finish is called. Each time that happens
     *  releases one waiter. Returns at once when the batch is not threaded. On a thread of the pool, which is to say in
     *  an item, it runs items of this batch that nobody has begun meanwhile, each with the settings of a thread that
     *  has set nothing. So items may wait for batches of their own, any number of them, and in their items again. */
    void Wait() noexcept;
    /** Releases a waiter before all items are done. */
    void Finish() noexcept;
    /** @return the status: 1 (SUCCESS) at first. */
    int GetStatus() noexcept;
    /** Sets the status. */
    void SetStatus(int status) noexcept;
    /** Cancels the batch: items that have not started will not run. It stays cancelled until Destroy or Create. */
    void Cancel() noexcept;
    /** @return 1 when cancelled, else 0. */
    int IsCanceled() noexcept;

private:
    static V_THREADRESULT WaitCallback(void* parameter) noexcept;
    static void DropCallback(void* parameter) noexcept;
    int RunItem(VKWORKITEMCALLBACK callback, void* userData) noexcept;
    void ItemDone() noexcept;

    uint32_t options_;
    int32_t created_;
    uint32_t count_;
    int32_t pending_;
    VKWaitEvent done_;
    int32_t cancelled_;
    VKReaderWriterLock lock_;
    int32_t status_;
    uint32_t pool_flags_;
};

/** The thread pool. @remark Thread-safe. */
class V_API VKThreadPool {
public:
    /** The object holds nothing, and neither do its copies. */
    VKThreadPool() noexcept;
    /** Copies nothing. */
    VKThreadPool(const VKThreadPool& other) noexcept;
    /** Copies nothing. */
    VKThreadPool& operator=(const VKThreadPool& other) noexcept;
    virtual ~VKThreadPool();

    /**
     * Runs a routine on another thread: the system's thread pool, or a new thread. The pool has a thread per processor,
     * more for routines announced as long-running, and more when its routines do not come to an end.
     * @param routine what to run. @param parameter passed to it. @param flags VKPOOL_ flags.
     * @return 1, or -1: the routine will not run.
     */
    static int QueueUserWorkItem(VKTHREADROUTINE routine, void* parameter, uint32_t flags) noexcept;
};

/** What is to be known about the machine. @remark Thread-safe. */
class V_API VKThreadToolsManaged {
public:
    /** The object holds nothing, and neither do its copies. */
    VKThreadToolsManaged() noexcept;
    /** Copies nothing. */
    VKThreadToolsManaged(const VKThreadToolsManaged& other) noexcept;
    /** Copies nothing. */
    VKThreadToolsManaged& operator=(const VKThreadToolsManaged& other) noexcept;
    virtual ~VKThreadToolsManaged();

    /** @return the number of processors, at least 1; asked for once. */
    static uint32_t GetCoreCount() noexcept;
};

/** Atomic counters, and the system's lock functions. @remark Thread-safe. */
class V_API VKThreadToolsUnmanaged {
public:
    /** Looks the system's slim reader/writer locks up, once per process. Locks do this by themselves. */
    VKThreadToolsUnmanaged() noexcept;
    /** Copies nothing. */
    VKThreadToolsUnmanaged(const VKThreadToolsUnmanaged& other) noexcept;
    /** Copies nothing. */
    VKThreadToolsUnmanaged& operator=(const VKThreadToolsUnmanaged& other) noexcept;
    virtual ~VKThreadToolsUnmanaged();

    /** Adds 1 to a value that other threads may change, too. @return the new value. */
    static int32_t _InterlockedIncrement(volatile int32_t* pValue) noexcept;
    /** Takes 1 from a value that other threads may change, too. @return the new value. */
    static int32_t _InterlockedDecrement(volatile int32_t* pValue) noexcept;
};

#endif /* VKTHREADING_H */
