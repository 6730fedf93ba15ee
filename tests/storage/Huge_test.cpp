// Bitmaps larger than 4 GiB, which take little memory while they are used, and transfers of more than one piece.
#include "platform/fault/fault.h"
#include "tests/support/Environment.h"
#include "tests/support/TestBitmap.h"

#include <vector>

using namespace vk::testing;
namespace fault = vk::fault;

namespace {

constexpr int32_t kLine = 0x10000;
constexpr int32_t kRows = 5 * 0x4000; // 5 GiB
constexpr uint64_t kMemory = 200u << 20;

#if defined(VKKRNX_TEST_SANITIZED)
constexpr bool kMemoryCounts = false; // the sanitizers' own memory is in the figure
#else
constexpr bool kMemoryCounts = true;
#endif

void expect_little_memory(uint64_t before)
{
    const uint64_t now = resident_bytes();
    ASSERT_GT(now, 0u);
    if (kMemoryCounts && now > before) {
        EXPECT_LT(now - before, kMemory);
    }
}

std::vector<uint8_t> row_of(int32_t row)
{
    std::vector<uint8_t> bytes(kLine);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(static_cast<size_t>(row) * 31 + i / 7 + i);
    return bytes;
}

void write_and_read_back(TestBitmap& bitmap, uint64_t before)
{
    std::vector<int32_t> rows = {0, 1, 0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x10001, kRows - 2, kRows - 1};
    for (int32_t row = 0x2000; row < 0x3000; ++row)
        rows.push_back(row); // 256 MiB in one stretch, more than may stay in memory
    for (const int32_t row : rows) {
        const auto bytes = row_of(row);
        ASSERT_EQ(kLine, V_PutBitmapRow(bitmap, bytes.data(), row, bytes.size())) << row;
    }
    expect_little_memory(before);
    std::vector<uint8_t> back(kLine);
    for (const int32_t row : rows) {
        ASSERT_EQ(kLine, V_GetBitmapRow(bitmap, back.data(), row, back.size())) << row;
        ASSERT_EQ(row_of(row), back) << row;
    }
    ASSERT_EQ(kLine, V_GetBitmapRow(bitmap, back.data(), 0x9000, back.size()));
    EXPECT_EQ(std::vector<uint8_t>(kLine, 0), back) << "what was never written is clear";
    std::vector<uint8_t> across(2 * size_t{kLine}); // over the 4 GiB mark
    ASSERT_EQ(2 * kLine, V_GetBitmapRow(bitmap, across.data(), 0xFFFF, across.size()));
    EXPECT_TRUE(std::equal(across.begin() + kLine, across.end(), row_of(0x10000).begin()));
    expect_little_memory(before);
}

TEST(Huge, FiveGibibytesInLittleMemory)
{
    struct {
        const char* name;
        uint32_t memory;
        int64_t max_conv;
    } const cases[] = {{"disk", TYPE_DISK, -100}, {"tiles", TYPE_TILED, -100}, {"tiles in part", TYPE_CONV, 32 << 20}};
    const fault::Live live = fault::live();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Thresholds restore;
        Thresholds::max_conv(c.max_conv);
        const uint64_t before = resident_bytes();
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.create(c.memory, kLine, kRows, 8));
        EXPECT_EQ(c.memory != TYPE_DISK, V_BitmapIsTiled(bitmap) != 0);
        EXPECT_EQ(uint64_t{kLine} * kRows, +bitmap->Size64);
        write_and_read_back(bitmap, before);
        ASSERT_EQ(SUCCESS, V_ChangeBitmapHeight(bitmap, 0x10001));
        std::vector<uint8_t> back(kLine);
        ASSERT_EQ(kLine, V_GetBitmapRow(bitmap, back.data(), 0x10000, back.size()));
        EXPECT_EQ(row_of(0x10000), back);
    }
    EXPECT_EQ(live, fault::live());
}

TEST(Huge, BigTransfersGoInPieces)
{
    constexpr uint64_t kPiece = 0x7FFFFFF;
    wchar_t name[260];
    ASSERT_EQ(SUCCESS, V_GetTempFileName(name, nullptr));
    const int64_t file = V_OsOpen(name, 0x40 | 0x100 | 2, 0x180, nullptr);
    ASSERT_NE(-1, file);
    std::vector<uint8_t> bytes(kPiece + 3, 0x11);
    bytes[kPiece - 1] = 1;
    bytes[kPiece] = 2;
    bytes[kPiece + 2] = 3;
    const auto count = static_cast<int64_t>(bytes.size());
    fault::arm(0, false);
    EXPECT_EQ(count, V_OsWriteBig(file, bytes.data(), bytes.size()));
    EXPECT_EQ(2u, fault::calls(fault::Call::file_write));
    EXPECT_EQ(0, V_OsSeek(file, 0, 0, nullptr));
    std::vector<uint8_t> back(bytes.size());
    EXPECT_EQ(count, V_OsReadBig(file, back.data(), back.size()));
    EXPECT_EQ(2u, fault::calls(fault::Call::file_read));
    EXPECT_TRUE(bytes == back);
    for (const uint64_t call : {1u, 2u}) {
        EXPECT_EQ(0, V_OsSeek(file, 0, 0, nullptr));
        fault::arm_call(fault::Call::file_read, call, false);
        EXPECT_EQ(-1, V_OsReadBig(file, back.data(), back.size()));
        fault::arm_call(fault::Call::file_write, call, false);
        EXPECT_EQ(-1, V_OsWriteBig(file, back.data(), back.size()));
    }
    fault::disarm();
    EXPECT_EQ(0, V_OsClose(file, nullptr));
}

} // namespace
