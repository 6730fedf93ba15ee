// The inner loops and who chooses among them. For each there is a plain form; a form in vectors (*_vector.cpp) stands
// beside it where it pays, and gives the same to the bit.
#pragma once

#include "kernel/sampling/Track.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::sampling {

/// Positions (Track.h).
const PositionLoops& loops() noexcept;
extern const PositionLoops kPlainPositions;
VK_SIMD_TABLE(PositionLoops, position_loops);

/// A stretch of samples all of whose source pixels lie in memory: sample i begins at pixel (x[i] >> kFractionBits) -
/// left, (y[i] >> kFractionBits) - top, counted from the origin, which is the first pixel of a byte.
struct Patch {
    const uint8_t* origin;
    size_t stride;
    const int32_t* x;
    const int32_t* y;
    int32_t left;
    int32_t top;
    int32_t count;
    Line line; ///< the positions' fractions, finer, where cells are mixed as real numbers
};

/// Bytes behind the pixels of a patch that fast loops may read, and what their offsets may come to.
constexpr size_t kSlack = 64;
constexpr uint64_t kFarthestOffset = uint64_t{1} << 30;

/// Takes the pixels themselves. They come out packed at depths of 8 bits or whole bytes, as a byte each at fewer bits,
/// as 32-bit words at 12.
using Take = void (*)(const Patch& patch, uint8_t* out) noexcept;
Take plain_take(int32_t bits) noexcept;

/// Takes 1-bit pixels to columns [first, first + count) of a row whose other bits stay.
using TakeBits = void (*)(const Patch& patch, uint8_t* row, int32_t first) noexcept;

struct Taking {
    Take (*loop)(int32_t bits) noexcept; ///< gives null where there is none
    TakeBits bits;
};
VK_SIMD_TABLE(Taking, taking);
/// Those in use; null where there is none.
Take fast_take(int32_t bits) noexcept;
TakeBits fast_take_bits() noexcept;

/// What cells, which are pixels on their way to be mixed, are made of (Cells.h).
struct CellKind {
    int32_t channels = 1;   ///< numbers that are mixed
    int32_t lane_bytes = 1; ///< of each
    int32_t size = 1;       ///< bytes of a cell
    bool alpha = false;     ///< the last channel is the weight of the others
    bool carried = false;   ///< what is behind the channels comes from the nearest cell
    uint32_t most = 255;    ///< largest number
    bool is_real = false;   ///< mixed as real numbers (Real.h), not as whole ones (Mix.h)
    bool is_level = false;  ///< a single number that is mixed like a channel of a colour
    uint8_t steps[3] = {};  ///< of mixed numbers from 0 to the largest, where they are fewer than that

    constexpr bool operator==(const CellKind&) const noexcept = default;
};

/// Mixes four cells, or sixteen. Position fractions tell how.
using Mix = void (*)(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept;
struct MixLoops {
    Mix linear = nullptr;
    Mix cubic = nullptr;
};
MixLoops plain_mix(const CellKind& kind) noexcept;
MixLoops plain_real_mix(const CellKind& kind) noexcept;

/// Loops for a kind of cells; null where there is none.
struct Mixing {
    MixLoops (*loops)(const CellKind& kind) noexcept;
};
struct RealMixing {
    MixLoops (*loops)(const CellKind& kind) noexcept;
};
/// What of Mix.h has numbers of more bits, as the loops above use it.
struct WideMixing {
    Mix (*cubic)(const CellKind& kind) noexcept; ///< of numbers of two bytes
    Mix byte_colors; ///< puts colours by alpha over cells of bytes, mixed otherwise, where alphas are not all the same
};
VK_SIMD_TABLE(WideMixing, wide_mixing);
VK_SIMD_TABLE(Mixing, mixing);
VK_SIMD_TABLE(RealMixing, real_mixing);
/// Those in use.
MixLoops fast_mix(const CellKind& kind) noexcept;

} // namespace vk::sampling
