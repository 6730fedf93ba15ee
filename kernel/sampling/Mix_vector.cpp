// Mixing numbers of a byte: the arithmetic of Mix.h in vectors, a sample to a lane of 32 bits, where its weights stand
// in pairs. Behind a patch's last sample there is nothing that may be looked at, but its positions may be read; lanes
// without a sample look at the patch's first cell.
#include "kernel/sampling/Mix.h"
#include "simd/Lowest.h"
#include "simd/Simd.h"

namespace vk::sampling::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Numbers = Wide<int32_t>;

constexpr auto kLanes = static_cast<int32_t>(Numbers::kLanes);

template <class V = Numbers> VK_SIMD_INLINE V number(int32_t value) noexcept
{
    return all<V>(value);
}

/// Rounded and without `Bits` bits.
template <int Bits, class V> VK_SIMD_INLINE V dropped(V sum) noexcept
{
    return (sum + number<V>(1 << (Bits - 1))) >> Bits;
}

/// Two numbers of 16 bits, the second in the upper half.
template <class V> VK_SIMD_INLINE auto paired(V first, V second) noexcept
{
    return arrange<[](size_t i) { return i % 2 == 0 ? i : 2 * V::kLanes + i; }>(as<int16_t>(first),
                                                                                as<int16_t>(second << 16));
}

/// Bytes from a patch's origin to samples, which are cells of `size` bytes.
VK_SIMD_INLINE Numbers offsets_of(const Patch& patch, int32_t i, int32_t size) noexcept
{
    const auto whole = [i](const int32_t* positions, int32_t first) noexcept {
        return (load<Numbers>(positions + i) >> kFractionBits) - number(first);
    };
    return whole(patch.y, patch.top) * number(static_cast<int32_t>(patch.stride)) +
           whole(patch.x, patch.left) * number(size);
}

VK_SIMD_INLINE Numbers fractions_of(const int32_t* positions) noexcept
{
    return load<Numbers>(positions) & number(kOne - 1);
}

/// The four weights of samples, in pairs: those of each row of cells.
struct LinearPairs {
    Numbers upper;
    Numbers lower;

    VK_SIMD_INLINE LinearPairs(const Patch& patch, int32_t i) noexcept
    {
        constexpr int kDropped = kFractionBits - kWeightBits;
        const Numbers x = dropped<kDropped>(fractions_of(patch.x + i));
        const Numbers y = dropped<kDropped>(fractions_of(patch.y + i));
        const Numbers last = dropped<kWeightBits>(mul_pairs(as<int16_t>(x), as<int16_t>(y))); // below 2^15 each
        const Numbers second = x - last;
        upper = as<int32_t>(paired(number(1 << kWeightBits) - y - second, second));
        lower = as<int32_t>(paired(y - last, last));
    }
};

/// The four weights of samples along one axis, in pairs.
struct CubicPairs {
    Numbers outer; ///< of the first two
    Numbers inner; ///< of the last two

    explicit VK_SIMD_INLINE CubicPairs(const int32_t* positions) noexcept
    {
        constexpr int kHalfBits = 18;
        constexpr int kDropped = kHalfBits + kFractionBits - kWeightBits;
        const Numbers f = fractions_of(positions);
        const Numbers g = number(kOne) - f;
        const Numbers half = as<int32_t>(as<uint32_t>(f * g) >> (2 * kFractionBits + 1 - kHalfBits));
        const Numbers slope = f + f + f - number(kOne);
        const Numbers first = -dropped<kDropped>(half * g);
        const Numbers last = -dropped<kDropped>(half * f);
        const Numbers third = ((f + number(2)) >> (kFractionBits - kWeightBits)) + dropped<kDropped>(half * slope);
        outer = as<int32_t>(paired(first, number(1 << kWeightBits) - (first + third + last)));
        inner = as<int32_t>(paired(third, last));
    }
};

template <class V> VK_SIMD_INLINE V weighted(Vec<uint8_t, V::kBytes> numbers, V weights) noexcept
{
    return mul_pairs(as<int16_t>(numbers), as<int16_t>(weights));
}

/// So many samples of a patch, from its sample `i` on.
Patch part_of(const Patch& patch, int32_t i, size_t count) noexcept
{
    Patch part = patch;
    part.x += i;
    part.y += i;
    part.count = static_cast<int32_t>(count);
    return part;
}

// ---- one number a cell ----

/// Bytes k and k + 1 of each gathered word, as two numbers of 16 bits.
template <size_t kByte> VK_SIMD_INLINE Bytes bytes_of(Numbers words) noexcept
{
    static constexpr auto kOrder =
        order_of<16>([](size_t i) { return i % 2 == 0 ? i / 4 * 4 + kByte + i % 4 / 2 : size_t{kNone}; });
    return shuffle(as<uint8_t>(words), in_blocks<Bytes>(kOrder));
}

