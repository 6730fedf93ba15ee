// Choosing how pixels of one bitmap get into another, and doing it.
#include "kernel/combine/ArithmeticRun.h"
#include "kernel/combine/Aside.h"
#include "kernel/combine/Combine.h"
#include "kernel/combine/ConvertRun.h"
#include "kernel/combine/KeyedRun.h"
#include "kernel/combine/LogicRun.h"
#include "kernel/combine/RunRows.h"
#include "kernel/combine/Streaming.h"
#include "kernel/resize/Access.h"
#include "kernel/system/RoomyObject.h"

#include <utility>

namespace vk::combine {

namespace {

constexpr uint32_t kKnownFlags = COMBINE_OPERATIONS | COMBINE_NOT_SRC | COMBINE_NOT_DST | COMBINE_KEYED | COMBINE_RAW;

/// What the sixteen operations on bits answer, by 2 s + d.
constexpr uint8_t kAnswers[] = {
    0xC, // COPY
    0x8, // AND
    0xE, // OR
    0x6, // XOR
    0x2, // AND_NOT_SRC
    0x4, // AND_NOT_DST
    0xB, // OR_NOT_SRC
    0xD, // OR_NOT_DST
    0x7, // NAND
    0x1, // NOR
    0x9, // XNOR
    0x3, // COPY_NOT
    0x5, // INVERT
    0x0, // CLEAR
    0xF, // SET
    0xA, // KEEP
};

/// An operation whose source or destination is inverted first is another one of the sixteen.
Logic logic_of(uint32_t flags) noexcept
{
    uint32_t answers = kAnswers[flags & COMBINE_OPERATIONS];
    if (flags & COMBINE_NOT_SRC)
        answers = (answers & 0x3) << 2 | answers >> 2;
    if (flags & COMBINE_NOT_DST)
        answers = (answers & 0x5) << 1 | (answers & 0xA) >> 1;
    return Logic(answers);
}

/// A combination on its way, with both bitmaps accessed.
struct Job {
    BITMAPHANDLE& to;
    BITMAPHANDLE& from;
    Area area;
    const Source& source;
    uint32_t flags;
    Progress& progress;

    /// Enough is written, to rows in memory, that it pays to pass the caches by.
    bool is_large() const noexcept
    {
        const uint64_t bytes = area_bytes(area, to.BitsPerPixel) + area_bytes(source.area, from.BitsPerPixel);
        return bytes / 2 >= kStreamFrom && &from != &to && RowWriter(to).in_place();
    }
    bool is_keyed() const noexcept { return flags & COMBINE_KEYED && from.Flags & BITMAPFLAG_TRANSPARENCY; }

    int walk_with(RunOperation& operation) const noexcept
    {
        if (!is_keyed())
            return walk(to, area, source, {}, operation, progress, OnFailure::put_back);
        const RoomyObject<KeyedRun> keyed(operation);
        const int result = keyed ? keyed->open(from) : V_ERROR_NO_MEMORY;
        return result == V_SUCCESS ? walk(to, area, source, {}, *keyed, progress, OnFailure::put_back) : result;
    }
};

/// Two meanings of black: 1-bit pixels that are converted by inverting them.
bool only_inverts(RowConverter& converter) noexcept
{
    if (converter.moves_bits() || converter.from().bits != 1 || converter.to().bits != 1)
        return false;
    const uint8_t both = 0x40; // a clear pixel and a set one
    uint8_t converted = 0;
    converter.run(&both, &converted, 2);
    return converted == 0x80;
}

int combine_as_stored(const Job& job, const Logic& logic) noexcept
{
    if (!job.is_keyed() && have_run_rows(job.to, *job.source.bitmap))
        return walk_run_rows(job.to, job.area, job.source, logic, job.progress);
    LogicRun combine(job.to.BitsPerPixel, logic, job.is_large());
    return job.walk_with(combine);
}

int combine_bits_of(const Job& job) noexcept
{
    if (job.flags & COMBINE_RAW)
        return combine_as_stored(job, logic_of(job.flags));
    const RoomyObject<RowConverter> converter;
    const int result = converter ? converter->open(job.from, job.to, area_bytes(job.area, 8)) : V_ERROR_NO_MEMORY;
    if (result != V_SUCCESS)
        return result;
    if (converter->moves_bits())
        return combine_as_stored(job, logic_of(job.flags));
    if (only_inverts(*converter))
        return combine_as_stored(job, logic_of(job.flags ^ COMBINE_NOT_SRC));
    const RoomyObject<ConvertRun> convert(*converter, logic_of(job.flags), job.is_large());
    return convert ? job.walk_with(*convert) : V_ERROR_NO_MEMORY;
}

int combine_channels_of(const Job& job) noexcept
{
    const RoomyObject<ArithmeticRun> operation(job.flags);
    const int result = operation ? operation->open(job.to, job.from, area_bytes(job.area, 8)) : V_ERROR_NO_MEMORY;
    return result == V_SUCCESS ? job.walk_with(*operation) : result;
}

} // namespace

int check_combination(const BITMAPHANDLE& to, const BITMAPHANDLE& from, uint32_t flags) noexcept
{
    const uint32_t operation = flags & COMBINE_OPERATIONS;
    if (flags & ~kKnownFlags || operation > COMBINE_MULTIPLY)
        return V_ERROR_INVALID_PARAMETER;
    if (flags & COMBINE_RAW && !is_bit_operation(operation))
        return V_ERROR_INVALID_PARAMETER;
    const bool wants_equal = flags & COMBINE_RAW || (is_bit_operation(operation) && operation != COMBINE_COPY);
    return wants_equal && to.BitsPerPixel != from.BitsPerPixel ? V_ERROR_INVALID_BITS_PER_PIXEL : V_SUCCESS;
}

int combine_bitmap(BITMAPHANDLE& to, BITMAPHANDLE& from, const Placement& placement, uint32_t flags) noexcept
{
    Layout layout;
    int result = find_layout(to, from, layout);
    if (result != V_SUCCESS)
        return result;
    Overlap overlap(placement.width, placement.height);
    overlap.cut(to, placement.to);
    overlap.cut(from, placement.from, layout);
    if (overlap.empty())
        return V_SUCCESS;
    const Area area = overlap.area(placement.to);
    return with_access(from, to, [&](BITMAPHANDLE&, BITMAPHANDLE&) noexcept {
        Progress progress(area.height());
        Aside aside;
        int done = progress.begin();
        if (done == V_SUCCESS)
            done = aside.open(to, from, overlap.area(placement.from, layout), layout, true);
        const Job job{to, from, area, aside.source(), flags, progress};
        if (done != V_SUCCESS)
            return done;
        return is_bit_operation(flags & COMBINE_OPERATIONS) ? combine_bits_of(job) : combine_channels_of(job);
    });
}

} // namespace vk::combine
