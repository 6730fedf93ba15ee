// The layout of the records for C++, and what the header promises in the languages' and systems' own terms.
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <type_traits>

#define VK_RECORD(record, size) static_assert(sizeof(record) == (size), #record);
#define VK_FIELD(record, field, offset, bytes)                                                                         \
    static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (bytes), #record "::" #field);
#include "records.inc"

static_assert(BITMAPHANDLE_SIZE == 284 && BITMAPHANDLE_SIZE_EARLIER == 228);
static_assert(std::is_standard_layout_v<BITMAPHANDLE> && std::is_trivial_v<BITMAPHANDLE>);
static_assert(noexcept(V_FreeBitmap(nullptr)) && noexcept(V_GetPixelColor(nullptr, 0, 0)));

// Ours replace the system's macros of the same name.
static_assert(ERROR_FILE_NOT_FOUND == -10 && ERROR_INVALID_HANDLE == -261 && ERROR_INVALID_PARAMETER == -13);

extern "C" int vk_c99_life_of_a_bitmap(void);

TEST(Header, WorksFromC)
{
    EXPECT_EQ(0, vk_c99_life_of_a_bitmap()) << "line of header_c99.c";
}

// Each accessor answers to one bit, and every bit of the lower 17 has one.
TEST(Header, AccessorsTellTheFlagsApart)
{
    using Accessor = int (*)(const BITMAPHANDLE*);
    const Accessor accessors[] = {
        V_BitmapIsAllocated,     V_BitmapIsConventionalMemory,
        V_BitmapIsDiskMemory,    V_BitmapIsProgressiveAvailable,
        V_BitmapIsLocked,        V_BitmapIsInterlaced,
        V_BitmapIsWaitUserInput, V_BitmapIsTransparency,
        V_BitmapIsCompressed,    V_BitmapIsSigned,
        V_BitmapIsMirror,        V_BitmapIsUseLUT,
        V_BitmapIsGlobal,        V_BitmapIsUsePaintLUT,
        V_BitmapIsTiled,         V_BitmapIsSuperCompressed,
        V_BitmapIsNoClip,
    };
    for (uint32_t bit = 0; bit < 17; ++bit) {
        BITMAPHANDLE bitmap{};
        bitmap.Flags = 1u << bit;
        for (uint32_t i = 0; i < 17; ++i) {
            EXPECT_EQ(i == bit, accessors[i](&bitmap)) << "accessor " << i << ", bit " << bit;
        }
    }
}
