// Planes of residuals as bytes. A plane is one byte that tells its form, then for all but clear planes: a map of the
// blocks that are not clear, where there are enough clear ones; the code lengths of the contexts; the sizes of four
// streams; and the streams. Samples go to the streams by turns, so that four codes can be read side by side.
#include "kernel/storage/codec/Samples.h"

#include "kernel/storage/codec/Prefix.h"

#include <algorithm>
#include <cstring>

namespace vk::codec {

namespace {

enum Form : uint8_t { kClear, kFull, kMapped };

constexpr uint32_t kStreams = 4;
constexpr uint32_t kBlock = 32; ///< samples that one bit of the map stands for
constexpr uint32_t kCounts = kContexts * kMostSymbols;
constexpr size_t kSizesBytes = kStreams * sizeof(uint32_t);

/// Samples handled between two loads of a stream: 4 codes of each fit a word.
constexpr uint32_t kGroup = 16;
static_assert(kGroup / kStreams * kCodeBits <= 56);

uint32_t blocks_in(uint32_t width) noexcept
{
    return width / kBlock + (width % kBlock != 0);
}

size_t map_bytes(uint32_t width, uint32_t rows) noexcept
{
    return (size_t{blocks_in(width)} * rows + 7) / 8;
}

/// Most bytes of one stream, with room for whole words.
size_t stream_room(uint32_t width, uint32_t rows) noexcept
{
    return (size_t{rows} * (width / kStreams + 1) * kCodeBits / 8 + 2 * sizeof(uint64_t) + 15) & ~size_t{15};
}

/// The working memory of one call.
struct Workspace {
    uint32_t counts[2][kCounts]; ///< two, so that equal neighbours do not wait for each other
    uint8_t lengths[kCounts];
    union {
        uint32_t encoder[kCounts];
        uint16_t decoder[kContexts * kDecoderEntries];
    };
};

constexpr size_t kTables = (sizeof(Workspace) + 15) & ~size_t{15};

size_t contexts_room(uint32_t width) noexcept
{
    return (size_t{width} + 31) & ~size_t{15};
}

/// Stretches of a row that are coded: all of it, or the blocks that the map names.
class Spans {
public:
    Spans(const uint8_t* map, uint32_t width) noexcept : map_(map), width_(width), blocks_(blocks_in(width)) {}

    template <class Visit> void for_each(uint32_t row, Visit visit) const noexcept
    {
        if (!map_)
            return visit(0u, width_);
        size_t bit = size_t{row} * blocks_;
        for (uint32_t x = 0; x < width_; x += kBlock, ++bit)
            if (map_[bit / 8] >> (bit % 8) & 1)
                visit(x, width_ - x < kBlock ? width_ : x + kBlock);
    }

private:
    const uint8_t* map_;
    uint32_t width_;
    uint32_t blocks_;
};

/// Writes the map of blocks that are not clear; the number of those that are.
size_t map_blocks(const Plane& plane, uint8_t* map) noexcept
{
    std::memset(map, 0, map_bytes(plane.width, plane.rows));
    size_t clear = 0;
    size_t bit = 0;
    for (uint32_t y = 0; y < plane.rows; ++y) {
        const uint8_t* const row = plane.row(y);
        for (size_t x = 0; x < plane.width; x += kBlock, ++bit) { // what is behind the row is clear
            const uint64_t any =
                load_word(row + x) | load_word(row + x + 8) | load_word(row + x + 16) | load_word(row + x + 24);
            if (any != 0)
                map[bit / 8] = static_cast<uint8_t>(map[bit / 8] | 1u << bit % 8);
            else
                ++clear;
        }
    }
    return clear;
}

void count_samples(const Plane& plane, const Spans& spans, uint8_t* contexts, Workspace& work) noexcept
{
    std::memset(work.counts, 0, sizeof work.counts);
    for (uint32_t y = 0; y < plane.rows; ++y) {
        const uint8_t* const row = plane.row(y);
        contexts_below(plane.row(int64_t{y} - 1), contexts, plane.width);
        spans.for_each(y, [&](uint32_t begin, uint32_t end) noexcept {
            for (uint32_t x = begin; x < end; ++x)
                ++work.counts[x % 2][size_t{contexts[x]} << 8 | row[x]];
        });
    }
    for (uint32_t i = 0; i < kCounts; ++i)
        work.counts[0][i] += work.counts[1][i];
}

/// Appends the codes of one stretch.
void encode_span(BitWriter (&streams)[kStreams], const uint32_t* codes, const uint8_t* row, const uint8_t* contexts,
                 uint32_t begin, uint32_t end) noexcept
{
    const auto put = [&](uint32_t x, BitWriter& stream) noexcept {
        const uint32_t code = codes[size_t{contexts[x]} << 8 | row[x]];
        stream.put(code & 0xFFFF, code >> 16);
    };
    uint32_t x = begin;
    for (; end - x >= kGroup; x += kGroup) {
        for (uint32_t i = 0; i < kGroup; i += kStreams)
            for (uint32_t k = 0; k < kStreams; ++k)
                put(x + i + k, streams[k]);
        for (BitWriter& stream : streams)
            stream.flush();
    }
    for (; x < end; ++x) {
        put(x, streams[x % kStreams]);
        streams[x % kStreams].flush();
    }
}

/// Codes all samples into four streams; their sizes.
void encode_streams(const Plane& plane, const Spans& spans, uint8_t* contexts, const Workspace& work,
                    uint8_t* const (&begins)[kStreams], uint32_t (&sizes)[kStreams]) noexcept
{
    BitWriter streams[kStreams] = {BitWriter(begins[0]), BitWriter(begins[1]), BitWriter(begins[2]),
                                   BitWriter(begins[3])};
    for (uint32_t y = 0; y < plane.rows; ++y) {
        contexts_below(plane.row(int64_t{y} - 1), contexts, plane.width);
        spans.for_each(y, [&](uint32_t begin, uint32_t end) noexcept {
            encode_span(streams, work.encoder, plane.row(y), contexts, begin, end);
        });
    }
    for (uint32_t k = 0; k < kStreams; ++k)
        sizes[k] = static_cast<uint32_t>(streams[k].finish() - begins[k]);
}

/// Appends bytes as long as they fit.
class Output {
public:
    Output(uint8_t* out, size_t room) noexcept : begin_(out), at_(out), end_(out + room) {}

