/**
 * @file Vkfill.h
 * The fill part of the Vkkrnx interface: colours, patterns, alpha, and pixels made unrecognisable. Vkkrnx.h includes
 * it.
 *
 * Rows, columns and rectangles are stored pixels; V_RectToBitmap brings displayed ones there. Where a bitmap has a
 * region, only pixels inside of it are written. MinVal and MaxVal stay as they are. Progress is reported, and what was
 * written is put back when the status callback refuses or a transfer fails.
 *
 * Colours are passed as 0x01 in the top byte and a palette index, which means black where there is no palette; 0x04 and
 * a gray level in bits 8 to 15; or red, green and blue from the lowest byte up. Bitmaps with palettes take the nearest
 * entry, deeper ones the colour as V_ConvertBufferExt3 converts it, gray ones its gray, opaque where there is alpha.
 */
#ifndef VKFILL_H
#define VKFILL_H

#include "Vkrecord.h"

/** Flags of V_FloodFillBitmap. */
#define FLOOD_EIGHT 1u  /**< pixels are connected by their corners too */
#define FLOOD_BORDER 2u /**< everything is filled up to pixels of the border's colour */

/** What V_ScrambleBitmap does. */
#define SCRAMBLE_HIDE 0u /**< makes pixels unrecognisable */
#define SCRAMBLE_SHOW 1u /**< brings them back */

V_EXTERN_C_BEGIN

/**
 * Gives all pixels of a bitmap, or those inside of its region, one colour.
 * @param pBitmap the bitmap. @param crColor the colour.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated;
 * ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; a failed transfer; the status callback's
 * refusal. On failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_FillBitmap(BITMAPHANDLE* pBitmap, COLORREF crColor) V_NOEXCEPT;
/**
 * Gives the pixels of a rectangle one colour, as far as the bitmap has them.
 * @param pBitmap the bitmap. @param pRect the rectangle, right and bottom just outside; an empty one changes nothing.
 * @param crColor the colour.
 * @return as V_FillBitmap; ERROR_INVALID_PARAMETER: null rectangle too.
 * @remark One thread per bitmap at a time.
 */
V_API int V_FillBitmapRect(BITMAPHANDLE* pBitmap, const RECT* pRect, COLORREF crColor) V_NOEXCEPT;
/**
 * Covers a bitmap with copies of another, side by side in both directions. The pattern's pixels are converted to the
 * bitmap's form as V_CombineBitmap converts them, and lie the way up that they are displayed.
 * @param pBitmap the bitmap. @param pPattern the pattern; may be pBitmap. @param nOriginCol,nOriginRow where the first
 * pixel of one of the copies lies; any numbers.
 * @return as V_FillBitmap, for both bitmaps; ERROR_INVALID_PARAMETER: perspectives that differ and are none, or a depth
 * and order that do not go together, too; ERROR_INVALID_LUT_LENGTH.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_FillBitmapPattern(BITMAPHANDLE* pBitmap, BITMAPHANDLE* pPattern, int32_t nOriginCol,
                              int32_t nOriginRow) V_NOEXCEPT;
/**
 * Gives one colour to what is connected to a pixel: by the sides of pixels and within a tolerance of that pixel's
 * values in each channel, alpha included. Channels wider than 8 bits have a tolerance as large a part of their range;
 * pixels with a palette are compared by their colours. With FLOOD_BORDER it is everything up to pixels that are within
 * the tolerance of the border's colour, alpha not counting. Nothing is reached through pixels outside of the region.
 * @param pBitmap the bitmap. @param nCol,nRow the pixel to begin with; one outside of the bitmap, outside of its
 * region, or on the border leaves nothing to do. @param crColor the colour. @param crBorder the border's with
 * FLOOD_BORDER.
 * @param uTolerance levels of 8-bit channels, 0 for the very values. @param uFlags 0 or FLOOD_ flags.
 * @return as V_FillBitmap; ERROR_INVALID_PARAMETER: unknown flags too. Two bits a pixel are needed meanwhile, in
 * storage of the bitmap's kind where that is much.
 * @remark One thread per bitmap at a time.
 */
V_API int V_FloodFillBitmap(BITMAPHANDLE* pBitmap, int32_t nCol, int32_t nRow, COLORREF crColor, COLORREF crBorder,
                            uint32_t uTolerance, uint32_t uFlags) V_NOEXCEPT;

