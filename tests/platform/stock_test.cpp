// The stock of freed sections: what it keeps, when it gives way, and that old contents never show.
#include "Vkkrnx.h"
#include "platform/fault/fault.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace vk {
namespace {

constexpr size_t kMiB = size_t{1} << 20;

bool holds(const void* view, size_t bytes, uint8_t value)
{
    const auto* first = static_cast<const uint8_t*>(view);
    return std::all_of(first, first + bytes, [value](uint8_t byte) { return byte == value; });
}

/// An empty stock with a bound of its own, and the library's own bound afterwards.
class Stock : public ::testing::Test {
protected:
    Stock()
    {
        V_SetMemoryStock(8 * kMiB);
        V_TrimMemory();
    }
    void SetUp() override
    {
        keep(kMiB);
        if (platform::stock_held() == 0)
            GTEST_SKIP() << "memory is short";
        V_TrimMemory();
    }
    ~Stock() override
    {
        V_TrimMemory();
        V_SetMemoryStock(MEMORYSTOCK_DEFAULT);
    }

    static Section make(size_t bytes, Contents contents = Contents::zeroed)
    {
        Section section;
        EXPECT_EQ(Status::ok, platform::section_create(bytes, contents, &section));
        return section;
    }
    /// Has a block of that size in stock.
    static void keep(size_t bytes)
    {
        Section section = make(bytes);
        std::memset(section.view, 0xEE, bytes);
        platform::section_free(&section);
    }
};

TEST_F(Stock, ServesTheSameSizeAgainAndClearsWhatMustBeClear)
{
    for (const size_t bytes : {size_t{65536}, kMiB, kMiB + 1, 2 * kMiB + 4097, 5 * kMiB}) {
        SCOPED_TRACE(bytes);
        V_TrimMemory();
        Section first = make(bytes);
        void* const view = first.view;
        platform::section_free(&first);
        EXPECT_LE(bytes, platform::stock_held());
        Section second = make(bytes, Contents::unspecified);
        EXPECT_EQ(view, second.view);
        EXPECT_EQ(0u, platform::stock_held());
        std::memset(second.view, 0xEE, bytes);
        platform::section_free(&second);
        Section third = make(bytes);
        EXPECT_TRUE(holds(third.view, bytes, 0));
        platform::section_free(&third);
    }
}

TEST_F(Stock, ShowsNothingOldWhenASectionGrows)
{
    keep(kMiB);
    Section section = make(kMiB - 5000); // of the same capacity, so that what is added is there already
    std::memset(section.view, 1, section.bytes);
    ASSERT_EQ(Status::ok, platform::section_resize(&section, kMiB));
    EXPECT_TRUE(holds(static_cast<uint8_t*>(section.view) + kMiB - 5000, 5000, 0));
    platform::section_free(&section);
}

TEST_F(Stock, StaysWithinItsBound)
{
    keep(8 * kMiB);
    EXPECT_EQ(8 * kMiB, platform::stock_held());
    keep(kMiB); // no room
    EXPECT_EQ(8 * kMiB, platform::stock_held());
    V_SetMemoryStock(8 * kMiB - 1);
    EXPECT_EQ(8 * kMiB - 1, V_GetMemoryStock());
    EXPECT_EQ(0u, platform::stock_held());
    V_SetMemoryStock(0);
    keep(kMiB);
    EXPECT_EQ(0u, platform::stock_held());
    V_SetMemoryStock(MEMORYSTOCK_DEFAULT);
    MemoryStatus memory;
    ASSERT_EQ(Status::ok, platform::memory_status(&memory));
    EXPECT_EQ(std::min<uint64_t>(memory.total_physical / 8, 256 * kMiB), V_GetMemoryStock());
}

TEST_F(Stock, IsGivenBackOnDemandAndWhenMemoryCannotBeHad)
{
    keep(kMiB);
    EXPECT_EQ(V_SUCCESS, V_TrimMemory());
    EXPECT_EQ(0u, platform::stock_held());
    EXPECT_EQ(V_SUCCESS, V_TrimMemory());
    keep(kMiB);
    Section none;
    EXPECT_EQ(Status::no_memory, platform::section_create(size_t{1} << 60, Contents::zeroed, &none));
    EXPECT_EQ(0u, platform::stock_held());
    keep(kMiB);
    EXPECT_EQ(nullptr, platform::heap_alloc(SIZE_MAX / 2));
    EXPECT_EQ(0u, platform::stock_held());
}

TEST_F(Stock, IsGivenBackByTheNextCallAfterASecond)
{
    keep(kMiB);
    platform::sleep_for(1300);
    Section other = make(3 * kMiB);
    EXPECT_EQ(0u, platform::stock_held());
    platform::section_free(&other);
}

TEST_F(Stock, IsNotLive)
{
    const fault::Live before = fault::live();
    keep(kMiB);
    EXPECT_NE(0u, platform::stock_held());
    EXPECT_EQ(before, fault::live());
}

TEST_F(Stock, NewBitmapsAreClearToTheEndsOfTheirRows)
{
    constexpr int32_t kWidth = 701; // no depth fills its rows
    constexpr int32_t kHeight = 900;
    for (const int32_t bits : {1, 4, 8, 24, 48}) {
        SCOPED_TRACE(bits);
        for (int round = 0; round < 2; ++round) {
            BITMAPHANDLE bitmap{};
            ASSERT_EQ(V_SUCCESS, V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, kWidth, kHeight, bits,
                                                COLORORDER_BGR, nullptr, TOP_LEFT, nullptr, 0));
            const size_t bytes = size_t{bitmap.BytesPerLine} * kHeight;
            EXPECT_TRUE(holds(bitmap.Data, bytes, 0));
            std::memset(bitmap.Data, 0xEE, bytes);
            // The bytes behind the pixels of a bitmap that an operation fills are clear, too.
            BITMAPHANDLE made{};
            ASSERT_EQ(V_SUCCESS,
                      V_ColorResBitmap(&bitmap, &made, sizeof made, 24, COLORRES_ORDER_RGB, nullptr, nullptr, 0));
            for (int32_t y = 0; y < kHeight; ++y)
                ASSERT_EQ(0, made.Data[made.BytesPerLine * static_cast<size_t>(y + 1) - 1]) << y;
            V_FreeBitmap(&made);
            V_FreeBitmap(&bitmap);
        }
    }
}

TEST(StockThreads, NeverShareABlock)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 300;
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t, &faults] {
            for (int round = 0; round < kRounds; ++round) {
                const size_t bytes = 65536 + size_t{4096} * static_cast<size_t>(round % 5);
                const auto mark = static_cast<uint8_t>(t + 1);
                Section section;
                if (platform::section_create(bytes, Contents::zeroed, &section) != Status::ok || // no more to look at
                    !holds(section.view, bytes, 0)) {
                    ++faults;
                    return;
                }
                std::memset(section.view, mark, bytes);
                if (!holds(section.view, bytes, mark))
                    ++faults;
                platform::section_free(&section);
                if (round % 100 == 99)
                    V_TrimMemory();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, faults);
}

} // namespace
} // namespace vk
