/**
 * @file Vkwarp.h
 * The warp part of the Vkkrnx interface: pictures through any projective map or a grid of points, sheared pictures, and
 * buffers of pixels turned. Vkkrnx.h includes it.
 *
 * Positions are those of stored pixels, as rows and columns are: x along a stored row, y along stored rows from the
 * first on, with the middle of the first pixel at (0.5, 0.5). What is left over on the canvas gets the fill colour.
 */
#ifndef VKWARP_H
#define VKWARP_H

#include "Vkgeometry.h"
#include "Vkrecord.h"

/** Flags of the warp functions; other bits are ignored. */
#define WARP_NEAREST 0x00u /**< the pixel whose square a canvas pixel's middle falls into */
#define WARP_LINEAR 0x02u  /**< mixed from the four nearest pixels */
#define WARP_CUBIC 0x04u   /**< mixed from sixteen; goes before WARP_LINEAR */
#define WARP_AREA                                                                                                      \
    0x08u /**< where the picture shrinks, the mean of what a canvas pixel covers; elsewhere WARP_CUBIC when            \
               named too, else WARP_LINEAR */
#define WARP_EDGE                                                                                                      \
    0x10u /**< the picture's outermost pixels go on behind its edge instead of being mixed with the fill               \
               colour; no effect on WARP_NEAREST */

/** Flags of V_ShearBitmap; other bits are ignored. */
#define SHEAR_HORIZONTAL 0x00u /**< displayed rows move to the side */
#define SHEAR_VERTICAL 0x01u   /**< displayed columns move up and down */
#define SHEAR_LINEAR 0x02u     /**< by parts of pixels, mixed from two; without it by whole pixels */

V_EXTERN_C_BEGIN

/**
 * Warps a bitmap by a projective map.
 *
 * A canvas pixel shows the place of the picture that its middle comes from. With WARP_NEAREST that is the pixel whose
 * square holds the place (one on the edge between two belongs to the pixel before it, as for V_RotateBitmap). With
 * WARP_LINEAR or WARP_CUBIC (convolution with the parameter -1/2) pixels are mixed, at the picture's edge with the fill
 * colour. With WARP_AREA each block of 64 canvas pixels of a row takes as many evenly spread samples of a pixel, each
 * mixed linearly, as leave no more than a pixel of the picture between them, at most 128 each way, and their mean is
 * rounded once.
 *
 * Colours count by their alpha where there is one. Gray samples are mixed in their significant bits. An indexed picture
 * whose palette is a gray ramp is mixed by its indices, another one in colour, each pixel then getting the nearest
 * entry; at 1 bit the index with the larger share, index 1 at exactly half.
 *
 * Places are exact to less than 1/2048 pixel on pictures of up to 65,536 pixels each way, and the same on every system
 * and processor. Where the map takes a line of the picture to infinity, the picture is cut there, and the side of its
 * middle is shown. Overlays and the region are warped as the pixels are, by the nearest one. The view perspective, and
 * every other field that does not tell the size, stays. Compressed bitmaps become uncompressed.
 * @param pBitmap replaced on success only. @param pMatrix takes places of the picture to places of the canvas.
 * @param nWidth,nHeight the canvas; 0: as much as the box around the warped picture takes, whose first corner then is
 * the canvas's. @param uFlags WARP_ bits. @param crFill as for V_RotateBitmap.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, negative dimensions, a matrix that is not finite or has no inverse;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: rows that do not hold the
 * width, a canvas too large to describe, or dimensions of 0 where a part of the picture goes to infinity;
 * ERROR_NO_MEMORY, the failure of a transfer, the status callback's refusal. After a failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_WarpBitmap(BITMAPHANDLE* pBitmap, const V_MATRIX* pMatrix, int32_t nWidth, int32_t nHeight, uint32_t uFlags,
                       COLORREF crFill) V_NOEXCEPT;
/**
 * Makes an upright rectangle of a part of the picture that has four corners: a leaning page.
 * @param pBitmap replaced on success only. @param pCorners four places of the picture, which become the first corner
 * of the canvas, the one at the end of its first row, the last one, and the one at the beginning of its last row. They
 * may lie outside of the picture.
 * @param nWidth,nHeight the canvas; 0: the longer of the two sides that become it, rounded.
 * @param uFlags WARP_ bits. @param crFill as for V_RotateBitmap.
 * @return as V_WarpBitmap; ERROR_INVALID_PARAMETER also for corners that are not finite, or not those of a convex
 * quadrilateral.
 * @remark One thread per bitmap at a time.
 */
