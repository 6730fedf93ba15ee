// Loops of Real.h in vectors, a sample to a lane, for any width. `V` has the vectors: kLanes whole numbers (Ints), as
// many floats, half as many doubles, and what is done to them; floats and doubles know the usual operators. Included by
// the files of the instruction sets alone.
#pragma once

#include "kernel/sampling/Real.h"

#include <utility>

namespace vk::sampling {

template <class V> class RealLanes {
    using Ints = typename V::Ints;
    using Floats = typename V::Floats;
    using Doubles = typename V::Doubles;
    using Flags = typename V::Flags;
    static constexpr int32_t kLanes = V::kLanes;

    /// So many samples of a patch, and where the first of the cells lie that they mix; past the last sample, anywhere.
    struct Group {
        Ints offsets;
        Ints x; ///< fractions
        Ints y;

        Group(const Patch& patch, int32_t i, int32_t size, int before) noexcept
        {
            const auto whole = [](const int32_t* positions, int32_t first) noexcept {
                return V::sub(V::template arithmetic<kFractionBits>(V::load(positions)), V::all(first));
            };
            const Ints rows = V::mul(whole(patch.y + i, patch.top), V::all(static_cast<int32_t>(patch.stride)));
            const Ints columns = V::mul(whole(patch.x + i, patch.left), V::all(size));
            const auto skipped = before * (static_cast<int32_t>(patch.stride) + size);
            offsets = V::first_of(patch.count - i, V::sub(V::add(rows, columns), V::all(skipped)));
            const auto fraction = [i](uint32_t start, uint32_t step) noexcept {
                const auto at = static_cast<int32_t>(start + static_cast<uint32_t>(i) * step);
                const Ints all = V::add(V::all(at), V::mul(V::count(), V::all(static_cast<int32_t>(step))));
                return V::both(all, V::all(kLineOne - 1));
            };
            x = fraction(patch.line.x, patch.line.step_x);
            y = fraction(patch.line.y, patch.line.step_y);
        }
    };

    static Floats fraction_of(Ints position) noexcept { return V::floats(position) * V::number(1.0F / kLineOne); }

    /// A row of cells of so many samples, of which each vector has four bytes.
    template <class Lane, int32_t kSize, int kTaps> struct Row {
        static constexpr int kWords = (kTaps * kSize + 3) / 4;
        Ints words[kWords];

        Row(const uint8_t* origin, Ints offsets) noexcept
        {
            for (int i = 0; i < kWords; ++i)
                words[i] = V::gather(origin + 4 * i, offsets);
        }
        /// A channel of a cell.
        template <int kTap, int kChannel> Ints number() const noexcept
        {
            constexpr int kBits = 8 * sizeof(Lane);
            constexpr int kByte = kTap * kSize + kChannel * int{sizeof(Lane)};
            constexpr int kAt = kByte % 4 * 8;
            Ints word = words[kByte / 4];
            if constexpr (kAt != 0)
                word = V::template logical<kAt>(word);
            if constexpr (kAt + kBits != 32)
                word = V::both(word, V::all((1 << kBits) - 1));
            return word;
        }
    };

    /// Calls run.template operator()<tap>() for each.
    template <int kTaps, class Run> static void for_taps(const Run& run) noexcept
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

    template <int kTap, int kChannels, bool kAlpha, class Cells>
    static Colors<kChannels> colors_of(const Cells& row) noexcept
    {
        Colors<kChannels> colors;
        colors.of[0] = V::floats(row.template number<kTap, 0>());
        if constexpr (kChannels >= 3) {
            colors.of[1] = V::floats(row.template number<kTap, 1>());
            colors.of[2] = V::floats(row.template number<kTap, 2>());
        }
        if constexpr (kAlpha) {
            const Floats alpha = V::floats(row.template number<kTap, 3>()) + V::number(kAlphaSpare);
            for (int c = 0; c < 3; ++c)
                colors.of[c] = colors.of[c] * alpha;
            colors.of[3] = alpha;
        }
        return colors;
    }

    /// Levels of mixed colours.
    template <int kChannels, bool kAlpha>
    static void settle(const Colors<kChannels>& sum, const CellKind& kind, Ints (&levels)[kChannels]) noexcept
    {
        const Floats most = V::number(static_cast<float>(kind.most));
        const Floats half = V::number(0.5F);
        const auto clipped = [&](Floats value) noexcept { return V::least(V::most(value, V::number(0.0F)), most); };
        if constexpr (kAlpha) {
            const Floats scale = V::number(1.0F) / V::most(sum.of[3], V::number(kLeastAlpha));
            for (int c = 0; c < 3; ++c)
                levels[c] = V::whole(clipped(sum.of[c] * scale) + half);
            levels[3] = V::whole(clipped(sum.of[3]) + half);
            return;
        }
        for (int c = 0; c < kChannels; ++c) {
            const Floats value = clipped(sum.of[c]);
            if (kind.steps[c] == 0) {
                levels[c] = V::whole(value + half);
                continue;
            }
            const int32_t steps = kind.steps[c];
            const float share = static_cast<float>(steps) / static_cast<float>(kind.most);
            const Ints level = V::whole(value * V::number(share) + half);
            const Ints part = V::add(V::mul(level, V::all(static_cast<int32_t>(kind.most))), V::all(steps / 2));
            // Rounded up, the reciprocal is off by too little for numbers up to 63 * 255 + 31 to matter.
            levels[c] = V::template logical<20>(V::mul(part, V::all((1 << 20) / steps + 1)));
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
                word = V::chosen(right, cell, word);
            else
                word = V::chosen(i == 0 ? V::without(below, right) : V::with(below, right), cell, word);
        }
    };

public:
    /// Colours. `kCarried`: the last of four bytes comes from the nearest cell, or means nothing.
    template <class Lane, int kChannels, bool kAlpha, bool kCarried, int kTaps>
    static void mix_colors(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
    {
        constexpr int32_t kSize = kCarried ? 4 : kChannels * int32_t{sizeof(Lane)};
        constexpr int kBefore = kTaps == 4 ? 1 : 0;
        const auto number = [](double value) noexcept { return V::number(static_cast<float>(value)); };
        for (int32_t i = 0; i < patch.count; i += kLanes) {
            const Group group(patch, i, kSize, kBefore);
            const Floats x = fraction_of(group.x);
            const Floats y = fraction_of(group.y);
            Floats across[kTaps];
            Floats down[kTaps];
            real_weights(x, number, across);
            real_weights(y, number, down);
            [[maybe_unused]] Nearest nearest{V::above(x, number(0.5)), V::above(y, number(0.5)), {}};
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
            const int32_t rest = patch.count - i;
            uint8_t* const place = out + i * kSize;
            if constexpr (kChannels == 1) {
                V::template store<kSize>(place, levels[0], rest);
            } else if constexpr (sizeof(Lane) == 2) {
                Ints last = levels[2];
                if constexpr (kAlpha)
                    last = V::any(last, V::template left<16>(levels[3]));
                V::template store_pairs<kSize>(place, V::any(levels[0], V::template left<16>(levels[1])), last, rest);
            } else {
                Ints word = V::any(V::any(levels[0], V::template left<8>(levels[1])), V::template left<16>(levels[2]));
                if constexpr (kAlpha)
                    word = V::any(word, V::template left<24>(levels[3]));
                if constexpr (kCarried)
                    word = V::any(word, V::template left<24>(V::template logical<24>(nearest.word)));
                V::template store<kSize>(place, word, rest);
            }
        }
    }

    /// One number a cell, of a byte or two.
    template <class Lane, int kTaps>
    static void mix_numbers(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
    {
        constexpr int32_t kSize = sizeof(Lane);
        constexpr int kBefore = kTaps == 4 ? 1 : 0;
        const auto number = [](double value) noexcept { return V::number(value); };
        for (int32_t i = 0; i < patch.count; i += kLanes) {
            const Group group(patch, i, kSize, kBefore);
            const auto mixed = [&]<bool kUpper>() noexcept {
                const auto fraction = [&](Ints position) noexcept {
                    return V::template doubles<kUpper>(position) * V::number(1.0 / kLineOne);
                };
                Doubles across[kTaps];
                Doubles down[kTaps];
                real_weights(fraction(group.x), number, across);
                real_weights(fraction(group.y), number, down);
                Doubles sum = V::number(0.0);
                const uint8_t* origin = patch.origin;
                for (int j = 0; j < kTaps; ++j, origin += patch.stride) {
                    const Row<Lane, kSize, kTaps> cells(origin, group.offsets);
                    Doubles row;
                    for_taps<kTaps>([&]<int kTap>() noexcept {
                        const Doubles value = V::template doubles<kUpper>(cells.template number<kTap, 0>());
                        row = kTap == 0 ? value * across[0] : row + value * across[kTap];
                    });
                    sum = j == 0 ? row * down[0] : sum + row * down[j];
                }
                const Doubles most = V::number(static_cast<double>(kind.most));
                return V::least(V::most(sum + V::number(0.5), V::number(0.0)), most);
            };
            const Doubles lower = mixed.template operator()<false>();
            const Doubles upper = mixed.template operator()<true>();
            V::template store<kSize>(out + i * kSize, V::whole(lower, upper), patch.count - i);
        }
    }

    /// The loops for a kind of cells.
    static MixLoops loops(const CellKind& kind) noexcept
    {
        const bool is_word = kind.lane_bytes == 2;
        if (kind.channels == 1) {
            if (kind.carried || kind.lane_bytes == 4)
                return {};
            if (kind.is_level)
                return all<uint8_t, 1, false, false>();
            return is_word ? MixLoops{mix_numbers<uint16_t, 2>, mix_numbers<uint16_t, 4>}
                           : MixLoops{mix_numbers<uint8_t, 2>, mix_numbers<uint8_t, 4>};
        }
        if (is_word)
            return kind.alpha ? all<uint16_t, 4, true, false>() : all<uint16_t, 3, false, false>();
        if (kind.alpha)
            return all<uint8_t, 4, true, false>();
        return kind.size == 4 ? all<uint8_t, 3, false, true>() : all<uint8_t, 3, false, false>();
    }

private:
    template <class Lane, int kChannels, bool kAlpha, bool kCarried> static MixLoops all() noexcept
    {
        return {mix_colors<Lane, kChannels, kAlpha, kCarried, 2>, mix_colors<Lane, kChannels, kAlpha, kCarried, 4>};
    }
};

} // namespace vk::sampling
