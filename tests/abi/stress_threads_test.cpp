// Every family at once: threads with settings, callbacks and redirections of their own run all operations in different
// orders, while another thread exchanges the tables that hold for all of them. Each thread's results are byte for byte
// those of the same work done alone. The thread sanitizer watches for shared state.
#include "tests/support/MemoryFiles.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <array>
#include <atomic>
#include <memory>
#include <numeric>
#include <thread>

using namespace vk::testing;

namespace {

constexpr int kWorkers = 8;
constexpr int kRounds = 3;
constexpr int32_t kWidth = 61;
constexpr int32_t kHeight = 43;
constexpr RGBQUAD kPalette[] = {{0, 0, 0, 0},       {255, 255, 255, 0}, {200, 20, 30, 0},  {40, 190, 60, 0},
                                {70, 60, 220, 0},   {10, 210, 200, 0},  {120, 90, 150, 0}, {90, 160, 40, 0},
                                {160, 200, 240, 0}, {30, 30, 90, 0}};
constexpr auto kColors = static_cast<uint32_t>(std::size(kPalette));

using Bytes = std::vector<uint8_t>;

struct Worker;

/// What a family makes; calls that fail are counted.
class Results {
public:
    void must(int64_t result) { failures += result < 1; }
    void add(const void* bytes, size_t count)
    {
        const auto* const first = static_cast<const uint8_t*>(bytes);
        all.insert(all.end(), first, first + count);
    }
    /// A bitmap as far as it does not depend on where its pixels are.
    void add(BITMAPHANDLE* bitmap)
    {
        const int32_t facts[] = {bitmap->Width, bitmap->Height, bitmap->BitsPerPixel, bitmap->Order,
                                 bitmap->ViewPerspective};
        add(facts, sizeof facts);
        const RGBQUAD* const palette = bitmap->Palette;
        add(palette, palette ? bitmap->Colors * sizeof(RGBQUAD) : 0);
        Bytes row(bitmap->BytesPerLine);
        must(V_AccessBitmap(bitmap));
        for (int32_t y = 0; y < bitmap->Height; ++y) {
            must(V_GetBitmapRow(bitmap, row.data(), y, row.size()));
            add(row.data(), (static_cast<size_t>(bitmap->Width) * static_cast<size_t>(bitmap->BitsPerPixel) + 7) / 8);
        }
        must(V_ReleaseBitmap(bitmap));
    }
    bool operator==(const Results& other) const { return all == other.all && failures == other.failures; }

    Bytes all;
    int failures = 0;
};

using Family = void (*)(const Worker&, Results&);

/// A thread's number, which all that it does follows from, and what it shares with the others.
struct Worker {
    int number;
    uint32_t* match_table;
    Bytes picture; ///< kHeight rows of 24 bits

