// Threads and the thread pool, and what becomes of them when the library is unloaded.
//
// Every thread that is started here is joined here, so that none is left in code that is about to go. The pool starts
// threads when there is work for them: one per processor, one for each long-running item, and one for each item that
// waits for an event. A watcher, which comes into being with the first backlog, adds one whenever the queue has stood
// still for a while, since items may be waiting in ways that are not seen here. Surplus threads end after some idle
// time.
//
// Unloading (dlclose, or the end of the process) drops what is queued and waits for what runs. A forked child begins
// with an empty pool; an item that forked goes on in both. `mutex` guards everything; no routine and no drop function
// runs under it.
#include "platform/posix/MovableTable.h"
#include "platform/posix/Posix.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <utility>

namespace vk::backend {

namespace {

constexpr uint32_t kMostWorkers = 512;
constexpr uint32_t kStandstill = 100; ///< milliseconds without progress after which a thread is added
constexpr uint32_t kIdleTime = 5000;  ///< milliseconds a surplus thread waits for work
constexpr size_t kFirstCapacity = 64;

struct Item {
    ThreadRoutine routine;
    void* parameter;
    ThreadDrop drop;
    bool long_running;
};

/// A thread of ours: running, or ended and waiting to be joined.
struct Thread {
    pthread_t id;
    void (*run)(Thread&) noexcept;
    ThreadRoutine routine; ///< of a thread with a routine of its own
    void* parameter;
    Thread* next;
};

struct Pool {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t work = PTHREAD_COND_INITIALIZER;    ///< for idle workers: `wakeups` or `stopping`
    pthread_cond_t backlog = PTHREAD_COND_INITIALIZER; ///< for the watcher
    pthread_cond_t ended = PTHREAD_COND_INITIALIZER;   ///< a thread is on the list of ended ones
    Item* ring = nullptr;
    size_t capacity = 0; ///< a power of two
    size_t head = 0;
    size_t count = 0;
    uint64_t taken = 0;      ///< items that workers took, ever
    uint32_t processors = 0; ///< 0 until the pool is first used
    uint32_t workers = 0;
    uint32_t idle = 0;       ///< workers that nobody has woken yet
    uint32_t wakeups = 0;    ///< workers that are woken and have not noticed yet
    uint32_t long_items = 0; ///< queued or running
    uint32_t waiting = 0;    ///< workers whose item waits for an event
    uint32_t threads = 0;    ///< running threads of every kind
    Thread* ended_threads = nullptr;
    bool has_watcher = false;
    bool watcher_idle = false;
    bool stopping = false;
};

constinit Pool g_pool;
using UnloadHook = void (*)();
constinit UnloadHook g_unload_hook = nullptr;
thread_local constinit bool t_is_ours = false;
thread_local constinit bool t_is_worker = false;
thread_local constinit bool t_is_long = false; ///< this worker's item is a long-running one

void enter_fork(ForkGuard&) noexcept
{
    pthread_mutex_lock(&g_pool.mutex);
}

/// The child has none of the parent's threads but the one that forked, which may be one of ours.
void leave_fork(ForkGuard&, bool is_child) noexcept
{
    if (is_child) {
        std::free(g_pool.ring);
        new (&g_pool) Pool;
        g_pool.threads = t_is_ours ? 1 : 0;
        g_pool.workers = t_is_worker ? 1 : 0;
        g_pool.long_items = t_is_long ? 1 : 0;
    } else {
        pthread_mutex_unlock(&g_pool.mutex);
    }
}

constinit ForkGuard g_guard{&enter_fork, &leave_fork};

/// Holds the pool. Ended threads are joined once it is free again.
class PoolLock {
public:
    PoolLock() noexcept
    {
        if (!g_guard.known.load(std::memory_order_acquire))
            guard_forks(g_guard);
        pthread_mutex_lock(&g_pool.mutex);
    }
    ~PoolLock()
    {
        Thread* thread = join_ ? std::exchange(g_pool.ended_threads, nullptr) : nullptr;
        pthread_mutex_unlock(&g_pool.mutex);
        while (thread != nullptr) {
            Thread* const next = thread->next;
            pthread_join(thread->id, nullptr);
            std::free(thread);
            thread = next;
        }
    }
    PoolLock(const PoolLock&) = delete;
    PoolLock& operator=(const PoolLock&) = delete;

