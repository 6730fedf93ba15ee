/**
 * @file Vkcolorres.h
 * A bitmap's depth, colour order or palette changed, and gray scale. Vkkrnx.h includes it.
 *
 * These operations take bitmaps of every storage kind, report progress through the calling thread's status callback and
 * stop when it asks to. One that fails leaves the caller's bitmap as it was.
 */
#ifndef VKCOLORRES_H
#define VKCOLORRES_H

#include "Vkrecord.h"

/** Flags of V_ColorResBitmap: one order, one palette and COLORRES_NODITHER, added up. */
#define COLORRES_ORDER_DEFAULT 0x00u /**< BGR; gray at 12 bits */
#define COLORRES_ORDER_RGB 0x01u
#define COLORRES_ORDER_BGR 0x02u
#define COLORRES_ORDER_GRAY 0x03u /**< 12, 16 and 32 bits; up to 8 bits it means COLORRES_PALETTE_GRAY */
#define COLORRES_ORDER_ROMM 0x06u
#define COLORRES_ORDER_RGB565 0x08u
#define COLORRES_ORDER(order) ((uint32_t)(order) + 1u) /**< the flag of a COLORORDER_ value */
#define COLORRES_ORDER_MASK 0x0Fu
#define COLORRES_PALETTE_DEFAULT 0x00u   /**< the palette passed, the fixed one if there is none */
#define COLORRES_PALETTE_FIXED 0x10u     /**< the fixed palette of the depth */
#define COLORRES_PALETTE_GRAY 0x20u      /**< the gray ramp of the depth; colours become gray first */
#define COLORRES_PALETTE_CUBE 0x30u      /**< the 216-colour cube; 8 bits only */
#define COLORRES_PALETTE_OPTIMIZED 0x40u /**< made for the picture */
#define COLORRES_PALETTE_MASK 0xF0u
#define COLORRES_NODITHER 0x100u /**< each pixel gets the nearest colour */

V_EXTERN_C_BEGIN

/**
 * Changes a bitmap's depth, colour order or palette.
 *
 * Reduction to up to 8 bits dithers with the bitmap's DitheringMethod (and the thread's match table, when a palette is
 * passed); COLORRES_NODITHER, the method DITHER_NONE, and palettes that lose nothing give each pixel its nearest entry,
 * and so do pixels outside the bitmap's region: they have to change too, but are not dithered.
 * Otherwise pixels are converted as V_ConvertBufferExt3 does: gray samples by their LowBit and HighBit, or through LUT
 * (or LUT16) where BITMAPFLAG_USELUT is set; a transparent colour becomes clear alpha at 32 and 64 bits, and an index
 * in a palette. Gray results use all their bits and get MinVal and MaxVal.
 * @param pSrc an allocated bitmap. @param pDst receives the result, in storage of the source's kind and with all parts
 * that its format can have; null or pSrc: the source is replaced. @param uStructSize size of pDst's record, not used
 * without one. @param nBitsPerPixel the new depth; 0 means 8 with a gray ramp. @param uFlags COLORRES_ flags.
 * @param pPalette uColors entries, or null. @param hPalette used when pPalette is null; or null.
 * @param uColors entries of the palette passed (0: 1 << nBitsPerPixel, or all that hPalette has), or most colours of an
 * optimized one (2 to 256; 0: 1 << nBitsPerPixel). Otherwise not used.
 * @return SUCCESS, also when nothing changes; ERROR_INVALID_PARAMETER: null record, unknown flags, an order the depth
 * cannot have, a number of colours it cannot index, or a bad palette object; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_BITS_PER_PIXEL; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot
 * hold Width; ERROR_INVALID_LUT_LENGTH: LUT is too short; ERROR_NO_MEMORY; a failed transfer; the status callback's
 * refusal. On failure the source is as it was, and a second record empty but for StructSize.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_ColorResBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst, uint32_t uStructSize, int32_t nBitsPerPixel,
                           uint32_t uFlags, const RGBQUAD* pPalette, HPALETTE hPalette, uint32_t uColors) V_NOEXCEPT;

/**
 * Makes a bitmap gray: 8 bits with a gray ramp, or gray samples of 12 or 16 bits.
 * @param nBitsPerPixel 8, 12 or 16; 0 means 8.
 * @return as V_ColorResBitmap; ERROR_INVALID_BITS_PER_PIXEL: another depth.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GrayScaleBitmap(BITMAPHANDLE* pBitmap, int32_t nBitsPerPixel) V_NOEXCEPT;

/** V_GrayScaleBitmap into a second record. @remark One thread per bitmap at a time, for both bitmaps. */
V_API int V_CreateGrayScaleBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize,
                                  int32_t nBitsPerPixel) V_NOEXCEPT;

/**
 * Tells whether a bitmap is gray. A ramp's entries are equally spaced (one off at most), all 1 << depth of them.
 * @return 0: no, or a null record or one of wrong size; 1: indices of a ramp from black to white, or 8-bit gray levels;
 * 2: indices of a ramp from white to black; 3: gray samples of more than 8 bits.
 * @remark One thread per bitmap at a time.
 */
V_API int V_IntIsGrayScaleBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Tells which bits of a gray sample count: the value is (sample >> shift) & mask. LowBit and HighBit are cut to the
 * sample; a negative HighBit means the sample's highest bit. Each out pointer may be null.
 * @param puMask receives the mask. @param pnShift receives the shift. @param pnBits receives the number of bits.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_BITS_PER_PIXEL:
 * pixels of more than 32 bits, which are not gray samples.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetGrayParams(BITMAPHANDLE* pBitmap, uint32_t* puMask, int32_t* pnShift, int32_t* pnBits) V_NOEXCEPT;

/**
 * Counts the different colours that a bitmap's pixels have. Palette indices count as the colours that they stand for,
 * two entries of one colour once, and gray levels of 8 bits by their level, whatever palette there is. Deep gray
 * samples count by their significant bits (LowBit to HighBit), a look-up table not being looked at; 16-bit colours by
 * what is in their fields, padding left out; alpha is part of a colour at 32 and 64 bits. The count is exact at every
 * depth; memory is bounded: 2 MiB up to 24 bits, at most some 64 MiB beyond, the bitmap being read several times where
 * that is not enough. Reports progress.
 * @param pBitmap an allocated bitmap. @param puColors receives the number.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or pointer; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not
 * allocated; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_NO_MEMORY; a failed access or transfer;
 * the status callback's refusal. On failure the number is not written.
 * @remark One thread per bitmap at a time.
 */
V_API int V_CountBitmapColors(BITMAPHANDLE* pBitmap, uint64_t* puColors) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKCOLORRES_H */