    /// The picture in storage that differs between workers.
    void make(TestBitmap& bitmap, Results& results) const
    {
        constexpr uint32_t kinds[] = {TYPE_CONV, TYPE_TILED, TYPE_DISK, TYPE_SUPERCOMPRESSED};
        results.must(bitmap.create(kinds[number % 4], kWidth, kHeight, 24, COLORORDER_BGR));
        results.must(V_AccessBitmap(bitmap));
        for (int32_t y = 0; y < kHeight; ++y)
            results.must(V_PutBitmapRow(bitmap, picture.data() + y * kWidth * 3, y, size_t{kWidth} * 3));
        results.must(V_ReleaseBitmap(bitmap));
    }
};

void convert(const Worker& worker, Results& results)
{
    for (const auto& [bits, flags] : {std::pair{48, COLORRES_ORDER_BGR},
                                      {8, COLORRES_PALETTE_OPTIMIZED},
                                      {8, COLORRES_PALETTE_CUBE},
                                      {32, COLORRES_ORDER_RGB},
                                      {3, COLORRES_NODITHER}}) {
        TestBitmap bitmap;
        worker.make(bitmap, results);
        results.must(V_ColorResBitmap(bitmap, nullptr, 0, bits, flags, nullptr, nullptr, 0));
        results.add(bitmap);
        TestBitmap gray;
        results.must(V_CreateGrayScaleBitmap(gray, bitmap, BITMAPHANDLE_SIZE, 12));
        results.add(gray);
    }
}

void dither(const Worker& worker, Results& results)
{
    TestBitmap bitmap;
    worker.make(bitmap, results);
    results.must(V_StartDitheringExt(bitmap, kPalette, kColors, 4, worker.match_table));
    Bytes row(bitmap->BytesPerLine);
    for (int32_t y = 0; y < kHeight; ++y) {
        std::memcpy(row.data(), worker.picture.data() + y * kWidth * 3, size_t{kWidth} * 3);
        results.must(V_DitherLine(bitmap, row.data(), row.data()));
        results.add(row.data(), (kWidth + 1) / 2);
    }
    results.must(V_StopDithering(bitmap));
    // With the thread's match table and default method.
    results.must(V_ColorResBitmap(bitmap, nullptr, 0, 4, 0, kPalette, nullptr, kColors));
    results.add(bitmap);
}

void resize(const Worker& worker, Results& results)
{
    for (const uint32_t flags : {SIZEFLAG_NORMAL, SIZEFLAG_RESAMPLE, SIZEFLAG_BICUBIC, SIZEFLAG_ALTRESAMPLE}) {
        TestBitmap bitmap;
        worker.make(bitmap, results);
        results.must(V_SizeBitmap(bitmap, 40, 57, flags));
        results.add(bitmap);
        void* state = nullptr;
        results.must(V_StartResizeBitmap(bitmap, 33, 20, 8, nullptr, COLORORDER_RGB, STREAMFLAG_BICUBIC, nullptr,
                                         nullptr, &state));
        std::array<uint8_t, 33> row{};
        for (int32_t y = 0; y < 20; ++y) {
            results.must(V_GetResizedRowCol(state, row.data(), y, 0, 33));
            results.add(row.data(), row.size());
        }
        results.must(V_StopResizeBitmap(state));
    }
}

void turn(const Worker& worker, Results& results)
{
    TestBitmap bitmap;
    worker.make(bitmap, results);
    for (const int32_t perspective : {TOP_LEFT, BOTTOM_LEFT, 6, 2}) {
        results.must(V_FlipBitmap(bitmap));
        results.must(V_ReverseBitmap(bitmap));
        results.must(V_RotateBitmap90(bitmap, 1));
        results.must(V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, perspective));
        results.add(bitmap);
    }
    for (const uint32_t flags : {ROTATEFLAG_GROW, ROTATEFLAG_RESAMPLE, ROTATEFLAG_BICUBIC | ROTATEFLAG_GROW}) {
        results.must(V_RotateBitmap(bitmap, 1234, flags, 0x102030));
        results.add(bitmap);
    }
}

void dib(const Worker& worker, Results& results)
{
    TestBitmap bitmap;
    worker.make(bitmap, results);
    uint32_t size = 0;
    void* const block = V_ConvertToDIB2(bitmap, DIB_V5HEADER, &size, 0);
    results.add(block, block ? size : 0);
    V_FreeMemory(block);
    const HGLOBAL packed = V_ChangeToDIB(bitmap, DIB_INFOHEADER);
    results.must(packed ? SUCCESS : FAILURE);
    const void* const data = GlobalLock(packed);
    const auto* const info = static_cast<const BITMAPINFO*>(data);
    TestBitmap copy;
    results.must(
        V_ConvertFromDIB(copy, BITMAPHANDLE_SIZE, info, static_cast<const uint8_t*>(data) + sizeof(BITMAPINFOHEADER)));
    GlobalUnlock(packed);
    results.add(copy);
    results.must(V_ChangeFromDIB(bitmap, BITMAPHANDLE_SIZE, packed));
    results.add(bitmap);
}

void list(const Worker& worker, Results& results)
{
    HBITMAPLIST first = nullptr;
    HBITMAPLIST second = nullptr;
    HBITMAPLIST third = nullptr;
    results.must(V_CreateBitmapList(&first));
    for (int i = 0; i < 4; ++i) {
        TestBitmap bitmap;
        worker.make(bitmap, results);
        results.must(i % 2 == 0 ? V_FlipBitmap(bitmap) : SUCCESS);
        results.must(V_InsertBitmapListItem(first, 0, bitmap));
        V_InitBitmap(bitmap, BITMAPHANDLE_SIZE, 0, 0, 0);
    }
    results.must(V_CopyBitmapListItems(&second, first, 1, 2));
    results.must(V_MoveBitmapListItems(&third, first, 0, 3));
    for (const HBITMAPLIST each : {first, second, third}) {
        uint32_t count = 0;
        results.must(V_GetBitmapListCount(each, &count));
        for (uint32_t i = 0; i < count; ++i) {
            BITMAPHANDLE item;
            results.must(V_GetBitmapListItem(each, i, &item, BITMAPHANDLE_SIZE));
            results.add(&item);
        }
        results.must(V_DestroyBitmapList(each));
    }
}

