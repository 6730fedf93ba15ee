#include "kernel/area/Bits.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vk {

namespace {

/// 64 bits of a row, its first one the highest; what lies behind `bytes` is clear.
uint64_t load_word(const uint8_t* at, size_t bytes) noexcept
{
    uint64_t word = 0;
    if (bytes >= sizeof word) {
        std::memcpy(&word, at, sizeof word);
        return __builtin_bswap64(word);
    }
    for (size_t i = 0; i < bytes; ++i)
        word |= uint64_t{at[i]} << (56 - 8 * i);
    return word;
}

} // namespace

size_t runs_of_bits(const uint8_t* row, int32_t width, AreaRun* runs) noexcept
{
    int32_t* const edges = &runs->first;
    size_t count = 0;
    uint64_t before = 0; // the last bit of the word before
    const auto bytes = (static_cast<size_t>(width) + 7) / 8;
    for (int64_t column = 0; column < width; column += 64) {
        const auto at = static_cast<size_t>(column / 8);
        uint64_t word = load_word(row + at, bytes - at);
        if (width - column < 64)
            word &= ~uint64_t{0} << (64 - (width - column));
        for (uint64_t changes = word ^ (word >> 1 | before << 63); changes != 0;) {
            const int bit = std::countl_zero(changes);
            edges[count++] = static_cast<int32_t>(column + bit);
            changes &= ~(uint64_t{1} << 63 >> bit);
        }
        before = word & 1;
    }
    if (count % 2)
        edges[count++] = width;
    return count / 2;
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
