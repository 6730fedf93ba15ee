// Which storage a request gets, what callbacks may say about it, and how it is given back.
#include "tests/support/TestBitmap.h"

#include <iterator>
#include <set>

using namespace vk::testing;

namespace {

/// What V_GetBitmapMemoryInfo says, or a code.
int64_t memory_of(TestBitmap& bitmap)
{
    uint32_t memory = 0;
    const int code = V_GetBitmapMemoryInfo(bitmap.get(), &memory, nullptr, nullptr, nullptr, nullptr, nullptr);
    return code == SUCCESS ? static_cast<int64_t>(memory) : code;
}

/// The kind that a request must give a small bitmap, or the code.
int expected_memory(uint32_t memory, int32_t bits)
{
    static const std::set<uint32_t> accepted = {1,   2,   4,   8,   9,    128,  256,  257, 260,
                                                264, 265, 768, 769, 1024, 1025, 1280, 1281};
    if (memory == 0)
        return ERROR_INVALID_PARAMETER;
    if ((memory & 2) != 0)
        memory &= ~(8u | 256u);
    if ((memory & 512) != 0)
        memory = bits == 1 ? 768 : memory - 512;
    if (bits != 1 && bits != 8 && bits != 24)
        memory &= ~1024u;
    memory = memory == 0 ? 1 : memory;
    if (accepted.count(memory) == 0)
        return ERROR_INVALID_PARAMETER;
    if (memory == 768)
        return TYPE_COMPRESSED;
    return static_cast<int>((memory & 1024) != 0 ? TYPE_SUPERCOMPRESSED : memory == 128 ? TYPE_DISK : TYPE_CONV);
}

TEST(Allocation, EveryRequestAtEveryDepth)
{
    for (const int32_t bits : kDepths) {
        for (uint32_t memory = 0; memory < 4096; ++memory) {
            TestBitmap bitmap(memory % 3 == 0 ? BITMAPHANDLE_SIZE_EARLIER : BITMAPHANDLE_SIZE);
            ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), bitmap.struct_size(), 9, 4, bits));
            const auto before = bitmap.image();
            const int expected = expected_memory(memory, bits);
            ASSERT_EQ(expected < 0 ? expected : SUCCESS, V_AllocateBitmap(bitmap.get(), memory))
                << memory << " at " << bits;
            if (expected < 0) {
                ASSERT_EQ(before, bitmap.image()) << memory << " at " << bits;
            } else {
                ASSERT_EQ(expected, memory_of(bitmap)) << memory << " at " << bits;
            }
        }
    }
}

struct Fallback {
    uint32_t request;
    int32_t reserved;
    int64_t max_conv, tile;
    int32_t conv_tiles;
    int64_t disk_threshold;
    int64_t memory;       // or the code
    int32_t memory_tiles; // of all tiles
    uint32_t also = 0;    // a flag besides
};

constexpr int64_t kBytes = 4096; // 64 x 64 at 8 bits
constexpr int64_t kAny = -100;   // no limit on conventional blocks

