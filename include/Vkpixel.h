/**
 * @file Vkpixel.h
 * Single pixels of bitmaps, as bytes and as colours. Vkkrnx.h includes it.
 */
#ifndef VKPIXEL_H
#define VKPIXEL_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/**
 * Reads the bytes that hold one pixel: ((c + 1) * bits + 7) / 8 - (c * bits) / 8 of them. Below 8 bits they hold
 * neighbouring pixels too.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null or unallocated bitmap, or null buffer; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_PARAMETER: uBufferSize is too small; ERROR_NO_MEMORY: the bytes could not be moved.
 * @remark One thread per bitmap at a time.
 */
V_API int V_GetPixelData(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                         size_t uBufferSize) V_NOEXCEPT;

/** Writes the bytes that hold one pixel; as V_GetPixelData. @remark One thread per bitmap at a time. */
V_API int V_PutPixelData(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                         size_t uBufferSize) V_NOEXCEPT;

/**
 * Reads one pixel as a colour value; accesses and releases the bitmap itself. An index without a palette is given in
 * all three channels, gray samples deeper than 8 bits as the top 8 bits of their significant range.
 * @return the colour, or 0x80000000: null or unallocated bitmap, wrong record size, position outside the bitmap, 32-bit
 * gray, failed access.
 * @remark One thread per bitmap at a time.
 */
V_API COLORREF V_GetPixelColor(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t nCol) V_NOEXCEPT;

/**
 * Writes one pixel from a colour value (0x01 in the top byte: a palette index; 0x04: a gray level in bits 8-15); the
 * nearest palette entry at up to 8 bits. Accesses and releases the bitmap itself.
 * @return SUCCESS; ERROR_INVALID_IMAGE: null or unallocated bitmap; ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER:
 * position outside the bitmap, index the depth cannot hold, index for a bitmap deeper than 8 bits, or 32-bit gray; a
 * failed access or transfer.
 * @remark One thread per bitmap at a time.
 */
V_API int V_PutPixelColor(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t nCol, COLORREF crColor) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKPIXEL_H */
