// Pictures as lists of pixel values, read from bitmaps and put into them, turned and resized pixel by pixel: what
// flips, turns, sizes and rotations are held against.
#pragma once

#include "tests/support/TestBitmap.h"

namespace vk::testing {

struct Picture {
    int32_t width = 0, height = 0;
    std::vector<uint64_t> pixels = {};

    uint64_t& at(int64_t x, int64_t y) { return pixels[static_cast<size_t>(y * width + x)]; }
    uint64_t at(int64_t x, int64_t y) const { return pixels[static_cast<size_t>(y * width + x)]; }
    bool has(int64_t x, int64_t y) const { return x >= 0 && x < width && y >= 0 && y < height; }
    friend bool operator==(const Picture&, const Picture&) = default;

    static Picture blank(int32_t width, int32_t height)
    {
        return {width, height, std::vector<uint64_t>(static_cast<size_t>(int64_t{width} * height))};
    }
    /// Random pixels, each staying for the next with a chance of `keeps` in a hundred, so that rows have runs.
    static Picture noise(int32_t width, int32_t height, int32_t bits, uint64_t seed, uint32_t keeps = 0)
    {
        TestRandom random(seed);
        Picture made = blank(width, height);
        uint64_t value = 0;
        for (uint64_t& pixel : made.pixels)
            pixel = value = random.below(100) < keeps ? value : random.next() >> (64 - bits);
        return made;
    }
    /// Of another size, each pixel taken from where `from(x, y)` says.
    template <class From> static Picture made(int32_t width, int32_t height, From&& from)
    {
        Picture picture = blank(width, height);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                picture.at(x, y) = from(x, y);
        return picture;
    }
    Picture flipped() const
    {
        return made(width, height, [&](int32_t x, int32_t y) { return at(x, height - 1 - y); });
    }
    Picture mirrored() const
    {
        return made(width, height, [&](int32_t x, int32_t y) { return at(width - 1 - x, y); });
    }
    /// Clockwise: the first column becomes the first row, its last pixel first.
    Picture turned() const
    {
        return made(height, width, [&](int32_t x, int32_t y) { return at(y, height - 1 - x); });
    }
    Picture turned_by(int32_t degrees) const { return degrees > 0 ? turned().turned_by(degrees - 90) : *this; }
    /// By the nearest pixel.
    Picture sized(int32_t w, int32_t h) const
    {
        return made(w, h, [&](int64_t x, int64_t y) { return at(x * width / w, y * height / h); });
    }

    /// What a stored picture shows in a perspective.
    Picture shown(int32_t perspective) const
    {
        constexpr struct {
            bool mirrors, flips;
            int32_t degrees;
        } kWays[] = {{},
                     {},
                     {true, false, 0},
                     {false, false, 180},
                     {false, true, 0},
                     {false, true, 90},
                     {false, false, 90},
                     {false, true, 270},
                     {false, false, 270}};
        const auto& way = kWays[perspective > 0 && perspective <= 8 ? perspective : 1];
        return (way.mirrors ? mirrored() : way.flips ? flipped() : *this).turned_by(way.degrees);
    }
};

/// Writes all pixels of a bitmap, padding clear.
inline void paint(BITMAPHANDLE* bitmap, const Picture& picture)
{
    paint_pixels(bitmap, [&](int32_t x, int32_t y) { return picture.at(x, y); });
}

/// Reads them all; bits behind the last pixel of a row must be clear.
inline Picture read(BITMAPHANDLE* bitmap)
{
    Picture picture = Picture::blank(bitmap->Width, bitmap->Height);
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t y = 0; y < picture.height; ++y) {
        Bytes row(bitmap->BytesPerLine);
        EXPECT_EQ(static_cast<intptr_t>(row.size()), V_GetBitmapRow(bitmap, row.data(), y, row.size()));
        for (int32_t x = 0; x < picture.width; ++x) {
            picture.at(x, y) = get_pixel(row.data(), bitmap->BitsPerPixel, x);
            set_pixel(row.data(), bitmap->BitsPerPixel, x, 0);
        }
        EXPECT_EQ(Bytes(row.size()), row) << "padding of row " << y;
    }
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    return picture;
}

/// As its perspective shows it.
inline Picture read_shown(TestBitmap& bitmap)
{
    return read(bitmap).shown(bitmap->ViewPerspective);
}

/// Makes a bitmap of a kind whose stored rows are a picture.
inline void make_stored(TestBitmap& bitmap, Kind kind, const Picture& picture, int32_t bits,
                        int32_t perspective = TOP_LEFT)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, picture.width, picture.height, bits));
    bitmap->ViewPerspective = perspective;
    ASSERT_NO_FATAL_FAILURE(paint(bitmap, picture));
}

} // namespace vk::testing
