// The plain forms, and what both forms share: vectors do the front of the new row, the plain form the rest. The pixels
// left over then are the first ones of the old row, which start on a byte like the row itself.
#include "kernel/view/MirrorRow.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

size_t bytes_of(int64_t pixels, int32_t bits) noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits));
}

template <size_t kBytes> void mirror_bytes(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    for (const uint8_t* pixel = from + kBytes * static_cast<size_t>(width); pixel != from; to += kBytes) {
        pixel -= kBytes;
        std::memcpy(to, pixel, kBytes);
    }
}

uint32_t get_packed(const uint8_t* row, int32_t bits, int64_t column) noexcept
{
    // Columns repeat their place in a byte after 8 pixels, which keeps this in 32 bits for rows of any width.
    const uint8_t* const group = row + bytes_of(column / 8 * 8, bits);
    const auto in_group = static_cast<uint32_t>(column % 8);
    return extract_bits(group + column_offset(bits, static_cast<int32_t>(in_group)), bits, in_group);
}

void set_packed(uint8_t* row, int32_t bits, int64_t column, uint32_t value) noexcept
{
    uint8_t* const group = row + bytes_of(column / 8 * 8, bits);
    const auto in_group = static_cast<uint32_t>(column % 8);
    insert_bits(group + column_offset(bits, static_cast<int32_t>(in_group)), bits, in_group, value);
}

void clear_padding(uint8_t* row, int64_t width, int32_t bits) noexcept
{
    if (width > 0) {
        uint8_t& last = row[bytes_of(width, bits) - 1];
        last = static_cast<uint8_t>(last & tail_mask(bits, static_cast<uint32_t>(width % 8)));
    }
}

/// The mirror image of the eight pixels that end at bit `end` of the row, the new first pixel in the highest bits.
template <int kBits> uint64_t take_mirrored(const uint8_t* from, uint64_t end) noexcept
{
    constexpr uint64_t kMask = (1u << kBits) - 1;
    const uint64_t first = end - 8 * kBits;
    uint64_t window = 0; // from the byte on in which the first pixel begins
    const size_t begin = static_cast<size_t>(first / 8);
    const size_t behind = static_cast<size_t>((end + 7) / 8);
    for (size_t i = begin; i < behind; ++i)
        window = window << 8 | from[i];
    window >>= 8 * behind - end;
    uint64_t mirrored = 0;
    for (int i = 0; i < 8; ++i)
        mirrored = mirrored << kBits | (window >> (i * kBits) & kMask);
    return mirrored;
}

template <int kBits> void mirror_packed(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    uint64_t end = static_cast<uint64_t>(width) * kBits;
    for (; end >= 8 * kBits; end -= 8 * kBits) {
        const uint64_t group = take_mirrored<kBits>(from, end);
        for (int i = kBits; i-- > 0;)
            *to++ = static_cast<uint8_t>(group >> (8 * i));
    }
    const int64_t rest = width % 8;
    std::memset(to, 0, bytes_of(rest, kBits));
    for (int64_t i = 0; i < rest; ++i)
        set_packed(to, kBits, i, get_packed(from, kBits, rest - 1 - i));
}

template <int kBits> void mirror_low_bits(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    using Group = LowFirstGroup<kBits>;
    constexpr uint64_t kGroupBits = 8 * Group::kBytes;
    uint64_t end = static_cast<uint64_t>(width) * kBits;
    for (; end >= kGroupBits; end -= kGroupBits, to += Group::kBytes) {
        const uint64_t first = end - kGroupBits;
        const auto bytes = static_cast<size_t>((end + 7) / 8 - first / 8);
        const uint64_t group = Group::load(from + first / 8, bytes) >> first % 8;
        uint64_t mirrored = 0;
        for (size_t i = 0; i < Group::kPixels; ++i)
            mirrored |= Group::put(Group::get(group, i), Group::kPixels - 1 - i);
        Group::store(to, mirrored);
    }
    const auto rest = static_cast<int64_t>(end / kBits);
    std::memset(to, 0, bytes_of(rest, kBits));
    for (int64_t i = 0; i < rest; ++i)
        set_packed(to, kBits, i, get_packed(from, kBits, rest - 1 - i));
}

/// Exchanges pixels from both ends, by way of memory on the stack.
void mirror_ends(uint8_t* row, int64_t width, int32_t bits) noexcept
{
    constexpr int64_t kPixels = 512;
    uint8_t left[kPixels * 8];
    uint8_t right[kPixels * 8];
    const auto at = [row, bits](int64_t column) noexcept { return row + bytes_of(column, bits); };
    int64_t begin = 0;
    int64_t end = width;
    while (end - begin > 1) {
        const int64_t count = std::min(kPixels, (end - begin) / 2);
        mirror_row(at(begin), left, count, bits);
        mirror_row(at(end - count), right, count, bits);
        std::memcpy(at(begin), right, bytes_of(count, bits));
        std::memcpy(at(end - count), left, bytes_of(count, bits));
        begin += count;
        end -= count;
    }
}

void mirror_plain(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept
{
    with_depth(bits, [&]<int32_t kBits>() noexcept {
        if constexpr (packing_of(kBits) == Packing::bytes)
            mirror_bytes<kBits / 8>(from, to, width);
        else if constexpr (packing_of(kBits) == Packing::high_first)
            mirror_packed<kBits>(from, to, width);
        else
            mirror_low_bits<kBits>(from, to, width);
    });
}

} // namespace

void mirror_row(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept
{
    const turn::MirrorLoops* const loops = turn::mirror_loops_sets.best();
    const int64_t done = loops ? loops->front(from, to, width, bits) : 0;
    mirror_plain(from, to + bytes_of(done, bits), width - done, bits);
}

void mirror_row_in_place(uint8_t* row, int64_t width, int32_t bits) noexcept
{
    constexpr size_t kCopied = 16384;
    if (!is_bitmap_depth(bits) || width < 1)
        return;
    if (is_whole_bytes(bits))
        return mirror_ends(row, width, bits);
    const size_t bytes = bytes_of(width, bits);
    if (bytes <= kCopied) {
        uint8_t copy[kCopied];
        std::memcpy(copy, row, bytes);
        return mirror_row(copy, row, width, bits);
    }
    for (int64_t i = 0, k = width - 1; i < k; ++i, --k) {
        const uint32_t pixel = get_packed(row, bits, i);
        set_packed(row, bits, i, get_packed(row, bits, k));
        set_packed(row, bits, k, pixel);
    }
    clear_padding(row, width, bits);
}

} // namespace vk
