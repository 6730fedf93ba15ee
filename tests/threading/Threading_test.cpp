// Events, locks and guards, the process's one-time work, and the clean-up registry.
#include "tests/threading/ThreadingSupport.h"

#include "kernel/system/Cleanup.h"
#include "kernel/threading/Once.h"
#include "kernel/threading/Tools.h"
#include "platform/fault/fault.h"

#if defined(_WIN32)
#include "platform/win32/Threads.h"
#endif

#include <random>

namespace vk {
namespace {

using testing::comes_true;
using testing::kLongEnough;
using testing::kSoon;
using testing::MeetingPoint;
using testing::on_threads;

using ThreadingEvent = testing::LeavesNothing;

TEST_F(ThreadingEvent, SignalsResetAndTimeOut)
{
    VKWaitEvent event;
    EXPECT_EQ(0, event.IsCreated());
    EXPECT_EQ(1, event.WaitOne(VKTIMEOUT_INFINITE)) << "there is nothing to wait for";
    event.Set();
    event.Reset();
    event.Destroy();
    for (const int manual : {0, 1}) {
        for (const int initial : {0, 1}) {
            ASSERT_EQ(1, event.Create(manual, initial)) << "also over an earlier event";
            EXPECT_EQ(1, event.IsCreated());
            const int after_wait = manual != 0 ? 1 : VKRESULT_TIMEOUT;
            EXPECT_EQ(initial != 0 ? 1 : VKRESULT_TIMEOUT, event.WaitOne(0));
            EXPECT_EQ(initial != 0 ? after_wait : VKRESULT_TIMEOUT, event.WaitOne(1));
            event.Set();
            event.Set();
            EXPECT_EQ(1, event.WaitOne(VKTIMEOUT_INFINITE));
            EXPECT_EQ(after_wait, event.WaitOne(0));
            event.Set();
            event.Reset();
            EXPECT_EQ(VKRESULT_TIMEOUT, event.WaitOne(0));
        }
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(VKRESULT_TIMEOUT, event.WaitOne(kSoon));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(kSoon - 1));
    event.Destroy();
    EXPECT_EQ(0, event.IsCreated());
}

TEST_F(ThreadingEvent, CopiesShareTheEvent)
{
    VKWaitEvent empty;
    VKWaitEvent of_empty(empty);
    EXPECT_EQ(0, of_empty.IsCreated());
    VKWaitEvent last;
    {
        VKWaitEvent first;
        ASSERT_EQ(1, first.Create(1, 0));
        VKWaitEvent copy(first);
        last.Create(0, 1);
        last = copy;
        last = *&last;
        first.Set();
        EXPECT_EQ(1, copy.WaitOne(0));
        copy.Destroy();
        EXPECT_EQ(1, first.IsCreated());
    }
    EXPECT_EQ(1, last.WaitOne(0)) << "outlives the others";
    last = empty;
    EXPECT_EQ(0, last.IsCreated());
    ASSERT_EQ(1, last.Create(0, 0));
    for (const fault::Call call : {fault::Call::event_create, fault::Call::event_duplicate}) {
        fault::arm_call(call, 1, false);
        if (call == fault::Call::event_create) {
            EXPECT_EQ(-1, of_empty.Create(0, 0));
        } else {
            of_empty = last;
        }
        fault::disarm();
        EXPECT_EQ(0, of_empty.IsCreated());
    }
}

// An automatic event lets exactly one waiter through each time, and may be closed by the waiter at once.
TEST_F(ThreadingEvent, ReleasesOneWaiterAtATimeAcrossThreads)
{
    VKWaitEvent turn;
    VKWaitEvent answer;
    ASSERT_EQ(1, turn.Create(0, 0));
    ASSERT_EQ(1, answer.Create(0, 0));
    std::atomic<int> through{0};
    std::thread setter([&] {
        for (int i = 1; i <= 4 * 25; ++i) {
            turn.Set();
            EXPECT_EQ(1, answer.WaitOne(kLongEnough));
            EXPECT_EQ(i, through);
        }
    });
    on_threads(4, [&](int) {
        for (int i = 0; i < 25; ++i) {
            EXPECT_EQ(1, turn.WaitOne(kLongEnough));
            ++through;
            answer.Set();
        }
    });
    setter.join();
    for (int i = 0; i < 200; ++i) {
        auto* event = new VKWaitEvent;
        event->Create(0, 0);
        std::thread other([event] { event->Set(); });
        EXPECT_EQ(1, event->WaitOne(kLongEnough));
        event->Destroy();
        other.join();
        delete event;
    }
}

/// Whether another thread gets the lock now. One that does not gets it from the calling thread, which must hold it by
/// Lock then.
bool is_free(VKReaderWriterLock& lock, bool shared)
{
    VKWaitEvent taken;
    taken.Create(1, 0);
    std::thread other([&] {
        const VKReaderWriterLockItem guard(&lock, shared ? 1 : 0);
        taken.Set();
    });
    const bool free = taken.WaitOne(10 * kSoon) == 1;
    if (!free)
        lock.Unlock();
    other.join();
    return free;
}

TEST(ThreadingLock, GuardsOfALockThatWasNeverCreatedAreEmpty)
{
    VKReaderWriterLock lock;
    EXPECT_EQ(0, lock.IsCreated());
    lock.Lock();
    lock.Unlock();
    lock.Unlock();
    const VKReaderWriterLockItem writer = lock.AcquireWriterLock();
    const VKReaderWriterLockItem writer_too = lock.AcquireWriterLock(1);
    const VKReaderWriterLockItem reader = lock.AcquireReaderLock();
    const VKReaderWriterLockItem none(nullptr, 0);
    ASSERT_EQ(1, lock.Create());
    const VKReaderWriterLockItem unasked_reader = lock.AcquireReaderLock(0);
    const VKReaderWriterLockItem unasked_writer = lock.AcquireWriterLock(0);
    EXPECT_TRUE(is_free(lock, false)) << "none of them holds it, and none will release it";
}

void guards_hold_until_they_go()
{
    VKReaderWriterLock lock;
    ASSERT_EQ(1, lock.Create());
    ASSERT_EQ(1, lock.IsCreated());
    for (const bool shared : {false, true}) {
        for (const bool asked : {false, true}) {
            std::atomic<bool> released{false};
            std::thread other;
            {
                const VKReaderWriterLockItem first = shared
                                                         ? asked ? lock.AcquireReaderLock(1) : lock.AcquireReaderLock()
                                                     : asked ? lock.AcquireWriterLock(1)
                                                             : lock.AcquireWriterLock();
                const VKReaderWriterLockItem copy(first);
                VKReaderWriterLockItem target(nullptr, 0);
                target = copy;
                other = std::thread([&] {
                    const VKReaderWriterLockItem guard(&lock, 0);
                    EXPECT_TRUE(released) << "a writer came in beside a guard";
                });
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                released = true;
            }
            other.join();
        }
    }
    lock.Lock();
    EXPECT_FALSE(is_free(lock, false)); // unlocks it
    VKReaderWriterLock copy(lock);
    copy = lock;
    copy = *&copy;
    EXPECT_EQ(1, copy.IsCreated());
    {
        const VKReaderWriterLockItem held = lock.AcquireWriterLock();
        EXPECT_TRUE(is_free(copy, false)) << "a lock of its own";
        VKReaderWriterLockItem other_hold = copy.AcquireWriterLock();
        other_hold = held; // gives the copy free, and takes over
        EXPECT_TRUE(is_free(copy, false));
    }
    EXPECT_TRUE(is_free(lock, true));
    copy = VKReaderWriterLock();
    EXPECT_EQ(0, copy.IsCreated());
}

/// Counts what must stay together, under readers and writers.
void readers_and_writers_do_not_mix(int threads, int rounds)
{
    VKReaderWriterLock lock;
    ASSERT_EQ(1, lock.Create());
    int64_t first = 0;
    int64_t second = 0;
    on_threads(threads, [&](int thread) {
        std::minstd_rand random(static_cast<unsigned>(thread + 1));
        for (int i = 0; i < rounds; ++i) {
            if (random() % 4 != 0) {
                const VKReaderWriterLockItem guard = lock.AcquireReaderLock();
                EXPECT_EQ(first, second);
            } else if (random() % 2 != 0) {
                const VKReaderWriterLockItem guard = lock.AcquireWriterLock();
                ++first;
                ++second;
            } else {
                lock.Lock();
                ++first;
                ++second;
                lock.Unlock();
            }
        }
    });
    EXPECT_EQ(first, second);
    EXPECT_GT(first, 0);
}

TEST(ThreadingLock, HoldsOffOthersUntilTheGuardGoes)
{
    guards_hold_until_they_go();
    readers_and_writers_do_not_mix(8, 4000);
    VKReaderWriterLock lock;
    ASSERT_EQ(1, lock.Create());
    MeetingPoint readers(3);
    on_threads(3, [&](int) {
        const VKReaderWriterLockItem guard = lock.AcquireReaderLock();
        EXPECT_TRUE(readers.meet()) << "readers keep each other out";
    });
    fault::arm_call(fault::Call::lock_create, 1, false);
    EXPECT_EQ(-1, lock.Create());
    fault::disarm();
    EXPECT_EQ(0, lock.IsCreated());
}

#if defined(_WIN32)
TEST(ThreadingLock, CriticalSectionsWhereThereAreNoSlimLocks)
{
    const VKThreadToolsUnmanaged tools;
    EXPECT_TRUE(backend::win32::has_slim_locks());
    backend::win32::look_up_slim_locks(L"user32.dll");
    EXPECT_FALSE(backend::win32::has_slim_locks());
    guards_hold_until_they_go();
    readers_and_writers_do_not_mix(4, 1000);
    {
        VKReaderWriterLock lock;
        ASSERT_EQ(1, lock.Create());
        MeetingPoint readers(2);
        std::atomic<int> met{0};
        on_threads(2, [&](int) {
            const VKReaderWriterLockItem guard = lock.AcquireReaderLock();
            met += readers.meet(kSoon) ? 1 : 0;
        });
        EXPECT_EQ(1, met) << "the second only, as the first has left by then";
    }
    platform::lock_look_up();
    EXPECT_TRUE(backend::win32::has_slim_locks());
}
#endif

TEST(ThreadingTools, CountsAndOneTimeWork)
{
    const uint32_t cores = VKThreadToolsManaged::GetCoreCount();
    EXPECT_GE(cores, 1u);
    EXPECT_EQ(cores, count_processors());
    fault::arm_call(fault::Call::processor_count, 1, true);
    EXPECT_EQ(1u, count_processors()) << "when the system does not tell";
    EXPECT_EQ(cores, VKThreadToolsManaged::GetCoreCount()) << "asked for once";
    fault::disarm();

    Once once;
    int runs = 0; // not atomic: the thread sanitizer sees to it that everybody sees the work done
    std::atomic<int> seen{0};
    int32_t counter = 5;
    on_threads(8, [&](int) {
        once.run([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            ++runs;
        });
        seen += runs;
        for (int i = 0; i < 1000; ++i)
            VKThreadToolsUnmanaged::_InterlockedIncrement(&counter);
        for (int i = 0; i < 999; ++i)
            VKThreadToolsUnmanaged::_InterlockedDecrement(&counter);
    });
    EXPECT_EQ(8, seen);
    EXPECT_EQ(13, counter);
    EXPECT_EQ(14, VKThreadToolsUnmanaged::_InterlockedIncrement(&counter));
    EXPECT_EQ(13, VKThreadToolsUnmanaged::_InterlockedDecrement(&counter));
    counter = -1;
    EXPECT_EQ(0, VKThreadToolsUnmanaged::_InterlockedIncrement(&counter));
}

std::vector<int> g_cleaned;
extern Cleanup g_late;
Cleanup g_clean[] = {{[]() noexcept { g_cleaned.push_back(0); }},
                     {[]() noexcept {
                         g_cleaned.push_back(1);
                         register_cleanup(g_late);
                     }},
                     {[]() noexcept { g_cleaned.push_back(2); }}};
Cleanup g_late{[]() noexcept { g_cleaned.push_back(3); }};

TEST(ThreadingCleanup, RunsEachOnceTheLatestFirst)
{
    on_threads(8, [](int) {
        for (Cleanup& entry : g_clean)
            register_cleanup(entry);
    });
    g_cleaned.clear();
    run_cleanups();
    ASSERT_EQ(4u, g_cleaned.size());
    for (const int round : {1, 2}) {
        SCOPED_TRACE(round);
        for (Cleanup& entry : g_clean) {
            register_cleanup(entry);
            register_cleanup(g_clean[0]); // stays where it is
        }
        g_cleaned.clear();
        run_cleanups();
        EXPECT_EQ((std::vector<int>{2, 1, 3, 0}), g_cleaned);
        run_cleanups();
        EXPECT_EQ(4u, g_cleaned.size());
    }
}

} // namespace
} // namespace vk
