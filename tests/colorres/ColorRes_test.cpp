// Changes of colours, against the same rows taken one by one. Every depth and order to every other, then every kind of
// palette and the look-up tables of gray bitmaps.
#include "tests/colorres/ColorResSupport.h"

using namespace vk::testing;

namespace {

/// Every storage kind for one pair of formats would be much; each pair gets some of them.
std::vector<Kind> some_kinds(size_t pair, int32_t bits)
{
    std::vector<Kind> kinds = {kKinds[pair % 7], kKinds[(pair + 3) % 7]};
    if (bits == 1)
        kinds.push_back(Kind::compressed);
    return kinds;
}

} // namespace

TEST(ColorRes, EveryFormatToEveryOther)
{
    TestRandom random(81);
    SCOPED_TRACE(random);
    size_t pair = 0;
    for (const Format& from : kFormats)
        for (const Format& to : kFormats)
            for (const Kind kind : some_kinds(++pair, from.bits)) {
                SCOPED_TRACE(text(from) + " to " + text(to) + ", " + name_of(kind));
                const Thresholds restore;
                Thresholds::tiles(300, 0, 2);
                const bool is_indexed = to.bits <= 8;
                TestBitmap source(pair % 2 ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER);
                ASSERT_NO_FATAL_FAILURE(make_source(source, kind, from, random));
                source->DitheringMethod = static_cast<int32_t>(pair % 9);
                const bool dithers = is_indexed && source->DitheringMethod != DITHER_NONE;
                const RGBQUAD* const palette = is_indexed ? V_IntGetFixedPalette(to.bits) : nullptr;
                const Bytes rows = expected_rows(source, to, palette, 1u << (is_indexed ? to.bits : 0),
                                                 dithers ? source->DitheringMethod : DITHER_NONE);
                ASSERT_NO_FATAL_FAILURE(expect_change(source, to, order_flag(to.order), nullptr, 0, rows));
            }
}

TEST(ColorRes, NearestEntryOfAnyNumberOfColors)
{
    TestRandom random(82);
    SCOPED_TRACE(random);
    for (const Format& from : kFormats)
        for (const uint32_t colors : {2u, 3u, 17u, 200u, 256u}) {
            SCOPED_TRACE(text(from) + ", colours " + std::to_string(colors));
            const int32_t bits = colors <= 4 ? 2 : colors <= 32 ? 5 : 8;
            Palette palette(size_t{1} << bits);
            random.fill(palette.data(), colors * sizeof(RGBQUAD));
            palette[0] = {9, 9, 9, 0}; // black is behind the entries in use, and must not be found there
            TestBitmap source;
            ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, from, random));
            TestBitmap colored;
            ASSERT_EQ(SUCCESS,
                      V_ColorResBitmap(source.get(), colored.get(), BITMAPHANDLE_SIZE, 24, 0, nullptr, nullptr, 0));
            TestBitmap made;
            ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, bits, COLORRES_NODITHER,
                                                palette.data(), nullptr, colors));
            EXPECT_EQ(colors, made->Colors);
            const Bytes in = colored.pixels();
            const Bytes out = made.pixels();
            for (int32_t y = 0; y < kHeight; ++y)
                for (int32_t x = 0; x < kWidth; ++x) {
                    const uint8_t* p = in.data() + static_cast<size_t>(y) * colored->BytesPerLine + 3 * x;
                    ASSERT_EQ(static_cast<uint64_t>(V_FindPaletteIndex(palette.data(), colors, p[2], p[1], p[0])),
                              get_pixel(out.data() + static_cast<size_t>(y) * made->BytesPerLine, bits, x));
                }
        }
}

