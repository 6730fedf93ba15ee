// Palette objects off Windows: a counted array of entries. No display here is palette-based.
#include "platform/display.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstddef>

struct V_PALETTE_OBJECT {
    uint32_t count;
    RGBQUAD entries[vk::platform::kMaxObjectEntries];
};

namespace vk::platform {

HPALETTE palette_create(const RGBQUAD* entries, uint32_t count) noexcept
{
    auto* palette = static_cast<HPALETTE>(heap_alloc(sizeof(V_PALETTE_OBJECT)));
    if (palette != nullptr) {
        palette->count = count;
        std::copy_n(entries, count, palette->entries);
    }
    return palette;
}

bool palette_delete(HPALETTE palette) noexcept
{
    heap_free(palette);
    return palette != nullptr;
}

uint32_t palette_size(HPALETTE palette) noexcept
{
    return palette != nullptr ? palette->count : 0;
}

uint32_t palette_read(HPALETTE palette, uint32_t start, uint32_t count, RGBQUAD* entries) noexcept
{
    const uint32_t size = palette_size(palette);
    if (start >= size) {
        return 0;
    }
    const uint32_t copied = std::min(count, size - start);
    std::copy_n(palette->entries + start, copied, entries);
    return copied;
}

uint32_t palette_nearest(HPALETTE palette, COLORREF color) noexcept
{
    const auto distance = [color](const RGBQUAD& entry) noexcept {
        const int red = entry.rgbRed - static_cast<int>(color & 0xFF);
        const int green = entry.rgbGreen - static_cast<int>(color >> 8 & 0xFF);
        const int blue = entry.rgbBlue - static_cast<int>(color >> 16 & 0xFF);
        return red * red + green * green + blue * blue;
    };
    const RGBQUAD* first = palette->entries;
    const RGBQUAD* nearest =
        std::min_element(first, first + palette->count, [&distance](const RGBQUAD& a, const RGBQUAD& b) noexcept {
            return distance(a) < distance(b);
        });
    return static_cast<uint32_t>(nearest - first);
}

bool display_resolution(int32_t*, int32_t*) noexcept
{
    return false;
}

uint32_t display_palette(RGBQUAD*) noexcept
{
    return 0;
}

} // namespace vk::platform
