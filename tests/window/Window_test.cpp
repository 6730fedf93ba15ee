// Windows: their functions against exact fractions, fast rows against tables, bitmaps against the table of each sample.
#include "kernel/window/Samples.h"

#include "tests/support/FaultLoop.h"
#include "tests/support/Levels.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestTurn.h"

#include <cmath>
#include <limits>

using namespace vk::testing;

namespace {

__extension__ using Wide = __int128;

V_WINDOW window_of(double center, double width, uint32_t function = WINDOW_LINEAR, uint32_t flags = 0)
{
    return {sizeof(V_WINDOW), function, flags, 0, center, width};
}

/// A number in units of 2^-64.
Wide units(double value)
{
    int exponent = 0;
    const double mantissa = std::frexp(value, &exponent);
    const auto whole = static_cast<Wide>(static_cast<int64_t>(std::ldexp(mantissa, 53)));
    EXPECT_GE(exponent + 11, 0) << "a number that this reference cannot hold";
    return whole << (exponent + 11);
}

Wide floor_of(Wide value, Wide by)
{
    return value >= 0 ? value / by : -((-value + by - 1) / by);
}

/// The straight functions, as the headline of the header has them, in whole numbers.
int64_t exact_result(const V_WINDOW& window, int64_t sample, int64_t from, int64_t to)
{
    const Wide one = Wide{1} << 64;
    const bool is_exact = window.Function == WINDOW_LINEAREXACT;
    const Wide center = units(window.Center) - (is_exact ? 0 : one / 2);
    const Wide width = units(window.Width) - (is_exact ? 0 : one);
    const Wide distance = sample * one - center;
    if (2 * distance <= -width)
        return from;
    if (2 * distance > width)
        return to;
    // (distance / width + 1/2) (to - from) + from + 1/2, over 2 width
    const Wide above = (2 * distance + width) * (to - from) + (2 * from + 1) * width;
    return static_cast<int64_t>(floor_of(above, 2 * width));
}

TEST(Window, HasTheWorkedExamplesOfTheStandard)
{
    std::vector<uint8_t> table(4096), small(512);
    const V_WINDOW full = window_of(2048, 4096);
    ASSERT_EQ(SUCCESS, V_FillWindowTable(table.data(), 4096, &full));
    for (int x = 0; x < 4096; ++x) // ((x - 2047.5) / 4095 + 0.5) (255 - 0) + 0
        ASSERT_EQ((x * 255 * 2 + 4095) / (2 * 4095), table[static_cast<size_t>(x)]) << x;
    const V_WINDOW step = window_of(2048, 1);
    ASSERT_EQ(SUCCESS, V_FillWindowTable(table.data(), 4096, &step));
    EXPECT_TRUE(table[2047] == 0 && table[2048] == 255); // 0 up to 2047.5
    const V_WINDOW hundred = window_of(0, 100, WINDOW_LINEAR, WINDOWFLAG_SIGNED);
    ASSERT_EQ(SUCCESS, V_FillWindowTable(small.data(), 512, &hundred));
    for (int x = -256; x < 256; ++x) { // 0 up to -50, 255 above 49, else ((x + 0.5) / 99 + 0.5) 255
        const int wanted = x <= -50 ? 0 : x > 49 ? 255 : ((2 * x + 100) * 255 + 99) / 198;
        ASSERT_EQ(wanted, small[static_cast<size_t>(x & 511)]) << x;
    }
    const V_WINDOW zero = window_of(0, 1, WINDOW_LINEAR, WINDOWFLAG_SIGNED);
    ASSERT_EQ(SUCCESS, V_FillWindowTable(small.data(), 512, &zero));
    EXPECT_TRUE(small[511] == 0 && small[0] == 255);
}

TEST(Window, RoundsExactly)
{
    TestRandom random(5);
    constexpr double kCenters[] = {0, 40, 127.5, 300.25, 0.1, -7.3, 511.9999, 1e-3};
    constexpr double kWidths[] = {1, 1.0000001, 2, 3, 100, 255, 256, 400.7, 1001, 4096, 65536, 1e9, 0.01, 0.3};
    for (const double center : kCenters)
        for (const double width : kWidths)
            for (const uint32_t function : {WINDOW_LINEAR, WINDOW_LINEAREXACT}) {
                const V_WINDOW window = window_of(center, width, function, WINDOWFLAG_SIGNED);
                if (function == WINDOW_LINEAR && width < 1)
                    continue;
                SCOPED_TRACE(::testing::Message() << center << ", " << width << ", function " << function);
                std::vector<uint8_t> table(1024);
                std::vector<RGBQUAD> colors(1024);
                const RGBQUAD start{200, 3, 9, 77}, end{11, 250, 9, 77};
                ASSERT_EQ(SUCCESS, V_FillWindowTable(table.data(), 1024, &window));
                ASSERT_EQ(SUCCESS, V_FillWindowColors(colors.data(), 1024, &window, start, end));
                for (int x = -512; x < 512; ++x) {
                    const auto entry = static_cast<size_t>(x & 1023);
                    ASSERT_EQ(exact_result(window, x, 0, 255), table[entry]) << x;
                    ASSERT_EQ(exact_result(window, x, 200, 11), colors[entry].rgbBlue) << x;
                    ASSERT_EQ(exact_result(window, x, 3, 250), colors[entry].rgbGreen) << x;
                    ASSERT_TRUE(colors[entry].rgbRed == 9 && colors[entry].rgbReserved == 0);
                }
            }
}

TEST(Window, BendsAsTheSigmoid)
{
    for (const double width : {0.5, 30.0, 255.0, 900.5})
        for (const double center : {0.0, 200.0, 77.7}) {
            const V_WINDOW window = window_of(center, width, WINDOW_SIGMOID);
            std::vector<uint8_t> table(600), inverted(600);
            ASSERT_EQ(SUCCESS, V_FillWindowTable(table.data(), 600, &window));
            for (int x = 0; x < 600; ++x) {
                const long double value =
                    255.0L / (1 + std::exp(-4.0L * (x - static_cast<long double>(center)) / width));
                const long double from_half = std::fabs(value + 0.5L - std::floor(value + 1.0L));
                if (from_half > 1e-12L) {
                    ASSERT_EQ(static_cast<int>(std::floor(value + 0.5L)), table[static_cast<size_t>(x)]) << x;
                }
            }
            V_WINDOW other = window;
            other.Flags = WINDOWFLAG_INVERTED;
            ASSERT_EQ(SUCCESS, V_FillWindowTable(inverted.data(), 600, &other));
            for (size_t x = 0; x < 600; ++x)
                ASSERT_EQ(255 - table[x], inverted[x]);
        }
    const V_WINDOW window = window_of(100, 50, WINDOW_SIGMOID);
    uint8_t table[101];
    ASSERT_EQ(SUCCESS, V_FillWindowTable(table, 101, &window));
    EXPECT_EQ(128, table[100]) << "a half goes up";
}

/// Samples of all values, in an order that repeats nothing for long.
std::vector<uint8_t> all_samples()
{
    std::vector<uint8_t> row(2 * 65536);
    for (uint32_t i = 0; i < 65536; ++i) {
        const uint32_t sample = i * 40503u & 0xFFFF;
        row[2 * i] = static_cast<uint8_t>(sample);
        row[2 * i + 1] = static_cast<uint8_t>(sample >> 8);
    }
    return row;
}

TEST(Window, IsStraightWithoutATable)
{
    TestRandom random(8);
    const std::vector<uint8_t> row = all_samples();
    int straight = 0, tried = 0;
    for (int i = 0; i < 300; ++i) {
        vk::SampleForm form;
        form.bits = 16;
        const int32_t low = i % 3 == 0 ? 0 : random.between(0, 6);
        form.significant = vk::gray_range_within(16, low, i % 3 == 0 ? 15 : random.between(low, 15));
        form.is_signed = random.one_in(2);
        const double whole = random.between(1, 70000), part = random.one_in(2) ? 0 : random.between(0, 999) / 1000.0;
        const double center = random.between(-40000, 70000) + (random.one_in(2) ? 0.5 : 0);
        V_WINDOW window =
            window_of(center, i % 7 == 0 ? 65536 : whole + part, i % 2 ? WINDOW_LINEAR : WINDOW_LINEAREXACT);
        window.Flags = random.one_in(4) ? WINDOWFLAG_INVERTED : 0;
        SCOPED_TRACE(::testing::Message()
                     << window.Center << ", " << window.Width << ", bits " << form.significant.bits);
        vk::WindowRows plain;
        {
            const AtLevel at(vk::simd::Level::plain);
            ASSERT_EQ(SUCCESS, plain.open(form, &window));
        }
        ASSERT_FALSE(plain.is_linear());
        std::vector<uint8_t> got(65536), wanted(65536);
        plain.run(row.data(), 3, 65530, wanted.data(), false);
        for (const vk::simd::Level level : kLevels) {
            vk::WindowRows fast;
            const AtLevel at(level);
            ASSERT_EQ(SUCCESS, fast.open(form, &window));
            if (vk::linear_loops_sets.best() == nullptr)
                continue;
            straight += fast.is_linear();
            ++tried;
            fast.run(row.data(), 3, 65530, got.data(), i % 2 == 0);
            ASSERT_EQ(wanted, got) << static_cast<int>(level);
        }
    }
    EXPECT_EQ(tried, straight) << "windows that fell back to a table";
}

struct Case {
    int32_t bits;
    int32_t low, high;
    bool is_signed;
};

TEST(Window, ShowsBitmapsOfEveryKind)
{
    constexpr Case kCases[] = {{8, 0, 7, false},   {8, 1, 6, true},   {12, 0, 11, false}, {12, 2, 9, true},
                               {16, 0, 15, false}, {16, 0, 15, true}, {16, 4, 15, true},  {16, 0, 9, false},
                               {32, 0, 31, false}, {32, 0, -1, true}, {32, 3, 14, true},  {32, 8, 27, false}};
    for (const Case& each : kCases)
        for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed})
            for (const int32_t bits : {8, 24})
                for (const bool has_region : {false, true}) {
                    SCOPED_TRACE(::testing::Message() << each.bits << " bits, " << each.low << " to " << each.high
                                                      << (each.is_signed ? ", signed" : "") << ", to " << bits);
                    TestBitmap bitmap, made;
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, Picture::noise(45, 9, each.bits, 6), each.bits));
                    bitmap->Order = COLORORDER_GRAY;
                    bitmap->LowBit = each.low;
                    bitmap->HighBit = each.high;
                    if (each.is_signed)
                        bitmap->Flags |= BITMAPFLAG_SIGNED;
                    const int count = (each.high < 0 ? 32 : each.high + 1) - each.low;
                    const double range = std::ldexp(1.0, count);
                    const double center = each.is_signed ? 0.1 * range : 0.6 * range;
                    const V_WINDOW window = window_of(std::floor(center), std::floor(0.4 * range) + 1);
                    const V_WINDOW whole = window_of(each.is_signed ? 0 : range / 2, range);
                    const RECT rect{10, 2, 30, 7};
                    if (has_region) {
                        ASSERT_EQ(SUCCESS, V_SetBitmapRegionRect(bitmap.get(), &rect, REGION_SET));
                    }
                    ASSERT_EQ(SUCCESS, V_WindowBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &window, bits));
                    Picture before = read(bitmap.get()), after = read(made.get());
                    for (int32_t y = 0; y < 9; ++y)
                        for (int32_t x = 0; x < 45; ++x) {
                            int64_t sample =
                                static_cast<int64_t>(before.at(x, y) >> each.low & ((uint64_t{1} << count) - 1));
                            if (each.is_signed && sample >> (count - 1))
                                sample -= int64_t{1} << count;
                            const bool inside = !has_region || V_IsPointInBitmapRegion(bitmap.get(), x, y);
                            const auto level =
                                static_cast<uint64_t>(exact_result(inside ? window : whole, sample, 0, 255));
                            ASSERT_EQ(bits == 8 ? level : level * 0x10101, after.at(x, y)) << x << ", " << y;
                        }
                    EXPECT_EQ(1, V_IntIsGrayScaleBitmap(made.get()) + (bits == 24));
                    ASSERT_EQ(SUCCESS, V_WindowBitmap(nullptr, bitmap.get(), 0, &window, bits));
                    EXPECT_EQ(after, read(bitmap.get()));
                }
}