TEST(ColorRes, PaletteObjectsCubeAndGrayRamp)
{
    TestRandom random(83);
    SCOPED_TRACE(random);
    Palette entries(60);
    random.fill(entries.data(), entries.size() * sizeof(RGBQUAD));
    for (RGBQUAD& entry : entries)
        entry.rgbReserved = 0;
    const HPALETTE object = V_CreatePalette(entries.data(), 60);
    ASSERT_NE(nullptr, object);
    TestBitmap source;
    ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {24, COLORORDER_BGR}, random));
    const auto change = [&](TestBitmap& made, int32_t bits, uint32_t flags, HPALETTE handle) {
        return V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, bits, flags, nullptr, handle, 0);
    };
    const int32_t method = source->DitheringMethod;
    {
        TestBitmap made;
        ASSERT_EQ(SUCCESS, change(made, 7, 0, object));
        EXPECT_EQ(60u, made->Colors);
        entries.resize(128);
        EXPECT_EQ(expected_rows(source, {7, 0}, entries.data(), 60, method), made.pixels());
    }
    {
        TestBitmap made;
        ASSERT_EQ(SUCCESS, change(made, 8, COLORRES_PALETTE_CUBE, object));
        EXPECT_EQ(expected_rows(source, {8, 0}, V_IntGetNetscapePalette(), 256, method), made.pixels());
    }
    for (int32_t bits = 1; bits <= 8; ++bits)
        for (const uint32_t flags : {COLORRES_NODITHER | COLORRES_ORDER_GRAY, COLORRES_PALETTE_GRAY | 0u}) {
            TestBitmap made;
            ASSERT_EQ(SUCCESS, change(made, bits, flags, nullptr));
            EXPECT_EQ(1, V_IntIsGrayScaleBitmap(made.get()));
            TestBitmap gray; // colours become gray first
            ASSERT_EQ(SUCCESS, change(gray, 8, COLORRES_PALETTE_GRAY, nullptr));
            EXPECT_EQ(expected_rows(source, {8, COLORORDER_GRAY}, nullptr, 0, DITHER_NONE), gray.pixels());
            const bool dithers = bits < 8 && (flags & COLORRES_NODITHER) == 0;
            if (bits < 8) {
                EXPECT_EQ(expected_rows(gray, {bits, 0}, own_palette(made.get()).data(), 1u << bits,
                                        dithers ? method : DITHER_NONE),
                          made.pixels());
            }
        }
#if defined(_WIN32)
    DeleteObject(object);
#else
    V_DeletePalette(object);
#endif
}

TEST(ColorRes, ColorsThatAreThereAreKept)
{
    TestRandom random(84);
    SCOPED_TRACE(random);
    for (int32_t bits = 1; bits <= 8; ++bits)
        for (const uint32_t flags : {COLORRES_PALETTE_DEFAULT, COLORRES_PALETTE_OPTIMIZED}) {
            TestBitmap source;
            ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {bits, 0}, random));
            Palette larger = own_palette(source.get());
            std::reverse(larger.begin(), larger.end());
            const bool is_optimized = flags == COLORRES_PALETTE_OPTIMIZED;
            TestBitmap made;
            ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, 8, flags, larger.data(),
                                                nullptr, is_optimized ? 0 : static_cast<uint32_t>(larger.size())));
            EXPECT_EQ(expected_rows(source, {24, 1}, nullptr, 0, DITHER_NONE),
                      expected_rows(made, {24, 1}, nullptr, 0, DITHER_NONE));
        }
}

TEST(ColorRes, MatchTableServesPassedPalettes)
{
    TestRandom random(85);
    Palette palette(16);
    random.fill(palette.data(), 64);
    for (RGBQUAD& entry : palette)
        entry.rgbReserved = 0;
    std::vector<uint32_t> table(32768, 1 + 5); // everything is entry 5
    V_SetUserMatchTable(table.data());
    TestBitmap source;
    ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {24, 1}, random));
    TestBitmap made;
    EXPECT_EQ(SUCCESS,
              V_ColorResBitmap(source.get(), made.get(), BITMAPHANDLE_SIZE, 4, 0, palette.data(), nullptr, 16));
    V_SetUserMatchTable(nullptr);
    EXPECT_EQ(5u, get_pixel(made.pixels().data(), 4, 20));
}

