/**
 * @file Vkcolor.h
 * The colour part of the Vkkrnx interface: conversion of pixel buffers, palettes and colour matching. Vkkrnx.h includes
 * it.
 */
#ifndef VKCOLOR_H
#define VKCOLOR_H

#include "Vkkrnx.h"

/** Flags of V_ConvertBufferExt and its kin. */
#define CVT_SRC_GRAY 0x01u          /**< source samples are gray; follows the source order */
#define CVT_DST_GRAY 0x02u          /**< destination samples are gray; follows the destination order */
#define CVT_SRC_USE_BITS 0x04u      /**< only bits nLowBit to nHighBit of a gray source sample count */
#define CVT_DST_USE_BITS 0x08u      /**< gray destination samples are written into bits nLowBit to nHighBit */
#define CVT_TRANSPARENT_COLOR 0x80u /**< 32 and 64 bits: alpha is 0 for the transparent colour, else full */

V_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------------------------------
 * Buffer conversion
 * --------------------------------------------------------------------------------------------------------------- */

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

/* ------------------------------------------------------------------------------------------------------------------
 * Palettes of bitmaps, palette objects
 * --------------------------------------------------------------------------------------------------------------- */

/** Makes a palette object of the platform from uCount entries (1 to 256); reserved bytes become the entries' flags.
 *  @return the object, to be freed with DeleteObject on Windows and V_DeletePalette elsewhere; null for other arguments
 *  or without memory. @remark Thread-safe. */
V_API HPALETTE V_CreatePalette(const RGBQUAD* pPalette, uint32_t uCount) V_NOEXCEPT;
/** @return a new palette object with the same entries; null for null, an empty or too large object or without memory.
 * @remark Thread-safe; several threads may read one object at once.
 */
V_API HPALETTE V_DupPalette(HPALETTE hPalette) V_NOEXCEPT;
/** @return a new palette object with the display's palette; null when the display has none. @remark Thread-safe. */
V_API HPALETTE V_CreateSystemPalette(void) V_NOEXCEPT;
/** Copies entries of a palette object, flags into the reserved bytes.
 *  @param uStart first entry. @param uCount entries. @param pEntries receives them; null asks for the object's size.
 *  @return the number of entries copied, cut at the object's end, or its size; 0 for null.
 *  @remark Thread-safe; several threads may read one object at once. */
V_API uint32_t V_GetPaletteEntries(HPALETTE hPalette, uint32_t uStart, uint32_t uCount, RGBQUAD* pEntries) V_NOEXCEPT;
#if !defined(_WIN32)
/** Frees a palette object. @return 1, or 0 for null. @remark Thread-safe; no other thread may be using the object. */
V_API int V_DeletePalette(HPALETTE hPalette) V_NOEXCEPT;
#endif

/**
 * Frees a bitmap's palette and gives it a copy of another.
 * @param pPalette uCount entries (1 to 256), or null to leave the bitmap without palette.
 * @return SUCCESS; FAILURE: the copy could not be made, the bitmap has no palette now; ERROR_INVALID_PARAMETER: null
 * record; ERROR_INVALID_STRUCT_SIZE.
 * @remark One thread per bitmap at a time.
 */
V_API int V_SetBitmapNewPalette(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uCount) V_NOEXCEPT;
/** Replaces a bitmap's palette by a palette object's entries. @return SUCCESS; ERROR_INVALID_IMAGE: null record;
 *  ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_PARAMETER: null object, or one of fewer than 2 or more than 256 entries;
 *  ERROR_NO_MEMORY: the old palette stays. @remark One thread per bitmap at a time. */
V_API int V_SetBitmapPalette(BITMAPHANDLE* pBitmap, HPALETTE hPalette) V_NOEXCEPT;
/** Gives a bitmap a copy of another's palette, or none when that has none; the same bitmap stays as it is.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE; FAILURE: the copy could not be
 *  made, the bitmap has no palette now. @remark One thread per bitmap at a time, for both bitmaps. */
