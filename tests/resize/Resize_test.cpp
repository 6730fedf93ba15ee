// Whole bitmaps resized: into another bitmap and in place of one, against the rules written out pixel by pixel; and the
// choice among the ways to resize.
#include "kernel/bitmap/Overlay.h"
#include "kernel/resample/Resample.h"
#include "kernel/resize/AlphaBleed.h"
#include "kernel/resize/FavorBlack.h"
#include "tests/support/TestTurn.h"

#include "Vkbitmap.h"
#include "Vkkrnx.h"
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkview.h"

#include <array>
#include <cmath>
#include <optional>
#include <tuple>

using namespace vk::testing;
using vk::Filter;

namespace {

constexpr uint32_t kRecord = BITMAPHANDLE_SIZE;
constexpr RGBQUAD kPalettes[][2] = {
    {{0, 0, 0, 0}, {255, 255, 255, 0}}, {{255, 255, 255, 0}, {0, 0, 0, 0}}, {{9, 80, 200, 0}, {30, 60, 90, 0}}};

/// Random pixels in runs, so that compressed rows have some length.
Picture in_runs(TestRandom& random, int32_t width, int32_t height, int32_t bits)
{
    return Picture::noise(width, height, bits, random.next(), 66);
}

Picture flipped_if(bool flips, const Picture& picture)
{
    return flips ? picture.flipped() : picture;
}

void make_noise(TestBitmap& bitmap, TestRandom& random, int32_t width, int32_t height, int32_t bits)
{
    ASSERT_EQ(SUCCESS,
              bitmap.create(TYPE_CONV, width, height, bits, vk::is_gray_only(bits) ? COLORORDER_GRAY : COLORORDER_BGR));
    random.fill(bitmap->Data, bitmap.bytes());
}

constexpr std::array<int32_t, 4> kSizes[] = {{37, 9, 37, 18}, {37, 9, 74, 18}, {3, 2, 2, 3},     {150, 13, 56, 5},
                                             {64, 5, 1, 1},   {1, 1, 33, 3},   {100, 11, 150, 4}};

} // namespace

TEST(Resize, NearestInEveryStorage)
{
    TestRandom random(320);
    int round = 0;
    for (const int32_t bits : kDepths)
        for (const Kind kind : kKinds)
            for (const int step : {0, 1, 2}) {
                const auto& [w, h, to_w, to_h] = kSizes[static_cast<size_t>(round + step) % std::size(kSizes)];
                const Kind to_kind = kKinds[static_cast<size_t>(++round) % std::size(kKinds)];
                if (!can_make(kind, bits) || !can_make(to_kind, bits))
                    continue;
                SCOPED_TRACE(say(random, bits, "bits", name_of(kind), "to", name_of(to_kind)));
                const Picture picture = in_runs(random, w, h, bits);
                TestBitmap from, to;
                ASSERT_NO_FATAL_FAILURE(
                    make_stored(from, kind, picture, bits, round % 3 == 1 ? BOTTOM_LEFT : TOP_LEFT));
                ASSERT_NO_FATAL_FAILURE(to.make(to_kind, to_w, to_h, bits));
                to->ViewPerspective = round % 3 == 2 ? BOTTOM_LEFT : TOP_LEFT;
                const auto resize = round % 2 ? V_ResizeBitmap : V_IntResizeBitmap;
                ASSERT_EQ(SUCCESS, resize(from, to, bits == 1 ? 0 : SIZEFLAG_FAVORBLACK));
                const Picture sized = picture.sized(to_w, to_h);
                ASSERT_EQ(flipped_if(from->ViewPerspective != to->ViewPerspective, sized), read(to));
                EXPECT_EQ(picture, read(from));
                // In place of the source, in storage of its kind, under a lock of the caller's.
                const bool is_locked = random.one_in(2);
                const uint32_t memory = MemoryFigures(from).memory;
                ASSERT_TRUE(!is_locked || V_AccessBitmap(from) == SUCCESS);
                ASSERT_EQ(SUCCESS, V_SizeBitmap(from, to_w, to_h, SIZEFLAG_NORMAL));
                ASSERT_TRUE(!is_locked || V_ReleaseBitmap(from) == SUCCESS);
                ASSERT_EQ(sized, read(from));
                EXPECT_TRUE(memory_for(kind) == TYPE_TILED || kind == Kind::super ||
                            memory == MemoryFigures(from).memory);
            }
}

