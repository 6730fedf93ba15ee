// The exported geometry. Matrices are worked on in Matrix.h; rectangles and numbers are small enough to stand here.
// The two kinds of rectangles share one implementation, which takes care of what does not fit.
#include "Vkgeometry.h"
#include "kernel/geometry/Arithmetic.h"
#include "kernel/geometry/Matrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vk::geometry {

namespace {

constexpr double kLeast = INT32_MIN;
constexpr double kMost = INT32_MAX;

template <class... Values> bool all_finite(Values... values) noexcept
{
    return (std::isfinite(values) && ...);
}

bool is_usable(const V_MATRIX* matrix) noexcept
{
    return matrix && is_finite(*matrix);
}

bool is_usable(const RECT* rect) noexcept
{
    return rect != nullptr;
}

bool is_usable(const V_RECTD* rect) noexcept
{
    return rect && all_finite(rect->left, rect->top, rect->right, rect->bottom);
}

/// Hands a result over when it is finite.
template <class Value> int give(Value* result, const Value& made) noexcept
{
    if (!is_usable(&made))
        return V_ERROR_INVALID_PARAMETER;
    *result = made;
    return V_SUCCESS;
}

/// Adds a map behind a matrix.
int add(V_MATRIX* matrix, const V_MATRIX& then) noexcept
{
    if (!is_usable(matrix) || !is_finite(then))
        return V_ERROR_INVALID_PARAMETER;
    return give(matrix, product(*matrix, then));
}

/// Carries all points over, or none.
int carry(const V_MATRIX* map, V_POINTD* points, uint32_t count) noexcept
{
    if (!is_usable(map) || (!points && count != 0))
        return V_ERROR_INVALID_PARAMETER;
    const V_MATRIX matrix = *map;
    const auto can_go = [&](V_POINTD point) noexcept {
        return all_finite(point.x, point.y) && transform(matrix, point);
    };
    if (!std::all_of(points, points + count, can_go))
        return V_ERROR_INVALID_PARAMETER;
    std::for_each(points, points + count, [&](V_POINTD& point) noexcept { transform(matrix, point); });
    return V_SUCCESS;
}

// ---- rectangles ----

int32_t saturated(int64_t value) noexcept
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

int32_t plus(int32_t a, int32_t b) noexcept
{
    return saturated(int64_t{a} + b);
}
int32_t minus(int32_t a, int32_t b) noexcept
{
    return saturated(int64_t{a} - b);
}
#if defined(_WIN32)
int32_t plus(LONG a, int32_t b) noexcept
{
    return plus(static_cast<int32_t>(a), b);
}
int32_t minus(LONG a, int32_t b) noexcept
{
    return minus(static_cast<int32_t>(a), b);
}
#endif
double plus(double a, double b) noexcept
{
    return a + b;
}
double minus(double a, double b) noexcept
{
    return a - b;
}

template <class Rect> bool is_empty(const Rect& rect) noexcept
{
    return !(rect.left < rect.right && rect.top < rect.bottom);
}

template <class Rect> int set(Rect* rect, const Rect& made) noexcept
{
    return rect ? give(rect, made) : V_ERROR_INVALID_PARAMETER;
}

template <class Rect> int empty(const Rect* rect) noexcept
{
    return rect ? is_empty(*rect) : V_ERROR_INVALID_PARAMETER;
}

template <class Rect> int normalize(Rect* rect) noexcept
{
    if (!is_usable(rect))
        return V_ERROR_INVALID_PARAMETER;
    *rect = {std::min(rect->left, rect->right), std::min(rect->top, rect->bottom), std::max(rect->left, rect->right),
             std::max(rect->top, rect->bottom)};
    return V_SUCCESS;
}

template <class Rect> int intersect(Rect* result, const Rect* a, const Rect* b) noexcept
{
    if (!result || !is_usable(a) || !is_usable(b))
        return V_ERROR_INVALID_PARAMETER;
    const Rect common{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                      std::min(a->bottom, b->bottom)};
    *result = is_empty(common) ? Rect{} : common;
    return !is_empty(common);
}

template <class Rect> int unite(Rect* result, const Rect* a, const Rect* b) noexcept
{
    if (!result || !is_usable(a) || !is_usable(b))
        return V_ERROR_INVALID_PARAMETER;
    if (is_empty(*a) || is_empty(*b))
        *result = !is_empty(*a) ? *a : !is_empty(*b) ? *b : Rect{};
    else
        *result = {std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
                   std::max(a->bottom, b->bottom)};
    return V_SUCCESS;
}

template <class Rect, class Number> int inflate(Rect* rect, Number dx, Number dy) noexcept
{
    if (!is_usable(rect))
        return V_ERROR_INVALID_PARAMETER;
    return give(rect, Rect{minus(rect->left, dx), minus(rect->top, dy), plus(rect->right, dx), plus(rect->bottom, dy)});
}

template <class Rect, class Number> int offset(Rect* rect, Number dx, Number dy) noexcept
{
    if (!is_usable(rect))
        return V_ERROR_INVALID_PARAMETER;
    return give(rect, Rect{plus(rect->left, dx), plus(rect->top, dy), plus(rect->right, dx), plus(rect->bottom, dy)});
}

template <class Rect, class Number> int contains(const Rect* rect, Number x, Number y) noexcept
{
    if (!rect)
        return V_ERROR_INVALID_PARAMETER;
    return rect->left <= x && x < rect->right && rect->top <= y && y < rect->bottom;
}

template <class Rect> int contains(const Rect* outer, const Rect* inner) noexcept
{
    if (!outer || !inner)
        return V_ERROR_INVALID_PARAMETER;
    return !is_empty(*inner) && outer->left <= inner->left && outer->top <= inner->top &&
           inner->right <= outer->right && inner->bottom <= outer->bottom;
}

template <class Rect> int equal(const Rect* a, const Rect* b) noexcept
{
    if (!a || !b)
        return V_ERROR_INVALID_PARAMETER;
    return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}

int32_t whole(double value) noexcept
{
    return static_cast<int32_t>(std::clamp(value, kLeast, kMost));
}

RECT whole_rect(const V_RECTD& rect, uint32_t mode) noexcept
{
    if (mode == RECTD_NEAREST)
        return {whole(rounded(rect.left)), whole(rounded(rect.top)), whole(rounded(rect.right)),
                whole(rounded(rect.bottom))};
    if (mode == RECTD_OUTER)
        return {whole(std::floor(rect.left)), whole(std::floor(rect.top)), whole(std::ceil(rect.right)),
                whole(std::ceil(rect.bottom))};
    const int32_t left = whole(std::ceil(rect.left));
    const int32_t top = whole(std::ceil(rect.top));
    return {left, top, std::max(left, whole(std::floor(rect.right))), std::max(top, whole(std::floor(rect.bottom)))};
}

} // namespace

} // namespace vk::geometry

