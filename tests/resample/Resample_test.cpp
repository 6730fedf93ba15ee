// Resampling against definitions in real numbers, for every format; what must hold to the bit; storage and failures.
#include "kernel/palette/Palette.h"
#include "kernel/resample/RowResampler.h"
#include "kernel/system/ThreadState.h"
#include "tests/resample/ResampleSupport.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/Levels.h"

#include "Vkbitmap.h"

using namespace vk::testing;
using vk::Filter;
namespace simd = vk::simd;

namespace {

struct Size {
    int32_t width, height;
};
constexpr Filter kFilters[] = {Filter::area, Filter::bicubic, Filter::alternative};

/// The real mean of one channel around a target pixel, and of alpha where colours are weighted with it.
struct Mean {
    std::vector<double> columns, rows;
    const Image& image;

    double operator()(const std::function<double(const std::vector<int64_t>&)>& value) const
    {
        double sum = 0;
        for (size_t y = 0; y < rows.size(); ++y)
            for (size_t x = 0; x < columns.size(); ++x)
                if (rows[y] != 0 && columns[x] != 0)
                    sum += rows[y] * columns[x] * value(image[y * columns.size() + x]);
        return sum;
    }
    double of(size_t channel, bool by_alpha) const
    {
        const auto plain = [&](const std::vector<int64_t>& p) { return static_cast<double>(p[channel]); };
        const double alpha = by_alpha && channel != 3 ? (*this)([](const auto& p) { return double(p[3]); }) : 0;
        if (alpha <= 1e-9)
            return (*this)(plain);
        return (*this)([&](const auto& p) { return static_cast<double>(p[channel]) * double(p[3]); }) / alpha;
    }
};

/// Holds a result against the definition. `slack` is how far next to a half the result may go either way.
void expect_means(const Image& source, Size from, TestBitmap& result, const PixelFormat& format, Filter filter,
                  double slack)
{
    const std::vector<uint8_t> stored = result.pixels();
    const Image image = image_of(result, format);
    for (int32_t y = 0; y < result->Height; ++y)
        for (int32_t x = 0; x < result->Width; ++x) {
            const Mean mean{weights_for(filter, from.width, result->Width, x),
                            weights_for(filter, from.height, result->Height, y), source};
            const auto at = static_cast<size_t>(y) * static_cast<size_t>(result->Width) + static_cast<size_t>(x);
            std::vector<double> low, high;
            for (size_t c = 0; c < image[at].size(); ++c) {
                const auto [least, most] = range_of(format, c);
                const double real = mean.of(c, format.alpha());
                // Colours whose alphas nearly cancel out are anything.
                const bool is_noise = format.alpha() && c < 3 && filter != Filter::area &&
                                      mean.of(3, false) < static_cast<double>(most) / 16;
                low.push_back(is_noise ? 0 : std::clamp(std::floor(real + 0.5 - slack), double(least), double(most)));
                high.push_back(is_noise ? double(most)
                                        : std::clamp(std::floor(real + 0.5 + slack), double(least), double(most)));
            }
            if (format.by_color()) {
                const uint8_t* row = stored.data() + size_t{result->BytesPerLine} * static_cast<uint32_t>(y);
                if (low == high) {
                    ASSERT_EQ(V_FindPaletteIndex(result->Palette, result->Colors, static_cast<uint8_t>(low[2]),
                                                 static_cast<uint8_t>(low[1]), static_cast<uint8_t>(low[0])),
                              static_cast<int32_t>(get_pixel(row, format.bits, x)))
                        << x << ' ' << y;
                }
                continue;
            }
            for (size_t c = 0; c < image[at].size(); ++c) {
                ASSERT_LE(low[c], static_cast<double>(image[at][c])) << x << ' ' << y << " channel " << c;
                ASSERT_GE(high[c], static_cast<double>(image[at][c])) << x << ' ' << y << " channel " << c;
            }
        }
}

/// Puts the same pixel everywhere.
void fill_with(TestBitmap& bitmap, uint64_t pixel)
{
    for (int32_t y = 0; y < bitmap->Height; ++y)
        for (int32_t x = 0; x < bitmap->Width; ++x)
            set_pixel(bitmap->Data + size_t{bitmap->BytesPerLine} * static_cast<uint32_t>(y), bitmap->BitsPerPixel, x,
                      pixel);
}

std::vector<uint8_t> resampled(TestBitmap& bitmap, Size to, Filter filter)
{
    EXPECT_EQ(SUCCESS, vk::resample_bitmap(*bitmap, to.width, to.height, filter));
    return bitmap.pixels();
}

} // namespace

