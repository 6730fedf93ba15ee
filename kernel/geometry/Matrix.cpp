#include "kernel/geometry/Matrix.h"

#include "kernel/geometry/Arithmetic.h"
#include "kernel/geometry/Direction.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vk::geometry {

namespace {

/// a * d - b * c; what rounding takes off either product is worked out and counted too.
double difference(double a, double d, double b, double c) noexcept
{
    const double first = a * d;
    const double second = b * c;
    return (first - second) + (product_rest(a, d, first) - product_rest(b, c, second));
}

/// The determinant and the sum of its products' magnitudes.
struct Size {
    double value;
    double magnitude;
};

Size size_of(const double (&m)[3][3]) noexcept
{
    Size size{0, 0};
    for (int column = 0; column < 3; ++column) {
        const int a = (column + 1) % 3;
        const int b = (column + 2) % 3;
        size.value += m[0][column] * difference(m[1][a], m[2][b], m[1][b], m[2][a]);
        size.magnitude += std::fabs(m[0][column]) * (std::fabs(m[1][a] * m[2][b]) + std::fabs(m[1][b] * m[2][a]));
    }
    return size;
}

/// Brings the largest element of each row between 1/2 and 1, exactly. False for a row of zeros.
bool level_rows(double (&rows)[3][3], int (&exponents)[3]) noexcept
{
    for (int i = 0; i < 3; ++i) {
        const double most = std::max({std::fabs(rows[i][0]), std::fabs(rows[i][1]), std::fabs(rows[i][2])});
        if (most == 0)
            return false;
        std::frexp(most, &exponents[i]);
        for (double& value : rows[i])
            value = std::ldexp(value, -exponents[i]);
    }
    return true;
}

/// Gauss-Jordan with partial pivoting; `rows` becomes the identity, and what was the identity the inverse.
void eliminate(double (&rows)[3][3], double (&inverse)[3][3]) noexcept
{
    for (int k = 0; k < 3; ++k) {
        int pivot = k;
        for (int i = k + 1; i < 3; ++i)
            if (std::fabs(rows[i][k]) > std::fabs(rows[pivot][k]))
                pivot = i;
        std::swap(rows[k], rows[pivot]);
        std::swap(inverse[k], inverse[pivot]);
        const double divisor = rows[k][k];
        for (int j = 0; j < 3; ++j) {
            rows[k][j] /= divisor;
            inverse[k][j] /= divisor;
        }
        for (int i = 0; i < 3; ++i) {
            const double factor = rows[i][k];
            for (int j = 0; j < 3 && i != k; ++j) {
                rows[i][j] -= factor * rows[k][j];
                inverse[i][j] -= factor * inverse[k][j];
            }
        }
    }
}

/// The map of the unit square's corners to four points of which no three lie on a line.
V_MATRIX from_square(const V_POINTD (&p)[4]) noexcept
{
    const double x1 = p[1].x - p[2].x;
    const double y1 = p[1].y - p[2].y;
    const double x2 = p[3].x - p[2].x;
    const double y2 = p[3].y - p[2].y;
    const double x = (p[0].x - p[1].x) - x2;
    const double y = (p[0].y - p[1].y) - y2;
    const double area = difference(x1, y2, x2, y1);
    const double g = difference(x, y2, x2, y) / area;
    const double h = difference(x1, y, x, y1) / area;
    return {{{p[1].x - p[0].x + g * p[1].x, p[1].y - p[0].y + g * p[1].y, g},
             {p[3].x - p[0].x + h * p[3].x, p[3].y - p[0].y + h * p[3].y, h},
             {p[0].x, p[0].y, 1}}};
}

bool is_quadrilateral(const V_POINTD (&p)[4]) noexcept
{
    for (int left_out = 0; left_out < 4; ++left_out) {
        const double area = winding(p[(left_out + 1) % 4], p[(left_out + 2) % 4], p[(left_out + 3) % 4]);
        if (area == 0 || !std::isfinite(area))
            return false;
    }
    return true;
}

} // namespace

bool is_finite(const V_MATRIX& matrix) noexcept
{
    for (const auto& row : matrix.m)
        for (const double value : row)
            if (!std::isfinite(value))
                return false;
    return true;
}

bool is_affine(const V_MATRIX& matrix) noexcept
{
    return matrix.m[0][2] == 0 && matrix.m[1][2] == 0 && matrix.m[2][2] != 0;
}

V_MATRIX product(const V_MATRIX& first, const V_MATRIX& then) noexcept
{
    V_MATRIX made;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            made.m[i][j] = first.m[i][0] * then.m[0][j] + first.m[i][1] * then.m[1][j] + first.m[i][2] * then.m[2][j];
    return made;
}

