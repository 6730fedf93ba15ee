// The run-length form by words: expansion, and what is done to rows in compressed form. Set runs are gathered in a word
// that is stored at every run, which costs less than finding out when it is full. No word of a row is trusted: sums are
// 64 bits wide and cut at the pixels asked for.
#include "kernel/runs/RunLength.h"

#include "kernel/runs/RunLengthWords.h"

#include <algorithm>

namespace vk::runlength {

namespace {

constexpr uint64_t kAllSet = ~uint64_t{0};

inline void store_word(uint8_t* to, uint64_t word) noexcept
{
    std::memcpy(to, &word, sizeof word);
}

/// Sets pixels [begin, end).
void set_pixels(uint8_t* out, uint64_t begin, uint64_t end) noexcept
{
    if (begin >= end)
        return;
    const uint32_t front = 0xFFu >> (begin % 8);
    const uint32_t back = 0xFF00u >> (end % 8) & 0xFFu; // of the byte that `end` lies in
    const auto first = static_cast<size_t>(begin / 8);
    const auto last = static_cast<size_t>(end / 8);
    if (first == last) {
        out[first] = static_cast<uint8_t>(out[first] | (front & back));
        return;
    }
    out[first] = static_cast<uint8_t>(out[first] | front);
    std::memset(out + first + 1, 0xFF, last - first - 1);
    if (back)
        out[last] = static_cast<uint8_t>(out[last] | back);
}

void clear_pixels(uint8_t* out, uint64_t begin, uint64_t end) noexcept
{
    if (begin >= end)
        return;
    const uint32_t front = 0xFFu >> (begin % 8);
    const uint32_t back = 0xFF00u >> (end % 8) & 0xFFu;
    const auto first = static_cast<size_t>(begin / 8);
    const auto last = static_cast<size_t>(end / 8);
    if (first == last) {
        out[first] = static_cast<uint8_t>(out[first] & ~(front & back));
        return;
    }
    out[first] = static_cast<uint8_t>(out[first] & ~front);
    std::memset(out + first + 1, 0, last - first - 1);
    if (back)
        out[last] = static_cast<uint8_t>(out[last] & ~back);
}

/// Runs still to come.
struct Runs {
    const uint8_t* words;
    uint32_t left;