TEST(Resample, MeansByDefinitionInEveryFormat)
{
    TestRandom random(301);
    SCOPED_TRACE(random);
    constexpr Size kFrom = {23, 14};
    constexpr Size kTo[] = {{9, 5}, {31, 33}, {23, 3}, {60, 14}, {1, 1}, {5, 29}};
    for (const PixelFormat& format : kResampled)
        for (const Size to : kTo)
            for (const Filter filter : kFilters) {
                SCOPED_TRACE(format.name() + " to " + std::to_string(to.width) + " x " + std::to_string(to.height) +
                             " filter " + std::to_string(static_cast<int>(filter)));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, kFrom.width, kFrom.height, format, random));
                const Image image = image_of(bitmap, format);
                const int32_t low_bit = bitmap->LowBit;
                resampled(bitmap, to, filter);
                ASSERT_EQ(to.width, bitmap->Width);
                ASSERT_EQ(format.bits, bitmap->BitsPerPixel);
                EXPECT_EQ(format.order, bitmap->Order);
                EXPECT_EQ(low_bit, bitmap->LowBit);
                const bool is_deepest = format.bits == 32 && format.order == kGray;
                const double slack = filter == Filter::area ? (is_deepest ? 1e-5 : 1e-7) : is_deepest ? 64 : 0.12;
                ASSERT_NO_FATAL_FAILURE(expect_means(image, kFrom, bitmap, format, filter, slack));
            }
}

TEST(Resample, ReductionsOfManyPixelsStayExact)
{
    TestRandom random(302);
    SCOPED_TRACE(random);
    for (const PixelFormat& format : {PixelFormat{24, kBgr}, PixelFormat{8, kGray}, PixelFormat{32, kBgr}})
        for (const Filter filter : kFilters) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, 700, 111, format, random));
            const Image image = image_of(bitmap, format);
            resampled(bitmap, {3, 2}, filter);
            ASSERT_NO_FATAL_FAILURE(
                expect_means(image, {700, 111}, bitmap, format, filter, filter == Filter::area ? 1e-7 : 0.01));
        }
}

TEST(Resample, WeightsAddUpAndMirror)
{
    using vk::resample::Kernel;
    for (const Kernel kernel : {Kernel::area, Kernel::triangle, Kernel::bicubic, Kernel::lanczos})
        for (const int32_t bits : {0, 14, 28})
            for (const Size size : {Size{1, 1},
                                    {1, 9},
                                    {9, 1},
                                    {7, 7},
                                    {10, 7},
                                    {7, 10},
                                    {100, 3},
                                    {3, 100},
                                    {64, 16},
                                    {65, 33},
                                    {5000, 4999}}) {
                if (bits == 0 && kernel != Kernel::area)
                    continue;
                vk::resample::Axis axis;
                ASSERT_EQ(SUCCESS, axis.open(kernel, size.width, size.height, bits));
                std::vector<int32_t> there(static_cast<size_t>(axis.most()));
                std::vector<int32_t> back = there;
                for (int32_t at = 0; at < size.height; ++at) {
                    int32_t first = 0, other = 0;
                    const int32_t count = axis.taps(at, &first, there.data());
                    ASSERT_EQ(count, axis.taps(size.height - 1 - at, &other, back.data()));
                    ASSERT_LE(count, axis.most());
                    ASSERT_EQ(first, size.width - other - count);
                    ASSERT_TRUE(
                        std::equal(there.begin(), there.begin() + count, std::reverse_iterator(back.begin() + count)));
                    int64_t sum = 0;
                    for (int32_t k = 0; k < count; ++k)
                        sum += there[static_cast<size_t>(k)];
                    ASSERT_EQ(axis.total(), sum);
                }
            }
}

