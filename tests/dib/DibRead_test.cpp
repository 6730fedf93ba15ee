// From DIBs into bitmaps: every depth and header, bit fields, run lengths, and what must be refused.
#include "tests/support/FaultLoop.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestDib.h"

using namespace vk::testing;

namespace {

constexpr uint16_t kDibDepths[] = {1, 4, 8, 16, 24, 32};
constexpr uint32_t kSize = BITMAPHANDLE_SIZE;

void expect_palette(TestBitmap& bitmap, const DibParts& dib)
{
    const size_t step = dib.size == 12 ? 3 : 4;
    ASSERT_EQ(dib.table.size() / step, bitmap->Colors);
    for (size_t i = 0; i < dib.table.size() / step; ++i) {
        EXPECT_EQ(0, std::memcmp(&bitmap->Palette[i], dib.table.data() + i * step, 3)) << i;
        EXPECT_EQ(0, bitmap->Palette[i].rgbReserved);
    }
}

/// A DIB of run lengths right behind the header, where the colour table is, too.
DibParts runs_at_header(uint16_t bits, int32_t width, const Bytes& data)
{
    DibParts dib = DibParts::runs(bits, width, 1, data);
    dib.table.clear();
    dib.colors_used = 1;
    return dib;
}

} // namespace

TEST(DibRead, PlainDepths)
{
    TestRandom random(1);
    for (const uint32_t record : kRecordSizes)
        for (const uint16_t bits : kDibDepths)
            for (const uint32_t size : {12u, 40u, 108u, 124u})
                for (const int32_t height : {5, -5}) {
                    if (size == 12 && height < 0)
                        continue;
                    SCOPED_TRACE(say(bits, "bits, header", size));
                    const DibParts dib = DibParts::random(random, size, bits, 37, height);
                    DibBlock block(dib.packed());
                    TestBitmap changed(record), converted(record);
                    ASSERT_EQ(SUCCESS, block.change(changed));
                    EXPECT_EQ(block.let_go(), +changed->Handle);
                    EXPECT_TRUE(changed->Flags == 0x1003u && changed->Data == nullptr && changed->PaintLUT != nullptr);
                    EXPECT_EQ(static_cast<int64_t>(dib.head().size()), +changed->DataOffset);
                    EXPECT_EQ(size == 40 ? 100 : display_dpi(false), changed->XResolution);
                    EXPECT_EQ(size == 40 ? 200 : display_dpi(true), changed->YResolution);
                    EXPECT_EQ(height < 0 ? TOP_LEFT : BOTTOM_LEFT, changed->ViewPerspective);
                    EXPECT_EQ(bits > 8 ? COLORORDER_BGR : COLORORDER_RGB, changed->Order);
                    EXPECT_EQ(dib.pixels, changed.pixels());
                    expect_palette(changed, dib);
                    if (size != 40)
                        continue; // conversion is for that header
                    ASSERT_EQ(SUCCESS, dib.convert(converted));
                    EXPECT_EQ(dib.pixels, converted.pixels());
                    expect_palette(converted, dib);
                    for (const auto field : {&BITMAPHANDLE::XResolution, &BITMAPHANDLE::YResolution,
                                             &BITMAPHANDLE::ViewPerspective, &BITMAPHANDLE::Order})
                        EXPECT_EQ((*changed).*field, (*converted).*field);
                }
}

