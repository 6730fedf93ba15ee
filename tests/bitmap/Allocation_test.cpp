// Which storage a request gets, what callbacks may say about it, and how it is given back.
#include "tests/support/TestBitmap.h"

#include <set>
#include <tuple>

using namespace vk::testing;

namespace {

/// The kind that a request must give a small bitmap, or the code.
int64_t expected_memory(uint32_t memory, int32_t bits)
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
    return (memory & 1024) != 0 ? TYPE_SUPERCOMPRESSED : memory == 128 ? TYPE_DISK : TYPE_CONV;
}

TEST(Allocation, EveryRequestAtEveryDepth)
{
    for (const int32_t bits : kDepths)
        for (uint32_t memory = 0; memory < 4096; ++memory) {
            TestBitmap bitmap(kRecordSizes[memory % 3 == 0]);
            ASSERT_EQ(SUCCESS, bitmap.init(9, 4, bits));
            const Bytes before = bitmap.image();
            const int64_t expected = expected_memory(memory, bits);
            ASSERT_EQ(std::min<int64_t>(expected, SUCCESS), V_AllocateBitmap(bitmap, memory)) << memory << ' ' << bits;
            ASSERT_TRUE(expected < 0 ? before == bitmap.image() : expected == MemoryFigures(bitmap).memory)
                << memory << " at " << bits;
        }
}

constexpr int64_t kBytes = 4096; // 64 x 64 at 8 bits
constexpr int64_t kAny = -100;   // no limit on conventional blocks

constexpr struct Fallback {
    uint32_t request;
    int32_t reserved;
    int64_t max_conv, tile;
    int32_t conv_tiles;
    int64_t disk_threshold;
    int64_t memory;        // or the code
    int32_t in_memory = 0; // of all tiles
} kFallbacks[] = {{TYPE_CONV, 0, kAny, 0, 0, 0, TYPE_CONV},
                  {TYPE_CONV, 0, kBytes, 0, 0, 0, TYPE_CONV},
                  {TYPE_CONV, 0, kBytes - 1, 1024, 0, 0, TYPE_TILED, 3},
                  {TYPE_NOTILED, 0, kBytes, 0, 0, 0, TYPE_CONV},
                  {TYPE_CONV, 0, 0, 1024, 0, 0, TYPE_TILED},
                  {TYPE_CONV, 0, 0, 0, 0, 0, TYPE_TILED},
                  {TYPE_CONV, 0, 0x100000000, 0, 0, 0, TYPE_TILED},
                  {TYPE_CONV, 0, 0x1FFFFFFFF, 0, 0, 0, TYPE_CONV},
                  {TYPE_CONV, -100, kAny, 1024, 0, 0, TYPE_TILED},
                  {TYPE_CONV, -1, -1, 1024, 0, 0, TYPE_CONV},
                  {TYPE_NOTILED, 0, 0, 0, 0, 0, TYPE_DISK},
                  {TYPE_CONV | TYPE_NOTILED, 0, 0, 0, 0, 0, TYPE_DISK},
                  {TYPE_NODISK, 0, 0, 1024, 0, 0, ERROR_NO_MEMORY},
                  {TYPE_CONV | TYPE_NODISK, 0, kBytes - 1, 1024, 0, 0, ERROR_NO_MEMORY},
                  {TYPE_CONV | TYPE_NODISK, 0, 0, 1024, -100, 0, TYPE_TILED, 4},
                  {TYPE_NOTILED | TYPE_NODISK, 0, 0, 0, 0, 0, ERROR_NO_MEMORY},
                  {TYPE_CONV | TYPE_NOTILED | TYPE_NODISK, 0, 0, 0, 0, 0, ERROR_NO_MEMORY},
                  {TYPE_TILED, 0, kAny, 0, 0, 0, TYPE_CONV},
                  {TYPE_TILED, 0, kAny, kBytes, 0, 0, TYPE_CONV},
                  {TYPE_TILED, 0, kAny, kBytes - 1, 0, 0, TYPE_TILED},
                  {TYPE_TILED, 0, kAny, 1024, -50, 0, TYPE_TILED, 2},
                  {TYPE_TILED, 0, kAny, 1, 3, 0, TYPE_TILED, 3},
                  {TYPE_TILED | TYPE_NODISK, 0, kAny, 1024, 3, 0, ERROR_NO_MEMORY},
                  {TYPE_TILED | TYPE_NODISK, 0, kAny, 1024, 4, 0, TYPE_TILED, 4},
                  {TYPE_DISK, 0, kAny, 0, 0, 0, TYPE_DISK},
                  {TYPE_CONV, 0, kAny, 0, 0, kBytes - 1, TYPE_DISK},
                  {TYPE_CONV, 0, kAny, 0, 0, kBytes, TYPE_CONV},
                  {TYPE_NOTILED, 0, kAny, 0, 0, 1, TYPE_DISK},
                  {TYPE_CONV | TYPE_NODISK, 0, kAny, 0, 0, 1, TYPE_CONV},
                  {TYPE_TILED, 0, kAny, 1024, 0, 1, TYPE_TILED},
                  {TYPE_TILED, 0, kAny, kBytes, 0, 1, TYPE_CONV},
                  {TYPE_USER, 0, 0, 0, 0, 1, TYPE_CONV}};