void storage(const Worker& worker, Results& results)
{
    TestBitmap bitmap;
    worker.make(bitmap, results);
    for (const uint32_t memory : {TYPE_DISK, TYPE_SUPERCOMPRESSED, TYPE_TILED, TYPE_CONV, TYPE_TILED, TYPE_DISK}) {
        results.must(V_SetBitmapMemoryInfo(bitmap, memory, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY));
        results.must(V_PutPixelColor(bitmap, 3, static_cast<int32_t>(memory % kWidth), 0x123456));
        results.add(bitmap);
    }
    results.must(V_ColorResBitmap(bitmap, nullptr, 0, 1, COLORRES_PALETTE_FIXED, nullptr, nullptr, 0));
    for (const int32_t compression : {1, 2, 0, 1}) {
        results.must(V_ChangeBitmapCompression(bitmap, compression));
        results.must(V_FlipBitmap(bitmap));
        results.add(bitmap);
    }
}

void huge(const Worker& worker, Results& results)
{
    HHUGEMEMORY block = nullptr;
    void* window = nullptr;
    const uint64_t size = worker.picture.size();
    results.must(V_AllocHugeMemory(&block, size, worker.number % 2 == 0 ? TYPE_DISK : TYPE_CONV));
    results.must(V_AccessHugeMemory(block, 0, size, &window));
    std::memcpy(window, worker.picture.data(), size);
    results.must(V_ZeroHugeMemory(block, 1000, 3000));
    results.must(V_AccessHugeMemory(block, 500, size - 500, &window));
    results.add(window, size - 500);
    results.must(V_FreeHugeMemory(block));
}

/// Files that are buffers of the thread's own, and a name that another thread's operations could not be mistaken for.
void redirect(const Worker& worker, Results& results)
{
    void* object = nullptr;
    void* buffer = nullptr;
    size_t size = 0;
    results.must(V_StartRedirectToBuffer(&object, nullptr, REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE, nullptr, 0));
    const V_REDIRECTHANDLE file = V_RedirectedOpenUTF8("any", V_OPENFLAG_CREATE, V_OPENMODE_READWRITE);
    results.must(V_RedirectedWriteBig(file, worker.picture.data(), worker.picture.size()));
    dither(worker, results); // whose temporary files do not go into the buffer
    results.must(V_RedirectedClose(file) + 1);
    results.must(V_StopRedirectToBuffer(object, &buffer, &size));
    results.add(buffer, size);
    const HGLOBAL block = GlobalHandle(buffer);
    GlobalUnlock(block);
    GlobalFree(block);

    MemoryFiles files;
    wchar_t name[V_REDIRECT_NAME_LENGTH];
    const REDIRECTFUNCTIONS table = files.table();
    results.must(V_GetUniqueRedirectFileName(name, V_REDIRECT_NAME_LENGTH));
    results.must(V_RegisterRedirectName(name, &table));
    const V_REDIRECTHANDLE named = V_RedirectedOpen(name, V_OPENFLAG_CREATE, V_OPENMODE_READWRITE);
    results.must(V_RedirectedWriteBig(named, worker.picture.data(), 100));
    results.must(V_UnregisterRedirectName(name));
    results.must(V_RedirectedClose(named) + 1);
    results.must(files.files.size() == 1 ? SUCCESS : FAILURE);
    for (const auto& entry : files.files)
        results.add(entry.second->data(), entry.second->size());
}

constexpr Family kFamilies[] = {convert, dither, resize, turn, dib, list, storage, huge, redirect};
constexpr size_t kCount = std::size(kFamilies);
using All = std::array<Results, kCount>;

struct Calls {
    std::thread::id thread = std::this_thread::get_id();
    int right = 0;
    int wrong = 0;
};

int count_call(int, void* data)
{
    auto& calls = *static_cast<Calls*>(data);
    ++(calls.thread == std::this_thread::get_id() ? calls.right : calls.wrong);
    return SUCCESS;
}

/// All families, once, beginning with one of them, on a thread with settings of its own.
All work(int number, size_t first, uint32_t* match_table)
{
    Worker worker{number, match_table, Bytes(size_t{kWidth} * 3 * kHeight)};
    TestRandom(static_cast<uint64_t>(number) + 1).fill(worker.picture.data(), worker.picture.size());
    Calls calls;
    V_SetStatusCallback(count_call, &calls, nullptr, nullptr);
    V_SetMemoryThresholds(0, -100, 1024 * (number + 1), 1, 2,
                          THRESHOLD_TILESIZE | THRESHOLD_CONVTILES | THRESHOLD_CONVBUFFERS);
    V_DefaultDithering(number % 8 + 1);
    V_SetDefaultMemoryType(number % 3 == 0 ? TYPE_DISK : TYPE_CONV);
    V_SetUserMatchTable(number % 2 == 0 ? match_table : nullptr);
    MemoryFiles files;
    if (number % 4 > 1) // the disk bitmaps of every other pair of workers are files of their own
        files.redirect();
    All all;
    for (size_t i = 0; i < kCount; ++i) {
        const size_t family = (first + i) % kCount;
        kFamilies[family](worker, all[family]);
    }
    all[0].failures += calls.wrong + (calls.right == 0) + (V_GetDefaultDithering() != number % 8 + 1);
    all[0].failures += static_cast<int>(files.open_files());
    return all;
}

