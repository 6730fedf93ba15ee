// Plain models for the fuzz targets: a picture as a list of pixel values, and what flips, turns and cuts make of it.
#pragma once

#include "Vkrows.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace vk::fuzz {

using Bytes = std::vector<uint8_t>;

inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d does not hold\n", file, line);
    std::abort();
}

/// A pixel's bits: up to 7 bits are one stream, most significant first; others are little-endian, 12 bits in pairs.
inline uint64_t pixel_of(const uint8_t* row, int32_t bits, int32_t column)
{
    uint64_t value = 0;
    for (int64_t i = 0; i < bits; ++i) {
        const int64_t bit = int64_t{column} * bits + i;
        value = bits < 8 ? value << 1 | (row[bit / 8] >> (7 - bit % 8) & 1u)
                         : value | uint64_t{row[bit / 8] >> (bit % 8) & 1u} << i;
    }
    return value;
}

struct Model {
    int32_t width = 0, height = 0, bits = 0;
    std::vector<uint64_t> pixels = {};

    bool operator==(const Model&) const = default;
    uint64_t at(int64_t x, int64_t y) const { return pixels[static_cast<size_t>(y * width + x)]; }
    uint64_t& at(int64_t x, int64_t y) { return pixels[static_cast<size_t>(y * width + x)]; }

    /// Each pixel as `from(x, y)` says.
    template <class From> Model made(int32_t w, int32_t h, From&& from) const
    {
        Model model{w, h, bits};
        model.pixels.reserve(static_cast<size_t>(w) * static_cast<size_t>(h));
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                model.pixels.push_back(from(x, y));
        return model;
    }
    Model flipped() const
    {
        return made(width, height, [&](int32_t x, int32_t y) { return at(x, height - 1 - y); });
    }
    Model mirrored() const
    {
        return made(width, height, [&](int32_t x, int32_t y) { return at(width - 1 - x, y); });
    }
    /// Clockwise.
    Model turned() const
    {
        return made(height, width, [&](int32_t x, int32_t y) { return at(y, height - 1 - x); });
    }
    Model turned_by(int32_t degrees) const { return degrees > 0 ? turned().turned_by(degrees - 90) : *this; }
    Model cut(int32_t col, int32_t row, int32_t w, int32_t h) const
    {
        return made(w, h, [&](int32_t x, int32_t y) { return at(col + x, row + y); });
    }
    Model sized(int32_t w, int32_t h) const
    {
        return made(w, h, [&](int64_t x, int64_t y) { return at(x * width / w, y * height / h); });
    }
    /// What the stored picture shows in a perspective.
    Model shown(int32_t perspective) const
    {
        switch (perspective) {
        case 2:
            return mirrored();
        case 3:
            return turned_by(180);
        case 4:
            return flipped();
        case 5:
            return flipped().turned_by(90);
        case 6:
            return turned_by(90);
        case 7:
            return flipped().turned_by(270);
        case 8:
            return turned_by(270);
        default:
            return *this;
        }
    }
};

/// The stored pixels of a bitmap.
inline Model read(BITMAPHANDLE* bitmap)
{
    Model model{bitmap->Width, bitmap->Height, bitmap->BitsPerPixel};
    Bytes row(bitmap->BytesPerLine);
    require(V_AccessBitmap(bitmap) == V_SUCCESS);
    for (int32_t y = 0; y < model.height; ++y) {
        require(V_GetBitmapRow(bitmap, row.data(), y, row.size()) == static_cast<intptr_t>(row.size()));
        for (int32_t x = 0; x < model.width; ++x)
            model.pixels.push_back(pixel_of(row.data(), model.bits, x));
    }
    require(V_ReleaseBitmap(bitmap) == V_SUCCESS);
    return model;
}

} // namespace vk::fuzz
