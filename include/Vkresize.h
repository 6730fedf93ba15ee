/**
 * @file Vkresize.h
 * The resize part of the Vkkrnx interface: changing the pixel dimensions of bitmaps and rows. Vkkrnx.h includes it.
 *
 * One stepping rule holds wherever pixels are replicated or dropped: of D destination positions on S source positions,
 * position i takes source position floor(i * S / D). The first takes the first; nothing is rounded to the nearest.
 */
#ifndef VKRESIZE_H
#define VKRESIZE_H

#include "Vkrecord.h"

/** How a bitmap is resized; the flags combine. */
#define SIZEFLAG_NORMAL 0u       /**< replicate or drop pixels and rows */
#define SIZEFLAG_FAVORBLACK 1u   /**< 1 bit: black where enough of the source block is black, so that thin lines stay */
#define SIZEFLAG_RESAMPLE 2u     /**< area resampling */
#define SIZEFLAG_BICUBIC 4u      /**< bicubic where either side grows, else area resampling */
#define SIZEFLAG_SCALETOGRAY 8u  /**< resample to 8-bit gray; meant for 1 bit */
#define SIZEFLAG_ALTRESAMPLE 16u /**< the alternative resampling filter */
#define SIZEFLAG_ALPHAAWARE 32u  /**< 32 and 64 bits: keeps the colour of invisible pixels out of the edges */

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Whole bitmaps
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Resizes a bitmap. The record is replaced when all is done; on failure it is as it was.
 *
 * SIZEFLAG_ALPHAAWARE comes first: where a pixel of 32 or 64 bits has an alpha below 2, the colours of pixels with an
 * alpha below half are drawn from visible neighbours, horizontally unless the width shrinks, vertically unless the
 * height does; alpha itself stays. Then SIZEFLAG_ALTRESAMPLE, SIZEFLAG_RESAMPLE and SIZEFLAG_BICUBIC choose a filter,
 * in this order. SIZEFLAG_FAVORBLACK and SIZEFLAG_SCALETOGRAY take a 1-bit bitmap out of SIZEFLAG_RESAMPLE when its
 * palette is gray, and are dropped when it is not; SIZEFLAG_SCALETOGRAY wins over SIZEFLAG_FAVORBLACK. The storage
 * stays of its kind, the region goes through the ScaleRegion hook, everything else that hangs on the record stays.
 * @param pBitmap an allocated bitmap. @param nWidth,nHeight the new size. @param uFlags SIZEFLAG_ bits.
 * @return SUCCESS, also when the size is as asked for already; ERROR_INVALID_PARAMETER: null record or one without
 * storage, size of 0 or less; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width, or
 * the new rows cannot be stated; ERROR_MEMORY_TOO_LARGE: too big for an earlier record; ERROR_NO_MEMORY; a failed
 * transfer; the refusal of the status callback or of the ScaleRegion hook.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SizeBitmap(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight, uint32_t uFlags) V_NOEXCEPT;

/**
 * Fills an allocated bitmap with another one resized to its width and height, in its depth and view perspective.
 *
 * The source is only read. At another depth it is brought to the destination's first, as V_ColorResBitmap does, with
 * the destination's palette or order; with SIZEFLAG_SCALETOGRAY and a destination of more than 1 bit the flags then
 * count as SIZEFLAG_RESAMPLE alone. At the same depth pixels are taken as they are, whatever the palettes and orders,
 * unless the destination is gray: samples are always brought to its LowBit and HighBit, and what is no gray ramp
 * becomes gray in 8-bit gray order. MinVal and MaxVal of a gray destination are those of its pixels, or the source's. A
 * region of the destination that is not the source's is scaled to the destination's size by the ScaleRegion hook, and
 * the source's overlays are copied to the destination's slots.
 * @param pSrc,pDst allocated bitmaps. @param uFlags as for V_IntResizeBitmap, and SIZEFLAG_SCALETOGRAY.
 * @return as V_IntResizeBitmap; the codes of V_ColorResBitmap and V_ChangeBitmapViewPerspective for what is brought
 * together; the hook's refusal.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_ResizeBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst, uint32_t uFlags) V_NOEXCEPT;

/**
 * V_ResizeBitmap without conversions, regions and overlays: stored pixels to stored pixels.
 *
 * Rows are stored in the same order when the view perspectives are equal and in reverse order otherwise, which is right
 * for top-left and bottom-left; other pairs are for the caller to bring together.
 * @param pSrc,pDst allocated bitmaps of the same depth; 1 bit to 8-bit gray is resampled whatever the flags. Gray
 * samples are brought to the destination's significant range.
 * @param uFlags the first of these that applies: SIZEFLAG_FAVORBLACK at 1 bit, SIZEFLAG_ALTRESAMPLE, SIZEFLAG_RESAMPLE,
 * SIZEFLAG_BICUBIC; otherwise pixels and rows are replicated or dropped. Other bits have no effect.
 *
 * Favour black: with bx = max(1, old width / new width), by likewise and N = bx * by, a pixel is black when at least T
 * of the N source pixels from its source position on, in displayed rows, are black. T is 1 below N = 4; else, s being
 * the integer square root of N: 1 for s = 2, s - 1 for s of 3 and 4, s above. Black is index 1 of an inverted gray
 * palette, else 0.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated;
 * ERROR_INVALID_WIDTH_HEIGHT: BytesPerLine cannot hold Width; ERROR_INVALID_BITS_PER_PIXEL: depths differ;
 * ERROR_NO_MEMORY; a failed transfer; the status callback's refusal. After a failure the destination's pixels may be
 * changed in part.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_IntResizeBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst, uint32_t uFlags) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Row by row, for those who read or write files
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Starts resizing rows as they come.
 * @param nOldWidth,nOldHeight size of the picture whose rows come. @param nNewWidth,nNewHeight size wanted; one of them
 * may be 0 and is then computed to keep the proportions: max(a, b) / c * min(a, b) in double precision, truncated,
 * where a is the old side, b the other new side and c the other old side. @param ppState receives the state, to be
 * freed with V_StopResize; null after a failure.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer, negative sizes, an old side of 0, both new sides 0, or a
 * computed side of 0 or too large; ERROR_NO_MEMORY.
 * @remark Thread-safe.
 */
