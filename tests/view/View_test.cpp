// View perspectives: what they show, relabelling, rearranging, points and rectangles.
#include "kernel/bitmap/Overlay.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestTurn.h"

#include "Vkbitmap.h"
#include "Vkview.h"

using namespace vk::testing;

TEST(View, ParametersTurnOnePerspectiveIntoAnother)
{
    const Picture stored = Picture::noise(5, 3, 16, 1);
    for (int32_t from = 1; from <= 8; ++from)
        for (int32_t to = 1; to <= 8; ++to) {
            int32_t flip = -1;
            int32_t angle = -1;
            ASSERT_EQ(SUCCESS, V_GetChangeViewPerspectiveParams(from, to, &flip, &angle));
            EXPECT_TRUE(flip == 0 || flip == 1);
            EXPECT_TRUE(angle == 0 || angle == 90 || angle == 180 || angle == 270) << angle;
            const Picture moved = (flip ? stored.flipped() : stored).turned_by(angle);
            EXPECT_EQ(stored.shown(from), moved.shown(to)) << from << " to " << to;
            EXPECT_TRUE(from != to || (flip == 0 && angle == 0));
        }
    int32_t flip = 7;
    int32_t angle = 7;
    for (const int32_t from : {1, 2}) {
        EXPECT_EQ(SUCCESS, V_GetChangeViewPerspectiveParams(from, 3 - from, &flip, &angle));
        EXPECT_EQ((std::pair{1, 180}), (std::pair{flip, angle}));
    }
    for (const int32_t wrong : {0, 9, -1, INT32_MAX, INT32_MIN})
        expect_each(ERROR_INVALID_PARAMETER, {V_GetChangeViewPerspectiveParams(wrong, 1, &flip, &angle),
                                              V_GetChangeViewPerspectiveParams(1, wrong, &flip, &angle),
                                              V_GetChangeViewPerspectiveParams(1, 1, nullptr, &angle),
                                              V_GetChangeViewPerspectiveParams(1, 1, &flip, nullptr)});
}

TEST(View, RelabellingFlipsAndReversesWhatIsShown)
{
    const Picture stored = Picture::noise(5, 3, 16, 1);
    const struct {
        int (*run)(BITMAPHANDLE*);
        Picture (Picture::*make)() const;
    } kRelabellings[] = {{V_FlipBitmapViewPerspective, &Picture::flipped},
                         {V_IntFlipBitmapViewPerspective, &Picture::flipped},
                         {V_ReverseBitmapViewPerspective, &Picture::mirrored},
                         {V_IntReverseBitmapViewPerspective, &Picture::mirrored}};
    TestBitmap bitmap; // needs no storage
    ASSERT_EQ(SUCCESS, bitmap.init(5, 3, 16));
    for (const auto& [run, make] : kRelabellings) {
        for (int32_t perspective = 1; perspective <= 8; ++perspective) {
            bitmap->ViewPerspective = perspective;
            EXPECT_EQ(SUCCESS, run(bitmap));
            EXPECT_EQ((stored.shown(perspective).*make)(), stored.shown(bitmap->ViewPerspective)) << perspective;
            EXPECT_EQ(SUCCESS, run(bitmap));
            EXPECT_EQ(perspective, +bitmap->ViewPerspective);
        }
        for (const int32_t other : {0, 9, -4, INT32_MIN, INT32_MAX}) {
            bitmap->ViewPerspective = other;
            EXPECT_EQ(SUCCESS, run(bitmap));
            EXPECT_EQ(other, +bitmap->ViewPerspective);
        }
        EXPECT_EQ(ERROR_INVALID_PARAMETER, run(nullptr));
    }
}

