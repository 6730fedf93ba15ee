// Threads that use different bitmaps at the same time. The thread sanitizer watches for shared state; the checks here,
// that settings and callbacks belong to the thread that made them and that nobody sees another's pixels.
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 12;
constexpr int32_t kHeight = 19;

int count_calls(int, void* calls)
{
    ++*static_cast<int*>(calls);
    return SUCCESS;
}

// One bitmap through several storage kinds; false when a byte of it is not what this thread put there.
bool life(uint32_t first, uint32_t second, int32_t bits, uint8_t seed)
{
    BITMAPHANDLE bitmap;
    if (V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, first, 101, kHeight, bits, COLORORDER_BGR, nullptr, TOP_LEFT,
                       nullptr, 0) != SUCCESS) {
        return false;
    }
    std::vector<uint8_t> row(bitmap.BytesPerLine, 0);
    std::vector<uint8_t> back(row.size());
    const size_t pixels = static_cast<size_t>(101 * bits / 8);
    bool good = V_AccessBitmap(&bitmap) == SUCCESS;
    for (int32_t y = 0; y < kHeight; ++y) {
        std::memset(row.data(), seed + y, pixels);
        good = good && V_PutBitmapRow(&bitmap, row.data(), y, row.size()) == static_cast<intptr_t>(row.size());
    }
    good = good && V_ReleaseBitmap(&bitmap) == SUCCESS &&
           V_SetBitmapMemoryInfo(&bitmap, second, 1, 0, 0, 0, 0, MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE) == SUCCESS &&
           V_AccessBitmap(&bitmap) == SUCCESS;
    for (int32_t y = 0; good && y < kHeight; ++y) {
        std::memset(row.data(), seed + y, pixels);
        good = V_GetBitmapRow(&bitmap, back.data(), y, back.size()) == static_cast<intptr_t>(back.size()) &&
               std::memcmp(row.data(), back.data(), pixels) == 0;
    }
    V_ReleaseBitmap(&bitmap);
    V_FreeBitmap(&bitmap);
    return good;
}

void work(int thread, std::atomic<int>& wrong)
{
    struct Case {
        uint32_t first, second;
        int32_t bits;
    };
    constexpr std::array<Case, 4> cases{{{TYPE_CONV, TYPE_TILED, 24},
                                         {TYPE_TILED, TYPE_DISK, 8},
                                         {TYPE_DISK, TYPE_CONV, 48},
                                         {TYPE_COMPRESSED, TYPE_CONV, 1}}};
    int calls = 0;
    V_SetStatusCallback(count_calls, &calls, nullptr, nullptr);
    V_SetMemoryThresholds(0, 0, 4096 * (thread + 1), 0, 0, THRESHOLD_TILESIZE);
    V_SetDefaultMemoryType(thread % 2 == 0 ? TYPE_CONV : TYPE_DISK);
    for (int round = 0; round < kRounds; ++round) {
        const Case& c = cases[static_cast<size_t>((thread + round) % 4)];
        wrong += !life(c.first, c.second, c.bits, static_cast<uint8_t>(thread * 50 + round));
    }
    int64_t tile_size = 0;
    uint32_t memory = 0;
    V_GetMemoryThresholds(nullptr, nullptr, &tile_size, nullptr, nullptr);
    V_GetDefaultMemoryType(&memory);
    wrong += tile_size != 4096 * (thread + 1);
    wrong += memory != (thread % 2 == 0 ? TYPE_CONV : TYPE_DISK);
    wrong += calls == 0;
}

TEST(Threads, BitmapsAndSettingsDoNotMix)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(work, i, std::ref(wrong));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, wrong.load());
    V_STATUSCALLBACK mine = nullptr;
    V_GetStatusCallback(&mine, nullptr);
    EXPECT_EQ(nullptr, mine) << "a callback of another thread";
}

// Process-wide values may be read while another thread sets them.
TEST(Threads, ProcessWideThresholdIsReadWhole)
{
    std::atomic<bool> stop{false};
    std::thread writer([&stop] {
        for (int i = 0; !stop; ++i) {
            const GLOBALMEMORYTHRESHOLDS value{sizeof(GLOBALMEMORYTHRESHOLDS),
                                               i % 2 == 0 ? 0x1111111111111111 : 0x2222222222222222};
            V_SetGlobalMemoryThresholds(&value);
        }
    });
    int torn = 0;
    for (int i = 0; i < 20000; ++i) {
        GLOBALMEMORYTHRESHOLDS seen{};
        V_GetGlobalMemoryThresholds(&seen, sizeof seen);
        torn += seen.DiskThreshold != 0 && seen.DiskThreshold != 0x1111111111111111 &&
                seen.DiskThreshold != 0x2222222222222222;
    }
    stop = true;
    writer.join();
    V_SetGlobalMemoryThresholds(nullptr);
    EXPECT_EQ(0, torn);
}

} // namespace
