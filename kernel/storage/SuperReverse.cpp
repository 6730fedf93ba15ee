// Reversing what a super-compressed bitmap holds. Bands are made of the rows that go into them, reversed and packed,
// one after the other; the old ones stay until all new ones are there. The bands are locked for one band at a time,
// since callbacks run in between.
#include "kernel/storage/SuperBands.h"

#include "Vkrecord.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace vk {

/// Packs the rows that a band is to have. `room` holds two full bands.
int SuperBands::pack_reversed(size_t band, const Reversal& reversal, uint8_t* room, Block* block) noexcept
{
    const std::lock_guard guard(lock_);
    const codec::Shape shape = shape_of(band);
    const size_t line = bytes_per_line_;
    const uint64_t first = uint64_t{band} * rows_per_band_;
    const uint64_t taken = reversal.flip ? height_ - first - shape.rows : first;
    uint8_t* const reversed = room + shape.bytes();
    const int result = read_parts(taken * line, room, shape.bytes());
    if (result != V_SUCCESS)
        return result;
    for (uint32_t row = 0; row < shape.rows; ++row) {
        const uint8_t* const from = room + line * (reversal.flip ? shape.rows - 1 - row : row);
        std::memcpy(reversed + line * row, from, line);
        if (reversal.mirror)
            reversal.mirror(from, reversed + line * row, width_, bits_);
    }
    return pack(band, reversed, block) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int SuperBands::reverse(const Reversal& reversal) noexcept
{
    const size_t count = bands();
    auto* const blocks = static_cast<Block*>(platform::heap_alloc(count * sizeof(Block)));
    auto* const room = static_cast<uint8_t*>(platform::heap_alloc(2 * size_t{bytes_per_line_} * rows_per_band_));
    int result = blocks && room ? V_SUCCESS : V_ERROR_NO_MEMORY;
    size_t made = 0;
    while (made < count && result == V_SUCCESS) {
        result = pack_reversed(made, reversal, room, &blocks[made]);
        if (result != V_SUCCESS)
            break;
        ++made;
        result =
            reversal.progress.update(std::min<int64_t>(int64_t{rows_per_band_} * static_cast<int64_t>(made), height_));
    }
    if (result == V_SUCCESS)
        result = reversal.agree(reversal.context);
    if (result == V_SUCCESS) {
        const std::lock_guard guard(lock_);
        for (Slot& slot : slots_)
            forget(slot);
        for (size_t band = 0; band < count; ++band)
            replace(band, blocks[band]);
    }
    while (result != V_SUCCESS && made != 0)
        platform::heap_free(blocks[--made].bytes);
    platform::heap_free(room);
    platform::heap_free(blocks);
    return result;
}

} // namespace vk
