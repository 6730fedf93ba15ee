// Cubic mixing of numbers of two bytes, and of colours by their alpha: the arithmetic of Mix.h in vectors, a channel to
// a lane, or of single numbers a cell. Whole numbers are summed as reals, which is exact because none has more bits
// than a real: those of columns come in two parts by the weights of rows, whose last kLowerBits are apart. Half of the
// last bit is in every sum that loses bits, so that none is a tie and the processor's own rounding does.
#include "kernel/sampling/Mix.h"
#include "simd/Divide.h"
#include "simd/Fold.h"
#include "simd/Round.h"
#include "simd/Simd.h"

namespace vk::sampling::VK_SIMD_SET {

namespace {

using namespace simd;

using Four = Vec<double, 4>;
using Sums = Vec<int64_t, 4>;
using Cell = Quad<uint32_t>;
using Numbers = Wide<int32_t>;
using Reals = Wide<double>;

constexpr auto kGroup = static_cast<int32_t>(Numbers::kLanes);
constexpr int kLowerBits = 11;
constexpr int kDropped = 16; ///< of rows of products with alpha

/// 2^-bits.
constexpr double unit(int bits) noexcept
{
    return 1.0 / static_cast<double>(uint64_t{1} << bits);
}

/// The same real in all lanes: less zero, which changes none, unlike zero and it.
VK_SIMD_INLINE Four each(double value) noexcept
{
    return {value - Four::Raw{}};
}

/// The weights of a group of samples, tap by tap, and where their first cells lie.
class Group {
public:
    VK_SIMD_INLINE Group(const Patch& patch, const CellKind& kind, int32_t i) noexcept
    {
        const auto number = [](int32_t value) noexcept { return all<Numbers>(value); };
        const auto whole = [&](const int32_t* positions, int32_t first) noexcept {
            return (load<Numbers>(positions + i) >> kFractionBits) - number(first + 1);
        };
        store(offsets_, whole(patch.y, patch.top) * number(static_cast<int32_t>(patch.stride)) +
                            whole(patch.x, patch.left) * number(kind.size));
        const Numbers x = load<Numbers>(patch.x + i) & number(kOne - 1);
        const Numbers y = load<Numbers>(patch.y + i) & number(kOne - 1);
        weigh<0>(to_double(low_half(x)), to_double(low_half(y)));
        weigh<1>(to_double(high_half(x)), to_double(high_half(y)));
    }

    int32_t offset(int32_t sample) const noexcept { return offsets_[sample]; }
    double across(size_t tap, int32_t sample) const noexcept { return across_[tap][sample]; }
    double lower(size_t tap, int32_t sample) const noexcept { return lower_[tap][sample]; }
    double upper(size_t tap, int32_t sample) const noexcept { return upper_[tap][sample]; }

private:
    /// WideCubic's weights.
    static VK_SIMD_INLINE void cubic(Reals f, Reals (&of)[4]) noexcept
    {
        const auto number = [](double value) noexcept { return all<Reals>(value); };
        const auto rounded = [&](Reals weight) noexcept {
            return rounded_to_whole((weight + number(0.5)) * number(unit(3 * kFractionBits + 1 - kWideBits)));
        };
        const Reals g = number(kOne) - f, both_parts = f * g;
        of[0] = Reals{} - rounded(both_parts * g);
        of[2] = rounded(f * number(2.0 * kOne * kOne) + both_parts * (f * number(3) - number(kOne)));
        of[3] = Reals{} - rounded(both_parts * f);
        of[1] = number(1 << kWideBits) - of[0] - of[2] - of[3];
    }
    template <size_t kHalf> VK_SIMD_INLINE void weigh(Reals x, Reals y) noexcept
    {
        Reals columns[4], rows[4];
        cubic(x, columns);
        cubic(y, rows);
        for (size_t k = 0; k < 4; ++k) {
            const Reals upper = rounded_to_whole(rows[k] * all<Reals>(unit(kLowerBits)));
            store(across_[k] + kHalf * Reals::kLanes, columns[k]);
            store(upper_[k] + kHalf * Reals::kLanes, upper);
            store(lower_[k] + kHalf * Reals::kLanes, rows[k] - upper * all<Reals>(1 << kLowerBits));
        }
    }

