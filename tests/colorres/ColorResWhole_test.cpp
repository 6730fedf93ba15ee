// What a change of colours does to the bitmap as a whole: transparency, limits, progress, and what is left when it
// fails.
#include "tests/colorres/ColorResSupport.h"
#include "tests/support/FaultLoop.h"

using namespace vk::testing;

TEST(ColorRes, TransparencyBecomesAlphaOrAnIndex)
{
    TestRandom random(87);
    SCOPED_TRACE(random);
    for (const Format& from : kFormats)
        for (const bool by_index : {true, false}) {
            if (by_index && from.bits > 8)
                continue;
            TestBitmap source;
            ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, from, random));
            source->Flags |= BITMAPFLAG_TRANSPARENCY;
            source->Transparency = by_index ? 0x01000001 : V_GetPixelColor(source.get(), 2, 3) & 0xFFFFFF;
            source->Background = source->Transparency;
            for (const Format& to : {Format{32, 1}, Format{64, 0}}) {
                if (from.bits == to.bits && from.order == to.order)
                    continue;
                SCOPED_TRACE(text(from) + " to " + text(to));
                TestBitmap made;
                ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, to.bits,
                                                    order_flag(to.order), nullptr, nullptr, 0));
                const bool has_alpha = from.bits == 64 || (from.bits == 32 && from.order != COLORORDER_GRAY);
                EXPECT_EQ(expected_rows(source, to, nullptr, 0, DITHER_NONE, has_alpha ? 0 : CVT_TRANSPARENT_COLOR,
                                        source->Transparency),
                          made.pixels());
                EXPECT_EQ(0u, made->Transparency >> 24);
                EXPECT_EQ(0u, made->Background >> 24);
            }
            TestBitmap made;
            ASSERT_EQ(SUCCESS,
                      V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, 5, 0, nullptr, nullptr, 0));
            const RGBQUAD seen = by_index ? source->Palette[1]
                                          : RGBQUAD{static_cast<uint8_t>(source->Transparency >> 16),
                                                    static_cast<uint8_t>(source->Transparency >> 8),
                                                    static_cast<uint8_t>(source->Transparency), 0};
            const int32_t index =
                V_FindPaletteIndex(V_IntGetFixedPalette(5), 32, seen.rgbRed, seen.rgbGreen, seen.rgbBlue);
            EXPECT_EQ(from.bits == 5 ? made->Transparency : 0x01000000u + static_cast<uint32_t>(index),
                      made->Transparency);
        }
}

TEST(ColorRes, GrayResultsKnowTheirLimits)
{
    for (const int32_t bits : {12, 16, 32}) {
        TestBitmap source;
        ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, kWidth, 2, 24, COLORORDER_BGR));
        std::memset(source->Data, 0x80, source.bytes());
        std::memset(source->Data, 0x10, 3);
        ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), nullptr, 0, bits, COLORRES_ORDER_GRAY, nullptr, nullptr, 0));
        const Bytes rows = source.pixels();
        EXPECT_EQ(static_cast<int64_t>(std::min<uint64_t>(get_pixel(rows.data(), bits, 0), INT32_MAX)), source->MinVal);
        EXPECT_EQ(static_cast<int64_t>(std::min<uint64_t>(get_pixel(rows.data(), bits, 1), INT32_MAX)), source->MaxVal);
        EXPECT_LT(source->MinVal, source->MaxVal);
    }
}

namespace {

/// Notes percentages, and stops at one.
struct Watch {
    int stop_at = 101;
    std::vector<int> seen;

    Watch() { V_SetStatusCallback(tell, this, nullptr, nullptr); }
    ~Watch() { V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr); }
    static int tell(int percent, void* self)
    {
        auto* watch = static_cast<Watch*>(self);
        watch->seen.push_back(percent);
        return percent >= watch->stop_at ? -29 : SUCCESS;
    }
};

constexpr struct {
    int32_t bits;
    uint32_t flags;
} kWork[] = {{24, 0}, {8, 0}, {4, COLORRES_PALETTE_OPTIMIZED}, {1, COLORRES_PALETTE_GRAY}, {16, COLORRES_ORDER_GRAY}};

} // namespace

