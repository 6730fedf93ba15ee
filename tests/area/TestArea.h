// Sets of pixels as plain masks, one byte per pixel: what areas are held against.
#pragma once

#include "kernel/area/AreaBuilder.h"
#include "kernel/area/Bits.h"

#include "tests/support/TestRandom.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace vk::testing {

struct Mask {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;

    uint8_t& at(int32_t x, int32_t y)
    {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    friend bool operator==(const Mask&, const Mask&) = default;

    /// 1 where `inside(x, y)` says so.
    template <class Inside> static Mask of(int32_t width, int32_t height, Inside inside)
    {
        Mask mask{width, height, {}};
        mask.pixels.reserve(static_cast<size_t>(width) * static_cast<size_t>(height));
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                mask.pixels.push_back(inside(x, y) ? 1 : 0);
        return mask;
    }

    /// Rows that often repeat, of runs of all lengths, or of single pixels, or none.
    static Mask noise(int32_t width, int32_t height, uint64_t seed)
    {
        TestRandom random(seed);
        std::vector<uint8_t> row(static_cast<size_t>(width));
        Mask mask{width, height, {}};
        for (int32_t y = 0; y < height; ++y) {
            const uint64_t kind = random.next() >> 61;
            if (kind < 5) {
                const uint64_t longest = kind == 0 ? 2 : kind == 1 ? 9 : 70;
                uint8_t value = random.one_in(2);
                for (size_t x = 0; x < row.size(); value ^= 1)
                    for (uint64_t left = 1 + (random.next() >> 20) % longest; left > 0 && x < row.size(); --left)
                        row[x++] = value;
            } else if (kind == 5) {
                std::fill(row.begin(), row.end(), uint8_t{0});
            }
            mask.pixels.insert(mask.pixels.end(), row.begin(), row.end());
        }
        return mask;
    }
};

/// Sends a mask on its way as rows of bits.
inline void send(Mask mask, BitsToArea to)
{
    const size_t stride = (static_cast<size_t>(mask.width) + 7) / 8;
    std::vector<uint8_t> bits(stride * static_cast<size_t>(mask.height));
    for (int32_t y = 0; y < mask.height; ++y)
        for (int32_t x = 0; x < mask.width; ++x)
            bits[stride * static_cast<size_t>(y) + static_cast<size_t>(x) / 8] |=
                static_cast<uint8_t>(mask.at(x, y) << (7 - x % 8));
    to.add({bits.data(), stride, 0, mask.height}, mask.width);
    ASSERT_TRUE(to.built().good());
}

/// Builds the area of a mask.
inline void build(const Mask& mask, AreaBuilder& built)
{
    built.clear();
    send(mask, BitsToArea(built));
}

/// The mask of an area, which must have its one form and lie within the size.
inline Mask mask_of(const Area& area, int32_t width, int32_t height)
{
    Mask mask = Mask::of(width, height, [](int32_t, int32_t) { return false; });
    uint32_t next_run = 0;
    for (uint32_t i = 0; i < area.band_count; ++i) {
        const AreaBand& band = area.bands[i];
        EXPECT_EQ(next_run, band.first);
        EXPECT_TRUE(band.top >= 0 && band.top < band.bottom && band.bottom <= height && band.first < band.end);
        if (i > 0 && area.bands[i - 1].bottom >= band.top) {
            const AreaRuns before = area.runs_of(area.bands[i - 1]);
            const AreaRuns now = area.runs_of(band);
            EXPECT_EQ(area.bands[i - 1].bottom, band.top);
            EXPECT_FALSE(std::equal(before.begin(), before.end(), now.begin(), now.end()))
                << "bands that should be one";
        }
        int32_t last = -1;
        for (const AreaRun& run : area.runs_of(band)) {
            EXPECT_TRUE(run.first > last && run.first < run.end && run.end <= width && run.first >= 0);
            last = run.end;
            for (int32_t y = band.top; y < band.bottom; ++y)
                std::fill(&mask.at(run.first, y), &mask.at(run.first, y) + (run.end - run.first), uint8_t{1});
        }
        next_run = band.end;
    }
    EXPECT_EQ(next_run, area.run_count);
    return mask;
}

} // namespace vk::testing
