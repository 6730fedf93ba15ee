/**
 * @file Vkregion.h
 * Regions of bitmaps. Vkkrnx.h includes it.
 *
 * A region is a set of a bitmap's pixels, kept as runs per row, never as a mask: it takes memory in proportion to its
 * runs, whatever the size of the picture. Functions that write pixels "inside the region" leave all others alone. A
 * bitmap without a region behaves like one whose region is the whole picture; an empty region is a region.
 *
 * Rows, columns and rectangles are stored pixels (V_RectToBitmap brings displayed ones there), and a region never
 * reaches beyond its bitmap. It follows the pixels through every flip, turn, resize and warp, and goes with the bitmap
 * into copies (DUPFLAG_REGION).
 *
 * A module that installed V_SetRegionHooks may have put something of its own into RgnInfo. Such a region is replaced
 * or freed here, through the module's FreeRegion hook; every other function answers ERROR_FEATURE_NOT_SUPPORTED. Hooks
 * are also called for bitmaps with a region of this library's, before the library lets that follow by itself.
 */
#ifndef VKREGION_H
#define VKREGION_H

#include "Vkgeometry.h"
#include "Vkrecord.h"

/** How a shape is combined with the region that a bitmap has. Without a region REGION_AND and REGION_ANDNOT combine it
 *  with the whole picture, the others with nothing. */
#define REGION_SET 0u    /**< the shape alone */
#define REGION_AND 1u    /**< what is in both */
#define REGION_OR 2u     /**< what is in one or both */
#define REGION_XOR 3u    /**< what is in one and not the other */
#define REGION_ANDNOT 4u /**< the region without the shape */

/** What is inside a polygon whose sides cross. */
#define REGION_ALTERNATE 0u /**< what is behind an odd number of sides */
#define REGION_WINDING 1u   /**< what the outline goes around */

/** A run of pixels of a row. 8 bytes. */
typedef struct V_REGIONRUN {
    int32_t nFirst; /**< its first pixel */
    int32_t nEnd;   /**< the pixel behind its last */
} V_REGIONRUN;

V_EXTERN_C_BEGIN

/**
 * Combines a bitmap's region with a rectangle.
 * @param pBitmap an allocated bitmap. @param pRect the rectangle, cut to the bitmap. @param uMode REGION_ mode.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or another mode; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: no pixels; ERROR_FEATURE_NOT_SUPPORTED: the region is
 * another module's and the mode is not REGION_SET; ERROR_NO_MEMORY. On failure the region is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapRegionRect(BITMAPHANDLE* pBitmap, const RECT* pRect, uint32_t uMode) V_NOEXCEPT;
/** As V_SetBitmapRegionRect, with the ellipse that touches the rectangle's sides: pixels whose centres lie inside or on
 *  it. @remark One thread per bitmap at a time. */
V_API int V_SetBitmapRegionEllipse(BITMAPHANDLE* pBitmap, const RECT* pRect, uint32_t uMode) V_NOEXCEPT;
/** As V_SetBitmapRegionRect, with rounded corners: each a quarter of an ellipse of nWidth x nHeight pixels, cut to the
 *  rectangle's size. @return also ERROR_INVALID_PARAMETER: a negative size. @remark One thread per bitmap at a time. */
V_API int V_SetBitmapRegionRoundRect(BITMAPHANDLE* pBitmap, const RECT* pRect, int32_t nWidth, int32_t nHeight,
                                     uint32_t uMode) V_NOEXCEPT;
/**
 * As V_SetBitmapRegionRect, with a polygon: pixels whose centres lie inside. A centre on the outline belongs to what is
 * to the right of it and below, so polygons with a common side share no pixel and leave none out.
 * @param pPoints its corners, in order; the last is joined to the first. They count in units of 1/65536 pixel, and as
 * far as 2^44 pixels away. @param uPoints their number; fewer than three hold nothing.
 * @param uFillRule REGION_ALTERNATE or REGION_WINDING.
 * @return also ERROR_INVALID_PARAMETER: no points, a corner that is not finite, or another rule.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapRegionPolygon(BITMAPHANDLE* pBitmap, const V_POINTD* pPoints, uint32_t uPoints, uint32_t uFillRule,
                                   uint32_t uMode) V_NOEXCEPT;
/**
 * As V_SetBitmapRegionRect, with the pixels of a mask that are not 0: palette indices, gray samples, or colours with a
 * channel that is not 0 (alpha does not count).
 * @param pMask an allocated bitmap of any depth and storage. It lies over the bitmap as both are displayed, first
 * stored pixel on first stored pixel; where it is smaller there is nothing of it.
 * @return also ERROR_INVALID_PARAMETER: different perspectives of which one is none; a failed transfer from the mask.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_SetBitmapRegionMask(BITMAPHANDLE* pBitmap, BITMAPHANDLE* pMask, uint32_t uMode) V_NOEXCEPT;
/**
 * As V_SetBitmapRegionRect, with the pixels of a range of colours: each channel from the one of crLower to the one of
 * crUpper, as V_GetPixelColor reads them.
 * @param crLower,crUpper colours, gray levels (0x04 in the top byte), or, both of them, palette indices (0x01), which
 * take the indices from one to the other.
 * @return also ERROR_INVALID_PARAMETER: one index of the two, or indices for a bitmap deeper than 8 bits; a failed
 * access or transfer.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapRegionColor(BITMAPHANDLE* pBitmap, COLORREF crLower, COLORREF crUpper, uint32_t uMode) V_NOEXCEPT;
/**
 * As V_SetBitmapRegionRect, with the pixels of nearly the colour of one of them that hang together with it by their
 * four neighbours.
 * @param nCol,nRow the pixel. @param crLowerTolerance,crUpperTolerance how far each channel may be below and above the
 * pixel's.
 * @return also ERROR_INVALID_PARAMETER: a pixel outside the bitmap; a failed access or transfer.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapRegionMagicWand(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow, COLORREF crLowerTolerance,
                                     COLORREF crUpperTolerance, uint32_t uMode) V_NOEXCEPT;

/** Frees a bitmap's region, if it has one. @return SUCCESS; ERROR_INVALID_PARAMETER: null record;
 *  ERROR_INVALID_STRUCT_SIZE. @remark One thread per bitmap at a time. */