TEST(View, RearrangedInPlaceAndAsACopy)
{
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed, Kind::compressed, Kind::global})
        for (int32_t from = 1; from <= 8; ++from)
            for (int32_t to = 1; to <= 8; ++to) {
                SCOPED_TRACE(say(name_of(kind), from, "to", to));
                const int32_t bits =
                    kind == Kind::compressed ? 1 : kDepths[static_cast<size_t>(from * 8 + to) % kDepths.size()];
                const Picture stored = Picture::noise(21, 13, bits, 4);
                const uint32_t size = from % 2 ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER;
                TestBitmap bitmap(size);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, stored, bits, from));
                bitmap->XResolution = 72;
                bitmap->YResolution = 96;
                const Bytes record = bitmap.image();
                TestBitmap copy(size);
                ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(copy, bitmap, size, to));
                EXPECT_EQ(record, bitmap.image());
                EXPECT_EQ(stored, read(bitmap));
                {
                    Watch watch;
                    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, to));
                    V_STATUSCALLBACK callback = nullptr;
                    void* data = nullptr;
                    V_GetStatusCallback(&callback, &data);
                    EXPECT_TRUE(watch.told.empty()) << "nothing is reported";
                    EXPECT_TRUE(callback == Watch::tell && data == &watch);
                }
                for (TestBitmap* changed : {&bitmap, &copy}) {
                    EXPECT_EQ(to, +(*changed)->ViewPerspective);
                    EXPECT_EQ(stored.shown(from), read_shown(*changed));
                    EXPECT_EQ((from > 4) == (to > 4) ? 72 : 96, +(*changed)->XResolution);
                    EXPECT_EQ(kind == Kind::compressed, V_BitmapIsCompressed(*changed) != 0);
                }
            }
}

TEST(View, WhatACopyGets)
{
    TestBitmap bitmap;
    const Picture stored = Picture::noise(9, 4, 8, 4);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, stored, 8));
    ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap, 10));
    vk::OverlayTable* const table = vk::require_overlays(*bitmap);
    ASSERT_NE(nullptr, table);
    TestBitmap overlay;
    ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::conv, stored, 8));
    ASSERT_EQ(SUCCESS, V_CopyBitmap(&table->bitmaps[0], overlay, BITMAPHANDLE_SIZE));
    overlay->ViewPerspective = 2;
    ASSERT_EQ(SUCCESS, V_CopyBitmap(&table->bitmaps[1], overlay, BITMAPHANDLE_SIZE));
    TestBitmap full;
    TestBitmap bare;
    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(full, bitmap, BITMAPHANDLE_SIZE, 7));
    ASSERT_EQ(SUCCESS, V_IntChangeBitmapViewPerspective(bare, bitmap, BITMAPHANDLE_SIZE, 7, 0));
    EXPECT_EQ(10u, +full->ExtraDataSize);
    EXPECT_EQ(0u, +bare->ExtraDataSize);
    EXPECT_EQ(nullptr, +bare->Overlays);
    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(bitmap, bitmap, BITMAPHANDLE_SIZE, 7));
    EXPECT_EQ(read(bare), read(bitmap));
    for (TestBitmap* changed : {&full, &bitmap}) {
        auto* const overlays = static_cast<vk::OverlayTable*>((*changed)->Overlays);
        ASSERT_NE(nullptr, overlays);
        EXPECT_EQ(read(bare), read(&overlays->bitmaps[0])) << "the overlay lies over the same pixels";
        EXPECT_EQ(stored, read(&overlays->bitmaps[1])) << "what it shows has not changed";
        EXPECT_EQ(7, +overlays->bitmaps[0].ViewPerspective);
        EXPECT_EQ(2, +overlays->bitmaps[1].ViewPerspective);
    }
    TestBitmap taken;
    ASSERT_EQ(SUCCESS, V_IntChangeBitmapViewPerspective(taken, bitmap, BITMAPHANDLE_SIZE, 1, DUPFLAG_TAKEOVER));
    EXPECT_EQ(10u, +taken->ExtraDataSize);
    EXPECT_EQ(0u, +bitmap->ExtraDataSize);
    EXPECT_EQ(stored, read(taken));
}

TEST(View, CopyCallbacksSeeTheCopy)
{
    int seen[2] = {};
    BITMAPDATACALLBACKS calls = callbacks_for(&seen);
    calls.BeginCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void* data) {
        return ++static_cast<int*>(data)[0], SUCCESS;
    };
    calls.EndCopyBitmapDataCallback = [](BITMAPHANDLE*, BITMAPHANDLE*, void* data) {
        return ++static_cast<int*>(data)[1], SUCCESS;
    };
    TestBitmap bitmap;
    const Picture stored = Picture::noise(9, 4, 8, 4);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, stored, 8, 2));
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &calls));
    TestBitmap copy;
    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(copy, bitmap, BITMAPHANDLE_SIZE, 5));
    EXPECT_TRUE(seen[0] == 1 && seen[1] == 1);
    EXPECT_EQ(stored.shown(2), read_shown(copy));
}

