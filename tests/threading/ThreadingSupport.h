// What the tests of the threading tools share: counting items, and meeting points that show what runs side by side.
#pragma once

#include "Vkthreading.h"
#include "platform/fault/fault.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace vk::testing {

constexpr uint32_t kSoon = 30;          ///< milliseconds in which nothing may happen
constexpr uint32_t kLongEnough = 20000; ///< milliseconds in which anything will have

/// Threads that are let go together once `size` of them have come.
class MeetingPoint {
public:
    explicit MeetingPoint(int size) : size_(size) { everybody_.Create(1, 0); }
    /// False when the others do not come in time.
    bool meet(uint32_t milliseconds = kLongEnough)
    {
        if (++here_ == size_)
            everybody_.Set();
        return everybody_.WaitOne(milliseconds) == 1;
    }

private:
    const int size_;
    std::atomic<int> here_{0};
    VKWaitEvent everybody_;
};

/// Runs a callable on so many threads and waits for them.
inline void on_threads(int count, const std::function<void(int)>& run)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(run, i);
    for (std::thread& thread : threads)
        thread.join();
}

/// Waits until a condition holds.
template <class Condition> bool comes_true(Condition&& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLongEnough);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// A test whose items give back all they took. The pool does so a moment after the last item has ended, which the next
/// test must not see.
class LeavesNothing : public ::testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_TRUE(comes_true([this] { return fault::live() == before_; }));
    }

private:
    const fault::Live before_ = fault::live();
};

} // namespace vk::testing
