// The codec for 1 bit. A row is told by where its colour changes, seen from the changes of the row above: most lie in
// the same column or close by. The symbols, after the step that goes before, have prefix codes of their own in every
// block. Changes in the very same column are counted together, on from row to row, so that white paper costs nothing.
//
// A block of bytes is the code lengths of all tables, the size of the stream, the stream, the bits behind the pixels
// (kernel/storage/codec/Tails.h), and padding.
#include "kernel/storage/codec/Changes.h"
#include "kernel/storage/codec/Codec.h"
#include "kernel/storage/codec/Prefix.h"
#include "kernel/storage/codec/Tails.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace vk::codec {

namespace {

/// Tables: steps by what kind of step went before, and the two runs of a step that looks at nothing above.
enum Table : uint32_t { kAfterSame, kAfterNear, kAfterSkip, kAfterRuns, kClearRun, kSetRun, kTables };

/// Symbols of a step: the two changes above are skipped; two runs follow; the change is near the one above; or this
/// many times the change is where the one above is.
constexpr uint32_t kSkip = 0;
constexpr uint32_t kRuns = 1;
constexpr int32_t kReach = 7;
constexpr uint32_t kNear = 2; ///< 1 to kReach columns to the right, then as many to the left
constexpr uint32_t kSame = kNear + 2 * kReach;

/// Numbers up to 15 have symbols of their own; above, four symbols share each power of two and bits follow.
constexpr uint32_t kDirect = 16;
constexpr uint32_t kNumberBits = 20;
constexpr uint32_t kNumberLimit = 1u << kNumberBits;
constexpr uint32_t kNumberSymbols = kDirect + 4 * (kNumberBits - 4);
constexpr uint32_t kSymbols = kSame + kNumberSymbols;
constexpr uint32_t kWidest = kNumberLimit - 1; ///< wider rows are not coded

struct Number {
    uint32_t symbol;
    uint32_t bits;  ///< that follow
    uint32_t count; ///< of them
};

constexpr Number number_of(uint32_t value) noexcept
{
    if (value < kDirect)
        return Number{value, 0, 0};
    const auto power = static_cast<uint32_t>(std::bit_width(value)) - 1;
    const uint32_t count = power - 2;
    return Number{kDirect + (power - 4) * 4 + (value >> count & 3), value & ((1u << count) - 1), count};
}

/// Bits that follow a number's symbol.
constexpr uint32_t following(uint32_t symbol) noexcept
{
    return symbol < kDirect ? 0 : (symbol - kDirect) / 4 + 2;
}

constexpr uint32_t value_of(uint32_t symbol, uint32_t bits) noexcept
{
    return symbol < kDirect ? symbol : (4 + (symbol - kDirect) % 4) << following(symbol) | bits;
}
static_assert(number_of(kNumberLimit - 1).symbol == kNumberSymbols - 1);
static_assert(value_of(number_of(12345).symbol, number_of(12345).bits) == 12345);

/// A symbol on its way: its table, itself and the bits that follow.
constexpr uint32_t pack(uint32_t table, uint32_t symbol, uint32_t bits) noexcept
{
    return symbol | table << 8 | bits << 12;
}
static_assert(kSymbols <= 256 && kTables <= 16 && kNumberBits - 3 + 12 <= 32);

/// The change of the row above that a step looks at: the first one behind the step's start that leads to the other
/// colour. Stepping back goes by one change only, which both directions do alike.
class Above {
public:
    explicit Above(const int32_t* changes) noexcept : changes_(changes) {}