TEST(View, FaultsOfARearrangement)
{
    const Picture stored = Picture::noise(30, 11, 8, 8);
    for (const Kind kind : {Kind::conv, Kind::disk})
        for (const int32_t to : {2, 4, 5, 6}) {
            int32_t flip = 0;
            int32_t angle = 0;
            ASSERT_EQ(SUCCESS, V_GetChangeViewPerspectiveParams(1, to, &flip, &angle));
            bool half_done = false;
            for (const bool copied : {false, true}) {
                const auto change = [&](FaultRound& round) {
                    SCOPED_TRACE(say(name_of(kind), "to", to, "copy", copied));
                    TestBitmap bitmap;
                    TestBitmap copy;
                    BITMAPHANDLE* const made = copied ? copy.get() : nullptr;
                    make_stored(bitmap, kind, stored, 8);
                    const Bytes record = bitmap.image();
                    const int result =
                        round([&] { return V_ChangeBitmapViewPerspective(made, bitmap, BITMAPHANDLE_SIZE, to); });
                    if (result == SUCCESS) {
                        EXPECT_EQ(stored, read(copied ? copy : bitmap).shown(to));
                        return;
                    }
                    const bool flipped = !copied && read(bitmap) == stored.flipped();
                    EXPECT_TRUE(round.fired && result < 0) << result;
                    EXPECT_TRUE(flipped || (read(bitmap) == stored && record == bitmap.image()));
                    EXPECT_TRUE(!copied || copy.is_empty());
                    EXPECT_EQ(TOP_LEFT, +bitmap->ViewPerspective);
                    half_done |= flipped;
                };
                for_each_fault_in(change, FaultLoop::may_be_none);
            }
            EXPECT_EQ(flip && angle, half_done) << to << ": flipped, but not turned";
        }
}

TEST(View, Arguments)
{
    TestBitmap made;
    TestBitmap described;
    ASSERT_EQ(SUCCESS, described.init(5, 5, 8));
    described->ViewPerspective = 1;
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 5, 5, 8));
    const Bytes before = bitmap.image();
    expect_each(ERROR_INVALID_PARAMETER, {V_ChangeBitmapViewPerspective(made, nullptr, BITMAPHANDLE_SIZE, 2),
                                          V_ChangeBitmapViewPerspective(made, described, BITMAPHANDLE_SIZE, 2),
                                          V_IntChangeBitmapViewPerspective(nullptr, nullptr, 0, 2, 0),
                                          V_IntChangeBitmapViewPerspective(made, bitmap, BITMAPHANDLE_SIZE, 2, 0x100)});
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_IntChangeBitmapViewPerspective(nullptr, described, 0, 2, 0));
    EXPECT_EQ(SUCCESS, V_IntChangeBitmapViewPerspective(nullptr, described, 0, 1, 0));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ChangeBitmapViewPerspective(made, bitmap, 100, 2));
    for (const int32_t wrong : {0, 9, -1, INT32_MAX}) {
        made->Width = 77;
        expect_each(ERROR_INVALID_PARAMETER, {V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, wrong),
                                              V_ChangeBitmapViewPerspective(made, bitmap, BITMAPHANDLE_SIZE, wrong)});
        EXPECT_TRUE(made.is_empty());
    }
    EXPECT_EQ(before, bitmap.image());
}

TEST(View, PointsAndRectanglesFollowThePixels)
{
    // Each pixel's value tells where it is stored; where it is stored in the other perspective, the point must be.
    const int32_t width = 10;
    const int32_t height = 7;
    Picture stored = Picture::blank(width, height);
    for (size_t i = 0; i < stored.pixels.size(); ++i)
        stored.pixels[i] = i + 1;
    for (int32_t from = 1; from <= 8; ++from)
        for (int32_t to = 1; to <= 8; ++to) {
            SCOPED_TRACE(say(from, "to", to));
            int32_t flip = 0;
            int32_t angle = 0;
            ASSERT_EQ(SUCCESS, V_GetChangeViewPerspectiveParams(from, to, &flip, &angle));
            Picture moved = (flip ? stored.flipped() : stored).turned_by(angle);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.init(width, height, 8));
            bitmap->ViewPerspective = from;
            for (int32_t y = 0; y < height; ++y)
                for (int32_t x = 0; x < width; ++x) {
                    int32_t px = x;
                    int32_t py = y;
                    ASSERT_EQ(SUCCESS, V_PointFromBitmap(bitmap, to, &px, &py));
                    ASSERT_TRUE(px >= 0 && px < moved.width && py >= 0 && py < moved.height) << px << ' ' << py;
                    EXPECT_EQ(stored.at(x, y), moved.at(px, py));
                    RECT rect{x, y, x + 1, y + 1};
                    RECT changed = rect;
                    ASSERT_EQ(SUCCESS, V_RectFromBitmap(bitmap, to, &rect));
                    ASSERT_EQ(SUCCESS, V_ChangeRectViewPerspective(from, width, height, to, &changed));
                    const RECT wanted{px, py, px + 1, py + 1};
                    EXPECT_EQ(0, std::memcmp(&wanted, &rect, sizeof rect));
                    EXPECT_EQ(0, std::memcmp(&wanted, &changed, sizeof rect));
                }
        }
}

