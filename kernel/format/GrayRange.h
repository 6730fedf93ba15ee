// The significant bits of a gray sample, as a record's or a conversion's lowest and highest bit give them.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vk {

struct GrayRange {
    uint32_t bits = 8;  ///< how many, 1 to 32
    uint32_t shift = 0; ///< how far up they stand; may lie outside of the sample, which then holds nothing

    constexpr bool operator==(const GrayRange&) const noexcept = default;

    constexpr uint32_t mask() const noexcept { return ~uint32_t{0} >> (32 - bits); }
    constexpr int32_t low_bit() const noexcept { return static_cast<int32_t>(shift); }
    constexpr int32_t high_bit() const noexcept { return static_cast<int32_t>(shift + bits - 1); }

    constexpr uint32_t extract(uint32_t sample) const noexcept { return shift < 32 ? sample >> shift & mask() : 0u; }
    constexpr uint32_t place(uint32_t value) const noexcept { return shift < 32 ? value << shift : 0u; }

    /// A sample as 8-bit gray: the top 8 bits of its range, or a narrower value in proportion.
    constexpr uint8_t level(uint32_t sample) const noexcept
    {
        const uint32_t value = extract(sample);
        return static_cast<uint8_t>(bits >= 8 ? value >> (bits - 8) : value * 255u / mask());
    }
};

/// The range of samples of 1 to 32 bits. What leaves the sample is cut off; a negative high bit means the highest.
constexpr GrayRange gray_range_within(int32_t sample_bits, int32_t low, int32_t high) noexcept
{
    const int32_t top = high < 0 ? sample_bits - 1 : std::min(high, sample_bits - 1);
    const int32_t bottom = std::clamp(low, 0, sample_bits - 1);
    const int32_t bits = std::max(top - bottom + 1, 1);
    return {static_cast<uint32_t>(bits), static_cast<uint32_t>(std::max(top - bits + 1, 0))};
}

/// The range as it is stated, of no more bits than the sample has but wherever it lies: the lowest ones of more are
/// dropped. No bits where the lowest is above the highest.
constexpr GrayRange gray_range_as_stated(int32_t sample_bits, int32_t low, int32_t high) noexcept
{
    const int64_t top = high < 0 ? sample_bits - 1 : high;
    const int64_t bits = std::min<int64_t>(top - std::max(low, 0) + 1, sample_bits);
    if (bits < 1)
        return {0, static_cast<uint32_t>(std::max<int64_t>(top, 0))};
    return {static_cast<uint32_t>(bits), static_cast<uint32_t>(top - bits + 1)};
}

} // namespace vk
