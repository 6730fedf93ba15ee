// Copies of a process whose threads are inside the library: every lock is free in them, storage files can be read on
// both sides at once, and a thread of the pool that forks goes on in both.
#if !defined(_WIN32)

#include "tests/abi/Child.h"
#include "tests/support/TestBitmap.h"

#include "Vkthreading.h"

#include <atomic>
#include <thread>

using namespace vk::testing;

namespace {

constexpr int32_t kHeight = 300;

V_THREADRESULT nothing(void*)
{
    return 0;
}

/// Something of every part of the library that has a lock.
bool take_every_lock(BITMAPHANDLE* shared)
{
    HGLOBAL const block = GlobalAlloc(GHND, 100);
    bool good = GlobalLock(block) != nullptr && V_GetTempFileMode() == 1;
    GlobalUnlock(block);
    GlobalFree(block);
    REDIRECTFUNCTIONS table = {};
    good = good && V_GetRedirectFunctions(&table, sizeof table, REDIRECTTYPE_FILES, 1) == SUCCESS;
    V_UnregisterRedirectName(V_REDIRECT_NAME_PREFIX L"none");
    uint8_t row[512];
    good = good && V_GetBitmapRow(shared, row, 7, sizeof row) == sizeof row && row[9] == 7;
    BITMAPHANDLE own;
    good = good && V_CreateBitmap(&own, BITMAPHANDLE_SIZE, TYPE_SUPERCOMPRESSED, 8, 8, 8, COLORORDER_RGB, nullptr,
                                  TOP_LEFT, nullptr, 0) == SUCCESS;
    V_FreeBitmap(&own);
    VKWaitEvent event;
    VKWorkItems batch;
    good = good && event.Create(0, 1) == 1 && event.WaitOne(0) == 1 && batch.Create(1, 0, 0) == 1 &&
           batch.QueueItem([](VKWorkItems*, void*) { return SUCCESS; }, nullptr) == 1;
    batch.Wait();
    return good && VKThreadPool::QueueUserWorkItem(&nothing, nullptr, 0) == 1;
}

void fill(BITMAPHANDLE* bitmap)
{
    uint8_t row[512];
    for (int32_t y = 0; y < kHeight; ++y) {
        std::memset(row, y, sizeof row);
        ASSERT_EQ(intptr_t{512}, V_PutBitmapRow(bitmap, row, y, sizeof row));
    }
}

/// Rows read in leaps, all of them as they were written.
bool reads_well(BITMAPHANDLE* bitmap, int step)
{
    uint8_t row[512];
    for (int i = 0; i < 20000; ++i) {
        const int32_t y = static_cast<int32_t>(int64_t{i} * step % kHeight);
        const auto value = static_cast<uint8_t>(y);
        if (V_GetBitmapRow(bitmap, row, y, sizeof row) != sizeof row || row[0] != value || row[511] != value)
            return false;
    }
    return true;
}

TEST(Fork, FindsEveryLockFree)
{
#if defined(VKKRNX_TEST_SANITIZED)
    GTEST_SKIP() << "the sanitizer's allocator leaves its own locks taken in a child";
#endif
    TestBitmap shared;
    ASSERT_EQ(SUCCESS, shared.create(TYPE_SUPERCOMPRESSED, 512, kHeight, 8));
    fill(shared.get());
    std::atomic<bool> ends{false};
    std::atomic<int> failures{0};
    std::thread threads[3];
    for (std::thread& thread : threads)
        thread = std::thread([&] {
            while (!ends)
                failures += !take_every_lock(shared.get());
        });
    for (int i = 0; i < 300 && !HasFailure(); ++i)
        EXPECT_TRUE(in_child([&] { return take_every_lock(shared.get()); })) << i;
    ends = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, failures);
}

TEST(Fork, BothSidesReadWhatWasWritten)
{
    for (const Kind kind : kKinds) {
        if (!can_make(kind, 8))
            continue;
        SCOPED_TRACE(name_of(kind));
        TestBitmap bitmap;
        bitmap.make(kind, 512, kHeight, 8);
        ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        fill(bitmap.get());
        bool parent = false;
        const pid_t child = fork();
        if (child == 0) {
            alarm(kChildSeconds);
            _exit(reads_well(bitmap.get(), 7919) ? 0 : 1);
        }
        parent = reads_well(bitmap.get(), 104729);
        int status = -1;
        EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0) << "the child";
        EXPECT_TRUE(parent) << "the parent";
        EXPECT_TRUE(reads_well(bitmap.get(), 1));
        EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    }
}

// In the child the item's thread is the only one; the pool gets others.
TEST(Fork, AnItemMayDoIt)
{
    VKWorkItems batch;
    ASSERT_EQ(1, batch.Create(40, 0, 0));
    std::atomic<int> good{0};
    const auto item = [](VKWorkItems*, void* count) {
        const bool went_well = in_child([] {
            std::atomic<int> runs{0};
            VKWorkItems inner;
            if (inner.Create(20, 0, 0) != 1)
                return false;
            for (int i = 0; i < 20; ++i)
                inner.QueueItem([](VKWorkItems*, void* counted) { return ++*static_cast<std::atomic<int>*>(counted); },
                                &runs);
            inner.Wait();
            return runs == 20;
        });
        *static_cast<std::atomic<int>*>(count) += went_well ? 1 : 0;
        return SUCCESS;
    };
    for (int i = 0; i < 40; ++i)
        ASSERT_EQ(1, batch.QueueItem(item, &good));
    batch.Wait();
    EXPECT_EQ(40, good);
}

} // namespace

#endif
