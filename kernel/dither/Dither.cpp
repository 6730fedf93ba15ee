// The exported dithering functions: checks in the documented order, then the engine (kernel/dither/).
#include "kernel/dither/Dither.h"
#include "Vkdither.h"
#include "kernel/dither/Methods.h"
#include "kernel/palette/Palette.h"
#include "kernel/system/Checks.h"
#include "kernel/system/ThreadState.h"

using namespace vk;

int V_StartDithering(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uColors) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (uColors == 0 || uColors > kMaxPaletteEntries)
        return V_ERROR_INVALID_PARAMETER;
    return start_dithering(*pBitmap, pPalette, uColors, index_bits(uColors), nullptr);
}

int V_StartDitheringExt(BITMAPHANDLE* pBitmap, const RGBQUAD* pPalette, uint32_t uColors, int32_t nBitsPerPixel,
                        uint32_t* pMatchTable) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    return start_dithering(*pBitmap, pPalette, uColors, nBitsPerPixel, pMatchTable);
}

int V_DitherLine(BITMAPHANDLE* pBitmap, void* pSrcRow, void* pDstRow) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    DitherState* const state = dither_state(*pBitmap);
    if (!state || !pSrcRow || !pDstRow)
        return V_ERROR_INVALID_PARAMETER;
    dither_rows(*state, static_cast<uint8_t*>(pSrcRow), 0, static_cast<uint8_t*>(pDstRow), 0, 1);
    return V_SUCCESS;
}

int V_StopDithering(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_record(pBitmap);
    if (result == V_SUCCESS)
        stop_dithering(*pBitmap);
    return result;
}

int V_DefaultDithering(int32_t nMethod) noexcept
{
    if (!dither::is_method(nMethod))
        return V_ERROR_INVALID_PARAMETER;
    thread_state_for_set().default_dithering = nMethod;
    return V_SUCCESS;
}

int32_t V_GetDefaultDithering(void) noexcept
{
    return thread_state().default_dithering;
}
