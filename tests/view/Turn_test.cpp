// Flips, mirrors and turns of whole bitmaps: every kind of storage and depth, progress, failures, overlays, regions.
#include "kernel/bitmap/Overlay.h"
#include "kernel/storage/Store.h"
#include "tests/view/ViewSupport.h"

using namespace vk::testing;

TEST(Turn, EveryDepthAndStorage)
{
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1},   {37, 9},  {70, 3},   {5, 66},  {64, 64},
                                                 {512, 5}, {683, 5}, {1366, 5}, {4097, 5}}; // rows in pieces
    for (const Operation& operation : kOperations)
        for (const Kind kind : kKinds)
            for (const int32_t bits : kDepths)
                for (const auto& [width, height] : sizes) {
                    const bool tiled = kind >= Kind::tiled_file && kind <= Kind::tiled_mixed;
                    if (!can_make(kind, bits) || (tiled && height > 9) || (kind != Kind::conv && width > 70))
                        continue;
                    SCOPED_TRACE(say(operation.name, name_of(kind), bits, "bits", width, height));
                    TestBitmap bitmap(width == 37 ? BITMAPHANDLE_SIZE_EARLIER : BITMAPHANDLE_SIZE);
                    const Picture picture = Picture::noise(width, height, bits, static_cast<uint64_t>(bits));
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, bits));
                    bitmap->XResolution = 100;
                    bitmap->YResolution = 200;
                    const vk::Store* const store = vk::store_of(bitmap->Flags);
                    ASSERT_EQ(SUCCESS, operation.run(bitmap));
                    ASSERT_EQ(operation.make(picture), read(bitmap));
                    EXPECT_EQ((std::array{operation.quarter ? 200 : 100, operation.quarter ? 100 : 200, TOP_LEFT}),
                              (std::array{+bitmap->XResolution, +bitmap->YResolution, +bitmap->ViewPerspective}));
                    EXPECT_TRUE(kind >= Kind::tiled_file || store == vk::store_of(bitmap->Flags))
                        << "tiles that fit one are memory";
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
            EXPECT_EQ(operation.make(picture.shown(perspective)), read_shown(bitmap)) << operation.name << perspective;
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
                SCOPED_TRACE(say(operation.name, name_of(kind), "refused at", refuse_at));
                const int32_t height = kind == Kind::conv ? 1205 : 601; // more than one block of pixels
                TestBitmap bitmap;
                const Picture picture = Picture::noise(70, height, 1, 5);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, 1));
                const Bytes record = bitmap.image();
                const Watch watch(refuse_at);
                if (refuse_at > 100) {
                    EXPECT_EQ(SUCCESS, operation.run(bitmap));
                    ASSERT_LE(3u, watch.told.size());
                    EXPECT_EQ((std::pair{0, 100}), (std::pair{watch.told.front(), watch.told.back()}));
                    EXPECT_TRUE(std::is_sorted(watch.told.begin(), watch.told.end(), std::less_equal<>()));
                } else {
                    EXPECT_EQ(Watch::kRefused, operation.run(bitmap));
                    EXPECT_EQ(record, bitmap.image());
                    EXPECT_EQ(picture, read(bitmap));
                }
            }
}

namespace {

/// Whether each row is that of one of two pictures.
bool mixes(const Picture& found, const Picture& a, const Picture& b)
{
    for (ptrdiff_t at = 0; at < std::ssize(found.pixels); at += found.width) {
        const auto row = found.pixels.begin() + at;
        if (!std::equal(row, row + found.width, a.pixels.begin() + at) &&
            !std::equal(row, row + found.width, b.pixels.begin() + at))
            return false;
    }
    return a.width == found.width;
}

} // namespace

