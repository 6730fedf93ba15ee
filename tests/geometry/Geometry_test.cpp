// Matrices beside the same in whole numbers or long doubles, rectangles beside 64-bit arithmetic.
#include "Vkgeometry.h"
#include "tests/support/TestBitmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

using namespace vk::testing;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

double number(TestRandom& random, double most)
{
    return (static_cast<double>(random.next() >> 11) * 0x1p-53 - 0.5) * 2 * most;
}

/// A map like those that pictures go through: turned, scaled, leaning and shifted.
V_MATRIX random_map(TestRandom& random, bool is_projective)
{
    V_MATRIX made;
    V_Matrix_Identity(&made);
    // Drawn one by one: compilers differ in the order in which they look at arguments.
    const auto across_and_down = [&](double most) {
        const double down = number(random, most);
        return V_POINTD{number(random, most), down};
    };
    const V_POINTD scale = across_and_down(5);
    V_Matrix_Scale(&made, 0.1 + std::fabs(scale.x), -0.1 - std::fabs(scale.y));
    V_Matrix_Rotate(&made, random.between(-100000, 100000));
    const V_POINTD shear = across_and_down(0.5);
    V_Matrix_Shear(&made, shear.x, shear.y);
    const V_POINTD way = across_and_down(70000);
    V_Matrix_Translate(&made, way.x, way.y);
    made.m[0][2] = is_projective ? number(random, 1e-5) : 0;
    made.m[1][2] = is_projective ? number(random, 1e-5) : 0;
    return made;
}

void expect_near(const V_POINTD& wanted, const V_POINTD& found, double allowed)
{
    EXPECT_NEAR(wanted.x, found.x, allowed);
    EXPECT_NEAR(wanted.y, found.y, allowed);
}

} // namespace

TEST(Geometry, MapsFollowOneAnotherAndGoBack)
{
    TestRandom random(401);
    SCOPED_TRACE(random);
    for (int round = 0; round < 2000; ++round) {
        const V_MATRIX first = random_map(random, round % 2);
        const V_MATRIX then = random_map(random, false);
        V_MATRIX both = first;
        ASSERT_EQ(SUCCESS, V_Matrix_Multiply(&both, &both, &then));
        V_MATRIX back;
        ASSERT_EQ(SUCCESS, V_Matrix_Invert(&back, &both));
        const V_POINTD point{number(random, 20000), number(random, 20000)};
        V_POINTD by_steps = point;
        V_POINTD at_once = point;
        ASSERT_EQ(SUCCESS, V_Matrix_TransformPoint(&first, &by_steps));
        ASSERT_EQ(SUCCESS, V_Matrix_TransformPoint(&then, &by_steps));
        ASSERT_EQ(SUCCESS, V_Matrix_TransformPoint(&both, &at_once));
        expect_near(by_steps, at_once, 1e-8);
        ASSERT_EQ(SUCCESS, V_Matrix_TransformPoint(&back, &at_once));
        expect_near(point, at_once, 1e-6);
    }
}

TEST(Geometry, EachStepIsAddedBehind)
{
    V_MATRIX matrix;
    V_POINTD point{3, 5};
    EXPECT_EQ(SUCCESS, V_Matrix_Identity(&matrix));
    EXPECT_EQ(1, V_Matrix_IsIdentity(&matrix));
    EXPECT_EQ(SUCCESS, V_Matrix_Rotate(&matrix, 9000)); // to the right becomes downwards
    EXPECT_EQ(0, V_Matrix_IsIdentity(&matrix));
    EXPECT_EQ(SUCCESS, V_Matrix_Translate(&matrix, 10, 1));
    EXPECT_EQ(SUCCESS, V_Matrix_Scale(&matrix, 2, 3));
    EXPECT_EQ(SUCCESS, V_Matrix_Shear(&matrix, 0.5, 4));
    EXPECT_EQ(SUCCESS, V_Matrix_TransformPoint(&matrix, &point));
    // (-5, 3), (5, 4), (10, 12), (16, 52)
    expect_near({16, 52}, point, 0);
    EXPECT_EQ(1, V_Matrix_IsAffine(&matrix));
    matrix.m[1][2] = 1e-9;
    EXPECT_EQ(0, V_Matrix_IsAffine(&matrix));
}

