/**
 * @file Vkdib.h
 * The DIB part of the Vkkrnx interface: device-independent bitmaps in and out. Vkkrnx.h includes it.
 *
 * A packed DIB is a block of movable global memory with a header (BITMAPCOREHEADER, BITMAPINFOHEADER, BITMAPV4HEADER or
 * BITMAPV5HEADER), a colour table or three colour masks, and the rows, each ((bits * width + 31) >> 3) & ~3 bytes.
 * The Change functions hand the memory over and copy no pixels where the layouts agree; the Convert functions copy. A
 * block that comes in is checked as a whole before anything of it is used: it may come from anywhere.
 */
#ifndef VKDIB_H
#define VKDIB_H

#include "Vkcodec.h"
#include "Vkrecord.h"

/** The codec module of a compressed DIB, or an entry point of it, is missing; see Vkcodec.h. */
#define V_ERROR_CODEC_MISSING (-356)

/** Headers that the to-DIB functions write; any other value counts as DIB_INFOHEADER. */
#define DIB_INFOHEADER 0u /**< BITMAPINFOHEADER */
#define DIB_V4HEADER 1u   /**< BITMAPV4HEADER */
#define DIB_V5HEADER 2u   /**< BITMAPV5HEADER, colour space sRGB */

V_EXTERN_C_BEGIN

/**
 * Turns a bitmap into a packed DIB and frees the bitmap.
 *
 * Depths 1, 4, 8, 24 and 32 stay; 2 and 3 become 4, 5 to 7 become 8 with the same indices; gray samples of 12 and 16
 * bits become 24 by their significant bits (or look-up table), 48 become 24 and 64 become 32. Colours of 16 bits are
 * 5-5-5, or 5-6-5 with BI_BITFIELDS. For the latter DIB_INFOHEADER puts the three masks right behind the header, over
 * the first 12 bytes of the pixels; the other headers leave their masks clear. A bitmap whose pixels are in a DIB's
 * block of its own already, bottom row first, gives that very block without copying; all others are copied. A bitmap
 * that is turned a quarter becomes upright, and its resolutions change places.
 * @param pBitmap an allocated bitmap that nobody holds locked. @param uType DIB_ value.
 * @return the DIB, the caller's to free, with rows bottom up; or null: null or unallocated bitmap, wrong record size,
 * locked block, rows that BytesPerLine cannot hold, more than 4 GiB, no memory, a failed transfer, or the status
 * callback's refusal. The bitmap is then as it was, except that its view perspective may have been changed.
 * @remark One thread per bitmap at a time.
 */
V_API HGLOBAL V_ChangeToDIB(BITMAPHANDLE* pBitmap, uint32_t uType) V_NOEXCEPT;
/** Makes a packed DIB from a bitmap, which stays as it is: V_ConvertToDIB2 into movable global memory.
 *  @remark One thread per bitmap at a time. */
V_API HGLOBAL V_ConvertToDIB(BITMAPHANDLE* pBitmap, uint32_t uType) V_NOEXCEPT;
/**
 * Makes a packed DIB from a bitmap, which stays as it is. Depths change as in V_ChangeToDIB; colours of 16 bits are
 * always 5-5-5, the compression is always BI_RGB.
 * @param pBitmap an allocated bitmap. @param uType DIB_ value. @param puSize receives the DIB's size in bytes, or null.
 * @param bGlobal non-zero: the result is the handle of a movable global block; zero: a pointer to memory that
 * V_FreeMemory frees.
 * @return the DIB, the caller's to free; null as V_ChangeToDIB (a locked bitmap is no obstacle here).
 * @remark One thread per bitmap at a time.
 */
V_API void* V_ConvertToDIB2(BITMAPHANDLE* pBitmap, uint32_t uType, uint32_t* puSize, int bGlobal) V_NOEXCEPT;