V_API int V_FreeBitmapRegion(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** @return 1: the bitmap has a region, this library's or another module's; 0: it has none; ERROR_INVALID_PARAMETER:
 * null record; ERROR_INVALID_STRUCT_SIZE. @remark One thread per bitmap at a time. */
V_API int V_BitmapHasRegion(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Makes the region what it leaves out; a bitmap without one gets an empty region. @return as V_SetBitmapRegionRect.
 *  @remark One thread per bitmap at a time. */
V_API int V_InvertBitmapRegion(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Moves the region; what leaves the bitmap is gone. Without a region nothing happens.
 *  @return as V_SetBitmapRegionRect. @remark One thread per bitmap at a time. */
V_API int V_OffsetBitmapRegion(BITMAPHANDLE* pBitmap, int32_t nCols, int32_t nRows) V_NOEXCEPT;
/** Gives a bitmap the region of another, on the same pixels as displayed (V_SetBitmapRegionMask), or frees its own when
 *  the other has none. @return as V_SetBitmapRegionMask, for both records.
 *  @remark One thread per bitmap at a time, for both bitmaps. */
V_API int V_CopyBitmapRegion(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) V_NOEXCEPT;

/** Gives the smallest rectangle around the region's pixels: empty at 0, 0 for an empty one, the whole picture without a
 *  region. @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer; ERROR_INVALID_STRUCT_SIZE;
 *  ERROR_FEATURE_NOT_SUPPORTED: another module's region. @remark One thread per bitmap at a time. */
V_API int V_GetBitmapRegionBounds(BITMAPHANDLE* pBitmap, RECT* pRect) V_NOEXCEPT;
/** Gives the number of pixels in the region. @return as V_GetBitmapRegionBounds.
 *  @remark One thread per bitmap at a time. */
V_API int V_GetBitmapRegionArea(BITMAPHANDLE* pBitmap, uint64_t* puPixels) V_NOEXCEPT;
/** @return 1: the pixel is in the region, or in the picture without one; 0: it is not; otherwise as
 *  V_GetBitmapRegionBounds. @remark One thread per bitmap at a time. */
V_API int V_IsPointInBitmapRegion(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow) V_NOEXCEPT;
/**
 * Makes a 1-bit bitmap of the size and perspective of another, in storage of its kind: 1, white, inside the region.
 * @param pMask receives the bitmap; what the record held is forgotten. @param pSrc an allocated bitmap.
 * @param uStructSize BITMAPHANDLE_SIZE or BITMAPHANDLE_SIZE_EARLIER.
 * @return SUCCESS; as V_DupBitmapNewDim; ERROR_FEATURE_NOT_SUPPORTED: another module's region. On failure the mask's
 * record is empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_GetBitmapRegionMask(BITMAPHANDLE* pMask, BITMAPHANDLE* pSrc, uint32_t uStructSize) V_NOEXCEPT;
/**
 * Gives the runs of a row that are in the region, from left to right.
 * @param nRow the row. @param pnRuns the room at pRuns; receives the number of runs. @param pRuns receives them; null
 * asks for their number alone.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or number, a negative room, or a row outside the bitmap;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_BUFFER_TOO_SMALL: nothing was copied; ERROR_FEATURE_NOT_SUPPORTED: another module's
 * region.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetBitmapRegionRow(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t* pnRuns, V_REGIONRUN* pRuns) V_NOEXCEPT;

#if defined(_WIN32)
/** As V_SetBitmapRegionRect, with a region of the system's, whose points are stored pixels. It stays the caller's.
 *  Windows only. @return also ERROR_INVALID_HANDLE: no region. @remark One thread per bitmap at a time. */
V_API int V_SetBitmapRegionHandle(BITMAPHANDLE* pBitmap, HRGN hRegion, uint32_t uMode) V_NOEXCEPT;
/** Makes a region of the system's from the bitmap's, in stored pixels: of the whole picture where it has none. Windows
 *  only. @return the region, to be deleted by the caller; null when the record is none, its region is another module's,
 *  or without memory. @remark One thread per bitmap at a time. */
V_API HRGN V_GetBitmapRegionHandle(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
#endif

V_EXTERN_C_END

#endif /* VKREGION_H */