TEST(Resize, BigDestinationsAreStreamed)
{
    TestRandom random(321);
    for (const auto& [bits, width, height] : {std::array{1, 40001, 3400}, {8, 5003, 3400}, {24, 2501, 2300}}) {
        const Picture picture = in_runs(random, 301, 17, bits);
        TestBitmap from, to;
        ASSERT_NO_FATAL_FAILURE(make_stored(from, Kind::conv, picture, bits));
        ASSERT_EQ(SUCCESS, to.create(TYPE_CONV, width, height, bits, COLORORDER_BGR));
        ASSERT_LE(size_t{16} << 20, to.bytes());
        for (const bool reversed : {false, true}) {
            to->ViewPerspective = reversed ? BOTTOM_LEFT : TOP_LEFT;
            std::memset(to->Data, 0xA5, to.bytes());
            ASSERT_EQ(SUCCESS, V_IntResizeBitmap(from, to, 0));
            for (int64_t y = 0; y < height; y += y < 5 || y > height - 8 ? 1 : 97)
                for (int32_t x = 0; x < width; x += static_cast<int32_t>(1 + y % 5))
                    ASSERT_EQ(picture.at(int64_t{x} * 301 / width, y * 17 / height),
                              get_pixel(to.row(reversed ? height - 1 - y : y), bits, x))
                        << x << ", " << y;
        }
    }
}

TEST(Resize, BlackThreshold)
{
    for (int64_t n = 1; n < 3000; ++n) {
        const auto root = static_cast<int64_t>(std::sqrt(static_cast<double>(n)));
        const int64_t expected = n < 4 || root <= 2 ? 1 : root <= 4 ? root - 1 : root;
        ASSERT_EQ(expected, vk::black_threshold(n)) << n;
    }
    EXPECT_EQ(46340, vk::black_threshold(INT32_MAX));
}

namespace {

/// Blocks of displayed rows counted pixel by pixel.
Picture favored(const Picture& from, int32_t width, int32_t height, uint64_t black)
{
    const int32_t bx = std::max(1, from.width / width);
    const int32_t by = std::max(1, from.height / height);
    return Picture::made(width, height, [&](int64_t x, int64_t y) {
        int64_t count = 0;
        for (int32_t i = 0; i < bx * by; ++i)
            count += from.at(x * from.width / width + i % bx, y * from.height / height + i / bx) == black;
        return count >= vk::black_threshold(int64_t{bx} * by) ? black : 1 - black;
    });
}

} // namespace

TEST(Resize, FavorBlackCountsBlocks)
{
    TestRandom random(322);
    SCOPED_TRACE(random);
    int round = 0;
    for (const auto& [w, h, to_w, to_h] : {std::array{64, 12, 32, 6},
                                           {131, 30, 40, 7},
                                           {700, 9, 5, 2},
                                           {130, 8, 1, 1},
                                           {50, 9, 73, 20},
                                           {90, 40, 11, 80}})
        for (const Kind kind : kKinds)
            for (const uint64_t black : {0, 1}) {
                const Picture picture = in_runs(random, w, h, 1);
                const bool from_flipped = ++round % 2 != 0;
                const bool to_flipped = round % 3 == 0;
                TestBitmap from, to;
                ASSERT_NO_FATAL_FAILURE(make_stored(from, kind, picture, 1, from_flipped ? BOTTOM_LEFT : TOP_LEFT));
                ASSERT_NO_FATAL_FAILURE(to.make(kKinds[static_cast<size_t>(round) % std::size(kKinds)], to_w, to_h, 1));
                ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(from, kPalettes[black], 2));
                to->ViewPerspective = to_flipped ? BOTTOM_LEFT : TOP_LEFT;
                const Picture wanted = favored(flipped_if(from_flipped, picture), to_w, to_h, black);
                ASSERT_EQ(SUCCESS, V_ResizeBitmap(from, to, SIZEFLAG_FAVORBLACK | SIZEFLAG_RESAMPLE));
                ASSERT_EQ(flipped_if(to_flipped, wanted), read(to)) << w << " to " << to_w;
                ASSERT_EQ(SUCCESS, V_SizeBitmap(from, to_w, to_h, SIZEFLAG_FAVORBLACK | SIZEFLAG_RESAMPLE));
                ASSERT_EQ(flipped_if(from_flipped, wanted), read(from));
            }
    // A palette that is no gray ramp has no black to favour.
    const Picture picture = in_runs(random, 40, 6, 1);
    TestBitmap colored;
    ASSERT_NO_FATAL_FAILURE(make_stored(colored, Kind::conv, picture, 1));
    const RGBQUAD palette[] = {{0, 0, 255, 0}, {255, 255, 255, 0}};
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(colored, palette, 2));
    ASSERT_EQ(SUCCESS, V_SizeBitmap(colored, 13, 3, SIZEFLAG_FAVORBLACK));
    EXPECT_EQ(picture.sized(13, 3), read(colored));
}

