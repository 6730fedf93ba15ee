// Library-wide and per-thread state.
#include "kernel/system/System.h"

#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <atomic>

namespace vk {

namespace {

constexpr ThreadState kProcessState;

struct OwnState {
    bool exists = false;
    ThreadState state;
};

thread_local constinit OwnState t_own;

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
    return t_own.exists ? t_own.state : kProcessState;
}

ThreadState& thread_state_for_set() noexcept
{
    if (!t_own.exists) {
        t_own.state = kProcessState;
        t_own.exists = true;
    }
    return t_own.state;
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