TEST(Turn, FaultsLeaveTheBitmapAsItWas)
{
    const Picture picture = Picture::noise(77, 19, 1, 9);
    for (const Operation& operation : kOperations)
        for (const Kind kind : {Kind::conv, Kind::user, Kind::disk, Kind::tiled_mixed, Kind::compressed})
            for (const bool listens : {false, true}) { // who listens has it go in small steps
                SCOPED_TRACE(say(operation.name, name_of(kind), listens));
                uint64_t failed = 0;
                for_each_fault_in([&](FaultRound& round) {
                    TestBitmap bitmap;
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, 1));
                    TestBitmap overlay;
                    ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::disk, picture, 1));
                    vk::OverlayTable* const table = vk::require_overlays(*bitmap);
                    ASSERT_NE(nullptr, table);
                    ASSERT_EQ(SUCCESS, V_CopyBitmap(&table->bitmaps[3], overlay, BITMAPHANDLE_SIZE));
                    const Bytes before = bitmap.image();
                    std::optional<Watch> watch;
                    if (listens)
                        watch.emplace();
                    const int result = round([&] { return operation.run(bitmap); });
                    const bool done = result == SUCCESS;
                    EXPECT_TRUE(done || (before == bitmap.image() && round.fired && result < 0)) << result;
                    const Picture wanted = done ? operation.make(picture) : picture;
                    // A file that takes no writes any more cannot be put back.
                    const bool is_stuck =
                        round.persistent && !done && (kind == Kind::disk || kind == Kind::tiled_mixed);
                    const Picture found = read(bitmap);
                    EXPECT_TRUE(found == wanted || (is_stuck && mixes(found, picture, operation.make(picture))));
                    auto* const now = static_cast<vk::OverlayTable*>(bitmap->Overlays);
                    EXPECT_EQ(wanted, read(&now->bitmaps[3])) << "the overlay";
                    failed += !done;
                });
                EXPECT_LT(2u, failed);
            }
}

namespace {

struct Hooks {
    int result = SUCCESS;
    int calls[2] = {}; ///< flips, reverses

    template <int which> static int call(BITMAPHANDLE*, void* user_data)
    {
        auto& hooks = *static_cast<Hooks*>(user_data);
        ++hooks.calls[which];
        return hooks.result;
    }
};

} // namespace

TEST(Turn, RegionHooks)
{
    const Picture picture = Picture::noise(20, 9, 8, 2);
    for (const Kind kind : {Kind::conv, Kind::disk})
        for (const int wanted : {SUCCESS, ERROR_INVALID_HANDLE})
            for (const Operation& operation : kOperations) {
                SCOPED_TRACE(say(operation.name, name_of(kind)));
                Hooks hooks{wanted};
                const REGIONHOOKS installed{sizeof(REGIONHOOKS), &hooks,  Hooks::call<0>,
                                            Hooks::call<1>,      nullptr, nullptr};
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
                const bool half = &operation == kOperations + 2; // a flip, and then a mirror
                const bool flips = half || operation.run == V_FlipBitmap;
                const bool mirrors = (half && wanted == SUCCESS) || operation.run == V_ReverseBitmap;
                EXPECT_EQ((std::pair{flips ? 1 : 0, mirrors ? 1 : 0}), (std::pair{hooks.calls[0], hooks.calls[1]}));
            }
}

TEST(Turn, Arguments)
{
    TestBitmap described;
    ASSERT_EQ(SUCCESS, V_InitBitmap(described, BITMAPHANDLE_SIZE, 5, 5, 8));
    expect_each(ERROR_INVALID_PARAMETER, {V_FlipBitmap(nullptr), V_FlipBitmap(described), V_ReverseBitmap(nullptr)});
    expect_each(ERROR_INVALID_IMAGE, {V_ReverseBitmap(described), V_IntFlipBitmap(nullptr), V_IntFlipBitmap(described),
                                      V_IntReverseBitmap(nullptr), V_IntReverseBitmap(described),
                                      V_RotateBitmap90(nullptr, 0), V_RotateBitmap90(described, 0)});
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 5, 5, 8));
    for (const int32_t direction : {-1, 2, 90})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_RotateBitmap90(bitmap, direction));
    bitmap->Width = 9; // BytesPerLine is 8
    const Bytes before = bitmap.image();
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
    Bytes row(kWidth);
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x)
            row[static_cast<size_t>(x)] = pixel(x, y);
        ASSERT_EQ(kWidth, V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    const uint64_t before = resident_bytes();
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
#if !defined(VKKRNX_TEST_SANITIZED)
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