TEST(DibRead, MirrorBorrows)
{
    TestRandom random(2);
    const DibParts dib = DibParts::random(random, 40, 8, 11, 3);
    const DibBlock block(dib.packed());
    for (int i = 0; i < 2; ++i) { // the second one leaves the block locked
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(bitmap, kSize, block.get()));
        EXPECT_EQ(0x1403u, bitmap->Flags);
        EXPECT_EQ(dib.pixels, bitmap.pixels());
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
        EXPECT_TRUE(i == 1 || V_ReleaseBitmap(bitmap) == SUCCESS);
    }
    EXPECT_EQ(0u, GlobalFlags(block.get()) & GMEM_LOCKCOUNT);
    EXPECT_EQ(dib.packed(), contents(block.get()));

    DibParts fields = DibParts::random(random, 40, 16, 11, 3); // what has to be normalised or decoded is copied
    fields.compression = BI_BITFIELDS;
    fields.masks = {0x1F, 0x3E0, 0x7C00};
    for (const DibParts& parts : {fields, runs_at_header(8, 4, {4, 9, 0, 0})}) {
        const DibBlock other(parts.packed());
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(bitmap, kSize, other.get()));
        EXPECT_EQ(0u, bitmap->Flags & (BITMAPFLAG_MIRROR | BITMAPFLAG_GLOBAL));
        EXPECT_EQ(parts.packed(), contents(other.get()));
    }
}

TEST(DibRead, BitFields)
{
    const struct {
        uint16_t bits;
        std::vector<uint32_t> masks;
        int32_t order;
        uint32_t pixel, converted, changed;
    } kCases[] = {
        {32, {0xFF0000, 0xFF00, 0xFF}, COLORORDER_BGR, 0x12345678, 0xFF345678, 0x12345678},
        {32, {0xFF, 0xFF00, 0xFF0000}, COLORORDER_RGB, 0x12345678, 0xFF345678, 0x12345678},
        {32, {0xFF00, 0xFF, 0xFF000000}, COLORORDER_BGR, 0x12345678, 0xFF567812, 0x00567812},
        {32, {0x3FF00000, 0xFFC00, 0x3FF}, COLORORDER_BGR, 0x3FF80201, 0xFFFF8080, 0x00FF8080},
        {32, {0x3, 0x4, 0}, COLORORDER_BGR, 0x6, 0xFFAAFF00, 0x00AAFF00},
        {16, {0x7C00, 0x3E0, 0x1F}, COLORORDER_BGR, 0xABCD, 0xABCD, 0xABCD},
        {16, {0xF800, 0x7E0, 0x1F}, COLORORDER_RGB565, 0xABCD, 0xABCD, 0xABCD},
        {16, {0x1F, 0x3E0, 0x7C00}, COLORORDER_BGR, 0x7FE3, 0x0FFF, 0x0FFF},
        {16, {0xF000, 0xF00, 0xF0}, COLORORDER_BGR, 0x8F10, 0x47E2, 0x47E2},
        {16, {0xFF00, 0xFF, 0xFFFF0000}, COLORORDER_BGR, 0x8101, 0x4000, 0x4000},
    };
    for (const auto& test : kCases)
        for (const bool own_masks : {false, true}) {
            SCOPED_TRACE(say(test.bits, test.masks[0]));
            DibParts dib{40, 3, 2, 1, test.bits, BI_BITFIELDS};
            dib.masks = test.masks;
            const size_t step = test.bits / 8u;
            for (size_t at = 0; at < dib.image(); at += step) // the end of a row is no pixel
                append(dib.pixels, Bytes(reinterpret_cast<const uint8_t*>(&test.pixel),
                                         reinterpret_cast<const uint8_t*>(&test.pixel) + step));
            TestBitmap converted, changed;
            ASSERT_EQ(SUCCESS, dib.convert(converted));
            Bytes packed = dib.packed();
            if (own_masks) { // a long header that holds the masks itself
                dib.size = 108;
                dib.masks.clear();
                packed = dib.header();
                for (size_t i = 0; i < 3; ++i)
                    put(packed, 40 + 4 * i, test.masks[i]);
                append(packed, dib.pixels);
            }
            DibBlock block(packed);
            ASSERT_EQ(SUCCESS, block.change(changed));
            block.let_go();
            for (TestBitmap* bitmap : {&converted, &changed}) {
                EXPECT_EQ(test.order, (*bitmap)->Order);
                const Bytes rows = bitmap->pixels();
                for (int32_t x = 0; x < (test.bits == 16 ? 4 : 3); ++x) // the padding pixel too
                    EXPECT_EQ(bitmap == &changed ? test.changed : test.converted,
                              get_pixel(rows.data() + stride_of(3, test.bits), test.bits, x));
            }
            put(packed, 12, uint16_t{7}); // layers
            const DibBlock layered(packed);
            TestBitmap copied;
            EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, layered.change(copied));
            EXPECT_EQ(SUCCESS, V_MirrorFromDIB(copied, kSize, layered.get()));
            EXPECT_EQ(0u, copied->Flags & BITMAPFLAG_GLOBAL);
        }
}