namespace {

/// Bleeds a line of pixels, `at(i)` being the i-th, by the words of the rule.
template <class At> void bleed_line(At at, int32_t count, uint64_t most, int32_t shift)
{
    const auto alpha = [&](int32_t i) { return at(i) >> 3 * shift & most; };
    const auto shows = [&](int32_t i) { return i >= 0 && i < count && alpha(i) > (most + 1) / 2 - 1; };
    const auto blend = [&](int32_t i, int32_t with) {
        if (i < 0 || i >= count || shows(i))
            return;
        uint64_t made = alpha(i) << 3 * shift;
        for (int32_t c = 0; c < 3; ++c) {
            const uint64_t own = at(i) >> c * shift & most;
            const uint64_t other = at(with) >> c * shift & most;
            made |= ((most - alpha(with)) * own + alpha(with) * other) >> shift << c * shift;
        }
        at(i) = made;
    };
    for (int32_t i = 0; i < count; ++i) {
        const int32_t with = shows(i + 1) ? i + 1 : i - 1;
        if (shows(i) || !shows(with))
            continue;
        blend(i, with);
        blend(with == i + 1 ? i - 1 : i + 1, with);
        ++i;
    }
}

} // namespace

TEST(Resize, AlphaAwareBleedsIntoInvisiblePixels)
{
    TestRandom random(323);
    for (const int32_t bits : {32, 64})
        for (const Kind kind : {Kind::conv, Kind::disk, Kind::tiled_mixed})
            for (const bool is_clear : {true, false})
                for (const auto& [to_w, to_h] : {std::pair{46, 18}, {46, 5}, {11, 18}, {11, 5}, {23, 18}}) {
                    SCOPED_TRACE(say(random, bits, "bits", name_of(kind)));
                    const int32_t shift = bits / 4;
                    const uint64_t most = (uint64_t{1} << shift) - 1;
                    Picture picture = in_runs(random, 23, 9, bits);
                    for (uint64_t& pixel : picture.pixels) {
                        const uint64_t kAlphas[] = {is_clear ? 1u : 2u, most / 2, most / 2 + 1, most};
                        pixel = (pixel & ~(most << 3 * shift)) | kAlphas[random.below(4)] << 3 * shift;
                    }
                    Picture bled = picture;
                    for (int32_t y = 0; y < 9 && is_clear && to_w >= 23; ++y)
                        bleed_line([&](int32_t i) -> uint64_t& { return bled.at(i, y); }, 23, most, shift);
                    for (int32_t x = 0; x < 23 && is_clear && to_h >= 9; ++x)
                        bleed_line([&](int32_t i) -> uint64_t& { return bled.at(x, i); }, 9, most, shift);
                    EXPECT_EQ(is_clear && (to_w >= 23 || to_h >= 9), bled != picture);
                    TestBitmap bitmap;
                    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, bits));
                    ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap, to_w, to_h, SIZEFLAG_ALPHAAWARE));
                    ASSERT_EQ(bled.sized(to_w, to_h), read(bitmap));
                }
}

