// Warped bitmaps: the same from every storage, at every level of the processor and through boxes; progress, what goes
// along, and what stays when it fails.
#include "Vkkrnx.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/sampling/Loops.h"
#include "kernel/sampling/Walk.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/Levels.h"
#include "tests/support/TestTurn.h"
#include "tests/warp/WarpSupport.h"

#include <limits>

using namespace vk;
using namespace vk::testing;

namespace {

constexpr COLORREF kFirstEntry = 0x01000001u;

/// Makes all pixels of 32 bits opaque but one in two hundred.
void make_opaque(TestBitmap& bitmap, TestRandom& random)
{
    std::vector<uint8_t> row(bitmap->BytesPerLine);
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        ASSERT_LT(0, V_GetBitmapRow(bitmap.get(), row.data(), y, row.size()));
        for (size_t at = 3; at < row.size(); at += 4)
            if (!random.one_in(200))
                row[at] = 255;
        ASSERT_LT(0, V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
    }
}

} // namespace

TEST(WarpBitmap, EveryStorageGivesTheSame)
{
    TestRandom random(507);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 4, 8, 12, 24, 64})
        for (const Kind kind : kKinds)
            for (const uint32_t flags : {WARP_NEAREST, WARP_LINEAR, WARP_CUBIC | WARP_AREA}) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits));
                TestBitmap wanted;
                TestBitmap bitmap(flags == WARP_LINEAR ? BITMAPHANDLE_SIZE_EARLIER : BITMAPHANDLE_SIZE);
                ASSERT_NO_FATAL_FAILURE(wanted.make(Kind::conv, 61, 47, bits));
                ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 61, 47, bits));
                fill_rows(wanted, random);
                ASSERT_EQ(SUCCESS, V_CopyBitmapData(bitmap.get(), wanted.get()));
                const V_MATRIX map = picture_map(random, 61, 47, true);
                ASSERT_EQ(SUCCESS, V_WarpBitmap(wanted.get(), &map, 80, 70, flags, 0x00405060u));
                ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 80, 70, flags, 0x00405060u));
                EXPECT_EQ(wanted.pixels(), bitmap.pixels());
                EXPECT_FALSE(V_BitmapIsCompressed(bitmap.get()) || V_BitmapIsSuperCompressed(bitmap.get()));
                EXPECT_EQ(kind == Kind::disk, V_BitmapIsDiskMemory(bitmap.get()) != 0);
            }
}

// More than fits what is held at a time, so that the canvas is cut into boxes; and by the grid, whose points are all
// over the picture, so wide that single pixels are fetched.
TEST(WarpBitmap, LargeOnesPassThroughBoxes)
{
    TestRandom random(508);
    SCOPED_TRACE(random);
    V_MATRIX map;
    V_Matrix_Identity(&map);
    V_Matrix_Rotate(&map, 3600);
    V_Matrix_Scale(&map, 0.4, 0.4);
    map.m[0][2] = 2e-4;
    const auto points = random_grid(random, 12, 6, 300, 260, 0.9);
    for (const int32_t bits : {1, 12, 24})
        for (const uint32_t flags : {WARP_NEAREST, WARP_LINEAR, WARP_CUBIC | WARP_AREA})
            for (const bool is_grid : {false, true})
                for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed}) {
                    if (is_grid && flags & WARP_AREA && (bits != 24 || kind != Kind::disk))
                        continue; // thousands of samples, for each part of what they see
                    SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits));
                    TestBitmap whole;
                    TestBitmap by_parts;
                    ASSERT_NO_FATAL_FAILURE(whole.make(Kind::conv, 300, 260, bits));
                    ASSERT_NO_FATAL_FAILURE(by_parts.make(kind, 300, 260, bits));
                    fill_rows(whole, random);
                    ASSERT_EQ(SUCCESS, V_CopyBitmapData(by_parts.get(), whole.get()));
                    const auto warp = [&](TestBitmap& bitmap) {
                        return is_grid ? V_WarpBitmapGrid(bitmap.get(), points.data(), 12, 6, 30, 8, flags, kFirstEntry)
                                       : V_WarpBitmap(bitmap.get(), &map, 0, 0, flags, 0);
                    };
                    ASSERT_EQ(SUCCESS, warp(whole));
                    sampling::limit_held(static_cast<uint64_t>(9000 * bits / 8));
                    const int result = warp(by_parts);
                    sampling::limit_held(0);
                    ASSERT_EQ(SUCCESS, result);
                    ASSERT_TRUE(whole.pixels() == by_parts.pixels());
                }
}

