// The settings that allocation looks at: per thread where a thread has set any, process-wide otherwise. And moving
// storage on request, where it is refused; Rows_test moves pixels for real.
#include "tests/support/TestBitmap.h"

#include <array>
#include <thread>

using namespace vk::testing;

namespace {

using Values = std::array<int64_t, 5>;

Values values()
{
    int32_t reserved = 0;
    int32_t tiles = 0;
    int32_t buffers = 0;
    int64_t conv = 0;
    int64_t tile = 0;
    EXPECT_EQ(SUCCESS, V_GetMemoryThresholds(&reserved, &conv, &tile, &tiles, &buffers));
    EXPECT_EQ(SUCCESS, V_GetMemoryThresholds(nullptr, nullptr, nullptr, nullptr, nullptr));
    return {reserved, conv, tile, tiles, buffers};
}

const Values kStart = {0, -100, 0, 0, 0};

TEST(Thresholds, SettingStopsAtTheFirstRefusedValue)
{
    const Thresholds restore;
    struct {
        Values set;
        uint32_t flags;
        int result;
        Values then;
    } const cases[] = {
        {{1, 2, 3, 4, 5}, 0, SUCCESS, kStart},
        {{1, 2, 3, 4, 5}, 31, SUCCESS, {1, 2, 3, 4, 5}},
        {{-100, -100, 0, -100, -100}, 31, SUCCESS, {-100, -100, 0, -100, -100}},
        {{9, 9, 9, 9, 9}, 0xFFFFFFE0u, SUCCESS, kStart},
        {{9, 9, 9, 9, 9}, 5, SUCCESS, {9, -100, 9, 0, 0}},
        {{-101, 9, 9, 9, 9}, 31, ERROR_INVALID_PARAMETER, kStart},
        {{9, -101, 9, 9, 9}, 31, ERROR_INVALID_PARAMETER, {9, -100, 0, 0, 0}},
        {{9, 9, -1, 9, 9}, 31, ERROR_INVALID_PARAMETER, {9, 9, 0, 0, 0}},
        {{9, 9, 9, -101, 9}, 31, ERROR_INVALID_PARAMETER, {9, 9, 9, 0, 0}},
        {{9, 9, 9, 9, -101}, 31, ERROR_INVALID_PARAMETER, {9, 9, 9, 9, 0}},
        {{-101, -101, -1, 9, -101}, 8, SUCCESS, {0, -100, 0, 9, 0}}, // what is not selected is not looked at
    };
    for (const auto& c : cases) {
        const Thresholds one;
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, -100, 0, 0, 0, 31));
        EXPECT_EQ(c.result,
                  V_SetMemoryThresholds(static_cast<int32_t>(c.set[0]), c.set[1], c.set[2],
                                        static_cast<int32_t>(c.set[3]), static_cast<int32_t>(c.set[4]), c.flags));
        EXPECT_EQ(c.then, values()) << "case " << &c - cases;
    }
}

TEST(Thresholds, BelongToTheThread)
{
    const Thresholds restore;
    ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(5, 5, 5, 5, 5, 31));
    ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(TYPE_DISK));
    std::thread([] {
        uint32_t memory = 0;
        EXPECT_EQ(kStart, values());
        EXPECT_EQ(SUCCESS, V_GetDefaultMemoryType(&memory));
        EXPECT_EQ(TYPE_CONV, memory);
        EXPECT_EQ(SUCCESS, V_SetMemoryThresholds(0, 0, 16, 0, 0, 6));
        TestBitmap bitmap;
        EXPECT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 4, 8, 8));
        EXPECT_TRUE(V_BitmapIsTiled(bitmap.get()));
    }).join();
    EXPECT_EQ((Values{5, 5, 5, 5, 5}), values());
    EXPECT_EQ(SUCCESS, V_SetDefaultMemoryType(TYPE_CONV));
}

