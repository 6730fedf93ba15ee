// Regions through the exported functions, held against masks. Where a region has to follow, the bitmap's own pixels are
// the mask: 1 inside, 0 outside, whatever was done to them.
#include "Vkregion.h"

#include "kernel/area/Block.h"

#include "tests/region/TestRegion.h"
#include "tests/support/FaultLoop.h"

#include <bit>
#include <limits>

using namespace vk::testing;

namespace {

/// A bitmap whose region is where its pixels are not 0.
void make_own_mask(TestBitmap& bitmap, Kind kind, int32_t bits, int32_t perspective, uint64_t seed = 1)
{
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, blobs(53, 38, seed), bits, perspective));
    ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(bitmap.get(), bitmap.get(), REGION_SET));
    ASSERT_EQ(pixels_of(bitmap.get()), region_of(bitmap.get()));
}

struct Follow {
    const char* name;
    int (*run)(BITMAPHANDLE* bitmap);
};

const Follow kFollows[] = {
    {"flip", V_FlipBitmap},
    {"reverse", V_ReverseBitmap},
    {"quarter turn", [](BITMAPHANDLE* bitmap) { return V_RotateBitmap90(bitmap, 1); }},
    {"turn back", [](BITMAPHANDLE* bitmap) { return V_RotateBitmap90(bitmap, 0); }},
    {"half turn", [](BITMAPHANDLE* bitmap) { return V_RotateBitmap(bitmap, 18000, 0, 0); }},
    {"turn on the same canvas", [](BITMAPHANDLE* bitmap) { return V_RotateBitmap(bitmap, 9000, 0, 0); }},
    {"turn by an angle", [](BITMAPHANDLE* bitmap) { return V_RotateBitmap(bitmap, 2345, ROTATEFLAG_GROW, 0); }},
    {"turn by an angle, kept", [](BITMAPHANDLE* bitmap) { return V_RotateBitmap(bitmap, -730, 0, 0); }},
    {"perspective 3", [](BITMAPHANDLE* bitmap) { return V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, 3); }},
    {"perspective 5", [](BITMAPHANDLE* bitmap) { return V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, 5); }},
    {"relabelling", V_FlipBitmapViewPerspective},
    {"growing", [](BITMAPHANDLE* bitmap) { return V_SizeBitmap(bitmap, 131, 77, 0); }},
    {"shrinking", [](BITMAPHANDLE* bitmap) { return V_SizeBitmap(bitmap, 20, 45, 0); }},
    {"trimming", [](BITMAPHANDLE* bitmap) { return V_TrimBitmap(bitmap, 9, 4, 31, 20); }},
    {"extending", [](BITMAPHANDLE* bitmap) { return V_ExtendBitmap(bitmap, 3, 70, 11, 0, EXTEND_FILL, 0x01000000u); }},
    {"fewer rows", [](BITMAPHANDLE* bitmap) { return V_ChangeBitmapHeight(bitmap, 20); }},
    {"more rows", [](BITMAPHANDLE* bitmap) { return V_ChangeBitmapHeight(bitmap, 50); }},
};

TEST(Region, FollowsThePixelsThroughEveryOperation)
{
    for (const Follow& follow : kFollows)
        for (int32_t perspective = 1; perspective <= 8; ++perspective)
            for (const Kind kind : {Kind::conv, Kind::tiled_file, Kind::disk, Kind::super}) {
                SCOPED_TRACE(::testing::Message()
                             << follow.name << ", perspective " << perspective << ", " << name_of(kind));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_own_mask(bitmap, kind, 8, perspective));
                TestBitmap mask, overlay; // which follows as the region does
                ASSERT_EQ(SUCCESS, V_GetBitmapRegionMask(mask.get(), bitmap.get(), BITMAPHANDLE_SIZE));
                ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 9, mask.get(), OVERLAY_COPY));
                ASSERT_EQ(SUCCESS, follow.run(bitmap.get()));
                ASSERT_EQ(pixels_of(bitmap.get()), region_of(bitmap.get()));
                ASSERT_EQ(SUCCESS, V_GetBitmapOverlay(bitmap.get(), 9, overlay.get(), BITMAPHANDLE_SIZE, OVERLAY_COPY));
                ASSERT_EQ(pixels_of(bitmap.get()), pixels_of(overlay.get()));
            }
}

