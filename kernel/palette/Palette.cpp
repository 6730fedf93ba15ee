// The palette family's door: built-in palettes, palettes of bitmaps, palette objects of the platform, nearest entries.
//
// Inside: FixedPalette.cpp has the built-in ones and palette memory, PaletteBitmap.cpp gives bitmaps theirs,
// ColorMatch.cpp is the scan that defines the nearest entry, ColorTranslate.cpp carries colour values from bitmap to
// bitmap, UserMatch.cpp makes tables of matches for callers.
#include "Vkpalette.h"

#include "kernel/palette/ColorMatch.h"
#include "kernel/palette/ColorTranslate.h"
#include "kernel/palette/Palette.h"
#include "kernel/palette/PaletteBitmap.h"
#include "kernel/palette/UserMatch.h"
#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"
#include "platform/display.h"
#include "platform/platform.h"

#include <cstring>

using namespace vk;

int V_GetFixedPalette(RGBQUAD* pPalette, int32_t nBits) noexcept
{
    if (pPalette == nullptr || (nBits != 0 && !is_indexed(nBits))) {
        return V_ERROR_INVALID_PARAMETER;
    }
    const RGBQUAD* entries = nBits == 0 ? gray_levels() : fixed_palette(nBits);
    const size_t count = nBits == 0 ? 256u : size_t{1} << nBits;
    std::memcpy(pPalette, entries, count * sizeof(RGBQUAD));
    return V_SUCCESS;
}

const RGBQUAD* V_IntGetFixedPalette(int32_t nBits) noexcept
{
    return fixed_palette(nBits);
}

const RGBQUAD* V_IntGetNetscapePalette(void) noexcept
{
    return netscape_palette();
}

RGBQUAD* V_CreateFixedPalette(int32_t nBits) noexcept
{
    if (nBits != 0 && !is_indexed(nBits)) {
        return nullptr;
    }
    const int32_t bits = nBits == 0 ? 1 : nBits;
    return new_palette(fixed_palette(bits), 1u << bits);
}

RGBQUAD* V_CreateGrayPalette(int32_t nBits) noexcept
{
    if (nBits < 0 || nBits > kMostGrayBits) {
        return nullptr;
    }
    return new_gray_palette(nBits == 0 ? 8 : nBits);
}

RGBQUAD* V_CreateNewPalette(const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    if (pPalette == nullptr || uCount == 0 || uCount > kMaxPaletteEntries) {
        return nullptr;
    }
    return new_palette(pPalette, uCount);
}

