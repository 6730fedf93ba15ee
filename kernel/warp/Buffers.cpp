// Buffers of pixels turned, by the transposer and the row mirror that whole bitmaps are turned with.
#include "kernel/warp/Buffers.h"

#include "kernel/format/RowMath.h"
#include "kernel/view/MirrorRow.h"
#include "kernel/view/Transpose.h"

#include <cstring>

namespace vk {

namespace {

/// Writing this much and more is worth doing past the caches.
constexpr uint64_t kStreamedBytes = 8u << 20;

} // namespace

void quarter_turn(const PixelBuffer& from, uint8_t* to, size_t to_stride, bool is_clockwise) noexcept
{
    const auto from_step = static_cast<ptrdiff_t>(from.stride);
    const auto to_step = static_cast<ptrdiff_t>(to_stride);
    TransposeBlock block{from.data, from_step, to, to_step, from.width, from.height};
    if (is_clockwise) {
        block.from += from_step * (from.height - 1);
        block.from_stride = 0 - from_step;
    } else {
        block.to += to_step * (from.width - 1);
        block.to_stride = 0 - to_step;
    }
    const uint64_t bytes =
        packed_bytes(static_cast<uint64_t>(from.height), from.bits) * static_cast<uint64_t>(from.width);
    transpose(block, from.bits, bytes >= kStreamedBytes);
}

void half_turn(const PixelBuffer& from, uint8_t* to, size_t to_stride) noexcept
{
    for (int32_t row = 0; row < from.height; ++row)
        mirror_row(from.data + static_cast<size_t>(row) * from.stride,
                   to + static_cast<size_t>(from.height - 1 - row) * to_stride, from.width, from.bits);
}

} // namespace vk
