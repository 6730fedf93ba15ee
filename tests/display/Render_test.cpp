// Rendering against the same picture made the long way: whole bitmaps by other functions, then pixel by pixel.
#include "kernel/bitmap/Overlay.h"
#include "kernel/display/Render.h"

#include "tests/region/TestRegion.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestTurn.h"

#include <fstream>

using namespace vk::testing;

namespace {

struct Case {
    int32_t bits;
    int32_t order;
    int32_t low = 0, high = 0;
    uint32_t flags = 0;
    bool has_table = false;
};
constexpr Case kCases[] = {{1, 0},
                           {2, 0},
                           {3, 0},
                           {4, 0},
                           {5, 0},
                           {6, 0},
                           {7, 0},
                           {8, 0},
                           {8, COLORORDER_GRAY, 2, 6},
                           {12, COLORORDER_GRAY, 0, 11},
                           {12, COLORORDER_GRAY, 3, 9, BITMAPFLAG_SIGNED},
                           {16, COLORORDER_GRAY, 0, 15, 0, true},
                           {16, COLORORDER_GRAY, 4, 13, BITMAPFLAG_SIGNED},
                           {16, COLORORDER_BGR},
                           {16, COLORORDER_RGB565},
                           {24, COLORORDER_RGB},
                           {24, COLORORDER_BGR},
                           {24, COLORORDER_ROMM},
                           {32, COLORORDER_BGR},
                           {32, COLORORDER_GRAY, 0, -1},
                           {48, COLORORDER_RGB},
                           {64, COLORORDER_BGR}};

V_OVERLAYATTRIBUTES colored(COLORREF color, uint32_t flags = OVERLAYFLAG_VISIBLE)
{
    V_OVERLAYATTRIBUTES said{};
    said.StructSize = sizeof said;
    said.Flags = flags;
    said.Color = color;
    said.nBit = OVERLAY_NOBIT;
    return said;
}

void add_overlay(BITMAPHANDLE* bitmap, int32_t slot, const V_OVERLAYATTRIBUTES& said, uint64_t seed)
{
    TestBitmap overlay;
    ASSERT_NO_FATAL_FAILURE(make_stored(overlay, Kind::conv, blobs(bitmap->Width, bitmap->Height, seed), 1));
    overlay->ViewPerspective = bitmap->ViewPerspective;
    ASSERT_EQ(SUCCESS, V_SetBitmapOverlayAttributes(bitmap, slot, &said));
    ASSERT_EQ(SUCCESS, V_SetBitmapOverlay(bitmap, slot, overlay.get(), OVERLAY_COPY));
}

RGBQUAD entry_of(uint64_t bits)
{
    return {static_cast<uint8_t>(bits), static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits >> 16), 0};
}

/// A picture of a kind and case with a palette or table of its own, two overlays to be seen and one that is not.
void make_case(TestBitmap& bitmap, const Case& each, Kind kind, int32_t perspective, uint64_t seed)
{
    const Picture noise = Picture::noise(45, 31, each.bits, seed, 40);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, noise, each.bits, perspective));
    TestRandom random(seed);
    if (each.bits > 8 || each.order == COLORORDER_GRAY)
        bitmap->Order = each.order;
    if (each.order == COLORORDER_GRAY) {
        bitmap->LowBit = each.low;
        bitmap->HighBit = each.high;
        bitmap->Flags |= each.flags;
    }
    if (bitmap->Palette && each.order != COLORORDER_GRAY)
        for (uint32_t i = 0; i < bitmap->Colors; ++i)
            bitmap->Palette[i] = entry_of(random.next());
    const V_WINDOW window{sizeof(V_WINDOW), WINDOW_SIGMOID, 0, 0, 30000, 9000};
    if (each.has_table) {
        ASSERT_EQ(SUCCESS, V_SetBitmapWindow(bitmap.get(), &window));
    }
    ASSERT_NO_FATAL_FAILURE(add_overlay(bitmap, 2, colored(0x0000FF), seed + 1));
    ASSERT_NO_FATAL_FAILURE(add_overlay(bitmap, 9, colored(0x30FF10), seed + 2));
    ASSERT_NO_FATAL_FAILURE(add_overlay(bitmap, 10, colored(0xFFFFFF, 0), seed + 3));
}

bool is_deep(const BITMAPHANDLE& bitmap)
{
    return bitmap.Order == COLORORDER_GRAY && (bitmap.BitsPerPixel > 8 || bitmap.LowBit > 0);
}

