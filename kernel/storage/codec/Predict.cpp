// Prediction with SSE2, which every processor has that this library runs on. Undoing it is serial along a row, so 16
// rows are worked on together, each one column behind the row above it: what a row needs from above is then what its
// neighbour made one step earlier.
#include "kernel/storage/codec/Predict.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace vk::codec {

namespace {

__m128i load(const uint8_t* from) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

void store(uint8_t* to, __m128i value) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

/// left + above - clamp(corner); the sum wraps and the difference brings it back.
__m128i clamped_corner(__m128i left, __m128i above, __m128i corner) noexcept
{
    const __m128i low = _mm_min_epu8(left, above);
    const __m128i high = _mm_max_epu8(left, above);
    return _mm_min_epu8(_mm_max_epu8(corner, low), high);
}

/// Rows and columns of 16 times 16 bytes change places: four perfect shuffles.
void transpose(__m128i (&block)[kWaveRows]) noexcept
{
    __m128i other[kWaveRows];
    for (int twice = 0; twice < 2; ++twice) {
        for (size_t i = 0; i < 8; ++i) {
            other[2 * i] = _mm_unpacklo_epi8(block[i], block[i + 8]);
            other[2 * i + 1] = _mm_unpackhi_epi8(block[i], block[i + 8]);
        }
        for (size_t i = 0; i < 8; ++i) {
            block[2 * i] = _mm_unpacklo_epi8(other[i], other[i + 8]);
            block[2 * i + 1] = _mm_unpackhi_epi8(other[i], other[i + 8]);
        }
    }
}

/// 16 rows at once. In step s, row i handles column s - i; columns outside the row fall into the room around it.
void restore_wave(uint8_t* first, size_t stride, uint32_t width) noexcept
{
    const uint8_t* const above = first - stride;
    __m128i left = _mm_setzero_si128();
    __m128i corner = _mm_setzero_si128();
    __m128i block[kWaveRows];
    for (size_t step = 0; step < width + size_t{kWaveRows} - 1; step += kWaveRows) {
        for (size_t i = 0; i < kWaveRows; ++i)
            block[i] = load(first + i * stride + step - i);
        transpose(block);
        for (size_t i = 0; i < kWaveRows; ++i) {
            const __m128i top = _mm_cvtsi32_si128(above[step + i]);
            const __m128i up = _mm_or_si128(_mm_slli_si128(left, 1), top);
            const __m128i sum = _mm_add_epi8(up, block[i]);
            const __m128i clamped = clamped_corner(left, up, corner);
            left = _mm_sub_epi8(_mm_add_epi8(left, sum), clamped);
            corner = up;
            block[i] = left;
        }
        transpose(block);
        for (size_t i = 0; i < kWaveRows; ++i)
            store(first + i * stride + step - i, block[i]);
    }
}

void restore_row(uint8_t* row, const uint8_t* above, uint32_t width) noexcept
{
    uint8_t left = 0;
    uint8_t corner = 0;
    for (uint32_t x = 0; x < width; ++x) {
        const uint8_t up = above[x];
        const uint8_t clamped = std::clamp(corner, std::min(left, up), std::max(left, up));
        left = static_cast<uint8_t>(row[x] + left + up - clamped);
        row[x] = left;
        corner = up;
    }
}

} // namespace

void predict_row(const uint8_t* row, const uint8_t* above, uint8_t* residuals, uint32_t width) noexcept
{
    for (size_t x = 0; x < width; x += 16) {
        const __m128i left = load(row + x - 1);
        const __m128i up = load(above + x);
        const __m128i clamped = clamped_corner(left, up, load(above + x - 1));
        const __m128i rest = _mm_sub_epi8(_mm_sub_epi8(load(row + x), left), _mm_sub_epi8(up, clamped));
        store(residuals + x, rest);
    }
}

void contexts_below(const uint8_t* residuals, uint8_t* contexts, uint32_t width) noexcept
{
    constexpr char kLimits[kContexts - 1] = {2, 6, 12, 24, 48};
    const auto magnitude = [](const uint8_t* from) noexcept {
        const __m128i value = load(from);
        return _mm_min_epu8(value, _mm_sub_epi8(_mm_setzero_si128(), value));
    };
    for (size_t x = 0; x < width; x += 16) {
        const __m128i middle = magnitude(residuals + x);
        const __m128i sides = _mm_adds_epu8(magnitude(residuals + x - 1), magnitude(residuals + x + 1));
        const __m128i sum = _mm_adds_epu8(_mm_adds_epu8(middle, middle), sides);
        __m128i context = _mm_setzero_si128();
        for (const char limit : kLimits) {
            const __m128i least = _mm_set1_epi8(limit);
            context = _mm_sub_epi8(context, _mm_cmpeq_epi8(_mm_max_epu8(sum, least), sum));
        }
        store(contexts + x, context);
    }
}

void restore_plane(const Plane& plane) noexcept
{
    for (uint32_t y = 0; y < plane.rows; y += kWaveRows)
        restore_wave(plane.row(y), plane.stride, plane.width);
}

void restore_plane_plain(const Plane& plane) noexcept
{
    for (uint32_t y = 0; y < plane.rows; ++y)
        restore_row(plane.row(y), plane.row(int64_t{y} - 1), plane.width);
}

} // namespace vk::codec
