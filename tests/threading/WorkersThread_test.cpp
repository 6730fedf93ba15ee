// Operations on several threads: the same bits for every number of them, progress on the calling thread alone, and no
// standstill, whoever asks for workers.
#include "kernel/threading/Bands.h"
#include "tests/support/TestBitmap.h"
#include "tests/threading/ThreadingSupport.h"

namespace vk {
namespace {

using testing::on_threads;

constexpr int32_t kWidth = 301;
constexpr int32_t kHeight = 203;

/// A number of workers for the calling thread, and one at the end.
class Workers {
public:
    explicit Workers(int32_t count) { EXPECT_EQ(V_SUCCESS, V_SetWorkers(count)); }
    ~Workers() { V_SetWorkers(1); }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
};

/// A bitmap of random pixels, the same for each depth.
struct Picture : testing::TestBitmap {
    explicit Picture(int32_t bits, uint32_t memory = TYPE_CONV)
    {
        testing::TestRandom random(static_cast<uint64_t>(bits));
        EXPECT_EQ(V_SUCCESS, create(memory, kWidth, kHeight, bits, bits == 16 ? COLORORDER_GRAY : COLORORDER_BGR));
        paint(random);
    }
};

struct Case {
    const char* name;
    int32_t bits;
    uint32_t memory;
    int (*run)(BITMAPHANDLE& bitmap);
};

int change(BITMAPHANDLE& bitmap, int32_t bits, uint32_t flags, uint32_t colors = 0)
{
    return V_ColorResBitmap(&bitmap, &bitmap, sizeof bitmap, bits, flags, nullptr, nullptr, colors);
}
int match(BITMAPHANDLE& bitmap)
{
    return change(bitmap, 8, COLORRES_NODITHER | COLORRES_PALETTE_OPTIMIZED, 256);
}
int widen(BITMAPHANDLE& bitmap)
{
    return change(bitmap, 32, COLORRES_ORDER_RGB);
}
int dither(BITMAPHANDLE& bitmap)
{
    return change(bitmap, 1, 0);
}
int shrink(BITMAPHANDLE& bitmap)
{
    return V_ResampleBitmap(&bitmap, kWidth / 3, kHeight / 3);
}
int enlarge(BITMAPHANDLE& bitmap)
{
    return V_BicubicResampleBitmap(&bitmap, kWidth * 2, kHeight * 2);
}

constexpr Case kCases[] = {
    {"match", 24, TYPE_CONV, match},     {"widen", 24, TYPE_CONV, widen},     {"widen, disk", 24, TYPE_DISK, widen},
    {"shrink", 8, TYPE_CONV, shrink},    {"shrink", 32, TYPE_CONV, shrink},   {"shrink, disk", 24, TYPE_DISK, shrink},
    {"enlarge", 24, TYPE_CONV, enlarge}, {"enlarge", 48, TYPE_CONV, enlarge}, {"enlarge", 16, TYPE_CONV, enlarge},
    {"enlarge", 32, TYPE_CONV, enlarge}, {"dither", 24, TYPE_CONV, dither},
};

/// Workers that the pool invites too late go a moment after the operation.
class WorkersThread : public testing::LeavesNothing {};

TEST_F(WorkersThread, DoNotChangeTheBits)
{
    for (const Case& entry : kCases) {
        SCOPED_TRACE(testing::say(entry.name, entry.bits));
        Picture alone(entry.bits, entry.memory);
        ASSERT_EQ(V_SUCCESS, entry.run(*alone));
        const testing::Bytes expected = alone.pixels();
        for (const int32_t count : {2, 3, 8, 0, 10000}) {
            const Workers workers(count);
            Picture together(entry.bits, entry.memory);
            ASSERT_EQ(V_SUCCESS, entry.run(*together));
            EXPECT_EQ(expected, together.pixels()) << count;
        }
    }
}

/// What a status callback is told, and on which thread.
struct Told {
    std::thread::id thread = std::this_thread::get_id();
    std::vector<int> percents;
    int refuse_at = 101;
    bool is_elsewhere = false;