TEST(Window, SetsTheTableThatABitmapIsShownBy)
{
    for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
        TestBitmap bitmap(size), direct(size), shown(size), colors(size);
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, Picture::noise(60, 7, 12, 3), 12));
        bitmap->Flags |= BITMAPFLAG_SIGNED;
        const V_WINDOW window = window_of(-100, 700, WINDOW_SIGMOID, WINDOWFLAG_INVERTED);
        ASSERT_EQ(SUCCESS, V_WindowBitmap(direct.get(), bitmap.get(), size, &window, 8));
        ASSERT_EQ(SUCCESS, V_SetBitmapWindow(bitmap.get(), &window));
        EXPECT_TRUE(V_BitmapIsUseLUT(bitmap.get()));
        EXPECT_EQ(4096u, bitmap->LUTLength);
        ASSERT_EQ(SUCCESS, V_WindowBitmap(shown.get(), bitmap.get(), size, nullptr, 8));
        EXPECT_EQ(read(direct.get()), read(shown.get()));
        // A table of colours is one to show by, too.
        const RGBQUAD red{0, 0, 255, 0}, green{0, 255, 0, 0};
        V_WINDOW plain = window_of(0, 4096, WINDOW_LINEAR, WINDOWFLAG_SIGNED);
        ASSERT_EQ(SUCCESS, V_FillWindowColors(bitmap->LUT, 4096, &plain, red, green));
        ASSERT_EQ(SUCCESS, V_WindowBitmap(colors.get(), bitmap.get(), size, nullptr, 24));
        Picture before = read(bitmap.get()), after = read(colors.get());
        for (size_t i = 0; i < before.pixels.size(); ++i) {
            const RGBQUAD color = bitmap->LUT[before.pixels[i]];
            ASSERT_EQ(color.rgbRed * 0x10000u + color.rgbGreen * 0x100u, after.pixels[i]);
        }
        bitmap->LUTLength = 4095;
        V_FreeBitmap(colors.get());
        EXPECT_EQ(ERROR_INVALID_LUT_LENGTH, V_WindowBitmap(colors.get(), bitmap.get(), size, nullptr, 24));
        bitmap->LUTLength = 4096;
        EXPECT_EQ(SUCCESS, V_SetBitmapWindow(bitmap.get(), nullptr));
        EXPECT_FALSE(V_BitmapIsUseLUT(bitmap.get()));
    }
    // Indices from white on mean their levels.
    TestBitmap bitmap, shown;
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, Picture::noise(60, 7, 8, 3), 8));
    RGBQUAD inverted[256];
    for (uint32_t i = 0; i < 256; ++i)
        inverted[i] = {static_cast<uint8_t>(255 - i), static_cast<uint8_t>(255 - i), static_cast<uint8_t>(255 - i), 0};
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), inverted, 256));
    const V_WINDOW window = window_of(50, 40);
    uint8_t table[256];
    ASSERT_EQ(SUCCESS, V_FillWindowTable(table, 256, &window));
    for (const bool by_table : {false, true}) {
        if (by_table) {
            ASSERT_EQ(SUCCESS, V_SetBitmapWindow(bitmap.get(), &window));
        }
        V_FreeBitmap(shown.get());
        ASSERT_EQ(SUCCESS,
                  V_WindowBitmap(shown.get(), bitmap.get(), BITMAPHANDLE_SIZE, by_table ? nullptr : &window, 8));
        Picture before = read(bitmap.get()), after = read(shown.get());
        for (size_t i = 0; i < before.pixels.size(); ++i)
            ASSERT_EQ(table[255 - before.pixels[i]], after.pixels[i]) << by_table;
    }
}

