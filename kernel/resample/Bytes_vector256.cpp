// The loops of ByteKernels.h with AVX2. Only run-time selection leads here.
#include "kernel/resample/ByteKernels.h"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace vk::resample {

namespace {

__m256i load_bytes(const uint8_t* from) noexcept // 16 of them, as words
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

__m256i load(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

/// Two weights as the words of every double word.
__m256i pair_of(int32_t low, int32_t high) noexcept
{
    return _mm256_set1_epi32(
        static_cast<int32_t>((static_cast<uint32_t>(low) & 0xFFFFu) | static_cast<uint32_t>(high) << 16));
}

size_t sum_rows(const uint8_t* const* rows, const int32_t* weights, uint32_t* sums, size_t count, bool add) noexcept
{
    const __m256i pair0 = pair_of(weights[0], weights[1]);
    const __m256i pair1 = pair_of(weights[2], weights[3]);
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256i r0 = load_bytes(rows[0] + i);
        const __m256i r1 = load_bytes(rows[1] + i);
        const __m256i r2 = load_bytes(rows[2] + i);
        const __m256i r3 = load_bytes(rows[3] + i);
        const __m256i low = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(r0, r1), pair0),
                                             _mm256_madd_epi16(_mm256_unpacklo_epi16(r2, r3), pair1));
        const __m256i high = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(r0, r1), pair0),
                                              _mm256_madd_epi16(_mm256_unpackhi_epi16(r2, r3), pair1));
        __m256i first = _mm256_permute2x128_si256(low, high, 0x20);
        __m256i second = _mm256_permute2x128_si256(low, high, 0x31);
        auto* const out = reinterpret_cast<__m256i*>(sums + i);
        if (add) {
            first = _mm256_add_epi32(first, load(out));
            second = _mm256_add_epi32(second, load(out + 1));
        }
        _mm256_storeu_si256(out, first);
        _mm256_storeu_si256(out + 1, second);
    }
    return i;
}

/// Four 64-bit sums below 2^52 to lanes; the product with the inverse is never below the quotient, nor as much above it
/// as the next whole number.
__m128i quotients(__m256i sums, __m256d inverse) noexcept
{
    const __m256d magic = _mm256_set1_pd(4503599627370496.0); // 2^52: the sum is its mantissa
    const __m256d values = _mm256_sub_pd(_mm256_castsi256_pd(_mm256_or_si256(sums, _mm256_castpd_si256(magic))), magic);
    return _mm256_cvttpd_epi32(_mm256_mul_pd(values, inverse));
}

/// The bytes of four lanes in the low double word.
int32_t to_bytes(__m128i lanes) noexcept
{
    const __m128i gather = _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    return _mm_cvtsi128_si32(_mm_shuffle_epi8(lanes, gather));
}

__m256i load_wide(const void* from) noexcept // four double words
{
    return _mm256_cvtepu32_epi64(_mm_loadu_si128(static_cast<const __m128i*>(from)));
}

/// Pixels of three or four lanes, of kTaps taps (0: any). One lane behind the last sum and the last result is touched.
template <int32_t kChannels, int32_t kTaps>
int32_t area_pixels(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                    uint8_t* out) noexcept
{
    const __m256i half = _mm256_set1_epi64x(static_cast<int64_t>(quotient.total / 2));
    const __m256d inverse = _mm256_set1_pd(quotient.inverse);
    const int32_t* weights = along.weights;
    const int32_t count = along.count - (kChannels == 3 ? 1 : 0);
    for (int32_t i = 0; i < count; ++i, weights += along.pitch, out += kChannels) {
        const uint32_t* from = sums + static_cast<ptrdiff_t>(along.first[i]) * kChannels;
        __m256i total = half;
        for (int32_t k = 0; k < (kTaps ? kTaps : along.taps); ++k, from += kChannels)
            total = _mm256_add_epi64(total, _mm256_mul_epu32(load_wide(from), _mm256_set1_epi32(weights[k])));
        const int32_t pixel = to_bytes(quotients(total, inverse));
        std::memcpy(out, &pixel, sizeof pixel);
    }
    return std::max(count, 0);
}

