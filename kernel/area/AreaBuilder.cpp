#include "kernel/area/AreaBuilder.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Runs are counted in 32 bits.
constexpr uint64_t kMost = UINT32_MAX;
constexpr uint64_t kLeast = 64;

/// Makes room for `needed` items where there is less. False without memory, and the items stay.
template <class T> bool grow(T*& items, uint64_t& room, uint64_t needed) noexcept
{
    if (needed <= room)
        return true;
    if (needed > kMost)
        return false;
    const uint64_t wanted = std::max({needed, room * 2, kLeast});
    if (wanted > SIZE_MAX / 2 / sizeof(T))
        return false;
    void* const block = platform::heap_realloc(items, static_cast<size_t>(wanted) * sizeof(T));
    if (!block)
        return false;
    items = static_cast<T*>(block);
    room = wanted;
    return true;
}

} // namespace

AreaBuilder::~AreaBuilder()
{
    platform::heap_free(bands_);
    platform::heap_free(runs_);
}

void AreaBuilder::clear() noexcept
{
    band_count_ = 0;
    run_count_ = 0;
    is_good_ = true;
}

AreaRun* AreaBuilder::room(uint64_t count) noexcept
{
    is_good_ = is_good_ && grow(runs_, run_room_, run_count_ + count) && grow(bands_, band_room_, band_count_ + 1ull);
    return is_good_ ? runs_ + run_count_ : nullptr;
}

bool AreaBuilder::continues_last(int32_t top, uint32_t count) const noexcept
{
    if (band_count_ == 0)
        return false;
    const AreaBand& last = bands_[band_count_ - 1];
    return last.bottom == top && last.runs() == count &&
           std::memcmp(runs_ + last.first, runs_ + run_count_, count * sizeof(AreaRun)) == 0;
}

void AreaBuilder::add_band(int32_t top, int32_t bottom, uint64_t count) noexcept
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