TEST(Resample, ConstantsStayAndMirrorsMirror)
{
    TestRandom random(303);
    SCOPED_TRACE(random);
    for (const PixelFormat& format : kResampled)
        for (const Filter filter : kFilters)
            for (const Size to : {Size{7, 40}, {50, 3}, {29, 11}}) {
                SCOPED_TRACE(format.name());
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, 21, 17, format, random));
                uint64_t pixel = random.next();
                if (format.by_color())
                    pixel = 3; // entries past the palette's end are all black
                if (format.order == kGray && format.bits > 8)
                    pixel &= uint64_t(range_of({format.bits, kGray, true, format.low, format.high}, 0).second)
                             << format.low;
                if (format.bits == 16 && format.order == kBgr)
                    pixel &= 0x7FFF;
                fill_with(bitmap, pixel);
                const std::vector<uint8_t> now = resampled(bitmap, to, filter);
                const uint64_t mask = format.bits == 64 ? ~uint64_t{0} : (uint64_t{1} << format.bits) - 1;
                for (int32_t i = 0; i < to.width * to.height; ++i)
                    ASSERT_EQ(pixel & mask,
                              get_pixel(now.data() + size_t{bitmap->BytesPerLine} * static_cast<uint32_t>(i / to.width),
                                        format.bits, i % to.width));
                if (format.by_color())
                    continue;
                TestBitmap mirrored; // a picture turned upside down and left to right gives the result turned
                V_FreeBitmap(bitmap);
                ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, 21, 17, format, random));
                ASSERT_NO_FATAL_FAILURE(make_picture(mirrored, Kind::conv, 21, 17, format, random));
                for (int32_t i = 0; i < 21 * 17; ++i)
                    set_pixel(mirrored->Data + size_t{mirrored->BytesPerLine} * static_cast<uint32_t>(16 - i / 21),
                              format.bits, 20 - i % 21,
                              get_pixel(bitmap->Data + size_t{bitmap->BytesPerLine} * static_cast<uint32_t>(i / 21),
                                        format.bits, i % 21));
                resampled(bitmap, to, filter);
                resampled(mirrored, to, filter);
                Image turned = image_of(mirrored, format);
                std::reverse(turned.begin(), turned.end());
                EXPECT_EQ(image_of(bitmap, format), turned);
            }
}

TEST(Resample, OpaquePicturesAreTheirColorsAndInvisiblePixelsDoNotCount)
{
    TestRandom random(304);
    SCOPED_TRACE(random);
    for (const int32_t bits : {24, 48})
        for (const Filter filter : kFilters)
            for (const Size to : {Size{30, 44}, {11, 6}, {3, 2}}) {
                TestBitmap colors;
                TestBitmap opaque;
                TestBitmap shown;
                ASSERT_NO_FATAL_FAILURE(make_picture(colors, Kind::conv, 37, 20, {bits, kBgr}, random));
                ASSERT_NO_FATAL_FAILURE(opaque.make(Kind::conv, 37, 20, bits * 4 / 3));
                ASSERT_NO_FATAL_FAILURE(shown.make(Kind::conv, 37, 20, bits * 4 / 3));
                for (int32_t y = 0; y < 20; ++y)
                    for (int32_t x = 0; x < 37; ++x) {
                        const uint64_t alpha = ((uint64_t{1} << bits / 3) - 1) << bits;
                        const uint64_t color = get_pixel(colors->Data + colors->BytesPerLine * uint32_t(y), bits, x);
                        set_pixel(opaque->Data + opaque->BytesPerLine * uint32_t(y), bits * 4 / 3, x, color | alpha);
                        const bool is_shown = (x + y) % 2 == 0;
                        set_pixel(shown->Data + shown->BytesPerLine * uint32_t(y), bits * 4 / 3, x,
                                  is_shown ? 0x5A5A5A5A5A5A5A5Au | alpha : random.next() & ~alpha);
                    }
                resampled(colors, to, filter);
                resampled(opaque, to, filter);
                resampled(shown, to, filter);
                const Image want = image_of(colors, {bits, kBgr});
                const Image got = image_of(opaque, {bits * 4 / 3, kBgr});
                const Image flat = image_of(shown, {bits * 4 / 3, kBgr});
                for (size_t i = 0; i < want.size(); ++i) {
                    ASSERT_TRUE(std::equal(want[i].begin(), want[i].end(), got[i].begin())) << i;
                    ASSERT_EQ((int64_t{1} << bits / 3) - 1, got[i][3]);
                    ASSERT_EQ(bits == 24 ? 0x5A : 0x5A5A, flat[i][0]) << i;
                }
            }
}

