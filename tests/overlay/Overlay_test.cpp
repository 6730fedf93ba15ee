// Overlays through the exported functions: pictures laid over bitmaps, in and out of the bits of samples, and drawn.
// That they follow the pixels is tested with regions, which do the same.
#include "Vkcolorres.h"
#include "Vkoverlay.h"

#include "tests/region/TestRegion.h"
#include "tests/support/FaultLoop.h"

using namespace vk::testing;

namespace {

V_OVERLAYATTRIBUTES attributes(int32_t column, int32_t row, int32_t bit, COLORREF color = 0x0000FF)
{
    V_OVERLAYATTRIBUTES said{};
    said.StructSize = sizeof said;
    said.Flags = OVERLAYFLAG_VISIBLE;
    said.Color = color;
    said.nOriginCol = column;
    said.nOriginRow = row;
    said.nBit = bit;
    std::memcpy(said.Label, "left side", 10);
    return said;
}

Picture overlay_of(BITMAPHANDLE* bitmap, int32_t index)
{
    TestBitmap overlay;
    EXPECT_EQ(SUCCESS, V_GetBitmapOverlay(bitmap, index, overlay.get(), BITMAPHANDLE_SIZE, OVERLAY_COPY));
    EXPECT_EQ(+bitmap->Width, +overlay->Width);
    return pixels_of(overlay.get());
}

TEST(Overlays, LieWhereTheirOriginSays)
{
    constexpr struct {
        int32_t column, row;
    } kOrigins[] = {{0, 0}, {3, 5}, {-4, -2}, {12, -7}, {-6, 20}, {30, 3}, {INT32_MIN, 0}, {0, INT32_MAX}};
    for (const auto& [column, row] : kOrigins)
        for (const int32_t perspective : {1, 4, 6})
            for (const uint32_t flags : {OVERLAY_COPY, OVERLAY_MOVE}) {
                SCOPED_TRACE(::testing::Message() << column << ", " << row << ", perspective " << perspective);
                TestBitmap bitmap, overlay;
                Picture picture = blobs(17, 11, 3);
                ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 30, 24, 8));
                bitmap->ViewPerspective = TOP_LEFT;
                ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::tiled_file, picture, 1, perspective));
                const V_OVERLAYATTRIBUTES said = attributes(column, row, OVERLAY_NOBIT);
                ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap.get(), 15, &said));
                ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 15, overlay.get(), flags));
                EXPECT_EQ(flags == OVERLAY_MOVE, overlay.is_empty());
                Picture shown = picture.shown(perspective);
                const Picture expected = Picture::made(30, 24, [&, column = column, row = row](int32_t x, int32_t y) {
                    const int64_t from_x = int64_t{x} - column, from_y = int64_t{y} - row;
                    return shown.has(from_x, from_y) ? shown.at(from_x, from_y) : 0;
                });
                EXPECT_EQ(expected, overlay_of(bitmap.get(), 15));
            }
}

TEST(Overlays, GoWithWhatIsSaidOfThem)
{
    for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
        TestBitmap bitmap(size), overlay, copy, taken(size);
        ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 17, 11, 24));
        bitmap->ViewPerspective = TOP_LEFT;
        ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::conv, blobs(17, 11, 4), 1));
        const Picture set = pixels_of(overlay.get());
        const V_OVERLAYATTRIBUTES said = attributes(0, 0, 13);
        ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap.get(), 4, &said));
        ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 4, overlay.get(), OVERLAY_MOVE));
        ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), 34, 22, 0));
        ASSERT_EQ(SUCCESS, V_SizeBitmap(bitmap.get(), 17, 11, 0));
        ASSERT_EQ(SUCCESS, V_CopyBitmap(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE));
        V_OVERLAYATTRIBUTES got{};
        ASSERT_EQ(SUCCESS, V_GetBitmapOverlayAttributes(copy.get(), 4, &got, sizeof got));
        EXPECT_EQ(0, std::memcmp(&said, &got, sizeof got));
        EXPECT_EQ(set, overlay_of(copy.get(), 4));
        ASSERT_EQ(SUCCESS, V_GetBitmapOverlay(bitmap.get(), 4, taken.get(), size, OVERLAY_MOVE));
        EXPECT_EQ(set, pixels_of(taken.get()));
        EXPECT_EQ(ERROR_INVALID_PARAMETER,
                  V_GetBitmapOverlay(bitmap.get(), 4, overlay.get(), BITMAPHANDLE_SIZE, OVERLAY_COPY));
        ASSERT_EQ(SUCCESS, V_GetBitmapOverlayAttributes(bitmap.get(), 4, &got, sizeof got));
        EXPECT_EQ(OVERLAY_NOBIT, got.nBit);
    }
}

