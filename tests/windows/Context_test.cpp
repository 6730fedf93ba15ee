// Device contexts of bitmaps, with real drawing calls; the system's own pictures are the other side. Windows only.
#if defined(_WIN32)

#include "tests/region/TestRegion.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestTurn.h"

#include <cmath>

using namespace vk::testing;

namespace {

constexpr int32_t kWide = 61;
constexpr int32_t kHigh = 37;

/// A memory device with a picture of 32 bits, or of 8 with a table, top row first.
class Canvas {
public:
    explicit Canvas(int32_t width = kWide, int32_t height = kHigh, const Palette& colors = {})
        : width_(width), dc_(CreateCompatibleDC(nullptr))
    {
        struct {
            BITMAPINFOHEADER header;
            RGBQUAD colors[256];
        } info{};
        info.header.biSize = sizeof info.header;
        info.header.biWidth = width;
        info.header.biHeight = -height;
        info.header.biPlanes = 1;
        info.header.biBitCount = colors.empty() ? 32 : 8;
        info.header.biClrUsed = static_cast<DWORD>(colors.size());
        std::copy(colors.begin(), colors.end(), info.colors);
        bitmap_ = CreateDIBSection(dc_, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &pixels_, nullptr, 0);
        before_ = SelectObject(dc_, bitmap_);
    }
    ~Canvas()
    {
        SelectObject(dc_, before_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    HDC dc() const { return dc_; }
    uint8_t index(int32_t x, int32_t y) const
    {
        GdiFlush();
        return static_cast<uint8_t*>(pixels_)[(width_ + 3) / 4 * 4 * y + x];
    }
    /// The pixels as a picture of 24 bits.
    Picture picture(int32_t width, int32_t height) const
    {
        GdiFlush();
        return Picture::made(width, height, [&](int32_t x, int32_t y) {
            const uint8_t* const at = static_cast<uint8_t*>(pixels_) + 4 * (width_ * y + x);
            return at[0] | uint64_t{at[1]} << 8 | uint64_t{at[2]} << 16;
        });
    }

private:
    int32_t width_;
    HDC dc_;
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ before_ = nullptr;
    void* pixels_ = nullptr;
};

/// Lines, a filled shape and a text, in colours that every palette below has.
void draw(HDC dc)
{
    const HBRUSH brush = CreateSolidBrush(RGB(255, 255, 255));
    const RECT box{5, 4, 30, 20};
    FillRect(dc, &box, brush);
    DeleteObject(brush);
    const HGDIOBJ old = SelectObject(dc, GetStockObject(BLACK_PEN));
    MoveToEx(dc, 2, 2, nullptr);
    LineTo(dc, 50, 30);
    SelectObject(dc, old);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(0, 0, 0));
    TextOutW(dc, 8, 5, L"Ab1", 3);
    SetPixelV(dc, 40, 3, RGB(255, 255, 255));
}

struct Case {
    int32_t bits;
    int32_t order;
};
constexpr Case kCases[] = {{1, 0},
                           {2, 0},
                           {3, 0},
                           {4, 0},
                           {5, 0},
                           {6, 0},
                           {7, 0},
                           {8, 0},
                           {8, COLORORDER_GRAY},
                           {12, COLORORDER_GRAY},
                           {16, COLORORDER_GRAY},
                           {16, COLORORDER_BGR},
                           {16, COLORORDER_RGB565},
                           {24, COLORORDER_RGB},
                           {24, COLORORDER_BGR},
                           {24, COLORORDER_ROMM},
                           {32, COLORORDER_BGR},
                           {32, COLORORDER_GRAY},
                           {48, COLORORDER_RGB},
                           {64, COLORORDER_BGR}};

void make_case(TestBitmap& bitmap, const Case& each, Kind kind, int32_t perspective)
{
    const bool turned = perspective >= 5;
    const Picture noise = Picture::noise(turned ? kHigh : kWide, turned ? kWide : kHigh, each.bits, 3, 60);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, noise, each.bits, perspective));
    if (each.bits > 8 || each.order == COLORORDER_GRAY)
        bitmap->Order = each.order;
}

