// Mirroring by vectors. Whole bytes are permuted; 1, 2 and 4 bits are shifted to the byte boundary that the new row
// starts from and turned inside their bytes; other depths go eight pixels at a time through a 64-bit word.
#include "kernel/view/MirrorRow.h"
#include "simd/Bits.h"
#include "simd/Pick.h"
#include "simd/Simd.h"

#include <cstring>

namespace vk::turn::VK_SIMD_SET {

namespace {

using namespace simd;

using Block = Quad<uint8_t>;

/// Vectors of half the size, for rows that do not fill a whole one.
template <class V> using Half = Vec<uint8_t, V::kBytes / 2>;

/// Fills a new row of `bytes` from vectors of `turn`, which says what the front `step` bytes of the new row are in
/// terms of where the old one's begin. The last vector goes over what the one before may have done.
template <class V, class Turn> VK_SIMD_INLINE void fill_back_to_front(uint8_t* to, int64_t bytes, Turn&& turn) noexcept
{
    constexpr auto kStep = static_cast<int64_t>(V::kBytes);
    const int64_t last = bytes - kStep;
    for (int64_t done = 0; done < last; done += kStep)
        store(to + done, turn(last - done));
    store(to + last, turn(0));
}

template <int kBytes, class V = Wide<uint8_t>>
int64_t mirror_whole(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    if (width * kBytes >= static_cast<int64_t>(V::kBytes)) {
        fill_back_to_front<V>(to, width * kBytes,
                              [&](int64_t at) noexcept { return from_back<kBytes>(load<V>(from + at)); });
        return width;
    }
    if constexpr (V::kBytes > Block::kBytes)
        return mirror_whole<kBytes, Half<V>>(from, to, width);
    return 0;
}

/// Pixels that a vector does not hold whole: of each load those at the end are used. What a store writes too far the
/// next one puts right, or the caller.
template <int kBytes, class V = std::conditional_t<kPermutesBytes, Wide<uint8_t>, Block>>
int64_t mirror_odd(const uint8_t* from, uint8_t* to, int64_t width, int64_t done = 0) noexcept
{
    constexpr auto kSize = static_cast<int64_t>(V::kBytes);
    if constexpr (kTurnsThree)
        for (; (width - done) * kBytes >= 3 * kSize; done += 3 * kSize / kBytes)
            turn_three<kBytes>(to + done * kBytes, from + (width - done) * kBytes - 3 * kSize);
    for (; (width - done) * kBytes >= kSize; done += kSize / kBytes)
        store(to + done * kBytes, from_back<kBytes>(load<V>(from + (width - done) * kBytes - kSize)));
    if constexpr (V::kBytes > Block::kBytes)
        return mirror_odd<kBytes, Block>(from, to, width, done);
    return done;
}

template <int kBits, class V = Wide<uint8_t>>
int64_t mirror_fields(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    const int64_t bytes = width * kBits / 8;
    if (bytes < static_cast<int64_t>(V::kBytes)) {
        if constexpr (V::kBytes > Block::kBytes)
            return mirror_fields<kBits, Half<V>>(from, to, width);
        return 0;
    }
    const auto shift = static_cast<int>(width * kBits % 8); // bits of the last byte that are pixels, or 0: all
    const V upper = all<V>(static_cast<uint8_t>(0xFF << shift));
    const V lower = all<V>(static_cast<uint8_t>(0xFF >> (8 - shift)));
    const auto words = [](V v) noexcept { return as<uint16_t>(v); };
    fill_back_to_front<V>(to, bytes, [&](int64_t at) noexcept {
        V row = load<V>(from + at);
        if (shift != 0) // where the last byte has no successor
            row = (upper & as<uint8_t>(shift_left(words(row), shift))) |
                  (lower & as<uint8_t>(shift_right(words(load<V>(from + at + 1)), 8 - shift)));
        return reverse_fields<kBits>(from_back<1>(row));
    });
    return bytes * 8 / kBits;
}

template <int kBits> int64_t mirror_groups(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    const int64_t bytes = (width * kBits + 7) / 8;
    int64_t done = 0;
    for (int64_t end = width * kBits; bytes - done / 8 * kBits >= 8 && end >= 8 * kBits; end -= 8 * kBits, done += 8) {
        const int64_t first = end - 8 * kBits;
        const int64_t at = first / 8 < bytes - 8 ? first / 8 : bytes - 8;
        uint64_t word = 0;
        std::memcpy(&word, from + at, sizeof word);
        word = __builtin_bswap64(word) << (first - 8 * at) >> (64 - 8 * kBits);
        word = __builtin_bswap64(spread_fields<kBits>(word));
        word = __builtin_bswap64(gather_fields<kBits>(word) << (64 - 8 * kBits));
        std::memcpy(to + done / 8 * kBits, &word, sizeof word);
    }
    return done;
}

// Where the halves of bytes of twelve-bit pixels come from, in 16 bytes that end with the row's last. Each changes its
// place in the byte, unless the row ends in the middle of one: then each stays.
constexpr Order<16> kLowFrom = {{14, 15, 13, 11, 12, 10, 8, 9, 7, 5, 6, 4, 2, 3, 1, kNone}};
constexpr Order<16> kMovedUp = {{15, 13, 14, 12, 10, 11, 9, 7, 8, 6, 4, 5, 3, 1, 2, kNone}};
constexpr Order<16> kStaysUp = {{14, 12, 13, 11, 9, 10, 8, 6, 7, 5, 3, 4, 2, 0, 1, kNone}};

/// Three bytes that hold two pixels are a row of six half bytes, of which each three stay in order. A row that ends in
/// the middle of a byte begins anew with that half.
int64_t mirror_12(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    constexpr int64_t kStep = 10;
    const bool is_odd = width % 2 != 0;
    const int64_t bytes = (width * 12 + 7) / 8;
    const Block low = all<Block>(0x0F);
    int64_t done = 0;
    for (int64_t end = bytes; end >= 16 && bytes - done / 2 * 3 >= 16; done += kStep, end -= kStep / 2 * 3) {
        const Block row = load<Block>(from + end - 16);
        const Block lows = shuffle(row, kLowFrom.load<Block>());
        const Block highs = shuffle(row, (is_odd ? kStaysUp : kMovedUp).load<Block>());
        const Block to_low = is_odd ? lows : as<uint8_t>(as<uint16_t>(lows) >> 4);
        const Block to_high = is_odd ? highs : as<uint8_t>(as<uint16_t>(highs) << 4);
        store(to + done / 2 * 3, select_bits(low, to_low, to_high));
    }
    return done;
}

int64_t mirror_front(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept
{
    switch (bits) {
    case 1:
        return mirror_fields<1>(from, to, width);
    case 2:
        return mirror_fields<2>(from, to, width);
    case 3:
        return mirror_groups<3>(from, to, width);
    case 4:
        return mirror_fields<4>(from, to, width);
    case 5:
        return mirror_groups<5>(from, to, width);
    case 6:
        return mirror_groups<6>(from, to, width);
    case 7:
        return mirror_groups<7>(from, to, width);
    case 8:
        return mirror_whole<1>(from, to, width);
    case 12:
        return mirror_12(from, to, width);
    case 16:
        return mirror_whole<2>(from, to, width);
    case 24:
        return mirror_odd<3>(from, to, width);
    case 32:
        return mirror_whole<4>(from, to, width);
    case 48:
        return mirror_odd<6>(from, to, width);
    case 64:
        return mirror_whole<8>(from, to, width);
    default:
        return 0;
    }
}

} // namespace

const MirrorLoops mirror_loops = {mirror_front};

} // namespace vk::turn::VK_SIMD_SET