/// The stored pixels as they are shown, 24 bits.
Picture colors_of(TestBitmap& bitmap)
{
    TestBitmap made;
    if (is_deep(*bitmap)) {
        EXPECT_EQ(SUCCESS, V_WindowBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 24));
    } else {
        EXPECT_EQ(SUCCESS, V_ColorResBitmap(bitmap.get(), made.get(), BITMAPHANDLE_SIZE, 24, COLORRES_ORDER_BGR,
                                            nullptr, nullptr, 0));
    }
    Picture picture = read(made.get());
    if (bitmap->Flags & BITMAPFLAG_USEPAINTLUT)
        for (uint64_t& pixel : picture.pixels)
            pixel = bitmap->PaintLUT[pixel & 255] | uint64_t{bitmap->PaintLUT[pixel >> 8 & 255]} << 8 |
                    uint64_t{bitmap->PaintLUT[pixel >> 16]} << 16;
    for (int32_t slot = 0; slot < 16 && bitmap->Overlays; ++slot) {
        V_OVERLAYATTRIBUTES said{};
        TestBitmap overlay;
        EXPECT_EQ(SUCCESS, V_GetBitmapOverlayAttributes(bitmap.get(), slot, &said, sizeof said));
        if (V_GetBitmapOverlay(bitmap.get(), slot, overlay.get(), BITMAPHANDLE_SIZE, OVERLAY_COPY) != SUCCESS ||
            !(said.Flags & OVERLAYFLAG_VISIBLE))
            continue;
        const Picture bits = read(overlay.get());
        const COLORREF color = said.Color; // red is lowest, and highest in the pixel
        for (size_t i = 0; i < bits.pixels.size(); ++i)
            if (bits.pixels[i])
                picture.pixels[i] = (color & 255) << 16 | (color & 0xFF00) | color >> 16;
    }
    return picture;
}

Picture cut(const Picture& picture, const RECT& part)
{
    return Picture::made(static_cast<int32_t>(part.right - part.left), static_cast<int32_t>(part.bottom - part.top),
                         [&](int32_t x, int32_t y) { return picture.at(x + part.left, y + part.top); });
}

/// Resized as it is stored.
Picture filtered(const Picture& picture, int32_t width, int32_t height, uint32_t flags)
{
    TestBitmap bitmap;
    make_stored(bitmap, Kind::conv, picture, 24);
    bitmap->Order = COLORORDER_BGR;
    EXPECT_EQ(SUCCESS, flags == RENDER_AREA ? V_SizeBitmap(bitmap.get(), width, height, SIZEFLAG_RESAMPLE)
                                            : V_BicubicResampleBitmap(bitmap.get(), width, height));
    return read(bitmap.get());
}

Picture expected(TestBitmap& bitmap, const RECT& part, int32_t width, int32_t height, uint32_t flags)
{
    const Picture stored = cut(colors_of(bitmap), part);
    const int32_t perspective = bitmap->ViewPerspective;
    if (flags == RENDER_NEAREST)
        return stored.shown(perspective).sized(width, height);
    const bool is_turned = perspective >= 5;
    return filtered(stored, is_turned ? height : width, is_turned ? width : height, flags).shown(perspective);
}

constexpr RECT kWhole{0, 0, 45, 31};
constexpr RECT kPart{5, 3, 38, 29};

void expect_rendered(TestBitmap& bitmap, const RECT& part, int32_t width, int32_t height, uint32_t flags)
{
    SCOPED_TRACE(say(part.left, "to", width, "x", height, "flags", flags));
    TestBitmap made;
    ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &part, width, height, flags));
    EXPECT_EQ(24, +made->BitsPerPixel);
    EXPECT_EQ(TOP_LEFT, +made->ViewPerspective);
    EXPECT_EQ(expected(bitmap, part, width, height, flags), read(made.get()));
}

TEST(Render, ShowsEveryDepthAsOtherFunctionsMakeIt)
{
    uint64_t seed = 1;
    for (const Case& each : kCases)
        for (const Kind kind : kKinds) {
            if (!can_make(kind, each.bits))
                continue;
            const auto perspective = static_cast<int32_t>(seed % 8 + 1);
            SCOPED_TRACE(say(each.bits, "order", each.order, name_of(kind), "perspective", perspective));
            TestBitmap bitmap(kRecordSizes[seed % 2]);
            ASSERT_NO_FATAL_FAILURE(make_case(bitmap, each, kind, perspective, ++seed));
            if (seed % 3 == 0 && each.bits < 48) {
                ASSERT_EQ(SUCCESS, V_SetBitmapPaint(bitmap.get(), 300, -100, 180));
            }
            const uint32_t filter = seed % 2 ? RENDER_AREA : RENDER_CUBIC;
            expect_rendered(bitmap, kWhole, 20, 17, RENDER_NEAREST);
            expect_rendered(bitmap, kPart, 61, 11, filter);
            expect_rendered(bitmap, kWhole, 20, 17, filter);
            expect_rendered(bitmap, {1, 1, 2, 31}, 9, 9, RENDER_NEAREST);
            if (HasFailure())
                return;
        }
}

