// The tables of prepared matching, and the search behind them.
#include "kernel/dither/Match.h"

#include "kernel/palette/ColorMatch.h"

#include <algorithm>

namespace vk::dither {
namespace {

/// Levels of a cube's channels, and how far apart in the palette their steps are.
struct Cube {
    uint32_t levels[3]; ///< blue, green, red
    uint32_t step(uint32_t channel) const noexcept
    {
        return (channel > 0 ? levels[0] : 1) * (channel > 1 ? levels[1] : 1);
    }
};

Cube cube_of(Kind kind) noexcept
{
    switch (kind) {
    case Kind::fixed3:
        return {{2, 2, 2}};
    case Kind::fixed5:
        return {{2, 4, 4}};
    case Kind::fixed6:
        return {{4, 4, 4}};
    case Kind::fixed7:
        return {{4, 8, 4}};
    case Kind::fixed8:
        return {{4, 8, 8}};
    default:
        return {{6, 6, 6}};
    }
}

constexpr uint32_t distance(uint32_t a, uint32_t b) noexcept
{
    return a < b ? b - a : a - b;
}

void prepare_classes(DitherState& state) noexcept
{
    for (uint32_t i = 0; i < state.count; ++i) {
        state.classes[i] = static_cast<uint8_t>(channel_class(state.entries[i]));
    }
}

void prepare_cube(DitherState& state) noexcept
{
    const Cube cube = cube_of(state.kind);
    state.green_step = cube.step(1);
    state.red_step = cube.step(2);
    prepare_classes(state);
    for (uint32_t c = 0; c < 3; ++c) {
        const uint32_t step = cube.step(c);
        const auto level = [&](uint32_t k) { return state.choices[k * step] >> (8 * c) & 0xFFu; };
        uint32_t k = 0;
        for (uint32_t v = 0; v < 256; ++v) {
            while (k + 1 < cube.levels[c] && distance(v, level(k + 1)) < distance(v, level(k))) {
                ++k;
            }
            const bool tie = k + 1 < cube.levels[c] && distance(v, level(k + 1)) == distance(v, level(k));
            const uint64_t flag = !tie ? 0 : c == 1 ? kGreenTie : kRedTie;
            state.channels[c][v] = flag + (level(k) << (8 * c)) + (k * step << 24);
        }
    }
}

void prepare_fixed4(DitherState& state) noexcept
{
    prepare_classes(state);
    // The dark half counts red, green, blue from bit 0 on, and so does the bright one behind silver.
    constexpr uint32_t kBit[] = {2, 1, 0};
    const auto square = [](uint32_t v) { return uint64_t{v} * v; };
    for (uint32_t c = 0; c < 3; ++c) {
        for (uint32_t v = 0; v < 256; ++v) {
            const bool dark = v >= 64;
            const bool bright = v >= 128;
            uint64_t word = square(distance(v, dark ? 128 : 0));
            word |= square(distance(v, 192)) << Fixed4Match::kFieldBits;
            word |= square(distance(v, bright ? 255 : 0)) << (2 * Fixed4Match::kFieldBits);
            word |= uint64_t{dark} << (Fixed4Match::kDarkAt + kBit[c]);
            word |= uint64_t{bright} << (Fixed4Match::kBrightAt + kBit[c]);
            word |= uint64_t{v == 64} << Fixed4Match::kTieAt;
            state.channels[c][v] = word;
        }
    }
}

void prepare_sums(DitherState& state) noexcept
{
    // Any colour with a sum does: for grays the nearest depends on the sum alone.
    for (uint32_t sum = 0; sum <= 3 * 255; ++sum) {
        const uint32_t each = sum / 3;
        const uint32_t color = gray_word(each) + (sum % 3 > 0 ? 1u : 0u) + (sum % 3 > 1 ? 0x100u : 0u);
        state.sum_choices[sum] = match_plain(state, color);
    }
}

bool entries_are_gray(const DitherState& state) noexcept
{
    for (uint32_t i = 0; i < state.count; ++i) {
        const uint32_t color = state.choices[i] & kColorMask;
        if (color != gray_word(color & 0xFFu)) {
            return false;
        }
    }
    return true;
}

/// The step from one choice to another by level, when there is exactly one.
TwoGrays find_step(const uint32_t (&choices)[256]) noexcept
{
    TwoGrays two;
    int32_t steps = 0;
    for (int32_t level = 1; level < 256; ++level) {
        if (choices[level] != choices[level - 1]) {
            two.threshold = level;
            ++steps;
        }
    }
    two.valid = steps == 1;
    for (int32_t side = 0; side < 2; ++side) {
        const uint32_t choice = choices[side == 0 ? 0 : 255];
        two.level[side] = blue_of(choice);
        two.index[side] = static_cast<uint8_t>(choice >> 24);
    }
    return two;
}

void prepare_gray(DitherState& state) noexcept
{
    state.single_gray = state.kind != Kind::user_table && entries_are_gray(state) && source_is_gray(state);
    if (!state.single_gray) {
        return;
    }
    for (uint32_t level = 0; level < 256; ++level) {
        state.gray_choices[level] = match_plain(state, gray_word(level));
    }
    state.two = find_step(state.gray_choices);
}

} // namespace

void prepare_match(DitherState& state) noexcept
{
    switch (state.kind) {
    case Kind::custom:
    case Kind::user_table:
        break;
    case Kind::fixed1:
    case Kind::fixed2:
        prepare_sums(state);
        break;
    case Kind::fixed4:
        prepare_fixed4(state);
        break;
    default:
        prepare_cube(state);
        break;
    }
    prepare_gray(state);
}

uint32_t match_plain(DitherState& state, uint32_t color) noexcept
{
    if (state.kind == Kind::custom) {
        return CacheMatch(state)(color);
    }
    if (state.kind == Kind::user_table) {
        return UserMatch(state)(color);
    }
    const int32_t at = find_palette_index(state.entries, state.count, red_of(color), green_of(color), blue_of(color));
    return state.choices[at];
}

uint32_t match_missing(DitherState& state, uint32_t key) noexcept
{
    const auto level = [key](uint32_t shift) { return static_cast<uint8_t>((key >> shift & 31u) << 3); };
    const int32_t at = find_palette_index(state.entries, state.count, level(10), level(5), level(0));
    if (state.kind == Kind::user_table) {
        std::atomic_ref(state.user_table[key]).store(static_cast<uint32_t>(at) + 1, std::memory_order_relaxed);
    } else {
        std::atomic_ref(state.cache[key]).store(state.choices[at], std::memory_order_relaxed);
    }
    return state.choices[at];
}

uint32_t CubeMatch::levels(uint32_t channel) const noexcept
{
    return cube_of(state.kind).levels[channel];
}

uint32_t CubeMatch::step(uint32_t channel) const noexcept
{
    return cube_of(state.kind).step(channel);
}

uint32_t CubeMatch::between(uint32_t color, uint64_t sum) const noexcept
{
    // Candidates in palette order: of those that order their channels as the colour does the last, else the first.
    const uint32_t own = channel_class(red_of(color), green_of(color), blue_of(color));
    const uint32_t first = static_cast<uint32_t>(sum) >> 24;
    const bool green = (sum & kGreenTie) != 0;
    const bool red = (sum & kRedTie) != 0;
    const uint32_t others[] = {green ? first + state.green_step : first, red ? first + state.red_step : first,
                               first + (green ? state.green_step : 0) + (red ? state.red_step : 0)};
    uint32_t best = first;
    for (const uint32_t at : others) {
        best = state.classes[at] == own ? at : best;
    }
    return state.choices[best];
}

uint32_t Fixed4Match::between(uint32_t color, uint64_t sum) const noexcept
{
    constexpr uint32_t kField = (1u << kFieldBits) - 1;
    const uint32_t dark = static_cast<uint32_t>(sum) & kField;
    const uint32_t silver = static_cast<uint32_t>(sum >> kFieldBits) & kField;
    const uint32_t bright = static_cast<uint32_t>(sum >> (2 * kFieldBits)) & kField;
    const uint32_t dark_bits = static_cast<uint32_t>(sum >> kDarkAt) & 7u;
    const uint32_t bright_bits = static_cast<uint32_t>(sum >> kBrightAt) & 7u;
    const uint32_t least = std::min({dark, silver, bright});
    const uint32_t own = channel_class(red_of(color), green_of(color), blue_of(color));
    uint32_t best = UINT32_MAX;
    const auto consider = [&](uint32_t at) { best = best == UINT32_MAX || state.classes[at] == own ? at : best; };
    if (dark == least) {
        // Channels half-way between 0 and 128 may go either way; entries in palette order.
        const uint32_t free =
            (red_of(color) == 64 ? 1u : 0u) | (green_of(color) == 64 ? 2u : 0u) | (blue_of(color) == 64 ? 4u : 0u);
        uint32_t subset = 0;
        do {
            consider((dark_bits & ~free) | subset);
            subset = (subset - free) & free;
        } while (subset != 0);
    }
    if (silver == least) {
        consider(kSilver);
    }
    if (bright == least && bright_bits != 0) {
        consider(kSilver + bright_bits);
    }
    return state.choices[best];
}

} // namespace vk::dither