    alignas(kWidth) int32_t offsets_[kGroup];
    alignas(kWidth) double across_[4][kGroup];
    alignas(kWidth) double lower_[4][kGroup];
    alignas(kWidth) double upper_[4][kGroup];
};

template <class Lane> VK_SIMD_INLINE Cell load_cell(const uint8_t* at) noexcept
{
    if constexpr (sizeof(Lane) == 1)
        return low_half(widen(low_half(widen(load_first<Quad<uint8_t>, 4>(at)))));
    else
        return low_half(widen(load_first<Quad<uint16_t>, 8>(at)));
}
VK_SIMD_INLINE Four reals_of(Cell numbers) noexcept
{
    return to_double(as<int32_t>(numbers));
}

/// Sums of columns in two parts.
struct Parts {
    Four lower{}, upper{};

    VK_SIMD_INLINE void add(Four row, const Group& group, size_t tap, int32_t sample) noexcept
    {
        lower = mul_add(row, each(group.lower(tap, sample)), lower);
        upper = mul_add(row, each(group.upper(tap, sample)), upper);
    }
    VK_SIMD_INLINE Sums whole() const noexcept { return nearest_whole(lower) + (nearest_whole(upper) << kLowerBits); }

    /// Without the weights' bits.
    VK_SIMD_INLINE Sums rounded() const noexcept
    {
        constexpr int kRest = 2 * kWideBits;
        const Four scaled = upper * each(unit(kRest - kLowerBits));
        const Four above = rounded_to_whole(scaled);
        return nearest_whole(above) + nearest_whole((scaled - above) + (lower + each(0.5)) * each(unit(kRest)));
    }
};

/// The lowest words of sums, kept in their range, of which there are as many as bytes say.
template <size_t kBytes> VK_SIMD_INLINE void put_words(uint8_t* out, Sums sums) noexcept
{
    const auto numbers = low_half(arrange<[](size_t i) { return i < 4 ? 2 * i : 0; }>(as<int32_t>(sums)));
    const auto words = pack_unsigned(numbers, numbers);
    __builtin_memcpy(out, &words, kBytes);
}

template <size_t kSize> void cubic_cells(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    for (int32_t i = 0; i < patch.count; i += kGroup) {
        const Group group(patch, kind, i);
        const int32_t count = patch.count - i < kGroup ? patch.count - i : kGroup;
        for (int32_t k = 0; k < count; ++k, out += kSize) {
            const uint8_t* row = patch.origin + group.offset(k);
            Parts parts;
            for (size_t j = 0; j < 4; ++j, row += patch.stride) {
                Four sum{};
                for (size_t t = 0; t < 4; ++t)
                    sum = mul_add(reals_of(load_cell<uint16_t>(row + t * kSize)), each(group.across(t, k)), sum);
                parts.add(sum, group, j, k);
            }
            put_words<kSize>(out, parts.rounded());
        }
    }
}

/// One number a cell: those of a row next to each other, then rows, then four samples.
void cubic_numbers(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const auto most = all<Sums>(kind.most);
    for (int32_t i = 0; i < patch.count; i += kGroup) {
        const Group group(patch, kind, i);
        const int32_t count = patch.count - i < kGroup ? patch.count - i : kGroup;
        for (int32_t first = 0; first < count; first += 4, out += 8) {
            Four lower[4], upper[4];
            for (int32_t s = 0; s < 4; ++s) {
                const int32_t k = first + s < count ? first + s : first;
                const Four across{{group.across(0, k), group.across(1, k), group.across(2, k), group.across(3, k)}};
                const uint8_t* const row = patch.origin + group.offset(k);
                const auto weighed = [&](size_t j) noexcept {
                    return reals_of(load_cell<uint16_t>(row + j * patch.stride)) * across;
                };
                const Four rows = folded({weighed(0), weighed(1), weighed(2), weighed(3)});
                lower[s] = rows * Four{{group.lower(0, k), group.lower(1, k), group.lower(2, k), group.lower(3, k)}};
                upper[s] = rows * Four{{group.upper(0, k), group.upper(1, k), group.upper(2, k), group.upper(3, k)}};
            }
            const Sums mixed = Parts{folded(lower), folded(upper)}.rounded();
            uint8_t words[8];
            put_words<8>(words, select(mixed > most, most, mixed));
            __builtin_memcpy(out, words, static_cast<size_t>(count - first < 4 ? count - first : 4) * 2);
        }
    }
}

/// What a sample's colours are by its alpha: products of these are summed, and alpha alone in the last lane.
template <class Lane> struct ByAlpha {
    Cell common = ~Cell{}, any_of{}; ///< bits of all cells, and of some
    Sums sums;

    VK_SIMD_INLINE ByAlpha(const Patch& patch, const Group& group, int32_t k) noexcept
    {
        constexpr size_t kSize = 4 * sizeof(Lane);
        const auto last = lanes_of<Cell>([](size_t lane) noexcept { return lane == 3 ? 1u : 0u; });
        const auto colors = lanes_of<Cell>([](size_t lane) noexcept { return lane == 3 ? 0u : ~0u; });
        const uint8_t* row = patch.origin + group.offset(k);
        Parts parts;
        for (size_t j = 0; j < 4; ++j, row += patch.stride) {
            Four lower = each(0.5), upper{};
            for (size_t t = 0; t < 4; ++t) {
                const Cell cell = load_cell<Lane>(row + t * kSize);
                common = common & cell;
                any_of |= cell;
                const Cell products = cell * ((of_block<3>(cell) & colors) | last);
                const Four weight = each(group.across(t, k));
                if constexpr (sizeof(Lane) == 1) {
                    lower = mul_add(reals_of(products), weight, lower);
                } else {
                    lower = mul_add(reals_of(products & all<Cell>(0xFFFF)), weight, lower);
                    upper = mul_add(reals_of(products >> 16), weight, upper);
                }
            }
            parts.add(upper + rounded_to_whole(lower * each(unit(kDropped))), group, j, k);
        }
        sums = parts.whole();
    }
    /// Whether they are not the colours without alpha.
    VK_SIMD_INLINE bool counts() const noexcept { return common.raw[3] != any_of.raw[3] && sums.raw[3] > 0; }
};

template <class Lane> void colors_by_alpha(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    const auto most = all<Sums>(kind.most);
    for (int32_t i = 0; i < patch.count; i += kGroup) {
        const Group group(patch, kind, i);
        const int32_t count = patch.count - i < kGroup ? patch.count - i : kGroup;
        for (int32_t k = 0; k < count; ++k, out += 4 * sizeof(Lane)) {
            const ByAlpha<Lane> mixed(patch, group, k);
            if (!mixed.counts())
                continue;
            const auto alpha = all<Sums>(mixed.sums.raw[3]);
            const Sums positive = keep(mixed.sums > Sums{}, mixed.sums);
            const Sums means = few_quotients(positive + as<int64_t>(as<uint64_t>(alpha) >> 1), alpha);
            const Sums kept = select(means > most, most, means);
            if constexpr (sizeof(Lane) == 2)
                put_words<6>(out, kept);
            else
                for (size_t c = 0; c < 3; ++c)
                    out[c] = static_cast<uint8_t>(kept.raw[c]);
        }
    }
}

void cubic_with_alpha(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    cubic_cells<8>(patch, kind, out);
    colors_by_alpha<uint16_t>(patch, kind, out);
}

Mix cubic_for(const CellKind& kind) noexcept
{
    if (kind.lane_bytes != 2 || kind.carried)
        return nullptr;
    if (kind.channels == 1)
        return cubic_numbers;
    return kind.channels == 3 ? cubic_cells<6> : cubic_with_alpha;
}

} // namespace

const WideMixing wide_mixing = {cubic_for, colors_by_alpha<uint8_t>};

} // namespace vk::sampling::VK_SIMD_SET
