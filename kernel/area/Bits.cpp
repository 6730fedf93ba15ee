#include "kernel/area/Bits.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vk {

namespace {

constexpr int32_t kWordBits = 64;

/// 64 bits of a row, its first one the highest; what lies behind `bytes` is clear.
uint64_t load_word(const uint8_t* at, size_t bytes) noexcept
{
    uint64_t word = 0;
    if (bytes >= sizeof word) {
        std::memcpy(&word, at, sizeof word);
        return __builtin_bswap64(word);
    }
    if (bytes >= sizeof(uint32_t)) { // two halves, which may overlap
        uint32_t first;
        uint32_t last;
        std::memcpy(&first, at, sizeof first);
        std::memcpy(&last, at + bytes - sizeof last, sizeof last);
        return uint64_t{__builtin_bswap32(first)} << 32 | uint64_t{__builtin_bswap32(last)} << (64 - 8 * bytes);
    }
    for (size_t i = 0; i < bytes; ++i)
        word |= uint64_t{at[i]} << (56 - 8 * i);
    return word;
}

/// Those bits of the word that begins with `column` that lie in a row.
uint64_t inside_row(int32_t width, int64_t column) noexcept
{
    return ~uint64_t{0} << (kWordBits - std::min<int64_t>(kWordBits, width - column));
}

/// The word of a row that begins with `column`, a multiple of 64.
uint64_t word_of_row(const uint8_t* row, int32_t width, int64_t column) noexcept
{
    const auto bytes = (static_cast<size_t>(width) + 7) / 8;
    const auto at = static_cast<size_t>(column / 8);
    return load_word(row + at, bytes - at) & inside_row(width, column);
}

/// Two words by an operation's truth table.
class WordOp {
public:
    explicit WordOp(AreaOp op) noexcept : both_(bits_of(op, 3)), first_(bits_of(op, 1)), second_(bits_of(op, 2)) {}

    uint64_t operator()(uint64_t a, uint64_t b) const noexcept
    {
        return (a & b & both_) | (a & ~b & first_) | (b & ~a & second_);
    }

private:
    static uint64_t bits_of(AreaOp op, uint32_t row) noexcept
    {
        return uint64_t{0} - (static_cast<uint64_t>(op) >> row & 1);
    }

    uint64_t both_;
    uint64_t first_;
    uint64_t second_;
};

/// Collects the edges between clear and set bits, word by word.
class EdgeWriter {
public:
    explicit EdgeWriter(AreaRun* runs) noexcept : edges_(&runs->first) {}

    void add(int64_t column, uint64_t word) noexcept
    {
        for (uint64_t changes = word ^ (word >> 1 | before_ << 63); changes != 0;) {
            const int bit = std::countl_zero(changes);
            edges_[count_++] = static_cast<int32_t>(column + bit);
            changes &= ~(uint64_t{1} << 63 >> bit);
        }
        before_ = word;
    }

