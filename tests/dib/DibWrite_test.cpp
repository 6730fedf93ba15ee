// From bitmaps to DIBs: every depth, order and header, row order, and that the change hands a block over untouched.
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestDib.h"
#include "tests/support/TestRandom.h"

#include "Vkbitmap.h"

#include <array>

using namespace vk::testing;

namespace {

constexpr int32_t kWide = 13;
constexpr int32_t kHigh = 5;

void fill(TestBitmap& bitmap, uint64_t seed)
{
    TestRandom random(seed);
    Bytes row(bitmap->BytesPerLine);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        std::fill(row.begin(), row.end(), uint8_t{0});
        for (int32_t x = 0; x < bitmap->Width; ++x)
            set_pixel(row.data(), bitmap->BitsPerPixel, x, random.next());
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap.get(), row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
}

/// A pixel as 8-bit colour, bottom row first for DIBs.
COLORREF dib_color(const Bytes& dib, int32_t x, int32_t row)
{
    const auto bits = value_at<uint16_t>(dib, 14);
    const auto width = value_at<int32_t>(dib, 4);
    const size_t start = value_at<uint32_t>(dib, 0) + size_t{4} * value_at<uint32_t>(dib, 32);
    const uint8_t* const at = dib.data() + start + stride_of(width, bits) * static_cast<size_t>(row);
    const uint64_t pixel = get_pixel(at, bits, x);
    if (bits <= 8) {
        const uint8_t* const entry = dib.data() + value_at<uint32_t>(dib, 0) + 4 * pixel;
        return static_cast<COLORREF>(entry[2] | entry[1] << 8 | entry[0] << 16);
    }
    if (bits == 16) {
        const auto level = [&](int shift) {
            return static_cast<COLORREF>((pixel >> shift & 31) << 3 | (pixel >> shift & 31) >> 2);
        };
        return level(10) | level(5) << 8 | level(0) << 16;
    }
    return static_cast<COLORREF>((pixel >> 16 & 0xFF) | (pixel & 0xFF00) | (pixel & 0xFF) << 16);
}

struct Format {
    int32_t bits, order, dib_bits;
};
constexpr Format kFormats[] = {
    {1, 0, 1},   {2, 0, 4},   {3, 0, 4},   {4, 0, 4},   {5, 0, 8},   {6, 0, 8},   {7, 0, 8},   {8, 0, 8},
    {8, 2, 8},   {12, 2, 24}, {16, 0, 16}, {16, 1, 16}, {16, 2, 24}, {16, 7, 16}, {24, 0, 24}, {24, 1, 24},
    {32, 0, 32}, {32, 1, 32}, {48, 0, 24}, {48, 1, 24}, {64, 0, 32}, {64, 1, 32},
};
constexpr uint32_t kMasks[] = {0xF800, 0x7E0, 0x1F};
constexpr uint32_t kHeaderSizes[] = {40, 108, 124, 40};

void make(TestBitmap& bitmap, const Format& format, int32_t view, Kind kind = Kind::conv)
{
    bitmap.make(kind, kWide, kHigh, format.bits);
    bitmap->Order = format.order;
    bitmap->ViewPerspective = view;
    if (format.bits <= 8 && format.order == COLORORDER_RGB) {
        ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), V_IntGetFixedPalette(format.bits), 1u << format.bits));
    }
    bitmap->XResolution = 300;
    bitmap->YResolution = 72;
    fill(bitmap, 17);
}

/// Everything in a DIB that does not depend on pixels.
void expect_head(const Bytes& dib, uint32_t type, const Format& format, bool changed)
{
    const uint32_t size = kHeaderSizes[type];
    const uint32_t colors = format.bits <= 8 ? 1u << format.bits : 0;
    const auto image = static_cast<uint32_t>(stride_of(kWide, format.dib_bits) * kHigh);
    const bool masked = changed && format.order == COLORORDER_RGB565;
    EXPECT_EQ(size + 4 * colors + image, dib.size());
    EXPECT_EQ(size, value_at<uint32_t>(dib, 0));
    EXPECT_EQ(kWide, value_at<int32_t>(dib, 4));
    EXPECT_EQ(kHigh, value_at<int32_t>(dib, 8));
    EXPECT_EQ(1, value_at<uint16_t>(dib, 12));
    EXPECT_EQ(format.dib_bits, value_at<uint16_t>(dib, 14));
    EXPECT_EQ(masked ? 3u : 0u, value_at<uint32_t>(dib, 16));
    EXPECT_EQ(image, value_at<uint32_t>(dib, 20));
    EXPECT_EQ(11811, value_at<int32_t>(dib, 24));
    EXPECT_EQ(2835, value_at<int32_t>(dib, 28));
    EXPECT_EQ(colors, value_at<uint32_t>(dib, 32));
    EXPECT_EQ(0u, value_at<uint32_t>(dib, 36));
    for (uint32_t at = 40; at < size; ++at)
        EXPECT_EQ(size == 124 && at >= 56 && at < 60 ? "BGRs"[at - 56] : 0, dib[at]) << at;
}

} // namespace

