/**
 * @file Vkruns.h
 * Rows of 1-bit pixels in memory, to and from their run-length form. Vkkrnx.h includes it.
 *
 * A compressed row is a 32-bit count N and N 16-bit run lengths, little-endian: clear pixels, set pixels, clear pixels
 * and so on, 4 + 2N bytes. A run that would pass 65535 is closed and continued behind a run of length 0.
 */
#ifndef VKRUNS_H
#define VKRUNS_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/**
 * Compresses a run of 1-bit pixels.
 * @param pDst receives the row; 4 + 2 * (nPixels + 1 + 2 * (nPixels / 65528)) bytes always suffice.
 * @param pSrc 1-bit pixels, most significant bit first; only read. @param nBitOffset the first pixel's bit, modulo 8.
 * @param nPixels pixels. @return nPixels; ERROR_INVALID_PARAMETER: null pointer or negative number.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_CompressRow(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels) V_NOEXCEPT;

/**
 * Expands part of a compressed row; what the run words do not cover is clear.
 * @param pSrc the row; no more than its 4 + 2N bytes are read. @param pDst receives (nPixels + 7) / 8 bytes.
 * @param nStart first pixel. @param nPixels pixels.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or negative number.
 * @remark Thread-safe; a buffer belongs to one thread at a time.
 */
V_API int V_ExpandRow(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels) V_NOEXCEPT;

/** Compresses nRows rows that lie uSrcStride bytes apart into compressed rows that lie back to back.
 *  @return nPixels; ERROR_INVALID_PARAMETER: null pointer or negative number.
 *  @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_CompressRows(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels, int32_t nRows,
                         size_t uSrcStride) V_NOEXCEPT;

/** Expands nRows compressed rows that lie back to back into rows that lie uDstStride bytes apart.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer or negative number.
 *  @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_ExpandRows(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels, int32_t nRows,
                       size_t uDstStride) V_NOEXCEPT;

/** Mirrors a compressed row of nPixels pixels in place. A row that ends with set pixels grows by one run word (2
 * bytes), for which the buffer has room. Pixels its runs do not cover count as clear. @return SUCCESS;
 * ERROR_INVALID_PARAMETER: null, negative, or so many pixels not covered that the row would need more room.
 * @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_MirrorCompressedBuffer(void* pBuffer, int32_t nPixels) V_NOEXCEPT;

/** Reverses the order of nRows compressed rows that lie back to back, in place.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null or negative.
 *  @remark Thread-safe; a buffer belongs to one thread at a time. */
V_API int V_FlipCompressedBuffer(void* pBuffer, int32_t nRows) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKRUNS_H */
