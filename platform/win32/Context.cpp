// Contexts and regions by GDI. Whatever is made here is deleted here, also when a later step fails.
#include "platform/context.h"

#include "platform/win32/Win32.h"

#include <algorithm>
#include <cstring>

namespace vk::platform {
namespace {

constexpr uint32_t kMostColors = 256;

/// A header with a full colour table behind it.
struct Info {
    BITMAPINFOHEADER header;
    RGBQUAD colors[kMostColors];

    Info(int32_t width, int32_t height, int32_t bits, Colors given) noexcept : header{}, colors{}
    {
        header.biSize = sizeof header;
        header.biWidth = width;
        header.biHeight = -height; // the top row comes first
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(bits);
        header.biCompression = BI_RGB;
        header.biClrUsed = given.count;
        std::copy_n(given.entries, std::min(given.count, kMostColors), colors);
        for (RGBQUAD& color : colors) {
            color.rgbReserved = 0;
        }
    }

    const BITMAPINFO* get() const noexcept { return reinterpret_cast<const BITMAPINFO*>(this); }
};

/// The table of a picture with colours of its own that is selected into a memory context.
uint32_t selected_table(HDC context, RGBQUAD* entries) noexcept
{
    DIBSECTION section{};
    const HGDIOBJ picture = GetCurrentObject(context, OBJ_BITMAP);
    const bool is_section = GetObjectW(picture, sizeof section, &section) == sizeof section;
    if (!is_section || section.dsBm.bmBitsPixel > 8) {
        return 0;
    }
    return GetDIBColorTable(context, 0, kMostColors, entries);
}

} // namespace

bool canvas_create(Canvas* canvas, int32_t width, int32_t height, int32_t bits, Colors colors) noexcept
{
    const Info info(width, height, bits, colors);
    Canvas made;
    made.context = CreateCompatibleDC(nullptr);
    if (made.context == nullptr) {
        return false;
    }
    void* pixels = nullptr;
    made.picture = CreateDIBSection(made.context, info.get(), DIB_RGB_COLORS, &pixels, nullptr, 0);
    made.before = made.picture != nullptr ? SelectObject(made.context, made.picture) : nullptr;
    if (made.before == nullptr) {
        canvas_delete(made);
        return false;
    }
    made.pixels = static_cast<uint8_t*>(pixels);
    *canvas = made;
    return true;
}

void canvas_delete(const Canvas& canvas) noexcept
{
    if (canvas.before != nullptr) {
        SelectObject(canvas.context, canvas.before);
    }
    DeleteDC(canvas.context);
    if (canvas.picture != nullptr) {
        DeleteObject(canvas.picture);
    }
}

void finish_drawing() noexcept
{
    GdiFlush();
}

bool context_box(HDC context, RECT* box) noexcept
{
    return GetClipBox(context, box) != ERROR;
}

uint32_t context_palette(HDC context, RGBQUAD* entries) noexcept
{
    if ((GetDeviceCaps(context, RASTERCAPS) & RC_PALETTE) == 0) {
        return selected_table(context, entries);
    }
    PALETTEENTRY system[kMostColors];
    const UINT count = GetSystemPaletteEntries(context, 0, kMostColors, system);
    std::transform(system, system + count, entries, [](const PALETTEENTRY& entry) noexcept -> RGBQUAD {
        return {entry.peBlue, entry.peGreen, entry.peRed, 0};
    });
    return count;
}

bool context_draw(HDC context, const RECT& to, int32_t bits, const uint8_t* rows, Colors colors) noexcept
{
    const int32_t width = to.right - to.left, height = to.bottom - to.top;
    const Info info(width, height, bits, colors);
    const int drawn = StretchDIBits(context, to.left, to.top, width, height, 0, 0, width, height, rows, info.get(),
                                    DIB_RGB_COLORS, SRCCOPY);
    return drawn > 0;
}

bool context_read(HDC context, int32_t left, int32_t top, const Canvas& canvas, int32_t width, int32_t rows) noexcept
{
    const BOOL copied = BitBlt(canvas.context, 0, 0, width, rows, context, left, top, SRCCOPY);
    GdiFlush();
    return copied != 0;
}

HRGN region_create(const RECT* rects, uint32_t count) noexcept
{
    if (count == 0) {
        return CreateRectRgn(0, 0, 0, 0);
    }
    const uint64_t bytes = sizeof(RGNDATAHEADER) + uint64_t{count} * sizeof(RECT);
    auto* const data = bytes > MAXDWORD ? nullptr : static_cast<RGNDATA*>(heap_alloc(static_cast<size_t>(bytes)));
    if (data == nullptr) {
        return nullptr;
    }
    RECT box = rects[0];
    for (uint32_t i = 0; i < count; ++i) {
        box = {std::min(box.left, rects[i].left), std::min(box.top, rects[i].top), std::max(box.right, rects[i].right),
               std::max(box.bottom, rects[i].bottom)};
    }
    data->rdh = {sizeof(RGNDATAHEADER), RDH_RECTANGLES, count, 0, box};
    std::memcpy(data->Buffer, rects, size_t{count} * sizeof(RECT));
    const HRGN region = ExtCreateRegion(nullptr, static_cast<DWORD>(bytes), data);
    heap_free(data);
    return region;
}

RegionRead region_read(HRGN region, void** block, const RECT** rects, uint32_t* count) noexcept
{
    const DWORD bytes = GetRegionData(region, 0, nullptr);
    if (bytes < sizeof(RGNDATAHEADER)) {
        return RegionRead::no_region;
    }
    auto* const data = static_cast<RGNDATA*>(heap_alloc(bytes));
    if (data == nullptr) {
        return RegionRead::no_memory;
    }
    if (GetRegionData(region, bytes, data) == 0) {
        heap_free(data);
        return RegionRead::no_region;
    }
    *block = data;
    *rects = reinterpret_cast<const RECT*>(data->Buffer);
    *count = data->rdh.nCount;
    return RegionRead::done;
}

void region_rects_free(void* block) noexcept
{
    heap_free(block);
}

} // namespace vk::platform
