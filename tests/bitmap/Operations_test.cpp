// What holds for every operation on whole bitmaps: progress, stopping, failing calls, locks of earlier records, region
// hooks.
#include "tests/bitmap/Operations.h"
#include "tests/support/FaultLoop.h"

#include "Vkkrnx.h"

using namespace vk::testing;

TEST(Operations, ReportProgress)
{
    for_each_case(kEachWay, [](const Operation& operation, Kind kind) {
        const auto bitmap = make_bitmap(operation, kind);
        const Watch watch;
        Bytes made;
        EXPECT_EQ(SUCCESS, operation.run(*bitmap, made));
        const auto& percents = watch.told;
        const bool is_move =
            &operation >= moves().data() && &operation < moves().data() + moves().size(); // it may be there
        EXPECT_TRUE(is_move || operation.is_silent == percents.empty());
        if (percents.empty())
            return;
        EXPECT_EQ(0, percents.front());
        EXPECT_EQ(100, percents.back());
        EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end(), std::less_equal<>()))
            << ::testing::PrintToString(percents);
    });
}

namespace {

/// A bitmap before an operation, and what must be left of it after one that failed.
struct Before {
    std::unique_ptr<TestBitmap> bitmap;
    Bytes image, pixels;

    Before(const Operation& operation, Kind kind) : bitmap(make_bitmap(operation, kind))
    {
        image = bitmap->image();
        pixels = read_accessed(*bitmap);
    }
    bool is_unchanged() const { return image == bitmap->image() && pixels == read_accessed(*bitmap); }
};

} // namespace

TEST(Operations, StopWhenToldToAndChangeNothing)
{
    for_each_case({Kind::conv, Kind::disk, Kind::compressed}, [](const Operation& operation, Kind kind) {
        for (size_t calls = 0, most = SIZE_MAX; calls < most; calls = calls * 3 + 1) {
            const Before before(operation, kind);
            Watch watch(101, calls);
            Bytes made;
            const int result = operation.run(*before.bitmap, made);
            if (watch.told.size() <= calls)
                return;
            EXPECT_TRUE(result == Watch::kRefused || result == FAILURE) << result;
            EXPECT_TRUE(before.is_unchanged()) << "after " << calls << " reports";
        }
    });
}

TEST(Operations, FailingCallsChangeNothing)
{
    for_each_case({Kind::conv, Kind::disk, Kind::compressed, Kind::super}, [](const Operation& operation, Kind kind) {
        const Outcome wanted = run(operation, *make_bitmap(operation, kind));
        for_each_fault_in(
            [&](FaultRound& round) {
                const Before before(operation, kind);
                Outcome outcome;
                round([&] { return outcome = run(operation, *before.bitmap), 0; });
                const bool is_done = outcome.result == wanted.result;
                EXPECT_TRUE(is_done ? outcome == wanted : round.fired && outcome.result <= 0) << outcome.result;
                // What was moved within a file cannot be put back when the file takes nothing any more,
                // and a change of perspective in two steps may end between them.
                const bool is_stuck =
                    operation.is_silent || (operation.does == Does::keeps && kind == Kind::disk && round.persistent);
                EXPECT_TRUE(is_done || is_stuck || before.is_unchanged()) << outcome.result;
            },
            FaultLoop::sparse);
    });
}

TEST(Operations, EarlierRecordsKeepTheirLock)
{
    const auto table = operations();
    std::vector<Operation> all(table.begin(), table.end());
    all.push_back({"reading a colour", 24, Does::copies,
                   [](B b, Bytes&) { return V_GetPixelColor(b, 3, 4) <= 0xFFFFFF ? SUCCESS : FAILURE; }});
    all.push_back({"writing a colour", 24, Does::keeps, [](B b, Bytes&) { return V_PutPixelColor(b, 3, 4, 5); }});
    all.push_back({"streaming resize", 24, Does::copies, [](B b, Bytes& made) {
                       void* state = nullptr;
                       made.resize(60);
                       EXPECT_EQ(SUCCESS, V_StartResizeBitmap(b, 20, 20, 24, nullptr, COLORORDER_BGR, 0, nullptr,
                                                              nullptr, &state));
                       EXPECT_EQ(SUCCESS, V_GetResizedRowCol(state, made.data(), 3, 0, 20));
                       return V_StopResizeBitmap(state);
                   }});
    for (const Operation& operation : all)
        for (const bool locked : {false, true}) {
            SCOPED_TRACE(std::string(operation.name) + (locked ? ", locked" : ""));
            if (std::string(operation.name) == "copies in a list") // which takes current records first
                continue;
            const auto bitmap = make_bitmap(operation, Kind::global, BITMAPHANDLE_SIZE_EARLIER);
            void* const block = (*bitmap)->Handle;
            if (locked) {
                ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap->get()));
            }
            Bytes made;
            EXPECT_EQ(SUCCESS, operation.run(bitmap->get(), made));
            if (operation.does == Does::replaces)
                continue;
            EXPECT_EQ(block, +(*bitmap)->Handle);
            EXPECT_EQ(locked, V_BitmapIsLocked(bitmap->get()) != 0);
            EXPECT_EQ(locked, (*bitmap)->Data != nullptr);
            EXPECT_EQ(locked ? 1u : 0u, GlobalFlags(block) & GMEM_LOCKCOUNT);
        }
}

TEST(Operations, HooksAreForBitmapsWithARegion)
{
    int calls = 0;
    REGIONHOOKS hooks{};
    hooks.StructSize = sizeof hooks;
    hooks.UserData = &calls;
    hooks.FlipRegion = hooks.ReverseRegion =
        hooks.FreeRegion = [](B, void* count) { return ++*static_cast<int*>(count), SUCCESS; };
    hooks.ScaleRegion = [](B, int32_t, int32_t, void* count) { return ++*static_cast<int*>(count), SUCCESS; };
    ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    for_each_case({Kind::conv, Kind::disk, Kind::compressed}, [&](const Operation& operation, Kind kind) {
        const auto bitmap = make_bitmap(operation, kind);
        Bytes made;
        EXPECT_EQ(SUCCESS, operation.run(bitmap->get(), made));
        EXPECT_EQ(0, calls);
    });
    V_SetRegionHooks(nullptr);
}