TEST(DibRead, ConvertsEveryDepth)
{
    TestRandom random(12);
    for (const int32_t bits : kDepths)
        for (const int32_t width : {1, 6, 37}) {
            SCOPED_TRACE(say(bits, "bits"));
            const DibParts dib = DibParts::random(random, 40, static_cast<uint16_t>(bits), width, 3);
            TestBitmap bitmap, copy; // in an order that the depth has
            ASSERT_EQ(SUCCESS, dib.convert(bitmap));
            EXPECT_EQ(bits, bitmap->BitsPerPixel);
            EXPECT_EQ(dib.pixels, bitmap.pixels());
            if (bits <= 8)
                expect_palette(bitmap, dib);
            EXPECT_EQ(SUCCESS, V_CopyBitmap(copy, bitmap, kSize));
            EXPECT_EQ(SUCCESS, V_SizeBitmap(copy, 2, 2, SIZEFLAG_RESAMPLE));
        }
}

TEST(DibRead, RunLengths)
{
    const struct {
        uint16_t bits;
        int32_t width, height;
        Bytes data;
        Bytes rows = {}; ///< empty: corrupt
    } kCases[] = {
        {8, 5, 2, {5, 7, 0, 0, 0, 3, 1, 2, 3, 0, 2, 9, 0, 0, 0, 1}, {7, 7, 7, 7, 7, 0, 0, 0, 1, 2, 3, 9, 9, 0, 0, 0}},
        {8, 5, 2, {5, 7, 0, 0, 5, 8}, {7, 7, 7, 7, 7, 0, 0, 0, 8, 8, 8, 8, 8, 0, 0, 0}}, // ends with the data
        {8, 5, 1, {8, 7, 0, 0}, {7, 7, 7, 7, 7, 0, 0, 0}},                               // into the padding
        {8, 5, 1, {9, 7, 0, 0}},                                                         // and past it
        {8, 5, 1, {4, 7, 0, 0}},
        {8, 5, 2, {5, 7, 0, 0}},
        {8, 5, 2, {5, 7, 0, 1}},
        {8, 5, 1, {5}},
        {8, 5, 1, {0, 5, 1, 2, 3, 4}},
        {8, 5, 1, {0, 5, 1, 2, 3, 4, 5}, {1, 2, 3, 4, 5, 0, 0, 0}}, // its pad byte is missing
        {8, 5, 1, {0}},
        {8, 5, 3, {2, 7, 0, 2, 1, 2, 2, 8, 0, 0}, {7, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                   0, 0, 0, 0, 0, 0, 0, 8, 8, 0, 0, 0}},
        {8, 5, 1, {1, 7, 0, 2, 2, 0, 2, 9, 0, 0}, {7, 0, 0, 9, 9, 0, 0, 0}},
        {8, 5, 1, {1, 7, 0, 2, 0, 1}},
        {8, 5, 2, {1, 7, 0, 2, 9, 0}},
        {8, 5, 2, {1, 7, 0, 2, 9}},
        {8, 5, 3, {1, 7, 0, 2, 0, 3}},
        {4, 5, 1, {5, 0x12, 0, 0}, {0x12, 0x12, 0x10, 0}},
        {4, 5, 1, {2, 0x12, 0, 3, 0x34, 0x50, 0, 0}, {0x12, 0x34, 0x50, 0}},
        {4, 5, 1, {1, 0x12, 0, 4, 0x34, 0x56, 0, 1}, {0x13, 0x45, 0x60, 0}},
        {4, 5, 1, {8, 0x12, 0, 0}, {0x12, 0x12, 0x10, 0}},
        {4, 5, 1, {9, 0x12, 0, 0}},
        {4, 5, 1, {3, 0x12, 0, 2, 2, 0}, {0x12, 0x10, 0, 0}},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(::testing::PrintToString(test.data));
        TestBitmap bitmap;
        const int result = DibParts::runs(test.bits, test.width, test.height, test.data).convert(bitmap);
        EXPECT_EQ(test.rows.empty() ? ERROR_INTERNAL : SUCCESS, result);
        EXPECT_TRUE(result == SUCCESS ? test.rows == bitmap.pixels() && bitmap->ViewPerspective == BOTTOM_LEFT
                                      : bitmap.is_empty());
    }
}

