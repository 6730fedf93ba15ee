// Floyd-Steinberg for colours, with two rows to a vector: four 16-bit lanes hold a pixel's channels, the upper row's
// below the lower row's. Sums of error stay below 2^12, so 16 bits do.
//
// Each row is two columns behind the one above. What a row leaves for the column in the middle of the row below is
// complete one step before that row gets there, so it moves over from lanes to lanes and only the first row reads error
// and the last one writes it: four 16-bit numbers a column. A step is one column of every row: row r does column
// t - 2 r. The fourth lane of a pixel means nothing: it stays as small as the others, or 0 where pairs are matched.
#pragma once

#include "kernel/dither/Each.h"
#include "kernel/dither/MatchPair.h"
#include "kernel/dither/Team.h"

#include <emmintrin.h>

namespace vk::dither {

template <int32_t Rows, class Match> class FloydSteinberg {
    static constexpr int64_t kLag = 2;
    static constexpr int64_t kMargin = 1;
    static constexpr int64_t kLastLag = kLag * (Rows - 1);
    static constexpr size_t kPairs = static_cast<size_t>(Rows + 1) / 2;
    static constexpr size_t kColumn = 4; ///< numbers in an error row per column

public:
    FloydSteinberg(const DitherState& state, const Match& match) noexcept
        : match_(match), pair_match_(match), width_(state.width)
    {
        for (size_t r = 0; r < static_cast<size_t>(Rows); ++r) {
            pixels_[r] = state.work + r * static_cast<size_t>(state.width);
            indices_[r] = state.indices + r * state.index_pitch;
        }
        errors_in_ = reinterpret_cast<const int16_t*>(error_row(state, state.row)) + kMargin * kColumn;
        errors_out_ = reinterpret_cast<int16_t*>(error_row(state, state.row + static_cast<uint64_t>(Rows)));
        for (size_t p = 0; p < kPairs; ++p) {
            sum_[p] = waiting_[p] = previous_[p] = _mm_setzero_si128();
        }
        sum_[0] = load_column(0);
    }

    /// Inline, so that the members are variables of the caller's that no store to an index can alias.
    [[gnu::always_inline]] void run() noexcept { run_steps(0, steps()); }

    /// The same behind the row above; at the beginning its first column is complete.
    [[gnu::always_inline]] void run(const Gate& gate) noexcept
    {
        const int64_t end = steps();
        for (int64_t t = 0; t < end;) {
            const int64_t stop = std::min(t + kStretch, end);
            gate.wait(stop + 1); // a step loads the next column
            run_steps(t, stop);
            t = stop;
            gate.tell(t - kLastLag - kMargin);
        }
    }

private:
    /// The last row's last column is complete one step behind it.
    int64_t steps() const noexcept { return width_ + kLastLag + 1; }

    [[gnu::always_inline]] void run_steps(int64_t t, int64_t end) noexcept
    {
        while (t < end && t <= kLastLag) {
            step<false>(t++);
        }
        for (const int64_t inside = std::min(end, width_ - 1); t < inside; ++t) {
            step<true>(t);
        }
        while (t < end) {
            step<false>(t++);
        }
    }

    __m128i load_column(int64_t x) const noexcept
    {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(errors_in_ + x * static_cast<int64_t>(kColumn)));
    }

