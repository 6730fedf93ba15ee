// Changes of colours, against the same rows taken one by one through the exported converter and dithering: every depth
// and order to every other, every kind of palette, look-up tables of gray bitmaps, transparency, and what is refused.
#include "tests/support/TestBitmap.h"

#include "Vkbitmap.h"
#include "Vkdither.h"
#include "Vkkrnx.h"

using namespace vk::testing;

namespace {

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 6;
constexpr uint32_t kSize = BITMAPHANDLE_SIZE;

struct Format {
    int32_t bits, order;

    bool is_indexed() const { return bits <= 8; }
    uint32_t colors() const { return is_indexed() ? 1u << bits : 0; }
    const RGBQUAD* palette() const { return is_indexed() ? V_IntGetFixedPalette(bits) : nullptr; }
    friend std::ostream& operator<<(std::ostream& out, const Format& format)
    {
        return out << format.bits << " bits in order " << format.order;
    }
    friend bool operator==(const Format&, const Format&) = default;
};
constexpr Format kFormats[] = {{1, 0},  {2, 0},  {3, 0},  {4, 0},  {5, 0},  {6, 0},  {7, 0},  {8, 0},
                               {12, 2}, {16, 1}, {16, 0}, {16, 7}, {16, 2}, {24, 1}, {24, 0}, {24, 5},
                               {32, 1}, {32, 0}, {32, 2}, {48, 1}, {48, 0}, {48, 5}, {64, 1}, {64, 0}};

Palette random_palette(TestRandom& random, size_t count)
{
    Palette palette(count);
    for (RGBQUAD& entry : palette)
        random.fill(&entry, 3);
    return palette;
}

/// A source with random pixels, a random palette and a gray range.
void make_source(TestBitmap& bitmap, Kind kind, const Format& format, TestRandom& random, int32_t height = kHeight)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, kWidth, height, format.bits, random));
    bitmap->Order = format.order;
    if (format.is_indexed())
        ASSERT_EQ(SUCCESS,
                  V_SetBitmapNewPalette(bitmap, random_palette(random, format.colors()).data(), format.colors()));
    else if (format.order == COLORORDER_GRAY && random.one_in(2)) {
        bitmap->LowBit = random.between(0, 3);
        bitmap->HighBit = format.bits - 1 - random.between(0, 3);
    }
}

int change(TestBitmap& from, BITMAPHANDLE* to, int32_t bits, uint32_t flags, const RGBQUAD* palette = nullptr,
           uint32_t colors = 0, HPALETTE object = nullptr)
{
    return V_ColorResBitmap(from, to, from.struct_size(), bits, flags, palette, object, colors);
}

/// What the rows of a source become one by one. `palette` has 1 << bits entries, the first `colors` of which count for
/// dithering; null above 8 bits.
Bytes expected_rows(TestBitmap& source, const Format& to, const RGBQUAD* palette = nullptr, uint32_t colors = 0,
                    int32_t method = DITHER_NONE, uint32_t flags = 0, COLORREF transparent = 0)
{
    const Bytes pixels = source.pixels();
    const int32_t bits = source->BitsPerPixel;
    const size_t line = source->BytesPerLine;
    const size_t to_line = (packed_bytes_of(kWidth, to.bits) + 3) / 4 * 4;
    BITMAPHANDLE run = {};
    std::memcpy(static_cast<void*>(&run), source, source.struct_size());
    run.DitherData = nullptr;
    run.DitheringMethod = method;
    EXPECT_TRUE(method == DITHER_NONE || V_StartDitheringExt(&run, palette, colors, to.bits, nullptr) == SUCCESS);
    if (source->Order == COLORORDER_GRAY && bits > 8)
        flags |= CVT_SRC_USE_BITS;
    Bytes result;
    for (size_t at = 0; at < pixels.size(); at += line) {
        Bytes row(std::max(line, to_line) + 8), out(to_line);
        std::copy_n(pixels.begin() + static_cast<ptrdiff_t>(at), line, row.begin());
        if (method != DITHER_NONE) {
            EXPECT_EQ(SUCCESS, V_DitherLine(&run, row.data(), out.data()));
        } else {
            EXPECT_TRUE((to == Format{bits, source->Order} && !palette) ||
                        V_ConvertBufferExt3(row.data(), kWidth, bits, to.bits, source->Order, to.order, source->Palette,
                                            palette, nullptr, nullptr, flags, source->LowBit, source->HighBit,
                                            transparent) == SUCCESS);
            std::copy_n(row.begin(), packed_bytes_of(kWidth, to.bits), out.begin());
        }
        result.insert(result.end(), out.begin(), out.end());
    }
    EXPECT_EQ(SUCCESS, V_StopDithering(&run));
    return result;
}