/// Rows in run lengths of any kind, with jumps among them and rows that are jumped over; what they stand for.
Bytes random_runs(TestRandom& random, int32_t width, int32_t height, Bytes& rows)
{
    Bytes data;
    for (int32_t y = 0; y < height; ++y) {
        Bytes row(stride_of(width, 8));
        for (int32_t x = 0; x < width;) {
            if (x != 0 && y + 2 < height && random.one_in(9)) { // to a place in a row further on
                const auto down = static_cast<uint8_t>(random.between(1, std::min(height - 1 - y, 3)));
                append(data, {0, 2, 0, down});
                append(rows, row);
                append(rows, Bytes((down - 1u) * row.size()));
                std::fill(row.begin(), row.end(), uint8_t{0});
                y += down;
            }
            const auto count = static_cast<uint8_t>(std::min(width - x, random.between(1, 255)));
            Bytes pixels(count);
            const auto way = random.below(3);
            if (way == 0) {
                append(data, {0, 2, count, 0});
            } else if (way == 1 || count < 3) {
                pixels.assign(count, static_cast<uint8_t>(random.between(1, 255)));
                append(data, {count, pixels[0]});
            } else {
                random.fill(pixels.data(), count);
                append(data, {0, count});
                append(data, pixels);
                data.resize(data.size() + count % 2, 0xEE);
            }
            std::copy(pixels.begin(), pixels.end(), row.begin() + x);
            x += count;
        }
        append(data, {0, 0});
        append(rows, row);
    }
    return data;
}

TEST(DibRead, WideRunLengthsInEveryStorage)
{
    // Rows long enough for the wide steps, in batches; what stands in the row or batch before must not show.
    TestRandom random(11);
    SCOPED_TRACE(random);
    const Thresholds restore;
    for (int round = 0; round < 60; ++round) {
        const int32_t width = random.between(250, 1200);
        const int32_t height = round % 10 == 0 ? 700 : random.between(1, 9);
        Bytes rows;
        const DibParts dib = DibParts::runs(8, width, height, random_runs(random, width, height, rows));
        GuardedBuffer exact(dib.pixels.size(), GuardedBuffer::Edge::back);
        std::copy(dib.pixels.begin(), dib.pixels.end(), exact.data());
        const Bytes head = dib.head();
        Thresholds::tiles(5000, 0, 1);
        Thresholds::max_conv(round % 3 == 1 ? 1 : -100);
        ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(round % 3 == 2 ? TYPE_DISK : TYPE_CONV));
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS,
                  V_ConvertFromDIB(bitmap, kSize, reinterpret_cast<const BITMAPINFO*>(head.data()), exact.data()));
        ASSERT_TRUE(round % 3 != 2 || V_BitmapIsDiskMemory(bitmap));
        ASSERT_TRUE(rows == bitmap.pixels()) << round;
    }
    ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(TYPE_CONV));
}