using namespace vk::geometry;

// ---- matrices ----

int V_Matrix_Identity(V_MATRIX* pMatrix) noexcept
{
    if (!pMatrix)
        return V_ERROR_INVALID_PARAMETER;
    *pMatrix = kIdentity;
    return V_SUCCESS;
}

int V_Matrix_Multiply(V_MATRIX* pResult, const V_MATRIX* pFirst, const V_MATRIX* pThen) noexcept
{
    if (!pResult || !is_usable(pFirst) || !is_usable(pThen))
        return V_ERROR_INVALID_PARAMETER;
    return give(pResult, product(*pFirst, *pThen));
}

int V_Matrix_Invert(V_MATRIX* pResult, const V_MATRIX* pMatrix) noexcept
{
    if (!pResult || !is_usable(pMatrix))
        return V_ERROR_INVALID_PARAMETER;
    return invert(*pResult, *pMatrix) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_Matrix_Determinant(const V_MATRIX* pMatrix, double* pdResult) noexcept
{
    if (!pdResult || !is_usable(pMatrix))
        return V_ERROR_INVALID_PARAMETER;
    const double value = determinant(*pMatrix);
    if (!std::isfinite(value))
        return V_ERROR_INVALID_PARAMETER;
    *pdResult = value;
    return V_SUCCESS;
}

int V_Matrix_IsIdentity(const V_MATRIX* pMatrix) noexcept
{
    if (!pMatrix)
        return V_ERROR_INVALID_PARAMETER;
    for (int i = 0; i < 3; ++i)
        if (!std::equal(pMatrix->m[i], pMatrix->m[i] + 3, kIdentity.m[i]))
            return 0;
    return 1;
}

int V_Matrix_IsAffine(const V_MATRIX* pMatrix) noexcept
{
    return pMatrix ? is_affine(*pMatrix) : V_ERROR_INVALID_PARAMETER;
}

int V_Matrix_Translate(V_MATRIX* pMatrix, double dx, double dy) noexcept
{
    return add(pMatrix, translation(dx, dy));
}

int V_Matrix_Scale(V_MATRIX* pMatrix, double dx, double dy) noexcept
{
    return add(pMatrix, scaling(dx, dy));
}

int V_Matrix_Shear(V_MATRIX* pMatrix, double dx, double dy) noexcept
{
    return add(pMatrix, shear(dx, dy));
}

int V_Matrix_Rotate(V_MATRIX* pMatrix, int32_t nAngle) noexcept
{
    return add(pMatrix, turn(nAngle));
}

int V_Matrix_FromCorners(V_MATRIX* pResult, const V_POINTD* pFrom, const V_POINTD* pTo) noexcept
{
    if (!pResult || !pFrom || !pTo)
        return V_ERROR_INVALID_PARAMETER;
    V_POINTD from[4];
    V_POINTD to[4];
    std::copy_n(pFrom, 4, from);
    std::copy_n(pTo, 4, to);
    return from_corners(*pResult, from, to) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_Matrix_TransformPoint(const V_MATRIX* pMatrix, V_POINTD* pPoint) noexcept
{
    return carry(pMatrix, pPoint, 1);
}

int V_Matrix_TransformPoints(const V_MATRIX* pMatrix, V_POINTD* pPoints, uint32_t uCount) noexcept
{
    return carry(pMatrix, pPoints, uCount);
}

int V_Matrix_TransformRect(const V_MATRIX* pMatrix, V_RECTD* pRect) noexcept
{
    if (!is_usable(pMatrix) || !is_usable(pRect))
        return V_ERROR_INVALID_PARAMETER;
    return transform_box(*pMatrix, *pRect) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

// ---- rectangles of whole numbers ----

int V_Rect_Set(RECT* pRect, int32_t left, int32_t top, int32_t right, int32_t bottom) noexcept
{
    return set(pRect, RECT{left, top, right, bottom});
}

int V_Rect_IsEmpty(const RECT* pRect) noexcept
{
    return empty(pRect);
}

int V_Rect_Normalize(RECT* pRect) noexcept
{
    return normalize(pRect);
}

int64_t V_Rect_Width(const RECT* pRect) noexcept
{
    return pRect ? int64_t{pRect->right} - pRect->left : 0;
}

int64_t V_Rect_Height(const RECT* pRect) noexcept
{
    return pRect ? int64_t{pRect->bottom} - pRect->top : 0;
}

int V_Rect_Intersect(RECT* pResult, const RECT* pFirst, const RECT* pSecond) noexcept
{
    return intersect(pResult, pFirst, pSecond);
}

int V_Rect_Union(RECT* pResult, const RECT* pFirst, const RECT* pSecond) noexcept
{
    return unite(pResult, pFirst, pSecond);
}

int V_Rect_Inflate(RECT* pRect, int32_t dx, int32_t dy) noexcept
{
    return inflate(pRect, dx, dy);
}

int V_Rect_Offset(RECT* pRect, int32_t dx, int32_t dy) noexcept
{
    return offset(pRect, dx, dy);
}

int V_Rect_ContainsPoint(const RECT* pRect, int32_t x, int32_t y) noexcept
{
    return contains(pRect, x, y);
}

int V_Rect_ContainsRect(const RECT* pOuter, const RECT* pInner) noexcept
{
    return contains(pOuter, pInner);
}

int V_Rect_Equal(const RECT* pFirst, const RECT* pSecond) noexcept
{
    return equal(pFirst, pSecond);
}

int V_Rect_ToRectD(const RECT* pRect, V_RECTD* pResult) noexcept
{
    if (!pRect || !pResult)
        return V_ERROR_INVALID_PARAMETER;
    *pResult = {double{1} * pRect->left, double{1} * pRect->top, double{1} * pRect->right, double{1} * pRect->bottom};
    return V_SUCCESS;
}

// ---- rectangles of doubles ----

int V_RectD_Set(V_RECTD* pRect, double left, double top, double right, double bottom) noexcept
{
    return set(pRect, V_RECTD{left, top, right, bottom});
}

int V_RectD_IsEmpty(const V_RECTD* pRect) noexcept
{
    return empty(pRect);
}

int V_RectD_Normalize(V_RECTD* pRect) noexcept
{
    return normalize(pRect);
}

double V_RectD_Width(const V_RECTD* pRect) noexcept
{
    return pRect ? pRect->right - pRect->left : 0;
}

double V_RectD_Height(const V_RECTD* pRect) noexcept
{
    return pRect ? pRect->bottom - pRect->top : 0;
}

int V_RectD_Intersect(V_RECTD* pResult, const V_RECTD* pFirst, const V_RECTD* pSecond) noexcept
{
    return intersect(pResult, pFirst, pSecond);
}

int V_RectD_Union(V_RECTD* pResult, const V_RECTD* pFirst, const V_RECTD* pSecond) noexcept
{
    return unite(pResult, pFirst, pSecond);
}

int V_RectD_Inflate(V_RECTD* pRect, double dx, double dy) noexcept
{
    return inflate(pRect, dx, dy);
}

int V_RectD_Offset(V_RECTD* pRect, double dx, double dy) noexcept
{
    return offset(pRect, dx, dy);
}

int V_RectD_ContainsPoint(const V_RECTD* pRect, double x, double y) noexcept
{
    return contains(pRect, x, y);
}

int V_RectD_ContainsRect(const V_RECTD* pOuter, const V_RECTD* pInner) noexcept
{
    return contains(pOuter, pInner);
}

int V_RectD_Equal(const V_RECTD* pFirst, const V_RECTD* pSecond) noexcept
{
    return equal(pFirst, pSecond);
}

int V_RectD_ToRect(const V_RECTD* pRect, RECT* pResult, uint32_t uMode) noexcept
{
    if (!is_usable(pRect) || !pResult || uMode > RECTD_INNER)
        return V_ERROR_INVALID_PARAMETER;
    if (uMode != RECTD_NEAREST && (pRect->left > pRect->right || pRect->top > pRect->bottom))
        return V_ERROR_INVALID_PARAMETER;
    *pResult = whole_rect(*pRect, uMode);
    return V_SUCCESS;
}

// ---- doubles ----

int V_Double_Equal(double a, double b, double dRelative, double dAbsolute) noexcept
{
    const double apart = std::fabs(a - b);
    return a == b ||
           (std::isfinite(apart) && (apart <= dAbsolute || apart <= dRelative * std::max(std::fabs(a), std::fabs(b))));
}

int V_Double_IsZero(double a, double dTolerance) noexcept
{
    return std::fabs(a) <= dTolerance;
}

int V_Double_Less(double a, double b, double dTolerance) noexcept
{
    return b - a > dTolerance;
}

int V_Double_LessEqual(double a, double b, double dTolerance) noexcept
{
    return a - b <= dTolerance;
}

double V_Double_Round(double a) noexcept
{
    return rounded(a);
}

double V_Double_Clamp(double a, double dLow, double dHigh) noexcept
{
    return !(a >= dLow) ? dLow : a > dHigh ? dHigh : a;
}

int V_Double_IsFinite(double a) noexcept
{
    return std::isfinite(a);
}
