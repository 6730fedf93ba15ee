// The stock of freed sections: what it keeps, when it gives way, and that old contents never show.
#include "Vkkrnx.h"
#include "tests/threading/ThreadingSupport.h"

#include <algorithm>
#include <cstring>

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

TEST_F(Stock, IsGivenBackOnDemandInTimeAndWhenMemoryCannotBeHad)
{
    void (*const kReasons[])() = {
        [] { EXPECT_EQ(V_SUCCESS, V_TrimMemory()); },
        [] {
            Section none;
            EXPECT_EQ(Status::no_memory, platform::section_create(size_t{1} << 60, Contents::zeroed, &none));
        },
        [] { EXPECT_EQ(nullptr, platform::heap_alloc(SIZE_MAX / 2)); },
        [] { // the next call after a second
            platform::sleep_for(1300);
            Section other = make(3 * kMiB);
            EXPECT_EQ(0u, platform::stock_held());
            platform::section_free(&other);
            V_TrimMemory();
        },
    };
    const fault::Live before = fault::live();
    for (const auto& give_back : kReasons) {
        keep(kMiB);
        EXPECT_EQ(kMiB, platform::stock_held());
        EXPECT_EQ(before, fault::live()) << "what is in stock is not live";
        give_back();
        EXPECT_EQ(0u, platform::stock_held());
    }
    EXPECT_EQ(V_SUCCESS, V_TrimMemory()) << "nothing left to give";
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
    testing::on_threads(8, [](int thread) {
        for (int round = 0; round < 300; ++round) {
            const size_t bytes = 65536 + size_t{4096} * static_cast<size_t>(round % 5);
            Section section;
            ASSERT_EQ(Status::ok, platform::section_create(bytes, Contents::zeroed, &section));
            ASSERT_TRUE(holds(section.view, bytes, 0));
            std::memset(section.view, thread + 1, bytes);
            EXPECT_TRUE(holds(section.view, bytes, static_cast<uint8_t>(thread + 1)));
            platform::section_free(&section);
            if (round % 100 == 99)
                V_TrimMemory();
        }
    });
}

} // namespace
} // namespace vk
