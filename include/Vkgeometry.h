/**
 * @file Vkgeometry.h
 * The geometry part of the Vkkrnx interface: points, rectangles, 3 x 3 matrices, and comparing numbers with a
 * tolerance. Vkkrnx.h includes it.
 *
 * Conventions that hold for every function of this header:
 *  - The result comes first and may be one of the operands; where there is one argument only, it is changed.
 *  - `int` results are SUCCESS, or 1 and 0 for questions, or ERROR_INVALID_PARAMETER: a null pointer, or whatever the
 *    function says. A failed call changes nothing.
 *  - x grows to the right, y downwards. A rectangle's right and bottom lie just outside it; it is empty when left is
 *    not before right, or top not before bottom.
 *  - Edges of a RECT never overflow: a result beyond 32 bits is the nearest number of 32 bits. Results in doubles that
 *    would not be finite are ERROR_INVALID_PARAMETER, and so are operands that are not.
 *  - All functions are thread-safe.
 */
#ifndef VKGEOMETRY_H
#define VKGEOMETRY_H

#include "Vkrecord.h"

/** A point. */
typedef struct tagV_POINTD {
    double x; /**< to the right */
    double y; /**< downwards */
} V_POINTD;

/** A rectangle whose right and bottom lie just outside it. */
typedef struct tagV_RECTD {
    double left;   /**< first x */
    double top;    /**< first y */
    double right;  /**< x behind it */
    double bottom; /**< y behind it */
} V_RECTD;

/**
 * A projective map of the plane. Points are row vectors: (x, y) goes to
 *
 *     x' = (x m[0][0] + y m[1][0] + m[2][0]) / w
 *     y' = (x m[0][1] + y m[1][1] + m[2][1]) / w,   w = x m[0][2] + y m[1][2] + m[2][2]
 *
 * Multiples of a matrix are the same map.
 */
typedef struct tagV_MATRIX {
    double m[3][3]; /**< m[row][column] */
} V_MATRIX;

/** How V_RectD_ToRect rounds. */
#define RECTD_NEAREST 0 /**< each edge to the nearest whole number, halves away from zero */
#define RECTD_OUTER 1   /**< the smallest rectangle around it */
#define RECTD_INNER 2   /**< the largest rectangle inside it */

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Matrices. An operand that is not finite is ERROR_INVALID_PARAMETER.
 * --------------------------------------------------------------------------------------------------------------- */

/** Makes the map that leaves every point where it is. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_Matrix_Identity(V_MATRIX* pMatrix) V_NOEXCEPT;
/** Makes the map that does what one matrix does and then what another does: the matrix product First x Then.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null, or operands or a product that are not finite.
 *  @remark Thread-safe. */
V_API int V_Matrix_Multiply(V_MATRIX* pResult, const V_MATRIX* pFirst, const V_MATRIX* pThen) V_NOEXCEPT;
/**
 * Makes the map back. Gauss-Jordan elimination with partial pivoting of the rows, brought to one size by powers of two.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, not finite, or no inverse: the determinant of those rows is no more
 * than 2^-48 of the sum of its products' magnitudes, which is what rounding leaves of zero.
 * @remark Thread-safe.
 */
V_API int V_Matrix_Invert(V_MATRIX* pResult, const V_MATRIX* pMatrix) V_NOEXCEPT;
/** Works out the determinant, m00 (m11 m22 - m12 m21) - m01 (m10 m22 - m12 m20) + m02 (m10 m21 - m11 m20), each
 *  difference without loss by cancellation. @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not finite.
 *  @remark Thread-safe. */
V_API int V_Matrix_Determinant(const V_MATRIX* pMatrix, double* pdResult) V_NOEXCEPT;
/** @return 1 when each element is the identity's, else 0; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_Matrix_IsIdentity(const V_MATRIX* pMatrix) V_NOEXCEPT;
/** @return 1 when parallels stay parallels: m02 and m12 are 0 and m22 is not; else 0; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_Matrix_IsAffine(const V_MATRIX* pMatrix) V_NOEXCEPT;
/** Adds a translation behind what the matrix does: x'' = x' + dx, y'' = y' + dy.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not finite. @remark Thread-safe. */
V_API int V_Matrix_Translate(V_MATRIX* pMatrix, double dx, double dy) V_NOEXCEPT;
/** Adds a scaling about the origin behind what the matrix does: x'' = dx x', y'' = dy y'. Factors of 0 leave no
 *  inverse. @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not finite. @remark Thread-safe. */
