// Palette objects of the platform, made from palettes and read back into them.
#include "Vkcolor.h"
#include "platform/display.h"

using namespace vk;

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

#if !defined(_WIN32)
int V_DeletePalette(HPALETTE hPalette) noexcept
{
    return platform::palette_delete(hPalette) ? 1 : 0;
}
#endif
