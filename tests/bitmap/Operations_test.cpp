// What holds for every operation on whole bitmaps, one table of them against each rule: progress, scratch buffers,
// releases that fail, rows that belong to callbacks, locks of earlier records, region hooks.
#include "Vkbitmap.h"
#include "Vkcolorres.h"
#include "Vkcombine.h"
#include "Vkdib.h"
#include "Vklist.h"
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkrotate.h"
#include "Vkview.h"
#include "kernel/bitmap/Overlay.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <map>
#include <memory>
#include <span>

using namespace vk::testing;

namespace {

using B = BITMAPHANDLE*;
using Bytes = std::vector<uint8_t>;

constexpr int32_t kWidth = 50;
constexpr int32_t kHeight = 130;

/// What becomes of the bitmap.
enum class Does {
    keeps,    ///< its pixels change, its storage stays
    replaces, ///< it gets other storage
    copies,   ///< another bitmap is made from it, or anything else
    fills,    ///< another bitmap that exists gets its pixels
};

struct Operation {
    const char* name;
    int32_t bits;
    Does does;
    int (*run)(BITMAPHANDLE* bitmap, Bytes& made);
    bool is_silent = false; ///< reports no progress
};

/// The bytes of rows, without what stands behind their pixels.
Bytes pixels_of(BITMAPHANDLE* bitmap)
{
    const size_t used = (static_cast<size_t>(bitmap->Width) * static_cast<size_t>(bitmap->BitsPerPixel) + 7) / 8;
    Bytes all;
    Bytes row(bitmap->BytesPerLine);
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        EXPECT_LE(0, V_GetBitmapRow(bitmap, row.data(), y, row.size()));
        all.insert(all.end(), row.begin(), row.begin() + static_cast<ptrdiff_t>(used));
    }
    return all;
}

Bytes read_accessed(BITMAPHANDLE* bitmap)
{
    const int accessed = V_AccessBitmap(bitmap);
    const Bytes all = pixels_of(bitmap);
    if (accessed == SUCCESS)
        V_ReleaseBitmap(bitmap);
    return all;
}

/// Runs what makes a bitmap, and takes its pixels; a bitmap that was not made must be empty.
template <class Make> int made_by(BITMAPHANDLE* bitmap, Bytes& pixels, Make make)
{
    TestBitmap made;
    const int result = make(made.get(), bitmap);
    EXPECT_EQ(result == SUCCESS, !made.is_empty());
    if (result == SUCCESS)
        pixels = read_accessed(made.get());
    return result;
}

/// Fills a bitmap of some form and size.
template <class Fill>
int filled_by(BITMAPHANDLE* bitmap, Bytes& pixels, int32_t bits, int32_t order, int32_t perspective, Fill fill)
{
    TestBitmap target;
    const bool is_same = order < 0;
    EXPECT_EQ(SUCCESS, target.create(TYPE_CONV, is_same ? bitmap->Width : 71, is_same ? bitmap->Height : 160, bits,
                                     is_same ? bitmap->Order : order));
    target->ViewPerspective = is_same ? bitmap->ViewPerspective : perspective;
    const int result = fill(target.get(), bitmap);
    pixels = pixels_of(target.get());
    return result;
}

template <uint32_t kFlags> int size(BITMAPHANDLE* b, Bytes&)
{
    return V_SizeBitmap(b, 71, 160, kFlags);
}

template <int32_t kTo> int view_copy(BITMAPHANDLE* b, Bytes& made)
{
    return made_by(b, made,
                   [](B to, B from) { return V_ChangeBitmapViewPerspective(to, from, BITMAPHANDLE_SIZE, kTo); });
}

template <uint32_t kFlags> int resize(BITMAPHANDLE* b, Bytes& made)
{
    return filled_by(b, made, 16, COLORORDER_GRAY, 6, [](B to, B from) { return V_ResizeBitmap(from, to, kFlags); });
}

