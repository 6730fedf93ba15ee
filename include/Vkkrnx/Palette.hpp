/**
 * @file Palette.hpp
 * Palettes as values. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_PALETTE_HPP
#define VKKRNX_PALETTE_HPP

#include "Geometry.hpp"

#include <array>

namespace vk {
inline namespace VKKRNX_ABI {

/// Up to 256 palette entries, held by value. It goes wherever a span of RGBQUAD is wanted.
class Palette {
public:
    /// The most entries there are.
    static constexpr std::size_t capacity = 256;

    /// Without entries.
    Palette() noexcept = default;
    /// A copy of entries, the first 256 of them.
    explicit Palette(std::span<const RGBQUAD> entries) noexcept
    {
        for (const RGBQUAD& entry : entries.first(entries.size() < capacity ? entries.size() : capacity))
            entries_[count_++] = entry;
    }
    /// The fixed palette of 1 to 8 bits (V_GetFixedPalette).
    [[nodiscard]] static Palette fixed(std::int32_t bits, Report report = {})
    {
        Palette palette;
        if (report(bits < 1 ? V_ERROR_INVALID_PARAMETER : V_GetFixedPalette(palette.entries_.data(), bits)))
            palette.count_ = std::size_t{1} << bits;
        return palette;
    }
    /// The gray ramp of 1 to 8 bits.
    [[nodiscard]] static Palette gray(std::int32_t bits, Report report = {})
    {
        RGBQUAD* const made = bits >= 1 && bits <= 8 ? V_CreateGrayPalette(bits) : nullptr;
        if (!report(made ? V_SUCCESS : bits >= 1 && bits <= 8 ? V_ERROR_NO_MEMORY : V_ERROR_INVALID_PARAMETER))
            return Palette();
        Palette palette(std::span<const RGBQUAD>(made, std::size_t{1} << bits));
        V_FreePalette(made);
        return palette;
    }
    /// The 216-colour cube; the last 40 of its 256 entries are black.
    [[nodiscard]] static Palette cube() noexcept
    {
        return Palette(std::span<const RGBQUAD>(V_IntGetNetscapePalette(), capacity));
    }

    /// The number of entries.
    [[nodiscard]] std::size_t size() const noexcept { return count_; }
    /// Whether there are none.
    [[nodiscard]] bool empty() const noexcept { return count_ == 0; }
    /// Changes the number of entries, to 256 at most; new ones are black.
    void resize(std::size_t count) noexcept
    {
        const std::size_t wanted = count < capacity ? count : capacity;
        for (std::size_t i = count_; i < wanted; ++i)
            entries_[i] = RGBQUAD{};
        count_ = wanted;
    }
    /// The entries.
    [[nodiscard]] RGBQUAD* data() noexcept { return entries_.data(); }
    /// The entries.
    [[nodiscard]] const RGBQUAD* data() const noexcept { return entries_.data(); }
    /// An entry, below size().
    [[nodiscard]] RGBQUAD& operator[](std::size_t index) noexcept { return entries_[index]; }
    /// An entry, below size().
    [[nodiscard]] const RGBQUAD& operator[](std::size_t index) const noexcept { return entries_[index]; }
    /// The first entry.
    [[nodiscard]] RGBQUAD* begin() noexcept { return data(); }
    /// Behind the last entry.
    [[nodiscard]] RGBQUAD* end() noexcept { return data() + count_; }
    /// The first entry.
    [[nodiscard]] const RGBQUAD* begin() const noexcept { return data(); }
    /// Behind the last entry.
    [[nodiscard]] const RGBQUAD* end() const noexcept { return data() + count_; }
    /// The index of the entry nearest to a colour (V_FindPaletteIndex); -1 without entries.
    [[nodiscard]] std::int32_t nearest(Color color) const noexcept
    {
        return V_FindPaletteIndex(data(), static_cast<std::uint32_t>(count_), color.red(), color.green(), color.blue());
    }

private:
    std::array<RGBQUAD, capacity> entries_{};
    std::size_t count_ = 0;
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_PALETTE_HPP