/// Changes the source into a second record, then in place, and compares both with the rows expected.
void expect_change(TestBitmap& source, const Format& to, const Bytes& rows)
{
    const Bytes image = source.image();
    const Bytes pixels = source.pixels();
    TestBitmap made(source.struct_size());
    ASSERT_EQ(SUCCESS, change(source, made, to.bits, COLORRES_ORDER(to.order)));
    EXPECT_TRUE(image == source.image() && pixels == source.pixels());
    ASSERT_EQ(SUCCESS, change(source, nullptr, to.bits, COLORRES_ORDER(to.order)));
    for (TestBitmap* bitmap : {&made, &source}) {
        EXPECT_EQ(rows, bitmap->pixels());
        EXPECT_TRUE((*bitmap)->BitsPerPixel == to.bits && (*bitmap)->Order == to.order);
        EXPECT_EQ(source->ViewPerspective, (*bitmap)->ViewPerspective);
        EXPECT_EQ(to.colors(), (*bitmap)->Colors);
        EXPECT_TRUE(to.is_indexed() ? V_CompareBitmapToPalette(*bitmap, to.palette(), to.colors()) == 1
                                    : (*bitmap)->Palette == nullptr);
    }
}

} // namespace

TEST(ColorRes, EveryFormatToEveryOther)
{
    TestRandom random(81);
    size_t pair = 0;
    for (const Format& from : kFormats)
        for (const Format& to : kFormats)
            for (const Kind kind : {kKinds[++pair % 7], from.bits == 1 ? Kind::compressed : Kind::conv}) {
                SCOPED_TRACE(say(random, from, "to", to, name_of(kind)));
                const Thresholds restore;
                Thresholds::tiles(300, 0, 2);
                TestBitmap source(kRecordSizes[pair % 2]);
                ASSERT_NO_FATAL_FAILURE(make_source(source, kind, from, random));
                source->DitheringMethod = static_cast<int32_t>(pair % 9);
                const Bytes rows = expected_rows(source, to, to.palette(), to.colors(),
                                                 to.is_indexed() ? source->DitheringMethod : DITHER_NONE);
                ASSERT_NO_FATAL_FAILURE(expect_change(source, to, rows));
            }
}

TEST(ColorRes, NearestEntryOfAnyNumberOfColors)
{
    TestRandom random(82);
    for (const Format& from : kFormats)
        for (const uint32_t colors : {2u, 3u, 17u, 200u, 256u}) {
            SCOPED_TRACE(say(random, from, "colours", colors));
            const int32_t bits = colors <= 4 ? 2 : colors <= 32 ? 5 : 8;
            Palette palette = random_palette(random, colors);
            palette.resize(size_t{1} << bits);
            palette[0] = {9, 9, 9, 0}; // black is behind the entries in use, and must not be found there
            TestBitmap source, colored, made;
            ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, from, random));
            ASSERT_EQ(SUCCESS, change(source, colored, 24, 0));
            ASSERT_EQ(SUCCESS, change(source, made, bits, COLORRES_NODITHER, palette.data(), colors));
            EXPECT_EQ(colors, made->Colors);
            for (int32_t i = 0; i < kWidth * kHeight; ++i) {
                const uint8_t* p = colored.row(i / kWidth) + 3 * (i % kWidth);
                ASSERT_EQ(static_cast<uint64_t>(V_FindPaletteIndex(palette.data(), colors, p[2], p[1], p[0])),
                          get_pixel(made.row(i / kWidth), bits, i % kWidth));
            }
        }
}

