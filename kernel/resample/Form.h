// The form in which pixels are filtered: `channels` numbers ("lanes") per pixel, next to each other, each of one, two
// or four bytes. Channels that are whole bytes or words in the bitmap are filtered as they stand; packed ones are taken
// out and put back, so that a value is always rounded in its own unit. A look-up by palette happens on the way in, and
// the nearest entry is looked for on the way out.
#pragma once

#include "Vkrecord.h"
#include "kernel/convert/Convert.h"
#include "kernel/convert/Format.h"
#include "kernel/format/GrayRange.h"

#include <cstddef>
#include <cstdint>

namespace vk::resample {

/// What lanes are made of.
enum class Lanes : uint8_t {
    stored, ///< the stored bytes or words
    index,  ///< palette indices of up to 8 bits that can be averaged
    gray,   ///< the gray level of each palette index
    color,  ///< blue, green and red of each palette index
    sample, ///< the significant bits of deep gray samples
    field,  ///< the bit fields of 16-bit colours
};

struct Form {
    Lanes lanes = Lanes::stored;
    int32_t bits = 0; ///< the bitmap's depth
    int32_t order = 0;
    int32_t channels = 1;
    int32_t lane_bytes = 1;
    bool alpha = false; ///< the last channel is alpha
    uint32_t most = 0;  ///< largest value of a lane
    GrayRange gray;     ///< Lanes::sample
    uint32_t bias = 0;  ///< Lanes::sample: flips the sign bit, so that order is that of unsigned numbers
    const pixel::Format* format = nullptr;
    RGBQUAD entries[256] = {}; ///< palette of an indexed bitmap, black behind its end
    uint32_t colors = 0;       ///< entries in use

    size_t pixel_bytes() const noexcept { return static_cast<size_t>(channels * lane_bytes); }
};

/// Bits of blue, green and red in a 16-bit pixel, from the lowest on; RGB order has red lowest.
class Fields {
public:
    explicit Fields(const Form& form) noexcept
        : green_most_(form.order == COLORORDER_RGB565 ? 63u : 31u), high_at_(form.order == COLORORDER_RGB565 ? 11 : 10)
    {}

    /// A byte for each, from the lowest on.
    uint32_t spread(uint32_t pixel) const noexcept
    {
        return (pixel & 31) | (pixel >> 5 & green_most_) << 8 | (pixel >> high_at_ & 31) << 16;
    }
    /// The pixel of such bytes, each no more than its field holds.
    uint16_t joined(uint32_t bytes) const noexcept
    {
        const auto least = [](uint32_t value, uint32_t most) noexcept { return value < most ? value : most; };
        return static_cast<uint16_t>(least(bytes & 255, 31) | least(bytes >> 8 & 255, green_most_) << 5 |
                                     least(bytes >> 16 & 255, 31) << high_at_);
    }

private:
    uint32_t green_most_;
    int high_at_;
};

/// True when lanes of a size may be used where they stand.
inline bool is_aligned(const void* lanes, int32_t lane_bytes) noexcept
{
    return reinterpret_cast<uintptr_t>(lanes) % static_cast<uintptr_t>(lane_bytes) == 0;
}

/// How a bitmap is filtered on its own: `as_levels` for those that need not come back to their palette: gray palettes
/// become levels, other ones colours. False for a depth and order that do not exist.
bool make_form(const BITMAPHANDLE& bitmap, bool as_levels, Form& form) noexcept;

/// The form for a source and a destination, which then is `target`. False when they do not go together.
bool make_forms(const BITMAPHANDLE& from, const BITMAPHANDLE& to, Form& source, Form& target) noexcept;

/// Takes a row of `width` pixels apart; not for Lanes::stored. `room` has 4 bytes for each pixel.
void unpack_row(const Form& form, const uint8_t* row, void* lanes, size_t width, uint32_t* room) noexcept;

/// Puts a row together. `lookup` finds the entries nearest to colours.
void pack_row(const Form& form, const void* lanes, uint8_t* row, size_t width, uint32_t* room,
              const ColorLookup* lookup) noexcept;

} // namespace vk::resample