const Fallback kFallbacks[] = {
    {TYPE_CONV, 0, kAny, 0, 0, 0, TYPE_CONV, 0},
    {TYPE_CONV, 0, kBytes, 0, 0, 0, TYPE_CONV, 0},
    {TYPE_CONV, 0, kBytes - 1, 1024, 0, 0, TYPE_TILED, 3},
    {TYPE_NOTILED, 0, kBytes, 0, 0, 0, TYPE_CONV, 0},
    {TYPE_CONV, 0, 0, 1024, 0, 0, TYPE_TILED, 0},
    {TYPE_CONV, 0, 0, 0, 0, 0, TYPE_TILED, 0},
    {TYPE_CONV, 0, 0x100000000, 0, 0, 0, TYPE_TILED, 0}, // the low 32 bits count
    {TYPE_CONV, 0, 0x1FFFFFFFF, 0, 0, 0, TYPE_CONV, 0},
    {TYPE_CONV, -100, kAny, 1024, 0, 0, TYPE_TILED, 0}, // all is reserved
    {TYPE_CONV, -1, -1, 1024, 0, 0, TYPE_CONV, 0},
    {TYPE_NOTILED, 0, 0, 0, 0, 0, TYPE_DISK, 0},
    {TYPE_CONV | TYPE_NOTILED, 0, 0, 0, 0, 0, TYPE_DISK, 0},
    {TYPE_NODISK, 0, 0, 1024, 0, 0, ERROR_NO_MEMORY, 0},
    {TYPE_CONV | TYPE_NODISK, 0, kBytes - 1, 1024, 0, 0, ERROR_NO_MEMORY, 0},
    {TYPE_CONV | TYPE_NODISK, 0, 0, 1024, -100, 0, TYPE_TILED, 4},
    {TYPE_NOTILED | TYPE_NODISK, 0, 0, 0, 0, 0, ERROR_NO_MEMORY, 0},
    {TYPE_CONV | TYPE_NOTILED | TYPE_NODISK, 0, 0, 0, 0, 0, ERROR_NO_MEMORY, 0},
    {TYPE_TILED, 0, kAny, 0, 0, 0, TYPE_CONV, 0},
    {TYPE_TILED, 0, kAny, kBytes, 0, 0, TYPE_CONV, 0},
    {TYPE_TILED, 0, kAny, kBytes - 1, 0, 0, TYPE_TILED, 0},
    {TYPE_TILED, 0, kAny, 1024, -50, 0, TYPE_TILED, 2},
    {TYPE_TILED, 0, kAny, 1, 3, 0, TYPE_TILED, 3}, // a tile holds a row at least
    {TYPE_TILED | TYPE_NODISK, 0, kAny, 1024, 3, 0, ERROR_NO_MEMORY, 0},
    {TYPE_TILED | TYPE_NODISK, 0, kAny, 1024, 4, 0, TYPE_TILED, 4},
    {TYPE_DISK, 0, kAny, 0, 0, 0, TYPE_DISK, 0},
    {TYPE_CONV, 0, kAny, 0, 0, kBytes - 1, TYPE_DISK, 0},
    {TYPE_CONV, 0, kAny, 0, 0, kBytes, TYPE_CONV, 0},
    {TYPE_NOTILED, 0, kAny, 0, 0, 1, TYPE_DISK, 0},
    {TYPE_CONV | TYPE_NODISK, 0, kAny, 0, 0, 1, TYPE_CONV, 0},
    {TYPE_TILED, 0, kAny, 1024, 0, 1, TYPE_TILED, 0},
    {TYPE_TILED, 0, kAny, kBytes, 0, 1, TYPE_CONV, 0},
    {TYPE_USER, 0, 0, 0, 0, 1, TYPE_CONV, 0, BITMAPFLAG_MIRROR},
};

void expect_figures(TestBitmap& bitmap, const Fallback& c)
{
    uint32_t memory = 7;
    int64_t tile_bytes = 7;
    int32_t tiles = 7;
    int32_t in_memory = 7;
    int32_t in_file = 7;
    int32_t mapped = 7;
    EXPECT_EQ(SUCCESS,
              V_GetBitmapMemoryInfo(bitmap.get(), &memory, &tile_bytes, &tiles, &in_memory, &in_file, &mapped));
    EXPECT_EQ(c.memory, memory);
    if (memory != TYPE_TILED) {
        EXPECT_TRUE(tile_bytes == 0 && tiles == 0 && in_memory == 0 && in_file == 0 && mapped == 0);
        return;
    }
    const int64_t rows = std::clamp<int64_t>((c.tile != 0 ? c.tile : 0x1000000) / 64, 1, 64);
    EXPECT_EQ(rows * 64, tile_bytes);
    EXPECT_EQ((64 + rows - 1) / rows, tiles);
    EXPECT_EQ(c.memory_tiles, in_memory);
    EXPECT_EQ(tiles - c.memory_tiles, in_file);
    EXPECT_GT(mapped, 0);
}