TEST(Window, FindsTheLimits)
{
    constexpr struct {
        int32_t bits, low, high;
        bool is_signed;
        uint64_t samples[3];
        int32_t least, most;
    } kCases[] = {{8, 0, 7, false, {9, 200, 100}, 9, 200},
                  {12, 0, 11, true, {0xFFE, 0x010, 0x800}, -2048, 16},
                  {16, 4, 11, false, {0xF12F, 0x0340, 0xA56A}, 0x12, 0x56},
                  {16, 0, 15, true, {0x7FFF, 0x8000, 5}, -32768, 32767},
                  {32, 0, -1, false, {0xFFFFFFFF, 7, 8}, 7, INT32_MAX},
                  {32, 0, -1, true, {0xFFFFFFFF, 7, 8}, -1, 8}};
    for (const auto& each : kCases) {
        TestBitmap bitmap;
        Picture picture = Picture::blank(3, 1);
        std::copy_n(each.samples, 3, picture.pixels.begin());
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, each.bits));
        bitmap->Order = COLORORDER_GRAY;
        bitmap->LowBit = each.low;
        bitmap->HighBit = each.high;
        if (each.is_signed)
            bitmap->Flags |= BITMAPFLAG_SIGNED;
        ASSERT_EQ(SUCCESS, V_GetBitmapMinMax(bitmap.get()));
        EXPECT_EQ(each.least, +bitmap->MinVal) << each.bits;
        EXPECT_EQ(each.most, +bitmap->MaxVal) << each.bits;
    }
}