// However much of the source a few canvas pixels see, they read it once, and a little more at the edges of what is read
// together; boxes of a turned picture overlap.
TEST(WarpBitmap, SourcesAreReadABoundedNumberOfTimes)
{
    constexpr int32_t kWidth = 640;
    constexpr int32_t kHeight = 480;
    struct Reads {
        std::vector<int> of = std::vector<int>(size_t{kWidth} * kHeight);
        BITMAPDATACALLBACKS table = callbacks_for(this);
    };
    const struct {
        uint32_t flags;
        int32_t angle;
        double most; ///< reads of a pixel, and of all on the mean
        double mean;
    } rows[] = {{WARP_NEAREST, 0, 2, 1},
                {WARP_LINEAR, 2000, 4, 1.2},
                {WARP_CUBIC, 3700, 4, 1.2},
                {WARP_AREA | WARP_CUBIC, 0, 8, 1.5},
                {WARP_AREA | WARP_EDGE, 0, 8, 1.5},
                {WARP_AREA, 4500, 10, 3.2},
                {WARP_AREA, 1200, 10, 2.5}};
    for (const auto& row : rows) {
        SCOPED_TRACE("flags " + std::to_string(row.flags) + ", angle " + std::to_string(row.angle));
        Reads reads;
        reads.table.GetBitmapRowColCallback = [](BITMAPHANDLE*, void*, int32_t y, int32_t x, size_t bytes, void* user) {
            for (size_t i = 0; i < bytes; ++i)
                ++static_cast<Reads*>(user)->of[static_cast<size_t>(y) * kWidth + static_cast<size_t>(x) + i];
            return intptr_t{0}; // the library's own way from here
        };
        TestBitmap counted;
        TestBitmap plain;
        ASSERT_EQ(SUCCESS, V_CreateBitmapWithCallbacks(counted, BITMAPHANDLE_SIZE, TYPE_CONV, kWidth, kHeight, 8,
                                                       COLORORDER_GRAY, nullptr, TOP_LEFT, nullptr, 0, &reads.table));
        ASSERT_EQ(SUCCESS, plain.create(TYPE_CONV, kWidth, kHeight, 8, COLORORDER_GRAY));
        for (TestBitmap* bitmap : {&counted, &plain})
            bitmap->paint([](int32_t x, int32_t y) { return static_cast<uint64_t>(x * x / 40 + y * 3); });
        V_MATRIX map;
        V_Matrix_Identity(&map);
        V_Matrix_Rotate(&map, row.angle);
        V_Matrix_Scale(&map, 1 / 20.0, 1 / 40.0);
        ASSERT_EQ(SUCCESS, V_WarpBitmap(plain, &map, 0, 0, row.flags, 0));
        sampling::limit_held(3000); // eight canvas pixels see 6,400
        const int result = V_WarpBitmap(counted, &map, 0, 0, row.flags, 0);
        sampling::limit_held(0);
        ASSERT_EQ(SUCCESS, result);
        EXPECT_TRUE(plain.pixels() == counted.pixels());
        double sum = 0;
        for (const int times : reads.of)
            sum += times;
        EXPECT_GE(row.most, *std::max_element(reads.of.begin(), reads.of.end()));
        EXPECT_GE(row.mean, sum / static_cast<double>(reads.of.size()));
    }
}

