// Rows of a resized bitmap, in any order; ascending ones read each source row once. Chooses among the filters: bytes
// where they do, else the wide one; colours are weighted with alpha where alpha is not full all around.
#pragma once

#include "kernel/resample/ByteFilter.h"
#include "kernel/resample/WideFilter.h"

namespace vk::resample {

class RowResampler {
public:
    /// For an accessed bitmap that check_rows accepts and its form, which both outlive the object, as does the ring
    /// that has its rows, if any.
    RowResampler(BITMAPHANDLE& source, const Form& form, const RowRing* ring = nullptr) noexcept
        : rows_(source, form, ring)
    {}

    /// To `width` x `height` pixels. SUCCESS or ERROR_NO_MEMORY.
    int open(int32_t width, int32_t height, Kernel kernel) noexcept;

    /// Makes a part of a resized bitmap, from the needed_pixels of both directions, which are what the bitmap has.
    int open(const Stretch& x, const Stretch& y, Kernel kernel) noexcept;

    /// Writes row `y` as lanes of the form. SUCCESS or the failure of a transfer.
    int row(int32_t y, void* lanes) noexcept;

    /// The loops in vectors that do the work of rows without transparency, or null.
    const ByteLoops* fast_loops() const noexcept { return is_bytes_ ? bytes_.fast_loops() : nullptr; }
    /// Those of the wide filter, which does the rest of such rows; and those for rows with transparency.
    const WideLoops* wide_loops() const noexcept { return wide_.fast_loops(); }
    const WideLoops* alpha_loops() const noexcept { return by_alpha_.fast_loops(); }

private:
    struct Axes {
        Axis x, y;
        int open(const Stretch& along, const Stretch& down, Kernel kernel, int32_t bits) noexcept;
    };

    int open_filter(const Stretch& x, const Stretch& y) noexcept;
    int open_wide(WideFilter& filter, Axes& axes, const Stretch& x, const Stretch& y, bool by_alpha) noexcept;
    int nearest_row(int32_t y, uint8_t* lanes) noexcept;
    int is_opaque(int32_t y, bool* opaque) noexcept;

    LaneRows rows_;
    Kernel kernel_ = Kernel::area;
    bool is_bytes_ = false;
    Axes axes_;       ///< of the filter for opaque rows
    Axes alpha_axes_; ///< of the other one
    ByteFilter bytes_;
    WideFilter wide_;
    WideFilter by_alpha_;
    RowBuffer weights_; ///< of one destination row, to know its source rows
};

} // namespace vk::resample
