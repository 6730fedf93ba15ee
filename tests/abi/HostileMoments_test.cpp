// Operations with little stack, among signals, and with a fork in the middle.
#if !defined(_WIN32)

#include "tests/abi/Lives.h"
#include "tests/support/Environment.h"

#include "Vkthreading.h"

#include <chrono>
#include <fstream>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

#if !VK_SANITIZED
namespace {

std::atomic<bool> g_clocks_jump{false};
std::atomic<int> g_looks{0}; ///< at a clock that jumped

} // namespace

/// The library's, too: while they jump, the time of day goes decades on and back, and hours pass from one look at the
/// coarse clock to the next, as they do while a machine sleeps.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (!g_clocks_jump || (clock != CLOCK_REALTIME && clock != CLOCK_MONOTONIC_COARSE))
        return result;
    const int look = ++g_looks;
    if (clock == CLOCK_REALTIME)
        time->tv_sec = look % 3 * 1'000'000'000L;
    else
        time->tv_sec += look * 10'000L;
    return result;
}
#endif

namespace vk::testing {
namespace {

/// Runs a callable on a thread with little stack.
bool on_small_stack(const std::function<bool()>& run)
{
    struct Job {
        const std::function<bool()>& run;
        bool good = false;
    } job{run};
    pthread_attr_t attributes;
    pthread_t thread{};
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 64 << 10);
    const auto main = [](void* given) -> void* {
        auto& mine = *static_cast<Job*>(given);
        mine.good = mine.run();
        return nullptr;
    };
    if (pthread_create(&thread, &attributes, main, &job) == 0)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return job.good;
}

TEST(Hostile, StackOf64KiB)
{
    if (VK_SANITIZED)
        GTEST_SKIP() << "the sanitizers need more";
    Tally& all = tally();
    for (const uint32_t home : kHomes) {
        all.failures = 0;
        EXPECT_TRUE(in_child([&] { return on_small_stack([&] { return make_and_live(home, {}); }); })) << home;
        EXPECT_EQ(0, all.failures);
    }
    for (const RecordOperation& operation : all_operations())
        EXPECT_TRUE(in_child([&] {
            return on_small_stack([&] {
                BITMAPHANDLE bitmap;
                V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 37, 9, 24, COLORORDER_BGR, nullptr, TOP_LEFT,
                               nullptr, 0);
                operation.run(&bitmap);
                V_FreeBitmap(&bitmap);
                return true;
            });
        })) << operation.name;
}

/// Interrupts whatever the process waits in, all the time.
void send_signals()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr); // and calls are not taken up again
    const itimerval often{{0, 300}, {0, 300}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

/// Leads a life in each kind of storage in children that `live` leads it in: with the same pixels as ever.
template <class Live> void expect_the_usual(Live&& live)
{
    const uint64_t expected = undisturbed();
    Tally& all = tally();
    for (const uint32_t home : kHomes) {
        all.failures = 0;
        all.sum = 0;
        EXPECT_TRUE(in_child([&] { return live(home); })) << home;
        EXPECT_EQ(0, all.failures) << home;
        EXPECT_EQ(expected, all.sum) << home;
    }
}

TEST(Hostile, Signals)
{
    expect_the_usual([](uint32_t home) {
        send_signals();
        return make_and_live(home, {});
    });
}

/// A wait that lasts, under signals.
bool waits_well()
{
    using Clock = std::chrono::steady_clock;
    VKWaitEvent event;
    const auto start = Clock::now();
    if (event.Create(0, 0) != 1 || event.WaitOne(100) == 1 || Clock::now() - start < std::chrono::milliseconds(100))
        return complain("event", "is not waited for", 0);
    VKWorkItems batch;
    std::atomic<int> done{0};
    const auto item = [](VKWorkItems*, void* count) {
        for (int i = 0; i < 4; ++i) {
            VKWaitEvent never;
            if (never.Create(0, 0) == 1)
                never.WaitOne(5);
        }
        ++*static_cast<std::atomic<int>*>(count);
        return SUCCESS;
    };
    batch.Create(4, 0, 0);
    for (int i = 0; i < 4; ++i)
        batch.QueueItem(item, &done);
    batch.Wait();
    return done == 4 || complain("batch", "is not waited for", done);
}

#if !VK_SANITIZED
TEST(Hostile, ClocksThatJump)
{
    expect_the_usual([](uint32_t home) {
        g_clocks_jump = true;
        return make_and_live(home, {}) && waits_well() && g_looks > 0;
    });
}
#endif

TEST(Hostile, SignalsWhileWaiting)
{
    EXPECT_TRUE(in_child([] {
        send_signals();
        return waits_well();
    }));
    // What comes through a pipe in drops is read whole.
    const ScratchDirectory scratch;
    const auto pipe = scratch.path() / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    std::thread writer([&] {
        std::ofstream to(pipe);
        for (int i = 0; i < 10; ++i) {
            to << "0123456789" << std::flush;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    EXPECT_TRUE(in_child([&] {
        send_signals();
        const int64_t file = V_OsOpen(pipe.wstring().c_str(), 0, 0, nullptr);
        char text[100];
        const int64_t moved = V_OsRead(file, text, sizeof text, nullptr);
        V_OsClose(file, nullptr);
        return moved == 100 || complain("pipe", "is not read whole", static_cast<int>(moved));
    }));
    writer.join();
}

/// Forks once, when an operation is half done.
struct ForkHalfway {
    pid_t child = -1;
    bool ends_there; ///< as one that goes on to be another program does

    static int tell(int percent, void* self)
    {
        auto& halfway = *static_cast<ForkHalfway*>(self);
        if (percent >= 50 && halfway.child < 0) {
            halfway.child = fork();
            if (halfway.child == 0)
                alarm(kChildSeconds);
            if (halfway.child == 0 && halfway.ends_there)
                _exit(0);
        }
        return SUCCESS;
    }
};

/// Does a step with a fork in the middle; both sides go on, and both have `expected` in the end.
bool forks_well(const Step& step, uint32_t home, bool ends_there)
{
    BITMAPHANDLE bitmap;
    BITMAPHANDLE plain;
    if (!make_one(&bitmap, home) || !make_one(&plain, TYPE_CONV) || step.run(&plain) != SUCCESS)
        return complain(step.name, "cannot be tried", 0);
    ForkHalfway halfway{-1, ends_there};
    V_SetStatusCallback(&ForkHalfway::tell, &halfway, nullptr, nullptr);
    const int code = step.run(&bitmap);
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
    const bool good = code == SUCCESS && sum_of(&bitmap) == sum_of(&plain);
    V_FreeBitmap(&bitmap);
    V_FreeBitmap(&plain);
    if (halfway.child == 0)
        _exit(good ? 0 : 1);
    int status = 0;
    if (halfway.child > 0 && (waitpid(halfway.child, &status, 0) != halfway.child || status != 0))
        return complain(step.name, "goes wrong in the child", status);
    return good || complain(step.name, "goes wrong", code);
}

TEST(Hostile, ForkInTheMiddle)
{
    for (const Step& step : kSteps)
        for (const uint32_t home : kHomes) {
            const bool is_private = home == TYPE_CONV || home == TYPE_SUPERCOMPRESSED;
            EXPECT_TRUE(in_child([&] { return forks_well(step, home, !is_private); })) << step.name << ' ' << home;
        }
}

} // namespace
} // namespace vk::testing

#endif
