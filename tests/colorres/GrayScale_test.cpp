// Gray bitmaps: telling them, their significant bits, and making them.
#include "kernel/colorres/GrayScale.h"
#include "kernel/rows/Locks.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkkrnx.h"

using namespace vk::testing;

namespace {

std::vector<RGBQUAD> ramp(int32_t bits)
{
    const uint32_t count = 1u << bits;
    std::vector<RGBQUAD> entries(count);
    for (uint32_t i = 0; i < count; ++i) {
        const auto level = static_cast<uint8_t>(i * 255 / (count - 1));
        entries[i] = {level, level, level, 0};
    }
    return entries;
}

int kind_of(int32_t bits, const std::vector<RGBQUAD>& palette)
{
    TestBitmap bitmap;
    EXPECT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, bits));
    EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), palette.data(), static_cast<uint32_t>(palette.size())));
    return V_IntIsGrayScaleBitmap(bitmap.get());
}

} // namespace

TEST(GrayScale, ToldByOrderAndPalette)
{
    for (int32_t bits = 1; bits <= 8; ++bits) {
        std::vector<RGBQUAD> entries = ramp(bits);
        EXPECT_EQ(1, kind_of(bits, entries));
        const size_t last = entries.size() - 1;
        std::vector<RGBQUAD> changed = entries;
        for (RGBQUAD& entry : changed) // one off still counts
            entry.rgbRed = entry.rgbGreen = entry.rgbBlue = static_cast<uint8_t>(std::min(entry.rgbRed + 1, 255));
        EXPECT_EQ(1, kind_of(bits, changed));
        for (const size_t at : {size_t{0}, last / 2, last})
            for (const int channel : {0, 1, 2}) {
                changed = entries;
                auto* const level = reinterpret_cast<uint8_t*>(&changed[at]) + channel;
                *level = static_cast<uint8_t>(*level ^ 2);
                EXPECT_EQ(0, kind_of(bits, changed)) << bits << ' ' << at << ' ' << channel;
            }
        std::reverse(entries.begin(), entries.end());
        EXPECT_EQ(2, kind_of(bits, entries));
        entries.pop_back();
        EXPECT_EQ(0, kind_of(bits, entries));
        EXPECT_EQ(bits <= 2 ? 1 : 0, kind_of(bits, {})) << "the fixed palette, " << bits;
    }
    for (const int32_t bits : kDepths) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, bits));
        bitmap->Order = COLORORDER_GRAY;
        EXPECT_EQ(bits > 8 ? 3 : bits == 8 || bits <= 2 ? 1 : 0, V_IntIsGrayScaleBitmap(bitmap.get()));
        bitmap->Order = COLORORDER_BGR;
        EXPECT_EQ(bits <= 2 ? 1 : 0, V_IntIsGrayScaleBitmap(bitmap.get()));
    }
    EXPECT_EQ(0, V_IntIsGrayScaleBitmap(nullptr));
}

TEST(GrayScale, SignificantBits)
{
    const struct {
        int32_t bits, low, high;
        uint32_t mask;
        int32_t shift, count;
    } kCases[] = {
        {8, 0, 7, 0xFF, 0, 8},      {12, 0, 11, 0xFFF, 0, 12},   {16, 4, 11, 0xFF, 4, 8},
        {16, 0, -1, 0xFFFF, 0, 16}, {16, -5, 99, 0xFFFF, 0, 16}, {32, 0, -1, 0xFFFFFFFF, 0, 32},
        {16, 12, 3, 1, 3, 1},       {32, 8, 23, 0xFFFF, 8, 16},
    };
    for (const auto& test : kCases) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, test.bits));
        bitmap->LowBit = test.low;
        bitmap->HighBit = test.high;
        uint32_t mask = 0;
        int32_t shift = -1;
        int32_t count = 0;
        ASSERT_EQ(SUCCESS, V_GetGrayParams(bitmap.get(), &mask, &shift, &count));
        EXPECT_EQ(test.mask, mask);
        EXPECT_EQ(test.shift, shift);
        EXPECT_EQ(test.count, count);
        EXPECT_EQ(SUCCESS, V_GetGrayParams(bitmap.get(), nullptr, nullptr, nullptr));
    }
    TestBitmap deep;
    ASSERT_EQ(SUCCESS, V_InitBitmap(deep.get(), BITMAPHANDLE_SIZE, 5, 5, 48));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_GetGrayParams(deep.get(), nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetGrayParams(nullptr, nullptr, nullptr, nullptr));
}

