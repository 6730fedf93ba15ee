// What the exported functions of regions are made of: the region as it counts, what shapes and other bitmaps make of
// it. The region is replaced as the last step, so that a failure leaves it as it was.
#pragma once

#include "Vkregion.h"
#include "kernel/area/Shapes.h"
#include "kernel/bitmap/Region.h"

namespace vk {

/// The region as it counts: cut to the picture, all of it where there is none. It stands in the record where it can.
class Counted {
public:
    explicit Counted(const BITMAPHANDLE& bitmap) noexcept
    {
        const AreaBox frame = frame_of(bitmap);
        area_ = has_area(bitmap) ? area_of(bitmap) : Area{};
        const AreaBox bounds = area_.bounds();
        if (has_area(bitmap) && bounds.right <= frame.right && bounds.bottom <= frame.bottom)
            return;
        is_good_ = has_area(bitmap) ? cut_area(area_, frame, cut_) : build_rectangle(frame, frame, cut_);
        area_ = cut_.area();
    }

    bool is_good() const noexcept { return is_good_; }
    const Area& area() const noexcept { return area_; }

private:
    Area area_;
    AreaBuilder cut_;
    bool is_good_ = true;
};

/// The region is another module's.
inline bool is_foreign(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.RgnInfo && !has_area(bitmap);
}

/// Combines the bitmap's region with a shape that is cut to it, by a REGION_ mode; the shape may become the region.
/// SUCCESS or ERROR_NO_MEMORY.
int combine_region(BITMAPHANDLE& bitmap, AreaBuilder& shape, uint32_t mode) noexcept;

/// Makes the region what it leaves out.
int invert_region(BITMAPHANDLE& bitmap) noexcept;

/// Both perspectives are such, or the same.
bool can_turn(const BITMAPHANDLE& from, const BITMAPHANDLE& to) noexcept;

/// Gives a bitmap the region that another one has, on the same pixels as shown.
int transfer_region(BITMAPHANDLE& to, const BITMAPHANDLE& from) noexcept;

/// Combines the region with the pixels of a mask that are not 0; with nearly the colour of a pixel inside the bitmap.
int combine_mask(BITMAPHANDLE& bitmap, BITMAPHANDLE& mask, uint32_t mode) noexcept;
int combine_magic_wand(BITMAPHANDLE& bitmap, int32_t column, int32_t row, COLORREF below, COLORREF above,
                       uint32_t mode) noexcept;

/// Combines the region with a range of colours. Also ERROR_INVALID_PARAMETER for what makes none.
int combine_colors(BITMAPHANDLE& bitmap, COLORREF lower, COLORREF upper, uint32_t mode) noexcept;

/// Makes a 1-bit bitmap of the region. On failure its record is undefined, and owns nothing.
int make_mask(BITMAPHANDLE& mask, BITMAPHANDLE& source, uint32_t struct_size) noexcept;

} // namespace vk
