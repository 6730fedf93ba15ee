// Making prefix codes. Lengths come from the usual merging of the two rarest, cut to the limit and mended until the
// code is complete again; that costs next to nothing beside the best limited code.
#include "kernel/storage/codec/Prefix.h"

#include <algorithm>

namespace vk::codec {

namespace {

constexpr uint32_t kWhole = 1u << kCodeBits; ///< what a complete code sums up to

/// Nibbles of the written form: lengths themselves, and these.
constexpr uint32_t kRepeat = 12;    ///< the last length again, 3 times and more
constexpr uint32_t kZeros = 13;     ///< 3 zeros and more
constexpr uint32_t kManyZeros = 14; ///< 19 zeros and more, in two nibbles
constexpr uint32_t kFewest = 3;
constexpr uint32_t kMany = kFewest + 16;

/// Depths of the leaves 0 to count - 1 of a merging tree; `weights` rises.
void tree_depths(const uint32_t* weights, uint32_t count, uint8_t* depths) noexcept
{
    uint64_t sums[kMostSymbols];
    uint16_t parents[2 * kMostSymbols];
    uint32_t leaf = 0;
    uint32_t node = 0;
    for (uint32_t made = 0; made + 1 < count; ++made) {
        sums[made] = 0;
        for (int twice = 0; twice < 2; ++twice) {
            const bool takes_leaf = leaf < count && (node == made || weights[leaf] <= sums[node]);
            sums[made] += takes_leaf ? weights[leaf] : sums[node];
            parents[takes_leaf ? leaf++ : count + node++] = static_cast<uint16_t>(count + made);
        }
    }
    uint8_t all[2 * kMostSymbols];
    all[2 * count - 2] = 0;
    for (uint32_t i = 2 * count - 2; i-- != 0;)
        all[i] = static_cast<uint8_t>(all[parents[i]] + 1);
    std::copy_n(all, count, depths);
}

/// Cuts depths (falling, for rising weights) to the limit and makes the code complete again.
void limit_depths(uint8_t* depths, uint32_t count) noexcept
{
    uint32_t sum = 0;
    for (uint32_t i = 0; i < count; ++i) {
        depths[i] = std::min<uint8_t>(depths[i], kCodeBits);
        sum += kWhole >> depths[i];
    }
    for (uint32_t i = 0; sum > kWhole;) { // the rarest grow first
        if (depths[i] < kCodeBits)
            sum -= kWhole >> ++depths[i];
        else
            ++i;
    }
    for (uint32_t i = count; i-- != 0;) // the commonest shrink where there is room
        while (depths[i] > 1 && sum + (kWhole >> depths[i]) <= kWhole)
            sum += kWhole >> depths[i]--;
}

uint32_t reversed(uint32_t code, uint32_t length) noexcept
{
    uint32_t result = 0;
    for (uint32_t i = 0; i < length; ++i)
        result |= (code >> i & 1) << (length - 1 - i);
    return result;
}

/// Calls visit(symbol, reversed code, length) for every symbol that has a code.
template <class Visit> void for_each_code(const uint8_t* lengths, uint32_t symbols, Visit visit) noexcept
{
    uint32_t counts[kCodeBits + 1] = {};
    for (uint32_t symbol = 0; symbol < symbols; ++symbol)
        ++counts[lengths[symbol]];
    uint32_t next[kCodeBits + 1] = {};
    counts[0] = 0;
    for (uint32_t length = 1; length <= kCodeBits; ++length)
        next[length] = (next[length - 1] + counts[length - 1]) << 1;
    for (uint32_t symbol = 0; symbol < symbols; ++symbol)
        if (const uint32_t length = lengths[symbol]; length != 0)
            visit(symbol, reversed(next[length]++, length), length);
}

class NibbleWriter {
public:
    explicit NibbleWriter(uint8_t* out) noexcept : out_(out) {}
    void put(uint32_t value) noexcept
    {
        if (count_ % 2 == 0)
            out_[count_ / 2] = static_cast<uint8_t>(value);
        else
            out_[count_ / 2] = static_cast<uint8_t>(out_[count_ / 2] | value << 4);
        ++count_;
    }
    size_t bytes() const noexcept { return (count_ + 1) / 2; }

private:
    uint8_t* out_;
    size_t count_ = 0;
};

class NibbleReader {
public:
    NibbleReader(const uint8_t* from, size_t bytes) noexcept : from_(from), nibbles_(2 * bytes) {}
    /// The next one; 15, which stands for nothing, past the end.
    uint32_t get() noexcept
    {
        if (count_ == nibbles_) {
            is_short_ = true;
            return 15;
        }
        const uint32_t value = from_[count_ / 2] >> (count_ % 2 * 4) & 15u;
        ++count_;
        return value;
    }
    bool is_short() const noexcept { return is_short_; }
    size_t bytes() const noexcept { return (count_ + 1) / 2; }

private:
    const uint8_t* from_;
    size_t nibbles_;
    size_t count_ = 0;
    bool is_short_ = false;
};

} // namespace

void code_lengths(const uint32_t* counts, uint32_t symbols, uint8_t* lengths) noexcept
{
    uint8_t order[kMostSymbols];
    uint32_t used = 0;
    std::fill_n(lengths, symbols, uint8_t{0});
    for (uint32_t i = 0; i < symbols; ++i)
        if (counts[i] != 0)
            order[used++] = static_cast<uint8_t>(i);
    if (used < 2) {
        if (used == 1)
            lengths[order[0]] = 1;
        return;
    }
    std::sort(order, order + used, [counts](uint8_t a, uint8_t b) noexcept {
        return counts[a] != counts[b] ? counts[a] < counts[b] : a < b;
    });
    uint32_t weights[kMostSymbols];
    uint8_t depths[kMostSymbols];
    for (uint32_t i = 0; i < used; ++i)
        weights[i] = counts[order[i]];
    tree_depths(weights, used, depths);
    limit_depths(depths, used);
    for (uint32_t i = 0; i < used; ++i)
        lengths[order[i]] = depths[i];
}

void make_encoder(const uint8_t* lengths, uint32_t symbols, uint32_t* entries) noexcept
{
    std::fill_n(entries, symbols, 0u);
    for_each_code(lengths, symbols, [entries](uint32_t symbol, uint32_t code, uint32_t length) noexcept {
        entries[symbol] = code | length << 16;
    });
}

bool make_decoder(const uint8_t* lengths, uint32_t symbols, uint16_t* entries) noexcept
{
    uint32_t sum = 0;
    uint32_t used = 0;
    uint32_t last = 0;
    for (uint32_t i = 0; i < symbols; ++i) {
        if (lengths[i] == 0)
            continue;
        sum += kWhole >> lengths[i];
        last = i;
        ++used;
    }
    if (used < 2) { // nothing, or one symbol whatever the bit
        if (used == 1 && lengths[last] != 1)
            return false;
        std::fill_n(entries, kDecoderEntries, static_cast<uint16_t>(last | used << 8));
        return true;
    }
    if (sum != kWhole)
        return false;
    for_each_code(lengths, symbols, [entries](uint32_t symbol, uint32_t code, uint32_t length) noexcept {
        for (size_t at = code; at < kDecoderEntries; at += size_t{1} << length)
            entries[at] = static_cast<uint16_t>(symbol | length << 8);
    });
    return true;
}

size_t write_lengths(const uint8_t* lengths, uint32_t symbols, uint8_t* out) noexcept
{
    NibbleWriter nibbles(out);
    uint32_t last = kRepeat; // no length
    for (uint32_t at = 0; at < symbols;) {
        const uint32_t length = lengths[at];
        uint32_t run = 1;
        while (at + run < symbols && lengths[at + run] == length)
            ++run;
        if (length == 0 && run >= kMany) {
            run = std::min(run, kMany + 255);
            nibbles.put(kManyZeros);
            nibbles.put((run - kMany) & 15);
            nibbles.put((run - kMany) >> 4);
        } else if (run >= kFewest && (length == 0 || length == last)) {
            run = std::min(run, kFewest + 15);
            nibbles.put(length == 0 ? kZeros : kRepeat);
            nibbles.put(run - kFewest);
        } else {
            run = 1;
            nibbles.put(length);
        }
        last = length;
        at += run;
    }
    return nibbles.bytes();
}

size_t read_lengths(const uint8_t* from, size_t room, uint32_t symbols, uint8_t* lengths) noexcept
{
    NibbleReader nibbles(from, room);
    uint32_t last = 0;
    for (uint32_t at = 0; at < symbols;) {
        const uint32_t value = nibbles.get();
        uint32_t run = 1;
        if (value == kManyZeros) {
            const uint32_t low = nibbles.get();
            run = kMany + (low | nibbles.get() << 4);
        } else if (value == kRepeat || value == kZeros) {
            run = kFewest + nibbles.get();
        }
        if (nibbles.is_short() || value == 15 || run > symbols - at)
            return 0;
        last = value < kRepeat ? value : value == kRepeat ? last : 0;
        std::fill_n(lengths + at, run, static_cast<uint8_t>(last));
        at += run;
    }
    return nibbles.bytes();
}

} // namespace vk::codec
