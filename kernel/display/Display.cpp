// The display family's door: how bitmaps look.
//
// Inside: PaintTables.h holds contrast, intensity and gamma, ShownPixels.h takes stored pixels to those of a display,
// Picture.h reads parts of rows (PartRows.h) and draws overlays on them, Render.h scales and turns them upright.
// Context.h is about the device contexts of Windows.
#include "Vkdisplay.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/display/Context.h"
#include "kernel/display/PaintTables.h"
#include "kernel/display/Render.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

#include <cstring>

namespace vk::display {

namespace {

/// The checks of what is asked for, of a source that is allocated.
int check_request(const BITMAPHANDLE& source, int32_t width, int32_t height, uint32_t flags) noexcept
{
    const bool is_known = (flags & ~(kFilterFlags | RENDER_32BITS)) == 0 && (flags & kFilterFlags) <= RENDER_CUBIC;
    return is_known && width >= 0 && height >= 0 ? check_rows(source) : V_ERROR_INVALID_PARAMETER;
}

/// Replaces a bitmap by what is shown of it.
int replace(BITMAPHANDLE& bitmap, const RenderJob& job) noexcept
{
    BITMAPHANDLE made = {};
    const uint32_t size = bitmap.StructSize;
    const int result = render(made, bitmap, size, job);
    if (result != V_SUCCESS)
        return result;
    free_bitmap(bitmap);
    std::memcpy(static_cast<void*>(&bitmap), &made, size);
    return V_SUCCESS;
}

#if defined(_WIN32)

/// Where a job's pixels go in a context, and the job. ERROR_INVALID_PARAMETER for what is no rectangle.
int place_job(const BITMAPHANDLE& bitmap, const RECT* part, const RECT* to, uint32_t flags, RenderJob* job,
              RECT* place) noexcept
{
    const int64_t width = to ? int64_t{to->right} - to->left : 0, height = to ? int64_t{to->bottom} - to->top : 0;
    if (width < 0 || height < 0 || width > INT32_MAX || height > INT32_MAX)
        return V_ERROR_INVALID_PARAMETER;
    *job = render_job(bitmap, part, static_cast<int32_t>(width), static_cast<int32_t>(height), flags);
    if (to && (width == 0 || height == 0))
        job->part = {};
    *place = to ? *to : RECT{0, 0, job->width, job->height};
    return V_SUCCESS;
}

#endif

} // namespace

} // namespace vk::display

using namespace vk;

int V_SetBitmapPaint(BITMAPHANDLE* pBitmap, int32_t nContrast, int32_t nIntensity, int32_t nGamma) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    const display::Paint paint{nContrast, nIntensity, nGamma};
    return paint.is_valid() ? display::set_paint(*pBitmap, paint) : V_ERROR_INVALID_PARAMETER;
}

int V_RenderBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, const RECT* pSrcRect, int32_t nWidth,
                   int32_t nHeight, uint32_t uFlags) noexcept
{
    const bool replaces = !pDst || pDst == pSrc;
    int result = replaces ? check_allocated(pSrc) : check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    result = display::check_request(*pSrc, nWidth, nHeight, uFlags);
    if (result != V_SUCCESS) {
        if (!replaces)
            clear_record(*pDst, uStructSize);
        return result;
    }
    const display::RenderJob job = display::render_job(*pSrc, pSrcRect, nWidth, nHeight, uFlags);
    if (job.part.empty()) {
        if (!replaces)
            clear_record(*pDst, uStructSize);
        return V_SUCCESS;
    }
    return replaces ? display::replace(*pSrc, job) : display::render(*pDst, *pSrc, uStructSize, job);
}

#if defined(_WIN32)

HDC V_CreateBitmapDC(BITMAPHANDLE* pBitmap) noexcept
{
    const bool is_good = check_allocated(pBitmap) == V_SUCCESS && check_rows(*pBitmap) == V_SUCCESS;
    return is_good ? display::create_context(*pBitmap) : nullptr;
}

int V_ReleaseBitmapDC(BITMAPHANDLE* pBitmap, HDC hDC) noexcept
{
    const int result = pBitmap ? check_allocated(pBitmap) : V_SUCCESS;
    return result == V_SUCCESS ? display::release_context(pBitmap, hDC) : result;
}

int V_PaintBitmap(HDC hDC, BITMAPHANDLE* pBitmap, const RECT* pSrc, const RECT* pClip, const RECT* pDst,
                  uint32_t uFlags) noexcept
{
    int result = check_allocated(pBitmap);
    if (result == V_SUCCESS && uFlags > RENDER_CUBIC)
        result = V_ERROR_INVALID_PARAMETER;
    if (result == V_SUCCESS)
        result = check_rows(*pBitmap);
    display::RenderJob job;
    RECT place{};
    if (result == V_SUCCESS)
        result = display::place_job(*pBitmap, pSrc, pDst, uFlags, &job, &place);
    if (result != V_SUCCESS || job.part.empty())
        return result;
    return display::paint_to_context(hDC, *pBitmap, job, place, pClip);
}

int V_GetBitmapFromDC(BITMAPHANDLE* pBitmap, uint32_t uStructSize, HDC hDC, int32_t nLeft, int32_t nTop, int32_t nWidth,
                      int32_t nHeight) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (nWidth < 1 || nHeight < 1) {
        clear_record(*pBitmap, uStructSize);
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    }
    return display::bitmap_from_context(*pBitmap, uStructSize, hDC, {nLeft, nTop, nWidth, nHeight});
}

#endif
