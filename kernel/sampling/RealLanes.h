// Loops of Real.h in vectors, a sample to a lane, for any width. `V` has the vectors: kLanes whole numbers (Ints), as
// many floats, half as many doubles, and what is done to them; floats and doubles know the usual operators. Included by
// the files of the instruction sets alone.
#pragma once

#include "kernel/sampling/Real.h"

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

    /// The numbers of a cell of bytes or words, in one or two vectors.
    template <class Lane, int kChannels> struct Cell {
        static constexpr int kWords = sizeof(Lane) == 2 ? 2 : 1;
        Ints words[kWords];

        Cell(const uint8_t* origin, Ints offsets) noexcept
        {
            words[0] = V::gather(origin, offsets);
            if constexpr (kWords == 2)
                words[1] = V::gather(origin + 4, offsets);
        }
        template <int kChannel> Floats number() const noexcept
        {
            constexpr int kBits = 8 * sizeof(Lane);
            constexpr int kAt = kChannel * kBits % 32;
            Ints word = words[kChannel * kBits / 32];
            if constexpr (kAt != 0)
                word = V::template logical<kAt>(word);
            if constexpr (kAt + kBits != 32)
                word = V::both(word, V::all((1 << kBits) - 1));
            return V::floats(word);
        }
    };

    /// Blue, green, red, and alpha where there is one, of as many samples.
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

    template <class Lane, int kChannels, bool kAlpha>
    static Colors<kChannels> colors_of(const Cell<Lane, kChannels>& cell) noexcept
    {
        Colors<kChannels> colors;
        colors.of[0] = cell.template number<0>();
        colors.of[1] = cell.template number<1>();
        colors.of[2] = cell.template number<2>();
        if constexpr (kAlpha) {
            const Floats alpha = cell.template number<3>() + V::number(kAlphaSpare);
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
        for (int c = 0; c < 3; ++c) {
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
            Colors<kChannels> sum;
            const uint8_t* origin = patch.origin;
            for (int j = 0; j < kTaps; ++j, origin += patch.stride) {
                Colors<kChannels> row;
                for (int t = 0; t < kTaps; ++t) {
                    const Cell<Lane, kChannels> cell(origin + t * kSize, group.offsets);
                    Colors<kChannels> colors = colors_of<Lane, kChannels, kAlpha>(cell);
                    colors.weigh(across[t]);
                    if (t == 0)
                        row = colors;
                    else
                        row.add(colors);
                    if constexpr (kCarried)
                        if (j >= kBefore && j <= kBefore + 1 && t >= kBefore && t <= kBefore + 1)
                            nearest.see(j - kBefore, t - kBefore, cell.words[0]);
                }
                row.weigh(down[j]);
                if (j == 0)
                    sum = row;
                else
                    sum.add(row);
            }
            Ints levels[kChannels];
            settle<kChannels, kAlpha>(sum, kind, levels);
            const int32_t rest = patch.count - i;
            uint8_t* const place = out + i * kSize;
            if constexpr (sizeof(Lane) == 2) {
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
        constexpr int kInWord = 4 / kSize;
        constexpr int kWords = (kTaps + kInWord - 1) / kInWord;
        const auto number = [](double value) noexcept { return V::number(value); };
        for (int32_t i = 0; i < patch.count; i += kLanes) {
            const Group group(patch, i, kSize, kBefore);
            const uint8_t* origin = patch.origin;
            Ints words[kTaps][kWords];
            for (int j = 0; j < kTaps; ++j, origin += patch.stride)
                for (int w = 0; w < kWords; ++w)
                    words[j][w] = V::gather(origin + 4 * w, group.offsets);
            const auto mixed = [&]<bool kUpper>() noexcept {
                const auto fraction = [&](Ints position) noexcept {
                    return V::template doubles<kUpper>(position) * V::number(1.0 / kLineOne);
                };
                const auto cell = [&](int j, int t) noexcept {
                    const Ints word = V::logical_by(words[j][t / kInWord], t % kInWord * 8 * kSize);
                    return V::template doubles<kUpper>(V::both(word, V::all((1 << 8 * kSize) - 1)));
                };
                Doubles across[kTaps];
                Doubles down[kTaps];
                real_weights(fraction(group.x), number, across);
                real_weights(fraction(group.y), number, down);
                Doubles sum;
                for (int j = 0; j < kTaps; ++j) {
                    Doubles row = cell(j, 0) * across[0];
                    for (int t = 1; t < kTaps; ++t)
                        row = row + cell(j, t) * across[t];
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