    /// The number of runs.
    size_t end(int32_t width) noexcept
    {
        if (count_ % 2)
            edges_[count_++] = width;
        return count_ / 2;
    }

private:
    int32_t* edges_;
    size_t count_ = 0;
    uint64_t before_ = 0;
};

/// Sets bits `first` to `end` - 1 of words, one or more.
void set_word_bits(uint64_t* words, size_t first, size_t end) noexcept
{
    const size_t last = (end - 1) / 64;
    const uint64_t head = ~uint64_t{0} >> first % 64;
    const uint64_t tail = ~uint64_t{0} << (63 - (end - 1) % 64);
    words += first / 64;
    size_t more = last - first / 64;
    if (more == 0) {
        *words |= head & tail;
        return;
    }
    *words++ |= head;
    for (; more > 1; --more)
        *words++ = ~uint64_t{0};
    *words |= tail;
}

/// Draws what of ascending runs lies in `count` words from a column on. `run` moves to the first one that reaches
/// behind them.
void draw_runs(const AreaRun*& run, const AreaRun* end, int64_t column, uint64_t* words, size_t count) noexcept
{
    const int64_t behind = column + kWordBits * static_cast<int64_t>(count);
    std::fill_n(words, count, uint64_t{0});
    for (; run != end && run->first < behind; ++run) {
        const int64_t first = std::max<int64_t>(run->first, column) - column;
        const int64_t last = std::min<int64_t>(run->end, behind) - column;
        if (first < last)
            set_word_bits(words, static_cast<size_t>(first), static_cast<size_t>(last));
        if (run->end > behind)
            return;
    }
}

/// The runs of a row of bits combined with another row's runs, some words at a time.
size_t combined_runs(AreaRuns with, WordOp op, const uint8_t* row, int32_t width, AreaRun* runs) noexcept
{
    constexpr int64_t kPart = 64;
    uint64_t words[kPart];
    const AreaRun* run = with.begin();
    EdgeWriter edges(runs);
    for (int64_t column = 0; column < width;) {
        const int64_t count = std::min(kPart, (width - column + kWordBits - 1) / kWordBits);
        draw_runs(run, with.end(), column, words, static_cast<size_t>(count));
        for (int64_t i = 0; i < count; ++i, column += kWordBits) {
            const uint64_t drawn = words[i] & inside_row(width, column);
            edges.add(column, op(drawn, word_of_row(row, width, column)));
        }
    }
    return edges.end(width);
}

/// The runs of a word, where there are no more than two; else false.
bool find_two_runs(uint64_t word, SmallBand& band) noexcept
{
    uint64_t changes = word ^ word >> 1;
    int32_t edges[4]; // where there are fewer, the rest is the end of the word
    for (int32_t& edge : edges) {
        edge = std::countl_zero(changes);
        changes &= ~(uint64_t{1} << 63 >> (edge & 63));
    }
    band.front = std::bit_cast<uint64_t>(AreaRun{edges[0], edges[1]});
    band.back = std::bit_cast<uint64_t>(AreaRun{edges[2], edges[3]});
    band.count = static_cast<uint32_t>((edges[0] < kWordBits) + (edges[2] < kWordBits));
    return changes == 0;
}

} // namespace

size_t runs_of_bits(const uint8_t* row, int32_t width, AreaRun* runs) noexcept
{
    EdgeWriter edges(runs);
    for (int64_t column = 0; column < width; column += kWordBits)
        edges.add(column, word_of_row(row, width, column));
    return edges.end(width);
}

AreaRuns BitsToArea::row_of_area(int32_t y) noexcept
{
    while (band_ != last_ && band_->bottom <= y)
        ++band_;
    return band_ == last_ || band_->top > y ? AreaRuns{} : AreaRuns{runs_ + band_->first, runs_ + band_->end};
}

/// Takes rows that are no wider than a word, as long as they have no more than two runs.
void BitsToArea::add_narrow(BitRows& rows, int32_t width) noexcept
{
    const WordOp op(op_);
    built_.add_small_bands(static_cast<uint32_t>(rows.count), [&](SmallBand& band) noexcept {
        uint64_t word = word_of_row(rows.data, width, 0);
        if (is_combined()) {
            const AreaRuns with = row_of_area(rows.row);
            const AreaRun* run = with.begin();
            uint64_t drawn = 0;
            draw_runs(run, with.end(), 0, &drawn, 1);
            word = op(drawn & inside_row(width, 0), word);
        }
        if (!find_two_runs(word, band))
            return false;
        band.top = rows.row++;
        band.bottom = rows.row;
        rows.data += rows.stride;
        --rows.count;
        return true;
    });
}

void BitsToArea::add(BitRows rows, int32_t width) noexcept
{
    const WordOp op(op_);
    while (rows.count != 0) {
        if (width <= kWordBits)
            add_narrow(rows, width);
        AreaRun* const runs = rows.count == 0 ? nullptr : built_.room(static_cast<uint64_t>(width) / 2 + 1);
        if (!runs)
            return;
        built_.add_band(rows.row, rows.row + 1,
                        is_combined() ? combined_runs(row_of_area(rows.row), op, rows.data, width, runs)
                                      : runs_of_bits(rows.data, width, runs));
        rows.data += rows.stride;
        ++rows.row;
        --rows.count;
    }
}

void set_bits(uint8_t* row, AreaRuns runs) noexcept
{
    for (const AreaRun& run : runs) {
        const int32_t first = run.first / 8;
        const int32_t last = (run.end - 1) / 8;
        const auto head = static_cast<uint8_t>(0xFF >> run.first % 8);
        const auto tail = static_cast<uint8_t>(0xFF00 >> ((run.end - 1) % 8 + 1));
        if (first == last) {
            row[first] |= head & tail;
            continue;
        }
        row[first] |= head;
        std::memset(row + first + 1, 0xFF, static_cast<size_t>(last - first - 1));
        row[last] |= tail;
    }
}

} // namespace vk
