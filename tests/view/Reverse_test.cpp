// Flips, mirrors and half turns where the pixels are: what they leave alone, what they do without, and how they are
// taken back.
#include "tests/view/ViewSupport.h"

#include "Vkbitmap.h"
#include "Vkdither.h"
#include "Vkrotate.h"

using namespace vk::testing;
using vk::fault::Call;

namespace {

using B = BITMAPHANDLE*;

/// Callbacks that hand rows on to a block of their own, of which the n-th transfer may fail.
struct Rows {
    Bytes bytes = {};
    int64_t transfers = 0;
    int64_t failing = 0; ///< counted from 1; 0: none
    static constexpr intptr_t kFailure = -77;

    template <bool puts> static intptr_t move(B bitmap, void* buffer, int32_t row, int32_t, size_t count, void* data)
    {
        auto& self = *static_cast<Rows*>(data);
        EXPECT_LE(count, +bitmap->BytesPerLine) << "one row at a time";
        if (++self.transfers == self.failing)
            return kFailure;
        void* const place = self.bytes.data() + static_cast<size_t>(row) * bitmap->BytesPerLine;
        std::memcpy(puts ? place : buffer, puts ? buffer : place, count);
        return static_cast<intptr_t>(count);
    }

    void make(TestBitmap& bitmap, const Picture& picture, int32_t bits)
    {
        BITMAPDATACALLBACKS calls = callbacks_for(this);
        calls.AllocateBitmapDataCallback = [](B of, ALLOCATEBITMAPCALLBACKDATA*, void* data) {
            static_cast<Rows*>(data)->bytes.resize(static_cast<size_t>(of->Size));
            return 2;
        };
        calls.GetBitmapRowColCallback = move<false>;
        calls.PutBitmapRowColCallback = move<true>;
        ASSERT_EQ(SUCCESS,
                  V_InitBitmapWithCallbacks(bitmap, BITMAPHANDLE_SIZE, picture.width, picture.height, bits, &calls));
        ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap, TYPE_CONV));
        bitmap->ViewPerspective = TOP_LEFT;
        paint(bitmap, picture);
    }
};

/// Those that keep the dimensions, and with them the storage.
const Operation kReversals[] = {kOperations[0],
                                kOperations[1],
                                {"half turn", [](B b) { return V_RotateBitmap(b, 18000, 0, 0); }, kOperations[2].make}};

int g_allocations = 0;

int count_allocation(B, ALLOCATEBITMAPCALLBACKDATA*, void*)
{
    ++g_allocations;
    return SUCCESS;
}

} // namespace

TEST(Reverse, LeavesTheRecordAndItsStorageAlone)
{
    for (const Operation& operation : kReversals)
        for (const Kind kind : kKinds)
            for (const int32_t bits : {1, 8, 24})
                for (const uint32_t size : kRecordSizes) {
                    if (!can_make(kind, bits))
                        continue;
                    SCOPED_TRACE(say(operation.name, name_of(kind), bits));
                    TestBitmap bitmap(size);
                    Picture picture = Picture::noise(60, 31, bits, 7);
                    if (bits == 1) // with runs that end with the row, whose mirror image has a word more
                        for (int32_t y = 0; y < 31; y += 2)
                            picture.at(59, y) = 1;
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, bits));
                    bitmap->CurrentPos = 1234567890123;
                    bitmap->CurrentRow = 17;
                    bitmap->MinVal = 3;
                    bitmap->Flags |= BITMAPFLAG_PROGRESSIVEAVAILABLE | BITMAPFLAG_INTERLACED | BITMAPFLAG_WAITUSERINPUT;
                    ASSERT_EQ(SUCCESS, V_StartDithering(bitmap, nullptr, 16));
                    g_allocations = 0;
                    V_SetAllocateBitmapCallback(count_allocation, nullptr, nullptr, nullptr);
                    const vk::fault::Live live = vk::fault::live();
                    Bytes before = bitmap.image();
                    vk::fault::arm(0, false);
                    EXPECT_EQ(SUCCESS, operation.run(bitmap));
                    for (const auto call :
                         {Call::file_open, Call::section_create, Call::movable_alloc, Call::temp_name})
                        EXPECT_EQ(0u, vk::fault::calls(call)) << vk::fault::name_of(call);
                    vk::fault::disarm();
                    V_SetAllocateBitmapCallback(nullptr, nullptr, nullptr, nullptr);
                    EXPECT_EQ(0, g_allocations);
                    EXPECT_TRUE(live == vk::fault::live() || kind == Kind::super || V_BitmapIsTiled(bitmap))
                        << "nothing is kept but what a cache holds";
                    if (kind == Kind::compressed) { // the bytes of its rows, recounted
                        const uint64_t bytes = bitmap->Size;
                        EXPECT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap));
                        EXPECT_EQ(bytes, +bitmap->Size);
                        std::memcpy(before.data() + offsetof(BITMAPHANDLE, Size), &bytes, sizeof bytes);
                        if (size == BITMAPHANDLE_SIZE)
                            std::memcpy(before.data() + offsetof(BITMAPHANDLE, Size64), &bytes, sizeof bytes);
                    }
                    EXPECT_EQ(before, bitmap.image());
                    EXPECT_EQ(SUCCESS, V_StopDithering(bitmap));
                    EXPECT_EQ(operation.make(picture), read(bitmap));
                }
}

