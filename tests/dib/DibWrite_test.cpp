// From bitmaps to DIBs: every depth, order, header and view, and that the change hands a block over untouched.
#include "tests/support/FaultLoop.h"
#include "tests/support/TestDib.h"
#include "tests/support/TestTurn.h"

#include "Vkkrnx.h"

using namespace vk::testing;

namespace {

constexpr int32_t kWide = 13;
constexpr int32_t kHigh = 5;

struct Format {
    int32_t bits, order, dib_bits;

    bool narrow() const { return order == COLORORDER_RGB565; } ///< becomes 5-5-5 by conversion
};
constexpr Format kFormats[] = {
    {1, 0, 1},   {2, 0, 4},   {3, 0, 4},   {4, 0, 4},   {5, 0, 8},   {6, 0, 8},   {7, 0, 8},   {8, 0, 8},
    {8, 2, 8},   {12, 2, 24}, {16, 0, 16}, {16, 1, 16}, {16, 2, 24}, {16, 7, 16}, {24, 0, 24}, {24, 1, 24},
    {32, 0, 32}, {32, 1, 32}, {48, 0, 24}, {48, 1, 24}, {64, 0, 32}, {64, 1, 32},
};
constexpr uint32_t kHeaderSizes[] = {40, 108, 124, 40};

void make(TestBitmap& bitmap, const Format& format, int32_t view, Kind kind = Kind::conv)
{
    TestRandom random(17);
    bitmap.make(kind, kWide, kHigh, format.bits, random);
    bitmap->Order = format.order;
    bitmap->ViewPerspective = view;
    ASSERT_TRUE(format.bits > 8 || format.order != COLORORDER_RGB ||
                V_SetBitmapNewPalette(bitmap, V_IntGetFixedPalette(format.bits), 1u << format.bits) == SUCCESS);
    bitmap->XResolution = 300;
    bitmap->YResolution = 72;
}

size_t start_of(const Bytes& dib)
{
    return value_at<uint32_t>(dib, 0) + size_t{4} * value_at<uint32_t>(dib, 32);
}

/// The 8-bit colours of a DIB, top row first.
Picture colors_of(const Bytes& dib)
{
    const auto bits = value_at<uint16_t>(dib, 14);
    const auto width = value_at<int32_t>(dib, 4);
    const auto height = value_at<int32_t>(dib, 8);
    return Picture::made(width, height, [&](int32_t x, int32_t y) -> uint64_t {
        const size_t row = stride_of(width, bits) * static_cast<size_t>(height - 1 - y);
        const uint64_t pixel = get_pixel(dib.data() + start_of(dib) + row, bits, x);
        const auto level = [&](int shift) { return (pixel >> shift & 31) << 3 | (pixel >> shift & 31) >> 2; };
        if (bits == 16)
            return level(10) | level(5) << 8 | level(0) << 16;
        const uint64_t bgr = bits <= 8 ? value_at<uint32_t>(dib, value_at<uint32_t>(dib, 0) + 4 * pixel) : pixel;
        return (bgr >> 16 & 0xFF) | (bgr & 0xFF00) | (bgr & 0xFF) << 16;
    });
}

/// Those of a bitmap, as shown.
Picture colors_of(TestBitmap& bitmap)
{
    return Picture::made(kWide, kHigh,
                         [&](int32_t x, int32_t y) -> uint64_t { return V_GetPixelColor(bitmap, y, x) & 0xFFFFFF; })
        .shown(bitmap->ViewPerspective);
}

/// Everything in a DIB that does not depend on pixels.
void expect_head(const Bytes& dib, uint32_t type, const Format& format, bool changed, bool quarter)
{
    DibParts parts{kHeaderSizes[type],
                   quarter ? kHigh : kWide,
                   quarter ? kWide : kHigh,
                   1,
                   static_cast<uint16_t>(format.dib_bits),
                   changed && format.narrow() ? 3u : 0u};
    parts.image_bytes = static_cast<uint32_t>(parts.image());
    parts.x_per_metre = quarter ? 2835 : 11811;
    parts.y_per_metre = quarter ? 11811 : 2835;
    parts.colors_used = format.bits <= 8 ? 1u << format.bits : 0;
    Bytes expected = parts.header();
    if (parts.size == 124)
        std::copy_n("BGRs", 4, expected.begin() + 56);
    EXPECT_EQ(parts.size + 4 * parts.colors_used + parts.image_bytes, dib.size());
    EXPECT_EQ(expected, Bytes(dib.begin(), dib.begin() + parts.size));
}

} // namespace

