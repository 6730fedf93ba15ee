// The bitmap core with every system call failing by turns. A failed operation reports it with a code of its own, leaves
// the record as it was and the pixels too, and nothing is lost; an operation that finds another way has done its work.
#include "tests/support/Environment.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "kernel/system/HandleLimit.h"

#include <functional>
#include <set>
#include <string>
#include <thread>

using namespace vk::testing;
namespace fault = vk::fault;

namespace {

constexpr int32_t kWidth = 77;
constexpr int32_t kHeight = 9;
constexpr int32_t kLine = 12;
constexpr size_t kBytes = size_t{kLine} * kHeight;

using Codes = std::set<int64_t>;
using Bytes = std::vector<uint8_t>;

/// Random 1-bit rows with clear padding, which every kind of storage keeps.
Bytes picture(uint64_t seed, int32_t rows = kHeight)
{
    TestRandom random(seed);
    Bytes bytes(static_cast<size_t>(kLine * rows), 0);
    for (int32_t row = 0; row < rows; ++row)
        for (int32_t i = 0; i < kWidth; ++i)
            set_pixel(bytes.data() + row * kLine, 1, i, random.below(2));
    return bytes;
}

/// A row function's result, or why the bitmap could not be accessed.
template <typename Call> int64_t accessed(TestBitmap& bitmap, Call&& call)
{
    const int code = V_AccessBitmap(bitmap.get());
    if (code != SUCCESS)
        return code;
    const int64_t result = call();
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    return result;
}

int64_t put(TestBitmap& bitmap, const Bytes& rows)
{
    return accessed(bitmap, [&] { return V_PutBitmapRow(bitmap.get(), rows.data(), 0, rows.size()); });
}

/// An operation on a bitmap that is there.
struct Operation {
    const char* name;
    std::function<int64_t(TestBitmap&)> run;
    Codes codes;                                ///< the failures it may report
    std::function<Bytes(const Bytes&)> picture; ///< what it makes of the pixels; none: they stay
    size_t partly = 0;                          ///< of that many bytes from the start a failure may leave any written
};

bool mixes(const Bytes& seen, const Bytes& before, const Bytes& after, size_t partly)
{
    for (size_t i = 0; i < before.size(); ++i)
        if (seen[i] != before[i] && (i >= partly || seen[i] != after[i]))
            return false;
    return seen.size() == before.size();
}

/// One round: the operation with its n-th call failing. False when it makes fewer calls.
bool round_of(const Operation& operation, Kind kind, uint32_t struct_size, uint64_t call, bool persistent)
{
    const fault::Live live = fault::live();
    const Bytes before = picture(7);
    const Bytes after = operation.picture ? operation.picture(before) : before;
    bool fired = false;
    {
        TestBitmap bitmap(struct_size);
        bitmap.make(kind, kWidth, kHeight, 1);
        EXPECT_EQ(static_cast<int64_t>(kBytes), put(bitmap, before));
        Bytes first(size_t{4} * kLine); // of tiles in a file, the first ones are mapped now, not the last
        EXPECT_LT(0, accessed(bitmap, [&] { return V_GetBitmapRow(bitmap.get(), first.data(), 0, first.size()); }));
        const Bytes record = bitmap.image();
        fault::arm(call, persistent);
        const int64_t code = operation.run(bitmap);
        fired = fault::fired();
        fault::disarm();
        if (code > 0) {
            EXPECT_EQ(after, bitmap.pixels());
        } else {
            EXPECT_TRUE(fired) << "result " << code;
            EXPECT_EQ(1u, operation.codes.count(code)) << "result " << code;
            EXPECT_EQ(record, bitmap.image());
            const size_t partly =
                kind == Kind::disk || kind == Kind::tiled_file || kind == Kind::tiled_mixed ? operation.partly : 0;
            EXPECT_TRUE(mixes(bitmap.pixels(), before, after, partly)) << "result " << code;
        }
    }
    expect_same_live(live, fault::live());
    return fired;
}

void try_all_faults(const Operation& operation, Kind kind, uint32_t struct_size)
{
    for (const bool persistent : {false, true}) {
        for (uint64_t call = 1; call < 5000; ++call) {
            SCOPED_TRACE(std::string(operation.name) + " of a bitmap in " + name_of(kind) + ", call " +
                         std::to_string(call) + (persistent ? " and all behind it" : ""));
            if (!round_of(operation, kind, struct_size, call, persistent))
                break;
            if (::testing::Test::HasFailure())
                return;
        }
    }
}

int64_t move_to(TestBitmap& bitmap, uint32_t memory, int32_t in_memory)
{
    return V_SetBitmapMemoryInfo(bitmap.get(), memory, 3 * kLine, 0, in_memory, 0, 1,
                                 MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE | MEMORYINFO_CONVTILES |
                                     MEMORYINFO_CONVBUFFERS);
}

Bytes with_rows(Bytes bytes, int32_t rows)
{
    bytes.resize(static_cast<size_t>(kLine * rows), 0);
    return bytes;
}

Bytes over(const Bytes& bytes, const Bytes& from)
{
    Bytes all = bytes;
    std::copy(from.begin(), from.end(), all.begin());
    return all;
}

const Codes kNoMemory = {ERROR_NO_MEMORY};
const Codes kTransfer = {ERROR_NO_MEMORY, ERROR_FILE_SEEK, ERROR_FILE_READ, ERROR_FILE_WRITE};

const Operation kOperations[] = {
    {"growing", [](TestBitmap& b) { return V_ChangeBitmapHeight(b.get(), 21); }, kNoMemory,
     [](const Bytes& b) { return with_rows(b, 21); }},
    {"growing within a tile", [](TestBitmap& b) { return V_ChangeBitmapHeight(b.get(), 10); }, kNoMemory,
     [](const Bytes& b) { return with_rows(b, 10); }},
    {"shrinking", [](TestBitmap& b) { return V_ChangeBitmapHeight(b.get(), 3); }, kNoMemory,
     [](const Bytes& b) { return with_rows(b, 3); }},
    {"moving to memory", [](TestBitmap& b) { return move_to(b, TYPE_CONV, 0); }, kTransfer, {}},
    {"moving to tiles", [](TestBitmap& b) { return move_to(b, TYPE_TILED, 1); }, kTransfer, {}},
    {"moving to a file", [](TestBitmap& b) { return move_to(b, TYPE_DISK, 0); }, kTransfer, {}},
    {"compressing", [](TestBitmap& b) { return move_to(b, TYPE_COMPRESSED, 0); }, kTransfer, {}},
    {"super-compressing", [](TestBitmap& b) { return move_to(b, TYPE_SUPERCOMPRESSED, 0); }, kTransfer, {}},
    {"putting a row", [](TestBitmap& b) { return put(b, picture(8, 1)); }, kTransfer,
     [](const Bytes& b) { return over(b, picture(8, 1)); }},
    {"putting rows", [](TestBitmap& b) { return put(b, picture(8, 5)); }, kTransfer,
     [](const Bytes& b) { return over(b, picture(8, 5)); }, size_t{5} * kLine},
    {"getting rows",
     [](TestBitmap& b) {
         Bytes bytes(kBytes);
         const int64_t moved = accessed(b, [&] { return V_GetBitmapRow(b.get(), bytes.data(), 0, kBytes); });
         EXPECT_TRUE(moved < 0 || bytes == picture(7));
         return moved;
     },
     kTransfer,
     {}},
    {"putting segments",
     [](TestBitmap& b) {
         const Bytes row(kLine, 0xFF);
         const ROWSEGMENT segment{0, kWidth};
         return accessed(b, [&] { return V_PutBitmapRowSegments(b.get(), row.data(), 0, &segment, 1); });
     },
     kTransfer,
     [](const Bytes& b) {
         Bytes all = b;
         for (int32_t i = 0; i < kWidth; ++i)
             set_pixel(all.data(), 1, i, 1);
         return all;
     }},
    {"putting a colour", [](TestBitmap& b) { return V_PutPixelColor(b.get(), 0, 0, 0x01000001); }, kTransfer,
     [](const Bytes& b) {
         Bytes all = b;
         all[0] |= 0x80;
         return all;
     }},
    {"allocating extra data", [](TestBitmap& b) { return V_AllocateBitmapExtraData(b.get(), 100); }, kNoMemory, {}},
    {"growing the heap",
     [](TestBitmap& b) { return V_BitmapIsCompressed(b.get()) ? V_GrowBitmapHeap(b.get(), 10000) : SUCCESS; },
     kNoMemory,
     {}},
};

TEST(CoreFaults, OperationsOnEveryStorage)
{
    for (const Operation& operation : kOperations) {
        for (const Kind kind : kKinds) {
            if (kind == Kind::user && (operation.name[0] == 'g' || operation.name[0] == 's'))
                continue; // lent memory does not grow or shrink
            try_all_faults(operation, kind, BITMAPHANDLE_SIZE);
            if (operation.partly == 0)
                try_all_faults(operation, kind, BITMAPHANDLE_SIZE_EARLIER);
            if (HasFailure())
                return;
        }
    }
    for (const Kind kind : {Kind::disk, Kind::tiled_file}) { // a transfer may need several calls
        fault::set_short_transfers(true);
        for (const Operation& operation : kOperations)
            if (operation.partly != 0 || operation.name[0] == 'm')
                try_all_faults(operation, kind, BITMAPHANDLE_SIZE);
        fault::set_short_transfers(false);
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

/// Creates (or, on a record that is described already, allocates) with every call failing by turns.
void try_allocation(const Allocation& c, bool create, const ScratchDirectory& directory)
{
    RGBQUAD palette[256] = {};
    std::vector<uint8_t> lent(4096, 0);
    BITMAPDATACALLBACKS table{};
    table.StructSize = sizeof table;
    for (const bool persistent : {false, true}) {
        bool fired = true;
        for (uint64_t call = 1; fired; ++call) {
            SCOPED_TRACE("call " + std::to_string(call) + (persistent ? " and all behind it" : ""));
            const fault::Live live = fault::live();
            const size_t files = directory.files();
            {
                TestBitmap bitmap;
                if (!create) {
                    ASSERT_EQ(SUCCESS,
                              V_InitBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, 30, 20,
                                                        c.bits == 0 ? 8 : c.bits, c.callbacks ? &table : nullptr));
                }
                const Bytes before = bitmap.image();
                fault::arm(call, persistent);
                const int code =
                    create ? V_CreateBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, c.memory, 30, 20, c.bits,
                                                         c.order, c.palette ? palette : nullptr, TOP_LEFT, lent.data(),
                                                         lent.size(), c.callbacks ? &table : nullptr)
                           : V_AllocateBitmap(bitmap.get(), c.memory);
                fired = fault::fired();
                fault::disarm();
                ASSERT_TRUE(code == SUCCESS || (fired && code == ERROR_NO_MEMORY)) << code;
                if (code == SUCCESS) {
                    ASSERT_TRUE(V_BitmapIsAllocated(bitmap.get()));
                    ASSERT_TRUE(!create || (bitmap->Palette != nullptr) == (bitmap->BitsPerPixel <= 8));
                    if (create || c.memory != TYPE_USER) {
                        ASSERT_EQ(Bytes(bitmap.bytes(), 0), bitmap.pixels());
                    }
                } else if (create) {
                    ASSERT_TRUE(bitmap.is_empty());
                } else {
                    ASSERT_EQ(before, bitmap.image());
                }
            }
            expect_same_live(live, fault::live());
            if (!persistent) { // a file that may not be deleted either cannot be helped
                ASSERT_EQ(files, directory.files());
            }
            ASSERT_LT(call, 500u);
        }
    }
}

TEST(CoreFaults, AllocationAndCreation)
{
    const Thresholds restore;
    const ScratchDirectory directory;
    const TempFilesIn there(directory.path());
    for (const Allocation& c : kAllocations) {
        for (const bool create : {false, true}) {
            SCOPED_TRACE("case " + std::to_string(&c - kAllocations) + (create ? ", creation" : ", allocation"));
            ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, c.max_conv, c.tile, c.conv_tiles, 0, 31));
            try_allocation(c, create, directory);
            if (HasFailure())
                return;
        }
    }
}

