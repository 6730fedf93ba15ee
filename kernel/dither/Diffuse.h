// The error-diffusion stepper for colours: the channels of a pixel in the lanes of a vector, 32 bits each.
//
// Error for the columns ahead and below waits in registers until its column is done with; a row of memory is touched
// once per pixel. The deepest row below is first reached by this row, so it is written; shallower ones are added to.
// The fourth lane carries nothing of meaning and stays as small as the others.
#pragma once

#include "kernel/dither/Each.h"
#include "kernel/dither/Match.h"

#include <emmintrin.h>

namespace vk::dither {

/// 1 / divisor, rounded up: then the product of a multiple of the divisor never falls short, and no other value of the
/// size that errors have (below 2^16) gets as far as the next multiple.
constexpr float reciprocal(int32_t divisor) noexcept
{
    const auto nearest = static_cast<float>(1.0 / divisor);
    return static_cast<double>(nearest) * divisor >= 1.0 ? nearest : nearest + nearest * 0x1p-23f;
}

/// Divides toward zero.
template <int32_t Divisor> inline __m128i divide(__m128i sum) noexcept
{
    if constexpr ((Divisor & (Divisor - 1)) == 0) {
        constexpr int kShift = __builtin_ctz(Divisor);
        const __m128i bias = _mm_srli_epi32(_mm_srai_epi32(sum, 31), 32 - kShift);
        return _mm_srai_epi32(_mm_add_epi32(sum, bias), kShift);
    } else {
        return _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(sum), _mm_set1_ps(reciprocal(Divisor))));
    }
}

template <int32_t Method, class Match> class ColorStepper {
    static constexpr const Diffusion& kMethod = kMethods[Method].diffusion;
    static constexpr size_t kReach = static_cast<size_t>(kMethod.reach);
    static constexpr size_t kDepth = static_cast<size_t>(kMethod.depth);
    static constexpr size_t kWaiting = 2 * kReach; ///< columns of a row below that are not done with

public:
    void start(const DitherState& state, const Match& match, int32_t slot) noexcept
    {
        match_ = &match;
        const uint64_t row = state.row + static_cast<uint64_t>(slot);
        pixels_ = state.work + static_cast<size_t>(slot) * static_cast<size_t>(state.width);
        indices_ = state.indices + static_cast<size_t>(slot) * state.index_pitch;
        errors_ = reinterpret_cast<const __m128i*>(error_row(state, row)) + kReach;
        for (size_t d = 0; d < kDepth; ++d) {
            below_[d] = reinterpret_cast<__m128i*>(error_row(state, row + d + 1));
        }
        for (__m128i& value : ahead_) {
            value = _mm_setzero_si128();
        }
        for (auto& waiting : waiting_) {
            for (__m128i& value : waiting) {
                value = _mm_setzero_si128();
            }
        }
    }

    [[gnu::always_inline]] void step(int64_t x) noexcept
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i pixel = _mm_cvtsi32_si128(static_cast<int32_t>(pixels_[x]));
        const __m128i value = _mm_unpacklo_epi16(_mm_unpacklo_epi8(pixel, zero), zero);
        const __m128i sum = _mm_add_epi32(ahead_[0], _mm_load_si128(errors_ + x));
        const __m128i adjusted = _mm_add_epi32(value, divide<kMethod.divisor>(sum));
        const __m128i words = _mm_packs_epi32(adjusted, adjusted);
        const __m128i bytes = _mm_packus_epi16(words, words);
        const uint32_t choice = (*match_)(static_cast<uint32_t>(_mm_cvtsi128_si32(bytes)));
        indices_[x] = static_cast<uint8_t>(choice >> 24);
        const __m128i chosen = _mm_cvtsi32_si128(static_cast<int32_t>(choice));
        const __m128i error16 = _mm_sub_epi16(_mm_unpacklo_epi8(bytes, zero), _mm_unpacklo_epi8(chosen, zero));
        spread(_mm_unpacklo_epi16(error16, zero), x);
    }

    void finish(int64_t width) noexcept
    {
        each<kDepth>(
            [&](auto d) { each<kWaiting>([&](auto i) { put<d>(width + static_cast<int64_t>(i), waiting_[d][i]); }); });
    }

private:
    /// `error` times a weight; each lane has the error in its low half and 0 in the high one.
    template <int32_t Weight> static __m128i times(__m128i error) noexcept
    {
        return _mm_madd_epi16(error, _mm_set1_epi32(Weight));
    }

    template <int32_t Weight> static __m128i plus(__m128i sum, __m128i error) noexcept
    {
        if constexpr (Weight == 0) {
            return sum;
        } else {
            return _mm_add_epi32(sum, times<Weight>(error));
        }
    }

    /// Leaves a finished column of row D below; columns count from the margin's first.
    template <size_t D> void put(int64_t column, __m128i value) noexcept
    {
        __m128i* to = below_[D] + column;
        _mm_store_si128(to, D + 1 == kDepth ? value : _mm_add_epi32(_mm_load_si128(to), value));
    }

    [[gnu::always_inline]] void spread(__m128i error, int64_t x) noexcept
    {
        each<kReach>([&](auto i) __attribute__((always_inline)) {
            const __m128i next = i + 1 < kReach ? ahead_[i + 1 < kReach ? i + 1 : 0] : _mm_setzero_si128();
            ahead_[i] = plus<kMethod.ahead[i]>(next, error);
        });
        each<kDepth>([&](auto d) __attribute__((always_inline)) {
            constexpr size_t kFirst = static_cast<size_t>(kMaxReach) - kReach;
            put<d>(x, plus<kMethod.below[d][kFirst]>(waiting_[d][0], error));
            each<kWaiting>([&](auto i) __attribute__((always_inline)) {
                const __m128i next = i + 1 < kWaiting ? waiting_[d][i + 1 < kWaiting ? i + 1 : 0] : _mm_setzero_si128();
                waiting_[d][i] = plus<kMethod.below[d][kFirst + 1 + i]>(next, error);
            });
        });
    }

    const Match* match_ = nullptr;
    const uint32_t* pixels_ = nullptr;
    uint8_t* indices_ = nullptr;
    const __m128i* errors_ = nullptr;   ///< from column 0 on
    __m128i* below_[kDepth] = {};       ///< from the margin's first column on
    __m128i ahead_[kReach];             ///< for columns x + 1 on
    __m128i waiting_[kDepth][kWaiting]; ///< for columns x - reach + 1 on
};

} // namespace vk::dither
