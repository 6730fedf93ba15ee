// Nearest pixels, sixteen at a time: gathered, and closed up by permuting bytes. Where they lie close together, as they
// do unless the picture is turned far or shrinks, a few rows are loaded and permuted, for pixels of one bit and of a
// byte sixty-four at a time.
#include "kernel/sampling/Loops.h"

#include "kernel/format/PackedBits.h"

#include <algorithm>
#include <cstring>
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

/// Sixty-four samples that lie in a window of the source.
struct Near {
    static constexpr int32_t kCount = 64;
    static constexpr int32_t kRows = 8;
    int32_t left;
    int32_t top;
    int32_t rows;
    __m512i x; ///< a byte each, from the window's corner
    __m512i y;

    /// False when they are not within `width` columns and kRows rows. The left side is a multiple of `aligned`.
    bool find(const Patch& patch, int32_t i, int32_t width, int32_t aligned) noexcept
    {
        constexpr int32_t kLast = kCount - 1;
        left = (std::min(patch.x[i], patch.x[i + kLast]) >> kFractionBits) - patch.left;
        left -= left % aligned;
        const int32_t first = (patch.y[i] >> kFractionBits) - patch.top;
        const int32_t last = (patch.y[i + kLast] >> kFractionBits) - patch.top;
        top = std::min(first, last);
        rows = std::max(first, last) - top + 1;
        return rows <= kRows && narrow(patch.x + i, patch.left + left, width, x) &&
               narrow(patch.y + i, patch.top + top, rows, y);
    }

private:
    /// Whole pixels from `first` on as bytes. False when they are not all below `end`.
    static bool narrow(const int32_t* positions, int32_t first, int32_t end, __m512i& bytes) noexcept
    {
        __m512i whole[4];
        __mmask16 outside = 0;
        for (int k = 0; k < 4; ++k) {
            const __m512i some = _mm512_loadu_si512(positions + kLanes * k);
            whole[k] = _mm512_sub_epi32(_mm512_srai_epi32(some, kFractionBits), all(first));
            outside = static_cast<__mmask16>(outside | _mm512_cmpge_epu32_mask(whole[k], all(end)));
        }
        bytes = _mm512_mask_blend_epi64(0xF0, lowest(whole[0], whole[1]), lowest(whole[2], whole[3]));
        return outside == 0;
    }

    /// The lowest bytes of two times sixteen numbers, twice.
    static __m512i lowest(__m512i a, __m512i b) noexcept
    {
        alignas(64) static constexpr auto kOrder = [] {
            struct {
                uint8_t from[64];
            } order{};
            for (uint8_t k = 0; k < 64; ++k)
                order.from[k] = static_cast<uint8_t>(k % 32 * 4);
            return order;
        }();
        return _mm512_permutex2var_epi8(a, _mm512_load_si512(kOrder.from), b);
    }
};

/// As many pixels of a byte each as come sixty-four at a time; returns how many.
int32_t take_near(const Patch& patch, uint8_t* out) noexcept
{
    int32_t i = 0;
    for (Near group; i + Near::kCount <= patch.count && group.find(patch, i, 64, 1); i += Near::kCount) {
        const uint8_t* const window = patch.origin + static_cast<size_t>(group.top) * patch.stride + group.left;
        const auto row = [&](int32_t k) noexcept {
            return _mm512_loadu_si512(window + static_cast<size_t>(std::min(k, group.rows - 1)) * patch.stride);
        };
        const __m512i odd = _mm512_and_si512(_mm512_slli_epi16(group.y, 6), _mm512_set1_epi8(64));
        const __m512i place = _mm512_or_si512(group.x, odd);
        __m512i pixels = _mm512_permutex2var_epi8(row(0), place, row(1));
        for (int32_t k = 2; k < group.rows; k += 2) {
            const __mmask64 here = _mm512_cmpge_epu8_mask(group.y, _mm512_set1_epi8(static_cast<char>(k)));
            pixels = _mm512_mask_mov_epi8(pixels, here, _mm512_permutex2var_epi8(row(k), place, row(k + 1)));
        }
        _mm512_storeu_si512(out + i, pixels);
    }
    return i;
}

