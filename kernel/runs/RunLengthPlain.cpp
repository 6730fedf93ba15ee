// The run-length form byte by byte, as it is defined: a table gives the runs inside each of the 256 byte values, and a
// run that a byte would carry past 65535 is closed in front of that byte. What RunLength.cpp does by words must equal
// this, run for run.
#include "kernel/runs/RunLength.h"

#include <array>
#include <cstring>

namespace vk::runlength {

namespace {

constexpr int64_t kLongest = 65535;

/// The runs inside a byte, from bit 7 down.
struct ByteRuns {
    uint8_t count = 0;
    uint8_t first = 0; ///< colour of the first run
    std::array<uint8_t, 8> lengths{};
};

/// The runs of the first `bits` bits of a byte.
constexpr ByteRuns runs_of(uint32_t byte, uint32_t bits) noexcept
{
    ByteRuns runs;
    runs.first = static_cast<uint8_t>(byte >> 7 & 1u);
    uint32_t colour = runs.first ^ 1u;
    for (uint32_t i = 0; i < bits; ++i) {
        const uint32_t bit = byte >> (7 - i) & 1u;
        if (bit != colour)
            ++runs.count;
        ++runs.lengths[runs.count - 1u];
        colour = bit;
    }
    return runs;
}

constexpr std::array<ByteRuns, 256> make_table() noexcept
{
    std::array<ByteRuns, 256> table{};
    for (uint32_t byte = 0; byte < table.size(); ++byte)
        table[byte] = runs_of(byte, 8);
    return table;
}

constexpr std::array<ByteRuns, 256> kTable = make_table();

class RunWriter {
public:
    RunWriter(void* row, uint32_t bit_offset) noexcept
        : row_(static_cast<uint8_t*>(row)), run_(-static_cast<int64_t>(bit_offset))
    {}

    void add(const ByteRuns& runs) noexcept
    {
        uint32_t i = 0;
        if (runs.first == colour_)
            extend(runs.lengths[i++]);
        for (; i < runs.count; ++i) {
            close();
            run_ = runs.lengths[i];
        }
    }

    size_t finish(bool empty) noexcept
    {
        if (!empty)
            close();
        std::memcpy(row_, &words_, sizeof words_);
        return row_bytes(words_);
    }

private:
    void extend(uint8_t pixels) noexcept
    {
        if (run_ + pixels > kLongest) {
            close();
            run_ = 0;
            close();
            run_ = 0;
        }
        run_ += pixels;
    }

    void close() noexcept
    {
        const auto word = static_cast<uint16_t>(run_);
        std::memcpy(row_ + row_bytes(words_), &word, sizeof word);
        ++words_;
        colour_ ^= 1u;
    }

    uint8_t* row_;
    uint32_t words_ = 0;
    uint8_t colour_ = 0;
    int64_t run_;
};

} // namespace

size_t compress_plain(void* row, const void* pixels_in, uint32_t bit_offset, uint32_t pixels) noexcept
{
    const auto* const bytes = static_cast<const uint8_t*>(pixels_in);
    const uint64_t bits = uint64_t{pixels == 0 ? 0 : bit_offset} + pixels;
    RunWriter writer(row, bit_offset);
    for (uint64_t i = 0; i < bits; i += 8) {
        const uint32_t mask = i == 0 ? 0xFFu >> bit_offset : 0xFFu;
        const uint32_t byte = bytes[i / 8] & mask;
        const uint64_t left = bits - i;
        writer.add(left >= 8 ? kTable[byte] : runs_of(byte, static_cast<uint32_t>(left)));
    }
    return writer.finish(pixels == 0);
}

void expand_plain(const void* row, void* pixels_out, uint32_t start, uint32_t pixels) noexcept
{
    if (pixels == 0)
        return;
    const auto* const words = static_cast<const uint8_t*>(row) + row_bytes(0);
    auto* const out = static_cast<uint8_t*>(pixels_out);
    const uint32_t count = word_count(row);
    const uint64_t end = uint64_t{start} + pixels;
    std::memset(out, 0, static_cast<size_t>((uint64_t{pixels} + 7) / 8));
    uint64_t position = 0;
    for (uint32_t i = 0; i < count && position < end; ++i) {
        uint16_t run = 0;
        std::memcpy(&run, words + 2 * static_cast<size_t>(i), sizeof run);
        for (uint32_t k = 0; k < run && position < end; ++k, ++position) {
            if (i % 2 == 1 && position >= start) {
                const uint64_t at = position - start;
                out[at / 8] = static_cast<uint8_t>(out[at / 8] | 0x80u >> (at % 8));
            }
        }
    }
}

} // namespace vk::runlength
