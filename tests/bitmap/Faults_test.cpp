// Storage with system calls failing by turns: making it, using it, and tiles that find other ways. A failure has a code
// of its own and changes nothing. Operations_test.cpp does the same with every operation on whole bitmaps.
#include "kernel/system/HandleLimit.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestTurn.h"

using namespace vk::testing;
namespace fault = vk::fault;

namespace {

constexpr int32_t kWidth = 77;
constexpr int32_t kHeight = 9;

/// Other rows; what is cut off comes back clear.
Picture with_rows(Picture picture, int32_t rows)
{
    picture.height = rows;
    picture.pixels.resize(static_cast<size_t>(rows * picture.width), 0);
    return picture;
}

/// What is written over the first rows.
Picture other_rows(int32_t rows)
{
    return Picture::noise(kWidth, rows, 1, 8);
}

Picture over(Picture picture, const Picture& from)
{
    std::copy(from.pixels.begin(), from.pixels.end(), picture.pixels.begin());
    return picture;
}

/// A row function's result, or why the bitmap could not be accessed.
template <class Call> int64_t accessed(BITMAPHANDLE* bitmap, Call&& call)
{
    const int code = V_AccessBitmap(bitmap);
    if (code != SUCCESS)
        return code;
    const int64_t result = call();
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    return result;
}

template <int32_t kRows> int64_t put(BITMAPHANDLE* bitmap)
{
    const Picture picture = other_rows(kRows);
    Bytes rows(size_t{bitmap->BytesPerLine} * kRows);
    for (int32_t y = 0; y < kRows; ++y)
        for (int32_t x = 0; x < kWidth; ++x)
            set_pixel(rows.data() + static_cast<size_t>(y) * bitmap->BytesPerLine, 1, x, picture.at(x, y));
    return accessed(bitmap, [&] { return V_PutBitmapRow(bitmap, rows.data(), 0, rows.size()); });
}

template <int32_t kRows> int64_t change_height(BITMAPHANDLE* bitmap)
{
    return V_ChangeBitmapHeight(bitmap, kRows);
}

template <int32_t kRows> Picture height_changed(const Picture& picture)
{
    return with_rows(picture, kRows);
}

/// An operation on a bitmap that is there.
struct Operation {
    const char* name;
    int64_t (*run)(BITMAPHANDLE* bitmap);
    Picture (*made)(const Picture& picture) = nullptr; ///< none: the pixels stay
    bool transfers = true;                             ///< and may fail for it
    bool is_for_lent = true;
    bool is_partly = false; ///< in files a failure may leave some of the bytes written
};

const Operation kOperations[] = {
    {"growing", change_height<21>, height_changed<21>, false, false},
    {"growing within a tile", change_height<10>, height_changed<10>, false, false},
    {"shrinking", change_height<3>, height_changed<3>, false, false},
    {"putting a row", put<1>, [](const Picture& p) { return over(p, other_rows(1)); }},
    {"putting rows", put<5>, [](const Picture& p) { return over(p, other_rows(5)); }, true, true, true},
    {"getting rows",
     [](BITMAPHANDLE* b) {
         Bytes bytes(size_t{b->BytesPerLine} * kHeight);
         return accessed(b, [&] { return V_GetBitmapRow(b, bytes.data(), 0, bytes.size()); });
     }},
    {"putting segments",
     [](BITMAPHANDLE* b) {
         const Bytes row(b->BytesPerLine, 0xFF);
         const ROWSEGMENT segment{0, kWidth};
         return accessed(b, [&] { return V_PutBitmapRowSegments(b, row.data(), 0, &segment, 1); });
     },
     [](const Picture& p) {
         return over(p, {kWidth, 1, std::vector<uint64_t>(kWidth, 1)});
     }},
    {"putting a colour", [](BITMAPHANDLE* b) -> int64_t { return V_PutPixelColor(b, 0, 0, 0x01000001); },
     [](const Picture& p) {
         return over(p, {1, 1, {1}});
     }},
    {"allocating extra data", [](BITMAPHANDLE* b) -> int64_t { return V_AllocateBitmapExtraData(b, 100); }, nullptr,
     false},
    {"growing the heap",
     [](BITMAPHANDLE* b) -> int64_t { return V_BitmapIsCompressed(b) ? V_GrowBitmapHeap(b, 10000) : SUCCESS; }, nullptr,
     false},
};

/// Whether each byte is that of one of two pictures.
bool mixes(const Picture& seen, const Picture& before, const Picture& after)
{
    for (size_t i = 0; i < seen.pixels.size(); ++i)
        if (seen.pixels[i] != before.pixels[i] && seen.pixels[i] != after.pixels[i])
            return false;
    return seen.pixels.size() == before.pixels.size();
}

void try_operation(const Operation& operation, Kind kind, uint32_t struct_size, FaultRound& round)
{
    const Picture before = Picture::noise(kWidth, kHeight, 1, 7);
    const Picture after = operation.made ? operation.made(before) : before;
    TestBitmap bitmap(struct_size);
    make_stored(bitmap, kind, before, 1);
    Bytes first(size_t{4} * bitmap->BytesPerLine); // of tiles in a file, the first ones are mapped now, not the last
    EXPECT_LT(0, accessed(bitmap, [&] { return V_GetBitmapRow(bitmap, first.data(), 0, first.size()); }));
    const Bytes record = bitmap.image();
    const int64_t code = round([&] { return operation.run(bitmap); });
    if (code > 0) {
        EXPECT_EQ(after, read(bitmap));
        return;
    }
    EXPECT_TRUE(round.fired && (code == ERROR_NO_MEMORY ||
                                (operation.transfers &&
                                 (code == ERROR_FILE_SEEK || code == ERROR_FILE_READ || code == ERROR_FILE_WRITE))))
        << "result " << code;
    EXPECT_EQ(record, bitmap.image());
    const bool is_partly =
        operation.is_partly && (kind == Kind::disk || kind == Kind::tiled_file || kind == Kind::tiled_mixed);
    EXPECT_TRUE(is_partly ? mixes(read(bitmap), before, after) : read(bitmap) == before) << "result " << code;
}

TEST(CoreFaults, OperationsOnEveryStorage)
{
    for (const Operation& operation : kOperations)
        for (const Kind kind : kKinds)
            for (const uint32_t size : kRecordSizes)
                for (const bool short_transfers : {false, true}) { // a transfer may need several calls
                    const bool in_file = kind == Kind::disk || kind == Kind::tiled_file;
                    const bool is_tried = short_transfers ? operation.is_partly && in_file
                                                          : !operation.is_partly || size == BITMAPHANDLE_SIZE;
                    if (!is_tried || (kind == Kind::user && !operation.is_for_lent))
                        continue;
                    SCOPED_TRACE(say(operation.name, "of", name_of(kind), size));
                    fault::set_short_transfers(short_transfers);
                    for_each_fault_in([&](FaultRound& round) { try_operation(operation, kind, size, round); },
                                      FaultLoop::may_be_none);
                    fault::set_short_transfers(false);
                    if (HasFailure())
                        return;
                }
}

/// What is made anew.
struct Allocation {
    uint32_t memory;
    int32_t bits, order;
    int64_t max_conv, tile;
    int32_t conv_tiles;
    bool palette, callbacks;
};

constexpr Allocation kAllocations[] = {
    {TYPE_CONV, 8, COLORORDER_RGB, -100, 0, 0, false, false},
    {TYPE_CONV, 0, COLORORDER_RGB, -100, 0, 0, false, true},
    {TYPE_CONV, 24, COLORORDER_BGR, 0, 64, 3, false, false},
    {TYPE_NOTILED, 8, COLORORDER_GRAY, 0, 0, 0, false, true},
    {TYPE_CONV | TYPE_NODISK, 4, COLORORDER_RGB, -100, 64, -100, true, false},
    {TYPE_NODISK | TYPE_NOTILED, 4, COLORORDER_RGB, -100, 64, -100, true, false},
    {TYPE_USER, 8, COLORORDER_RGB, -100, 0, 0, true, false},
    {TYPE_TILED, 8, COLORORDER_RGB, -100, 64, 0, true, false},
    {TYPE_TILED, 8, COLORORDER_RGB, -100, 64, -100, true, false},
    {TYPE_TILED, 8, COLORORDER_RGB, -100, 64, 2, true, true},
    {TYPE_DISK, 16, COLORORDER_GRAY, -100, 0, 0, false, true},
    {TYPE_COMPRESSED, 1, COLORORDER_RGB, -100, 0, 0, false, true},
};

/// Creates, or allocates on a record that is described already.
void try_allocation(const Allocation& c, bool create, FaultRound& round)
{
    const Palette palette(256);
    Bytes lent(4096);
    const BITMAPDATACALLBACKS calls = callbacks_for(&round);
    const BITMAPDATACALLBACKS* const table = c.callbacks ? &calls : nullptr;
    TestBitmap bitmap;
    ASSERT_TRUE(create || V_InitBitmapWithCallbacks(bitmap, BITMAPHANDLE_SIZE, 30, 20, c.bits == 0 ? 8 : c.bits,
                                                    table) == SUCCESS);
    const Bytes before = bitmap.image();
    const int code = round([&] {
        return create ? V_CreateBitmapWithCallbacks(bitmap, BITMAPHANDLE_SIZE, c.memory, 30, 20, c.bits, c.order,
                                                    c.palette ? palette.data() : nullptr, TOP_LEFT, lent.data(),
                                                    lent.size(), table)
                      : V_AllocateBitmap(bitmap, c.memory);
    });
    ASSERT_TRUE(code == SUCCESS || (round.fired && code == ERROR_NO_MEMORY)) << code;
    if (code != SUCCESS) {
        ASSERT_TRUE(create ? bitmap.is_empty() : before == bitmap.image());
        return;
    }
    ASSERT_TRUE(V_BitmapIsAllocated(bitmap));
    ASSERT_TRUE(!create || (bitmap->Palette != nullptr) == (bitmap->BitsPerPixel <= 8));
    ASSERT_TRUE((!create && c.memory == TYPE_USER) || bitmap.pixels() == Bytes(bitmap.bytes()));
}

TEST(CoreFaults, AllocationAndCreation)
{
    const Thresholds restore;
    for (const Allocation& c : kAllocations)
        for (const bool create : {false, true}) {
            SCOPED_TRACE(say("case", &c - kAllocations, create ? "creation" : "allocation"));
            ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, c.max_conv, c.tile, c.conv_tiles, 0, 31));
            for_each_fault_in([&](FaultRound& round) { try_allocation(c, create, round); });
        }
}

