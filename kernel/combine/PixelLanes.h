// Pixels taken apart into channels as plain numbers, and put together again: the form in which everything that knows
// no faster way works on them. Bits of a pixel that belong to no channel stay.
#pragma once

#include "kernel/combine/PixelForm.h"

#include <cstdint>

namespace vk::combine {

/// The channels of a pixel in stored order; three of gray are one.
struct PixelLanes {
    uint32_t value[3];
    uint32_t alpha;
};

/// What lanes of a form hold.
struct LaneForm {
    int channels = 0;
    uint32_t most[3] = {}; ///< largest values
    bool has_alpha = false;
    uint32_t alpha_most = 0;
};

/// The lanes of deep pixels, and of gray levels.
LaneForm lane_form(const PixelForm& form) noexcept;

/// `count` pixels that begin with a byte. With `is_signed` gray is counted from the least value on.
void unpack_lanes(const PixelForm& form, bool is_signed, const uint8_t* packed, int32_t count,
                  PixelLanes* lanes) noexcept;
void pack_lanes(const PixelForm& form, bool is_signed, const PixelLanes* lanes, int32_t count,
                uint8_t* packed) noexcept;

} // namespace vk::combine
