/**
 * @file Vkrows.h
 * Access to bitmaps and their rows, by row, by row and column, by segments and in run-length form. Vkkrnx.h includes
 * it.
 */
#ifndef VKROWS_H
#define VKROWS_H

#include "Vkrecord.h"

/** A run of pixels within a row. */
typedef struct ROWSEGMENT {
    int32_t nCol;   /**< first pixel */
    int32_t nWidth; /**< pixels; 0 is an empty segment */
} ROWSEGMENT;

V_EXTERN_C_BEGIN

/**
 * Locks a bitmap for row access; calls nest. The first lock makes `Data` of a Global bitmap valid.
 * @return SUCCESS; ERROR_NULL_PTR: null record; ERROR_NO_MEMORY: the block cannot be locked; the result of an
 * AccessBitmapCallback that refused. On failure the lock count is as it was.
 * @remark One thread per bitmap at a time.
 */
V_API int V_AccessBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Takes one lock off a bitmap. @return SUCCESS; ERROR_NULL_PTR; ERROR_INVALID_STRUCT_SIZE; the result of a failing
 * ReleaseBitmapCallback (the lock is off all the same).
 * @remark One thread per bitmap at a time.
 */
V_API int V_ReleaseBitmap(BITMAPHANDLE* pBitmap) V_NOEXCEPT;

/**
 * Copies bytes of stored rows into a buffer.
 *
 * Row 0 is the first stored row, whatever the view perspective. Bytes may run on into the following rows. The caller
 * holds the bitmap accessed (V_AccessBitmap).
 * @param pBuffer receives uBytes bytes. @param nRow first row. @param uBytes bytes to move.
 * @return uBytes; ERROR_INVALID_PARAMETER: null pointer, or bytes outside the storage; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_IMAGE: no data; ERROR_NO_MEMORY: no storage; ERROR_FILE_SEEK, ERROR_FILE_READ: disk storage; -1: tiles
 * that cannot be read; a non-zero result of GetBitmapRowColCallback.
 * @remark One thread per bitmap at a time.
 */
V_API intptr_t V_GetBitmapRow(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) V_NOEXCEPT;

/** Copies a buffer into stored rows; as V_GetBitmapRow, with ERROR_FILE_WRITE for disk storage. Compressed storage
 *  keeps no padding bits, and recounts `Size`. @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRow(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, size_t uBytes) V_NOEXCEPT;

/** As V_GetBitmapRow, starting at the byte that holds the first bit of pixel nCol.
 *  @remark One thread per bitmap at a time. */
V_API intptr_t V_GetBitmapRowCol(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                 size_t uBytes) V_NOEXCEPT;

/** As V_PutBitmapRow, starting at the byte that holds the first bit of pixel nCol.
 *  @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRowCol(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                                 size_t uBytes) V_NOEXCEPT;

/**
 * Puts chosen pixels of a row and leaves the others as they are, to the bit at every depth. Where the bitmap has a
 * region only pixels inside of it are put: one segment from 0 to Width writes a row inside the region.
 * @param pRow a whole row in the bitmap's format, BytesPerLine bytes. @param nRow the row.
 * @param pSegments the runs of pixels to take from it, each within 0 to Width. @param uSegments their number.
 * @return the number of pixels put; ERROR_INVALID_PARAMETER: null pointer, row outside the bitmap or segment outside
 * the row (nothing is then moved); otherwise as V_PutBitmapRow.
 * @remark One thread per bitmap at a time.
 */
V_API intptr_t V_PutBitmapRowSegments(BITMAPHANDLE* pBitmap, const void* pRow, int32_t nRow,
                                      const ROWSEGMENT* pSegments, uint32_t uSegments) V_NOEXCEPT;

/**
 * Reads a row of a 1-bit bitmap of any storage kind as a compressed row.
 * @param pBuffer receives the row. @param uBytes room in it.
 * @return the bytes used; ERROR_INVALID_PARAMETER: null pointer or row outside the bitmap; ERROR_INVALID_STRUCT_SIZE;
 * ERROR_INVALID_BITS_PER_PIXEL; ERROR_BUFFER_TOO_SMALL; ERROR_NO_MEMORY; or as V_GetBitmapRow.
 * @remark One thread per bitmap at a time.
 */
V_API intptr_t V_GetBitmapRowCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, size_t uBytes) V_NOEXCEPT;

/** Writes a compressed row into a 1-bit bitmap of any storage kind; pixels its runs do not cover become clear.
 *  @return the bytes used; ERROR_BUFFER_TOO_SMALL: uBytes is less than the row's 4 + 2N; else as
 *  V_GetBitmapRowCompressed and V_PutBitmapRow. @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRowCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow,
                                        size_t uBytes) V_NOEXCEPT;

/** As V_GetBitmapRowCompressed, for the pixels from nCol to the row's end. @remark One thread per bitmap at a time. */
V_API intptr_t V_GetBitmapRowColCompressed(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol,
                                           size_t uBytes) V_NOEXCEPT;

/** As V_PutBitmapRowCompressed, for the pixels from nCol on that the runs cover; the others stay as they are.
 *  @remark One thread per bitmap at a time. */
V_API intptr_t V_PutBitmapRowColCompressed(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol,
                                           size_t uBytes) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKROWS_H */
