// Warps that mix pixels, beside their definition in doubles, pixel by pixel.
#include "Vkkrnx.h"
#include "tests/support/TestMix.h"
#include "tests/warp/WarpSupport.h"

#include <functional>

using namespace vk;
using namespace vk::testing;

namespace {

std::string name_of(const Form& form, uint32_t flags)
{
    return std::to_string(form.bits) + " bits, order " + std::to_string(form.order) + ", flags " +
           std::to_string(flags);
}

/// A picture in which the outermost pixels go on.
Shown with_edges(const Shown& image, int32_t margin)
{
    Shown made{image.width + 2 * margin, image.height + 2 * margin, {}};
    for (int32_t y = 0; y < made.height; ++y)
        for (int32_t x = 0; x < made.width; ++x)
            made.values.push_back(
                image.at(std::clamp(x - margin, 0, image.width - 1), std::clamp(y - margin, 0, image.height - 1)));
    return made;
}

/// Compares channels, allowing for weights and places that are off by `off` of a pixel.
void expect_channels(const Form& form, const std::vector<double>& wanted, uint64_t found, double off)
{
    for (int c = 0; c < form.fields; ++c) {
        const double most = most_of(form, c);
        const double alpha = form.fields == 4 && c < 3 ? wanted[3] / most : 1;
        if (alpha < 0.02)
            continue; // hardly anything to be seen of the colour
        ASSERT_NEAR(wanted[static_cast<size_t>(c)], channel(form, found, c), 0.515 + most * off / alpha)
            << "channel " << c;
    }
}

/// Numbers of a byte have coarser weights.
double off_of(const Form& form, bool is_parabola)
{
    return (form.field_bits <= 8 ? 3e-4 : 4e-5) + (is_parabola ? 1e-3 : 0);
}

} // namespace

TEST(WarpFilter, WeightsAsDefined)
{
    TestRandom random(521);
    SCOPED_TRACE(random);
    for (const Form& form : kMixedForms)
        for (const uint32_t flags : {WARP_LINEAR, WARP_CUBIC, WARP_LINEAR | WARP_EDGE, WARP_CUBIC | WARP_EDGE})
            for (const int kind : {0, 1, 2}) { // affine, projective, by a grid
                SCOPED_TRACE(name_of(form, flags) + ", kind " + std::to_string(kind));
                TestBitmap bitmap;
                const int32_t width = random.between(1, 100);
                const int32_t height = random.between(1, 40);
                ASSERT_NO_FATAL_FAILURE(make_form(bitmap, form, width, height));
                fill_rows(bitmap, random);
                const Shown image = shown(bitmap);
                const V_MATRIX map = picture_map(random, width, height, kind == 1);
                const auto points = random_grid(random, 6, 4, width, height, 0.1);
                if (kind == 2)
                    ASSERT_EQ(SUCCESS, V_WarpBitmapGrid(bitmap.get(), points.data(), 6, 4, 130, 45, flags, 0));
                else
                    ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 130, 45, flags, 0));
                const Shown canvas = shown(bitmap);
                const ReferenceMap reference(map, 0, 0, width, height);
                const ReferenceGrid grid{points, 6, 4, 130, 45};
                const bool has_edges = flags & WARP_EDGE;
                constexpr int32_t kMargin = 4;
                const Shown picture = has_edges ? with_edges(image, kMargin) : image;
                const double shift = has_edges ? kMargin : 0;
                for (int32_t y = 0; y < canvas.height; ++y)
                    for (int32_t x = 0; x < canvas.width; ++x) {
                        const Place place = kind == 2 ? grid.at(x + 0.5L, y + 0.5L) : reference.at(x + 0.5L, y + 0.5L);
                        const auto across = static_cast<double>(place.x);
                        const auto down = static_cast<double>(place.y);
                        const bool is_in =
                            across > kOff && across < width - kOff && down > kOff && down < height - kOff;
                        const bool is_out =
                            across < -kOff || across > width + kOff || down < -kOff || down > height + kOff;
                        std::vector<double> wanted; // the fill
                        for (int c = 0; c < 4; ++c)
                            wanted.push_back(c < form.fields ? channel(form, 0, c) : 0);
                        if (place.is_there && (!has_edges || is_in))
                            wanted = interpolated(form, picture, across + shift, down + shift, flags & WARP_CUBIC, 0);
                        else if (place.is_there && !is_out)
                            continue; // on the edge
                        ASSERT_NO_FATAL_FAILURE(expect_channels(form, wanted, canvas.at(x, y), off_of(form, kind == 1)))
                            << x << ", " << y << " from " << across << ", " << down;
                    }
            }
}

