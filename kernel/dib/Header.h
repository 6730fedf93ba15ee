// DIB headers as numbers. Headers are read byte by byte: they come from anywhere, at any alignment, and nothing in them
// is believed. Sizes are worked out in 64 bits, so that no header can make them wrap.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vk::dib {

constexpr uint32_t kCoreSize = 12;
constexpr uint32_t kInfoSize = 40;
constexpr uint32_t kV4Size = 108;
constexpr uint32_t kV5Size = 124;
constexpr uint32_t kMaskBytes = 12;
/// Where a BITMAPV5HEADER names its colour space.
constexpr uint32_t kColorSpaceOffset = 56;
constexpr uint32_t kSrgb = 0x73524742; ///< LCS_sRGB, which not every compiler takes as a constant

constexpr uint32_t four_cc(const char (&text)[5]) noexcept
{
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i)
        code = code << 8 | static_cast<uint8_t>(text[i]);
    return code;
}

template <class Value> Value read_value(const uint8_t* from) noexcept
{
    Value value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class Value> void write_value(uint8_t* to, Value value) noexcept
{
    std::memcpy(to, &value, sizeof value);
}

struct Header {
    uint32_t size = 0;
    int32_t width = 0;
    int32_t height = 0; ///< negative: top row first
    uint16_t planes = 0;
    uint16_t bits = 0;
    uint32_t compression = BI_RGB;
    uint32_t image_bytes = 0;
    int32_t x_per_metre = 0; ///< 0: unknown
    int32_t y_per_metre = 0;
    uint32_t colors_used = 0;

    bool top_down() const noexcept { return height < 0; }
    /// The number of rows; the height is not -2^31.
    int32_t rows() const noexcept { return height < 0 ? -height : height; }
    /// Bytes of a row, padding included.
    uint64_t stride() const noexcept
    {
        return ((uint64_t{bits} * static_cast<uint32_t>(width) + 31) >> 3) & ~uint64_t{3};
    }
    uint64_t plain_bytes() const noexcept { return stride() * static_cast<uint32_t>(rows()); }
    /// Entries of the colour table that the depth indexes; 0 above 8 bits.
    uint32_t colors() const noexcept { return bits > 8 ? 0 : colors_used != 0 ? colors_used : 1u << bits; }
};

/// Pixels of a row that repacking goes over: at 16 bits an even number, which takes the padding of an odd row along.
inline size_t repacked_pixels(const Header& header) noexcept
{
    const auto width = static_cast<size_t>(header.width);
    return header.bits == 16 ? (width + 1) / 2 * 2 : width;
}

/// The fields where a BITMAPINFOHEADER has them, whatever size the header states.
Header read_header(const uint8_t* bytes) noexcept;

/// The fields of a BITMAPCOREHEADER.
Header read_core_header(const uint8_t* bytes) noexcept;

/// Writes a header of kInfoSize bytes.
void write_header(uint8_t* bytes, const Header& header) noexcept;

/// Dots per inch for pixels per metre, of the display where those are 0.
void set_resolution(BITMAPHANDLE& bitmap, const Header& header) noexcept;

/// Pixels per metre for dots per inch.
int32_t per_metre(int32_t dots_per_inch) noexcept;

} // namespace vk::dib