TEST(Region, FollowsWithFilters)
{
    for (const uint32_t flags : {SIZEFLAG_RESAMPLE, SIZEFLAG_BICUBIC}) {
        TestBitmap bitmap, nearest;
        ASSERT_NO_FATAL_FAILURE(make_own_mask(bitmap, Kind::conv, 24, 1));
        ASSERT_NO_FATAL_FAILURE(make_own_mask(nearest, Kind::conv, 24, 1));
        ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), 30, 90, flags));
        ASSERT_EQ(SUCCESS, V_SizeBitmap(nearest.get(), 30, 90, 0));
        EXPECT_EQ(region_of(nearest.get()), region_of(bitmap.get()));
    }
}

TEST(Region, GoesIntoCopies)
{
    for (int32_t from = 1; from <= 8; ++from)
        for (int32_t to = 1; to <= 8; ++to)
            for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
                SCOPED_TRACE(::testing::Message() << "perspectives " << from << " and " << to);
                TestBitmap bitmap, copy(size), plain(size), other, resized;
                ASSERT_NO_FATAL_FAILURE(make_own_mask(bitmap, Kind::conv, 4, from));
                ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(copy.get(), bitmap.get(), size, to));
                EXPECT_EQ(pixels_of(copy.get()), region_of(copy.get()));
                ASSERT_EQ(SUCCESS, V_CopyBitmap(plain.get(), bitmap.get(), size));
                EXPECT_EQ(region_of(bitmap.get()), region_of(plain.get()));
                // And onto a bitmap that shows the same.
                ASSERT_EQ(SUCCESS, V_CopyBitmapRegion(bitmap.get(), copy.get()));
                EXPECT_EQ(pixels_of(bitmap.get()), region_of(bitmap.get()));
                ASSERT_NO_FATAL_FAILURE(other.make(Kind::conv, copy->Width, copy->Height, 24));
                other->ViewPerspective = to;
                ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(other.get(), bitmap.get(), REGION_SET));
                EXPECT_EQ(region_of(copy.get()), region_of(other.get()));
                ASSERT_NO_FATAL_FAILURE(resized.make(Kind::conv, 40, 60, 4));
                resized->ViewPerspective = to;
                ASSERT_EQ(SUCCESS, V_ResizeBitmap(bitmap.get(), resized.get(), 0));
                EXPECT_EQ(pixels_of(resized.get()), region_of(resized.get()));
            }
}

TEST(Region, MakesAndTakesMasksOfEveryDepth)
{
    for (const int32_t bits : kDepths)
        for (const Kind kind : kKinds) {
            if (!can_make(kind, bits))
                continue;
            SCOPED_TRACE(::testing::Message() << bits << " bits, " << name_of(kind));
            TestBitmap bitmap, mask;
            ASSERT_NO_FATAL_FAILURE(make_own_mask(bitmap, kind, bits, 6, static_cast<uint64_t>(bits)));
            ASSERT_EQ(SUCCESS, V_GetBitmapRegionMask(mask.get(), bitmap.get(), BITMAPHANDLE_SIZE));
            EXPECT_EQ(1, mask->BitsPerPixel);
            EXPECT_EQ(6, mask->ViewPerspective);
            EXPECT_EQ(0x00FFFFFFu, mask->Palette[1].rgbBlue * 0x10101u);
            EXPECT_EQ(region_of(bitmap.get()), pixels_of(mask.get()));
        }
    // Alpha and the spare bit of 5-5-5 pixels are no colour.
    constexpr struct {
        int32_t bits;
        uint64_t nothing, something;
    } kBlack[] = {{16, 0x8000, 0x0400}, {32, 0xFF000000, 0x00000100}, {64, 0xFFFF000000000000, 0x000000010000}};
    for (const auto& [bits, nothing, something] : kBlack) {
        TestBitmap bitmap;
        Picture picture = Picture::blank(2, 1);
        picture.at(0, 0) = nothing;
        picture.at(1, 0) = something;
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, bits));
        ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(bitmap.get(), bitmap.get(), REGION_SET));
        EXPECT_EQ((Picture{2, 1, {0, 1}}), region_of(bitmap.get())) << bits << " bits";
    }
}

bool is_between(COLORREF color, COLORREF lower, COLORREF upper)
{
    for (int shift = 0; shift < 24; shift += 8)
        if ((color >> shift & 0xFF) < (lower >> shift & 0xFF) || (color >> shift & 0xFF) > (upper >> shift & 0xFF))
            return false;
    return true;
}

