/**
 * @file Vkresample.h
 * The resample part of the Vkkrnx interface: area, bicubic and streaming resamplers. Vkkrnx.h includes it.
 */
#ifndef VKRESAMPLE_H
#define VKRESAMPLE_H

#include "Vkrecord.h"

/** Flags of V_StartResizeBitmap, with the values of the resize flags where there are such. */
#define STREAMFLAG_NEAREST 0x0000u     /**< each pixel is that of the nearest-neighbour resize */
#define STREAMFLAG_AREA 0x0002u        /**< area averaging: for shrinking, or always when no other filter is named */
#define STREAMFLAG_BICUBIC 0x0004u     /**< mode 1: cubic convolution, a = -0.5 */
#define STREAMFLAG_ALTERNATIVE 0x0010u /**< the alternative filter, which is that of STREAMFLAG_SHARP */
#define STREAMFLAG_ALPHAAWARE 0x0020u  /**< accepted; filters always weight colours with their alpha */
#define STREAMFLAG_LINEAR 0x0080u      /**< mode 2: linear interpolation, its support growing with the reduction */
#define STREAMFLAG_SHARP 0x4000u       /**< mode 7: windowed sinc of three lobes */

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Resampling whole bitmaps
 *
 * Each result pixel is a weighted mean of the source pixels around it, in every depth and storage kind. Colours are
 * weighted with their alpha, so that invisible pixels do not colour edges. Gray samples are averaged in their
 * significant bits. Gray ramps and two-colour palettes are averaged by index (two colours: the nearer one); pictures
 * with other palettes in colour, each pixel then getting the palette's nearest entry. The operations report progress
 * through the calling thread's status callback and stop when it asks to.
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Resizes a bitmap by area averaging: each result pixel is the mean of what it covers, rounded to nearest.
 * @param pBitmap replaced on success only. @param nWidth,nHeight the new dimensions; those it has leave it alone.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, a dimension below 1, or a depth and order that do not go
 * together; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: rows that do not
 * hold the width, or a new width too large; ERROR_NO_MEMORY and the other failures of storage; the status callback's
 * refusal.
 * @remark One thread per bitmap at a time.
 */
V_API int V_ResampleBitmap(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight) V_NOEXCEPT;
/**
 * Resizes a bitmap by bicubic interpolation: cubic convolution with a = -0.5, whose support grows with the reduction
 * when a direction shrinks. Results are clamped to the channel's range.
 * Source: R. Keys, Cubic Convolution Interpolation for Digital Image Processing, 1981.
 * @param pBitmap replaced on success only. @param nWidth,nHeight the new dimensions; those it has leave it alone.
 * @return as V_ResampleBitmap.
 * @remark One thread per bitmap at a time.
 */
V_API int V_BicubicResampleBitmap(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight) V_NOEXCEPT;
/**
 * Fills a bitmap with another one, resized by area averaging to its dimensions.
 * @param pSrc the source. @param pDst a different, allocated bitmap of the same depth and order, or of 8 bits for a
 * source of 1 bit, which gives gray levels. Gray samples are brought to its significant range first; 8 bits in gray
 * order go with palettes of 8 bits, as the gray ramp. View perspectives are equal, or top-left and bottom-left, which
 * reverses the rows.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, or bitmaps that do not go together;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: rows that do not hold the
 * width; ERROR_NO_MEMORY and the other failures of storage; the status callback's refusal. The destination's pixels are
 * undefined after a failure.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_IntResampleBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst) V_NOEXCEPT;
/**
 * V_IntResampleBitmap with the filter of V_BicubicResampleBitmap.
 * @param pSrc the source. @param pDst the destination.
 * @return as V_IntResampleBitmap.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_IntBicubicResampleBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Resized rows on demand
 * --------------------------------------------------------------------------------------------------------------- */

/** V_StartResizeBitmap2 without STREAMFLAG_AREA, and with 0 for the last two arguments.
 *  @remark One thread per bitmap at a time, for both bitmaps. */
