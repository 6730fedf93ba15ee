// Every operation on a record of the earlier, shorter kind: nothing behind its last byte is written, and nothing there
// is read, which shows as the same results whatever stands there (and, where addresses are checked, as a report on the
// exact-size block). A record of neither size is refused untouched.
//
// Every exported function that takes a record has a row in kOperations.
#include "Vkcolor.h"
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 9;
constexpr size_t kRow = 512; // more than a row of any kind tried here

std::vector<uint8_t> g_row(kRow);    // rows for the operations
std::vector<uint8_t> g_pixels(8192); // user memory

struct Operation {
    const char* name;
    intptr_t (*run)(BITMAPHANDLE* bitmap);
    bool tests_size; // a record of neither size is ERROR_INVALID_STRUCT_SIZE
};

template <auto function> intptr_t plain(BITMAPHANDLE* bitmap)
{
    return function(bitmap);
}

size_t row_bytes(const BITMAPHANDLE* bitmap)
{
    return bitmap->BytesPerLine < kRow ? bitmap->BytesPerLine : 0;
}

intptr_t memory_info(BITMAPHANDLE* bitmap)
{
    uint32_t memory = 0;
    int64_t tile_size = 0;
    int32_t tiles = 0;
    int32_t in_memory = 0;
    const int code = V_GetBitmapMemoryInfo(bitmap, &memory, &tile_size, &tiles, &in_memory, nullptr, nullptr);
    return code == SUCCESS ? static_cast<intptr_t>(memory + tile_size * 65536 + tiles * 16 + in_memory) : code;
}

intptr_t set_callbacks(BITMAPHANDLE* bitmap)
{
    BITMAPDATACALLBACKS none{};
    none.StructSize = sizeof none;
    return V_SetBitmapDataCallbacks(bitmap, &none);
}

intptr_t get_callbacks(BITMAPHANDLE* bitmap)
{
    BITMAPDATACALLBACKS seen{};
    const int code = V_GetBitmapDataCallbacks(bitmap, &seen, sizeof seen);
    return code == SUCCESS && seen.UserData != nullptr ? 0 : code;
}

intptr_t put_segment(BITMAPHANDLE* bitmap)
{
    const ROWSEGMENT segment{3, 11};
    return V_PutBitmapRowSegments(bitmap, g_row.data(), 2, &segment, 1);
}

template <uint32_t memory> intptr_t move_to(BITMAPHANDLE* bitmap)
{
    return V_SetBitmapMemoryInfo(bitmap, memory, 200, 0, 0, 0, 0, MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE);
}

using B = BITMAPHANDLE*;

// Sixteen entries of different colours.
std::vector<RGBQUAD> palette()
{
    std::vector<RGBQUAD> entries(16);
    EXPECT_EQ(SUCCESS, V_GetFixedPalette(entries.data(), 4));
    return entries;
}

intptr_t set_palette_object(B bitmap)
{
    const HPALETTE object = V_CreatePalette(palette().data(), 16);
    const int code = V_SetBitmapPalette(bitmap, object);
#if defined(_WIN32)
    DeleteObject(object);
#else
    V_DeletePalette(object);
#endif
    return code;
}

// An operation with another bitmap, whose record is of the same kind and ends at the heap block's end.
template <class Operation> intptr_t with_other(B bitmap, Operation operation)
{
    const uint32_t size = bitmap->StructSize == BITMAPHANDLE_SIZE ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER;
    const auto block = std::make_unique<uint8_t[]>(size);
    auto* other = reinterpret_cast<B>(block.get());
    EXPECT_EQ(SUCCESS, V_InitBitmap(other, size, 5, 5, 4));
    EXPECT_EQ(SUCCESS, V_SetBitmapNewPalette(other, palette().data(), 16));
    const auto result = static_cast<intptr_t>(operation(bitmap, other));
    V_FreeBitmap(other);
    return result;
}

intptr_t copy_palette(B bitmap)
{
    return with_other(bitmap, [](B b, B other) { return V_CopyBitmapPalette(b, other); });
}

intptr_t copy_palette_to(B bitmap)
{
    return with_other(bitmap, [](B b, B other) { return V_CopyBitmapPalette(other, b); });
}

intptr_t translate_color(B bitmap)
{
    return with_other(bitmap, [](B b, B other) {
        return V_TranslateBitmapColor(b, other, 0x01000003u) ^ V_TranslateBitmapColor(other, b, 0x00804020u);
    });
}