TEST(Resize, ReportsEachPercentageOfItsRows)
{
    for (const uint32_t flags : {SIZEFLAG_NORMAL, SIZEFLAG_FAVORBLACK})
        for (const int32_t height : {250, 7}) {
            TestBitmap bitmap;
            bitmap.make(Kind::conv, 9, 31, 1);
            Watch watch;
            EXPECT_EQ(SUCCESS, V_SizeBitmap(bitmap, 5, height, flags));
            std::vector<int> wanted;
            for (int i = 0; i <= std::min(height, 100); ++i)
                wanted.push_back(i * 100 / std::min(height, 100));
            EXPECT_EQ(wanted, watch.told);
        }
}

TEST(Resize, RegionAndOverlaysFollow)
{
    using Seen = std::tuple<int, BITMAPHANDLE*, int32_t, int32_t>; ///< calls, and what the last one was told
    struct Region {
        int result;
        Seen seen = {};
    };
    for (const int answer : {SUCCESS, -77}) {
        Region region{answer};
        REGIONHOOKS hooks{};
        hooks.StructSize = sizeof hooks;
        hooks.UserData = &region;
        hooks.ScaleRegion = [](BITMAPHANDLE* scaled, int32_t w, int32_t h, void* self) {
            auto& [result, seen] = *static_cast<Region*>(self);
            seen = {std::get<0>(seen) + 1, scaled, w, h};
            return result;
        };
        ASSERT_EQ(SUCCESS, V_SetRegionHooks(&hooks));
        TestBitmap from, to;
        from.make(Kind::conv, 9, 9, 8);
        to.make(Kind::conv, 5, 4, 8);
        for (const auto& [bitmap, slot] : {std::pair{&from, 3}, {&to, 6}}) {
            BITMAPHANDLE* const overlay = vk::require_overlays(**bitmap)->bitmaps + slot;
            ASSERT_EQ(SUCCESS, V_CreateBitmap(overlay, kRecord, TYPE_CONV, 7, 3, 1, 0, nullptr, TOP_LEFT, nullptr, 0));
            overlay->Data[0] = static_cast<uint8_t>(slot);
        }
        const auto slots_of = [](TestBitmap& bitmap) {
            return static_cast<vk::OverlayTable*>(bitmap->Overlays)->bitmaps;
        };
        from->RgnInfo = &hooks; // one of its own
        from->Transparency = 0x01000007;
        EXPECT_EQ(SUCCESS, V_ResizeBitmap(from, to, 0)); // no region of its own
        EXPECT_TRUE(region.seen == Seen{} && slots_of(to)[3].Data[0] == 3 && slots_of(to)[6].Data[0] == 6);
        slots_of(to)[3].Data[0] = 9;
        to->RgnInfo = &region;
        EXPECT_EQ(answer, V_ResizeBitmap(from, to, 0));
        EXPECT_EQ(Seen(1, to, 5, 4), region.seen);
        EXPECT_EQ(answer == SUCCESS ? 3 : 9, slots_of(to)[3].Data[0]);
        const Bytes image = from.image();
        EXPECT_EQ(answer, V_SizeBitmap(from, 21, 12, 0));
        EXPECT_EQ(std::pair(2, 21), std::pair(std::get<0>(region.seen), std::get<2>(region.seen)));
        EXPECT_EQ(answer != SUCCESS, image == from.image());
        EXPECT_TRUE(from->RgnInfo == &hooks && slots_of(from)[3].Data[0] == 3 && from->Transparency == 0x01000007u);
        EXPECT_EQ(answer, V_ResampleBitmap(from, 8, 31));
        EXPECT_EQ(std::pair(3, 31), std::pair(std::get<0>(region.seen), std::get<3>(region.seen)));
        V_SetRegionHooks(nullptr);
        from->RgnInfo = to->RgnInfo = nullptr;
    }
}

