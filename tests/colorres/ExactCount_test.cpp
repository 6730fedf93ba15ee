// Colours counted beside a set of them, at every depth and in every storage kind, with tables too small for one pass.
#include "kernel/colorres/ExactCount.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

#include <set>

using namespace vk::testing;

namespace {

/// The different pixels as `meaning(value)` tells them apart.
template <class Meaning> uint64_t different(TestBitmap& bitmap, Meaning meaning)
{
    const Bytes pixels = bitmap.pixels();
    std::set<uint64_t> found;
    for (int32_t y = 0; y < bitmap->Height; ++y)
        for (int32_t x = 0; x < bitmap->Width; ++x)
            found.insert(meaning(get_pixel(pixels.data() + size_t{bitmap->BytesPerLine} * static_cast<size_t>(y),
                                           bitmap->BitsPerPixel, x)));
    return found.size();
}

uint64_t counted(BITMAPHANDLE* bitmap)
{
    uint64_t colors = 99;
    EXPECT_EQ(SUCCESS, V_CountBitmapColors(bitmap, &colors));
    return colors;
}

} // namespace

TEST(ExactCount, EveryDepthAndKind)
{
    TestRandom random(71);
    for (const int32_t bits : kDepths)
        for (const Kind kind : kKinds)
            for (const uint64_t range : {~uint64_t{0}, uint64_t{0x0000000300000007}, uint64_t{0}}) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(say(bits, name_of(kind), range));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 61, 29, bits));
                bitmap.paint([&](int32_t, int32_t) { return random.next() & range; });
                const Bytes before = bitmap.pixels();
                const RGBQUAD* const palette = bitmap->Palette;
                EXPECT_EQ(different(bitmap,
                                    [&](uint64_t value) {
                                        if (bits > 8)
                                            return bits == 16 && bitmap->Order == COLORORDER_BGR ? value & 0x7FFF
                                                                                                 : value;
                                        if (!palette)
                                            return value;
                                        uint32_t color = 0;
                                        std::memcpy(&color, palette + value, 3);
                                        return uint64_t{color};
                                    }),
                          counted(bitmap));
                EXPECT_EQ(before, bitmap.pixels());
            }
}

TEST(ExactCount, WhatCountsAsOneColor)
{
    TestRandom random(72);
    // Entries of one colour, and indices that no entry stands for.
    const Palette twins = {{1, 2, 3, 0}, {1, 2, 3, 9}, {0, 0, 0, 0}, {3, 2, 1, 0}};
    TestBitmap indexed, levels, samples, wide, fields;
    ASSERT_EQ(SUCCESS, indexed.create(TYPE_CONV, 16, 1, 4));
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(indexed, twins.data(), 4));
    indexed.paint([](int32_t x, int32_t) { return static_cast<uint64_t>(x); });
    EXPECT_EQ(3u, counted(indexed));
    ASSERT_EQ(SUCCESS, levels.create(TYPE_CONV, 256, 1, 8));
    levels.paint([](int32_t x, int32_t) { return static_cast<uint64_t>(x); });
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(levels, Palette(256).data(), 256));
    EXPECT_EQ(1u, counted(levels));
    levels->Order = COLORORDER_GRAY;
    EXPECT_EQ(256u, counted(levels));
    ASSERT_EQ(SUCCESS, samples.create(TYPE_CONV, 100, 40, 16, COLORORDER_GRAY));
    samples.paint(random);
    samples->LowBit = 3;
    samples->HighBit = 8;
    EXPECT_EQ(64u, counted(samples));
    ASSERT_EQ(SUCCESS, wide.create(TYPE_CONV, 100, 40, 32, COLORORDER_GRAY));
    wide.paint(random);
    wide->LowBit = 30;
    wide->HighBit = 31;
    EXPECT_EQ(4u, counted(wide));
    ASSERT_EQ(SUCCESS, fields.create(TYPE_CONV, 100, 1, 16, COLORORDER_RGB565));
    fields.paint([](int32_t x, int32_t) { return static_cast<uint64_t>(x % 2) << 15; });
    EXPECT_EQ(2u, counted(fields));
    fields->Order = COLORORDER_BGR;
    EXPECT_EQ(1u, counted(fields));
}

TEST(ExactCount, ManyPasses)
{
    TestRandom random(73);
    for (const int32_t bits : {32, 48, 64})
        for (const uint32_t slots : {16u, 64u, 1u << 13}) {
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 97, 53, bits, COLORORDER_BGR));
            bitmap.paint([&](int32_t, int32_t) { return random.next() & (random.one_in(2) ? 0xFF : ~uint64_t{0}); });
            const Watch watch;
            uint64_t colors = 0;
            ASSERT_EQ(SUCCESS, vk::count_colors(*bitmap, &colors, slots));
            EXPECT_EQ(different(bitmap, [](uint64_t value) { return value; }), colors) << bits << ' ' << slots;
            EXPECT_TRUE(watch.told.front() == 0 && watch.told.back() == 100);
            EXPECT_TRUE(std::is_sorted(watch.told.begin(), watch.told.end()));
        }
}

TEST(ExactCount, RefusalsAndFailingCalls)
{
    TestRandom random(74);
    TestBitmap none, shallow, deep;
    uint64_t colors = 99;
    ASSERT_EQ(SUCCESS, shallow.create(TYPE_CONV, 40, 20, 24, COLORORDER_BGR));
    ASSERT_NO_FATAL_FAILURE(deep.make(Kind::conv, 200, 60, 64, random));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CountBitmapColors(nullptr, &colors));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CountBitmapColors(shallow, nullptr));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_CountBitmapColors(none, &colors));
    for (BITMAPHANDLE* const bitmap : {shallow.get(), deep.get()}) {
        {
            const Watch watch(50);
            EXPECT_EQ(Watch::kRefused, V_CountBitmapColors(bitmap, &colors));
        }
        for_each_fault([&] { // each round with a bitmap of its own, whose file goes with it
            TestBitmap made;
            colors = 99;
            int result = made.create(TYPE_DISK, bitmap->Width, bitmap->Height, bitmap->BitsPerPixel, COLORORDER_BGR);
            if (result == SUCCESS)
                result = V_CountBitmapColors(made, &colors);
            EXPECT_EQ(result == SUCCESS ? 1u : 99u, colors);
        });
    }
}
