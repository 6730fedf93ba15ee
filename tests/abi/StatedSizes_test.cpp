// Records that state more than their blocks hold: no operation may look behind a block. What is read there shows under
// the address sanitizer; a colour that is found there shows everywhere.
#include "tests/abi/RecordOperations.h"

#include "Vkbitmap.h"
#include "Vkkrnx.h"

#include <cstring>

namespace vk::testing {
namespace {

constexpr uint32_t kEntries = 16;
constexpr uint32_t kTooMany = 0x10000;

/// A locked block of so many entries, all alike.
template <class Entry> Entry* table_of(Entry entry)
{
    auto* const table = static_cast<Entry*>(GlobalLock(GlobalAlloc(GHND, kEntries * sizeof(Entry))));
    std::fill_n(table, kEntries, entry);
    return table;
}

void make(B bitmap, int32_t bits)
{
    ASSERT_EQ(SUCCESS, V_CreateBitmap(bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, kWidth, kHeight, bits,
                                      bits == 16 ? COLORORDER_GRAY : COLORORDER_RGB, nullptr, TOP_LEFT, nullptr, 0));
    ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap, 10));
    bitmap->LUT = table_of(RGBQUAD{});
    bitmap->LUT16 = table_of(V_RGBQUAD16{});
    bitmap->LUTLength = bitmap->LUTLength16 = kEntries;
    bitmap->Flags |= BITMAPFLAG_USELUT;
}

TEST(StatedSizes, NothingBehindABlockIsLookedAt)
{
    constexpr void (*kLies[])(B) = {
        [](B b) { b->Colors = 256; },
        [](B b) { b->Colors = 0xFFFFFFFF; },
        [](B b) { b->LUTLength = kTooMany; },
        [](B b) { b->LUTLength16 = kTooMany; },
        [](B b) {
            GlobalFree(GlobalHandle(b->LUT)); // the other table serves alone
            b->LUT = nullptr;
            b->LUTLength16 = kTooMany;
        },
        [](B b) { b->ExtraDataSize = kTooMany; },
        [](B b) { b->Height = kHeight - 2; },
    };
    for (const int32_t bits : {2, 8, 16})
        for (const auto& lie : kLies)
            for (const RecordOperation& operation : all_operations()) {
                BITMAPHANDLE bitmap;
                make(&bitmap, bits);
                lie(&bitmap);
                operation.run(&bitmap);
                V_FreeBitmap(&bitmap);
            }
}

TEST(StatedSizes, AColourIsNotFoundBehindATable)
{
    BITMAPHANDLE bitmap;
    make(&bitmap, 16);
    RGBQUAD* const table = bitmap.LUT;
    std::fill_n(table + kEntries / 2, kEntries / 2, RGBQUAD{9, 9, 9, 0});
    void* const block = GlobalHandle(table);
    GlobalReAlloc(block, kEntries / 2 * sizeof(RGBQUAD), 0); // locked: stays where it is
    EXPECT_GT(0x01000000u + kEntries / 2, V_TranslateBitmapColor(&bitmap, nullptr, 0x04090909u)) << "gray 9";
    V_FreeBitmap(&bitmap);
}

} // namespace
} // namespace vk::testing