int to_dib(BITMAPHANDLE* b, Bytes& made)
{
    uint32_t bytes = 0;
    auto* const block = static_cast<uint8_t*>(V_ConvertToDIB2(b, 0, &bytes, 0));
    made.assign(block, block + bytes);
    V_FreeMemory(block);
    return block ? SUCCESS : FAILURE;
}

int to_dib_upright(BITMAPHANDLE* b, Bytes& made)
{
    b->ViewPerspective = 2;
    const int result = to_dib(b, made);
    b->ViewPerspective = TOP_LEFT;
    return result;
}

int copy_list(BITMAPHANDLE* b, Bytes& made)
{
    HBITMAPLIST list = nullptr;
    HBITMAPLIST copy = nullptr;
    EXPECT_EQ(SUCCESS, V_CreateBitmapList(&list));
    BITMAPHANDLE none;
    EXPECT_EQ(SUCCESS, V_InitBitmap(&none, BITMAPHANDLE_SIZE, 0, 0, 0));
    BITMAPHANDLE shown = *b;
    EXPECT_EQ(SUCCESS, V_InsertBitmapListItem(list, 0, &shown));
    BITMAPHANDLE second;
    EXPECT_EQ(SUCCESS, V_CreateBitmap(&second, BITMAPHANDLE_SIZE, TYPE_CONV, 9, 200, 8, 0, nullptr, 1, nullptr, 0));
    EXPECT_EQ(SUCCESS, V_InsertBitmapListItem(list, 1, &second));
    const int result = V_CopyBitmapListItems(&copy, list, 0, 2);
    BITMAPHANDLE item;
    if (result == SUCCESS) {
        EXPECT_EQ(SUCCESS, V_GetBitmapListItem(copy, 0, &item, BITMAPHANDLE_SIZE));
        made = read_accessed(&item);
        EXPECT_EQ(SUCCESS, V_DestroyBitmapList(copy));
    }
    EXPECT_EQ(SUCCESS, V_RemoveBitmapListItem(list, 0, &shown));
    EXPECT_EQ(SUCCESS, V_DestroyBitmapList(list));
    return result;
}

int color_res(BITMAPHANDLE* to, BITMAPHANDLE* from, int32_t bits, uint32_t flags)
{
    return V_ColorResBitmap(from, to, BITMAPHANDLE_SIZE, bits, flags, nullptr, nullptr, 0);
}

