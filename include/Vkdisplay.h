/**
 * @file Vkdisplay.h
 * How a bitmap looks on a display. Vkkrnx.h includes it.
 *
 * What is shown of a pixel is, in this order: its colour; for gray samples (12, 16 or 32 bits, or 8 bits in gray order
 * or with a gray ramp) that of the look-up table in use (BITMAPFLAG_USELUT), and without one the level of its
 * significant bits (LowBit to HighBit, of those the ones from PaintLowBit to PaintHighBit) from black to white; then
 * contrast, intensity and gamma, through the paint tables in use (BITMAPFLAG_USEPAINTLUT): PaintLUT16 for the channels
 * of 48- and 64-bit pixels where there is one, else PaintLUT for channels of 8 bits; then the visible overlays, the
 * highest slot on top. The picture is scaled as it is stored, and stands upright: ViewPerspective is undone, so that
 * the result's is TOP_LEFT. Regions say what may be changed, not what is shown.
 */
#ifndef VKDISPLAY_H
#define VKDISPLAY_H

#include "Vkrecord.h"

/** How pixels are taken where the size changes. */
#define RENDER_NEAREST 0x00u /**< each shown pixel is one of the picture's: of N on M, the i-th is floor(i * M / N) */
#define RENDER_AREA 0x01u    /**< the mean of what a shown pixel covers, as by V_SizeBitmap with SIZEFLAG_RESAMPLE */
#define RENDER_CUBIC 0x02u   /**< cubic convolution, as by V_BicubicResampleBitmap */
/** 32 bits with alpha instead of 24: the picture's own, 0 for its transparent colour where it has that and no alpha,
 *  and 255 for all else, overlays included. Filters weight colours with it. At 24 bits alpha does not count. */
#define RENDER_32BITS 0x10u

V_EXTERN_C_BEGIN

/**
 * Sets how a bitmap is shown: fills its paint tables, sets its paint fields and BITMAPFLAG_USEPAINTLUT. Its pixels
 * stay.
 *
 * With a table from 0 to M (255 or 65535), entry v, contrast c, intensity i and gamma g:
 *  - f = (1000 + c) / 1000 for c < 0, else 1000 / (1000 - c); for c = 1000 what is below the middle goes to 0, and what
 *    is above it to 1;
 *  - a = 1/2 + (v / M - 1/2) f + i / 1000, cut to 0 to 1, without rounding;
 *  - the entry is M a^(100 / g), the nearest whole number, halves up; the same on every system.
 * Contrast 0, intensity 0 and gamma 100 change nothing.
 *
 * @param pBitmap an allocated bitmap; an earlier record has PaintLUT alone. @param nContrast,nIntensity -1000 to 1000.
 * @param nGamma 1 to 10000.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, or a number outside its range; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_NO_MEMORY. On failure the record is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapPaint(BITMAPHANDLE* pBitmap, int32_t nContrast, int32_t nIntensity, int32_t nGamma) V_NOEXCEPT;
/**
 * Makes a bitmap of what a viewer shows of another: 24 bits in BGR order, or 32 (RENDER_32BITS). Only the rows and
 * columns that are shown are read, and nothing of their number is held in memory. Reports progress.
 * @param pDst receives the bitmap, in storage as TYPE_CONV takes it, with nothing hanging on it; what the record held
 * is forgotten. Null or pSrc: the source is replaced, and all that hangs on it freed. @param pSrc an allocated bitmap.
 * @param uStructSize size of pDst's record, not used without one.
 * @param pSrcRect the stored pixels to show, cut to the bitmap; null: all. Where it leaves nothing, pDst is empty but
 * for StructSize, or the source as it was. @param nWidth,nHeight the size shown, upright; 0: that of the pixels.
 * @param uFlags RENDER_ flags.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pSrc, other flags, or a negative size; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_WIDTH_HEIGHT: the source has no pixels or BytesPerLine cannot hold
 * Width, or a row of the size asked for is too long for a bitmap; ERROR_INVALID_LUT_LENGTH: the look-up table has not
 * an entry for each value; ERROR_NO_MEMORY; a failed access or transfer; the status callback's refusal. On failure the
 * source is as it was, and a second record empty but for StructSize, unless the pointers or uStructSize are to blame.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API int V_RenderBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, const RECT* pSrcRect,
                         int32_t nWidth, int32_t nHeight, uint32_t uFlags) V_NOEXCEPT;

#if defined(_WIN32)
/**
 * Makes a device context to draw into a bitmap with, as large as the bitmap is shown and upright, with its colours:
 * those of its palette up to 8 bits per pixel, else 32 bits; gray by its significant bits, without tables. What is
 * drawn stands in the context until V_ReleaseBitmapDC brings it to the bitmap. The region does not limit it; the
 * context's own clip region may. Windows only.
 * @param pBitmap an allocated bitmap, which keeps its size, depth, order, palette and perspective meanwhile.
 * @return the context; null when the record is none, has no pixels or a depth and order that there is not, or without
 * memory.
 * @remark One thread per bitmap at a time; a context is for the thread that made it.
 */
