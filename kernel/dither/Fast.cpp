// The fast paths but for bits and lanes: rows without error, and the choice among the rest.
#include "kernel/dither/Fast.h"

#include "kernel/dither/Match.h"

#include <emmintrin.h>

namespace vk::dither {
namespace {

/// What an ordered row adds to eight columns, as amounts to add and to subtract with saturation.
struct Offsets {
    uint8_t add[8];
    uint8_t subtract[8];
};

Offsets row_offsets(const DitherState& state) noexcept
{
    Offsets offsets{};
    for (uint32_t x = 0; x < 8 && is_ordered(state.method); ++x) {
        const int32_t offset = ordered_offset(state.method, static_cast<uint32_t>(state.row), x, state.dst_bits);
        offsets.add[x] = static_cast<uint8_t>(offset > 0 ? offset : 0);
        offsets.subtract[x] = static_cast<uint8_t>(offset < 0 ? -offset : 0);
    }
    return offsets;
}

/// An offset for each byte of four pixels.
__m128i four_pixels(const uint8_t* offsets) noexcept
{
    return _mm_setr_epi32(
        static_cast<int32_t>(offsets[0] * 0x01010101u), static_cast<int32_t>(offsets[1] * 0x01010101u),
        static_cast<int32_t>(offsets[2] * 0x01010101u), static_cast<int32_t>(offsets[3] * 0x01010101u));
}

/// Adds a row's offsets to its pixels of `Size` bytes, saturating, in place.
template <size_t Size> void offset_row(const Offsets& offsets, uint8_t* bytes, size_t count) noexcept
{
    __m128i add[2];
    __m128i subtract[2];
    for (size_t i = 0; i < 2; ++i) {
        const auto spread = [&](const uint8_t* eight) {
            return Size == 4 ? four_pixels(eight + 4 * i) : _mm_loadl_epi64(reinterpret_cast<const __m128i*>(eight));
        };
        add[i] = spread(offsets.add);
        subtract[i] = spread(offsets.subtract);
        if (Size == 1) {
            add[i] = _mm_unpacklo_epi64(add[i], add[i]);
            subtract[i] = _mm_unpacklo_epi64(subtract[i], subtract[i]);
        }
    }
    size_t at = 0;
    for (size_t step = 0; at + 16 <= count * Size; at += 16, ++step) {
        auto* to = reinterpret_cast<__m128i*>(bytes + at);
        const __m128i value = _mm_adds_epu8(_mm_loadu_si128(to), add[step % 2]);
        _mm_storeu_si128(to, _mm_subs_epu8(value, subtract[step % 2]));
    }
    for (; at < count * Size; ++at) {
        const size_t x = at / Size % 8;
        const int32_t value = bytes[at] + offsets.add[x] - offsets.subtract[x];
        bytes[at] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
}

} // namespace

void map_colors(DitherState& state) noexcept
{
    const auto width = static_cast<size_t>(state.width);
    if (is_ordered(state.method)) {
        offset_row<4>(row_offsets(state), reinterpret_cast<uint8_t*>(state.work), width);
    }
    with_match(state, [&](const auto& match) {
        const uint32_t* colors = state.work;
        uint8_t* indices = state.indices;
        for (size_t i = 0; i < width; ++i) {
            indices[i] = static_cast<uint8_t>(match(colors[i]) >> 24);
        }
    });
}

void map_grays(DitherState& state) noexcept
{
    const auto width = static_cast<size_t>(state.width);
    auto* levels = reinterpret_cast<uint8_t*>(state.work);
    if (is_ordered(state.method)) {
        offset_row<1>(row_offsets(state), levels, width);
    }
    for (size_t i = 0; i < width; ++i) {
        state.indices[i] = static_cast<uint8_t>(state.gray_choices[levels[i]] >> 24);
    }
}

int32_t wavefront_rows(const DitherState& state) noexcept
{
    return is_diffusion(state.method) && state.limit >= DitherPath::wavefront ? wave_rows(state.method) : 1;
}

void fast_rows(DitherState& state, int32_t rows) noexcept
{
    if (!is_diffusion(state.method)) {
        return state.single_gray ? map_grays(state) : map_colors(state);
    }
    if (state.single_gray) {
        diffuse_grays(state, rows);
    } else {
        with_diffusion(state.method, [&]<int32_t kMethod>() noexcept { diffuse_colors<kMethod>(state, rows); });
    }
}

} // namespace vk::dither
