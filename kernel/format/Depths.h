// The depths, once: a row per number of bits that pixels may have. Everything that differs between depths asks here, by
// name, or is made for each row by `with_depth`, where a kernel that lacks one does not compile.
//
// Functions that take a number of bits accept any; for one that is no depth they say what is written beside them.
#pragma once

#include "Vkrecord.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace vk {

/// How pixels stand in the bytes of a row.
enum class Packing : uint8_t {
    high_first, ///< one stream of bits, each byte's highest first
    low_first,  ///< one stream of bits, each byte's lowest first
    bytes,      ///< whole bytes, the lowest first
};

struct Depth {
    int32_t bits;
    Packing packing;
    bool indexed;         ///< palette indices; gray levels in gray order
    int32_t channels;     ///< of a colour, the fourth being alpha; 0 where there is none but a palette's
    int32_t channel_bits; ///< of each; where they are no whole bytes they are fields of one word
    uint32_t orders;      ///< set of COLORORDER_ values that a conversion takes
    int32_t usual_order;  ///< a new bitmap's
    int32_t high_bit;     ///< a new bitmap's, -1 without a range of gray bits
};

constexpr uint32_t order_set(std::initializer_list<int32_t> orders) noexcept
{
    uint32_t set = 0;
    for (const int32_t order : orders)
        set |= 1u << order;
    return set;
}

namespace depths {

constexpr uint32_t kColors = order_set({COLORORDER_RGB, COLORORDER_BGR});
constexpr uint32_t kGray = order_set({COLORORDER_GRAY});
constexpr uint32_t kWideGamut = order_set({COLORORDER_ROMM});
constexpr uint32_t kSixGreens = order_set({COLORORDER_RGB565});

/// Indices have no channels; the orders of any depth but those that need channels of their own name nothing.
constexpr Depth index_row(int32_t bits) noexcept
{
    const Packing packing = bits % 8 == 0 ? Packing::bytes : Packing::high_first;
    return {bits, packing, true, 0, 0, kColors | kGray | kSixGreens, COLORORDER_RGB, bits - 1};
}

/// Gray and nothing else, of more bits than indices.
constexpr Depth gray_row(int32_t bits) noexcept
{
    return {bits, Packing::low_first, false, 0, 0, kGray, COLORORDER_GRAY, bits - 1};
}

/// Colour, and gray of all bits where the orders say so.
constexpr Depth color_row(int32_t bits, int32_t channels, int32_t channel_bits, uint32_t orders,
                          int32_t high_bit) noexcept
{
    return {bits, Packing::bytes, false, channels, channel_bits, orders, COLORORDER_BGR, high_bit};
}

} // namespace depths

/// From the smallest on. 32-bit data has no range of gray bits, on purpose.
constexpr Depth kDepthTable[] = {
    depths::index_row(1),
    depths::index_row(2),
    depths::index_row(3),
    depths::index_row(4),
    depths::index_row(5),
    depths::index_row(6),
    depths::index_row(7),
    depths::index_row(8),
    depths::gray_row(12),
    depths::color_row(16, 3, 5, depths::kColors | depths::kGray | depths::kSixGreens, 15),
    depths::color_row(24, 3, 8, depths::kColors | depths::kWideGamut, 7),
    depths::color_row(32, 4, 8, depths::kColors | depths::kGray, -1),
    depths::color_row(48, 3, 16, depths::kColors | depths::kWideGamut, 15),
    depths::color_row(64, 4, 16, depths::kColors, 15),
};
constexpr size_t kDepthCount = sizeof kDepthTable / sizeof kDepthTable[0];
constexpr int32_t kMostBits = kDepthTable[kDepthCount - 1].bits;

/// Indices have no more bits than a palette has entries for.
constexpr int32_t kMostIndexBits = 8;