V_API int V_CopyBitmapPalette(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) V_NOEXCEPT;
/** Replaces a bitmap's palette by the gray ramp of its depth. @return SUCCESS; ERROR_INVALID_PARAMETER: null record;
 *  ERROR_INVALID_STRUCT_SIZE; ERROR_INVALID_BITS_PER_PIXEL: not 1 to 8 bits; ERROR_NO_MEMORY: the old palette stays.
 *  @remark One thread per bitmap at a time. */
V_API int V_CreateBitmapGrayPalette(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Frees a bitmap's palette and gives it the fixed one for its number of `Colors`: 2, 8, 16, 32, 64, 128 or 256; 4 give
 *  black, white, black, black. @return SUCCESS; FAILURE: another number; ERROR_NO_MEMORY (the bitmap has no palette
 *  after both); ERROR_INVALID_PARAMETER: null record; ERROR_INVALID_STRUCT_SIZE.
 *  @remark One thread per bitmap at a time. */
V_API int V_CreateBitmapFixedPalette(BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/** Compares the colours of a bitmap's palette with entries, as far as both go. @return 1 when all agree or there are
 *  none to compare; 0 otherwise, and for a null record or one of wrong size.
 *  @remark One thread per bitmap at a time. */
V_API int V_CompareBitmapToPalette(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uCount) V_NOEXCEPT;

/* ------------------------------------------------------------------------------------------------------------------
 * Colour matching
 * --------------------------------------------------------------------------------------------------------------- */

/**
 * Finds the palette entry nearest to a colour by squared distance.
 *
 * Black is looked for at the first and then the last entry, white at the last and then the first. Of entries equally
 * near the first wins, unless later ones order their channels as the colour does: then the last of those does. The
 * first exact match always wins.
 * @return the index; 0: null palette; -1: no entries.
 * @remark Thread-safe.
 */
V_API int32_t V_FindPaletteIndex(const RGBQUAD* pPalette, uint32_t uCount, uint8_t uRed, uint8_t uGreen,
                                 uint8_t uBlue) V_NOEXCEPT;

/** @return the index of the entry of a bitmap's palette that the platform holds nearest to a colour (elsewhere than on
 *  Windows: least squared distance, first entry); 0 for a null record or one without palette.
 *  @remark One thread per bitmap at a time. */
V_API uint32_t V_GetNearestPaletteIndex(BITMAPHANDLE* pBitmap, COLORREF crColor) V_NOEXCEPT;
/**
 * Translates a colour value meant for one bitmap to one that means the same in another.
 * @param pDst the bitmap it will be used with; null gives the value back. @param pSrc the bitmap it was meant for, or
 * null. @param crColor a colour; 0x01 in the top byte: an index of pSrc's palette; 0x04: a gray level in bits 8-15.
 * @return an index (0x01 in the top byte) for bitmaps of up to 8 bits, else a colour; for a gray bitmap a gray level
 * stays one, or becomes an index of the bitmap's LUT when that is used.
 * @remark One thread per bitmap at a time, for both bitmaps.
 */
V_API COLORREF V_TranslateBitmapColor(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, COLORREF crColor) V_NOEXCEPT;
/** Makes a match table: for each colour of 15 bits (red in bits 10-14, green 5-9, blue 0-4, times 8 each), 1 + its
 *  V_FindPaletteIndex. @return 32768 entries, to be freed with V_FreeUserMatchTable; null: null palette or no memory.
 * @remark Thread-safe.
 */
V_API uint32_t* V_CreateUserMatchTable(const RGBQUAD* pPalette, uint32_t uCount) V_NOEXCEPT;
/** Frees a match table that no thread has installed; null is ignored. @return SUCCESS.
 *  @remark Thread-safe; no other thread may be using the table. */
V_API int V_FreeUserMatchTable(uint32_t* pTable) V_NOEXCEPT;
/** Installs a match table for the calling thread, null for none; it stays the caller's. @return the one before.
 *  @remark Affects the calling thread only; several threads may have one table installed. */
V_API uint32_t* V_SetUserMatchTable(uint32_t* pTable) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKCOLOR_H */
