// The tables of nearest plans. Each covers the front part of a row, as far as its loads and stores stay within the
// rows; what is behind is walked.
#include "kernel/resize/Nearest.h"
#include "kernel/resize/Stepping.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace vk::resize {

namespace {

constexpr size_t kLane = 16;
constexpr size_t kStep = 2 * kLane;
constexpr size_t kWide = 64;
constexpr uint32_t kMostParts = 4; ///< more loads per store than that and walking is as fast

/// Where bytes of a destination row of whole-byte pixels come from.
struct ByteSource {
    int32_t from;
    int32_t to;
    int64_t pixel_bytes;

    int64_t operator()(int64_t byte) const noexcept
    {
        return stepped(byte / pixel_bytes, from, to) * pixel_bytes + byte % pixel_bytes;
    }
};

/// The lowest and highest source byte of 16 destination bytes.
struct Span {
    int64_t low;
    int64_t high;
};

Span span_of(const ByteSource& source, int64_t first, size_t count = kLane) noexcept
{
    Span span{source(first), source(first)};
    for (int64_t byte = first + 1; byte < first + static_cast<int64_t>(count); ++byte) {
        span.low = std::min(span.low, source(byte));
        span.high = std::max(span.high, source(byte));
    }
    return span;
}

/// Masks that move bytes of `parts` neighbouring loads to their places in one lane; 0x80 gives zero.
void fill_masks(uint8_t* masks, uint32_t parts, const ByteSource& source, int64_t first, int64_t base) noexcept
{
    for (size_t part = 0; part < parts; ++part)
        std::memset(masks + part * kStep, 0x80, kLane);
    for (size_t i = 0; i < kLane; ++i) {
        const auto offset = static_cast<size_t>(source(first + static_cast<int64_t>(i)) - base);
        masks[offset / kLane * kStep + i] = static_cast<uint8_t>(offset % kLane);
    }
}

/// Steps of one period and the source bytes it takes; a table for the whole row when it repeats too late.
void find_period(NearestPlan& plan, int64_t pixel_bytes, size_t step_bytes) noexcept
{
    const auto step = static_cast<int64_t>(step_bytes);
    const int64_t common = std::gcd(plan.from, plan.to);
    const int64_t repeat = plan.to / common * pixel_bytes; // destination bytes
    const int64_t period = std::lcm(repeat, step);
    plan.period = plan.steps;
    plan.advance = 0;
    if (period / step <= plan.steps / 2) {
        plan.period = period / step;
        plan.advance = static_cast<size_t>(period / repeat * (plan.from / common) * pixel_bytes);
    }
}

uint32_t parts_needed(const NearestPlan& plan, const ByteSource& source) noexcept
{
    int64_t most = 0;
    for (int64_t lane = 0; lane < 2 * plan.period; ++lane) {
        const Span span = span_of(source, lane * static_cast<int64_t>(kLane));
        most = std::max(most, span.high - span.low);
    }
    return static_cast<uint32_t>(std::min<int64_t>(most / static_cast<int64_t>(kLane) + 1, kMostParts + 1));
}

/// Takes steps off the end whose loads would pass the source row.
void cut_steps(NearestPlan& plan, const ShuffleStep* bases) noexcept
{
    const auto reads_past = [&](int64_t step) noexcept {
        const ShuffleStep& entry = bases[step % plan.period];
        const size_t start = static_cast<size_t>(step / plan.period) * plan.advance;
        return start + std::max(entry.base[0], entry.base[1]) + kLane * plan.parts > plan.from_bytes();
    };
    while (plan.steps > 0 && reads_past(plan.steps - 1))
        --plan.steps;
}

/// One step of 64 bytes, of which those behind the row are never stored.
void fill_permute(PermuteStep& step, const ByteSource& source, int64_t first, Span span) noexcept
{
    step.base = static_cast<uint32_t>(span.low);
    step.is_back = 0;
    for (size_t i = 0; i < kWide; ++i) {
        const auto offset = static_cast<size_t>(source(first + static_cast<int64_t>(i)) - span.low);
        step.order[i] = static_cast<uint8_t>(offset % (2 * kWide));
        if (offset >= 2 * kWide)
            step.is_back |= uint64_t{1} << i;
    }
}

/// Steps whose loads lie within the source row, which are those in front.
int64_t count_inner(const NearestPlan& plan, const PermuteStep* table) noexcept
{
    const auto reads_past = [&](int64_t step) noexcept {
        const size_t start = static_cast<size_t>(step / plan.period) * plan.advance;
        return start + table[step % plan.period].base + kWide * plan.parts > plan.from_bytes();
    };
    int64_t inner = static_cast<int64_t>(plan.to_bytes() / kWide); // the last store is whole
    while (inner > 0 && reads_past(inner - 1))
        --inner;
    return inner;
}

/// Destination words of 64 pixels that are read without passing the source row.
void fill_spread(NearestPlan& plan, SpreadStep* steps) noexcept
{
    constexpr int64_t kPixels = 64;
    constexpr size_t kRead = 9;
    int64_t step = 0;
    for (; step < plan.to / kPixels; ++step) {
        Walk walk(plan.from, plan.to, step * kPixels);
        const int64_t first = walk.source();
        uint64_t ends = 0;
        int64_t last = first;
        for (int64_t i = 0; i < kPixels; ++i, walk.next()) {
            ends = ends << 1;
            if (i != 0 && walk.source() != last)
                ends |= 2; // the pixel before was the last of its run
            last = walk.source();
        }
        ends |= 1;
        if (static_cast<size_t>(first / 8) + kRead > plan.from_bytes())
            break;
        steps[step] = {ends, ends & (ends - 1), static_cast<uint32_t>(first / 8), static_cast<uint8_t>(first % 8),
                       static_cast<uint8_t>(kPixels - 1 - (last - first))};
    }
    plan.steps = step;
    plan.walked_from = step * kPixels;
}

/// Source words of 56 pixels, whose pixels taken are written in words of 8 bytes.
void fill_pick(NearestPlan& plan, PickStep* steps) noexcept
{
    constexpr int64_t kPixels = 56;
    constexpr int64_t kWord = 8;
    const auto from_bytes = static_cast<int64_t>(plan.from_bytes());
    const auto to_bytes = static_cast<int64_t>(plan.to_bytes());
    Walk walk(plan.from, plan.to);
    int64_t taken = 0;
    int64_t step = 0;
    for (; step * (kPixels / 8) + kWord <= from_bytes && taken / 8 + kWord <= to_bytes; ++step) {
        PickStep& entry = steps[step];
        entry = {0, 0};
        for (; walk.source() < (step + 1) * kPixels && taken < plan.to; walk.next(), ++taken, ++entry.count)
            entry.mask |= uint64_t{1} << (63 - (walk.source() - step * kPixels));
    }
    plan.steps = step;
    plan.walked_from = taken / 8 * 8;
}

} // namespace

