// Prefix codes: lengths from counts, their compact form, and the tables for both directions. Codes are canonical and
// stored with their first bit lowest, so that streams are read from the low end of a word.
//
// Readers are handed tables made from foreign bytes: `make_decoder` accepts complete codes, codes of one symbol and
// empty ones, and no entry ever leads outside a table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::codec {

/// Longest code.
constexpr uint32_t kCodeBits = 11;
constexpr size_t kDecoderEntries = size_t{1} << kCodeBits;
constexpr uint32_t kMostSymbols = 256;
/// Most bytes that `write_lengths` takes.
constexpr size_t kMostLengthBytes = kMostSymbols / 2 + 1;
/// Bytes that every stream must have behind it, so that words can be loaded from its end.
constexpr size_t kStreamPadding = 8;

/// Code lengths for symbols that occur `counts` times; 0 for those that do not.
void code_lengths(const uint32_t* counts, uint32_t symbols, uint8_t* lengths) noexcept;

/// Code in the low 16 bits of each entry, its length above.
void make_encoder(const uint8_t* lengths, uint32_t symbols, uint32_t* entries) noexcept;

/// kDecoderEntries entries: the symbol in the low byte, the length above. False for lengths that make no code.
bool make_decoder(const uint8_t* lengths, uint32_t symbols, uint16_t* entries) noexcept;

/// Writes the lengths; bytes written.
size_t write_lengths(const uint8_t* lengths, uint32_t symbols, uint8_t* out) noexcept;

/// Reads what write_lengths wrote; bytes read, or 0 when they are not that.
size_t read_lengths(const uint8_t* from, size_t room, uint32_t symbols, uint8_t* lengths) noexcept;

inline uint64_t load_word(const uint8_t* from) noexcept
{
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// Appends codes. Eight bytes behind the place of writing are overwritten at any time.
class BitWriter {
public:
    explicit BitWriter(uint8_t* out) noexcept : out_(out) {}

    /// No more than 56 bits between two flushes.
    void put(uint64_t bits, uint32_t count) noexcept
    {
        word_ |= bits << count_;
        count_ += count;
    }
    void flush() noexcept
    {
        std::memcpy(out_, &word_, sizeof word_);
        out_ += count_ >> 3;
        word_ >>= count_ & ~7u;
        count_ &= 7;
    }
    /// Ends the stream; the byte behind it.
    uint8_t* finish() noexcept
    {
        flush();
        return out_ + (count_ != 0);
    }

private:
    uint8_t* out_;
    uint64_t word_ = 0;
    uint32_t count_ = 0;
};

/// Reads codes from bytes that have kStreamPadding more behind them. Past the end it reads what is there, never more.
class BitReader {
public:
    BitReader(const uint8_t* from, size_t bytes) noexcept : from_(from), bytes_(bytes) {}

    /// The next 57 bits or more.
    uint64_t peek() const noexcept
    {
        const uint64_t at = position_ >> 3;
        return load_word(from_ + (at < bytes_ ? at : bytes_)) >> (position_ & 7);
    }
    void skip(uint64_t bits) noexcept { position_ += bits; }
    /// True when all bits were read and none beyond, up to the last byte's end.
    bool is_at_end() const noexcept { return (position_ + 7) >> 3 == bytes_; }
    bool is_past_end() const noexcept { return position_ > uint64_t{bytes_} * 8; }

private:
    const uint8_t* from_;
    size_t bytes_;
    uint64_t position_ = 0;
};

} // namespace vk::codec