TEST(Allocation, ThresholdsChooseAndRuleOut)
{
    const Thresholds restore;
    for (const Fallback& c : kFallbacks) {
        SCOPED_TRACE(&c - kFallbacks);
        const GLOBALMEMORYTHRESHOLDS threshold{sizeof threshold, c.disk_threshold};
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(c.reserved, c.max_conv, c.tile, c.conv_tiles, 0, 31));
        ASSERT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(&threshold));
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 64, 64, 8));
        const auto before = bitmap.image();
        const int code = V_AllocateBitmap(bitmap.get(), c.request);
        V_SetGlobalMemoryThresholds(nullptr);
        EXPECT_EQ(c.memory < 0 ? c.memory : SUCCESS, code);
        if (code != SUCCESS) {
            EXPECT_EQ(before, bitmap.image());
            continue;
        }
        expect_figures(bitmap, c);
        EXPECT_EQ(c.also, bitmap->Flags & BITMAPFLAG_MIRROR);
        for (int i = 0; i < 256; ++i)
            ASSERT_EQ(i, bitmap->PaintLUT[i]);
        if (c.request != TYPE_USER) {
            EXPECT_EQ(std::vector<uint8_t>(kBytes, 0), bitmap.pixels());
        }
        if (c.memory == TYPE_CONV && c.also == 0) {
            EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(bitmap->Data) % 32);
        }
    }
}

TEST(Allocation, NothingToAllocateOrNoRecord)
{
    TestBitmap bitmap;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AllocateBitmap(nullptr, TYPE_CONV));
    for (const auto& [width, height] : {std::pair{0, 5}, std::pair{5, 0}, std::pair{0, 0}}) {
        ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, width, height, 8));
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_AllocateBitmap(bitmap.get(), 3));
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, bitmap.create(TYPE_USER, width, height, 8));
        EXPECT_TRUE(bitmap.is_empty());
    }
    bitmap->StructSize = 100;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_ChangeBitmapHeight(bitmap.get(), 3)) << "asked before the size";
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_UpdateBitmapSize(bitmap.get()));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetBitmapDataPointer(bitmap.get(), nullptr, 0));
    bitmap->StructSize = BITMAPHANDLE_SIZE;
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, 8));
    uint32_t memory = 9;
    EXPECT_EQ(ERROR_INVALID_IMAGE,
              V_GetBitmapMemoryInfo(bitmap.get(), &memory, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0u, memory);
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_ChangeBitmapHeight(bitmap.get(), 5));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_UpdateBitmapSize(bitmap.get()));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_ChangeBitmapCompression(bitmap.get(), 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY));
    ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              V_GetBitmapMemoryInfo(bitmap.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

/// The process-wide callback's orders and what it saw.
struct Asked {
    int result = SUCCESS;
    uint32_t memory = 0; // 0: leave it
    ALLOCATEBITMAPCALLBACKDATA seen{};
    int calls = 0;
};

int on_allocate(BITMAPHANDLE* bitmap, ALLOCATEBITMAPCALLBACKDATA* data, void* user)
{
    auto& asked = *static_cast<Asked*>(user);
    asked.seen = *data;
    ++asked.calls;
    if (asked.memory != 0)
        data->Memory = asked.memory;
    if (asked.result == 2)
        bitmap->Data = reinterpret_cast<uint8_t*>(user);
    return asked.result;
}

TEST(Allocation, ProcessCallbackMayVetoAndChangeTheRequest)
{
    Asked asked;
    Asked other;
    V_ALLOCATEBITMAPCALLBACK old = on_allocate;
    void* old_user = &other;
    ASSERT_EQ(SUCCESS, V_SetAllocateBitmapCallback(on_allocate, &asked, &old, &old_user));
    EXPECT_TRUE(old == nullptr && old_user == nullptr);

    const RGBQUAD palette[16] = {};
    TestBitmap bitmap;
    asked.memory = TYPE_DISK;
    EXPECT_EQ(SUCCESS, bitmap.create(TYPE_CONV | TYPE_NOTILED, 10, 7, 4, COLORORDER_RGB, palette));
    EXPECT_EQ(TYPE_DISK, memory_of(bitmap));
    const ALLOCATEBITMAPCALLBACKDATA& seen = asked.seen;
    EXPECT_EQ(sizeof seen, seen.StructSize);
    EXPECT_TRUE(seen.Flags == 0 && seen.Memory == 9 && seen.Width == 10 && seen.Height == 7 && seen.BitsPerPixel == 4);
    EXPECT_TRUE(seen.BytesPerLine == 0 && seen.Order == COLORORDER_RGB && seen.ViewPerspective == TOP_LEFT);
    EXPECT_TRUE(seen.Size == 56 && seen.Palette == palette);
    V_FreeBitmap(bitmap.get());

    for (const int result : {-1234, FAILURE, 2, 3}) { // anything but SUCCESS is handed back
        asked.result = result;
        EXPECT_EQ(result, bitmap.create(TYPE_CONV, 10, 7, 4));
        EXPECT_TRUE(bitmap.is_empty());
    }
    asked.result = SUCCESS;
    for (const uint32_t memory : {3u, 5u, 2048u}) {
        asked.memory = memory;
        EXPECT_EQ(ERROR_INVALID_PARAMETER, bitmap.create(TYPE_CONV, 10, 7, 8));
    }
    uint8_t lent[70] = {};
    asked.memory = TYPE_CONV; // lent memory of another size does not fit storage that is not lent
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateBitmap(bitmap.get(), BITMAPHANDLE_SIZE, TYPE_USER, 10, 7, 8, 0, nullptr,
                                                      TOP_LEFT, lent, sizeof lent));
    EXPECT_TRUE(bitmap.is_empty());
    const int calls = asked.calls;
    EXPECT_EQ(SUCCESS, V_SetAllocateBitmapCallback(nullptr, nullptr, &old, &old_user));
    EXPECT_TRUE(old == on_allocate && old_user == &asked);
    EXPECT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 10, 7, 4));
    EXPECT_EQ(calls, asked.calls);
}