namespace depths {

/// A number for each number of bits, so that asking takes no search.
template <class Value> using ByBits = std::array<Value, static_cast<size_t>(kMostBits) + 1>;

template <class Value, class Of> consteval ByBits<Value> by_bits(Value for_no_depth, Of of) noexcept
{
    ByBits<Value> values{};
    values.fill(for_no_depth);
    for (const Depth& depth : kDepthTable)
        values[static_cast<size_t>(depth.bits)] = of(depth);
    return values;
}

/// Entry 0 is no depth, and stands for all that are none.
constexpr size_t place(int32_t bits) noexcept
{
    return bits >= 0 && bits <= kMostBits ? static_cast<size_t>(bits) : 0;
}

constexpr Depth kNoDepth{0, Packing::high_first, false, 0, 0, 0, COLORORDER_BGR, -1};
inline constexpr ByBits<Depth> kByBits = by_bits<Depth>(kNoDepth, [](const Depth& depth) { return depth; });

/// Whole bytes per pixel, and what is left over as a fraction in lowest terms.
struct Step {
    uint8_t whole;
    uint8_t part;
    uint8_t shift;
};

consteval Step step_of(const Depth& depth) noexcept
{
    Step step{static_cast<uint8_t>(depth.bits / 8), static_cast<uint8_t>(depth.bits % 8), 3};
    for (; step.shift > 0 && step.part % 2 == 0; --step.shift)
        step.part /= 2;
    return step;
}

inline constexpr ByBits<Step> kSteps = by_bits<Step>({1, 0, 0}, step_of);

} // namespace depths

/// The row of a depth; one with 0 bits for what is none.
constexpr const Depth& depth_of(int32_t bits) noexcept
{
    return depths::kByBits[depths::place(bits)];
}

/// The depths a bitmap may have.
constexpr bool is_bitmap_depth(int32_t bits) noexcept
{
    return bits > 0 && depth_of(bits).bits == bits;
}

/// Palette indices, or at 8 bits gray levels.
constexpr bool is_indexed(int32_t bits) noexcept
{
    return depth_of(bits).indexed;
}

/// No depth counts as a stream of bits, highest first.
constexpr Packing packing_of(int32_t bits) noexcept
{
    return depth_of(bits).packing;
}

/// Pixels fill bytes, whether the number is a depth or not.
constexpr bool is_whole_bytes(int32_t bits) noexcept
{
    return bits % 8 == 0;
}

constexpr bool has_order(int32_t bits, int32_t order) noexcept
{
    return order >= 0 && order < 32 && (depth_of(bits).orders >> order & 1u) != 0;
}

/// The order of a new bitmap, and the one to fall back on where a record names one that its depth does not have.
constexpr int32_t usual_order(int32_t bits) noexcept
{
    return depth_of(bits).usual_order;
}

/// The depth has gray samples and nothing else.
constexpr bool is_gray_only(int32_t bits) noexcept
{
    return depth_of(bits).orders == depths::kGray;
}

/// Gray samples of more bits than indices have, and no more than the look-up tables of records are made for.
constexpr bool is_short_gray(int32_t bits, int32_t order) noexcept
{
    constexpr int32_t kMostTableBits = 16;
    return order == COLORORDER_GRAY && !is_indexed(bits) && bits <= kMostTableBits && has_order(bits, order);
}

/// Gray samples of more bits than that: numbers that no gray level stands for.
constexpr bool is_long_gray(int32_t bits, int32_t order) noexcept
{
    return order == COLORORDER_GRAY && !is_indexed(bits) && !is_short_gray(bits, order) && has_order(bits, order);
}

constexpr bool has_alpha(int32_t bits, int32_t order) noexcept
{
    return depth_of(bits).channels == 4 && order != COLORORDER_GRAY;
}

/// The colours of the depth are bit fields of one word.
constexpr bool has_fields(int32_t bits) noexcept
{
    return depth_of(bits).channel_bits % 8 != 0;
}

/// Calls `act` with the depth as a constant; a kernel that is made for some depths only says there which. False, and
/// nothing done, for no depth.
template <class Act> constexpr bool with_depth(int32_t bits, Act&& act) noexcept
{
    return [&]<size_t... kRow>(std::index_sequence<kRow...>) noexcept
    {
        return ((kDepthTable[kRow].bits == bits ? (act.template operator()<kDepthTable[kRow].bits>(), true) : false) ||
                ...);
    }
    (std::make_index_sequence<kDepthCount>{});
}

/// For static checks of tables that have to hold every depth.
template <class Rule> consteval bool every_depth(Rule holds) noexcept
{
    for (const Depth& depth : kDepthTable)
        if (!holds(depth.bits))
            return false;
    return true;
}

consteval bool is_sound(int32_t bits) noexcept
{
    const Depth& depth = depth_of(bits);
    const bool has_channels = depth.channels != 0 && !has_fields(bits);
    return depth.indexed == (bits <= kMostIndexBits) && (depth.packing == Packing::bytes) == is_whole_bytes(bits) &&
           has_order(bits, depth.usual_order) && (!has_channels || depth.channels * depth.channel_bits == bits);
}
static_assert(every_depth(is_sound));

} // namespace vk