/**
 * Makes a gray bitmap of another's alpha: 8 bits of 32-bit pixels, 16 bits of 64-bit ones, in storage of its kind.
 * @param pAlpha receives the bitmap. @param pSrc an allocated bitmap, not pAlpha. @param uStructSize size of pAlpha's
 * record.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, or the same one; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_BITS_PER_PIXEL: pixels without alpha; ERROR_INVALID_WIDTH_HEIGHT:
 * BytesPerLine cannot hold Width; ERROR_NO_MEMORY; a failed transfer; the status callback's refusal. After a failure
 * behind the size's check pAlpha is empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_GetBitmapAlpha(BITMAPHANDLE* pAlpha, BITMAPHANDLE* pSrc, uint32_t uStructSize) V_NOEXCEPT;
/**
 * Puts the gray of one bitmap in as another's alpha, first pixel on first pixel, as far as both go. Colours stay.
 * @param pDst a bitmap with alpha. @param pAlpha any bitmap, converted to gray of 8 or 16 bits; may be pDst.
 * @return as V_FillBitmap, for both bitmaps; ERROR_INVALID_BITS_PER_PIXEL: pDst has no alpha; ERROR_INVALID_PARAMETER:
 * perspectives that differ and are none, or a depth and order that do not go together, too; ERROR_INVALID_LUT_LENGTH.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_SetBitmapAlpha(BITMAPHANDLE* pDst, BITMAPHANDLE* pAlpha) V_NOEXCEPT;
/**
 * Gives all pixels one alpha. Colours stay.
 * @param pDst a bitmap with alpha. @param uAlpha 0 to 255 at 32 bits per pixel, 0 to 65535 at 64.
 * @return as V_FillBitmap; ERROR_INVALID_BITS_PER_PIXEL: no alpha; ERROR_INVALID_PARAMETER: more than there is, too.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapAlphaValue(BITMAPHANDLE* pDst, uint32_t uAlpha) V_NOEXCEPT;
/**
 * Multiplies each pixel's colour by its alpha: c a / m, rounded to the nearest, with m the channel's largest value.
 * @param pBitmap a bitmap with alpha.
 * @return as V_FillBitmap; ERROR_INVALID_BITS_PER_PIXEL: no alpha.
 * @remark One thread per bitmap at a time.
 */
V_API int V_PremultiplyBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Divides each pixel's colour by its alpha: c m / a, rounded to the nearest, halves up, and no more than m; 0 where
 * alpha is 0. What V_PremultiplyBitmap rounded off is not brought back.
 * @param pBitmap a bitmap with alpha.
 * @return as V_FillBitmap; ERROR_INVALID_BITS_PER_PIXEL: no alpha.
 * @remark One thread per bitmap at a time.
 */
V_API int V_UnpremultiplyBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Makes the pixels of a rectangle unrecognisable, or brings them back: exact inverses, with the same bits on every
 * system. Hiding and showing may alternate in any order, with rectangles that overlap; when each that was hidden has
 * been shown with its key, the picture is there again.
 *
 * This hides from view and keeps no secret: a key of 32 bits can be tried out, it is used again for every picture, and
 * nothing tells whether pixels were changed since. The bits of row r of the rectangle are exclusive-ored with the
 * stream of ChaCha20 (RFC 8439) whose key is the words {uKey, column, row, width, height of the rectangle, as far as
 * the bitmap has it, bits per pixel, 0, 0} and whose nonce is {r, 0, 0}, from block 0 on. So hiding and showing are the
 * same, and hiding the very same rectangle twice with one key shows it.
 * @param pDst receives a copy of pSrc that is changed so; may be pSrc, which is changed then. @param pSrc an allocated
 * bitmap. @param uStructSize size of pDst's record. @param nCol,nRow first column and row. @param nWidth,nHeight size
 * in pixels; a rectangle that is nowhere in the bitmap changes nothing. @param uKey the key. @param uFlags
 * SCRAMBLE_HIDE or SCRAMBLE_SHOW.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, or other flags; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; a
 * failed transfer; the status callback's refusal. On failure pSrc is as it was, and another pDst is empty but for
 * StructSize when its size was right.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_ScrambleBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, int32_t nCol, int32_t nRow,
                           int32_t nWidth, int32_t nHeight, uint32_t uKey, uint32_t uFlags) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKFILL_H */
