// Filling with colours and patterns, and floods, against pictures filled one pixel at a time.
#include "Vkfill.h"
#include "kernel/palette/ColorMatch.h"
#include "tests/combine/CombineSupport.h"

using namespace vk;
using namespace vk::testing;

namespace {

/// A colour and the pixel that it is at a depth: the last index, or white.
struct Ink {
    COLORREF color;
    uint64_t pixel;
};

Ink ink_for(TestBitmap& bitmap)
{
    const int32_t bits = bitmap->BitsPerPixel;
    const uint64_t all = ~uint64_t{0} >> (64 - bits);
    if (bits <= 8)
        return {0x01000000u | static_cast<COLORREF>(all - 1), all - 1};
    const bool is_five = bits == 16 && bitmap->Order != COLORORDER_GRAY && bitmap->Order != COLORORDER_RGB565;
    return {0x00FFFFFFu, is_five ? 0x7FFF : all};
}

template <class Rule> Picture changed(Picture picture, Rule rule)
{
    for (int32_t y = 0; y < picture.height; ++y)
        for (int32_t x = 0; x < picture.width; ++x)
            picture.at(x, y) = rule(x, y, picture.at(x, y));
    return picture;
}

/// What is connected to a pixel, by a list of pixels to look at.
Picture flooded(Picture picture, int32_t x, int32_t y, uint64_t ink, bool by_eight, auto is_open)
{
    const Picture before = picture;
    std::vector<bool> seen(picture.pixels.size());
    std::vector<std::pair<int32_t, int32_t>> open = {{x, y}};
    while (!open.empty()) {
        const auto [u, v] = open.back();
        open.pop_back();
        if (u < 0 || v < 0 || u >= picture.width || v >= picture.height)
            continue;
        const size_t at = static_cast<size_t>(v) * static_cast<size_t>(picture.width) + static_cast<size_t>(u);
        if (seen[at] || !is_open(before.pixels[at]))
            continue;
        seen[at] = true;
        picture.at(u, v) = ink;
        for (int32_t dy = -1; dy <= 1; ++dy)
            for (int32_t dx = -1; dx <= 1; ++dx)
                if (by_eight || dx == 0 || dy == 0)
                    open.emplace_back(u + dx, v + dy);
    }
    return picture;
}

} // namespace

TEST(Fill, RectanglesOfEveryKind)
{
    TestRandom random(1400);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths) {
            if (!can_make(kind, bits))
                continue;
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + std::to_string(bits) + " bits");
            TestBitmap bitmap(random.one_in(2) ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER);
            const Picture before = Picture::noise(131, 9, bits, random.next());
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, before, bits));
            const Ink ink = ink_for(bitmap);
            const RECT rect = {random.between(-5, 70), random.between(-2, 4), random.between(0, 140),
                               random.between(0, 12)};
            ASSERT_EQ(SUCCESS, V_FillBitmapRect(bitmap.get(), &rect, ink.color));
            EXPECT_EQ(changed(before,
                              [&](int32_t x, int32_t y, uint64_t pixel) {
                                  const bool is_in =
                                      x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
                                  return is_in ? ink.pixel : pixel;
                              }),
                      read(bitmap.get()));
            ASSERT_EQ(SUCCESS, V_FillBitmap(bitmap.get(), ink.color));
            EXPECT_EQ(changed(before, [&](int32_t, int32_t, uint64_t) { return ink.pixel; }), read(bitmap.get()));
        }
}

TEST(Fill, LargeOnesPassTheCachesBy)
{
    for (const simd::Level level : kLevels)
        for (const int32_t bits : {8, 24, 48, 64}) {
            const AtLevel at(level);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 24000, 1003, bits, COLORORDER_RGB));
            std::memset(bitmap->Data, 0x55, bitmap.bytes());
            const RECT rect = {1, 1, 23999, 1002};
            ASSERT_EQ(SUCCESS, V_FillBitmapRect(bitmap.get(), &rect, 0x00332211u));
            const size_t pixel = static_cast<size_t>(bits) / 8;
            uint8_t ink[8] = {};
            std::memcpy(ink, bitmap->Data + bitmap->BytesPerLine + pixel, pixel);
            EXPECT_TRUE(bits == 8 || (ink[0] == 0x11 && ink[pixel > 3 ? 4 : 2] == 0x33));
            const size_t bytes = 24000 * pixel;
            const Bytes outside(bytes, 0x55);
            Bytes inside = outside;
            for (size_t x = 1; x < 23999; ++x)
                std::memcpy(&inside[x * pixel], ink, pixel);
            for (size_t y = 0; y < 1003; ++y) {
                const Bytes& row = y < 1 || y > 1001 ? outside : inside;
                ASSERT_EQ(0, std::memcmp(row.data(), bitmap->Data + y * bitmap->BytesPerLine, bytes)) << y;
            }
        }
}