// Determinants of whole numbers are exact, so whether there is an inverse is too.
TEST(Geometry, WholeNumbersTellWhichMatricesGoBack)
{
    TestRandom random(402);
    SCOPED_TRACE(random);
    int singular = 0;
    for (int round = 0; round < 5000; ++round) {
        V_MATRIX matrix;
        int64_t m[3][3];
        const int32_t most = round % 2 ? 2 : 30000;
        for (int i = 0; i < 9; ++i)
            matrix.m[i / 3][i % 3] = static_cast<double>(m[i / 3][i % 3] = random.between(-most, most));
        if (round % 5 == 0) // a row that the others make up
            for (int j = 0; j < 3; ++j)
                matrix.m[2][j] = static_cast<double>(m[2][j] = 3 * m[0][j] - m[1][j]);
        const int64_t wanted = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                               m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
        double found = 0;
        ASSERT_EQ(SUCCESS, V_Matrix_Determinant(&matrix, &found));
        ASSERT_NEAR(static_cast<double>(wanted), found, std::fabs(static_cast<double>(wanted)) * 1e-15);
        V_MATRIX back = matrix;
        ASSERT_EQ(wanted == 0 ? ERROR_INVALID_PARAMETER : SUCCESS, V_Matrix_Invert(&back, &back));
        singular += wanted == 0;
        V_MATRIX unit;
        for (int i = 0; i < 9 && wanted != 0; ++i) {
            ASSERT_EQ(SUCCESS, V_Matrix_Multiply(&unit, &matrix, &back));
            ASSERT_NEAR(i % 4 == 0, unit.m[i / 3][i % 3], 1e-6);
        }
    }
    EXPECT_LT(1000, singular);
    const V_MATRIX tiny{{{1e-200, 0, 0}, {0, 1e200, 0}, {7, 0, 1}}};
    V_MATRIX back;
    ASSERT_EQ(SUCCESS, V_Matrix_Invert(&back, &tiny));
    EXPECT_DOUBLE_EQ(1e200, back.m[0][0]);
    EXPECT_DOUBLE_EQ(-7e200, back.m[2][0]);
}

// The bits of results, so that systems cannot differ: found once, and checked everywhere.
TEST(Geometry, EverySystemGivesTheSameBits)
{
    TestRandom random(406);
    uint64_t digest = 14695981039346656037u;
    for (int32_t angle = 0; angle < 36000; angle += 7) {
        V_MATRIX map = random_map(random, true);
        ASSERT_EQ(SUCCESS, V_Matrix_Rotate(&map, angle));
        ASSERT_EQ(SUCCESS, V_Matrix_Invert(&map, &map));
        for (int i = 0; i < 9; ++i)
            digest = (digest ^ std::bit_cast<uint64_t>(map.m[i / 3][i % 3])) * 1099511628211u;
    }
    EXPECT_EQ(4611217795025845793u, digest);
}

TEST(Geometry, FourCornersToFour)
{
    TestRandom random(403);
    SCOPED_TRACE(random);
    for (int round = 0; round < 2000; ++round) {
        V_POINTD sides[2][4];
        for (auto& side : sides) {
            const double size = round % 3 ? 1000 : 60000;
            const V_POINTD origin{number(random, 1e6), number(random, 1e6)};
            const V_POINTD square[4] = {{0, 0}, {size, 0}, {size, size}, {0, size}};
            for (int i = 0; i < 4; ++i)
                side[i] = {origin.x + square[i].x + number(random, size / 4),
                           origin.y + square[i].y + number(random, size / 4)};
        }
        V_MATRIX map;
        ASSERT_EQ(SUCCESS, V_Matrix_FromCorners(&map, sides[0], sides[1]));
        EXPECT_EQ(1, map.m[2][2]);
        ASSERT_EQ(SUCCESS, V_Matrix_TransformPoints(&map, sides[0], 4));
        for (int i = 0; i < 4; ++i)
            expect_near(sides[1][i], sides[0][i], 1e-5);
    }
    const V_POINTD good[4] = {{0, 0}, {4, 0}, {4, 4}, {0, 4}};
    const V_POINTD bad[][4] = {{{0, 0}, {4, 0}, {4, 0}, {0, 4}},
                               {{0, 0}, {1, 1}, {3, 3}, {0, 4}},
                               {{0.1, 0.1}, {4, 0}, {0.3, 0.3}, {0.7, 0.7}},
                               {{0, 0}, {4, 0}, {kNan, 4}, {0, 4}},
                               {{0, 0}, {4, 0}, {kInf, 4}, {0, 4}}};
    V_MATRIX kept;
    ASSERT_EQ(SUCCESS, V_Matrix_FromCorners(&kept, good, good));
    const V_MATRIX before = kept;
    for (const auto& points : bad) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Matrix_FromCorners(&kept, good, points));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Matrix_FromCorners(&kept, points, good));
    }
    EXPECT_EQ(0, std::memcmp(&before, &kept, sizeof kept));
}