V_API int V_Matrix_Scale(V_MATRIX* pMatrix, double dx, double dy) V_NOEXCEPT;
/** Adds a shear about the origin behind what the matrix does: x'' = x' + dx y', y'' = y' + dy x'.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not finite. @remark Thread-safe. */
V_API int V_Matrix_Shear(V_MATRIX* pMatrix, double dx, double dy) V_NOEXCEPT;
/** Adds a turn about the origin behind what the matrix does: x'' = x' cos - y' sin, y'' = x' sin + y' cos.
 *  @param pMatrix the matrix. @param nAngle hundredths of a degree, clockwise (y grows downwards), as for
 *  V_RotateBitmap; any value. Sine and cosine are exact at right angles.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not finite. @remark Thread-safe. */
V_API int V_Matrix_Rotate(V_MATRIX* pMatrix, int32_t nAngle) V_NOEXCEPT;
/**
 * Makes the map that takes four points to four others: by way of the unit square, (0, 0), (1, 0), (1, 1), (0, 1) in
 * this order, whose maps to four points are known in closed form. m[2][2] becomes 1 unless it is 0.
 * Source: P. Heckbert, Fundamentals of Texture Mapping and Image Warping, 1989, section 2.2.3.
 * @param pResult the matrix. @param pFrom,pTo four points each.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, not finite, or no quadrilateral: of the four points on either side
 * three lie on a line, as far as doubles can tell.
 * @remark Thread-safe.
 */
V_API int V_Matrix_FromCorners(V_MATRIX* pResult, const V_POINTD* pFrom, const V_POINTD* pTo) V_NOEXCEPT;
/** Carries a point over. @return SUCCESS; ERROR_INVALID_PARAMETER: null, not finite, or a point that goes to infinity.
 *  @remark Thread-safe. */
V_API int V_Matrix_TransformPoint(const V_MATRIX* pMatrix, V_POINTD* pPoint) V_NOEXCEPT;
/** Carries uCount points over, or none. @param pMatrix the map. @param pPoints the points; may be null when there are
 *  none. @param uCount their number. @return SUCCESS; ERROR_INVALID_PARAMETER: as V_Matrix_TransformPoint, for any.
 *  @remark Thread-safe. */
V_API int V_Matrix_TransformPoints(const V_MATRIX* pMatrix, V_POINTD* pPoints, uint32_t uCount) V_NOEXCEPT;
/** Replaces a rectangle by the box around what becomes of it, with left <= right and top <= bottom.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null, not finite, or a rectangle of which a part goes to infinity.
 *  @remark Thread-safe. */
V_API int V_Matrix_TransformRect(const V_MATRIX* pMatrix, V_RECTD* pRect) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Rectangles of whole numbers
 * --------------------------------------------------------------------------------------------------------------- */

/** Sets the edges. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_Set(RECT* pRect, int32_t left, int32_t top, int32_t right, int32_t bottom) V_NOEXCEPT;
/** @return 1 when left >= right or top >= bottom, else 0; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_IsEmpty(const RECT* pRect) V_NOEXCEPT;
/** Exchanges edges that are the wrong way round. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_Rect_Normalize(RECT* pRect) V_NOEXCEPT;
/** @return right - left, negative for edges the wrong way round; 0 for null. @remark Thread-safe. */
V_API int64_t V_Rect_Width(const RECT* pRect) V_NOEXCEPT;
/** @return bottom - top, negative for edges the wrong way round; 0 for null. @remark Thread-safe. */
V_API int64_t V_Rect_Height(const RECT* pRect) V_NOEXCEPT;
/** Makes what two rectangles have in common. @return 1; 0: nothing in common, the result is 0, 0, 0, 0;
 *  ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_Intersect(RECT* pResult, const RECT* pFirst, const RECT* pSecond) V_NOEXCEPT;
/** Makes the smallest rectangle around both. Empty ones count for nothing; of two the union is 0, 0, 0, 0.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_Union(RECT* pResult, const RECT* pFirst, const RECT* pSecond) V_NOEXCEPT;
/** Moves the edges outwards: left - dx, top - dy, right + dx, bottom + dy; inwards by negative numbers, also past each
 *  other, which leaves it empty. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_Inflate(RECT* pRect, int32_t dx, int32_t dy) V_NOEXCEPT;
/** Moves the rectangle by dx and dy; what would lie beyond 32 bits is cut off. @return SUCCESS;
 *  ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_Offset(RECT* pRect, int32_t dx, int32_t dy) V_NOEXCEPT;
/** @return 1 when left <= x < right and top <= y < bottom, else 0; ERROR_INVALID_PARAMETER: null.
 *  @remark Thread-safe. */
