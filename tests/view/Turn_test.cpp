// Flips, mirrors and turns of whole bitmaps: every kind of storage and depth, progress, failures, overlays, regions.
#include "kernel/bitmap/Overlay.h"
#include "kernel/storage/Store.h"
#include "kernel/view/Relayout.h"
#include "tests/support/Environment.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestTurn.h"

#include "Vkview.h"

#include <memory>

using namespace vk::testing;

namespace {

/// A public operation on stored data in perspective 1, and what it makes of a picture.
struct Operation {
    const char* name;
    int (*run)(BITMAPHANDLE*);
    Picture (*make)(const Picture&);
    bool quarter;
};

int half_turn(BITMAPHANDLE* bitmap)
{
    vk::Progress progress(bitmap->Height);
    const int result = progress.begin();
    return result == SUCCESS ? vk::change_layout(*bitmap, {{vk::kHalfTurned, bitmap->ViewPerspective}}, progress)
                             : result;
}

const Operation kOperations[] = {
    {"flip", V_FlipBitmap, [](const Picture& p) { return p.flipped(); }, false},
    {"reverse", V_ReverseBitmap, [](const Picture& p) { return p.mirrored(); }, false},
    {"half turn", half_turn, [](const Picture& p) { return p.turned_by(180); }, false},
    {"clockwise", [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 1); }, [](const Picture& p) { return p.turned(); },
     true},
    {"back", [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 0); }, [](const Picture& p) { return p.turned_by(270); },
     true},
};

struct Report {
    std::vector<int> percents;
    int refuse_at = 1000;
};

int report(int percent, void* user_data)
{
    auto& to = *static_cast<Report*>(user_data);
    to.percents.push_back(percent);
    return percent >= to.refuse_at ? ERROR_USER_ABORT : SUCCESS;
}

/// A status callback for the length of a scope.
class Listening {
public:
    explicit Listening(Report& to) { V_SetStatusCallback(report, &to, nullptr, nullptr); }
    ~Listening() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;
};

const vk::Store* store_kind(const BITMAPHANDLE* bitmap)
{
    return vk::store_of(bitmap->Flags);
}

} // namespace

TEST(Turn, EveryDepthAndStorage)
{
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {37, 9}, {70, 3}, {5, 66}, {64, 64}};
    for (const Operation& operation : kOperations)
        for (const Kind kind : kKinds)
            for (const int32_t bits : kDepths)
                for (const auto& [width, height] : sizes) {
                    const bool tiled = kind >= Kind::tiled_file && kind <= Kind::tiled_mixed;
                    if (!can_make(kind, bits) || (tiled && height > 9))
                        continue;
                    SCOPED_TRACE(std::string(operation.name) + " of " + name_of(kind) + ", " + std::to_string(bits) +
                                 " bits, " + std::to_string(width) + " x " + std::to_string(height));
                    TestBitmap bitmap(width == 37 ? BITMAPHANDLE_SIZE_EARLIER : BITMAPHANDLE_SIZE);
                    const Picture picture = Picture::noise(width, height, bits, static_cast<uint64_t>(bits));
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, bits));
                    bitmap->XResolution = 100;
                    bitmap->YResolution = 200;
                    const vk::Store* const store = store_kind(bitmap);
                    ASSERT_EQ(SUCCESS, operation.run(bitmap));
                    ASSERT_EQ(operation.make(picture), read(bitmap));
                    EXPECT_EQ(operation.quarter ? 200 : 100, +bitmap->XResolution);
                    EXPECT_EQ(operation.quarter ? 100 : 200, +bitmap->YResolution);
                    EXPECT_EQ(TOP_LEFT, +bitmap->ViewPerspective);
                    const bool may_move = kind >= Kind::tiled_file; // tiles that fit one are memory
                    EXPECT_TRUE(may_move || store == store_kind(bitmap));
                    if (kind == Kind::compressed) {
                        EXPECT_TRUE(V_BitmapIsCompressed(bitmap));
                        EXPECT_LE(+bitmap->Size, uint64_t{1} << 20) << "recounted";
                    }
                }
}

