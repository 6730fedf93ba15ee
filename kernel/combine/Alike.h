// Which pixels have a colour, or one not far from it: each channel within a tolerance. Kept as a range for each
// channel as it is stored, or as one answer for each index.
//
// Tolerances count levels of 8-bit channels. Wider channels are compared with a colour value by their top 8 bits, and
// with another pixel in full, the tolerance being as large a part of their range.
#pragma once

#include "Vkrecord.h"
#include "kernel/combine/PixelForm.h"
#include "kernel/combine/Walk.h"
#include "simd/Level.h"

#include <cstdint>

namespace vk::combine {

class Alike {
public:
    /// Pixels near a colour value; alpha does not count. A tolerance above 255 is one of 255.
    void open(const BITMAPHANDLE& bitmap, COLORREF color, uint32_t tolerance) noexcept;

    /// Pixels near one that stands in the first bits of `pixel`; alpha counts like the other channels.
    void open(const BITMAPHANDLE& bitmap, const uint8_t* pixel, uint32_t tolerance) noexcept;

    /// Sets bit i of the words, counted from the lowest of the first, where pixel i of `count` is alike, and clears all
    /// others of the (count + 63) / 64 words.
    void match(Line pixels, int32_t count, uint64_t* words) const noexcept;

private:
    static constexpr int kChannels = 4;
    /// Values that are alike; none when `high` is below `low`.
    struct Range {
        uint32_t low = 0;
        uint32_t high = 0;
        constexpr bool holds(uint32_t value) const noexcept { return value >= low && value <= high; }
    };

    void open_indices(RGBQUAD color, uint32_t tolerance) noexcept;
    void set_channel(int channel, uint32_t value, uint32_t most, uint32_t tolerance) noexcept;
    void set_top_bits(int channel, uint32_t level, uint32_t bits, uint32_t tolerance) noexcept;
    void open_gray(uint32_t value, bool is_level, uint32_t tolerance) noexcept;
    void open_fields(RGBQUAD color, uint32_t tolerance) noexcept;
    RGBQUAD color_of(const BITMAPHANDLE& bitmap, COLORREF color) const noexcept;
    uint64_t match_word(const uint8_t* pixels, int32_t count) const noexcept;
    uint64_t match_bits(const uint8_t* pixels, int32_t count) const noexcept;
    uint64_t match_indices(const uint8_t* pixels, int32_t count) const noexcept;
    uint64_t match_samples(const uint8_t* pixels, int32_t count) const noexcept;
    uint64_t match_words(const uint8_t* pixels, int32_t count) const noexcept;
    int32_t match_bit_words(const uint8_t* pixels, int32_t count, uint64_t* words) const noexcept;
    int32_t match_fast(const uint8_t* pixels, int32_t count, uint64_t* words) const noexcept;
    bool has_limits() const noexcept;
    const uint8_t* bring(const uint8_t* pixels, int32_t count, uint8_t* to) const noexcept;

    PixelForm form_;
    Range ranges_[kChannels];     ///< in stored order
    bool is_alike_[256] = {};     ///< by index
    bool is_index_range_ = false; ///< the indices that are alike follow each other: ranges_[0]
};

/// As many words of 64 pixels as are whole, for pixels of 1, 3 or 4 channels of bytes, or of words, that are alike when
/// each channel lies within its own limits. Returns their number.
struct AlikeLoops {
    using Match = int32_t(const uint8_t* pixels, int32_t count, size_t channels, const uint16_t* low,
                          const uint16_t* high, uint64_t* words) noexcept;
    Match* match_bytes;
    Match* match_words;
};
VK_SIMD_TABLE_256(AlikeLoops, alike_loops);

} // namespace vk::combine