/// Sixteen pixels of 16, 24 or 32 bits from a window of the source as wide as a vector and up to four rows high; false
/// when they do not lie in one.
template <int32_t kBytes> bool take_close(const Patch& patch, int32_t i, uint8_t* out) noexcept
{
    constexpr int32_t kLast = kLanes - 1;
    constexpr int32_t kRows = 4;
    constexpr int32_t kRowBytes = 64;
    const int32_t left = std::min(patch.x[i], patch.x[i + kLast]) >> kFractionBits;
    const int32_t first = patch.y[i] >> kFractionBits;
    const int32_t last = patch.y[i + kLast] >> kFractionBits;
    const int32_t top = std::min(first, last);
    const int32_t count = std::max(first, last) - top + 1;
    const __m512i x = _mm512_sub_epi32(_mm512_srai_epi32(_mm512_loadu_si512(patch.x + i), kFractionBits), all(left));
    const __m512i y = _mm512_sub_epi32(_mm512_srai_epi32(_mm512_loadu_si512(patch.y + i), kFractionBits), all(top));
    const auto outside = _mm512_cmpge_epu32_mask(x, all(kRowBytes / kBytes)) | _mm512_cmpge_epu32_mask(y, all(count));
    if (count > kRows || outside)
        return false;
    alignas(64) static constexpr auto kSpread = [] {
        struct {
            uint8_t from[kRowBytes];
            uint8_t byte[kRowBytes];
        } spread{};
        for (int32_t k = 0; k < kLanes * kBytes; ++k) {
            spread.from[k] = static_cast<uint8_t>(k / kBytes * 4);
            spread.byte[k] = static_cast<uint8_t>(k % kBytes);
        }
        return spread;
    }();
    // Of a byte's place in the window the two highest bits are its row.
    const __m512i across =
        kBytes == 3 ? _mm512_add_epi32(_mm512_slli_epi32(x, 1), x) : _mm512_slli_epi32(x, kBytes / 2);
    const __m512i pixels = _mm512_or_si512(across, _mm512_slli_epi32(y, 6));
    const __m512i places = _mm512_add_epi8(_mm512_permutexvar_epi8(_mm512_load_si512(kSpread.from), pixels),
                                           _mm512_load_si512(kSpread.byte));
    const uint8_t* const window = patch.origin + static_cast<size_t>(top - patch.top) * patch.stride +
                                  static_cast<size_t>(left - patch.left) * kBytes;
    const auto row = [&](int32_t k) noexcept {
        return _mm512_loadu_si512(window + static_cast<size_t>(std::min(k, count - 1)) * patch.stride);
    };
    __m512i bytes = _mm512_permutex2var_epi8(row(0), places, row(1));
    if (count > 2)
        bytes =
            _mm512_mask_mov_epi8(bytes, _mm512_movepi8_mask(places), _mm512_permutex2var_epi8(row(2), places, row(3)));
    _mm512_mask_storeu_epi8(out, bytes_of<kBytes>(0xFFFF), bytes);
    return true;
}

/// Sixty-four 1-bit pixels, the first one highest in the first byte; false when they do not lie close together.
bool near_bits(const Patch& patch, int32_t i, uint64_t& bits) noexcept
{
    constexpr int32_t kBytes = 16; // of a row
    Near group;
    if (!group.find(patch, i, 8 * kBytes, 8))
        return false;
    alignas(64) uint8_t window[Near::kRows * kBytes];
    const uint8_t* from = patch.origin + static_cast<size_t>(group.top) * patch.stride + group.left / 8;
    for (int32_t k = 0; k < group.rows; ++k, from += patch.stride)
        _mm_store_si128(reinterpret_cast<__m128i*>(window + k * kBytes),
                        _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    const auto every = [](int32_t value) noexcept { return _mm512_set1_epi8(static_cast<char>(value)); };
    // The bytes' places: row * 16 + column / 8. Groups of eight are turned round, for the first one is highest.
    const __m512i backwards =
        _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
    const __m512i x = _mm512_shuffle_epi8(group.x, backwards);
    const __m512i rows = _mm512_slli_epi16(_mm512_shuffle_epi8(group.y, backwards), 4);
    const __m512i columns = _mm512_and_si512(_mm512_srli_epi16(x, 3), every(kBytes - 1));
    const __m512i bytes = _mm512_permutex2var_epi8(_mm512_load_si512(window), _mm512_or_si512(rows, columns),
                                                   _mm512_load_si512(window + 64));
    const __m512i masks = _mm512_maskz_broadcast_i32x4(
        0xFFFF, _mm_setr_epi8(INT8_MIN, 64, 32, 16, 8, 4, 2, 1, INT8_MIN, 64, 32, 16, 8, 4, 2, 1));
    bits = _mm512_test_epi8_mask(bytes, _mm512_shuffle_epi8(masks, _mm512_and_si512(x, every(7))));
    return true;
}

template <int32_t kBytes> void take(const Patch& patch, uint8_t* out) noexcept
{
    int32_t i = 0;
    if constexpr (kBytes == 1) {
        i = take_near(patch, out);
        out += i;
    } else {
        for (; i + kLanes <= patch.count && take_close<kBytes>(patch, i, out); i += kLanes)
            out += kLanes * kBytes;
    }
    for (; i < patch.count; i += kLanes, out += kLanes * kBytes) {
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
    for (uint64_t bits = 0; i + Near::kCount <= patch.count && near_bits(patch, i, bits); i += Near::kCount, out += 8)
        std::memcpy(out, &bits, sizeof bits);
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
