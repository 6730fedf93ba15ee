// Access counting for the kernel itself, and the guard that every operation on whole bitmaps holds.
#pragma once

#include "Vkrecord.h"
#include "kernel/rows/Operation.h"

namespace vk {

int access_bitmap(BITMAPHANDLE& bitmap) noexcept;
int release_bitmap(BITMAPHANDLE& bitmap) noexcept;

/// Reports, with the trace on, that a function which moves rows was called without access.
void trace_access(const BITMAPHANDLE& bitmap, const char* function) noexcept;

/// True for an earlier record whose global block is locked. It has no count to tell whose lock that is: who finds one
/// leaves it.
bool is_locked_uncounted(const BITMAPHANDLE& bitmap) noexcept;

/// Holds a bitmap accessed, for an operation. `release` hands the result over; without it the destructor releases. An
/// operation that accesses a bitmap several times holds one of these around them all, so that its callbacks are told of
/// one access.
class BitmapAccess {
public:
    explicit BitmapAccess(BITMAPHANDLE& bitmap) noexcept
        : operation_(bitmap), bitmap_(&bitmap), was_locked_(is_locked_uncounted(bitmap)), result_(access_bitmap(bitmap))
    {}
    BitmapAccess(const BitmapAccess&) = delete;
    BitmapAccess& operator=(const BitmapAccess&) = delete;
    ~BitmapAccess() { release(); }

    /// SUCCESS, or why the bitmap could not be accessed.
    int result() const noexcept { return result_; }

    /// Releases now; SUCCESS when there is nothing to release.
    int release() noexcept
    {
        BITMAPHANDLE* const bitmap = bitmap_;
        bitmap_ = nullptr;
        return bitmap && !was_locked_ && result_ == V_SUCCESS ? release_bitmap(*bitmap) : V_SUCCESS;
    }

private:
    Operation operation_;
    BITMAPHANDLE* bitmap_;
    bool was_locked_;
    int result_;
};

/// Releases what an operation accessed, the one written to first. SUCCESS, or the first refusal; both are released.
inline int release_both(BitmapAccess& written, BitmapAccess& read) noexcept
{
    const int first = written.release();
    const int second = read.release();
    return first == V_SUCCESS ? second : first;
}

/// What an operation comes to: its own result, or what the releases say, which undo nothing.
inline int first_failure(int result, int released) noexcept
{
    return result == V_SUCCESS ? released : result;
}

} // namespace vk