TEST(Render, StandsUprightInEveryPerspective)
{
    for (int32_t perspective = 0; perspective <= 9; ++perspective)
        for (const Case& each : {Case{4, 0}, Case{24, COLORORDER_BGR}}) {
            SCOPED_TRACE(say(perspective, each.bits));
            TestBitmap bitmap, made;
            ASSERT_NO_FATAL_FAILURE(make_case(bitmap, each, Kind::tiled_file, perspective, 77));
            for (const uint32_t flags : {RENDER_NEAREST, RENDER_AREA, RENDER_CUBIC})
                if (perspective >= 1 && perspective <= 8)
                    expect_rendered(bitmap, kPart, 70, 13, flags);
            ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 0, 0, 0));
            EXPECT_EQ(colors_of(bitmap).shown(perspective), read(made.get())) << "as large as it is";
        }
}

TEST(Render, DrawsOverlaysOfOtherShapes)
{
    TestBitmap bitmap, made;
    ASSERT_NO_FATAL_FAILURE(make_case(bitmap, {8, 0}, Kind::conv, TOP_LEFT, 5));
    auto* const table = static_cast<vk::OverlayTable*>(bitmap->Overlays);
    ASSERT_EQ(SUCCESS, V_SizeBitmap(&table->bitmaps[2], 20, 10, 0)); // what is not there is not drawn
    ASSERT_EQ(SUCCESS, V_ChangeBitmapViewPerspective(nullptr, &table->bitmaps[9], BITMAPHANDLE_SIZE, 6));
    TestBitmap flat;
    ASSERT_EQ(SUCCESS, V_FlattenBitmapOverlays(flat.get(), bitmap.get(), BITMAPHANDLE_SIZE));
    ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 0, 0, 0));
    EXPECT_EQ(read(flat.get()), read(made.get()));
}

TEST(Render, PaintsWideChannelsBeforeTheyAreCut)
{
    TestBitmap bitmap, made;
    const Picture noise = Picture::noise(40, 5, 48, 4);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, noise, 48));
    ASSERT_EQ(SUCCESS, V_SetBitmapPaint(bitmap.get(), -400, 150, 70));
    ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 0, 0, 0));
    const Picture shown = read(made.get());
    const uint16_t* const table = bitmap->PaintLUT16;
    for (size_t i = 0; i < shown.pixels.size(); ++i)
        for (int c = 0; c < 3; ++c)
            ASSERT_EQ(table[noise.pixels[i] >> (16 * c) & 0xFFFF] >> 8, shown.pixels[i] >> (8 * c) & 0xFF);
}

TEST(Render, ShowsTheBitsToPaint)
{
    TestBitmap bitmap, made;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 256, 1, 16));
    bitmap->Order = COLORORDER_GRAY;
    bitmap->PaintLowBit = 4;
    bitmap->PaintHighBit = 7;
    bitmap.paint([](int32_t x, int32_t) { return static_cast<uint64_t>(x) | 0x300; });
    ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 0, 0, 0));
    const Picture shown = read(made.get());
    for (int32_t x = 0; x < 256; ++x)
        ASSERT_EQ(static_cast<uint64_t>(x >> 4) * 0x111111, shown.at(x, 0)) << x;
}

TEST(Render, CarriesAlphaIn32Bits)
{
    for (const int32_t bits : {8, 24, 32, 64}) {
        TestBitmap bitmap, made;
        const Picture noise = Picture::noise(30, 9, bits, 12);
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, noise, bits));
        ASSERT_NO_FATAL_FAILURE(add_overlay(bitmap, 0, colored(0x102030), 3));
        const Picture bits_set = blobs(30, 9, 3), flat = colors_of(bitmap);
        const uint64_t key = flat.at(7, 2);
        bitmap->Flags |= BITMAPFLAG_TRANSPARENCY;
        bitmap->Transparency = static_cast<COLORREF>((key & 255) << 16 | (key & 0xFF00) | key >> 16);
        ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 0, 0, RENDER_32BITS));
        ASSERT_EQ(32, +made->BitsPerPixel);
        const Picture shown = read(made.get());
        for (size_t i = 0; i < shown.pixels.size(); ++i) {
            const uint64_t own = bits >= 32 ? noise.pixels[i] >> (bits - 8) : flat.pixels[i] == key ? 0 : 255;
            ASSERT_EQ(flat.pixels[i] | (bits_set.pixels[i] ? 255 : own) << 24, shown.pixels[i]) << bits << ": " << i;
        }
    }
}