    int32_t first() const noexcept { return changes_[at_]; }
    int32_t second() const noexcept { return changes_[at_ + 1]; }
    void flip() noexcept { at_ = at_ != 0 ? at_ - 1 : 1; }
    void pass(int32_t start) noexcept
    {
        while (changes_[at_] <= start)
            at_ += 2;
    }

private:
    const int32_t* changes_;
    size_t at_ = 0;
};

struct Workspace {
    uint32_t counts[kTables][kSymbols];
    uint32_t encoder[kTables][kSymbols];
    uint8_t lengths[kTables][kSymbols];
    uint16_t decoder[kTables][kDecoderEntries];
};

constexpr size_t kWorkspace = (sizeof(Workspace) + 15) & ~size_t{15};

size_t changes_bytes(const Shape& shape) noexcept
{
    return (change_room(shape.width) * sizeof(int32_t) + 15) & ~size_t{15};
}

/// Symbols past this number are more bits than the pixels themselves.
size_t most_symbols(const Shape& shape) noexcept
{
    return 2 * shape.bytes() + 64;
}

size_t workspace_bytes(const Shape& shape) noexcept
{
    return shape.width > kWidest ? 0 : kWorkspace + 2 * changes_bytes(shape) + most_symbols(shape) * sizeof(uint32_t);
}

/// Where the working memory is laid out.
struct Memory {
    Workspace& work;
    int32_t* above;
    int32_t* changes;
    uint32_t* symbols;

    Memory(const Shape& shape, uint8_t* workspace) noexcept
        : work(*reinterpret_cast<Workspace*>(workspace)), above(reinterpret_cast<int32_t*>(workspace + kWorkspace)),
          changes(reinterpret_cast<int32_t*>(workspace + kWorkspace + changes_bytes(shape))),
          symbols(reinterpret_cast<uint32_t*>(workspace + kWorkspace + 2 * changes_bytes(shape)))
    {}
};

// ---- encoding ----

/// Collects the symbols of a block.
class Steps {
public:
    Steps(uint32_t* symbols, size_t room) noexcept : begin_(symbols), at_(symbols), end_(symbols + room) {}

    /// One row; false when there are too many symbols.
    bool add_row(const int32_t* changes, const int32_t* above_changes, int32_t width) noexcept
    {
        Above above(above_changes);
        int32_t start = -1;
        uint32_t colour = 0;
        while (start < width) {
            if (end_ - at_ < 4)
                return false;
            above.pass(start);
            const int32_t distance = *changes - above.first();
            if (above.second() < *changes) {
                start = above.second();
                add_step(kSkip, kAfterSkip);
                continue;
            }
            if (std::abs(distance) > kReach) {
                start = add_runs(std::max(start, 0), changes, colour);
                changes += 2;
                continue;
            }
            if (distance == 0)
                add_same();
            else
                add_step(distance > 0 ? kNear + static_cast<uint32_t>(distance) - 1
                                      : kNear + kReach + static_cast<uint32_t>(-distance) - 1,
                         kAfterNear);
            start = *changes++;
            colour ^= 1;
            above.flip();
        }
        return true;
    }

    /// Ends the block; the number of symbols.
    size_t finish() noexcept
    {
        end_same();
        return static_cast<size_t>(at_ - begin_);
    }

private:
    void add_same() noexcept
    {
        if (++same_ == kNumberLimit)
            end_same();
    }
    void end_same() noexcept
    {
        if (same_ == 0)
            return;
        const Number number = number_of(same_ - 1);
        *at_++ = pack(table_, kSame + number.symbol, number.bits);
        table_ = kAfterSame;
        same_ = 0;
    }
    void add_step(uint32_t symbol, Table after) noexcept
    {
        end_same();
        *at_++ = pack(table_, symbol, 0);
        table_ = after;
    }
    int32_t add_runs(int32_t start, const int32_t* changes, uint32_t colour) noexcept
    {
        add_step(kRuns, kAfterRuns);
        for (uint32_t i = 0; i < 2; ++i) {
            const Number number = number_of(static_cast<uint32_t>(changes[i] - start));
            *at_++ = pack(kClearRun + (colour ^ i), number.symbol, number.bits);
            start = changes[i];
        }
        return start;
    }

