// Single pixels as colours: every depth and order, gray ranges of any kind, palettes that do not fit.
#include "tests/support/TestBitmap.h"

#include "Vkkrnx.h"

using namespace vk::testing;

namespace {

constexpr COLORREF kNone = 0x80000000u;

constexpr COLORREF gray(uint32_t level)
{
    return level * 0x010101u;
}

/// A 7 x 2 bitmap that can be looked into.
void make(TestBitmap& bitmap, int32_t bits, int32_t order)
{
    ASSERT_EQ(SUCCESS, bitmap.init(7, 2, bits));
    ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap, TYPE_CONV));
    bitmap->Order = order;
}

TEST(Pixels, IndexesWithAndWithoutPalette)
{
    for (int32_t bits = 1; bits <= 8; ++bits) {
        SCOPED_TRACE(bits);
        TestBitmap bitmap;
        make(bitmap, bits, COLORORDER_RGB);
        const uint32_t count = 1u << bits;
        for (uint32_t index = 0; index < count; ++index) {
            const auto column = static_cast<int32_t>(index % 7);
            set_pixel(bitmap.row(1), bits, column, index);
            ASSERT_EQ(gray(index), V_GetPixelColor(bitmap, 1, column)) << "the index, unscaled";
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap, 1, column, 0x04000000u | (count - 1 - index) << 8));
            ASSERT_EQ(gray(count - 1 - index), V_GetPixelColor(bitmap, 1, column)) << "and back";
        }
        RGBQUAD palette[256];
        for (uint32_t i = 0; i < count; ++i)
            palette[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i * 3), 0xFF};
        bitmap->Palette = V_CreateNewPalette(palette, count);
        std::memset(bitmap->Data, 0xFF, bitmap.bytes());
        for (uint32_t index = 0; index < count; ++index) {
            const COLORREF color = (index * 3 & 0xFF) | (255 - index) << 8 | index << 16;
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap, 0, 3, color));
            ASSERT_EQ(color, V_GetPixelColor(bitmap, 0, 3));
            ASSERT_EQ(index, get_pixel(bitmap->Data, bits, 3));
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap, 0, 3, 0x01000000u | (count - 1 - index)));
            ASSERT_EQ(count - 1 - index, get_pixel(bitmap->Data, bits, 3));
        }
        for (const int32_t neighbour : {2, 4})
            EXPECT_EQ(count - 1, get_pixel(bitmap->Data, bits, neighbour));
        expect_each(ERROR_INVALID_PARAMETER,
                    {V_PutPixelColor(bitmap, 0, 3, 0x01000000u | count), V_PutPixelColor(bitmap, 0, 3, 0x0100FFFFu)});
        bitmap->Colors = 1;
        set_pixel(bitmap->Data, bits, 3, count - 1);
        EXPECT_EQ(0u, V_GetPixelColor(bitmap, 0, 3)) << "an index the palette does not have is black";
    }
}

constexpr struct {
    int32_t bits, order;
    uint64_t stored;
    COLORREF color;
    uint64_t written;
} kDeepCases[] = {
    {24, COLORORDER_BGR, 0x112233, 0x332211, 0x112233},
    {24, COLORORDER_RGB, 0x332211, 0x332211, 0x332211},
    {32, COLORORDER_BGR, 0xAA112233, 0x332211, 0xFF112233},
    {32, COLORORDER_RGB, 0xAA332211, 0x332211, 0xFF332211},
    {48, COLORORDER_BGR, 0x11FF22EE33DD, 0x332211, 0x111122223333},
    {48, COLORORDER_RGB, 0x33DD22EE11FF, 0x332211, 0x333322221111},
    {64, COLORORDER_BGR, 0xBEEF11FF22EE33DD, 0x332211, 0xFFFF111122223333},
    {64, COLORORDER_RGB, 0xBEEF33DD22EE11FF, 0x332211, 0xFFFF333322221111},
    {16, COLORORDER_BGR, 0x7C00, 0x0000FF, 0x7C00}, // 5-5-5, red on top
    {16, COLORORDER_BGR, 0x001F, 0xFF0000, 0x001F},
    {16, COLORORDER_BGR, 0x03E0, 0x00FF00, 0x03E0},
    {16, COLORORDER_RGB, 0x7C00, 0xFF0000, 0x7C00},
    {16, COLORORDER_GRAY, 0xABCD, gray(0xAB), 0xABAB},
    {12, COLORORDER_GRAY, 0xABC, gray(0xAB), 0xABA},
};

