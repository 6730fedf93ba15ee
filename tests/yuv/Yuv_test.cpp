// YUV pictures beside real arithmetic, for every code, matrix, range and siting; what is refused; every failing call.
#include "tests/yuv/YuvReference.h"

#include "tests/support/FaultLoop.h"

using namespace vk::testing;

namespace {

constexpr uint32_t kSize = BITMAPHANDLE_SIZE;

/// What one channel of a stored row is.
uint32_t channel(const uint8_t* row, int32_t bits, int x, int i)
{
    if (bits == 48 || bits == 64) {
        uint16_t word = 0;
        std::memcpy(&word, row + (x * (bits / 16) + i) * 2, 2);
        return word;
    }
    return row[x * (bits / 8) + i];
}

/// One more than the last of a count, by its step.
int samples(int pixels, int step)
{
    return (pixels + step - 1) / step;
}

struct Meaning {
    uint32_t matrix, range, siting;
};
constexpr Meaning kMeanings[] = {{0, 0, 0}, {1, 0, 1}, {2, 0, 0}, {0, 1, 1}, {1, 1, 0}, {2, 1, 1}};
constexpr std::pair<int, int> kSizes[] = {{1, 1}, {2, 3}, {5, 2}, {8, 4}, {13, 7}, {131, 6}, {200, 5}};

void mean(V_YUVPICTURE& picture, const Meaning& meaning)
{
    picture.Matrix = meaning.matrix;
    picture.Range = meaning.range;
    picture.Siting = meaning.siting;
}

void expect_colors(const YuvCode& code, const TestPicture& test, BITMAPHANDLE* bitmap, const Bytes& pixels)
{
    const YuvReference reference(code, test.picture);
    const int32_t bits = bitmap->BitsPerPixel;
    const double most = bits == 16 || bits > 32 ? 65535 : 255;
    for (int y = 0; y < test.picture.Height; ++y)
        for (int x = 0; x < test.picture.Width; ++x) {
            const uint8_t* const row = pixels.data() + size_t{bitmap->BytesPerLine} * static_cast<size_t>(y);
            const auto expected = reference.color(x, y, most);
            for (int i = 0; i < (code.across == 0 ? 1 : 3); ++i) {
                const double got =
                    code.across == 0 ? static_cast<double>(get_pixel(row, bits, x)) : channel(row, bits, x, i);
                ASSERT_LE(std::abs(got - std::round(expected[static_cast<size_t>(i)])), 1) << x << ' ' << y << ' ' << i;
            }
            if (bits == 32 || bits == 64) {
                const double alpha = reference.sample('A', x, y) * (code.bits == 10 ? 21845 : 1);
                ASSERT_EQ(alpha, channel(row, bits, x, 3));
            }
        }
}

} // namespace

TEST(Yuv, ToBitmapsBesideRealArithmetic)
{
    TestRandom random(41);
    for (const YuvCode& code : kYuvCodes)
        for (const auto& [width, height] : kSizes)
            for (const Meaning& meaning : kMeanings) {
                SCOPED_TRACE(say(code.code, width, height, meaning.matrix, meaning.range, meaning.siting));
                TestPicture test(code, width, height, random);
                test.fill(random);
                mean(test.picture, meaning);
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, V_YuvToBitmap(bitmap, kSize, &test.picture));
                const int32_t bits = code.across == 0      ? code.bits
                                     : code.code[0] == 'A' ? 32
                                     : code.code[0] == 'P' ? 48
                                     : code.bits > 8       ? 64
                                                           : 24;
                ASSERT_EQ(bits, bitmap->BitsPerPixel);
                EXPECT_TRUE(bitmap->Width == width && bitmap->Height == height && bitmap->ViewPerspective == TOP_LEFT);
                EXPECT_EQ(code.across == 0, V_IntIsGrayScaleBitmap(bitmap) != 0);
                ASSERT_NO_FATAL_FAILURE(expect_colors(code, test, bitmap, bitmap.pixels()));
            }
}

