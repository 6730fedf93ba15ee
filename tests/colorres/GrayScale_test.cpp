// Gray bitmaps: telling them, their significant bits, and making them.
#include "kernel/colorres/GrayScale.h"
#include "kernel/rows/Locks.h"
#include "tests/support/TestBitmap.h"

#include "Vkbitmap.h"
#include "Vkkrnx.h"

using namespace vk::testing;

namespace {

int kind_of(int32_t bits, const Palette& palette)
{
    TestBitmap bitmap;
    EXPECT_EQ(SUCCESS, bitmap.init(5, 5, bits));
    EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap, palette.data(), static_cast<uint32_t>(palette.size())));
    return V_IntIsGrayScaleBitmap(bitmap);
}

} // namespace

TEST(GrayScale, ToldByOrderAndPalette)
{
    for (int32_t bits = 1; bits <= 8; ++bits) {
        Palette entries(size_t{1} << bits);
        const size_t last = entries.size() - 1;
        for (size_t i = 0; i <= last; ++i) {
            const auto level = static_cast<uint8_t>(i * 255 / last);
            entries[i] = {level, level, level, 0};
        }
        EXPECT_EQ(1, kind_of(bits, entries));
        Palette changed = entries;
        for (RGBQUAD& entry : changed) // one off still counts
            entry.rgbRed = entry.rgbGreen = entry.rgbBlue = static_cast<uint8_t>(std::min(entry.rgbRed + 1, 255));
        EXPECT_EQ(1, kind_of(bits, changed));
        for (const size_t at : {size_t{0}, last / 2, last})
            for (auto channel : {&RGBQUAD::rgbBlue, &RGBQUAD::rgbGreen, &RGBQUAD::rgbRed}) {
                changed = entries;
                changed[at].*channel = static_cast<uint8_t>(changed[at].*channel ^ 2);
                EXPECT_EQ(0, kind_of(bits, changed)) << bits << ' ' << at;
            }
        std::reverse(entries.begin(), entries.end());
        EXPECT_EQ(2, kind_of(bits, entries));
        entries.pop_back();
        EXPECT_EQ(0, kind_of(bits, entries));
        EXPECT_EQ(bits <= 2 ? 1 : 0, kind_of(bits, {})) << "the fixed palette, " << bits;
    }
    for (const int32_t bits : kDepths) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.init(5, 5, bits));
        bitmap->Order = COLORORDER_GRAY;
        EXPECT_EQ(bits > 8 ? 3 : bits == 8 || bits <= 2 ? 1 : 0, V_IntIsGrayScaleBitmap(bitmap));
        bitmap->Order = COLORORDER_BGR;
        EXPECT_EQ(bits <= 2 ? 1 : 0, V_IntIsGrayScaleBitmap(bitmap));
    }
}

TEST(GrayScale, SignificantBits)
{
    constexpr struct {
        int32_t bits, low, high;
        uint32_t mask;
        int32_t shift, count;
    } kCases[] = {
        {8, 0, 7, 0xFF, 0, 8},      {12, 0, 11, 0xFFF, 0, 12},   {16, 4, 11, 0xFF, 4, 8},
        {16, 0, -1, 0xFFFF, 0, 16}, {16, -5, 99, 0xFFFF, 0, 16}, {32, 0, -1, 0xFFFFFFFF, 0, 32},
        {16, 12, 3, 1, 3, 1},       {32, 8, 23, 0xFFFF, 8, 16},
    };
    TestBitmap bitmap;
    for (const auto& test : kCases) {
        ASSERT_EQ(SUCCESS, bitmap.init(5, 5, test.bits));
        bitmap->LowBit = test.low;
        bitmap->HighBit = test.high;
        uint32_t mask = 0;
        int32_t shift = -1, count = 0;
        ASSERT_EQ(SUCCESS, V_GetGrayParams(bitmap, &mask, &shift, &count));
        EXPECT_TRUE(mask == test.mask && shift == test.shift && count == test.count) << &test - kCases;
        EXPECT_EQ(SUCCESS, V_GetGrayParams(bitmap, nullptr, nullptr, nullptr));
    }
    ASSERT_EQ(SUCCESS, bitmap.init(5, 5, 48));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_GetGrayParams(bitmap, nullptr, nullptr, nullptr));
}

TEST(GrayScale, MakesGrayAsTheConverterDoes)
{
    constexpr int32_t kWidth = 33;
    TestRandom random(61);
    for (const int32_t from : {1, 4, 8, 16, 24, 32, 48, 64})
        for (const int32_t to : {8, 12, 16}) {
            SCOPED_TRACE(say(random, from, "to", to));
            TestBitmap bitmap, made;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, kWidth, 1, from, COLORORDER_BGR));
            random.fill(bitmap->Data, bitmap->BytesPerLine);
            Bytes row = bitmap.pixels();
            row.resize(512);
            ASSERT_EQ(SUCCESS,
                      V_ConvertBuffer(row.data(), kWidth, from, to, from <= 8 ? COLORORDER_RGB : COLORORDER_BGR,
                                      COLORORDER_GRAY, bitmap->Palette, nullptr));
            ASSERT_EQ(SUCCESS, V_CreateGrayScaleBitmap(made, bitmap, BITMAPHANDLE_SIZE, to));
            ASSERT_EQ(SUCCESS, V_GrayScaleBitmap(bitmap, to));
            EXPECT_EQ(to == 8 ? 1 : 3, V_IntIsGrayScaleBitmap(bitmap));
            const Bytes pixels = bitmap.pixels();
            EXPECT_EQ(pixels, made.pixels());
            EXPECT_EQ(0, std::memcmp(row.data(), pixels.data(), packed_bytes_of(kWidth, to)));
            EXPECT_EQ(to - 1, bitmap->HighBit);
            const Bytes image = bitmap.image();
            EXPECT_EQ(SUCCESS, V_GrayScaleBitmap(bitmap, to)); // is gray already
            EXPECT_EQ(image, bitmap.image());
        }
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 24));
    for (const int32_t bits : {-1, 1, 4, 24, 32})
        EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_GrayScaleBitmap(bitmap, bits));
    expect_each(ERROR_INVALID_PARAMETER, {V_CreateGrayScaleBitmap(nullptr, bitmap, BITMAPHANDLE_SIZE, 8),
                                          V_CreateGrayScaleBitmap(bitmap, bitmap, BITMAPHANDLE_SIZE, 8)});
    EXPECT_EQ(SUCCESS, V_GrayScaleBitmap(bitmap, 0));
    EXPECT_EQ(8, bitmap->BitsPerPixel);
}

TEST(GrayScale, LimitsOfSamples)
{
    TestRandom random(62);
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed})
        for (const int32_t bits : {12, 16, 32}) {
            SCOPED_TRACE(say(random, name_of(kind), bits));
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 31, 5, bits));
            bitmap->Order = COLORORDER_GRAY;
            bitmap->LowBit = 2;
            bitmap->HighBit = 10;
            int32_t least = INT32_MAX;
            int32_t most = 0;
            bitmap.paint([&](int32_t, int32_t) {
                const uint64_t sample = random.next();
                least = std::min(least, static_cast<int32_t>(sample >> 2 & 0x1FF));
                most = std::max(most, static_cast<int32_t>(sample >> 2 & 0x1FF));
                return sample;
            });
            vk::BitmapAccess access(*bitmap);
            EXPECT_EQ(SUCCESS, vk::refresh_gray_limits(*bitmap));
            EXPECT_TRUE(bitmap->MinVal == least && bitmap->MaxVal == most);
        }
}
