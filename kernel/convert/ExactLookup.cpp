// Preparing and asking the exact look-up. See ExactLookup.h for the idea.
//
// What can win in a cell is narrowed down through boxes of 16 and 8 levels a side, whose lists of entries are kept, so
// that a cell looks at the few entries of its box and not at the whole palette. When the memory for lists or cells is
// used up, a larger box's list serves instead: slower, and never wrong.
#include "kernel/convert/ExactLookup.h"

#include "kernel/convert/Fused.h"
#include "kernel/convert/PairLookup.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/palette/Palette.h"
#include "platform/platform.h"
#include "simd/Simd.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <new>

namespace vk::pixel {
namespace {

constexpr uint32_t kSideBits = 6;                ///< log2 of the cells along a channel
constexpr uint32_t kCells = 1u << 3 * kSideBits; ///< all cells
constexpr uint32_t kCellColors = 64;             ///< colours in a cell
constexpr uint32_t kLastCell = kCells - 1;       ///< the one with white
constexpr uint32_t kListWords = 1u << 18;        ///< room for lists, in candidates
constexpr size_t kOverread = 4;                  ///< bytes behind the answers that gathering them may read
constexpr uint32_t kUnknown = 0;                 ///< a cell or list not settled yet

/// A run of candidates: place in the list memory and length; none has length 0. It is read and written as a whole.
struct alignas(8) List {
    uint32_t place;
    uint32_t count;
};

/// An entry with its index.
struct Candidate {
    RGBQUAD color;
    uint32_t index;
};

/// Levels low to low + size - 1 of each channel.
struct Box {
    int32_t red, green, blue, size;
};

struct ExactLookup {
    ColorLookup base;
    const MatchKnown* wide; ///< or null
    const ScanAll* all;     ///< or null
    ScanEntry few[kMostScanned];
    uint32_t count;
    uint32_t blocks; ///< cells there is room for
    std::atomic<uint32_t> used_blocks;
    std::atomic<uint32_t> used_list;
    uint8_t* indices;      ///< 256 bytes that are their own position, then a block of 64 for each mixed cell
    Candidate* lists;      ///< the palette first
    uint8_t black, white;  ///< answers of the scan's shortcuts
    List coarse[1u << 12]; ///< boxes of 16 levels
    List middle[1u << 15]; ///< boxes of 8 levels
    /// Per cell: kUnknown, or 1 + its place in `indices` times 64, + 63 for a block or 0 for a single answer.
    uint32_t cells[kCells];
};

/// The most that channel adds to distance(winner) - distance(loser) within a box.
int32_t most(int32_t winner, int32_t loser, int32_t low, int32_t high) noexcept
{
    const int32_t at = winner > loser ? low : high;
    return (winner - loser) * (winner + loser - 2 * at);
}

/// Whether `winner` is strictly nearer than `loser` in all of a box.
bool dominates(const RGBQUAD& winner, const RGBQUAD& loser, const Box& box) noexcept
{
    const int32_t span = box.size - 1;
    return most(winner.rgbRed, loser.rgbRed, box.red, box.red + span) +
               most(winner.rgbGreen, loser.rgbGreen, box.green, box.green + span) +
               most(winner.rgbBlue, loser.rgbBlue, box.blue, box.blue + span) <
           0;
}

/// The candidate nearest to the middle of a box.
const Candidate& middle_winner(const Candidate* from, uint32_t count, const Box& box) noexcept
{
    const auto middle = [&box](int32_t low) noexcept { return static_cast<uint32_t>(low + box.size / 2); };
    const auto distance = [&](const Candidate& c) noexcept {
        return color_distance(c.color, middle(box.red), middle(box.green), middle(box.blue));
    };
    const Candidate* best = from;
    for (const Candidate* c = from + 1; c < from + count; ++c) {
        best = distance(*c) < distance(*best) ? c : best;
    }
    return *best;
}

/// Copies the candidates that the winner in a box's middle leaves a chance, in order; returns how many. If that is one,
/// it wins in all of the box.
uint32_t narrow(const Candidate* from, uint32_t count, const Box& box, Candidate* to) noexcept
{
    const Candidate& best = middle_winner(from, count, box);
    uint32_t kept = 0;
    for (uint32_t i = 0; i < count; ++i) {
        to[kept] = from[i];
        kept += dominates(best.color, from[i].color, box) ? 0 : 1;
    }
    return kept;
}

/// Copies the candidates that can win somewhere in a box, in order; returns how many.
uint32_t refine(const Candidate* from, uint32_t count, const Box& box, Candidate* to) noexcept
{
    Candidate left[kMaxPaletteEntries];
    const uint32_t left_count = narrow(from, count, box, left);
    uint32_t kept = 0;
    for (uint32_t i = 0; i < left_count; ++i) {
        const bool beaten = std::any_of(left, left + left_count, [&](const Candidate& other) noexcept {
            return dominates(other.color, left[i].color, box);
        });
        if (!beaten) {
            to[kept++] = left[i];
        }
    }
    return kept;
}

/// The candidates of a box, found from those of a larger one around it when they are not known yet.
List box_list(ExactLookup& lookup, List* known, const List& around, const Box& box) noexcept
{
    const std::atomic_ref shared(*known);
    List list = shared.load(std::memory_order_acquire);
    if (list.count != 0) {
        return list;
    }
    if (lookup.used_list.load(std::memory_order_relaxed) + around.count > kListWords) {
        return around;
    }
    Candidate own[kMaxPaletteEntries];
    list.count = refine(lookup.lists + around.place, around.count, box, own);
    list.place = lookup.used_list.fetch_add(list.count, std::memory_order_relaxed);
    if (list.place + list.count > kListWords) {
        return around;
    }
    std::copy_n(own, list.count, lookup.lists + list.place);
    shared.store(list, std::memory_order_release);
    return list;
}

constexpr int32_t level_of(uint32_t position, uint32_t bits, uint32_t shift) noexcept
{
    return static_cast<int32_t>((position >> shift & ((1u << bits) - 1u)) << (8u - bits));
}

/// The box of 1 << bits boxes a side that holds a cell.
Box box_of(uint32_t cell, uint32_t bits) noexcept
{
    const uint32_t drop = kSideBits - bits;
    return {level_of(cell >> (2 * kSideBits + drop), bits, 0), level_of(cell >> (kSideBits + drop), bits, 0),
            level_of(cell >> drop, bits, 0), 256 >> bits};
}

uint32_t box_number(const Box& box, uint32_t bits) noexcept
{
    const auto at = [&box](int32_t level) noexcept { return static_cast<uint32_t>(level / box.size); };
    return (at(box.red) << bits | at(box.green)) << bits | at(box.blue);
}

List cell_list(ExactLookup& lookup, uint32_t cell) noexcept
{
    const Box large = box_of(cell, 4);
    const Box small = box_of(cell, 5);
    const List coarse = box_list(lookup, &lookup.coarse[box_number(large, 4)], {0, lookup.count}, large);
    return box_list(lookup, &lookup.middle[box_number(small, 5)], coarse, small);
}

/// Scans candidates by the rule of the plain scan.
uint8_t scan(const Candidate* from, uint32_t count, uint32_t red, uint32_t green, uint32_t blue) noexcept
{
    uint32_t best = 0;
    uint32_t best_distance = UINT32_MAX;
    for (const Candidate* c = from; c < from + count && best_distance != 0; ++c) {
        const uint32_t distance = color_distance(c->color, red, green, blue);
        if (distance < best_distance ||
            (distance == best_distance && channel_class(c->color) == channel_class(red, green, blue))) {
            best = c->index;
            best_distance = distance;
        }
    }
    return static_cast<uint8_t>(best);
}

using Numbers = simd::Quad<int32_t>;

/// Four colours that differ in blue, and what is known about them so far.
struct Four {
    Numbers distance, winner, tied; ///< ties as ones or zeros
};

/// The squared distances of an entry's level to four levels from `low` on.
void squares(int32_t level, int32_t low, int32_t* out) noexcept
{
    for (int32_t i = 0; i < 4; ++i) {
        out[i] = (level - low - i) * (level - low - i);
    }
}

/// Enters a candidate into all fours of a cell.
void enter(const Candidate& c, const Box& box, Four* fours) noexcept
{
    int32_t red[4];
    int32_t green[4];
    int32_t blue[4];
    squares(c.color.rgbRed, box.red, red);
    squares(c.color.rgbGreen, box.green, green);
    squares(c.color.rgbBlue, box.blue, blue);
    const auto blues = simd::load<Numbers>(blue);
    const auto index = simd::all<Numbers>(static_cast<int32_t>(c.index));
    const auto ones = simd::all<Numbers>(-1);
    for (uint32_t i = 0; i < 16; ++i) {
        Four& four = fours[i];
        const Numbers distance = simd::all<Numbers>(red[i >> 2] + green[i & 3]) + blues;
        const auto nearer = distance < four.distance;
        four.tied = simd::keep(~nearer, four.tied) | simd::keep(distance == four.distance, ones);
        four.winner = simd::select(nearer, index, four.winner);
        four.distance = simd::select(nearer, distance, four.distance);
    }
}

/// Writes the answers of a cell's 64 colours. Every candidate meets all colours at once; ties are left to `scan`.
void fill_block(const Candidate* from, uint32_t count, const Box& box, uint8_t* block) noexcept
{
    Four fours[16];
    std::fill_n(fours, 16, Four{simd::all<Numbers>(INT32_MAX), {}, {}});
    for (uint32_t i = 0; i < count; ++i) {
        enter(from[i], box, fours);
    }
    for (uint32_t i = 0; i < 16; i += 4) {
        const auto low = simd::pack(fours[i].winner, fours[i + 1].winner);
        const auto high = simd::pack(fours[i + 2].winner, fours[i + 3].winner);
        simd::store(block + 4 * i, simd::pack_unsigned(low, high));
    }
    for (uint32_t i = 0; i < kCellColors; i += 4) {
        for (uint64_t tied = simd::high_bits(fours[i >> 2].tied); tied != 0; tied &= tied - 1) {
            const auto at = i + static_cast<uint32_t>(std::countr_zero(tied));
            block[at] =
                scan(from, count, static_cast<uint32_t>(box.red) + (at >> 4),
                     static_cast<uint32_t>(box.green) + (at >> 2 & 3), static_cast<uint32_t>(box.blue) + (at & 3));
        }
    }
}

constexpr uint32_t cell_value(uint32_t place, uint32_t mask) noexcept
{
    return (place << 6 | mask) + 1;
}

uint32_t known_cell(ExactLookup& lookup, uint32_t cell) noexcept
{
    return std::atomic_ref(lookup.cells[cell]).load(std::memory_order_acquire);
}

void publish_cell(ExactLookup& lookup, uint32_t cell, uint32_t value) noexcept
{
    std::atomic_ref(lookup.cells[cell]).store(value, std::memory_order_release);
}

/// Settles a cell. False when there is no room for its block; `list` then says what can win there.
bool settle(ExactLookup& lookup, uint32_t cell, List* list) noexcept
{
    *list = cell_list(lookup, cell);
    const Box box = box_of(cell, kSideBits);
    Candidate own[kMaxPaletteEntries];
    const uint32_t count = narrow(lookup.lists + list->place, list->count, box, own);
    const bool at_corner = cell == 0 || cell == kLastCell;
    if (count == 1 && !at_corner) {
        publish_cell(lookup, cell, cell_value(own[0].index, 0));
        return true;
    }
    if (lookup.used_blocks.load(std::memory_order_relaxed) >= lookup.blocks) {
        return false;
    }
    const uint32_t number = lookup.used_blocks.fetch_add(1, std::memory_order_relaxed);
    if (number >= lookup.blocks) {
        return false;
    }
    const uint32_t place = 256 + kCellColors * number;
    uint8_t* block = lookup.indices + place;
    fill_block(own, count, box, block);
    if (cell == 0) {
        block[0] = lookup.black;
    } else if (cell == kLastCell) {
        block[kCellColors - 1] = lookup.white;
    }
    publish_cell(lookup, cell, cell_value(place, kCellColors - 1));
    return true;
}

/// The bytes of a colour: blue lowest, then green, red and alpha.
constexpr uint32_t word_of(const Rgba8& c) noexcept
{
    return std::bit_cast<uint32_t>(c);
}

constexpr uint32_t cell_of(uint32_t word) noexcept
{
    return (word >> 6 & 0x3F000u) | (word >> 4 & 0xFC0u) | (word >> 2 & 0x3Fu);
}

constexpr uint32_t place_in_cell(uint32_t word) noexcept
{
    return (word >> 12 & 0x30u) | (word >> 6 & 0xCu) | (word & 3u);
}

/// The answer for a colour whose cell is not settled.
uint8_t ask(ExactLookup& lookup, const Rgba8& c) noexcept
{
    List list;
    const uint32_t cell = cell_of(word_of(c));
    if (settle(lookup, cell, &list)) {
        const uint32_t value = known_cell(lookup, cell) - 1;
        return lookup.indices[(value >> 6) + (place_in_cell(word_of(c)) & value)];
    }
    if (c.r == c.g && c.g == c.b && (c.r == 0 || c.r == 255)) {
        return c.r == 0 ? lookup.black : lookup.white;
    }
    return scan(lookup.lists + list.place, list.count, c.r, c.g, c.b);
}

// A look-up learns while it is asked.
ExactLookup& learning(const ColorLookup* self) noexcept
{
    return *const_cast<ExactLookup*>(reinterpret_cast<const ExactLookup*>(self));
}

void match_cells(const ColorLookup* self, const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    ExactLookup& lookup = learning(self);
    const uint8_t* known = lookup.indices;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = word_of(colors[i]);
        const uint32_t value = known_cell(lookup, cell_of(word));
        if (value == kUnknown) {
            indices[i] = ask(lookup, colors[i]);
        } else {
            indices[i] = known[((value - 1) >> 6) + (place_in_cell(word) & (value - 1))];
        }
    }
}

void match_cells_wide(const ColorLookup* self, const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    const ExactLookup& lookup = learning(self);
    for (size_t i = 0; i < count;) {
        i += lookup.wide->match(lookup.cells, lookup.indices, colors + i, indices + i, count - i);
        const size_t some = std::min(count - i, lookup.wide->step);
        match_cells(self, colors + i, indices + i, some);
        i += some;
    }
}

/// Tries all entries for a step of colours, of which `count` matter; ties are left to the cells.
void match_step(const ExactLookup& lookup, const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    const uint64_t tied = lookup.all->match(lookup.few, lookup.count, colors, indices);
    for (uint64_t left = tied & (~uint64_t{0} >> (64 - count)); left != 0; left &= left - 1) {
        const auto at = static_cast<size_t>(std::countr_zero(left));
        match_cells(&lookup.base, colors + at, indices + at, 1);
    }
}

void match_few(const ColorLookup* self, const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    constexpr size_t kMostStep = 64;
    const ExactLookup& lookup = learning(self);
    const size_t step = lookup.all->step;
    size_t i = 0;
    for (; i + step <= count; i += step) {
        match_step(lookup, colors + i, indices + i, step);
    }
    if (i < count) {
        Rgba8 last[kMostStep] = {};
        uint8_t found[kMostStep];
        std::copy_n(colors + i, count - i, last);
        match_step(lookup, last, found, count - i);
        std::copy_n(found, count - i, indices + i);
    }
}

/// With a square no larger than 3 * 255 * 255 and twice as large products, keys fit 32 bits.
ScanEntry scan_entry(const RGBQUAD& entry, uint32_t index) noexcept
{
    const auto pair = [](int32_t low, int32_t high) noexcept {
        return static_cast<int32_t>((static_cast<uint32_t>(-2 * low) & 0xFFFFu) | static_cast<uint32_t>(-2 * high)
                                                                                      << 16);
    };
    const int32_t red = entry.rgbRed, green = entry.rgbGreen, blue = entry.rgbBlue;
    return {pair(blue, red), pair(green, 0),
            (red * red + green * green + blue * blue) * 256 + static_cast<int32_t>(index)};
}

} // namespace