TEST(Geometry, BoxesHoldWhatBecomesOfTheRectangle)
{
    TestRandom random(404);
    SCOPED_TRACE(random);
    for (int round = 0; round < 500; ++round) {
        const V_MATRIX map = random_map(random, round % 2);
        const V_RECTD rect{0, 0, 100 + std::fabs(number(random, 5000)), 100 + std::fabs(number(random, 5000))};
        V_RECTD box = rect;
        ASSERT_EQ(SUCCESS, V_Matrix_TransformRect(&map, &box));
        V_RECTD seen{kInf, kInf, -kInf, -kInf};
        for (int i = 0; i < 36; ++i) {
            V_POINTD point{rect.right * (i % 6) / 5, rect.bottom * (i / 6) / 5};
            ASSERT_EQ(SUCCESS, V_Matrix_TransformPoint(&map, &point));
            seen = {std::min(seen.left, point.x), std::min(seen.top, point.y), std::max(seen.right, point.x),
                    std::max(seen.bottom, point.y)};
        }
        expect_near({seen.left, seen.top}, {box.left, box.top}, 1e-7);
        expect_near({seen.right, seen.bottom}, {box.right, box.bottom}, 1e-7);
    }
    V_MATRIX horizon{{{1, 0, 0.01}, {0, 1, 0}, {0, 0, 1}}};
    V_RECTD rect{-200, 0, 10, 10}; // x = -100 goes to infinity
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Matrix_TransformRect(&horizon, &rect));
    V_POINTD points[2] = {{1, 1}, {-100, 3}};
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Matrix_TransformPoints(&horizon, points, 2));
    expect_near({1, 1}, points[0], 0);
    EXPECT_EQ(SUCCESS, V_Matrix_TransformPoints(&horizon, nullptr, 0));
}

TEST(Geometry, RectanglesStayWithin32Bits)
{
    constexpr int32_t kEdges[] = {INT32_MIN, INT32_MIN + 1, -1000, -1, 0, 1, 7, 1000, INT32_MAX - 1, INT32_MAX};
    TestRandom random(405);
    SCOPED_TRACE(random);
    const auto edge = [&] { return kEdges[random.below(std::size(kEdges))]; };
    const auto saturated = [](int64_t value) {
        return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
    };
    const auto is_empty = [](const RECT& r) { return r.left >= r.right || r.top >= r.bottom; };
    for (int round = 0; round < 20000; ++round) {
        const RECT a{edge(), edge(), edge(), edge()};
        const RECT b{edge(), edge(), edge(), edge()};
        const int32_t dx = edge();
        const int32_t dy = edge();
        EXPECT_EQ(int64_t{a.right} - a.left, V_Rect_Width(&a));
        EXPECT_EQ(int64_t{a.bottom} - a.top, V_Rect_Height(&a));
        RECT made = a;
        EXPECT_EQ(SUCCESS, V_Rect_Inflate(&made, dx, dy));
        const RECT inflated{saturated(int64_t{a.left} - dx), saturated(int64_t{a.top} - dy),
                            saturated(int64_t{a.right} + dx), saturated(int64_t{a.bottom} + dy)};
        EXPECT_EQ(1, V_Rect_Equal(&inflated, &made));
        made = a;
        EXPECT_EQ(SUCCESS, V_Rect_Offset(&made, dx, dy));
        const RECT moved{saturated(int64_t{a.left} + dx), saturated(int64_t{a.top} + dy),
                         saturated(int64_t{a.right} + dx), saturated(int64_t{a.bottom} + dy)};
        EXPECT_EQ(1, V_Rect_Equal(&moved, &made));
        made = a;
        const int meets = V_Rect_Intersect(&made, &made, &b);
        EXPECT_EQ(meets, !is_empty(made));
        EXPECT_EQ(meets, V_Rect_ContainsRect(&a, &made) && V_Rect_ContainsRect(&b, &made));
        const bool has_point = V_Rect_ContainsPoint(&a, dx, dy) && V_Rect_ContainsPoint(&b, dx, dy);
        EXPECT_EQ(has_point, V_Rect_ContainsPoint(&made, dx, dy) == 1);
        made = a;
        EXPECT_EQ(SUCCESS, V_Rect_Union(&made, &made, &b));
        for (const RECT* part : {&a, &b}) {
            EXPECT_EQ(is_empty(*part), V_Rect_IsEmpty(part) == 1);
            EXPECT_EQ(!is_empty(*part), V_Rect_ContainsRect(&made, part) == 1);
        }
        EXPECT_EQ(is_empty(a) && is_empty(b), is_empty(made));
        made = a;
        EXPECT_EQ(SUCCESS, V_Rect_Normalize(&made));
        EXPECT_TRUE(made.left <= made.right && made.top <= made.bottom);
        EXPECT_EQ(std::abs(V_Rect_Width(&a)), V_Rect_Width(&made));
        V_RECTD wide;
        RECT back;
        EXPECT_EQ(SUCCESS, V_Rect_ToRectD(&a, &wide));
        EXPECT_EQ(SUCCESS, V_RectD_ToRect(&wide, &back, RECTD_NEAREST));
        EXPECT_EQ(1, V_Rect_Equal(&a, &back));
        ASSERT_FALSE(HasFailure());
    }
}

