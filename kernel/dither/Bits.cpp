// The bits of thresholded rows, 16 pixels at a time.
#include "kernel/dither/Bits.h"

#include "simd/Simd.h"

#include <algorithm>

namespace vk::dither {
namespace {

/// The thresholds of the run's next row.
BitRow bit_row(const DitherState& state) noexcept
{
    BitRow row{};
    row.invert = state.two.index[0] != 0 ? 0xFF : 0;
    for (uint32_t x = 0; x < 8; ++x) {
        const int32_t offset = is_ordered(state.method)
                                   ? ordered_offset(state.method, static_cast<uint32_t>(state.row), x, state.dst_bits)
                                   : 0;
        // The clamp at either end does not matter: the threshold is between 1 and 255.
        const int32_t least = state.two.threshold - offset;
        row.above[x] = static_cast<uint8_t>(std::clamp(least - 1, 0, 255));
        row.always[x] = least <= 0 ? 0xFF : 0;
    }
    return row;
}

/// Eight bits from up to eight levels.
uint8_t byte_of(const BitRow& row, const uint8_t* levels, size_t count) noexcept
{
    uint32_t bits = 0;
    for (size_t i = 0; i < count; ++i) {
        const bool set = (levels[i] > row.above[i] || row.always[i] != 0) != (row.invert != 0);
        bits |= set ? 0x80u >> i : 0u;
    }
    return static_cast<uint8_t>(bits);
}

using Bytes = simd::Quad<uint8_t>;

Bytes twice(const uint8_t (&eight)[8]) noexcept
{
    uint64_t value = 0;
    std::memcpy(&value, eight, sizeof value);
    return simd::as<uint8_t>(simd::all<simd::Quad<uint64_t>>(value));
}

/// What loops of a set do, by vectors that every processor has.
size_t bits_of_row(const BitRow& row, const uint8_t* levels, size_t count, uint8_t* dst) noexcept
{
    const Bytes above = twice(row.above);
    const Bytes never = ~twice(row.always);
    const uint32_t invert = row.invert != 0 ? 0u : ~0u; // the comparison below is turned round once
    size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        uint32_t both = 0;
        for (size_t half = 0; half < 2; ++half) {
            const auto v = simd::load<Bytes>(levels + i + 16 * half);
            const Bytes below = simd::keep(simd::min(v, above) == v, never);
            both |= static_cast<uint32_t>(simd::high_bits(below)) << (16 * half);
        }
        both = reverse_bits(both ^ invert);
        std::memcpy(dst + i / 8, &both, sizeof both);
    }
    return i;
}

} // namespace

bool has_bits(const DitherState& state) noexcept
{
    return state.limit >= DitherPath::bits && state.single_gray && state.two.valid && state.dst_bits == 1 &&
           !is_diffusion(state.method);
}

void bits_row(DitherState& state, const uint8_t* levels, uint8_t* dst) noexcept
{
    const BitRow row = bit_row(state);
    const auto width = static_cast<size_t>(state.width);
    const BitLoops* const loops = bit_loops_sets.best();
    size_t i = (loops ? loops->row : bits_of_row)(row, levels, width, dst);
    for (; i < width; i += 8) {
        dst[i / 8] = byte_of(row, levels + i, std::min<size_t>(8, width - i));
    }
}

} // namespace vk::dither