namespace {

/// Gives a gray bitmap tables of random colours; true to the length its range asks for.
void give_tables(TestBitmap& bitmap, TestRandom& random, bool narrow, bool wide)
{
    const uint32_t count = 1u << (bitmap->HighBit - bitmap->LowBit + 1);
    if (narrow) {
        bitmap->LUT = static_cast<RGBQUAD*>(GlobalLock(GlobalAlloc(GHND, count * sizeof(RGBQUAD))));
        random.fill(bitmap->LUT, count * sizeof(RGBQUAD));
        bitmap->LUTLength = count;
    }
    if (wide) {
        bitmap->LUT16 = static_cast<V_RGBQUAD16*>(GlobalLock(GlobalAlloc(GHND, count * sizeof(V_RGBQUAD16))));
        random.fill(bitmap->LUT16, count * sizeof(V_RGBQUAD16));
        bitmap->LUTLength16 = count;
    }
    bitmap->Flags |= BITMAPFLAG_USELUT;
}

} // namespace

TEST(ColorRes, LookUpTablesAreWhatIsSeen)
{
    TestRandom random(86);
    SCOPED_TRACE(random);
    for (const int32_t bits : {12, 16})
        for (const auto& [narrow, wide] : {std::pair(true, false), std::pair(false, true), std::pair(true, true)})
            for (const Format& to : kFormats) {
                if (to.order == COLORORDER_GRAY && to.bits == bits)
                    continue;
                SCOPED_TRACE(std::to_string(bits) + (narrow ? " LUT" : "") + (wide ? " LUT16" : "") + " to " +
                             text(to));
                TestBitmap source;
                ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {bits, COLORORDER_GRAY}, random));
                source->LowBit = 1;
                source->HighBit = 10;
                give_tables(source, random, narrow, wide);
                const bool is_deep = to.bits > 32 || (to.bits > 8 && to.order == COLORORDER_GRAY);
                const bool uses_16 = wide && (is_deep || !narrow);
                // The same picture as colours.
                TestBitmap colors;
                ASSERT_NO_FATAL_FAILURE(colors.make(Kind::conv, kWidth, kHeight, uses_16 ? 48 : 24));
                const Bytes samples = source.pixels();
                for (int32_t y = 0; y < kHeight; ++y)
                    for (int32_t x = 0; x < kWidth; ++x) {
                        const uint64_t sample =
                            get_pixel(samples.data() + static_cast<size_t>(y) * source->BytesPerLine, bits, x);
                        const size_t index = sample >> 1 & 0x3FF;
                        uint8_t* const row = colors->Data + static_cast<size_t>(y) * colors->BytesPerLine;
                        uses_16 ? std::memcpy(row + 6 * x, source->LUT16 + index, 6)
                                : std::memcpy(row + 3 * x, source->LUT + index, 3);
                    }
                const bool is_indexed = to.bits <= 8;
                const RGBQUAD* const palette = is_indexed ? V_IntGetFixedPalette(to.bits) : nullptr;
                const int32_t method = is_indexed ? source->DitheringMethod : DITHER_NONE;
                const Bytes rows = expected_rows(colors, to, palette, 1u << (is_indexed ? to.bits : 0), method);
                ASSERT_NO_FATAL_FAILURE(expect_change(source, to, order_flag(to.order), nullptr, 0, rows));
                EXPECT_TRUE(source->LUT == nullptr);
                EXPECT_FALSE(V_BitmapIsUseLUT(source.get()));
            }
    TestBitmap source;
    ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {16, COLORORDER_GRAY}, random));
    source->LowBit = 0;
    source->HighBit = 9;
    give_tables(source, random, true, false);
    source->LUTLength = 1023;
    EXPECT_EQ(ERROR_INVALID_LUT_LENGTH, V_ColorResBitmap(source.get(), nullptr, 0, 24, 0, nullptr, nullptr, 0));
}