TEST(Resize, BringsDepthsTogether)
{
    TestRandom random(326);
    for (const int32_t from_bits : {1, 4, 8, 16, 24, 32, 48})
        for (const int32_t to_bits : kDepths) {
            if (from_bits == to_bits)
                continue;
            SCOPED_TRACE(say(random, from_bits, "to", to_bits));
            const Picture picture = in_runs(random, 31, 11, from_bits);
            TestBitmap from, to, converted;
            ASSERT_NO_FATAL_FAILURE(make_stored(from, Kind::conv, picture, from_bits));
            ASSERT_NO_FATAL_FAILURE(make_stored(to, Kind::conv, Picture::blank(40, 7), to_bits));
            Palette palette(to_bits <= 8 ? size_t{1} << to_bits : 0);
            for (RGBQUAD& entry : palette)
                random.fill(&entry, 3);
            const auto count = static_cast<uint32_t>(palette.size());
            const bool is_gray = vk::is_gray_only(to_bits);
            ASSERT_TRUE(count == 0 || V_SetBitmapNewPalette(to, palette.data(), count) == SUCCESS);
            if (to_bits > 8 && !is_gray)
                to->Order = COLORORDER_RGB;
            const uint32_t order = is_gray ? COLORRES_ORDER_GRAY : to_bits > 8 ? COLORRES_ORDER_RGB : 0;
            ASSERT_EQ(SUCCESS, V_ColorResBitmap(from, converted, kRecord, to_bits, order,
                                                count ? palette.data() : nullptr, nullptr, count));
            ASSERT_EQ(SUCCESS, V_ResizeBitmap(from, to, 0));
            ASSERT_EQ(read(converted).sized(40, 7), read(to));
            EXPECT_EQ(picture, read(from));
        }
}

TEST(Resize, BringsPerspectivesTogether)
{
    TestRandom random(334);
    for (int32_t from = 1; from <= 8; ++from)
        for (int32_t to = 1; to <= 8; ++to)
            for (const int32_t bits : {8, 24}) {
                SCOPED_TRACE(say(from, "to", to));
                TestBitmap source, made, turned;
                ASSERT_NO_FATAL_FAILURE(make_noise(source, random, 24, 9, 8));
                source->ViewPerspective = from;
                ASSERT_EQ(SUCCESS, V_CopyBitmap(turned, source, kRecord));
                ASSERT_TRUE(bits == 8 || V_ColorResBitmap(turned, nullptr, 0, bits, 0, nullptr, nullptr, 0) == SUCCESS);
                ASSERT_EQ(SUCCESS, made.create(TYPE_CONV, 14, 30, bits, COLORORDER_BGR));
                made->ViewPerspective = to;
                // Between the two that differ in the order of rows the source is stepped as it is stored.
                const bool is_pair = from != to && (from == TOP_LEFT || from == BOTTOM_LEFT) && from + to == 5;
                const Picture before = read(turned);
                ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(nullptr, turned, kRecord, to));
                ASSERT_EQ(SUCCESS, V_ResizeBitmap(source, made, 0));
                ASSERT_EQ(is_pair ? before.sized(14, 30).flipped() : read(turned).sized(14, 30), read(made));
            }
}

TEST(Resize, ArgumentsInTheirOrder)
{
    TestBitmap none, bitmap, other;
    ASSERT_EQ(SUCCESS, none.init(5, 5, 8));
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 8));
    ASSERT_EQ(SUCCESS, other.create(TYPE_CONV, 9, 9, 24));
    for (const auto& [w, h] : {std::pair{0, 9}, {9, 0}, {-5, 9}, {9, INT32_MIN}})
        expect_each(ERROR_INVALID_PARAMETER, {V_SizeBitmap(bitmap, w, h, 0), V_ResampleBitmap(bitmap, w, h)});
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_SizeBitmap(other, INT32_MAX, 1, 0));
    const Bytes image = bitmap.image();
    expect_each(SUCCESS, {V_SizeBitmap(bitmap, 5, 5, SIZEFLAG_SCALETOGRAY | SIZEFLAG_RESAMPLE),
                          V_ResampleBitmap(bitmap, 5, 5), V_ResizeBitmap(bitmap, bitmap, 0)});
    EXPECT_EQ(image, bitmap.image());
    BITMAPHANDLE cleared{};
    for (const auto resize : {V_ResizeBitmap, V_IntResizeBitmap}) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, resize(bitmap, nullptr, 0));
        EXPECT_EQ(ERROR_INVALID_IMAGE, resize(bitmap, none, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, resize(bitmap, &cleared, 0));
    }
    expect_each(ERROR_INVALID_PARAMETER, {V_ResizeBitmap(&cleared, nullptr, 0), V_ResizeBitmap(nullptr, &cleared, 0)});
    for (BITMAPHANDLE* const sound : {bitmap.get(), none.get()}) // null, then the sizes, then storage
        expect_each(ERROR_INVALID_STRUCT_SIZE,
                    {V_ResizeBitmap(sound, &cleared, 0), V_ResizeBitmap(&cleared, sound, 0)});
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_IntResizeBitmap(bitmap, other, 0));
    bitmap->BitsPerPixel = 10;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ResizeBitmap(other, bitmap, 0));
    bitmap->BitsPerPixel = 8;
}

