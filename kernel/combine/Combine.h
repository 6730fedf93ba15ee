// Bitmaps put into bitmaps: what V_CombineBitmap does, for records and a request that are checked.
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

} // namespace vk::combine
