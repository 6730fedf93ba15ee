#include "kernel/area/AreaBuilder.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Runs are counted in 32 bits.
constexpr uint64_t kMost = UINT32_MAX;
constexpr uint64_t kLeast = 64;

/// Moves `used` items to a block with room for so many. False without memory, and the items stay.
template <class T> bool move_to(uint64_t room, uint64_t used, Section& memory) noexcept
{
    Section larger;
    if (room > SIZE_MAX / 2 / sizeof(T) ||
        platform::section_create(static_cast<size_t>(room) * sizeof(T), Contents::unspecified, &larger) != Status::ok)
        return false;
    if (memory.view) {
        std::memcpy(larger.view, memory.view, static_cast<size_t>(used) * sizeof(T));
        platform::section_free(&memory);
    }
    memory = larger;
    return true;
}

/// Makes room for `more` items behind `used` ones where there is less.
template <class T>
bool grow(T*& items, uint64_t& room, Section& memory, uint64_t used, uint64_t more, uint64_t expected) noexcept
{
    const uint64_t needed = used + more;
    if (needed <= room)
        return true;
    if (needed > kMost)
        return false;
    const uint64_t wanted = std::max({needed, room * 2, expected, kLeast});
    if (!move_to<T>(wanted, used, memory) && !move_to<T>(needed, used, memory))
        return false;
    items = static_cast<T*>(memory.view);
    room = memory.bytes / sizeof(T);
    return true;
}

} // namespace

AreaBuilder::~AreaBuilder()
{
    for (Section* memory : {&band_memory_, &run_memory_})
        if (memory->view)
            platform::section_free(memory);
}

void AreaBuilder::clear() noexcept
{
    band_count_ = 0;
    run_count_ = 0;
    expect(0, 0);
    is_good_ = true;
}

bool AreaBuilder::make_room(uint64_t runs, uint64_t bands) noexcept
{
    is_good_ = is_good_ && grow(runs_, run_room_, run_memory_, run_count_, runs, expected_runs_) &&
               grow(bands_, band_room_, band_memory_, band_count_, bands, expected_bands_);
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