TEST(ColorRes, PaletteObjectsCubeAndGrayRamp)
{
    TestRandom random(83);
    SCOPED_TRACE(random);
    Palette entries = random_palette(random, 60);
    const HPALETTE object = V_CreatePalette(entries.data(), 60);
    ASSERT_NE(nullptr, object);
    entries.resize(128);
    TestBitmap source, sixty, cube, gray;
    ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {24, COLORORDER_BGR}, random));
    const int32_t method = source->DitheringMethod;
    ASSERT_EQ(SUCCESS, change(source, sixty, 7, 0, nullptr, 0, object));
    EXPECT_EQ(60u, sixty->Colors);
    EXPECT_EQ(expected_rows(source, {7, 0}, entries.data(), 60, method), sixty.pixels());
    ASSERT_EQ(SUCCESS, change(source, cube, 8, COLORRES_PALETTE_CUBE, nullptr, 0, object));
    EXPECT_EQ(expected_rows(source, {8, 0}, V_IntGetNetscapePalette(), 256, method), cube.pixels());
    delete_palette(object);
    ASSERT_EQ(SUCCESS, change(source, gray, 8, COLORRES_PALETTE_GRAY)); // colours become gray first
    EXPECT_EQ(expected_rows(source, {8, COLORORDER_GRAY}), gray.pixels());
    for (int32_t bits = 1; bits <= 8; ++bits)
        for (const uint32_t flags : {COLORRES_NODITHER | COLORRES_ORDER_GRAY, COLORRES_PALETTE_GRAY | 0u}) {
            TestBitmap made;
            ASSERT_EQ(SUCCESS, change(source, made, bits, flags));
            EXPECT_EQ(1, V_IntIsGrayScaleBitmap(made));
            ASSERT_EQ(1u << bits, made->Colors);
            EXPECT_EQ(0xFF, made->Palette[made->Colors - 1].rgbGreen);
            EXPECT_TRUE(bits == 8 || made.pixels() == expected_rows(gray, {bits, 0}, made->Palette, 1u << bits,
                                                                    flags & COLORRES_NODITHER ? DITHER_NONE : method));
        }
}

TEST(ColorRes, ColorsThatAreThereAreKept)
{
    TestRandom random(84);
    for (int32_t bits = 1; bits <= 8; ++bits)
        for (const uint32_t flags : {COLORRES_PALETTE_DEFAULT, COLORRES_PALETTE_OPTIMIZED}) {
            SCOPED_TRACE(say(random, bits, "bits"));
            TestBitmap source, made;
            ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {bits, 0}, random));
            const Palette larger(std::reverse_iterator(source->Palette + source->Colors),
                                 std::reverse_iterator(+source->Palette));
            ASSERT_EQ(SUCCESS, change(source, made, 8, flags, larger.data(),
                                      flags == COLORRES_PALETTE_OPTIMIZED ? 0 : +source->Colors));
            EXPECT_EQ(expected_rows(source, {24, 1}), expected_rows(made, {24, 1}));
        }
}

TEST(ColorRes, MatchTableServesPassedPalettes)
{
    TestRandom random(85);
    const Palette palette = random_palette(random, 16);
    std::vector<uint32_t> table(32768, 1 + 5); // everything is entry 5
    V_SetUserMatchTable(table.data());
    TestBitmap source, made;
    ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {24, 1}, random));
    EXPECT_EQ(SUCCESS, change(source, made, 4, 0, palette.data(), 16));
    V_SetUserMatchTable(nullptr);
    EXPECT_EQ(5u, get_pixel(made->Data, 4, 20));
}

