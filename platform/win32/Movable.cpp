// Movable global memory: the system's own.
//
// Handles are shared with callers, who lock and free such blocks themselves, so there is no bookkeeping here.
#include "platform/win32/Win32.h"

namespace vk::backend {

void* movable_alloc(uint32_t flags, size_t bytes) noexcept
{
    return GlobalAlloc(flags, bytes);
}

void* movable_realloc(void* handle, size_t bytes, uint32_t flags) noexcept
{
    return GlobalReAlloc(handle, bytes, flags);
}

void* movable_lock(void* handle) noexcept
{
    return GlobalLock(handle);
}

int movable_unlock(void* handle) noexcept
{
    return GlobalUnlock(handle) ? 1 : 0;
}

void* movable_free(void* handle) noexcept
{
    return GlobalFree(handle);
}

size_t movable_size(void* handle) noexcept
{
    return GlobalSize(handle);
}

void* movable_handle(const void* data) noexcept
{
    return GlobalHandle(data);
}

uint32_t movable_flags(void* handle) noexcept
{
    return GlobalFlags(handle);
}

} // namespace vk::backend
