// Palette objects by GDI, whose entries hold red and blue the other way round than an RGBQUAD.
#include "platform/win32/Win32.h"

#include "platform/display.h"

#include <algorithm>

namespace vk::platform {
namespace {

constexpr WORD kPaletteVersion = 0x300;

/// A LOGPALETTE with room for all entries.
struct LogicalPalette {
    WORD version;
    WORD count;
    PALETTEENTRY entries[kMaxObjectEntries];
};

RGBQUAD to_quad(const PALETTEENTRY& entry) noexcept
{
    return {entry.peBlue, entry.peGreen, entry.peRed, entry.peFlags};
}

} // namespace

HPALETTE palette_create(const RGBQUAD* entries, uint32_t count) noexcept
{
    LogicalPalette logical;
    logical.version = kPaletteVersion;
    logical.count = static_cast<WORD>(count);
    for (uint32_t i = 0; i < count; ++i) {
        logical.entries[i] = {entries[i].rgbRed, entries[i].rgbGreen, entries[i].rgbBlue, entries[i].rgbReserved};
    }
    return CreatePalette(reinterpret_cast<const LOGPALETTE*>(&logical));
}

bool palette_delete(HPALETTE palette) noexcept
{
    return DeleteObject(palette) != 0;
}

uint32_t palette_size(HPALETTE palette) noexcept
{
    return GetPaletteEntries(palette, 0, 0, nullptr);
}

uint32_t palette_read(HPALETTE palette, uint32_t start, uint32_t count, RGBQUAD* entries) noexcept
{
    PALETTEENTRY part[kMaxObjectEntries];
    uint32_t copied = 0;
    while (copied < count) {
        const UINT got = GetPaletteEntries(palette, start + copied, std::min(count - copied, kMaxObjectEntries), part);
        if (got == 0) {
            break;
        }
        std::transform(part, part + got, entries + copied, to_quad);
        copied += got;
    }
    return copied;
}

uint32_t palette_nearest(HPALETTE palette, COLORREF color) noexcept
{
    return GetNearestPaletteIndex(palette, color);
}

bool display_resolution(int32_t* horizontal, int32_t* vertical) noexcept
{
    const HDC screen = GetDC(nullptr);
    if (screen == nullptr) {
        return false;
    }
    const int x = MulDiv(GetDeviceCaps(screen, HORZRES), 1000, GetDeviceCaps(screen, HORZSIZE));
    const int y = MulDiv(GetDeviceCaps(screen, VERTRES), 1000, GetDeviceCaps(screen, VERTSIZE));
    ReleaseDC(nullptr, screen);
    if (x <= 0 || y <= 0) { // a size of 0 makes it -1
        return false;
    }
    *horizontal = x;
    *vertical = y;
    return true;
}

uint32_t display_palette(RGBQUAD* entries) noexcept
{
    const HDC screen = GetDC(nullptr);
    if (screen == nullptr) {
        return 0;
    }
    PALETTEENTRY system[kMaxObjectEntries];
    UINT count = 0;
    if ((GetDeviceCaps(screen, RASTERCAPS) & RC_PALETTE) != 0) {
        count = GetSystemPaletteEntries(screen, 0, kMaxObjectEntries, system);
        std::transform(system, system + count, entries, to_quad);
    }
    ReleaseDC(nullptr, screen);
    return count;
}

} // namespace vk::platform