namespace {

/// A locked block of random entries for a table.
template <class Entry> Entry* random_table(TestRandom& random, uint32_t count)
{
    void* const table = GlobalLock(GlobalAlloc(GHND, count * sizeof(Entry)));
    random.fill(table, count * sizeof(Entry));
    return static_cast<Entry*>(table);
}

} // namespace

TEST(ColorRes, LookUpTablesAreWhatIsSeen)
{
    TestRandom random(86);
    for (const int32_t bits : {12, 16})
        for (const auto& [narrow, wide] : {std::pair(true, false), std::pair(false, true), std::pair(true, true)})
            for (const Format& to : kFormats) {
                if (to == Format{bits, COLORORDER_GRAY})
                    continue;
                SCOPED_TRACE(say(random, bits, narrow ? "LUT" : "", wide ? "LUT16" : "", "to", to));
                TestBitmap source, colors;
                ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {bits, COLORORDER_GRAY}, random));
                source->LowBit = 1;
                source->HighBit = 10;
                source->LUT = narrow ? random_table<RGBQUAD>(random, 1024) : nullptr;
                source->LUT16 = wide ? random_table<V_RGBQUAD16>(random, 1024) : nullptr;
                source->LUTLength = narrow ? 1024 : 0;
                source->LUTLength16 = wide ? 1024 : 0;
                source->Flags |= BITMAPFLAG_USELUT;
                const bool is_deep = to.bits > 32 || (to.bits > 8 && to.order == COLORORDER_GRAY);
                const bool uses_16 = wide && (is_deep || !narrow);
                // The same picture as colours.
                ASSERT_NO_FATAL_FAILURE(colors.make(Kind::conv, kWidth, kHeight, uses_16 ? 48 : 24));
                for (int32_t i = 0; i < kWidth * kHeight; ++i) {
                    const size_t index = get_pixel(source.row(i / kWidth), bits, i % kWidth) >> 1 & 0x3FF;
                    uint8_t* const at = colors.row(i / kWidth) + i % kWidth * (uses_16 ? 6 : 3);
                    uses_16 ? std::memcpy(at, source->LUT16 + index, 6) : std::memcpy(at, source->LUT + index, 3);
                }
                ASSERT_NO_FATAL_FAILURE(
                    expect_change(source, to,
                                  expected_rows(colors, to, to.palette(), to.colors(),
                                                to.is_indexed() ? source->DitheringMethod : DITHER_NONE)));
                EXPECT_TRUE(source->LUT == nullptr && !V_BitmapIsUseLUT(source));
            }
    TestBitmap source;
    ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, {16, COLORORDER_GRAY}, random));
    source->LowBit = 0;
    source->HighBit = 9;
    source->LUT = random_table<RGBQUAD>(random, 1024);
    source->LUTLength = 1023;
    source->Flags |= BITMAPFLAG_USELUT;
    EXPECT_EQ(ERROR_INVALID_LUT_LENGTH, change(source, nullptr, 24, 0));
}