TEST(Region, FindsColoursAndWhatHangsTogether)
{
    constexpr COLORREF kLower = 0x00201008, kUpper = 0x00E0F0D0, kBelow = 0x00604060, kAbove = 0x00705030;
    for (const int32_t bits : kDepths)
        for (const int32_t order : {COLORORDER_BGR, COLORORDER_GRAY, COLORORDER_RGB}) {
            if ((order == COLORORDER_GRAY && bits != 12 && bits != 16) || (bits == 12 && order != COLORORDER_GRAY))
                continue;
            SCOPED_TRACE(::testing::Message() << bits << " bits, order " << order);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 45, 31, bits, order));
            ASSERT_NO_FATAL_FAILURE(paint(bitmap.get(), Picture::noise(45, 31, bits, 77)));
            if (order == COLORORDER_GRAY) {
                bitmap->LowBit = 2;
                bitmap->HighBit = 10;
            }
            const COLORREF seed = V_GetPixelColor(bitmap.get(), 15, 20);
            COLORREF bounds[2] = {0, 0};
            for (int shift = 0; shift < 24; shift += 8) {
                const uint32_t value = seed >> shift & 0xFF;
                bounds[0] |= (value - std::min<COLORREF>(value, kBelow >> shift & 0xFF)) << shift;
                bounds[1] |= std::min<COLORREF>(value + (kAbove >> shift & 0xFF), 255u) << shift;
            }
            const auto between = [&](COLORREF lower, COLORREF upper) {
                return Picture::made(45, 31, [&](int32_t x, int32_t y) {
                    return is_between(V_GetPixelColor(bitmap.get(), y, x), lower, upper);
                });
            };
            ASSERT_EQ(SUCCESS, V_SetBitmapRegionColor(bitmap.get(), kLower, kUpper, REGION_SET));
            EXPECT_EQ(between(kLower, kUpper), region_of(bitmap.get()));
            ASSERT_EQ(SUCCESS, V_SetBitmapRegionMagicWand(bitmap.get(), 20, 15, kBelow, kAbove, REGION_SET));
            EXPECT_EQ(connected(between(bounds[0], bounds[1]), 20, 15), region_of(bitmap.get()));
            if (bits == 5) {
                ASSERT_EQ(SUCCESS, V_SetBitmapRegionColor(bitmap.get(), 0x01000003, 0x01000007, REGION_SET));
                uint64_t pixels = 0, wanted = 0;
                Picture picture = read(bitmap.get());
                for (const uint64_t pixel : picture.pixels)
                    wanted += pixel >= 3 && pixel <= 7;
                EXPECT_EQ(SUCCESS, V_GetBitmapRegionArea(bitmap.get(), &pixels));
                EXPECT_EQ(wanted, pixels);
            }
        }
}

/// A 1-bit bitmap of a million runs.
void make_noise(TestBitmap& bitmap, uint64_t seed)
{
    TestRandom random(seed);
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 2048, 2048, 1));
    std::generate_n(bitmap->Data, bitmap.bytes(), [&] { return static_cast<uint8_t>(random.next() >> 56); });
}

TEST(Region, CombinesAMillionRunsByItsModes)
{
    TestBitmap first, second;
    ASSERT_NO_FATAL_FAILURE(make_noise(first, 1));
    ASSERT_NO_FATAL_FAILURE(make_noise(second, 2));
    for (const bool has_region : {true, false})
        for (uint32_t mode = REGION_SET; mode <= REGION_ANDNOT; ++mode) {
            TestBitmap bitmap, mask;
            ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 2048, 2048, 1));
            if (has_region) {
                ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(bitmap.get(), first.get(), REGION_SET));
            }
            ASSERT_EQ(SUCCESS, V_SetBitmapRegionMask(bitmap.get(), second.get(), mode));
            ASSERT_EQ(SUCCESS, V_GetBitmapRegionMask(mask.get(), bitmap.get(), BITMAPHANDLE_SIZE));
            uint64_t pixels = 0, wanted = 0;
            for (size_t i = 0; i < mask.bytes(); ++i) {
                const bool is_all = mode == REGION_AND || mode == REGION_ANDNOT;
                const uint32_t a = has_region ? first->Data[i] : is_all ? 0xFFu : 0u;
                const uint32_t b = second->Data[i];
                const uint32_t results[] = {b, a & b, a | b, a ^ b, a & ~b};
                ASSERT_EQ(results[mode], mask->Data[i]) << "mode " << mode << ", byte " << i;
                wanted += static_cast<uint64_t>(std::popcount(results[mode]));
            }
            EXPECT_EQ(SUCCESS, V_GetBitmapRegionArea(bitmap.get(), &pixels));
            EXPECT_EQ(wanted, pixels);
        }
}