TEST(Pixels, DeepOnesInEveryOrder)
{
    for (const auto& c : kDeepCases)
        for (const int32_t column : {0, 1, 6}) {
            SCOPED_TRACE(say(c.bits, "bits, order", c.order, "column", column));
            TestBitmap bitmap;
            make(bitmap, c.bits, c.order);
            std::memset(bitmap->Data, 0x5A, bitmap.bytes());
            Bytes expected = bitmap.pixels();
            set_pixel(bitmap.row(1), c.bits, column, c.stored);
            EXPECT_EQ(c.color, V_GetPixelColor(bitmap, 1, column));
            EXPECT_EQ(SUCCESS, V_PutPixelColor(bitmap, 1, column, c.color));
            set_pixel(expected.data() + bitmap->BytesPerLine, c.bits, column, c.written);
            EXPECT_EQ(expected, bitmap.pixels()) << "the neighbours stay";
            EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap, 1, column, 0x01000000u));
            EXPECT_EQ(SUCCESS, V_PutPixelColor(bitmap, 1, column, 0x0400FF00u)) << "a gray level";
            EXPECT_EQ(gray(0xFF), V_GetPixelColor(bitmap, 1, column));
            EXPECT_EQ(0, bitmap->LockCount);
        }
    for (const int32_t bits : {24, 32, 48, 64}) { // gray at these depths has no colour
        TestBitmap bitmap;
        make(bitmap, bits, COLORORDER_GRAY);
        EXPECT_EQ(kNone, V_GetPixelColor(bitmap, 0, 0));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap, 0, 0, 0));
    }
}

/// The gray range as it is defined: its width is at most the depth, and the value is shifted down to its low end.
COLORREF deep_gray(uint32_t sample, int32_t bits, int64_t low, int64_t high)
{
    const int64_t width = std::min<int64_t>(high - low + 1, bits);
    const int64_t shift = high - width + 1;
    const uint64_t value = (shift < 32 ? sample >> shift : 0) & ((uint64_t{1} << width) - 1);
    return gray(static_cast<uint32_t>(width >= 8 ? value >> (width - 8) : value * 255 / ((1u << width) - 1)));
}

TEST(Pixels, GrayRanges)
{
    constexpr uint32_t samples[] = {0, 1, 0x7F, 0x80, 0x0ABC, 0x0FFF, 0x1234, 0x8001, 0xFEDC, 0xFFFF};
    for (const int32_t bits : {12, 16}) {
        TestBitmap bitmap;
        make(bitmap, bits, COLORORDER_GRAY);
        for (const int32_t low : {INT32_MIN, -5, -1, 0, 1, 4, 7, 11, 15, 16, 200, INT32_MAX})
            for (const int32_t high : {INT32_MIN, -5, -1, 0, 1, 4, 7, 10, 11, 15, 16, 31, 32, 200, INT32_MAX}) {
                SCOPED_TRACE(say(bits, "bits from", low, "to", high));
                bitmap->LowBit = low;
                bitmap->HighBit = high;
                const int64_t first = std::max(low, 0);
                const int64_t last = high < 0 ? bits - 1 : high;
                for (const uint32_t sample : samples) {
                    set_pixel(bitmap->Data, bits, 3, sample);
                    const COLORREF color = V_GetPixelColor(bitmap, 0, 3);
                    // An impossible range still gives some gray.
                    ASSERT_EQ(first <= last ? deep_gray(sample & ((1u << bits) - 1), bits, first, last)
                                            : gray(color & 0xFF),
                              color)
                        << sample;
                }
                EXPECT_EQ(SUCCESS, V_PutPixelColor(bitmap, 0, 3, gray(0x80)));
                EXPECT_TRUE(last - first < 7 || high >= bits || V_GetPixelColor(bitmap, 0, 3) == gray(0x80));
            }
    }
}

TEST(Pixels, PositionsAndChecks)
{
    constexpr std::pair<int32_t, int32_t> outside[] = {
        {-1, 0}, {2, 0}, {0, -1}, {0, 7}, {INT32_MIN, 0}, {INT32_MAX, INT32_MAX}, {0, INT32_MIN}};
    TestBitmap bitmap;
    bitmap.make(Kind::tiled_mixed, 7, 2, 1);
    for (const auto& [row, column] : outside) {
        EXPECT_EQ(kNone, V_GetPixelColor(bitmap, row, column));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap, row, column, 0));
    }
    TestBitmap other;
    make(other, 8, COLORORDER_RGB);
    for (const int32_t bits : {0, -8, 65, 256, INT32_MAX}) { // of no pixel there is
        other->BitsPerPixel = bits;
        EXPECT_EQ(kNone, V_GetPixelColor(other, 0, 0));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(other, 0, 0, 0));
    }
    other->BitsPerPixel = 8;
    BITMAPDATACALLBACKS table = callbacks_for(&other);
    table.AccessBitmapCallback = [](BITMAPHANDLE*, void*) { return -29; };
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(other, &table));
    EXPECT_EQ(kNone, V_GetPixelColor(other, 0, 0));
    EXPECT_EQ(-29, V_PutPixelColor(other, 0, 0, 0));
    other->StructSize = 1;
    EXPECT_EQ(kNone, V_GetPixelColor(other, 0, 0));
    other->StructSize = BITMAPHANDLE_SIZE;
}

} // namespace
