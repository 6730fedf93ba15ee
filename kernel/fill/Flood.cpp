#include "kernel/fill/Flood.h"

#include "kernel/combine/Inside.h"
#include "kernel/rows/RowCol.h"

#include <algorithm>
#include <cstring>

namespace vk::fill {

namespace {

constexpr int32_t kWordPixels = 64;
constexpr int kUp = 0;
constexpr int kDown = 1;

constexpr int32_t words_for(int32_t pixels) noexcept
{
    return pixels / kWordPixels + (pixels % kWordPixels != 0);
}

/// Sets pixels [first, end).
void set_run(uint64_t* words, int32_t first, int32_t end) noexcept
{
    for (int32_t i = first / kWordPixels; i < words_for(end); ++i) {
        const int32_t begin = std::max(first - i * kWordPixels, 0);
        const int32_t behind = std::min(end - i * kWordPixels, kWordPixels);
        words[i] |= ~uint64_t{0} << begin & ~uint64_t{0} >> (kWordPixels - behind);
    }
}

/// The bits of a run above each seed: an addition carries through the set bits, which turn clear.
constexpr uint64_t spread_up(uint64_t seeds, uint64_t open) noexcept
{
    return (open & ~(open + seeds)) | seeds;
}

/// Those below, by steps of one, two, four bits and so on.
constexpr uint64_t spread_down(uint64_t seeds, uint64_t open) noexcept
{
    for (uint32_t step = 1; step < 64; step *= 2) {
        seeds |= open & (seeds >> step);
        open &= open >> step;
    }
    return seeds;
}

/// Sets what `around(i)` says of each word, where it is open; returns the words that gain by it.
template <class Around> Words seed_words(const uint64_t* open, uint64_t* reached, Words range, Around around) noexcept
{
    int32_t first = range.first;
    while (first < range.end && (around(first) & open[first] & ~reached[first]) == 0)
        ++first; // most often that is all
    Words seeded{first, first};
    for (int32_t i = first; i < range.end; ++i) {
        const uint64_t found = around(i) & open[i] & ~reached[i];
        reached[i] |= found;
        seeded.end = found ? i + 1 : seeded.end;
    }
    return seeded;
}

} // namespace

void Words::add(Words other) noexcept
{
    if (other.empty())
        return;
    first = empty() ? other.first : std::min(first, other.first);
    end = std::max(end, other.end);
}

int BitRows::make(int32_t words, int32_t rows, const BITMAPHANDLE& bitmap) noexcept
{
    const int result = scratch_.make(words * kWordPixels, rows, 1, bitmap);
    if (result != V_SUCCESS)
        return result;
    bytes_ = static_cast<size_t>(words) * sizeof(uint64_t);
    const RowWriter writer(scratch_.record());
    memory_ = writer.in_place() ? writer.place(0) : nullptr;
    return V_SUCCESS;
}

int BitRows::get(int32_t row, RowBuffer& buffer, uint64_t** words) noexcept
{
    if (memory_) {
        *words = reinterpret_cast<uint64_t*>(memory_ + bytes_ * static_cast<uint32_t>(row));
        return V_SUCCESS;
    }
    *words = reinterpret_cast<uint64_t*>(buffer.data());
    return code_of(get_row(scratch_.record(), buffer.data(), row, bytes_));
}

int BitRows::put(int32_t row, const uint64_t* words) noexcept
{
    return memory_ ? V_SUCCESS : code_of(put_row(scratch_.record(), words, row, bytes_));
}

Words spread_bits(const uint64_t* open, uint64_t* filled, Words range, int32_t words) noexcept
{
    int32_t end = range.first;
    for (uint64_t carry = 0; end < range.end || (end < words && carry & open[end]); ++end) {
        if (filled[end] != open[end])
            filled[end] = spread_up(filled[end] | (carry & open[end]), open[end]);
        carry = filled[end] >> 63;
    }
    int32_t first = end;
    for (uint64_t carry = 0; first > range.first || (first > 0 && carry & open[first - 1]);) {
        --first;
        if (filled[first] != open[first])
            filled[first] = spread_down(filled[first] | (carry & open[first]), open[first]);
        carry = filled[first] << 63;
    }
    return {first, end};
}

Flood::Flood(BITMAPHANDLE& bitmap, const combine::Alike& alike, bool is_border, bool by_eight) noexcept
    : bitmap_(bitmap), alike_(alike), is_border_(is_border), by_eight_(by_eight), words_(words_for(bitmap.Width)),
      reader_(bitmap)
{}

int Flood::prepare() noexcept
{
    if (bitmap_.Width > INT32_MAX - kWordPixels)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    int result = open_.make(words_, bitmap_.Height, bitmap_);
    if (result == V_SUCCESS)
        result = reached_.make(words_, bitmap_.Height, bitmap_);
    if (result == V_SUCCESS)
        result = reader_.reserve(1);
    const uint64_t bytes = static_cast<uint64_t>(words_) * sizeof(uint64_t);
    for (RowBuffer* const buffer : {&open_row_, &reached_row_, &next_row_, &inside_})
        if (result == V_SUCCESS && !buffer->allocate(bytes))
            result = V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS && !states_.allocate(sizeof(RowState) * static_cast<uint64_t>(bitmap_.Height)))
        result = V_ERROR_NO_MEMORY;
    return result;
}

