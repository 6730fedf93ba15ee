// Functions that mean the same give the same: shears and their matrices, turns by a matrix and turns by their own
// functions, buffers and bitmaps; and the short way of rows that only move to the side.
#include "Vkkrnx.h"
#include "kernel/warp/Shift.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestTurn.h"
#include "tests/warp/WarpSupport.h"

using namespace vk;
using namespace vk::testing;

namespace {

constexpr COLORREF kFirstEntry = 0x01000001u;

V_MATRIX map_of(std::initializer_list<double> values)
{
    V_MATRIX made;
    std::copy(values.begin(), values.end(), &made.m[0][0]);
    return made;
}

/// Two bitmaps in memory with the same random pixels.
struct Pair {
    TestBitmap a;
    TestBitmap b;

    void make(int32_t width, int32_t height, int32_t bits, TestRandom& random, Kind kind = Kind::conv)
    {
        ASSERT_NO_FATAL_FAILURE(a.make(kind, width, height, bits));
        ASSERT_NO_FATAL_FAILURE(b.make(kind, width, height, bits));
        a->ViewPerspective = b->ViewPerspective = TOP_LEFT;
        fill_rows(a, random);
        ASSERT_EQ(SUCCESS, V_CopyBitmapData(b.get(), a.get()));
    }
    void expect_equal()
    {
        ASSERT_TRUE(a->Width == b->Width && a->Height == b->Height)
            << a->Width << " x " << a->Height << " and " << b->Width << " x " << b->Height;
        EXPECT_TRUE(a.pixels() == b.pixels());
    }
};

} // namespace

TEST(WarpAgreement, ShearsOfWhatIsDisplayed)
{
    TestRandom random(531);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 5, 12, 24})
        for (int32_t perspective = 1; perspective <= 8; ++perspective)
            for (const int32_t angle : {500, -500, 3100, -8000, 4500})
                for (const uint32_t flags : {SHEAR_HORIZONTAL, SHEAR_VERTICAL}) {
                    SCOPED_TRACE(std::to_string(bits) + " bits, perspective " + std::to_string(perspective) +
                                 ", angle " + std::to_string(angle) + ", flags " + std::to_string(flags));
                    TestBitmap bitmap;
                    ASSERT_NO_FATAL_FAILURE(
                        bitmap.make(Kind::conv, random.between(1, 40), random.between(1, 30), bits));
                    bitmap->ViewPerspective = perspective;
                    fill_rows(bitmap, random);
                    const Shown image = shown(bitmap);
                    ASSERT_EQ(SUCCESS, V_ShearBitmap(bitmap.get(), angle, flags, kFirstEntry));
                    ASSERT_EQ(perspective, bitmap->ViewPerspective);
                    const double slope = std::tan(angle * 3.14159265358979323846 / 18000);
                    const V_MATRIX map = flags & SHEAR_VERTICAL ? map_of({1, slope, 0, 0, 1, 0, 0, 0, 1})
                                                                : map_of({1, 0, 0, -slope, 1, 0, 0, 0, 1});
                    const V_POINTD corner = first_corner(map, image.width, image.height);
                    const Shown canvas = shown(bitmap);
                    const double grown = std::fabs(slope) * (flags & SHEAR_VERTICAL ? image.width : image.height);
                    EXPECT_NEAR(grown, canvas.width - image.width + canvas.height - image.height, 1);
                    ASSERT_NO_FATAL_FAILURE(expect_nearest_of(
                        image, canvas, ReferenceMap(map, corner.x, corner.y, image.width, image.height),
                        bits <= 8 ? 1 : 0));
                }
}

TEST(WarpAgreement, RowsMovedAsideAreRowsWarped)
{
    TestRandom random(532);
    SCOPED_TRACE(random);
    const auto compare = [&](int32_t width, int32_t height, int32_t bits, Kind kind, const V_MATRIX& map) {
        Pair pair;
        ASSERT_NO_FATAL_FAILURE(pair.make(width, height, bits, random, kind));
        ASSERT_EQ(SUCCESS, V_WarpBitmap(pair.a.get(), &map, 0, 0, 0, 0x00102030u));
        warp::keep_from_moving_rows(true);
        const int result = V_WarpBitmap(pair.b.get(), &map, 0, 0, 0, 0x00102030u);
        warp::keep_from_moving_rows(false);
        ASSERT_EQ(SUCCESS, result);
        pair.expect_equal();
    };
    for (const int32_t bits : kDepths)
        for (int round = 0; round < 10; ++round) {
            // Halves make ties.
            const double slope = random.between(-300, 300) / (round % 2 ? 64.0 : 1073741824.0 / 3000000);
            const V_MATRIX map = map_of({1, 0, 0, std::round(slope * 0x1p30) * 0x1p-30, 1, 0, 0, 0, 1});
            compare(random.between(1, 600), random.between(1, 60), bits, round % 3 ? Kind::conv : Kind::disk, map);
        }
    compare(2600, 2300, 24, Kind::conv, map_of({1, 0, 0, 0.0625, 1, 0, 0, 0, 1})); // past the caches
    warp::Warp warp;
    warp.canvas = {100, 100};
    warp.back = map_of({1, 0, 0, 0.25, 1, 0, 3, 5, 1});
    EXPECT_TRUE(warp::moves_rows(warp, {100, 100}));
    warp.back.m[1][0] = 1.0 / 3; // of which a sum with a column might lose bits
    EXPECT_FALSE(warp::moves_rows(warp, {100, 100}));
}

