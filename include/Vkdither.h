/**
 * @file Vkdither.h
 * The dithering part of the Vkkrnx interface: rows of any depth to palette indices of 1 to 8 bits. Vkkrnx.h includes
 * it.
 */
#ifndef VKDITHER_H
#define VKDITHER_H

#include "Vkrecord.h"

/** Values of BITMAPHANDLE::DitheringMethod. */
#define DITHER_NONE 0            /**< the nearest colour */
#define DITHER_FLOYD_STEINBERG 1 /**< error diffusion, as all up to DITHER_JARVIS */
#define DITHER_STUCKI 2
#define DITHER_BURKES 3
#define DITHER_SIERRA 4
#define DITHER_STEVENSON_ARCE 5
#define DITHER_JARVIS 6
#define DITHER_ORDERED 7   /**< 8 x 8 thresholds, dispersed */
#define DITHER_CLUSTERED 8 /**< 8 x 8 thresholds, in dots */

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Dithering
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Starts dithering a bitmap's rows with its `DitheringMethod` to the fewest destination bits that number uColors
 * entries; otherwise V_StartDitheringExt without a match table.
 * @remark One thread per bitmap at a time.
 */
V_API int V_StartDithering(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uColors) V_NOEXCEPT;
/**
 * Starts dithering a bitmap's rows with its `DitheringMethod`. The run hangs on `DitherData` and ends with
 * V_StopDithering or V_FreeBitmap; end an earlier run first, it would be lost.
 *
 * A fixed palette, or the 216-colour cube, with all its entries is matched with full channels; any other by the five
 * high bits of each channel, and entries whose reserved byte has bit 0 or 1 set are never chosen.
 * @param pBitmap says width, depth, order, gray range and, for indexed rows, palette; later changes of these are
 * refused by V_DitherLine. @param pPalette uColors entries, copied; null: the fixed palette of the fewest bits that
 * number uColors entries. @param uColors 1 to 256. @param nBitsPerPixel bits of a destination index, 1 to 8.
 * @param pMatchTable 32768 entries as V_CreateUserMatchTable makes them, or null. It needs a palette and stays the
 * caller's, who keeps it until the run ends; entries of 0 are filled in.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, no such method or pixel format, negative width, number of
 * colours or bits out of range or not going together, no palette with a match table, no entry that may be chosen;
 * ERROR_INVALID_STRUCT_SIZE; ERROR_NO_MEMORY. `DitherData` is then as it was.
 * @remark One thread per bitmap at a time; runs on several threads may share a match table.
 */
V_API int V_StartDitheringExt(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uColors, int32_t nBitsPerPixel,
                              uint32_t* pMatchTable) V_NOEXCEPT;
/**
 * Dithers the next row, from the first to the last.
 * @param pBitmap a bitmap with a run started. @param pSrcRow `Width` pixels in the bitmap's format. Wide-gamut rows
 * are converted to BGR where they stand; others are only read. @param pDstRow receives the packed indices, most
 * significant bit first, spare bits of the last byte clear; it may be the source row.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or row, no run, or the bitmap's format or width is not the
 * run's; ERROR_INVALID_STRUCT_SIZE.
 * @remark One thread per bitmap at a time.
 */
V_API int V_DitherLine(BITMAPHANDLE* pBitmap, void* pSrcRow, void* pDstRow) V_NOEXCEPT;
/** Ends a bitmap's run. @return SUCCESS, also without one; ERROR_INVALID_PARAMETER: null record;
 *  ERROR_INVALID_STRUCT_SIZE. @remark One thread per bitmap at a time. */
V_API int V_StopDithering(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Sets the `DitheringMethod` that the calling thread's new bitmaps get. @return SUCCESS; ERROR_INVALID_PARAMETER: no
 *  such method. @remark Affects the calling thread only. */
V_API int V_DefaultDithering(int32_t nMethod) V_NOEXCEPT;
/** @return the method that the calling thread's new bitmaps get: DITHER_FLOYD_STEINBERG unless set.
 *  @remark Reads the calling thread's own setting. */
V_API int32_t V_GetDefaultDithering(void) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKDITHER_H */