// Read from top to bottom: the life of a bitmap.
const Operation kOperations[] = {
    {"V_AccessBitmap", plain<V_AccessBitmap>, false},
    {"V_PutBitmapRow", [](B b) { return V_PutBitmapRow(b, g_row.data(), 1, row_bytes(b)); }, true},
    {"V_GetBitmapRow", [](B b) { return V_GetBitmapRow(b, g_row.data(), 1, row_bytes(b)); }, true},
    {"V_PutBitmapRowCol", [](B b) { return V_PutBitmapRowCol(b, g_row.data(), 3, 8, 2); }, true},
    {"V_GetBitmapRowCol", [](B b) { return V_GetBitmapRowCol(b, g_row.data(), 3, 8, 2); }, true},
    {"V_PutBitmapRowSegments", put_segment, true},
    {"V_GetPixelData", [](B b) -> intptr_t { return V_GetPixelData(b, g_row.data(), 4, 5, kRow); }, true},
    {"V_PutPixelData", [](B b) -> intptr_t { return V_PutPixelData(b, g_row.data(), 4, 6, kRow); }, true},
    {"V_GetBitmapRowCompressed", [](B b) { return V_GetBitmapRowCompressed(b, g_row.data(), 1, kRow); }, true},
    {"V_PutBitmapRowCompressed", [](B b) { return V_PutBitmapRowCompressed(b, g_row.data(), 1, kRow); }, true},
    {"V_GetBitmapRowColCompressed", [](B b) { return V_GetBitmapRowColCompressed(b, g_row.data(), 1, 9, kRow); }, true},
    {"V_PutBitmapRowColCompressed", [](B b) { return V_PutBitmapRowColCompressed(b, g_row.data(), 1, 9, kRow); }, true},
    {"V_ReleaseBitmap", plain<V_ReleaseBitmap>, true},
    {"V_PutPixelColor", [](B b) -> intptr_t { return V_PutPixelColor(b, 2, 2, 0x00FFFFFFu); }, true},
    {"V_GetPixelColor", [](B b) -> intptr_t { return static_cast<intptr_t>(V_GetPixelColor(b, 2, 2)); }, false},
    {"V_SetBitmapPalette", set_palette_object, true},
    {"V_GetNearestPaletteIndex", [](B b) -> intptr_t { return V_GetNearestPaletteIndex(b, 0x00804020u); }, false},
    {"V_CopyBitmapPalette", copy_palette, true},
    {"V_CopyBitmapPalette (from it)", copy_palette_to, true},
    {"V_TranslateBitmapColor", translate_color, false},
    {"V_CompareBitmapToPalette", [](B b) -> intptr_t { return V_CompareBitmapToPalette(b, palette().data(), 16); },
     false},
    {"V_CreateBitmapGrayPalette", plain<V_CreateBitmapGrayPalette>, true},
    {"V_CreateBitmapFixedPalette", plain<V_CreateBitmapFixedPalette>, true},
    {"V_SetBitmapNewPalette", [](B b) -> intptr_t { return V_SetBitmapNewPalette(b, palette().data(), 16); }, true},
    {"V_UpdateBitmapSize", plain<V_UpdateBitmapSize>, true},
    {"V_GetBitmapMemoryInfo", memory_info, true},
    {"V_ChangeBitmapHeight", [](B b) -> intptr_t { return V_ChangeBitmapHeight(b, kHeight + 3); }, true},
    {"V_GrowBitmapHeap", [](B b) -> intptr_t { return V_GrowBitmapHeap(b, 100); }, true},
    {"V_TrimBitmapHeap", plain<V_TrimBitmapHeap>, true},
    {"V_SetBitmapDataCallbacks", set_callbacks, true},
    {"V_GetBitmapDataCallbacks", get_callbacks, true},
    {"V_AllocateBitmapExtraData", [](B b) -> intptr_t { return V_AllocateBitmapExtraData(b, 77); }, true},
    {"V_FreeBitmapExtraData", plain<V_FreeBitmapExtraData>, true},
    {"V_ChangeBitmapCompression", [](B b) -> intptr_t { return V_ChangeBitmapCompression(b, 1); }, true},
    {"V_ToggleBitmapCompression", plain<V_ToggleBitmapCompression>, true},
    {"V_SetBitmapMemoryInfo (tiles)", move_to<TYPE_TILED>, true},
    {"V_SetBitmapMemoryInfo (disk)", move_to<TYPE_DISK>, true},
    {"V_SetBitmapMemoryInfo (memory)", move_to<TYPE_CONV>, true},
    {"V_SetBitmapDataPointer", [](B b) -> intptr_t { return V_SetBitmapDataPointer(b, nullptr, 0); }, true},
};

// Where a bitmap comes from: one row per storage kind.
struct Origin {
    const char* name;
    uint32_t memory; // 0: initialised only
    int32_t bits;
};

const Origin kOrigins[] = {
    {"no storage", 0, 24},         {"memory", TYPE_CONV, 24}, {"memory, 1 bit", TYPE_CONV, 1},
    {"tiles", TYPE_TILED, 16},     {"a file", TYPE_DISK, 8},  {"run lengths", TYPE_COMPRESSED, 1},
    {"user memory", TYPE_USER, 4},
};

