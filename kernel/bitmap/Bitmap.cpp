// The bitmap family's door: a record described, given storage, moved, copied and freed.
//
// Inside: Record.cpp describes, Alloc.cpp chooses storage (kernel/storage makes it), Create.cpp does both;
// MemoryInfo.cpp, Height.cpp and Heap.cpp change what an allocated bitmap lives in; Duplicate.cpp makes bitmaps from
// bitmaps, Copy.cpp moves their pixels, Staged.h replaces a bitmap on success only; Overlay.cpp and ExtraData.cpp keep
// what hangs on a record; Callbacks.cpp asks those who want to be asked.
#include "Vkbitmap.h"
#include "Vksystem.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/Create.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/ExtraData.h"
#include "kernel/bitmap/MemoryInfo.h"
#include "kernel/bitmap/Record.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"

#include <cstring>

using namespace vk;

namespace {

/// The functions for extra data answer a null record in their own way.
int check_owner(const BITMAPHANDLE* bitmap) noexcept
{
    return bitmap ? check_record(bitmap) : V_ERROR_INVALID_IMAGE;
}

int check_compressed(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_record(bitmap);
    if (result != V_SUCCESS)
        return result;
    return bitmap->Flags & BITMAPFLAG_ALLOCATED && has_run_rows(*bitmap) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

} // namespace

int V_InitBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, int32_t nWidth, int32_t nHeight,
                 int32_t nBitsPerPixel) noexcept
{
    return V_InitBitmapWithCallbacks(pBitmap, uStructSize, nWidth, nHeight, nBitsPerPixel, nullptr);
}

int V_InitBitmapWithCallbacks(BITMAPHANDLE* pBitmap, uint32_t uStructSize, int32_t nWidth, int32_t nHeight,
                              int32_t nBitsPerPixel, const BITMAPDATACALLBACKS* pCallbacks) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    return init_bitmap(*pBitmap, uStructSize, nWidth, nHeight, nBitsPerPixel, pCallbacks);
}

int V_AllocateBitmap(BITMAPHANDLE* pBitmap, uint32_t uMemory) noexcept
{
    const int result = check_record(pBitmap);
    return result == V_SUCCESS ? allocate_bitmap(*pBitmap, uMemory, nullptr) : result;
}

int V_CreateBitmap(BITMAPHANDLE* pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth, int32_t nHeight,
                   int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD* pPalette, int32_t nViewPerspective,
                   void* pData, uint64_t uDataSize) noexcept
{
    return V_CreateBitmapWithCallbacks(pBitmap, uStructSize, uMemory, nWidth, nHeight, nBitsPerPixel, nOrder, pPalette,
                                       nViewPerspective, pData, uDataSize, nullptr);
}

int V_CreateBitmapWithCallbacks(BITMAPHANDLE* pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth,
                                int32_t nHeight, int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD* pPalette,
                                int32_t nViewPerspective, void* pData, uint64_t uDataSize,
                                const BITMAPDATACALLBACKS* pCallbacks) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!is_record_size(uStructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    return create_bitmap(
        *pBitmap, uStructSize,
        {uMemory, nWidth, nHeight, nBitsPerPixel, nOrder, pPalette, nViewPerspective, pData, uDataSize, pCallbacks});
}

void V_FreeBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    if (check_record(pBitmap) != V_SUCCESS)
        return;
    free_bitmap(*pBitmap);
    if (is_current(*pBitmap))
        pBitmap->LockCount = 0; // its locks went with the storage
}

int V_SetBitmapDataPointer(BITMAPHANDLE* pBitmap, void* pData, uint64_t uDataSize) noexcept
{
    const int result = check_record(pBitmap);
    return result == V_SUCCESS ? set_data_pointer(*pBitmap, pData, uDataSize) : result;
}