/// A table whose callbacks keep a bitmap's pixels themselves, and count.
struct Holder {
    BITMAPDATACALLBACKS table{};
    Asked allocate;
    int free_result = SUCCESS;
    int frees = 0;
    intptr_t row_result = 0;
    int32_t row = -1;
    int32_t column = -1;
    size_t bytes = 0;
    int puts = 0;

    Holder()
    {
        table.StructSize = sizeof table;
        table.UserData = this;
        table.AllocateBitmapDataCallback = [](BITMAPHANDLE* bitmap, ALLOCATEBITMAPCALLBACKDATA* data, void* user) {
            EXPECT_TRUE(bitmap->Handle == nullptr && bitmap->Data == nullptr);
            return on_allocate(bitmap, data, &static_cast<Holder*>(user)->allocate);
        };
        table.FreeBitmapDataCallback = [](BITMAPHANDLE*, void* user) {
            auto& holder = *static_cast<Holder*>(user);
            ++holder.frees;
            return holder.free_result;
        };
        table.GetBitmapRowColCallback = [](BITMAPHANDLE*, void*, int32_t at, int32_t from, size_t count, void* user) {
            return on_rows(user, at, from, count);
        };
        table.PutBitmapRowColCallback = [](BITMAPHANDLE*, void*, int32_t at, int32_t from, size_t count, void* user) {
            ++static_cast<Holder*>(user)->puts;
            return on_rows(user, at, from, count);
        };
    }
    static intptr_t on_rows(void* user, int32_t row, int32_t column, size_t bytes)
    {
        auto& holder = *static_cast<Holder*>(user);
        holder.row = row;
        holder.column = column;
        holder.bytes = bytes;
        return holder.row_result;
    }
    int create(TestBitmap& bitmap, uint32_t memory, int32_t bits = 8)
    {
        return V_CreateBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, memory, 10, 7, bits, COLORORDER_RGB,
                                           nullptr, TOP_LEFT, nullptr, 0, &table);
    }
};

