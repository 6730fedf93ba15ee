// The loops of ByteKernels.h in vectors.
#include "kernel/resample/ByteKernels.h"
#include "simd/Arrange.h"
#include "simd/Simd.h"
#include "simd/Sums.h"

namespace vk::resample::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<int16_t>;
using Numbers = Wide<int32_t>;
constexpr size_t kWords = Words::kLanes;
constexpr size_t kBlocksOfStep = kWidth / 16;

VK_SIMD_INLINE Words widen_from(const uint8_t* from) noexcept
{
    return as<int16_t>(widen(load<Vec<uint8_t, kWords>>(from)));
}

size_t sum_rows(const uint8_t* const* rows, const int32_t* weights, uint32_t* sums, size_t count, bool add) noexcept
{
    const FourWeights by(weights);
    size_t i = 0;
    for (; i + kWords <= count; i += kWords) {
        auto [first, second] =
            by.of(widen_from(rows[0] + i), widen_from(rows[1] + i), widen_from(rows[2] + i), widen_from(rows[3] + i));
        uint32_t* const out = sums + i;
        if (add) {
            first += load<Numbers>(out);
            second += load<Numbers>(out + Numbers::kLanes);
        }
        store(out, first);
        store(out + Numbers::kLanes, second);
    }
    return i;
}

/// Pixels of three or four lanes, of kTaps taps (0: any). One lane behind the last sum and the last result is touched.
template <int32_t kChannels, int32_t kTaps>
int32_t area_pixels(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                    uint8_t* out) noexcept
{
    const FourSums half(quotient.total / 2);
    const double inverse = quotient.inverse;
    const int32_t* weights = along.weights;
    const int32_t count = along.count - (kChannels == 3 ? 1 : 0);
    for (int32_t i = 0; i < count; ++i, weights += along.pitch, out += kChannels) {
        const uint32_t* from = sums + static_cast<ptrdiff_t>(along.first[i]) * kChannels;
        FourSums total = half;
        for (int32_t k = 0; k < (kTaps ? kTaps : along.taps); ++k, from += kChannels)
            total.add(load<Quad<uint32_t>>(from), static_cast<uint32_t>(weights[k]));
        // The product with the inverse is never below the quotient, nor as much above it as the next whole number.
        const uint32_t pixel = total.bytes_by(inverse);
        __builtin_memcpy(out, &pixel, sizeof pixel);
    }
    return count < 0 ? 0 : count;
}

/// One position of one lane, of kTaps taps (0: any): four partial sums.
template <int32_t kTaps>
VK_SIMD_INLINE FourSums gray_parts(const uint32_t* sums, const int32_t* weights, int32_t taps) noexcept
{
    using Four = Quad<int32_t>;
    FourSums parts(0);
    if constexpr (kTaps == 4) {
        parts.add(load<Quad<uint32_t>>(sums), load<Quad<uint32_t>>(weights));
        return parts;
    }
    const auto lanes = lanes_of<Four>([](size_t i) noexcept { return i; });
    for (int32_t k = 0; k < taps; k += 4) {
        const Four factors = keep(lanes < all<Four>(taps - k), load<Four>(weights + k));
        parts.add(load<Quad<uint32_t>>(sums + k), as<uint32_t>(factors));
    }
    return parts;
}

/// Pixels of one lane, four at a time. Three lanes behind the last sum are read, and as many weights.
template <int32_t kTaps>
int32_t area_grays(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                   uint8_t* out) noexcept
{
    const FourSums half(quotient.total / 2);
    const double inverse = quotient.inverse;
    const int32_t pitch = along.pitch;
    const int32_t* weights = along.weights;
    int32_t i = 0;
    for (; i + 4 <= along.count; i += 4, weights += 4 * pitch) {
        const int32_t* const first = along.first + i;
        FourSums total = FourSums::of_lanes({gray_parts<kTaps>(sums + first[0], weights, along.taps),
                                             gray_parts<kTaps>(sums + first[1], weights + pitch, along.taps),
                                             gray_parts<kTaps>(sums + first[2], weights + 2 * pitch, along.taps),
                                             gray_parts<kTaps>(sums + first[3], weights + 3 * pitch, along.taps)});
        total.add(half);
        const uint32_t pixels = total.bytes_by(inverse);
        __builtin_memcpy(out + i, &pixels, sizeof pixels);
    }
    return i;
}

template <int32_t kChannels>
int32_t area_colors(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                    uint8_t* out) noexcept
{
    return along.taps == 4 ? area_pixels<kChannels, 4>(sums, along, quotient, out)
                           : area_pixels<kChannels, 0>(sums, along, quotient, out);
}

int32_t area_row(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient, uint8_t* out) noexcept
{
    if (along.channels == 1)
        return along.taps == 4 ? area_grays<4>(sums, along, quotient, out) : area_grays<0>(sums, along, quotient, out);
    return along.channels == 3 ? area_colors<3>(sums, along, quotient, out)
                               : area_colors<4>(sums, along, quotient, out);
}

/// Of four source pixels in a block two by channel as words, from `kPixel` on.
template <size_t kChannels, size_t kPixel> VK_SIMD_INLINE Words by_channel(Bytes pixels) noexcept
{
    static constexpr auto kOrder = order_of<16>([](size_t i) {
        return i % 2 == 0 && i / 4 < kChannels ? (kPixel + i % 4 / 2) * kChannels + i / 4 : size_t{kNone};
    });
    return as<int16_t>(shuffle(pixels, in_blocks<Bytes>(kOrder)));
}

