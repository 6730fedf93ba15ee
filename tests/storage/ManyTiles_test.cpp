// Bitmaps of very many small tiles: what is kept together is told apart in every figure and every row, and no operation
// costs more per tile the more there are.
#include "platform/fault/fault.h"
#include "tests/support/MemoryFiles.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

using namespace vk::testing;
using vk::fault::Call;

namespace {

constexpr int32_t kWidth = 8;
constexpr int32_t kMany = 80000;

MemoryFigures figures_of(TestBitmap& bitmap)
{
    const MemoryFigures now(bitmap);
    EXPECT_EQ(uint32_t{TYPE_TILED}, now.memory);
    EXPECT_EQ(now.tiles, now.in_memory + now.in_file);
    return now;
}

void make(TestBitmap& bitmap, int32_t height, int32_t in_memory = 0, int32_t mapped = 0)
{
    const Thresholds restore;
    Thresholds::tiles(kWidth, in_memory, mapped);
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_TILED, kWidth, height, 8));
    const MemoryFigures now = figures_of(bitmap);
    EXPECT_TRUE(kWidth == now.tile_bytes && height == now.tiles);
    EXPECT_LE(in_memory, now.in_memory);
}

TEST(ManyTiles, EveryOperationTakesAFewCallsOfTheSystem)
{
    TestBitmap bitmap;
    vk::fault::arm(0, false);
    make(bitmap, kMany);
    uint64_t row[1] = {};
    for (int32_t y = 0; y < kMany; ++y) {
        row[0] = static_cast<uint64_t>(y) * 0x9E3779B97F4A7C15u;
        ASSERT_EQ(kWidth, V_PutBitmapRow(bitmap, row, y, kWidth));
    }
    for (int32_t y = kMany - 1; y >= 0; --y) {
        ASSERT_EQ(kWidth, V_GetBitmapRow(bitmap, row, y, kWidth));
        ASSERT_EQ(static_cast<uint64_t>(y) * 0x9E3779B97F4A7C15u, row[0]) << y;
    }
    ASSERT_EQ(SUCCESS, V_FlipBitmap(bitmap));
    ASSERT_EQ(kWidth, V_GetBitmapRow(bitmap, row, kMany - 1 - 9, kWidth));
    EXPECT_EQ(9 * 0x9E3779B97F4A7C15u, row[0]);
    EXPECT_GE(2000u, vk::fault::calls()) << "for 80,000 tiles";
}

TEST(ManyTiles, GrowingRowByRowMovesTheTableNowAndThen)
{
    for (const int32_t first : {10, 5000}) { // tiles on their own, and kept together
        TestBitmap bitmap;
        make(bitmap, first);
        vk::fault::arm(0, false);
        for (int32_t height = first + 1; height <= first + 3000; ++height)
            ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, height));
        EXPECT_GE(30u, vk::fault::calls(Call::movable_alloc));
        EXPECT_EQ(first + 3000, figures_of(bitmap).tiles);
        for (int32_t height = first + 2999; height >= first; --height)
            ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, height));
        EXPECT_EQ(first, figures_of(bitmap).tiles);
    }
}

// Against a plain array: rows put, got and cut off at random, in memory, in a file and in a redirected one.
TEST(ManyTiles, HoldWhatWasPut)
{
    struct Case {
        int32_t in_memory;
        int32_t mapped;
        bool redirected;
    };
    for (const Case& test : {Case{0, 0, false}, Case{0, 1, false}, Case{9000, 1, false}, Case{-100, 0, false},
                             Case{0, 1, true}, Case{9000, 1, true}}) {
        SCOPED_TRACE(say(test.in_memory, "in memory,", test.mapped, "mapped"));
        MemoryFiles files;
        const RestoreRedirection restore;
        if (test.redirected)
            files.redirect();
        TestRandom random(static_cast<uint64_t>(test.in_memory + test.mapped + 200));
        int32_t height = 30000;
        TestBitmap bitmap;
        make(bitmap, height, test.in_memory, test.mapped);
        std::vector<uint8_t> model(static_cast<size_t>(height) * kWidth);
        std::vector<uint8_t> rows(40 * kWidth);
        for (int step = 0; step < 3000 && !HasFailure(); ++step) {
            const int32_t count = 1 + static_cast<int32_t>(random.below(40));
            const int32_t y = static_cast<int32_t>(random.below(static_cast<uint64_t>(height - count + 1)));
            const auto bytes = static_cast<size_t>(count) * kWidth;
            uint8_t* const place = model.data() + static_cast<size_t>(y) * kWidth;
            if (step % 500 == 499) {
                height = 20000 + static_cast<int32_t>(random.below(20000));
                ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, height));
                model.resize(static_cast<size_t>(height) * kWidth);
            } else if (step % 2 == 0) {
                random.fill(place, bytes);
                ASSERT_EQ(static_cast<intptr_t>(bytes), V_PutBitmapRow(bitmap, place, y, bytes));
            } else {
                ASSERT_EQ(static_cast<intptr_t>(bytes), V_GetBitmapRow(bitmap, rows.data(), y, bytes));
                ASSERT_EQ(0, std::memcmp(place, rows.data(), bytes)) << step;
            }
        }
        EXPECT_EQ(model, bitmap.pixels());
        EXPECT_EQ(height, figures_of(bitmap).tiles);
    }
}

} // namespace
