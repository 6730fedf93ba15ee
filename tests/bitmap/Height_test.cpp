// Rows that a bitmap gains are clear, whatever stands behind its pixels.
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestDib.h"

using namespace vk::testing;

namespace {

constexpr int32_t kRows = 4;

/// A DIB of set bits with more of them behind its pixels.
Bytes block_with_tail(size_t tail)
{
    DibParts dib;
    dib.width = 16;
    dib.height = kRows;
    dib.bits = 32;
    dib.pixels = Bytes(dib.image() + tail, 0x77);
    return dib.packed();
}

Bytes rows_of(int32_t set, int32_t clear)
{
    Bytes rows(static_cast<size_t>(set) * 64, 0x77);
    rows.resize(rows.size() + static_cast<size_t>(clear) * 64);
    return rows;
}

TEST(Height, RowsGainedByABlockAreClear)
{
    for (const size_t tail : {0u, 1u, 63u, 64u, 300u})
        for (const int32_t first : {kRows, kRows / 2, kRows + 1})
            for (const int32_t last : {kRows + 1, kRows + 3}) {
                SCOPED_TRACE(std::to_string(tail) + " behind, " + std::to_string(first) + " rows first");
                DibBlock block(block_with_tail(tail));
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, V_ChangeFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, block.get()));
                block.let_go();
                ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), first));
                ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), last));
                const int32_t kept = std::min(first, kRows);
                EXPECT_EQ(rows_of(kept, last - kept), bitmap.pixels());
            }
}

TEST(Height, ABlockThatCannotGrowKeepsItsRows)
{
    for_each_fault([] {
        DibBlock block(block_with_tail(100));
        TestBitmap bitmap;
        if (!block.get() || V_ChangeFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, block.get()) != SUCCESS)
            return;
        block.let_go();
        const bool grown = V_ChangeBitmapHeight(bitmap.get(), kRows + 2) == SUCCESS;
        vk::fault::disarm();
        EXPECT_EQ(grown ? kRows + 2 : kRows, +bitmap->Height);
        EXPECT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap.get(), kRows + 3));
        EXPECT_EQ(rows_of(kRows, 3), bitmap.pixels());
    });
}

} // namespace