// Somebody who listens has operations go in small steps.
TEST(Reverse, BandsMeetWhereverTheEndIs)
{
    for (const Operation& operation : kReversals)
        for (const int32_t height : {1, 2, 3, 255, 256, 257, 511, 512, 513, 1023, 1025, 1300})
            for (const int32_t bits : {1, 12, 24})
                for (const bool listens : {false, true}) {
                    SCOPED_TRACE(say(operation.name, height, "rows", bits, listens));
                    std::optional<Watch> watch;
                    if (listens)
                        watch.emplace();
                    const Picture picture = Picture::noise(21, height, bits, static_cast<uint64_t>(height));
                    Rows rows;
                    TestBitmap disk;
                    TestBitmap owned;
                    ASSERT_NO_FATAL_FAILURE(make_stored(disk, Kind::disk, picture, bits));
                    ASSERT_NO_FATAL_FAILURE(rows.make(owned, picture, bits));
                    for (TestBitmap* const bitmap : {&disk, &owned}) {
                        ASSERT_EQ(SUCCESS, operation.run(*bitmap));
                        EXPECT_EQ(operation.make(picture), read(*bitmap));
                    }
                    EXPECT_TRUE(owned->DataCallbacks != nullptr);
                }
}

TEST(Reverse, AFailedTransferIsPutBack)
{
    const Picture picture = Picture::noise(9, 23, 24, 5);
    for (const Operation& operation : kReversals)
        for (const bool listens : {false, true}) {
            SCOPED_TRACE(operation.name);
            std::optional<Watch> watch;
            if (listens)
                watch.emplace();
            Rows rows;
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(rows.make(bitmap, picture, 24));
            int result = Rows::kFailure;
            int64_t n = 0;
            while (result != SUCCESS) {
                rows.transfers = 0;
                rows.failing = ++n;
                result = operation.run(bitmap);
                rows.failing = 0;
                ASSERT_TRUE(result == SUCCESS || result == Rows::kFailure) << result;
                ASSERT_EQ(result == SUCCESS ? operation.make(picture) : picture, read(bitmap)) << "transfer " << n;
            }
            EXPECT_EQ(2 * 23 + 1, n) << "each row read and written";
        }
}

TEST(Reverse, OneRowTilesAreSeenTwiceAtMost)
{
    constexpr int32_t kRows = 150;
    const Picture picture = Picture::noise(8, kRows, 24, 5);
    for (const Operation& operation : kReversals) {
        const Thresholds restore;
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, -100, 32, 0, 20, 31));
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_TILED, 8, kRows, 24));
        ASSERT_TRUE(V_BitmapIsTiled(bitmap));
        ASSERT_NO_FATAL_FAILURE(paint(bitmap, picture));
        vk::fault::arm(0, false);
        EXPECT_EQ(SUCCESS, operation.run(bitmap));
        EXPECT_GE(2u * kRows, vk::fault::calls(Call::file_map)) << operation.name;
        vk::fault::disarm();
        EXPECT_TRUE(operation.make(picture) == read(bitmap));
    }
}
