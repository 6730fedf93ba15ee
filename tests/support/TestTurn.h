// Pictures as lists of pixel values, turned pixel by pixel: what flips, mirrors and turns are held against.
#pragma once

#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <utility>

namespace vk::testing {

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint64_t> pixels;

    uint64_t& at(int32_t x, int32_t y)
    {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    friend bool operator==(const Picture&, const Picture&) = default;

    static Picture blank(int32_t width, int32_t height)
    {
        return {width, height, std::vector<uint64_t>(static_cast<size_t>(width) * static_cast<size_t>(height))};
    }
    static Picture noise(int32_t width, int32_t height, int32_t bits, uint64_t seed)
    {
        TestRandom random(seed);
        Picture made = blank(width, height);
        for (uint64_t& pixel : made.pixels)
            pixel = random.next() >> (64 - bits);
        return made;
    }
    Picture flipped() const
    {
        return moved(width, height, [&](int32_t x, int32_t y) { return at_(x, height - 1 - y); });
    }
    Picture mirrored() const
    {
        return moved(width, height, [&](int32_t x, int32_t y) { return at_(width - 1 - x, y); });
    }
    /// Clockwise: the first column becomes the first row, its last pixel first.
    Picture turned() const
    {
        return moved(height, width, [&](int32_t x, int32_t y) { return at_(y, height - 1 - x); });
    }

    Picture turned_by(int32_t degrees) const
    {
        Picture made = *this;
        for (; degrees > 0; degrees -= 90)
            made = made.turned();
        return made;
    }

    /// What a stored picture shows in a perspective.
    Picture shown(int32_t perspective) const
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

private:
    uint64_t at_(int32_t x, int32_t y) const
    {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    template <class From> static Picture moved(int32_t width, int32_t height, From&& from)
    {
        Picture made = blank(width, height);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                made.at(x, y) = from(x, y);
        return made;
    }
};

/// Writes all pixels of a bitmap, padding clear.
inline void paint(BITMAPHANDLE* bitmap, Picture picture)
{
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t y = 0; y < picture.height; ++y) {
        std::vector<uint8_t> row(bitmap->BytesPerLine);
        for (int32_t x = 0; x < picture.width; ++x)
            set_pixel(row.data(), bitmap->BitsPerPixel, x, picture.at(x, y));
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
}

/// Reads them all; bits behind the last pixel of a row must be clear.
inline Picture read(BITMAPHANDLE* bitmap)
{
    Picture picture = Picture::blank(bitmap->Width, bitmap->Height);
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t y = 0; y < picture.height; ++y) {
        std::vector<uint8_t> row(bitmap->BytesPerLine);
        EXPECT_EQ(static_cast<intptr_t>(row.size()), V_GetBitmapRow(bitmap, row.data(), y, row.size()));
        for (int32_t x = 0; x < picture.width; ++x) {
            picture.at(x, y) = get_pixel(row.data(), bitmap->BitsPerPixel, x);
            set_pixel(row.data(), bitmap->BitsPerPixel, x, 0);
        }
        EXPECT_EQ(std::vector<uint8_t>(row.size()), row) << "padding of row " << y;
    }
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    return picture;
}

/// Makes a bitmap of a kind whose stored rows are a picture.
inline void make_stored(TestBitmap& bitmap, Kind kind, const Picture& picture, int32_t bits,
                        int32_t perspective = TOP_LEFT)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, picture.width, picture.height, bits));
    bitmap->ViewPerspective = perspective;
    ASSERT_NO_FATAL_FAILURE(paint(bitmap.get(), picture));
}

} // namespace vk::testing
