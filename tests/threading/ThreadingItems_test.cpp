// Batches of work, the pool, and threads with state of their own.
#include "tests/support/FaultLoop.h"
#include "tests/threading/ThreadingSupport.h"

#include <cstring>
#include <random>

namespace vk {
namespace {

using testing::comes_true;
using testing::kLongEnough;
using testing::kSoon;
using testing::MeetingPoint;
using testing::on_threads;

constexpr uint32_t kPoolFlags[] = {0, VKPOOL_NEWTHREAD, VKPOOL_LONGRUNNING};

int count_run(VKWorkItems*, void* runs)
{
    ++*static_cast<std::atomic<int>*>(runs);
    return 7;
}

#if defined(_WIN32)
constexpr bool kIsWindows = true;
#else
constexpr bool kIsWindows = false;
#endif

bool one_processor()
{
    return VKThreadToolsManaged::GetCoreCount() == 1;
}

using ThreadingItems = testing::LeavesNothing;
using ThreadingStart = testing::LeavesNothing;

TEST_F(ThreadingItems, RunEachOnceAndWaitForAll)
{
    VKWorkItems batch;
    EXPECT_EQ(0, batch.IsCreated());
    EXPECT_EQ(0, batch.IsThreaded());
    EXPECT_EQ(SUCCESS, batch.GetStatus());
    for (const uint32_t flags : kPoolFlags)
        for (uint32_t options = 0; options < 8; ++options) {
            std::atomic<int> runs{0};
            ASSERT_EQ(1, batch.Create(20, options, flags)) << "also over an earlier batch";
            EXPECT_EQ(1, batch.IsCreated());
            EXPECT_EQ(one_processor() ? 0 : 1, batch.IsThreaded());
            EXPECT_EQ(options != 0 && !one_processor() ? 1 : 0, batch.GetLock().IsCreated());
            for (int i = 0; i < 20; ++i)
                ASSERT_EQ(1, batch.QueueItem(&count_run, &runs));
            batch.Wait();
            EXPECT_EQ(20, runs);
            EXPECT_EQ((options & VKWORKITEMS_STORERESULT) != 0 || one_processor() ? 7 : SUCCESS, batch.GetStatus());
            batch.SetStatus(-5);
            EXPECT_EQ(-5, batch.GetStatus());
        }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, batch.QueueItem(nullptr, nullptr));
    batch.Destroy();
    EXPECT_EQ(0, batch.IsCreated());
    EXPECT_EQ(SUCCESS, batch.GetStatus());
    batch.Wait();
    batch.Finish();
}

TEST_F(ThreadingItems, WithoutThreadsEveryItemRunsAtOnce)
{
    struct Seen {
        std::thread::id thread = std::this_thread::get_id();
        int runs = 0;
        int result = 0;
    } seen;
    const auto look = [](VKWorkItems* items, void* data) {
        auto& mine = *static_cast<Seen*>(data);
        EXPECT_EQ(mine.thread, std::this_thread::get_id());
        EXPECT_EQ(0, items->IsThreaded());
        ++mine.runs;
        return mine.result;
    };
    VKWorkItems batch; // not created: nothing is threaded either
    for (const uint32_t options : {0u, 0x8u, 0xAu, 0xFu}) {
        if (options != 0) {
            ASSERT_EQ(1, batch.Create(99, options, VKPOOL_NEWTHREAD));
            EXPECT_EQ(0, batch.IsThreaded());
            EXPECT_EQ(0, batch.GetLock().IsCreated());
        }
        seen.runs = 0;
        for (const int result : {5, -100, 0}) {
            seen.result = result;
            EXPECT_EQ(1, batch.QueueItem(look, &seen));
            EXPECT_EQ(result, batch.GetStatus()) << "whatever the options";
            EXPECT_EQ(0, batch.IsCanceled());
        }
        EXPECT_EQ(3, seen.runs);
        batch.Wait();
        batch.Cancel();
        EXPECT_EQ(1, batch.IsCanceled());
        EXPECT_EQ(1, batch.QueueItem(look, &seen));
        EXPECT_EQ(3, seen.runs);
        EXPECT_EQ(0, batch.GetStatus());
        batch.Destroy();
        EXPECT_EQ(0, batch.IsCanceled());
    }
}

/// Items that keep their threads until the batch is cancelled, by one of them that returns -100.
TEST_F(ThreadingItems, CancellingSkipsWhatHasNotStarted)
{
    if (one_processor())
        GTEST_SKIP() << "nothing is threaded here";
    constexpr int kItems = 1200; // more than any pool has threads
    for (const uint32_t options : {0u, 0x2u, 0x6u}) {
        struct Shared {
            std::atomic<int> runs{0};
            std::atomic<bool> all_queued{false};
        } shared;
        const auto block = [](VKWorkItems* items, void* data) {
            auto& mine = *static_cast<Shared*>(data);
            if (++mine.runs == 1) {
                EXPECT_TRUE(comes_true([&] { return mine.all_queued.load(); }));
                return VKRESULT_TIMEOUT;
            }
            EXPECT_TRUE(comes_true([&] { return items->IsCanceled() == 1; }));
            return VKRESULT_TIMEOUT;
        };
        VKWorkItems batch;
        ASSERT_EQ(1, batch.Create(kItems + 1, options, 0));
        for (int i = 0; i < kItems; ++i)
            ASSERT_EQ(1, batch.QueueItem(block, &shared));
        shared.all_queued = true;
        EXPECT_TRUE(comes_true([&] { return batch.IsCanceled() == 1; }));
        EXPECT_EQ(1, batch.QueueItem(block, &shared)) << "the last one counts without being run";
        batch.Wait();
        EXPECT_GE(shared.runs, 1);
        EXPECT_LT(shared.runs, kItems);
        EXPECT_EQ((options & VKWORKITEMS_STORERESULT) != 0 ? VKRESULT_TIMEOUT : SUCCESS, batch.GetStatus());
        EXPECT_EQ(1, batch.IsCanceled()) << "sticky";
        ASSERT_EQ(1, batch.Create(1, 0, 0));
        EXPECT_EQ(0, batch.IsCanceled());
        EXPECT_EQ(SUCCESS, batch.GetStatus());
    }
}

TEST_F(ThreadingItems, FinishReleasesAWaiterAndCopiesShareTheEvent)
{
    if (one_processor())
        GTEST_SKIP() << "nothing is threaded here";
    VKWorkItems batch;
    for (const uint32_t count : {0u, 3u}) {
        ASSERT_EQ(1, batch.Create(count, VKWORKITEMS_LOCK, 0));
        std::atomic<bool> back{false};
        std::thread waiter([&] {
            batch.Wait();
            back = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_FALSE(back);
        VKWorkItems copy(batch);
        EXPECT_EQ(1, copy.IsThreaded());
        EXPECT_EQ(1, copy.GetLock().IsCreated());
        copy.SetStatus(12);
        EXPECT_EQ(SUCCESS, batch.GetStatus());
        copy.Finish();
        waiter.join();
        batch = copy;
        EXPECT_EQ(12, batch.GetStatus());
    }
}

TEST_F(ThreadingItems, MembersLieInTheirOrder)
{
    VKWorkItems batch;
    ASSERT_EQ(1, batch.Create(0x1234, 0x9, 0x55));
    batch.SetStatus(-77);
    batch.Cancel();
    const auto* bytes = reinterpret_cast<const unsigned char*>(&batch);
    const size_t event = sizeof(void*) + 4 * sizeof(int32_t);
    const size_t cancelled = event + sizeof(VKWaitEvent);
    const size_t lock = cancelled + sizeof(void*);
    const size_t status = lock + sizeof(VKReaderWriterLock);
    const std::pair<size_t, int32_t> members[] = {{8, 0x9},       {12, 1},       {16, 0x1234},      {20, 0x1234},
                                                  {cancelled, 1}, {status, -77}, {status + 4, 0x55}};
    for (const auto& [offset, expected] : members) {
        int32_t value = 0;
        std::memcpy(&value, bytes + offset, sizeof value);
        EXPECT_EQ(expected, value) << offset;
    }
    EXPECT_EQ(status + 8, sizeof(VKWorkItems));
}

TEST_F(ThreadingItems, EveryFailureLeavesNothingBehind)
{
    for (const uint32_t flags : kPoolFlags) {
        testing::for_each_fault([flags] {
            VKWorkItems batch;
            const int created = batch.Create(4, VKWORKITEMS_LOCK, flags);
            EXPECT_TRUE(created == 1 || created == -1);
            EXPECT_EQ(created == 1 ? 1 : 0, batch.IsCreated());
            if (created != 1) {
                EXPECT_EQ(0, batch.IsThreaded());
                EXPECT_EQ(0, batch.GetLock().IsCreated());
                return;
            }
            std::atomic<int> runs{0};
            int queued = 0;
            for (int i = 0; i < 4; ++i) {
                const int result = batch.QueueItem(&count_run, &runs);
                EXPECT_TRUE(result == 1 || result == -1);
                queued += result == 1 ? 1 : 0;
            }
            // An item that was refused does not count, and can be queued again.
            fault::disarm();
            for (; queued < 4; ++queued)
                EXPECT_EQ(1, batch.QueueItem(&count_run, &runs));
            batch.Wait();
            EXPECT_EQ(4, runs);
        });
    }
}

// Several threads, each with a batch of its own that it cancels at random, destroys and uses again.
TEST_F(ThreadingItems, BatchesUnderLoad)
{
    constexpr uint32_t kItems = 10000;
    std::atomic<int> uncancelled{0};
    on_threads(8, [&](int thread) {
        std::minstd_rand random(static_cast<unsigned>(thread + 1));
        VKWorkItems batch;
        for (int round = 0; round < 2; ++round) {
            const auto options = static_cast<uint32_t>(random() % 8);
            const bool cancels = (thread + round) % 3 != 0;
            const uint32_t cancel_at = cancels ? static_cast<uint32_t>(random() % kItems) : kItems;
            std::atomic<int> runs{0};
            ASSERT_EQ(1, batch.Create(kItems, options, 0));
            for (uint32_t i = 0; i < kItems; ++i) {
                if (i == cancel_at)
                    batch.Cancel();
                ASSERT_EQ(1, batch.QueueItem(&count_run, &runs));
            }
            batch.Wait();
            EXPECT_LE(static_cast<uint32_t>(runs), cancel_at);
            uncancelled += runs == static_cast<int>(kItems) ? 1 : 0;
            EXPECT_EQ(cancels ? 1 : 0, batch.IsCanceled());
            batch.Destroy();
        }
    });
    EXPECT_GE(uncancelled, 5);
}

struct Nested {
    std::atomic<int> open{0}; ///< items that have begun and wait
    std::atomic<int> most{0}; ///< of them at one time
    std::atomic<int> leaves{0};
    std::atomic<int> strange{0}; ///< items that saw settings of others
};

/// Queues items that do the same one level down, and waits for them.
template <int kLevels> int nest(VKWorkItems*, void* data)
{
    auto& mine = *static_cast<Nested*>(data);
    if constexpr (kLevels == 0) {
        uint32_t type = 0;
        V_GetDefaultMemoryType(&type);
        mine.strange += type != TYPE_CONV;
        V_SetDefaultMemoryType(TYPE_DISK);
        V_FreeThreadState();
        return ++mine.leaves;
    } else {
        const int open = ++mine.open;
        for (int most = mine.most; most < open && !mine.most.compare_exchange_weak(most, open);) {
        }
        V_SetDefaultMemoryType(TYPE_DISK);
        VKWorkItems batch;
        if (batch.Create(2, 0, 0) == 1 && batch.QueueItem(&nest<kLevels - 1>, data) == 1 &&
            batch.QueueItem(&nest<kLevels - 1>, data) == 1)
            batch.Wait();
        uint32_t type = 0;
        V_GetDefaultMemoryType(&type);
        mine.strange += type != TYPE_DISK;
        V_FreeThreadState();
        return --mine.open;
    }
}

// Far more of them than the pool may have threads, and all queue behind each other.
TEST_F(ThreadingItems, MayWaitForBatchesOfTheirOwn)
{
    constexpr int kItems = 700;
    Nested nested;
    VKWorkItems batch;
    ASSERT_EQ(1, batch.Create(kItems, 0, 0));
    for (int i = 0; i < kItems; ++i)
        ASSERT_EQ(1, batch.QueueItem(&nest<3>, &nested));
    batch.Wait();
    EXPECT_EQ(kItems * 8, nested.leaves);
    EXPECT_EQ(0, nested.strange);
#if !defined(_WIN32) // where the pool is the system's, it decides how many of them run at one time
    EXPECT_GE(static_cast<int>(VKThreadToolsManaged::GetCoreCount()) * 12 + 40, nested.most)
        << "items wait in line instead of working";
#endif
}

#if !defined(_WIN32)
// Where the pool is ours, an item that waits for an event gives its thread's place to another at once.
TEST(ThreadingPool, AnItemThatWaitsForAnEventHoldsNobodyUp)
{
    static VKWaitEvent last;
    static std::atomic<int> ended;
    constexpr int kItems = 300; // at ten a second the last one would be too late
    ASSERT_EQ(1, last.Create(1, 0));
    ended = 0;
    const auto wait = [](void*) -> V_THREADRESULT { return ended += last.WaitOne(kLongEnough) == 1 ? 1 : 0, 0; };
    const auto set = [](void*) -> V_THREADRESULT { return last.Set(), 0; };
    for (int i = 0; i < kItems; ++i)
        ASSERT_EQ(1, VKThreadPool::QueueUserWorkItem(wait, nullptr, 0));
    ASSERT_EQ(1, VKThreadPool::QueueUserWorkItem(set, nullptr, 0));
    EXPECT_TRUE(comes_true([] { return ended == kItems; }));
}
#endif

// Items that wait for each other: the pool has to have a thread for each of them in the end.
TEST(ThreadingPool, GrowsForItemsThatBlock)
{
    const auto cores = static_cast<int>(VKThreadToolsManaged::GetCoreCount());
    for (const auto& [flags, items] :
         {std::pair{VKPOOL_LONGRUNNING, cores + 30}, {0u, cores + 4}, {VKPOOL_NEWTHREAD, 10}}) {
        struct Shared {
            explicit Shared(int count) : all(count) {}
            MeetingPoint all;
            std::atomic<int> met{0};
            std::atomic<int> left{0};
        } shared(items);
        const auto meet = [](void* data) -> V_THREADRESULT {
            auto& mine = *static_cast<Shared*>(data);
            mine.met += mine.all.meet() ? 1 : 0;
            ++mine.left;
            return 0;
        };
        for (int i = 0; i < items; ++i)
            ASSERT_EQ(1, VKThreadPool::QueueUserWorkItem(meet, &shared, flags));
        EXPECT_TRUE(comes_true([&, count = items] { return shared.left == count; })) << flags;
        EXPECT_EQ(items, shared.met) << flags;
        std::this_thread::sleep_for(std::chrono::milliseconds(10)); // they are done with `shared`
    }
    EXPECT_EQ(-1, VKThreadPool::QueueUserWorkItem(nullptr, nullptr, 0));
    for (const auto& [flags, call] :
         {std::pair{0u, fault::Call::pool_queue}, {VKPOOL_NEWTHREAD, fault::Call::thread_start}}) {
        fault::arm_call(call, 1, false);
        EXPECT_EQ(-1, VKThreadPool::QueueUserWorkItem([](void*) -> V_THREADRESULT { return 0; }, nullptr, flags));
        fault::disarm();
    }
}

V_THREADRESULT read_memory_type(void* done)
{
    uint32_t type = 0;
    V_GetDefaultMemoryType(&type);
    V_SetDefaultMemoryType(TYPE_CONV); // touches this thread alone
    V_SetStatusCallback([](int, void*) { return 1; }, nullptr, nullptr, nullptr);
    if (done != nullptr)
        *static_cast<std::atomic<uint32_t>*>(done) = type;
    return type;
}

TEST_F(ThreadingStart, GivesAThreadStateOfItsOwn)
{
    uint32_t before = 0;
    V_GetDefaultMemoryType(&before);
    V_SetDefaultMemoryType(TYPE_DISK);
    for (const uint32_t inherit : {0u, VELLTHREAD_INHERIT}) {
        const uint32_t expected = inherit != 0 ? TYPE_DISK : TYPE_CONV;
        std::atomic<uint32_t> seen{0};
        uint32_t result = 0;
        EXPECT_EQ(SUCCESS, V_VellThreadCreateAndRun(&read_memory_type, &seen, inherit | VELLTHREAD_WAIT, &result));
        EXPECT_EQ(expected, result);
        EXPECT_EQ(expected, seen);
        EXPECT_EQ(SUCCESS, V_VellThreadCreateAndRun(&read_memory_type, nullptr, inherit | VELLTHREAD_WAIT, nullptr));
        seen = 0;
        result = 99;
        EXPECT_EQ(SUCCESS, V_VellThreadCreateAndRun(&read_memory_type, &seen, inherit, &result));
        EXPECT_TRUE(comes_true([&] { return seen == expected; }));
        EXPECT_EQ(99u, result);
    }
    uint32_t after = 0;
    V_STATUSCALLBACK callback = nullptr;
    V_GetDefaultMemoryType(&after);
    V_GetStatusCallback(&callback, nullptr);
    EXPECT_EQ(TYPE_DISK, after);
    EXPECT_EQ(nullptr, callback);
    V_SetDefaultMemoryType(before);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_VellThreadCreateAndRun(nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_VellThreadCreateAndRun(&read_memory_type, nullptr, 4, nullptr));
    testing::for_each_fault([] {
        uint32_t result = 0;
        const int code = V_VellThreadCreateAndRun(&read_memory_type, nullptr, VELLTHREAD_WAIT, &result);
        EXPECT_TRUE((code == SUCCESS && result == TYPE_CONV) || (code == ERROR_NO_MEMORY && result == 0)) << code;
    });
}

/// A handle comes whole or not at all, and nothing stays behind.
template <class Handle, class Make> bool comes_or_not(Handle& handle, Make&& make)
{
    handle = reinterpret_cast<Handle>(&handle); // has to be overwritten
    const int code = make();
    EXPECT_EQ(code == V_SUCCESS, handle != nullptr);
    EXPECT_TRUE(code == V_SUCCESS || code == V_ERROR_NO_MEMORY || code == V_ERROR_FILE_NOT_FOUND) << code;
    return code == V_SUCCESS;
}

TEST(ThreadingFunctions, GiveBackWhatTheyTookWhenTheSystemRefuses)
{
    testing::for_each_fault([] {
        HWAITEVENT event;
        HWAITEVENT copy;
        HREADERWRITERLOCK lock;
        HWORKITEMS items;
        HDLLLOADER module;
        HDLLLOADER second;
        if (comes_or_not(event, [&] { return V_CreateWaitEvent(&event, 0, 0); })) {
            if (comes_or_not(copy, [&] { return V_CopyWaitEvent(&copy, event); }))
                V_DestroyWaitEvent(copy);
            V_DestroyWaitEvent(event);
        }
        if (comes_or_not(lock, [&] { return V_CreateReaderWriterLock(&lock); }))
            V_DestroyReaderWriterLock(lock);
        if (comes_or_not(items, [&] { return V_CreateWorkItems(&items, 1, VKWORKITEMS_LOCK, 0); })) {
            V_RestartWorkItems(items, 2, VKWORKITEMS_LOCK, 0);
            V_DestroyWorkItems(items);
        }
        const wchar_t* const name = kIsWindows ? L"kernel32.dll" : L"libm.so.6";
        if (comes_or_not(module, [&] { return V_LoadDll(&module, name, DLLLOADER_SYSTEM); })) {
            if (comes_or_not(second, [&] { return V_CopyDll(&second, module); }))
                V_UnloadDll(second);
            V_UnloadDll(module);
        }
    });
}

} // namespace
} // namespace vk
