#include "kernel/dither/Team.h"

#include "platform/platform.h"

#include <algorithm>
#include <new>

namespace vk {

using namespace dither;

namespace {

constexpr uint64_t kLine = 64;

uint64_t whole_lines(uint64_t bytes) noexcept
{
    return (bytes + kLine - 1) / kLine * kLine;
}

/// Threads that can be under way at a time: each is a stretch and more behind the one before.
uint32_t useful_threads(const DitherState& state, uint32_t threads) noexcept
{
    const int64_t most = 1 + state.width / (2 * kStretch);
    return static_cast<uint32_t>(std::min<int64_t>(threads, most));
}

/// Gives the run error rows for all rows that so many threads have under way, and their marks.
bool make_team(DitherState& state, uint32_t threads) noexcept
{
    const auto depth = static_cast<uint64_t>(diffusion_of(state.method).depth);
    const uint64_t rows = threads * static_cast<uint64_t>(rows_together(state)) + depth;
    const uint64_t head = whole_lines(sizeof(Team)) + rows * sizeof(Mark);
    const uint64_t errors = rows * state.error_pitch * sizeof(int32_t);
    if (head + errors + kLine > SIZE_MAX / 2)
        return false;
    void* const block = platform::heap_alloc(static_cast<size_t>(head + errors + kLine));
    if (!block)
        return false;
    auto* at = reinterpret_cast<uint8_t*>(whole_lines(reinterpret_cast<uintptr_t>(block)));
    state.team_memory = block;
    state.team = new (at) Team{};
    state.team->count = rows;
    at += whole_lines(sizeof(Team));
    state.team->marks = reinterpret_cast<Mark*>(at);
    for (uint64_t i = 0; i < rows; ++i)
        new (state.team->marks + i) Mark;
    state.errors = reinterpret_cast<int32_t*>(at + rows * sizeof(Mark));
    state.ring_rows = static_cast<int32_t>(rows);
    std::fill_n(state.errors, static_cast<size_t>(rows) * state.error_pitch, 0);
    return true;
}

bool give_working_memory(DitherState& state) noexcept
{
    constexpr uint64_t kAlign = 16;
    const uint64_t work = (static_cast<uint64_t>(state.width) * sizeof(uint32_t) + kAlign - 1) / kAlign * kAlign;
    const uint64_t bytes = kMostRows * (work + state.index_pitch);
    state.memory = bytes > SIZE_MAX / 2 ? nullptr : platform::heap_alloc(static_cast<size_t>(bytes));
    if (!state.memory)
        return false;
    state.work = static_cast<uint32_t*>(state.memory);
    state.indices = static_cast<uint8_t*>(state.memory) + kMostRows * work;
    return true;
}

} // namespace

int32_t rows_together(const DitherState& state) noexcept
{
    return has_lanes(state) ? kLanes * kMostLaneGroups : wavefront_rows(state);
}

uint32_t share_dithering(BITMAPHANDLE& bitmap, uint32_t threads) noexcept
{
    DitherState& state = *static_cast<DitherState*>(bitmap.DitherData);
    if (!is_diffusion(state.method))
        return threads;
    const uint32_t useful = state.limit >= DitherPath::wavefront ? useful_threads(state, threads) : 1;
    return useful > 1 && make_team(state, useful) ? useful : 1;
}

int join_dithering(BITMAPHANDLE& bitmap, const BITMAPHANDLE& run) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(DitherState));
    if (!memory)
        return V_ERROR_NO_MEMORY;
    auto* const state = new (memory) DitherState(*static_cast<const DitherState*>(run.DitherData));
    state->is_member = true;
    if (!give_working_memory(*state)) {
        platform::heap_free(memory);
        return V_ERROR_NO_MEMORY;
    }
    bitmap.DitherData = state;
    return V_SUCCESS;
}

void go_to_row(DitherState& state, uint64_t row) noexcept
{
    state.row = row;
}

void abandon_dithering(const DitherState& state) noexcept
{
    if (state.team)
        state.team->abandoned.store(true, std::memory_order_relaxed);
}

} // namespace vk
