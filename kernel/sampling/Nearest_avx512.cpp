// Nearest pixels, sixteen at a time: gathered, and closed up by permuting bytes.
#include "kernel/sampling/Loops.h"

#include "kernel/format/PackedBits.h"

#include <algorithm>
#include <immintrin.h>

namespace vk::sampling {

namespace {

constexpr int32_t kLanes = 16;

__m512i all(int32_t value) noexcept
{
    return _mm512_set1_epi32(value);
}

/// Whole pixels from a patch's origin, of sixteen samples; what is behind the last one is nothing.
__m512i columns_of(const Patch& patch, int32_t i) noexcept
{
    return _mm512_sub_epi32(_mm512_srai_epi32(_mm512_loadu_si512(patch.x + i), kFractionBits), all(patch.left));
}

/// Bytes from a patch's origin to the rows of sixteen samples.
__m512i rows_of(const Patch& patch, int32_t i) noexcept
{
    const __m512i rows =
        _mm512_sub_epi32(_mm512_srai_epi32(_mm512_loadu_si512(patch.y + i), kFractionBits), all(patch.top));
    return _mm512_mullo_epi32(rows, all(static_cast<int32_t>(patch.stride)));
}

/// The samples among sixteen that a patch still has.
uint32_t some_of(const Patch& patch, int32_t i) noexcept
{
    const int32_t count = std::min(kLanes, patch.count - i);
    return (1u << count) - 1;
}

/// The bytes of so many pixels.
template <int32_t kBytes> __mmask64 bytes_of(uint32_t pixels) noexcept
{
    const auto bits = static_cast<uint32_t>(_mm_popcnt_u32(pixels) * kBytes);
    return bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
}

/// Closes up `kBytes` of each four.
template <int32_t kBytes> __m512i closed(__m512i words) noexcept
{
    if constexpr (kBytes == 4)
        return words;
    alignas(64) static constexpr auto kOrder = [] {
        struct {
            uint8_t from[64];
        } order{};
        for (int32_t i = 0; i < kLanes * kBytes; ++i)
            order.from[i] = static_cast<uint8_t>(i / kBytes * 4 + i % kBytes);
        return order;
    }();
    return _mm512_permutexvar_epi8(_mm512_load_si512(kOrder.from), words);
}

template <int32_t kBytes> void take(const Patch& patch, uint8_t* out) noexcept
{
    for (int32_t i = 0; i < patch.count; i += kLanes, out += kLanes * kBytes) {
        const uint32_t some = some_of(patch, i);
        const __m512i offsets =
            _mm512_add_epi32(_mm512_mullo_epi32(columns_of(patch, i), all(kBytes)), rows_of(patch, i));
        const __m512i words =
            _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), static_cast<__mmask16>(some), offsets, patch.origin, 1);
        _mm512_mask_storeu_epi8(out, bytes_of<kBytes>(some), closed<kBytes>(words));
    }
}

/// Sixteen bits of a patch, the first one highest.
uint32_t sixteen_bits(const Patch& patch, int32_t i, uint32_t some) noexcept
{
    const __m512i columns = columns_of(patch, i);
    const __m512i offsets = _mm512_add_epi32(rows_of(patch, i), _mm512_srai_epi32(columns, 3));
    const __m512i words =
        _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), static_cast<__mmask16>(some), offsets, patch.origin, 1);
    const __m512i shift = _mm512_andnot_si512(columns, all(7));
    const __m512i bits = _mm512_sllv_epi32(all(1), shift);
    const __m512i backwards = _mm512_set_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm512_movepi32_mask(
        _mm512_permutexvar_epi32(backwards, _mm512_sub_epi32(_mm512_setzero_si512(), _mm512_and_si512(words, bits))));
}

void take_row_bits(const Patch& patch, uint8_t* row, int32_t first) noexcept
{
    uint8_t* out = row + first / 8;
    int32_t i = 0;
    int32_t column = first % 8;
    if (column != 0) { // up to the end of the byte
        const int32_t count = std::min(8 - column, patch.count);
        const uint32_t bits = sixteen_bits(patch, 0, (1u << count) - 1) >> 8;
        const uint32_t mask = (0xFFu >> column) & ~(0xFFu >> (column + count));
        *out = static_cast<uint8_t>((*out & ~mask) | (bits >> column & mask));
        ++out;
        i = count;
    }
    for (; i + kLanes <= patch.count; i += kLanes, out += 2) {
        const uint32_t bits = sixteen_bits(patch, i, 0xFFFF);
        out[0] = static_cast<uint8_t>(bits >> 8);
        out[1] = static_cast<uint8_t>(bits);
    }
    for (; i < patch.count; i += 8, ++out) {
        const int32_t count = std::min(8, patch.count - i);
        const uint32_t bits = sixteen_bits(patch, i, (1u << count) - 1) >> 8;
        const uint32_t mask = 0xFFu & ~(0xFFu >> count);
        *out = static_cast<uint8_t>((*out & ~mask) | (bits & mask));
    }
}

} // namespace

Take avx512_take(int32_t bits) noexcept
{
    switch (bits) {
    case 8:
        return take<1>;
    case 16:
        return take<2>;
    case 24:
        return take<3>;
    case 32:
        return take<4>;
    default:
        return nullptr;
    }
}

TakeBits avx512_take_bits() noexcept
{
    return take_row_bits;
}

} // namespace vk::sampling
