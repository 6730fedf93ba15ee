// The larger steps of kernels that the vector layer has: pixels of three bytes taken apart and put together, tables,
// bits and fields, each against what it says of single bytes.
#include "simd/Bits.h"
#include "simd/Carry.h"
#include "simd/Channels.h"
#include "simd/Fields.h"
#include "simd/Lowest.h"
#include "simd/Pick.h"
#include "simd/Pixels24.h"
#include "simd/Round.h"
#include "simd/Tables.h"
#include "simd/Weigh.h"
#include "tests/simd/Answers.h"

namespace vk::testing::VK_SIMD_SET {

namespace {

using Bytes = Wide<uint8_t>;
using Words = Wide<uint16_t>;
using Numbers = Wide<uint32_t>;

VK_SIMD_INLINE uint64_t word_of(const uint8_t* from) noexcept
{
    uint64_t word;
    __builtin_memcpy(&word, from, sizeof word);
    return word;
}
VK_SIMD_INLINE size_t swapped(size_t channel, bool swap) noexcept
{
    return swap ? 2 - channel : channel;
}

// ---- bits and fields ----

uint64_t extracted(uint64_t word, uint64_t mask) noexcept
{
    uint64_t result = 0;
    for (int from = 0, to = 0; from < 64; ++from)
        if ((mask >> from & 1) != 0)
            result |= (word >> from & 1) << to++;
    return result;
}
uint64_t deposited(uint64_t word, uint64_t mask) noexcept
{
    uint64_t result = 0;
    for (int from = 0, to = 0; to < 64; ++to)
        if ((mask >> to & 1) != 0)
            result |= (word >> from++ & 1) << to;
    return result;
}
size_t counted(uint64_t word) noexcept
{
    size_t count = 0;
    for (; word != 0; word >>= 1)
        count += word & 1;
    return count;
}
uint64_t lowest_of(uint64_t word) noexcept
{
    uint64_t at = 0;
    for (; at < 63 && (word >> at & 1) == 0; ++at) {
    }
    return at;
}
uint64_t every(size_t bits, size_t apart) noexcept
{
    uint64_t mask = 0;
    for (size_t at = 0; at < 64; ++at)
        mask |= uint64_t{at % apart < bits} << at;
    return mask;
}
size_t reversed(size_t byte, size_t bits) noexcept
{
    size_t result = 0;
    for (size_t at = 0; at < 8; ++at)
        result |= (byte >> at & 1) << (8 - bits - at / bits * bits + at % bits);
    return result;
}

#define VK_STEP(what, ...)                                                                                             \
    Operation                                                                                                          \
    {                                                                                                                  \
        what, [](const Operands& in, uint8_t* got, uint8_t* expected) noexcept -> size_t {                             \
            const uint8_t* const from = in[0];                                                                         \
            const uint64_t word = word_of(from), mask = word_of(in[1]);                                                \
            const Bytes a = load<Bytes>(from), b = load<Bytes>(in[1]), c = load<Bytes>(in[2]);                         \
            static_cast<void>(word), static_cast<void>(mask), static_cast<void>(a), static_cast<void>(b),              \
                static_cast<void>(c);                                                                                  \
            __VA_ARGS__                                                                                                \
        }                                                                                                              \
    }
#define VK_WORD(what, got_value, loop_value) VK_STEP(what, return answer(got, expected, got_value, loop_value);)
#define VK_BYTES(what, got_value, loop_value)                                                                          \
    VK_STEP(what, return answer_by(got, expected, got_value, [&](size_t i) noexcept { return loop_value; });)
#define VK_BOTH(M, name) M(name, false), M(name, true)

#define VK_FIELDS(bits)                                                                                                \
    VK_WORD("spread_fields", spread_fields<bits>(word & (~uint64_t{0} >> (64 - 8 * bits))),                            \
            deposited(word, every(bits, 8))),                                                                          \
        VK_WORD("gather_fields", gather_fields<bits>(word & every(bits, 8)), extracted(word, every(bits, 8)))
#define VK_REVERSED(bits) VK_BYTES("reverse_fields", reverse_fields<bits>(a), reversed(a.raw[i], bits))

size_t positions(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    uint16_t found[3 * 64], by_loop[3 * 64];
    size_t count = 0, number = 0;
    Positions places(100);
    for (size_t part = 0; part < 3; ++part) {
        if (part == 2)
            places.skip(5);
        count = places.append(word_of(in[part]), found, count);
        for (size_t at = 0; at < 64; ++at)
            if ((word_of(in[part]) >> at & 1) != 0 && number < 64)
                by_loop[number++] = static_cast<uint16_t>(100 + 64 * (part + (part == 2 ? 5 : 0)) + at);
    }
    number = count < number ? count : number;
    __builtin_memcpy(got, found, number * sizeof *found);
    __builtin_memcpy(expected, by_loop, number * sizeof *found);
    return number * sizeof *found + 1;
}

// ---- pixels of three bytes, by channel ----

template <bool Swap> size_t loads_24(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    return answer_by(got, expected, as<uint8_t>(load_24<Swap>(in[0])),
                     [&](size_t i) noexcept { return i % 4 == 3 ? 0 : in[0][i / 4 * 3 + swapped(i % 4, Swap)]; });
}
template <bool Swap> size_t stores_24(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const uint8_t* const from = in[0];
    const auto four = [&](size_t i) noexcept { return load<Numbers>(from + kWidth * i); };
    store_24<Swap, false>(got, {four(0), four(1), four(2), four(3)});
    for (size_t i = 0; i < 3 * kWidth; ++i)
        expected[i] = from[i / 3 * 4 + swapped(i % 3, Swap)];
    return 3 * kWidth;
}
size_t exchanges_24(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    exchange_24<false>(got, in[0]);
    for (size_t i = 0; i < 3 * kWidth; ++i)
        expected[i] = in[0][i / 3 * 3 + 2 - i % 3];
    return 3 * kWidth;
}
template <bool Swap> size_t pairs(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const Pairs24 found = pairs_24<Swap>(in[0]);
    const auto word = [&](size_t pixel, size_t first) noexcept {
        return in[0][pixel * 3 + swapped(first, Swap)] | in[0][pixel * 3 + swapped(first + 1, Swap)] << 8;
    };
    for (size_t half = 0; half < 2; ++half) {
        const auto at = [&](size_t i) noexcept { return i + half * kWidth / 2; };
        uint8_t* const to = got + 2 * kWidth * half;
        uint8_t* const loop = expected + 2 * kWidth * half;
        answer_by(to, loop, found.first[half], [&](size_t i) noexcept { return word(at(i), 0); });
        answer_by(to + kWidth, loop + kWidth, found.last[half], [&](size_t i) noexcept { return word(at(i), 1); });
    }
    return 4 * kWidth;
}
size_t splits(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const Thirds channels = split_channels(in[0]);
    for (size_t c = 0; c < 3; ++c)
        answer_by(got + c * kWidth, expected + c * kWidth, channels.of[c],
                  [&](size_t i) noexcept { return in[0][3 * i + c]; });
    return 3 * kWidth;
}
size_t joins(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    store_channels<false>(got, load<Bytes>(in[0]), load<Bytes>(in[1]), load<Bytes>(in[2]));
    for (size_t i = 0; i < 3 * kWidth; ++i)
        expected[i] = in[i % 3][i / 3];
    return 3 * kWidth;
}
template <Values Lie> size_t mixes(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const Thirds mixed = mix_channels<Lie>(load<Bytes>(in[0]), load<Bytes>(in[1]), load<Bytes>(in[2]));
    for (size_t i = 0; i < 3; ++i)
        store(got + i * kWidth, mixed.of[i]);
    for (size_t i = 0; i < 3 * kWidth; ++i)
        expected[i] = in[i % 3][place_of_value<Lie>(i / 3)];
    return 3 * kWidth;
}
template <bool Last> size_t colors(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const uint8_t* const from = in[1];
    const ColorWords words = load_colors<Last>(from);
    answer_by(got, expected, words.bg, [&](size_t i) noexcept { return from[i / 2 * 3 + i % 2]; });
    return kWidth + answer_by(got + kWidth, expected + kWidth, words.r,
                              [&](size_t i) noexcept { return i % 2 == 0 ? from[i / 2 * 3 + 2] : 0; });
}

// ---- words of a pixel, weights, tables ----

template <bool Green6, bool Swap> size_t fields_from_24(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const Pairs24 words = pairs_24<Swap>(in[0]);
    return answer_by(got, expected, fields_of_pairs<Green6>(words.first[0], words.last[0]), [&](size_t i) noexcept {
        const uint8_t* const pixel = in[0] + 3 * i;
        constexpr int kGreen = Green6 ? 6 : 5;
        return pixel[swapped(0, Swap)] >> 3 | pixel[1] >> (8 - kGreen) << 5 |
               pixel[swapped(2, Swap)] >> 3 << (5 + kGreen);
    });
}
template <bool Green6, bool Swap> size_t fields_into_24(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    fields_to_24<Green6, Swap, false>(got, in[0]);
    constexpr size_t kLow[] = {0, 5, Green6 ? 11 : 10};
    for (size_t i = 0; i < 3 * kWidth; ++i) {
        const size_t word = size_t{in[0][i / 3 * 2]} | size_t{in[0][i / 3 * 2 + 1]} << 8;
        const size_t channel = swapped(i % 3, Swap);
        const size_t bits = channel == 1 && Green6 ? 6 : 5;
        const size_t field = word >> kLow[channel] & ((size_t{1} << bits) - 1);
        expected[i] = static_cast<uint8_t>(field << (8 - bits) | field >> (2 * bits - 8));
    }
    return 3 * kWidth;
}

template <size_t Size> size_t weighs(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    using Some = Weights<29, 77, 22>;
    const auto shift = [](Wide<int16_t> sums) noexcept { return sums >> 7; };
    const Bytes bytes = Size == 3 ? Some::load_24(in[0], shift) : Some::load_32(in[0], shift);
    return answer_by(got, expected, bytes, [&](size_t i) noexcept {
        const uint8_t* const pixel = in[0] + Size * i;
        return (29 * pixel[0] + 77 * pixel[1] + 22 * pixel[2]) >> 7;
    });
}

size_t looks_up(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    uint8_t entries[256];
    for (size_t i = 0; i < 256; ++i)
        entries[i] = static_cast<uint8_t>(in[1 + i / 64][i % 64] + 7 * i);
    const Bytes index = load<Bytes>(in[0]);
    return answer_by(got, expected, ByteTable(entries).at(index),
                     [&](size_t i) noexcept { return entries[index.raw[i]]; });
}
size_t looks_up_bits(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    uint64_t truths = 0;
    for (size_t i = 0; i < kWidth; ++i)
        truths |= static_cast<uint64_t>(in[1][in[0][i] / 8] >> in[0][i] % 8 & 1) << i;
    return answer(got, expected, bits(BitTable(in[1]).at(load<Bytes>(in[0]))), truths);
}

// ---- some bytes of lanes ----

template <size_t Kept> size_t stores_lowest(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const size_t count = in[2][0] % (kWidth / 4 + 4);
    store_lowest<Kept>(got, load<Numbers>(in[0]), count);
    for (size_t i = 0; i < kWidth / 4 && i < count; ++i)
        __builtin_memcpy(expected + Kept * i, in[0] + 4 * i, Kept);
    return 2 * kWidth; // nothing is written behind the last lane
}
template <size_t Kept> size_t stores_pairs(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const size_t count = in[2][0] % (kWidth / 4 + 4);
    store_lowest_of_pairs<Kept>(got, load<Numbers>(in[0]), load<Numbers>(in[1]), count);
    for (size_t i = 0; i < kWidth / 4 && i < count; ++i) {
        __builtin_memcpy(expected + Kept * i, in[0] + 4 * i, 4);
        __builtin_memcpy(expected + Kept * i + 4, in[1] + 4 * i, Kept - 4);
    }
    return 3 * kWidth;
}
template <bool Last> size_t loads_places(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    const auto offsets = load<Wide<int32_t>>(in[0]) & all<Wide<int32_t>>(127);
    const uint8_t* const base = in[1];
    return answer_by(got, expected, Places(offsets).template load<Last>(base), [&](size_t i) noexcept {
        return word_of(base + offsets.raw[i / 2 * 4 + i % 2 + (Last ? 2 : 0)]);
    });
}
template <class T> size_t transposes(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    constexpr size_t kRows = 16 / sizeof(T);
    Quad<T> rows[kRows];
    for (size_t i = 0; i < kRows; ++i)
        rows[i] = load<Quad<T>>(in[0] + 16 * i);
    transpose(rows);
    for (size_t i = 0; i < kRows; ++i)
        store(got + 16 * i, rows[i]);
    for (size_t i = 0; i < kRows * kRows; ++i)
        __builtin_memcpy(expected + i * sizeof(T), in[0] + (i % kRows * kRows + i / kRows) * sizeof(T), sizeof(T));
    return 16 * kRows;
}
template <size_t Size> size_t turns(const Operands& in, uint8_t* got, uint8_t* expected) noexcept
{
    using V = std::conditional_t<kPermutesBytes || 16 % Size == 0, Bytes, Quad<uint8_t>>;
    constexpr size_t kPixels = V::kBytes / Size;
    store(got, from_back<Size>(load<V>(in[0])));
    for (size_t i = 0; i < kPixels * Size; ++i)
        expected[i] = in[0][V::kBytes - Size - i / Size * Size + i % Size];
    return kPixels * Size;
}

constexpr Operation kAll[] = {
    VK_WORD("deposit", deposit(word, mask), deposited(word, mask)),
    VK_WORD("extract", extract(word, mask), extracted(word, mask)),
    VK_WORD("count_bits", count_bits(word), counted(word)),
    VK_WORD("lowest_bit", lowest_bit(word | uint64_t{1} << 63), lowest_of(word)),
    VK_WORD("gathered_bits<3>", gathered_bits<3>(word, from[8] % 3), extracted(word >> from[8] % 3, every(1, 3))),
    VK_WORD("gathered_bits<4>", gathered_bits<4>(word, from[8] % 4), extracted(word >> from[8] % 4, every(1, 4))),
    VK_FIELDS(1),
    VK_FIELDS(2),
    VK_FIELDS(3),
    VK_FIELDS(4),
    VK_FIELDS(5),
    VK_FIELDS(6),
    VK_FIELDS(7),
    VK_REVERSED(1),
    VK_REVERSED(2),
    VK_REVERSED(4),
    Operation{"Positions", positions},
    VK_BYTES("load_pixel_bits", keep(load_pixel_bits(from), all<Bytes>(0xFF)),
             (from[i / 8] << i % 8 & 0x80) != 0 ? 0xFF : 0),
    VK_STEP("store_pixel_bits", store_pixel_bits(got, before_pixel_bits(a) > before_pixel_bits(b));
            for (size_t i = 0; i < kWidth; ++i) expected[i / 8] =
                static_cast<uint8_t>(expected[i / 8] | (a.raw[i] > b.raw[i] ? 0x80 >> i % 8 : 0));
            return kWidth / 8;),
    VK_BYTES("select_bits", select_bits(a, b, c), (a.raw[i] & b.raw[i]) | (~a.raw[i] & c.raw[i])),
    Operation{"load_24", loads_24<false>},
    Operation{"load_24, swapped", loads_24<true>},
    Operation{"store_24", stores_24<false>},
    Operation{"store_24, swapped", stores_24<true>},
    Operation{"exchange_24", exchanges_24},
    Operation{"pairs_24", pairs<false>},
    Operation{"pairs_24, swapped", pairs<true>},
    Operation{"split_channels", splits},
    Operation{"store_channels", joins},
    Operation{"mix_channels", mixes<Values::in_order>},
    Operation{"mix_channels, even and odd", mixes<Values::even_odd>},
    Operation{"load_colors", colors<false>},
    Operation{"load_colors, last", colors<true>},
    Operation{"fields_of_pairs, 5-5-5", fields_from_24<false, false>},
    Operation{"fields_of_pairs, 5-6-5 swapped", fields_from_24<true, true>},
    Operation{"fields_to_24, 5-5-5", fields_into_24<false, false>},
    Operation{"fields_to_24, 5-6-5 swapped", fields_into_24<true, true>},
    Operation{"Weights of 24", weighs<3>},
    Operation{"Weights of 32", weighs<4>},
    Operation{"ByteTable", looks_up},
    Operation{"BitTable", looks_up_bits},
    VK_BYTES("joined", joined(as<int16_t>(a), as<int16_t>(b)),
             plain::clamped<uint8_t>(as<int16_t>(i < kWidth / 2 ? a : b).raw[i % (kWidth / 2)])),
    VK_BYTES("unpacked", unpacked(pack_unsigned(as<int16_t>(a), as<int16_t>(b))),
             plain::clamped<uint8_t>(as<int16_t>(i < kWidth / 2 ? a : b).raw[i % (kWidth / 2)])),
    VK_BYTES("bytes_of", bytes_of<3>({as<uint32_t>(a), as<uint32_t>(b), as<uint32_t>(c), as<uint32_t>(b)}),
             (i < kWidth / 4       ? a
              : i < kWidth / 2     ? b
              : i < kWidth / 4 * 3 ? c
                                   : b)
                 .raw[i % (kWidth / 4) * 4 + 3]),
    VK_STEP("before_interleave", const Bytes x = before_interleave(a), y = before_interleave(b);
            store(got, interleave_low(x, y)); store(got + kWidth, interleave_high(x, y));
            for (size_t i = 0; i < 2 * kWidth; ++i) expected[i] = in[i % 2][i / 2]; return 2 * kWidth;),
    VK_STEP("every_other", const Numbers x = as<uint32_t>(a), y = as<uint32_t>(b); return answer_by(
                got, expected, every_other<1>(x, y),
                [&](size_t i) noexcept { return (i < kWidth / 8 ? x : y).raw[i % (kWidth / 8) * 2 + 1]; });),
    VK_STEP("moved_up", const Numbers x = as<uint32_t>(a), y = as<uint32_t>(b);
            return answer_by(got, expected, moved_up(x, y),
                             [&](size_t i) noexcept { return i == 0 ? x.raw[kWidth / 4 - 1] : y.raw[i - 1]; });),
    VK_STEP("add_carry", const Words x = as<uint16_t>(a), y = as<uint16_t>(b), upper = as<uint16_t>(c);
            return answer_by(got, expected, add_carry(upper, x + y, x),
                             [&](size_t i) noexcept { return upper.raw[i] + ((x.raw[i] + y.raw[i]) >> 16); });),
    VK_STEP("nearest_whole", const double halves = static_cast<double>(static_cast<int32_t>(word)) / 2;
            return answer(got, expected, static_cast<uint64_t>(nearest_whole(halves)),
                          static_cast<uint64_t>(__builtin_llrint(halves)));),
    Operation{"store_lowest<1>", stores_lowest<1>},
    Operation{"store_lowest<2>", stores_lowest<2>},
    Operation{"store_lowest<3>", stores_lowest<3>},
    Operation{"store_lowest<4>", stores_lowest<4>},
    Operation{"store_lowest_of_pairs<6>", stores_pairs<6>},
    Operation{"store_lowest_of_pairs<8>", stores_pairs<8>},
    Operation{"Places", loads_places<false>},
    Operation{"Places, last", loads_places<true>},
    Operation{"transpose of words", transposes<uint16_t>},
    Operation{"transpose of bytes", transposes<uint8_t>},
    Operation{"from_back<1>", turns<1>},
    Operation{"from_back<3>", turns<3>},
    Operation{"from_back<8>", turns<8>},
};

} // namespace

const Operations steps_of_kernels = {VK_NAME(VK_SIMD_SET), {list_of(kAll)}};

} // namespace vk::testing::VK_SIMD_SET
