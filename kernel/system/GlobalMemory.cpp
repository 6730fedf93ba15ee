// The exported calls for movable global memory off Windows, where the library stands in for the system.
//
// On Windows callers use the system's own calls and this file is empty.
#include "Vktypes.h"

#if !defined(_WIN32)

#include "platform/platform.h"

namespace platform = vk::platform;

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

#endif // !_WIN32