void linear_1(const Patch& patch, const CellKind&, uint8_t* out) noexcept
{
    for_lanes(
        patch.count, [&](int32_t i, auto part) __attribute__((always_inline)) {
            const Numbers offsets = part.keep(offsets_of(patch, i, 1));
            const LinearPairs weights(patch, i);
            const Numbers sum = weighted(bytes_of<0>(gather(patch.origin, offsets)), weights.upper) +
                                weighted(bytes_of<0>(gather(patch.origin + patch.stride, offsets)), weights.lower);
            store_lowest<1>(out + i, as<uint32_t>(dropped<kWeightBits>(sum)), part.count);
        });
}

void cubic_1(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const Numbers most = number(static_cast<int32_t>(kind.most));
    const Numbers before = number(static_cast<int32_t>(patch.stride) + 1);
    for_lanes(
        patch.count, [&](int32_t i, auto part) __attribute__((always_inline)) {
            const Numbers offsets = part.keep(offsets_of(patch, i, 1) - before);
            const CubicPairs across(patch.x + i);
            const CubicPairs down(patch.y + i);
            const auto row = [&](size_t j) noexcept {
                const Numbers cells = gather(patch.origin + j * patch.stride, offsets);
                return dropped<kWeightBits - kRowBits>(weighted(bytes_of<0>(cells), across.outer) +
                                                       weighted(bytes_of<2>(cells), across.inner));
            };
            const Numbers sum = mul_pairs(paired(row(0), row(1)), as<int16_t>(down.outer)) +
                                mul_pairs(paired(row(2), row(3)), as<int16_t>(down.inner));
            const Numbers mixed = dropped<kWeightBits + kRowBits>(sum);
            store_lowest<1>(out + i, as<uint32_t>(max(min(mixed, most), Numbers{})), part.count);
        });
}

// ---- three or four numbers a cell ----

/// Where numbers c of two cells next to each other go, as two of 16 bits: of cells that begin `kAt` bytes into a block.
template <size_t kSize, size_t kAt, class V> VK_SIMD_INLINE V in_pairs(V cells) noexcept
{
    static constexpr auto kOrder = order_of<16>(
        [](size_t i) { return i % 2 == 0 && i / 4 < kSize ? kAt + i / 4 + i % 4 / 2 * kSize : size_t{kNone}; });
    return shuffle(cells, in_blocks<V>(kOrder));
}

/// Colours of cells with different alpha, in the way of Mix.h. `pairs` are the numbers of two rows of cells of a sample
/// a block; what comes out is exact where some alpha is not 0.
VK_SIMD_INLINE Numbers mix_by_alpha(const Bytes (&pairs)[2], Numbers upper, Numbers lower, Numbers plain) noexcept
{
    static constexpr auto kAlphas = order_of<16>([](size_t i) { return i < 12 ? 12 + i % 4 : size_t{kNone}; });
    const auto one = lanes_of<Numbers>([](size_t i) noexcept { return i % 4 == 3 ? 0x00010001 : 0; });
    const auto products = [&](Bytes cells) noexcept { // of colours and alpha; alpha itself in the last place
        const auto by = as<int16_t>(shuffle(cells, in_blocks<Bytes>(kAlphas)) | as<uint8_t>(one));
        return as<uint8_t>((as<int16_t>(cells) * by) ^ all<Wide<int16_t>>(INT16_MIN));
    };
    const Numbers middle = number(32768 << kWeightBits);
    Numbers sum = weighted(products(pairs[0]), upper) + weighted(products(pairs[1]), lower) + middle;
    const Numbers alpha = of_block<3>(sum);
    // The quotient in floats is off by less than one.
    sum = sum + as<int32_t>(as<uint32_t>(alpha) >> 1);
    const Numbers quotient = cut_off(to_float(sum) / to_float(alpha));
    const Numbers rest = sum - quotient * alpha;
    const Numbers mixed = quotient + (rest >> 31) + keep(rest >= alpha, number(1));
    return arrange<[](size_t i) { return i % 4 == 3 ? Numbers::kLanes + i : i; }>(mixed, plain);
}

/// The sums of every fourth lane's sample, a sample to a block, to cells.
template <size_t kSize>
VK_SIMD_INLINE void store_cells(uint8_t* out, const Numbers (&sums)[4], uint32_t most, size_t count) noexcept
{
    const Bytes cells = pack_unsigned(pack(sums[0], sums[1]), pack(sums[2], sums[3]));
    store_lowest<kSize>(out, as<uint32_t>(min(cells, all<Bytes>(static_cast<uint8_t>(most)))), count);
}