int V_ChangeBitmapHeight(BITMAPHANDLE* pBitmap, int32_t nHeight) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_PARAMETER;
    if (!(pBitmap->Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_IMAGE;
    if (!is_record_size(pBitmap->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (is_lent(*pBitmap) || is_pinned(*pBitmap))
        return V_ERROR_INVALID_PARAMETER;
    if (nHeight == pBitmap->Height)
        return V_SUCCESS;
    return nHeight < 1 ? V_ERROR_INVALID_WIDTH_HEIGHT : change_height(*pBitmap, nHeight);
}

int V_UpdateBitmapSize(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result == V_SUCCESS)
        recount_size(*pBitmap);
    return result;
}

int V_GetBitmapMemoryInfo(BITMAPHANDLE* pBitmap, uint32_t* puMemory, int64_t* pnTileSize, int32_t* pnTiles,
                          int32_t* pnConvTiles, int32_t* pnTilesLeft, int32_t* pnConvBuffers) noexcept
{
    const auto tell = [](auto* out, auto value) noexcept {
        if (out)
            *out = value;
    };
    StoreFigures figures;
    const auto tell_figures = [&]() noexcept {
        tell(pnTileSize, figures.tile_bytes);
        tell(pnTiles, figures.tiles);
        tell(pnConvTiles, figures.memory_tiles);
        tell(pnTilesLeft, figures.file_tiles);
        tell(pnConvBuffers, figures.mapped_tiles);
    };
    tell(puMemory, 0u);
    tell_figures();
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (!puMemory)
        return V_ERROR_INVALID_PARAMETER;
    const Store* const store = store_of(*pBitmap);
    *puMemory = store ? store->memory_type : TYPE_DISK;
    if (store && store->has_tiles()) {
        store->calls.figures(*pBitmap, figures);
        tell_figures();
    }
    return V_SUCCESS;
}

int V_SetBitmapMemoryInfo(BITMAPHANDLE* pBitmap, uint32_t uMemory, int64_t nTileSize, int32_t nTiles,
                          int32_t nConvTiles, int32_t nTilesLeft, int32_t nConvBuffers, uint32_t uFlags) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    return change_memory(*pBitmap, uMemory, {nTileSize, nTiles, nConvTiles, nTilesLeft, nConvBuffers, uFlags});
}

int V_AllocateBitmapExtraData(BITMAPHANDLE* pBitmap, uint64_t uSize) noexcept
{
    const int result = check_owner(pBitmap);
    if (result != V_SUCCESS)
        return result;
    return uSize == 0 ? V_ERROR_INVALID_PARAMETER : allocate_extra_data(*pBitmap, uSize);
}

int V_FreeBitmapExtraData(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_owner(pBitmap);
    if (result == V_SUCCESS)
        free_extra_data(*pBitmap);
    return result;
}

int V_SetAllocateBitmapCallback(V_ALLOCATEBITMAPCALLBACK pfnCallback, void* pUserData,
                                V_ALLOCATEBITMAPCALLBACK* ppfnOld, void** ppOldUserData) noexcept
{
    const AllocateCallback before = exchange_allocate_callback({pfnCallback, pUserData});
    if (ppfnOld)
        *ppfnOld = before.function;
    if (ppOldUserData)
        *ppOldUserData = before.user_data;
    return V_SUCCESS;
}

int V_SetBitmapDataCallbacks(BITMAPHANDLE* pBitmap, const BITMAPDATACALLBACKS* pCallbacks) noexcept
{
    const int result = check_record(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (data_size(*pBitmap) == 0)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    if (pCallbacks && pCallbacks->StructSize != sizeof *pCallbacks)
        return V_ERROR_INVALID_STRUCT_SIZE;
    return set_data_callbacks(*pBitmap, pCallbacks);
}

int V_GetBitmapDataCallbacks(BITMAPHANDLE* pBitmap, BITMAPDATACALLBACKS* pCallbacks, uint32_t uStructSize) noexcept
{
    const int result = pCallbacks ? check_record(pBitmap) : V_ERROR_INVALID_PARAMETER;
    if (result != V_SUCCESS)
        return result;
    if (uStructSize != sizeof *pCallbacks)
        return V_ERROR_INVALID_STRUCT_SIZE;
    *pCallbacks = BITMAPDATACALLBACKS{};
    if (const BITMAPDATACALLBACKS* const calls = data_callbacks(*pBitmap))
        *pCallbacks = *calls;
    pCallbacks->StructSize = uStructSize;
    return V_SUCCESS;
}

int V_TrimBitmapHeap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_compressed(pBitmap);
    return result == V_SUCCESS ? trim_heap(*pBitmap) : result;
}

int V_GrowBitmapHeap(BITMAPHANDLE* pBitmap, uint64_t uBytes) noexcept
{
    const int result = check_compressed(pBitmap);
    return result == V_SUCCESS ? grow_heap(*pBitmap, uBytes) : result;
}

int V_SetRegionHooks(const REGIONHOOKS* pHooks) noexcept
{
    REGIONCOPYHOOKS hooks{};
    if (pHooks && pHooks->StructSize != sizeof *pHooks && pHooks->StructSize != sizeof hooks)
        return V_ERROR_INVALID_STRUCT_SIZE;
    if (pHooks)
        std::memcpy(&hooks, pHooks, pHooks->StructSize);
    set_region_hooks(hooks);
    return V_SUCCESS;
}

int V_ChangeBitmapCompression(BITMAPHANDLE* pBitmap, int32_t nCompression) noexcept
{
    const int result = check_allocated(pBitmap);
    return result == V_SUCCESS ? change_compression(*pBitmap, nCompression) : result;
}

int V_ToggleBitmapCompression(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    return change_compression(*pBitmap, is_compressed(*pBitmap) ? 0 : best_compression(pBitmap->BitsPerPixel));
}

int V_DupBitmapNewDim(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize, int32_t nWidth, int32_t nHeight,
                      int32_t nBitsPerPixel, uint32_t uMemory, uint32_t uDupFlags) noexcept
{
    int result = check_duplicate(pDst, pSrc, uStructSize);
    if (result != V_SUCCESS)
        return result;
    if (uDupFlags & ~kDupFlags) {
        clear_record(*pDst, uStructSize);
        return V_ERROR_INVALID_PARAMETER;
    }
    const Shape shape{nWidth, nHeight, nBitsPerPixel, Shape::kLikeSource, uMemory};
    result = make_like(*pDst, *pSrc, uStructSize, shape, uDupFlags);
    if (result == V_SUCCESS && uDupFlags & DUPFLAG_TAKEOVER)
        hand_over(*pDst, *pSrc, uDupFlags);
    return result;
}

int V_CopyBitmap(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc, uint32_t uStructSize) noexcept
{
    const int result = check_duplicate(pDst, pSrc, uStructSize);
    return result == V_SUCCESS ? copy_bitmap(*pDst, *pSrc, uStructSize) : result;
}

int V_CopyBitmapData(BITMAPHANDLE* pDst, BITMAPHANDLE* pSrc) noexcept
{
    int result = check_allocated(pDst);
    if (result == V_SUCCESS)
        result = check_allocated(pSrc);
    return result == V_SUCCESS && pDst != pSrc ? copy_bitmap_data(*pDst, *pSrc) : result;
}

void V_FreeDuplicateBitmap(BITMAPHANDLE* pBitmap) noexcept
{
    if (check_record(pBitmap) == V_SUCCESS)
        free_bitmap(*pBitmap);
}