V_API int V_Rect_ContainsPoint(const RECT* pRect, int32_t x, int32_t y) V_NOEXCEPT;
/** @return 1 when the inner rectangle is not empty and no part of it is outside the outer one, else 0;
 *  ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_ContainsRect(const RECT* pOuter, const RECT* pInner) V_NOEXCEPT;
/** @return 1 when all edges are equal, else 0; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_Equal(const RECT* pFirst, const RECT* pSecond) V_NOEXCEPT;
/** Gives a rectangle in doubles, exactly. @return SUCCESS; ERROR_INVALID_PARAMETER: null. @remark Thread-safe. */
V_API int V_Rect_ToRectD(const RECT* pRect, V_RECTD* pResult) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Rectangles of doubles: as the functions for RECT, and ERROR_INVALID_PARAMETER for what is not finite.
 * --------------------------------------------------------------------------------------------------------------- */

/** As V_Rect_Set. @remark Thread-safe. */
V_API int V_RectD_Set(V_RECTD* pRect, double left, double top, double right, double bottom) V_NOEXCEPT;
/** As V_Rect_IsEmpty; edges that are no numbers make it empty. @remark Thread-safe. */
V_API int V_RectD_IsEmpty(const V_RECTD* pRect) V_NOEXCEPT;
/** As V_Rect_Normalize. @remark Thread-safe. */
V_API int V_RectD_Normalize(V_RECTD* pRect) V_NOEXCEPT;
/** As V_Rect_Width. @remark Thread-safe. */
V_API double V_RectD_Width(const V_RECTD* pRect) V_NOEXCEPT;
/** As V_Rect_Height. @remark Thread-safe. */
V_API double V_RectD_Height(const V_RECTD* pRect) V_NOEXCEPT;
/** As V_Rect_Intersect. @remark Thread-safe. */
V_API int V_RectD_Intersect(V_RECTD* pResult, const V_RECTD* pFirst, const V_RECTD* pSecond) V_NOEXCEPT;
/** As V_Rect_Union. @remark Thread-safe. */
V_API int V_RectD_Union(V_RECTD* pResult, const V_RECTD* pFirst, const V_RECTD* pSecond) V_NOEXCEPT;
/** As V_Rect_Inflate. @remark Thread-safe. */
V_API int V_RectD_Inflate(V_RECTD* pRect, double dx, double dy) V_NOEXCEPT;
/** As V_Rect_Offset, but that nothing is cut off. @remark Thread-safe. */
V_API int V_RectD_Offset(V_RECTD* pRect, double dx, double dy) V_NOEXCEPT;
/** As V_Rect_ContainsPoint. @remark Thread-safe. */
V_API int V_RectD_ContainsPoint(const V_RECTD* pRect, double x, double y) V_NOEXCEPT;
/** As V_Rect_ContainsRect. @remark Thread-safe. */
V_API int V_RectD_ContainsRect(const V_RECTD* pOuter, const V_RECTD* pInner) V_NOEXCEPT;
/** As V_Rect_Equal. @remark Thread-safe. */
V_API int V_RectD_Equal(const V_RECTD* pFirst, const V_RECTD* pSecond) V_NOEXCEPT;
/** Gives a rectangle of whole numbers. @param pRect the rectangle; edges may be the wrong way round with
 *  RECTD_NEAREST only. @param pResult receives it; RECTD_INNER of one that holds no whole pixel has no width or no
 *  height. @param uMode RECTD_ value. @return SUCCESS; ERROR_INVALID_PARAMETER: null, another mode, not finite, or
 *  edges the wrong way round. @remark Thread-safe. */
V_API int V_RectD_ToRect(const V_RECTD* pRect, RECT* pResult, uint32_t uMode) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Doubles. A comparison with something that is no number is 0.
 * --------------------------------------------------------------------------------------------------------------- */

/** @return 1 when a == b, or |a - b| <= the larger of dAbsolute and dRelative * max(|a|, |b|); else 0.
 *  @remark Thread-safe. */
V_API int V_Double_Equal(double a, double b, double dRelative, double dAbsolute) V_NOEXCEPT;
/** @return 1 when |a| <= dTolerance, else 0. @remark Thread-safe. */
V_API int V_Double_IsZero(double a, double dTolerance) V_NOEXCEPT;
/** @return 1 when b - a > dTolerance, else 0. @remark Thread-safe. */
V_API int V_Double_Less(double a, double b, double dTolerance) V_NOEXCEPT;
/** @return 1 when a - b <= dTolerance, else 0. @remark Thread-safe. */
V_API int V_Double_LessEqual(double a, double b, double dTolerance) V_NOEXCEPT;
/** @return the nearest whole number, halves away from zero. @remark Thread-safe. */
V_API double V_Double_Round(double a) V_NOEXCEPT;
/** @return dLow when a < dLow or is no number, else dHigh when a > dHigh, else a. @remark Thread-safe. */
V_API double V_Double_Clamp(double a, double dLow, double dHigh) V_NOEXCEPT;
/** @return 1 for a number that is not infinite, else 0. @remark Thread-safe. */
V_API int V_Double_IsFinite(double a) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKGEOMETRY_H */
