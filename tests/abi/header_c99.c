/* The public header as C99 code sees it: it compiles under -Wpedantic, its records have the layout of the binary
 * interface, and its inline accessors and macros work. layout_test.cpp holds C++ to the same layout. */
#include "Vkkrnx.h"

#define VK_RECORD(record, size) typedef char size_of_##record[sizeof(record) == (size) ? 1 : -1];
#define VK_FIELD(record, field, offset, size)                                                                          \
    typedef char offset_of_##record##_##field[offsetof(record, field) == (offset) ? 1 : -1];                           \
    typedef char size_of_##record##_##field[sizeof(((record*)0)->field) == (size) ? 1 : -1];
#include "records.inc"

typedef char the_earlier_record[BITMAPHANDLE_SIZE_EARLIER == 228 ? 1 : -1];
typedef char codes_are_32_bits[sizeof(int) == 4 ? 1 : -1];

/* Takes a bitmap through its life from C. Returns 0, or the line of the first step that went wrong. */
int vk_c99_life_of_a_bitmap(void)
{
    BITMAPHANDLE bitmap;
    HGLOBAL block;
    if (V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 3, 2, 24, COLORORDER_BGR, NULL, TOP_LEFT, NULL, 0) !=
        SUCCESS) {
        return __LINE__;
    }
    if (!V_BitmapIsAllocated(&bitmap) || V_BitmapIsDiskMemory(&bitmap)) {
        return __LINE__;
    }
    if (V_PutPixelColor(&bitmap, 1, 2, 0x00030201u) != V_SUCCESS ||
        (V_GetPixelColor(&bitmap, 1, 2) & 0xFFFFFFu) != 0x030201u) {
        return __LINE__;
    }
    if (V_GetPixelData(&bitmap, NULL, 0, 0, 3) != ERROR_INVALID_IMAGE ||
        V_GetDefaultMemoryType(NULL) != ERROR_INVALID_PARAMETER) {
        return __LINE__;
    }
    V_FreeBitmap(&bitmap);
    if (V_BitmapIsAllocated(&bitmap)) {
        return __LINE__;
    }
    block = GlobalAlloc(GHND, 10);
    if (block == NULL || GlobalLock(block) == NULL || GlobalUnlock(block) != 0 || GlobalFree(block) != NULL) {
        return __LINE__;
    }
    return 0;
}
