// Shapes and polygons as areas against a pixel-by-pixel reading of their rules.
#include "tests/area/TestArea.h"

#include "kernel/area/Polygon.h"
#include "kernel/area/Shapes.h"

#include <cmath>

using namespace vk;
using namespace vk::testing;

namespace {

constexpr int32_t kWidth = 60;
constexpr int32_t kHeight = 50;
constexpr AreaBox kFrame{0, 0, kWidth, kHeight};

bool in_ellipse(const AreaBox& box, int32_t x, int32_t y)
{
    const double w = box.right - box.left, h = box.bottom - box.top;
    const double dx = (2 * x + 1 - box.left - box.right) * h;
    const double dy = (2 * y + 1 - box.top - box.bottom) * w;
    return dx * dx + dy * dy <= w * w * h * h; // whole numbers all, and small
}

TEST(AreaShapes, AreRoundWhereTheirCentresSay)
{
    TestRandom random(3);
    const auto number = [&](int32_t from, int32_t count) { return random.between(from, from + count - 1); };
    AreaBuilder built;
    for (int i = 0; i < 200; ++i) {
        AreaBox box{number(-20, 60), number(-20, 60), 0, 0};
        box.right = box.left + number(1, 70);
        box.bottom = box.top + number(1, 60);
        ASSERT_TRUE(build_ellipse(box, kFrame, built));
        EXPECT_EQ(Mask::of(kWidth, kHeight, [&](int32_t x, int32_t y) { return in_ellipse(box, x, y); }),
                  mask_of(built.area(), kWidth, kHeight));
        const int32_t w = std::min(number(0, 80), box.right - box.left);
        const int32_t h = std::min(number(0, 80), box.bottom - box.top);
        ASSERT_TRUE(build_round_rectangle(box, w, h, kFrame, built));
        const auto inside = [&](int32_t x, int32_t y) {
            if (x < box.left || x >= box.right || y < box.top || y >= box.bottom)
                return false;
            if (w == 0 || h == 0)
                return true;
            // The corner ellipse moved to the pixel's corner, which is the nearer one.
            const int32_t column = std::min(x - box.left, box.right - 1 - x);
            const int32_t row = std::min(y - box.top, box.bottom - 1 - y);
            return column >= (w + 1) / 2 || row >= (h + 1) / 2 || in_ellipse({0, 0, w, h}, column, row);
        };
        EXPECT_EQ(Mask::of(kWidth, kHeight, inside), mask_of(built.area(), kWidth, kHeight)) << w << " x " << h;
    }
    // Sizes whose squares are too large for a double: a circle's upper half still mirrors its left half.
    ASSERT_TRUE(build_ellipse({INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}, kFrame, built));
    EXPECT_EQ(uint64_t{kWidth} * kHeight, built.area().size());
}

/// Goes around all corners, for a point and a polygon in 65536ths.
int winding(const std::vector<AreaPoint>& points, double px, double py)
{
    int around = 0;
    AreaPoint a = points.back();
    for (const AreaPoint& b : points) {
        if ((a.y <= py) != (b.y <= py)) {
            const long double at = a.x + static_cast<long double>(py - a.y) * (b.x - a.x) / (b.y - a.y);
            if (at <= px)
                around += a.y < b.y ? 1 : -1;
        }
        a = b;
    }
    return around;
}

TEST(AreaPolygon, HasThePixelsWhoseCentresItHolds)
{
    AreaBuilder built;
    for (uint64_t seed = 1; seed <= 60; ++seed) {
        TestRandom random(seed);
        std::vector<AreaPoint> points(1 + seed % 40); // the more of them, the more sides cross
        const bool whole = seed % 2;
        for (AreaPoint& point : points) {
            point = {random.between(-30 * 65536, 90 * 65536) / 65536.0,
                     random.between(-30 * 65536, 90 * 65536) / 65536.0};
            if (whole)
                point = {std::floor(point.x) + 0.5, std::floor(point.y) + 0.5}; // corners on centres
        }
        for (const FillRule rule : {FillRule::alternate, FillRule::winding}) {
            ASSERT_TRUE(build_polygon(points.data(), static_cast<uint32_t>(points.size()), rule, kFrame, built));
            const auto inside = [&](int32_t x, int32_t y) {
                const int around = winding(points, x + 0.5, y + 0.5);
                return rule == FillRule::winding ? around != 0 : around % 2 != 0;
            };
            EXPECT_EQ(Mask::of(kWidth, kHeight, inside), mask_of(built.area(), kWidth, kHeight)) << "seed " << seed;
        }
    }
}

TEST(AreaPolygon, TakesAnyCornersAndAnyNumber)
{
    AreaBuilder built;
    const AreaPoint far[] = {{-1e300, -1e300}, {1e300, -1e300}, {1e300, 1e300}, {-1e300, 1e300}};
    ASSERT_TRUE(build_polygon(far, 4, FillRule::winding, kFrame, built));
    EXPECT_EQ(uint64_t{kWidth} * kHeight, built.area().size());
    EXPECT_TRUE(build_polygon(far, 2, FillRule::winding, kFrame, built));
    EXPECT_TRUE(built.area().empty());

    // A million corners, counted by column where they crowd, give what they give when they are sorted.
    TestRandom random(9);
    std::vector<AreaPoint> zigzag;
    for (int i = 0; i < 1000000; ++i)
        zigzag.push_back({static_cast<double>(random.below(100)), static_cast<double>(random.below(100))});
    zigzag.resize(999999);
    AreaBuilder sorted;
    constexpr AreaBox kRow{0, 20, kWidth, 22};
    ASSERT_TRUE(build_polygon(zigzag.data(), 999999, FillRule::alternate, kRow, built));
    ASSERT_TRUE(build_polygon(zigzag.data(), 999999, FillRule::alternate, {0, 20, 9000000, 22}, sorted));
    Mask crowded = mask_of(built.area(), kWidth, kHeight);
    EXPECT_EQ(crowded, Mask::of(kWidth, kHeight, [&](int32_t x, int32_t y) { return sorted.area().contains(x, y); }));
    EXPECT_GT(built.area().run_count, 10u);
}

} // namespace
