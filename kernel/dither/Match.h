// Prepared matching, one function object per way, for the fast paths. Each gives the choice that match_plain would.
//
// Fixed palettes go without a search. Where the entries are a cube, each channel decides for itself and a table per
// channel has its share of the choice; a channel half-way between two levels is flagged, and the search's rule for
// equal distances is applied to the few entries in question. The gray ones look at the channels' sum. The 16-entry
// palette is two cubes of two levels and one gray, so a table per channel has its share of the three distances.
#pragma once

#include "kernel/dither/State.h"

#include <atomic>

namespace vk::dither {

/// Custom palettes: our table of 15-bit colours.
struct CacheMatch {
    DitherState& state;
    uint32_t* cache;
    uint32_t unknown;

    explicit CacheMatch(DitherState& s) noexcept : state(s), cache(s.cache), unknown(s.unknown) {}
    uint32_t operator()(uint32_t color) const noexcept
    {
        const uint32_t key = key_of(color);
        const uint32_t choice = std::atomic_ref(cache[key]).load(std::memory_order_relaxed);
        return choice != unknown ? choice : match_missing(state, key);
    }
};

/// The caller's table, which several threads may be filling.
struct UserMatch {
    DitherState& state;

    explicit UserMatch(DitherState& s) noexcept : state(s) {}
    uint32_t operator()(uint32_t color) const noexcept
    {
        const uint32_t key = key_of(color);
        const uint32_t found = std::atomic_ref(state.user_table[key]).load(std::memory_order_relaxed);
        return found - 1 < state.count ? state.choices[found - 1] : match_missing(state, key);
    }
};

/// Two or four grays.
struct SumMatch {
    const uint32_t* choices;

    explicit SumMatch(DitherState& s) noexcept : choices(s.sum_choices) {}
    uint32_t operator()(uint32_t color) const noexcept
    {
        return choices[uint32_t{blue_of(color)} + green_of(color) + red_of(color)];
    }
};

/// Bits of a channel's word for cubes: the choice's share, and flags for a green or red half-way (blue never is).
constexpr uint64_t kGreenTie = uint64_t{1} << 32;
constexpr uint64_t kRedTie = uint64_t{1} << 33;

/// Cubes; index = r * red_step + g * green_step + b.
struct CubeMatch {
    const DitherState& state;

    explicit CubeMatch(DitherState& s) noexcept : state(s) {}
    uint32_t operator()(uint32_t color) const noexcept
    {
        const uint64_t sum =
            state.channels[0][blue_of(color)] + state.channels[1][green_of(color)] + state.channels[2][red_of(color)];
        return sum >> 32 == 0 ? static_cast<uint32_t>(sum) : between(color, sum);
    }
    /// Levels of a channel, and how far apart in the palette they are.
    uint32_t levels(uint32_t channel) const noexcept;
    uint32_t step(uint32_t channel) const noexcept;
    /// The choice among the entries around a colour half-way between some.
    uint32_t between(uint32_t color, uint64_t sum) const noexcept;
};

/// The 16-entry palette. A channel's word: its squared distances to the nearer of 0 and 128, to 192 and to the nearer
/// of 0 and 255, 18 bits each; then its bit of the dark and of the bright index, 3 bits each; then 2 bits of a count of
/// channels half-way to 128.
struct Fixed4Match {
    static constexpr uint32_t kFieldBits = 18;
    static constexpr uint32_t kDarkAt = 54;
    static constexpr uint32_t kBrightAt = 57;
    static constexpr uint32_t kTieAt = 60;
    static constexpr uint32_t kSilver = 8;

    DitherState& state;

    explicit Fixed4Match(DitherState& s) noexcept : state(s) {}
    uint32_t operator()(uint32_t color) const noexcept
    {
        const uint64_t sum =
            state.channels[0][blue_of(color)] + state.channels[1][green_of(color)] + state.channels[2][red_of(color)];
        constexpr uint32_t kField = (1u << kFieldBits) - 1;
        const uint32_t dark = static_cast<uint32_t>(sum) & kField;
        const uint32_t silver = static_cast<uint32_t>(sum >> kFieldBits) & kField;
        uint32_t bright = static_cast<uint32_t>(sum >> (2 * kFieldBits)) & kField;
        const uint32_t bright_bits = static_cast<uint32_t>(sum >> kBrightAt) & 7u;
        bright += bright_bits == 0 ? kField : 0u; // black is among the dark ones
        uint32_t index = static_cast<uint32_t>(sum >> kDarkAt) & 7u;
        uint32_t best = dark;
        bool tie = sum >> kTieAt != 0;
        tie |= silver == best;
        index = silver < best ? kSilver : index;
        best = silver < best ? silver : best;
        tie |= bright == best;
        index = bright < best ? kSilver + bright_bits : index;
        return tie ? between(color, sum) : state.choices[index];
    }
    /// The choice among entries that may be equally far.
    uint32_t between(uint32_t color, uint64_t sum) const noexcept;
};

/// Calls `act` with the run's way of matching.
template <class Act> void with_match(DitherState& state, Act act) noexcept
{
    switch (state.kind) {
    case Kind::custom:
        act(CacheMatch(state));
        return;
    case Kind::user_table:
        act(UserMatch(state));
        return;
    case Kind::fixed1:
    case Kind::fixed2:
        act(SumMatch(state));
        return;
    case Kind::fixed4:
        act(Fixed4Match(state));
        return;
    default:
        act(CubeMatch(state));
        return;
    }
}

} // namespace vk::dither
