#include "kernel/area/AreaBuilder.h"

#include "kernel/area/Block.h"
#include "kernel/system/Blocks.h"

#include <algorithm>
#include <utility>

namespace vk {

namespace {

/// Runs are counted in 32 bits.
constexpr uint64_t kMost = UINT32_MAX;
constexpr uint64_t kLeast = 64;

/// Room for `needed` items: what there is, or more than needed.
uint64_t grown(uint64_t needed, uint64_t room, uint64_t expected) noexcept
{
    return needed <= room ? room : std::max({needed, room * 2, expected, kLeast});
}

} // namespace

AreaBuilder::~AreaBuilder()
{
    give_back(&memory_);
}

void AreaBuilder::clear() noexcept
{
    band_count_ = 0;
    run_count_ = 0;
    expect(0, 0);
    is_good_ = true;
}

bool AreaBuilder::take(uint64_t bytes, Section* memory) const noexcept
{
    if (bytes > SIZE_MAX / 2)
        return false;
    if (home_ == AreaHome::section)
        return platform::section_create(static_cast<size_t>(bytes), Contents::unspecified, memory) == Status::ok;
    memory->view = locked_block_alloc(static_cast<size_t>(bytes), Contents::unspecified);
    memory->bytes = static_cast<size_t>(bytes);
    return memory->view != nullptr;
}

void AreaBuilder::give_back(Section* memory) const noexcept
{
    if (!memory->view)
        return;
    if (home_ == AreaHome::section)
        platform::section_free(memory);
    else
        locked_block_free(memory->view);
}

/// Moves everything to memory with room for so much. False without memory, and everything stays.
bool AreaBuilder::move_to(uint64_t runs, uint64_t bands) noexcept
{
    Section larger;
    if (!take(area_block_bytes(bands, runs), &larger))
        return false;
    AreaBand* const new_bands = bands_of_block(larger.view);
    auto* const new_runs = reinterpret_cast<AreaRun*>(new_bands + bands);
    std::copy_n(bands_, band_count_, new_bands);
    std::copy_n(runs_, run_count_, new_runs);
    give_back(&memory_);
    memory_ = larger;
    bands_ = new_bands;
    runs_ = new_runs;
    band_room_ = bands;
    run_room_ = runs;
    return true;
}

bool AreaBuilder::make_room(uint64_t runs, uint64_t bands) noexcept
{
    const uint64_t all_runs = run_count_ + runs;
    const uint64_t all_bands = band_count_ + bands;
    if (!is_good_ || (all_runs <= run_room_ && all_bands <= band_room_))
        return is_good_;
    is_good_ = std::max(all_runs, all_bands) <= kMost &&
               (move_to(grown(all_runs, run_room_, expected_runs_), grown(all_bands, band_room_, expected_bands_)) ||
                move_to(all_runs, all_bands));
    return is_good_;
}

void* AreaBuilder::release() noexcept
{
    if (!is_good_)
        return nullptr;
    const bool is_worth_keeping =
        home_ == AreaHome::block && memory_.view && area_block_bytes(band_count_, run_count_) >= memory_.bytes / 2;
    if (!is_worth_keeping)
        return make_area_block(area());
    mark_area_block(memory_.view, area());
    clear();
    band_room_ = 0;
    run_room_ = 0;
    return std::exchange(memory_, {}).view;
}

void AreaBuilder::add_band(int32_t top, int32_t bottom, AreaRuns runs) noexcept
{
    AreaRun* const to = room(runs.size());
    if (!to)
        return;
    std::copy(runs.begin(), runs.end(), to);
    add_band(top, bottom, uint64_t{runs.size()});
}

void AreaBuilder::add_run(int32_t top, int32_t bottom, int32_t first, int32_t end) noexcept
{
    AreaRun* const to = first < end ? room(1) : nullptr;
    if (!to)
        return;
    *to = {first, end};
    add_band(top, bottom, uint64_t{1});
}

} // namespace vk
