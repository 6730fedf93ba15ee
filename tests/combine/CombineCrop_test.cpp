// Parts of bitmaps, borders found, cut off and added: every storage and depth, overlays, odd rectangles, failures.
#include "kernel/bitmap/Overlay.h"
#include "tests/combine/CombineSupport.h"

#include "Vkbitmap.h"

using namespace vk;
using namespace vk::testing;

namespace {

/// Where a place outside [0, size) lies in the picture: stepped there one by one. -1 for the fill colour.
int32_t place_inside(int32_t place, int32_t size, uint32_t kind)
{
    if (kind == EXTEND_FILL)
        return place < 0 || place >= size ? -1 : place;
    int32_t at = 0;
    int32_t step = 1;
    for (int32_t i = 0; i != place; i += place < 0 ? -1 : 1) {
        const int32_t next = at + (place < 0 ? -step : step);
        const bool is_inside = next >= 0 && next < size;
        if (kind == EXTEND_EDGE)
            at = is_inside ? next : at;
        else if (kind == EXTEND_WRAP)
            at = (next + size) % size;
        else
            is_inside ? void(at = next) : void(step = -step);
        if (kind == EXTEND_EDGE && !is_inside)
            break;
    }
    return at;
}

/// How far a pixel's colour is from another one, in the channel where it is farthest.
int distance(BITMAPHANDLE* bitmap, COLORREF color, COLORREF from)
{
    const auto channel = [](COLORREF value, int shift) { return static_cast<int>(value >> shift & 255); };
    if (bitmap->BitsPerPixel == 12) // gray, against the other's gray
        return std::abs(channel(color, 0) - (5 * channel(from, 8) + 2 * channel(from, 0) + channel(from, 16) + 4) / 8);
    if (bitmap->BitsPerPixel <= 8 && !bitmap->Palette) { // which reads as the index
        const RGBQUAD entry = V_IntGetFixedPalette(bitmap->BitsPerPixel)[color & 255];
        color = entry.rgbRed | uint32_t{entry.rgbGreen} << 8 | uint32_t{entry.rgbBlue} << 16;
    }
    return std::max({std::abs(channel(color, 0) - channel(from, 0)), std::abs(channel(color, 8) - channel(from, 8)),
                     std::abs(channel(color, 16) - channel(from, 16))});
}

/// An overlay of its own size in the first slot.
void give_overlay(BITMAPHANDLE* bitmap, const Picture& picture)
{
    OverlayTable* const table = require_overlays(*bitmap);
    ASSERT_NE(nullptr, table);
    ASSERT_EQ(SUCCESS, V_CreateBitmap(&table->bitmaps[0], BITMAPHANDLE_SIZE, TYPE_CONV, picture.width, picture.height,
                                      1, 0, nullptr, TOP_LEFT, nullptr, 0));
    ASSERT_NO_FATAL_FAILURE(paint(&table->bitmaps[0], picture));
}

BITMAPHANDLE& overlay(BITMAPHANDLE* bitmap)
{
    return static_cast<OverlayTable*>(bitmap->Overlays)->bitmaps[0];
}

} // namespace

TEST(CombineCrop, CopiesAndTrims)
{
    TestRandom random(1320);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths)
            for (int round = 0; round < 3; ++round) {
                if (!can_make(kind, bits))
                    continue;
                const Picture whole = Picture::noise(70, 19, bits, random.next());
                TestBitmap bitmap(round == 1 ? BITMAPHANDLE_SIZE_EARLIER : BITMAPHANDLE_SIZE);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, whole, bits));
                bitmap->XResolution = 77;
                const int32_t column = random.between(0, 60);
                const int32_t row = random.between(0, 16);
                const int32_t width = random.between(1, 70 - column);
                const int32_t height = random.between(1, 19 - row);
                const Picture part = part_of(whole, column, row, width, height);
                TestBitmap copy(bitmap.struct_size());
                // Cut off at both ends, the rectangle is the same.
                ASSERT_EQ(SUCCESS,
                          V_CopyBitmapRect(copy.get(), bitmap.get(), copy.struct_size(), column, row, width, height));
                EXPECT_EQ(part, read(copy.get()));
                EXPECT_EQ(77, copy->XResolution);
                EXPECT_EQ(bitmap->Order, copy->Order);
                EXPECT_EQ(kind == Kind::disk, V_BitmapIsDiskMemory(copy.get()) != 0);
                ASSERT_EQ(SUCCESS, V_TrimBitmap(bitmap.get(), column, row, width, height));
                EXPECT_EQ(part, read(bitmap.get()));
                EXPECT_EQ(77, bitmap->XResolution);
            }
}