TEST(Resample, WiderInstructionsGiveTheSame)
{
    TestRandom random(305);
    SCOPED_TRACE(random);
    using namespace vk::resample;
    for (const PixelFormat& format : kResampled)
        for (const Kernel kernel : {Kernel::area, Kernel::triangle, Kernel::bicubic, Kernel::lanczos})
            for (int round = 0; round < 16; ++round) {
                SCOPED_TRACE(format.name() + " kernel " + std::to_string(static_cast<int>(kernel)));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(
                    make_picture(bitmap, Kind::conv, random.between(1, 150), random.between(1, 12), format, random));
                const bool is_opaque = !format.alpha() || round % 4 == 0;
                const auto pixel = static_cast<uint32_t>(format.bits) / 8;
                for (uint32_t i = 0; format.alpha() && is_opaque && i < bitmap.bytes(); i += pixel)
                    std::memset(bitmap->Data + i + pixel * 3 / 4, 255, pixel / 4);
                const Size to = {random.between(1, 200), random.between(1, 15)};
                Form form;
                ASSERT_TRUE(make_form(*bitmap, false, form));
                const size_t bytes = form.pixel_bytes() * static_cast<size_t>(to.width);
                std::vector<uint8_t> want;
                for (const simd::Level level : kLevels) {
                    const AtLevel at(level);
                    RowResampler rows(*bitmap, form);
                    ASSERT_EQ(SUCCESS, rows.open(to.width, to.height, kernel));
                    const bool is_narrow = rows.fast_loops() != nullptr;
                    ASSERT_TRUE(!is_narrow || rows.fast_loops() == byte_loops_sets.best());
                    ASSERT_EQ(is_narrow ? nullptr : wide_loops_sets.best(), rows.wide_loops());
                    ASSERT_EQ(format.alpha() ? wide_loops_sets.best() : nullptr, rows.alpha_loops());
                    const bool is_enlarged = bitmap->Width < 2 * to.width && bitmap->Height < 2 * to.height;
                    ASSERT_EQ(form.lane_bytes == 1 && byte_loops_sets.best() &&
                                  (kernel == Kernel::area || is_enlarged || is_narrow),
                              is_narrow);
                    std::vector<uint8_t> made;
                    for (int32_t y = 0; y < to.height; ++y) {
                        std::vector<uint8_t> row(bytes + kLaneSlack, 7);
                        ASSERT_EQ(SUCCESS, rows.row(y, row.data()));
                        ASSERT_EQ(7, *std::min_element(row.begin() + static_cast<ptrdiff_t>(bytes), row.end()));
                        made.insert(made.end(), row.begin(), row.begin() + static_cast<ptrdiff_t>(bytes));
                    }
                    if (level == simd::Level::plain)
                        want = made;
                    ASSERT_EQ(want, made) << bitmap->Width << " to " << to.width << " level " << int(level);
                }
            }
}

TEST(Resample, EveryStorageGivesTheSame)
{
    TestRandom random(306);
    for (const PixelFormat& format : kResampled)
        for (const Kind kind : kKinds)
            for (const Size to : {Size{13, 9}, {60, 31}}) {
                const bool is_slow = kind == Kind::disk || kind == Kind::tiled_file || kind == Kind::tiled_mixed;
                if (!can_make(kind, format.bits) || (is_slow && to.width > 20))
                    continue;
                SCOPED_TRACE(std::string(name_of(kind)) + ' ' + format.name());
                TestRandom same(307);
                TestBitmap conv;
                ASSERT_NO_FATAL_FAILURE(make_picture(conv, Kind::conv, 41, 19, format, same));
                TestRandom again(307);
                TestBitmap other(BITMAPHANDLE_SIZE_EARLIER);
                ASSERT_NO_FATAL_FAILURE(make_picture(other, kind, 41, 19, format, again));
                const Filter filter = kFilters[random.below(3)];
                EXPECT_EQ(resampled(conv, to, filter), resampled(other, to, filter));
                EXPECT_EQ(kind == Kind::disk, V_BitmapIsDiskMemory(other) != 0);
                EXPECT_EQ(kind == Kind::compressed, V_BitmapIsCompressed(other) != 0);
            }
}

TEST(Resample, IntoAnotherBitmap)
{
    TestRandom random(308);
    TestBitmap page; // inverted: 0 is white
    ASSERT_NO_FATAL_FAILURE(make_picture(page, Kind::conv, 40, 30, {1, kRgb}, random));
    const RGBQUAD inverted[] = {{255, 255, 255, 0}, {0, 0, 0, 0}};
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(page, inverted, 2));
    TestBitmap gray;
    ASSERT_EQ(SUCCESS, gray.create(TYPE_CONV, 10, 10, 8, COLORORDER_RGB));
    ASSERT_EQ(SUCCESS, V_CreateBitmapGrayPalette(gray));
    page->ViewPerspective = TOP_LEFT;
    gray->ViewPerspective = BOTTOM_LEFT;
    ASSERT_EQ(SUCCESS, V_IntResampleBitmap(page, gray));
    for (int32_t y = 0; y < 10; ++y)
        for (int32_t x = 0; x < 10; ++x) {
            int32_t white = 0;
            for (int32_t i = 0; i < 12; ++i)
                white += get_pixel(page->Data + page->BytesPerLine * uint32_t(3 * y + i / 4), 1, 4 * x + i % 4) == 0;
            EXPECT_EQ((white * 255 + 6) / 12, gray->Data[gray->BytesPerLine * uint32_t(9 - y) + uint32_t(x)]);
        }

    TestBitmap source;
    TestBitmap same;
    TestBitmap other;
    ASSERT_NO_FATAL_FAILURE(make_picture(source, Kind::conv, 20, 10, {24, kBgr}, random));
    ASSERT_NO_FATAL_FAILURE(make_picture(same, Kind::conv, 20, 10, {24, kBgr}, random));
    ASSERT_EQ(SUCCESS, V_IntBicubicResampleBitmap(source, same)); // the same size: a copy
    EXPECT_EQ(source.pixels(), same.pixels());
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_IntResampleBitmap(source, source));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_IntResampleBitmap(source, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_IntResampleBitmap(nullptr, source));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_IntBicubicResampleBitmap(source, other));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_IntResampleBitmap(source, gray));
    same->Order = COLORORDER_RGB;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_IntResampleBitmap(source, same));
    same->Order = kBgr;
    same->ViewPerspective = 6;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_IntResampleBitmap(source, same));
}

