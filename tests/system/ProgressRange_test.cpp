// Progress over ranges and totals of any size: what is reported is worked out without overflow.
#include "kernel/system/Progress.h"

#include <gtest/gtest.h>

#include <climits>

namespace vk {
namespace {

TEST(ProgressRange, ReportsEveryRangeToItsEnd)
{
    constexpr int64_t kMost = INT64_MAX;
    constexpr struct {
        int start;
        int end;
        int64_t total;
        int64_t done;
        int expected;
    } kCases[] = {
        {0, 100, 3, 1, 33},
        {0, 100, kMost, kMost / 2, 49},
        {100, 0, 4, 1, 75},
        {INT_MIN, INT_MAX, 2, 1, -1},
        {INT_MAX, INT_MIN, INT32_MAX, INT32_MAX, INT_MIN},
        {INT_MIN, INT_MAX, kMost, kMost, INT_MAX},
        {-1, -1, 1, 1, -1},
    };
    for (const auto& row : kCases) {
        int last = 77;
        V_SetStatusCallback([](int percent, void* seen) { return *static_cast<int*>(seen) = percent, SUCCESS; }, &last,
                            nullptr, nullptr);
        Progress progress(row.total, row.start, row.end);
        EXPECT_EQ(SUCCESS, progress.begin());
        EXPECT_EQ(row.start, last);
        EXPECT_EQ(SUCCESS, progress.update(row.done));
        EXPECT_EQ(row.expected, last) << row.start << " to " << row.end;
        EXPECT_EQ(SUCCESS, progress.update(row.total));
        EXPECT_EQ(row.end, last) << row.start << " to " << row.end;
    }
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
}

} // namespace
} // namespace vk
