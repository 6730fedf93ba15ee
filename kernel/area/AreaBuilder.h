// Areas in the making: bands come from the top down, each with its runs from the left. The builder sees to the one form
// that areas have: it drops empty bands and joins those that continue the one before. Grows as needed; a failed growth
// is remembered, and everything after it does nothing.
#pragma once

#include "kernel/area/Area.h"
#include "platform/platform.h"

#include <bit>
#include <cstddef>
#include <cstring>

namespace vk {

/// A band of none to two runs, each as the bits of an AreaRun.
struct SmallBand {
    int32_t top = 0;
    int32_t bottom = INT32_MIN;
    uint64_t front = 0;
    uint64_t back = 0; ///< anything where there are not two
    uint32_t count = 0;
};

/// What an area is built in.
enum class AreaHome : uint8_t {
    section, ///< memory that goes with the builder
    block,   ///< a block as records own them (Block.h)
};

class AreaBuilder {
public:
    explicit AreaBuilder(AreaHome home = AreaHome::section) noexcept : home_(home) {}
    AreaBuilder(const AreaBuilder&) = delete;
    AreaBuilder& operator=(const AreaBuilder&) = delete;
    ~AreaBuilder();

    /// Begins anew, and keeps the room it has.
    void clear() noexcept;

    /// How many runs and bands there will be as far as one can tell: growing makes as much room, so that it happens
    /// once.
    void expect(uint64_t runs, uint64_t bands) noexcept
    {
        expected_runs_ = runs;
        expected_bands_ = bands;
    }

    /// The same after `done` of `all` rows of a picture: as many runs in the others.
    void expect_rows(int32_t done, int32_t all) noexcept
    {
        const auto rows = static_cast<uint64_t>(all);
        const uint64_t runs = done == 0 ? rows : uint64_t{run_count_} * rows / static_cast<uint64_t>(done);
        expect(runs + runs / 8, rows);
    }

    /// Room for `count` runs of the next band; null without memory.
    AreaRun* room(uint64_t count) noexcept
    {
        const bool is_there = is_good_ && run_count_ + count <= run_room_ && band_count_ < band_room_;
        return is_there || make_room(count, 1) ? runs_ + run_count_ : nullptr;
    }

    /// Rows top to bottom - 1 get the first `count` runs that were put there. Not above the band before.
    void add_band(int32_t top, int32_t bottom, uint64_t count) noexcept
    {
        if (!is_good_ || top >= bottom)
            return;
        const auto runs = static_cast<uint32_t>(count);
        if (continues_last(top, runs)) {
            bands_[band_count_ - 1].bottom = bottom;
            return;
        }
        // Written in any case: whether there are runs is anybody's guess.
        if (band_count_ < band_room_)
            bands_[band_count_] = {top, bottom, run_count_, run_count_ + runs};
        band_count_ += count != 0;
        run_count_ += runs;
    }

    /// A band with runs that are copied.
    void add_band(int32_t top, int32_t bottom, AreaRuns runs) noexcept;

    /// A band of one run, of none where it is empty.
    void add_run(int32_t top, int32_t bottom, int32_t first, int32_t end) noexcept;

    /// Bands of none to two runs from the top down, each below the one before, until `next(band)` gives false or `most`
    /// were asked for. For many of them: how many runs each has is anybody's guess, so that nothing branches on it.
    template <class Next> void add_small_bands(uint32_t most, Next next) noexcept
    {
        if (!is_good_ || !make_room(uint64_t{2} * most, most))
            return;
        AreaBand* band = bands_ + band_count_; // behind the last one
        AreaRun* runs = runs_ + run_count_;
        SmallBand last;
        if (band_count_ != 0 && band[-1].runs() <= 2)
            last = {band[-1].top, band[-1].bottom, std::bit_cast<uint64_t>(runs_[band[-1].first]),
                    std::bit_cast<uint64_t>(runs[-1]), band[-1].runs()};
        last.back &= uint64_t{0} - (last.count >> 1);
        SmallBand made;
        for (; most != 0 && next(made); --most) {
            std::memcpy(runs, &made.front, sizeof made.front);
            std::memcpy(runs + 1, &made.back, sizeof made.back);
            made.back &= uint64_t{0} - (made.count >> 1);
            const uint64_t differs = (made.front ^ last.front) | (made.back ^ last.back) | (made.count ^ last.count) |
                                     static_cast<uint32_t>(made.top ^ last.bottom) | uint64_t{made.count == 0};
            last = made;
            if (differs == 0) {
                band[-1].bottom = made.bottom;
                continue;
            }
            const auto first = static_cast<uint32_t>(runs - runs_);
            *band = {made.top, made.bottom, first, first + made.count};
            band += made.count != 0;
            runs += made.count;
        }
        band_count_ = static_cast<uint32_t>(band - bands_);
        run_count_ = static_cast<uint32_t>(runs - runs_);
    }

    /// No memory was missing so far.
    bool good() const noexcept { return is_good_; }

    /// What was built; stands here until the builder is changed.
    Area area() const noexcept { return {bands_, runs_, band_count_, run_count_}; }

    /// A block with what was built, which locked_block_free frees; null without memory, earlier or now. It is the
    /// builder's own where at least half of that is used. The builder has done its work then.
    void* release() noexcept;

private:
    bool make_room(uint64_t runs, uint64_t bands) noexcept;
    bool move_to(uint64_t runs, uint64_t bands) noexcept;
    bool take(uint64_t bytes, Section* memory) const noexcept;
    void give_back(Section* memory) const noexcept;

    /// The runs that were put there go on with the band before.
    bool continues_last(int32_t top, uint32_t count) const noexcept
    {
        if (band_count_ == 0)
            return false;
        const AreaBand& last = bands_[band_count_ - 1];
        const bool may_be = (last.bottom == top) & (last.runs() == count) & (count != 0);
        return may_be && runs_[last.first] == runs_[run_count_] &&
               std::memcmp(runs_ + last.first, runs_ + run_count_, count * sizeof(AreaRun)) == 0;
    }

    AreaBand* bands_ = nullptr;
    AreaRun* runs_ = nullptr;
    uint32_t band_count_ = 0;
    uint32_t run_count_ = 0;
    uint64_t band_room_ = 0;
    uint64_t run_room_ = 0;
    uint64_t expected_bands_ = 0;
    uint64_t expected_runs_ = 0;
    Section memory_; ///< a header, the bands and the runs; of a block only its view
    AreaHome home_;
    bool is_good_ = true;
};

} // namespace vk
