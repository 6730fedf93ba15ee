// Warps by the nearest pixel: where pixels come from, at every depth. WarpFilter_test.cpp has the mixed forms,
// WarpBitmap_test.cpp what happens to bitmaps.
#include "Vkkrnx.h"
#include "kernel/warp/Grid.h"
#include "kernel/warp/Plane.h"
#include "kernel/warp/Warp.h"
#include "tests/support/TestTurn.h"
#include "tests/warp/WarpSupport.h"

#include <cfloat>
#include <limits>

using namespace vk;
using namespace vk::testing;

namespace {

constexpr COLORREF kFirstEntry = 0x01000001u;

/// Index 1, or what it means where there is no palette: black with alpha 0.
uint64_t fill_of(int32_t bits)
{
    return bits <= 8 ? 1 : 0;
}

/// A bitmap in memory that is stored as it is shown, with random pixels.
void make_upright(TestBitmap& bitmap, int32_t width, int32_t height, int32_t bits, TestRandom& random)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, width, height, bits));
    bitmap->ViewPerspective = TOP_LEFT;
    fill_rows(bitmap, random);
}

/// Checks a mapping's positions along a row against the map, and that it leaves out nothing that can be seen.
template <class Map>
long double farthest_off(const sampling::Mapping& mapping, const Map& map, int64_t row, const sampling::Reach& reach)
{
    const auto& source = mapping.source();
    long double most = 0;
    sampling::Track track;
    int64_t at = 0;
    const auto expect_unseen = [&](int64_t end) {
        for (; at < end; ++at) {
            const Place place = map.at(at + 0.5L, row + 0.5L);
            EXPECT_FALSE(place.is_there && place.x > 0 && place.y > 0 && place.x < source.width &&
                         place.y < source.height)
                << "column " << at << " of row " << row << " is left out";
        }
    };
    while (mapping.follow({}, reach, row, at, mapping.canvas().width, track)) {
        expect_unseen(track.first);
        for (int32_t i = 0; i < track.count; ++i, ++at) {
            const Place place = map.at(at + 0.5L, row + 0.5L);
            const long double shift = static_cast<long double>(reach.shift) / sampling::kFineOne;
            const long double x = static_cast<long double>(track.base_x) + track.x[i] / 65536.0L + shift;
            const long double y = static_cast<long double>(track.base_y) + track.y[i] / 65536.0L + shift;
            if (place.is_there)
                most = std::max({most, std::fabs(x - place.x), std::fabs(y - place.y)});
        }
    }
    expect_unseen(mapping.canvas().width);
    return most;
}

void settle(warp::Warp& warp, int32_t width, int32_t height, const V_MATRIX& map)
{
    BITMAPHANDLE bitmap{};
    bitmap.Width = width;
    bitmap.Height = height;
    bitmap.BitsPerPixel = 8;
    ASSERT_EQ(SUCCESS, settle_warp(warp, bitmap, map, width, height));
}

} // namespace

// The bound that the header states, on the largest pictures it states it for.
TEST(Warp, PositionsAreExactEnough)
{
    TestRandom random(501);
    SCOPED_TRACE(random);
    constexpr int32_t kSide = 65536;
    for (int round = 0; round < 60; ++round) {
        const V_MATRIX map = picture_map(random, kSide, kSide, round % 4 != 0);
        warp::Warp warp;
        ASSERT_NO_FATAL_FAILURE(settle(warp, kSide, kSide, map));
        const warp::Plane plane({kSide, kSide}, warp.canvas, warp.back);
        const ReferenceMap reference(map, 0, 0, kSide, kSide);
        const auto points = random_grid(random, 9, 7, kSide, kSide, 0.05);
        const warp::Grid grid({kSide, kSide}, warp.canvas, points.data(), 9, 7);
        const ReferenceGrid reference_grid{points, 9, 7, kSide, kSide};
        for (int i = 0; i < 3; ++i) {
            const int64_t row = random.between(0, kSide - 1);
            ASSERT_GT(kOff, farthest_off(plane, reference, row, sampling::kLinearReach)) << "round " << round;
            ASSERT_GT(kOff / 16, farthest_off(grid, reference_grid, row, sampling::kNearestReach));
            ASSERT_FALSE(HasFailure());
        }
    }
}

