// The YUV family's door: pictures in memory of the caller's, to bitmaps and from them.
//
// Inside: Formats.h has the codes, once; Picture.h what a picture comes to; Formula.h the formulas as factors and
// Chroma.h the weights of what lies between samples. FromYuv.h and ToYuv.h make rows, by the kernels of Kernels.h where
// samples are bytes; YuvBitmap.h goes over whole bitmaps.
#include "Vkyuv.h"

#include "kernel/bitmap/Record.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/view/ViewPerspective.h"
#include "kernel/yuv/Picture.h"
#include "kernel/yuv/YuvBitmap.h"

namespace vk {

namespace {

int check_given(const V_YUVPICTURE* given, yuv::Picture* picture) noexcept
{
    if (!given)
        return V_ERROR_NULL_PTR;
    return given->StructSize == sizeof *given ? yuv::check_picture(*given, picture) : V_ERROR_INVALID_STRUCT_SIZE;
}

/// The bitmap is as large as the picture, as it is shown.
bool has_size(const BITMAPHANDLE& bitmap, const yuv::Picture& picture) noexcept
{
    const bool is_turned = is_rotated_perspective(bitmap.ViewPerspective);
    return static_cast<uint32_t>(is_turned ? +bitmap.Height : +bitmap.Width) == picture.width &&
           static_cast<uint32_t>(is_turned ? +bitmap.Width : +bitmap.Height) == picture.height;
}

} // namespace

} // namespace vk

using namespace vk;

uint64_t V_GetYuvSize(V_YUVPICTURE* pPicture) noexcept
{
    return pPicture && pPicture->StructSize == sizeof *pPicture ? yuv::lay_out(*pPicture) : 0;
}

int V_YuvToBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, const V_YUVPICTURE* pPicture) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    yuv::Picture picture;
    const int result = check_given(pPicture, &picture);
    if (result == V_SUCCESS)
        return yuv::make_bitmap(*pBitmap, uStructSize, picture);
    clear_record(*pBitmap, uStructSize);
    return result;
}

int V_BitmapToYuv(BITMAPHANDLE* pBitmap, V_YUVPICTURE* pPicture) noexcept
{
    int result = check_allocated(pBitmap);
    yuv::Picture picture;
    if (result == V_SUCCESS)
        result = check_given(pPicture, &picture);
    if (result == V_SUCCESS)
        result = check_rows(*pBitmap);
    if (result == V_SUCCESS && !has_size(*pBitmap, picture))
        result = V_ERROR_INVALID_WIDTH_HEIGHT;
    return result == V_SUCCESS ? yuv::make_picture(*pBitmap, picture) : result;
}