TEST(Yuv, FromBitmapsBesideRealArithmetic)
{
    TestRandom random(42);
    for (const YuvCode& code : kYuvCodes)
        for (const auto& [width, height] : kSizes)
            for (const Meaning& meaning : kMeanings) {
                SCOPED_TRACE(say(code.code, width, height, meaning.matrix, meaning.range, meaning.siting));
                TestPicture test(code, width, height, random);
                for (const auto& plane : test.planes)
                    std::memset(plane->data(), 0xA5, plane->size());
                mean(test.picture, meaning);
                const bool has_alpha = code.code[0] == 'A' || code.bits > 8;
                const int32_t bits = (has_alpha ? 32 : 24) * (code.bits > 8 ? 2 : 1);
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, width, height, bits, COLORORDER_BGR));
                // Runs of one colour too, so that all of a filter's pixels are at the ends of what there is.
                uint64_t last = 0;
                bitmap.paint([&](int32_t, int32_t) {
                    return last = random.below(3) == 0 ? random.next() : random.below(4) == 0 ? ~uint64_t{0} : last;
                });
                const Bytes pixels = bitmap.pixels();
                ASSERT_EQ(SUCCESS, V_BitmapToYuv(bitmap, &test.picture));
                const YuvReference reference(code, test.picture);
                const auto at = [&](int x, int y) {
                    const uint8_t* const row = pixels.data() + size_t{bitmap->BytesPerLine} * static_cast<size_t>(y);
                    YuvReference::Color color{};
                    for (int i = 0; i < 3; ++i)
                        color[static_cast<size_t>(i)] = channel(row, bits, x, i) / (bits > 32 ? 65535.0 : 255.0);
                    return color;
                };
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x) {
                        const int first = x / code.luma * code.luma;
                        double luma = reference.luma_of(at(first, y));
                        if (code.luma == 2)
                            luma = (luma + reference.luma_of(at(std::min(first + 1, width - 1), y))) / 2;
                        ASSERT_LE(std::abs(reference.sample('Y', x / code.luma, y) - std::round(luma)), 1)
                            << x << ' ' << y;
                        if (code.across == 1 && has_alpha) {
                            const uint32_t alpha = channel(
                                pixels.data() + size_t{bitmap->BytesPerLine} * static_cast<size_t>(y), bits, x, 3);
                            ASSERT_EQ(code.bits == 10 ? std::round(alpha / 21845.0) : alpha,
                                      reference.sample('A', x, y));
                        }
                    }
                for (int r = 0; code.across != 0 && r < samples(height, code.down); ++r)
                    for (int k = 0; k < samples(width, code.across); ++k)
                        for (const char letter : {'U', 'V'})
                            ASSERT_LE(std::abs(reference.sample(letter, k, r) -
                                               std::round(reference.chroma_of(letter, k, r, at))),
                                      1)
                                << letter << k << ' ' << r;
                // Between rows nothing is written.
                for (size_t i = 0; i < test.planes.size(); ++i) {
                    V_YUVPICTURE tight = test.picture;
                    V_GetYuvSize(&tight);
                    for (int64_t row = 1; row * test.picture.Strides[i] < static_cast<int64_t>(test.planes[i]->size());
                         ++row)
                        for (int64_t x = row * test.picture.Strides[i] - (test.picture.Strides[i] - tight.Strides[i]);
                             x < row * test.picture.Strides[i]; ++x)
                            ASSERT_EQ(0xA5, test.planes[i]->data()[x]);
                }
            }
}

TEST(Yuv, LiteralFormulas)
{
    // One pixel: luma, chroma, and what it is in bytes; worked out by hand.
    const struct {
        uint32_t matrix, range;
        uint8_t y, u, v;
        std::array<uint8_t, 3> bgr;
    } cases[] = {
        {YUVMATRIX_601, YUVRANGE_VIDEO, 16, 128, 128, {0, 0, 0}},
        {YUVMATRIX_601, YUVRANGE_VIDEO, 235, 128, 128, {255, 255, 255}},
        {YUVMATRIX_709, YUVRANGE_FULL, 77, 128, 128, {77, 77, 77}},
        {YUVMATRIX_601, YUVRANGE_FULL, 100, 200, 50, {228, 131, 0}},
        {YUVMATRIX_709, YUVRANGE_VIDEO, 63, 102, 240, {0, 1, 255}},
        {YUVMATRIX_2020, YUVRANGE_VIDEO, 0, 0, 255, {0, 0, 195}},
    };
    for (const auto& c : cases) {
        uint8_t sample[] = {c.v, c.u, c.y, 7};
        V_YUVPICTURE picture{sizeof(V_YUVPICTURE), number_of("AYUV"), 1, 1, c.matrix, c.range, 0, 0, {sample}, {4}, {}};
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_YuvToBitmap(bitmap, kSize, &picture));
        EXPECT_EQ(Bytes({c.bgr[0], c.bgr[1], c.bgr[2], 7}), bitmap.pixels()) << &c - cases;
    }
}