TEST(Allocation, DataCallbacksMayHoldThePixels)
{
    Holder holder;
    holder.allocate.result = 2;
    holder.free_result = 2;
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, holder.create(bitmap, TYPE_CONV));
    EXPECT_EQ(12u, holder.allocate.seen.BytesPerLine);
    EXPECT_EQ(TYPE_CONV, holder.allocate.seen.Memory);
    constexpr uint32_t kBits = BITMAPFLAG_ALLOCATED | BITMAPFLAG_MIRROR;
    EXPECT_EQ(kBits, bitmap->Flags);
    EXPECT_EQ(TYPE_DISK, memory_of(bitmap)) << "what is in no memory of ours counts as elsewhere";
    uint8_t buffer[12] = {};
    EXPECT_EQ(ERROR_NO_MEMORY, V_GetBitmapRow(bitmap.get(), buffer, 2, 12)) << "not handled, and nowhere else to look";
    for (const intptr_t result : {intptr_t{12}, intptr_t{3}, intptr_t{-77}}) {
        holder.row_result = result;
        EXPECT_EQ(result, V_GetBitmapRowCol(bitmap.get(), buffer, -3, 99, 500));
        EXPECT_TRUE(holder.row == -3 && holder.column == 99 && holder.bytes == 500 && holder.puts == 0);
        EXPECT_EQ(result, V_PutBitmapRow(bitmap.get(), buffer, 3, 1));
        EXPECT_TRUE(holder.row == 3 && holder.column == 0 && holder.bytes == 1 && holder.puts == 1);
        holder.puts = 0;
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapHeight(bitmap.get(), 9));
    EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED,
              V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY));
    V_FreeBitmap(bitmap.get());
    EXPECT_EQ(1, holder.frees);
    EXPECT_EQ(0u, bitmap->Flags & (kBits | 0xC506u));
    EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
}

TEST(Allocation, DataCallbacksMayLeaveTheLibraryToIt)
{
    for (const Kind kind : {Kind::conv, Kind::compressed, Kind::disk}) {
        Holder holder;
        holder.allocate.memory = kind == Kind::conv ? TYPE_CONV : kind == Kind::disk ? TYPE_DISK : TYPE_COMPRESSED;
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, holder.create(bitmap, TYPE_NOTILED, 1));
        EXPECT_EQ(holder.allocate.memory, memory_of(bitmap));
        const uint8_t row[4] = {0xA5, 0xC0, 0, 0};
        uint8_t back[4] = {};
        EXPECT_EQ(4, V_PutBitmapRow(bitmap.get(), row, 6, 4));
        EXPECT_EQ(4, V_GetBitmapRow(bitmap.get(), back, 6, 4));
        EXPECT_TRUE(std::equal(row, row + 4, back)) << "a callback that answers 0 lets the library move the bytes";
        V_FreeBitmap(bitmap.get());
        EXPECT_EQ(1, holder.frees);
    }
    for (const int result : {-5, FAILURE, 3}) {
        Holder holder;
        holder.allocate.result = result;
        TestBitmap bitmap;
        EXPECT_EQ(result, holder.create(bitmap, TYPE_CONV));
        EXPECT_TRUE(bitmap.is_empty());
        EXPECT_EQ(0, holder.frees);
    }
    Holder holder;
    TestBitmap bitmap;
    holder.allocate.memory = 3;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, holder.create(bitmap, TYPE_CONV));
    EXPECT_TRUE(bitmap.is_empty());
    holder.table.StructSize = 3; // a table that cannot be installed is left out
    EXPECT_EQ(SUCCESS, holder.create(bitmap, TYPE_CONV));
    EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
}

