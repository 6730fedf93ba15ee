/**
 * @file Vkrotate.h
 * The rotation part of the Vkkrnx interface: turning bitmaps by any angle. Vkkrnx.h includes it.
 */
#ifndef VKROTATE_H
#define VKROTATE_H

#include "Vkrecord.h"

/** Flags of V_RotateBitmap and V_IntRotateBitmap; other bits are ignored. */
#define ROTATEFLAG_GROW 0x01u     /**< the canvas grows to hold the whole turned image */
#define ROTATEFLAG_RESAMPLE 0x02u /**< pixels are interpolated between the four nearest ones */
#define ROTATEFLAG_BICUBIC 0x04u  /**< pixels are interpolated among sixteen; goes before ROTATEFLAG_RESAMPLE */
#define ROTATEFLAG_CENTER 0x08u   /**< about the centre that is passed; the canvas grows too */

V_EXTERN_C_BEGIN

/** @return 16384 times the sine of an angle, rounded. @param nAngle hundredths of a degree, 0 to 36000; others are not
 *  allowed, and not checked. @remark Thread-safe. */
V_API int V_SinValue(int32_t nAngle) V_NOEXCEPT;
/** @return 16384 times the cosine of an angle, rounded. @param nAngle as for V_SinValue. @remark Thread-safe. */
V_API int V_CosValue(int32_t nAngle) V_NOEXCEPT;

/**
 * Turns a bitmap about its middle: V_IntRotateBitmap with progress from 0 to 100.
 * @param pBitmap the bitmap. @param nAngle hundredths of a degree; positive angles turn the displayed image clockwise.
 * @param uFlags ROTATEFLAG_ bits. @param crFill colour of what the turned image does not cover.
 * @return as V_IntRotateBitmap, and ERROR_INVALID_STRUCT_SIZE before anything else for a record of neither size.
 * @remark One thread per bitmap at a time.
 */
V_API int V_RotateBitmap(BITMAPHANDLE* pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill) V_NOEXCEPT;
/**
 * Turns a bitmap.
 *
 * The canvas keeps its size, or with ROTATEFLAG_GROW or ROTATEFLAG_CENTER takes that of the box around the turned
 * image: trunc(extent + 0.6) pixels each way. A pixel of the canvas takes the pixel of the image whose square its
 * centre falls into (a centre on the edge between two belongs to the one nearer to the first row or column), measured
 * from the middles of canvas and image, or with ROTATEFLAG_CENTER from the box's smallest corner. Half turns, and
 * quarter turns of square bitmaps or with ROTATEFLAG_GROW, move every pixel.
 *
 * With ROTATEFLAG_RESAMPLE or ROTATEFLAG_BICUBIC colours are interpolated, linearly or with the cubic convolution
 * kernel of parameter -1/2, and at the image's edge with the fill colour. Colours count by their alpha where there is
 * one. Gray samples are interpolated in their significant bits. An interpolated colour of an indexed bitmap becomes the
 * nearest entry of its palette; a 1-bit one the entry that has the larger part.
 *
 * The view perspective becomes 1 or 4 and what it said is done to the pixels, also by an angle of 0. Half turns, and
 * quarter turns that move every pixel, take overlays and resolutions along and leave compressed bitmaps compressed.
 * Other turns take overlays along by the nearest pixel, and make compressed bitmaps uncompressed.
 * @param pBitmap the bitmap. @param nAngle hundredths of a degree; positive angles turn the displayed image clockwise.
 * @param uFlags ROTATEFLAG_ bits.
 * @param crFill colour of what the turned image does not cover: 0x01 in the top byte and a palette index in the low
 * bits, 0x04 and a gray level in bits 8 to 15, or a colour, which indexed bitmaps take from their palette's nearest
 * entry. Its alpha is 0.
 * @param nProgressStart,nProgressEnd percentages for the status callback.
 * @param dCenterX,dCenterY the centre for ROTATEFLAG_CENTER, in stored pixels. The canvas goes where the image goes, so
 * the pixels do not depend on it.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null or no storage; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_WIDTH_HEIGHT: rows
 * that do not hold the width, or a canvas too large to describe; what an allocation, a row transfer or the status
 * callback says. After a failure the bitmap is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_IntRotateBitmap(BITMAPHANDLE* pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill,
                            int32_t nProgressStart, int32_t nProgressEnd, double dCenterX, double dCenterY) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKROTATE_H */