TEST(CombineCrop, LargeOnesPassTheCachesBy)
{
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 3001, 1999, 24, COLORORDER_BGR));
        TestRandom random(1321);
        random.fill(bitmap->Data, bitmap.bytes());
        TestBitmap copy;
        TestBitmap wide;
        ASSERT_EQ(SUCCESS, V_CopyBitmapRect(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE, 1, 2, 2999, 1990));
        ASSERT_EQ(SUCCESS, wide.create(TYPE_CONV, 3001, 1999, 32, COLORORDER_RGB));
        ASSERT_EQ(SUCCESS, put(wide, bitmap, {0, 0, 3000, 1999, 1, 0}, COMBINE_COPY));
        for (size_t y = 0; y < 1990; ++y) {
            const uint8_t* const from = bitmap->Data + (y + 2) * bitmap->BytesPerLine + 3;
            ASSERT_EQ(0, std::memcmp(from, copy->Data + y * copy->BytesPerLine, 2999 * 3)) << y;
            const uint8_t* const to = wide->Data + (y + 2) * wide->BytesPerLine;
            for (size_t x = 0; x < 3000; ++x)
                ASSERT_TRUE(from[3 * x] == to[4 * x + 2] && from[3 * x + 2] == to[4 * x] && to[4 * x + 3] == 255) << x;
        }
    }
}

TEST(CombineCrop, ExtendsByEveryKind)
{
    TestRandom random(1322);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths)
            for (uint32_t flags = EXTEND_FILL; flags <= EXTEND_WRAP; ++flags) {
                if (!can_make(kind, bits))
                    continue;
                const int32_t sides[] = {random.between(0, 25), random.between(0, 9), random.between(0, 25),
                                         random.between(0, 9)};
                Picture before = Picture::noise(random.between(1, 30), random.between(3, 7), bits, random.next());
                SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits) + ", kind " +
                             std::to_string(flags));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, before, bits));
                ASSERT_EQ(SUCCESS,
                          V_ExtendBitmap(bitmap.get(), sides[0], sides[1], sides[2], sides[3], flags, 0x00FFFFFFu));
                Picture wanted =
                    Picture::blank(before.width + sides[0] + sides[2], before.height + sides[1] + sides[3]);
                const bool is_555 = bits == 16;
                const uint64_t white = ~uint64_t{0} >> (is_555 ? 49 : 64 - bits);
                for (int32_t y = 0; y < wanted.height; ++y)
                    for (int32_t x = 0; x < wanted.width; ++x) {
                        const int32_t u = place_inside(x - sides[0], before.width, flags);
                        const int32_t v = place_inside(y - sides[1], before.height, flags);
                        wanted.at(x, y) = u < 0 || v < 0 ? white : before.at(u, v);
                    }
                EXPECT_EQ(wanted, read(bitmap.get()));
            }
}