// A pixel's position is the same whatever is asked for before it.
TEST(Warp, PositionsDoNotDependOnTheWayThere)
{
    TestRandom random(502);
    SCOPED_TRACE(random);
    const V_MATRIX map = picture_map(random, 3000, 2000, true);
    warp::Warp warp;
    ASSERT_NO_FATAL_FAILURE(settle(warp, 3000, 2000, map));
    const warp::Plane plane({3000, 2000}, warp.canvas, warp.back);
    const auto points = random_grid(random, 700, 5, 3000, 2000, 0.01);
    const warp::Grid grid({3000, 2000}, warp.canvas, points.data(), 700, 5);
    for (const sampling::Mapping* mapping :
         {static_cast<const sampling::Mapping*>(&plane), static_cast<const sampling::Mapping*>(&grid)})
        for (const sampling::Raster raster : {sampling::Raster{}, sampling::Raster{3, 2}}) {
            const auto row = [&](int64_t line, int64_t least, int64_t most) {
                std::vector<std::pair<int64_t, int64_t>> made(3000u * 3, {-1, -1});
                sampling::Track track;
                const int64_t end = int64_t{3000} * raster.across;
                for (int64_t begin = 0, stop = 0; begin < end; begin = stop) {
                    stop =
                        std::min(begin + least + static_cast<int64_t>(random.below(static_cast<uint64_t>(most))), end);
                    for (int64_t at = begin; mapping->follow(raster, sampling::kCubicReach, line, at, stop, track);
                         at = track.first + track.count)
                        for (int32_t i = 0; i < track.count; ++i)
                            made[static_cast<size_t>(track.first + i)] = {track.base_x * 65536 + track.x[i],
                                                                          track.base_y * 65536 + track.y[i]};
                }
                return made;
            };
            for (const int64_t line : {0, 1, 700, 1999})
                EXPECT_EQ(row(line, 9000, 1), row(line, 1, 60));
        }
}

TEST(Warp, TakesTheNearestPixel)
{
    TestRandom random(503);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (int round = 0; round < 24; ++round) {
            SCOPED_TRACE(std::to_string(bits) + " bits, round " + std::to_string(round));
            TestBitmap bitmap;
            const int32_t width = random.between(1, 90);
            const int32_t height = random.between(1, 60);
            ASSERT_NO_FATAL_FAILURE(make_upright(bitmap, width, height, bits, random));
            const Shown image = shown(bitmap);
            const V_MATRIX map = picture_map(random, width, height, round % 2);
            V_RECTD box{0, 0, static_cast<double>(width), static_cast<double>(height)};
            const bool is_boxed = round % 3 == 0 && V_Matrix_TransformRect(&map, &box) == SUCCESS &&
                                  box.right - box.left < 900 && box.bottom - box.top < 900;
            const int32_t wide = is_boxed ? 0 : random.between(1, 400);
            const int32_t high = is_boxed ? 0 : random.between(1, 80);
            ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, wide, high, WARP_NEAREST, kFirstEntry));
            if (is_boxed) {
                EXPECT_NEAR(box.right - box.left, bitmap->Width, 1);
                EXPECT_NEAR(box.bottom - box.top, bitmap->Height, 1);
            } else {
                ASSERT_TRUE(bitmap->Width == wide && bitmap->Height == high);
                box = {};
            }
            const ReferenceMap reference(map, box.left, box.top, width, height);
            ASSERT_NO_FATAL_FAILURE(expect_nearest_of(image, shown(bitmap), reference, fill_of(bits)));
            read(bitmap.get()); // spare bits stay clear
            ASSERT_FALSE(HasFailure());
        }
}