TEST(GrayScale, MakesGrayAsTheConverterDoes)
{
    constexpr int32_t kWidth = 33;
    TestRandom random(61);
    SCOPED_TRACE(random);
    for (const int32_t from : {1, 4, 8, 16, 24, 32, 48, 64})
        for (const int32_t to : {8, 12, 16}) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, kWidth, 1, from, COLORORDER_BGR));
            random.fill(bitmap->Data, bitmap->BytesPerLine);
            std::vector<uint8_t> row = bitmap.pixels();
            row.resize(512);
            ASSERT_EQ(SUCCESS,
                      V_ConvertBuffer(row.data(), kWidth, from, to, from <= 8 ? COLORORDER_RGB : COLORORDER_BGR,
                                      COLORORDER_GRAY, bitmap->Palette, nullptr));
            TestBitmap made;
            ASSERT_EQ(SUCCESS, V_CreateGrayScaleBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, to));
            ASSERT_EQ(SUCCESS, V_GrayScaleBitmap(bitmap.get(), to));
            EXPECT_EQ(to == 8 ? 1 : 3, V_IntIsGrayScaleBitmap(bitmap.get()));
            const std::vector<uint8_t> pixels = bitmap.pixels();
            EXPECT_EQ(pixels, made.pixels());
            EXPECT_EQ(0, std::memcmp(row.data(), pixels.data(), (kWidth * static_cast<size_t>(to) + 7) / 8));
            EXPECT_EQ(to - 1, bitmap->HighBit);
            const std::vector<uint8_t> image = bitmap.image();
            EXPECT_EQ(SUCCESS, V_GrayScaleBitmap(bitmap.get(), to)); // is gray already
            EXPECT_EQ(image, bitmap.image());
        }
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 24));
    for (const int32_t bits : {-1, 1, 4, 24, 32})
        EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_GrayScaleBitmap(bitmap.get(), bits));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GrayScaleBitmap(nullptr, 8));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateGrayScaleBitmap(nullptr, bitmap.get(), BITMAPHANDLE_SIZE, 8));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateGrayScaleBitmap(bitmap.get(), bitmap.get(), BITMAPHANDLE_SIZE, 8));
    EXPECT_EQ(SUCCESS, V_GrayScaleBitmap(bitmap.get(), 0));
    EXPECT_EQ(8, bitmap->BitsPerPixel);
}

TEST(GrayScale, LimitsOfSamples)
{
    TestRandom random(62);
    SCOPED_TRACE(random);
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed})
        for (const int32_t bits : {12, 16, 32}) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 31, 5, bits));
            bitmap->Order = COLORORDER_GRAY;
            bitmap->LowBit = 2;
            bitmap->HighBit = 10;
            std::vector<uint8_t> row(bitmap->BytesPerLine);
            int32_t least = INT32_MAX;
            int32_t most = 0;
            for (int32_t y = 0; y < 5; ++y) {
                for (int32_t x = 0; x < 31; ++x) {
                    const uint64_t sample = random.next();
                    set_pixel(row.data(), bits, x, sample);
                    least = std::min(least, static_cast<int32_t>(sample >> 2 & 0x1FF));
                    most = std::max(most, static_cast<int32_t>(sample >> 2 & 0x1FF));
                }
                ASSERT_LT(0, V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
            }
            vk::BitmapAccess access(*bitmap.get());
            EXPECT_EQ(SUCCESS, vk::refresh_gray_limits(*bitmap.get()));
            EXPECT_EQ(least, bitmap->MinVal);
            EXPECT_EQ(most, bitmap->MaxVal);
        }
}
