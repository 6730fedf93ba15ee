// The dib family's door: device-independent bitmaps made from bitmaps, and bitmaps from them.
//
// Inside: Read.cpp decodes and copies one into a bitmap, Adopt.cpp makes its block a bitmap's storage, Write.cpp makes
// one from a bitmap. Header.h, BitFields.h, Runs.h and Yuv.h know headers, colour masks, run lengths and YUV codes;
// Codecs.h holds the module that decodes JPEG.
#include "Vkdib.h"

#include "kernel/bitmap/Record.h"
#include "kernel/dib/Dib.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"

using namespace vk;

namespace {

int adopt_checked(BITMAPHANDLE* bitmap, uint32_t struct_size, HGLOBAL handle, bool borrow) noexcept
{
    if (!bitmap)
        return V_ERROR_INVALID_PARAMETER;
    return is_record_size(struct_size) ? adopt_dib(*bitmap, struct_size, handle, borrow) : V_ERROR_INVALID_STRUCT_SIZE;
}

} // namespace

HGLOBAL V_ChangeToDIB(BITMAPHANDLE* pBitmap, uint32_t uType) noexcept
{
    if (check_allocated(pBitmap) != V_SUCCESS || is_pinned(*pBitmap))
        return nullptr;
    return change_to_dib(*pBitmap, uType);
}

HGLOBAL V_ConvertToDIB(BITMAPHANDLE* pBitmap, uint32_t uType) noexcept
{
    return check_allocated(pBitmap) == V_SUCCESS ? convert_to_dib(*pBitmap, uType, nullptr, true) : nullptr;
}

void* V_ConvertToDIB2(BITMAPHANDLE* pBitmap, uint32_t uType, uint32_t* puSize, int bGlobal) noexcept
{
    return check_allocated(pBitmap) == V_SUCCESS ? convert_to_dib(*pBitmap, uType, puSize, bGlobal != 0) : nullptr;
}

int V_ChangeFromDIB(BITMAPHANDLE* pBitmap, uint32_t uStructSize, HGLOBAL hDIB) noexcept
{
    return adopt_checked(pBitmap, uStructSize, hDIB, false);
}

int V_MirrorFromDIB(BITMAPHANDLE* pBitmap, uint32_t uStructSize, HGLOBAL hDIB) noexcept
{
    return adopt_checked(pBitmap, uStructSize, hDIB, true);
}

int V_ConvertFromDIB(BITMAPHANDLE* pBitmap, uint32_t uStructSize, const BITMAPINFO* pInfo, const void* pBits) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    DibSource dib;
    dib.header = reinterpret_cast<const uint8_t*>(pInfo);
    dib.bits = static_cast<const uint8_t*>(pBits);
    if (!dib.header) {
        clear_record(*pBitmap, uStructSize);
        return V_ERROR_INVALID_PARAMETER;
    }
    return convert_from_dib(*pBitmap, uStructSize, dib);
}
