// The filter that serves every form, in 64-bit whole numbers: along the row first, each source row once as long as it
// is kept, then down the columns. WideKernels.h has the loops.
//
// Area averaging is exact: no rounding before the quotient of the sums. Other kernels have weights of 28 bits and keep
// as many bits in between as the second pass leaves room for, so a result of up to 16 bits is off the rounded real one
// only next to a half, and one of 32 bits is right to some 26. Colours with alpha are summed with their alpha: the
// result is the weighted mean, or where everything is invisible the plain one, whose sums are only made for that.
#pragma once

#include "kernel/resample/LaneRows.h"
#include "kernel/resample/Weights.h"
#include "kernel/resample/WideKernels.h"

namespace vk::resample {

/// Bits of the weights of kernels.
constexpr int32_t kWideBits = 28;

/// True when exact sums of lanes of up to `most` fit.
bool sums_fit(uint64_t most, const Axis& x, const Axis& y) noexcept;

class WideFilter {
public:
    /// `exact`: the axes are of area averaging with whole overlaps. `by_alpha`: colours are weighted with the form's
    /// alpha. All stay the caller's. SUCCESS or ERROR_NO_MEMORY.
    int open(LaneRows& rows, Axis& x, Axis& y, bool exact, bool by_alpha) noexcept;

    /// Writes destination row `at` as lanes. SUCCESS or the failure of a transfer.
    int row(int32_t at, void* out) noexcept;

    const WideLoops* fast_loops() const noexcept { return fast_; } ///< those in use, or null

private:
    /// Source rows behind the first pass.
    struct Ring {
        WideRow pass{};
        WideEnd end{};
        RowBuffer rows;
        RowBuffer held; ///< row in each slot, counted from 1
    };

    void set_shifts(bool exact, bool by_alpha, int64_t total) noexcept;
    int open_reals(int64_t across) noexcept;
    int open_ring(Ring& ring) noexcept;
    int narrow_row(Ring& ring, int32_t y, const int64_t** sums) noexcept;
    int sum_rows(Ring& ring, size_t begin, size_t count, int64_t* sums) noexcept;
    template <class Lane> int fill_invisible(Lane* out) noexcept;

    const WideLoops* fast_ = nullptr;
    const WideLoops* loops_ = nullptr;
    LaneRows* rows_ = nullptr;
    Axis* y_ = nullptr;
    TapTable table_;
    size_t lanes_ = 0; ///< of a destination row
    size_t pitch_ = 0; ///< sums from one row to the next
    int32_t slots_ = 0;
    Ring ring_;   ///< with products where colours are weighted
    Ring colors_; ///< then also without
    RowBuffer sums_;
    RowBuffer color_sums_;
    int32_t first_ = 0; ///< source row of the destination row under way, and how many there are
    int32_t taps_ = 0;
    RowBuffer weights_; ///< theirs
    RowBuffer reals_;   ///< weights for vectors
    RowBuffer room_;    ///< a source row for vectors
};

} // namespace vk::resample
