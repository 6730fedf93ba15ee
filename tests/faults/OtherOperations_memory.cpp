// Blocks of memory, lists and palettes.
#include "tests/faults/OtherOperations.h"

#include "Vkhuge.h"
#include "Vklist.h"
#include "Vkpalette.h"
#include "Vksystem.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace vk::testing {

namespace {

std::array<RGBQUAD, 256> g_entries;

intptr_t global_block()
{
    HGLOBAL block = GlobalAlloc(GHND, 100);
    if (!block)
        return FAILURE;
    HGLOBAL const grown = GlobalReAlloc(block, 9000, GMEM_ZEROINIT);
    EXPECT_EQ(grown ? 9000u : 100u, GlobalSize(grown ? grown : block));
    block = grown ? grown : block;
    void* const data = GlobalLock(block);
    EXPECT_EQ(data ? 1u : 0u, GlobalFlags(block) & GMEM_LOCKCOUNT);
    EXPECT_TRUE(!data || GlobalHandle(data) == block);
    if (data)
        GlobalUnlock(block);
    EXPECT_EQ(nullptr, GlobalFree(block));
    return result_of(grown && data);
}

template <uint32_t memory> intptr_t huge_block()
{
    HHUGEMEMORY block = nullptr;
    int code = V_AllocHugeMemory(&block, 200000, memory);
    if (code != V_SUCCESS)
        return code;
    void* data = nullptr;
    code = V_AccessHugeMemory(block, 70000, 1000, &data);
    if (code == V_SUCCESS)
        std::memset(data, 1, 1000);
    if (code == V_SUCCESS)
        code = V_ZeroHugeMemory(block, 1, 199999);
    const int freed = V_FreeHugeMemory(block);
    return code == V_SUCCESS ? freed : code;
}

intptr_t huge_block_of_caller()
{
    HHUGEMEMORY block = nullptr;
    const int code = V_CreateHugeMemoryFromPtr(&block, g_entries.data(), sizeof g_entries);
    return code == V_SUCCESS ? V_FreeHugeMemory(block) : code;
}

/// Two bitmaps in a list.
template <class Use> intptr_t with_list(Use use)
{
    HBITMAPLIST list = nullptr;
    int code = V_CreateBitmapList(&list);
    for (int i = 0; code == V_SUCCESS && i < 2; ++i) {
        BITMAPHANDLE bitmap{};
        code = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 9, 5, 24, COLORORDER_BGR, nullptr, TOP_LEFT,
                              nullptr, 0);
        if (code == V_SUCCESS)
            code = V_InsertBitmapListItem(list, 0, &bitmap);
        if (code != V_SUCCESS)
            V_FreeBitmap(&bitmap);
    }
    if (code == V_SUCCESS)
        code = use(list);
    if (list) {
        EXPECT_EQ(V_SUCCESS, V_DestroyBitmapList(list));
    }
    return code;
}

template <auto make> intptr_t other_list()
{
    return with_list([](HBITMAPLIST list) {
        HBITMAPLIST made = nullptr;
        const int code = make(&made, list, 0, 2);
        uint32_t left = 0;
        EXPECT_EQ(V_SUCCESS, V_GetBitmapListCount(list, &left));
        EXPECT_EQ(code == V_SUCCESS && make == V_MoveBitmapListItems ? 0u : 2u, left);
        EXPECT_EQ(code == V_SUCCESS, made != nullptr);
        if (made) {
            EXPECT_EQ(V_SUCCESS, V_DestroyBitmapList(made));
        }
        return code;
    });
}

intptr_t list_without_first()
{
    return with_list([](HBITMAPLIST list) { return V_DeleteBitmapListItems(list, 0, 1); });
}

intptr_t list_palette()
{
    return with_list([](HBITMAPLIST list) {
        uint32_t colors = 16;
        return V_CreateBitmapListOptPal(list, g_entries.data(), &colors, 0);
    });
}

