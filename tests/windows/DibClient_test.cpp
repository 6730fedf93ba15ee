// DIBs with the system's own functions as the other side: drawn, read back from bitmaps of the system's, and through
// the clipboard. Windows only.
#if defined(_WIN32)

#include "tests/support/TestDib.h"

#include "Vkkrnx.h"

using namespace vk::testing;

namespace {

constexpr int32_t kWide = 13;
constexpr int32_t kHigh = 7;
constexpr int32_t kDibDepths[] = {1, 4, 8, 16, 24, 32};

/// A memory device with a 32-bit picture, top row first, whose pixels can be looked at.
class Canvas {
public:
    Canvas() : dc_(CreateCompatibleDC(nullptr))
    {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = kWide;
        info.bmiHeader.biHeight = -kHigh;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &pixels_, nullptr, 0);
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

    bool usable() const { return pixels_ != nullptr; }
    HDC dc() const { return dc_; }
    HBITMAP bitmap() const { return bitmap_; }
    uint8_t* pixels() const { return static_cast<uint8_t*>(pixels_); }
    /// As a colour value.
    COLORREF color(int32_t x, int32_t y) const
    {
        GdiFlush();
        const uint8_t* const at = pixels() + 4 * (y * kWide + x);
        return RGB(at[2], at[1], at[0]);
    }

private:
    HDC dc_;
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ before_ = nullptr;
    void* pixels_ = nullptr;
};

void make(TestBitmap& bitmap, int32_t bits, int32_t view)
{
    TestRandom random(static_cast<uint64_t>(bits));
    bitmap.make(Kind::conv, kWide, kHigh, bits, random);
    bitmap->ViewPerspective = view;
    ASSERT_TRUE(bits > 8 || V_SetBitmapNewPalette(bitmap, V_IntGetFixedPalette(bits), 1u << bits) == SUCCESS);
}

COLORREF shown(TestBitmap& bitmap, int32_t x, int32_t y)
{
    return V_GetPixelColor(bitmap, bitmap->ViewPerspective == TOP_LEFT ? y : kHigh - 1 - y, x) & 0xFFFFFF;
}

/// Equal but for the low bits of 5-bit channels, which the system fills in its own way.
void expect_color(COLORREF expected, COLORREF found, int32_t bits)
{
    const int most = bits == 16 ? 7 : 0;
    for (int shift = 0; shift < 24; shift += 8)
        EXPECT_NEAR(static_cast<int>(expected >> shift & 0xFF), static_cast<int>(found >> shift & 0xFF), most);
}

void expect_drawn(TestBitmap& bitmap, const Canvas& canvas)
{
    for (int32_t y = 0; y < kHigh; ++y)
        for (int32_t x = 0; x < kWide; ++x)
            expect_color(shown(bitmap, x, y), canvas.color(x, y), bitmap->BitsPerPixel);
}

} // namespace

TEST(WindowsClient, DrawsDibs)
{
    for (const int32_t bits : kDibDepths)
        for (const int32_t view : {TOP_LEFT, BOTTOM_LEFT})
            for (uint32_t type = DIB_INFOHEADER; type <= DIB_V5HEADER; ++type) {
                SCOPED_TRACE(bits);
                TestBitmap bitmap;
                make(bitmap, bits, view);
                const DibBlock block(V_ConvertToDIB(bitmap, type));
                const auto* const info = static_cast<const BITMAPINFO*>(GlobalLock(block.get()));
                ASSERT_NE(nullptr, info);
                const uint8_t* const rows =
                    reinterpret_cast<const uint8_t*>(info) + info->bmiHeader.biSize + info->bmiHeader.biClrUsed * 4;
                const Canvas set;
                ASSERT_TRUE(set.usable());
                EXPECT_EQ(kHigh,
                          SetDIBitsToDevice(set.dc(), 0, 0, kWide, kHigh, 0, 0, 0, kHigh, rows, info, DIB_RGB_COLORS));
                expect_drawn(bitmap, set);
                const Canvas stretched;
                EXPECT_EQ(kHigh, StretchDIBits(stretched.dc(), 0, 0, kWide, kHigh, 0, 0, kWide, kHigh, rows, info,
                                               DIB_RGB_COLORS, SRCCOPY));
                expect_drawn(bitmap, stretched);
                GlobalUnlock(block.get());
            }
}

TEST(WindowsClient, ReadsWhatTheSystemGives)
{
    const Canvas canvas;
    ASSERT_TRUE(canvas.usable());
    TestRandom random(3);
    for (int32_t i = 0; i < kWide * kHigh; ++i) { // colours that every depth has
        const auto level = static_cast<uint8_t>(random.one_in(2) ? 255 : 0);
        std::memset(canvas.pixels() + 4 * i, level, 4);
    }
    for (const int32_t bits : kDibDepths)
        for (const int32_t height : {kHigh, -kHigh}) {
            SCOPED_TRACE(bits);
            DibParts dib{40, kWide, height, 1, static_cast<uint16_t>(bits)};
            dib.table = Bytes(bits <= 8 ? size_t{4} << bits : 0);
            dib.pixels = Bytes(dib.image());
            DibBlock block(dib.packed());
            auto* const info = static_cast<BITMAPINFO*>(GlobalLock(block.get()));
            uint8_t* const rows = reinterpret_cast<uint8_t*>(info) + 40 + dib.table.size();
            ASSERT_EQ(kHigh, GetDIBits(canvas.dc(), canvas.bitmap(), 0, kHigh, rows, info, DIB_RGB_COLORS));
            GlobalUnlock(block.get());
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, block.change(bitmap));
            block.let_go();
            for (int32_t y = 0; y < kHigh; ++y)
                for (int32_t x = 0; x < kWide; ++x)
                    expect_color(canvas.color(x, y), shown(bitmap, x, y), bits);
        }
}

TEST(WindowsClient, ThroughTheClipboard)
{
    for (const int32_t bits : kDibDepths) {
        TestBitmap bitmap;
        make(bitmap, bits, BOTTOM_LEFT);
        const Bytes before = bitmap.pixels();
        if (!OpenClipboard(nullptr))
            GTEST_SKIP() << "no clipboard here";
        ASSERT_TRUE(EmptyClipboard());
        HGLOBAL const dib = V_ChangeToDIB(bitmap, DIB_INFOHEADER);
        ASSERT_NE(nullptr, dib);
        ASSERT_EQ(dib, SetClipboardData(CF_DIB, dib)); // the system's from here on
        ASSERT_TRUE(CloseClipboard());
        ASSERT_TRUE(OpenClipboard(nullptr));
        HGLOBAL const found = GetClipboardData(CF_DIB);
        ASSERT_NE(nullptr, found);
        TestBitmap lent;
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(lent, BITMAPHANDLE_SIZE, found));
        EXPECT_EQ(before, lent.pixels());
        V_FreeBitmap(lent);
        EmptyClipboard();
        CloseClipboard();
    }
}

#endif