/// Exchanges what holds for all threads, until told to stop: the disk threshold, and file operations that do the same.
void change_tables(const std::atomic<bool>& stop)
{
    constexpr int64_t thresholds[] = {0, 4096, -1, INT64_MAX};
    REDIRECTFUNCTIONS table = {};
    table.StructSize = sizeof table;
    for (size_t i = 0; i % 2 != 0 || !stop; ++i) { // every other time as it was
        const GLOBALMEMORYTHRESHOLDS value{sizeof(GLOBALMEMORYTHRESHOLDS), thresholds[i / 2 % 4]};
        V_SetGlobalMemoryThresholds(i % 2 != 0 ? nullptr : &value);
        table.Open = reinterpret_cast<V_REDIRECTOPEN>(V_REDIRECT_DEFAULT);
        table.Read = reinterpret_cast<V_REDIRECTREAD>(V_REDIRECT_DEFAULT);
        table.Write = reinterpret_cast<V_REDIRECTWRITE>(V_REDIRECT_DEFAULT);
        if (i % 2 == 0) {
            table.Open = [](const wchar_t* name, int flags, int mode, void*) {
                return V_OsOpen(name, flags, mode, nullptr);
            };
            table.Read = [](int64_t file, void* buffer, size_t count, void*) {
                return V_OsRead(file, buffer, count, nullptr);
            };
            table.Write = [](int64_t file, const void* buffer, size_t count, void*) {
                return V_OsWrite(file, buffer, count, nullptr);
            };
        }
        V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, 1);
        std::this_thread::yield();
    }
}

TEST(StressThreads, EveryFamilyAtOnceGivesWhatItGivesAlone)
{
    std::vector<uint32_t> alone_table(32768);
    std::array<All, kWorkers> alone;
    for (int number = 0; number < kWorkers; ++number) {
        std::thread([&] { alone[static_cast<size_t>(number)] = work(number, 0, alone_table.data()); }).join();
        for (size_t family = 0; family < kCount; ++family)
            ASSERT_EQ(0, alone[static_cast<size_t>(number)][family].failures) << number << ", family " << family;
    }
    std::atomic<bool> stop{false};
    std::thread changes(change_tables, std::cref(stop));
    for (size_t round = 0; round < kRounds; ++round) {
        std::vector<uint32_t> shared_table(32768); // filled in by all of them at once
        std::array<All, kWorkers> together;
        std::vector<std::thread> threads;
        for (int number = 0; number < kWorkers; ++number)
            threads.emplace_back([&, number] {
                const auto index = static_cast<size_t>(number);
                together[index] = work(number, (round * 4 + index) % kCount, shared_table.data());
            });
        for (std::thread& thread : threads)
            thread.join();
        for (size_t number = 0; number < kWorkers; ++number)
            for (size_t family = 0; family < kCount; ++family)
                EXPECT_TRUE(alone[number][family] == together[number][family])
                    << "worker " << number << ", family " << family << ", " << together[number][family].failures
                    << " failures";
    }
    stop = true;
    changes.join();
}

// Process-wide values may be read while another thread sets them.
TEST(StressThreads, ProcessWideThresholdIsReadWhole)
{
    constexpr int64_t kOnes = 0x1111111111111111;
    std::atomic<bool> stop{false};
    std::thread writer([&stop] {
        for (int64_t i = 0; !stop; ++i) {
            const GLOBALMEMORYTHRESHOLDS value{sizeof(GLOBALMEMORYTHRESHOLDS), (1 + i % 2) * kOnes};
            V_SetGlobalMemoryThresholds(&value);
        }
    });
    int torn = 0;
    GLOBALMEMORYTHRESHOLDS seen{};
    for (int i = 0; i < 20000; i += seen.DiskThreshold != 0) { // from the first one on
        V_GetGlobalMemoryThresholds(&seen, sizeof seen);
        torn += seen.DiskThreshold != 0 && seen.DiskThreshold != kOnes && seen.DiskThreshold != 2 * kOnes;
    }
    stop = true;
    writer.join();
    V_SetGlobalMemoryThresholds(nullptr);
    EXPECT_EQ(0, torn);
}

} // namespace
