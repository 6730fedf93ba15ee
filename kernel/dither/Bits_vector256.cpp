// The bits of thresholded rows, a vector of pixels at a time.
#include "kernel/dither/Bits.h"
#include "simd/Bits.h"
#include "simd/Simd.h"

namespace vk::dither::VK_SIMD_SET {
namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;

/// Eight bytes again and again, each time the last one first: the first pixel of eight is its byte's highest bit, and
/// the bits of vectors begin with the lowest.
VK_SIMD_INLINE Bytes turned(const uint8_t (&eight)[8]) noexcept
{
    uint64_t value = 0;
    std::memcpy(&value, eight, sizeof value);
    return as<uint8_t>(all<Wide<uint64_t>>(__builtin_bswap64(value)));
}

size_t bits_of_row(const BitRow& row, const uint8_t* levels, size_t count, uint8_t* dst) noexcept
{
    static constexpr auto kTurned = order_of<16>([](size_t i) { return i / 8 * 8 + 7 - i % 8; });
    const Bytes above = turned(row.above);
    const Bytes never = ~turned(row.always);
    const Bytes order = in_blocks<Bytes>(kTurned);
    const uint64_t invert = row.invert != 0 ? 0 : ~uint64_t{0};
    size_t i = 0;
    for (; i + kWidth <= count; i += kWidth) {
        const Bytes v = shuffle(load<Bytes>(levels + i), order);
        const uint64_t bits = high_bits(keep(min(v, above) == v, never)) ^ invert;
        std::memcpy(dst + i / 8, &bits, kWidth / 8);
    }
    return i;
}

} // namespace

const BitLoops bit_loops = {bits_of_row};

} // namespace vk::dither::VK_SIMD_SET