TEST(CoreFaults, CallbackTablesAndTemporaryNames)
{
    const ScratchDirectory directory;
    const TempFilesIn there(directory.path());
    const uint64_t tables = for_each_fault([] {
        TestBitmap bitmap;
        BITMAPDATACALLBACKS table{};
        table.StructSize = sizeof table;
        int user = 0;
        table.UserData = &user;
        EXPECT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, 3, 3, 8, &table));
        const auto* const first = bitmap->DataCallbacks;
        const int code = V_SetBitmapDataCallbacks(bitmap.get(), &table);
        EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY);
        EXPECT_TRUE(code == SUCCESS || bitmap->DataCallbacks == first) << "the earlier table stays";
    });
    EXPECT_GE(tables, 3u);
    size_t made = 0;
    const uint64_t names = for_each_fault([&made] {
        wchar_t wide[260];
        char narrow[780];
        const int code = V_GetTempFileName(wide, nullptr);
        EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY);
        made += code == SUCCESS;
        const int code_a = V_GetTempFileNameA(narrow, "ab");
        EXPECT_TRUE(code_a == SUCCESS || code_a == ERROR_NO_MEMORY);
        made += code_a == SUCCESS;
    });
    EXPECT_EQ(8u, names) << "a directory and a name each";
    EXPECT_EQ(made, directory.files());
}