TEST(Region, AnswersWithoutOneAsForTheWholePicture)
{
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 7, 5, 8));
    RECT bounds{};
    uint64_t pixels = 0;
    int32_t runs = 0;
    EXPECT_EQ(0, V_BitmapHasRegion(bitmap.get()));
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionBounds(bitmap.get(), &bounds));
    EXPECT_TRUE(bounds.left == 0 && bounds.top == 0 && bounds.right == 7 && bounds.bottom == 5);
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionArea(bitmap.get(), &pixels));
    EXPECT_EQ(35u, pixels);
    EXPECT_EQ(SUCCESS, V_OffsetBitmapRegion(bitmap.get(), 3, 3));
    EXPECT_EQ(0, V_BitmapHasRegion(bitmap.get()));
    ASSERT_EQ(SUCCESS, V_InvertBitmapRegion(bitmap.get())); // nothing is left
    EXPECT_EQ(1, V_BitmapHasRegion(bitmap.get()));
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionBounds(bitmap.get(), &bounds));
    EXPECT_TRUE(bounds.left == 0 && bounds.top == 0 && bounds.right == 0 && bounds.bottom == 0);
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionRow(bitmap.get(), 2, &runs, nullptr));
    EXPECT_EQ(0, runs);
    ASSERT_EQ(SUCCESS, V_InvertBitmapRegion(bitmap.get()));
    ASSERT_EQ(SUCCESS, V_OffsetBitmapRegion(bitmap.get(), -2, INT32_MIN));
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionArea(bitmap.get(), &pixels));
    EXPECT_EQ(0u, pixels);
    // A record that the caller made smaller still gives no pixel that it does not have.
    const RECT all{0, 0, 7, 5};
    ASSERT_EQ(SUCCESS, V_SetBitmapRegionRect(bitmap.get(), &all, REGION_SET));
    bitmap->Width = 3;
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionArea(bitmap.get(), &pixels));
    EXPECT_EQ(15u, pixels);
    TestBitmap mask;
    EXPECT_EQ(SUCCESS, V_GetBitmapRegionMask(mask.get(), bitmap.get(), BITMAPHANDLE_SIZE));
    bitmap->Width = 7;
}

struct HookLog {
    int calls = 0;
    bool had_area = false;
    void* foreign = nullptr;
};

TEST(Region, TellsHooksFirstAndLeavesTheirsAlone)
{
    HookLog log;
    REGIONHOOKS hooks{};
    hooks.StructSize = sizeof hooks;
    hooks.UserData = &log;
    hooks.FlipRegion = [](BITMAPHANDLE* bitmap, void* data) {
        auto* const seen = static_cast<HookLog*>(data);
        ++seen->calls;
        seen->had_area = vk::is_area_block(bitmap->RgnInfo);
        return SUCCESS;
    };
    hooks.FreeRegion = [](BITMAPHANDLE* bitmap, void* data) {
        auto* const seen = static_cast<HookLog*>(data);
        seen->foreign = bitmap->RgnInfo == seen ? nullptr : seen->foreign;
        return SUCCESS;
    };
    ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
    {
        TestBitmap bitmap, other;
        ASSERT_NO_FATAL_FAILURE(make_own_mask(bitmap, Kind::conv, 8, 1));
        EXPECT_EQ(SUCCESS, V_FlipBitmap(bitmap.get()));
        EXPECT_TRUE(log.calls == 1 && log.had_area);
        EXPECT_EQ(pixels_of(bitmap.get()), region_of(bitmap.get()));

        // What a module hung there is its own.
        ASSERT_EQ(SUCCESS, V_FreeBitmapRegion(bitmap.get()));
        bitmap->RgnInfo = &log;
        log.foreign = &log;
        const RECT rect{1, 1, 5, 5};
        RECT bounds{};
        EXPECT_EQ(1, V_BitmapHasRegion(bitmap.get()));
        EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_SetBitmapRegionRect(bitmap.get(), &rect, REGION_OR));
        EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_InvertBitmapRegion(bitmap.get()));
        EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_GetBitmapRegionBounds(bitmap.get(), &bounds));
        EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_GetBitmapRegionMask(other.get(), bitmap.get(), BITMAPHANDLE_SIZE));
        EXPECT_EQ(SUCCESS, V_FlipBitmap(bitmap.get()));
        EXPECT_EQ(2, log.calls);
        EXPECT_EQ(static_cast<void*>(&log), +bitmap->RgnInfo);
        EXPECT_EQ(SUCCESS, V_SetBitmapRegionRect(bitmap.get(), &rect, REGION_SET));
        EXPECT_EQ(nullptr, log.foreign) << "freed by its module";
        EXPECT_EQ(1, V_IsPointInBitmapRegion(bitmap.get(), 4, 4));
    }
    EXPECT_EQ(SUCCESS, V_SetRegionHooks(nullptr));
}