/// What a device context shows, by drawing it to another.
Picture shown_in(HDC dc, int32_t width, int32_t height)
{
    const Canvas canvas(width, height);
    EXPECT_NE(0, BitBlt(canvas.dc(), 0, 0, width, height, dc, 0, 0, SRCCOPY));
    return canvas.picture(width, height);
}

Picture colors_of(TestBitmap& bitmap)
{
    TestBitmap made;
    EXPECT_EQ(SUCCESS, V_ColorResBitmap(bitmap.get(), made.get(), BITMAPHANDLE_SIZE, 24, COLORRES_ORDER_BGR, nullptr,
                                        nullptr, 0));
    return read_shown(made);
}

/// How far a colour may be from what was drawn: text has shades that some depths have not.
int64_t error_of(const Case& each)
{
    if (each.order == COLORORDER_ROMM)
        return 255;
    return each.bits == 16 && each.order != COLORORDER_GRAY ? 7 : 0;
}

bool is_near(uint64_t a, uint64_t b, int64_t most)
{
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs(static_cast<int64_t>(a >> shift & 255) - static_cast<int64_t>(b >> shift & 255)) > most)
            return false;
    return true;
}

TEST(Context, TakesDrawingIntoEveryDepth)
{
    int32_t turn = 0;
    for (const Case& each : kCases)
        for (const Kind kind : {Kind::conv, Kind::tiled_file, Kind::compressed, Kind::super, Kind::disk}) {
            if (!can_make(kind, each.bits))
                continue;
            const int32_t perspective = ++turn % 8 + 1;
            SCOPED_TRACE(say(each.bits, "order", each.order, name_of(kind), "perspective", perspective));
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_case(bitmap, each, kind, perspective));
            const Picture stored = read(bitmap.get()).shown(perspective), before = colors_of(bitmap);
            const HDC dc = V_CreateBitmapDC(bitmap.get());
            ASSERT_NE(nullptr, dc);
            EXPECT_EQ(before, shown_in(dc, kWide, kHigh));
            draw(dc);
            const Picture drawn = shown_in(dc, kWide, kHigh);
            ASSERT_EQ(SUCCESS, V_ReleaseBitmapDC(bitmap.get(), dc));
            EXPECT_EQ(each.bits, +bitmap->BitsPerPixel);
            const Picture after = read(bitmap.get()).shown(perspective), colors = colors_of(bitmap);
            int64_t changed = 0;
            for (size_t i = 0; i < drawn.pixels.size(); ++i) {
                const bool same = drawn.pixels[i] == before.pixels[i];
                changed += !same;
                const bool is_kept = after.pixels[i] == stored.pixels[i];
                ASSERT_TRUE(same ? is_kept : !is_kept || error_of(each) != 0) << i;
                ASSERT_TRUE(is_near(drawn.pixels[i], colors.pixels[i], error_of(each))) << i;
                if (!same && each.bits == 32 && each.order == COLORORDER_BGR) {
                    ASSERT_EQ(255u, after.pixels[i] >> 24);
                }
            }
            EXPECT_GT(changed, 200);
        }
}

TEST(Context, KeepsWhatIsNotDrawn)
{
    for (const Case& each : kCases) {
        TestBitmap bitmap;
        ASSERT_NO_FATAL_FAILURE(make_case(bitmap, each, Kind::conv, BOTTOM_LEFT));
        const Bytes before = bitmap.pixels();
        ASSERT_EQ(SUCCESS, V_ReleaseBitmapDC(bitmap.get(), V_CreateBitmapDC(bitmap.get())));
        EXPECT_EQ(before, bitmap.pixels()) << each.bits;
        const HDC dc = V_CreateBitmapDC(bitmap.get());
        draw(dc);
        EXPECT_EQ(SUCCESS, V_ReleaseBitmapDC(nullptr, dc)) << "dropped";
        EXPECT_EQ(before, bitmap.pixels()) << each.bits;
    }
}

