// Single pixels as colours: every depth and order, gray ranges of any kind, palettes that do not fit.
#include "tests/support/TestBitmap.h"

#include <limits>

using namespace vk::testing;

namespace {

constexpr COLORREF kNone = 0x80000000u;
constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

constexpr COLORREF gray(uint32_t level)
{
    return level * 0x010101u;
}

/// A 7 x 2 bitmap that can be looked into.
void make(TestBitmap& bitmap, int32_t bits, int32_t order, uint32_t struct_size = BITMAPHANDLE_SIZE)
{
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), struct_size, 7, 2, bits));
    ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
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
            set_pixel(bitmap->Data + bitmap->BytesPerLine, bits, column, index);
            ASSERT_EQ(gray(index), V_GetPixelColor(bitmap.get(), 1, column)) << "the index, unscaled";
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), 1, column, 0x04000000u | (count - 1 - index) << 8));
            ASSERT_EQ(gray(count - 1 - index), V_GetPixelColor(bitmap.get(), 1, column)) << "and back";
        }
        RGBQUAD palette[256];
        for (uint32_t i = 0; i < count; ++i)
            palette[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i * 3), 0xFF};
        bitmap->Palette = V_CreateNewPalette(palette, count);
        std::memset(bitmap->Data, 0xFF, bitmap.bytes());
        for (uint32_t index = 0; index < count; ++index) {
            const COLORREF color = (index * 3 & 0xFF) | (255 - index) << 8 | index << 16;
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), 0, 3, color));
            ASSERT_EQ(color, V_GetPixelColor(bitmap.get(), 0, 3));
            ASSERT_EQ(index, get_pixel(bitmap->Data, bits, 3));
            ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), 0, 3, 0x01000000u | (count - 1 - index)));
            ASSERT_EQ(count - 1 - index, get_pixel(bitmap->Data, bits, 3));
        }
        for (const int32_t neighbour : {2, 4})
            EXPECT_EQ(count - 1, get_pixel(bitmap->Data, bits, neighbour));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap.get(), 0, 3, 0x01000000u | count));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap.get(), 0, 3, 0x0100FFFFu));
        bitmap->Colors = 1;
        set_pixel(bitmap->Data, bits, 3, count - 1);
        EXPECT_EQ(0u, V_GetPixelColor(bitmap.get(), 0, 3)) << "an index the palette does not have is black";
    }
}

struct DeepCase {
    int32_t bits, order;
    uint64_t stored;
    COLORREF color;
    uint64_t written;
};

constexpr DeepCase kDeepCases[] = {
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
    for (const DeepCase& c : kDeepCases) {
        for (const int32_t column : {0, 1, 6}) {
            SCOPED_TRACE(::testing::Message() << c.bits << " bits, order " << c.order << ", column " << column);
            TestBitmap bitmap;
            make(bitmap, c.bits, c.order);
            std::memset(bitmap->Data, 0x5A, bitmap.bytes());
            std::vector<uint8_t> expected = bitmap.pixels();
            uint8_t* const row = bitmap->Data + bitmap->BytesPerLine;
            set_pixel(row, c.bits, column, c.stored);
            EXPECT_EQ(c.color, V_GetPixelColor(bitmap.get(), 1, column));
            EXPECT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), 1, column, c.color));
            EXPECT_EQ(c.written, get_pixel(row, c.bits, column));
            set_pixel(expected.data() + bitmap->BytesPerLine, c.bits, column, c.written);
            EXPECT_EQ(expected, bitmap.pixels()) << "the neighbours stay";
            EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap.get(), 1, column, 0x01000000u));
            EXPECT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), 1, column, 0x0400FF00u)) << "a gray level";
            EXPECT_EQ(gray(0xFF), V_GetPixelColor(bitmap.get(), 1, column));
            EXPECT_EQ(0, bitmap->LockCount);
        }
    }
}

