/**
 * @file Vkconvert.h
 * Pixel buffers converted from one format to another. Vkkrnx.h includes it.
 */
#ifndef VKCONVERT_H
#define VKCONVERT_H

#include "Vkrecord.h"

/** Flags of V_ConvertBufferExt and its kin. */
#define CVT_SRC_GRAY 0x01u          /**< source samples are gray; follows the source order */
#define CVT_DST_GRAY 0x02u          /**< destination samples are gray; follows the destination order */
#define CVT_SRC_USE_BITS 0x04u      /**< only bits nLowBit to nHighBit of a gray source sample count */
#define CVT_DST_USE_BITS 0x08u      /**< gray destination samples are written into bits nLowBit to nHighBit */
#define CVT_TRANSPARENT_COLOR 0x80u /**< 32 and 64 bits: alpha is 0 for the transparent colour, else full */

V_EXTERN_C_BEGIN

/**
 * Converts a run of pixels in place from one format to another.
 *
 * Depths are 0 (8-bit gray), 1 to 8 (palette indices, packed from the most significant bit on; 8 bits in gray order are
 * gray levels), 12 (gray, two pixels in three bytes), 16 (gray, 5-5-5 or 5-6-5), 24, 32 (colour and alpha, or gray), 48
 * and 64. Gray order is for depths that can be gray, wide gamut for 24 and 48 bits, 5-6-5 for 16 and, without effect,
 * for up to 8. In a row that changes, bits of the last byte that no pixel needs become clear.
 * @param pBuffer the pixels; room for the wider of the two rows (V_CalcConvertSize). @param nWidth pixels.
 * @param nBitsPerPixelSrc,nBitsPerPixelDst depths. @param nOrderSrc,nOrderDst COLORORDER_ values.
 * @param pPaletteSrc,pPaletteDst 1 << depth entries for depths 1 to 8; null means the fixed palette.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null buffer, width of 0 or less, a depth or order there is none of or that
 * do not go together. The buffer is then as it was.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_ConvertBuffer(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                          int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc,
                          const RGBQUAD* pPaletteDst) V_NOEXCEPT;

/**
 * V_ConvertBuffer with flags.
 * @param uFlags CVT_ bits. @param nLowBit,nHighBit the significant bits of gray samples for CVT_SRC_USE_BITS or
 * CVT_DST_USE_BITS (12, 16 and 32 bits); a negative high bit means the depth's highest.
 * @return also ERROR_INVALID_PARAMETER: both ranges at once, a destination range without gray order, or an empty one.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_ConvertBufferExt(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                             int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc,
                             const RGBQUAD* pPaletteDst, uint32_t uFlags, int32_t nLowBit, int32_t nHighBit) V_NOEXCEPT;

/**
 * V_ConvertBufferExt with a palette of 16-bit channels for gray sources.
 * @param pPaletteSrc16 an entry for every value of a 12- or 16-bit gray sample's significant bits, or null; the entry's
 * high bytes are matched when the destination is indexed. @param pReserved not used.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_ConvertBufferExt2(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                              int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc,
                              const RGBQUAD* pPaletteDst, const V_RGBQUAD16* pPaletteSrc16, void* pReserved,
                              uint32_t uFlags, int32_t nLowBit, int32_t nHighBit) V_NOEXCEPT;

/**
 * V_ConvertBufferExt2 with a transparent colour.
 * @param crTransparent for CVT_TRANSPARENT_COLOR: a colour, or 0x01 in the top byte and a palette index in the low one,
 * which only indexed sources can match.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_ConvertBufferExt3(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                              int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc,
                              const RGBQUAD* pPaletteDst, const V_RGBQUAD16* pPaletteSrc16, void* pReserved,
                              uint32_t uFlags, int32_t nLowBit, int32_t nHighBit, COLORREF crTransparent) V_NOEXCEPT;

/** @return the bytes a buffer needs for a conversion between the two formats and widths; ERROR_INVALID_PARAMETER: a
 *  negative argument, or more bytes than the result can tell. A depth of 0 counts as 8. @remark Thread-safe. */
V_API int32_t V_CalcConvertSize(int32_t nWidthSrc, int32_t nBitsPerPixelSrc, int32_t nWidthDst,
                                int32_t nBitsPerPixelDst) V_NOEXCEPT;

/**
 * Keeps gray samples inside a margin of their significant bits; other bits stay.
 * @param pBuffer uCount 16-bit samples. @param nBitsPerPixel 16. @param nHighBit,nLowBit the significant bits; a high
 * bit above 15 counts as 1. @param nMargin distance to keep from the range's ends, at most a quarter of it.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null buffer or other depth.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_PadPixelData(void* pBuffer, int32_t nBitsPerPixel, uint32_t uCount, int32_t nHighBit, int32_t nLowBit,
                         int32_t nMargin) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKCONVERT_H */
