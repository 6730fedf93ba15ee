// Regions of bitmaps as masks, a bit for each pixel.
#pragma once

#include "Vkregion.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestTurn.h"

namespace vk::testing {

/// A bit for each pixel; failures show them as a picture.
struct Bits : std::vector<std::vector<bool>> {
    using std::vector<std::vector<bool>>::vector;

    friend void PrintTo(const Bits& rows, std::ostream* out)
    {
        for (const std::vector<bool>& row : rows) {
            *out << "\n";
            for (const bool bit : row)
                *out << (bit ? '#' : '.');
        }
    }
};

/// The region, row by row.
inline Bits region_of(BITMAPHANDLE* bitmap)
{
    Bits rows;
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        std::vector<V_REGIONRUN> runs(static_cast<size_t>(bitmap->Width));
        auto count = static_cast<int32_t>(runs.size());
        EXPECT_EQ(SUCCESS, V_GetBitmapRegionRow(bitmap, y, &count, runs.data()));
        rows.emplace_back(static_cast<size_t>(bitmap->Width));
        for (int32_t i = 0; i < count; ++i) {
            const V_REGIONRUN run = runs[static_cast<size_t>(i)];
            EXPECT_TRUE(run.nFirst >= 0 && run.nFirst < run.nEnd && run.nEnd <= bitmap->Width);
            for (int32_t x = run.nFirst; x < run.nEnd; ++x)
                rows.back()[static_cast<size_t>(x)] = true;
        }
    }
    return rows;
}

/// The pixels that are not 0.
inline Bits pixels_of(BITMAPHANDLE* bitmap)
{
    Picture picture = read(bitmap);
    Bits rows;
    for (int32_t y = 0; y < picture.height; ++y) {
        rows.emplace_back();
        for (int32_t x = 0; x < picture.width; ++x)
            rows.back().push_back(picture.at(x, y) != 0);
    }
    return rows;
}

/// Blobs and single pixels of value 1.
inline Picture blobs(int32_t width, int32_t height, uint64_t seed)
{
    TestRandom random(seed);
    Picture picture = Picture::blank(width, height);
    for (int i = 0; i < 12; ++i) {
        const int32_t x = random.between(0, width - 1), y = random.between(0, height - 1);
        const int32_t w = random.between(1, width / 3 + 1), h = random.between(1, height / 3 + 1);
        for (int32_t r = y; r < std::min(y + h, height); ++r)
            for (int32_t c = x; c < std::min(x + w, width); ++c)
                picture.at(c, r) ^= 1;
    }
    return picture;
}

} // namespace vk::testing
