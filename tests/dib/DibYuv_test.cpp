// YUV layouts: literal samples, every combination of the formulas in the fast forms, and the edges of rows.
#include "kernel/dib/Yuv.h"
#include "kernel/dib/YuvKernel.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestDib.h"

#include <array>

using namespace vk::testing;
namespace dib = vk::dib;
namespace simd = vk::simd;

namespace {

using Pixel = std::array<uint8_t, 3>;

Pixel full(int y, int u, int v)
{
    Pixel bgr{};
    return dib::full_range_pixel(y, u, v, bgr.data()), bgr;
}

Pixel studio(int y, int u, int v)
{
    Pixel bgr{};
    return dib::studio_pixel(y, u, v, bgr.data()), bgr;
}

struct Sample {
    const char* code;
    int32_t width, height;
    uint16_t bits;
    int32_t view;
    Bytes data;
    std::vector<Pixel> first; ///< of the first stored row
};

} // namespace

TEST(DibYuv, Formulas)
{
    EXPECT_EQ((Pixel{10, 10, 10}), full(10, 128, 128));
    EXPECT_EQ((Pixel{228, 131, 0}), full(100, 200, 50));
    EXPECT_EQ((Pixel{100, 101, 100}), full(100, 128, 127)) << "divisions truncate toward zero";
    EXPECT_EQ((Pixel{0, 0, 0}), studio(16, 128, 128));
    EXPECT_EQ((Pixel{255, 255, 255}), studio(235, 128, 128));
    EXPECT_EQ((Pixel{243, 133, 0}), studio(100, 200, 50));
}

TEST(DibYuv, Layouts)
{
    const auto planar = [](uint8_t first, uint8_t second) { // 4 x 4 luma
        Bytes data(16, 100);
        append(data, {first, 128, first, 128, second, 128, second, 128});
        return data;
    };
    Bytes nine(256, 90);
    append(nine, Bytes(16, 70));
    append(nine, Bytes(16, 60));
    const Pixel left = studio(10, 20, 40), right = studio(30, 20, 40), first = full(10, 20, 40),
                second = full(30, 20, 40), color = studio(100, 50, 60), pale = full(10, 20, 128);
    const Sample kSamples[] = {
        {"YUY2", 2, 1, 16, BOTTOM_LEFT, {10, 20, 30, 40}, {first, second}},
        {"UYVY", 2, 1, 16, TOP_LEFT, {20, 10, 40, 30}, {left, right}},
        {"cyuv", 2, 1, 24, BOTTOM_LEFT, {20, 10, 40, 30}, {left, right}},
        {"Y42T", 2, 1, 16, TOP_LEFT, {20, 11, 40, 30}, {studio(11, 20, 40), right}},
        {"YVYU", 2, 1, 16, TOP_LEFT, {10, 40, 30, 20}, {left, right}},
        {"Y211", 4, 1, 8, TOP_LEFT, {10, 20, 30, 40}, {first, first, second, second}},
        {"Y211", 2, 1, 8, TOP_LEFT, {10, 20}, {pale, pale}},
        {"I420", 4, 4, 12, TOP_LEFT, planar(50, 60), {color, color, studio(100, 128, 128)}},
        {"IYUV", 4, -4, 12, BOTTOM_LEFT, planar(50, 60), {color}},
        {"YV12", 4, 4, 24, TOP_LEFT, planar(60, 50), {color}},
        {"YVU9", 16, 16, 9, TOP_LEFT, nine, {studio(90, 60, 70)}},
        {"IF09", 16, 16, 24, TOP_LEFT, nine, {studio(90, 60, 70)}},
    };
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(sample.code);
        DibParts dib{40, sample.width, sample.height, 1, sample.bits, code_of(sample.code)};
        dib.pixels = sample.data;
        TestBitmap bitmap, changed, other;
        ASSERT_EQ(SUCCESS, dib.convert(bitmap));
        EXPECT_TRUE(bitmap->BitsPerPixel == 24 && bitmap->Order == COLORORDER_BGR);
        EXPECT_EQ(sample.view, bitmap->ViewPerspective);
        const Bytes pixels = bitmap.pixels();
        for (size_t x = 0; x < sample.first.size(); ++x)
            EXPECT_EQ(0, std::memcmp(sample.first[x].data(), pixels.data() + 3 * x, 3)) << x;
        // As a block, no shorter than the samples.
        Bytes packed = dib.packed();
        DibBlock whole(packed);
        ASSERT_EQ(SUCCESS, whole.change(changed));
        whole.let_go();
        EXPECT_EQ(pixels, changed.pixels());
        packed.pop_back();
        const DibBlock cut(packed);
        EXPECT_TRUE(GlobalSize(cut.get()) != packed.size() || cut.change(other) == ERROR_INVALID_PARAMETER);
        for (const auto change : {&DibParts::width, &DibParts::height}) {
            DibParts odd = dib;
            odd.*change += 1;
            EXPECT_TRUE((change == &DibParts::height && dib.height == 1) ||
                        odd.convert(other) == ERROR_FEATURE_NOT_SUPPORTED);
        }
        dib.bits = 17;
        EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, dib.convert(other));
    }
}

