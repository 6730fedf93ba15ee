// Library-wide and per-thread state.
#include "kernel/system/System.h"

#include "kernel/system/LibraryLock.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <atomic>
#include <mutex>

namespace vk {

namespace {

constinit LibraryLock g_lock;
constinit ThreadState g_process_state;               ///< under the lock
constinit std::atomic<uint32_t> g_process_number{0}; ///< of the process-wide state, which changes with it

struct OwnState {
    bool exists = false;
    uint32_t number = 0; ///< of the process-wide state that this is a copy of, while no own one exists
    ThreadState state;
};

thread_local constinit OwnState t_own;

/// Copies the process-wide state over what the calling thread has.
void follow_process() noexcept
{
    const std::lock_guard lock(g_lock);
    t_own.state = g_process_state;
    t_own.number = g_process_number.load(std::memory_order_relaxed);
}

std::atomic<int64_t> g_disk_threshold{0};

/// Half of the physical memory; without a figure, none.
int64_t computed_disk_threshold() noexcept
{
    MemoryStatus memory;
    if (platform::memory_status(&memory) != Status::ok)
        return 0;
    return static_cast<int64_t>(memory.total_physical / 2);
}

} // namespace

const ThreadState& thread_state() noexcept
{
    if (!t_own.exists && t_own.number != g_process_number.load(std::memory_order_acquire))
        follow_process();
    return t_own.state;
}

ThreadState& thread_state_for_set() noexcept
{
    thread_state();
    t_own.exists = true;
    return t_own.state;
}

ThreadState state_to_hand_over() noexcept
{
    ThreadState state = thread_state();
    state.redirect = redirect::without_buffers(state.redirect);
    return state;
}

void set_process_state(const ThreadState& state) noexcept
{
    const std::lock_guard lock(g_lock);
    g_process_state = state;
    g_process_number.fetch_add(1, std::memory_order_release);
}

bool drop_thread_state() noexcept
{
    if (!t_own.exists)
        return true;
    if (redirect::has_buffers(t_own.state.redirect))
        return false;
    t_own.exists = false;
    follow_process();
    return true;
}

FreshThreadState::FreshThreadState() noexcept : had_own_(t_own.exists)
{
    if (had_own_)
        own_ = t_own.state;
    t_own.exists = false;
    follow_process();
}

FreshThreadState::~FreshThreadState()
{
    t_own.exists = had_own_;
    if (had_own_)
        t_own.state = own_;
    else
        follow_process();
}

uint64_t tile_size_in_force() noexcept
{
    const int64_t size = thread_state().tile_size;
    return size < 1 ? kDefaultTileSize : static_cast<uint64_t>(size);
}

uint64_t disk_threshold() noexcept
{
    const int64_t threshold = g_disk_threshold.load();
    return static_cast<uint64_t>(threshold == kComputedThreshold ? computed_disk_threshold() : threshold);
}

void set_disk_threshold(int64_t threshold) noexcept
{
    g_disk_threshold = threshold;
}

} // namespace vk
