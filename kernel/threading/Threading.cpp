// Threads that start with library state of their own, and the number of threads that an operation may use (Bands.h).
//
// What the new thread needs lies on the heap, and goes before the routine runs; a caller that waits keeps the result
// and the event on its stack instead, which is safe because it leaves only when the event is set.
#include "Vkloader.h"
#include "Vkthread.h"

#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <new>

namespace vk {

namespace {

/// Where a waiting caller gets the result.
struct Outcome {
    void* ended = nullptr; ///< an event
    uint32_t result = 0;
};

struct Start {
    V_THREADROUTINE routine;
    void* parameter;
    Outcome* outcome;
    bool inherits;
    ThreadState state; ///< what it inherits
};

V_THREADRESULT run(void* parameter) noexcept
{
    const Start start = *static_cast<Start*>(parameter);
    platform::heap_free(parameter);
    if (start.inherits)
        thread_state_for_set() = start.state;
    const V_THREADRESULT result = start.routine(start.parameter);
    if (start.outcome != nullptr) {
        start.outcome->result = result;
        platform::event_set(start.outcome->ended);
    }
    return result;
}

Status start_thread(const Start& start) noexcept
{
    void* const block = platform::heap_alloc(sizeof(Start));
    if (block == nullptr)
        return Status::no_memory;
    const Status status = platform::thread_start(&run, new (block) Start(start));
    if (status != Status::ok)
        platform::heap_free(block);
    return status;
}

/// Starts the thread and waits for its end.
Status start_and_wait(Start start, uint32_t* result) noexcept
{
    Outcome outcome;
    start.outcome = &outcome;
    Status status = platform::event_create(false, false, &outcome.ended);
    if (status != Status::ok)
        return status;
    status = start_thread(start);
    if (status == Status::ok) {
        // The thread writes to this frame, so there is no leaving before it has.
        while (platform::event_wait(outcome.ended, kForever) != Waited::signalled)
            platform::sleep_for(1);
        if (result != nullptr)
            *result = outcome.result;
    }
    platform::event_close(outcome.ended);
    return status;
}

} // namespace

} // namespace vk

using namespace vk;

int V_VellThreadCreateAndRun(V_THREADROUTINE pfnRoutine, void* pParameter, uint32_t uFlags, uint32_t* puResult) noexcept
{
    if (pfnRoutine == nullptr || (uFlags & ~(VELLTHREAD_WAIT | VELLTHREAD_INHERIT)) != 0)
        return V_ERROR_INVALID_PARAMETER;
    Start start{pfnRoutine, pParameter, nullptr, (uFlags & VELLTHREAD_INHERIT) != 0, {}};
    if (start.inherits)
        start.state = state_to_hand_over();
    const Status status = (uFlags & VELLTHREAD_WAIT) != 0 ? start_and_wait(start, puResult) : start_thread(start);
    return status == Status::ok ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int V_SetWorkers(int32_t nWorkers) noexcept
{
    if (nWorkers < 0)
        return V_ERROR_INVALID_PARAMETER;
    thread_state_for_set().workers = nWorkers;
    return V_SUCCESS;
}

int32_t V_GetWorkers(void) noexcept
{
    return thread_state().workers;
}