/// Mixes a step of samples.
template <size_t kSize, bool kAlpha, class Part>
VK_SIMD_INLINE void mix_step(const Patch& patch, const CellKind& kind, int32_t i, Part part, uint8_t* out) noexcept
{
    const Places places(part.keep(offsets_of(patch, i, kSize)));
    const LinearPairs weights(patch, i);
    // Two cells next to each other of a row, of two samples a block: the first two of four, or the last two.
    const auto row = [&]<bool kLast>(const uint8_t* origin) noexcept {
        return as<uint8_t>(places.template load<kLast>(origin));
    };
    const uint8_t* const below = patch.origin + patch.stride;
    Bytes upper[2], lower[2];
    upper[0] = row.template operator()<false>(patch.origin);
    lower[0] = row.template operator()<false>(below);
    upper[1] = row.template operator()<true>(patch.origin);
    lower[1] = row.template operator()<true>(below);
    const bool is_mixed =
        kAlpha && !has_bits(as<uint32_t>(upper[0] & upper[1] & lower[0] & lower[1]), all<Wide<uint32_t>>(0xFF000000u));
    Numbers sums[4];
    Numbers alphas = number(1);
    const auto mix = [&]<size_t kSample>() noexcept {
        constexpr size_t kAt = kSample % 2 * 8;
        const Numbers above = of_block<kSample>(weights.upper), beneath = of_block<kSample>(weights.lower);
        const Bytes pairs[] = {in_pairs<kSize, kAt>(upper[kSample / 2]), in_pairs<kSize, kAt>(lower[kSample / 2])};
        const Numbers sum = weighted(pairs[0], above) + weighted(pairs[1], beneath);
        sums[kSample] = dropped<kWeightBits>(sum);
        if (is_mixed) {
            alphas = min(alphas, of_block<3>(sum));
            sums[kSample] = mix_by_alpha(pairs, above, beneath, sums[kSample]);
        }
    };
    mix.template operator()<0>();
    mix.template operator()<1>();
    mix.template operator()<2>();
    mix.template operator()<3>();
    if (is_mixed && any(alphas == Numbers{})) // nothing visible in one of them
        plain_mix(kind).linear(part_of(patch, i, part.count), kind, out);
    else
        store_cells<kSize>(out, sums, kind.most, part.count);
}

template <size_t kSize, bool kAlpha> void linear(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    for_lanes(
        patch.count, [&](int32_t i, auto part) __attribute__((always_inline)) {
            mix_step<kSize, kAlpha>(patch, kind, i, part, out + static_cast<size_t>(i) * kSize);
        });
}

/// Vectors of a row of cells a block, or of two: those of a sample are four.
constexpr size_t kRowBytes = kWidth < 32 ? kWidth : 32;
using RowNumbers = Vec<int32_t, kRowBytes / 4>;
using RowBytes = Vec<uint8_t, kRowBytes>;

/// Four rows of cells from `origin` on: of two blocks, those of the first vector are rows 0 and 2.
template <size_t kSize> class CubicRows {
public:
    VK_SIMD_INLINE CubicRows(const uint8_t* origin, size_t stride) noexcept
    {
        for (size_t k = 0; k < kVectors; ++k)
            rows_[k] = blocks_of<RowBytes>(
                [&](size_t block) noexcept { return load<Quad<uint8_t>>(origin + (2 * block + k) * stride); });
    }
    VK_SIMD_INLINE RowNumbers opaque() const noexcept
    {
        if constexpr (kVectors == 2)
            return as<int32_t>(rows_[0] & rows_[1]);
        else
            return as<int32_t>(rows_[0] & rows_[1] & rows_[2] & rows_[3]);
    }
    /// The mixed numbers, with the weights of columns and of rows, each in pairs.
    VK_SIMD_INLINE Quad<int32_t> mixed(const int32_t (&across)[2], const int32_t (&down)[2]) const noexcept
    {
        const auto pair = [&](size_t first) noexcept { return paired(row(first, across), row(first + 1, across)); };
        if constexpr (kVectors == 2) {
            const auto sums =
                mul_pairs(pair(0), as<int16_t>(both(all<Quad<int32_t>>(down[0]), all<Quad<int32_t>>(down[1]))));
            return low_half(sums) + high_half(sums);
        } else {
            return mul_pairs(pair(0), as<int16_t>(all<RowNumbers>(down[0]))) +
                   mul_pairs(pair(2), as<int16_t>(all<RowNumbers>(down[1])));
        }
    }

private:
    static constexpr size_t kVectors = 64 / kRowBytes;

    VK_SIMD_INLINE RowNumbers row(size_t k, const int32_t (&across)[2]) const noexcept
    {
        return dropped<kWeightBits - kRowBits>(
            weighted(in_pairs<kSize, 0>(rows_[k]), all<RowNumbers>(across[0])) +
            weighted(in_pairs<kSize, 2 * kSize>(rows_[k]), all<RowNumbers>(across[1])));
    }

    RowBytes rows_[kVectors];
};