/// What is wanted of a large picture is made as if all of it were.
TEST(Render, MakesAPartOfWhatIsScaled)
{
    for (const int32_t perspective : {1, 3, 4, 6})
        for (const uint32_t flags : {RENDER_NEAREST, RENDER_AREA, RENDER_CUBIC})
            for (const auto& [width, height] : {std::pair{200, 170}, std::pair{21, 14}}) {
                TestBitmap bitmap, whole, made;
                ASSERT_NO_FATAL_FAILURE(make_case(bitmap, {24, COLORORDER_BGR}, Kind::disk, perspective, 6));
                vk::display::RenderJob job = vk::display::render_job(*bitmap, &kPart, width, height, flags);
                ASSERT_EQ(SUCCESS, vk::display::render(*whole, *bitmap, BITMAPHANDLE_SIZE, job));
                job.shown = {width / 3, 2, width - 5, height / 2};
                ASSERT_EQ(SUCCESS, vk::display::render(*made, *bitmap, BITMAPHANDLE_SIZE, job));
                const RECT shown{job.shown.left, job.shown.top, job.shown.right, job.shown.bottom};
                EXPECT_EQ(cut(read(whole.get()), shown), read(made.get())) << say(perspective, flags, width);
            }
}

TEST(Render, ReplacesItsSource)
{
    TestBitmap bitmap(BITMAPHANDLE_SIZE_EARLIER), made;
    ASSERT_NO_FATAL_FAILURE(make_case(bitmap, {5, 0}, Kind::tiled_mixed, 7, 8));
    ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 50, 0, RENDER_AREA));
    ASSERT_EQ(SUCCESS, V_RenderBitmap(bitmap.get(), bitmap.get(), 0, nullptr, 50, 0, RENDER_AREA));
    EXPECT_EQ(read(made.get()), read(bitmap.get()));
    EXPECT_TRUE(!bitmap->Palette && !bitmap->Overlays);
}

TEST(Render, TakesAnyRectangleAndRefusesTheRest)
{
    TestBitmap bitmap, made;
    TestRandom random(3);
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 45, 31, 24, random));
    const BITMAPHANDLE before = *bitmap;
    const RECT all{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &all, 0, 0, 0));
    EXPECT_EQ(read_shown(bitmap), read(made.get()));
    for (const RECT& none : {RECT{45, 0, 60, 9}, RECT{9, 9, 9, 20}, RECT{INT32_MAX, 0, INT32_MIN, 5}}) {
        V_FreeBitmap(made.get());
        EXPECT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &none, 5, 5, 0));
        EXPECT_TRUE(made.is_empty());
        EXPECT_EQ(SUCCESS, V_RenderBitmap(nullptr, bitmap.get(), 0, &none, 5, 5, 0));
    }
    const auto render = [&](int32_t width, int32_t height, uint32_t flags) {
        return V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, width, height, flags);
    };
    expect_each(ERROR_INVALID_PARAMETER,
                {render(-1, 5, 0), render(5, INT32_MIN, 0), render(5, 5, 3), render(5, 5, 4), render(5, 5, 0x20),
                 V_RenderBitmap(made.get(), nullptr, BITMAPHANDLE_SIZE, nullptr, 5, 5, 0)});
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_RenderBitmap(made.get(), bitmap.get(), 7, nullptr, 5, 5, 0));
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, render(INT32_MAX, 1, RENDER_CUBIC));
    EXPECT_TRUE(made.is_empty());
    const Watch watch(50);
    EXPECT_EQ(Watch::kRefused, render(70, 70, RENDER_AREA));
    EXPECT_TRUE(made.is_empty());
    EXPECT_EQ(0, std::memcmp(&before, bitmap.get(), sizeof before));
}

/// Counts what is read.
struct Counted {
    uint64_t bytes = 0, rows = 0;

