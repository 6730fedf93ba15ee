// The paint tables against their formula in wide numbers.
#include "Vkdisplay.h"

#include "tests/support/TestBitmap.h"

#include <cmath>

using namespace vk::testing;

namespace {

__extension__ using Wide = __int128;

/// The formula without its power, times 10^6, in whole numbers: brightness and what it is a part of.
std::pair<Wide, Wide> brightness(int32_t contrast, int32_t intensity, int32_t value, int32_t most)
{
    const Wide up = contrast < 0 ? 1000 + contrast : 1000, down = contrast < 0 ? 1000 : 1000 - contrast;
    const Wide whole = Wide{2} * most * down * 1000;
    const Wide part = most * down * 1000 + (Wide{2} * value - most) * up * 1000 + Wide{2} * most * down * intensity;
    return {part < 0 ? Wide{0} : part > whole ? whole : part, whole};
}

constexpr struct {
    int32_t contrast, intensity, gamma;
} kPaints[] = {{0, 0, 100},    {250, 0, 100},   {-300, 120, 100}, {999, -1, 100}, {-1000, 500, 100}, {0, 1000, 100},
               {0, -1000, 50}, {200, -50, 220}, {-999, 3, 45},    {0, 0, 1},      {0, 0, 10000},     {500, 0, 180}};

template <class Table>
void expect_table(const Table* table, int32_t most, int32_t contrast, int32_t intensity, int32_t gamma)
{
    for (int32_t v = 0; v <= most; ++v) {
        const auto [part, whole] = brightness(contrast, intensity, v, most);
        if (gamma == 100) {
            ASSERT_EQ(static_cast<int32_t>((2 * part * most + whole) / (2 * whole)), int32_t{table[v]}) << v;
            continue;
        }
        const long double base = static_cast<long double>(part) / static_cast<long double>(whole);
        const long double wanted = most * std::pow(base, 100.0L / gamma);
        ASSERT_LE(std::abs(wanted - static_cast<long double>(table[v])), 0.5L + 1e-7L) << v;
    }
}

TEST(Paint, FollowsItsFormula)
{
    for (const uint32_t size : kRecordSizes) {
        TestBitmap bitmap(size);
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 24));
        for (const auto& each : kPaints) {
            SCOPED_TRACE(say(each.contrast, each.intensity, each.gamma));
            ASSERT_EQ(SUCCESS, V_SetBitmapPaint(bitmap.get(), each.contrast, each.intensity, each.gamma));
            ASSERT_TRUE(V_BitmapIsUsePaintLUT(bitmap.get()));
            EXPECT_EQ(each.gamma, +bitmap->PaintGamma);
            EXPECT_EQ(each.contrast, +bitmap->PaintContrast);
            EXPECT_EQ(each.intensity, +bitmap->PaintIntensity);
            expect_table(bitmap->PaintLUT, 255, each.contrast, each.intensity, each.gamma);
            if (size == BITMAPHANDLE_SIZE)
                expect_table(bitmap->PaintLUT16, 65535, each.contrast, each.intensity, each.gamma);
        }
    }
}

TEST(Paint, StepsAtTheMiddleWithAllContrast)
{
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 8));
    ASSERT_EQ(SUCCESS, V_SetBitmapPaint(bitmap.get(), 1000, 0, 220));
    const uint8_t* const table = bitmap->PaintLUT;
    const uint16_t* const wide = bitmap->PaintLUT16;
    EXPECT_TRUE(table[0] == 0 && table[127] == 0 && table[128] == 255 && table[255] == 255);
    EXPECT_TRUE(wide[32767] == 0 && wide[32768] == 65535);
    ASSERT_EQ(SUCCESS, V_SetBitmapPaint(bitmap.get(), 1000, -200, 100));
    EXPECT_TRUE(table[127] == 0 && table[128] == 204) << "the tables stay where they are";
}

TEST(Paint, RefusesOtherNumbers)
{
    TestBitmap bitmap, empty;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 8));
    const Bytes before = bitmap.image();
    const auto set = [&](int32_t contrast, int32_t intensity, int32_t gamma) {
        return V_SetBitmapPaint(bitmap.get(), contrast, intensity, gamma);
    };
    expect_each(ERROR_INVALID_PARAMETER,
                {set(1001, 0, 100), set(INT32_MIN, 0, 100), set(0, -1001, 100), set(0, INT32_MAX, 100), set(0, 0, 0),
                 set(0, 0, -5), set(0, 0, 10001), V_SetBitmapPaint(nullptr, 0, 0, 100)});
    ASSERT_EQ(SUCCESS, empty.init(4, 4, 8));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_SetBitmapPaint(empty.get(), 0, 0, 100));
    EXPECT_EQ(before, bitmap.image());
}

} // namespace