TEST(DibWrite, EveryFormatHeaderAndView)
{
    for (const Format& format : kFormats)
        for (uint32_t type = 0; type < 4; ++type)
            for (int32_t view = 1; view <= 8; ++view) {
                SCOPED_TRACE(say(format.bits, "bits, order", format.order, "type", type, "view", view));
                TestBitmap bitmap(kRecordSizes[view % 3 == 1]);
                make(bitmap, format, view);
                const Bytes before = bitmap.image();
                const Picture colors = colors_of(bitmap);
                const DibBlock converted(V_ConvertToDIB(bitmap, type));
                const Bytes dib = contents(converted.get());
                expect_head(dib, type, format, false, view > 4);
                EXPECT_EQ(before, bitmap.image());
                EXPECT_TRUE(format.narrow() || colors == colors_of(dib));

                uint32_t size = 0;
                void* const plain = V_ConvertToDIB2(bitmap, type, &size, 0);
                ASSERT_EQ(dib.size(), size);
                EXPECT_EQ(0, std::memcmp(dib.data(), plain, size));
                V_FreeMemory(plain);

                const Bytes stored = bitmap.pixels();
                const DibBlock changed(V_ChangeToDIB(bitmap, type));
                const Bytes moved = contents(changed.get());
                expect_head(moved, type, format, true, view > 4);
                EXPECT_EQ(0u, bitmap->Flags & BITMAPFLAG_ALLOCATED);
                EXPECT_TRUE(format.narrow() || dib == moved);
                if (!format.narrow() || (view != TOP_LEFT && view != BOTTOM_LEFT))
                    continue;
                const bool is_short = kHeaderSizes[type] == 40;
                using Masks = std::array<uint32_t, 3>;
                EXPECT_TRUE(!is_short || value_at<Masks>(moved, 40) == (Masks{0xF800, 0x7E0, 0x1F}))
                    << "they lie over pixels";
                const size_t line = stride_of(kWide, 16);
                for (size_t row = is_short ? 1 : 0; row < kHigh; ++row)
                    EXPECT_EQ(0, std::memcmp(stored.data() + line * (view == BOTTOM_LEFT ? row : kHigh - 1 - row),
                                             moved.data() + kHeaderSizes[type] + line * row, line));
            }
}

TEST(DibWrite, IndicesStay)
{
    for (int32_t bits = 2; bits <= 7; ++bits) {
        TestBitmap bitmap;
        make(bitmap, {bits, 0, 0}, BOTTOM_LEFT);
        const Palette same(size_t{1} << bits, {9, 9, 9, 0}); // matching could not tell them apart
        ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap, same.data(), static_cast<uint32_t>(same.size())));
        const DibBlock block(V_ConvertToDIB(bitmap, 0));
        const Bytes dib = contents(block.get());
        const int32_t wide = value_at<uint16_t>(dib, 14);
        for (int32_t i = 0; i < kWide * kHigh; ++i)
            ASSERT_EQ(get_pixel(bitmap.row(i / kWide), bits, i % kWide),
                      get_pixel(dib.data() + start_of(dib) + stride_of(kWide, wide) * static_cast<size_t>(i / kWide),
                                wide, i % kWide))
                << bits;
    }
}

TEST(DibWrite, GrayThroughItsSignificantBits)
{
    for (const int32_t bits : {12, 16})
        for (const bool table : {false, true}) {
            TestBitmap bitmap;
            bitmap.make(Kind::conv, 4, 1, bits);
            bitmap->Order = COLORORDER_GRAY;
            bitmap->LowBit = 2;
            bitmap->HighBit = 9;
            bitmap.paint([](int32_t x, int32_t) { return static_cast<uint64_t>(x) * 85 << 2 | 0x803; });
            if (table) {
                Palette lut(256);
                for (size_t i = 0; i < 256; ++i)
                    lut[i] = {static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i), 7, 0};
                bitmap->LUT = V_CreateNewPalette(lut.data(), 256);
                bitmap->LUTLength = 256;
                bitmap->Flags |= BITMAPFLAG_USELUT;
            }
            const DibBlock block(V_ChangeToDIB(bitmap, 0));
            const Bytes dib = contents(block.get());
            ASSERT_EQ(24, value_at<uint16_t>(dib, 14));
            for (uint8_t x = 0; x < 4; ++x) {
                const auto level = static_cast<uint8_t>(x * 85);
                EXPECT_EQ(table ? (Bytes{static_cast<uint8_t>(255 - level), level, 7}) : Bytes(3, level),
                          Bytes(dib.begin() + 40 + 3 * x, dib.begin() + 43 + 3 * x));
            }
        }
}