TEST(CombineCrop, FindsWhatIsNotBorder)
{
    TestRandom random(1323);
    SCOPED_TRACE(random);
    for (const simd::Level level : kLevels)
        for (const int32_t bits : kDepths)
            for (const uint32_t tolerance : {0u, 1u, 40u}) {
                const AtLevel at(level);
                TestBitmap bitmap;
                const int32_t width = random.between(1, 150);
                const int32_t height = random.between(1, 40);
                ASSERT_EQ(SUCCESS,
                          bitmap.create(TYPE_CONV, width, height, bits, bits == 12 ? COLORORDER_GRAY : COLORORDER_BGR));
                const COLORREF border = random.one_in(2) ? 0u : static_cast<COLORREF>(random.next() & 0xFFFFFF);
                ASSERT_EQ(SUCCESS,
                          V_CombineBitmap(bitmap.get(), 0, 0, width, height, bitmap.get(), 0, 0, COMBINE_CLEAR));
                for (int32_t y = 0; y < height; ++y)
                    for (int32_t x = 0; x < width; ++x)
                        ASSERT_EQ(SUCCESS, V_PutPixelColor(bitmap.get(), y, x, border)) << bits;
                for (int64_t spots = random.between(0, 4); spots > 0; --spots)
                    V_PutPixelColor(
                        bitmap.get(), random.between(0, height - 1), random.between(0, width - 1),
                        border ^ static_cast<COLORREF>(random.next() & (random.one_in(2) ? 0x3F3F3F : 0xFFFFFF)));
                RECT wanted = {INT32_MAX, INT32_MAX, 0, 0};
                for (int32_t y = 0; y < height; ++y)
                    for (int32_t x = 0; x < width; ++x) {
                        const int most = distance(bitmap.get(), V_GetPixelColor(bitmap.get(), y, x), border);
                        if (most > static_cast<int>(tolerance))
                            wanted = {std::min<int32_t>(wanted.left, x), std::min<int32_t>(wanted.top, y),
                                      std::max<int32_t>(wanted.right, x + 1), std::max<int32_t>(wanted.bottom, y + 1)};
                    }
                if (wanted.right == 0)
                    wanted = {0, 0, 0, 0};
                RECT found = {};
                ASSERT_EQ(SUCCESS, V_GetTrimRect(bitmap.get(), border, tolerance, &found));
                EXPECT_TRUE(wanted.left == found.left && wanted.top == found.top && wanted.right == found.right &&
                            wanted.bottom == found.bottom)
                    << bits << " bits: " << found.left << " " << found.top << " " << found.right << " " << found.bottom
                    << " for " << wanted.left << " " << wanted.top << " " << wanted.right << " " << wanted.bottom;
            }
}

TEST(CombineCrop, OverlaysGoAlong)
{
    const Picture picture = Picture::noise(40, 30, 8, 7);
    const Picture cover = Picture::noise(25, 20, 1, 8);
    TestBitmap bitmap;
    TestBitmap copy;
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, 8));
    ASSERT_NO_FATAL_FAILURE(give_overlay(bitmap.get(), cover));
    ASSERT_EQ(SUCCESS, V_CopyBitmapRect(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE, 10, 4, 30, 10));
    EXPECT_EQ(part_of(cover, 10, 4, 15, 10), read(&overlay(copy.get())));
    ASSERT_EQ(SUCCESS, V_TrimBitmap(bitmap.get(), 10, 4, 30, 10));
    EXPECT_EQ(part_of(cover, 10, 4, 15, 10), read(&overlay(bitmap.get())));
    ASSERT_EQ(SUCCESS, V_ExtendBitmap(bitmap.get(), 3, 2, 1, 1, EXTEND_EDGE, 0));
    Picture wider = read(&overlay(bitmap.get()));
    EXPECT_EQ(part_of(cover, 10, 4, 15, 10), part_of(wider, 3, 2, 15, 10));
    EXPECT_EQ(Picture::blank(19, 2), part_of(wider, 0, 0, 19, 2));
    ASSERT_EQ(SUCCESS, V_TrimBitmap(bitmap.get(), 25, 0, 5, 5));
    EXPECT_FALSE(V_BitmapIsAllocated(&overlay(bitmap.get())));
}

