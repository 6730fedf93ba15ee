#include "kernel/rotate/Nearest.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/convert/Format.h"
#include "kernel/convert/Fused.h"
#include "kernel/rotate/Ahead.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace vk::rotate {

namespace {

std::atomic<bool> g_is_plain{false};

inline size_t column_of(const Walk& walk, int64_t i) noexcept
{
    return static_cast<size_t>((walk.x + i * walk.step_x) >> kFractionBits);
}

inline const uint8_t* row_of(const Walk& walk, int64_t i) noexcept
{
    return walk.data + static_cast<size_t>((walk.y + i * walk.step_y) >> kFractionBits) * walk.stride;
}

template <size_t kBytes> void take_bytes(const Walk& walk, uint8_t* out, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i)
        std::memcpy(out + static_cast<size_t>(i) * kBytes, row_of(walk, i) + column_of(walk, i) * kBytes, kBytes);
}

/// 24 bits by words: the fourth byte lands where the next pixel will be written.
void take_24_by_words(const Walk& walk, uint8_t* out, int32_t count) noexcept
{
    for (int32_t i = 0; i < count - 1; ++i)
        std::memcpy(out + static_cast<size_t>(i) * 3, row_of(walk, i) + column_of(walk, i) * 3, 4);
    std::memcpy(out + static_cast<size_t>(count - 1) * 3, row_of(walk, count - 1) + column_of(walk, count - 1) * 3, 3);
}

template <int32_t kBits> void take_bits(const Walk& walk, uint8_t* out, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const size_t column = column_of(walk, i);
        const uint8_t* const bytes = row_of(walk, i) + column * kBits / 8;
        out[i] = static_cast<uint8_t>(extract_bits(bytes, kBits, static_cast<uint32_t>(column)));
    }
}

void take_12(const Walk& walk, uint8_t* out, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const size_t column = column_of(walk, i);
        const uint32_t sample = extract_12(row_of(walk, i) + column + column / 2, static_cast<uint32_t>(column));
        std::memcpy(out + static_cast<size_t>(i) * sizeof sample, &sample, sizeof sample);
    }
}

TakeRun plain_loop(int32_t bits) noexcept
{
    constexpr TakeRun kPacked[] = {take_bits<1>, take_bits<2>, take_bits<3>, take_bits<4>,
                                   take_bits<5>, take_bits<6>, take_bits<7>};
    switch (bits) {
    case 8:
        return take_bytes<1>;
    case 12:
        return take_12;
    case 16:
        return take_bytes<2>;
    case 24:
        return take_bytes<3>;
    case 32:
        return take_bytes<4>;
    case 48:
        return take_bytes<6>;
    case 64:
        return take_bytes<8>;
    default:
        return kPacked[bits - 1];
    }
}

} // namespace

NearestLoops nearest_loops(int32_t bits) noexcept
{
    NearestLoops loops;
    if (!g_is_plain.load(std::memory_order_relaxed)) {
        if (pixel::cpu_level() >= pixel::Cpu::avx2)
            loops = nearest_loops_avx2(bits);
        if (!loops.fast && bits == 24)
            loops.fast = take_24_by_words;
    }
    loops.plain = plain_loop(bits);
    return loops;
}

void keep_to_plain_loops(bool is_plain) noexcept
{
    g_is_plain.store(is_plain, std::memory_order_relaxed);
}

/// A row of a target, no longer than a run may be.
struct NearestPainter::Line {
    uint8_t* data;
    int32_t left;
    int32_t width;
    Run run;
};

NearestPainter::NearestPainter(const Geometry& geometry, int32_t bits, const FillPixel& fill) noexcept
    : geometry_(geometry), bits_(bits), fill_(fill), loops_(nearest_loops(bits)), pattern_()
{
    if (bits == 1) {
        std::fill_n(pattern_, kLongestRun / 8, static_cast<uint8_t>(fill.value ? 0xFF : 0));
    } else if (bits >= 8 && bits != 12) {
        const auto bytes = static_cast<size_t>(bits / 8);
        for (size_t i = 0; i < kLongestRun; ++i)
            std::memcpy(pattern_ + i * bytes, fill.packed, bytes);
    }
}