TEST(Geometry, RectanglesOfDoubles)
{
    const struct {
        V_RECTD rect;
        RECT nearest;
        RECT outer;
        RECT inner;
    } cases[] = {
        {{0.5, -0.5, 2.5, 1.4}, {1, -1, 3, 1}, {0, -1, 3, 2}, {1, 0, 2, 1}},
        {{0.2, 0.2, 0.8, 3}, {0, 0, 1, 3}, {0, 0, 1, 3}, {1, 1, 1, 3}},
        {{-1e12, -3, 1e300, -2},
         {INT32_MIN, -3, INT32_MAX, -2},
         {INT32_MIN, -3, INT32_MAX, -2},
         {INT32_MIN, -3, INT32_MAX, -2}},
    };
    for (const auto& test : cases) {
        const RECT* const wanted[] = {&test.nearest, &test.outer, &test.inner};
        for (const uint32_t mode : {RECTD_NEAREST, RECTD_OUTER, RECTD_INNER}) {
            RECT made;
            EXPECT_EQ(SUCCESS, V_RectD_ToRect(&test.rect, &made, mode));
            EXPECT_EQ(1, V_Rect_Equal(wanted[mode], &made)) << mode << " of " << test.rect.left;
        }
    }
    V_RECTD a{0, 0, 1.5, 1};
    const V_RECTD b{1, -1, 4, 0.5};
    V_RECTD made;
    EXPECT_EQ(1, V_RectD_Intersect(&made, &a, &b));
    EXPECT_TRUE(made.left == 1 && made.top == 0 && made.right == 1.5 && made.bottom == 0.5);
    EXPECT_EQ(0.5, V_RectD_Width(&made));
    EXPECT_EQ(1, V_RectD_ContainsRect(&a, &made));
    EXPECT_EQ(SUCCESS, V_RectD_Union(&made, &a, &b));
    EXPECT_EQ(1.0 + 1.0, V_RectD_Height(&made));
    EXPECT_EQ(SUCCESS, V_RectD_Offset(&a, 0.25, -7));
    EXPECT_EQ(SUCCESS, V_RectD_Inflate(&a, 0.25, 7));
    EXPECT_TRUE(a.left == 0 && a.top == -14 && a.right == 2 && a.bottom == 1);
    V_RECTD widest{-DBL_MAX, 0, DBL_MAX, 1};
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_RectD_Inflate(&widest, DBL_MAX, 0));
    EXPECT_EQ(DBL_MAX, widest.right);
    EXPECT_EQ(1, V_RectD_ContainsPoint(&b, 1, -1));
    EXPECT_EQ(0, V_RectD_ContainsPoint(&b, 4, 0));
    EXPECT_EQ(0, V_RectD_ContainsPoint(&b, kNan, 0));
    const V_RECTD odd{0, 0, kNan, 5};
    EXPECT_EQ(1, V_RectD_IsEmpty(&odd));
}

