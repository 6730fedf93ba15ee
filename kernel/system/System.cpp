// Library-wide and per-thread state, and the functions that set it: status callback, default memory type, memory
// thresholds.
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

constexpr int64_t kComputedThreshold = -1;

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

} // namespace vk

using namespace vk;

int V_SetStatusCallback(V_STATUSCALLBACK pfnCallback, void* pUserData, V_STATUSCALLBACK* ppfnOld,
                        void** ppOldUserData) noexcept
{
    V_GetStatusCallback(ppfnOld, ppOldUserData);
    ThreadState& state = thread_state_for_set();
    state.status_callback = pfnCallback;
    state.status_user_data = pUserData;
    return V_SUCCESS;
}

int V_GetStatusCallback(V_STATUSCALLBACK* ppfnCallback, void** ppUserData) noexcept
{
    const ThreadState& state = thread_state();
    if (ppfnCallback)
        *ppfnCallback = state.status_callback;
    if (ppUserData)
        *ppUserData = state.status_user_data;
    return V_SUCCESS;
}

int V_SetDefaultMemoryType(uint32_t uMemory) noexcept
{
    if (uMemory != TYPE_CONV && uMemory != TYPE_DISK)
        return V_ERROR_INVALID_PARAMETER;
    thread_state_for_set().default_memory_type = uMemory;
    return V_SUCCESS;
}

int V_GetDefaultMemoryType(uint32_t* puMemory) noexcept
{
    if (!puMemory)
        return V_ERROR_INVALID_PARAMETER;
    *puMemory = thread_state().default_memory_type;
    return V_SUCCESS;
}

int V_SetMemoryThresholds(int32_t nReservedMemory, int64_t nMaxConvSize, int64_t nTileSize, int32_t nConvTiles,
                          int32_t nConvBuffers, uint32_t uFlags) noexcept
{
    constexpr int kLeast = -100; // a percentage
    ThreadState& state = thread_state_for_set();
    if (uFlags & THRESHOLD_RESERVEDMEMORY) {
        if (nReservedMemory < kLeast)
            return V_ERROR_INVALID_PARAMETER;
        state.reserved_memory = nReservedMemory;
    }
    if (uFlags & THRESHOLD_MAXCONVSIZE) {
        if (nMaxConvSize < kLeast)
            return V_ERROR_INVALID_PARAMETER;
        state.max_conv_size = nMaxConvSize;
    }
    if (uFlags & THRESHOLD_TILESIZE) {
        if (nTileSize < 0)
            return V_ERROR_INVALID_PARAMETER;
        state.tile_size = nTileSize;
    }
    if (uFlags & THRESHOLD_CONVTILES) {
        if (nConvTiles < kLeast)
            return V_ERROR_INVALID_PARAMETER;
        state.conv_tiles = nConvTiles;
    }
    if (uFlags & THRESHOLD_CONVBUFFERS) {
        if (nConvBuffers < kLeast)
            return V_ERROR_INVALID_PARAMETER;
        state.conv_buffers = nConvBuffers;
    }
    return V_SUCCESS;
}

int V_GetMemoryThresholds(int32_t* pnReservedMemory, int64_t* pnMaxConvSize, int64_t* pnTileSize, int32_t* pnConvTiles,
                          int32_t* pnConvBuffers) noexcept
{
    const ThreadState& state = thread_state();
    if (pnReservedMemory)
        *pnReservedMemory = state.reserved_memory;
    if (pnMaxConvSize)
        *pnMaxConvSize = state.max_conv_size;
    if (pnTileSize)
        *pnTileSize = state.tile_size;
    if (pnConvTiles)
        *pnConvTiles = state.conv_tiles;
    if (pnConvBuffers)
        *pnConvBuffers = state.conv_buffers;
    return V_SUCCESS;
}

int V_SetGlobalMemoryThresholds(const GLOBALMEMORYTHRESHOLDS* pThresholds) noexcept
{
    if (!pThresholds) {
        g_disk_threshold = 0;
        return V_SUCCESS;
    }
    if (pThresholds->StructSize != sizeof *pThresholds)
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (pThresholds->DiskThreshold < kComputedThreshold)
        return V_ERROR_INVALID_PARAMETER;
    g_disk_threshold = pThresholds->DiskThreshold;
    return V_SUCCESS;
}

int V_GetGlobalMemoryThresholds(GLOBALMEMORYTHRESHOLDS* pThresholds, uint32_t uStructSize) noexcept
{
    if (!pThresholds)
        return V_ERROR_NULL_PTR;
    if (uStructSize != sizeof *pThresholds)
        return V_ERROR_INVALID_STRUCT_SIZE;
    pThresholds->StructSize = uStructSize;
    pThresholds->DiskThreshold = static_cast<int64_t>(disk_threshold());
    return V_SUCCESS;
}