TEST(DibYuv, EightPixelsInTwelveBytes)
{
    // Twelve wide: a whole group of eight, and a half one.
    const Bytes data = {20, 1, 40, 2, 50, 3, 60, 4, 5, 6, 7, 8, 70, 9, 80, 10, 11, 12};
    for (const char* code : {"Y41P", "Y41T"}) {
        DibParts dib{40, 12, -4, 1, 12, code_of(code)};
        for (int i = 0; i < 4; ++i)
            append(dib.pixels, data);
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, dib.convert(bitmap));
        EXPECT_EQ(BOTTOM_LEFT, bitmap->ViewPerspective);
        const Bytes pixels = bitmap.pixels();
        for (int x = 0; x < 12; ++x) {
            const Pixel expected = x < 4 ? full(x + 1, 20, 40) : x < 8 ? full(x + 1, 50, 60) : full(x + 1, 70, 80);
            EXPECT_EQ(0, std::memcmp(expected.data(), pixels.data() + 3 * 36 + 3 * x, 3)) << x;
        }
    }
}

/// The levels with a form besides the plain one that this processor has.
std::vector<simd::Level> fast_levels()
{
    std::vector<simd::Level> levels;
    for (const simd::Level level : kLevels)
        if (AtLevel(level).reached == level && dib::yuv_loops_sets.at(level))
            levels.push_back(level);
    return levels;
}

TEST(DibYuv, FastFormsEqualThePlainOne)
{
    const std::vector<simd::Level> levels = fast_levels();
    if (levels.empty())
        GTEST_SKIP() << "this processor has the plain form only";
    // Every chroma pair with a few lumas, in the order of each layout; 512 pixels in a row.
    for (const char* code : {"YUY2", "UYVY", "YVYU"})
        for (const int luma : {0, 15, 16, 100, 128, 235, 255}) {
            const dib::YuvFormat* const format = dib::find_yuv(code_of(code));
            Bytes data;
            for (int u = 0; u < 256; ++u)
                for (int v = 0; v < 256; ++v) {
                    const auto y0 = static_cast<uint8_t>(luma);
                    const auto y1 = static_cast<uint8_t>(luma ^ u);
                    const auto u8 = static_cast<uint8_t>(u);
                    const auto v8 = static_cast<uint8_t>(v);
                    append(data, code[0] == 'U'   ? Bytes{u8, y0, v8, y1}
                                 : code[1] == 'U' ? Bytes{y0, u8, y1, v8}
                                                  : Bytes{y0, v8, y1, u8});
                }
            Bytes fast(512 * 3 * 256);
            Bytes plain(fast.size());
            const auto convert = [&](simd::Level level, Bytes& to) {
                const AtLevel at(level);
                dib::convert_yuv({format, data.data(), 512, 256}, 0, 256, to.data(), 512 * 3);
            };
            convert(simd::Level::plain, plain);
            for (const simd::Level level : levels) {
                convert(level, fast);
                EXPECT_TRUE(fast == plain) << code << ' ' << luma << ' ' << static_cast<int>(level);
            }
        }
    // The forms do all whole vectors of these rows, and are others at each level.
    const Bytes samples(1024);
    Bytes pixels(512 * 3);
    for (size_t i = 0; i < levels.size(); ++i) {
        const dib::YuvLoops* const loops = dib::yuv_loops_sets.at(levels[i]);
        const dib::YuvRow row{samples.data(), samples.data(), samples.data()};
        EXPECT_EQ(512u, loops->yuy2_full(row, 512, pixels.data(), false));
        EXPECT_EQ(512u, loops->planar_studio(row, 512, pixels.data(), false));
        EXPECT_TRUE(i == 0 || loops != dib::yuv_loops_sets.at(levels[i - 1]));
    }
}

