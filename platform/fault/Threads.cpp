// The fault layer's events, locks, threads and pool; see fault.cpp.
#include "platform/fault/Gate.h"

#include <atomic>

namespace vk::fault {

namespace {

std::atomic<int64_t> live_events{0};
std::atomic<int64_t> live_locks{0};

} // namespace

void count_thread_objects(Live& live) noexcept
{
    live.events = live_events;
    live.rw_locks = live_locks;
}

} // namespace vk::fault

namespace vk::platform {

using fault::Call;
using fault::failure_of;
using fault::must_fail;

Status event_create(bool manual_reset, bool signalled, void** event) noexcept
{
    if (must_fail(Call::event_create))
        return failure_of(Call::event_create);
    const Status status = backend::event_create(manual_reset, signalled, event);
    if (status == Status::ok)
        ++fault::live_events;
    return status;
}

Status event_duplicate(void* event, void** copy) noexcept
{
    if (must_fail(Call::event_duplicate))
        return failure_of(Call::event_duplicate);
    const Status status = backend::event_duplicate(event, copy);
    if (status == Status::ok)
        ++fault::live_events;
    return status;
}

void event_close(void* event) noexcept
{
    if (event != nullptr)
        --fault::live_events;
    backend::event_close(event);
}

Waited event_wait(void* event, uint32_t milliseconds) noexcept
{
    return backend::event_wait(event, milliseconds);
}

void event_set(void* event) noexcept
{
    backend::event_set(event);
}

void event_reset(void* event) noexcept
{
    backend::event_reset(event);
}

Status lock_create(void* lock) noexcept
{
    if (must_fail(Call::lock_create))
        return failure_of(Call::lock_create);
    const Status status = backend::lock_create(lock);
    if (status == Status::ok)
        ++fault::live_locks;
    return status;
}

void lock_destroy(void* lock) noexcept
{
    --fault::live_locks;
    backend::lock_destroy(lock);
}

void lock_acquire(void* lock, bool shared) noexcept
{
    backend::lock_acquire(lock, shared);
}

void lock_release(void* lock, bool shared) noexcept
{
    backend::lock_release(lock, shared);
}

void lock_look_up() noexcept
{
    backend::lock_look_up();
}

void mutex_acquire(PlainMutex& mutex) noexcept
{
    backend::mutex_acquire(mutex);
}

void mutex_release(PlainMutex& mutex) noexcept
{
    backend::mutex_release(mutex);
}

void guard_forks(ForkGuard& guard) noexcept
{
    backend::guard_forks(guard);
}

uint32_t processor_count() noexcept
{
    return must_fail(Call::processor_count) ? 0 : backend::processor_count();
}

void sleep_for(uint32_t milliseconds) noexcept
{
    backend::sleep_for(milliseconds);
}

Status thread_start(ThreadRoutine routine, void* parameter) noexcept
{
    return must_fail(Call::thread_start) ? failure_of(Call::thread_start) : backend::thread_start(routine, parameter);
}

Status pool_queue(ThreadRoutine routine, void* parameter, bool long_running, ThreadDrop drop) noexcept
{
    return must_fail(Call::pool_queue) ? failure_of(Call::pool_queue)
                                       : backend::pool_queue(routine, parameter, long_running, drop);
}

void pool_rest() noexcept
{
    backend::pool_rest();
}

bool on_pool_thread() noexcept
{
    return backend::on_pool_thread();
}

void set_unload_hook(void (*hook)()) noexcept
{
    backend::set_unload_hook(hook);
}

} // namespace vk::platform