/**
 * Makes a DIB's block the storage of a bitmap, which owns it from then on. No pixels are copied, except that pixels
 * with unusual colour masks are repacked in place (8 bits per channel at 32, 5 at 16), and that run lengths, YUV codes
 * and JPEG codes are decoded into other storage, after which the block is freed. Those are read from right behind the
 * header, as V_ConvertFromDIB reads them.
 *
 * Bit fields have their masks behind the header; when the block has no room for them there, a header of more than 40
 * bytes is taken to hold them itself. A resolution of 0, and any in a header that is not BITMAPINFOHEADER, is replaced
 * by the display's (96 dots per inch where there is none).
 * @param pBitmap receives the bitmap; what the record held is forgotten. @param uStructSize BITMAPHANDLE_SIZE or
 * BITMAPHANDLE_SIZE_EARLIER. @param hDIB the block.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record, what is no block, no width or no height, or a header, table or
 * pixel array that the block does not hold; ERROR_INVALID_STRUCT_SIZE; ERROR_FEATURE_NOT_SUPPORTED: planes other than
 * 1, or a depth or compression there is none of; ERROR_NO_MEMORY; or as V_ConvertFromDIB. After a failure the block is
 * as it was and the caller's; the record, past the check of its size, is empty but for StructSize.
 * @remark One thread per bitmap and block at a time.
 */
V_API int V_ChangeFromDIB(BITMAPHANDLE* pBitmap, uint32_t uStructSize, HGLOBAL hDIB) V_NOEXCEPT;
/**
 * V_ChangeFromDIB for a block that stays the caller's: the bitmap borrows it (BITMAPFLAG_MIRROR), and it must outlive
 * the bitmap. DIBs with bit fields are copied, whatever number of planes they state, as are those that are decoded. The
 * block is never changed or freed here; writing to the bitmap writes into it.
 * @remark One thread per bitmap and block at a time.
 */
V_API int V_MirrorFromDIB(BITMAPHANDLE* pBitmap, uint32_t uStructSize, HGLOBAL hDIB) V_NOEXCEPT;
/**
 * Makes a bitmap from a DIB, in storage of the calling thread's default memory type. The DIB is only read.
 *
 * Decodes BI_RGB, BI_BITFIELDS, BI_RLE8, BI_RLE4, the YUV codes YUY2, UYVY, cyuv, YVYU, Y41P, Y41T, Y42T, Y211 (packed)
 * and I420, IYUV, YV12, YVU9, IF09 (planar) to 24-bit BGR, and the JPEG codes through the codec module. Run-length rows
 * end with an end-of-line mark, or with the data; pixels that a jump passes over are clear.
 * @param pBitmap receives the bitmap; what the record held is forgotten. @param uStructSize BITMAPHANDLE_SIZE or
 * BITMAPHANDLE_SIZE_EARLIER. @param pInfo a BITMAPINFOHEADER with its colour table or masks at byte 40; those of other
 * headers are looked for at the same places. biSizeImage is the length of run-length and JPEG data. Null is
 * ERROR_INVALID_PARAMETER. @param pBits the pixels, all that the header says; null only describes the bitmap, without
 * storage.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null record or header, negative width, height of -2^31, or more colours
 * than the depth can index; ERROR_INVALID_STRUCT_SIZE; ERROR_FEATURE_NOT_SUPPORTED: a depth or compression there is
 * none of, or sizes a YUV code cannot have; ERROR_INTERNAL: run-length data that ends early, leaves a row or has pixels
 * missing; V_ERROR_CODEC_MISSING; what the codec says; ERROR_INVALID_WIDTH_HEIGHT; ERROR_NO_MEMORY; or as
 * V_AllocateBitmap and V_PutBitmapRow; the status callback's refusal. After a failure the record, past the check of its
 * size, is empty but for StructSize.
 * @remark One thread per bitmap at a time; several threads may read one DIB at once.
 */
V_API int V_ConvertFromDIB(BITMAPHANDLE* pBitmap, uint32_t uStructSize, const BITMAPINFO* pInfo,
                           const void* pBits) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKDIB_H */