/// A position a block at a time, as long as the 16 bytes of their last taps lie in the row.
template <int32_t kChannels>
int32_t kernel_pixels(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    constexpr auto kStep = static_cast<int32_t>(kBlocksOfStep);
    constexpr int32_t kShift = kNarrowBits - kNarrowFraction;
    const auto half = all<Numbers>(1 << (kShift - 1));
    const int32_t groups = along.pitch / kTapGroup;
    const int64_t bytes = int64_t{along.source} * kChannels;
    const int64_t reach = int64_t{kTapGroup} * kChannels * (groups - 1) + 16;
    const int16_t* weights = along.weights;
    int32_t i = 0;
    for (; i + kStep < along.count; i += kStep, weights += kStep * along.pitch, out += kStep * kChannels) {
        const int64_t at0 = int64_t{along.first[i]} * kChannels;
        const int64_t at1 = int64_t{along.first[i + kStep - 1]} * kChannels;
        if (at1 + reach > bytes || at0 + reach > bytes)
            break;
        Numbers sums = half;
        for (int32_t g = 0; g < groups; ++g) {
            const int32_t tap = g * kTapGroup;
            const Bytes pixels = blocks_of<Bytes>([&](size_t block) noexcept {
                return load<Quad<uint8_t>>(lanes + (block == 0 ? at0 : at1) + tap * kChannels);
            });
            const Numbers both = blocks_of<Numbers>([&](size_t block) noexcept {
                return load_first<Quad<int32_t>, 8>(weights + tap + (block == 0 ? 0 : along.pitch));
            });
            sums += mul_pairs(by_channel<kChannels, 0>(pixels), as<int16_t>(of_block<0>(both))) +
                    mul_pairs(by_channel<kChannels, 2>(pixels), as<int16_t>(of_block<1>(both)));
        }
        const Words values = pack(sums >> kShift, sums >> kShift);
        if constexpr (kStep == 1) {
            store_first<8>(out, values);
        } else {
            store_first<8>(out, low_half(values));
            store_first<8>(out + kChannels, high_half(values));
        }
    }
    return i;
}

/// One lane: as many positions of up to four taps as there are lanes of 32 bits at a time.
int32_t kernel_grays(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    constexpr auto kStep = static_cast<int32_t>(Numbers::kLanes);
    constexpr int32_t kShift = kNarrowBits - kNarrowFraction;
    if (along.pitch != kTapGroup)
        return 0;
    const auto half = all<Numbers>(1 << (kShift - 1)), last = all<Numbers>(along.source - kTapGroup);
    int32_t i = 0;
    for (; i + kStep <= along.count; i += kStep) {
        const Numbers from = load<Numbers>(along.first + i);
        if (any(from > last))
            break;
        const Bytes pixels = as<uint8_t>(gather(lanes, from)); // each position's four bytes
        const int16_t* const w = along.weights + i * kTapGroup;
        const Numbers low = mul_pairs(as<int16_t>(widen(low_half(pixels))), load<Words>(w));
        const Numbers high = mul_pairs(as<int16_t>(widen(high_half(pixels))), load<Words>(w + kWords));
        const Numbers sums = unpacked(every_other_in_blocks<0>(low, high) + every_other_in_blocks<1>(low, high));
        const Numbers values = (sums + half) >> kShift;
        store(out + i, low_half(unpacked(pack(values, values))));
    }
    return i;
}

int32_t kernel_row(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    if (along.channels == 1)
        return kernel_grays(lanes, along, out);
    return along.channels == 3 ? kernel_pixels<3>(lanes, along, out) : kernel_pixels<4>(lanes, along, out);
}

/// Lanes of `kPairs` pairs of rows (0: `pairs` of them), as words.
template <int32_t kPairs>
VK_SIMD_INLINE Words down(const int16_t* const* rows, const Words* weights, int32_t pairs, size_t at) noexcept
{
    constexpr int32_t kShift = kNarrowBits + kNarrowFraction;
    Numbers low = all<Numbers>(1 << (kShift - 1));
    Numbers high = low;
    for (int32_t p = 0; p < (kPairs ? kPairs : pairs); ++p) {
        const Words a = load<Words>(rows[2 * p] + at), b = load<Words>(rows[2 * p + 1] + at);
        low += mul_pairs(interleave_low(a, b), weights[p]);
        high += mul_pairs(interleave_high(a, b), weights[p]);
    }
    return pack(low >> kShift, high >> kShift);
}

template <int32_t kPairs>
size_t rows_down(const int16_t* const* rows, const Words* weights, int32_t pairs, uint8_t* out, size_t count) noexcept
{
    size_t i = 0;
    for (; i + kWidth <= count; i += kWidth) {
        const Words first = down<kPairs>(rows, weights, pairs, i);
        const Words second = down<kPairs>(rows, weights, pairs, i + kWords);
        store(out + i, unpacked(pack_unsigned(first, second)));
    }
    return i;
}

size_t kernel_rows(const int16_t* const* rows, const int16_t* weights, int32_t taps, uint8_t* out,
                   size_t count) noexcept
{
    Words pairs[kMostNarrowTaps / 2];
    const int32_t used = taps / 2;
    for (int32_t p = 0; p < used; ++p)
        pairs[p] = pair_of(weights[2 * p], weights[2 * p + 1]);
    return used == 2 ? rows_down<2>(rows, pairs, used, out, count) : rows_down<0>(rows, pairs, used, out, count);
}

} // namespace

const ByteLoops byte_loops = {sum_rows, area_row, kernel_row, kernel_rows};

} // namespace vk::resample::VK_SIMD_SET
