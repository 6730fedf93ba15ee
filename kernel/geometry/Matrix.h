// Projective maps as matrices that are known to be finite. Every function is pure and gives the same on every system:
// the basic operations only, in a fixed order.
#pragma once

#include "Vkgeometry.h"

#include <cstdint>

namespace vk::geometry {

constexpr V_MATRIX kIdentity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

bool is_finite(const V_MATRIX& matrix) noexcept;

/// Parallels stay parallels.
bool is_affine(const V_MATRIX& matrix) noexcept;

/// What `first` does and then `then`. May overflow.
V_MATRIX product(const V_MATRIX& first, const V_MATRIX& then) noexcept;

double determinant(const V_MATRIX& matrix) noexcept;

/// The map back of a finite matrix. False when there is none, or none that doubles can hold.
bool invert(V_MATRIX& result, const V_MATRIX& matrix) noexcept;

/// The map of four finite points to four. False when on either side three lie on a line.
bool from_corners(V_MATRIX& result, const V_POINTD (&from)[4], const V_POINTD (&to)[4]) noexcept;

/// What a map adds behind another one.
V_MATRIX translation(double dx, double dy) noexcept;
V_MATRIX scaling(double dx, double dy) noexcept;
V_MATRIX shear(double dx, double dy) noexcept;
V_MATRIX turn(int32_t angle) noexcept;

/// A point before it is divided by its weight.
struct Weighted {
    double x;
    double y;
    double weight;
};
Weighted weigh(const V_MATRIX& matrix, double x, double y) noexcept;

/// Carries a point over. False when it goes to infinity.
bool transform(const V_MATRIX& matrix, V_POINTD& point) noexcept;

/// The box around what becomes of a rectangle. False when a part of it goes to infinity.
bool transform_box(const V_MATRIX& matrix, V_RECTD& rect) noexcept;

/// Twice the area of the triangle a, b, c, positive when it goes clockwise as y grows downwards; 0 when the three lie
/// on a line as far as doubles can tell.
double winding(const V_POINTD& a, const V_POINTD& b, const V_POINTD& c) noexcept;

} // namespace vk::geometry
