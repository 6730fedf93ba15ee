// Access counting for the kernel itself, and the guard that every operation on whole bitmaps holds.
#pragma once

#include "Vkrecord.h"

namespace vk {

int access_bitmap(BITMAPHANDLE& bitmap) noexcept;
int release_bitmap(BITMAPHANDLE& bitmap) noexcept;

/// Holds a bitmap accessed. `release` hands the result over; without it the destructor releases.
class BitmapAccess {
public:
    explicit BitmapAccess(BITMAPHANDLE& bitmap) noexcept : bitmap_(&bitmap), result_(access_bitmap(bitmap)) {}
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
        return bitmap && result_ == V_SUCCESS ? release_bitmap(*bitmap) : V_SUCCESS;
    }

private:
    BITMAPHANDLE* bitmap_;
    int result_;
};

} // namespace vk