V_API int V_WarpBitmapCorners(BITMAPHANDLE* pBitmap, const V_POINTD* pCorners, int32_t nWidth, int32_t nHeight,
                              uint32_t uFlags, COLORREF crFill) V_NOEXCEPT;
/**
 * Warps a bitmap by a grid. Point (column, row) of the grid tells from which place of the picture the canvas's place
 * (column * width / (nColumns - 1), row * height / (nRows - 1)) comes; between the points places are bilinear.
 * @param pBitmap replaced on success only. @param pGrid nRows rows of nColumns points each, anywhere within 2^31 of the
 * origin. @param nColumns,nRows at least 2. @param nWidth,nHeight the canvas; 0: the bitmap's own.
 * @param uFlags WARP_ bits. @param crFill as for V_RotateBitmap.
 * @return as V_WarpBitmap; ERROR_INVALID_PARAMETER also for a grid that is too small, and for points too far away.
 * @remark One thread per bitmap at a time.
 */
V_API int V_WarpBitmapGrid(BITMAPHANDLE* pBitmap, const V_POINTD* pGrid, int32_t nColumns, int32_t nRows,
                           int32_t nWidth, int32_t nHeight, uint32_t uFlags, COLORREF crFill) V_NOEXCEPT;

/**
 * Shears a bitmap: upright lines of the displayed picture lean, or level ones with SHEAR_VERTICAL, clockwise by the
 * angle; lines the other way stay level, or upright. The canvas grows to hold everything, and begins where the
 * displayed picture begins. The result is that of V_WarpBitmap by the same matrix; the tangent of the angle counts with
 * 30 bits behind the point.
 * @param pBitmap replaced on success only. @param nAngle hundredths of a degree, -8999 to 8999; 0 changes nothing.
 * @param uFlags SHEAR_ bits. @param crFill as for V_RotateBitmap.
 * @return as V_WarpBitmap; ERROR_INVALID_PARAMETER: null, or another angle.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ShearBitmap(BITMAPHANDLE* pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill) V_NOEXCEPT;

/**
 * Turns a buffer of pixels by a quarter. Rows are packed as a bitmap's are; spare bits of their last bytes end clear,
 * and no byte behind them is touched.
 * @param pSrc uHeight rows of uWidth pixels. @param uSrcStride bytes from one of its rows to the next, at least
 * (uWidth * nBitsPerPixel + 7) / 8. @param pDst receives uWidth rows of uHeight pixels; must not overlap the source.
 * @param uDstStride bytes from one of these rows to the next, at least (uHeight * nBitsPerPixel + 7) / 8.
 * @param uWidth,uHeight up to 2^31 - 1; where one is 0 there is nothing to do. @param nBitsPerPixel a depth that
 * bitmaps have. @param nDirection 0 counter-clockwise, 1 clockwise, the first row being the top.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, a stride that is too short, another direction;
 * ERROR_INVALID_BITS_PER_PIXEL; ERROR_INVALID_WIDTH_HEIGHT: too large.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_RotateBuffer90(const void* pSrc, size_t uSrcStride, void* pDst, size_t uDstStride, uint32_t uWidth,
                           uint32_t uHeight, int32_t nBitsPerPixel, int32_t nDirection) V_NOEXCEPT;
/**
 * Turns a buffer of pixels by a half; as V_RotateBuffer90, with pDst receiving uHeight rows of uWidth pixels.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_RotateBuffer180(const void* pSrc, size_t uSrcStride, void* pDst, size_t uDstStride, uint32_t uWidth,
                            uint32_t uHeight, int32_t nBitsPerPixel) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKWARP_H */