TEST(Turn, ShownPictureInEveryPerspective)
{
    const Picture picture = Picture::noise(23, 7, 24, 3);
    for (const Operation& operation : kOperations)
        for (int32_t perspective = 1; perspective <= 8; ++perspective) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, 24, perspective));
            ASSERT_EQ(SUCCESS, operation.run(bitmap));
            EXPECT_EQ(perspective, +bitmap->ViewPerspective);
            EXPECT_EQ(operation.make(picture.shown(perspective)), read(bitmap).shown(perspective))
                << operation.name << " in perspective " << perspective;
        }
}

TEST(Turn, InPlaceInMemory)
{
    for (const Kind kind : {Kind::conv, Kind::global, Kind::user})
        for (const Operation& operation : kOperations) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 30, 31, 24));
            const std::vector<uint8_t> before = bitmap.image();
            ASSERT_EQ(SUCCESS, operation.run(bitmap));
            EXPECT_EQ(!operation.quarter, before == bitmap.image()) << operation.name << ' ' << name_of(kind);
        }
}

TEST(Turn, LongRowsInPieces)
{
    for (const Operation& operation : kOperations)
        for (const int32_t bits : {1, 8, 12, 24, 48, 64})
            for (const int32_t width : {512, 683, 1366, 4097}) {
                TestBitmap bitmap;
                const Picture picture = Picture::noise(width, 5, bits, static_cast<uint64_t>(width));
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, bits));
                ASSERT_EQ(SUCCESS, operation.run(bitmap));
                ASSERT_EQ(operation.make(picture), read(bitmap))
                    << operation.name << ", " << bits << " bits, " << width << " wide";
            }
}

TEST(Turn, LongRunsAndManyBandsStayCompressed)
{
    constexpr int32_t kRows = 32768 + 5; // a second band
    for (const Operation& operation : kOperations) {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_COMPRESSED, 40, kRows, 1));
        Picture picture = Picture::blank(40, kRows);
        for (const int32_t row : {0, 3, 32767, 32768, kRows - 1})
            for (int32_t x = row % 5; x < 40; x += 1 + row % 3)
                picture.at(x, row) = 1;
        ASSERT_NO_FATAL_FAILURE(paint(bitmap, picture));
        ASSERT_EQ(SUCCESS, operation.run(bitmap));
        EXPECT_TRUE(V_BitmapIsCompressed(bitmap));
        EXPECT_EQ(operation.make(picture), read(bitmap)) << operation.name;
        const uint64_t size = bitmap->Size;
        TestBitmap other;
        ASSERT_EQ(SUCCESS, other.create(TYPE_COMPRESSED, bitmap->Width, bitmap->Height, 1));
        paint(other, operation.make(picture));
        EXPECT_EQ(+other->Size, size) << operation.name;
    }
    TestBitmap wide; // runs that are spliced
    ASSERT_EQ(SUCCESS, wide.create(TYPE_COMPRESSED, 200003, 2, 1));
    Picture picture = Picture::blank(200003, 2);
    for (int32_t x = 70001; x < 180000; ++x)
        picture.at(x, 1) = 1;
    ASSERT_NO_FATAL_FAILURE(paint(wide, picture));
    ASSERT_EQ(SUCCESS, V_ReverseBitmap(wide));
    EXPECT_TRUE(picture.mirrored() == read(wide));
}

TEST(Turn, ProgressAndRefusal)
{
    for (const Kind kind : {Kind::conv, Kind::tiled_mixed, Kind::disk, Kind::compressed})
        for (const Operation& operation : kOperations)
            for (const int refuse_at : {1000, 0, 50, 100}) {
                SCOPED_TRACE(std::string(operation.name) + " of " + name_of(kind) + " refused at " +
                             std::to_string(refuse_at));
                const int32_t height = kind == Kind::conv ? 1205 : 601; // more than one block of pixels
                TestBitmap bitmap;
                const Picture picture = Picture::noise(70, height, 1, 5);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, 1));
                const std::vector<uint8_t> record = bitmap.image();
                Report reports{{}, refuse_at};
                int result = 0;
                {
                    const Listening listening(reports);
                    result = operation.run(bitmap);
                }
                if (refuse_at > 100) {
                    EXPECT_EQ(SUCCESS, result);
                    ASSERT_LE(3u, reports.percents.size());
                    EXPECT_EQ(0, reports.percents.front());
                    EXPECT_EQ(100, reports.percents.back());
                    EXPECT_TRUE(std::is_sorted(reports.percents.begin(), reports.percents.end(), std::less_equal<>()));
                } else {
                    EXPECT_EQ(ERROR_USER_ABORT, result);
                    EXPECT_EQ(record, bitmap.image());
                    EXPECT_EQ(picture, read(bitmap));
                }
            }
}

