// Where the pixels of a resized row or column come from, and with what weights.
//
// Weights are whole numbers whose sum is the same for every destination position. Those of area averaging are the
// exact overlaps, in units in which source and destination pixels have whole lengths; the others are fixed-point values
// of a kernel, worked out with the four basic operations alone, so that they are the same everywhere. Position i and
// the one as far from the other end always have mirrored weights. Pixels beyond an end count as the end's pixel.
#pragma once

#include "kernel/rows/RowAccess.h"

#include <cstdint>

namespace vk::resample {

enum class Kernel : uint8_t {
    nearest,  ///< the stepping rule: position i takes pixel floor(i * source / target)
    area,     ///< overlap
    triangle, ///< linear interpolation; widened when shrinking, as all below
    bicubic,  ///< cubic convolution, a = -0.5
    lanczos,  ///< sinc windowed by its own main lobe's stretch, three lobes
};

/// The value of a kernel other than the first two at a distance of 0 or more.
double kernel_value(Kernel kernel, double distance) noexcept;

/// One direction of a resize from `source` to `target` pixels, of which those from `first` on are wanted.
struct Stretch {
    int32_t source = 0;
    int32_t target = 0;
    int32_t first = 0;
    int32_t count = 0;
};

/// Source pixels [first, end).
struct PixelSpan {
    int32_t first = 0;
    int32_t end = 0;
};

/// Those that the wanted pixels are made of.
PixelSpan needed_pixels(Kernel kernel, const Stretch& stretch) noexcept;

/// One direction of a resize.
class Axis {
public:
    /// From `source` to `target` pixels, both at least 1. Weights have `bits` fraction bits; those of area averaging
    /// are the overlaps themselves when that is 0. SUCCESS or ERROR_NO_MEMORY.
    int open(Kernel kernel, const Stretch& stretch, int32_t bits) noexcept;
    /// The same where all are wanted.
    int open(Kernel kernel, int32_t source, int32_t target, int32_t bits) noexcept;

    int32_t source() const noexcept { return source_; }
    int32_t target() const noexcept { return target_; }

    /// The wanted destination pixels, which positions count, and the source pixels needed, which taps count.
    int32_t positions() const noexcept { return wanted_.count; }
    int32_t pixels() const noexcept { return needed_.end - needed_.first; }

    /// No position takes more pixels than this.
    int32_t most() const noexcept { return most_; }

    /// The sum of the weights of every position.
    int64_t total() const noexcept { return total_; }

    /// The weights of position `at`: those of `*first` and the pixels behind it, without zeros at the ends. Returns how
    /// many; there is room for most() of them.
    int32_t taps(int32_t at, int32_t* first, int32_t* weights) noexcept;

private:
    int32_t taps_of(int32_t at, int32_t* first, int32_t* weights) noexcept;
    int32_t area_taps(int32_t at, int32_t* first, int32_t* weights) const noexcept;
    int32_t area_values(int32_t at, int32_t* first, int32_t* weights) noexcept;
    int32_t kernel_taps(int32_t at, int32_t* first, int32_t* weights) noexcept;
    void quantize(int32_t count, bool is_middle, int32_t* weights) const noexcept;

    Kernel kernel_ = Kernel::area;
    int32_t source_ = 0;
    int32_t target_ = 0;
    Stretch wanted_;
    PixelSpan needed_;
    int32_t most_ = 0;
    int64_t total_ = 0;
    bool exact_ = false;
    int64_t source_part_ = 0; ///< length of a destination pixel, area averaging
    int64_t target_part_ = 0; ///< length of a source pixel
    RowBuffer values_;        ///< kernel values of one position
};

/// The weights of all positions of an axis, with the same number of taps for each.
class TapTable {
public:
    /// SUCCESS or ERROR_NO_MEMORY. The axis is only used here.
    int open(Axis& axis) noexcept;

    int32_t count() const noexcept { return count_; } ///< taps of every position
    const int32_t* first() const noexcept { return reinterpret_cast<const int32_t*>(first_.data()); }
    const int32_t* weights() const noexcept { return reinterpret_cast<const int32_t*>(weights_.data()); }

private:
    int32_t count_ = 0;
    RowBuffer first_;
    RowBuffer weights_;
};

} // namespace vk::resample
