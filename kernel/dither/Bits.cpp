// The bits of thresholded rows, 16 pixels at a time.
#include "kernel/dither/Bits.h"

#include <algorithm>
#include <emmintrin.h>

namespace vk::dither {
namespace {

/// AVX2 and what comes with it in every processor that has it.
bool has_avx2() noexcept
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
           __builtin_cpu_supports("popcnt");
}

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

__m128i twice(const uint8_t (&eight)[8]) noexcept
{
    int64_t value = 0;
    std::memcpy(&value, eight, sizeof value);
    return _mm_set1_epi64x(value);
}

size_t bits_sse2(const BitRow& row, const uint8_t* levels, size_t count, uint8_t* dst) noexcept
{
    const __m128i above = twice(row.above);
    const __m128i always = twice(row.always);
    const uint32_t invert = row.invert != 0 ? 0u : ~0u; // the comparison below is turned round once
    size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        uint32_t both = 0;
        for (size_t half = 0; half < 2; ++half) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(levels + i + 16 * half));
            const __m128i below = _mm_andnot_si128(always, _mm_cmpeq_epi8(_mm_min_epu8(v, above), v));
            both |= static_cast<uint32_t>(_mm_movemask_epi8(below)) << (16 * half);
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

DitherPath bits_row(DitherState& state, const uint8_t* levels, uint8_t* dst) noexcept
{
    const BitRow row = bit_row(state);
    const auto width = static_cast<size_t>(state.width);
    const bool wide = state.limit >= DitherPath::bits_avx2 && has_avx2();
    size_t i = wide ? bits_avx2(row, levels, width, dst) : bits_sse2(row, levels, width, dst);
    for (; i < width; i += 8) {
        dst[i / 8] = byte_of(row, levels + i, std::min<size_t>(8, width - i));
    }
    return wide ? DitherPath::bits_avx2 : DitherPath::bits;
}

} // namespace vk::dither
