// Operations on several threads: the same bits for every number of them, progress on the calling thread alone, and no
// standstill, whoever asks for workers.
#include "kernel/sampling/Walk.h"
#include "kernel/system/ThreadState.h"
#include "kernel/threading/Relay.h"
#include "tests/support/TestBitmap.h"
#include "tests/threading/ThreadingSupport.h"

namespace vk {
namespace {

using testing::on_threads;

/// Wide enough for two threads to diffuse errors, and for three.
struct Size {
    int32_t width, height;
};
constexpr Size kSmall{601, 25};
constexpr Size kWide{1301, 67};

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
    explicit Picture(int32_t bits, uint32_t memory = TYPE_CONV, Size size = kSmall)
    {
        testing::TestRandom random(static_cast<uint64_t>(bits));
        EXPECT_EQ(V_SUCCESS,
                  create(memory, size.width, size.height, bits, bits == 16 ? COLORORDER_GRAY : COLORORDER_BGR));
        paint(random);
    }
};

int change(BITMAPHANDLE& bitmap, int32_t bits, uint32_t flags, uint32_t colors = 0)
{
    return V_ColorResBitmap(&bitmap, &bitmap, sizeof bitmap, bits, flags, nullptr, nullptr, colors);
}
template <int32_t kBits, uint32_t kFlags, uint32_t kColors = 0> int change(BITMAPHANDLE& bitmap)
{
    return change(bitmap, kBits, kFlags, kColors);
}
template <int32_t kMethod, int32_t kBits, uint32_t kFlags = 0, uint32_t kColors = 0> int dither(BITMAPHANDLE& bitmap)
{
    bitmap.DitheringMethod = kMethod;
    return change(bitmap, kBits, kFlags, kColors);
}
/// Inside of a region alone.
int dither_part(BITMAPHANDLE& bitmap)
{
    const RECT part{100, 5, 500, 20};
    EXPECT_EQ(V_SUCCESS, V_SetBitmapRegionRect(&bitmap, &part, REGION_SET));
    return dither<DITHER_STUCKI, 4>(bitmap);
}
int shrink(BITMAPHANDLE& bitmap)
{
    return V_ResampleBitmap(&bitmap, bitmap.Width / 3, bitmap.Height / 3);
}
int enlarge(BITMAPHANDLE& bitmap)
{
    return V_BicubicResampleBitmap(&bitmap, bitmap.Width * 2, bitmap.Height * 2);
}
template <uint32_t kFlags> int rotate(BITMAPHANDLE& bitmap)
{
    return V_RotateBitmap(&bitmap, 3700, ROTATEFLAG_GROW | kFlags, 0x00123456);
}
template <uint32_t kFlags> int warp(BITMAPHANDLE& bitmap)
{
    const V_MATRIX matrix{{{0.8, 0.1, 0.0001}, {-0.1, 0.7, 0}, {20, 40, 1}}};
    return V_WarpBitmap(&bitmap, &matrix, 900, 300, kFlags, 0x00563412);
}
int bend(BITMAPHANDLE& bitmap)
{
    const V_POINTD points[] = {{0, 0}, {700, 20}, {1300, 5}, {10, 60}, {600, 66}, {1290, 50}};
    return V_WarpBitmapGrid(&bitmap, points, 3, 2, 700, 200, WARP_CUBIC, 0);
}
template <uint32_t kFlags> int shear(BITMAPHANDLE& bitmap)
{
    return V_ShearBitmap(&bitmap, 1700, kFlags, 0);
}
/// Into tiles that are there, from the last row up.
int pour(BITMAPHANDLE& bitmap)
{
    BITMAPHANDLE made{};
    EXPECT_EQ(V_SUCCESS, V_CreateBitmap(&made, sizeof made, TYPE_TILED, 500, 90, bitmap.BitsPerPixel, bitmap.Order,
                                        nullptr, BOTTOM_LEFT, nullptr, 0));
    const int result = V_IntBicubicResampleBitmap(&bitmap, &made);
    V_FreeBitmap(&bitmap);
    bitmap = made;
    return result;
}
/// From memory to storage that is none.
template <int (*kRun)(BITMAPHANDLE&)> int to_disk(BITMAPHANDLE& bitmap)
{
    V_SetDefaultMemoryType(TYPE_DISK);
    const int result = kRun(bitmap);
    V_SetDefaultMemoryType(TYPE_CONV);
    return result;
}

constexpr uint32_t kNearest = COLORRES_NODITHER;
constexpr uint32_t kMade = COLORRES_PALETTE_OPTIMIZED;

struct Case {
    const char* name;
    int (*run)(BITMAPHANDLE& bitmap);
    std::vector<int32_t> bits;
    std::vector<uint32_t> memory = {TYPE_CONV};
};
/// What the calling thread does alone: it copies rows, which takes as long as memory does.
bool is_alone(const Case& entry)
{
    return entry.run == shear<0>;
}
#if defined(VKKRNX_TEST_SANITIZED)
const std::vector<uint32_t> kMemories = {TYPE_CONV, TYPE_TILED};
#else
const std::vector<uint32_t> kMemories = {TYPE_CONV, TYPE_DISK, TYPE_TILED, TYPE_SUPERCOMPRESSED};
#endif

const Case kCases[] = {
    {"match", change<8, kNearest>, {16, 24, 32, 48}, kMemories},
    {"match few", change<4, kNearest>, {24}},
    {"optimize", change<8, kMade | kNearest, 256>, {24, 48}, kMemories},
    {"optimize few", change<4, kMade | kNearest, 9>, {24}},
    {"optimize and dither", dither<DITHER_FLOYD_STEINBERG, 8, kMade, 100>, {24}},
    {"gray", change<0, 0>, {24}, kMemories},
    {"widen", change<32, COLORRES_ORDER_RGB>, {24}, kMemories},
    {"none", dither<DITHER_NONE, 4>, {24}},
    {"floyd-steinberg", dither<DITHER_FLOYD_STEINBERG, 4>, {8, 24}, kMemories},
    {"floyd-steinberg to 8", dither<DITHER_FLOYD_STEINBERG, 8>, {24}},
    {"floyd-steinberg to 1", dither<DITHER_FLOYD_STEINBERG, 1>, {16, 24}, kMemories},
    {"stucki", dither<DITHER_STUCKI, 4>, {24}},
    {"stucki of grays", dither<DITHER_STUCKI, 1>, {16}},
    {"burkes", dither<DITHER_BURKES, 3>, {24}},
    {"sierra", dither<DITHER_SIERRA, 2>, {24}},
    {"stevenson-arce", dither<DITHER_STEVENSON_ARCE, 8, COLORRES_PALETTE_CUBE>, {24}, kMemories},
    {"jarvis", dither<DITHER_JARVIS, 6>, {24, 48}},
    {"ordered", dither<DITHER_ORDERED, 8>, {24, 32}, kMemories},
    {"ordered to 1", dither<DITHER_ORDERED, 1>, {16}},
    {"clustered, made palette", dither<DITHER_CLUSTERED, 8, kMade, 200>, {24}},
    {"dither part", dither_part, {24}},
    {"shrink", shrink, {8, 24, 32}, kMemories},
    {"enlarge", enlarge, {16, 24, 32, 48}, {TYPE_CONV, TYPE_TILED}},
    {"pour", pour, {16, 24}, {TYPE_CONV, TYPE_DISK}},
    {"rotate", rotate<0>, {1, 8, 24}, kMemories},
    {"rotate, linear", rotate<ROTATEFLAG_RESAMPLE>, {1, 8, 24}, kMemories},
    {"rotate, linear, to disk", to_disk<rotate<ROTATEFLAG_RESAMPLE>>, {8, 24}},
    {"rotate, cubic", rotate<ROTATEFLAG_BICUBIC>, {8, 24, 32}},
    {"warp", warp<WARP_NEAREST>, {1, 24}, {TYPE_CONV, TYPE_TILED}},
    {"warp, linear", warp<WARP_LINEAR>, {8, 24}, kMemories},
    {"warp, cubic means", warp<WARP_CUBIC | WARP_AREA>, {32}, {TYPE_CONV, TYPE_DISK}},
    {"bend", bend, {24}, {TYPE_CONV, TYPE_TILED}},
    {"bend, to disk", to_disk<bend>, {24}, {TYPE_CONV, TYPE_SUPERCOMPRESSED}},
    {"shear", shear<0>, {24}},
    {"shear, linear", shear<SHEAR_LINEAR>, {8, 24}},
};

/// Workers that the pool invites too late go a moment after the operation.
class WorkersThread : public testing::LeavesNothing {};

/// The same where one thread at a time will do: too much for a tool that watches threads.
class WorkersOf : public WorkersThread {};

/// Has little of a source that is no memory held at a time, so that small pictures are moved in many boxes.
class HeldLittle {
public:
    HeldLittle() { sampling::limit_held(60000); }
    ~HeldLittle() { sampling::limit_held(0); }
    HeldLittle(const HeldLittle&) = delete;
    HeldLittle& operator=(const HeldLittle&) = delete;
};

/// Every operation on every storage; workers have a part in each for certain.
TEST_F(WorkersOf, OperationsDoNotChangeTheBits)
{
    for (const Case& entry : kCases)
        for (const int32_t bits : entry.bits)
            for (const uint32_t memory : entry.memory) {
                if (memory == TYPE_SUPERCOMPRESSED && bits != 8 && bits != 24)
                    continue;
                SCOPED_TRACE(testing::say(entry.name, bits, memory));
                Picture alone(bits, memory, kWide);
                ASSERT_EQ(V_SUCCESS, entry.run(*alone));
                const testing::Bytes expected = alone.pixels();
                const auto run = [&](int32_t count) {
                    const Workers workers(count);
                    Picture together(bits, memory, kWide);
                    ASSERT_EQ(V_SUCCESS, entry.run(*together));
                    EXPECT_TRUE(expected == together.pixels()) << count;
                };
                run(10000);
                const HeldLittle limit;
                run(3);
                if (!is_alone(entry)) {
                    const uint64_t before = bands_of_workers();
                    EXPECT_TRUE(testing::comes_true([&] { return run(2), bands_of_workers() != before; }));
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

/// Passes of one operation after each other, steps of pixels, and rows that are moved.
TEST_F(WorkersThread, LeaveProgressToTheCallingThread)
{
    const Workers workers(3);
    for (const auto run : {shrink, change<8, kMade | kNearest, 256>, dither<DITHER_FLOYD_STEINBERG, 4>, rotate<0>,
                           rotate<ROTATEFLAG_RESAMPLE>})
        for (const uint32_t memory : {TYPE_CONV, TYPE_DISK})
            for (const int refuse_at : {101, 40, 0}) {
                SCOPED_TRACE(refuse_at);
                Told told;
                told.refuse_at = refuse_at;
                Picture picture(24, memory);
                const testing::Bytes before = picture.pixels();
                V_SetStatusCallback(&Told::note, &told, nullptr, nullptr);
                const int result = run(*picture);
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

/// What a worker that certainly takes part sees of the caller's settings: all but the callback, and one worker. What it
/// does may report progress by itself, which nobody hears.
TEST_F(WorkersThread, HaveTheSettingsOfTheCallerButTheCallback)
{
    const Workers workers(2);
    uint32_t table[32768] = {};
    ASSERT_EQ(V_SUCCESS, V_DefaultDithering(DITHER_STUCKI));
    V_SetUserMatchTable(table);
    Told told;
    V_SetStatusCallback(&Told::note, &told, nullptr, nullptr);
    testing::MeetingPoint both(2);
    std::atomic<int> right{0};
    Progress progress(2);
    auto work = [&](Bands& bands) noexcept {
        Band band{};
        const bool has_band = bands.take(band) && both.meet();
        const ThreadState& state = thread_state();
        const bool is_set = state.default_dithering == DITHER_STUCKI && state.user_match_table == table;
        const bool is_heard = state.status_callback != nullptr;
        const bool is_told = bands.is_caller() ? is_heard && state.workers == 2 : !is_heard && state.workers == 1;
        right += has_band && is_set && is_told;
        if (!bands.is_caller())
            right += Progress(1).begin() == V_SUCCESS;
        bands.done(band, V_SUCCESS);
        return V_SUCCESS;
    };
    EXPECT_EQ(V_SUCCESS, run_bands(plan_bands(2, 1, 2), progress, work));
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
    V_SetUserMatchTable(nullptr);
    V_DefaultDithering(DITHER_FLOYD_STEINBERG);
    EXPECT_EQ(3, right);
    EXPECT_FALSE(told.is_elsewhere);
}

/// Eight threads with two workers each over everything, each beginning with another case.
TEST_F(WorkersThread, WorkForManyThreadsAtOnce)
{
    constexpr size_t kEvery = 3; // threads share the cases out three ways
    std::vector<testing::Bytes> expected;
    for (const Case& entry : kCases) {
        Picture alone(entry.bits.back());
        ASSERT_EQ(V_SUCCESS, entry.run(*alone));
        expected.push_back(alone.pixels());
    }
    std::atomic<int> wrong{0};
    on_threads(8, [&](int number) {
        const Workers workers(2);
        for (size_t i = static_cast<size_t>(number) % kEvery; i < std::size(kCases); i += kEvery) {
            Picture picture(kCases[i].bits.back(), number % 4 == 0 ? TYPE_DISK : TYPE_CONV);
            wrong += kCases[i].run(*picture) != V_SUCCESS || picture.pixels() != expected[i];
        }
    });
    EXPECT_EQ(0, wrong);
}

/// Several items at once, each with workers: also rows that wait for each other, and for the thread that moves them.
TEST_F(WorkersThread, WorkInsideItemsOfABatch)
{
    struct Item {
        int (*run)(BITMAPHANDLE& bitmap);
        uint32_t memory;
        testing::Bytes expected = {};
        std::atomic<int> right{0};
    };
    Item all[] = {{shrink, TYPE_CONV},
                  {shrink, TYPE_DISK},
                  {rotate<ROTATEFLAG_RESAMPLE>, TYPE_TILED},
                  {dither<DITHER_FLOYD_STEINBERG, 8>, TYPE_CONV},
                  {dither<DITHER_FLOYD_STEINBERG, 4>, TYPE_DISK},
                  {dither<DITHER_STUCKI, 4>, TYPE_TILED}};
    for (Item& item : all) {
        Picture alone(24, item.memory, kWide);
        ASSERT_EQ(V_SUCCESS, item.run(*alone));
        item.expected = alone.pixels();
    }
    const auto work = [](VKWorkItems*, void* user) {
        auto& item = *static_cast<Item*>(user);
        const Workers workers(4);
        Picture picture(24, item.memory, kWide);
        item.right += item.run(*picture) == V_SUCCESS && picture.pixels() == item.expected;
        return V_SUCCESS;
    };
    constexpr int kTimes = 4;
    VKWorkItems items;
    ASSERT_EQ(1, items.Create(kTimes * static_cast<uint32_t>(std::size(all)), 0, 0));
    for (int i = 0; i < kTimes; ++i)
        for (Item& item : all)
            ASSERT_EQ(1, items.QueueItem(work, &item));
    items.Wait();
    for (const Item& item : all)
        EXPECT_EQ(kTimes, item.right) << &item - all;
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
        EXPECT_EQ(bad < 0 ? V_SUCCESS : V_ERROR_NO_MEMORY, run_bands(plan_bands(200, 8, 4), progress, work));
        for (const auto& count : rows)
            EXPECT_TRUE(count == 1 || (bad >= 0 && count == 0));
    }
}

/// Pieces that note how they are moved, and fail where they are told to.
struct Noted final : Freight {
    int64_t bad_bring = -1, bad_carry = -1;
    int64_t brought = 0, carried = 0;
    bool is_right = true;
    std::thread::id thread = std::this_thread::get_id();

    void note(int64_t piece, int64_t& count)
    {
        is_right &= thread == std::this_thread::get_id() && piece == count;
        ++count;
    }
    int bring(int64_t piece) noexcept override
    {
        note(piece, brought);
        return piece == bad_bring ? V_ERROR_FILE_READ : V_SUCCESS;
    }
    int carry(int64_t piece) noexcept override
    {
        note(piece, carried);
        return piece == bad_carry ? V_ERROR_FILE_WRITE : V_SUCCESS;
    }
    bool has_room(int64_t gone) const noexcept override { return brought - gone < 3; }
    int64_t steps(int64_t) const noexcept override { return 2; }
};

/// The calling thread alone moves them, in order, and nobody waits for one that does not come.
TEST_F(WorkersThread, HavePiecesMovedInOrder)
{
    constexpr int64_t kPieces = 150;
    const struct {
        int64_t bad_bring, bad_work, bad_carry;
        int result;
    } rows[] = {{-1, -1, -1, V_SUCCESS},          {0, -1, -1, V_ERROR_FILE_READ}, {70, -1, -1, V_ERROR_FILE_READ},
                {-1, 70, -1, V_ERROR_NO_MEMORY},  {-1, 0, -1, V_ERROR_NO_MEMORY}, {-1, -1, 0, V_ERROR_FILE_WRITE},
                {-1, -1, 149, V_ERROR_FILE_WRITE}};
    for (const auto& row : rows)
        for (const uint32_t threads : {1u, 2u, 4u, 200u}) {
            SCOPED_TRACE(testing::say(row.bad_bring, row.bad_work, row.bad_carry, threads));
            Noted freight;
            freight.bad_bring = row.bad_bring;
            freight.bad_carry = row.bad_carry;
            Relay relay(freight);
            relay.plan(kPieces, threads);
            Progress progress(2 * kPieces);
            std::vector<std::atomic<int>> done(kPieces);
            auto work = [&](Bands& bands) noexcept {
                for (int64_t piece = 0; relay.take(bands, piece);) {
                    ++done[static_cast<size_t>(piece)];
                    relay.done(bands, piece, piece == row.bad_work ? V_ERROR_NO_MEMORY : V_SUCCESS);
                }
                return V_SUCCESS;
            };
            EXPECT_EQ(row.result, run_bands(relay.bands(), progress, work));
            EXPECT_TRUE(freight.is_right);
            EXPECT_EQ(row.result == V_SUCCESS, freight.carried == kPieces && row.bad_carry < 0);
            EXPECT_TRUE(std::is_sorted(done.rbegin(), done.rend())) << "one is left out";
            EXPECT_GE(1, done.front());
            EXPECT_TRUE(row.result != V_SUCCESS || done.back() == 1);
        }
}

} // namespace
} // namespace vk