/// One position of one lane: four partial sums.
__m256i gray_parts(const uint32_t* sums, const int32_t* weights, int32_t taps) noexcept
{
    __m256i parts = _mm256_setzero_si256();
    for (int32_t k = 0; k < taps; k += 4) {
        const __m128i wanted = _mm_cmpgt_epi32(_mm_set1_epi32(taps - k), _mm_setr_epi32(0, 1, 2, 3));
        const __m256i factors = _mm256_cvtepu32_epi64(_mm_maskload_epi32(weights + k, wanted));
        parts = _mm256_add_epi64(parts, _mm256_mul_epu32(load_wide(sums + k), factors));
    }
    return parts;
}

/// Pixels of one lane, four at a time. Three lanes behind the last sum are read.
int32_t area_grays(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                   uint8_t* out) noexcept
{
    const __m256i half = _mm256_set1_epi64x(static_cast<int64_t>(quotient.total / 2));
    const __m256d inverse = _mm256_set1_pd(quotient.inverse);
    const int32_t* weights = along.weights;
    int32_t i = 0;
    for (; i + 4 <= along.count; i += 4) {
        __m256i parts[4];
        for (int32_t p = 0; p < 4; ++p, weights += along.pitch)
            parts[p] = gray_parts(sums + along.first[i + p], weights, along.taps);
        const __m256i low =
            _mm256_add_epi64(_mm256_unpacklo_epi64(parts[0], parts[1]), _mm256_unpackhi_epi64(parts[0], parts[1]));
        const __m256i high =
            _mm256_add_epi64(_mm256_unpacklo_epi64(parts[2], parts[3]), _mm256_unpackhi_epi64(parts[2], parts[3]));
        const __m256i total =
            _mm256_add_epi64(_mm256_permute2x128_si256(low, high, 0x20), _mm256_permute2x128_si256(low, high, 0x31));
        const int32_t pixels = to_bytes(quotients(_mm256_add_epi64(total, half), inverse));
        std::memcpy(out + i, &pixels, sizeof pixels);
    }
    return i;
}

template <int32_t kChannels>
int32_t area_colors(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                    uint8_t* out) noexcept
{
    return along.taps == 4 ? area_pixels<kChannels, 4>(sums, along, quotient, out)
                           : area_pixels<kChannels, 0>(sums, along, quotient, out);
}

int32_t area_row(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient, uint8_t* out) noexcept
{
    if (along.channels == 1)
        return area_grays(sums, along, quotient, out);
    return along.channels == 3 ? area_colors<3>(sums, along, quotient, out)
                               : area_colors<4>(sums, along, quotient, out);
}

/// Four source pixels as words: the first two by channel, or the last two.
template <int32_t kChannels> __m128i by_channel(int32_t pixel) noexcept
{
    alignas(16) int8_t from[16];
    for (int32_t c = 0; c < 4; ++c) {
        const bool is_lane = c < kChannels;
        from[4 * c] = static_cast<int8_t>(is_lane ? pixel * kChannels + c : -1);
        from[4 * c + 2] = static_cast<int8_t>(is_lane ? (pixel + 1) * kChannels + c : -1);
        from[4 * c + 1] = from[4 * c + 3] = -1;
    }
    return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
}

__m256i two(const void* low, const void* high) noexcept
{
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(low))),
                                   _mm_loadu_si128(static_cast<const __m128i*>(high)), 1);
}

/// Two positions at a time, as long as the 16 bytes of their last taps lie in the row.
template <int32_t kChannels>
int32_t kernel_pixels(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    const __m256i early = _mm256_broadcastsi128_si256(by_channel<kChannels>(0));
    const __m256i late = _mm256_broadcastsi128_si256(by_channel<kChannels>(2));
    constexpr int32_t kShift = kNarrowBits - kNarrowFraction;
    const __m256i half = _mm256_set1_epi32(1 << (kShift - 1));
    const int32_t groups = along.pitch / kTapGroup;
    const int64_t bytes = int64_t{along.source} * kChannels;
    const int64_t reach = int64_t{kTapGroup} * kChannels * (groups - 1) + 16;
    const int16_t* weights = along.weights;
    int32_t i = 0;
    for (; i + 2 < along.count; i += 2, weights += 2 * along.pitch, out += 2 * kChannels) {
        const int64_t at0 = int64_t{along.first[i]} * kChannels;
        const int64_t at1 = int64_t{along.first[i + 1]} * kChannels;
        if (at1 + reach > bytes || at0 + reach > bytes)
            break;
        __m256i sums = half;
        for (int32_t g = 0; g < groups; ++g) {
            const __m256i pixels =
                two(lanes + at0 + g * kTapGroup * kChannels, lanes + at1 + g * kTapGroup * kChannels);
            const int16_t* const w = weights + g * kTapGroup;
            const __m128i w0 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(w));
            const __m128i w1 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(w + along.pitch));
            const __m256i both = _mm256_inserti128_si256(_mm256_castsi128_si256(w0), w1, 1);
            const __m256i a = _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, early), _mm256_shuffle_epi32(both, 0x00));
            const __m256i b = _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, late), _mm256_shuffle_epi32(both, 0x55));
            sums = _mm256_add_epi32(sums, _mm256_add_epi32(a, b));
        }
        sums = _mm256_srai_epi32(sums, kShift);
        sums = _mm256_packs_epi32(sums, sums);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(sums));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + kChannels), _mm256_extracti128_si256(sums, 1));
    }
    return i;
}