void expect_figures(const MemoryFigures& now, const Fallback& c)
{
    const int64_t rows = std::clamp<int64_t>((c.tile != 0 ? c.tile : 0x1000000) / 64, 1, 64);
    const int64_t tiles = c.memory == TYPE_TILED ? (64 + rows - 1) / rows : 0;
    EXPECT_EQ(std::tuple(c.memory, tiles != 0 ? rows * 64 : 0, tiles, c.in_memory, tiles - c.in_memory, tiles != 0),
              std::tuple(now.memory, now.tile_bytes, now.tiles, now.in_memory, now.in_file, now.mapped != 0));
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
        ASSERT_EQ(SUCCESS, bitmap.init(64, 64, 8));
        const Bytes before = bitmap.image();
        const int code = V_AllocateBitmap(bitmap, c.request);
        V_SetGlobalMemoryThresholds(nullptr);
        EXPECT_EQ(c.memory < 0 ? c.memory : SUCCESS, code);
        if (code != SUCCESS) {
            EXPECT_EQ(before, bitmap.image());
            continue;
        }
        expect_figures(MemoryFigures(bitmap), c);
        for (int i = 0; i < 256; ++i)
            ASSERT_EQ(i, bitmap->PaintLUT[i]);
        EXPECT_EQ(c.request == TYPE_USER, V_BitmapIsMirror(bitmap) != 0);
        if (c.request != TYPE_USER) {
            EXPECT_EQ(Bytes(kBytes), bitmap.pixels());
            EXPECT_TRUE(c.memory != TYPE_CONV || reinterpret_cast<uintptr_t>(bitmap->Data) % 32 == 0);
        }
    }
}

TEST(Allocation, NothingToAllocate)
{
    for (const auto& [width, height] : {std::pair{0, 5}, {5, 0}, {0, 0}}) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.init(width, height, 8));
        expect_each(ERROR_INVALID_WIDTH_HEIGHT,
                    {V_AllocateBitmap(bitmap, 3), bitmap.create(TYPE_USER, width, height, 8)});
        EXPECT_TRUE(bitmap.is_empty());
        bitmap->StructSize = 100;
        EXPECT_EQ(ERROR_INVALID_IMAGE, V_ChangeBitmapHeight(bitmap, 3)) << "asked before the size";
        bitmap->StructSize = BITMAPHANDLE_SIZE;
        uint32_t memory = 9;
        V_GetBitmapMemoryInfo(bitmap, &memory, nullptr, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(0u, memory);
    }
}

struct Creation {
    int32_t bits, order, perspective;
    bool palette;
    int32_t stored_order; ///< or the code
    enum { none, gray, given, fixed } colours = none;
};

constexpr Creation kCreations[] = {{0, COLORORDER_BGR, 0, false, COLORORDER_RGB, Creation::gray},
                                   {0, COLORORDER_ROMM, 1, true, COLORORDER_RGB, Creation::gray},
                                   {8, COLORORDER_GRAY, 4, false, COLORORDER_RGB, Creation::gray},
                                   {8, COLORORDER_GRAY, 4, true, COLORORDER_RGB, Creation::given},
                                   {8, COLORORDER_BGR, 8, false, COLORORDER_RGB, Creation::fixed},
                                   {4, COLORORDER_RGB, 2, true, COLORORDER_RGB, Creation::given},
                                   {4, COLORORDER_GRAY, 2, false, COLORORDER_RGB, Creation::gray},
                                   {2, COLORORDER_RGB, 1, false, COLORORDER_RGB, Creation::gray},
                                   {1, COLORORDER_RGB, 1, false, COLORORDER_RGB, Creation::fixed},
                                   {24, COLORORDER_RGB, 1, true, COLORORDER_RGB},
                                   {24, COLORORDER_ROMM, 1, false, COLORORDER_ROMM},
                                   {48, COLORORDER_ROMM, 1, false, COLORORDER_ROMM},
                                   {16, COLORORDER_GRAY, 1, false, COLORORDER_GRAY},
                                   {12, COLORORDER_GRAY, 1, false, COLORORDER_GRAY},
                                   {8, COLORORDER_ROMM, 1, false, ERROR_INVALID_BITS_PER_PIXEL},
                                   {16, COLORORDER_ROMM, 1, false, ERROR_INVALID_BITS_PER_PIXEL},
                                   {64, COLORORDER_ROMM, 1, false, ERROR_INVALID_BITS_PER_PIXEL},
                                   {9, COLORORDER_RGB, 1, false, ERROR_INVALID_BITS_PER_PIXEL},
                                   {8, COLORORDER_RGB, 9, false, ERROR_INVALID_PARAMETER},
                                   {8, COLORORDER_RGB, -1, false, ERROR_INVALID_PARAMETER}};