int Flood::find_open(int32_t row, uint64_t* words) noexcept
{
    const uint8_t* data = nullptr;
    const int result = reader_.read(row, 1, &data);
    if (result != V_SUCCESS)
        return result;
    alike_.match({const_cast<uint8_t*>(data), 0}, bitmap_.Width, words); // only read
    auto* const inside = reinterpret_cast<uint64_t*>(inside_.data());
    std::fill_n(inside, words_, uint64_t{0});
    combine::inside_runs(bitmap_, row, 0, bitmap_.Width,
                         [inside](int32_t first, int32_t end) noexcept { set_run(inside, first, end); });
    const uint64_t inverted = is_border_ ? ~uint64_t{0} : 0;
    for (int32_t i = 0; i < words_; ++i)
        words[i] = (words[i] ^ inverted) & inside[i];
    return open_.put(row, words);
}

/// The pixels of a row that may be filled.
int Flood::get_open(int32_t row, uint64_t** words) noexcept
{
    const int result = open_.get(row, open_row_, words);
    if (result != V_SUCCESS || state(row).is_known)
        return result;
    state(row).is_known = true;
    return find_open(row, *words);
}

void Flood::note(int32_t row, Words range) noexcept
{
    for (const int direction : {kUp, kDown}) {
        state(row).to_next[direction].add(range);
        pending_[direction].add({row, row + 1});
    }
    rows_.add({row, row + 1});
    columns_.add(range);
}

/// Sets the pixels next to those of another row that are new; returns the words that have some.
Words Flood::seed(const uint64_t* from, const uint64_t* open, uint64_t* reached, Words range) const noexcept
{
    if (!by_eight_)
        return seed_words(open, reached, range, [from](int32_t i) noexcept { return from[i]; });
    range = {std::max(range.first - 1, 0), std::min(range.end + 1, words_)};
    return seed_words(open, reached, range, [from, this](int32_t i) noexcept {
        const uint64_t before = i > 0 ? from[i - 1] >> 63 : 0;
        const uint64_t behind = i + 1 < words_ ? from[i + 1] << 63 : 0;
        return from[i] | from[i] << 1 | from[i] >> 1 | before | behind;
    });
}

int Flood::hand_on(int32_t row, int direction) noexcept
{
    const Words range = state(row).to_next[direction];
    state(row).to_next[direction] = {};
    const int32_t next = direction == kDown ? row + 1 : row - 1;
    if (range.empty() || next < 0 || next >= bitmap_.Height)
        return V_SUCCESS;
    uint64_t* from = nullptr;
    uint64_t* open = nullptr;
    uint64_t* reached = nullptr;
    int result = reached_.get(row, reached_row_, &from);
    if (result == V_SUCCESS)
        result = get_open(next, &open);
    if (result == V_SUCCESS)
        result = reached_.get(next, next_row_, &reached);
    if (result != V_SUCCESS)
        return result;
    const Words seeded = seed(from, open, reached, range);
    if (seeded.empty())
        return V_SUCCESS;
    note(next, spread_bits(open, reached, seeded, words_));
    return reached_.put(next, reached);
}

/// Hands everything on in one direction; what comes of it on the way is handed on too.
int Flood::sweep(int direction) noexcept
{
    int result = V_SUCCESS;
    if (direction == kDown)
        for (int32_t row = pending_[kDown].first; row < pending_[kDown].end && result == V_SUCCESS; ++row)
            result = hand_on(row, kDown);
    else
        for (int32_t row = pending_[kUp].end - 1; row >= pending_[kUp].first && result == V_SUCCESS; --row)
            result = hand_on(row, kUp);
    pending_[direction] = {};
    return result;
}

int Flood::run(int32_t column, int32_t row) noexcept
{
    int result = prepare();
    uint64_t* open = nullptr;
    uint64_t* reached = nullptr;
    if (result == V_SUCCESS)
        result = get_open(row, &open);
    if (result == V_SUCCESS)
        result = reached_.get(row, reached_row_, &reached);
    const int32_t word = column / kWordPixels;
    const uint64_t bit = uint64_t{1} << column % kWordPixels;
    if (result != V_SUCCESS || !(open[word] & bit))
        return result;
    reached[word] |= bit;
    note(row, spread_bits(open, reached, {word, word + 1}, words_));
    result = reached_.put(row, reached);
    while (result == V_SUCCESS && !(pending_[kUp].empty() && pending_[kDown].empty())) {
        result = sweep(kDown);
        if (result == V_SUCCESS)
            result = sweep(kUp);
    }
    return result;
}

combine::Area Flood::box() const noexcept
{
    if (rows_.empty())
        return {};
    const int64_t right = int64_t{columns_.end} * kWordPixels;
    return {columns_.first * kWordPixels, rows_.first, static_cast<int32_t>(std::min<int64_t>(right, bitmap_.Width)),
            rows_.end};
}

int Flood::reached(int32_t row, const uint64_t** words) noexcept
{
    uint64_t* found = nullptr;
    const int result = reached_.get(row, reached_row_, &found);
    *words = found;
    return result;
}

} // namespace vk::fill