TEST(DibWrite, EveryFormatAndHeader)
{
    for (const uint32_t record : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER})
        for (const Format& format : kFormats)
            for (uint32_t type = 0; type < 4; ++type)
                for (const int32_t view : {TOP_LEFT, BOTTOM_LEFT}) {
                    SCOPED_TRACE(std::to_string(format.bits) + " bits, order " + std::to_string(format.order) +
                                 ", type " + std::to_string(type));
                    TestBitmap bitmap(record);
                    make(bitmap, format, view);
                    const std::vector<uint8_t> before = bitmap.image();
                    std::vector<COLORREF> colors;
                    for (int32_t row = 0; row < kHigh; ++row)
                        for (int32_t x = 0; x < kWide; ++x)
                            colors.push_back(
                                V_GetPixelColor(bitmap.get(), view == BOTTOM_LEFT ? row : kHigh - 1 - row, x) &
                                0xFFFFFF);
                    const bool narrow = format.order == COLORORDER_RGB565; // becomes 5-5-5 by conversion
                    const DibBlock converted(V_ConvertToDIB(bitmap.get(), type));
                    const Bytes dib = contents(converted.get());
                    expect_head(dib, type, format, false);
                    EXPECT_EQ(before, bitmap.image());
                    for (int32_t i = 0; i < kWide * kHigh && !narrow; ++i)
                        EXPECT_EQ(colors[static_cast<size_t>(i)], dib_color(dib, i % kWide, i / kWide)) << i;

                    uint32_t size = 0;
                    void* const plain = V_ConvertToDIB2(bitmap.get(), type, &size, 0);
                    ASSERT_EQ(dib.size(), size);
                    EXPECT_EQ(0, std::memcmp(dib.data(), plain, size));
                    V_FreeMemory(plain);

                    const Bytes stored = bitmap.pixels();
                    const DibBlock changed(V_ChangeToDIB(bitmap.get(), type));
                    const Bytes moved = contents(changed.get());
                    expect_head(moved, type, format, true);
                    EXPECT_EQ(0u, bitmap->Flags & BITMAPFLAG_ALLOCATED);
                    if (!narrow) {
                        EXPECT_EQ(dib, moved);
                        continue;
                    }
                    const bool is_short = kHeaderSizes[type] == 40;
                    for (size_t i = 0; i < 3; ++i) // the masks lie over pixels
                        EXPECT_TRUE(!is_short || value_at<uint32_t>(moved, 40 + 4 * i) == kMasks[i]);
                    const size_t line = stride_of(kWide, 16);
                    for (int32_t row = is_short ? 1 : 0; row < kHigh; ++row)
                        EXPECT_EQ(
                            0, std::memcmp(stored.data() +
                                               line * static_cast<size_t>(view == BOTTOM_LEFT ? row : kHigh - 1 - row),
                                           moved.data() + kHeaderSizes[type] + line * static_cast<size_t>(row), line));
                }
}

