// The filter for lanes of one byte, where nearly all pictures are: the same area averaging as WideFilter.h, to the bit,
// and kernels with weights of 14 bits, which is exact enough for the few taps it takes. ByteKernels.h has the loops.
#pragma once

#include "kernel/resample/ByteKernels.h"
#include "kernel/resample/LaneRows.h"
#include "kernel/resample/Weights.h"

namespace vk::resample {

class ByteFilter {
public:
    /// True when area averaging between such axes, which have whole overlaps, can be done here.
    static bool takes_area(const Axis& x, const Axis& y) noexcept;
    /// The same of a kernel.
    static bool takes_kernel(const Axis& x, const Axis& y) noexcept;

    /// All stay the caller's. SUCCESS or ERROR_NO_MEMORY.
    int open(LaneRows& rows, Axis& x, Axis& y, bool is_area) noexcept;

    /// Writes destination row `at` as lanes. SUCCESS or the failure of a transfer.
    int row(int32_t at, uint8_t* out) noexcept;

    const ByteLoops* fast_loops() const noexcept { return fast_; } ///< those in use, or null

private:
    int open_area() noexcept;
    int open_kernel() noexcept;
    int area_row(int32_t at, uint8_t* out) noexcept;
    int kernel_row(int32_t at, uint8_t* out) noexcept;
    int narrow_row(int32_t y, const int16_t** values) noexcept;
    template <class Weight> AlongRow<Weight> along(const Weight* weights, int32_t pitch) const noexcept;

    const ByteLoops* fast_ = nullptr;
    const ByteLoops* loops_ = nullptr;
    LaneRows* rows_ = nullptr;
    Axis* y_ = nullptr;
    bool is_area_ = false;
    TapTable table_;
    int32_t target_ = 0; ///< positions of a row
    Quotient quotient_ = {};
    int32_t pitch_ = 0;     ///< 16-bit weights from one position to the next
    RowBuffer taps_;        ///< 16-bit weights
    RowBuffer weights_;     ///< of one destination row
    RowBuffer between_;     ///< sums of columns, or a ring of rows behind the first pass
    RowBuffer held_;        ///< row in each slot of the ring, counted from 1
    size_t ring_pitch_ = 0; ///< values from one row of the ring to the next
    int32_t slots_ = 0;
};

} // namespace vk::resample
