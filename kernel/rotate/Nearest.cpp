#include "kernel/rotate/Nearest.h"

#include "kernel/convert/Format.h"
#include "kernel/convert/Fused.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
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

/// Packed pixels, as the working forms of their formats have them.
template <int32_t kBits, class Element> void take_packed(const Walk& walk, uint8_t* out, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const auto pixel = static_cast<Element>(pixel_at<kBits>(row_of(walk, i), column_of(walk, i)));
        std::memcpy(out + static_cast<size_t>(i) * sizeof pixel, &pixel, sizeof pixel);
    }
}

TakeRun plain_loop(int32_t bits) noexcept
{
    TakeRun loop = nullptr;
    with_depth(bits, [&]<int32_t kBits>() noexcept {
        if constexpr (packing_of(kBits) == Packing::bytes)
            loop = take_bytes<kBits / 8>;
        else if constexpr (is_indexed(kBits))
            loop = take_packed<kBits, uint8_t>;
        else
            loop = take_packed<kBits, uint32_t>;
    });
    return loop;
}

/// Bytes of a pixel as the loops leave it.
size_t element_bytes(int32_t bits) noexcept
{
    return is_indexed(bits) ? sizeof(uint8_t) : sizeof(uint32_t);
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
    } else if (is_whole_bytes(bits)) {
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
    const size_t element = element_bytes(bits_);
    if (element == sizeof(uint32_t))
        std::fill_n(reinterpret_cast<uint32_t*>(work), width, fill_.value);
    else
        std::memset(work, static_cast<int>(fill_.value), width);
    if (!line.run.empty())
        loops_.plain(walk_of(source, line.run), work + before * element, line.run.end - line.run.first);
    pixel::find_format(bits_, usual_order(bits_))->pack(work, line.data, width);
}

void NearestPainter::paint_line(const Pixels& source, const Line& line) const noexcept
{
    if (is_whole_bytes(bits_))
        paint_bytes(source, line);
    else if (loops_.fast_bits && (line.run.empty() || may_be_fast(source, line.run)))
        paint_bits(source, line);
    else
        paint_packed(source, line);
}

void NearestPainter::paint(const Pixels& source, const Target& target) const noexcept
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