intptr_t freed(RGBQUAD* palette)
{
    return palette ? V_FreePalette(palette) : FAILURE;
}

int delete_object(HPALETTE palette)
{
#if defined(_WIN32)
    return DeleteObject(palette);
#else
    return V_DeletePalette(palette);
#endif
}

intptr_t palette_object()
{
    const HPALETTE object = V_CreatePalette(g_entries.data(), 16);
    const HPALETTE copy = object ? V_DupPalette(object) : nullptr;
    if (copy) {
        EXPECT_EQ(16u, V_GetPaletteEntries(copy, 0, 0, nullptr));
    }
    if (copy)
        delete_object(copy);
    if (object)
        delete_object(object);
    return result_of(copy != nullptr);
}

intptr_t system_palette()
{
    const HPALETTE object = V_CreateSystemPalette(); // a display may have none
    if (object)
        delete_object(object);
    return FAILURE;
}

intptr_t match_table()
{
    uint32_t* const table = V_CreateUserMatchTable(g_entries.data(), 16);
    V_SetUserMatchTable(table);
    EXPECT_EQ(table, V_SetUserMatchTable(nullptr));
    return V_FreeUserMatchTable(table) == V_SUCCESS && table ? V_SUCCESS : FAILURE;
}

intptr_t fixed_palettes()
{
    return result_of(V_GetFixedPalette(g_entries.data(), 8) == V_SUCCESS && V_IntGetFixedPalette(4) &&
                     V_IntGetNetscapePalette() && V_FindPaletteIndex(g_entries.data(), 256, 0, 0, 0) == 0);
}

intptr_t stock()
{
    const uint64_t bound = V_GetMemoryStock();
    V_FreeMemory(nullptr);
    return result_of(V_SetMemoryStock(1 << 20) == V_SUCCESS && V_TrimMemory() == V_SUCCESS &&
                     V_SetMemoryStock(bound) == V_SUCCESS);
}

} // namespace

const OtherFamily memory_scenarios = {
    {"V_GlobalAlloc, V_GlobalReAlloc, V_GlobalLock, V_GlobalUnlock, V_GlobalFree, V_GlobalSize, V_GlobalHandle, "
     "V_GlobalFlags",
     global_block, Calls::here_only},
    {"V_AllocHugeMemory, V_AccessHugeMemory, V_ZeroHugeMemory, V_FreeHugeMemory", huge_block<TYPE_CONV>},
    {"V_AllocHugeMemory (file)", huge_block<TYPE_DISK>},
    {"V_CreateHugeMemoryFromPtr", huge_block_of_caller},
    {"V_CreateBitmapList, V_CopyBitmapListItems, V_GetBitmapListCount, V_DestroyBitmapList",
     other_list<V_CopyBitmapListItems>},
    {"V_MoveBitmapListItems", other_list<V_MoveBitmapListItems>},
    {"V_DeleteBitmapListItems", list_without_first},
    {"V_CreateBitmapListOptPal", list_palette},
    {"V_CreateFixedPalette, V_FreePalette", [] { return freed(V_CreateFixedPalette(4)); }},
    {"V_CreateGrayPalette", [] { return freed(V_CreateGrayPalette(8)); }},
    {"V_CreateNewPalette", [] { return freed(V_CreateNewPalette(g_entries.data(), 16)); }},
    {"V_CreatePalette, V_DupPalette, V_GetPaletteEntries, V_DeletePalette", palette_object, Calls::here_only},
    {"V_CreateSystemPalette", system_palette, Calls::none},
    {"V_CreateUserMatchTable, V_SetUserMatchTable, V_FreeUserMatchTable", match_table},
    {"V_GetFixedPalette, V_IntGetFixedPalette, V_IntGetNetscapePalette, V_FindPaletteIndex", fixed_palettes,
     Calls::none},
    {"V_TrimMemory, V_SetMemoryStock, V_GetMemoryStock, V_FreeMemory", stock, Calls::none},
};

} // namespace vk::testing