TEST(ResizeFlags, EachCombinationIsOneWay)
{
    constexpr auto kArea = Filter::area;
    const struct {
        int32_t bits;
        uint32_t flags;
        int palette; ///< of 1-bit bitmaps: two ramps and one that is none
        std::optional<Filter> smaller, wider;
        uint32_t plain; ///< the flags that count when no filter does
    } kCases[] = {
        {24, 1, 0, {}, {}, 0},
        {24, 2 | 4, 0, kArea, kArea, 0},
        {24, 4, 0, kArea, Filter::bicubic, 0},
        {24, 16 | 2 | 4, 0, Filter::alternative, Filter::alternative, 0},
        {8, 2 | 8, 0, kArea, kArea, 0},
        {1, 2 | 1, 0, {}, {}, 1},
        {1, 2 | 1, 1, {}, {}, 1},
        {1, 2 | 1, 2, kArea, kArea, 0},
        {1, 1, 2, {}, {}, 0},
        {1, 8, 2, {}, {}, 0},
        {1, 8 | 2, 2, kArea, kArea, 0},
        {1, 4, 1, kArea, Filter::bicubic, 0},
    };
    TestRandom random(330);
    for (const auto& test : kCases)
        for (const bool wider : {false, true}) {
            SCOPED_TRACE(say(random, test.bits, "bits, flags", test.flags));
            TestBitmap bitmap, expected, into;
            const int32_t width = wider ? 80 : 31;
            ASSERT_NO_FATAL_FAILURE(make_noise(bitmap, random, 61, 40, test.bits));
            ASSERT_TRUE(test.bits != 1 || V_SetBitmapNewPalette(bitmap, kPalettes[test.palette], 2) == SUCCESS);
            for (TestBitmap* made : {&expected, &into})
                ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(*made, bitmap, kRecord, width, 13, test.bits, 0, DUPFLAG_PALETTE));
            const std::optional<Filter> filter = wider ? test.wider : test.smaller;
            ASSERT_EQ(SUCCESS, filter ? vk::resample_into(*bitmap, *expected, *filter)
                                      : V_IntResizeBitmap(bitmap, expected, test.plain));
            if (filter) {
                ASSERT_EQ(SUCCESS, V_IntResizeBitmap(bitmap, into, test.flags & ~SIZEFLAG_FAVORBLACK));
                EXPECT_EQ(expected.pixels(), into.pixels());
            }
            ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap, width, 13, test.flags));
            EXPECT_EQ(expected.pixels(), bitmap.pixels());
        }
}