TEST(ColorRes, TransparencyBecomesAlphaOrAnIndex)
{
    TestRandom random(87);
    for (const Format& from : kFormats)
        for (const bool by_index : {true, false}) {
            if (by_index && !from.is_indexed())
                continue;
            SCOPED_TRACE(say(random, from));
            TestBitmap source, indexed;
            ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, from, random));
            source->Flags |= BITMAPFLAG_TRANSPARENCY;
            source->Transparency = by_index ? 0x01000001 : V_GetPixelColor(source, 2, 3) & 0xFFFFFF;
            source->Background = source->Transparency;
            for (const Format& to : {Format{32, 1}, Format{64, 0}}) {
                if (from == to)
                    continue;
                TestBitmap made;
                ASSERT_EQ(SUCCESS, change(source, made, to.bits, COLORRES_ORDER(to.order)));
                const bool has_alpha = from.bits == 64 || (from.bits == 32 && from.order != COLORORDER_GRAY);
                EXPECT_EQ(expected_rows(source, to, nullptr, 0, DITHER_NONE, has_alpha ? 0 : CVT_TRANSPARENT_COLOR,
                                        source->Transparency),
                          made.pixels());
                EXPECT_EQ(0u, (made->Transparency | made->Background) >> 24);
            }
            ASSERT_EQ(SUCCESS, change(source, indexed, 5, 0));
            const COLORREF color = source->Transparency;
            const RGBQUAD seen = by_index ? source->Palette[1]
                                          : RGBQUAD{static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
                                                    static_cast<uint8_t>(color), 0};
            const int32_t index =
                V_FindPaletteIndex(V_IntGetFixedPalette(5), 32, seen.rgbRed, seen.rgbGreen, seen.rgbBlue);
            EXPECT_TRUE(from.bits == 5 || indexed->Transparency == 0x01000000u + static_cast<uint32_t>(index));
        }
}

TEST(ColorRes, GrayResultsKnowTheirLimits)
{
    for (const int32_t bits : {12, 16, 32}) {
        TestBitmap source;
        ASSERT_EQ(SUCCESS, source.create(TYPE_CONV, kWidth, 2, 24, COLORORDER_BGR));
        std::memset(source->Data, 0x80, source.bytes());
        std::memset(source->Data, 0x10, 3);
        ASSERT_EQ(SUCCESS, change(source, nullptr, bits, COLORRES_ORDER_GRAY));
        const auto limit = [&](int32_t x) {
            return static_cast<int64_t>(std::min<uint64_t>(get_pixel(source->Data, bits, x), INT32_MAX));
        };
        EXPECT_EQ(limit(0), source->MinVal);
        EXPECT_EQ(limit(1), source->MaxVal);
        EXPECT_LT(source->MinVal, source->MaxVal);
    }
}

TEST(ColorRes, NothingToDoIsNothingDone)
{
    TestRandom random(90);
    for (const Format& format : kFormats) {
        TestBitmap source, made;
        ASSERT_NO_FATAL_FAILURE(make_source(source, Kind::conv, format, random));
        const Palette palette(+source->Palette, source->Palette + format.colors());
        const Bytes image = source.image();
        for (BITMAPHANDLE* to : {static_cast<BITMAPHANDLE*>(nullptr), static_cast<BITMAPHANDLE*>(source),
                                 static_cast<BITMAPHANDLE*>(made)})
            EXPECT_EQ(SUCCESS, change(source, to, format.bits, COLORRES_ORDER(format.order),
                                      format.is_indexed() ? palette.data() : nullptr));
        EXPECT_EQ(image, source.image());
        EXPECT_EQ(source.pixels(), made.pixels());
        EXPECT_EQ(source->LowBit, made->LowBit);
    }
}

