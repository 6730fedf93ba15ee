// Device-independent bitmaps.
#include "tests/abi/RecordOperations.h"

#include "Vkdib.h"

#include <cstring>

namespace vk::testing {

namespace {

intptr_t freed_size(HGLOBAL dib)
{
    const auto size = static_cast<intptr_t>(dib ? GlobalSize(dib) : 0);
    if (dib)
        GlobalFree(dib);
    return size;
}

intptr_t convert_to_memory(B bitmap)
{
    uint32_t size = 0;
    void* const dib = V_ConvertToDIB2(bitmap, DIB_INFOHEADER, &size, 0);
    V_FreeMemory(dib);
    return size;
}

/// A small DIB as a block, or null without memory.
HGLOBAL small_dib()
{
    HGLOBAL const block = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER) + 4 * kHeight);
    auto* const header = static_cast<BITMAPINFOHEADER*>(block ? GlobalLock(block) : nullptr);
    if (!header)
        return block ? GlobalFree(block) : block;
    header->biSize = sizeof *header;
    header->biWidth = 1;
    header->biHeight = kHeight;
    header->biPlanes = 1;
    header->biBitCount = 24;
    GlobalUnlock(block);
    return block;
}

/// The record's size field is what these take as its size; the bitmap it held is freed first.
template <auto function> intptr_t from_block(B bitmap)
{
    HGLOBAL const block = small_dib();
    if (!block)
        return ERROR_NO_MEMORY;
    V_FreeBitmap(bitmap);
    const int code = function(bitmap, bitmap->StructSize, block);
    if (code != SUCCESS || function == V_MirrorFromDIB) {
        V_FreeBitmap(bitmap);
        GlobalFree(block);
    }
    return code;
}

intptr_t convert_from(B bitmap)
{
    HGLOBAL const block = small_dib();
    const auto* const data = static_cast<const uint8_t*>(block ? GlobalLock(block) : nullptr);
    int code = ERROR_NO_MEMORY;
    if (data) {
        V_FreeBitmap(bitmap);
        code = V_ConvertFromDIB(bitmap, bitmap->StructSize, reinterpret_cast<const BITMAPINFO*>(data), data + 40);
        GlobalUnlock(block);
    }
    if (block)
        GlobalFree(block);
    return code;
}

} // namespace

const Family dib_operations = {
    {"V_ConvertToDIB", [](B bitmap) -> intptr_t { return freed_size(V_ConvertToDIB(bitmap, DIB_V5HEADER)); }, false},
    {"V_ConvertToDIB2", convert_to_memory, false},
    {"V_MirrorFromDIB", from_block<V_MirrorFromDIB>, true, Failed::part_way},
    {"V_ChangeFromDIB", from_block<V_ChangeFromDIB>, true, Failed::part_way},
    {"V_ChangeToDIB", [](B bitmap) -> intptr_t { return freed_size(V_ChangeToDIB(bitmap, DIB_V4HEADER)); }, false},
    {"V_ConvertFromDIB", convert_from, true, Failed::part_way},
};

} // namespace vk::testing