bool make_shuffle(NearestPlan& plan) noexcept
{
    const int64_t pixel_bytes = plan.bits / 8;
    plan.steps = static_cast<int64_t>(plan.to_bytes() / kStep);
    // Where even the pixels of one lane lie too far apart there is no need to look at all of them.
    if (plan.steps == 0 || plan.from / plan.to > 3 * static_cast<int32_t>(kMostParts))
        return true;
    find_period(plan, pixel_bytes, kStep);
    const ByteSource source{plan.from, plan.to, pixel_bytes};
    plan.parts = parts_needed(plan, source);
    if (plan.parts > kMostParts)
        return true;
    const size_t step_bytes = plan.parts * kStep;
    const auto period = static_cast<size_t>(plan.period);
    if (!plan.table.allocate(uint64_t{period} * (step_bytes + sizeof(ShuffleStep))))
        return false;
    auto* const bases = reinterpret_cast<ShuffleStep*>(plan.table.data() + period * step_bytes);
    for (size_t step = 0; step < period; ++step)
        for (size_t half = 0; half < 2; ++half) {
            const auto first = static_cast<int64_t>(step * kStep + half * kLane);
            const int64_t base = span_of(source, first).low;
            bases[step].base[half] = static_cast<uint32_t>(base);
            fill_masks(plan.table.data() + step * step_bytes + half * kLane, plan.parts, source, first, base);
        }
    cut_steps(plan, bases);
    plan.walked_from = plan.steps * static_cast<int64_t>(kStep) / pixel_bytes;
    plan.way = Way::shuffle;
    return true;
}