// The loops for wider instruction sets are others than the plain ones, are taken where the processor has them, and give
// the same to the bit.
TEST(WarpBitmap, EveryLevelGivesTheSame)
{
    TestRandom random(514);
    SCOPED_TRACE(random);
    const struct {
        int32_t bits;
        int32_t order;
    } forms[] = {{1, COLORORDER_RGB},   {5, COLORORDER_RGB},  {8, COLORORDER_GRAY},
                 {12, COLORORDER_GRAY}, {16, COLORORDER_RGB}, {24, COLORORDER_BGR},
                 {32, COLORORDER_BGR},  {48, COLORORDER_BGR}, {64, COLORORDER_BGR}};
    for (const auto& form : forms)
        for (int round = 0; round < 12; ++round) {
            const uint32_t flags[] = {WARP_NEAREST, WARP_LINEAR, WARP_CUBIC};
            SCOPED_TRACE(std::to_string(form.bits) + " bits, round " + std::to_string(round));
            const int32_t width = random.between(30, 700);
            const int32_t height = random.between(20, 90);
            TestBitmap plain;
            ASSERT_EQ(SUCCESS, plain.create(TYPE_CONV, width, height, form.bits, form.order));
            fill_rows(plain, random);
            if (form.bits == 32 && round % 2) // opaque but for a few
                make_opaque(plain, random);
            TestBitmap source;
            ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, width, height, form.bits, form.order));
            ASSERT_EQ(SUCCESS, V_CopyBitmapData(source.get(), plain.get()));
            const V_MATRIX map = picture_map(random, width, height, round % 4 > 1);
            const auto warp = [&](TestBitmap& bitmap, simd::Level level) {
                const AtLevel at(level);
                return V_WarpBitmap(bitmap.get(), &map, 700, 60, flags[round % 3], kFirstEntry);
            };
            ASSERT_EQ(SUCCESS, warp(plain, simd::Level::plain));
            for (const simd::Level level : kLevels) {
                if (AtLevel(level).reached != level || !sampling::mixing_sets.at(level))
                    continue; // nothing to be told apart
                TestBitmap made;
                ASSERT_EQ(SUCCESS, made.create(TYPE_CONV, width, height, form.bits, form.order));
                ASSERT_EQ(SUCCESS, V_CopyBitmapData(made.get(), source.get()));
                ASSERT_EQ(SUCCESS, warp(made, level));
                ASSERT_TRUE(plain.pixels() == made.pixels()) << "level " << static_cast<int>(level);
            }
        }
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        const sampling::Taking* const taking = sampling::taking_sets.at(at.reached);
        const sampling::Mixing* const mixing = sampling::mixing_sets.at(at.reached);
        const sampling::PositionLoops* const positions = sampling::position_loops_sets.at(at.reached);
        EXPECT_TRUE(at.reached < kFirstWithLoops || (taking && mixing && positions));
        EXPECT_EQ(taking ? taking->loop(24) : nullptr, sampling::fast_take(24));
        EXPECT_NE(sampling::plain_take(24), sampling::fast_take(24));
        EXPECT_EQ(taking ? taking->bits : nullptr, sampling::fast_take_bits());
        for (const sampling::CellKind& kind :
             {sampling::CellKind{3, 1, 3, false, false, 255}, sampling::CellKind{3, 1, 4, false, true, 255},
              sampling::CellKind{1, 2, 2, false, false, 4095}, sampling::CellKind{4, 2, 8, true, false, 65535}}) {
            const sampling::MixLoops fast = sampling::fast_mix(kind), plain = sampling::plain_mix(kind);
            EXPECT_EQ(mixing ? mixing->loops(kind).linear : nullptr, fast.linear);
            EXPECT_EQ(mixing ? mixing->loops(kind).cubic : nullptr, fast.cubic);
            EXPECT_TRUE(!mixing || (fast.cubic && (fast.linear || kind.lane_bytes == 2)));
            EXPECT_NE(plain.linear, fast.linear);
            EXPECT_NE(plain.cubic, fast.cubic);
        }
        EXPECT_EQ(positions ? positions : &sampling::kPlainPositions, &sampling::loops());
    }
}