TEST(Yuv, GraysAndRoundTrips)
{
    // Grays come back with the full range, colours of smooth pictures nearly so.
    for (const char* code : {"I444", "NV12", "Y41P", "Y800", "AYUV"})
        for (const uint32_t range : {YUVRANGE_VIDEO, YUVRANGE_FULL}) {
            TestBitmap bitmap, back, colors;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 256, 8, 24, COLORORDER_BGR));
            const bool is_gray = code[1] == '8';
            bitmap.paint([&](int32_t x, int32_t y) {
                return static_cast<uint64_t>(is_gray ? x * 0x10101 : x | y << 12 | (255 - x) << 16);
            });
            V_YUVPICTURE picture{};
            picture.StructSize = sizeof picture;
            picture.Code = number_of(code);
            picture.Width = 256;
            picture.Height = 8;
            picture.Range = range;
            Bytes block(static_cast<size_t>(V_GetYuvSize(&picture)));
            picture.Planes[0] = block.data();
            ASSERT_EQ(SUCCESS, V_BitmapToYuv(bitmap, &picture));
            ASSERT_EQ(SUCCESS, V_YuvToBitmap(back, kSize, &picture));
            ASSERT_EQ(SUCCESS, V_ColorResBitmap(back, colors, kSize, 24, COLORRES_ORDER_BGR, nullptr, nullptr, 0));
            const Bytes before = bitmap.pixels(), after = colors.pixels();
            int worst = 0;
            for (size_t i = 0; i < before.size(); ++i)
                if (i / 3 % 256 > 3 && i / 3 % 256 < 252) // chroma stops at the edges
                    worst = std::max(worst, std::abs(before[i] - after[i]));
            EXPECT_LE(worst, is_gray && range == YUVRANGE_FULL ? 0 : is_gray ? 1 : 20) << code << range;
        }
}

TEST(Yuv, TakesEveryBitmap)
{
    TestRandom random(43);
    V_YUVPICTURE picture{};
    picture.StructSize = sizeof picture;
    const auto block_of = [&](BITMAPHANDLE* bitmap, const char* code) {
        picture.Code = number_of(code);
        Bytes block(static_cast<size_t>(V_GetYuvSize(&picture)));
        picture.Planes[0] = block.data();
        EXPECT_EQ(SUCCESS, V_BitmapToYuv(bitmap, &picture));
        return block;
    };
    for (const int32_t bits : kDepths)
        for (const Kind kind : kKinds)
            for (const int32_t view : {TOP_LEFT, BOTTOM_LEFT, 2, 6}) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(say(bits, name_of(kind), view));
                TestBitmap bitmap, upright, colors;
                ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 13, 7, bits, random));
                bitmap->ViewPerspective = view;
                picture.Width = view == 6 ? 7 : 13;
                picture.Height = view == 6 ? 13 : 7;
                ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(upright, bitmap, kSize, TOP_LEFT));
                for (const char* code : {"NV12", "P016"}) {
                    const int32_t to = code[0] == 'N' ? 24 : 48;
                    ASSERT_EQ(SUCCESS,
                              V_ColorResBitmap(upright, colors, kSize, to, COLORRES_ORDER_BGR, nullptr, nullptr, 0));
                    const Bytes before = bitmap.pixels();
                    EXPECT_EQ(block_of(colors, code), block_of(bitmap, code));
                    EXPECT_EQ(before, bitmap.pixels());
                    V_FreeBitmap(colors);
                }
            }
}

TEST(Yuv, NegativeStridesAndOffsets)
{
    TestRandom random(44);
    TestBitmap bitmap, turned;
    V_YUVPICTURE picture{sizeof(V_YUVPICTURE), number_of("I420"), 6, 4, 0, 0, 0, 0, {}, {}, {}};
    EXPECT_EQ(36u, V_GetYuvSize(&picture));
    EXPECT_TRUE(picture.Offsets[1] == 24 && picture.Offsets[2] == 30 && picture.Strides[2] == 3 && !picture.Planes[1]);
    Bytes block(36);
    random.fill(block.data(), block.size());
    picture.Planes[0] = block.data();
    ASSERT_EQ(SUCCESS, V_YuvToBitmap(bitmap, kSize, &picture));
    uint8_t* const at = block.data();
    for (const auto& [plane, last, stride] : {std::tuple{0, 18, 6}, {1, 27, 3}, {2, 33, 3}}) {
        picture.Planes[plane] = at + last;
        picture.Strides[plane] = -stride;
    }
    ASSERT_EQ(SUCCESS, V_YuvToBitmap(turned, kSize, &picture));
    turned->ViewPerspective = BOTTOM_LEFT;
    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(nullptr, turned, kSize, TOP_LEFT));
    EXPECT_EQ(bitmap.pixels(), turned.pixels());
}