    /// One column of every row. Steps that are not `Inside` have rows whose column does not exist; these leave no
    /// error.
    template <bool Inside> [[gnu::always_inline]] void step(int64_t t) noexcept
    {
        __m128i done[kPairs];
        each<kPairs>([&](auto p) __attribute__((always_inline)) { done[p] = pair<Inside, p>(t); });
        each<kPairs>([&](auto p) __attribute__((always_inline)) {
            // The upper row gets what the row above it has done, the lower row what the upper one has.
            __m128i above;
            if constexpr (p == 0) {
                const __m128i next = Inside || t + 1 < width_ ? load_column(t + 1) : _mm_setzero_si128();
                above = _mm_unpacklo_epi64(next, done[0]);
            } else {
                above = _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(done[p - 1]), _mm_castsi128_pd(done[p]), 1));
            }
            sum_[p] = _mm_add_epi16(sum_[p], above);
        });
        if (Inside || t >= kLastLag) {
            auto* to = reinterpret_cast<__m128i*>(errors_out_ + (t - kLastLag) * static_cast<int64_t>(kColumn));
            const __m128i last = done[kPairs - 1];
            _mm_storel_epi64(to, Rows % 2 == 0 ? _mm_unpackhi_epi64(last, last) : last);
        }
    }

    template <bool Inside> bool inside(int64_t x) const noexcept { return Inside || (x >= 0 && x < width_); }

    template <bool Inside> [[gnu::always_inline]] __m128i pixel(size_t row, int64_t x) const noexcept
    {
        return _mm_cvtsi32_si128(inside<Inside>(x) ? static_cast<int32_t>(pixels_[row][x]) : 0);
    }

    /// Chooses for one pixel and keeps its index.
    template <bool Inside> [[gnu::always_inline]] __m128i choose(size_t row, int64_t x, uint32_t color) noexcept
    {
        if (!inside<Inside>(x)) {
            return _mm_setzero_si128();
        }
        const uint32_t choice = match_(color);
        indices_[row][x] = static_cast<uint8_t>(choice >> 24);
        return _mm_cvtsi32_si128(static_cast<int32_t>(choice));
    }

    /// Clamps two wanted colours, chooses for them and keeps their indices; returns the errors.
    template <bool Inside, size_t P>
    [[gnu::always_inline]] __m128i choose_pair(int64_t upper, int64_t lower, __m128i wanted) noexcept
    {
        constexpr size_t kUpper = 2 * P;
        constexpr bool kBoth = kUpper + 1 < static_cast<size_t>(Rows);
        constexpr size_t kLower = kBoth ? kUpper + 1 : kUpper;
        const __m128i zero = _mm_setzero_si128();
        if constexpr (kHasPairMatch<Match>) {
            const __m128i colors = _mm_min_epi16(_mm_max_epi16(wanted, zero), _mm_set1_epi16(255));
            PairIndices found;
            const __m128i levels = pair_match_(colors, found);
            if (inside<Inside>(upper)) {
                indices_[kUpper][upper] = static_cast<uint8_t>(found.upper);
            }
            if (kBoth && inside<Inside>(lower)) {
                indices_[kLower][lower] = static_cast<uint8_t>(found.lower);
            }
            return _mm_sub_epi16(colors, levels);
        } else {
            const __m128i bytes = _mm_packus_epi16(wanted, zero);
            const auto colors = static_cast<uint64_t>(_mm_cvtsi128_si64(bytes));
            __m128i chosen = choose<Inside>(kUpper, upper, static_cast<uint32_t>(colors));
            if constexpr (kBoth) {
                chosen = _mm_unpacklo_epi32(chosen, choose<Inside>(kLower, lower, static_cast<uint32_t>(colors >> 32)));
            }
            return _mm_sub_epi16(_mm_unpacklo_epi8(bytes, zero), _mm_unpacklo_epi8(chosen, zero));
        }
    }

    /// One column of each of two rows; returns what they leave, complete, for the column before. Leaves in `sum_` the
    /// error they pass on within their rows.
    template <bool Inside, size_t P> [[gnu::always_inline]] __m128i pair(int64_t t) noexcept
    {
        constexpr size_t kUpper = 2 * P;
        constexpr size_t kLower = kUpper + 1;
        constexpr bool kBoth = kLower < static_cast<size_t>(Rows);
        const int64_t upper = t - kLag * static_cast<int64_t>(kUpper);
        const int64_t lower = upper - kLag;
        const __m128i zero = _mm_setzero_si128();

        __m128i pixels = pixel<Inside>(kUpper, upper);
        if constexpr (kBoth) {
            pixels = _mm_unpacklo_epi32(pixels, pixel<Inside>(kLower, lower));
        }
        const __m128i bias = _mm_srli_epi16(_mm_srai_epi16(sum_[P], 15), 12); // 15 where negative
        const __m128i carried = _mm_srai_epi16(_mm_add_epi16(sum_[P], bias), 4);
        const __m128i wanted = _mm_add_epi16(_mm_unpacklo_epi8(pixels, zero), carried);
        __m128i error = choose_pair<Inside, P>(upper, lower, wanted);
        if constexpr (!Inside) {
            error =
                _mm_and_si128(error, _mm_set_epi64x(inside<Inside>(lower) ? -1 : 0, inside<Inside>(upper) ? -1 : 0));
        }
        const __m128i twice = _mm_add_epi16(error, error);
        const __m128i done = _mm_add_epi16(waiting_[P], _mm_add_epi16(twice, error));
        waiting_[P] = _mm_add_epi16(_mm_add_epi16(previous_[P], error), _mm_add_epi16(twice, twice));
        previous_[P] = error;
        sum_[P] = _mm_sub_epi16(_mm_slli_epi16(error, 3), error);
        return done;
    }

    Match match_;
    PairMatch<Match> pair_match_;
    int64_t width_;
    const uint32_t* pixels_[static_cast<size_t>(Rows)];
    uint8_t* indices_[static_cast<size_t>(Rows)];
    const int16_t* errors_in_; ///< from column 0 on
    int16_t* errors_out_;      ///< from the margin on
    __m128i sum_[kPairs];      ///< error that has reached the next column
    __m128i waiting_[kPairs];  ///< for the row below, without the share of the column to come
    __m128i previous_[kPairs]; ///< the last error
};

} // namespace vk::dither