TEST(CoreFaults, TilesWithoutViewsAreReadAndWrittenInTheFile)
{
    const Bytes bytes = picture(3);
    for (const uint64_t first : {1u, 2u, 4u}) { // from which view on there is none
        for (const bool short_ones : {false, true}) {
            TestBitmap bitmap;
            bitmap.make(Kind::tiled_file, kWidth, kHeight, 1);
            fault::set_short_transfers(short_ones);
            fault::arm_call(fault::Call::file_map, first, true);
            EXPECT_EQ(static_cast<int64_t>(kBytes), put(bitmap, bytes));
            EXPECT_EQ(bytes, bitmap.pixels());
            EXPECT_TRUE(fault::fired());
            fault::disarm();
            EXPECT_EQ(bytes, bitmap.pixels()) << "views see what was written without";
            EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 20));
            EXPECT_EQ(with_rows(bytes, 20), bitmap.pixels());
            fault::set_short_transfers(false);
        }
    }
}

TEST(CoreFaults, SlotsThatCouldNotBeGivenBackAreNotMistaken)
{
    // A file that cannot be cut keeps its old slots, and tiles made later lie behind them.
    const Bytes bytes = picture(4);
    TestBitmap bitmap;
    bitmap.make(Kind::tiled_file, kWidth, kHeight, 1); // five tiles
    EXPECT_EQ(static_cast<int64_t>(kBytes), put(bitmap, bytes));
    fault::arm_call(fault::Call::file_truncate, 1, true);
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 4));
    EXPECT_TRUE(fault::fired());
    fault::disarm();
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), kHeight));
    EXPECT_EQ(with_rows(with_rows(bytes, 4), kHeight), bitmap.pixels()) << "old rows do not come back";
    EXPECT_EQ(static_cast<int64_t>(kBytes), put(bitmap, bytes));
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 6));
    EXPECT_EQ(with_rows(bytes, 6), bitmap.pixels());
    EXPECT_EQ(6 * kLine, put(bitmap, picture(5, 6)));
    EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), 14));
    EXPECT_EQ(with_rows(picture(5, 6), 14), bitmap.pixels());
}

TEST(HandleLimit, NearItNeitherTilesNorCodecs)
{
    const Thresholds restore;
    Thresholds::tiles(64, 0, 0);
    fault::arm_call(fault::Call::handle_count, 1, true); // a count that cannot be had counts as near
    EXPECT_TRUE(vk::near_handle_limit());
    for (const uint32_t memory : {TYPE_TILED, TYPE_TILED | TYPE_NODISK, TYPE_SUPERCOMPRESSED}) {
        TestBitmap bitmap;
        EXPECT_EQ(SUCCESS, bitmap.create(memory, 30, 20, 8));
        EXPECT_EQ(BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONALMEMORY, bitmap->Flags);
    }
    fault::disarm();
    EXPECT_FALSE(vk::near_handle_limit());
    TestBitmap bitmap;
    EXPECT_EQ(SUCCESS, bitmap.create(TYPE_TILED, 30, 20, 8));
    EXPECT_TRUE(V_BitmapIsTiled(bitmap.get()));
}

TEST(HandleLimit, ThreadsTakeTurns)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 25; ++round)
                EXPECT_FALSE(vk::near_handle_limit());
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