TEST(ResizeFlags, ScaleToGray)
{
    TestRandom random(331);
    for (const int32_t bits : {1, 4, 8, 12, 16, 24, 32, 48})
        for (const uint32_t size : kRecordSizes)
            for (const int palette : {0, 1}) {
                SCOPED_TRACE(say(random, bits, "bits, palette", palette));
                TestBitmap bitmap(size), gray, expected;
                ASSERT_NO_FATAL_FAILURE(make_noise(bitmap, random, 62, 40, bits));
                ASSERT_TRUE(bits != 1 || V_SetBitmapNewPalette(bitmap, kPalettes[palette], 2) == SUCCESS);
                for (size_t i = 3; bits == 32 && i < bitmap.bytes(); i += 4)
                    bitmap->Data[i] = 255; // colours weigh as much as their alpha
                ASSERT_EQ(SUCCESS, V_CreateGrayScaleBitmap(gray, bitmap, kRecord, 8));
                ASSERT_EQ(SUCCESS, V_DupBitmapNewDim(expected, gray, kRecord, 31, 10, 8, 0, 1));
                ASSERT_EQ(SUCCESS, vk::resample_into(*gray, *expected, Filter::area));
                ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap, 31, 10, SIZEFLAG_SCALETOGRAY | (bits == 1 ? 3 : 0)));
                EXPECT_TRUE(bitmap->BitsPerPixel == 8 && V_IntIsGrayScaleBitmap(bitmap) == 1 && bitmap->Colors == 256);
                const Bytes made = bitmap.pixels(), wanted = expected.pixels();
                for (size_t i = 0; i < made.size(); ++i) // deep pixels are mixed before they become gray
                    ASSERT_LE(std::abs(made[i] - wanted[i]), bits == 16 ? 5 : bits > 8 ? 2 : 0) << i;
            }
    TestBitmap page, to, deep; // into bitmaps that are there
    ASSERT_NO_FATAL_FAILURE(make_noise(page, random, 60, 40, 1));
    ASSERT_EQ(SUCCESS, to.create(TYPE_CONV, 30, 20, 8));
    ASSERT_EQ(SUCCESS, V_CreateBitmapGrayPalette(to));
    ASSERT_EQ(SUCCESS, deep.create(TYPE_CONV, 30, 20, 24));
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(page, to, SIZEFLAG_SCALETOGRAY | SIZEFLAG_FAVORBLACK));
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(page, deep, SIZEFLAG_SCALETOGRAY));
    const Picture dots = Picture::made(60, 40, [&](int32_t x, int32_t y) { return get_pixel(page.row(y), 1, x); });
    const Picture wanted = Picture::made(30, 20, [&](int64_t x, int64_t y) {
        const uint64_t set = dots.at(2 * x, 2 * y) + dots.at(2 * x + 1, 2 * y) + dots.at(2 * x, 2 * y + 1) +
                             dots.at(2 * x + 1, 2 * y + 1);
        return (set * 255 + 2) / 4;
    });
    EXPECT_EQ(wanted, read(to));
    EXPECT_EQ(wanted, Picture::made(30, 20, [&](int64_t x, int64_t y) { return deep.row(y)[3 * x]; }));
}

TEST(ResizeFlags, FiltersWantOneOrder)
{
    TestRandom random(333);
    TestBitmap bgr, rgb;
    ASSERT_NO_FATAL_FAILURE(make_noise(bgr, random, 20, 20, 24));
    ASSERT_EQ(SUCCESS, rgb.create(TYPE_CONV, 20, 20, 24, COLORORDER_RGB));
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(bgr, rgb, SIZEFLAG_NORMAL));
    EXPECT_EQ(bgr.pixels(), rgb.pixels());
    ASSERT_EQ(SUCCESS, V_ResizeBitmap(bgr, rgb, SIZEFLAG_RESAMPLE));
    EXPECT_TRUE(bgr->Data[0] == rgb->Data[2] && bgr->Data[2] == rgb->Data[0]);
}

/// 40 MB in tiles and in a file, of which the process may hold next to nothing.
TEST(ResizeFlags, BiggerThanMemory)
{
    for (const uint32_t memory : {TYPE_TILED, TYPE_DISK})
        for (const uint32_t flags : {SIZEFLAG_NORMAL, SIZEFLAG_ALPHAAWARE}) {
            const Thresholds restore;
            Thresholds::max_conv(1 << 20);
            Thresholds::tiles(1 << 18, 0, 2);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(memory, 2500, 4000, 32, COLORORDER_BGR));
            const uint32_t marks[] = {0xFF332211u, 0x00665544u, 0xFF998877u};
            ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
            for (const int32_t row : {0, 1777, 3999})
                ASSERT_EQ(12, V_PutBitmapRowCol(bitmap, marks, row, 1200, 12));
            ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
            ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap, 5000, 2000, flags));
            EXPECT_EQ(memory, MemoryFigures(bitmap).memory);
            ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
            uint32_t seen[6] = {};
            ASSERT_EQ(24, V_GetBitmapRowCol(bitmap, seen, 0, 2400, 24));
            ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
            EXPECT_TRUE(seen[1] == marks[0] && seen[5] == marks[2]);
            EXPECT_EQ(flags == SIZEFLAG_NORMAL, marks[1] == seen[2]) << std::hex << seen[2];
        }
}