TEST(DibWrite, IndicesStay)
{
    for (int32_t bits = 2; bits <= 7; ++bits) {
        TestBitmap bitmap;
        make(bitmap, {bits, 0, bits < 4 ? 4 : 8}, BOTTOM_LEFT);
        const RGBQUAD gray = {9, 9, 9, 0};
        const std::vector<RGBQUAD> same(size_t{1} << bits, gray); // matching could not tell them apart
        ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), same.data(), static_cast<uint32_t>(same.size())));
        const Bytes pixels = bitmap.pixels();
        const DibBlock block(V_ConvertToDIB(bitmap.get(), 0));
        const Bytes dib = contents(block.get());
        const int32_t wide = value_at<uint16_t>(dib, 14);
        const size_t start = 40 + (size_t{4} << bits);
        if (bits == 4)
            continue;
        for (int32_t row = 0; row < kHigh; ++row)
            for (int32_t x = 0; x < kWide; ++x)
                ASSERT_EQ(get_pixel(pixels.data() + bitmap->BytesPerLine * static_cast<size_t>(row), bits, x),
                          wide == 8
                              ? dib[start + stride_of(kWide, 8) * static_cast<size_t>(row) + static_cast<size_t>(x)]
                              : get_pixel(dib.data() + start + stride_of(kWide, 4) * static_cast<size_t>(row), 4, x))
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
            Bytes row(bitmap->BytesPerLine);
            for (int32_t x = 0; x < 4; ++x)
                set_pixel(row.data(), bits, x, static_cast<uint64_t>(x) * 85 << 2 | 0x803);
            ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
            ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap.get(), row.data(), 0, row.size()));
            ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
            if (table) {
                std::vector<RGBQUAD> lut(256);
                for (size_t i = 0; i < 256; ++i)
                    lut[i] = {static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i), 7, 0};
                bitmap->LUT = V_CreateNewPalette(lut.data(), 256);
                bitmap->LUTLength = 256;
                bitmap->Flags |= BITMAPFLAG_USELUT;
            }
            const DibBlock block(V_ChangeToDIB(bitmap.get(), 0));
            const Bytes dib = contents(block.get());
            ASSERT_EQ(24, value_at<uint16_t>(dib, 14));
            for (uint8_t x = 0; x < 4; ++x) {
                const auto level = static_cast<uint8_t>(x * 85);
                const Bytes expected =
                    table ? Bytes{static_cast<uint8_t>(255 - level), level, 7} : Bytes{level, level, level};
                EXPECT_EQ(expected, Bytes(dib.begin() + 40 + 3 * x, dib.begin() + 43 + 3 * x));
            }
        }
}

TEST(DibWrite, EveryStorageKind)
{
    for (const Kind kind : kKinds)
        for (const int32_t bits : {1, 24}) {
            if (!can_make(kind, bits))
                continue;
            SCOPED_TRACE(name_of(kind));
            TestBitmap plain;
            TestBitmap bitmap;
            make(plain, {bits, 0, bits}, BOTTOM_LEFT);
            make(bitmap, {bits, 0, bits}, BOTTOM_LEFT, kind);
            const DibBlock expected(V_ConvertToDIB(plain.get(), 0));
            const DibBlock converted(V_ConvertToDIB(bitmap.get(), 0));
            EXPECT_EQ(contents(expected.get()), contents(converted.get()));
            const DibBlock changed(V_ChangeToDIB(bitmap.get(), 0));
            ASSERT_NE(nullptr, changed.get());
            EXPECT_EQ(contents(expected.get()), contents(changed.get()));
        }
}