TEST(Resample, PaletteOfTheDestinationIsTheOneMatched)
{
    TestRandom random(309);
    TestBitmap source;
    TestBitmap made;
    ASSERT_NO_FATAL_FAILURE(make_picture(source, Kind::conv, 20, 10, {8, kRgb, false}, random));
    ASSERT_NO_FATAL_FAILURE(make_picture(made, Kind::conv, 20, 10, {8, kRgb, false}, random));
    ASSERT_EQ(SUCCESS, V_IntResampleBitmap(source, made));
    for (uint32_t i = 0; i < 20; ++i) {
        const uint8_t index = source->Data[i];
        const RGBQUAD want = index < source->Colors ? source->Palette[index] : RGBQUAD{};
        EXPECT_EQ(V_FindPaletteIndex(made->Palette, made->Colors, want.rgbRed, want.rgbGreen, want.rgbBlue),
                  made->Data[i]);
    }
}

TEST(Resample, ReplacesOnSuccessOnly)
{
    TestRandom random(310);
    TestBitmap bitmap;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ResampleBitmap(nullptr, 5, 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_BicubicResampleBitmap(bitmap, 5, 5));
    ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, 300, 200, {24, kBgr}, random));
    std::vector<uint8_t> image = bitmap.image();
    for (const Size size : {Size{0, 5}, {5, 0}, {-1, 5}, {5, INT32_MIN}})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ResampleBitmap(bitmap, size.width, size.height));
    EXPECT_EQ(SUCCESS, V_ResampleBitmap(bitmap, 300, 200));
    EXPECT_EQ(image, bitmap.image());
    static std::vector<int> seen;
    static int stop_at = 0;
    seen.clear();
    stop_at = 60;
    ASSERT_EQ(SUCCESS, V_SetStatusCallback(
                           [](int percent, void*) {
                               seen.push_back(percent);
                               return percent == stop_at ? ERROR_USER_ABORT : SUCCESS;
                           },
                           nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_USER_ABORT, V_BicubicResampleBitmap(bitmap, 150, 300));
    EXPECT_EQ(image, bitmap.image());
    seen.clear();
    stop_at = -1;
    bitmap->XResolution = 333;
    EXPECT_EQ(SUCCESS, V_BicubicResampleBitmap(bitmap, 150, 300));
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(101u, seen.size());
    EXPECT_EQ(0, seen.front());
    EXPECT_EQ(100, seen.back());
    EXPECT_EQ(333, bitmap->XResolution);
}

TEST(Resample, FailuresLeaveTheBitmapAlone)
{
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed})
        for (const PixelFormat& format : {PixelFormat{4, kRgb, false}, PixelFormat{32, kBgr}, PixelFormat{12, kGray}})
            for (const Filter filter : {Filter::area, Filter::bicubic}) {
                if (kind != Kind::conv && (filter == Filter::area || format.bits != 32))
                    continue;
                for_each_fault([&] {
                    TestBitmap bitmap;
                    const uint32_t memory = kind == Kind::conv   ? TYPE_CONV
                                            : kind == Kind::disk ? TYPE_DISK
                                                                 : TYPE_TILED;
                    if (bitmap.create(memory, 15, 6, format.bits, format.order) != SUCCESS)
                        return;
                    const std::vector<uint8_t> image = bitmap.image();
                    const int result = vk::resample_bitmap(*bitmap, 9, 8, filter);
                    EXPECT_TRUE(result == SUCCESS ? bitmap->Width == 9 : image == bitmap.image());
                });
            }
}