TEST(CoreFaults, CallbackTables)
{
    EXPECT_LE(3u, for_each_fault([] {
                  TestBitmap bitmap;
                  const BITMAPDATACALLBACKS table = callbacks_for(&bitmap);
                  EXPECT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap, BITMAPHANDLE_SIZE, 3, 3, 8, &table));
                  const auto* const first = bitmap->DataCallbacks;
                  const int code = V_SetBitmapDataCallbacks(bitmap, &table);
                  EXPECT_TRUE(code == SUCCESS || (code == ERROR_NO_MEMORY && bitmap->DataCallbacks == first));
              }));
}

TEST(CoreFaults, TilesWithoutViewsAreReadAndWrittenInTheFile)
{
    const Picture picture = Picture::noise(kWidth, 9, 1, 3);
    for (const uint64_t first : {1u, 2u, 4u}) // from which view on there is none
        for (const bool short_ones : {false, true}) {
            TestBitmap bitmap;
            bitmap.make(Kind::tiled_file, kWidth, 9, 1);
            fault::set_short_transfers(short_ones);
            fault::arm_call(fault::Call::file_map, first, true);
            paint(bitmap, picture);
            EXPECT_EQ(picture, read(bitmap));
            EXPECT_TRUE(fault::fired());
            fault::disarm();
            EXPECT_EQ(picture, read(bitmap)) << "views see what was written without";
            EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 20));
            EXPECT_EQ(with_rows(picture, 20), read(bitmap));
            fault::set_short_transfers(false);
        }
}