    static intptr_t get(BITMAPHANDLE*, void* buffer, int32_t, int32_t, size_t bytes, void* self)
    {
        auto& counted = *static_cast<Counted*>(self);
        counted.bytes += bytes;
        ++counted.rows;
        std::memset(buffer, 0x35, bytes);
        return static_cast<intptr_t>(bytes);
    }
};

TEST(Render, ReadsWhatIsShownAndNoMore)
{
    Counted counted;
    TestBitmap bitmap, made;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 3000, 2000, 24));
    BITMAPDATACALLBACKS calls = callbacks_for(&counted);
    calls.GetBitmapRowColCallback = Counted::get;
    ASSERT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &calls));
    const RECT part{1001, 700, 1101, 800};
    constexpr struct {
        int32_t width, height;
        uint32_t flags;
        uint64_t rows;
    } kShown[] = {{100, 100, RENDER_NEAREST, 100},
                  {300, 300, RENDER_NEAREST, 100},
                  {30, 20, RENDER_NEAREST, 20},
                  {50, 40, RENDER_AREA, 140},
                  {400, 300, RENDER_CUBIC, 100}};
    for (const auto& each : kShown) {
        counted = {};
        ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &part, each.width, each.height,
                                          each.flags));
        V_FreeBitmap(made.get());
        EXPECT_LE(counted.rows, each.rows);
        EXPECT_LE(counted.bytes, each.rows * (100 + 7) * 3);
    }
}

#if defined(__linux__)
/// The most memory the process has had since it was last asked, in KiB.
int64_t peak_memory()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    int64_t figure = -1;
    while (status >> word)
        if (word == "VmHWM:")
            status >> figure;
    std::ofstream("/proc/self/clear_refs") << 5;
    return figure;
}

TEST(Render, ShowsAScreenOfAPictureBiggerThanMemory)
{
    const Thresholds restore;
    Thresholds::max_conv(1 << 20);
    TestBitmap bitmap, made;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_TILED, 60000, 30000, 24, COLORORDER_BGR));
    ASSERT_GT(+bitmap->Size64, uint64_t{5} << 30);
    const RECT part{41000, 17000, 41000 + 1920, 17000 + 1080};
    Bytes row(1920 * 3);
    TestRandom random(8);
    for (int32_t y = 0; y < 1080; y += 20) {
        for (uint8_t& byte : row)
            byte = static_cast<uint8_t>(random.next());
        ASSERT_GT(V_PutBitmapRowCol(bitmap.get(), row.data(), part.top + y, part.left, row.size()), 0);
    }
    peak_memory();
    const int64_t before = peak_memory();
    for (const uint32_t flags : {RENDER_NEAREST, RENDER_AREA, RENDER_CUBIC}) {
        const bool same = flags == RENDER_NEAREST;
        ASSERT_EQ(SUCCESS, V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, &part, same ? 0 : 1280,
                                          same ? 0 : 720, flags));
        if (same) {
            Bytes got(row.size());
            ASSERT_GT(V_GetBitmapRow(made.get(), got.data(), 1060, got.size()), 0);
            EXPECT_EQ(row, got);
        }
        V_FreeBitmap(made.get());
    }

    EXPECT_LT(peak_memory() - before, 64 * 1024);
}
#endif

TEST(Render, LosesNothingWhenCallsFail)
{
    const auto scenario = [] {
        TestBitmap bitmap, made;
        if (bitmap.create(TYPE_TILED, 40, 30, 16, COLORORDER_GRAY) != SUCCESS)
            return;
        const V_WINDOW window{sizeof(V_WINDOW), WINDOW_LINEAR, 0, 0, 500, 700};
        const V_OVERLAYATTRIBUTES said = colored(0xFF);
        TestBitmap overlay;
        bitmap->ViewPerspective = 6;
        if (overlay.create(TYPE_CONV, 40, 30, 1) == SUCCESS)
            V_SetBitmapOverlay(bitmap.get(), 3, overlay.get(), OVERLAY_COPY);
        V_SetBitmapOverlayAttributes(bitmap.get(), 3, &said);
        V_SetBitmapPaint(bitmap.get(), 10, 20, 150);
        V_RenderBitmap(made.get(), bitmap.get(), BITMAPHANDLE_SIZE, nullptr, 30, 30, RENDER_CUBIC | RENDER_32BITS);
        V_SetBitmapWindow(bitmap.get(), &window);
        V_RenderBitmap(nullptr, bitmap.get(), 0, nullptr, 50, 20, RENDER_NEAREST);
    };
    scenario();
    for_each_fault_in([&](FaultRound& round) { round([&] { return scenario(), 0; }); }, FaultLoop::sparse);
}

} // namespace