// Shears by parts of pixels are their matrices, mixed.
TEST(WarpAgreement, LinearShears)
{
    TestRandom random(533);
    Pair pair;
    ASSERT_NO_FATAL_FAILURE(pair.make(90, 60, 24, random));
    const double slope = std::round(std::tan(700 * 3.14159265358979323846 / 18000) * 0x1p30) * 0x1p-30;
    const V_MATRIX map = map_of({1, slope, 0, 0, 1, 0, 0, 0, 1});
    ASSERT_EQ(SUCCESS, V_ShearBitmap(pair.a.get(), 700, SHEAR_VERTICAL | SHEAR_LINEAR, 0x00FFFFFFu));
    ASSERT_EQ(SUCCESS, V_WarpBitmap(pair.b.get(), &map, 0, 0, WARP_LINEAR, 0x00FFFFFFu));
    pair.expect_equal();
}

// Turns that move whole pixels, by whatever flags they are warped.
TEST(WarpAgreement, QuarterTurnsAndMirrors)
{
    TestRandom random(534);
    SCOPED_TRACE(random);
    const struct {
        V_MATRIX map;
        int (*same)(BITMAPHANDLE*);
    } cases[] = {
        {map_of({0, 1, 0, -1, 0, 0, 0, 0, 1}), [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 1); }},
        {map_of({0, -1, 0, 1, 0, 0, 0, 0, 1}), [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 0); }},
        {map_of({-1, 0, 0, 0, -1, 0, 0, 0, 1}), [](BITMAPHANDLE* b) { return V_RotateBitmap(b, 18000, 0, 0); }},
        {map_of({-1, 0, 0, 0, 1, 0, 0, 0, 1}), [](BITMAPHANDLE* b) { return V_ReverseBitmap(b); }},
        {map_of({1, 0, 0, 0, -1, 0, 0, 0, 1}), [](BITMAPHANDLE* b) { return V_FlipBitmap(b); }},
        {map_of({0, 1, 0, 1, 0, 0, 0, 0, 1}),
         [](BITMAPHANDLE* b) {
             b->ViewPerspective = 5;
             const int result = V_ChangeBitmapViewPerspective(nullptr, b, 0, TOP_LEFT);
             return result;
         }},
    };
    for (const int32_t bits : kDepths)
        for (const uint32_t flags : {WARP_NEAREST, WARP_LINEAR, WARP_CUBIC, WARP_AREA | WARP_EDGE})
            for (const auto& test : cases) {
                SCOPED_TRACE(std::to_string(bits) + " bits, flags " + std::to_string(flags));
                Pair pair;
                ASSERT_NO_FATAL_FAILURE(pair.make(random.between(1, 300), random.between(1, 40), bits, random));
                if (bits == 16 && flags != WARP_NEAREST) // whose highest bit is no part of a colour
                    pair.a->Order = pair.b->Order = COLORORDER_RGB565;
                ASSERT_EQ(SUCCESS, V_WarpBitmap(pair.a.get(), &test.map, 0, 0, flags, 0));
                ASSERT_EQ(SUCCESS, test.same(pair.b.get()));
                pair.expect_equal();
            }
}

// Rotations by a matrix, but for places that lie on an edge as far as either can tell.
TEST(WarpAgreement, Rotations)
{
    TestRandom random(535);
    SCOPED_TRACE(random);
    for (const int32_t angle : {730, -4500, 12345, 31})
        for (const uint32_t flags : {WARP_NEAREST, WARP_LINEAR, WARP_CUBIC}) {
            Pair pair;
            ASSERT_NO_FATAL_FAILURE(pair.make(120, 70, 24, random));
            const Shown image = shown(pair.a);
            ASSERT_EQ(SUCCESS, V_RotateBitmap(pair.b.get(), angle, ROTATEFLAG_GROW | flags, 0));
            V_MATRIX map;
            V_Matrix_Identity(&map);
            V_Matrix_Translate(&map, -60, -35);
            V_Matrix_Rotate(&map, angle);
            V_Matrix_Translate(&map, pair.b->Width / 2.0, pair.b->Height / 2.0);
            ASSERT_EQ(SUCCESS, V_WarpBitmap(pair.a.get(), &map, pair.b->Width, pair.b->Height, flags, 0));
            const Shown warped = shown(pair.a);
            const Shown turned = shown(pair.b);
            const ReferenceTurn turn(image, turned, angle, flags, false);
            for (int32_t y = 0; y < turned.height; ++y)
                for (int32_t x = 0; x < turned.width; ++x) {
                    const auto is_edge = [](long double at) { return std::fabs(at - std::round(at)) < 1e-5; };
                    for (int c = 0; c < 24; c += 8)
                        ASSERT_NEAR(static_cast<double>(turned.at(x, y) >> c & 0xFF),
                                    static_cast<double>(warped.at(x, y) >> c & 0xFF),
                                    flags != WARP_NEAREST                            ? 1
                                    : is_edge(turn.x(x, y)) || is_edge(turn.y(x, y)) ? 255
                                                                                     : 0)
                            << x << ", " << y;
                }
        }
}