TEST(Fill, PatternsRepeat)
{
    TestRandom random(1401);
    SCOPED_TRACE(random);
    const auto wrap = [](int64_t value, int64_t size) { return static_cast<int32_t>((value % size + size) % size); };
    for (const int32_t bits : kDepths)
        for (const auto& [column, row] : {std::pair{0, 0}, {5, -7}, {INT32_MIN, INT32_MAX}, {1000, 3}}) {
            SCOPED_TRACE(std::to_string(bits) + " bits from " + std::to_string(column));
            TestBitmap bitmap;
            TestBitmap pattern;
            const Picture one = Picture::noise(random.between(1, 90), random.between(1, 5), bits, random.next());
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, Picture::noise(150, 8, bits, 3), bits));
            ASSERT_NO_FATAL_FAILURE(make_stored(pattern, Kind::tiled_file, one.flipped(), bits, BOTTOM_LEFT));
            ASSERT_EQ(SUCCESS, V_FillBitmapPattern(bitmap.get(), pattern.get(), column, row));
            EXPECT_EQ(changed(Picture::blank(150, 8),
                              [&, column = column, row = row](int32_t x, int32_t y, uint64_t) {
                                  return Picture(one).at(wrap(int64_t{x} - column, one.width),
                                                         wrap(int64_t{y} - row, one.height));
                              }),
                      read(bitmap.get()));
        }
    // Of another depth; and a bitmap's own pixels, moved by a few.
    TestBitmap colors;
    TestBitmap pattern;
    ASSERT_NO_FATAL_FAILURE(make_stored(colors, Kind::conv, Picture::blank(4, 2), 24));
    ASSERT_NO_FATAL_FAILURE(make_stored(pattern, Kind::conv, {2, 1, {0, 1}}, 1));
    ASSERT_EQ(SUCCESS, V_FillBitmapPattern(colors.get(), pattern.get(), 1, 0));
    EXPECT_EQ((Picture{4, 2, {0xFFFFFF, 0, 0xFFFFFF, 0, 0xFFFFFF, 0, 0xFFFFFF, 0}}), read(colors.get()));
    ASSERT_EQ(SUCCESS, V_FillBitmapPattern(colors.get(), colors.get(), 1, 1));
    EXPECT_EQ((Picture{4, 2, {0, 0xFFFFFF, 0, 0xFFFFFF, 0, 0xFFFFFF, 0, 0xFFFFFF}}), read(colors.get()));
}

TEST(Fill, FloodsWhatIsConnected)
{
    TestRandom random(1402);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths)
            for (uint32_t flags = 0; flags <= (FLOOD_EIGHT | FLOOD_BORDER); ++flags) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(std::string(name_of(kind)) + ", " + std::to_string(bits) + " bits, flags " +
                             std::to_string(flags));
                TestBitmap bitmap;
                // Two values, with as many ways through as make the longest detours.
                Picture before = Picture::noise(150, 40, 1, random.next());
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, before, bits));
                const Ink ink = ink_for(bitmap);
                for (uint64_t& pixel : before.pixels)
                    pixel = pixel || random.one_in(flags & FLOOD_EIGHT ? 3 : 5) ? (bits == 1 ? 1 : ink.pixel) : 0;
                ASSERT_NO_FATAL_FAILURE(paint(bitmap.get(), before));
                const int32_t x = random.between(0, 149);
                const int32_t y = random.between(0, 39);
                const bool has_border = flags & FLOOD_BORDER;
                const uint64_t start = before.at(x, y);
                const COLORREF border = bits == 1 ? 0x01000001u : ink.color;
                const uint64_t border_pixel = bits == 1 ? 1 : ink.pixel;
                ASSERT_EQ(SUCCESS, V_FloodFillBitmap(bitmap.get(), x, y, ink.color, border, 0, flags));
                const auto is_open = [&](uint64_t pixel) {
                    return has_border ? pixel != border_pixel : pixel == start;
                };
                EXPECT_EQ(flooded(before, x, y, ink.pixel, flags & FLOOD_EIGHT, is_open), read(bitmap.get()));
            }
}

