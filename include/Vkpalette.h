/**
 * @file Vkpalette.h
 * Palettes: built-in ones, those of bitmaps, objects of the platform, and the nearest entry. Vkkrnx.h includes it.
 */
#ifndef VKPALETTE_H
#define VKPALETTE_H

#include "Vkrecord.h"

V_EXTERN_C_BEGIN

/** Fills the fixed palette of a width. @param pPalette room for 1 << nBits entries (256 for 0).
 *  @param nBits 1 to 8, or 0 for the 256 grays. @return SUCCESS; ERROR_INVALID_PARAMETER: null array or other width.
 *  @remark Thread-safe. */
V_API int V_GetFixedPalette(RGBQUAD* pPalette, int32_t nBits) V_NOEXCEPT;

/** @return the read-only fixed palette of 1 to 8 bits, null for other widths.
 *  @remark Thread-safe; the entries never change. */
V_API const RGBQUAD* V_IntGetFixedPalette(int32_t nBits) V_NOEXCEPT;

/** @return the read-only 216-colour cube, index = 36 r + 6 g + b; 256 entries, the last 40 black.
 *  @remark Thread-safe; the entries never change. */
V_API const RGBQUAD* V_IntGetNetscapePalette(void) V_NOEXCEPT;

/** @return a new fixed palette of nBits (0 and 1: two entries), to be freed with V_FreePalette; null above 8 bits or
 *  without memory. @remark Thread-safe. */
V_API RGBQUAD* V_CreateFixedPalette(int32_t nBits) V_NOEXCEPT;

/** @return a new gray ramp of 1 << nBits entries (0: 256), to be freed with V_FreePalette; null for a width outside 0
 * to 16 or without memory. Ramps of more than 8 bits are for look-up tables: no bitmap's palette has so many entries.
 * @remark Thread-safe. */
V_API RGBQUAD* V_CreateGrayPalette(int32_t nBits) V_NOEXCEPT;

/** @return a copy of uCount entries (1 to 256), to be freed with V_FreePalette; null for other arguments or without
 *  memory. @remark Thread-safe. */
V_API RGBQUAD* V_CreateNewPalette(const RGBQUAD* pPalette, uint32_t uCount) V_NOEXCEPT;

/** Frees a palette that the library made. @return SUCCESS; ERROR_INVALID_PARAMETER: null, or not such a palette.
 *  @remark Thread-safe; no other thread may be using the block. */
V_API int V_FreePalette(RGBQUAD* pPalette) V_NOEXCEPT;

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

#endif /* VKPALETTE_H */