TEST(CoreFaults, SlotsThatCouldNotBeGivenBackAreNotMistaken)
{
    // A file that cannot be cut keeps its old slots, and tiles made later lie behind them.
    const Picture picture = Picture::noise(kWidth, 9, 1, 4);
    TestBitmap bitmap;
    make_stored(bitmap, Kind::tiled_file, picture, 1);
    fault::arm_call(fault::Call::file_truncate, 1, true);
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 4));
    EXPECT_TRUE(fault::fired());
    fault::disarm();
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 9));
    EXPECT_EQ(with_rows(with_rows(picture, 4), 9), read(bitmap)) << "old rows do not come back";
    paint(bitmap, picture);
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 6));
    EXPECT_EQ(with_rows(picture, 6), read(bitmap));
    const Picture other = Picture::noise(kWidth, 6, 1, 5);
    paint(bitmap, other);
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 14));
    EXPECT_EQ(with_rows(other, 14), read(bitmap));
}

TEST(HandleLimit, NearItNeitherTilesNorCodecs)
{
    const Thresholds restore;
    Thresholds::tiles(64, 0, 0);
    for (const bool is_near : {true, false}) {
        fault::arm_call(fault::Call::handle_count, is_near ? 1 : 0, true); // a count that cannot be had counts as near
        EXPECT_EQ(is_near, vk::near_handle_limit());
        for (const uint32_t memory : {TYPE_TILED, TYPE_TILED | TYPE_NODISK, TYPE_SUPERCOMPRESSED}) {
            TestBitmap bitmap;
            const int code = bitmap.create(memory, 30, 20, 8);
            EXPECT_EQ(is_near,
                      code == SUCCESS && bitmap->Flags == (BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONALMEMORY));
        }
        fault::disarm();
    }
}

} // namespace