    void join_ended() noexcept { join_ = true; }

private:
    bool join_ = false;
};

/// Lets the pool go for as long as it lives.
class PoolUnlock {
public:
    PoolUnlock() noexcept { pthread_mutex_unlock(&g_pool.mutex); }
    ~PoolUnlock() { pthread_mutex_lock(&g_pool.mutex); }
    PoolUnlock(const PoolUnlock&) = delete;
    PoolUnlock& operator=(const PoolUnlock&) = delete;
};

bool push(const Item& item) noexcept
{
    if (g_pool.count == g_pool.capacity) {
        const size_t capacity = std::max(kFirstCapacity, g_pool.capacity * 2);
        auto* ring = static_cast<Item*>(std::malloc(capacity * sizeof(Item)));
        if (ring == nullptr)
            return false;
        for (size_t i = 0; i < g_pool.count; ++i)
            ring[i] = g_pool.ring[(g_pool.head + i) % g_pool.capacity];
        std::free(g_pool.ring);
        g_pool.ring = ring;
        g_pool.capacity = capacity;
        g_pool.head = 0;
    }
    g_pool.ring[(g_pool.head + g_pool.count++) % g_pool.capacity] = item;
    g_pool.long_items += item.long_running ? 1 : 0;
    return true;
}

Item pop() noexcept
{
    const Item item = g_pool.ring[g_pool.head];
    g_pool.head = (g_pool.head + 1) % g_pool.capacity;
    --g_pool.count;
    return item;
}

/// Takes the newest item back.
void take_back() noexcept
{
    --g_pool.count;
    g_pool.long_items -= g_pool.ring[(g_pool.head + g_pool.count) % g_pool.capacity].long_running ? 1 : 0;
}

void* thread_main(void* started) noexcept
{
    t_is_ours = true;
    Thread& self = *static_cast<Thread*>(started);
    self.run(self);
    const PoolLock lock;
    self.next = g_pool.ended_threads;
    g_pool.ended_threads = &self;
    --g_pool.threads;
    pthread_cond_broadcast(&g_pool.ended);
    return nullptr;
}

/// Starts a thread. The pool is held, which keeps the new thread from ending before its id is known.
Status start(void (*run)(Thread&) noexcept, ThreadRoutine routine, void* parameter) noexcept
{
    if (g_pool.processors == 0)
        g_pool.processors = std::max(processor_count(), 1u);
    void* const block = std::malloc(sizeof(Thread));
    if (block == nullptr)
        return Status::no_memory;
    auto* thread = new (block) Thread{{}, run, routine, parameter, nullptr};
    if (const int error = pthread_create(&thread->id, nullptr, &thread_main, thread); error != 0) {
        std::free(thread);
        return posix::to_status(error);
    }
    ++g_pool.threads;
    return Status::ok;
}

/// Starts a thread of the pool, which leaves the process's signals to the program's own threads.
Status start_quiet(void (*run)(Thread&) noexcept) noexcept
{
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&blocked, fault);
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    const Status status = start(run, nullptr, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return status;
}

/// Waits for work; false when there is none and the thread is not needed any more.
bool wait_for_work() noexcept
{
    const timespec until = posix::time_from_now(kIdleTime);
    ++g_pool.idle;
    while (g_pool.wakeups == 0 && !g_pool.stopping) {
        const bool surplus = g_pool.workers - g_pool.waiting > g_pool.processors;
        const int error = surplus ? pthread_cond_clockwait(&g_pool.work, &g_pool.mutex, CLOCK_MONOTONIC, &until)
                                  : pthread_cond_wait(&g_pool.work, &g_pool.mutex);
        if (error == ETIMEDOUT && g_pool.wakeups == 0) {
            --g_pool.idle;
            return false;
        }
    }
    if (g_pool.wakeups == 0) {
        --g_pool.idle;
        return false;
    }
    --g_pool.wakeups; // who woke us has taken us off `idle`
    return true;
}

void run_worker(Thread&) noexcept
{
    t_is_worker = true;
    const PoolLock lock;
    while (!g_pool.stopping) {
        if (g_pool.count == 0) {
            if (!wait_for_work())
                break;
            continue;
        }
        const Item item = pop();
        ++g_pool.taken;
        {
            const PoolUnlock unlock;
            t_is_long = item.long_running;
            item.routine(item.parameter);
            t_is_long = false;
        }
        g_pool.long_items -= item.long_running ? 1 : 0;
    }
    --g_pool.workers;
}

Status add_worker() noexcept
{
    const Status status = start_quiet(&run_worker);
    g_pool.workers += status == Status::ok ? 1 : 0;
    return status;
}

bool may_add_worker() noexcept
{
    const uint32_t busy = g_pool.long_items + g_pool.waiting;
    return g_pool.workers < std::min(kMostWorkers, std::max(g_pool.processors, 1u) + busy);
}

void run_watcher(Thread&) noexcept
{
    const PoolLock lock;
    while (!g_pool.stopping) {
        if (g_pool.count == 0) {
            g_pool.watcher_idle = true;
            pthread_cond_wait(&g_pool.backlog, &g_pool.mutex);
            continue;
        }
        g_pool.watcher_idle = false;
        const uint64_t taken = g_pool.taken;
        const timespec until = posix::time_from_now(kStandstill);
        int error = 0;
        while (error == 0 && !g_pool.stopping)
            error = pthread_cond_clockwait(&g_pool.backlog, &g_pool.mutex, CLOCK_MONOTONIC, &until);
        // When no thread can be had now, the next round tries again.
        if (g_pool.count != 0 && g_pool.taken == taken && g_pool.workers < kMostWorkers && !g_pool.stopping)
            static_cast<void>(add_worker());
    }
    g_pool.has_watcher = false;
}

/// Has the watcher look after the queue. Without one there is still a worker that gets to every item in time.
void watch() noexcept
{
    if (!g_pool.has_watcher) {
        g_pool.has_watcher = start_quiet(&run_watcher) == Status::ok;
    } else if (g_pool.watcher_idle) {
        g_pool.watcher_idle = false;
        pthread_cond_signal(&g_pool.backlog);
    }
}

void drop_queue() noexcept
{
    while (g_pool.count != 0) {
        const Item item = pop();
        const PoolUnlock unlock;
        if (item.drop != nullptr)
            item.drop(item.parameter);
    }
    std::free(std::exchange(g_pool.ring, nullptr));
    g_pool.capacity = 0;
}

/// Tells all threads of the pool to end and drops what is queued.
void stop() noexcept
{
    g_pool.stopping = true;
    pthread_cond_broadcast(&g_pool.work);
    pthread_cond_signal(&g_pool.backlog);
    drop_queue();
}

void shut_down() noexcept
{
    PoolLock lock;
    stop();
    // A routine that ends the process is waited for by nobody.
    while (g_pool.threads > (t_is_ours ? 1u : 0u))
        pthread_cond_wait(&g_pool.ended, &g_pool.mutex);
    lock.join_ended();
}

[[gnu::destructor]] void unload() noexcept
{
    shut_down();
    if (g_unload_hook != nullptr)
        g_unload_hook();
    posix::table_release(); // of global blocks: a library that is loaded again begins with a new one
}

} // namespace

Status thread_start(ThreadRoutine routine, void* parameter) noexcept
{
    constexpr auto kRun = [](Thread& self) noexcept { static_cast<void>(self.routine(self.parameter)); };
    PoolLock lock;
    lock.join_ended();
    return g_pool.stopping ? Status::failed : start(kRun, routine, parameter);
}

Status pool_queue(ThreadRoutine routine, void* parameter, bool long_running, ThreadDrop drop) noexcept
{
    PoolLock lock;
    lock.join_ended();
    if (g_pool.stopping)
        return Status::failed;
    if (!push(Item{routine, parameter, drop, long_running}))
        return Status::no_memory;
    if (g_pool.idle != 0) {
        --g_pool.idle;
        ++g_pool.wakeups;
        pthread_cond_signal(&g_pool.work);
        return Status::ok;
    }
    if (may_add_worker()) {
        const Status status = add_worker();
        if (status == Status::ok)
            return status;
        if (g_pool.workers == 0) {
            take_back();
            return status;
        }
    }
    watch();
    return Status::ok;
}

void pool_rest() noexcept
{
    PoolLock lock;
    stop();
    while (g_pool.workers != 0 || g_pool.has_watcher) // each says last of all that a thread has ended
        pthread_cond_wait(&g_pool.ended, &g_pool.mutex);
    g_pool.watcher_idle = false;
    g_pool.stopping = false;
    lock.join_ended();
}

bool on_pool_thread() noexcept
{
    return t_is_worker;
}

posix::ItemWaits::ItemWaits() noexcept : is_item_(t_is_worker)
{
    if (!is_item_)
        return;
    const PoolLock lock;
    ++g_pool.waiting;
    // A thread that cannot be had now is had when the watcher tries.
    if (g_pool.count != 0 && g_pool.idle == 0 && may_add_worker() && !g_pool.stopping)
        static_cast<void>(add_worker());
}

posix::ItemWaits::~ItemWaits()
{
    if (!is_item_)
        return;
    const PoolLock lock;
    --g_pool.waiting;
}

void set_unload_hook(void (*hook)()) noexcept
{
    g_unload_hook = hook;
}

} // namespace vk::backend
