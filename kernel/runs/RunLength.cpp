// The run-length form by words: compression. It lists where the colour changes, stretch by stretch, and takes
// differences; the runs that lie between two changes of one stretch are too short to be split, so only the one that
// crosses into a stretch, and the last, need the long-run rule. RunLengthPlain.cpp holds the byte-wise definition that
// this must equal.
#include "kernel/runs/RunLength.h"

#include "kernel/runs/RunLengthKernel.h"
#include "kernel/runs/RunLengthWords.h"
#include "simd/Bits.h"
#include "simd/Simd.h"

#include <algorithm>

namespace vk::runlength {

namespace {

using Bytes = simd::Quad<uint8_t>;

inline uint64_t load_word(const void* from) noexcept
{
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// Appends the changes of one word whose bits are in pixel order; returns the new count.
inline size_t append_changes(uint64_t word, uint64_t& colour, simd::Positions& positions, uint16_t* list,
                             size_t count) noexcept
{
    const uint64_t changes = word ^ (word << 1 | colour);
    colour = word >> 63;
    return positions.append(changes, list, count);
}

inline uint64_t reversed_in_bytes(uint64_t word) noexcept
{
    constexpr uint64_t kOnes = 0x5555555555555555u;
    constexpr uint64_t kTwos = 0x3333333333333333u;
    constexpr uint64_t kFours = 0x0F0F0F0F0F0F0F0Fu;
    word = (word >> 1 & kOnes) | (word & kOnes) << 1;
    word = (word >> 2 & kTwos) | (word & kTwos) << 2;
    return (word >> 4 & kFours) | (word & kFours) << 4;
}

/// The first word from `i` on that does not have the value `even`, which all bits 0 or all bits 1.
inline size_t skip_even(const uint8_t* pixels, size_t i, size_t words, uint64_t even) noexcept
{
    const auto wanted = simd::all<Bytes>(static_cast<uint8_t>(even));
    const auto is_even = [&](size_t word) noexcept { return simd::load<Bytes>(pixels + 8 * word) == wanted; };
    while (i + 4 <= words && simd::all(is_even(i) & is_even(i + 2)))
        i += 4;
    while (i < words && load_word(pixels + 8 * i) == even)
        ++i;
    return i;
}

/// The loop of processors without one of their own.
size_t find_changes(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                    size_t count) noexcept
{
    simd::Positions positions(base);
    for (size_t i = 0; i < words; ++i) {
        uint64_t word = load_word(pixels + 8 * i);
        if (word == 0 - colour) {
            const size_t next = skip_even(pixels, i + 1, words, word);
            if (next == words)
                break;
            positions.skip(next - i);
            i = next;
            word = load_word(pixels + 8 * i);
        }
        count = append_changes(reversed_in_bytes(word), colour, positions, list, count);
    }
    return count;
}

FindChanges chosen_finder() noexcept
{
    const ChangeLoops* const loops = change_loops_sets.best();
    return loops ? loops->find : find_changes;
}

/// The pixels to compress, as 8-byte words whose bits outside the row are harmless.
class Source {
public:
    Source(const void* pixels, uint32_t bit_offset, uint32_t count) noexcept
        : bytes_(static_cast<const uint8_t*>(pixels)), offset_(bit_offset), bits_(uint64_t{bit_offset} + count)
    {}

    uint64_t bits() const noexcept { return bits_; }
    uint64_t words() const noexcept { return (bits_ + 63) / 64; }

    /// Lists the changes in words [begin, end), positions counted from `begin`; `colour` is that of the pixel before.
    size_t find(FindChanges find_changes, uint64_t begin, uint64_t end, uint64_t colour, uint16_t* list) const noexcept
    {
        size_t count = 0;
        uint64_t at = begin;
        if (at == 0 && offset_ != 0)
            count = find_edge(find_changes, at++, begin, colour, list, count);
        const uint64_t whole = std::min(end, bits_ / 64);
        if (at < whole) {
            count = find_changes(bytes_ + 8 * at, static_cast<size_t>(whole - at),
                                 static_cast<uint32_t>(64 * (at - begin)), colour ^ (count & 1u), list, count);
            at = whole;
        }
        if (at < end)
            count = find_edge(find_changes, at, begin, colour, list, count);
        return count;
    }

private:
    /// As find, for the first or the last word, from a masked copy: in front of the row its pixels are clear, behind it
    /// they repeat the last one.
    size_t find_edge(FindChanges find_changes, uint64_t at, uint64_t begin, uint64_t colour, uint16_t* list,
                     size_t count) const noexcept
    {
        uint8_t word[8] = {};
        const auto bits = static_cast<uint32_t>(std::min<uint64_t>(bits_ - 64 * at, 64));
        std::memcpy(word, bytes_ + 8 * at, (bits + 7) / 8);
        if (at == 0)
            word[0] = static_cast<uint8_t>(word[0] & 0xFFu >> offset_);
        const uint32_t last = bits - 1;
        const bool set = (word[last / 8] >> (7 - last % 8) & 1u) != 0;
        const uint32_t outside = 0xFFu >> (last % 8) >> 1; // of the last byte
        word[last / 8] = static_cast<uint8_t>(set ? word[last / 8] | outside : word[last / 8] & ~outside);
        std::memset(word + last / 8 + 1, set ? 0xFF : 0, 7 - last / 8);
        return find_changes(word, 1, static_cast<uint32_t>(64 * (at - begin)), colour ^ (count & 1u), list, count);
    }

    const uint8_t* bytes_;
    uint32_t offset_;
    uint64_t bits_;
};

/// Writes runs, or only counts them.
template <bool kWrite> class RunSink {
public:
    explicit RunSink(uint8_t* words) noexcept : words_(words) {}

    uint32_t count() const noexcept { return static_cast<uint32_t>(count_); }

    /// Appends a run that ends in front of bit `end`, split where bytes would carry it past the limit.
    void append(uint64_t end, uint64_t run) noexcept
    {
        uint64_t start = end - run;
        while (end - start > kLongest) {
            const uint64_t first = 8 - start % 8; // bits the run has in its first byte
            const uint64_t part = first + (kLongest - first) / 8 * 8;
            put(part);
            put(0);
            start += part;
        }
        put(end - start);
    }

    /// Appends the differences of `count` neighbours in a list of changes.
    void append_differences(const uint16_t* list, size_t count) noexcept
    {
        if constexpr (kWrite) {
            uint8_t* const out = words_ + 2 * count_;
            size_t i = 0;
            for (; i + 8 <= count; i += 8) {
                using Runs = simd::Quad<uint16_t>;
                simd::store(out + 2 * i, simd::load<Runs>(list + i + 1) - simd::load<Runs>(list + i));
            }
            for (; i < count; ++i)
                store_run(out, i, static_cast<uint32_t>(list[i + 1] - list[i]));
        }
        count_ += count;
    }

private:
    void put(uint64_t run) noexcept
    {
        if constexpr (kWrite)
            store_run(words_, count_, static_cast<uint32_t>(run));
        ++count_;
    }

    uint8_t* words_;
    size_t count_ = 0;
};

template <bool kWrite> uint32_t compress_words(uint8_t* words, const Source& source, uint32_t bit_offset) noexcept
{
    const FindChanges find_changes = chosen_finder();
    uint16_t list[kListRoom];
    RunSink<kWrite> sink(words);
    uint64_t run_start = bit_offset; // of the run in progress
    uint64_t colour = 0;
    for (uint64_t at = 0; at < source.words(); at += kStretchWords) {
        const uint64_t end = std::min(at + kStretchWords, source.words());
        const size_t found = source.find(find_changes, at, end, colour, list);
        if (found == 0)
            continue;
        const uint64_t first = 64 * at + list[0];
        sink.append(first, first - run_start);
        sink.append_differences(list, found - 1);
        run_start = 64 * at + list[found - 1];
        colour ^= found & 1u;
    }
    sink.append(source.bits(), source.bits() - run_start);
    return sink.count();
}

} // namespace

size_t compress(void* row, const void* pixels_in, uint32_t bit_offset, uint32_t pixels) noexcept
{
    if (pixels == 0)
        return set_word_count(row, 0);
    const Source source(pixels_in, bit_offset, pixels);
    return set_word_count(row, compress_words<true>(words_of(row), source, bit_offset));
}

size_t compress_clear(void* row, uint32_t pixels) noexcept
{
    if (pixels == 0)
        return set_word_count(row, 0);
    RunSink<true> sink(words_of(row));
    sink.append(pixels, pixels);
    return set_word_count(row, sink.count());
}

size_t measure(const void* pixels_in, uint32_t bit_offset, uint32_t pixels) noexcept
{
    if (pixels == 0)
        return row_bytes(0);
    return row_bytes(compress_words<false>(nullptr, Source(pixels_in, bit_offset, pixels), bit_offset));
}

} // namespace vk::runlength