TEST(ColorRes, RefusesBadInput)
{
    TestBitmap source, empty, other;
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
        int result = ERROR_INVALID_PARAMETER;
    } kCases[] = {
        {9, 0, nullptr, nullptr, 0, ERROR_INVALID_BITS_PER_PIXEL},
        {-1, 0, nullptr, nullptr, 0, ERROR_INVALID_BITS_PER_PIXEL},
        {128, 0, nullptr, nullptr, 0, ERROR_INVALID_BITS_PER_PIXEL},
        {8, 0x200, nullptr, nullptr, 0},
        {8, 0x50, nullptr, nullptr, 0},
        {8, COLORRES_ORDER_ROMM, nullptr, nullptr, 0},
        {24, COLORRES_ORDER_GRAY, nullptr, nullptr, 0},
        {32, COLORRES_ORDER_ROMM, nullptr, nullptr, 0},
        {24, COLORRES_ORDER_RGB565, nullptr, nullptr, 0},
        {12, COLORRES_ORDER_BGR, nullptr, nullptr, 0},
        {24, 0x0F, nullptr, nullptr, 0},
        {4, 0, palette.data(), nullptr, 17},
        {8, 0, palette.data(), nullptr, 257},
        {4, 0, nullptr, object, 0},
        {8, 0, nullptr, object, 21},
        {4, COLORRES_PALETTE_CUBE, nullptr, nullptr, 0},
        {4, COLORRES_PALETTE_OPTIMIZED, nullptr, nullptr, 1},
        {4, COLORRES_PALETTE_OPTIMIZED, nullptr, nullptr, 17},
        {4, COLORRES_PALETTE_OPTIMIZED | COLORRES_ORDER_GRAY, nullptr, nullptr, 0},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(say("bits", test.bits, "flags", test.flags));
        TestBitmap made;
        made->Width = 99;
        expect_each(test.result,
                    {change(source, nullptr, test.bits, test.flags, test.palette, test.colors, test.handle),
                     change(source, made, test.bits, test.flags, test.palette, test.colors, test.handle)});
        EXPECT_TRUE(made.is_empty());
        EXPECT_EQ(image, source.image());
    }
    delete_palette(object);
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ColorResBitmap(source, other, 17, 8, 0, nullptr, nullptr, 0));
    source->DitheringMethod = 9;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, change(source, other, 8, 0));
}

TEST(ColorRes, PixelsThatCallbacksKeepComeToTheLibrary)
{
    // Data callbacks that keep the pixels themselves, in a block that hangs on Handle.
    static int live;
    live = 0;
    static constexpr auto kAt = [](BITMAPHANDLE* bitmap, int32_t row) {
        return static_cast<Bytes*>(bitmap->Handle)->data() + static_cast<size_t>(row) * bitmap->BytesPerLine;
    };
    BITMAPDATACALLBACKS table = callbacks_for(&live);
    table.AllocateBitmapDataCallback = [](BITMAPHANDLE* bitmap, ALLOCATEBITMAPCALLBACKDATA* data, void*) {
        bitmap->Handle = new Bytes(data->BytesPerLine * static_cast<size_t>(data->Height));
        return ++live, 2;
    };
    table.FreeBitmapDataCallback = [](BITMAPHANDLE* bitmap, void*) {
        delete static_cast<Bytes*>(bitmap->Handle);
        return --live, 2;
    };
    table.GetBitmapRowColCallback = [](BITMAPHANDLE* bitmap, void* to, int32_t row, int32_t, size_t bytes, void*) {
        return std::memcpy(to, kAt(bitmap, row), bytes), static_cast<intptr_t>(bytes);
    };
    table.PutBitmapRowColCallback = [](BITMAPHANDLE* bitmap, void* from, int32_t row, int32_t, size_t bytes, void*) {
        return std::memcpy(kAt(bitmap, row), from, bytes), static_cast<intptr_t>(bytes);
    };
    {
        TestRandom random(91);
        TestBitmap bitmap, copy;
        ASSERT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap, kSize, kWidth, kHeight, 24, &table));
        ASSERT_EQ(SUCCESS, V_AllocateBitmap(bitmap, TYPE_CONV));
        bitmap.paint(random);
        ASSERT_EQ(SUCCESS, V_CopyBitmap(copy, bitmap, kSize));
        EXPECT_EQ(bitmap.pixels(), copy.pixels());
        const Bytes rows = expected_rows(copy, {32, COLORORDER_RGB});
        ASSERT_EQ(SUCCESS, change(bitmap, nullptr, 32, COLORRES_ORDER_RGB));
        EXPECT_EQ(rows, bitmap.pixels());
        EXPECT_EQ(0, live) << "the copy has none of them, and the old ones are gone";
        EXPECT_TRUE(bitmap->DataCallbacks == nullptr && copy->DataCallbacks == nullptr);
    }
    EXPECT_EQ(0, live);
}
