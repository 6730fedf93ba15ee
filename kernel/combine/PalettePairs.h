// What becomes of palette indices under others, when it follows from the two colours alone: worked out once for each
// pair of indices that comes up, by way of the colours, and looked up from then on. A pixel whose colour has not
// changed keeps its index.
#pragma once

#include "kernel/combine/PaletteColors.h"

namespace vk::combine {

class PalettePairs {
public:
    /// Whether it pays to look so many pixels up by pairs, and they are indices on both sides.
    static bool are_pairs(const BITMAPHANDLE& to, const BITMAPHANDLE& from, uint64_t pixels) noexcept
    {
        constexpr int32_t kFewBits = 8;
        constexpr uint64_t kManyPixels = 4096;
        return to.BitsPerPixel <= 8 && from.BitsPerPixel <= 8 &&
               (pixels >= kManyPixels || to.BitsPerPixel + from.BitsPerPixel <= kFewBits);
    }

    /// Prepares for two bitmaps that are; the converter gives the source's colours. SUCCESS or ERROR_NO_MEMORY.
    int open(RowConverter& from, PaletteColors& to) noexcept;
    bool is_open() const noexcept { return table_.data() != nullptr; }

    /// Changes up to kChunk pixels. `change(from, to, count)` is asked for colours of four bytes that come of others.
    template <class Change> void run(Line to, Line from, int32_t count, Change change) noexcept
    {
        load(to, from, count);
        while (!look_up(count)) {
            const int32_t some = gather_unknown(count);
            change(asked_from_, asked_to_, some);
            take_answers(some);
        }
        save(to, count);
    }

private:
    static constexpr uint16_t kAsked = 0xFFFF;

    void load(Line to, Line from, int32_t count) noexcept;
    bool look_up(int32_t count) noexcept;
    int32_t gather_unknown(int32_t count) noexcept;
    void take_answers(int32_t count) noexcept;
    void save(Line to, int32_t count) noexcept;
    uint32_t pair(int32_t i) const noexcept { return uint32_t{from_[i]} << to_bits_ | to_[i]; }
    uint16_t* table() const noexcept { return reinterpret_cast<uint16_t*>(table_.data()); }

    PaletteColors* colors_ = nullptr;
    int32_t from_bits_ = 0;
    int32_t to_bits_ = 0;
    RowBuffer table_; ///< by source index and destination index one more than what becomes of them, 0 not yet known
    uint32_t from_colors_[256];
    uint32_t to_colors_[256];
    alignas(64) uint8_t packed_[kChunk];
    uint8_t from_[kChunk];
    uint8_t to_[kChunk];
    uint8_t made_[kChunk];
    uint16_t asked_[kChunk]; ///< pairs
    alignas(64) uint8_t asked_from_[4 * kChunk];
    alignas(64) uint8_t asked_to_[4 * kChunk];
};

} // namespace vk::combine