TEST(Thresholds, DefaultMemoryType)
{
    for (const uint32_t memory : {0u, 2u, 4u, 8u, 127u, 129u, 256u, 257u, 512u, 1024u, ~0u})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetDefaultMemoryType(memory));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetDefaultMemoryType(nullptr));
    // It decides where rows go that stop being compressed.
    for (const uint32_t memory : {TYPE_DISK, TYPE_CONV}) {
        EXPECT_EQ(SUCCESS, V_SetDefaultMemoryType(memory));
        TestBitmap bitmap;
        bitmap.make(Kind::compressed, 100, 5, 1);
        EXPECT_EQ(SUCCESS, V_ChangeBitmapCompression(bitmap.get(), 0));
        EXPECT_EQ(memory == TYPE_DISK, V_BitmapIsDiskMemory(bitmap.get()) != 0);
        EXPECT_EQ(memory == TYPE_CONV, V_BitmapIsConventionalMemory(bitmap.get()) != 0);
    }
}

TEST(Thresholds, DiskThreshold)
{
    GLOBALMEMORYTHRESHOLDS record{sizeof record, 0};
    EXPECT_EQ(ERROR_NULL_PTR, V_GetGlobalMemoryThresholds(nullptr, sizeof record));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetGlobalMemoryThresholds(&record, sizeof record - 1));
    for (const int64_t threshold : {int64_t{1}, int64_t{1} << 40, INT64_MAX}) {
        record = {sizeof record, threshold};
        EXPECT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(&record));
        record = {};
        EXPECT_EQ(SUCCESS, V_GetGlobalMemoryThresholds(&record, sizeof record));
        EXPECT_TRUE(record.DiskThreshold == threshold && record.StructSize == sizeof record);
    }
    record.DiskThreshold = -2;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetGlobalMemoryThresholds(&record));
    record.StructSize = 12;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetGlobalMemoryThresholds(&record));
    EXPECT_EQ(SUCCESS, V_GetGlobalMemoryThresholds(&record, sizeof record));
    EXPECT_EQ(INT64_MAX, record.DiskThreshold) << "a refused threshold changes nothing";
    record = {sizeof record, -1};
    EXPECT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(&record));
    EXPECT_EQ(SUCCESS, V_GetGlobalMemoryThresholds(&record, sizeof record));
    EXPECT_GT(record.DiskThreshold, 64 << 20) << "half of a machine's memory";
    EXPECT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(nullptr));
    EXPECT_EQ(SUCCESS, V_GetGlobalMemoryThresholds(&record, sizeof record));
    EXPECT_EQ(0, record.DiskThreshold);
}

int refuse(int, void*)
{
    return -29;
}

