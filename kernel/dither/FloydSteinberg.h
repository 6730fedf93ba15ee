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
            sum_[p] = waiting_[p] = previous_[p] = Words{};
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

    Words load_column(int64_t x) const noexcept
    {
        return simd::load_first<Words, 2 * kColumn>(errors_in_ + x * static_cast<int64_t>(kColumn));
    }

    /// One column of every row. Steps that are not `Inside` have rows whose column does not exist; these leave no
    /// error.
    template <bool Inside> [[gnu::always_inline]] void step(int64_t t) noexcept
    {
        Words done[kPairs];
        each<kPairs>([&](auto p) __attribute__((always_inline)) { done[p] = pair<Inside, p>(t); });
        each<kPairs>([&](auto p) __attribute__((always_inline)) {
            // The upper row gets what the row above it has done, the lower row what the upper one has.
            if constexpr (p == 0) {
                const Words next = Inside || t + 1 < width_ ? load_column(t + 1) : Words{};
                sum_[p] += as_words(simd::interleave_low(as_pixels(next), as_pixels(done[0])));
            } else {
                sum_[p] += as_words(simd::align<8>(simd::as<uint8_t>(done[p - 1]), simd::as<uint8_t>(done[p])));
            }
        });
        if (Inside || t >= kLastLag) {
            int16_t* const to = errors_out_ + (t - kLastLag) * static_cast<int64_t>(kColumn);
            const auto last = as_pixels(done[kPairs - 1]);
            simd::store_first<2 * kColumn>(to, Rows % 2 == 0 ? simd::interleave_high(last, last) : last);
        }
    }

    template <bool Inside> bool inside(int64_t x) const noexcept { return Inside || (x >= 0 && x < width_); }

    template <bool Inside> [[gnu::always_inline]] uint32_t pixel(size_t row, int64_t x) const noexcept
    {
        return inside<Inside>(x) ? pixels_[row][x] : 0;
    }

    /// Chooses for one pixel and keeps its index.
    template <bool Inside> [[gnu::always_inline]] uint32_t choose(size_t row, int64_t x, uint32_t color) noexcept
    {
        if (!inside<Inside>(x)) {
            return 0;
        }
        const uint32_t choice = match_(color);
        indices_[row][x] = static_cast<uint8_t>(choice >> 24);
        return choice;
    }

    /// Clamps two wanted colours, chooses for them and keeps their indices; returns the errors.
    template <bool Inside, size_t P>
    [[gnu::always_inline]] Words choose_pair(int64_t upper, int64_t lower, Words wanted) noexcept
    {
        constexpr size_t kUpper = 2 * P;
        constexpr bool kBoth = kUpper + 1 < static_cast<size_t>(Rows);
        constexpr size_t kLower = kBoth ? kUpper + 1 : kUpper;
        if constexpr (kHasPairMatch<Match>) {
            const Words colors = simd::min(simd::max(wanted, Words{}), simd::all<Words>(255));
            PairIndices found;
            const Words levels = pair_match_(colors, found);
            if (inside<Inside>(upper)) {
                indices_[kUpper][upper] = static_cast<uint8_t>(found.upper);
            }
            if (kBoth && inside<Inside>(lower)) {
                indices_[kLower][lower] = static_cast<uint8_t>(found.lower);
            }
            return colors - levels;
        } else {
            const auto bytes = simd::pack_unsigned(wanted, Words{});
            const uint64_t colors = simd::as<uint64_t>(bytes).raw[0];
            const uint32_t first = choose<Inside>(kUpper, upper, static_cast<uint32_t>(colors));
            if constexpr (kBoth) {
                const uint32_t second = choose<Inside>(kLower, lower, static_cast<uint32_t>(colors >> 32));
                return to_words(bytes) - words_of(first, second);
            } else {
                return to_words(bytes) - words_of(first);
            }
        }
    }

    /// One column of each of two rows; returns what they leave, complete, for the column before. Leaves in `sum_` the
    /// error they pass on within their rows.
    template <bool Inside, size_t P> [[gnu::always_inline]] Words pair(int64_t t) noexcept
    {
        constexpr size_t kUpper = 2 * P;
        constexpr size_t kLower = kUpper + 1;
        constexpr bool kBoth = kLower < static_cast<size_t>(Rows);
        const int64_t upper = t - kLag * static_cast<int64_t>(kUpper);
        const int64_t lower = upper - kLag;

        Words pixels;
        if constexpr (kBoth) {
            pixels = words_of(pixel<Inside>(kUpper, upper), pixel<Inside>(kLower, lower));
        } else {
            pixels = words_of(pixel<Inside>(kUpper, upper));
        }
        Words error = choose_pair<Inside, P>(upper, lower, pixels + sixteenth(sum_[P]));
        if constexpr (!Inside) {
            const auto ones = [&](int64_t x) noexcept { return inside<Inside>(x) ? ~uint64_t{0} : uint64_t{0}; };
            error = error & as_words(simd::Quad<uint64_t>{{ones(upper), ones(lower)}});
        }
        const Words twice = error + error;
        const Words done = waiting_[P] + (twice + error);
        waiting_[P] = (previous_[P] + error) + (twice + twice);
        previous_[P] = error;
        sum_[P] = (error << 3) - error;
        return done;
    }

    template <class V> static Words as_words(V v) noexcept { return simd::as<int16_t>(v); }
    static simd::Quad<uint64_t> as_pixels(Words v) noexcept { return simd::as<uint64_t>(v); }

    Match match_;
    PairMatch<Match> pair_match_;
    int64_t width_;
    const uint32_t* pixels_[static_cast<size_t>(Rows)];
    uint8_t* indices_[static_cast<size_t>(Rows)];
    const int16_t* errors_in_; ///< from column 0 on
    int16_t* errors_out_;      ///< from the margin on
    Words sum_[kPairs];        ///< error that has reached the next column
    Words waiting_[kPairs];    ///< for the row below, without the share of the column to come
    Words previous_[kPairs];   ///< the last error
};

} // namespace vk::dither
