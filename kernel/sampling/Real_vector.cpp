// Loops of Real.h in vectors, a sample to a lane.
#include "kernel/sampling/RealWeights.h"
#include "simd/Lowest.h"
#include "simd/Simd.h"

#include <utility>

namespace vk::sampling::VK_SIMD_SET {

namespace {

using namespace simd;

using Ints = Wide<int32_t>;
using Floats = Wide<float>;
using Doubles = Wide<double>;
using Flags = decltype(Floats{} < Floats{});

VK_SIMD_INLINE Ints number(int32_t value) noexcept
{
    return all<Ints>(value);
}
VK_SIMD_INLINE Floats number(float value) noexcept
{
    return all<Floats>(value);
}
VK_SIMD_INLINE Doubles number(double value) noexcept
{
    return all<Doubles>(value);
}
/// Shifted as unsigned numbers.
VK_SIMD_INLINE Ints logical(Ints a, int bits) noexcept
{
    return as<int32_t>(as<uint32_t>(a) >> bits);
}

/// So many samples of a patch, and where the first of the cells lie that they mix; past the last sample, anywhere.
struct Group {
    Ints offsets;
    Ints x; ///< fractions
    Ints y;

    template <class Part>
    VK_SIMD_INLINE Group(const Patch& patch, int32_t i, int32_t size, int before, Part part) noexcept
    {
        const auto whole = [](const int32_t* positions, int32_t first) noexcept {
            return (load<Ints>(positions) >> kFractionBits) - number(first);
        };
        const Ints rows = whole(patch.y + i, patch.top) * number(static_cast<int32_t>(patch.stride));
        const Ints columns = whole(patch.x + i, patch.left) * number(size);
        const auto skipped = before * (static_cast<int32_t>(patch.stride) + size);
        const Ints lanes = lanes_of<Ints>([](size_t lane) noexcept { return lane; });
        offsets = part.keep(rows + columns - number(skipped));
        const auto fraction = [&](uint32_t start, uint32_t step) noexcept {
            const auto at = static_cast<int32_t>(start + static_cast<uint32_t>(i) * step);
            const Ints positions = number(at) + lanes * number(static_cast<int32_t>(step));
            return positions & number(int32_t{kLineOne - 1});
        };
        x = fraction(patch.line.x, patch.line.step_x);
        y = fraction(patch.line.y, patch.line.step_y);
    }
};

VK_SIMD_INLINE Floats fraction_of(Ints position) noexcept
{
    return to_float(position) * number(1.0F / kLineOne);
}

/// A row of cells of so many samples, of which each vector has four bytes.
template <class Lane, int32_t kSize, int kTaps> struct Row {
    static constexpr int kWords = (kTaps * kSize + 3) / 4;
    Ints words[kWords];

    Row(const uint8_t* origin, Ints offsets) noexcept
    {
        for (int i = 0; i < kWords; ++i)
            words[i] = gather(origin + 4 * i, offsets);
    }
    /// A channel of a cell.
    template <int kTap, int kChannel> VK_SIMD_INLINE Ints value() const noexcept
    {
        constexpr int kBits = 8 * sizeof(Lane);
        constexpr int kByte = kTap * kSize + kChannel * int{sizeof(Lane)};
        constexpr int kAt = kByte % 4 * 8;
        Ints word = words[kByte / 4];
        if constexpr (kAt != 0)
            word = logical(word, kAt);
        if constexpr (kAt + kBits != 32)
            word = word & number((1 << kBits) - 1);
        return word;
    }
};

/// Calls run.template operator()<tap>() for each.
template <int kTaps, class Run> void for_taps(const Run& run) noexcept
{
    [&]<int... kTap>(std::integer_sequence<int, kTap...>) noexcept
    {
        (run.template operator()<kTap>(), ...);
    }
    (std::make_integer_sequence<int, kTaps>());
}

/// Blue, green, red, and alpha where there is one, of as many samples; or a gray level alone.
template <int kChannels> struct Colors {
    Floats of[kChannels];

    void weigh(Floats weight) noexcept
    {
        for (Floats& channel : of)
            channel = channel * weight;
    }
    void add(const Colors& other) noexcept
    {
        for (int c = 0; c < kChannels; ++c)
            of[c] = of[c] + other.of[c];
    }
};

template <int kTap, int kChannels, bool kAlpha, class Cells> Colors<kChannels> colors_of(const Cells& row) noexcept
{
    Colors<kChannels> colors;
    colors.of[0] = to_float(row.template value<kTap, 0>());
    if constexpr (kChannels >= 3) {
        colors.of[1] = to_float(row.template value<kTap, 1>());
        colors.of[2] = to_float(row.template value<kTap, 2>());
    }
    if constexpr (kAlpha) {
        const Floats alpha = to_float(row.template value<kTap, 3>()) + number(kAlphaSpare);
        for (int c = 0; c < 3; ++c)
            colors.of[c] = colors.of[c] * alpha;
        colors.of[3] = alpha;
    }
    return colors;
}

/// Levels of mixed colours.
template <int kChannels, bool kAlpha>
void settle(const Colors<kChannels>& sum, const CellKind& kind, Ints (&levels)[kChannels]) noexcept
{
    const Floats most = number(static_cast<float>(kind.most));
    const Floats half = number(0.5F);
    const auto clipped = [&](Floats value) noexcept { return min(max(value, number(0.0F)), most); };
    if constexpr (kAlpha) {
        const Floats scale = number(1.0F) / max(sum.of[3], number(kLeastAlpha));
        for (int c = 0; c < 3; ++c)
            levels[c] = cut_off(clipped(sum.of[c] * scale) + half);
        levels[3] = cut_off(clipped(sum.of[3]) + half);
        return;
    }
    for (int c = 0; c < kChannels; ++c) {
        const Floats value = clipped(sum.of[c]);
        if (kind.steps[c] == 0) {
            levels[c] = cut_off(value + half);
            continue;
        }
        const int32_t steps = kind.steps[c];
        const float share = static_cast<float>(steps) / static_cast<float>(kind.most);
        const Ints level = cut_off(value * number(share) + half);
        const Ints part = level * number(static_cast<int32_t>(kind.most)) + number(steps / 2);
        // Rounded up, the reciprocal is off by too little for numbers up to 63 * 255 + 31 to matter.
        levels[c] = logical(part * number((1 << 20) / steps + 1), 20);
    }
}

/// The cell among the inner four that is nearest.
struct Nearest {
    Flags right;
    Flags below;
    Ints word;

