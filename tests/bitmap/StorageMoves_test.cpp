// Moving storage on request: where it is refused, and the figures of tiles. Rows_test.cpp moves pixels for real.
#include "tests/support/TestBitmap.h"

#include <tuple>

using namespace vk::testing;

namespace {

TEST(StorageMoves, RefusalsChangeNothing)
{
    const struct {
        int32_t bits;
        uint32_t memory;
        int64_t tile;
        int32_t tiles, conv, left, buffers;
        uint32_t flags;
        int result = ERROR_INVALID_PARAMETER;
    } cases[] = {
        {8, TYPE_USER, 0, 0, 0, 0, 0, 1},
        {8, TYPE_CONV | TYPE_DISK, 0, 0, 0, 0, 0, 1},
        {8, 0, 0, 0, 0, 0, 0, 1},
        {8, TYPE_COMPRESSED, 0, 0, 0, 0, 0, 1, ERROR_INVALID_BITS_PER_PIXEL},
        {16, TYPE_SUPERCOMPRESSED, 0, 0, 0, 0, 0, 1, ERROR_INVALID_BITS_PER_PIXEL},
        {8, TYPE_TILED, 0, 0, 0, 0, 0, 3},
        {8, TYPE_TILED, 64, 0, 0, 0, 0, 5},
        {8, TYPE_TILED, 64, 2, -101, 0, 0, 9},
        {8, TYPE_TILED, 64, 2, 0, -1, 0, 17},
        {8, TYPE_TILED, 64, 2, 0, 0, -101, 33},
    };
    for (const auto& c : cases)
        for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed}) {
            TestBitmap bitmap;
            bitmap.make(kind, 10, 9, c.bits);
            const Bytes before = bitmap.image();
            EXPECT_EQ(c.result,
                      V_SetBitmapMemoryInfo(bitmap, c.memory, c.tile, c.tiles, c.conv, c.left, c.buffers, c.flags))
                << "case " << &c - cases;
            EXPECT_EQ(before, bitmap.image());
        }
    for (const int32_t bits : {1, 8, 24}) {
        TestBitmap bitmap;
        bitmap.make(Kind::global, 10, 9, bits);
        const Bytes before = bitmap.image();
        for (const int32_t height : {0, -1, INT32_MIN})
            EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_ChangeBitmapHeight(bitmap, height));
        expect_each(ERROR_INVALID_PARAMETER,
                    {V_ChangeBitmapCompression(bitmap, 3), V_ChangeBitmapCompression(bitmap, -1)});
        EXPECT_TRUE(bits == 1 || V_ChangeBitmapCompression(bitmap, 1) == ERROR_INVALID_BITS_PER_PIXEL);
        EXPECT_EQ(before, bitmap.image());
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
        expect_each(ERROR_INVALID_PARAMETER,
                    {V_SetBitmapMemoryInfo(bitmap, TYPE_DISK, 0, 0, 0, 0, 0, 1), V_ChangeBitmapHeight(bitmap, 3)});
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    }
}

TEST(StorageMoves, FiguresShapeTheTiles)
{
    const struct {
        int64_t tile;
        int32_t tiles, conv, left, buffers;
        uint32_t flags;
        int32_t expected_tiles, expected_memory, expected_mapped; // 0: the library's choice
    } cases[] = {
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
                  V_SetBitmapMemoryInfo(bitmap, TYPE_TILED, c.tile, c.tiles, c.conv, c.left, c.buffers, c.flags));
        const MemoryFigures now(bitmap);
        const int32_t mapped = c.expected_mapped == 0 ? now.mapped : c.expected_mapped;
        EXPECT_EQ(std::tuple(TYPE_TILED, c.expected_tiles, c.expected_memory, mapped),
                  std::tuple(now.memory, now.tiles, now.in_memory, now.mapped));
    }
}

} // namespace
