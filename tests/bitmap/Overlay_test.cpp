// What hangs on a bitmap and goes with it: overlays and the region.
#include "kernel/bitmap/Overlay.h"

#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

TEST(Overlay, TableAndItsBitmapsGoWithTheBitmap)
{
    for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
        for_each_fault([size] {
            TestBitmap bitmap(size);
            if (bitmap.create(TYPE_CONV, 10, 10, 8) != SUCCESS)
                return;
            vk::OverlayTable* const table = vk::require_overlays(*bitmap.get());
            EXPECT_TRUE(bitmap->Overlays == table);
            if (table == nullptr)
                return;
            EXPECT_EQ(table, vk::require_overlays(*bitmap.get())) << "one table per bitmap";
            constexpr uint32_t kinds[] = {TYPE_CONV, TYPE_DISK, TYPE_COMPRESSED};
            for (int slot = 0; slot < vk::kOverlaySlots; slot += 5)
                V_CreateBitmap(table->bitmaps + slot, BITMAPHANDLE_SIZE, kinds[slot % 3], 30, 3, 1, COLORORDER_RGB,
                               nullptr, TOP_LEFT, nullptr, 0);
            V_FreeBitmap(bitmap.get());
            EXPECT_TRUE(bitmap->Overlays == nullptr);
        });
    }
    // Also with a record that has no storage.
    const vk::fault::Live before = vk::fault::live();
    TestBitmap bitmap;
    EXPECT_NE(nullptr, vk::require_overlays(*bitmap.get()));
    V_FreeBitmap(bitmap.get());
    expect_same_live(before, vk::fault::live());
}

int count_frees(BITMAPHANDLE* bitmap, void* count)
{
    EXPECT_TRUE(bitmap->RgnInfo != nullptr);
    ++*static_cast<int*>(count);
    return -1; // too late to matter
}

TEST(Region, IsFreedThroughItsHook)
{
    int frees = 0;
    REGIONHOOKS hooks{};
    hooks.StructSize = sizeof hooks;
    hooks.UserData = &frees;
    hooks.FreeRegion = count_frees;
    EXPECT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    hooks.StructSize = 1;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetRegionHooks(&hooks));
    for (const bool allocated : {true, false}) {
        TestBitmap bitmap;
        if (allocated) {
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 10, 10, 8));
        }
        V_FreeBitmap(bitmap.get());
        bitmap->RgnInfo = &frees;
        V_FreeBitmap(bitmap.get());
        V_FreeBitmap(bitmap.get());
        EXPECT_TRUE(bitmap->RgnInfo == nullptr);
    }
    EXPECT_EQ(2, frees);
    EXPECT_EQ(SUCCESS, V_SetRegionHooks(nullptr));
    TestBitmap bitmap;
    bitmap->RgnInfo = &frees;
    V_FreeBitmap(bitmap.get());
    EXPECT_TRUE(bitmap->RgnInfo == nullptr && frees == 2);
}

} // namespace