TEST(WarpBitmap, ProgressAndRefusal)
{
    struct Listener {
        int refused;
        std::vector<int> heard;
    };
    TestRandom random(510);
    const V_MATRIX map = picture_map(random, 50, 300, true);
    for (const Kind kind : {Kind::conv, Kind::compressed, Kind::disk}) {
        TestBitmap bitmap;
        ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, 50, 300, 1));
        fill_rows(bitmap, random);
        const std::vector<uint8_t> record = bitmap.image();
        const std::vector<uint8_t> pixels = bitmap.pixels();
        for (const int refused : {0, 1, 7, 1000}) {
            Listener listener{refused, {}};
            V_SetStatusCallback(
                [](int percent, void* data) {
                    auto& self = *static_cast<Listener*>(data);
                    self.heard.push_back(percent);
                    return static_cast<int>(self.heard.size()) > self.refused ? ERROR_USER_ABORT : SUCCESS;
                },
                &listener, nullptr, nullptr);
            const int result = V_WarpBitmap(bitmap.get(), &map, 120, 400, WARP_LINEAR, 0);
            V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
            EXPECT_EQ(0, listener.heard.front());
            EXPECT_TRUE(std::is_sorted(listener.heard.begin(), listener.heard.end()));
            EXPECT_EQ(listener.heard.end(), std::adjacent_find(listener.heard.begin(), listener.heard.end()));
            if (refused < 1000) {
                EXPECT_EQ(ERROR_USER_ABORT, result);
                EXPECT_EQ(record, bitmap.image());
                EXPECT_EQ(pixels, bitmap.pixels());
            } else {
                EXPECT_EQ(SUCCESS, result);
                EXPECT_EQ(100, listener.heard.back());
                EXPECT_LE(20u, listener.heard.size());
            }
        }
    }
}

// What is not pixels stays; overlays are warped with them, whatever perspective they are stored in.
TEST(WarpBitmap, WhatGoesAlong)
{
    TestRandom random(511);
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 70, 50, 8));
    fill_rows(bitmap, random);
    bitmap->XResolution = 300;
    bitmap->Delay = 5;
    bitmap->ViewPerspective = 6;
    ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap.get(), 16));
    OverlayTable* const overlays = require_overlays(*bitmap.get());
    const Picture over = Picture::noise(70, 50, 1, 512);
    const int32_t own[] = {6, 1, 4, 7};
    for (size_t i = 0; i < std::size(own); ++i) {
        BITMAPHANDLE& overlay = overlays->bitmaps[i];
        ASSERT_EQ(SUCCESS, V_CreateBitmap(&overlay, sizeof overlay, TYPE_CONV, 70, 50, 1, COLORORDER_RGB, nullptr, 6,
                                          nullptr, 0));
        paint(&overlay, over);
        ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(nullptr, &overlay, 0, own[i]));
    }
    const RECT around{5, 8, 61, 40};
    ASSERT_EQ(SUCCESS, V_SetBitmapRegionEllipse(bitmap.get(), &around, REGION_SET));
    TestBitmap inside;
    ASSERT_EQ(SUCCESS, V_GetBitmapRegionMask(inside.get(), bitmap.get(), BITMAPHANDLE_SIZE));
    TestBitmap alone;
    ASSERT_NO_FATAL_FAILURE(make_stored(alone, Kind::conv, over, 1));
    const V_MATRIX map = picture_map(random, 70, 50, true);
    const void* const extra = bitmap->ExtraData;
    const RGBQUAD entry = bitmap->Palette[77];
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    ASSERT_EQ(SUCCESS, V_WarpBitmap(bitmap.get(), &map, 90, 40, WARP_LINEAR, 0));
    EXPECT_EQ(1, bitmap->LockCount);
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    ASSERT_EQ(SUCCESS, V_WarpBitmap(alone.get(), &map, 90, 40, 0, kFirstEntry & 0xFF000000u));
    TestBitmap warped_inside;
    ASSERT_EQ(SUCCESS, V_WarpBitmap(inside.get(), &map, 90, 40, 0, kFirstEntry & 0xFF000000u));
    ASSERT_EQ(SUCCESS, V_GetBitmapRegionMask(warped_inside.get(), bitmap.get(), BITMAPHANDLE_SIZE));
    EXPECT_EQ(inside.pixels(), warped_inside.pixels());
    EXPECT_EQ(extra, bitmap->ExtraData);
    EXPECT_TRUE(bitmap->XResolution == 300 && bitmap->Delay == 5 && bitmap->ViewPerspective == 6);
    EXPECT_EQ(0, std::memcmp(&entry, &bitmap->Palette[77], sizeof entry));
    const Picture wanted = read(alone.get());
    for (size_t i = 0; i < std::size(own); ++i) {
        BITMAPHANDLE& overlay = static_cast<OverlayTable*>(bitmap->Overlays)->bitmaps[i];
        EXPECT_EQ(own[i], overlay.ViewPerspective);
        EXPECT_EQ(wanted.shown(6), read(&overlay).shown(own[i])) << "perspective " << own[i];
    }
}