int make(BITMAPHANDLE* bitmap, uint32_t size, const Origin& origin)
{
    if (origin.memory == 0) {
        const int code = V_InitBitmap(bitmap, size, kWidth, kHeight, origin.bits);
        return code == SUCCESS ? V_InitBitmapWithCallbacks(bitmap, size, kWidth, kHeight, origin.bits, nullptr) : code;
    }
    if (origin.memory == TYPE_CONV) {
        const int code = V_InitBitmap(bitmap, size, kWidth, kHeight, origin.bits);
        return code == SUCCESS ? V_AllocateBitmap(bitmap, TYPE_CONV) : code;
    }
    void* pixels = origin.memory == TYPE_USER ? g_pixels.data() : nullptr;
    const int code = V_CreateBitmapWithCallbacks(bitmap, size, origin.memory, kWidth, kHeight, origin.bits,
                                                 COLORORDER_BGR, nullptr, TOP_LEFT, pixels, g_pixels.size(), nullptr);
    if (code == SUCCESS && origin.memory != TYPE_USER) {
        V_FreeBitmap(bitmap);
        return V_CreateBitmap(bitmap, size, origin.memory, kWidth, kHeight, origin.bits, COLORORDER_BGR, nullptr,
                              TOP_LEFT, nullptr, 0);
    }
    return code;
}

// Runs the whole life on a record with `room` bytes, those behind its end filled with `tail`. Returns all results.
std::vector<intptr_t> live(const Origin& origin, uint32_t size, size_t room, uint8_t tail)
{
    SCOPED_TRACE(origin.name);
    const auto block = std::make_unique<uint8_t[]>(room);
    std::memset(block.get(), tail, room);
    auto* bitmap = reinterpret_cast<BITMAPHANDLE*>(block.get());
    const std::vector<uint8_t> expected(room - size, tail);
    std::fill(g_row.begin(), g_row.end(), uint8_t{0});
    std::fill(g_pixels.begin(), g_pixels.end(), uint8_t{0});

    std::vector<intptr_t> results;
    auto note = [&](intptr_t result, const char* name) {
        results.push_back(result);
        EXPECT_TRUE(room == size || std::memcmp(block.get() + size, expected.data(), expected.size()) == 0) << name;
    };
    note(make(bitmap, size, origin), "creation");
    EXPECT_EQ(SUCCESS, results.back());
    for (const Operation& operation : kOperations) {
        note(operation.run(bitmap), operation.name);
    }
    V_FreeBitmap(bitmap);
    note(0, "V_FreeBitmap");
    return results;
}

TEST(EarlierRecord, EndsWhereItEnds)
{
    V_SetMemoryThresholds(0, 0, 200, 0, 0, THRESHOLD_TILESIZE);
    for (const uint32_t size : {BITMAPHANDLE_SIZE_EARLIER, BITMAPHANDLE_SIZE}) {
        for (const Origin& origin : kOrigins) {
            const auto exact = live(origin, size, size, 0xA5);
            EXPECT_EQ(exact, live(origin, size, size + 128, 0xA5)) << origin.name;
            EXPECT_EQ(exact, live(origin, size, size + 128, 0x00)) << origin.name;
            EXPECT_EQ(exact, live(origin, size, size + 128, 0xFF)) << origin.name;
        }
    }
    V_SetMemoryThresholds(0, 0, 0, 0, 0, THRESHOLD_TILESIZE);
}

TEST(EarlierRecord, OtherSizesAreRefusedUntouched)
{
    for (const uint32_t size : {0u, 4u, 227u, 229u, 283u, 285u, 0xFFFFFFFFu}) {
        std::vector<uint8_t> block(BITMAPHANDLE_SIZE + 16, 0xA5);
        std::memcpy(block.data(), &size, sizeof size);
        const std::vector<uint8_t> before = block;
        auto* bitmap = reinterpret_cast<BITMAPHANDLE*>(block.data());
        for (const Operation& operation : kOperations) {
            if (operation.tests_size) {
                EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, operation.run(bitmap)) << operation.name << ", size " << size;
            }
            EXPECT_EQ(before, block) << operation.name << ", size " << size;
        }
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_InitBitmap(bitmap, size, kWidth, kHeight, 8));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CreateBitmap(bitmap, size, TYPE_CONV, kWidth, kHeight, 8, COLORORDER_RGB,
                                                            nullptr, TOP_LEFT, nullptr, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_AllocateBitmap(bitmap, TYPE_CONV));
        V_FreeBitmap(bitmap);
        EXPECT_EQ(before, block) << "size " << size;
    }
}

} // namespace