TEST(Context, KnowsItsOwn)
{
    TestBitmap bitmap, other, none;
    ASSERT_NO_FATAL_FAILURE(make_case(bitmap, {24, COLORORDER_BGR}, Kind::conv, TOP_LEFT));
    ASSERT_NO_FATAL_FAILURE(other.make(Kind::conv, kWide + 1, kHigh, 24));
    const Canvas canvas;
    const HDC dc = V_CreateBitmapDC(bitmap.get());
    EXPECT_EQ(ERROR_INVALID_HANDLE, V_ReleaseBitmapDC(bitmap.get(), canvas.dc()));
    EXPECT_EQ(ERROR_INVALID_HANDLE, V_ReleaseBitmapDC(bitmap.get(), nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ReleaseBitmapDC(other.get(), dc));
    EXPECT_EQ(SUCCESS, V_ReleaseBitmapDC(bitmap.get(), dc));
    EXPECT_EQ(ERROR_INVALID_HANDLE, V_ReleaseBitmapDC(bitmap.get(), dc));
    EXPECT_EQ(nullptr, V_CreateBitmapDC(nullptr));
    EXPECT_EQ(nullptr, V_CreateBitmapDC(none.get()));
}

TEST(Context, IsPaintedAsRendered)
{
    for (const int32_t perspective : {1, 4, 7}) {
        TestBitmap bitmap, rendered;
        ASSERT_NO_FATAL_FAILURE(make_case(bitmap, {24, COLORORDER_BGR}, Kind::tiled_file, perspective));
        ASSERT_EQ(SUCCESS, V_SetBitmapPaint(bitmap.get(), 200, 50, 150));
        const RECT part{3, 5, 33, 34}, to{-20, 4, 50, 80}, clip{2, 6, 40, 1000};
        for (const uint32_t flags : {RENDER_NEAREST, RENDER_AREA, RENDER_CUBIC}) {
            const Canvas canvas;
            ASSERT_EQ(SUCCESS, V_PaintBitmap(canvas.dc(), bitmap.get(), &part, &clip, &to, flags));
            ASSERT_EQ(SUCCESS, V_RenderBitmap(rendered.get(), bitmap.get(), BITMAPHANDLE_SIZE, &part, 70, 76, flags));
            const Picture whole = read(rendered.get()), painted = canvas.picture(kWide, kHigh);
            V_FreeBitmap(rendered.get());
            const Picture wanted = Picture::made(kWide, kHigh, [&](int32_t x, int32_t y) {
                const bool seen = x >= clip.left && x < clip.right && y >= clip.top;
                return seen ? whole.at(x + 20, y - 4) : 0;
            });
            EXPECT_EQ(wanted, painted) << say(perspective, flags);
        }
    }
}

TEST(Context, IsPaintedWithTheColorsItHas)
{
    Palette colors(5);
    colors[1] = {255, 255, 255, 0};
    colors[2] = {0, 0, 255, 0};
    colors[3] = {0, 255, 0, 0};
    colors[4] = {255, 0, 0, 0};
    TestBitmap bitmap, made;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, kWide, kHigh, 24));
    bitmap.paint([](int32_t x, int32_t) { return static_cast<uint64_t>(x) * 4 * 0x10101; });
    bitmap->ViewPerspective = TOP_LEFT;
    const Canvas canvas(kWide, kHigh, colors);
    ASSERT_EQ(SUCCESS, V_PaintBitmap(canvas.dc(), bitmap.get(), nullptr, nullptr, nullptr, 0));
    ASSERT_EQ(SUCCESS, V_ColorResBitmap(bitmap.get(), made.get(), BITMAPHANDLE_SIZE, 8, 0, colors.data(), nullptr, 5));
    const Picture wanted = read(made.get());
    int64_t white = 0;
    for (int32_t y = 0; y < kHigh; ++y)
        for (int32_t x = 0; x < kWide; ++x) {
            const uint8_t index = canvas.index(x, y); // black behind the colours there are is as good
            ASSERT_EQ(wanted.at(x, y), index < 5 ? index : 0) << x << ", " << y;
            white += index == 1;
        }
    EXPECT_NEAR(static_cast<double>(white), kWide * kHigh * 0.47, kWide * kHigh * 0.06) << "dithered to a mean";
}

