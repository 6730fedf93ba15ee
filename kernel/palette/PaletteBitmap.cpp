// The palettes of bitmaps: giving, copying and comparing them. A bitmap owns its palette, so whatever replaces one
// frees the old. Where an operation is described as freeing first, a failure leaves no palette; else it leaves the old
// one.
#include "Vkcolor.h"
#include "kernel/system/Checks.h"
#include "kernel/palette/Palette.h"
#include "platform/display.h"

#include <algorithm>

namespace vk {
namespace {

constexpr RGBQUAD kBlackWhite[4] = {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}};

void drop_palette(BITMAPHANDLE& bitmap) noexcept
{
    free_palette(bitmap.Palette);
    bitmap.Palette = nullptr;
}

/// Gives the bitmap a palette of the library's.
void put_palette(BITMAPHANDLE& bitmap, RGBQUAD* palette, uint32_t count) noexcept
{
    drop_palette(bitmap);
    bitmap.Palette = palette;
    bitmap.Colors = count;
}

/// Frees the bitmap's palette and stores a copy of entries, which may be those of the very palette.
int set_new_palette(BITMAPHANDLE& bitmap, const RGBQUAD* entries, uint32_t count) noexcept
{
    const bool copies = entries != nullptr && count != 0 && count <= kMaxPaletteEntries;
    RGBQUAD* copy = copies ? new_palette(entries, count) : nullptr;
    if (copy == nullptr) {
        drop_palette(bitmap);
        return entries == nullptr ? SUCCESS : FAILURE;
    }
    put_palette(bitmap, copy, count);
    return SUCCESS;
}

/// The entries of the fixed palette for a number of colours; null when there is none. Four colours get the two-entry
/// table and two blacks, as documented.
const RGBQUAD* fixed_entries_for(uint32_t colors) noexcept
{
    if (colors == 2 || colors == 4) {
        return kBlackWhite;
    }
    for (int32_t bits = 3; bits <= 8; ++bits) {
        if (colors == 1u << bits) {
            return fixed_palette(bits);
        }
    }
    return nullptr;
}

} // namespace
} // namespace vk

using namespace vk;

int V_SetBitmapNewPalette(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    const int result = check_record(pBitmap);
    return result == SUCCESS ? set_new_palette(*pBitmap, pPalette, uCount) : result;
}

int V_SetBitmapPalette(BITMAPHANDLE* pBitmap, HPALETTE hPalette) noexcept
{
    if (pBitmap == nullptr) {
        return ERROR_INVALID_IMAGE;
    }
    if (!is_record_size(pBitmap->StructSize)) {
        return ERROR_INVALID_STRUCT_SIZE;
    }
    RGBQUAD entries[kMaxPaletteEntries];
    const uint32_t count = hPalette != nullptr ? platform::palette_size(hPalette) : 0;
    if (count < 2 || count > kMaxPaletteEntries || platform::palette_read(hPalette, 0, count, entries) != count) {
        return ERROR_INVALID_PARAMETER;
    }
    RGBQUAD* palette = new_palette(entries, count);
    if (palette == nullptr) {
        return ERROR_NO_MEMORY;
    }
    put_palette(*pBitmap, palette, count);
    return SUCCESS;
}

int V_CopyBitmapPalette(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) noexcept
{
    if (pDst == nullptr || pSrc == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    if (!is_record_size(pDst->StructSize) || !is_record_size(pSrc->StructSize)) {
        return ERROR_INVALID_STRUCT_SIZE;
    }
    if (pDst == pSrc) {
        return SUCCESS;
    }
    if (pSrc->Palette == nullptr) {
        put_palette(*pDst, nullptr, 0);
        return SUCCESS;
    }
    return set_new_palette(*pDst, pSrc->Palette, pSrc->Colors);
}

int V_CreateBitmapGrayPalette(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    if (result != SUCCESS) {
        return result;
    }
    const int32_t bits = pBitmap->BitsPerPixel;
    if (bits < 1 || bits > 8) {
        return ERROR_INVALID_BITS_PER_PIXEL;
    }
    RGBQUAD* palette = new_gray_palette(bits);
    if (palette == nullptr) {
        return ERROR_NO_MEMORY;
    }
    put_palette(*pBitmap, palette, 1u << bits);
    return SUCCESS;
}

int V_CreateBitmapFixedPalette(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    if (result != SUCCESS) {
        return result;
    }
    drop_palette(*pBitmap);
    const RGBQUAD* entries = fixed_entries_for(pBitmap->Colors);
    if (entries == nullptr) {
        return FAILURE;
    }
    RGBQUAD* palette = new_palette(entries, pBitmap->Colors);
    pBitmap->Palette = palette;
    return palette != nullptr ? SUCCESS : ERROR_NO_MEMORY;
}

int V_CompareBitmapToPalette(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uCount) noexcept
{
    if (check_record(pBitmap) != SUCCESS) {
        return 0;
    }
    const RGBQUAD* own = pBitmap->Palette;
    if (own == nullptr || pPalette == nullptr) {
        return 1;
    }
    const uint32_t colors = pBitmap->Colors;
    return std::equal(own, own + std::min(uCount, colors), pPalette, [](const RGBQUAD& a, const RGBQUAD& b) noexcept {
        return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
    });
}
