// The library's own locks: they let one in at a time, and wake who waits.
#include "kernel/system/LibraryLock.h"

#include "tests/threading/ThreadingSupport.h"

namespace vk {
namespace {

constinit LibraryLock g_lock;

TEST(LibraryLock, LetsOneInAtATimeAndWakesWhoWaits)
{
    constexpr int kThreads = 4;
    constexpr int kTimes = 100000;
    int entered = 0;
    testing::on_threads(kThreads, [&entered](int) {
        for (int i = 0; i < kTimes; ++i) {
            const std::lock_guard guard(g_lock);
            ++entered;
            if (i % 1000 == 0)
                std::this_thread::yield(); // held for long enough that others go to sleep
        }
    });
    EXPECT_EQ(kThreads * kTimes, entered);
}

} // namespace
} // namespace vk