// A canvas pixel is the mean of as many samples as keep neighbours within a pixel.
TEST(WarpFilter, MeansAsDefined)
{
    TestRandom random(522);
    SCOPED_TRACE(random);
    for (const Form& form : kMixedForms)
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE(name_of(form, WARP_AREA) + ", round " + std::to_string(round));
            TestBitmap bitmap;
            const int32_t width = random.between(40, 100);
            const int32_t height = random.between(20, 60);
            ASSERT_NO_FATAL_FAILURE(make_form(bitmap, form, width, height));
            fill_rows(bitmap, random);
            const Shown image = shown(bitmap);
            V_MATRIX map;
            V_Matrix_Identity(&map);
            V_Matrix_Rotate(&map, random.between(0, 36000));
            V_Matrix_Scale(&map, number(random, 0.15, 1.5), number(random, 0.15, 0.9));
            const V_POINTD corner = first_corner(map, width, height);
            ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 0, 0, WARP_AREA, 0));
            const Shown canvas = shown(bitmap);
            const ReferenceMap reference(map, corner.x, corner.y, width, height);
            const auto samples = [&](long double x, long double y) {
                const Place a = reference.at(0, 0);
                const Place b = reference.at(x, y);
                return static_cast<int>(std::ceil(std::hypot(b.x - a.x, b.y - a.y) - 1.0L / 64));
            };
            const int across = std::max(samples(1, 0), 1);
            const int down = std::max(samples(0, 1), 1);
            for (int32_t y = 0; y < canvas.height; ++y)
                for (int32_t x = 0; x < canvas.width; ++x) {
                    std::vector<double> sums(4, 0);
                    for (int i = 0; i < across * down; ++i) {
                        const Place place =
                            reference.at(x + (i % across + 0.5L) / across, y + (i / across + 0.5L) / down);
                        const std::vector<double> sample =
                            weighted(form, image, static_cast<double>(place.x), static_cast<double>(place.y), false, 0);
                        for (size_t c = 0; c < 4; ++c)
                            sums[c] += sample[c] / (across * down);
                    }
                    ASSERT_NO_FATAL_FAILURE(expect_channels(form, channels_of(form, sums), canvas.at(x, y), 3e-4))
                        << x << ", " << y;
                }
        }
}

// Reduced by a whole number each way, a mean is that of whole pixels.
TEST(WarpFilter, WholeReductionsAreResampled)
{
    TestRandom random(523);
    SCOPED_TRACE(random);
    for (const Form& form : kMixedForms)
        for (const int32_t times : {2, 3, 7}) {
            SCOPED_TRACE(name_of(form, WARP_AREA) + ", by " + std::to_string(times));
            TestBitmap warped;
            TestBitmap resampled;
            ASSERT_NO_FATAL_FAILURE(make_form(warped, form, 42, 84));
            ASSERT_NO_FATAL_FAILURE(make_form(resampled, form, 42, 84));
            fill_rows(warped, random);
            ASSERT_EQ(SUCCESS, V_CopyBitmapData(resampled.get(), warped.get()));
            V_MATRIX map;
            V_Matrix_Identity(&map);
            V_Matrix_Scale(&map, 1.0 / times, 1.0 / times);
            ASSERT_EQ(SUCCESS, V_WarpBitmap(warped.get(), &map, 0, 0, WARP_AREA, 0));
            ASSERT_EQ(SUCCESS, V_ResampleBitmap(resampled.get(), 42 / times, 84 / times));
            const Shown a = shown(warped);
            const Shown b = shown(resampled);
            ASSERT_EQ(a.values.size(), b.values.size());
            for (size_t i = 0; i < a.values.size(); ++i)
                for (int c = 0; c < form.fields; ++c)
                    ASSERT_EQ(channel(form, b.values[i], c), channel(form, a.values[i], c)) << "pixel " << i;
        }
}