TEST(Context, PaintsNothingOutsideOfIt)
{
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(make_case(bitmap, {24, COLORORDER_BGR}, Kind::conv, TOP_LEFT));
    const Canvas canvas;
    const Picture clear = Picture::blank(kWide, kHigh);
    const auto paint = [&](RECT to, uint32_t flags = 0) {
        return V_PaintBitmap(canvas.dc(), bitmap.get(), nullptr, nullptr, &to, flags);
    };
    expect_each(SUCCESS, {paint({500, 500, 600, 600}), paint({0, 0, 0, 50}), paint({INT32_MIN, 0, INT32_MIN + 9, 9}),
                          paint({INT32_MAX - 9, 0, INT32_MAX, 9}, RENDER_CUBIC)});
    EXPECT_EQ(clear, canvas.picture(kWide, kHigh));
    EXPECT_EQ(SUCCESS, paint({-1000000000, -1000000000, 1000000000, 1000000000})) << "a pixel all over";
    EXPECT_NE(clear, canvas.picture(kWide, kHigh));
    expect_each(ERROR_INVALID_PARAMETER,
                {paint({5, 0, 4, 9}), paint({INT32_MIN, 0, INT32_MAX, 9}), paint({0, 0, 9, 9}, RENDER_32BITS),
                 paint({0, 0, 9, 9}, 3), V_PaintBitmap(canvas.dc(), nullptr, nullptr, nullptr, nullptr, 0)});
    EXPECT_EQ(ERROR_INVALID_HANDLE, V_PaintBitmap(nullptr, bitmap.get(), nullptr, nullptr, nullptr, 0));
}

TEST(Context, BecomesABitmap)
{
    const Canvas canvas;
    draw(canvas.dc());
    for (const uint32_t size : kRecordSizes) {
        TestBitmap bitmap(size);
        ASSERT_EQ(SUCCESS, V_GetBitmapFromDC(bitmap.get(), size, canvas.dc(), 0, 0, kWide, kHigh));
        EXPECT_EQ(24, +bitmap->BitsPerPixel);
        EXPECT_EQ(canvas.picture(kWide, kHigh), read_shown(bitmap));
        V_FreeBitmap(bitmap.get());
        ASSERT_EQ(SUCCESS, V_GetBitmapFromDC(bitmap.get(), size, canvas.dc(), -3, 30, kWide, 20));
        const Picture all = canvas.picture(kWide, kHigh);
        EXPECT_EQ(
            Picture::made(kWide, 20,
                          [&](int32_t x, int32_t y) { return all.has(x - 3, y + 30) ? all.at(x - 3, y + 30) : 0; }),
            read_shown(bitmap));
    }
    TestBitmap bitmap;
    const auto get = [&](HDC dc, int32_t width, int32_t height, uint32_t size = BITMAPHANDLE_SIZE) {
        return V_GetBitmapFromDC(bitmap.get(), size, dc, INT32_MAX, INT32_MIN, width, height);
    };
    EXPECT_EQ(SUCCESS, get(canvas.dc(), 5, 5));
    V_FreeBitmap(bitmap.get());
    expect_each(ERROR_INVALID_WIDTH_HEIGHT,
                {get(canvas.dc(), 0, 5), get(canvas.dc(), 5, -1), get(canvas.dc(), INT32_MAX, 1)});
    EXPECT_EQ(ERROR_INVALID_HANDLE, get(nullptr, 5, 5));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, get(canvas.dc(), 5, 5, 9));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapFromDC(nullptr, BITMAPHANDLE_SIZE, canvas.dc(), 0, 0, 5, 5));
    EXPECT_TRUE(bitmap.is_empty());
}

