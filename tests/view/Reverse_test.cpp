// Flips, mirrors and half turns where the pixels are: what they leave alone, what they do without, and how they are
// taken back.
#include "kernel/view/Relayout.h"
#include "platform/fault/fault.h"
#include "tests/support/TestTurn.h"

#include "Vkbitmap.h"
#include "Vkdither.h"
#include "Vkrotate.h"
#include "Vkview.h"

#include <memory>
#include <string>

using namespace vk::testing;

namespace {

using B = BITMAPHANDLE*;

struct Operation {
    const char* name;
    int (*run)(BITMAPHANDLE*);
    Picture (*make)(const Picture&);
};

const Operation kOperations[] = {
    {"flip", V_FlipBitmap, [](const Picture& p) { return p.flipped(); }},
    {"reverse", V_ReverseBitmap, [](const Picture& p) { return p.mirrored(); }},
    {"half turn", [](B b) { return V_RotateBitmap(b, 18000, 0, 0); },
     [](const Picture& p) { return p.turned_by(180); }},
};

int ignore(int, void*)
{
    return SUCCESS;
}

/// A status callback for the length of a scope: operations go in small steps then.
struct Listening {
    Listening() { V_SetStatusCallback(ignore, nullptr, nullptr, nullptr); }
    ~Listening() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;
};

/// Callbacks that hand rows on to a block of their own, of which the n-th transfer may fail.
struct Rows {
    std::vector<uint8_t> bytes;
    int64_t transfers = 0;
    int64_t failing = 0; ///< counted from 1; 0: none
    static constexpr intptr_t kFailure = -77;

    bool fails() { return ++transfers == failing; }

    static uint8_t* at(B bitmap, Rows& self, int32_t row, size_t count)
    {
        EXPECT_LE(count, +bitmap->BytesPerLine) << "one row at a time";
        return self.bytes.data() + static_cast<size_t>(row) * bitmap->BytesPerLine;
    }

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS calls{};
        calls.StructSize = sizeof calls;
        calls.UserData = this;
        calls.AllocateBitmapDataCallback = [](B bitmap, ALLOCATEBITMAPCALLBACKDATA*, void* data) {
            static_cast<Rows*>(data)->bytes.resize(static_cast<size_t>(bitmap->Size));
            return 2;
        };
        calls.GetBitmapRowColCallback = [](B bitmap, void* to, int32_t row, int32_t, size_t count, void* data) {
            auto& self = *static_cast<Rows*>(data);
            if (self.fails())
                return kFailure;
            std::memcpy(to, at(bitmap, self, row, count), count);
            return static_cast<intptr_t>(count);
        };
        calls.PutBitmapRowColCallback = [](B bitmap, void* from, int32_t row, int32_t, size_t count, void* data) {
            auto& self = *static_cast<Rows*>(data);
            if (self.fails())
                return kFailure;
            std::memcpy(at(bitmap, self, row, count), from, count);
            return static_cast<intptr_t>(count);
        };
        return calls;
    }

    void make(TestBitmap& bitmap, const Picture& picture, int32_t bits)
    {
        const BITMAPDATACALLBACKS calls = table();
        ASSERT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, picture.width, picture.height,
                                                     bits, &calls));
        ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
        bitmap->ViewPerspective = TOP_LEFT;
        paint(bitmap.get(), picture);
    }
};

int g_allocations = 0;

int count_allocation(B, ALLOCATEBITMAPCALLBACKDATA*, void*)
{
    ++g_allocations;
    return SUCCESS;
}

} // namespace

TEST(Reverse, LeavesTheRecordAndItsStorageAlone)
{
    V_SetAllocateBitmapCallback(nullptr, nullptr, nullptr, nullptr);
    for (const Operation& operation : kOperations)
        for (const Kind kind : kKinds)
            for (const int32_t bits : {1, 8, 24})
                for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
                    if (!can_make(kind, bits))
                        continue;
                    SCOPED_TRACE(std::string(operation.name) + " of " + name_of(kind) + ", " + std::to_string(bits));
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
                    ASSERT_EQ(SUCCESS, V_StartDithering(bitmap.get(), nullptr, 16));
                    g_allocations = 0;
                    V_SetAllocateBitmapCallback(count_allocation, nullptr, nullptr, nullptr);
                    const vk::fault::Live live = vk::fault::live();
                    std::vector<uint8_t> before = bitmap.image();
                    vk::fault::arm(0, false);
                    EXPECT_EQ(SUCCESS, operation.run(bitmap.get()));
                    for (const auto call : {vk::fault::Call::file_open, vk::fault::Call::section_create,
                                            vk::fault::Call::movable_alloc, vk::fault::Call::temp_name})
                        EXPECT_EQ(0u, vk::fault::calls(call)) << vk::fault::name_of(call);
                    vk::fault::disarm();
                    V_SetAllocateBitmapCallback(nullptr, nullptr, nullptr, nullptr);
                    EXPECT_EQ(0, g_allocations);
                    EXPECT_TRUE(live == vk::fault::live() || kind == Kind::super || V_BitmapIsTiled(bitmap.get()))
                        << "nothing is kept but what a cache holds";
                    if (kind == Kind::compressed) { // the bytes of its rows, recounted
                        const uint64_t bytes = bitmap->Size;
                        EXPECT_EQ(SUCCESS, V_UpdateBitmapSize(bitmap.get()));
                        EXPECT_EQ(bytes, +bitmap->Size);
                        std::memcpy(before.data() + offsetof(BITMAPHANDLE, Size), &bytes, sizeof bytes);
                        if (size == BITMAPHANDLE_SIZE)
                            std::memcpy(before.data() + offsetof(BITMAPHANDLE, Size64), &bytes, sizeof bytes);
                    }
                    EXPECT_EQ(before, bitmap.image());
                    EXPECT_EQ(SUCCESS, V_StopDithering(bitmap.get()));
                    EXPECT_EQ(operation.make(picture), read(bitmap.get()));
                }
}