    void put(const void* bytes, size_t count) noexcept
    {
        if (count > static_cast<size_t>(end_ - at_))
            fits_ = false;
        if (!fits_ || count == 0)
            return;
        std::memcpy(at_, bytes, count);
        at_ += count;
    }
    size_t bytes() const noexcept { return fits_ ? static_cast<size_t>(at_ - begin_) : 0; }

private:
    uint8_t* begin_;
    uint8_t* at_;
    uint8_t* end_;
    bool fits_ = true;
};

void put_lengths(Output& out, Workspace& work) noexcept
{
    uint8_t written[kMostLengthBytes];
    for (uint32_t context = 0; context < kContexts; ++context) {
        uint8_t* const lengths = work.lengths + size_t{context} * kMostSymbols;
        code_lengths(work.counts[0] + size_t{context} * kMostSymbols, kMostSymbols, lengths);
        make_encoder(lengths, kMostSymbols, work.encoder + size_t{context} * kMostSymbols);
        out.put(written, write_lengths(lengths, kMostSymbols, written));
    }
}

/// Reads the code lengths of all contexts; bytes used, or 0.
size_t get_lengths(const uint8_t* from, size_t room, Workspace& work) noexcept
{
    size_t used = 0;
    for (uint32_t context = 0; context < kContexts; ++context) {
        uint8_t* const lengths = work.lengths + size_t{context} * kMostSymbols;
        const size_t bytes = read_lengths(from + used, room - used, kMostSymbols, lengths);
        if (bytes == 0 || !make_decoder(lengths, kMostSymbols, work.decoder + context * kDecoderEntries))
            return 0;
        used += bytes;
    }
    return used;
}

void decode_span(BitReader (&streams)[kStreams], const uint16_t* table, uint8_t* row, const uint8_t* contexts,
                 uint32_t begin, uint32_t end) noexcept
{
    constexpr uint64_t kMask = kDecoderEntries - 1;
    const auto entry = [table](uint8_t context, uint64_t bits) noexcept {
        return table[size_t{context} << kCodeBits | (bits & kMask)];
    };
    uint32_t x = begin;
    for (; end - x >= kGroup; x += kGroup) {
        uint64_t words[kStreams];
        uint32_t used[kStreams] = {};
        for (uint32_t k = 0; k < kStreams; ++k)
            words[k] = streams[k].peek();
        for (uint32_t i = 0; i < kGroup; i += kStreams)
            for (uint32_t k = 0; k < kStreams; ++k) {
                const uint32_t code = entry(contexts[x + i + k], words[k]);
                row[x + i + k] = static_cast<uint8_t>(code);
                words[k] >>= code >> 8;
                used[k] += code >> 8;
            }
        for (uint32_t k = 0; k < kStreams; ++k)
            streams[k].skip(used[k]);
    }
    for (; x < end; ++x) {
        BitReader& stream = streams[x % kStreams];
        const uint32_t code = entry(contexts[x], stream.peek());
        row[x] = static_cast<uint8_t>(code);
        stream.skip(code >> 8);
    }
}

/// Reads the streams; false when they do not end where they should.
bool decode_streams(const Plane& plane, const Spans& spans, uint8_t* contexts, const Workspace& work,
                    const uint8_t* from, const uint32_t (&sizes)[kStreams]) noexcept
{
    const uint8_t* const second = from + sizes[0];
    const uint8_t* const third = second + sizes[1];
    BitReader streams[kStreams] = {BitReader(from, sizes[0]), BitReader(second, sizes[1]), BitReader(third, sizes[2]),
                                   BitReader(third + sizes[2], sizes[3])};
    for (uint32_t y = 0; y < plane.rows; ++y) {
        contexts_below(plane.row(int64_t{y} - 1), contexts, plane.width);
        spans.for_each(y, [&](uint32_t begin, uint32_t end) noexcept {
            decode_span(streams, work.decoder, plane.row(y), contexts, begin, end);
        });
    }
    return std::all_of(streams, streams + kStreams, [](const BitReader& s) noexcept { return s.is_at_end(); });
}

} // namespace

size_t plane_workspace(uint32_t width, uint32_t rows) noexcept
{
    return kTables + contexts_room(width) + ((map_bytes(width, rows) + 15) & ~size_t{15}) +
           kStreams * stream_room(width, rows);
}

size_t encode_plane(const Plane& residuals, uint8_t* out, size_t room, uint8_t* workspace) noexcept
{
    auto& work = *reinterpret_cast<Workspace*>(workspace);
    uint8_t* const contexts = workspace + kTables;
    uint8_t* const map = contexts + contexts_room(residuals.width);
    const size_t mapped = map_bytes(residuals.width, residuals.rows);
    const size_t clear = map_blocks(residuals, map);
    const size_t blocks = size_t{blocks_in(residuals.width)} * residuals.rows;
    // A clear sample takes a bit without the map: blocks that save more than the map takes pay for it.
    const Form form = clear == blocks ? kClear : clear * kBlock > blocks ? kMapped : kFull;
    Output output(out, room);
    output.put(&form, 1);
    if (form == kClear)
        return output.bytes();
    if (form == kMapped)
        output.put(map, mapped);
    const Spans spans(form == kMapped ? map : nullptr, residuals.width);
    count_samples(residuals, spans, contexts, work);
    put_lengths(output, work);
    uint8_t* streams[kStreams];
    for (uint32_t k = 0; k < kStreams; ++k)
        streams[k] = map + ((mapped + 15) & ~size_t{15}) + k * stream_room(residuals.width, residuals.rows);
    uint32_t sizes[kStreams];
    encode_streams(residuals, spans, contexts, work, streams, sizes);
    output.put(sizes, kSizesBytes);
    for (uint32_t k = 0; k < kStreams; ++k)
        output.put(streams[k], sizes[k]);
    return output.bytes();
}

size_t decode_plane(const Plane& residuals, const uint8_t* from, size_t room, uint8_t* workspace) noexcept
{
    auto& work = *reinterpret_cast<Workspace*>(workspace);
    uint8_t* const contexts = workspace + kTables;
    if (room == 0 || from[0] > kMapped)
        return 0;
    if (from[0] == kClear)
        return 1;
    const size_t mapped = from[0] == kMapped ? map_bytes(residuals.width, residuals.rows) : 0;
    size_t used = 1;
    if (mapped > room - used)
        return 0;
    const Spans spans(mapped != 0 ? from + used : nullptr, residuals.width);
    used += mapped;
    const size_t tables = get_lengths(from + used, room - used, work);
    used += tables;
    if (tables == 0 || room - used < kSizesBytes)
        return 0;
    uint32_t sizes[kStreams];
    std::memcpy(sizes, from + used, kSizesBytes);
    used += kSizesBytes;
    const uint64_t total = uint64_t{sizes[0]} + sizes[1] + sizes[2] + sizes[3];
    if (total > room - used || !decode_streams(residuals, spans, contexts, work, from + used, sizes))
        return 0;
    return used + static_cast<size_t>(total);
}

} // namespace vk::codec
