// The filter that serves every form, in 64-bit whole numbers: along the row first, each source row once as long as it
// is kept, then down the columns.
//
// Area averaging is exact: no rounding before the quotient of the sums. Other kernels have weights of 28 bits and keep
// as many bits in between as the second pass leaves room for, so a result of up to 16 bits is off the rounded real one
// only next to a half, and one of 32 bits is right to some 26. Colours with alpha are summed with their alpha and
// without: the result is the weighted mean, or the plain one where everything is invisible.
#pragma once

#include "kernel/resample/LaneRows.h"
#include "kernel/resample/Weights.h"

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

private:
    int narrow_row(int32_t y, const int64_t** sums) noexcept;
    const uint8_t* expand(const uint8_t* lanes) noexcept;
    uint32_t lane(int64_t sum) const noexcept;
    template <class Lane> void finish(Lane* out) const noexcept;
    template <class Lane> void finish_by_alpha(Lane* out) const noexcept;

    LaneRows* rows_ = nullptr;
    Axis* y_ = nullptr;
    TapTable table_;
    int32_t channels_ = 0; ///< that are summed
    bool exact_ = false;
    bool by_alpha_ = false;
    int32_t product_shift_ = 0; ///< bits dropped between the passes
    int32_t extra_bits_ = 0;    ///< fewer for what is not multiplied with alpha
    int32_t last_shift_ = 0;
    int64_t total_ = 0;
    size_t lanes_ = 0; ///< of a destination row
    int32_t slots_ = 0;
    RowBuffer ring_; ///< rows behind the first pass
    RowBuffer held_; ///< row in each slot, counted from 1
    RowBuffer sums_;
    RowBuffer weights_;  ///< of one destination row
    RowBuffer expanded_; ///< a source row with its products
};

} // namespace vk::resample
