// The rotate family's door: turning a bitmap by any angle.
//
// Inside: RotateBitmap.cpp settles what is asked and stages the result, Geometry.h says where a pixel comes from and
// Turn.h tells it to the painters of kernel/sampling/.
#include "Vkrotate.h"
#include "Vksystem.h"

#include "kernel/rotate/Angle.h"
#include "kernel/rotate/Rotate.h"
#include "kernel/system/Checks.h"

using namespace vk;

int V_SinValue(int32_t nAngle) noexcept
{
    return sine_value(nAngle);
}

int V_CosValue(int32_t nAngle) noexcept
{
    return cosine_value(nAngle);
}

int V_RotateBitmap(BITMAPHANDLE* pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill) noexcept
{
    if (pBitmap && !is_record_size(pBitmap->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    return pBitmap ? rotate_bitmap(*pBitmap, nAngle, uFlags, crFill, 0, 100, 0, 0) : V_ERROR_INVALID_IMAGE;
}

int V_IntRotateBitmap(BITMAPHANDLE* pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill, int32_t nProgressStart,
                      int32_t nProgressEnd, double dCenterX, double dCenterY) noexcept
{
    if (!pBitmap || !(pBitmap->Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_IMAGE;
    if (!is_record_size(pBitmap->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    return rotate_bitmap(*pBitmap, nAngle, uFlags, crFill, nProgressStart, nProgressEnd, dCenterX, dCenterY);
}