const Operation kOperations[] = {
    {"flip", 24, Does::keeps, [](B b, Bytes&) { return V_FlipBitmap(b); }},
    {"flip bits", 1, Does::keeps, [](B b, Bytes&) { return V_IntFlipBitmap(b); }},
    {"reverse", 24, Does::keeps, [](B b, Bytes&) { return V_ReverseBitmap(b); }},
    {"reverse bits", 1, Does::keeps, [](B b, Bytes&) { return V_IntReverseBitmap(b); }},
    {"half turn", 24, Does::keeps, [](B b, Bytes&) { return V_RotateBitmap(b, 18000, 0, 0); }},
    {"half turn of bits", 1, Does::keeps, [](B b, Bytes&) { return V_RotateBitmap(b, -18000, 0, 0); }},
    {"perspective by flip", 24, Does::keeps,
     [](B b, Bytes&) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 4); }, true},
    {"perspective by flip and half turn", 24, Does::keeps,
     [](B b, Bytes&) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 2); }, true},
    {"perspective by flip and turn", 24, Does::replaces,
     [](B b, Bytes&) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 5); }, true},
    {"perspective copied", 24, Does::copies, view_copy<3>},
    {"perspective copied and turned", 24, Does::copies, view_copy<8>},
    {"quarter turn", 24, Does::replaces, [](B b, Bytes&) { return V_RotateBitmap90(b, 1); }},
    {"quarter turn of bits", 1, Does::replaces, [](B b, Bytes&) { return V_RotateBitmap90(b, 0); }},
    {"rotation", 24, Does::replaces, [](B b, Bytes&) { return V_RotateBitmap(b, 3300, ROTATEFLAG_GROW, 0); }},
    {"rotation, filtered", 24, Does::replaces,
     [](B b, Bytes&) { return V_RotateBitmap(b, -700, ROTATEFLAG_RESAMPLE, 0); }},
    {"nearest size", 24, Does::replaces, size<SIZEFLAG_NORMAL>},
    {"favour black", 1, Does::replaces, size<SIZEFLAG_FAVORBLACK>},
    {"area size", 24, Does::replaces, size<SIZEFLAG_RESAMPLE>},
    {"bicubic size", 24, Does::replaces, size<SIZEFLAG_BICUBIC>},
    {"alternative size", 24, Does::replaces, size<SIZEFLAG_ALTRESAMPLE>},
    {"size to gray", 24, Does::replaces, size<SIZEFLAG_SCALETOGRAY>},
    {"size to gray by indices", 4, Does::replaces, size<SIZEFLAG_SCALETOGRAY>},
    {"size to gray of bits", 1, Does::replaces, size<SIZEFLAG_SCALETOGRAY>},
    {"alpha-aware size", 32, Does::replaces, size<SIZEFLAG_ALPHAAWARE>},
    {"alpha-aware size to gray", 32, Does::replaces, size<SIZEFLAG_ALPHAAWARE | SIZEFLAG_SCALETOGRAY>},
    {"resample", 24, Does::replaces, [](B b, Bytes&) { return V_ResampleBitmap(b, 20, 40); }},
    {"bicubic resample", 24, Does::replaces, [](B b, Bytes&) { return V_BicubicResampleBitmap(b, 70, 140); }},
    {"nearest resize into another form", 24, Does::fills, resize<0>},
    {"area resize into another form", 24, Does::fills, resize<SIZEFLAG_RESAMPLE>},
    {"inner resize", 24, Does::fills,
     [](B b, Bytes& made) {
         return filled_by(b, made, 24, COLORORDER_BGR, 1, [](B to, B from) { return V_IntResizeBitmap(from, to, 4); });
     }},
    {"inner resample", 24, Does::fills,
     [](B b, Bytes& made) {
         return filled_by(b, made, 24, COLORORDER_BGR, 4, [](B to, B from) { return V_IntResampleBitmap(from, to); });
     }},
    {"copy", 24, Does::copies,
     [](B b, Bytes& made) {
         return made_by(b, made, [](B to, B from) { return V_CopyBitmap(to, from, BITMAPHANDLE_SIZE); });
     }},
    {"copy of data", 24, Does::fills,
     [](B b, Bytes& made) {
         return filled_by(b, made, 24, -1, 1, [](B to, B from) { return V_CopyBitmapData(to, from); });
     }},
    {"copies in a list", 24, Does::copies, copy_list},
    {"colours", 24, Does::replaces, [](B b, Bytes&) { return color_res(nullptr, b, 16, COLORRES_ORDER_RGB565); }},
    {"colours of an optimized palette", 24, Does::replaces,
     [](B b, Bytes&) { return color_res(b, b, 8, COLORRES_PALETTE_OPTIMIZED); }},
    {"colours of a copy", 24, Does::copies,
     [](B b, Bytes& made) { return made_by(b, made, [](B to, B from) { return color_res(to, from, 4, 0); }); }},
    {"colours that are the same", 24, Does::copies,
     [](B b, Bytes& made) {
         return made_by(b, made, [](B to, B from) { return color_res(to, from, 24, COLORRES_ORDER_BGR); });
     }},
    {"gray", 24, Does::replaces, [](B b, Bytes&) { return V_GrayScaleBitmap(b, 12); }},
    {"gray copy", 24, Does::copies,
     [](B b, Bytes& made) {
         return made_by(b, made, [](B to, B from) { return V_CreateGrayScaleBitmap(to, from, BITMAPHANDLE_SIZE, 8); });
     }},
    {"trimming", 24, Does::replaces, [](B b, Bytes&) { return V_TrimBitmap(b, 3, 5, 40, 110); }},
    {"extending", 24, Does::replaces, [](B b, Bytes&) { return V_ExtendBitmap(b, 1, 2, 3, 4, EXTEND_MIRROR, 0); }},
    {"copy of a part", 24, Does::copies,
     [](B b, Bytes& made) {
         return made_by(b, made,
                        [](B to, B from) { return V_CopyBitmapRect(to, from, BITMAPHANDLE_SIZE, 2, 3, 40, 111); });
     }},
    {"combining", 24, Does::fills,
     [](B b, Bytes& made) {
         return filled_by(b, made, 32, COLORORDER_RGB, 3,
                          [](B to, B from) { return V_CombineBitmap(to, 1, 2, 60, 120, from, 0, 0, COMBINE_COPY); });
     }},
    {"combining into it", 24, Does::keeps,
     [](B b, Bytes&) {
         TestBitmap other;
         EXPECT_EQ(SUCCESS, other.create(TYPE_CONV, 40, 120, 24, COLORORDER_BGR));
         return V_CombineBitmap(b, 1, 2, 40, 120, other.get(), 0, 0, COMBINE_COPY);
     }},
    {"DIB", 24, Does::copies, to_dib},
    {"DIB of another perspective", 24, Does::copies, to_dib_upright},
};