int V_FreePalette(RGBQUAD* pPalette) noexcept
{
    return free_palette(pPalette) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

HPALETTE V_CreatePalette(const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    if (pPalette == nullptr || uCount == 0 || uCount > platform::kMaxObjectEntries) {
        return nullptr;
    }
    return platform::palette_create(pPalette, uCount);
}

HPALETTE V_DupPalette(HPALETTE hPalette) noexcept
{
    RGBQUAD entries[platform::kMaxObjectEntries];
    const uint32_t count = hPalette != nullptr ? platform::palette_size(hPalette) : 0;
    if (count == 0 || count > platform::kMaxObjectEntries ||
        platform::palette_read(hPalette, 0, count, entries) != count) {
        return nullptr;
    }
    return platform::palette_create(entries, count);
}

HPALETTE V_CreateSystemPalette(void) noexcept
{
    RGBQUAD entries[platform::kMaxObjectEntries];
    const uint32_t count = platform::display_palette(entries);
    return count != 0 ? platform::palette_create(entries, count) : nullptr;
}

uint32_t V_GetPaletteEntries(HPALETTE hPalette, uint32_t uStart, uint32_t uCount, RGBQUAD* pEntries) noexcept
{
    if (hPalette == nullptr) {
        return 0;
    }
    return pEntries != nullptr ? platform::palette_read(hPalette, uStart, uCount, pEntries)
                               : platform::palette_size(hPalette);
}

#if !defined(_WIN32) // where the system has its own call
int V_DeletePalette(HPALETTE hPalette) noexcept
{
    return platform::palette_delete(hPalette) ? 1 : 0;
}
#endif

int V_SetBitmapNewPalette(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    const int result = check_record(pBitmap);
    return result == V_SUCCESS ? set_new_palette(*pBitmap, pPalette, uCount) : result;
}

int V_SetBitmapPalette(BITMAPHANDLE* pBitmap, HPALETTE hPalette) noexcept
{
    if (pBitmap == nullptr) {
        return V_ERROR_INVALID_IMAGE;
    }
    if (!is_record_size(pBitmap->StructSize)) {
        return V_ERROR_INVALID_STRUCT_SIZE;
    }
    RGBQUAD entries[kMaxPaletteEntries];
    const uint32_t count = hPalette != nullptr ? platform::palette_size(hPalette) : 0;
    if (count < 2 || count > kMaxPaletteEntries || platform::palette_read(hPalette, 0, count, entries) != count) {
        return V_ERROR_INVALID_PARAMETER;
    }
    RGBQUAD* palette = new_palette(entries, count);
    if (palette == nullptr) {
        return V_ERROR_NO_MEMORY;
    }
    put_palette(*pBitmap, palette, count);
    return V_SUCCESS;
}

int V_CopyBitmapPalette(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) noexcept
{
    if (pDst == nullptr || pSrc == nullptr) {
        return V_ERROR_INVALID_PARAMETER;
    }
    if (!is_record_size(pDst->StructSize) || !is_record_size(pSrc->StructSize)) {
        return V_ERROR_INVALID_STRUCT_SIZE;
    }
    if (pDst == pSrc) {
        return V_SUCCESS;
    }
    if (pSrc->Palette == nullptr) {
        put_palette(*pDst, nullptr, 0);
        return V_SUCCESS;
    }
    const RGBQUAD* const entries = pSrc->Palette;
    return set_new_palette(*pDst, entries, held_entries(entries, pSrc->Colors));
}

int V_CreateBitmapGrayPalette(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS) {
        return result;
    }
    const int32_t bits = pBitmap->BitsPerPixel;
    return is_indexed(bits) ? give_gray_palette(*pBitmap) : V_ERROR_INVALID_BITS_PER_PIXEL;
}

int V_CreateBitmapFixedPalette(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    return result == V_SUCCESS ? give_fixed_palette(*pBitmap) : result;
}

int V_CompareBitmapToPalette(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    return check_record(pBitmap) == V_SUCCESS && palette_starts_with(*pBitmap, pPalette, uCount) ? 1 : 0;
}

int32_t V_FindPaletteIndex(const RGBQUAD* pPalette, uint32_t uCount, uint8_t uRed, uint8_t uGreen,
                           uint8_t uBlue) noexcept
{
    return find_palette_index(pPalette, uCount, uRed, uGreen, uBlue);
}

uint32_t V_GetNearestPaletteIndex(BITMAPHANDLE* pBitmap, COLORREF crColor) noexcept
{
    return check_record(pBitmap) == V_SUCCESS ? nearest_object_index(*pBitmap, crColor) : 0;
}

COLORREF V_TranslateBitmapColor(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, COLORREF crColor) noexcept
{
    return check_record(pDst) == V_SUCCESS ? translate_color(*pDst, pSrc, crColor) : crColor;
}

uint32_t* V_CreateUserMatchTable(const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    return pPalette != nullptr ? new_user_match_table(pPalette, uCount) : nullptr;
}

int V_FreeUserMatchTable(uint32_t* pTable) noexcept
{
    platform::heap_free(pTable);
    return V_SUCCESS;
}

uint32_t* V_SetUserMatchTable(uint32_t* pTable) noexcept
{
    return exchange_user_match_table(pTable);
}