ColorLookup* create_exact_lookup(const RGBQUAD* entries, uint32_t count, uint64_t pixels) noexcept
{
    if (count == 2 && are_apart(entries[0], entries[1])) {
        return create_pair_lookup({entries[0], entries[1]});
    }
    const auto blocks = static_cast<uint32_t>(std::clamp<uint64_t>(pixels / 32, 1024, kCells));
    void* const memory = platform::heap_alloc(sizeof(ExactLookup));
    if (memory == nullptr) {
        return nullptr;
    }
    auto* const lookup = new (memory) ExactLookup{};
    lookup->wide = match_known_loop_sets.best();
    lookup->base.match = lookup->wide != nullptr ? match_cells_wide : match_cells;
    lookup->all = count <= kMostScanned ? scan_all_sets.best() : nullptr;
    if (lookup->all != nullptr) {
        lookup->base.match = match_few;
        for (uint32_t i = 0; i < count; ++i) {
            lookup->few[i] = scan_entry(entries[i], i);
        }
    }
    lookup->count = count;
    lookup->blocks = blocks;
    lookup->used_list.store(count, std::memory_order_relaxed);
    lookup->black = static_cast<uint8_t>(find_palette_index(entries, count, 0, 0, 0));
    lookup->white = static_cast<uint8_t>(find_palette_index(entries, count, 255, 255, 255));
    lookup->indices = static_cast<uint8_t*>(platform::heap_alloc(256 + size_t{kCellColors} * blocks + kOverread));
    lookup->lists = static_cast<Candidate*>(platform::heap_alloc(kListWords * sizeof(Candidate)));
    if (lookup->indices == nullptr || lookup->lists == nullptr) {
        destroy_exact_lookup(&lookup->base);
        return nullptr;
    }
    for (uint32_t i = 0; i < 256; ++i) {
        lookup->indices[i] = static_cast<uint8_t>(i);
    }
    for (uint32_t i = 0; i < count; ++i) {
        lookup->lists[i] = {entries[i], i};
    }
    return &lookup->base;
}

void destroy_exact_lookup(ColorLookup* lookup) noexcept
{
    auto* exact = reinterpret_cast<ExactLookup*>(lookup);
    if (exact != nullptr && !destroy_pair_lookup(lookup)) {
        platform::heap_free(exact->indices);
        platform::heap_free(exact->lists);
        platform::heap_free(exact);
    }
}

} // namespace vk::pixel