bool make_permute(NearestPlan& plan) noexcept
{
    const int64_t pixel_bytes = plan.bits / 8;
    const auto wide = static_cast<int64_t>(kWide);
    if (plan.from / plan.to > static_cast<int32_t>(kMostParts))
        return true;
    plan.steps = (static_cast<int64_t>(plan.to_bytes()) + wide - 1) / wide;
    find_period(plan, pixel_bytes, kWide);
    const ByteSource source{plan.from, plan.to, pixel_bytes};
    int64_t most = 0;
    for (int64_t step = 0; step < plan.period; ++step) {
        const Span span = span_of(source, step * wide, kWide);
        most = std::max(most, span.high - span.low);
    }
    plan.parts = static_cast<uint32_t>(most / wide + 1);
    if (plan.parts > kMostParts)
        return true;
    if (!plan.table.allocate((static_cast<uint64_t>(plan.period) + 1) * sizeof(PermuteStep)))
        return false;
    PermuteStep* const table = permute_steps(plan.table);
    for (int64_t step = 0; step < plan.period; ++step)
        fill_permute(table[step], source, step * wide, span_of(source, step * wide, kWide));
    plan.inner_steps = count_inner(plan, table);
    plan.walked_from = plan.to;
    plan.way = Way::permute;
    return true;
}

bool make_spread(NearestPlan& plan) noexcept
{
    if (!plan.table.allocate((static_cast<uint64_t>(plan.to) / 64 + 1) * sizeof(SpreadStep)))
        return false;
    fill_spread(plan, reinterpret_cast<SpreadStep*>(plan.table.data()));
    plan.way = Way::spread_bits;
    return true;
}

void make_double(NearestPlan& plan) noexcept
{
    constexpr int32_t kPixels = 256; // written per step
    if (plan.to < kPixels)
        return;
    plan.steps = (plan.to + kPixels - 1) / kPixels;
    plan.walked_from = plan.to / 16 * 16;
    if (plan.walked_from <= (plan.steps - 1) * kPixels)
        plan.steps -= 1;
    plan.way = Way::double_bits;
}

bool make_pick(NearestPlan& plan) noexcept
{
    if (!plan.table.allocate((static_cast<uint64_t>(plan.from) / 56 + 2) * sizeof(PickStep)))
        return false;
    fill_pick(plan, reinterpret_cast<PickStep*>(plan.table.data()));
    plan.way = Way::pick_bits;
    return true;
}

bool make_shuffle_bits(NearestPlan& plan) noexcept
{
    constexpr auto kPixels = static_cast<int32_t>(kLane);
    const int32_t steps = plan.to / kPixels;
    if (steps == 0 || plan.from_bytes() < kLane)
        return true;
    if (!plan.table.allocate(static_cast<uint64_t>(steps) * sizeof(BitStep)))
        return false;
    const auto last_base = static_cast<int64_t>(plan.from_bytes() - kLane);
    auto* const table = reinterpret_cast<BitStep*>(plan.table.data());
    Walk walk(plan.from, plan.to);
    for (BitStep* step = table; step < table + steps; ++step) {
        const int64_t base = std::min<int64_t>(walk.source() / 8, last_base);
        step->base = static_cast<uint32_t>(base);
        for (size_t pixel = 0; pixel < kLane; ++pixel, walk.next()) {
            const size_t lane = pixel / 8 * 8 + 7 - pixel % 8;
            step->place[lane] = static_cast<uint8_t>(walk.source() / 8 - base);
            step->bit[lane] = static_cast<uint8_t>(0x80 >> walk.source() % 8);
        }
    }
    plan.steps = steps;
    plan.walked_from = int64_t{steps} * kPixels;
    plan.way = Way::shuffle_bits;
    return true;
}

} // namespace vk::resize
