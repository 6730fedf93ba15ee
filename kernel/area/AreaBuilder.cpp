#include "kernel/area/AreaBuilder.h"

#include "platform/platform.h"

#include <algorithm>

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

bool AreaBuilder::make_room(uint64_t runs, uint64_t bands) noexcept
{
    is_good_ = is_good_ && grow(runs_, run_room_, run_count_ + runs) && grow(bands_, band_room_, band_count_ + bands);
    return is_good_;
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