    uint32_t* begin_;
    uint32_t* at_;
    uint32_t* end_;
    uint32_t same_ = 0;
    uint32_t table_ = kAfterSame;
};

/// Bits that follow a symbol of a table.
constexpr uint32_t following(uint32_t table, uint32_t symbol) noexcept
{
    if (table >= kClearRun)
        return following(symbol);
    return symbol < kSame ? 0 : following(symbol - kSame);
}

/// All symbols of a block; their number, or 0 when there are too many.
size_t collect(const Shape& shape, const uint8_t* rows, Memory& memory) noexcept
{
    Steps steps(memory.symbols, most_symbols(shape));
    guard_changes(memory.above, 0, shape.width);
    for (uint32_t y = 0; y < shape.rows; ++y) {
        find_changes(rows + size_t{y} * shape.bytes_per_line, shape.width, memory.changes);
        if (!steps.add_row(memory.changes, memory.above, static_cast<int32_t>(shape.width)))
            return 0;
        std::swap(memory.above, memory.changes);
    }
    return steps.finish();
}

/// Makes the codes and writes their lengths; `*bits` receives what the symbols take. Bytes written, or 0.
size_t make_codes(const Memory& memory, size_t symbols, uint8_t* out, size_t room, uint64_t* bits) noexcept
{
    Workspace& work = memory.work;
    std::memset(work.counts, 0, sizeof work.counts);
    for (size_t i = 0; i < symbols; ++i)
        ++work.counts[memory.symbols[i] >> 8 & 15][memory.symbols[i] & 255];
    size_t used = 0;
    *bits = 0;
    for (uint32_t table = 0; table < kTables; ++table) {
        code_lengths(work.counts[table], kSymbols, work.lengths[table]);
        make_encoder(work.lengths[table], kSymbols, work.encoder[table]);
        if (room - used < kMostLengthBytes)
            return 0;
        used += write_lengths(work.lengths[table], kSymbols, out + used);
        for (uint32_t symbol = 0; symbol < kSymbols; ++symbol)
            *bits += uint64_t{work.counts[table][symbol]} * (work.lengths[table][symbol] + following(table, symbol));
    }
    return used;
}

void write_symbols(const Memory& memory, size_t symbols, uint8_t* out) noexcept
{
    BitWriter writer(out);
    for (size_t i = 0; i < symbols; ++i) {
        const uint32_t packed = memory.symbols[i];
        const uint32_t table = packed >> 8 & 15;
        const uint32_t code = memory.work.encoder[table][packed & 255];
        writer.put(code & 0xFFFF, code >> 16);
        writer.put(packed >> 12, following(table, packed & 255));
        writer.flush();
    }
    writer.finish();
}

size_t encode(const Shape& shape, const uint8_t* rows, uint8_t* out, size_t room, uint8_t* workspace) noexcept
{
    constexpr size_t kSizeBytes = sizeof(uint32_t);
    if (shape.width > kWidest || room < kStreamPadding + kSizeBytes)
        return 0;
    room -= kStreamPadding;
    Memory memory(shape, workspace);
    const size_t symbols = collect(shape, rows, memory);
    uint64_t bits = 0;
    size_t used = symbols != 0 ? make_codes(memory, symbols, out, room - kSizeBytes, &bits) : 0;
    const uint64_t bytes = (bits + 7) / 8;
    if (used == 0 || bytes > room - used - kSizeBytes)
        return 0;
    const auto size = static_cast<uint32_t>(bytes);
    std::memcpy(out + used, &size, kSizeBytes);
    used += kSizeBytes;
    write_symbols(memory, symbols, out + used);
    used += size;
    const size_t tails = encode_tails(shape, rows, out + used, room - used);
    if (tails == 0)
        return 0;
    used += tails;
    std::memset(out + used, 0, kStreamPadding);
    return used + kStreamPadding;
}

// ---- decoding ----

/// Reads the rows of a block, one after another.
class RowDecoder {
public:
    RowDecoder(const Workspace& work, BitReader reader) noexcept : work_(work), reader_(reader) {}

    /// One row from the changes of the one above; false when the bytes make no row.
    bool read_row(const int32_t* above_changes, int32_t* changes, int32_t width) noexcept
    {
        Above above(above_changes);
        int32_t* const begin = changes;
        int32_t start = -1;
        uint32_t colour = 0;
        while (start < width) {
            above.pass(start);
            if (same_ == 0 && !read_step())
                return false;
            if (step_ == kSkip) {
                start = above.second();
            } else if (step_ == kRuns) {
                if (!read_runs(start, colour, width, changes))
                    return false;
                start = changes[1];
                changes += 2;
            } else {
                const int32_t change = above.first() + distance_;
                if (change <= start || change > width)
                    return false;
                start = *changes++ = change;
                same_ -= same_ != 0;
                colour ^= 1;
                above.flip();
            }
        }
        while (changes != begin && changes[-1] == width) // the row's end is no change
            --changes;
        guard_changes(changes, 0, static_cast<uint32_t>(width));
        return true;
    }

