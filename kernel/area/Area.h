// A set of pixels, as banded runs: bands of rows that hold the same runs, from the top; in each the runs, from the
// left. Pure geometry, that knows no bitmap.
//
// An area has one form only. Bands do not overlap, each has a run, and neighbours that touch differ; runs of a band do
// not touch. So equal sets are equal bytes, and nothing takes more room than its runs. Runs are edges in ascending
// order, which is how Combine.cpp looks at them.
#pragma once

#include <cstdint>

namespace vk {

/// Pixels from `first` on, up to the one before `end`.
struct AreaRun {
    int32_t first;
    int32_t end;

    friend constexpr bool operator==(const AreaRun&, const AreaRun&) noexcept = default;
};

/// Rows top to bottom - 1, and their runs by index.
struct AreaBand {
    int32_t top;
    int32_t bottom;
    uint32_t first;
    uint32_t end;

    constexpr uint32_t runs() const noexcept { return end - first; }
};

/// Columns left to right - 1, rows top to bottom - 1.
struct AreaBox {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    constexpr bool empty() const noexcept { return left >= right || top >= bottom; }
};

constexpr AreaBox intersection(const AreaBox& a, const AreaBox& b) noexcept
{
    return {a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top, a.right < b.right ? a.right : b.right,
            a.bottom < b.bottom ? a.bottom : b.bottom};
}

/// Runs that stand somewhere else.
struct AreaRuns {
    const AreaRun* begin_ = nullptr;
    const AreaRun* end_ = nullptr;

    const AreaRun* begin() const noexcept { return begin_; }
    const AreaRun* end() const noexcept { return end_; }
    uint32_t size() const noexcept { return static_cast<uint32_t>(end_ - begin_); }
};

/// An area that stands somewhere else: in a builder or a block.
struct Area {
    const AreaBand* bands = nullptr;
    const AreaRun* runs = nullptr;
    uint32_t band_count = 0;
    uint32_t run_count = 0;

    bool empty() const noexcept { return band_count == 0; }
    AreaRuns runs_of(const AreaBand& band) const noexcept { return {runs + band.first, runs + band.end}; }

    /// The runs of a row; none where the area has no pixel.
    AreaRuns row(int32_t y) const noexcept;

    /// Those of a row that reach into columns first to end - 1. The first and the last may reach out of it.
    AreaRuns row(int32_t y, int32_t first, int32_t end) const noexcept;

    bool contains(int32_t x, int32_t y) const noexcept;

    /// The smallest box around all pixels, empty for an empty area.
    AreaBox bounds() const noexcept;

    /// Number of pixels.
    uint64_t size() const noexcept;

    /// Equal sets of pixels.
    bool equals(const Area& other) const noexcept;
};

} // namespace vk
