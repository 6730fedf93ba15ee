/**
 * @file Vkview.h
 * The view part of the Vkkrnx interface: flip, mirror and view perspective: how stored rows relate to the displayed
 * image. Vkkrnx.h includes it.
 *
 * A view perspective says what turns the stored data into the picture as displayed, its top row first and its pixels
 * from left to right: a flip (rows in reverse order), a mirror (pixels of each row in reverse order), then a clockwise
 * turn.
 *
 *     1 nothing                  5 flip, then 90 degrees
 *     2 mirror                   6 90 degrees
 *     3 180 degrees              7 flip, then 270 degrees
 *     4 flip                     8 270 degrees
 *
 * In perspectives 5 to 8, the rotated ones, the displayed width is the stored height. These are the eight orientations
 * that image files know.
 */
#ifndef VKVIEW_H
#define VKVIEW_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Flip, mirror and turn. Overlays are changed so that they stay on the same pixels of the bitmap as displayed.
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Reverses the displayed image top to bottom: V_IntReverseBitmap in the rotated perspectives, else V_IntFlipBitmap.
 * @return as these; ERROR_INVALID_PARAMETER: null, or not allocated; ERROR_INVALID_STRUCT_SIZE.
 * @remark One thread per bitmap at a time.
 */
V_API int V_FlipBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Reverses the displayed image left to right: V_IntFlipBitmap in the rotated perspectives, else V_IntReverseBitmap.
 * @return as these; ERROR_INVALID_PARAMETER: null; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ReverseBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Reverses the order of the stored rows where they are, and calls the FlipRegion hook of a bitmap with a region, whose
 * failure undoes the flip and is the result. Reports progress. Nothing else in the record changes, no allocation
 * callback is asked, and no room for a second copy of the rows is needed; compressed rows stay compressed.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null, or not allocated; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; a failed transfer; the status callback's
 * refusal; a failed release, after which the rows are reversed. On another failure the bitmap is as it was, unless its
 * storage refuses to take back what was exchanged.
 * @remark One thread per bitmap at a time.
 */
V_API int V_IntFlipBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Reverses the order of the pixels in each stored row, and calls the ReverseRegion hook; otherwise as V_IntFlipBitmap.
 * Size is recounted where rows are run-length compressed.
 * @return as V_IntFlipBitmap.
 * @remark One thread per bitmap at a time.
 */
V_API int V_IntReverseBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Reverses the order of the pixels of a row in place. Bits of its last byte that belong to no pixel end clear.
 * @param pRow the row, (uWidth * nBitsPerPixel + 7) / 8 bytes. @param uWidth pixels. @param nBitsPerPixel the depth;
 * where a bitmap cannot have it the row stays as it is.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_MirrorLine(void* pRow, uint32_t uWidth, int32_t nBitsPerPixel) V_NOEXCEPT;
/**
 * Turns the displayed image by a quarter, whatever its perspective, which stays. Width and height, and the resolutions,
 * are exchanged. A region goes along as it is. Reports progress.
 * @param nDirection 0 counter-clockwise, 1 clockwise.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null, or not allocated; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER:
 * another direction; ERROR_INVALID_WIDTH_HEIGHT; ERROR_NO_MEMORY; a failed transfer; the status callback's refusal; a
 * failed release, after which the bitmap is turned. On another failure it is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_RotateBitmap90(BITMAPHANDLE* pBitmap, int32_t nDirection) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * View perspective
 * --------------------------------------------------------------------------------------------------------------- */

/** Flips the displayed image by changing ViewPerspective alone, and those of its overlays; values outside 1 to 8 stay.
 *  Needs no storage.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null; ERROR_INVALID_STRUCT_SIZE.
 *  @remark One thread per bitmap at a time. */