TEST(DibRead, BlockOfRunLengths)
{
    DibParts dib = runs_at_header(8, 4, {4, 9, 0, 0});
    TestBitmap bitmap;
    DibBlock good(dib.packed());
    ASSERT_EQ(SUCCESS, good.change(bitmap));
    EXPECT_EQ(GMEM_INVALID_HANDLE, GlobalFlags(good.let_go()) & GMEM_INVALID_HANDLE); // freed
    EXPECT_EQ((Bytes{9, 9, 9, 9}), bitmap.pixels());
    EXPECT_EQ(1u, bitmap->Colors);
    for (const auto& [image_bytes, colors, code] : {std::tuple{5u, 1u, ERROR_INVALID_PARAMETER},
                                                    {4u, 2u, ERROR_INVALID_PARAMETER},
                                                    {2u, 1u, SUCCESS},
                                                    {1u, 1u, ERROR_INTERNAL}}) {
        dib.image_bytes = image_bytes;
        dib.colors_used = colors;
        DibBlock block(dib.packed());
        TestBitmap other;
        EXPECT_EQ(code, block.change(other));
        if (code == SUCCESS)
            block.let_go();
        EXPECT_TRUE(code == SUCCESS || dib.packed() == contents(block.get()));
    }
}

TEST(DibRead, OnlyDescribes)
{
    const Bytes head = DibParts{40, 70000, -70000}.head();
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, V_ConvertFromDIB(bitmap, kSize, reinterpret_cast<const BITMAPINFO*>(head.data()), nullptr));
    EXPECT_TRUE(bitmap->Flags == 0 && bitmap->Width == 70000 && bitmap->Height == 70000);
    EXPECT_TRUE(bitmap->BitsPerPixel == 24 && bitmap->Palette == nullptr);
}

TEST(DibRead, Refused)
{
    TestRandom random(3);
    const DibParts good = DibParts::random(random, 40, 8, 9, 4);
    constexpr int kParameter = ERROR_INVALID_PARAMETER, kNone = ERROR_FEATURE_NOT_SUPPORTED;
    constexpr int kUntold = 0; ///< a fault of the block, of which conversion is told nothing
    const struct {
        void (*change)(DibParts&);
        int changed, converted;
    } kCases[] = {
        {[](DibParts& d) { d.width = 0; }, kParameter, ERROR_INVALID_WIDTH_HEIGHT},
        {[](DibParts& d) { d.height = 0; }, kParameter, ERROR_INVALID_WIDTH_HEIGHT},
        {[](DibParts& d) { d.width = -9; }, kParameter, kParameter},
        {[](DibParts& d) { d.height = INT32_MIN; }, kParameter, kParameter},
        {[](DibParts& d) { d.planes = 2; }, kNone, SUCCESS},
        {[](DibParts& d) { d.bits = 9; }, kNone, ERROR_INVALID_BITS_PER_PIXEL},
        {[](DibParts& d) { d.bits = 0; }, kNone, ERROR_INVALID_BITS_PER_PIXEL},
        {[](DibParts& d) { d.bits = 12; }, kNone, SUCCESS},
        {[](DibParts& d) { d.bits = 80, d.compression = code_of("JPEG"); }, ERROR_INVALID_BITS_PER_PIXEL,
         ERROR_INVALID_BITS_PER_PIXEL},
        {[](DibParts& d) { d.compression = 4; }, kNone, kNone},
        {[](DibParts& d) { d.compression = BI_RLE4; }, kNone, kNone},
        {[](DibParts& d) { d.compression = BI_BITFIELDS; }, kNone, kNone},
        {[](DibParts& d) { d.compression = code_of("YUY2"), d.bits = 16; }, kNone, kNone},
        {[](DibParts& d) { d.colors_used = 257; }, kParameter, kParameter},
        {[](DibParts& d) { d.colors_used = 0xFFFFFFFF; }, kParameter, kParameter},
        {[](DibParts& d) { d.pixels.pop_back(); }, kParameter, kUntold},
        {[](DibParts& d) { d.height = INT32_MAX; }, kParameter, kUntold},
        {[](DibParts& d) { d.width = INT32_MAX; }, kParameter, kUntold},
        {[](DibParts& d) { d.bits = 32, d.colors_used = 0x40000000; }, kParameter, kUntold},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(&test - kCases);
        DibParts dib = good;
        test.change(dib);
        const Bytes packed = dib.packed();
        const DibBlock block(packed);
        TestBitmap bitmap;
        for (const auto function : {V_ChangeFromDIB, V_MirrorFromDIB}) {
            EXPECT_EQ(test.changed, function(bitmap, kSize, block.get()));
            EXPECT_TRUE(bitmap.is_empty());
        }
        EXPECT_EQ(packed, contents(block.get()));
        EXPECT_EQ(0u, GlobalFlags(block.get()) & GMEM_LOCKCOUNT);
        if (test.converted == kUntold)
            continue;
        dib.pixels.resize(64 * dib.pixels.size() + 64); // as many as a case's depth can want
        EXPECT_EQ(test.converted, dib.convert(bitmap));
        EXPECT_TRUE(test.converted == SUCCESS || bitmap.is_empty());
    }
    TestBitmap bitmap;
    expect_each(kParameter, {V_ChangeFromDIB(bitmap, kSize, nullptr), V_MirrorFromDIB(bitmap, kSize, nullptr),
                             V_ConvertFromDIB(bitmap, kSize, nullptr, nullptr)});
}