// Channels within the tolerance of the first pixel's, and of a border's colour; spirals take many sweeps.
TEST(Fill, FloodsWithinTheTolerance)
{
    TestRandom random(1403);
    SCOPED_TRACE(random);
    for (const simd::Level level : kLevels)
        for (const int32_t bits : {8, 24, 32}) {
            const AtLevel at(level);
            Picture before = Picture::blank(300, 60);
            for (uint64_t& pixel : before.pixels)
                for (int shift = 0; shift < bits; shift += 8)
                    pixel |= static_cast<uint64_t>(100 + random.between(0, 24)) << shift;
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, before, bits));
            if (bits == 8)
                bitmap->Order = COLORORDER_GRAY;
            const uint64_t start = before.at(150, 30);
            ASSERT_EQ(SUCCESS, V_FloodFillBitmap(bitmap.get(), 150, 30, 0, 0, 17, 0));
            const auto is_open = [&](uint64_t pixel) {
                for (int shift = 0; shift < bits; shift += 8)
                    if (std::abs(static_cast<int>(pixel >> shift & 255) - static_cast<int>(start >> shift & 255)) > 17)
                        return false;
                return true;
            };
            EXPECT_EQ(flooded(before, 150, 30, bits == 32 ? 0xFF000000u : 0, false, is_open), read(bitmap.get()));
        }
    Picture spiral = Picture::blank(101, 101);
    for (int32_t ring = 0; ring < 50; ring += 2)
        for (int32_t i = ring; i <= 100 - ring; ++i) {
            spiral.at(i, ring) = spiral.at(i, 100 - ring) = spiral.at(100 - ring, i) = 1;
            if (i != ring + 1)
                spiral.at(ring, i) = 1;
            else
                spiral.at(ring + 1, ring + 2) = 1;
        }
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::disk, spiral, 1));
    ASSERT_EQ(SUCCESS, V_FloodFillBitmap(bitmap.get(), 50, 50, 0x01000001u, 0, 0, 0));
    EXPECT_EQ(flooded(spiral, 50, 50, 1, false, [&](uint64_t pixel) { return pixel == spiral.at(50, 50); }),
              read(bitmap.get()));
}

TEST(Fill, OddArgumentsAndFailures)
{
    TestBitmap bitmap;
    TestBitmap none;
    const Picture before = Picture::noise(40, 30, 24, 1);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, before, 24));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FillBitmap(nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FillBitmapRect(bitmap.get(), nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_FillBitmap(none.get(), 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_FillBitmapPattern(bitmap.get(), none.get(), 0, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_FloodFillBitmap(bitmap.get(), 0, 0, 0, 0, 0, 4));
    for (const RECT rect : {RECT{5, 5, 5, 9}, RECT{9, 9, 5, 5}, RECT{40, 0, INT32_MAX, 9}, RECT{INT32_MIN, 0, 0, 9}})
        EXPECT_EQ(SUCCESS, V_FillBitmapRect(bitmap.get(), &rect, 0));
    for (const auto& [x, y] : {std::pair{-1, 0}, {0, 30}, {INT32_MAX, INT32_MIN}})
        EXPECT_EQ(SUCCESS, V_FloodFillBitmap(bitmap.get(), x, y, 0, 0, 255, 0));
    EXPECT_EQ(before, read(bitmap.get()));
    for (const Kind kind : kKinds) {
        if (!can_make(kind, 8))
            continue;
        SCOPED_TRACE(name_of(kind));
        const NothingLost scope;
        TestBitmap into;
        const Picture noise = Picture::noise(50, 25, 8, 4);
        ASSERT_NO_FATAL_FAILURE(make_stored(into, kind, noise, 8));
        const RECT rect = {3, 2, 47, 21};
        const auto fill = [&] { return V_FillBitmapRect(into.get(), &rect, 0x01000003u); };
        expect_stops(into.get(), 19, fill);
        ASSERT_NO_FATAL_FAILURE(paint(into.get(), noise));
        expect_stops(into.get(), 25, [&] { return V_FillBitmapPattern(into.get(), bitmap.get(), 3, 4); });
        ASSERT_NO_FATAL_FAILURE(paint(into.get(), noise));
        const auto flood = [&] { return V_FloodFillBitmap(into.get(), 25, 12, 0x01000003u, 0, 200, FLOOD_EIGHT); };
        expect_stops(into.get(), 25, flood);
        ASSERT_NO_FATAL_FAILURE(paint(into.get(), noise));
        expect_survives_faults(into.get(), false, flood);
    }
}