/// The gray range as it is defined: its width is at most the depth, and the value is shifted down to its low end.
COLORREF deep_gray(uint32_t sample, int32_t bits, int64_t low, int64_t high)
{
    low = low < 0 ? 0 : low;
    high = high < 0 ? bits - 1 : high;
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
        for (const int32_t low : {kLeast, -5, -1, 0, 1, 4, 7, 11, 15, 16, 200, kMost}) {
            for (const int32_t high : {kLeast, -5, -1, 0, 1, 4, 7, 10, 11, 15, 16, 31, 32, 200, kMost}) {
                bitmap->LowBit = low;
                bitmap->HighBit = high;
                const bool sound = std::max(low, 0) <= (high < 0 ? bits - 1 : high);
                for (const uint32_t sample : samples) {
                    set_pixel(bitmap->Data, bits, 3, sample);
                    const COLORREF color = V_GetPixelColor(bitmap.get(), 0, 3);
                    if (sound) {
                        ASSERT_EQ(deep_gray(sample & ((1u << bits) - 1), bits, low, high), color)
                            << sample << " at " << bits << " bits from " << low << " to " << high;
                    } else {
                        ASSERT_TRUE(color == gray(color & 0xFF)) << "an impossible range still gives some gray";
                    }
                }
                const int code = V_PutPixelColor(bitmap.get(), 0, 3, gray(0x80));
                EXPECT_EQ(SUCCESS, code) << bits << " bits from " << low << " to " << high;
                const bool within = sound && high < bits && (high < 0 ? bits - 1 : high) - std::max(low, 0) >= 7;
                if (within) {
                    EXPECT_EQ(gray(0x80), V_GetPixelColor(bitmap.get(), 0, 3)) << low << " to " << high;
                }
            }
        }
    }
    for (const int32_t bits : {24, 32, 48, 64}) { // gray at these depths has no colour
        TestBitmap bitmap;
        make(bitmap, bits, COLORORDER_GRAY);
        EXPECT_EQ(kNone, V_GetPixelColor(bitmap.get(), 0, 0));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap.get(), 0, 0, 0));
    }
}

int refuse(BITMAPHANDLE*, void*)
{
    return -29;
}

TEST(Pixels, PositionsAndChecks)
{
    const struct {
        int32_t row, column;
    } outside[] = {{-1, 0}, {2, 0}, {0, -1}, {0, 7}, {kLeast, 0}, {kMost, kMost}, {0, kLeast}};
    for (const Kind kind : kKinds) {
        for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
            TestBitmap bitmap(size);
            bitmap.make(kind, 7, 2, 1);
            for (const auto& at : outside) {
                EXPECT_EQ(kNone, V_GetPixelColor(bitmap.get(), at.row, at.column));
                EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(bitmap.get(), at.row, at.column, 0));
            }
            EXPECT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), 1, 6, 0x01000001u));
            EXPECT_EQ(0x00010101u, V_GetPixelColor(bitmap.get(), 1, 6));
            EXPECT_EQ(0u, V_GetPixelColor(bitmap.get(), 1, 5));
            EXPECT_EQ(0u, bitmap->Flags & BITMAPFLAG_LOCKED) << "accessed and released";
        }
    }
    EXPECT_EQ(kNone, V_GetPixelColor(nullptr, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutPixelColor(nullptr, 0, 0, 0));
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 7, 2, 8));
    EXPECT_EQ(kNone, V_GetPixelColor(bitmap.get(), 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutPixelColor(bitmap.get(), 0, 0, 0));
    make(bitmap, 8, COLORORDER_RGB);
    BITMAPDATACALLBACKS table{};
    table.StructSize = sizeof table;
    table.AccessBitmapCallback = refuse;
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &table));
    EXPECT_EQ(kNone, V_GetPixelColor(bitmap.get(), 0, 0));
    EXPECT_EQ(-29, V_PutPixelColor(bitmap.get(), 0, 0, 0));
    for (const int32_t bits : {0, -8, 65, 256, kMost}) { // of no pixel there is
        BITMAPHANDLE broken = *bitmap.get();
        broken.DataCallbacks = nullptr;
        broken.BitsPerPixel = bits;
        EXPECT_EQ(kNone, V_GetPixelColor(&broken, 0, 0));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_PutPixelColor(&broken, 0, 0, 0));
    }
    bitmap->StructSize = 1;
    EXPECT_EQ(kNone, V_GetPixelColor(bitmap.get(), 0, 0));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_PutPixelColor(bitmap.get(), 0, 0, 0));
    bitmap->StructSize = BITMAPHANDLE_SIZE;
}

} // namespace
