// Changes of colours, against the same rows taken one by one through the exported converter and dithering. Every depth
// and order to every other; then what only whole bitmaps have: palettes, tables, transparency, progress, failures.
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkcolor.h"

#include <functional>

using namespace vk::testing;

namespace {

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 6;

using Bytes = std::vector<uint8_t>;
using Palette = std::vector<RGBQUAD>;

struct Format {
    int32_t bits, order;
};
constexpr Format kFormats[] = {{1, 0},  {2, 0},  {3, 0},  {4, 0},  {5, 0},  {6, 0},  {7, 0},  {8, 0},
                               {12, 2}, {16, 1}, {16, 0}, {16, 7}, {16, 2}, {24, 1}, {24, 0}, {24, 5},
                               {32, 1}, {32, 0}, {32, 2}, {48, 1}, {48, 0}, {48, 5}, {64, 1}, {64, 0}};

std::string text(const Format& format)
{
    return std::to_string(format.bits) + " bits in order " + std::to_string(format.order);
}

/// A source with random pixels, a random palette and a gray range.
void make_source(TestBitmap& bitmap, Kind kind, const Format& format, TestRandom& random, int32_t height = kHeight)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, kWidth, height, format.bits));
    bitmap->Order = format.order;
    Bytes row(bitmap->BytesPerLine, 0);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < kWidth; ++x)
            set_pixel(row.data(), format.bits, x, random.next());
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    if (format.bits <= 8) {
        Palette palette(size_t{1} << format.bits);
        for (RGBQUAD& entry : palette) {
            random.fill(&entry, 3);
            entry.rgbReserved = 0;
        }
        ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), palette.data(), 1u << format.bits));
    } else if (format.order == COLORORDER_GRAY && random.one_in(2)) {
        bitmap->LowBit = random.between(0, 3);
        bitmap->HighBit = format.bits - 1 - random.between(0, 3);
    }
}

Palette own_palette(BITMAPHANDLE* bitmap)
{
    return {bitmap->Palette, bitmap->Palette + (bitmap->BitsPerPixel <= 8 ? 1u << bitmap->BitsPerPixel : 0)};
}

/// What the rows of a source become one by one. `palette` has 1 << bits entries, the first `colors` of which count for
/// dithering; null above 8 bits.
Bytes expected_rows(TestBitmap& source, const Format& to, const RGBQUAD* palette, uint32_t colors, int32_t method,
                    uint32_t flags = 0, COLORREF transparent = 0)
{
    const Bytes pixels = source.pixels();
    const int32_t bits = source->BitsPerPixel;
    const size_t line = source->BytesPerLine;
    const size_t to_line = (size_t{kWidth} * static_cast<size_t>(to.bits) + 31) / 32 * 4;
    BITMAPHANDLE run = {};
    std::memcpy(static_cast<void*>(&run), source.get(), source.struct_size());
    run.DitherData = nullptr;
    run.DitheringMethod = method;
    if (method != DITHER_NONE) {
        EXPECT_EQ(SUCCESS, V_StartDitheringExt(&run, palette, colors, to.bits, nullptr));
    }
    if (source->Order == COLORORDER_GRAY && bits > 8)
        flags |= CVT_SRC_USE_BITS;
    Bytes result;
    for (size_t at = 0; at < pixels.size(); at += line) {
        Bytes row(std::max(line, to_line) + 8, 0);
        Bytes out(to_line, 0);
        std::copy_n(pixels.begin() + static_cast<ptrdiff_t>(at), line, row.begin());
        if (method != DITHER_NONE) {
            EXPECT_EQ(SUCCESS, V_DitherLine(&run, row.data(), out.data()));
        } else if (bits == to.bits && source->Order == to.order && palette == nullptr) {
            std::copy_n(row.begin(), to_line, out.begin());
        } else {
            EXPECT_EQ(SUCCESS, V_ConvertBufferExt3(row.data(), kWidth, bits, to.bits, source->Order, to.order,
                                                   source->Palette, palette, nullptr, nullptr, flags, source->LowBit,
                                                   source->HighBit, transparent));
            std::copy_n(row.begin(), (size_t{kWidth} * static_cast<size_t>(to.bits) + 7) / 8, out.begin());
        }
        result.insert(result.end(), out.begin(), out.end());
    }
    EXPECT_EQ(SUCCESS, V_StopDithering(&run));
    return result;
}

uint32_t order_flag(int32_t order)
{
    return COLORRES_ORDER(order);
}

/// Changes the source into a second record, then in place, and compares both with the rows expected.
void expect_change(TestBitmap& source, const Format& to, uint32_t flags, const RGBQUAD* palette, uint32_t colors,
                   const Bytes& rows)
{
    const Bytes image = source.image();
    const Bytes pixels = source.pixels();
    TestBitmap made(source.struct_size());
    ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), made.get(), source.struct_size(), to.bits, flags, palette,
                                        nullptr, colors));
    EXPECT_EQ(image, source.image());
    EXPECT_EQ(pixels, source.pixels());
    EXPECT_EQ(rows, made.pixels());
    EXPECT_EQ(to.bits, made->BitsPerPixel);
    EXPECT_EQ(to.order, made->Order);
    EXPECT_EQ(source->ViewPerspective, made->ViewPerspective);
    ASSERT_EQ(SUCCESS, V_ColorResBitmap(source.get(), nullptr, 0, to.bits, flags, palette, nullptr, colors));
    EXPECT_EQ(rows, source.pixels());
    EXPECT_EQ(to.order, source->Order);
    EXPECT_EQ(made->Colors, source->Colors);
    if (to.bits <= 8) {
        EXPECT_EQ(1, V_CompareBitmapToPalette(made.get(), palette != nullptr ? palette : V_IntGetFixedPalette(to.bits),
                                              made->Colors));
    } else {
        EXPECT_EQ(nullptr, made->Palette);
    }
}

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
                EXPECT_EQ(nullptr, source->LUT);
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
