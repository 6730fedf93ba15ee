// Regions of bitmaps as masks: pictures of 0 and 1.
#pragma once

#include "Vkregion.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestTurn.h"

namespace vk::testing {

/// The region: 1 inside.
inline Picture region_of(BITMAPHANDLE* bitmap)
{
    Picture inside = Picture::blank(bitmap->Width, bitmap->Height);
    for (int32_t y = 0; y < inside.height; ++y) {
        std::vector<V_REGIONRUN> runs(static_cast<size_t>(bitmap->Width));
        auto count = static_cast<int32_t>(runs.size());
        EXPECT_EQ(SUCCESS, V_GetBitmapRegionRow(bitmap, y, &count, runs.data()));
        runs.resize(static_cast<size_t>(count));
        for (const V_REGIONRUN& run : runs) {
            EXPECT_TRUE(run.nFirst >= 0 && run.nFirst < run.nEnd && run.nEnd <= bitmap->Width);
            for (int32_t x = run.nFirst; x < run.nEnd; ++x)
                inside.at(x, y) = 1;
        }
    }
    return inside;
}

/// 1 for pixels that are not 0.
inline Picture pixels_of(BITMAPHANDLE* bitmap)
{
    Picture picture = read(bitmap);
    for (uint64_t& pixel : picture.pixels)
        pixel = pixel != 0;
    return picture;
}

/// One picture inside, where the mask is 1, and another outside.
inline Picture inside_and_out(const Picture& mask, const Picture& inside, const Picture& outside)
{
    return Picture::made(mask.width, mask.height,
                         [&](int32_t x, int32_t y) { return mask.at(x, y) ? inside.at(x, y) : outside.at(x, y); });
}

/// What hangs together with a pixel by four neighbours where a mask is 1, one step at a time.
inline Picture connected(const Picture& mask, int32_t x, int32_t y)
{
    Picture reached = Picture::blank(mask.width, mask.height);
    std::vector<std::pair<int32_t, int32_t>> todo{{x, y}};
    while (!todo.empty()) {
        const auto [c, r] = todo.back();
        todo.pop_back();
        if (!mask.has(c, r) || !mask.at(c, r) || reached.at(c, r))
            continue;
        reached.at(c, r) = 1;
        for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
            todo.emplace_back(c + dx, r + dy);
    }
    return reached;
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