TEST(Reverse, BandsMeetWhereverTheEndIs)
{
    for (const Operation& operation : kOperations)
        for (const int32_t height : {1, 2, 3, 255, 256, 257, 511, 512, 513, 1023, 1025, 1300})
            for (const int32_t bits : {1, 12, 24})
                for (const bool listens : {false, true}) {
                    SCOPED_TRACE(std::string(operation.name) + ", " + std::to_string(height) + " rows, " +
                                 std::to_string(bits));
                    const std::unique_ptr<Listening> listening = listens ? std::make_unique<Listening>() : nullptr;
                    const Picture picture = Picture::noise(21, height, bits, static_cast<uint64_t>(height));
                    TestBitmap disk;
                    ASSERT_NO_FATAL_FAILURE(make_stored(disk, Kind::disk, picture, bits));
                    ASSERT_EQ(SUCCESS, operation.run(disk.get()));
                    EXPECT_EQ(operation.make(picture), read(disk.get()));
                    Rows rows;
                    TestBitmap owned;
                    ASSERT_NO_FATAL_FAILURE(rows.make(owned, picture, bits));
                    ASSERT_EQ(SUCCESS, operation.run(owned.get()));
                    EXPECT_EQ(operation.make(picture), read(owned.get()));
                    EXPECT_TRUE(owned->DataCallbacks != nullptr);
                }
}

TEST(Reverse, AFailedTransferIsPutBack)
{
    const Picture picture = Picture::noise(9, 23, 24, 5);
    for (const Operation& operation : kOperations)
        for (const bool listens : {false, true}) {
            SCOPED_TRACE(operation.name);
            const std::unique_ptr<Listening> listening = listens ? std::make_unique<Listening>() : nullptr;
            Rows rows;
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(rows.make(bitmap, picture, 24));
            int64_t failed = 0;
            for (int64_t n = 1;; ++n) {
                rows.transfers = 0;
                rows.failing = n;
                const int result = operation.run(bitmap.get());
                rows.failing = 0;
                if (result == SUCCESS)
                    break;
                ++failed;
                ASSERT_EQ(Rows::kFailure, result);
                ASSERT_EQ(picture, read(bitmap.get())) << "transfer " << n;
            }
            EXPECT_EQ(2 * 23, failed) << "each row read and written";
            EXPECT_EQ(operation.make(picture), read(bitmap.get()));
        }
    const Listening listening;
    const Picture tall = Picture::noise(9, 60, 24, 5); // many bands
    for (const Operation& operation : kOperations)
        for (const Kind kind : {Kind::disk, Kind::tiled_file})
            for (const auto call : {vk::fault::Call::file_read, vk::fault::Call::file_write, vk::fault::Call::file_map})
                for (const uint64_t n : {1u, 2u, 5u, 8u}) {
                    TestBitmap bitmap;
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, tall, 24));
                    vk::fault::arm_call(call, n, false);
                    const int result = operation.run(bitmap.get());
                    vk::fault::disarm();
                    EXPECT_EQ(result == SUCCESS ? operation.make(tall) : tall, read(bitmap.get()))
                        << operation.name << " of " << name_of(kind) << ", " << vk::fault::name_of(call) << ' ' << n;
                    EXPECT_TRUE(result != SUCCESS || kind != Kind::disk || call == vk::fault::Call::file_map);
                }
}

TEST(Reverse, OneRowTilesAreSeenTwiceAtMost)
{
    constexpr int32_t kRows = 150;
    for (const Operation& operation : kOperations) {
        const Thresholds restore;
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, -100, 32, 0, 20, 31));
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_TILED, 8, kRows, 24));
        ASSERT_TRUE(V_BitmapIsTiled(bitmap.get()));
        const Picture picture = Picture::noise(8, kRows, 24, 5);
        ASSERT_NO_FATAL_FAILURE(paint(bitmap.get(), picture));
        vk::fault::arm(0, false);
        EXPECT_EQ(SUCCESS, operation.run(bitmap.get()));
        EXPECT_GE(2u * kRows, vk::fault::calls(vk::fault::Call::file_map)) << operation.name;
        vk::fault::disarm();
        EXPECT_TRUE(operation.make(picture) == read(bitmap.get()));
    }
}