TEST(ColorRes, StopsWhenToldToAndChangesNothing)
{
    TestRandom random(88);
    SCOPED_TRACE(random);
    for (const Kind kind : {Kind::conv, Kind::global, Kind::disk, Kind::tiled_mixed})
        for (const auto& work : kWork) {
            TestBitmap source;
            ASSERT_NO_FATAL_FAILURE(make_source(source, kind, {48, COLORORDER_RGB}, random, 300));
            const Bytes image = source.image();
            const Bytes pixels = source.pixels();
            for (int i = 0; i < 8; ++i) {
                Watch watch;
                watch.stop_at = i == 0 ? 0 : random.between(1, 100);
                const auto before = vk::fault::live();
                EXPECT_EQ(-29, V_ColorResBitmap(source.get(), nullptr, 0, work.bits, work.flags, nullptr, nullptr, 0));
                expect_same_live(before, vk::fault::live());
                EXPECT_EQ(image, source.image());
                TestBitmap made;
                EXPECT_EQ(-29, V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, work.bits, work.flags,
                                                nullptr, nullptr, 0));
                EXPECT_TRUE(made.is_empty());
            }
            EXPECT_EQ(pixels, source.pixels());
            Watch watch;
            EXPECT_EQ(SUCCESS, V_ColorResBitmap(source.get(), nullptr, 0, work.bits, work.flags, nullptr, nullptr, 0));
            std::vector<int> all(101);
            for (int i = 0; i <= 100; ++i)
                all[static_cast<size_t>(i)] = i;
            EXPECT_EQ(all, watch.seen);
        }
}

TEST(ColorRes, EveryFailureLeavesTheSource)
{
    TestRandom random(89);
    SCOPED_TRACE(random);
    for (const uint32_t memory : {TYPE_CONV, TYPE_DISK, TYPE_TILED})
        for (const bool in_place : {true, false})
            for (const auto& work : kWork) {
                SCOPED_TRACE("memory " + std::to_string(memory) + ", bits " + std::to_string(work.bits));
                const Thresholds restore;
                Thresholds::tiles(256, 1, 1);
                for_each_fault([&] {
                    TestBitmap source;
                    if (source.create(memory, kWidth, 5, 8) != SUCCESS)
                        return;
                    source->Transparency = 5;
                    const Bytes image = source.image();
                    TestBitmap made;
                    const int result = V_ColorResBitmap(source.get(), in_place ? nullptr : made.get(),
                                                        BITMAPHANDLE_SIZE, work.bits, work.flags, nullptr, nullptr, 0);
                    if (result != SUCCESS) {
                        Bytes now = source.image();
                        EXPECT_EQ(image, now);
                        EXPECT_TRUE(made.is_empty());
                    }
                });
            }
}

TEST(ColorRes, NothingToDoIsNothingDone)
{
    TestRandom random(90);
    for (const Format& format : kFormats) {
        TestBitmap source;
        ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, format, random));
        const Palette palette = own_palette(source.get());
        const Bytes image = source.image();
        const auto* const entries = palette.empty() ? nullptr : palette.data();
        const auto change = [&](BITMAPHANDLE* to) {
            return V_ColorResBitmap(source.get(), to, BITMAPHANDLE_SIZE, format.bits, order_flag(format.order), entries,
                                    nullptr, 0);
        };
        EXPECT_EQ(SUCCESS, change(nullptr));
        EXPECT_EQ(SUCCESS, change(source.get()));
        EXPECT_EQ(image, source.image());
        TestBitmap made;
        EXPECT_EQ(SUCCESS, change(made.get()));
        EXPECT_EQ(source.pixels(), made.pixels());
        EXPECT_EQ(source->LowBit, made->LowBit);
    }
}