TEST(DibWrite, ChangeHandsTheBlockOver)
{
    TestRandom random(8);
    for (const uint16_t bits : std::initializer_list<uint16_t>{1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bits);
        DibParts dib;
        dib.bits = bits;
        dib.width = 21;
        dib.height = 7;
        dib.image_bytes = static_cast<uint32_t>(dib.image());
        if (bits <= 8) {
            dib.colors_used = 1u << bits;
            dib.table = Bytes(size_t{4} << bits, 0);
        }
        dib.pixels.resize(dib.image());
        random.fill(dib.pixels.data(), dib.pixels.size());
        DibBlock block(dib.packed());
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_ChangeFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, block.get()));
        // Nothing is allocated on the way back, so nothing can have been copied: the one call is the block's lock.
        vk::fault::arm(0, false);
        HGLOBAL const back = V_ChangeToDIB(bitmap.get(), DIB_INFOHEADER);
        const uint64_t calls = vk::fault::calls();
        vk::fault::disarm();
        EXPECT_EQ(block.get(), back);
        EXPECT_EQ(1u, calls);
        EXPECT_EQ(1u, vk::fault::calls(vk::fault::Call::movable_lock));
        EXPECT_EQ(nullptr, +bitmap->Handle);
        EXPECT_EQ(0u, bitmap->Flags & (BITMAPFLAG_ALLOCATED | BITMAPFLAG_GLOBAL));
        EXPECT_EQ(dib.packed(), contents(back));
        // A longer header moves the pixels within the block, which grows.
        ASSERT_EQ(SUCCESS, V_ChangeFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, back));
        EXPECT_EQ(back, V_ChangeToDIB(bitmap.get(), DIB_V5HEADER));
        const Bytes longer = contents(back);
        EXPECT_EQ(dib.packed().size() + 84, longer.size());
        EXPECT_EQ(dib.pixels, Bytes(longer.end() - static_cast<std::ptrdiff_t>(dib.pixels.size()), longer.end()));
        // One that was lent is copied, and so is one whose rows stand the other way round.
        TestBitmap lent;
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(lent.get(), BITMAPHANDLE_SIZE, back));
        const DibBlock copy(V_ChangeToDIB(lent.get(), DIB_V5HEADER));
        EXPECT_NE(back, copy.get());
        TestBitmap turned;
        ASSERT_EQ(SUCCESS, V_ChangeFromDIB(turned.get(), BITMAPHANDLE_SIZE, block.let_go()));
        turned->ViewPerspective = TOP_LEFT;
        const DibBlock upright(V_ChangeToDIB(turned.get(), DIB_V5HEADER));
        const Bytes rows = contents(upright.get());
        EXPECT_EQ(0,
                  std::memcmp(rows.data() + rows.size() - stride_of(21, bits), dib.pixels.data(), stride_of(21, bits)));
    }
}

TEST(DibWrite, TurnedPerspectives)
{
    for (int32_t view = 2; view <= 8; ++view) {
        if (view == BOTTOM_LEFT)
            continue;
        SCOPED_TRACE(view);
        TestBitmap bitmap;
        make(bitmap, {24, 1, 24}, view);
        const Bytes stored = bitmap.pixels();
        const std::vector<uint8_t> before = bitmap.image();
        const DibBlock converted(V_ConvertToDIB(bitmap.get(), 0));
        EXPECT_EQ(before, bitmap.image());
        const Bytes dib = contents(converted.get());
        const bool quarter = view >= 5;
        const int32_t wide = quarter ? kHigh : kWide;
        const int32_t high = quarter ? kWide : kHigh;
        ASSERT_EQ(wide, value_at<int32_t>(dib, 4));
        ASSERT_EQ(high, value_at<int32_t>(dib, 8));
        EXPECT_EQ(quarter ? 2835 : 11811, value_at<int32_t>(dib, 24));
        EXPECT_EQ(quarter ? 11811 : 2835, value_at<int32_t>(dib, 28));
        for (int32_t y = 0; y < high; ++y) // as shown, from the top
            for (int32_t x = 0; x < wide; ++x) {
                const int32_t from_right = wide - 1 - x;
                const int32_t from_bottom = high - 1 - y;
                const std::array<std::array<int32_t, 2>, 9> kSource = {{{},
                                                                        {y, x},
                                                                        {y, from_right},
                                                                        {from_bottom, from_right},
                                                                        {from_bottom, x},
                                                                        {x, y},
                                                                        {from_right, y},
                                                                        {from_right, from_bottom},
                                                                        {x, from_bottom}}};
                const auto [row, column] = kSource[static_cast<size_t>(view)];
                EXPECT_EQ(
                    0, std::memcmp(stored.data() + stride_of(kWide, 24) * static_cast<size_t>(row) + 3 * column,
                                   dib.data() + 40 + stride_of(wide, 24) * static_cast<size_t>(from_bottom) + 3 * x, 3))
                    << x << ' ' << y;
            }
        const DibBlock changed(V_ChangeToDIB(bitmap.get(), 0));
        ASSERT_NE(nullptr, changed.get());
        EXPECT_EQ(dib, contents(changed.get()));
    }
}