TEST(Geometry, Numbers)
{
    expect_each(1, {V_Double_Equal(1000, 1001, 1e-3, 0), V_Double_Equal(0, 1e-12, 1e-3, 1e-11),
                    V_Double_Equal(kInf, kInf, 0, 0), V_Double_IsZero(-1e-9, 1e-9), V_Double_Less(1, 1.5, 0.25),
                    V_Double_LessEqual(1.5, 1, 0.5), V_Double_IsFinite(DBL_MAX)});
    expect_each(0, {V_Double_Equal(1000, 1001, 0.9e-3, 0.5), V_Double_Equal(kInf, 5, kInf, kInf),
                    V_Double_Equal(kNan, kNan, 1, 1), V_Double_IsZero(kNan, 1), V_Double_Less(1, 1.5, 0.5),
                    V_Double_LessEqual(1.5, 1, 0.25), V_Double_IsFinite(kInf), V_Double_IsFinite(kNan)});
    const double halves[][2] = {{0.5, 1}, {-0.5, -1}, {2.5, 3}, {0.49999999999999994, 0}, {-1e300, -1e300}};
    for (const auto& test : halves)
        EXPECT_EQ(test[1], V_Double_Round(test[0]));
    EXPECT_EQ(3, V_Double_Clamp(1, 3, 5));
    EXPECT_EQ(5, V_Double_Clamp(kInf, 3, 5));
    EXPECT_EQ(3, V_Double_Clamp(kNan, 3, 5));
}

// Whatever is wrong, the answer is the code, and nothing is written.
TEST(Geometry, BadArguments)
{
    V_MATRIX good;
    V_Matrix_Identity(&good);
    V_MATRIX odd = good;
    odd.m[1][0] = kNan;
    V_POINTD point{1, 2};
    V_POINTD corners[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    V_RECTD rect{0, 0, 1, 1};
    const V_RECTD odd_rect{0, 0, kInf, 1};
    RECT whole{0, 0, 1, 1};
    double value = 3;
    expect_each(ERROR_INVALID_PARAMETER, {V_Matrix_Identity(nullptr), V_Matrix_Multiply(&good, &good, &odd),
                                          V_Matrix_Multiply(nullptr, &good, &good), V_Matrix_Invert(&good, &odd),
                                          V_Matrix_Invert(&good, nullptr), V_Matrix_Determinant(&odd, &value),
                                          V_Matrix_Determinant(&good, nullptr), V_Matrix_IsIdentity(nullptr)});
    expect_each(ERROR_INVALID_PARAMETER,
                {V_Matrix_IsAffine(nullptr), V_Matrix_Translate(&good, kInf, 0), V_Matrix_Scale(&good, 1, kNan),
                 V_Matrix_Shear(nullptr, 1, 1), V_Matrix_Rotate(&odd, 1), V_Matrix_FromCorners(&good, corners, nullptr),
                 V_Matrix_TransformPoint(&good, nullptr), V_Matrix_TransformPoint(&odd, &point)});
    expect_each(ERROR_INVALID_PARAMETER,
                {V_Matrix_TransformPoints(nullptr, &point, 1), V_Matrix_TransformRect(&odd, &rect),
                 V_Rect_Set(nullptr, 1, 2, 3, 4), V_Rect_Intersect(&whole, &whole, nullptr),
                 V_Rect_Union(nullptr, &whole, &whole), V_Rect_Inflate(nullptr, 1, 1),
                 V_Rect_ContainsPoint(nullptr, 1, 1), V_Rect_ContainsRect(&whole, nullptr)});
    expect_each(ERROR_INVALID_PARAMETER,
                {V_Rect_Equal(nullptr, &whole), V_Rect_ToRectD(&whole, nullptr), V_RectD_Set(&rect, 0, 0, kNan, 1),
                 V_RectD_Offset(&rect, kInf, 1), V_RectD_Intersect(&rect, &rect, &odd_rect),
                 V_RectD_ToRect(&odd_rect, &whole, RECTD_OUTER), V_RectD_ToRect(&rect, &whole, 3)});
    EXPECT_EQ(0, V_Rect_Width(nullptr));
    EXPECT_EQ(0, V_RectD_Height(nullptr));
    EXPECT_EQ(1, V_Matrix_IsIdentity(&good));
    EXPECT_TRUE(value == 3 && point.x == 1 && rect.right == 1 && whole.right == 1);
}