V_API HDC V_CreateBitmapDC(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Brings what was drawn into a context to the bitmap's pixels, in the bitmap's own form: colours take the nearest entry
 * of its palette, or its gray, and are opaque where there is alpha. Pixels that the context does not show another
 * colour of stay as they are, to the bit. Then frees the context, with what the library selected into it. Windows only.
 * @param pBitmap the bitmap; null: what was drawn is dropped. @param hDC the context.
 * @return SUCCESS; ERROR_INVALID_HANDLE: no context of V_CreateBitmapDC; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: not allocated; ERROR_INVALID_PARAMETER: another size, depth or perspective than that of the
 * bitmap when the context was made; in all these cases the context is still there. It is gone with ERROR_NO_MEMORY or a
 * failed access or transfer: then rows up to some row are brought over.
 * @remark One thread per bitmap at a time; by the thread that made the context.
 */
V_API int V_ReleaseBitmapDC(BITMAPHANDLE* pBitmap, HDC hDC) V_NOEXCEPT;
/**
 * Paints a bitmap to a device context as V_RenderBitmap shows it: no more of it is made than lies in the clip rectangle
 * and in what the context can show. On a context that shows a palette (a display, or a bitmap with a colour table) it
 * is dithered to that, with the bitmap's DitheringMethod. Windows only.
 * @param hDC the context. @param pBitmap an allocated bitmap. @param pSrc the stored pixels to show, cut to the bitmap;
 * null: all. @param pClip what may be painted, in the context's coordinates; null: everything.
 * @param pDst where the stored pixels go, in the context's coordinates, each unit a pixel; null: to 0, 0, in their
 * size.
 * @param uFlags RENDER_NEAREST, RENDER_AREA or RENDER_CUBIC.
 * @return SUCCESS, also when nothing is to be seen; as V_RenderBitmap; ERROR_INVALID_HANDLE: no context;
 * ERROR_INVALID_PARAMETER: also a right or bottom in front of the left or top. On failure some of it may be painted.
 * @remark One thread per bitmap at a time, and per context.
 */
V_API int V_PaintBitmap(HDC hDC, BITMAPHANDLE* pBitmap, const RECT* pSrc, const RECT* pClip, const RECT* pDst,
                        uint32_t uFlags) V_NOEXCEPT;
/**
 * Makes a bitmap of what a device context shows: 24 bits in BGR order, TOP_LEFT. Windows only.
 * @param pBitmap receives the bitmap; what the record held is forgotten. @param uStructSize size of that record.
 * @param hDC the context. @param nLeft,nTop,nWidth,nHeight what is taken, in the context's coordinates; what lies
 * outside of the context is black.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_WIDTH_HEIGHT: a size
 * below 1, or a row too long for a bitmap; ERROR_INVALID_HANDLE: no context, or one that cannot be read;
 * ERROR_NO_MEMORY; a failed transfer; the status callback's refusal. After a failure behind the size's check the record
 * is empty but for StructSize.
 * @remark One thread per bitmap at a time, and per context.
 */
V_API int V_GetBitmapFromDC(BITMAPHANDLE* pBitmap, uint32_t uStructSize, HDC hDC, int32_t nLeft, int32_t nTop,
                            int32_t nWidth, int32_t nHeight) V_NOEXCEPT;
#endif

V_EXTERN_C_END

#endif /* VKDISPLAY_H */