TEST(CombineCrop, OddArguments)
{
    TestBitmap bitmap;
    TestBitmap none;
    TestBitmap copy;
    const Picture picture = Picture::noise(20, 10, 8, 3);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, picture, 8));
    constexpr int32_t kNowhere[][4] = {{0, 0, 0, 5},
                                       {0, 0, 5, -1},
                                       {20, 0, 5, 5},
                                       {-5, 0, 5, 5},
                                       {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX},
                                       {0, INT32_MAX, 1, INT32_MAX}};
    for (const auto& [column, row, width, height] : kNowhere) {
        EXPECT_EQ(SUCCESS, V_TrimBitmap(bitmap.get(), column, row, width, height));
        EXPECT_EQ(SUCCESS, V_CopyBitmapRect(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE, column, row, width, height));
        EXPECT_TRUE(copy.is_empty());
    }
    EXPECT_EQ(SUCCESS, V_TrimBitmap(bitmap.get(), -9, -9, INT32_MAX, INT32_MAX));
    EXPECT_EQ(picture, read(bitmap.get()));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CopyBitmapRect(nullptr, bitmap.get(), BITMAPHANDLE_SIZE, 0, 0, 1, 1));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CopyBitmapRect(bitmap.get(), bitmap.get(), BITMAPHANDLE_SIZE, 0, 0, 1, 1));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CopyBitmapRect(copy.get(), bitmap.get(), 7, 0, 0, 1, 1));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_CopyBitmapRect(copy.get(), none.get(), BITMAPHANDLE_SIZE, 0, 0, 1, 1));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_TrimBitmap(none.get(), 0, 0, 1, 1));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ExtendBitmap(bitmap.get(), 0, -1, 0, 0, EXTEND_FILL, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ExtendBitmap(bitmap.get(), 0, 0, 0, 0, EXTEND_WRAP + 1, 0));
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_ExtendBitmap(bitmap.get(), INT32_MAX, 0, INT32_MAX, 0, EXTEND_FILL, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetTrimRect(bitmap.get(), 0, 0, nullptr));
    EXPECT_EQ(SUCCESS, V_ExtendBitmap(bitmap.get(), 0, 0, 0, 0, EXTEND_FILL, 0));
    EXPECT_EQ(picture, read(bitmap.get()));
}

TEST(CombineCrop, StopsAndFailuresChangeNothing)
{
    for (const Kind kind : {Kind::conv, Kind::disk, Kind::compressed}) {
        SCOPED_TRACE(name_of(kind));
        const Picture picture = Picture::noise(40, 30, 1, 9);
        for_each_fault([&] {
            TestBitmap bitmap;
            TestBitmap copy;
            const uint32_t memory = kind == Kind::disk ? TYPE_DISK : kind == Kind::conv ? TYPE_CONV : TYPE_COMPRESSED;
            if (bitmap.create(memory, 40, 30, 1) != SUCCESS)
                return;
            if (V_CopyBitmapRect(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE, 3, 3, 20, 20) != SUCCESS) {
                EXPECT_TRUE(copy.is_empty());
            }
            const bool is_trimmed = V_TrimBitmap(bitmap.get(), 3, 3, 20, 20) == SUCCESS;
            EXPECT_EQ(is_trimmed ? 20 : 40, bitmap->Width);
            const int32_t width = bitmap->Width;
            const bool is_extended = V_ExtendBitmap(bitmap.get(), 1, 1, 1, 1, EXTEND_MIRROR, 0) == SUCCESS;
            EXPECT_EQ(is_extended ? width + 2 : width, bitmap->Width);
        });
        TestBitmap bitmap;
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, 1));
        for (const int refuse_at : {0, 50, 100}) {
            const Listener listener(refuse_at);
            TestBitmap copy;
            EXPECT_EQ(ERROR_USER_ABORT, V_CopyBitmapRect(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE, 3, 3, 20, 20));
            EXPECT_EQ(ERROR_USER_ABORT, V_TrimBitmap(bitmap.get(), 3, 3, 20, 20));
            EXPECT_EQ(ERROR_USER_ABORT, V_ExtendBitmap(bitmap.get(), 3, 3, 20, 20, EXTEND_EDGE, 0));
        }
        EXPECT_EQ(picture, read(bitmap.get()));
    }
}
