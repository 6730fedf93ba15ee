// Mixing sixteen samples at a time as real numbers.
#include "kernel/sampling/RealLanes.h"

#include <algorithm>
#include <immintrin.h>

namespace vk::sampling {

namespace {

struct Wide {
    static constexpr int32_t kLanes = 16;
    using Ints = __m512i;
    using Floats = __m512;
    using Doubles = __m512d;
    using Flags = __mmask16;

    static Ints load(const int32_t* from) noexcept { return _mm512_loadu_si512(from); }
    static Ints all(int32_t value) noexcept { return _mm512_set1_epi32(value); }
    static Ints count() noexcept { return _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15); }
    static Ints add(Ints a, Ints b) noexcept { return _mm512_add_epi32(a, b); }
    static Ints sub(Ints a, Ints b) noexcept { return _mm512_sub_epi32(a, b); }
    static Ints mul(Ints a, Ints b) noexcept { return _mm512_mullo_epi32(a, b); }
    static Ints both(Ints a, Ints b) noexcept { return _mm512_and_si512(a, b); }
    static Ints any(Ints a, Ints b) noexcept { return _mm512_or_si512(a, b); }
    template <int kBits> static Ints left(Ints a) noexcept { return _mm512_slli_epi32(a, kBits); }
    template <int kBits> static Ints logical(Ints a) noexcept { return _mm512_srli_epi32(a, kBits); }
    template <int kBits> static Ints arithmetic(Ints a) noexcept { return _mm512_srai_epi32(a, kBits); }
    static Ints logical_by(Ints a, int bits) noexcept { return _mm512_srli_epi32(a, static_cast<unsigned int>(bits)); }
    /// The first `lanes`, and 0 behind them.
    static Ints first_of(int32_t lanes, Ints a) noexcept
    {
        return _mm512_maskz_mov_epi32(static_cast<__mmask16>(some_of(lanes)), a);
    }
    static Ints gather(const uint8_t* origin, Ints offsets) noexcept
    {
        return _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, offsets, origin, 1);
    }

    static Flags above(Floats a, Floats b) noexcept { return _mm512_cmp_ps_mask(a, b, _CMP_GT_OQ); }
    static Flags with(Flags a, Flags b) noexcept { return static_cast<Flags>(a & b); }
    static Flags without(Flags a, Flags b) noexcept { return static_cast<Flags>(a & ~b); }
    static Ints chosen(Flags flags, Ints yes, Ints no) noexcept { return _mm512_mask_blend_epi32(flags, no, yes); }

    static Floats number(float value) noexcept { return _mm512_set1_ps(value); }
    static Doubles number(double value) noexcept { return _mm512_set1_pd(value); }
    static Floats floats(Ints a) noexcept { return _mm512_cvtepi32_ps(a); }
    static Ints whole(Floats a) noexcept { return _mm512_cvttps_epi32(a); }
    template <bool kUpper> static Doubles doubles(Ints a) noexcept
    {
        return _mm512_cvtepi32_pd(_mm512_maskz_extracti64x4_epi64(0xF, a, kUpper));
    }
    static Ints whole(Doubles lower, Doubles upper) noexcept
    {
        return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epi32(lower)), _mm512_cvttpd_epi32(upper), 1);
    }
    static Floats least(Floats a, Floats b) noexcept { return _mm512_min_ps(a, b); }
    static Floats most(Floats a, Floats b) noexcept { return _mm512_max_ps(a, b); }
    static Doubles least(Doubles a, Doubles b) noexcept { return _mm512_min_pd(a, b); }
    static Doubles most(Doubles a, Doubles b) noexcept { return _mm512_max_pd(a, b); }

    /// The lowest bytes of each lane, next to each other, of the first `lanes`.
    template <int32_t kBytes> static void store(uint8_t* out, Ints words, int32_t lanes) noexcept
    {
        const uint32_t some = some_of(lanes);
        if constexpr (kBytes == 1)
            _mm_mask_storeu_epi8(out, static_cast<__mmask16>(some), _mm512_cvtepi32_epi8(words));
        else if constexpr (kBytes == 2)
            _mm256_mask_storeu_epi16(out, static_cast<__mmask16>(some), _mm512_cvtepi32_epi16(words));
        else if constexpr (kBytes == 4)
            _mm512_mask_storeu_epi32(out, static_cast<__mmask16>(some), words);
        else
            _mm512_mask_storeu_epi8(out, (uint64_t{1} << std::min(lanes, kLanes) * 3) - 1,
                                    _mm512_permutexvar_epi8(_mm512_load_si512(kThree.from), words));
    }

    /// Six or eight bytes a lane: a word of the first vector, and what is needed of the second one's.
    template <int32_t kBytes> static void store_pairs(uint8_t* out, Ints first, Ints second, int32_t lanes) noexcept
    {
        const Ints low = _mm512_permutex2var_epi32(first, pairs(0), second);
        const Ints high = _mm512_permutex2var_epi32(first, pairs(8), second);
        const auto store_half = [&](uint8_t* to, Ints half, int32_t count) noexcept {
            const auto bytes = static_cast<uint32_t>(std::clamp(count, 0, 8) * kBytes);
            if constexpr (kBytes == 6)
                half = _mm512_permutexvar_epi8(_mm512_load_si512(kSix.from), half);
            _mm512_mask_storeu_epi8(to, bytes == 64 ? ~uint64_t{0} : (uint64_t{1} << bytes) - 1, half);
        };
        store_half(out, low, lanes);
        store_half(out + 8 * kBytes, high, lanes - 8);
    }

private:
    static uint32_t some_of(int32_t lanes) noexcept { return (1u << std::min(lanes, kLanes)) - 1; }
    static Ints pairs(int32_t from) noexcept
    {
        return _mm512_add_epi32(_mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23), all(from));
    }

    struct Order {
        alignas(64) uint8_t from[64];
    };
    /// `kept` of each `of` bytes.
    static constexpr Order closing(int kept, int of) noexcept
    {
        Order order{};
        for (int i = 0; i < 64 / of * kept; ++i)
            order.from[i] = static_cast<uint8_t>(i / kept * of + i % kept);
        return order;
    }
    static const Order kThree;
    static const Order kSix;
};

constexpr Wide::Order Wide::kThree = closing(3, 4);
constexpr Wide::Order Wide::kSix = closing(6, 8);

} // namespace

MixLoops avx512_real_mix(const CellKind& kind) noexcept
{
    return RealLanes<Wide>::loops(kind);
}

} // namespace vk::sampling
