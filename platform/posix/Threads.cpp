// Events, reader/writer locks, the processor count and sleeping. Threads and the pool are in Pool.cpp.
//
// An event is a counted block with one word that the system lets threads wait on. There is no lock in it: a copy of the
// process finds it signalled or not, and a waiter that is released may close the event at once.
#include "platform/posix/Posix.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <linux/futex.h>
#include <new>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vk::backend {

static_assert(sizeof(pthread_rwlock_t) <= kLockBytes && alignof(pthread_rwlock_t) <= alignof(void*));

namespace {

constexpr uint32_t kSignalled = 1;
constexpr uint32_t kWaiter = 2;

struct Event {
    std::atomic<uint32_t> state{0}; ///< kSignalled, and kWaiter for each thread that waits
    std::atomic<uint32_t> handles{1};
    bool manual = false;
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(std::atomic<uint32_t>) == 4);

/// Waits while the word has a value, until a time of the monotonic clock or, with null, for ever. 0 or what errno says;
/// comes back early now and then.
int wait_on(std::atomic<uint32_t>& word, uint32_t value, const timespec* until) noexcept
{
    const long result =
        syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, value, until, nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno == EAGAIN || errno == EINTR ? 0 : errno;
}

/// Wakes threads that wait on a word. It may be gone by now: only its address is used.
void wake(const std::atomic<uint32_t>* word, int threads) noexcept
{
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, threads, nullptr, nullptr, 0);
}

/// Takes the signal, and with `counted` the caller off the waiters. False when there is none; `state` is what was seen.
bool take_signal(Event& event, bool counted, uint32_t& state) noexcept
{
    state = event.state.load(std::memory_order_acquire);
    while ((state & kSignalled) != 0) {
        const uint32_t after = (event.manual ? state : state & ~kSignalled) - (counted ? kWaiter : 0);
        if (event.state.compare_exchange_weak(state, after, std::memory_order_acq_rel, std::memory_order_acquire))
            return true;
    }
    return false;
}

pthread_rwlock_t* rwlock_of(void* lock) noexcept
{
    return static_cast<pthread_rwlock_t*>(lock);
}

} // namespace

timespec posix::time_from_now(uint32_t milliseconds) noexcept
{
    constexpr long kSecond = 1'000'000'000;
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    time.tv_sec += milliseconds / 1000;
    time.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (time.tv_nsec >= kSecond) {
        ++time.tv_sec;
        time.tv_nsec -= kSecond;
    }
    return time;
}

Status event_create(bool manual_reset, bool signalled, void** event) noexcept
{
    void* block = std::malloc(sizeof(Event));
    if (block == nullptr)
        return Status::no_memory;
    auto* made = new (block) Event;
    made->manual = manual_reset;
    made->state = signalled ? kSignalled : 0;
    *event = made;
    return Status::ok;
}

Status event_duplicate(void* event, void** copy) noexcept
{
    static_cast<Event*>(event)->handles.fetch_add(1, std::memory_order_relaxed);
    *copy = event;
    return Status::ok;
}

void event_close(void* event) noexcept
{
    auto* closed = static_cast<Event*>(event);
    if (closed != nullptr && closed->handles.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::free(closed);
}

Waited event_wait(void* event, uint32_t milliseconds) noexcept
{
    Event& waited = *static_cast<Event*>(event);
    uint32_t state = 0;
    if (take_signal(waited, false, state))
        return Waited::signalled;
    if (milliseconds == 0)
        return Waited::timed_out;
    const timespec until = posix::time_from_now(milliseconds);
    const posix::ItemWaits waits;
    state = waited.state.fetch_add(kWaiter, std::memory_order_acq_rel) + kWaiter;
    int error = 0;
    while (!take_signal(waited, true, state)) {
        if (error != 0) {
            waited.state.fetch_sub(kWaiter, std::memory_order_relaxed);
            return error == ETIMEDOUT ? Waited::timed_out : Waited::failed;
        }
        error = wait_on(waited.state, state, milliseconds == kForever ? nullptr : &until);
    }
    return Waited::signalled;
}

void event_set(void* event) noexcept
{
    Event& set = *static_cast<Event*>(event);
    const int threads = set.manual ? INT_MAX : 1;
    // A waiter may be gone with the event from here on.
    const uint32_t before = set.state.fetch_or(kSignalled, std::memory_order_acq_rel);
    if (before >= kWaiter)
        wake(&set.state, threads);
}

void event_reset(void* event) noexcept
{
    static_cast<Event*>(event)->state.fetch_and(~kSignalled, std::memory_order_acq_rel);
}

Status lock_create(void* lock) noexcept
{
    // Waiting writers go first, as readers that come and go could keep them out for ever.
    pthread_rwlockattr_t attributes;
    if (const int error = pthread_rwlockattr_init(&attributes); error != 0)
        return posix::to_status(error);
    int error = pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    if (error == 0)
        error = pthread_rwlock_init(rwlock_of(lock), &attributes);
    pthread_rwlockattr_destroy(&attributes);
    return error == 0 ? Status::ok : posix::to_status(error);
}

void lock_destroy(void* lock) noexcept
{
    pthread_rwlock_destroy(rwlock_of(lock));
}

void lock_acquire(void* lock, bool shared) noexcept
{
    if (shared)
        pthread_rwlock_rdlock(rwlock_of(lock));
    else
        pthread_rwlock_wrlock(rwlock_of(lock));
}

void lock_release(void* lock, bool) noexcept
{
    pthread_rwlock_unlock(rwlock_of(lock));
}

void lock_look_up() noexcept {}

// The word is 0 when the mutex is free, 1 when it is held, 2 when threads may be waiting for it besides.
void mutex_acquire(PlainMutex& mutex) noexcept
{
    uint32_t state = 0;
    if (mutex.word.compare_exchange_strong(state, 1, std::memory_order_acquire))
        return;
    while (mutex.word.exchange(2, std::memory_order_acquire) != 0)
        mutex.word.wait(2, std::memory_order_relaxed);
}

void mutex_release(PlainMutex& mutex) noexcept
{
    if (mutex.word.exchange(0, std::memory_order_release) == 2)
        mutex.word.notify_one();
}

uint32_t processor_count() noexcept
{
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 0 : static_cast<uint32_t>(count);
}

void sleep_for(uint32_t milliseconds) noexcept
{
    const timespec until = posix::time_from_now(milliseconds);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

} // namespace vk::backend
