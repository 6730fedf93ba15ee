// The system family's door: texts of codes, the status callback, the settings of threads and of the process, and
// movable global memory where the system has none.
//
// Inside: ThreadState.h is what each thread keeps, Progress.h reports to its callback, Trace.h tells of misuse;
// Checks.h has the checks that all doors share, Blocks.h the blocks that records own, Cleanup.h what runs when the
// library goes.
#include "Vkloader.h"
#include "Vksystem.h"

#include "kernel/system/System.h"

#include "kernel/system/Blocks.h"
#include "kernel/system/Messages.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

using namespace vk;

namespace {

template <typename Char> int write_message(int code, Char* buffer, uint32_t length) noexcept
{
    if (!buffer)
        return V_ERROR_INVALID_PARAMETER;
    if (length == 0)
        return V_ERROR_BUFFER_TOO_SMALL;
    const char* const text = message_of(code);
    size_t i = 0;
    for (; text[i] != '\0' && i + 1 < length; ++i)
        buffer[i] = static_cast<Char>(text[i]);
    buffer[i] = Char{0};
    return text[i] == '\0' ? V_SUCCESS : V_ERROR_BUFFER_TOO_SMALL;
}

} // namespace

#if !defined(_WIN32) // where callers use the system's own calls

HGLOBAL V_GlobalAlloc(uint32_t uFlags, size_t uBytes) noexcept
{
    return platform::movable_alloc(uFlags, uBytes);
}

HGLOBAL V_GlobalReAlloc(HGLOBAL hMem, size_t uBytes, uint32_t uFlags) noexcept
{
    return platform::movable_realloc(hMem, uBytes, uFlags);
}

void* V_GlobalLock(HGLOBAL hMem) noexcept
{
    return platform::movable_lock(hMem);
}

int V_GlobalUnlock(HGLOBAL hMem) noexcept
{
    return platform::movable_unlock(hMem);
}

HGLOBAL V_GlobalFree(HGLOBAL hMem) noexcept
{
    return platform::movable_free(hMem);
}

size_t V_GlobalSize(HGLOBAL hMem) noexcept
{
    return platform::movable_size(hMem);
}

HGLOBAL V_GlobalHandle(const void* pMem) noexcept
{
    return platform::movable_handle(pMem);
}

uint32_t V_GlobalFlags(HGLOBAL hMem) noexcept
{
    return platform::movable_flags(hMem);
}

#endif

int V_GetFriendlyErrorMessage(int nCode, wchar_t* pszBuffer, uint32_t uLength, ...) noexcept
{
    return write_message(nCode, pszBuffer, uLength);
}

int V_GetFriendlyErrorMessageA(int nCode, char* pszBuffer, uint32_t uLength, ...) noexcept
{
    return write_message(nCode, pszBuffer, uLength);
}

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
        set_disk_threshold(0);
        return V_SUCCESS;
    }
    if (pThresholds->StructSize != sizeof *pThresholds)
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (pThresholds->DiskThreshold < kComputedThreshold)
        return V_ERROR_INVALID_PARAMETER;
    set_disk_threshold(pThresholds->DiskThreshold);
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

void V_FreeMemory(void* pBlock) noexcept
{
    platform::heap_free(pBlock);
}

int V_SetProcessDefaults(void) noexcept
{
    set_process_state(state_to_hand_over());
    return V_SUCCESS;
}

int V_FreeThreadState(void) noexcept
{
    return drop_thread_state() ? V_SUCCESS : V_FAILURE;
}