/// The highest place in the system's table of what draws that a few new objects get: places that are free are taken
/// first, so it grows by what is kept. Not every system counts them.
uintptr_t highest_object()
{
    std::vector<HPEN> pens(64);
    uintptr_t highest = 0;
    for (HPEN& pen : pens) {
        pen = CreatePen(PS_SOLID, 1, 0);
        highest = std::max(highest, reinterpret_cast<uintptr_t>(pen) & 0xFFFF);
    }
    for (const HPEN pen : pens)
        DeleteObject(pen);
    return highest;
}

/// Every call of the library's that can fail does, and nothing of the system's or of the library's is kept.
TEST(Context, KeepsNoObjects)
{
    const auto scenario = [] {
        TestBitmap bitmap, made;
        if (bitmap.create(TYPE_CONV, 30, 20, 4) != SUCCESS)
            return;
        const HDC dc = V_CreateBitmapDC(bitmap.get());
        if (!dc)
            return;
        SetPixelV(dc, 3, 3, RGB(255, 255, 255));
        V_PaintBitmap(dc, bitmap.get(), nullptr, nullptr, nullptr, RENDER_AREA);
        V_GetBitmapFromDC(made.get(), BITMAPHANDLE_SIZE, dc, 0, 0, 20, 10);
        V_ReleaseBitmapDC(bitmap.get(), dc);
        const HRGN region = V_GetBitmapRegionHandle(bitmap.get());
        if (region)
            V_SetBitmapRegionHandle(bitmap.get(), region, REGION_XOR);
        DeleteObject(region);
    };
    scenario();
    const uintptr_t before = highest_object();
    for_each_fault(scenario);
    for (int i = 0; i < 100; ++i)
        scenario();
    EXPECT_EQ(before, highest_object());
}

TEST(RegionHandle, IsTheSameSet)
{
    TestBitmap bitmap;
    ASSERT_NO_FATAL_FAILURE(bitmap.make(Kind::conv, 50, 40, 8));
    const HRGN shape = CreateEllipticRgn(-5, 3, 38, 33), box = CreateRectRgn(10, 10, 20, 60);
    ASSERT_EQ(COMPLEXREGION, CombineRgn(shape, shape, box, RGN_XOR));
    ASSERT_EQ(SUCCESS, V_SetBitmapRegionHandle(bitmap.get(), shape, REGION_SET));
    const HRGN got = V_GetBitmapRegionHandle(bitmap.get());
    for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 0; x < 50; ++x) {
            ASSERT_EQ(PtInRegion(shape, x, y) != 0, V_IsPointInBitmapRegion(bitmap.get(), x, y) == 1) << x << ", " << y;
            ASSERT_EQ(PtInRegion(shape, x, y), PtInRegion(got, x, y));
        }
    ASSERT_EQ(SUCCESS, V_SetBitmapRegionHandle(bitmap.get(), box, REGION_AND));
    uint64_t area = 0;
    ASSERT_EQ(SUCCESS, V_GetBitmapRegionArea(bitmap.get(), &area));
    uint64_t wanted = 0;
    for (int32_t y = 10; y < 40; ++y)
        for (int32_t x = 10; x < 20; ++x)
            wanted += PtInRegion(shape, x, y) != 0;
    EXPECT_EQ(wanted, area);
    ASSERT_EQ(SUCCESS, V_FreeBitmapRegion(bitmap.get()));
    const HRGN whole = V_GetBitmapRegionHandle(bitmap.get()), all = CreateRectRgn(0, 0, 50, 40);
    EXPECT_NE(0, EqualRgn(whole, all)) << "no region is the whole picture";
    EXPECT_EQ(ERROR_INVALID_HANDLE, V_SetBitmapRegionHandle(bitmap.get(), nullptr, REGION_SET));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapRegionHandle(bitmap.get(), box, 9));
    EXPECT_EQ(nullptr, V_GetBitmapRegionHandle(nullptr));
    for (const HRGN each : {shape, box, got, whole, all})
        DeleteObject(each);
}

} // namespace

#endif