    void see(int j, int i, Ints cell) noexcept
    {
        if (i == 0 && j == 0)
            word = cell;
        else if (j == 0)
            word = select(right, cell, word);
        else
            word = select(below & (i == 0 ? ~right : right), cell, word);
    }
};

/// Colours. `kCarried`: the last of four bytes comes from the nearest cell, or means nothing.
template <class Lane, int kChannels, bool kAlpha, bool kCarried, int kTaps, class Part>
VK_SIMD_INLINE void colors_step(const Patch& patch, const CellKind& kind, int32_t i, Part part, uint8_t* out) noexcept
{
    constexpr int32_t kSize = kCarried ? 4 : kChannels * int32_t{sizeof(Lane)};
    constexpr int kBefore = kTaps == 4 ? 1 : 0;
    const auto single = [](double value) noexcept { return number(static_cast<float>(value)); };
    const Group group(patch, i, kSize, kBefore, part);
    const Floats x = fraction_of(group.x);
    const Floats y = fraction_of(group.y);
    Floats across[kTaps];
    Floats down[kTaps];
    real_weights(x, single, across);
    real_weights(y, single, down);
    [[maybe_unused]] Nearest nearest{x > single(0.5), y > single(0.5), {}};
    Colors<kChannels> sum = {};
    const uint8_t* origin = patch.origin;
    for (int j = 0; j < kTaps; ++j, origin += patch.stride) {
        const Row<Lane, kSize, kTaps> cells(origin, group.offsets);
        const Floats weight = down[j];
        Colors<kChannels> row;
        for_taps<kTaps>([&]<int kTap>() noexcept {
            Colors<kChannels> colors = colors_of<kTap, kChannels, kAlpha>(cells);
            colors.weigh(across[kTap]);
            if constexpr (kTap == 0)
                row = colors;
            else
                row.add(colors);
            if constexpr (kCarried && kTap >= kBefore && kTap <= kBefore + 1)
                if (j >= kBefore && j <= kBefore + 1)
                    nearest.see(j - kBefore, kTap - kBefore, cells.words[kTap]);
        });
        row.weigh(weight);
        if (j == 0)
            sum = row;
        else
            sum.add(row);
    }
    Ints levels[kChannels];
    settle<kChannels, kAlpha>(sum, kind, levels);
    uint8_t* const place = out + i * kSize;
    if constexpr (kChannels == 1) {
        store_lowest<kSize>(place, as<uint32_t>(levels[0]), part.count);
    } else if constexpr (sizeof(Lane) == 2) {
        Ints last = levels[2];
        if constexpr (kAlpha)
            last |= levels[3] << 16;
        store_lowest_of_pairs<kSize>(place, as<uint32_t>(levels[0] | levels[1] << 16), as<uint32_t>(last), part.count);
    } else {
        Ints word = levels[0] | levels[1] << 8 | levels[2] << 16;
        if constexpr (kAlpha)
            word |= levels[3] << 24;
        if constexpr (kCarried)
            word |= logical(nearest.word, 24) << 24;
        store_lowest<kSize>(place, as<uint32_t>(word), part.count);
    }
}

template <class Lane, int kChannels, bool kAlpha, bool kCarried, int kTaps>
void mix_colors(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    for_lanes(
        patch.count, [&](int32_t i, auto part) __attribute__((always_inline)) {
            colors_step<Lane, kChannels, kAlpha, kCarried, kTaps>(patch, kind, i, part, out);
        });
}

/// Half of the numbers, as doubles.
template <bool kUpper> VK_SIMD_INLINE Doubles doubles_of(Ints a) noexcept
{
    return to_double(kUpper ? high_half(a) : low_half(a));
}

/// One number a cell, of a byte or two.
template <class Lane, int kTaps, class Part>
VK_SIMD_INLINE void numbers_step(const Patch& patch, const CellKind& kind, int32_t i, Part part, uint8_t* out) noexcept
{
    constexpr int32_t kSize = sizeof(Lane);
    constexpr int kBefore = kTaps == 4 ? 1 : 0;
    const auto real = [](double value) noexcept { return number(value); };
    const Group group(patch, i, kSize, kBefore, part);
    const auto mixed = [&]<bool kUpper>() noexcept {
        const auto fraction = [&](Ints position) noexcept {
            return doubles_of<kUpper>(position) * number(1.0 / kLineOne);
        };
        Doubles across[kTaps];
        Doubles down[kTaps];
        real_weights(fraction(group.x), real, across);
        real_weights(fraction(group.y), real, down);
        Doubles sum = number(0.0);
        const uint8_t* origin = patch.origin;
        for (int j = 0; j < kTaps; ++j, origin += patch.stride) {
            const Row<Lane, kSize, kTaps> cells(origin, group.offsets);
            Doubles row;
            for_taps<kTaps>([&]<int kTap>() noexcept {
                const Doubles value = doubles_of<kUpper>(cells.template value<kTap, 0>());
                row = kTap == 0 ? value * across[0] : row + value * across[kTap];
            });
            sum = j == 0 ? row * down[0] : sum + row * down[j];
        }
        const Doubles most = number(static_cast<double>(kind.most));
        return min(max(sum + number(0.5), number(0.0)), most);
    };
    const Doubles lower = mixed.template operator()<false>();
    const Doubles upper = mixed.template operator()<true>();
    store_lowest<kSize>(out + i * kSize, as<uint32_t>(both(cut_off(lower), cut_off(upper))), part.count);
}

template <class Lane, int kTaps> void mix_numbers(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    for_lanes(
        patch.count, [&](int32_t i, auto part)
                         __attribute__((always_inline)) { numbers_step<Lane, kTaps>(patch, kind, i, part, out); });
}

template <class Lane, int kChannels, bool kAlpha, bool kCarried> MixLoops colors_loops() noexcept
{
    return {mix_colors<Lane, kChannels, kAlpha, kCarried, 2>, mix_colors<Lane, kChannels, kAlpha, kCarried, 4>};
}

/// The loops for a kind of cells.
MixLoops loops_for(const CellKind& kind) noexcept
{
    const bool is_word = kind.lane_bytes == 2;
    if (kind.channels == 1) {
        if (kind.carried || kind.lane_bytes == 4)
            return {};
        if (kind.is_level)
            return colors_loops<uint8_t, 1, false, false>();
        return is_word ? MixLoops{mix_numbers<uint16_t, 2>, mix_numbers<uint16_t, 4>}
                       : MixLoops{mix_numbers<uint8_t, 2>, mix_numbers<uint8_t, 4>};
    }
    if (is_word)
        return kind.alpha ? colors_loops<uint16_t, 4, true, false>() : colors_loops<uint16_t, 3, false, false>();
    if (kind.alpha)
        return colors_loops<uint8_t, 4, true, false>();
    return kind.size == 4 ? colors_loops<uint8_t, 3, false, true>() : colors_loops<uint8_t, 3, false, false>();
}

} // namespace

const RealMixing real_mixing = {loops_for};

} // namespace vk::sampling::VK_SIMD_SET