TEST(Window, RefusesWhatIsNoWindow)
{
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const V_WINDOW bad[] = {window_of(0, 0.99),
                            window_of(0, 0),
                            window_of(0, -5),
                            window_of(0, 0, WINDOW_LINEAREXACT),
                            window_of(0, 0, WINDOW_SIGMOID),
                            window_of(kNan, 5),
                            window_of(5, kNan),
                            window_of(kInfinity, 5),
                            window_of(5, kInfinity),
                            window_of(1e300, 5),
                            window_of(5, 5, 3),
                            window_of(5, 5, 0, 4)};
    uint8_t table[16];
    TestBitmap bitmap, made, colored;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 5, 5, 12));
    ASSERT_NO_FATAL_FAILURE(colored.make(Kind::conv, 5, 5, 24));
    const std::vector<uint8_t> before = bitmap.image();
    for (const V_WINDOW& window : bad) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FillWindowTable(table, 16, &window));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapWindow(bitmap.get(), &window));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_WindowBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &window, 8));
    }
    const V_WINDOW good = window_of(5, 5);
    V_WINDOW other = good;
    other.StructSize = 8;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_FillWindowTable(table, 16, &other));
    EXPECT_EQ(ERROR_NULL_PTR, V_FillWindowTable(table, 16, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FillWindowTable(nullptr, 16, &good));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FillWindowTable(table, 0, &good));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_WindowBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &good, 16));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_WindowBitmap(nullptr, colored.get(), 0, &good, 8));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_SetBitmapWindow(colored.get(), &good));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_GetBitmapMinMax(colored.get()));
    EXPECT_EQ(before, bitmap.image());
}

TEST(Window, LosesNothingWhenCallsFail)
{
    for_each_fault([] {
        TestBitmap bitmap, made;
        if (bitmap.create(TYPE_CONV, 50, 9, 16, COLORORDER_GRAY) != SUCCESS)
            return;
        const V_WINDOW window = window_of(500, 700, WINDOW_SIGMOID);
        V_SetBitmapWindow(bitmap.get(), &window);
        V_WindowBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &window, 24);
        V_WindowBitmap(bitmap.get(), bitmap.get(), 0, nullptr, 8);
    });
}

} // namespace