TEST(WarpBitmap, Arguments)
{
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInf = std::numeric_limits<double>::infinity();
    TestBitmap bitmap;
    const V_MATRIX good{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    const V_POINTD corners[4] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    const V_POINTD grid[4] = {{0, 0}, {10, 0}, {0, 10}, {10, 10}};
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_WarpBitmap(nullptr, &good, 0, 0, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_WarpBitmap(bitmap.get(), &good, 0, 0, 0, 0));
    bitmap->StructSize = 100;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_WarpBitmapCorners(bitmap.get(), corners, 0, 0, 0, 0));
    bitmap->StructSize = BITMAPHANDLE_SIZE;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 100, 40, 24));
    const std::vector<uint8_t> record = bitmap.image();
    const auto matrix = [&](const V_MATRIX& map, int32_t width = 0, int32_t height = 0) {
        return V_WarpBitmap(bitmap.get(), &map, width, height, WARP_LINEAR, 0);
    };
    const auto at_corners = [&](const V_POINTD& last) {
        const V_POINTD points[4] = {corners[0], corners[1], corners[2], last};
        return V_WarpBitmapCorners(bitmap.get(), points, 0, 0, 0, 0);
    };
    const auto by_grid = [&](const V_POINTD& last, int32_t columns = 2, int32_t rows = 2) {
        const V_POINTD points[4] = {grid[0], grid[1], grid[2], last};
        return V_WarpBitmapGrid(bitmap.get(), points, columns, rows, 0, 0, 0, 0);
    };
    const struct {
        int wanted;
        int found;
    } cases[] = {
        {ERROR_INVALID_PARAMETER, V_WarpBitmap(bitmap.get(), nullptr, 0, 0, 0, 0)},
        {ERROR_INVALID_PARAMETER, V_WarpBitmapCorners(bitmap.get(), nullptr, 0, 0, 0, 0)},
        {ERROR_INVALID_PARAMETER, V_WarpBitmapGrid(bitmap.get(), nullptr, 2, 2, 0, 0, 0, 0)},
        {ERROR_INVALID_PARAMETER, matrix(good, -1, 5)},
        {ERROR_INVALID_PARAMETER, matrix({{{kNan, 0, 0}, {0, 1, 0}, {0, 0, 1}}})},
        {ERROR_INVALID_PARAMETER, matrix({{{1, 0, 0}, {0, kInf, 0}, {0, 0, 1}}}, 5, 5)},
        {ERROR_INVALID_PARAMETER, matrix({{{1, 2, 0}, {2, 4, 0}, {0, 0, 1}}}, 5, 5)},
        {ERROR_INVALID_PARAMETER, matrix({})},
        {ERROR_INVALID_WIDTH_HEIGHT, matrix({{{1, 0, 0.02}, {0, 1, 0}, {0, 0, -1}}})}, // a horizon at column 50
        {ERROR_INVALID_WIDTH_HEIGHT, matrix({{{1e9, 0, 0}, {0, 1, 0}, {0, 0, 1}}})},
        {ERROR_INVALID_WIDTH_HEIGHT, matrix({{{1e300, 0, 0}, {0, 1e300, 0}, {0, 0, 1e-3}}})},
        {ERROR_INVALID_WIDTH_HEIGHT, matrix(good, INT32_MAX, 1)},
        {ERROR_INVALID_PARAMETER, at_corners({10, 5})},  // three on a line
        {ERROR_INVALID_PARAMETER, at_corners({5, -10})}, // crossed
        {ERROR_INVALID_PARAMETER, at_corners({9, 2})},   // pointing inwards
        {ERROR_INVALID_PARAMETER, at_corners({kNan, 10})},
        {ERROR_INVALID_PARAMETER, at_corners({-kInf, 10})},
        {ERROR_INVALID_WIDTH_HEIGHT, at_corners({-1e12, 10})},
        {ERROR_INVALID_PARAMETER, by_grid({kNan, 0})},
        {ERROR_INVALID_PARAMETER, by_grid({0, 3e9})},
        {ERROR_INVALID_PARAMETER, by_grid(grid[3], 4, 1)},
        {ERROR_INVALID_PARAMETER, by_grid(grid[3], -2, -2)},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].wanted, cases[i].found) << "case " << i;
    EXPECT_EQ(record, bitmap.image());
    bitmap->Width = 1000; // rows do not hold it
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, matrix(good, 5, 5));
    bitmap->Width = 100;
    // Odd, but no reason to fail: nothing of the picture is on the canvas, or all of it in less than a pixel.
    for (const double scale : {1e-300, 1e-9, 1e200})
        for (const uint32_t flags : {WARP_NEAREST, WARP_CUBIC, WARP_AREA}) {
            TestBitmap small;
            ASSERT_EQ(SUCCESS, small.create(TYPE_CONV, 100, 40, 24));
            const V_MATRIX map{{{scale, 0, 0}, {0, scale, 0}, {scale, -scale, 1}}};
            EXPECT_EQ(SUCCESS, V_WarpBitmap(small.get(), &map, 9, 9, flags, 0)) << scale;
        }
}

