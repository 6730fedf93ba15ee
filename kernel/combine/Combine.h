// Bitmaps put into bitmaps: what V_CombineBitmap and V_BlendBitmap do, for records and a request that are checked.
#pragma once

#include "Vkcombine.h"
#include "kernel/combine/Clip.h"

namespace vk::combine {

/// A rectangle, where it lies in the destination and in the source.
struct Placement {
    Corner to;
    int32_t width;
    int32_t height;
    Corner from;
};

constexpr bool is_bit_operation(uint32_t operation) noexcept
{
    return operation <= COMBINE_KEEP;
}

/// Refuses flags that nobody knows and pairs that make no sense. SUCCESS or a code.
int check_combination(const BITMAPHANDLE& to, const BITMAPHANDLE& from, uint32_t flags) noexcept;

int combine_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, const Placement& placement, uint32_t flags) noexcept;

/// Refuses modes, flags and opacities that nobody knows. SUCCESS or a code.
int check_blend(uint32_t mode, uint32_t opacity) noexcept;

/// A mask may be null; check_rows accepts it, and it has a depth that masks have.
struct MaskPlace {
    BITMAPHANDLE* bitmap;
    Corner corner;
};

int blend_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, const Placement& placement, const MaskPlace& mask, uint32_t mode,
                 uint32_t opacity) noexcept;

} // namespace vk::combine