TEST(DibRead, EveryCutBlockIsRefused)
{
    TestRandom random(4);
    for (const uint32_t size : {12u, 40u, 124u})
        for (const uint16_t bits : std::initializer_list<uint16_t>{1, 8, 24}) {
            const Bytes packed = DibParts::random(random, size, bits, 3, 2).packed();
            for (size_t length = 1; length < packed.size(); ++length) {
                const DibBlock block(Bytes(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(length)));
                TestBitmap bitmap;
                ASSERT_TRUE(GlobalSize(block.get()) != length || // rounded up by the system
                            block.change(bitmap) == ERROR_INVALID_PARAMETER)
                    << length;
            }
        }
}

TEST(DibRead, Faults)
{
    TestRandom random(6);
    DibParts fields = DibParts::random(random, 40, 32, 5, 3);
    fields.compression = BI_BITFIELDS;
    fields.masks = {0xFF00, 0xFF, 0xFF000000};
    for (const DibParts& dib : {DibParts::random(random, 40, 8, 5, 3), fields, runs_at_header(4, 8, {8, 0x12, 0, 0})}) {
        const Bytes packed = dib.packed();
        for (const bool mirror : {false, true})
            for_each_fault([&] {
                DibBlock block(packed);
                if (!block.get())
                    return;
                TestBitmap bitmap;
                const int code = (mirror ? V_MirrorFromDIB : V_ChangeFromDIB)(bitmap, kSize, block.get());
                if (code == SUCCESS && !mirror) {
                    block.let_go();
                    return;
                }
                EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY || code == ERROR_INVALID_PARAMETER) << code;
                EXPECT_TRUE(code == SUCCESS || bitmap.is_empty());
                EXPECT_EQ(packed.size(), GlobalSize(block.get()));
            });
        DibParts roomy = dib;
        roomy.table.resize(dib.table.size() + 4); // a colour table of one entry where the block has run lengths
        for_each_fault([&] {
            TestBitmap bitmap;
            const int code = roomy.convert(bitmap);
            EXPECT_TRUE(code == SUCCESS || (code == ERROR_NO_MEMORY && bitmap.is_empty())) << code;
        });
    }
}