TEST(DibWrite, Refused)
{
    EXPECT_EQ(nullptr, V_ChangeToDIB(nullptr, 0));
    EXPECT_EQ(nullptr, V_ConvertToDIB(nullptr, 0));
    EXPECT_EQ(nullptr, V_ConvertToDIB2(nullptr, 0, nullptr, 0));
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), BITMAPHANDLE_SIZE, 5, 5, 8));
    EXPECT_EQ(nullptr, V_ChangeToDIB(bitmap.get(), 0));
    EXPECT_EQ(nullptr, V_ConvertToDIB(bitmap.get(), 0));
    bitmap.make(Kind::global, 5, 5, 8);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
    EXPECT_EQ(nullptr, V_ChangeToDIB(bitmap.get(), 0)) << "locked";
    const DibBlock fine(V_ConvertToDIB(bitmap.get(), 0));
    EXPECT_NE(nullptr, fine.get());
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
    for (const auto change :
         {+[](BITMAPHANDLE* b) { b->StructSize = 283; }, +[](BITMAPHANDLE* b) { b->BytesPerLine = 4; },
          +[](BITMAPHANDLE* b) { b->Height = 0; }, +[](BITMAPHANDLE* b) { b->Width = -1; }}) {
        BITMAPHANDLE broken = *bitmap.get();
        change(&broken);
        EXPECT_EQ(nullptr, V_ChangeToDIB(&broken, 0));
        EXPECT_EQ(nullptr, V_ConvertToDIB2(&broken, 0, nullptr, 1));
    }
    bitmap->DataOffset += 4; // the block does not hold the rows any more
    EXPECT_EQ(nullptr, V_ConvertToDIB(bitmap.get(), 0));
    EXPECT_EQ(nullptr, V_ChangeToDIB(bitmap.get(), 0));
    bitmap->DataOffset -= 4;
    V_SetStatusCallback([](int percent, void*) { return percent < 50 ? SUCCESS : ERROR_USER_ABORT; }, nullptr, nullptr,
                        nullptr);
    const Bytes before = bitmap.pixels();
    EXPECT_EQ(nullptr, V_ConvertToDIB(bitmap.get(), 0));
    V_SetStatusCallback(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(before, bitmap.pixels());
}

TEST(DibWrite, MoreColoursStatedThanTheDepthHas)
{
    for (const bool keeps : {true, false}) { // 2 bits become 4, whose table would have room for all thirteen
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 5, 5, 2));
        bitmap->Colors = 13;
        const DibBlock block(keeps ? V_ConvertToDIB(bitmap.get(), 0) : V_ChangeToDIB(bitmap.get(), 0));
        ASSERT_NE(nullptr, block.get());
        const auto* const header = static_cast<const BITMAPINFOHEADER*>(GlobalLock(block.get()));
        EXPECT_EQ(4u, header->biClrUsed);
        GlobalUnlock(block.get());
    }
}

TEST(DibWrite, Faults)
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
        for (int way = 0; way < 3; ++way) {
            SCOPED_TRACE(std::string(name_of(test.kind)) + ", way " + std::to_string(way));
            TestBitmap spare;
            make(spare, test.format, test.view, test.kind);
            const Bytes pixels = spare.pixels();
            if (way != 0) { // the bitmap stays
                const std::vector<uint8_t> before = spare.image();
                for_each_fault([&] {
                    uint32_t size = 0;
                    void* const dib = V_ConvertToDIB2(spare.get(), DIB_V5HEADER, &size, way == 1);
                    EXPECT_EQ(before, spare.image());
                    EXPECT_EQ(dib != nullptr, size != 0);
                    if (dib && way == 1)
                        GlobalFree(static_cast<HGLOBAL>(dib));
                    else
                        V_FreeMemory(dib);
                });
                EXPECT_EQ(pixels, spare.pixels());
                continue;
            }
            for (const bool persistent : {false, true})
                for (uint64_t call = 1, fired = 1; fired != 0; ++call) {
                    const vk::fault::Live live = vk::fault::live();
                    {
                        TestBitmap bitmap;
                        make(bitmap, test.format, test.view, test.kind);
                        vk::fault::arm(call, persistent);
                        HGLOBAL const dib = V_ChangeToDIB(bitmap.get(), DIB_V5HEADER);
                        fired = vk::fault::fired();
                        vk::fault::disarm();
                        if (dib)
                            GlobalFree(dib);
                        else if (bitmap->ViewPerspective == test.view) {
                            EXPECT_EQ(pixels, bitmap.pixels());
                        }
                        EXPECT_EQ(dib == nullptr, (bitmap->Flags & BITMAPFLAG_ALLOCATED) != 0);
                        ASSERT_LT(call, 500u);
                    }
                    expect_same_live(live, vk::fault::live());
                }
        }
}