V_API int V_StartResizeBitmap(BITMAPHANDLE* pBitmap, int32_t nNewWidth, int32_t nNewHeight, int32_t nBitsPerPixel,
                              const RGBQUAD* pPalette, int32_t nOrder, uint32_t uFlags, BITMAPHANDLE* pDstBitmap,
                              void* pUserData, void** ppState) V_NOEXCEPT;
/**
 * Starts handing out the rows of a resized bitmap, in a format of choice.
 *
 * Of several filters named, the first of bicubic, linear and sharp or alternative counts; STREAMFLAG_AREA replaces it
 * where the result is no larger than the source in either direction. Rows of the source's own format keep its values;
 * others are converted, which takes gray tables into account. Outputs of up to 8 bits whose palette may lack colours
 * are dithered with the bitmap's `DitheringMethod`.
 * @param pBitmap the source. It keeps its pixels and format, and stays locked unless it was already, until the stop
 * call. @param nNewWidth,nNewHeight the result's dimensions; one may be 0 and then follows the other.
 * @param nBitsPerPixel depth of the rows, 1 to 8, 12, 16, 24, 32, 48 or 64; 0 means the destination bitmap's format, or
 * 8-bit gray without one. @param pPalette 1 << nBitsPerPixel entries for rows of up to 8 bits, copied; null: the
 * destination bitmap's where it has the depth, else the source's where it has, else the gray ramp for gray sources and
 * the fixed palette for others. @param nOrder COLORORDER_ value; gray at 8 bits means gray levels.
 * @param uFlags STREAMFLAG_ bits; others are ignored. @param pDstBitmap null, or the bitmap the rows are for, whose
 * perspective then gives their order (top-left or bottom-left). Without a source its own rows are resized, and it is
 * what is locked. @param pUserData kept with the state. @param ppState receives the state, to be freed with
 * V_StopResizeBitmap. @param bSourceLocked not 0: the caller holds the lock. @param uReserved not used.
 * @return SUCCESS; ERROR_INVALID_IMAGE: neither bitmap given, or the one that is resized is not allocated;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: null state pointer, dimensions that cannot be completed, a depth
 * and order there are not; ERROR_INVALID_WIDTH_HEIGHT: rows that do not hold the width; ERROR_INVALID_LUT_LENGTH;
 * ERROR_NO_MEMORY; what locking says. The state pointer is only written on success.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_StartResizeBitmap2(BITMAPHANDLE* pBitmap, int32_t nNewWidth, int32_t nNewHeight, int32_t nBitsPerPixel,
                               const RGBQUAD* pPalette, int32_t nOrder, uint32_t uFlags, BITMAPHANDLE* pDstBitmap,
                               void* pUserData, void** ppState, int bSourceLocked, uint32_t uReserved) V_NOEXCEPT;
/**
 * Copies pixels of a resized row. Rows may be asked for in any order; ascending order reads each source row once, and
 * gives dithered rows as dithering the whole picture would. A row out of that order begins the dithering anew.
 * @param pState the state. @param pBuffer receives the pixels, packed from its first bit on; spare bits of the last
 * byte are clear. @param nRow,nCol the first pixel. @param uWidth pixels, all in the row; more than 8192 are copied in
 * pieces of so many, of which a failing one ends the call.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null or foreign state, null buffer, pixels outside of the result;
 * ERROR_NO_MEMORY; the failure of reading the source.
 * @remark One thread per state, and per bitmap it reads, at a time.
 */
V_API int V_GetResizedRowCol(void* pState, void* pBuffer, int32_t nRow, int32_t nCol, uint32_t uWidth) V_NOEXCEPT;
/** Ends a streaming resize: unlocks what the start call locked and frees the state.
 *  @return SUCCESS, or the failure of unlocking; ERROR_NULL_PTR: it had no source bitmap, everything is freed all the
 *  same; ERROR_INVALID_PARAMETER: null or foreign state.
 *  @remark One thread per state, and per bitmap it reads, at a time. */
V_API int V_StopResizeBitmap(void* pState) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKRESAMPLE_H */