// Stripes as fine as pixels, small in one corner only: there they are gray and leave no pattern.
TEST(WarpFilter, WhatShrinksInOneCornerDoesNotAlias)
{
    for (const uint32_t flags : {WARP_LINEAR, WARP_AREA, WARP_AREA | WARP_CUBIC}) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 600, 600, 8, COLORORDER_GRAY));
        std::vector<uint8_t> row(600);
        for (int32_t y = 0; y < 600; ++y) {
            for (int32_t x = 0; x < 600; ++x)
                row[static_cast<size_t>(x)] = (x + y) % 2 ? 255 : 0;
            ASSERT_LT(0, V_PutBitmapRow(bitmap.get(), row.data(), y, 600));
        }
        const V_POINTD from[4] = {{0, 0}, {600, 0}, {600, 600}, {0, 600}};
        const V_POINTD to[4] = {{0, 0}, {600, 0}, {380, 380}, {0, 600}};
        V_MATRIX map;
        ASSERT_EQ(SUCCESS, V_Matrix_FromCorners(&map, from, to));
        ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 600, 600, flags, 0));
        const Shown canvas = shown(bitmap);
        double farthest = 0; // from gray, of means over 8 x 8 pixels where the picture is at most 0.6 of its size
        for (int32_t y = 300; y < 350; y += 8)
            for (int32_t x = 300; x < 350; x += 8) {
                double sum = 0;
                for (int32_t i = 0; i < 64; ++i)
                    sum += static_cast<double>(canvas.at(x + i % 8, y + i / 8));
                farthest = std::max(farthest, std::fabs(sum / 64 - 127.5));
                for (int32_t i = 0; i < 64 && flags != WARP_LINEAR; ++i)
                    EXPECT_NEAR(127.5, static_cast<double>(canvas.at(x + i % 8, y + i / 8)), 70);
            }
        if (flags != WARP_LINEAR) {
            EXPECT_GT(12, farthest);
        }
    }
}

TEST(WarpFilter, ConstantPicturesStayConstant)
{
    TestRandom random(524);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (const int32_t order : {COLORORDER_RGB, COLORORDER_GRAY})
            for (const uint32_t flags : {WARP_LINEAR, WARP_CUBIC, WARP_AREA}) {
                if (order == COLORORDER_GRAY ? bits < 8 || bits == 24 || bits > 32 : bits == 12)
                    continue;
                SCOPED_TRACE(std::to_string(bits) + " bits, order " + std::to_string(order));
                TestBitmap bitmap;
                std::vector<RGBQUAD> palette(256); // every entry twice
                for (size_t i = 0; i < palette.size(); ++i)
                    palette[i] = {static_cast<uint8_t>(i / 2 * 5), static_cast<uint8_t>(i / 2 * 3), 7, 0};
                ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 90, 80, bits, order, palette.data()));
                if (order == COLORORDER_GRAY && bits > 8) {
                    bitmap->LowBit = 1;
                    bitmap->HighBit = bits - 3;
                }
                const uint64_t unused = bits == 16 && order == COLORORDER_RGB ? 0x8000u : 0;
                const uint64_t mask = bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
                const uint64_t value = random.next() & mask & ~unused;
                std::vector<uint8_t> row(bitmap->BytesPerLine);
                for (int32_t x = 0; x < 90; ++x)
                    set_pixel(row.data(), bits, x, value);
                for (int32_t y = 0; y < 80; ++y)
                    ASSERT_LT(0, V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
                const V_MATRIX map = picture_map(random, 90, 80, true);
                ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 90, 80, flags, 0));
                const Shown canvas = shown(bitmap);
                const ReferenceMap reference(map, 0, 0, 90, 80);
                for (int32_t y = 0; y < 80; ++y)
                    for (int32_t x = 0; x < 90; ++x) {
                        const Place place = reference.at(x + 0.5L, y + 0.5L);
                        const bool is_inside = place.x > 8 && place.x < 82 && place.y > 8 && place.y < 72;
                        ASSERT_TRUE(!is_inside || canvas.at(x, y) == value) << x << ", " << y;
                    }
            }
}