TEST(Warp, FollowsAGrid)
{
    TestRandom random(504);
    SCOPED_TRACE(random);
    const int32_t sides[] = {2, 3, 7, 90, 700};
    for (const int32_t bits : {1, 8, 12, 24})
        for (const int32_t columns : sides)
            for (const int32_t rows : {2, 5, 80}) {
                SCOPED_TRACE(std::to_string(bits) + " bits, grid of " + std::to_string(columns));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_upright(bitmap, 120, 50, bits, random));
                const Shown image = shown(bitmap);
                // Now and then points are far apart, so that stretches are no longer than a pixel.
                const auto points = random_grid(random, columns, rows, 120, 50, random.one_in(3) ? 300 : 0.1);
                ASSERT_EQ(SUCCESS,
                          V_WarpBitmapGrid(bitmap.get(), points.data(), columns, rows, 300, 0, 0, kFirstEntry));
                ASSERT_TRUE(bitmap->Width == 300 && bitmap->Height == 50);
                const ReferenceGrid reference{points, columns, rows, 300, 50};
                ASSERT_NO_FATAL_FAILURE(expect_nearest_of(image, shown(bitmap), reference, fill_of(bits)));
            }
}

// Places between two pixels belong to the one before, in maps that doubles hold exactly.
TEST(Warp, EdgesBelongToThePixelBefore)
{
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 3, 2, 8));
    const uint8_t rows[] = {1, 2, 3, 0, 4, 5, 6, 0};
    std::memcpy(bitmap->Data, rows, sizeof rows);
    const V_MATRIX half{{{1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 1}}};
    ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &half, 4, 3, 0, 0x01000009u));
    const std::vector<uint8_t> wanted = {9, 9, 9, 9, 9, 1, 2, 3, 9, 4, 5, 6};
    EXPECT_EQ(wanted, bitmap.pixels());
}

// A horizon cuts the picture; the side of its middle stays, whichever sign the matrix has.
TEST(Warp, HorizonsCutThePicture)
{
    TestRandom random(505);
    for (const double sign : {1.0, -1.0})
        for (const double lean : {0.011, 0.3, -0.04}) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_upright(bitmap, 200, 150, 24, random));
            const Shown image = shown(bitmap);
            V_MATRIX map{{{1, 0, -lean}, {0.1, 1, lean / 5}, {0, 0, 1}}};
            for (auto& row : map.m)
                for (double& value : row)
                    value *= sign;
            EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_WarpBitmap(bitmap.get(), &map, 0, 0, 0, 0));
            ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 300, 300, 0, 0));
            ASSERT_NO_FATAL_FAILURE(expect_nearest_of(image, shown(bitmap), ReferenceMap(map, 0, 0, 200, 150), 0));
        }
}

TEST(Warp, PagesBecomeUpright)
{
    TestRandom random(506);
    for (int round = 0; round < 10; ++round) {
        TestBitmap bitmap;
        ASSERT_NO_FATAL_FAILURE(make_upright(bitmap, 130, 120, 8, random));
        const Shown image = shown(bitmap);
        V_POINTD corners[4] = {{20, 15}, {110, 25}, {120, 100}, {5, 90}};
        for (V_POINTD& corner : corners)
            corner = {corner.x + number(random, -9, 9), corner.y + number(random, -9, 9)};
        const int32_t width = round % 2 ? 0 : 140;
        ASSERT_EQ(SUCCESS, V_WarpBitmapCorners(bitmap.get(), corners, width, 0, 0, kFirstEntry));
        const auto side = [&](int a, int b) {
            return std::hypot(corners[a].x - corners[b].x, corners[a].y - corners[b].y);
        };
        EXPECT_EQ(width ? width : std::lround(std::max(side(0, 1), side(2, 3))), bitmap->Width);
        EXPECT_EQ(std::lround(std::max(side(0, 3), side(1, 2))), bitmap->Height);
        const double right = bitmap->Width;
        const double bottom = bitmap->Height;
        const V_POINTD upright[4] = {{0, 0}, {right, 0}, {right, bottom}, {0, bottom}};
        V_MATRIX map;
        ASSERT_EQ(SUCCESS, V_Matrix_FromCorners(&map, corners, upright));
        ASSERT_NO_FATAL_FAILURE(expect_nearest_of(image, shown(bitmap), ReferenceMap(map, 0, 0, 130, 120), 1));
    }
}
