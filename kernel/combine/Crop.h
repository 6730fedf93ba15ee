// Parts of bitmaps, and bitmaps with more around them. All results are made beside the source; on failure nothing has
// changed. Regions follow their pixels.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/Clip.h"

namespace vk::combine {

/// Makes `made` a bitmap of the pixels of an area, which is not empty, with copies of what hangs on the source. On
/// failure it is empty but for StructSize.
int copy_area(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const Area& area) noexcept;

/// Cuts a bitmap to an area, which is not empty.
int trim_bitmap(BITMAPHANDLE& bitmap, const Area& area) noexcept;

/// Pixels around a bitmap: how many on each side, none of them negative, and where they come from.
struct Margins {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
    uint32_t kind; ///< EXTEND_ value
    COLORREF fill;
};

int extend_bitmap(BITMAPHANDLE& bitmap, const Margins& margins) noexcept;

/// The box of the pixels that are not within `tolerance` of a colour; {0, 0, 0, 0} without any.
int find_trim_area(BITMAPHANDLE& bitmap, COLORREF border, uint32_t tolerance, Area& area) noexcept;

} // namespace vk::combine