TEST(DibYuv, PastTheCaches)
{
    // As many bytes as writes past the caches are used for.
    constexpr uint32_t kWide = 2112, kHigh = 2800;
    for (const char* code : {"YUY2", "UYVY", "I420"}) {
        const dib::YuvFormat* const format = dib::find_yuv(code_of(code));
        Bytes data(static_cast<size_t>(dib::yuv_bytes(*format, kWide, kHigh)));
        TestRandom(5).fill(data.data(), data.size());
        Bytes memory(size_t{kWide} * 3 * kHigh + 64);
        Bytes row(size_t{kWide} * 3);
        // At a cache line, at a quarter of one, and at neither.
        for (const size_t place : {0, 16, 1}) {
            uint8_t* const whole = memory.data() + (place + 64 - reinterpret_cast<uintptr_t>(memory.data()) % 64) % 64;
            dib::convert_yuv({format, data.data(), kWide, kHigh}, 0, kHigh, whole, row.size());
            const AtLevel at(simd::Level::plain);
            for (uint32_t y = 0; y < kHigh; y += 7) {
                dib::convert_yuv({format, data.data(), kWide, kHigh}, y, 1, row.data(), row.size());
                ASSERT_EQ(0, std::memcmp(row.data(), whole + y * row.size(), row.size())) << code << ' ' << y;
            }
        }
    }
}

TEST(DibYuv, WidthsBetweenGuards)
{
    TestRandom random(7);
    std::vector<simd::Level> levels = fast_levels();
    levels.push_back(simd::Level::plain);
    for (const char* code : {"YUY2", "UYVY", "YVYU", "Y41P", "Y211", "I420", "YV12", "YVU9"})
        for (uint32_t width = 16; width <= 144; width += 16)
            for (uint32_t extra = 0; extra < 16; extra += 2) {
                const dib::YuvFormat* const format = dib::find_yuv(code_of(code));
                const uint32_t wide = width + extra / static_cast<uint32_t>(format->width_step) *
                                                  static_cast<uint32_t>(format->width_step);
                const auto height = static_cast<uint32_t>(format->height_step);
                const auto bytes = static_cast<size_t>(dib::yuv_bytes(*format, wide, height));
                Bytes first;
                const uint64_t seed = random.next();
                for (const simd::Level level : levels) {
                    const auto edge =
                        level == simd::Level::plain ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back;
                    GuardedBuffer from(bytes, edge);
                    GuardedBuffer to(size_t{wide} * 3 * height, edge);
                    TestRandom(seed).fill(from.data(), bytes);
                    const AtLevel at(level);
                    dib::convert_yuv({format, from.data(), wide, height}, 0, height, to.data(), size_t{wide} * 3);
                    const Bytes result(to.data(), to.data() + to.size());
                    first = first.empty() ? result : first;
                    ASSERT_TRUE(result == first) << code << ' ' << wide << ' ' << static_cast<int>(level);
                }
            }
}
