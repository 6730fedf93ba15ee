// Events, reader/writer locks, the processor count and sleeping. Threads and the pool are in Pool.cpp.
//
// An event is a counted block with a mutex and a condition. All that event_set does happens under the mutex, so that a
// waiter it releases may close the event at once.
#include "platform/posix/Posix.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace vk::backend {

static_assert(sizeof(pthread_rwlock_t) <= kLockBytes && alignof(pthread_rwlock_t) <= alignof(void*));

namespace {

struct Event {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
    std::atomic<uint32_t> handles{1};
    bool manual = false;
    bool signalled = false;
};

class EventLock {
public:
    explicit EventLock(Event& event) noexcept : event_(event) { pthread_mutex_lock(&event_.mutex); }
    ~EventLock() { pthread_mutex_unlock(&event_.mutex); }
    EventLock(const EventLock&) = delete;
    EventLock& operator=(const EventLock&) = delete;

private:
    Event& event_;
};

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
    made->signalled = signalled;
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
    if (closed == nullptr || closed->handles.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    // Whoever signalled it last may still be on the way out of the mutex.
    pthread_mutex_lock(&closed->mutex);
    pthread_mutex_unlock(&closed->mutex);
    pthread_cond_destroy(&closed->changed);
    pthread_mutex_destroy(&closed->mutex);
    std::free(closed);
}

Waited event_wait(void* event, uint32_t milliseconds) noexcept
{
    Event& waited = *static_cast<Event*>(event);
    const timespec until = posix::time_from_now(milliseconds);
    const EventLock lock(waited);
    while (!waited.signalled) {
        const int error = milliseconds == kForever
                              ? pthread_cond_wait(&waited.changed, &waited.mutex)
                              : pthread_cond_clockwait(&waited.changed, &waited.mutex, CLOCK_MONOTONIC, &until);
        if (error == ETIMEDOUT && !waited.signalled)
            return Waited::timed_out;
        if (error != 0 && error != ETIMEDOUT)
            return Waited::failed;
    }
    waited.signalled = waited.manual;
    return Waited::signalled;
}

void event_set(void* event) noexcept
{
    Event& set = *static_cast<Event*>(event);
    const EventLock lock(set);
    set.signalled = true;
    if (set.manual)
        pthread_cond_broadcast(&set.changed);
    else
        pthread_cond_signal(&set.changed);
}

void event_reset(void* event) noexcept
{
    Event& reset = *static_cast<Event*>(event);
    const EventLock lock(reset);
    reset.signalled = false;
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