V_API int V_FlipBitmapViewPerspective(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** The same as V_FlipBitmapViewPerspective. @remark One thread per bitmap at a time. */
V_API int V_IntFlipBitmapViewPerspective(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Mirrors the displayed image left to right; as V_FlipBitmapViewPerspective.
 *  @remark One thread per bitmap at a time. */
V_API int V_ReverseBitmapViewPerspective(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** The same as V_ReverseBitmapViewPerspective. @remark One thread per bitmap at a time. */
V_API int V_IntReverseBitmapViewPerspective(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Tells what turns data stored in one perspective into another: a flip first, then a clockwise turn. A mirror shows as
 * a flip and a turn by 180 degrees.
 * @param nFrom,nTo perspectives. @param pbFlip receives 0 or 1. @param pnAngle receives 0, 90, 180 or 270.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer, or a perspective outside 1 to 8.
 * @remark Thread-safe.
 */
V_API int V_GetChangeViewPerspectiveParams(int32_t nFrom, int32_t nTo, int32_t* pbFlip, int32_t* pnAngle) V_NOEXCEPT;
/**
 * Rearranges a bitmap's pixels for another perspective, so that it is displayed as before.
 * @param pDst receives a full copy, rearranged; null or pSrc: the source is changed in place.
 * @param pSrc an allocated bitmap. @param uStructSize size of pDst's record, not used without one.
 * @param nViewPerspective 1 to 8.
 * @return as V_IntChangeBitmapViewPerspective; ERROR_INVALID_PARAMETER: also when the source is not allocated.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_ChangeBitmapViewPerspective(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize,
                                        int32_t nViewPerspective) V_NOEXCEPT;
/**
 * V_ChangeBitmapViewPerspective with a choice of what a copy gets. Making a copy reports progress; what changes in
 * place does so with the calling thread's status callback taken away, which is back afterwards whatever happened.
 *
 * Width and height, and the resolutions, are exchanged by a quarter turn. Overlays that share the bitmap's perspective
 * are rearranged with it and go on sharing it; others show the same as before and stay as they are. A copy has the
 * region where it can be copied (DUPFLAG_REGION) or is taken over; the FlipRegion and ReverseRegion hooks are called
 * for a flip and for a turn by 180 degrees, and a region goes through a quarter turn as it is.
 * @param uDupFlags DUPFLAG_ bits, as for V_DupBitmapNewDim; only used with pDst.
 * @return SUCCESS, also when the bitmap has that perspective already; ERROR_INVALID_PARAMETER: null source, a
 * perspective outside 1 to 8, unknown flags; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; a failure
 * of the copy, the flip or the turn. A copy that fails leaves pDst empty but for StructSize and the source as it was. A
 * turn in place that fails after a flip leaves the bitmap flipped, in perspective 1; otherwise it is as it was.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_IntChangeBitmapViewPerspective(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize,
                                           int32_t nViewPerspective, uint32_t uDupFlags) V_NOEXCEPT;

/**
 * Carries a rectangle from one perspective to another. Its right and bottom lie just outside it.
 * @param nFrom,nTo perspectives. @param nWidth,nHeight stored size in perspective nFrom. @param pRect the rectangle.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null, or a perspective outside 1 to 8.
 * @remark Thread-safe.
 */
V_API int V_ChangeRectViewPerspective(int32_t nFrom, int32_t nWidth, int32_t nHeight, int32_t nTo,
                                      RECT* pRect) V_NOEXCEPT;
/**
 * Carries the index of a pixel from a caller's perspective to a bitmap's.
 *
 * The sizes counted with are the bitmap's, exchanged when its own perspective is rotated, and exchanged again when the
 * caller's is 6 or 8.
 * @param pBitmap a described bitmap; needs no storage. @param nViewPerspective the caller's perspective.
 * @param px,py the point.
 * @return SUCCESS, with no change when the perspectives are equal; ERROR_INVALID_PARAMETER: null pointer, or different
 * perspectives of which one is outside 1 to 8; ERROR_INVALID_STRUCT_SIZE.
 * @remark One thread per bitmap at a time.
 */
V_API int V_PointToBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, int32_t* px, int32_t* py) V_NOEXCEPT;
/** Carries the index of a pixel from a bitmap's perspective to a caller's; as V_PointToBitmap, with the bitmap's stored
 *  size. Null coordinates are noticed only when there is something to change.
 *  @remark One thread per bitmap at a time. */
V_API int V_PointFromBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, int32_t* px, int32_t* py) V_NOEXCEPT;
/** As V_PointToBitmap, for a rectangle whose right and bottom lie just outside it.
 *  @remark One thread per bitmap at a time. */
V_API int V_RectToBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, RECT* pRect) V_NOEXCEPT;
/** As V_PointFromBitmap, for a rectangle; a null one is always ERROR_INVALID_PARAMETER.
 *  @remark One thread per bitmap at a time. */
V_API int V_RectFromBitmap(BITMAPHANDLE* pBitmap, int32_t nViewPerspective, RECT* pRect) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKVIEW_H */