TEST(WarpAgreement, BuffersAreTurnedAsBitmapsAre)
{
    TestRandom random(536);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (const auto& [width, height] : {std::pair{1, 1}, {37, 9}, {8, 130}, {300, 41}}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(width) + " x " + std::to_string(height));
            const Picture picture = Picture::noise(width, height, bits, random.next());
            const auto line = [&](int32_t pixels) {
                return (static_cast<size_t>(pixels) * static_cast<size_t>(bits) + 7) / 8;
            };
            // Rows end where the buffers do.
            const size_t stride = line(width) + random.below(9);
            GuardedBuffer from(stride * static_cast<size_t>(height - 1) + line(width), GuardedBuffer::Edge::back);
            for (int32_t y = 0; y < height; ++y)
                for (int32_t x = 0; x < width; ++x)
                    set_pixel(from.data() + static_cast<size_t>(y) * stride, bits, x, Picture(picture).at(x, y));
            for (const int32_t degrees : {90, 180, 270}) {
                Picture wanted = picture.turned_by(degrees);
                const size_t to_stride = line(wanted.width) + random.below(9);
                GuardedBuffer to(to_stride * static_cast<size_t>(wanted.height - 1) + line(wanted.width),
                                 GuardedBuffer::Edge::back);
                const auto w = static_cast<uint32_t>(width);
                const auto h = static_cast<uint32_t>(height);
                ASSERT_EQ(SUCCESS,
                          degrees == 180
                              ? V_RotateBuffer180(from.data(), stride, to.data(), to_stride, w, h, bits)
                              : V_RotateBuffer90(from.data(), stride, to.data(), to_stride, w, h, bits, degrees == 90));
                for (int32_t y = 0; y < wanted.height; ++y)
                    for (int32_t x = 0; x < wanted.width; ++x)
                        ASSERT_EQ(wanted.at(x, y), get_pixel(to.data() + static_cast<size_t>(y) * to_stride, bits, x))
                            << degrees << " degrees: " << x << ", " << y;
            }
        }
}

TEST(WarpAgreement, Arguments)
{
    uint8_t from[64] = {};
    uint8_t to[64] = {};
    const struct {
        int wanted;
        int found;
    } cases[] = {
        {SUCCESS, V_RotateBuffer90(from, 4, to, 9, 0, 9, 8, 1)},
        {ERROR_INVALID_PARAMETER, V_RotateBuffer90(nullptr, 4, to, 4, 4, 4, 8, 1)},
        {ERROR_INVALID_PARAMETER, V_RotateBuffer180(from, 4, nullptr, 4, 4, 4, 8)},
        {ERROR_INVALID_PARAMETER, V_RotateBuffer90(from, 4, to, 4, 5, 4, 8, 1)},
        {ERROR_INVALID_PARAMETER, V_RotateBuffer90(from, 4, to, 4, 4, 5, 8, 1)},
        {ERROR_INVALID_PARAMETER, V_RotateBuffer90(from, 4, to, 4, 4, 4, 8, 2)},
        {ERROR_INVALID_BITS_PER_PIXEL, V_RotateBuffer180(from, 4, to, 4, 4, 4, 9)},
        {ERROR_INVALID_WIDTH_HEIGHT, V_RotateBuffer180(from, 4, to, 4, 4, 0x80000000u, 8)},
        {ERROR_INVALID_PARAMETER, V_ShearBitmap(nullptr, 100, 0, 0)},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].wanted, cases[i].found) << "case " << i;
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 30, 20, 8));
    const std::vector<uint8_t> record = bitmap.image();
    for (const int32_t angle : {9000, -9000, INT32_MIN, INT32_MAX, 36000})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ShearBitmap(bitmap.get(), angle, 0, 0));
    EXPECT_EQ(SUCCESS, V_ShearBitmap(bitmap.get(), 0, SHEAR_LINEAR, 0));
    EXPECT_EQ(record, bitmap.image());
    EXPECT_EQ(SUCCESS, V_ShearBitmap(bitmap.get(), 8999, 0, 0));
    EXPECT_LT(30 + 20 * 5000, bitmap->Width);
}
