// The error-diffusion stepper for colours: the channels of a pixel in the lanes of a vector, 32 bits each.
//
// Error for the columns ahead and below waits in registers until its column is done with; a row of memory is touched
// once per pixel. The deepest row below is first reached by this row, so it is written; shallower ones are added to.
// The fourth lane carries nothing of meaning and stays as small as the others.
#pragma once

#include "kernel/dither/Each.h"
#include "kernel/dither/Match.h"
#include "kernel/dither/Pixels.h"

namespace vk::dither {

/// 1 / divisor, rounded up: then the product of a multiple of the divisor never falls short, and no other value of the
/// size that errors have (below 2^16) gets as far as the next multiple.
constexpr float reciprocal(int32_t divisor) noexcept
{
    const auto nearest = static_cast<float>(1.0 / divisor);
    return static_cast<double>(nearest) * divisor >= 1.0 ? nearest : nearest + nearest * 0x1p-23f;
}

/// Divides toward zero.
template <int32_t Divisor> inline Channels divide(Channels sum) noexcept
{
    if constexpr ((Divisor & (Divisor - 1)) == 0) {
        constexpr int kShift = __builtin_ctz(Divisor);
        return (sum + simd::as<int32_t>(simd::as<uint32_t>(sum >> 31) >> (32 - kShift))) >> kShift;
    } else {
        return simd::cut_off(simd::to_float(sum) * simd::all<simd::Quad<float>>(reciprocal(Divisor)));
    }
}

template <int32_t Method, class Match> class ColorStepper {
    static constexpr const Diffusion& kMethod = kMethods[Method].diffusion;
    static constexpr size_t kReach = static_cast<size_t>(kMethod.reach);
    static constexpr size_t kDepth = static_cast<size_t>(kMethod.depth);
    static constexpr size_t kWaiting = 2 * kReach; ///< columns of a row below that are not done with
    static constexpr int64_t kColumn = Channels::kLanes;

public:
    void start(const DitherState& state, const Match& match, int32_t slot) noexcept
    {
        match_ = &match;
        const uint64_t row = state.row + static_cast<uint64_t>(slot);
        pixels_ = state.work + static_cast<size_t>(slot) * static_cast<size_t>(state.width);
        indices_ = state.indices + static_cast<size_t>(slot) * state.index_pitch;
        errors_ = error_row(state, row) + kReach * Channels::kLanes;
        for (size_t d = 0; d < kDepth; ++d) {
            below_[d] = error_row(state, row + d + 1);
        }
        for (Channels& value : ahead_) {
            value = Channels{};
        }
        for (auto& waiting : waiting_) {
            for (Channels& value : waiting) {
                value = Channels{};
            }
        }
    }

    [[gnu::always_inline]] void step(int64_t x) noexcept
    {
        const Channels sum = ahead_[0] + simd::load_aligned<Channels>(errors_ + x * kColumn);
        const Channels adjusted = to_channels(words_of(pixels_[x])) + divide<kMethod.divisor>(sum);
        const Words words = simd::pack(adjusted, adjusted);
        const auto bytes = simd::pack_unsigned(words, words);
        const uint32_t choice = (*match_)(simd::as<uint32_t>(bytes).raw[0]);
        indices_[x] = static_cast<uint8_t>(choice >> 24);
        spread(to_channels(to_words(bytes) - words_of(choice)), x);
    }

    void finish(int64_t width) noexcept
    {
        each<kDepth>(
            [&](auto d) { each<kWaiting>([&](auto i) { put<d>(width + static_cast<int64_t>(i), waiting_[d][i]); }); });
    }

private:
    /// `error` times a weight; each lane has the error in its low half and 0 in the high one.
    template <int32_t Weight> static Channels times(Channels error) noexcept
    {
        return simd::mul_pairs(simd::as<int16_t>(error), simd::as<int16_t>(simd::all<Channels>(Weight)));
    }

    template <int32_t Weight> static Channels plus(Channels sum, Channels error) noexcept
    {
        if constexpr (Weight == 0) {
            return sum;
        } else {
            return sum + times<Weight>(error);
        }
    }

    /// Leaves a finished column of row D below; columns count from the margin's first.
    template <size_t D> void put(int64_t column, Channels value) noexcept
    {
        int32_t* const to = below_[D] + column * kColumn;
        simd::store_aligned(to, D + 1 == kDepth ? value : simd::load_aligned<Channels>(to) + value);
    }

    [[gnu::always_inline]] void spread(Channels error, int64_t x) noexcept
    {
        each<kReach>([&](auto i) __attribute__((always_inline)) {
            const Channels next = i + 1 < kReach ? ahead_[i + 1 < kReach ? i + 1 : 0] : Channels{};
            ahead_[i] = plus<kMethod.ahead[i]>(next, error);
        });
        each<kDepth>([&](auto d) __attribute__((always_inline)) {
            constexpr size_t kFirst = static_cast<size_t>(kMaxReach) - kReach;
            put<d>(x, plus<kMethod.below[d][kFirst]>(waiting_[d][0], error));
            each<kWaiting>([&](auto i) __attribute__((always_inline)) {
                const Channels next = i + 1 < kWaiting ? waiting_[d][i + 1 < kWaiting ? i + 1 : 0] : Channels{};
                waiting_[d][i] = plus<kMethod.below[d][kFirst + 1 + i]>(next, error);
            });
        });
    }

    const Match* match_ = nullptr;
    const uint32_t* pixels_ = nullptr;
    uint8_t* indices_ = nullptr;
    const int32_t* errors_ = nullptr;    ///< from column 0 on
    int32_t* below_[kDepth] = {};        ///< from the margin's first column on
    Channels ahead_[kReach];             ///< for columns x + 1 on
    Channels waiting_[kDepth][kWaiting]; ///< for columns x - reach + 1 on
};

} // namespace vk::dither