    uint16_t take() noexcept
    {
        const uint16_t run = load_run(words, 0);
        words += 2;
        --left;
        return run;
    }
};

/// All pixels of a word from the k-th on, as they lie in memory.
struct Suffixes {
    uint64_t words[64];
};
constexpr Suffixes make_suffixes() noexcept
{
    Suffixes all{};
    for (uint32_t k = 0; k < 64; ++k)
        all.words[k] = (kAllSet << (k / 8 * 8)) ^ (k % 8 == 0 ? 0 : uint64_t{0xFFu & ~(0xFFu >> k % 8)} << (k / 8 * 8));
    return all;
}
constexpr Suffixes kFrom = make_suffixes();

/// Sets the pixels of pairs of a clear and a set run from bit `position` on, while eight bytes may be written from the
/// byte on in which a set run begins. Bits in [position, end) are clear. Returns the position reached.
///
/// A set run is written as eight bytes: what is set in its first byte already, the run, and clear pixels. Whether the
/// run before ended in the same byte cannot be predicted, so it decides about a value, not about where the code goes.
uint64_t fill_pairs(Runs& runs, uint8_t* out, uint64_t position, uint64_t end) noexcept
{
    constexpr uint64_t kLongestAtOnce = 56; // from any bit of the first byte on
    if (end < 64 || position >= end)
        return position;
    const uint64_t last_begin = end / 8 * 8 - 57; // that leaves eight bytes
    uint64_t byte = position / 8;
    uint64_t there = out[byte]; // what is set in that byte
    const uint8_t* words = runs.words;
    const uint8_t* const words_end = words + 4 * static_cast<size_t>(runs.left / 2);
    for (; words < words_end; words += 4) {
        uint32_t pair = 0;
        std::memcpy(&pair, words, sizeof pair);
        const uint64_t run = pair >> 16;
        const uint64_t begin = position + (pair & 0xFFFFu);
        if (begin > last_begin)
            break;
        if (run > kLongestAtOnce) [[unlikely]] {
            if (begin + run > end)
                break;
            set_pixels(out, begin, begin + run);
            position = begin + run;
            byte = position / 8;
            there = 0xFF00u >> (position % 8) & 0xFFu;
            continue;
        }
        const uint64_t behind = begin % 8 + run; // in bits of the eight bytes
        there = begin / 8 == byte ? there : 0;
        const uint64_t pixels = there | (kFrom.words[begin % 8] ^ kFrom.words[behind]);
        store_word(out + begin / 8, pixels);
        position = begin + run;
        byte = position / 8;
        there = pixels >> (behind & 0x38);
    }
    runs.left -= static_cast<uint32_t>((words - runs.words) / 2);
    runs.words = words;
    return position;
}

/// Sets the pixels of the runs, of which a clear one is next, in [position, end). All of these are clear.
void fill_runs(Runs runs, uint8_t* out, uint64_t position, uint64_t end) noexcept
{
    position = fill_pairs(runs, out, position, end);
    while (runs.left != 0 && position < end) {
        position += runs.take();
        if (runs.left == 0 || position >= end)
            break;
        const uint64_t behind = position + runs.take();
        set_pixels(out, position, std::min(behind, end));
        position = behind;
    }
}

} // namespace

uint32_t word_count(const void* row) noexcept
{
    uint32_t count = 0;
    std::memcpy(&count, row, sizeof count);
    return count;
}

void expand(const void* row, void* pixels_out, uint32_t start, uint32_t pixels) noexcept
{
    if (pixels == 0)
        return;
    auto* const out = static_cast<uint8_t*>(pixels_out);
    std::memset(out, 0, static_cast<size_t>((uint64_t{pixels} + 7) / 8));
    Runs runs{words_of(row), word_count(row)};
    uint64_t position = 0; // in the row
    bool set = false;      // colour of the run that comes next
    while (runs.left != 0) {
        const uint64_t behind = position + load_run(runs.words, 0);
        if (behind > start)
            break;
        position = behind;
        runs.take();
        set = !set;
    }
    if (runs.left == 0)
        return;
    uint64_t filled = 0;
    if (position < start || set) { // the run that `start` lies in, or a set one in front of the pairs
        filled = position + runs.take() - start;
        if (set)
            set_pixels(out, 0, std::min<uint64_t>(filled, pixels));
        else if (filled < pixels && runs.left != 0) {
            const uint64_t begin = filled;
            filled += runs.take();
            set_pixels(out, begin, std::min<uint64_t>(filled, pixels));
        }
    }
    if (filled < pixels)
        fill_runs(runs, out, filled, pixels);
}

uint32_t overlay(const void* row, void* pixels_out, uint32_t bit_offset, uint32_t pixels) noexcept
{
    auto* const out = static_cast<uint8_t*>(pixels_out);
    const uint32_t count = covered(row, pixels);
    const uint64_t end = uint64_t{bit_offset} + count;
    clear_pixels(out, bit_offset, end);
    fill_runs(Runs{words_of(row), word_count(row)}, out, bit_offset, end);
    return count;
}

uint32_t covered(const void* row, uint32_t limit) noexcept
{
    Runs runs{words_of(row), word_count(row)};
    uint64_t sum = 0;
    while (runs.left != 0 && sum < limit)
        sum += runs.take();
    return static_cast<uint32_t>(std::min<uint64_t>(sum, limit));
}

bool is_canonical(const void* row, uint32_t pixels) noexcept
{
    Runs runs{words_of(row), word_count(row)};
    if (runs.left == 0)
        return pixels == 0;
    uint64_t sum = runs.take();
    while (runs.left != 0 && sum < pixels) {
        const uint16_t run = runs.take();
        if (run == 0) // a splice, or one too many
            return false;
        sum += run;
    }
    return pixels != 0 && runs.left == 0 && sum == pixels;
}

bool mirror(void* row, uint32_t pixels) noexcept
{
    uint8_t* const words = words_of(row);
    const uint32_t all = word_count(row);
    uint32_t count = 0; // words up to the one that reaches `pixels`
    uint64_t sum = 0;
    while (count < all && sum < pixels)
        sum += load_run(words, count++);
    const uint64_t missing = sum < pixels ? pixels - sum : 0;
    const uint64_t surplus = sum > pixels ? sum - pixels : 0;
    const bool ends_clear = count % 2 == 1;
    const uint64_t last = count == 0 ? 0 : load_run(words, count - 1) - surplus;
    if (count == 0 && missing != 0) // nothing covered: clear, and so is its mirror image
        return true;
    if (missing + (ends_clear ? last : 0) > kLongest)
        return false;
    if (count != 0)
        store_run(words, count - 1, static_cast<uint32_t>(last + (ends_clear ? missing : 0)));
    for (uint32_t i = 0, k = count; i + 1 < k; ++i, --k) {
        const uint16_t run = load_run(words, i);
        store_run(words, i, load_run(words, k - 1));
        store_run(words, k - 1, run);
    }
    while (count != 0 && load_run(words, count - 1) == 0)
        --count; // the row started with set pixels
    if (count != 0 && !ends_clear) {
        std::memmove(words + 2, words, 2 * static_cast<size_t>(count));
        store_run(words, 0, static_cast<uint32_t>(missing));
        ++count;
    }
    set_word_count(row, count);
    return true;
}

void flip(void* buffer, uint32_t rows) noexcept
{
    // Reversed as a whole, unit by unit, the rows come in the right order and each is back to front. Their headers are
    // then at their ends, low half last, so that the rows can be found and turned again from the end on.
    auto* const units = static_cast<uint8_t*>(buffer);
    const auto reverse = [units](size_t begin, size_t end) noexcept {
        while (begin + 1 < end) {
            const uint16_t unit = load_run(units, begin);
            store_run(units, begin++, load_run(units, --end));
            store_run(units, end, unit);
        }
    };
    size_t end = 0;
    for (uint32_t i = 0; i < rows; ++i)
        end += row_bytes(word_count(units + 2 * end)) / 2;
    reverse(0, end);
    while (end != 0) {
        const uint32_t count =
            static_cast<uint32_t>(load_run(units, end - 1)) | static_cast<uint32_t>(load_run(units, end - 2)) << 16;
        const size_t begin = end - row_bytes(count) / 2;
        reverse(begin, end);
        end = begin;
    }
}

} // namespace vk::runlength
