// What callbacks see of the operations on whole bitmaps: accesses and releases, scratch buffers, rows of their own.
#include "tests/bitmap/Operations.h"

#include "Vkkrnx.h"

#include <map>

using namespace vk::testing;

namespace {

/// What the callbacks answer, and how often they were asked.
struct Watcher {
    int release = SUCCESS;
    int accesses = 0;
    int releases = 0;

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS table = callbacks_for(this);
        table.AccessBitmapCallback = [](B, void* self) { return ++static_cast<Watcher*>(self)->accesses, SUCCESS; };
        table.ReleaseBitmapCallback = [](B, void* self) {
            ++static_cast<Watcher*>(self)->releases;
            return static_cast<Watcher*>(self)->release;
        };
        return table;
    }
};

TEST(Operations, ARefusedReleaseUndoesNothing)
{
    constexpr int kRefusal = -77;
    for_each_case(kEachWay, [](const Operation& operation, Kind kind) {
        const Outcome wanted = run(operation, *make_bitmap(operation, kind));
        const auto bitmap = make_bitmap(operation, kind);
        const Bytes before = read_accessed(bitmap->get());
        Watcher watcher;
        const BITMAPDATACALLBACKS table = watcher.table();
        ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap->get(), &table));
        watcher.release = kRefusal;
        Outcome outcome;
        outcome.result = operation.run(bitmap->get(), outcome.pixels);
        EXPECT_EQ(watcher.accesses, watcher.releases);
        EXPECT_EQ(0, (*bitmap)->LockCount);
        watcher.release = SUCCESS;
        if (wanted.result != SUCCESS) {
            EXPECT_EQ(wanted.result, outcome.result);
            return;
        }
        if (operation.does == Does::copies) { // what a failed call does not give
            EXPECT_TRUE(outcome.result == kRefusal || outcome.result == FAILURE);
            EXPECT_EQ(before, read_accessed(bitmap->get()));
            return;
        }
        const bool is_own = operation.does != Does::fills;
        const bool is_touched = watcher.accesses != 0; // not where storage is there already
        EXPECT_EQ(is_touched ? kRefusal : SUCCESS, outcome.result);
        EXPECT_LE(watcher.accesses, 1) << "one access for one operation";
        EXPECT_EQ(wanted.pixels, is_own ? read_accessed(bitmap->get()) : outcome.pixels);
    });
}

/// A callback that lends buffers.
struct Lender {
    enum class Way { lend, have_none, refuse };
    Way way = Way::lend;
    BITMAPHANDLE* bitmap = nullptr;
    int calls = 0;
    int strangers = 0; ///< calls for another bitmap
    std::unique_ptr<uint8_t[]> lent;

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS table = callbacks_for(this);
        table.GetBitmapScratchBufferCallback = [](B asked, void** buffer, size_t bytes, void* data) {
            auto& self = *static_cast<Lender*>(data);
            ++self.calls;
            self.strangers += asked != self.bitmap;
            if (self.way == Way::refuse)
                return ERROR_USER_ABORT;
            self.lent = std::make_unique<uint8_t[]>(bytes); // of that size to the byte
            *buffer = self.way == Way::lend ? self.lent.get() : nullptr;
            return SUCCESS;
        };
        return table;
    }
};

TEST(Operations, AskForAScratchBufferOnce)
{
    std::map<std::string, int> asked;
    for_each_case(kEachWay, [&](const Operation& operation, Kind kind) {
        const Outcome wanted = run(operation, *make_bitmap(operation, kind));
        for (const Lender::Way way : {Lender::Way::lend, Lender::Way::have_none, Lender::Way::refuse}) {
            const auto bitmap = make_bitmap(operation, kind);
            const Bytes before = read_accessed(bitmap->get());
            const Bytes record = bitmap->image();
            Lender lender;
            lender.way = way;
            lender.bitmap = bitmap->get();
            const BITMAPDATACALLBACKS table = lender.table();
            ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap->get(), &table));
            const Outcome outcome = run(operation, bitmap->get());
            const bool in_list = std::string(operation.name) == "copies in a list"; // where the record is another
            EXPECT_LE(lender.calls, 1);
            EXPECT_TRUE(lender.strangers == 0 || in_list);
            asked[operation.name] += lender.calls;
            if (way != Lender::Way::refuse || lender.calls == 0) {
                EXPECT_TRUE(wanted == outcome);
            } else {
                EXPECT_TRUE(outcome.result == ERROR_USER_ABORT || outcome.result == FAILURE) << outcome.result;
                ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap->get(), nullptr));
                const bool is_flipped = (*bitmap)->ViewPerspective == TOP_LEFT && operation.is_silent; // the first step
                EXPECT_TRUE(is_flipped || operation.does == Does::fills || before == read_accessed(bitmap->get()));
                EXPECT_TRUE(is_flipped || operation.does == Does::fills || record == bitmap->image());
            }
        }
    });
    for (const auto& [name, calls] : asked)
        EXPECT_TRUE(calls > 0 || name == "move to memory" || name == "copy of data") << name << " takes no buffer";
}