namespace {

/// Whether each row is that of one of two pictures.
bool mixes(const Picture& found, const Picture& a, const Picture& b)
{
    const auto line = static_cast<ptrdiff_t>(found.width);
    for (auto at = found.pixels.begin(); at != found.pixels.end(); at += line) {
        const auto offset = at - found.pixels.begin();
        if (!std::equal(at, at + line, a.pixels.begin() + offset) &&
            !std::equal(at, at + line, b.pixels.begin() + offset))
            return false;
    }
    return a.width == found.width;
}

} // namespace

TEST(Turn, FaultsLeaveTheBitmapAsItWas)
{
    const Picture picture = Picture::noise(77, 9, 1, 9);
    for (const Operation& operation : kOperations)
        for (const Kind kind : {Kind::conv, Kind::user, Kind::disk, Kind::tiled_mixed, Kind::compressed}) {
            SCOPED_TRACE(std::string(operation.name) + " of " + name_of(kind));
            int result = 0;
            std::vector<uint8_t> before;
            std::unique_ptr<TestBitmap> bitmap;
            uint64_t failed = 0;
            for (const bool persistent : {false, true})
                for (uint64_t call = 1;; ++call) {
                    const vk::fault::Live live = vk::fault::live();
                    bitmap = std::make_unique<TestBitmap>();
                    ASSERT_NO_FATAL_FAILURE(make_stored(*bitmap, kind, picture, 1));
                    TestBitmap overlay;
                    ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::disk, picture, 1));
                    vk::OverlayTable* const table = vk::require_overlays(**bitmap);
                    ASSERT_NE(nullptr, table);
                    ASSERT_EQ(SUCCESS, V_CopyBitmap(&table->bitmaps[3], overlay, BITMAPHANDLE_SIZE));
                    before = bitmap->image();
                    vk::fault::arm(call, persistent);
                    result = operation.run(*bitmap);
                    const bool fired = vk::fault::fired();
                    vk::fault::disarm();
                    auto* const now = static_cast<vk::OverlayTable*>((*bitmap)->Overlays);
                    const bool done = result == SUCCESS;
                    EXPECT_TRUE(done || before == bitmap->image()) << "call " << call;
                    EXPECT_TRUE(done || (fired && result < 0)) << "call " << call << " result " << result;
                    const Picture wanted = done ? operation.make(picture) : picture;
                    // A file that takes no writes any more cannot be put back.
                    const bool is_stuck = persistent && !done && (kind == Kind::disk || kind == Kind::tiled_mixed);
                    const Picture found = read(*bitmap);
                    EXPECT_TRUE(found == wanted || (is_stuck && mixes(found, picture, operation.make(picture))))
                        << "call " << call << (persistent ? " and all behind" : "");
                    EXPECT_EQ(wanted, read(&now->bitmaps[3])) << "overlay, call " << call;
                    bitmap.reset();
                    V_FreeBitmap(overlay);
                    expect_same_live(live, vk::fault::live());
                    failed += !done;
                    if (!fired || ::testing::Test::HasFailure())
                        break;
                }
            EXPECT_LT(2u, failed);
        }
}

namespace {

struct Hooks {
    int flips = 0;
    int reverses = 0;
    int result = SUCCESS;

    static int flip(BITMAPHANDLE*, void* user_data)
    {
        ++static_cast<Hooks*>(user_data)->flips;
        return static_cast<Hooks*>(user_data)->result;
    }
    static int reverse(BITMAPHANDLE*, void* user_data)
    {
        ++static_cast<Hooks*>(user_data)->reverses;
        return static_cast<Hooks*>(user_data)->result;
    }
};

} // namespace