TEST(DibWrite, ChangeHandsTheBlockOver)
{
    TestRandom random(8);
    for (const uint16_t bits : std::initializer_list<uint16_t>{1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bits);
        DibParts dib = DibParts::random(random, 40, bits, 21, 7);
        dib.image_bytes = static_cast<uint32_t>(dib.image());
        dib.colors_used = bits <= 8 ? 1u << bits : 0;
        for (size_t i = 3; i < dib.table.size(); i += 4)
            dib.table[i] = 0;
        DibBlock block(dib.packed());
        TestBitmap bitmap, lent, turned;
        ASSERT_EQ(SUCCESS, block.change(bitmap));
        // Nothing is allocated on the way back, so nothing can have been copied: the one call is the block's lock.
        vk::fault::arm(0, false);
        HGLOBAL const back = V_ChangeToDIB(bitmap, DIB_INFOHEADER);
        const uint64_t calls = vk::fault::calls();
        vk::fault::disarm();
        EXPECT_EQ(block.get(), back);
        EXPECT_TRUE(calls == 1 && vk::fault::calls(vk::fault::Call::movable_lock) == 1) << calls;
        EXPECT_TRUE(!bitmap->Handle && (bitmap->Flags & (BITMAPFLAG_ALLOCATED | BITMAPFLAG_GLOBAL)) == 0);
        EXPECT_EQ(dib.packed(), contents(back));
        // A longer header moves the pixels within the block, which grows.
        ASSERT_EQ(SUCCESS, block.change(bitmap));
        EXPECT_EQ(back, V_ChangeToDIB(bitmap, DIB_V5HEADER));
        const Bytes longer = contents(back);
        EXPECT_EQ(dib.packed().size() + 84, longer.size());
        EXPECT_EQ(dib.pixels, Bytes(longer.end() - static_cast<std::ptrdiff_t>(dib.pixels.size()), longer.end()));
        // One that was lent is copied, and so is one whose rows stand the other way round.
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(lent, BITMAPHANDLE_SIZE, back));
        const DibBlock copy(V_ChangeToDIB(lent, DIB_V5HEADER));
        EXPECT_NE(back, copy.get());
        ASSERT_EQ(SUCCESS, V_ChangeFromDIB(turned, BITMAPHANDLE_SIZE, block.let_go()));
        turned->ViewPerspective = TOP_LEFT;
        const DibBlock upright(V_ChangeToDIB(turned, DIB_V5HEADER));
        const Bytes rows = contents(upright.get());
        const size_t line = stride_of(21, bits);
        EXPECT_EQ(0, std::memcmp(rows.data() + rows.size() - line, dib.pixels.data(), line));
    }
}

TEST(DibWrite, Refused)
{
    TestBitmap bitmap;
    bitmap.make(Kind::global, 5, 5, 8);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    EXPECT_EQ(nullptr, V_ChangeToDIB(bitmap, 0)) << "locked";
    const DibBlock fine(V_ConvertToDIB(bitmap, 0));
    EXPECT_NE(nullptr, fine.get());
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    void (*const changes[])(BITMAPHANDLE&) = {
        [](BITMAPHANDLE& b) { b.StructSize = 283; }, [](BITMAPHANDLE& b) { b.Height = 0; },
        [](BITMAPHANDLE& b) { b.Width = -1; },
        [](BITMAPHANDLE& b) { b.DataOffset += 4; }}; // the block does not hold the rows any more
    for (const auto change : changes) {
        BITMAPHANDLE broken = *bitmap;
        change(broken);
        EXPECT_EQ(nullptr, V_ChangeToDIB(&broken, 0));
        EXPECT_EQ(nullptr, V_ConvertToDIB(&broken, 0));
        EXPECT_EQ(nullptr, V_ConvertToDIB2(&broken, 0, nullptr, 1));
    }
    for (const bool keeps : {true, false}) { // more colours stated than the depth has, 4 bits would have room for them
        TestBitmap boastful;
        ASSERT_EQ(SUCCESS, boastful.create(TYPE_CONV, 5, 5, 2));
        boastful->Colors = 13;
        const DibBlock block(keeps ? V_ConvertToDIB(boastful, 0) : V_ChangeToDIB(boastful, 0));
        ASSERT_NE(nullptr, block.get());
        EXPECT_EQ(4u, value_at<uint32_t>(contents(block.get()), 32));
    }
}

TEST(DibWrite, FailuresLeaveTheBitmap)
{
    const struct {
        Format format;
        Kind kind;
        int32_t view;
    } kCases[] = {{{24, 1, 24}, Kind::global, BOTTOM_LEFT},
                  {{8, 0, 8}, Kind::disk, TOP_LEFT},
                  {{16, 2, 24}, Kind::tiled_mixed, BOTTOM_LEFT},
                  {{24, 1, 24}, Kind::conv, 6}};
    for (const auto& test : kCases)
        for_each_fault_in([&](FaultRound& round) {
            SCOPED_TRACE(name_of(test.kind));
            TestBitmap bitmap;
            make(bitmap, test.format, test.view, test.kind);
            const Bytes pixels = bitmap.pixels();
            HGLOBAL const dib = round([&] { return V_ChangeToDIB(bitmap, DIB_V5HEADER); });
            EXPECT_EQ(dib == nullptr, (bitmap->Flags & BITMAPFLAG_ALLOCATED) != 0);
            EXPECT_TRUE(dib || bitmap->ViewPerspective != test.view || pixels == bitmap.pixels());
            if (dib)
                GlobalFree(dib);
        });
}
