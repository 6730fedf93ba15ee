// What warps ought to give, worked out pixel by pixel in long doubles and with none of the library's own arithmetic.
#pragma once

#include "Vkwarp.h"
#include "tests/rotate/RotateSupport.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace vk::testing {

/// A place of the source, or none.
struct Place {
    long double x = 0;
    long double y = 0;
    bool is_there = true;
};

/// From canvas to source by a matrix the other way; (left, top) is the canvas's first corner.
class ReferenceMap {
public:
    ReferenceMap(const V_MATRIX& m, long double left, long double top, int32_t width, int32_t height)
        : left_(left), top_(top)
    {
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) // the adjugate
                back_[j][i] = static_cast<long double>(m.m[(i + 1) % 3][(j + 1) % 3]) * m.m[(i + 2) % 3][(j + 2) % 3] -
                              static_cast<long double>(m.m[(i + 1) % 3][(j + 2) % 3]) * m.m[(i + 2) % 3][(j + 1) % 3];
        long double determinant = 0;
        for (int j = 0; j < 3; ++j)
            determinant += m.m[0][j] * back_[j][0];
        const long double middle = width * 0.5L * m.m[0][2] + height * 0.5L * m.m[1][2] + m.m[2][2];
        sign_ = (determinant < 0) != (middle < 0) ? -1 : 1;
    }

    Place at(long double column, long double row) const
    {
        const long double x = column + left_;
        const long double y = row + top_;
        long double to[3];
        for (int j = 0; j < 3; ++j)
            to[j] = x * back_[0][j] + y * back_[1][j] + back_[2][j];
        return {to[0] / to[2], to[1] / to[2], to[2] * sign_ > 0};
    }

private:
    long double back_[3][3];
    long double left_;
    long double top_;
    int sign_ = 1;
};

/// The same by a grid.
struct ReferenceGrid {
    const std::vector<V_POINTD>& points;
    int32_t columns;
    int32_t rows;
    int32_t width;
    int32_t height;

    Place at(long double column, long double row) const
    {
        const long double x = column * (columns - 1) / width;
        const long double y = row * (rows - 1) / height;
        const auto cell_x = std::clamp(static_cast<int32_t>(std::floor(x)), 0, columns - 2);
        const auto cell_y = std::clamp(static_cast<int32_t>(std::floor(y)), 0, rows - 2);
        const auto point = [&](int32_t i, int32_t j) {
            return points[static_cast<size_t>(cell_y + j) * static_cast<size_t>(columns) +
                          static_cast<size_t>(cell_x + i)];
        };
        const long double u = x - cell_x;
        const long double v = y - cell_y;
        const auto mixed = [&](double a, double b, double c, double d) {
            return (a * (1 - u) + b * u) * (1 - v) + (c * (1 - u) + d * u) * v;
        };
        return {mixed(point(0, 0).x, point(1, 0).x, point(0, 1).x, point(1, 1).x),
                mixed(point(0, 0).y, point(1, 0).y, point(0, 1).y, point(1, 1).y)};
    }
};

/// How far places may be off.
constexpr long double kOff = 1.0L / 2048;

/// Expects that each canvas pixel is the image's nearest one, any of those that are equally near.
template <class Map> void expect_nearest_of(const Shown& image, const Shown& canvas, const Map& map, uint64_t fill)
{
    for (int32_t row = 0; row < canvas.height; ++row)
        for (int32_t column = 0; column < canvas.width; ++column) {
            const Place place = map.at(column + 0.5L, row + 0.5L);
            bool is_right = !place.is_there && canvas.at(column, row) == fill;
            for (int corner = 0; corner < 4 && place.is_there; ++corner) {
                const auto x = static_cast<int64_t>(std::floor(place.x + (corner & 1 ? kOff : -kOff)));
                const auto y = static_cast<int64_t>(std::floor(place.y + (corner & 2 ? kOff : -kOff)));
                const bool has = image.has(x, y);
                const uint64_t wanted = has ? image.at(static_cast<int32_t>(x), static_cast<int32_t>(y)) : fill;
                is_right = is_right || wanted == canvas.at(column, row);
            }
            ASSERT_TRUE(is_right) << "column " << column << ", row " << row << " of " << canvas.width << " x "
                                  << canvas.height << ", from " << place.x << ", " << place.y;
        }
}

inline double number(TestRandom& random, double low, double high)
{
    return low + (high - low) * static_cast<double>(random.next() >> 11) * 0x1p-53;
}

/// A map that keeps something of a picture of this size in sight.
inline V_MATRIX picture_map(TestRandom& random, int32_t width, int32_t height, bool is_projective)
{
    V_MATRIX map;
    V_Matrix_Identity(&map);
    V_Matrix_Translate(&map, -width / 2.0, -height / 2.0);
    const double scale = number(random, 0.3, 3);
    V_Matrix_Scale(&map, scale * number(random, 0.7, 1.4), random.one_in(4) ? -scale : scale);
    V_Matrix_Rotate(&map, random.between(0, 35999));
    V_Matrix_Shear(&map, number(random, -0.4, 0.4), number(random, -0.4, 0.4));
    if (is_projective) {
        const double lean = 0.9 / (scale * (width + height));
        map.m[0][2] += number(random, -lean, lean);
        map.m[1][2] += number(random, -lean, lean);
    }
    V_Matrix_Translate(&map, width / 2.0 + number(random, -3, 3), height / 2.0 + number(random, -3, 3));
    return map;
}

/// The first corner of the canvas that dimensions of 0 give.
inline V_POINTD first_corner(const V_MATRIX& map, int32_t width, int32_t height)
{
    V_RECTD box{0, 0, static_cast<double>(width), static_cast<double>(height)};
    EXPECT_EQ(SUCCESS, V_Matrix_TransformRect(&map, &box));
    return {box.left, box.top};
}

/// Points all over a picture and a little beyond.
inline std::vector<V_POINTD> random_grid(TestRandom& random, int32_t columns, int32_t rows, int32_t width,
                                         int32_t height, double lean)
{
    std::vector<V_POINTD> points;
    for (int32_t j = 0; j < rows; ++j)
        for (int32_t i = 0; i < columns; ++i)
            points.push_back({width * (double{1} * i / (columns - 1) + number(random, -lean, lean)),
                              height * (double{1} * j / (rows - 1) + number(random, -lean, lean))});
    return points;
}

} // namespace vk::testing
