// Nearest pixels: places in memory are worked out eight at a time, pixels move one by one, since a gather is slower
// than its eight loads on many processors. 1-bit pixels are gathered all the same, as there is a bit of each to be
// tested.
#include "kernel/sampling/Loops.h"

#include "kernel/format/PackedBits.h"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace vk::sampling {

namespace {

constexpr int32_t kLanes = 8;

__m256i all(int32_t value) noexcept
{
    return _mm256_set1_epi32(value);
}

__m256i load(const int32_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

/// Whole pixels from a patch's origin, of eight samples.
__m256i columns_of(const Patch& patch, int32_t i) noexcept
{
    return _mm256_sub_epi32(_mm256_srai_epi32(load(patch.x + i), kFractionBits), all(patch.left));
}

/// Bytes from a patch's origin to the rows of eight samples.
__m256i rows_of(const Patch& patch, int32_t i) noexcept
{
    const __m256i rows = _mm256_sub_epi32(_mm256_srai_epi32(load(patch.y + i), kFractionBits), all(patch.top));
    return _mm256_mullo_epi32(rows, all(static_cast<int32_t>(patch.stride)));
}

/// A patch from its sample `i` on.
Patch rest_of(const Patch& patch, int32_t i) noexcept
{
    Patch rest = patch;
    rest.x += i;
    rest.y += i;
    rest.count -= i;
    return rest;
}

/// Pixels move as `Word`s, of which what is too much lands where the next pixel will be written; the last ones go
/// alone.
template <int32_t kBytes, class Word> void take_words(const Patch& patch, uint8_t* out) noexcept
{
    constexpr int32_t kSpare = sizeof(Word) > kBytes ? 1 : 0;
    int32_t i = 0;
    for (; i + kLanes + kSpare <= patch.count; i += kLanes, out += kLanes * kBytes) {
        const __m256i bytes = _mm256_mullo_epi32(columns_of(patch, i), all(kBytes));
        alignas(32) int32_t offsets[kLanes];
        _mm256_store_si256(reinterpret_cast<__m256i*>(offsets), _mm256_add_epi32(bytes, rows_of(patch, i)));
        for (size_t k = 0; k < kLanes; ++k)
            std::memcpy(out + k * kBytes, patch.origin + offsets[k], sizeof(Word));
    }
    plain_take(8 * kBytes)(rest_of(patch, i), out);
}

/// The first `count` bits of a patch, one by one.
void take_bits(const Patch& patch, uint8_t* row, int32_t first, int32_t count) noexcept
{
    uint8_t bits[kLanes];
    Patch few = patch;
    few.count = count;
    plain_take(1)(few, bits);
    for (int32_t i = 0; i < count; ++i) {
        const auto column = static_cast<uint32_t>(first + i);
        insert_bits(row + column / 8, 1, column, bits[i]);
    }
}

/// Each gathered word begins with the pixel's byte; its bit is brought to the top.
void take_row_bits(const Patch& whole, uint8_t* row, int32_t first) noexcept
{
    const int32_t head = first % 8 == 0 ? 0 : std::min(whole.count, 8 - first % 8);
    take_bits(whole, row, first, head);
    const Patch patch = rest_of(whole, head);
    const auto* const origin = reinterpret_cast<const int*>(patch.origin);
    const __m256i reversed = _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0);
    uint8_t* out = row + (first + head) / 8;
    int32_t i = 0;
    for (; i + kLanes <= patch.count; i += kLanes) {
        const __m256i columns = columns_of(patch, i);
        const __m256i offsets = _mm256_add_epi32(rows_of(patch, i), _mm256_srai_epi32(columns, 3));
        const __m256i shift = _mm256_add_epi32(_mm256_and_si256(columns, all(7)), all(24));
        const __m256i words = _mm256_sllv_epi32(_mm256_i32gather_epi32(origin, offsets, 1), shift);
        const __m256i in_order = _mm256_permutevar8x32_epi32(words, reversed);
        *out++ = static_cast<uint8_t>(_mm256_movemask_ps(_mm256_castsi256_ps(in_order)));
    }
    take_bits(rest_of(patch, i), row, first + head + i, patch.count - i);
}

} // namespace

Take avx2_take(int32_t bits) noexcept
{
    switch (bits) {
    case 8:
        return take_words<1, uint8_t>;
    case 16:
        return take_words<2, uint16_t>;
    case 24:
        return take_words<3, uint32_t>;
    case 32:
        return take_words<4, uint32_t>;
    case 48:
        return take_words<6, uint64_t>;
    case 64:
        return take_words<8, uint64_t>;
    default:
        return nullptr;
    }
}

TakeBits avx2_take_bits() noexcept
{
    return take_row_bits;
}

} // namespace vk::sampling