TEST(Allocation, CreationGivesOrderPaletteAndView)
{
    RGBQUAD given[256];
    for (int i = 0; i < 256; ++i)
        given[i] = {static_cast<uint8_t>(i * 7), static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i ^ 0x55), 0};
    for (const Creation& c : kCreations) {
        SCOPED_TRACE(&c - kCreations);
        TestBitmap bitmap;
        EXPECT_EQ(c.stored_order < 0 ? c.stored_order : SUCCESS,
                  V_CreateBitmap(bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 10, 7, c.bits, c.order,
                                 c.palette ? given : nullptr, c.perspective, nullptr, 0));
        if (c.stored_order < 0) {
            EXPECT_TRUE(bitmap.is_empty());
            continue;
        }
        const int32_t bits = c.bits == 0 ? 8 : c.bits;
        EXPECT_EQ(std::tuple(bits, c.stored_order, c.perspective == 0 ? TOP_LEFT : c.perspective),
                  std::tuple(+bitmap->BitsPerPixel, +bitmap->Order, +bitmap->ViewPerspective));
        const RGBQUAD* const entries = bitmap->Palette;
        ASSERT_EQ(c.colours != Creation::none, entries != nullptr);
        EXPECT_NE(given, entries);
        for (int32_t i = 0; entries && i < 1 << bits; ++i) {
            const auto level = static_cast<uint8_t>(i * 255 / ((1 << bits) - 1));
            const RGBQUAD expected = c.colours == Creation::gray    ? RGBQUAD{level, level, level, 0}
                                     : c.colours == Creation::given ? given[i]
                                                                    : V_IntGetFixedPalette(bits)[i];
            ASSERT_EQ(0, std::memcmp(&expected, entries + i, 3)) << "entry " << i;
        }
    }
}

/// What an allocation callback is to answer, and what it saw.
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
    const RGBQUAD colors[256] = {};
    const struct {
        int32_t bits, order;
        const RGBQUAD* palette;
        int32_t seen_order;
        uint64_t size;
    } cases[] = {{4, COLORORDER_RGB, colors, COLORORDER_RGB, 56},
                 {8, COLORORDER_GRAY, colors, COLORORDER_GRAY, 84},
                 {0, COLORORDER_BGR, nullptr, COLORORDER_RGB, 84},
                 {16, COLORORDER_GRAY, nullptr, COLORORDER_GRAY, 140}};
    TestBitmap bitmap;
    for (const auto& c : cases) {
        asked.memory = TYPE_DISK;
        EXPECT_EQ(SUCCESS, bitmap.create(TYPE_CONV | TYPE_NOTILED, 10, 7, c.bits, c.order, c.palette));
        EXPECT_EQ(TYPE_DISK, MemoryFigures(bitmap).memory);
        ALLOCATEBITMAPCALLBACKDATA wanted{};
        wanted.StructSize = sizeof wanted;
        wanted.Memory = TYPE_CONV | TYPE_NOTILED;
        wanted.Width = 10;
        wanted.Height = 7;
        wanted.BitsPerPixel = bitmap->BitsPerPixel;
        wanted.Order = c.seen_order;
        wanted.Palette = const_cast<RGBQUAD*>(c.palette);
        wanted.ViewPerspective = TOP_LEFT;
        wanted.Size = c.size;
        EXPECT_EQ(0, std::memcmp(&wanted, &asked.seen, sizeof wanted)) << &c - cases;
        V_FreeBitmap(bitmap);
    }
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
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              V_CreateBitmap(bitmap, BITMAPHANDLE_SIZE, TYPE_USER, 10, 7, 8, 0, nullptr, TOP_LEFT, lent, sizeof lent));
    EXPECT_TRUE(bitmap.is_empty());
    const int calls = asked.calls;
    EXPECT_EQ(SUCCESS, V_SetAllocateBitmapCallback(nullptr, nullptr, &old, &old_user));
    EXPECT_TRUE(old == on_allocate && old_user == &asked);
    EXPECT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 10, 7, 4));
    EXPECT_EQ(calls, asked.calls);
}

