// Areas in the making: bands come from the top down, each with its runs from the left. The builder sees to the one form
// that areas have: it drops empty bands and joins those that continue the one before. Grows as needed; a failed growth
// is remembered, and everything after it does nothing.
#pragma once

#include "kernel/area/Area.h"

#include <cstddef>
#include <cstring>

namespace vk {

class AreaBuilder {
public:
    AreaBuilder() noexcept = default;
    AreaBuilder(const AreaBuilder&) = delete;
    AreaBuilder& operator=(const AreaBuilder&) = delete;
    ~AreaBuilder();

    /// Begins anew, and keeps the room it has.
    void clear() noexcept;

    /// Room for `count` runs of the next band; null without memory.
    AreaRun* room(uint64_t count) noexcept
    {
        const bool is_there = is_good_ && run_count_ + count <= run_room_ && band_count_ < band_room_;
        return is_there || make_room(count) ? runs_ + run_count_ : nullptr;
    }

    /// Rows top to bottom - 1 get the first `count` runs that were put there. Not above the band before.
    void add_band(int32_t top, int32_t bottom, uint64_t count) noexcept
    {
        if (!is_good_ || count == 0 || top >= bottom)
            return;
        const auto runs = static_cast<uint32_t>(count);
        if (continues_last(top, runs)) {
            bands_[band_count_ - 1].bottom = bottom;
            return;
        }
        bands_[band_count_++] = {top, bottom, run_count_, run_count_ + runs};
        run_count_ += runs;
    }

    /// A band with runs that are copied.
    void add_band(int32_t top, int32_t bottom, AreaRuns runs) noexcept;

    /// A band of one run, of none where it is empty.
    void add_run(int32_t top, int32_t bottom, int32_t first, int32_t end) noexcept;

    /// No memory was missing so far.
    bool good() const noexcept { return is_good_; }

    /// What was built; stands here until the builder is changed.
    Area area() const noexcept { return {bands_, runs_, band_count_, run_count_}; }

private:
    bool make_room(uint64_t count) noexcept;

    /// The runs that were put there go on with the band before.
    bool continues_last(int32_t top, uint32_t count) const noexcept
    {
        if (band_count_ == 0)
            return false;
        const AreaBand& last = bands_[band_count_ - 1];
        return last.bottom == top && last.runs() == count && runs_[last.first] == runs_[run_count_] &&
               std::memcmp(runs_ + last.first, runs_ + run_count_, count * sizeof(AreaRun)) == 0;
    }

    AreaBand* bands_ = nullptr;
    AreaRun* runs_ = nullptr;
    uint32_t band_count_ = 0;
    uint32_t run_count_ = 0;
    uint64_t band_room_ = 0;
    uint64_t run_room_ = 0;
    bool is_good_ = true;
};

} // namespace vk