/// Operations that move a bitmap's storage, which those whose rows callbacks hold have not.
const Operation kMoves[] = {
    {"move to memory", 24, Does::replaces,
     [](B b, Bytes&) { return V_SetBitmapMemoryInfo(b, TYPE_CONV, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY); }},
    {"move to a file", 24, Does::replaces,
     [](B b, Bytes&) { return V_SetBitmapMemoryInfo(b, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY); }},
    {"super-compression", 24, Does::replaces, [](B b, Bytes&) { return V_ChangeBitmapCompression(b, 2); }},
    {"run-length compression", 1, Does::replaces, [](B b, Bytes&) { return V_ToggleBitmapCompression(b); }},
};

/// Noise, of which some pixels are transparent where there is alpha.
void fill_with_noise(BITMAPHANDLE* bitmap, uint64_t seed)
{
    TestRandom random(seed);
    const size_t used = (static_cast<size_t>(bitmap->Width) * static_cast<size_t>(bitmap->BitsPerPixel) + 7) / 8;
    const int accessed = V_AccessBitmap(bitmap);
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        Bytes row(bitmap->BytesPerLine, 0);
        random.fill(row.data(), used);
        if (bitmap->BitsPerPixel == 1)
            row[used - 1] = static_cast<uint8_t>(row[used - 1] & 0xC0u); // 50 pixels
        for (size_t at = 3; bitmap->BitsPerPixel == 32 && at < used; at += 4 * 7)
            row[at] = 0;
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    if (accessed == SUCCESS)
        V_ReleaseBitmap(bitmap);
}

/// A bitmap of an operation's depth in a kind of storage.
std::unique_ptr<TestBitmap> make_bitmap(const Operation& operation, Kind kind, uint32_t size = BITMAPHANDLE_SIZE)
{
    auto bitmap = std::make_unique<TestBitmap>(size);
    bitmap->make(kind, kWidth, kHeight, operation.bits);
    (*bitmap)->ViewPerspective = TOP_LEFT;
    fill_with_noise(bitmap->get(), 12);
    return bitmap;
}

/// What an operation gives: its result, and the pixels it is about.
struct Outcome {
    int result = 0;
    Bytes pixels;
    bool operator==(const Outcome&) const = default;
};

