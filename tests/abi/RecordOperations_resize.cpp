// Resizing.
#include "tests/abi/RecordOperations.h"

#include "Vkresize.h"

namespace vk::testing {

namespace {

using Resize = int (*)(B from, B to, uint32_t flags);

/// Into a second record and back.
template <Resize resize> intptr_t there_and_back(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) {
        const int32_t bits = b->StructSize == size ? b->BitsPerPixel : 8;
        const int created = V_CreateBitmap(other, size, TYPE_CONV, kWidth + 20, kHeight - 4, bits, b->Order, nullptr,
                                           BOTTOM_LEFT, nullptr, 0);
        const int code = created == SUCCESS ? resize(b, other, SIZEFLAG_FAVORBLACK) : created;
        return code == SUCCESS ? resize(other, b, SIZEFLAG_NORMAL) : code;
    });
}

template <uint32_t flags> intptr_t size(B bitmap)
{
    const int code = V_SizeBitmap(bitmap, kWidth + 8, kHeight + 2, flags);
    return code == SUCCESS ? V_SizeBitmap(bitmap, kWidth, kHeight, flags) : code;
}

} // namespace

const Family resize_operations = {
    {"V_IntResizeBitmap", there_and_back<V_IntResizeBitmap>, true, Failed::part_way},
    {"V_ResizeBitmap", there_and_back<V_ResizeBitmap>, true, Failed::part_way},
    {"V_SizeBitmap", size<SIZEFLAG_NORMAL>, true, Failed::part_way},
    {"V_SizeBitmap (favour black, alpha)", size<SIZEFLAG_FAVORBLACK | SIZEFLAG_ALPHAAWARE>, true, Failed::part_way},
    {"V_SizeBitmap (filters)", size<SIZEFLAG_BICUBIC>, true, Failed::part_way},
};

} // namespace vk::testing