    static int note(int percent, void* self)
    {
        auto& told = *static_cast<Told*>(self);
        told.is_elsewhere |= told.thread != std::this_thread::get_id();
        told.percents.push_back(percent);
        return percent >= told.refuse_at ? V_ERROR_USER_ABORT : V_SUCCESS;
    }
};

TEST_F(WorkersThread, LeaveProgressToTheCallingThread)
{
    const Workers workers(3);
    for (const int refuse_at : {101, 40, 0}) {
        SCOPED_TRACE(refuse_at);
        Told told;
        told.refuse_at = refuse_at;
        Picture picture(24);
        const testing::Bytes before = picture.pixels();
        V_SetStatusCallback(&Told::note, &told, nullptr, nullptr);
        const int result = shrink(*picture);
        V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
        EXPECT_FALSE(told.is_elsewhere);
        ASSERT_FALSE(told.percents.empty());
        EXPECT_EQ(0, told.percents.front());
        EXPECT_TRUE(std::is_sorted(told.percents.begin(), told.percents.end()));
        EXPECT_EQ(told.percents.end(), std::adjacent_find(told.percents.begin(), told.percents.end()));
        EXPECT_EQ(refuse_at > 100 ? V_SUCCESS : V_ERROR_USER_ABORT, result);
        if (result == V_SUCCESS)
            EXPECT_EQ(100, told.percents.back());
        else
            EXPECT_EQ(before, picture.pixels());
    }
}

TEST_F(WorkersThread, WorkForManyThreadsAtOnce)
{
    Picture alone(24);
    ASSERT_EQ(V_SUCCESS, shrink(*alone));
    const testing::Bytes expected = alone.pixels();
    std::atomic<int> wrong{0};
    on_threads(8, [&](int) {
        const Workers workers(2);
        for (int round = 0; round < 5; ++round) {
            Picture picture(24);
            wrong += shrink(*picture) != V_SUCCESS || picture.pixels() != expected;
            wrong += widen(*picture) != V_SUCCESS;
        }
    });
    EXPECT_EQ(0, wrong);
}

TEST_F(WorkersThread, WorkInsideItemsOfABatch)
{
    constexpr uint32_t kItems = 24;
    std::atomic<int> wrong{0};
    const auto work = [](VKWorkItems*, void* user) {
        const Workers workers(4);
        Picture picture(24);
        *static_cast<std::atomic<int>*>(user) += shrink(*picture) != V_SUCCESS;
        return V_SUCCESS;
    };
    VKWorkItems items;
    ASSERT_EQ(1, items.Create(kItems, 0, 0));
    for (uint32_t i = 0; i < kItems; ++i)
        ASSERT_EQ(1, items.QueueItem(work, &wrong));
    items.Wait();
    EXPECT_EQ(0, wrong);
}

TEST_F(WorkersThread, AreASettingOfTheThread)
{
    EXPECT_EQ(1, V_GetWorkers());
    EXPECT_EQ(V_ERROR_INVALID_PARAMETER, V_SetWorkers(-1));
    {
        const Workers workers(0);
        EXPECT_EQ(0, V_GetWorkers());
        EXPECT_LE(1u, workers_allowed());
        std::thread([] { EXPECT_EQ(1, V_GetWorkers()); }).join();
    }
    EXPECT_EQ(1u, workers_allowed());
}

/// Bands that fail where they are told to; each row is done at most once.
TEST_F(WorkersThread, StopAtTheFirstFailure)
{
    for (const int32_t bad : {-1, 0, 57, 199}) {
        std::vector<std::atomic<int>> rows(200);
        Progress progress(200);
        auto work = [&](Bands& bands) noexcept {
            for (Band band{}; bands.take(band);) {
                for (int32_t y = band.row; y < band.row + band.rows; ++y)
                    ++rows[static_cast<size_t>(y)];
                bands.done(band, band.row <= bad && bad < band.row + band.rows ? V_ERROR_NO_MEMORY : V_SUCCESS);
            }
            return V_SUCCESS;
        };
        EXPECT_EQ(bad < 0 ? V_SUCCESS : V_ERROR_NO_MEMORY, run_bands(200, 8, 4, progress, 0, work));
        for (const auto& count : rows)
            EXPECT_TRUE(count == 1 || (bad >= 0 && count == 0));
    }
}

} // namespace
} // namespace vk