Outcome run(const Operation& operation, BITMAPHANDLE* bitmap)
{
    Outcome outcome;
    outcome.result = operation.run(bitmap, outcome.pixels);
    if (operation.does == Does::keeps || operation.does == Does::replaces)
        outcome.pixels = read_accessed(bitmap);
    return outcome;
}

/// Calls `check` with each operation and storage kind that go together.
template <class Check> void for_each_case(std::initializer_list<Kind> kinds, Check check)
{
    for (const auto table : {std::span<const Operation>(kOperations), std::span<const Operation>(kMoves)})
        for (const Operation& operation : table)
            for (const Kind kind : kinds)
                if (can_make(kind, operation.bits)) {
                    SCOPED_TRACE(std::string(operation.name) + " of " + name_of(kind));
                    check(operation, kind);
                    if (::testing::Test::HasFailure())
                        return;
                }
}

constexpr std::initializer_list<Kind> kEachWay = {Kind::conv,         Kind::global,     Kind::disk,
                                                  Kind::tiled_memory, Kind::compressed, Kind::super};

BITMAPDATACALLBACKS table_for(void* user_data)
{
    BITMAPDATACALLBACKS table{};
    table.StructSize = sizeof table;
    table.UserData = user_data;
    return table;
}

} // namespace

TEST(Operations, ReportProgress)
{
    for_each_case(kEachWay, [](const Operation& operation, Kind kind) {
        const auto bitmap = make_bitmap(operation, kind);
        std::vector<int> percents;
        V_SetStatusCallback(
            [](int percent, void* list) {
                static_cast<std::vector<int>*>(list)->push_back(percent);
                return SUCCESS;
            },
            &percents, nullptr, nullptr);
        Bytes made;
        const int result = operation.run(bitmap->get(), made);
        V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(SUCCESS, result);
        const bool is_move = &operation >= kMoves && &operation < std::end(kMoves); // it may be there
        EXPECT_TRUE(is_move || operation.is_silent == percents.empty());
        if (percents.empty())
            return;
        EXPECT_EQ(0, percents.front());
        EXPECT_EQ(100, percents.back());
        EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end(), std::less_equal<>()))
            << ::testing::PrintToString(percents);
    });
}

namespace {

/// What the callbacks answer, and how often they were asked.
struct Watcher {
    int release = SUCCESS;
    int accesses = 0;
    int releases = 0;

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS table = table_for(this);
        table.AccessBitmapCallback = [](B, void* self) { return ++static_cast<Watcher*>(self)->accesses, SUCCESS; };
        table.ReleaseBitmapCallback = [](B, void* self) {
            ++static_cast<Watcher*>(self)->releases;
            return static_cast<Watcher*>(self)->release;
        };
        return table;
    }
};

} // namespace