TEST(ColorRes, RefusesBadInput)
{
    TestBitmap source;
    source.make(Kind::conv, 5, 5, 24);
    const Bytes image = source.image();
    const Palette palette(256);
    const HPALETTE object = V_CreatePalette(palette.data(), 20);
    const struct {
        int32_t bits;
        uint32_t flags;
        const RGBQUAD* palette;
        HPALETTE handle;
        uint32_t colors;
        int result;
    } kCases[] = {
        {9, 0, nullptr, nullptr, 0, ERROR_INVALID_BITS_PER_PIXEL},
        {-1, 0, nullptr, nullptr, 0, ERROR_INVALID_BITS_PER_PIXEL},
        {128, 0, nullptr, nullptr, 0, ERROR_INVALID_BITS_PER_PIXEL},
        {8, 0x200, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {8, 0x50, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {8, COLORRES_ORDER_ROMM, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {24, COLORRES_ORDER_GRAY, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {32, COLORRES_ORDER_ROMM, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {24, COLORRES_ORDER_RGB565, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {12, COLORRES_ORDER_BGR, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {24, 0x0F, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {4, 0, palette.data(), nullptr, 17, ERROR_INVALID_PARAMETER},
        {8, 0, palette.data(), nullptr, 257, ERROR_INVALID_PARAMETER},
        {4, 0, nullptr, object, 0, ERROR_INVALID_PARAMETER},
        {8, 0, nullptr, object, 21, ERROR_INVALID_PARAMETER},
        {4, COLORRES_PALETTE_CUBE, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
        {4, COLORRES_PALETTE_OPTIMIZED, nullptr, nullptr, 1, ERROR_INVALID_PARAMETER},
        {4, COLORRES_PALETTE_OPTIMIZED, nullptr, nullptr, 17, ERROR_INVALID_PARAMETER},
        {4, COLORRES_PALETTE_OPTIMIZED | COLORRES_ORDER_GRAY, nullptr, nullptr, 0, ERROR_INVALID_PARAMETER},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE("bits " + std::to_string(test.bits) + ", flags " + std::to_string(test.flags));
        TestBitmap made;
        made->Width = 99;
        const auto change = [&](BITMAPHANDLE* to) {
            return V_ColorResBitmap(source.get(), to, BITMAPHANDLE_SIZE, test.bits, test.flags, test.palette,
                                    test.handle, test.colors);
        };
        EXPECT_EQ(test.result, change(nullptr));
        EXPECT_EQ(test.result, change(made.get()));
        EXPECT_TRUE(made.is_empty());
        EXPECT_EQ(image, source.image());
    }
#if defined(_WIN32)
    DeleteObject(object);
#else
    V_DeletePalette(object);
#endif
    TestBitmap other;
    const auto change = [&](BITMAPHANDLE* from, uint32_t size) {
        return V_ColorResBitmap(from, other.get(), size, 8, 0, nullptr, nullptr, 0);
    };
    EXPECT_EQ(ERROR_INVALID_PARAMETER, change(nullptr, BITMAPHANDLE_SIZE));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, change(source.get(), 17));
    TestBitmap empty;
    EXPECT_EQ(ERROR_INVALID_IMAGE, change(empty.get(), BITMAPHANDLE_SIZE));
    source->DitheringMethod = 9;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, change(source.get(), BITMAPHANDLE_SIZE));
    source->Width = 6; // more than a row holds
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, change(source.get(), BITMAPHANDLE_SIZE));
    source->Width = 5;
}

namespace {

/// Data callbacks that keep the pixels themselves, in a block that hangs on Handle.
struct OwnPixels {
    int live = 0;

    BITMAPDATACALLBACKS table()
    {
        BITMAPDATACALLBACKS calls{};
        calls.StructSize = sizeof calls;
        calls.UserData = this;
        calls.AllocateBitmapDataCallback = [](BITMAPHANDLE* bitmap, ALLOCATEBITMAPCALLBACKDATA* data, void* self) {
            ++static_cast<OwnPixels*>(self)->live;
            bitmap->Handle = new Bytes(data->BytesPerLine * static_cast<size_t>(data->Height), 0);
            return 2;
        };
        calls.FreeBitmapDataCallback = [](BITMAPHANDLE* bitmap, void* self) {
            --static_cast<OwnPixels*>(self)->live;
            delete static_cast<Bytes*>(bitmap->Handle);
            return 2;
        };
        calls.GetBitmapRowColCallback = [](BITMAPHANDLE* bitmap, void* buffer, int32_t row, int32_t, size_t bytes,
                                           void*) {
            const auto* pixels = static_cast<const Bytes*>(bitmap->Handle);
            std::memcpy(buffer, pixels->data() + static_cast<size_t>(row) * bitmap->BytesPerLine, bytes);
            return static_cast<intptr_t>(bytes);
        };
        calls.PutBitmapRowColCallback = [](BITMAPHANDLE* bitmap, void* buffer, int32_t row, int32_t, size_t bytes,
                                           void*) {
            auto* pixels = static_cast<Bytes*>(bitmap->Handle);
            std::memcpy(pixels->data() + static_cast<size_t>(row) * bitmap->BytesPerLine, buffer, bytes);
            return static_cast<intptr_t>(bytes);
        };
        return calls;
    }
};

} // namespace

TEST(ColorRes, PixelsThatCallbacksKeepComeToTheLibrary)
{
    TestRandom random(91);
    SCOPED_TRACE(random);
    OwnPixels owner;
    const BITMAPDATACALLBACKS table = owner.table();
    {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap.get(), BITMAPHANDLE_SIZE, kWidth, kHeight, 24, &table));
        ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap.get(), TYPE_CONV));
        Bytes pixels(bitmap.bytes());
        for (size_t at = 0; at < pixels.size(); at += bitmap->BytesPerLine)
            random.fill(pixels.data() + at, 3 * kWidth);
        ASSERT_LT(0, V_PutBitmapRow(bitmap.get(), pixels.data(), 0, pixels.size()));
        TestBitmap copy;
        ASSERT_EQ(SUCCESS, V_CopyBitmap(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE));
        EXPECT_EQ(pixels, copy.pixels());
        const Bytes rows = expected_rows(copy, {32, COLORORDER_RGB}, nullptr, 0, DITHER_NONE);
        ASSERT_EQ(SUCCESS, V_ColorResBitmap(bitmap.get(), nullptr, 0, 32, COLORRES_ORDER_RGB, nullptr, nullptr, 0));
        EXPECT_EQ(rows, bitmap.pixels());
        EXPECT_EQ(0, owner.live) << "the copy has none of them, and the old ones are gone";
        EXPECT_EQ(nullptr, +bitmap->DataCallbacks);
        EXPECT_EQ(nullptr, +copy->DataCallbacks);
    }
    EXPECT_EQ(0, owner.live);
}