TEST(Region, RefusesWhatMakesNoSense)
{
    TestBitmap bitmap, none;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 7, 5, 24));
    const RECT rect{0, 0, 3, 3};
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const V_POINTD points[] = {{0, 0}, {kNan, 1}};
    const V_POINTD one[] = {{1, 1}};
    const std::vector<V_POINTD> many(1000000, V_POINTD{1, 1});
    int32_t room = 0;
    const struct {
        int wanted;
        int result;
    } checks[] = {
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionRect(nullptr, &rect, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionRect(bitmap.get(), nullptr, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionRect(bitmap.get(), &rect, 5)},
        {ERROR_INVALID_IMAGE, V_SetBitmapRegionEllipse(none.get(), &rect, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionRoundRect(bitmap.get(), &rect, -1, 3, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionPolygon(bitmap.get(), points, 2, 0, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionPolygon(bitmap.get(), points, 0, 0, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionPolygon(bitmap.get(), one, 1, 2, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionColor(bitmap.get(), 0x01000000, 0x01000002, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionColor(bitmap.get(), 0x01000000, 0x00000002, 0)},
        {ERROR_INVALID_PARAMETER, V_SetBitmapRegionMagicWand(bitmap.get(), 7, 0, 0, 0, 0)},
        {ERROR_INVALID_PARAMETER, V_GetBitmapRegionRow(bitmap.get(), 5, &room, nullptr)},
        {ERROR_INVALID_PARAMETER, V_BitmapHasRegion(nullptr)},
        {0, V_BitmapHasRegion(bitmap.get())}, // nothing of all this left one
        {SUCCESS, V_SetBitmapRegionPolygon(bitmap.get(), one, 1, 0, 0)},
        {SUCCESS, V_SetBitmapRegionPolygon(bitmap.get(), many.data(), 1000000, 0, REGION_OR)},
    };
    for (const auto& check : checks)
        EXPECT_EQ(check.wanted, check.result) << "check " << &check - checks;
    V_REGIONRUN run{};
    ASSERT_EQ(SUCCESS, V_SetBitmapRegionRect(bitmap.get(), &rect, REGION_SET));
    EXPECT_EQ(ERROR_BUFFER_TOO_SMALL, V_GetBitmapRegionRow(bitmap.get(), 1, &room, &run));
    EXPECT_EQ(1, room);
}

TEST(Region, LosesNothingWhenCallsFail)
{
    for_each_fault([] {
        TestBitmap bitmap, copy, mask;
        if (bitmap.create(TYPE_CONV, 40, 30, 8) != SUCCESS)
            return;
        const RECT rect{3, 4, 30, 20};
        const V_POINTD points[] = {{0, 0}, {39, 3}, {20, 29}};
        if (V_SetBitmapRegionEllipse(bitmap.get(), &rect, REGION_SET) != SUCCESS)
            return;
        uint64_t before = 0, after = 0;
        if (V_GetBitmapRegionArea(bitmap.get(), &before) != SUCCESS)
            return;
        const int results[] = {V_SetBitmapRegionPolygon(bitmap.get(), points, 3, REGION_WINDING, REGION_XOR)};
        if (results[0] != SUCCESS && V_GetBitmapRegionArea(bitmap.get(), &after) == SUCCESS) {
            EXPECT_EQ(before, after) << "changed by a failure";
        }
        V_SetBitmapRegionMagicWand(bitmap.get(), 2, 2, 0, 0, REGION_AND);
        V_CopyBitmap(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE);
        V_GetBitmapRegionMask(mask.get(), bitmap.get(), BITMAPHANDLE_SIZE);
        V_RotateBitmap(bitmap.get(), 1234, 0, 0);
        V_RotateBitmap90(bitmap.get(), 1);
        V_SizeBitmap(bitmap.get(), 20, 20, 0);
    });
}

} // namespace