TEST(Yuv, Refusals)
{
    Bytes block(64);
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 4, 4, 24, COLORORDER_BGR));
    V_YUVPICTURE good{sizeof(V_YUVPICTURE), number_of("NV12"), 4, 4, 0, 0, 0, 0, {}, {}, {}};
    ASSERT_EQ(24u, V_GetYuvSize(&good));
    good.Planes[0] = block.data();
    const struct {
        int result;
        void (*spoil)(V_YUVPICTURE&);
    } cases[] = {
        {ERROR_INVALID_STRUCT_SIZE, [](V_YUVPICTURE& p) { p.StructSize = 8; }},
        {ERROR_FEATURE_NOT_SUPPORTED, [](V_YUVPICTURE& p) { p.Code = number_of("NV16"); }},
        {ERROR_INVALID_WIDTH_HEIGHT, [](V_YUVPICTURE& p) { p.Width = 0; }},
        {ERROR_INVALID_WIDTH_HEIGHT, [](V_YUVPICTURE& p) { p.Height = INT32_MIN; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Matrix = 3; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Range = 2; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Siting = 2; }},
        {ERROR_NULL_PTR, [](V_YUVPICTURE& p) { p.Planes[0] = nullptr; }},
        {ERROR_NULL_PTR, [](V_YUVPICTURE& p) { p.Offsets[1] = 0; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Strides[0] = 3; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Strides[1] = -3; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Strides[1] = INT64_MIN; }},
        {ERROR_INVALID_PARAMETER, [](V_YUVPICTURE& p) { p.Strides[0] = INT64_MAX / 2; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        V_YUVPICTURE picture = good;
        c.spoil(picture);
        TestBitmap made;
        EXPECT_EQ(c.result, V_YuvToBitmap(made, kSize, &picture));
        EXPECT_TRUE(made.is_empty());
        EXPECT_EQ(c.result, V_BitmapToYuv(bitmap, &picture));
    }
    TestBitmap made;
    V_YUVPICTURE picture = good;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_YuvToBitmap(nullptr, kSize, &picture));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_YuvToBitmap(made, 12, &picture));
    EXPECT_EQ(ERROR_NULL_PTR, V_YuvToBitmap(made, kSize, nullptr));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_BitmapToYuv(made, &picture));
    picture.Width = 3;
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_BitmapToYuv(bitmap, &picture));
    picture.Code = number_of("Y416");
    picture.Width = picture.Height = INT32_MAX;
    EXPECT_EQ(0u, V_GetYuvSize(&picture)) << "more than an address can tell";
    picture.Code = number_of("Y800");
    EXPECT_EQ(uint64_t{INT32_MAX} * INT32_MAX, V_GetYuvSize(&picture));
    EXPECT_EQ(0u, V_GetYuvSize(nullptr));
}

TEST(Yuv, StopsAndFailingCalls)
{
    TestRandom random(45);
    for (const YuvCode& code : {kYuvCodes[17], kYuvCodes[19]})
        for (const Kind kind : {Kind::conv, Kind::disk}) {
            TestPicture test(code, 20, 10, random);
            test.fill(random);
            {
                TestBitmap bitmap;
                const Watch watch(50);
                EXPECT_EQ(Watch::kRefused, V_YuvToBitmap(bitmap, kSize, &test.picture));
                EXPECT_TRUE(bitmap.is_empty());
            }
            ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(kind == Kind::disk ? TYPE_DISK : TYPE_CONV));
            for_each_fault([&] {
                TestBitmap bitmap;
                const int result = V_YuvToBitmap(bitmap, kSize, &test.picture);
                EXPECT_TRUE(result == SUCCESS || bitmap.is_empty());
            });
            ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(TYPE_CONV));
            for_each_fault([&] { // each round with a bitmap of its own, whose file goes with it
                TestBitmap made;
                if (made.create(kind == Kind::disk ? TYPE_DISK : TYPE_CONV, 10, 20, 12, COLORORDER_GRAY) == SUCCESS) {
                    made->ViewPerspective = 6;
                    V_BitmapToYuv(made, &test.picture);
                }
            });
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 10, 20, 12, random));
            bitmap->ViewPerspective = 6;
            const Watch watch(75);
            EXPECT_EQ(Watch::kRefused, V_BitmapToYuv(bitmap, &test.picture));
        }
}
