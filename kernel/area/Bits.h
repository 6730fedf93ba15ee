// Rows of bits, most significant first, as runs of set bits, and runs as bits.
#pragma once

#include "kernel/area/Combine.h"

#include <cstddef>

namespace vk {

/// Writes the runs of set bits among the first `width` of a row; there is room for width / 2 + 1 of them. Returns how
/// many there are.
size_t runs_of_bits(const uint8_t* row, int32_t width, AreaRun* runs) noexcept;

/// Rows of bits that stand somewhere.
struct BitRows {
    const uint8_t* data;
    size_t stride; ///< bytes from one to the next
    int32_t row;   ///< the number of the first
    int32_t count;
};

/// Rows of bits on their way into an area, from the top down. Where another area is given, each is combined with that
/// area's row first, by words; what it has outside of the rows does not count.
class BitsToArea {
public:
    /// As they are.
    explicit BitsToArea(AreaBuilder& built) noexcept : built_(built) {}

    /// As the second operand; `area` stays where it is meanwhile.
    BitsToArea(const Area& area, AreaOp op, AreaBuilder& built) noexcept
        : built_(built), op_(op), band_(area.bands), last_(area.bands + area.band_count), runs_(area.runs)
    {}

    /// Adds the runs of rows, the first of which is below all that were added before. Without memory the builder says
    /// so.
    void add(BitRows rows, int32_t width) noexcept;

    AreaBuilder& built() noexcept { return built_; }

private:
    bool is_combined() const noexcept { return last_ != nullptr; }
    AreaRuns row_of_area(int32_t y) noexcept;
    void add_narrow(BitRows& rows, int32_t width) noexcept;

    AreaBuilder& built_;
    AreaOp op_ = AreaOp::second_only;
    const AreaBand* band_ = nullptr; ///< the area's first that is not above the next row
    const AreaBand* last_ = nullptr;
    const AreaRun* runs_ = nullptr;
};

/// Sets the bits of runs that lie within the row, and leaves the others.
void set_bits(uint8_t* row, AreaRuns runs) noexcept;

} // namespace vk
