// Lock counting. Only the first access and the last release do work: the data callbacks are told, and a movable global
// block is pinned, so that `Data` is valid in between. An earlier record has no count: its first access locks and each
// release unlocks.
#include "kernel/rows/Locks.h"

#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Trace.h"

namespace vk {

namespace {

/// Result of an access or release callback that did all the work itself.
constexpr int kDoneByCallback = 2;

int call(V_BITMAPDATACALLBACK BITMAPDATACALLBACKS::*member, BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    return calls && calls->*member ? (calls->*member)(&bitmap, calls->UserData) : V_SUCCESS;
}

/// Counts without overflow, so that a count gone wild stays a number.
void count(BITMAPHANDLE& bitmap, int32_t step) noexcept
{
    bitmap.LockCount = static_cast<int32_t>(static_cast<uint32_t>(bitmap.LockCount) + static_cast<uint32_t>(step));
}

} // namespace

void trace_access(const BITMAPHANDLE& bitmap, const char* function) noexcept
{
    if (trace::enabled() && is_current(bitmap) && bitmap.LockCount < 1)
        trace::row_lock_count(function, bitmap.LockCount);
}

bool is_locked_uncounted(const BITMAPHANDLE& bitmap) noexcept
{
    return !is_current(bitmap) && is_global_block(bitmap) && is_pinned(bitmap);
}

int access_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    if (!is_current(bitmap))
        return pin_global_block(bitmap);
    if (bitmap.LockCount < 0)
        trace::lock_count("V_AccessBitmap", bitmap.LockCount);
    count(bitmap, 1);
    if (bitmap.LockCount != 1)
        return V_SUCCESS;
    int result = call(&BITMAPDATACALLBACKS::AccessBitmapCallback, bitmap);
    if (result == kDoneByCallback)
        return V_SUCCESS;
    if (result == V_SUCCESS) {
        result = pin_global_block(bitmap);
        if (result == V_SUCCESS)
            return V_SUCCESS;
        call(&BITMAPDATACALLBACKS::ReleaseBitmapCallback, bitmap);
    }
    count(bitmap, -1);
    return result;
}

int release_bitmap(BITMAPHANDLE& bitmap) noexcept
{
    if (is_current(bitmap)) {
        if (bitmap.LockCount < 1)
            trace::lock_count("V_ReleaseBitmap", bitmap.LockCount);
        count(bitmap, -1);
        if (bitmap.LockCount > 0)
            return V_SUCCESS;
        const int result = call(&BITMAPDATACALLBACKS::ReleaseBitmapCallback, bitmap);
        if (result == kDoneByCallback)
            return V_SUCCESS;
        if (result != V_SUCCESS)
            return result;
    }
    unpin_global_block(bitmap);
    return V_SUCCESS;
}

} // namespace vk
