// Chosen pixels of a row, to the bit: the stored row is read, the segments are laid over it, and it is written back
// whole.
#include "kernel/rows/Segments.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/RegionRows.h"
#include "kernel/rows/RowCol.h"
#include "platform/platform.h"

#include <cstring>

namespace vk {

namespace {

void blend(uint8_t& to, uint8_t from, uint8_t mask) noexcept
{
    to = static_cast<uint8_t>((to & ~mask) | (from & mask));
}

} // namespace

void copy_pixels(uint8_t* to, const uint8_t* from, int32_t bits, uint32_t first, uint32_t end) noexcept
{
    if (first >= end)
        return;
    const uint64_t start = uint64_t{first} * static_cast<uint32_t>(bits) / 8;
    const uint64_t last = (uint64_t{end} * static_cast<uint32_t>(bits) + 7) / 8 - 1;
    const uint8_t head = head_mask(bits, first);
    const uint8_t tail = tail_mask(bits, end);
    if (start == last) {
        blend(to[start], from[start], head & tail);
        return;
    }
    blend(to[start], from[start], head);
    std::memcpy(to + start + 1, from + start + 1, static_cast<size_t>(last - start - 1));
    blend(to[last], from[last], tail);
}

intptr_t put_segments(BITMAPHANDLE& bitmap, const uint8_t* row_in, int32_t row, const ROWSEGMENT* segments,
                      uint32_t count) noexcept
{
    const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint32_t>(bitmap.Width), bitmap.BitsPerPixel));
    auto* const stored = static_cast<uint8_t*>(platform::heap_alloc(bytes ? bytes : 1));
    if (!stored)
        return V_ERROR_NO_MEMORY;
    const RegionRows inside(bitmap);
    intptr_t pixels = 0;
    intptr_t moved = get_row(bitmap, stored, row, bytes);
    if (moved >= 0) {
        for (uint32_t i = 0; i < count; ++i) {
            const int32_t start = segments[i].nCol;
            inside.each(row, start, start + segments[i].nWidth, [&](int32_t first, int32_t end) noexcept {
                copy_pixels(stored, row_in, bitmap.BitsPerPixel, static_cast<uint32_t>(first),
                            static_cast<uint32_t>(end));
                pixels += end - first;
            });
        }
        moved = put_row(bitmap, stored, row, bytes);
    }
    platform::heap_free(stored);
    return moved < 0 ? moved : pixels;
}

} // namespace vk
