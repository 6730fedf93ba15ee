// The window family's door: which gray samples are shown from black to white.
//
// Inside: Curve.h has a window's function and its rounding, Samples.h takes rows through it, by table or as
// LinearWindow.h finds, WindowBitmap.h works on whole bitmaps.
#include "Vkwindow.h"

#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/window/Curve.h"
#include "kernel/window/Samples.h"
#include "kernel/window/WindowBitmap.h"

namespace vk {

namespace {

/// The samples that a table of so many entries stands for.
SampleRange table_range(uint32_t entries, uint32_t flags) noexcept
{
    const int64_t below = flags & WINDOWFLAG_SIGNED ? entries / 2 : 0;
    return {-below, int64_t{entries} - below - 1};
}

/// Calls `put(entry, value)` for all entries of a table.
template <class Put> void fill_entries(uint32_t entries, const V_WINDOW& window, WindowRange range, Put put) noexcept
{
    const SampleRange samples = table_range(entries, window.Flags);
    each_level(WindowSteps(window, range, samples), samples, [&](int64_t first, int64_t end, int32_t value) noexcept {
        for (int64_t sample = first; sample < end; ++sample)
            put(static_cast<uint32_t>(sample < 0 ? sample + entries : sample), static_cast<uint8_t>(value));
    });
}

int check_table(const void* table, uint32_t entries, const V_WINDOW* window) noexcept
{
    const int result = check_window(window);
    return result == V_SUCCESS && (!table || entries == 0) ? V_ERROR_INVALID_PARAMETER : result;
}

int find_limits(BITMAPHANDLE& bitmap) noexcept
{
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = find_gray_limits(bitmap);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

/// The checks of a source that is to be windowed.
int check_request(const V_WINDOW* window, int32_t bits) noexcept
{
    const int result = window ? check_window(window) : V_SUCCESS;
    return result == V_SUCCESS && bits != 8 && bits != 24 ? V_ERROR_INVALID_BITS_PER_PIXEL : result;
}

} // namespace

} // namespace vk

using namespace vk;

int V_GetBitmapMinMax(BITMAPHANDLE* pBitmap) noexcept
{
    int result = check_allocated(pBitmap);
    SampleForm form;
    if (result == V_SUCCESS)
        result = sample_form(*pBitmap, 0, &form);
    if (result == V_SUCCESS)
        result = check_rows(*pBitmap);
    return result == V_SUCCESS ? find_limits(*pBitmap) : result;
}

int V_FillWindowTable(uint8_t* pTable, uint32_t uEntries, const V_WINDOW* pWindow) noexcept
{
    const int result = check_table(pTable, uEntries, pWindow);
    if (result != V_SUCCESS)
        return result;
    const uint8_t flip = pWindow->Flags & WINDOWFLAG_INVERTED ? 0xFF : 0;
    fill_entries(uEntries, *pWindow, {0, WindowSteps::kMost},
                 [&](uint32_t entry, uint8_t value) noexcept { pTable[entry] = value ^ flip; });
    return V_SUCCESS;
}

int V_FillWindowColors(RGBQUAD* pTable, uint32_t uEntries, const V_WINDOW* pWindow, RGBQUAD Start, RGBQUAD End) noexcept
{
    const int result = check_table(pTable, uEntries, pWindow);
    if (result != V_SUCCESS)
        return result;
    const bool is_inverted = pWindow->Flags & WINDOWFLAG_INVERTED;
    const RGBQUAD from = is_inverted ? End : Start;
    const RGBQUAD to = is_inverted ? Start : End;
    fill_entries(uEntries, *pWindow, {from.rgbBlue, to.rgbBlue}, [&](uint32_t entry, uint8_t value) noexcept {
        pTable[entry] = {value, 0, 0, 0};
    });
    fill_entries(uEntries, *pWindow, {from.rgbGreen, to.rgbGreen},
                 [&](uint32_t entry, uint8_t value) noexcept { pTable[entry].rgbGreen = value; });
    fill_entries(uEntries, *pWindow, {from.rgbRed, to.rgbRed},
                 [&](uint32_t entry, uint8_t value) noexcept { pTable[entry].rgbRed = value; });
    return V_SUCCESS;
}

int V_SetBitmapWindow(BITMAPHANDLE* pBitmap, const V_WINDOW* pWindow) noexcept
{
    int result = check_allocated(pBitmap);
    if (result == V_SUCCESS && !pWindow)
        pBitmap->Flags &= ~BITMAPFLAG_USELUT;
    if (result == V_SUCCESS && pWindow)
        result = check_window(pWindow);
    return result == V_SUCCESS && pWindow ? set_bitmap_window(*pBitmap, *pWindow) : result;
}

int V_WindowBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, const V_WINDOW* pWindow,
                   int32_t nBitsPerPixel) noexcept
{
    const bool is_in_place = !pDst || pDst == pSrc;
    int result = is_in_place ? check_allocated(pSrc) : check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = check_request(pWindow, nBitsPerPixel);
    if (result != V_SUCCESS && !is_in_place)
        clear_record(*pDst, uStructSize);
    if (result != V_SUCCESS)
        return result;
    return is_in_place ? window_bitmap(*pSrc, pWindow, nBitsPerPixel)
                       : make_windowed(*pDst, *pSrc, uStructSize, pWindow, nBitsPerPixel);
}