TEST(View, TowardsABitmapCountsWithItsOwnSizes)
{
    for (int32_t own = 1; own <= 8; ++own)
        for (int32_t callers = 1; callers <= 8; ++callers) {
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.init(10, 20, 8));
            bitmap->ViewPerspective = own;
            const bool exchanged = (own > 4) != (callers == 6 || callers == 8);
            RECT wanted{1, 2, 5, 9};
            ASSERT_EQ(SUCCESS,
                      V_ChangeRectViewPerspective(callers, exchanged ? 20 : 10, exchanged ? 10 : 20, own, &wanted));
            RECT rect{1, 2, 5, 9};
            ASSERT_EQ(SUCCESS, V_RectToBitmap(bitmap, callers, &rect));
            EXPECT_EQ(0, std::memcmp(&wanted, &rect, sizeof rect)) << callers << " to " << own;
            int32_t x = 1;
            int32_t y = 2;
            ASSERT_EQ(SUCCESS, V_PointToBitmap(bitmap, callers, &x, &y));
            RECT pixel{1, 2, 2, 3};
            ASSERT_EQ(SUCCESS, V_RectToBitmap(bitmap, callers, &pixel));
            EXPECT_EQ(pixel.left, x) << callers << " to " << own;
            EXPECT_EQ(pixel.top, y);
        }
}

TEST(View, PointArguments)
{
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.init(10, 20, 8));
    bitmap->ViewPerspective = 1;
    int32_t x = 0;
    int32_t y = 0;
    EXPECT_EQ(SUCCESS, V_PointFromBitmap(bitmap, 4, &x, &y));
    EXPECT_EQ(19, y);
    RECT rect{0, 0, 10, 5};
    EXPECT_EQ(SUCCESS, V_RectFromBitmap(bitmap, 4, &rect));
    EXPECT_EQ(15, rect.top);
    EXPECT_EQ(20, rect.bottom);
    EXPECT_EQ(SUCCESS, V_PointFromBitmap(bitmap, 1, nullptr, nullptr));
    expect_each(ERROR_INVALID_PARAMETER,
                {V_PointFromBitmap(bitmap, 2, nullptr, &y), V_PointToBitmap(bitmap, 1, nullptr, &y),
                 V_PointToBitmap(bitmap, 1, &x, nullptr), V_RectToBitmap(bitmap, 1, nullptr),
                 V_RectFromBitmap(bitmap, 1, nullptr), V_ChangeRectViewPerspective(1, 5, 5, 1, nullptr),
                 V_PointFromBitmap(nullptr, 1, &x, &y), V_PointToBitmap(nullptr, 1, &x, &y),
                 V_RectFromBitmap(nullptr, 1, &rect), V_RectToBitmap(nullptr, 1, &rect)});
    for (const int32_t wrong : {0, 9})
        expect_each(ERROR_INVALID_PARAMETER,
                    {V_PointFromBitmap(bitmap, wrong, &x, &y), V_PointToBitmap(bitmap, wrong, &x, &y),
                     V_RectFromBitmap(bitmap, wrong, &rect), V_RectToBitmap(bitmap, wrong, &rect),
                     V_ChangeRectViewPerspective(wrong, 5, 5, 1, &rect)});
    x = y = INT32_MIN; // wraps, whatever it means
    EXPECT_EQ(SUCCESS, V_PointFromBitmap(bitmap, 3, &x, &y));
    EXPECT_EQ(INT32_MIN + 9, x);
}
