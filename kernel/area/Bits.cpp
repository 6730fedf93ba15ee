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

/// The runs of a row that is no wider than a word, where there are no more than two; else false.
bool find_two_runs(const uint8_t* row, int32_t width, SmallBand& band) noexcept
{
    const uint64_t word = load_word(row, (static_cast<size_t>(width) + 7) / 8) & ~uint64_t{0} << (kWordBits - width);
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

/// Takes rows that are no wider than a word, as long as they have no more than two runs.
void add_narrow_rows(BitRows& rows, int32_t width, AreaBuilder& built) noexcept
{
    built.add_small_bands(static_cast<uint32_t>(rows.count), [&](SmallBand& band) noexcept {
        if (!find_two_runs(rows.data, width, band))
            return false;
        band.top = rows.row++;
        band.bottom = rows.row;
        rows.data += rows.stride;
        --rows.count;
        return true;
    });
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

void add_rows_of_bits(BitRows rows, int32_t width, AreaBuilder& built) noexcept
{
    while (rows.count != 0) {
        if (width <= kWordBits)
            add_narrow_rows(rows, width, built);
        AreaRun* const runs = rows.count == 0 ? nullptr : built.room(static_cast<uint64_t>(width) / 2 + 1);
        if (!runs)
            return;
        built.add_band(rows.row, rows.row + 1, runs_of_bits(rows.data, width, runs));
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