double determinant(const V_MATRIX& matrix) noexcept
{
    return size_of(matrix.m).value;
}

bool invert(V_MATRIX& result, const V_MATRIX& matrix) noexcept
{
    constexpr double kNothing = 0x1p-48;
    V_MATRIX rows = matrix;
    int exponents[3] = {};
    if (!level_rows(rows.m, exponents))
        return false;
    const Size size = size_of(rows.m);
    if (std::fabs(size.value) <= size.magnitude * kNothing)
        return false;
    V_MATRIX inverse = kIdentity;
    eliminate(rows.m, inverse.m);
    for (auto& row : inverse.m)
        for (int j = 0; j < 3; ++j)
            row[j] = std::ldexp(row[j], -exponents[j]);
    if (!is_finite(inverse))
        return false;
    result = inverse;
    return true;
}

bool from_corners(V_MATRIX& result, const V_POINTD (&from)[4], const V_POINTD (&to)[4]) noexcept
{
    if (!is_quadrilateral(from) || !is_quadrilateral(to))
        return false;
    // From a place near the corners, so that far ones keep their digits.
    const V_POINTD origin = from[0];
    V_POINTD moved[4];
    std::transform(from, from + 4, moved, [&](const V_POINTD& p) noexcept {
        return V_POINTD{p.x - origin.x, p.y - origin.y};
    });
    V_MATRIX back;
    if (!invert(back, from_square(moved)))
        return false;
    V_MATRIX made = product(product(translation(0 - origin.x, 0 - origin.y), back), from_square(to));
    if (const double unit = made.m[2][2]; unit != 0)
        for (auto& row : made.m)
            for (double& value : row)
                value /= unit;
    if (!is_finite(made))
        return false;
    result = made;
    return true;
}

V_MATRIX translation(double dx, double dy) noexcept
{
    return {{{1, 0, 0}, {0, 1, 0}, {dx, dy, 1}}};
}

V_MATRIX scaling(double dx, double dy) noexcept
{
    return {{{dx, 0, 0}, {0, dy, 0}, {0, 0, 1}}};
}

V_MATRIX shear(double dx, double dy) noexcept
{
    return {{{1, dy, 0}, {dx, 1, 0}, {0, 0, 1}}};
}

V_MATRIX turn(int32_t angle) noexcept
{
    const Direction direction = direction_of(angle_in_turn(angle));
    return {{{direction.cosine, direction.sine, 0}, {0 - direction.sine, direction.cosine, 0}, {0, 0, 1}}};
}

Weighted weigh(const V_MATRIX& matrix, double x, double y) noexcept
{
    const auto& m = matrix.m;
    return {x * m[0][0] + y * m[1][0] + m[2][0], x * m[0][1] + y * m[1][1] + m[2][1],
            x * m[0][2] + y * m[1][2] + m[2][2]};
}

bool transform(const V_MATRIX& matrix, V_POINTD& point) noexcept
{
    const Weighted to = weigh(matrix, point.x, point.y);
    const V_POINTD made{to.x / to.weight, to.y / to.weight};
    if (to.weight == 0 || !std::isfinite(made.x) || !std::isfinite(made.y))
        return false;
    point = made;
    return true;
}

bool transform_box(const V_MATRIX& matrix, V_RECTD& rect) noexcept
{
    const V_POINTD corners[4] = {
        {rect.left, rect.top}, {rect.right, rect.top}, {rect.right, rect.bottom}, {rect.left, rect.bottom}};
    const bool is_behind = weigh(matrix, rect.left, rect.top).weight < 0;
    V_RECTD box{};
    for (int i = 0; i < 4; ++i) {
        V_POINTD point = corners[i];
        if ((weigh(matrix, point.x, point.y).weight < 0) != is_behind || !transform(matrix, point))
            return false;
        box = i == 0 ? V_RECTD{point.x, point.y, point.x, point.y}
                     : V_RECTD{std::min(box.left, point.x), std::min(box.top, point.y), std::max(box.right, point.x),
                               std::max(box.bottom, point.y)};
    }
    rect = box;
    return true;
}

double winding(const V_POINTD& a, const V_POINTD& b, const V_POINTD& c) noexcept
{
    constexpr double kNothing = 0x1p-46;
    const double x1 = b.x - a.x;
    const double y1 = b.y - a.y;
    const double x2 = c.x - a.x;
    const double y2 = c.y - a.y;
    const double area = difference(x1, y2, x2, y1);
    return std::fabs(area) <= (std::fabs(x1 * y2) + std::fabs(x2 * y1)) * kNothing ? 0 : area;
}

} // namespace vk::geometry