/// Samples of which colours are mixed once more, by alpha, unless all are opaque.
constexpr size_t kTogether = RowNumbers::kLanes;

template <size_t kSize, bool kAlpha> void cubic(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const auto alpha_mask = all<RowNumbers>(static_cast<int32_t>(0xFF000000u));
    const Numbers before = number(static_cast<int32_t>(patch.stride + kSize));
    for_lanes(
        patch.count, [&](int32_t i, auto part) __attribute__((always_inline)) {
            const CubicPairs across(patch.x + i);
            const CubicPairs down(patch.y + i);
            alignas(kWidth) int32_t offsets[kLanes];
            alignas(kWidth) int32_t weights[4][kLanes];
            store(offsets, part.keep(offsets_of(patch, i, kSize) - before));
            store(weights[0], across.outer);
            store(weights[1], across.inner);
            store(weights[2], down.outer);
            store(weights[3], down.inner);
            Quad<int32_t> made[kLanes];
            RowNumbers alphas[kLanes / kTogether];
            for (size_t first = 0; first < kLanes; first += kTogether) {
                RowNumbers opaque = alpha_mask;
                for (size_t k = first; k < first + kTogether; ++k) {
                    const CubicRows<kSize> rows(patch.origin + offsets[k], patch.stride);
                    opaque = opaque & rows.opaque();
                    made[k] = rows.mixed({weights[0][k], weights[1][k]}, {weights[2][k], weights[3][k]});
                }
                alphas[first / kTogether] = opaque;
            }
            Numbers sums[4];
            for (size_t k = 0; k < 4; ++k)
                sums[k] = dropped<kWeightBits + kRowBits>(
                    blocks_of<Numbers>([&](size_t block) noexcept { return made[4 * block + k]; }));
            uint8_t* const cells = out + static_cast<size_t>(i) * kSize;
            store_cells<kSize>(cells, sums, kind.most, part.count);
            if (!kAlpha || has_bits(alphas[0] & alphas[kLanes / kTogether - 1], alpha_mask))
                return;
            for (size_t first = 0; first < part.count; first += kTogether)
                if (!has_bits(alphas[first / kTogether], alpha_mask))
                    wide_mixing.byte_colors(part_of(patch, i + static_cast<int32_t>(first),
                                                    part.count - first < kTogether ? part.count - first : kTogether),
                                            kind, cells + first * kSize);
        });
}

/// Three numbers a cell and a byte that comes from the nearest one, which takes its place among the mixed.
template <Mix kMix> void carry_last(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    kMix(patch, kind, out);
    const Numbers last = number(static_cast<int32_t>(0xFF000000u)), middle = number(kOne / 2);
    for_lanes(
        patch.count, [&](int32_t i, auto part) __attribute__((always_inline)) {
            const Numbers right = keep(fractions_of(patch.x + i) > middle, number(4));
            const Numbers below = keep(fractions_of(patch.y + i) > middle, number(static_cast<int32_t>(patch.stride)));
            const Numbers nearest = gather(patch.origin, part.keep(offsets_of(patch, i, 4) + right + below));
            uint8_t* const cells = out + static_cast<size_t>(i) * 4;
            uint8_t mixed[kWidth] = {};
            __builtin_memcpy(mixed, cells, part.count * 4);
            const Numbers made = (load<Numbers>(mixed) & ~last) | (nearest & last);
            store_lowest<4>(cells, as<uint32_t>(made), part.count);
        });
}

MixLoops loops_for(const CellKind& kind) noexcept
{
    if (kind.lane_bytes == 2)
        return {nullptr, wide_mixing.cubic(kind)};
    if (kind.lane_bytes != 1 || (kind.carried && kind.size != 4))
        return {};
    if (kind.carried)
        return {carry_last<linear<4, false>>, carry_last<cubic<4, false>>};
    if (kind.size == 1)
        return {linear_1, cubic_1};
    if (kind.size == 3)
        return {linear<3, false>, cubic<3, false>};
    return kind.alpha ? MixLoops{linear<4, true>, cubic<4, true>} : MixLoops{linear<4, false>, cubic<4, false>};
}

} // namespace

const Mixing mixing = {loops_for};

} // namespace vk::sampling::VK_SIMD_SET
