// The nearest entry, colour values between bitmaps, and match tables.
#include "kernel/palette/ColorMatch.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/TestBitmap.h"

#include "Vkkrnx.h"

#include <thread>

namespace vk::testing {
namespace {

constexpr RGBQUAD rgb(unsigned red, unsigned green, unsigned blue)
{
    return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

constexpr RGBQUAD kBlack = rgb(0, 0, 0), kWhite = rgb(255, 255, 255);

int32_t find(const Palette& palette, int red, int green, int blue)
{
    return V_FindPaletteIndex(palette.data(), static_cast<uint32_t>(palette.size()), static_cast<uint8_t>(red),
                              static_cast<uint8_t>(green), static_cast<uint8_t>(blue));
}

TEST(ColorMatch, LooksForBlackAndWhiteAtTheEndsAndBreaksTiesByChannelOrder)
{
    const RGBQUAD exact = rgb(9, 8, 7);
    const struct {
        int32_t expected;
        Palette palette;
        int red, green, blue;
    } cases[] = {
        {0, {kBlack, kWhite, kBlack}, 0, 0, 0},
        {2, {kWhite, kBlack, kBlack}, 0, 0, 0}, // the last, though entry 1 is as black
        {1, {kWhite, kBlack, kWhite}, 0, 0, 0},
        {2, {kWhite, kBlack, kWhite}, 255, 255, 255},
        {0, {kWhite, kWhite, kBlack}, 255, 255, 255}, // the first
        {3, {kBlack, kWhite, kBlack, exact, kBlack, kBlack, kBlack, exact}, 9, 8, 7},
        // Both entries are 4 away from (100, 110, 120), whose red is below its blue and green between them.
        {1, {rgb(100, 108, 120), rgb(100, 112, 120)}, 100, 110, 120}, // the later one, of the same class
        {2, {rgb(100, 110, 118), rgb(120, 110, 100), rgb(100, 110, 122)}, 100, 110, 120}, // the last such
        // Red equals blue in the colour: class 0. The later entry's red is smaller: class 4, so the first stays.
        {0, {rgb(102, 100, 100), rgb(98, 100, 100)}, 100, 100, 100},
        {1, {rgb(98, 100, 100), rgb(102, 100, 100)}, 100, 100, 100},
        {0, {rgb(100, 102, 100), rgb(100, 98, 100)}, 100, 100, 100}, // green largest, green smallest
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expected, find(c.palette, c.red, c.green, c.blue)) << &c - cases;
    EXPECT_EQ(255, V_FindPaletteIndex(V_IntGetFixedPalette(8), 256, 255, 255, 255));
    expect_each(0, {V_FindPaletteIndex(nullptr, 256, 1, 2, 3), V_FindPaletteIndex(nullptr, 0, 1, 2, 3)});
    EXPECT_EQ(-1, V_FindPaletteIndex(V_IntGetFixedPalette(8), 0, 0, 0, 0));
}

TEST(ColorMatch, AgreesWithTheReferenceOnClusteredPalettes)
{
    TestRandom random(77);
    SCOPED_TRACE(random);
    for (int round = 0; round < 400; ++round) {
        Palette palette(static_cast<size_t>(random.between(1, 256)));
        const uint64_t levels = random.one_in(2) ? 4 : 256;
        for (RGBQUAD& e : palette) {
            const auto level = [&] { return static_cast<unsigned>(random.below(levels) * 255 / (levels - 1)); };
            e = rgb(level(), level(), level());
        }
        for (int i = 0; i < 50; ++i) {
            const int r = random.between(0, 255), g = random.between(0, 255), b = random.one_in(2) ? r : g;
            ASSERT_EQ(reference::nearest(palette, r, g, b), find(palette, r, g, b)) << r << ' ' << g << ' ' << b;
        }
    }
}

/// A record with a borrowed palette.
BITMAPHANDLE record(int32_t bits, int32_t order, const Palette& palette)
{
    BITMAPHANDLE bitmap{};
    bitmap.StructSize = BITMAPHANDLE_SIZE;
    bitmap.BitsPerPixel = bits;
    bitmap.Order = order;
    bitmap.Palette = palette.empty() ? nullptr : const_cast<RGBQUAD*>(palette.data());
    bitmap.Colors = static_cast<uint32_t>(palette.size());
    return bitmap;
}

TEST(ColorTranslate, KeepsTheMeaning)
{
    const Palette p = {kBlack, rgb(200, 0, 0), rgb(0, 200, 0)}, q = {kWhite, rgb(0, 200, 0), rgb(0, 200, 0), kBlack};
    BITMAPHANDLE deep = record(24, COLORORDER_BGR, {}), a = record(8, COLORORDER_BGR, p),
                 b = record(8, COLORORDER_BGR, q), gray = record(16, COLORORDER_GRAY, {});
    struct Case {
        BITMAPHANDLE *dst, *src;
        COLORREF color, expected;
    };
    const Case cases[] = {
        {nullptr, &a, 0x01000001, 0x01000001},  {&deep, &a, 0x00123456, 0x00123456}, // a colour stays one
        {&a, &deep, 0x0000BE05, 0x01000002},                                         // or becomes the nearest index
        {&deep, &a, 0x01000001, 0x000000C8},                                         // an index becomes its colour
        {&b, &a, 0x01000002, 0x01000002},                                            // the same entry keeps its index
        {&b, &a, 0x01000000, 0x01000003},                                            // another finds the nearest
        {&deep, &a, 0x01000003, 0x00000000},                                         // past the palette
        {&b, &a, 0x01000003, 0x01000003},                                            // black in b
        {&b, nullptr, 0x01000001, 0x01000003},                                       // no source
        {&deep, &deep, 0x01000001, 0x00000000},                                      // no palette
        {&deep, &a, 0x04008000, 0x00808080},                                         // gray as a colour
        {&b, &a, 0x0400F000, 0x01000000},                                            // gray by index
        {&gray, &a, 0x0400F000, 0x0400F000},                                         // gray as it is
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, V_TranslateBitmapColor(c.dst, c.src, c.color)) << &c - cases;
    gray.LUT = const_cast<RGBQUAD*>(q.data());
    gray.LUTLength = 3;
    EXPECT_EQ(0x0400C800u, V_TranslateBitmapColor(&gray, &a, 0x0400C800)) << "a table that is not used";
    gray.Flags = BITMAPFLAG_USELUT;
    EXPECT_EQ(0x01000001u, V_TranslateBitmapColor(&gray, &a, 0x0400C800));
    EXPECT_EQ(2u, V_GetNearestPaletteIndex(&a, 0x00FF00));
    EXPECT_EQ(0u, V_GetNearestPaletteIndex(nullptr, 0x00FF00));
    EXPECT_EQ(0u, V_GetNearestPaletteIndex(&deep, 0x00FF00));
}

TEST(UserMatchTable, HoldsTheNearestOfEveryColor)
{
    uint32_t* table = V_CreateUserMatchTable(V_IntGetFixedPalette(5), 32);
    ASSERT_NE(nullptr, table);
    for (int i = 0; i < 32768; ++i) {
        const int32_t index =
            find_palette_index(V_IntGetFixedPalette(5), 32, static_cast<uint8_t>(i / 1024 * 8),
                               static_cast<uint8_t>(i / 32 % 32 * 8), static_cast<uint8_t>(i % 32 * 8));
        ASSERT_EQ(static_cast<uint32_t>(index + 1), table[i]) << i;
    }
    EXPECT_EQ(nullptr, V_SetUserMatchTable(table));
    std::thread([table] { EXPECT_NE(table, V_SetUserMatchTable(nullptr)); }).join();
    EXPECT_EQ(table, V_SetUserMatchTable(nullptr));
    EXPECT_EQ(nullptr, V_SetUserMatchTable(nullptr));
    EXPECT_EQ(SUCCESS, V_FreeUserMatchTable(table));
    EXPECT_EQ(SUCCESS, V_FreeUserMatchTable(nullptr));
    EXPECT_EQ(nullptr, V_CreateUserMatchTable(nullptr, 32));
    uint32_t* none = V_CreateUserMatchTable(V_IntGetFixedPalette(5), 0);
    ASSERT_NE(nullptr, none);
    EXPECT_EQ(0u, none[0] | none[32767]);
    V_FreeUserMatchTable(none);
}

} // namespace
} // namespace vk::testing