TEST(StorageMoves, RefusalsChangeNothing)
{
    struct {
        int32_t bits;
        uint32_t memory;
        int64_t tile;
        int32_t tiles, conv, left, buffers;
        uint32_t flags;
        int result;
    } const cases[] = {
        {8, TYPE_USER, 0, 0, 0, 0, 0, 1, ERROR_INVALID_PARAMETER},
        {8, TYPE_CONV | TYPE_DISK, 0, 0, 0, 0, 0, 1, ERROR_INVALID_PARAMETER},
        {8, 0, 0, 0, 0, 0, 0, 1, ERROR_INVALID_PARAMETER},
        {8, TYPE_COMPRESSED, 0, 0, 0, 0, 0, 1, ERROR_INVALID_BITS_PER_PIXEL},
        {16, TYPE_SUPERCOMPRESSED, 0, 0, 0, 0, 0, 1, ERROR_INVALID_BITS_PER_PIXEL},
        {8, TYPE_TILED, 0, 0, 0, 0, 0, 3, ERROR_INVALID_PARAMETER},
        {8, TYPE_TILED, 64, 0, 0, 0, 0, 5, ERROR_INVALID_PARAMETER},
        {8, TYPE_TILED, 64, 2, -101, 0, 0, 9, ERROR_INVALID_PARAMETER},
        {8, TYPE_TILED, 64, 2, 0, -1, 0, 17, ERROR_INVALID_PARAMETER},
        {8, TYPE_TILED, 64, 2, 0, 0, -101, 33, ERROR_INVALID_PARAMETER},
    };
    for (const auto& c : cases) {
        for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed}) {
            TestBitmap bitmap;
            bitmap.make(kind, 10, 9, c.bits);
            const auto before = bitmap.image();
            EXPECT_EQ(c.result, V_SetBitmapMemoryInfo(bitmap.get(), c.memory, c.tile, c.tiles, c.conv, c.left,
                                                      c.buffers, c.flags))
                << "case " << &c - cases;
            EXPECT_EQ(before, bitmap.image());
        }
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapMemoryInfo(nullptr, TYPE_DISK, 0, 0, 0, 0, 0, 1));
    for (const int32_t bits : {1, 8, 24}) {
        TestBitmap bitmap;
        bitmap.make(Kind::global, 10, 9, bits);
        const auto before = bitmap.image();
        for (const int32_t height : {0, -1, -2147483647 - 1})
            EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_ChangeBitmapHeight(bitmap.get(), height));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapCompression(bitmap.get(), 3));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapCompression(bitmap.get(), -1));
        if (bits != 1) {
            EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_ChangeBitmapCompression(bitmap.get(), 1));
        }
        V_STATUSCALLBACK status = nullptr;
        void* user = nullptr;
        ASSERT_EQ(SUCCESS, V_SetStatusCallback(refuse, &bitmap, nullptr, nullptr));
        EXPECT_EQ(-29, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, 1));
        EXPECT_EQ(SUCCESS, V_SetStatusCallback(nullptr, nullptr, &status, &user));
        EXPECT_TRUE(status == refuse && user == &bitmap);
        EXPECT_EQ(before, bitmap.image());
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, 1));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ChangeBitmapHeight(bitmap.get(), 3));
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
        bitmap->BytesPerLine = 1; // rows that cannot hold their width
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_SetBitmapMemoryInfo(bitmap.get(), TYPE_DISK, 0, 0, 0, 0, 0, 1));
    }
}

TEST(StorageMoves, FiguresShapeTheTiles)
{
    struct {
        int64_t tile;
        int32_t tiles, conv, left, buffers;
        uint32_t flags;
        int32_t expected_tiles, expected_memory, expected_mapped; // 0: the library's choice
    } const cases[] = {
        {64, 0, 0, 0, 0, 3, 25, 0, 0},
        {65, 0, 0, 0, 3, 35, 25, 0, 3},
        {1, 0, 0, 0, 0, 3, 50, 0, 0},
        {0, 7, 0, 0, 0, 5, 7, 0, 0},
        {64, 7, 9, 0, 0, 15, 25, 9, 0},
        {64, 0, -20, 0, -40, 43, 25, 5, 10},
        {64, 0, 0, 20, 0, 19, 25, 5, 0},
        {64, 0, 0, 99, 0, 19, 25, 0, 0},
        {64, 0, 3, 20, 0, 27, 25, 3, 0},
        {INT64_MAX, 0, 0, 0, 0, 3, 1, 0, 0},
        {0, INT32_MAX, INT32_MAX, 0, INT32_MAX, 45, 50, 50, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        TestBitmap bitmap;
        bitmap.make(Kind::conv, 32, 50, 8);
        ASSERT_EQ(SUCCESS,
                  V_SetBitmapMemoryInfo(bitmap.get(), TYPE_TILED, c.tile, c.tiles, c.conv, c.left, c.buffers, c.flags));
        uint32_t memory = 0;
        int32_t tiles = 0;
        int32_t in_memory = 0;
        int32_t mapped = 0;
        EXPECT_EQ(SUCCESS, V_GetBitmapMemoryInfo(bitmap.get(), &memory, nullptr, &tiles, &in_memory, nullptr, &mapped));
        EXPECT_EQ(TYPE_TILED, memory);
        EXPECT_EQ(c.expected_tiles, tiles);
        EXPECT_EQ(c.expected_memory, in_memory);
        if (c.expected_mapped != 0) {
            EXPECT_EQ(c.expected_mapped, mapped);
        }
    }
}

} // namespace
