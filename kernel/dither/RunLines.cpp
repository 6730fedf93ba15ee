// Rows of a run: the choice of path for each, reading before and packing behind.
#include "kernel/dither/Bits.h"
#include "kernel/dither/State.h"

namespace vk {

using namespace dither;

namespace {

void count_rows(DitherState& state, DitherPath path, int32_t rows) noexcept
{
    state.done[static_cast<size_t>(path)] += static_cast<uint64_t>(rows);
}

void read_row(DitherState& state, uint8_t* src, int32_t slot) noexcept
{
    uint32_t* work = state.work + static_cast<size_t>(slot) * static_cast<size_t>(state.width);
    if (state.single_gray) {
        read_grays(state, src, reinterpret_cast<uint8_t*>(work));
    } else {
        read_colors(state, src, work);
    }
}

/// The general way: `rows` rows, 1 or as many as the wavefront takes.
void do_rows(DitherState& state, uint8_t* src, size_t src_stride, uint8_t* dst, size_t dst_stride,
             int32_t rows) noexcept
{
    for (int32_t i = 0; i < rows; ++i) {
        read_row(state, src + static_cast<size_t>(i) * src_stride, i);
    }
    if (state.plain) {
        plain_row(state);
    } else {
        fast_rows(state, rows);
    }
    for (int32_t i = 0; i < rows; ++i) {
        const auto at = static_cast<size_t>(i);
        state.pack(state.indices + at * state.index_pitch, dst + at * dst_stride, static_cast<size_t>(state.width));
    }
    count_rows(state, state.plain ? DitherPath::plain : rows == 1 ? DitherPath::single : DitherPath::wavefront, rows);
}

/// True when the row's bytes are the levels.
bool is_plain_gray8(const DitherState& state) noexcept
{
    return state.format->work == pixel::Work::gray8 && state.gray == GrayRange{};
}

void do_lanes(DitherState& state, uint8_t* src, size_t src_stride, uint8_t* dst, size_t dst_stride,
              size_t groups) noexcept
{
    const size_t rows = groups * kLanes;
    if (is_plain_gray8(state)) {
        lane_rows(state, groups, src, src_stride, dst, dst_stride);
    } else {
        auto* grays = reinterpret_cast<uint8_t*>(state.work);
        const auto pitch = static_cast<size_t>(state.width);
        for (size_t i = 0; i < rows; ++i) {
            read_grays(state, src + i * src_stride, grays + i * pitch);
        }
        lane_rows(state, groups, grays, pitch, dst, dst_stride);
    }
    count_rows(state, DitherPath::lanes, static_cast<int32_t>(rows));
}

/// Thresholds one row of levels; false when that is not how this run works.
bool do_bits(DitherState& state, const uint8_t* src, uint8_t* dst) noexcept
{
    if (!has_bits(state)) {
        return false;
    }
    const uint8_t* levels = src;
    if (!is_plain_gray8(state)) {
        auto* work = reinterpret_cast<uint8_t*>(state.work);
        read_grays(state, src, work);
        levels = work;
    } else if (dst > src && dst < src + state.width) {
        return false; // it would write over what it has not read
    }
    bits_row(state, levels, dst);
    count_rows(state, DitherPath::bits, 1);
    return true;
}

} // namespace

void dither_rows(DitherState& state, uint8_t* src, size_t src_stride, uint8_t* dst, size_t dst_stride,
                 size_t rows) noexcept
{
    const auto wave = static_cast<size_t>(wavefront_rows(state));
    const bool lanes = has_lanes(state);
    while (rows != 0 && state.width != 0) {
        size_t now = 1;
        if (lanes && rows >= static_cast<size_t>(kLanes)) {
            const size_t groups = rows >= static_cast<size_t>(kLanes * kMostLaneGroups) ? kMostLaneGroups : 1;
            now = groups * kLanes;
            do_lanes(state, src, src_stride, dst, dst_stride, groups);
        } else if (!do_bits(state, src, dst)) {
            now = rows >= wave ? wave : 1;
            do_rows(state, src, src_stride, dst, dst_stride, static_cast<int32_t>(now));
        }
        state.row += now;
        src += now * src_stride;
        dst += now * dst_stride;
        rows -= now;
    }
}

} // namespace vk