// Colours of indexed pictures are mixed, and matched against the palette.
TEST(WarpFilter, IndexedPicturesKeepTheirPalette)
{
    TestRandom random(525);
    SCOPED_TRACE(random);
    const Form colors{24, COLORORDER_BGR, 3, 8};
    for (const int32_t bits : {2, 4, 7, 8})
        for (const uint32_t flags : {WARP_LINEAR, WARP_CUBIC}) {
            TestBitmap bitmap;
            std::vector<RGBQUAD> palette(256);
            random.fill(palette.data(), palette.size() * sizeof(RGBQUAD));
            const auto color = [&](uint64_t i) {
                return palette[i].rgbBlue | uint64_t{palette[i].rgbGreen} << 8 | uint64_t{palette[i].rgbRed} << 16;
            };
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 70, 40, bits, COLORORDER_RGB, palette.data()));
            fill_rows(bitmap, random);
            Shown image = shown(bitmap);
            std::transform(image.values.begin(), image.values.end(), image.values.begin(), color);
            const V_MATRIX map = picture_map(random, 70, 40, false);
            ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 80, 50, flags, 0x01000002u));
            const Shown canvas = shown(bitmap);
            const ReferenceMap reference(map, 0, 0, 70, 40);
            for (int32_t y = 0; y < canvas.height; ++y)
                for (int32_t x = 0; x < canvas.width; ++x) {
                    const Place place = reference.at(x + 0.5L, y + 0.5L);
                    const std::vector<double> wanted =
                        interpolated(colors, image, static_cast<double>(place.x), static_cast<double>(place.y),
                                     flags & WARP_CUBIC, color(2));
                    const auto distance = [&](uint64_t entry) {
                        double sum = 0;
                        for (int c = 0; c < 3; ++c)
                            sum += std::pow(channel(colors, color(entry), c) - wanted[static_cast<size_t>(c)], 2);
                        return std::sqrt(sum);
                    };
                    double least = 1000;
                    for (size_t i = 0; i < size_t{1} << bits; ++i)
                        least = std::min(least, distance(i));
                    ASSERT_LE(distance(canvas.at(x, y)), least + 2) << x << ", " << y; // colours are rounded first
                }
        }
}

// Where all pixels are transparent, colours are mixed like any.
TEST(WarpFilter, InvisibleColorsAreMixedToo)
{
    for (const uint32_t flags : {WARP_LINEAR, WARP_CUBIC, WARP_AREA}) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 60, 60, 32, COLORORDER_BGR));
        std::vector<uint32_t> row(60);
        for (size_t x = 0; x < row.size(); ++x)
            row[x] = x < 30 ? 0x000000C8u : 0x00C80000u;
        for (int32_t y = 0; y < 60; ++y)
            ASSERT_LT(0, V_PutBitmapRow(bitmap.get(), row.data(), y, 240));
        const V_MATRIX map{{{flags == WARP_AREA ? 0.4 : 1.5, 0.1, 0}, {0.1, 0.5, 0}, {0, 0, 1}}};
        ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 0, 0, flags, 0));
        const Shown canvas = shown(bitmap);
        const auto is_mixed = [](uint64_t pixel) { return (pixel & 0xFF) > 10 && (pixel >> 16 & 0xFF) > 10; };
        EXPECT_LT(8, std::count_if(canvas.values.begin(), canvas.values.end(), is_mixed));
        EXPECT_TRUE(std::all_of(canvas.values.begin(), canvas.values.end(), [](uint64_t p) { return p >> 24 == 0; }));
    }
}