TEST(Overlays, AreKeptInBitsOfSamples)
{
    for (const int32_t bits : {8, 12, 16, 32})
        for (const Kind kind : {Kind::conv, Kind::tiled_file})
            for (const int32_t bit : {0, 5, bits - 1}) {
                SCOPED_TRACE(::testing::Message() << bits << " bits, bit " << bit);
                TestBitmap bitmap, overlay;
                Picture picture = Picture::noise(23, 9, bits, 8), mask = Picture::noise(23, 9, 1, 9);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, picture, bits));
                bitmap->Order = COLORORDER_GRAY;
                const V_OVERLAYATTRIBUTES said = attributes(0, 0, bit);
                ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap.get(), 0, &said));
                ASSERT_EQ(SUCCESS, V_LoadBitmapOverlayBits(bitmap.get(), 0));
                const Picture held = overlay_of(bitmap.get(), 0);
                ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::conv, mask, 1));
                ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 0, overlay.get(), OVERLAY_COPY));
                ASSERT_EQ(SUCCESS, V_StoreBitmapOverlayBits(bitmap.get(), 0));
                for (int32_t y = 0; y < 9; ++y)
                    for (int32_t x = 0; x < 23; ++x) {
                        uint64_t& sample = picture.at(x, y);
                        ASSERT_EQ(sample >> bit & 1, held.at(x, y));
                        sample = (sample & ~(uint64_t{1} << bit)) | mask.at(x, y) << bit;
                    }
                EXPECT_EQ(picture, read(bitmap.get()));
            }
}

TEST(Overlays, AreDrawnInTheirColours)
{
    for (const bool replaces : {false, true})
        for (const int32_t bits : {1, 8, 16, 24, 32, 48, 64}) {
            SCOPED_TRACE(::testing::Message() << bits << " bits");
            TestBitmap bitmap, made, low, high, hidden;
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, Picture::noise(23, 9, bits, 8), bits));
            ASSERT_NO_FATAL_FAILURE(make_stored(low, Kind::conv, blobs(23, 9, 1), 1));
            ASSERT_NO_FATAL_FAILURE(make_stored(high, Kind::compressed, blobs(23, 9, 2), 1));
            ASSERT_NO_FATAL_FAILURE(make_stored(hidden, Kind::conv, blobs(23, 9, 3), 1));
            V_OVERLAYATTRIBUTES said = attributes(0, 0, OVERLAY_NOBIT, 0x0000F8);
            ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap.get(), 2, &said));
            said.Color = 0xF80000;
            ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap.get(), 7, &said));
            said.Flags = 0;
            ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap.get(), 9, &said));
            ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 2, low.get(), OVERLAY_COPY));
            ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 7, high.get(), OVERLAY_COPY));
            ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap.get(), 9, hidden.get(), OVERLAY_COPY));
            TestBitmap plain; // without overlays
            ASSERT_EQ(SUCCESS, V_ColorResBitmap(bitmap.get(), plain.get(), BITMAPHANDLE_SIZE, bits < 16 ? 24 : bits,
                                                COLORRES_ORDER(bits < 16 ? COLORORDER_BGR : +bitmap->Order), nullptr,
                                                nullptr, 0));
            std::vector<COLORREF> was;
            for (int32_t i = 0; i < 23 * 9; ++i)
                was.push_back(V_GetPixelColor(plain.get(), i / 23, i % 23));
            ASSERT_EQ(SUCCESS,
                      V_FlattenBitmapOverlays(replaces ? nullptr : made.get(), bitmap.get(), BITMAPHANDLE_SIZE));
            BITMAPHANDLE* const flat = replaces ? bitmap.get() : made.get();
            EXPECT_EQ(bits < 16 ? 24 : bits, flat->BitsPerPixel);
            const Picture below = pixels_of(low.get()), above = pixels_of(high.get());
            for (int32_t y = 0; y < 9; ++y)
                for (int32_t x = 0; x < 23; ++x) {
                    const bool is_drawn = above.at(x, y) || below.at(x, y);
                    const COLORREF shows = above.at(x, y) ? 0xF80000
                                           : is_drawn     ? 0x0000F8
                                                          : was[static_cast<size_t>(y * 23 + x)] & 0xFFFFFF;
                    if (bits == 16 && is_drawn)
                        ASSERT_EQ(shows, V_GetPixelColor(flat, y, x) & 0xF8F8F8);
                    else
                        ASSERT_EQ(shows, V_GetPixelColor(flat, y, x) & 0xFFFFFF);
                }
        }
}

TEST(Overlays, RefuseWhatMakesNoSense)
{
    TestBitmap bitmap, overlay, deep, out;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 9, 9, 24));
    ASSERT_NO_FATAL_FAILURE(overlay.make(Kind::conv, 9, 9, 1));
    ASSERT_NO_FATAL_FAILURE(deep.make(Kind::conv, 9, 9, 8));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_SetBitmapOverlay(bitmap.get(), 0, deep.get(), OVERLAY_COPY));
    for (const int32_t slot : {-1, 16, INT32_MAX}) {
        V_OVERLAYATTRIBUTES said = attributes(0, 0, 1);
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapOverlay(bitmap.get(), slot, overlay.get(), OVERLAY_COPY));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_RemoveBitmapOverlay(bitmap.get(), slot));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapOverlayAttributes(bitmap.get(), slot, &said));
        EXPECT_EQ(ERROR_INVALID_PARAMETER,
                  V_GetBitmapOverlay(bitmap.get(), slot, out.get(), BITMAPHANDLE_SIZE, OVERLAY_COPY));
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapOverlay(bitmap.get(), 0, overlay.get(), 2));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapOverlay(bitmap.get(), 0, bitmap.get(), OVERLAY_COPY));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_LoadBitmapOverlayBits(bitmap.get(), 0));
    V_OVERLAYATTRIBUTES endless = attributes(0, 0, 1);
    std::memset(endless.Label, 'x', sizeof endless.Label);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapOverlayAttributes(bitmap.get(), 0, &endless));
    endless = attributes(0, 0, 32);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapOverlayAttributes(bitmap.get(), 0, &endless));
    EXPECT_TRUE(bitmap->Overlays == nullptr);
}

} // namespace