TEST(WarpFaults, LeaveTheRecordAsItWas)
{
    TestRandom random(513);
    const V_MATRIX map = picture_map(random, 40, 30, true);
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed, Kind::compressed})
        for (const uint32_t flags : {WARP_NEAREST, WARP_AREA}) {
            SCOPED_TRACE(name_of(kind));
            std::vector<uint8_t> before;
            std::vector<uint8_t> after;
            int result = SUCCESS;
            for_each_fault(
                [&] {
                    TestBitmap bitmap;
                    const Thresholds restore;
                    const uint32_t memory = kind == Kind::conv         ? TYPE_CONV
                                            : kind == Kind::disk       ? TYPE_DISK
                                            : kind == Kind::compressed ? TYPE_COMPRESSED
                                                                       : TYPE_TILED;
                    before = after = {};
                    result = bitmap.create(memory, 40, 30, kind == Kind::compressed ? 1 : 4);
                    if (result != SUCCESS)
                        return;
                    OverlayTable* const overlays = require_overlays(*bitmap.get());
                    if (overlays)
                        V_CreateBitmap(&overlays->bitmaps[2], BITMAPHANDLE_SIZE, TYPE_CONV, 40, 30, 1, 0, nullptr, 4,
                                       nullptr, 0);
                    before = bitmap.image();
                    result = V_WarpBitmap(bitmap.get(), &map, 50, 20, flags, 0);
                    after = bitmap.image();
                },
                [&](const FaultRound&) {
                    if (result != SUCCESS) {
                        EXPECT_EQ(before, after);
                    }
                });
        }
}