Walk NearestPainter::walk_of(const Pixels& source, const Run& run) const noexcept
{
    return {source.data,      source.stride,   run.x - source.held.left * kOne, run.y - source.held.top * kOne,
            geometry_.step_x, geometry_.step_y};
}

/// Behind the last row held there may be nothing to read.
bool NearestPainter::may_be_fast(const Pixels& source, const Run& run) const noexcept
{
    const int64_t last = run.y + (run.end - run.first - 1) * geometry_.step_y;
    return std::max(run.y, last) >> kFractionBits < source.held.bottom - 1 && source.stride < kWideStride;
}

void NearestPainter::paint_bytes(const Pixels& source, const Line& line) const noexcept
{
    const auto bytes = static_cast<size_t>(bits_ / 8);
    const auto before = static_cast<size_t>(line.run.first - line.left);
    const auto after = static_cast<size_t>(line.left + line.width - line.run.end);
    const int32_t count = line.run.end - line.run.first;
    std::memcpy(line.data, pattern_, before * bytes);
    std::memcpy(line.data + (static_cast<size_t>(line.width) - after) * bytes, pattern_, after * bytes);
    if (count == 0)
        return;
    const TakeRun take = loops_.fast && may_be_fast(source, line.run) ? loops_.fast : loops_.plain;
    take(walk_of(source, line.run), line.data + before * bytes, count);
}

void NearestPainter::paint_bits(const Pixels& source, const Line& line) const noexcept
{
    const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint64_t>(line.width), 1));
    std::memcpy(line.data, pattern_, bytes);
    line.data[bytes - 1] = static_cast<uint8_t>(line.data[bytes - 1] & tail_mask(1, static_cast<uint32_t>(line.width)));
    if (!line.run.empty())
        loops_.fast_bits(walk_of(source, line.run), line.data, line.run.first - line.left,
                         line.run.end - line.run.first);
}

void NearestPainter::paint_packed(const Pixels& source, const Line& line) const noexcept
{
    alignas(8) uint8_t work[kLongestRun * sizeof(uint32_t)];
    const auto width = static_cast<size_t>(line.width);
    const auto before = static_cast<size_t>(line.run.first - line.left);
    const size_t element = bits_ == 12 ? sizeof(uint32_t) : 1;
    if (bits_ == 12)
        std::fill_n(reinterpret_cast<uint32_t*>(work), width, fill_.value);
    else
        std::memset(work, static_cast<int>(fill_.value), width);
    if (!line.run.empty())
        loops_.plain(walk_of(source, line.run), work + before * element, line.run.end - line.run.first);
    const int32_t order = bits_ == 12 ? COLORORDER_GRAY : COLORORDER_RGB;
    pixel::find_format(bits_, order)->pack(work, line.data, width);
}

void NearestPainter::paint_line(const Pixels& source, const Line& line) const noexcept
{
    if (bits_ >= 8 && bits_ != 12)
        paint_bytes(source, line);
    else if (loops_.fast_bits && (line.run.empty() || may_be_fast(source, line.run)))
        paint_bits(source, line);
    else
        paint_packed(source, line);
}

void NearestPainter::paint(const Pixels& source, const Target& target) noexcept
{
    const Box& box = target.box;
    for (int32_t left = box.left, right = left; left < box.right; left = right) {
        right = left + std::min(kLongestRun, box.right - left);
        const Box next{right, box.top, right + std::min(kLongestRun, box.right - right), box.bottom};
        Ahead ahead(geometry_, source, target, next, bits_);
        uint8_t* data = target.data + packed_bytes(static_cast<uint64_t>(left - box.left), bits_);
        const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint64_t>(right - left), bits_));
        for (int32_t row = box.top; row < box.bottom; ++row, data += target.stride) {
            ahead.line(data, bytes);
            paint_line(source, {data, left, right - left, find_run(geometry_, kNearestReach, row, left, right)});
        }
    }
}

} // namespace vk::rotate