TEST(Allocation, UserMemoryStaysTheCallers)
{
    std::vector<uint8_t> lent(96, 0x3C);
    for (const uint32_t memory : {TYPE_USER, TYPE_USER | TYPE_NODISK, TYPE_USER | TYPE_NOTILED | TYPE_NODISK}) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_CreateBitmap(bitmap.get(), BITMAPHANDLE_SIZE, memory, 10, 8, 8, COLORORDER_RGB, nullptr,
                                          TOP_LEFT, lent.data(), lent.size()));
        EXPECT_EQ(lent.data(), +bitmap->Data);
        const uint8_t row[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        EXPECT_EQ(12, V_PutBitmapRow(bitmap.get(), row, 7, 12));
        EXPECT_EQ(0, std::memcmp(row, lent.data() + 84, 12));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapHeight(bitmap.get(), 9));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapCompression(bitmap.get(), 0));
        EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap.get(), nullptr, 0));
        uint8_t buffer[12];
        EXPECT_EQ(ERROR_INVALID_IMAGE, V_GetBitmapRow(bitmap.get(), buffer, 0, 12));
        EXPECT_EQ(ERROR_INVALID_IMAGE, V_PutBitmapRow(bitmap.get(), buffer, 0, 12));
        EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap.get(), lent.data(), 5)) << "any size, it is the caller's";
        V_FreeBitmap(bitmap.get());
        EXPECT_EQ(0, std::memcmp(row, lent.data() + 84, 12));
        EXPECT_EQ(0x3C, lent[0]);
        EXPECT_TRUE(bitmap->Flags == 0 && bitmap->Data == nullptr && bitmap->PaintLUT == nullptr);
    }
}

TEST(Allocation, ExchangedDataPointerDoesNotChangeWhatIsFreed)
{
    std::vector<uint8_t> other(96, 0x77);
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 10, 8, 8));
    uint8_t* const own = bitmap->Data;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapDataPointer(nullptr, other.data(), 96));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapDataPointer(bitmap.get(), other.data(), 95));
    EXPECT_EQ(own, +bitmap->Data);
    EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap.get(), other.data(), 96));
    EXPECT_EQ(other, bitmap.pixels());
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 9));
    auto expected = other;
    expected.resize(108, 0);
    EXPECT_EQ(expected, bitmap.pixels()) << "the rows that were seen stay";
    EXPECT_NE(other.data(), +bitmap->Data);
    EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap.get(), nullptr, 1));
    V_FreeBitmap(bitmap.get()); // leak and double free would show where these are looked for
    EXPECT_EQ(std::vector<uint8_t>(96, 0x77), other);
}

TEST(Allocation, FreeingTwiceOrNothing)
{
    V_FreeBitmap(nullptr);
    BITMAPHANDLE record{};
    V_FreeBitmap(&record);
    record.StructSize = 284;
    V_FreeBitmap(&record);
    for (const Kind kind : kKinds) {
        TestBitmap bitmap;
        bitmap.make(kind, 100, 20, 1);
        EXPECT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap.get(), 100));
        bitmap->Palette = V_CreateGrayPalette(1);
        V_FreeBitmap(bitmap.get());
        EXPECT_EQ(0u, bitmap->Flags) << name_of(kind);
        EXPECT_TRUE(bitmap->Handle == nullptr && bitmap->Data == nullptr && bitmap->Palette == nullptr);
        EXPECT_TRUE(bitmap->ExtraData == nullptr && bitmap->ExtraDataSize == 0 && bitmap->PaintLUT == nullptr);
        const auto once = bitmap.image();
        V_FreeBitmap(bitmap.get());
        EXPECT_EQ(once, bitmap.image());
        EXPECT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV)) << "the description is still good";
        EXPECT_EQ(320u, bitmap.data_size());
    }
    // A record that was described but never allocated gives back its palette and callbacks alone.
    TestBitmap bitmap;
    uint8_t mine[4];
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 3, 3, 8));
    const BITMAPDATACALLBACKS table{sizeof table, nullptr, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &table));
    bitmap->Data = mine;
    bitmap->Palette = V_CreateGrayPalette(8);
    V_FreeBitmap(bitmap.get());
    EXPECT_TRUE(bitmap->Data == mine && bitmap->Palette == nullptr && bitmap->DataCallbacks == nullptr);
}

} // namespace