/// A table whose callbacks keep a bitmap's pixels themselves, and note how they were called.
struct Holder {
    using B = BITMAPHANDLE*;
    BITMAPDATACALLBACKS table = callbacks_for(this);
    Asked allocate;
    int free_result = SUCCESS;
    int frees = 0;
    intptr_t row_result = 0;
    std::tuple<char, int32_t, int32_t, size_t> seen = {}; ///< get or put, row, column, bytes

    Holder()
    {
        table.AllocateBitmapDataCallback = [](BITMAPHANDLE* bitmap, ALLOCATEBITMAPCALLBACKDATA* data, void* user) {
            EXPECT_TRUE(bitmap->Handle == nullptr && bitmap->Data == nullptr);
            return on_allocate(bitmap, data, &static_cast<Holder*>(user)->allocate);
        };
        table.FreeBitmapDataCallback = [](BITMAPHANDLE*, void* user) {
            ++static_cast<Holder*>(user)->frees;
            return static_cast<Holder*>(user)->free_result;
        };
        table.GetBitmapRowColCallback = [](B, void*, int32_t at, int32_t from, size_t count, void* user) {
            static_cast<Holder*>(user)->seen = {'g', at, from, count};
            return static_cast<Holder*>(user)->row_result;
        };
        table.PutBitmapRowColCallback = [](B, void*, int32_t at, int32_t from, size_t count, void* user) {
            static_cast<Holder*>(user)->seen = {'p', at, from, count};
            return static_cast<Holder*>(user)->row_result;
        };
    }
    int create(TestBitmap& bitmap, uint32_t memory, int32_t bits = 8)
    {
        return V_CreateBitmapWithCallbacks(bitmap, BITMAPHANDLE_SIZE, memory, 10, 7, bits, COLORORDER_RGB, nullptr,
                                           TOP_LEFT, nullptr, 0, &table);
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
    EXPECT_EQ(TYPE_DISK, MemoryFigures(bitmap).memory) << "what is in no memory of ours counts as elsewhere";
    uint8_t buffer[12] = {};
    EXPECT_EQ(ERROR_NO_MEMORY, V_GetBitmapRow(bitmap, buffer, 2, 12)) << "not handled, and nowhere else to look";
    for (const intptr_t result : {intptr_t{12}, intptr_t{3}, intptr_t{-77}}) {
        holder.row_result = result;
        EXPECT_EQ(result, V_GetBitmapRowCol(bitmap, buffer, -3, 99, 500));
        EXPECT_EQ(std::tuple('g', -3, 99, size_t{500}), holder.seen);
        EXPECT_EQ(result, V_PutBitmapRow(bitmap, buffer, 3, 1));
        EXPECT_EQ(std::tuple('p', 3, 0, size_t{1}), holder.seen);
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapHeight(bitmap, 9));
    EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_SetBitmapMemoryInfo(bitmap, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY));
    V_FreeBitmap(bitmap);
    EXPECT_EQ(1, holder.frees);
    EXPECT_EQ(0u, bitmap->Flags & (kBits | 0xC506u));
    EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
}

TEST(Allocation, DataCallbacksMayLeaveTheLibraryToIt)
{
    for (const uint32_t memory : {TYPE_CONV, TYPE_COMPRESSED, TYPE_DISK}) {
        Holder holder;
        holder.allocate.memory = memory;
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, holder.create(bitmap, TYPE_NOTILED, 1));
        EXPECT_EQ(memory, MemoryFigures(bitmap).memory);
        const uint8_t row[4] = {0xA5, 0xC0, 0, 0};
        uint8_t back[4] = {};
        expect_each(4, {V_PutBitmapRow(bitmap, row, 6, 4), V_GetBitmapRow(bitmap, back, 6, 4)});
        EXPECT_TRUE(std::equal(row, row + 4, back)) << "a callback that answers 0 lets the library move the bytes";
        V_FreeBitmap(bitmap);
        EXPECT_EQ(1, holder.frees);
    }
    Holder holder;
    TestBitmap bitmap;
    for (const auto& [result, memory] : {std::pair{-5, 0u}, {FAILURE, 0u}, {3, 0u}, {SUCCESS, 3u}}) {
        holder.allocate.result = result;
        holder.allocate.memory = memory;
        EXPECT_EQ(result == SUCCESS ? ERROR_INVALID_PARAMETER : result, holder.create(bitmap, TYPE_CONV));
        EXPECT_TRUE(bitmap.is_empty() && holder.frees == 0);
    }
    holder.table.StructSize = 3; // a table that cannot be installed is left out
    EXPECT_EQ(SUCCESS, holder.create(bitmap, TYPE_CONV));
    EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
}