/// One lane: eight positions of up to four taps at a time.
int32_t kernel_grays(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    constexpr int32_t kShift = kNarrowBits - kNarrowFraction;
    if (along.pitch != kTapGroup)
        return 0;
    const __m256i half = _mm256_set1_epi32(1 << (kShift - 1));
    const auto* const table = reinterpret_cast<const int*>(lanes);
    int32_t i = 0;
    const __m256i last = _mm256_set1_epi32(along.source - kTapGroup);
    for (; i + 8 <= along.count; i += 8) {
        const __m256i from = load(along.first + i);
        if (_mm256_movemask_epi8(_mm256_cmpgt_epi32(from, last)) != 0)
            break;
        const __m256i pixels = _mm256_i32gather_epi32(table, from, 1); // the four bytes of eight positions
        const int16_t* const w = along.weights + i * kTapGroup;
        const __m256i low = _mm256_madd_epi16(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(pixels)), load(w));
        const __m256i high = _mm256_madd_epi16(_mm256_cvtepu8_epi16(_mm256_extracti128_si256(pixels, 1)), load(w + 16));
        __m256i sums = _mm256_permute4x64_epi64(_mm256_hadd_epi32(low, high), 0xD8);
        sums = _mm256_srai_epi32(_mm256_add_epi32(sums, half), kShift);
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packs_epi32(sums, sums), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_castsi256_si128(words));
    }
    return i;
}

int32_t kernel_row(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    if (along.channels == 1)
        return kernel_grays(lanes, along, out);
    return along.channels == 3 ? kernel_pixels<3>(lanes, along, out) : kernel_pixels<4>(lanes, along, out);
}

/// Sixteen lanes of `kPairs` pairs of rows (0: `pairs` of them), as words.
template <int32_t kPairs>
__m256i down(const int16_t* const* rows, const __m256i* weights, int32_t pairs, size_t at) noexcept
{
    constexpr int32_t kShift = kNarrowBits + kNarrowFraction;
    __m256i low = _mm256_set1_epi32(1 << (kShift - 1));
    __m256i high = low;
    for (int32_t p = 0; p < (kPairs ? kPairs : pairs); ++p) {
        const __m256i a = load(rows[2 * p] + at);
        const __m256i b = load(rows[2 * p + 1] + at);
        low = _mm256_add_epi32(low, _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weights[p]));
        high = _mm256_add_epi32(high, _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weights[p]));
    }
    return _mm256_packs_epi32(_mm256_srai_epi32(low, kShift), _mm256_srai_epi32(high, kShift));
}

template <int32_t kPairs>
size_t rows_down(const int16_t* const* rows, const __m256i* weights, int32_t pairs, uint8_t* out, size_t count) noexcept
{
    size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i first = down<kPairs>(rows, weights, pairs, i);
        const __m256i second = down<kPairs>(rows, weights, pairs, i + 16);
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), bytes);
    }
    return i;
}

size_t kernel_rows(const int16_t* const* rows, const int16_t* weights, int32_t taps, uint8_t* out,
                   size_t count) noexcept
{
    __m256i pairs[kMostNarrowTaps / 2];
    const int32_t used = taps / 2;
    for (int32_t p = 0; p < used; ++p)
        pairs[p] = pair_of(weights[2 * p], weights[2 * p + 1]);
    return used == 2 ? rows_down<2>(rows, pairs, used, out, count) : rows_down<0>(rows, pairs, used, out, count);
}

} // namespace

const ByteLoops& avx2_loops() noexcept
{
    static constexpr ByteLoops kLoops = {sum_rows, area_row, kernel_row, kernel_rows};
    return kLoops;
}

} // namespace vk::resample
