// Spreading by words of bits, eight pixels at a time, and by vectors of eight pixels of 12 bits.
#include "kernel/format/Spread.h"
#include "simd/Bits.h"

#include <cstring>

namespace vk::VK_SIMD_SET {

namespace {

using namespace simd;

using Block = Quad<uint8_t>;

template <int kBits> uint64_t spread_word(uint64_t word) noexcept
{
    return __builtin_bswap64(spread_fields<kBits>(__builtin_bswap64(word) >> (64 - 8 * kBits)));
}

template <int kBits> uint64_t gather_word(uint64_t word) noexcept
{
    return __builtin_bswap64(gather_fields<kBits>(__builtin_bswap64(word)) << (64 - 8 * kBits));
}

template <int kBits> void spread(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    uint64_t word = 0;
    for (; count * kBits >= 64; count -= 8, from += kBits, to += 8) {
        std::memcpy(&word, from, sizeof word);
        word = spread_word<kBits>(word);
        std::memcpy(to, &word, sizeof word);
    }
    while (count != 0) {
        const size_t pixels = count < 8 ? count : 8;
        word = 0;
        for (size_t i = 0; i < (pixels * kBits + 7) / 8; ++i) // one store that the load takes from would wait for it
            word |= uint64_t{from[i]} << (8 * i);
        word = spread_word<kBits>(word);
        std::memcpy(to, &word, pixels);
        count -= pixels;
        from += kBits;
        to += 8;
    }
}

template <int kBits> void gather(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    uint64_t word = 0;
    for (; count >= 8; count -= 8, from += 8, to += kBits) {
        std::memcpy(&word, from, sizeof word);
        word = gather_word<kBits>(word);
        std::memcpy(to, &word, kBits);
    }
    word = 0;
    std::memcpy(&word, from, count);
    word = gather_word<kBits>(word);
    std::memcpy(to, &word, (count * kBits + 7) / 8);
}

using MovePixels = void(const uint8_t* from, uint8_t* to, size_t count) noexcept;
constexpr MovePixels* kSpread[] = {spread<1>, spread<2>, spread<3>, spread<4>, spread<5>, spread<6>, spread<7>};
constexpr MovePixels* kGather[] = {gather<1>, gather<2>, gather<3>, gather<4>, gather<5>, gather<6>, gather<7>};

void spread_row(const uint8_t* from, uint8_t* to, size_t count, int32_t bits) noexcept
{
    kSpread[bits - 1](from, to, count);
}

void gather_row(const uint8_t* from, uint8_t* to, size_t count, int32_t bits) noexcept
{
    kGather[bits - 1](from, to, count);
}

/// Odd pixels stand in the upper twelve bits of their word, even ones go there.
size_t spread_12(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    static constexpr Order<16> kPairs = {{0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11}};
    const auto shifts = as<uint16_t>(all<Quad<uint32_t>>(16 | 1 << 16));
    size_t done = 0;
    for (; (count - done) * 3 >= 32; done += 8) {
        const Block bytes = shuffle(load<Block>(from + done / 2 * 3), kPairs.load<Block>());
        store(to + 2 * done, as<uint16_t>(bytes) * shifts >> 4);
    }
    return done;
}

size_t gather_12(const uint8_t* from, uint8_t* to, size_t count) noexcept
{
    static constexpr auto kClosed = order_of<16>([](size_t i) { return i < 12 ? i / 3 * 4 + i % 3 : kNone; });
    const auto shifts = as<int16_t>(all<Quad<int32_t>>(1 | 1 << 28)); // odd pixels times 4096
    const auto low = as<int16_t>(all<Quad<uint16_t>>(0x0FFF));
    size_t done = 0;
    for (; (count - done) * 3 >= 32; done += 8) {
        const auto pairs = mul_pairs(load<Quad<int16_t>>(from + 2 * done) & low, shifts);
        store(to + done / 2 * 3, shuffle(as<uint8_t>(pairs), kClosed.load<Block>()));
    }
    return done;
}

} // namespace

const SpreadLoops spread_loops = {spread_row, gather_row, spread_12, gather_12};

} // namespace vk::VK_SIMD_SET