/// Callbacks that hold the rows themselves, each on its own.
struct RowOwner {
    int live = 0;

    using Rows = std::vector<Bytes>;

    static uint8_t* place_of(BITMAPHANDLE* bitmap, int32_t row, int32_t column, size_t bytes)
    {
        auto& rows = *static_cast<Rows*>(bitmap->Handle);
        const size_t offset = static_cast<size_t>(column) * static_cast<size_t>(bitmap->BitsPerPixel) / 8;
        EXPECT_TRUE(row >= 0 && row < bitmap->Height);
        EXPECT_LE(offset + bytes, +bitmap->BytesPerLine) << "more than the row has";
        return rows[static_cast<size_t>(row)].data() + offset;
    }

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS table = callbacks_for(this);
        table.AllocateBitmapDataCallback = [](B bitmap, ALLOCATEBITMAPCALLBACKDATA* data, void* self) {
            ++static_cast<RowOwner*>(self)->live;
            bitmap->Handle = new Rows(static_cast<size_t>(data->Height), Bytes(data->BytesPerLine, 0));
            return 2;
        };
        table.FreeBitmapDataCallback = [](B bitmap, void* self) {
            --static_cast<RowOwner*>(self)->live;
            delete static_cast<Rows*>(bitmap->Handle);
            return 2;
        };
        table.GetBitmapRowColCallback = [](B bitmap, void* buffer, int32_t row, int32_t column, size_t bytes, void*) {
            std::memcpy(buffer, place_of(bitmap, row, column, bytes), bytes);
            return static_cast<intptr_t>(bytes);
        };
        table.PutBitmapRowColCallback = [](B bitmap, void* buffer, int32_t row, int32_t column, size_t bytes, void*) {
            std::memcpy(place_of(bitmap, row, column, bytes), buffer, bytes);
            return static_cast<intptr_t>(bytes);
        };
        return table;
    }

    void make(TestBitmap& bitmap, int32_t bits)
    {
        const BITMAPDATACALLBACKS own = table();
        ASSERT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, kWidth, kHeight, bits, &own));
        ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
        bitmap->ViewPerspective = TOP_LEFT;
        fill_with_noise(bitmap.get(), 12);
    }
};

TEST(Operations, RowsOfCallbacksAreNeverShared)
{
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        const auto plain = make_bitmap(operation, Kind::conv);
        const Bytes before = read_accessed(plain->get());
        const Outcome wanted = run(operation, plain->get());
        RowOwner owner;
        {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(owner.make(bitmap, operation.bits));
            const Bytes record = bitmap.image();
            EXPECT_TRUE(wanted == run(operation, bitmap.get()));
            const bool is_replaced = operation.does == Does::replaces;
            EXPECT_EQ(is_replaced ? 0 : 1, owner.live);
            EXPECT_EQ(is_replaced, bitmap->DataCallbacks == nullptr);
            if (is_replaced)
                continue;
            bitmap->ViewPerspective = TOP_LEFT; // which a change of it may change
            EXPECT_EQ(record, bitmap.image());
            EXPECT_TRUE(operation.does == Does::keeps || before == read_accessed(bitmap.get()));
        }
        EXPECT_EQ(0, owner.live);
    }
    RowOwner owner;
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(owner.make(bitmap, 24));
    for (const uint32_t flags : {uint32_t{DUPFLAG_DATACALLBACKS}, DUPFLAG_COPY, DUPFLAG_TAKEOVER, 0u}) {
        TestBitmap made;
        ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, 24, 0, flags));
        const bool asked = (flags & DUPFLAG_DATACALLBACKS) != 0;
        EXPECT_EQ(asked, made->DataCallbacks != nullptr) << flags;
        EXPECT_EQ(asked ? 2 : 1, owner.live);
    }
    bitmap->Size = bitmap->Size64 = 5;
    EXPECT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap.get()));
    EXPECT_EQ(bitmap.bytes(), bitmap.data_size());
}

} // namespace