TEST(Turn, RegionHooks)
{
    const Picture picture = Picture::noise(20, 9, 8, 2);
    for (const Kind kind : {Kind::conv, Kind::disk})
        for (const int wanted : {SUCCESS, ERROR_INVALID_HANDLE})
            for (const Operation& operation : kOperations) {
                SCOPED_TRACE(std::string(operation.name) + " of " + name_of(kind));
                Hooks hooks;
                hooks.result = wanted;
                const REGIONHOOKS installed{sizeof(REGIONHOOKS), &hooks, Hooks::flip, Hooks::reverse, nullptr, nullptr};
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, 8));
                int region = 0;
                bitmap->RgnInfo = &region;
                ASSERT_EQ(SUCCESS, V_SetRegionHooks(&installed));
                const int result = operation.run(bitmap);
                V_SetRegionHooks(nullptr);
                EXPECT_EQ(static_cast<void*>(&region), +bitmap->RgnInfo);
                EXPECT_EQ(operation.quarter ? SUCCESS : wanted, result);
                EXPECT_EQ(result == SUCCESS ? operation.make(picture) : picture, read(bitmap));
                const bool flips = operation.run == V_FlipBitmap || operation.run == half_turn;
                const bool reverses =
                    operation.run == V_ReverseBitmap || (operation.run == half_turn && wanted == SUCCESS);
                EXPECT_EQ(flips ? 1 : 0, hooks.flips);
                EXPECT_EQ(reverses ? 1 : 0, hooks.reverses);
            }
}

TEST(Turn, Arguments)
{
    TestBitmap described;
    ASSERT_EQ(SUCCESS, V_InitBitmap(described, BITMAPHANDLE_SIZE, 5, 5, 8));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FlipBitmap(nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FlipBitmap(described));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ReverseBitmap(nullptr));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_ReverseBitmap(described));
    const auto turn = [](BITMAPHANDLE* b) { return V_RotateBitmap90(b, 0); };
    int (*const inner_forms[])(BITMAPHANDLE*) = {V_IntFlipBitmap, V_IntReverseBitmap, turn};
    for (const auto inner : inner_forms) {
        EXPECT_EQ(ERROR_INVALID_IMAGE, inner(nullptr));
        EXPECT_EQ(ERROR_INVALID_IMAGE, inner(described));
    }
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 5, 5, 8));
    for (const int32_t direction : {-1, 2, 90})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_RotateBitmap90(bitmap, direction));
    bitmap->Width = 9; // BytesPerLine is 8
    const std::vector<uint8_t> before = bitmap.image();
    for (const Operation& operation : kOperations)
        EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, operation.run(bitmap)) << operation.name;
    EXPECT_EQ(before, bitmap.image());
    bitmap->Width = 5;
}

TEST(Turn, QuarterTurnInBoundedMemory)
{
    // 192 MiB in tiles of which hardly any may be in memory: buffers and mapped tiles are all that counts.
    constexpr int32_t kWidth = 16384;
    constexpr int32_t kHeight = 12288;
    const Thresholds restore;
    Thresholds::max_conv(1 << 20);
    const auto pixel = [](int32_t x, int32_t y) { return static_cast<uint8_t>(x * 7 + y * 13 + (x >> 8) + (y >> 7)); };
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, kWidth, kHeight, 8));
    ASSERT_TRUE(V_BitmapIsTiled(bitmap));
    std::vector<uint8_t> row(kWidth);
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x)
            row[static_cast<size_t>(x)] = pixel(x, y);
        ASSERT_EQ(kWidth, V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    const uint64_t before = resident_bytes();
    Report most;
    uint64_t peak = 0;
    V_SetStatusCallback(
        [](int, void* user_data) {
            auto& highest = *static_cast<uint64_t*>(user_data);
            highest = std::max(highest, resident_bytes());
            return SUCCESS;
        },
        &peak, nullptr, nullptr);
    const int result = V_RotateBitmap90(bitmap, 1);
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(SUCCESS, result);
    EXPECT_TRUE(V_BitmapIsTiled(bitmap));
    RecordProperty("extra_resident_mib", static_cast<int>((peak - std::min(peak, before)) >> 20));
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_LT(peak, before + (112u << 20)) << "two pictures' mapped tiles of 48 MiB at most, and the buffers";
#endif
    ASSERT_EQ(kHeight, +bitmap->Width);
    row.resize(kHeight);
    for (int32_t y = 0; y < kWidth; y += 61) {
        ASSERT_EQ(kHeight, V_GetBitmapRow(bitmap, row.data(), y, row.size()));
        for (int32_t x = 0; x < kHeight; ++x)
            ASSERT_EQ(pixel(y, kHeight - 1 - x), row[static_cast<size_t>(x)]) << x << ' ' << y;
    }
}
