// Mixing eight samples at a time as real numbers.
#include "kernel/sampling/RealLanes.h"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace vk::sampling {

namespace {

struct Lanes {
    static constexpr int32_t kLanes = 8;
    using Ints = __m256i;
    using Floats = __m256;
    using Doubles = __m256d;
    using Flags = __m256i;

    static Ints load(const int32_t* from) noexcept
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    }
    static Ints all(int32_t value) noexcept { return _mm256_set1_epi32(value); }
    static Ints count() noexcept { return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7); }
    static Ints add(Ints a, Ints b) noexcept { return _mm256_add_epi32(a, b); }
    static Ints sub(Ints a, Ints b) noexcept { return _mm256_sub_epi32(a, b); }
    static Ints mul(Ints a, Ints b) noexcept { return _mm256_mullo_epi32(a, b); }
    static Ints both(Ints a, Ints b) noexcept { return _mm256_and_si256(a, b); }
    static Ints any(Ints a, Ints b) noexcept { return _mm256_or_si256(a, b); }
    template <int kBits> static Ints left(Ints a) noexcept { return _mm256_slli_epi32(a, kBits); }
    template <int kBits> static Ints logical(Ints a) noexcept { return _mm256_srli_epi32(a, kBits); }
    template <int kBits> static Ints arithmetic(Ints a) noexcept { return _mm256_srai_epi32(a, kBits); }
    static Ints logical_by(Ints a, int bits) noexcept { return _mm256_srli_epi32(a, bits); }
    /// The first `lanes`, and 0 behind them.
    static Ints first_of(int32_t lanes, Ints a) noexcept
    {
        return _mm256_and_si256(_mm256_cmpgt_epi32(all(lanes), count()), a);
    }
    static Ints gather(const uint8_t* origin, Ints offsets) noexcept
    {
        return _mm256_i32gather_epi32(reinterpret_cast<const int*>(origin), offsets, 1);
    }

    static Flags above(Floats a, Floats b) noexcept { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_GT_OQ)); }
    static Flags with(Flags a, Flags b) noexcept { return _mm256_and_si256(a, b); }
    static Flags without(Flags a, Flags b) noexcept { return _mm256_andnot_si256(b, a); }
    static Ints chosen(Flags flags, Ints yes, Ints no) noexcept { return _mm256_blendv_epi8(no, yes, flags); }

    static Floats number(float value) noexcept { return _mm256_set1_ps(value); }
    static Doubles number(double value) noexcept { return _mm256_set1_pd(value); }
    static Floats floats(Ints a) noexcept { return _mm256_cvtepi32_ps(a); }
    static Ints whole(Floats a) noexcept { return _mm256_cvttps_epi32(a); }
    template <bool kUpper> static Doubles doubles(Ints a) noexcept
    {
        return _mm256_cvtepi32_pd(_mm256_extracti128_si256(a, kUpper));
    }
    static Ints whole(Doubles lower, Doubles upper) noexcept
    {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(lower)), _mm256_cvttpd_epi32(upper),
                                       1);
    }
    static Floats least(Floats a, Floats b) noexcept { return _mm256_min_ps(a, b); }
    static Floats most(Floats a, Floats b) noexcept { return _mm256_max_ps(a, b); }
    static Doubles least(Doubles a, Doubles b) noexcept { return _mm256_min_pd(a, b); }
    static Doubles most(Doubles a, Doubles b) noexcept { return _mm256_max_pd(a, b); }

    /// The lowest bytes of each lane, next to each other, of the first `lanes`.
    template <int32_t kBytes> static void store(uint8_t* out, Ints words, int32_t lanes) noexcept
    {
        constexpr char z = -1;
        uint8_t bytes[32];
        if constexpr (kBytes == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), words);
        } else {
            const __m256i closed = _mm256_shuffle_epi8(
                words, _mm256_broadcastsi128_si256(
                           kBytes == 1   ? _mm_setr_epi8(0, 4, 8, 12, z, z, z, z, z, z, z, z, z, z, z, z)
                           : kBytes == 2 ? _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, z, z, z, z, z, z, z, z)
                                         : _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm256_castsi256_si128(closed));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + 4 * kBytes), _mm256_extracti128_si256(closed, 1));
        }
        put<8 * kBytes>(out, bytes, static_cast<size_t>(lanes) * kBytes);
    }

    /// Six or eight bytes a lane: a word of the first vector, and what is needed of the second one's.
    template <int32_t kBytes> static void store_pairs(uint8_t* out, Ints first, Ints second, int32_t lanes) noexcept
    {
        constexpr char z = -1;
        uint8_t bytes[64];
        // Samples 0, 1, 4 and 5, and the others.
        const __m256i order =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z));
        const auto closed = [&](__m256i pairs) noexcept {
            return kBytes == 6 ? _mm256_shuffle_epi8(pairs, order) : pairs;
        };
        const __m256i low = closed(_mm256_unpacklo_epi32(first, second));
        const __m256i high = closed(_mm256_unpackhi_epi32(first, second));
        const auto store_two = [&](size_t at, __m128i two) noexcept {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + at * kBytes), two);
        };
        store_two(0, _mm256_castsi256_si128(low));
        store_two(2, _mm256_castsi256_si128(high));
        store_two(4, _mm256_extracti128_si256(low, 1));
        store_two(6, _mm256_extracti128_si256(high, 1));
        put<8 * kBytes>(out, bytes, static_cast<size_t>(lanes) * kBytes);
    }

private:
    template <size_t kMost> static void put(uint8_t* out, const uint8_t* bytes, size_t count) noexcept
    {
        if (count >= kMost)
            std::memcpy(out, bytes, kMost);
        else
            std::memcpy(out, bytes, count);
    }
};

} // namespace

MixLoops avx2_real_mix(const CellKind& kind) noexcept
{
    return RealLanes<Lanes>::loops(kind);
}

} // namespace vk::sampling