    bool is_at_end() const noexcept { return same_ == 0 && reader_.is_at_end(); }

private:
    /// The next symbol of a table, read from `word`.
    uint32_t take(uint32_t table, uint64_t& word) noexcept
    {
        const uint32_t entry = work_.decoder[table][word & (kDecoderEntries - 1)];
        word >>= entry >> 8;
        reader_.skip(entry >> 8);
        return entry & 255;
    }
    uint32_t take_number(uint32_t symbol, uint64_t word) noexcept
    {
        const uint32_t count = following(symbol);
        reader_.skip(count);
        return value_of(symbol, static_cast<uint32_t>(word & ((uint64_t{1} << count) - 1)));
    }

    bool read_step() noexcept
    {
        if (reader_.is_past_end())
            return false;
        uint64_t word = reader_.peek();
        step_ = take(table_, word);
        if (step_ >= kSame) {
            same_ = take_number(step_ - kSame, word) + 1;
            distance_ = 0;
            table_ = kAfterSame;
        } else if (step_ >= kNear) {
            const auto nearby = static_cast<int32_t>(step_ - kNear);
            distance_ = nearby < kReach ? nearby + 1 : kReach - nearby - 1;
            table_ = kAfterNear;
        } else {
            table_ = step_ == kSkip ? kAfterSkip : kAfterRuns;
        }
        return true;
    }

    bool read_runs(int32_t start, uint32_t colour, int32_t width, int32_t* changes) noexcept
    {
        int32_t at = std::max(start, 0);
        for (uint32_t i = 0; i < 2; ++i) {
            uint64_t word = reader_.peek();
            const uint32_t symbol = take(kClearRun + (colour ^ i), word);
            const auto run = static_cast<int32_t>(take_number(symbol, word));
            if (run > width - at || at + run <= (i == 0 ? start : changes[0] - (changes[0] == width)))
                return false;
            changes[i] = at += run;
        }
        return true;
    }

    const Workspace& work_;
    BitReader reader_;
    uint32_t table_ = kAfterSame;
    uint32_t step_ = 0;
    int32_t distance_ = 0;
    uint32_t same_ = 0; ///< times that the step goes on
};

bool read_tables(const uint8_t* packed, size_t room, size_t* used, Workspace& work) noexcept
{
    for (uint32_t table = 0; table < kTables; ++table) {
        const size_t bytes = read_lengths(packed + *used, room - *used, kSymbols, work.lengths[table]);
        if (bytes == 0 || !make_decoder(work.lengths[table], kSymbols, work.decoder[table]))
            return false;
        *used += bytes;
    }
    return true;
}

bool decode(const Shape& shape, const uint8_t* packed, size_t bytes, uint8_t* rows, uint8_t* workspace) noexcept
{
    uint32_t size = 0;
    if (shape.width > kWidest || bytes < kStreamPadding)
        return false;
    const size_t room = bytes - kStreamPadding;
    Memory memory(shape, workspace);
    size_t used = 0;
    if (!read_tables(packed, room, &used, memory.work) || room - used < sizeof size)
        return false;
    std::memcpy(&size, packed + used, sizeof size);
    used += sizeof size;
    if (size > room - used)
        return false;
    RowDecoder decoder(memory.work, BitReader(packed + used, size));
    guard_changes(memory.above, 0, shape.width);
    for (uint32_t y = 0; y < shape.rows; ++y) {
        if (!decoder.read_row(memory.above, memory.changes, static_cast<int32_t>(shape.width)))
            return false;
        draw_changes(memory.changes, shape.width, rows + size_t{y} * shape.bytes_per_line);
        std::swap(memory.above, memory.changes);
    }
    used += size;
    return decoder.is_at_end() && decode_tails(shape, packed + used, room - used, rows);
}

bool load() noexcept
{
    return true; // nothing to fetch: the codec is part of the library
}

void unload() noexcept {}

} // namespace

const Codec kPageCodec = {
    .name = "page",
    .load = load,
    .unload = unload,
    .workspace_bytes = workspace_bytes,
    .encode = encode,
    .decode = decode,
};

} // namespace vk::codec