TEST(Operations, ARefusedReleaseUndoesNothing)
{
    constexpr int kRefusal = -77;
    for_each_case(kEachWay, [](const Operation& operation, Kind kind) {
        const auto plain = make_bitmap(operation, kind);
        const Outcome wanted = run(operation, plain->get());
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

namespace {

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
        BITMAPDATACALLBACKS table = table_for(this);
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

} // namespace

TEST(Operations, AskForAScratchBufferOnce)
{
    std::map<std::string, int> asked;
    for_each_case(kEachWay, [&](const Operation& operation, Kind kind) {
        const auto plain = make_bitmap(operation, kind);
        const Outcome wanted = run(operation, plain->get());
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

namespace {

/// Callbacks that hold the rows themselves, each on its own.
struct RowOwner {
    int live = 0;

    using Rows = std::vector<Bytes>;

    static Bytes& row_of(BITMAPHANDLE* bitmap, int32_t row, size_t offset, size_t bytes)
    {
        auto& rows = *static_cast<Rows*>(bitmap->Handle);
        EXPECT_TRUE(row >= 0 && row < bitmap->Height);
        EXPECT_LE(offset + bytes, +bitmap->BytesPerLine) << "more than the row has";
        return rows[static_cast<size_t>(row)];
    }

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS table = table_for(this);
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
            const size_t offset = static_cast<size_t>(column) * static_cast<size_t>(bitmap->BitsPerPixel) / 8;
            std::memcpy(buffer, row_of(bitmap, row, offset, bytes).data() + offset, bytes);
            return static_cast<intptr_t>(bytes);
        };
        table.PutBitmapRowColCallback = [](B bitmap, void* buffer, int32_t row, int32_t column, size_t bytes, void*) {
            const size_t offset = static_cast<size_t>(column) * static_cast<size_t>(bitmap->BitsPerPixel) / 8;
            std::memcpy(row_of(bitmap, row, offset, bytes).data() + offset, buffer, bytes);
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

} // namespace

TEST(Operations, RowsOfCallbacksAreNeverShared)
{
    for (const Operation& operation : kOperations) {
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

TEST(Operations, EarlierRecordsKeepTheirLock)
{
    std::vector<Operation> all(std::begin(kOperations), std::end(kOperations));
    all.push_back({"reading a colour", 24, Does::copies,
                   [](B b, Bytes&) { return V_GetPixelColor(b, 3, 4) <= 0xFFFFFF ? SUCCESS : FAILURE; }});
    all.push_back({"writing a colour", 24, Does::keeps, [](B b, Bytes&) { return V_PutPixelColor(b, 3, 4, 5); }});
    all.push_back({"streaming resize", 24, Does::copies, [](B b, Bytes& made) {
                       void* state = nullptr;
                       made.resize(60);
                       EXPECT_EQ(SUCCESS, V_StartResizeBitmap(b, 20, 20, 24, nullptr, COLORORDER_BGR, 0, nullptr,
                                                              nullptr, &state));
                       EXPECT_EQ(SUCCESS, V_GetResizedRowCol(state, made.data(), 3, 0, 20));
                       return V_StopResizeBitmap(state);
                   }});
    for (const Operation& operation : all)
        for (const bool locked : {false, true}) {
            SCOPED_TRACE(std::string(operation.name) + (locked ? ", locked" : ""));
            if (std::string(operation.name) == "copies in a list") // which takes current records first
                continue;
            const auto bitmap = make_bitmap(operation, Kind::global, BITMAPHANDLE_SIZE_EARLIER);
            void* const block = (*bitmap)->Handle;
            if (locked) {
                ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap->get()));
            }
            Bytes made;
            EXPECT_EQ(SUCCESS, operation.run(bitmap->get(), made));
            if (operation.does == Does::replaces)
                continue;
            EXPECT_EQ(block, +(*bitmap)->Handle);
            EXPECT_EQ(locked, V_BitmapIsLocked(bitmap->get()) != 0);
            EXPECT_EQ(locked, (*bitmap)->Data != nullptr);
            EXPECT_EQ(locked ? 1u : 0u, GlobalFlags(block) & GMEM_LOCKCOUNT);
        }
}

TEST(Operations, HooksAreForBitmapsWithARegion)
{
    int calls = 0;
    REGIONHOOKS hooks{};
    hooks.StructSize = sizeof hooks;
    hooks.UserData = &calls;
    hooks.FlipRegion = hooks.ReverseRegion =
        hooks.FreeRegion = [](B, void* count) { return ++*static_cast<int*>(count), SUCCESS; };
    hooks.ScaleRegion = [](B, int32_t, int32_t, void* count) { return ++*static_cast<int*>(count), SUCCESS; };
    ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    for_each_case({Kind::conv, Kind::disk, Kind::compressed}, [&](const Operation& operation, Kind kind) {
        const auto bitmap = make_bitmap(operation, kind);
        Bytes made;
        EXPECT_EQ(SUCCESS, operation.run(bitmap->get(), made));
        EXPECT_EQ(0, calls);
    });
    V_SetRegionHooks(nullptr);
}
