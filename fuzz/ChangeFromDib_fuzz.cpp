// Blocks from anyone as storage: the input is a whole block. What is refused stays as it was; what is accepted can be
// read to the last byte, and goes back into a DIB that is accepted again.
#include "fuzz/DibSupport.h"

#include "Vkbitmap.h"
using namespace vk::fuzz;

namespace {

HGLOBAL block_of(const uint8_t* data, size_t size)
{
    HGLOBAL const block = GlobalAlloc(GMEM_MOVEABLE, size);
    require(block != nullptr);
    void* const bytes = GlobalLock(block);
    if (size != 0)
        std::memcpy(bytes, data, size);
    GlobalUnlock(block);
    return block;
}

void expect_same(HGLOBAL block, const uint8_t* data, size_t size)
{
    require((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
    require(std::memcmp(GlobalLock(block), data, size) == 0);
    GlobalUnlock(block);
}

bool is_vast(const uint8_t* data, size_t size)
{
    return size >= 12 &&
           std::llabs(int64_t{value_at<int32_t>(data + 4)}) * std::llabs(int64_t{value_at<int32_t>(data + 8)}) >
               kMostPixels;
}

/// A header whose block cannot be taken over, but can be copied: bit fields, whose planes do not count then.
bool is_only_copied(const uint8_t* data, size_t size)
{
    return size >= 20 && value_at<uint16_t>(data + 12) != 1 && value_at<uint32_t>(data + 16) == BI_BITFIELDS;
}

void go_back(BITMAPHANDLE& bitmap, uint32_t type)
{
    HGLOBAL const converted = V_ConvertToDIB(&bitmap, type);
    HGLOBAL const dib = V_ChangeToDIB(&bitmap, type);
    require(dib && converted && !(bitmap.Flags & BITMAPFLAG_ALLOCATED));
    GlobalFree(converted);
    BITMAPHANDLE again;
    const int code = V_ChangeFromDIB(&again, BITMAPHANDLE_SIZE, dib);
    if (code == V_SUCCESS)
        V_FreeBitmap(&again);
    else // masks over the pixels of 5-6-5 leave no room for the pixels behind them
        GlobalFree(dib);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > 1u << 16 || is_vast(data, size))
        return 0;
    HGLOBAL const block = block_of(data, size);
    BITMAPHANDLE bitmap;
    const uint32_t record = size % 2 ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER;
    const int mirrored = V_MirrorFromDIB(&bitmap, record, block);
    expect_same(block, data, size);
    if (mirrored == V_SUCCESS)
        sum_of(bitmap);
    else
        expect_empty(bitmap);
    V_FreeBitmap(&bitmap);
    const int code = V_ChangeFromDIB(&bitmap, record, block);
    require((code == V_SUCCESS) == (mirrored == V_SUCCESS) || (mirrored == V_SUCCESS && is_only_copied(data, size)));
    if (code == V_SUCCESS) {
        sum_of(bitmap);
        go_back(bitmap, static_cast<uint32_t>(size % 3));
    } else {
        expect_empty(bitmap);
        expect_same(block, data, size);
        GlobalFree(block);
    }
    return 0;
}