V_API int V_StartResize(int32_t nOldWidth, int32_t nOldHeight, int32_t nNewWidth, int32_t nNewHeight,
                        void** ppState) V_NOEXCEPT;
/**
 * Resizes a row in place and tells how many times to emit it. Row n is emitted floor((n + 1) * new / old) -
 * floor(n * new / old) times; rows may come in any order, also more than once.
 * @param pRow the row, with room for the wider of the two; untouched when it is not emitted, or when the size stays.
 * @param nRow its number from 0 on. @param nBitsPerPixel 1 to 64, as for V_GetResizedScanLine.
 * @param pnNewWidth receives the new width; may be null. @param pnCopies receives the result.
 * @param pState from V_StartResize.
 * @return how often the row is to be emitted, 0 for never; ERROR_INVALID_PARAMETER: another null pointer, or, where the
 * size changes, a row or depth there is none of.
 * @remark One thread per state at a time.
 */
V_API int V_Resize(void* pRow, int32_t nRow, int32_t nBitsPerPixel, int32_t* pnNewWidth, int32_t* pnCopies,
                   void* pState) V_NOEXCEPT;
/** Frees what V_StartResize made. @return SUCCESS; ERROR_INVALID_PARAMETER: null.
 *  @remark One thread per state at a time. */
V_API int V_StopResize(void* pState) V_NOEXCEPT;

/**
 * Resizes part of a row, walking from its start.
 *
 * With a = nAccumulator and p = nStartX at first, each destination pixel takes source pixel p; then a grows by
 * nXRemainder, p by nXQuotient unless bEnlarge is set, and where a has reached nDenominator that is taken off a and p
 * grows by one more. For a whole row of D pixels from S: nXQuotient = S / D, nXRemainder = S % D, nDenominator = D; for
 * D = S, 0 and D with bEnlarge set.
 *
 * Depths of 8, 16, 24 ... bits are whole bytes, 12 bits pair up in three bytes, low byte first, and all others are one
 * stream of bits, most significant first. At 1, 2, 3 and 5 bits the destination's bytes are clear behind the pixels; at
 * other depths all other bits stay. The buffers may be the same where no pixel moves to a later place.
 * @param nBitsPerPixel 1 to 64. @param uDstBytes bytes of the destination. @param nStartX,nXQuotient,nAccumulator,
 * nXRemainder as above, from 0 on. @param pSrc,pDst the buffers. @param nCount destination pixels. @param nDenominator
 * above 0. @param bEnlarge not 0: nXQuotient does not count. With null buffers or values there are none of, nothing is
 * done.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API void V_GetResizedScanLine(int32_t nBitsPerPixel, uint32_t uDstBytes, int32_t nStartX, int32_t nXQuotient,
                                int32_t nAccumulator, int32_t nXRemainder, const void* pSrc, void* pDst, int32_t nCount,
                                int32_t nDenominator, int bEnlarge) V_NOEXCEPT;
/** V_GetResizedScanLine, walking from the row's end, with the same result. The buffers may be the same where no pixel
 *  moves to an earlier place. @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API void V_ReverseGetResizedScanLine(int32_t nBitsPerPixel, uint32_t uDstBytes, int32_t nStartX, int32_t nXQuotient,
                                       int32_t nAccumulator, int32_t nXRemainder, const void* pSrc, void* pDst,
                                       int32_t nCount, int32_t nDenominator, int bEnlarge) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKRESIZE_H */