TEST(Allocation, UserMemoryStaysTheCallers)
{
    Bytes lent(96, 0x3C);
    for (const uint32_t memory : {TYPE_USER, TYPE_USER | TYPE_NODISK, TYPE_USER | TYPE_NOTILED | TYPE_NODISK}) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_CreateBitmap(bitmap, BITMAPHANDLE_SIZE, memory, 10, 8, 8, COLORORDER_RGB, nullptr,
                                          TOP_LEFT, lent.data(), lent.size()));
        EXPECT_EQ(lent.data(), +bitmap->Data);
        uint8_t row[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        EXPECT_EQ(12, V_PutBitmapRow(bitmap, row, 7, 12));
        expect_each(ERROR_INVALID_PARAMETER, {V_ChangeBitmapHeight(bitmap, 9), V_ChangeBitmapCompression(bitmap, 0)});
        EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap, nullptr, 0));
        expect_each(ERROR_INVALID_IMAGE, {V_GetBitmapRow(bitmap, row, 0, 12), V_PutBitmapRow(bitmap, row, 0, 12)});
        EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap, lent.data(), 5)) << "any size, it is the caller's";
        V_FreeBitmap(bitmap);
        EXPECT_EQ(0, std::memcmp(row, lent.data() + 84, 12));
        EXPECT_EQ(0x3C, lent[0]);
        EXPECT_TRUE(bitmap->Flags == 0 && bitmap->Data == nullptr && bitmap->PaintLUT == nullptr);
    }
}

TEST(Allocation, ExchangedDataPointerDoesNotChangeWhatIsFreed)
{
    Bytes other(96, 0x77);
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 10, 8, 8));
    uint8_t* const own = bitmap->Data;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapDataPointer(bitmap, other.data(), 95));
    EXPECT_EQ(own, +bitmap->Data);
    EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap, other.data(), 96));
    EXPECT_EQ(other, bitmap.pixels());
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 9));
    Bytes expected = other;
    expected.resize(108, 0);
    EXPECT_EQ(expected, bitmap.pixels()) << "the rows that were seen stay";
    EXPECT_NE(other.data(), +bitmap->Data);
    EXPECT_EQ(SUCCESS, V_SetBitmapDataPointer(bitmap, nullptr, 1));
    V_FreeBitmap(bitmap); // leak and double free would show where these are looked for
    EXPECT_EQ(Bytes(96, 0x77), other);
}

TEST(Allocation, FreeingTwiceOrNothing)
{
    V_FreeBitmap(nullptr);
    for (const Kind kind : kKinds) {
        SCOPED_TRACE(name_of(kind));
        TestBitmap bitmap;
        bitmap.make(kind, 100, 20, 1);
        EXPECT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap, 100));
        bitmap->Palette = V_CreateGrayPalette(1);
        V_FreeBitmap(bitmap);
        EXPECT_TRUE(bitmap->Flags == 0 && !bitmap->Handle && !bitmap->Data && !bitmap->Palette);
        EXPECT_TRUE(!bitmap->ExtraData && bitmap->ExtraDataSize == 0 && !bitmap->PaintLUT);
        const Bytes once = bitmap.image();
        V_FreeBitmap(bitmap);
        EXPECT_EQ(once, bitmap.image());
        EXPECT_EQ(SUCCESS, V_AllocateBitmap(bitmap, TYPE_CONV)) << "the description is still good";
        EXPECT_EQ(320u, bitmap.data_size());
    }
    // A record that was described but never allocated gives back its palette and callbacks alone.
    TestBitmap bitmap;
    uint8_t mine[4];
    ASSERT_EQ(SUCCESS, bitmap.init(3, 3, 8));
    const BITMAPDATACALLBACKS table = callbacks_for(&bitmap);
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &table));
    bitmap->Data = mine;
    bitmap->Palette = V_CreateGrayPalette(8);
    V_FreeBitmap(bitmap);
    EXPECT_TRUE(bitmap->Data == mine && bitmap->Palette == nullptr && bitmap->DataCallbacks == nullptr);
}

} // namespace
