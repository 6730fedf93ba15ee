// From DIBs into bitmaps: every depth and header, bit fields, run lengths, and what must be refused.
#include "tests/support/FaultLoop.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestDib.h"
#include "tests/support/TestRandom.h"

using namespace vk::testing;

namespace {

Bytes random_bytes(TestRandom& random, size_t count)
{
    Bytes bytes(count);
    random.fill(bytes.data(), count);
    return bytes;
}

/// A DIB of a depth with everything it needs.
DibParts make_dib(TestRandom& random, uint32_t size, uint16_t bits, int32_t width, int32_t height)
{
    DibParts dib;
    dib.size = size;
    dib.bits = bits;
    dib.width = width;
    dib.height = height;
    if (bits <= 8)
        dib.table = random_bytes(random, (size_t{1} << bits) * (size == 12 ? 3 : 4));
    dib.pixels = random_bytes(random, dib.image());
    return dib;
}

void expect_palette(TestBitmap& bitmap, const DibParts& dib)
{
    const size_t step = dib.size == 12 ? 3 : 4;
    ASSERT_EQ(dib.table.size() / step, bitmap->Colors);
    for (size_t i = 0; i < dib.table.size() / step; ++i) {
        const RGBQUAD entry = bitmap->Palette[i];
        const uint8_t* const from = dib.table.data() + i * step;
        EXPECT_TRUE(entry.rgbBlue == from[0] && entry.rgbGreen == from[1] && entry.rgbRed == from[2] &&
                    entry.rgbReserved == 0)
            << i;
    }
}

/// A run-length DIB of 8 or 4 bits.
DibParts runs_of(uint16_t bits, int32_t width, int32_t height, const Bytes& data)
{
    DibParts dib;
    dib.bits = bits;
    dib.compression = bits == 8 ? BI_RLE8 : BI_RLE4;
    dib.width = width;
    dib.height = height;
    dib.image_bytes = static_cast<uint32_t>(data.size());
    dib.table = Bytes((size_t{1} << bits) * 4, 7);
    dib.pixels = data;
    return dib;
}

} // namespace

TEST(DibRead, PlainDepths)
{
    TestRandom random(1);
    for (const uint32_t record : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER})
        for (const uint16_t bits : std::initializer_list<uint16_t>{1, 4, 8, 16, 24, 32})
            for (const uint32_t size : {12u, 40u, 108u, 124u})
                for (const int32_t height : {5, -5}) {
                    if (size == 12 && height < 0)
                        continue;
                    SCOPED_TRACE(std::to_string(bits) + " bits, header " + std::to_string(size));
                    const DibParts dib = make_dib(random, size, bits, 37, height);
                    DibBlock block(dib.packed());
                    TestBitmap changed(record);
                    ASSERT_EQ(SUCCESS, V_ChangeFromDIB(changed.get(), record, block.get()));
                    EXPECT_EQ(block.let_go(), +changed->Handle);
                    EXPECT_EQ(0x1003u, changed->Flags);
                    EXPECT_EQ(nullptr, +changed->Data);
                    EXPECT_EQ(static_cast<int64_t>(dib.head().size()), +changed->DataOffset);
                    EXPECT_EQ(dib.pixels, changed.pixels());
                    EXPECT_EQ(size == 40 ? 100 : display_dpi(false), changed->XResolution);
                    EXPECT_EQ(size == 40 ? 200 : display_dpi(true), changed->YResolution);
                    EXPECT_EQ(height < 0 ? TOP_LEFT : BOTTOM_LEFT, changed->ViewPerspective);
                    EXPECT_EQ(bits > 8 ? COLORORDER_BGR : COLORORDER_RGB, changed->Order);
                    EXPECT_NE(nullptr, +changed->PaintLUT);
                    expect_palette(changed, dib);
                    if (size != 40)
                        continue; // conversion is for that header
                    TestBitmap converted(record);
                    ASSERT_EQ(SUCCESS, convert_dib(converted.get(), record, dib.head(), dib.pixels));
                    EXPECT_EQ(dib.pixels, converted.pixels());
                    expect_palette(converted, dib);
                    for (const auto field : {&BITMAPHANDLE::XResolution, &BITMAPHANDLE::YResolution,
                                             &BITMAPHANDLE::ViewPerspective, &BITMAPHANDLE::Order})
                        EXPECT_EQ(*changed.get().*field, *converted.get().*field);
                }
}

TEST(DibRead, MirrorBorrows)
{
    TestRandom random(2);
    const DibParts dib = make_dib(random, 40, 8, 11, 3);
    const DibBlock block(dib.packed());
    for (int i = 0; i < 2; ++i) { // the second one leaves the block locked
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, block.get()));
        EXPECT_EQ(0x1403u, bitmap->Flags);
        EXPECT_EQ(dib.pixels, bitmap.pixels());
        EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap.get()));
        if (i == 0) {
            EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap.get()));
        }
    }
    EXPECT_EQ(0u, GlobalFlags(block.get()) & GMEM_LOCKCOUNT);
    EXPECT_EQ(dib.packed(), contents(block.get()));

    DibParts fields = dib; // what has to be normalised or decoded is copied
    fields.bits = 16;
    fields.compression = BI_BITFIELDS;
    fields.masks = {0x1F, 0x3E0, 0x7C00};
    fields.table.clear();
    fields.pixels = random_bytes(random, fields.image());
    DibParts runs = runs_of(8, 4, 1, {4, 9, 0, 0});
    runs.table.clear(); // pixels are read from right behind the header
    runs.colors_used = 1;
    for (const DibParts& parts : {fields, runs}) {
        const DibBlock other(parts.packed());
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_MirrorFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, other.get()));
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
            SCOPED_TRACE(std::to_string(test.bits) + ' ' + std::to_string(test.masks[0]));
            DibParts dib;
            dib.bits = test.bits;
            dib.width = 3;
            dib.compression = BI_BITFIELDS;
            dib.masks = test.masks;
            for (size_t i = 0; i < dib.image() / (test.bits / 8); ++i)
                test.bits == 16 ? put(dib.pixels, 2 * i, static_cast<uint16_t>(test.pixel))
                                : put(dib.pixels, 4 * i, test.pixel);
            TestBitmap converted;
            ASSERT_EQ(SUCCESS, convert_dib(converted.get(), BITMAPHANDLE_SIZE, dib.head(), dib.pixels));
            EXPECT_EQ(test.order, converted->Order);
            const Bytes shown = converted.pixels();
            const int32_t moved = test.bits == 16 ? 4 : 3; // the padding pixel too
            for (int32_t x = 0; x < moved; ++x)
                EXPECT_EQ(test.converted, get_pixel(shown.data() + stride_of(3, test.bits), test.bits, x));

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
            TestBitmap changed;
            ASSERT_EQ(SUCCESS, V_ChangeFromDIB(changed.get(), BITMAPHANDLE_SIZE, block.get()));
            block.let_go();
            EXPECT_EQ(test.order, changed->Order);
            const Bytes kept = changed.pixels();
            for (int32_t x = 0; x < moved; ++x)
                EXPECT_EQ(test.changed, get_pixel(kept.data(), test.bits, x));
            dib.planes = 7;
            std::memcpy(packed.data() + 12, &dib.planes, sizeof dib.planes);
            const DibBlock layered(packed);
            TestBitmap copied;
            EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_ChangeFromDIB(copied.get(), BITMAPHANDLE_SIZE, layered.get()));
            EXPECT_EQ(SUCCESS, V_MirrorFromDIB(copied.get(), BITMAPHANDLE_SIZE, layered.get()));
            EXPECT_EQ(0u, copied->Flags & BITMAPFLAG_GLOBAL);
        }
}

TEST(DibRead, ConvertsEveryDepth)
{
    TestRandom random(12);
    for (const int32_t bits : kDepths)
        for (const int32_t width : {1, 6, 37}) {
            SCOPED_TRACE(std::to_string(bits) + " bits");
            const DibParts dib = make_dib(random, 40, static_cast<uint16_t>(bits), width, 3);
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, convert_dib(bitmap.get(), BITMAPHANDLE_SIZE, dib.head(), dib.pixels));
            EXPECT_EQ(bits, bitmap->BitsPerPixel);
            EXPECT_EQ(dib.pixels, bitmap.pixels());
            if (bits <= 8)
                expect_palette(bitmap, dib);
            TestBitmap copy; // in an order that the depth has
            EXPECT_EQ(SUCCESS, V_CopyBitmap(copy.get(), bitmap.get(), BITMAPHANDLE_SIZE));
            EXPECT_EQ(SUCCESS, V_SizeBitmap(copy.get(), 2, 2, SIZEFLAG_RESAMPLE));
        }
}

TEST(DibRead, RunLengths)
{
    const struct {
        uint16_t bits;
        int32_t width, height;
        Bytes data;
        Bytes rows; ///< empty: corrupt
    } kCases[] = {
        {8, 5, 2, {5, 7, 0, 0, 0, 3, 1, 2, 3, 0, 2, 9, 0, 0, 0, 1}, {7, 7, 7, 7, 7, 0, 0, 0, 1, 2, 3, 9, 9, 0, 0, 0}},
        {8, 5, 2, {5, 7, 0, 0, 5, 8}, {7, 7, 7, 7, 7, 0, 0, 0, 8, 8, 8, 8, 8, 0, 0, 0}}, // ends with the data
        {8, 5, 1, {8, 7, 0, 0}, {7, 7, 7, 7, 7, 0, 0, 0}},                               // into the padding
        {8, 5, 1, {9, 7, 0, 0}, {}},                                                     // and past it
        {8, 5, 1, {4, 7, 0, 0}, {}},
        {8, 5, 2, {5, 7, 0, 0}, {}},
        {8, 5, 2, {5, 7, 0, 1}, {}},
        {8, 5, 1, {5}, {}},
        {8, 5, 1, {0, 5, 1, 2, 3, 4}, {}},
        {8, 5, 1, {0, 5, 1, 2, 3, 4, 5}, {1, 2, 3, 4, 5, 0, 0, 0}}, // its pad byte is missing
        {8, 5, 1, {0}, {}},
        {8, 5, 3, {2, 7, 0, 2, 1, 2, 2, 8, 0, 0}, {7, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                   0, 0, 0, 0, 0, 0, 0, 8, 8, 0, 0, 0}},
        {8, 5, 1, {1, 7, 0, 2, 2, 0, 2, 9, 0, 0}, {7, 0, 0, 9, 9, 0, 0, 0}},
        {8, 5, 1, {1, 7, 0, 2, 0, 1}, {}},
        {8, 5, 2, {1, 7, 0, 2, 9, 0}, {}},
        {8, 5, 2, {1, 7, 0, 2, 9}, {}},
        {8, 5, 3, {1, 7, 0, 2, 0, 3}, {}},
        {4, 5, 1, {5, 0x12, 0, 0}, {0x12, 0x12, 0x10, 0}},
        {4, 5, 1, {2, 0x12, 0, 3, 0x34, 0x50, 0, 0}, {0x12, 0x34, 0x50, 0}},
        {4, 5, 1, {1, 0x12, 0, 4, 0x34, 0x56, 0, 1}, {0x13, 0x45, 0x60, 0}},
        {4, 5, 1, {8, 0x12, 0, 0}, {0x12, 0x12, 0x10, 0}},
        {4, 5, 1, {9, 0x12, 0, 0}, {}},
        {4, 5, 1, {3, 0x12, 0, 2, 2, 0}, {0x12, 0x10, 0, 0}},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(::testing::PrintToString(test.data));
        const DibParts dib = runs_of(test.bits, test.width, test.height, test.data);
        TestBitmap bitmap;
        const int result = convert_dib(bitmap.get(), BITMAPHANDLE_SIZE, dib.head(), dib.pixels);
        EXPECT_EQ(test.rows.empty() ? ERROR_INTERNAL : SUCCESS, result);
        if (result == SUCCESS) {
            EXPECT_EQ(test.rows, bitmap.pixels());
            EXPECT_EQ(BOTTOM_LEFT, bitmap->ViewPerspective);
        } else {
            EXPECT_TRUE(bitmap.is_empty());
        }
    }
}

TEST(DibRead, WideRunLengths)
{
    // Rows long enough for the wide steps, with jumps among them; what stands in the row before must not show.
    TestRandom random(11);
    SCOPED_TRACE(random);
    for (int round = 0; round < 60; ++round) {
        const int32_t width = random.between(250, 1200);
        Bytes data, rows;
        for (int32_t y = 0; y < 3; ++y) {
            Bytes row(stride_of(width, 8));
            for (int32_t x = 0; x < width;) {
                const auto count = static_cast<uint8_t>(std::min(width - x, random.between(1, 255)));
                Bytes pixels(count);
                const auto way = random.below(3);
                if (way == 0) {
                    append(data, {0, 2, count, 0});
                } else if (way == 1 || count < 3) {
                    const auto value = static_cast<uint8_t>(random.between(1, 255));
                    append(data, {count, value});
                    pixels.assign(count, value);
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
        const DibParts dib = runs_of(8, width, 3, data);
        GuardedBuffer exact(data.size(), GuardedBuffer::Edge::back);
        std::copy(data.begin(), data.end(), exact.data());
        const Bytes head = dib.head();
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, V_ConvertFromDIB(bitmap.get(), BITMAPHANDLE_SIZE,
                                            reinterpret_cast<const BITMAPINFO*>(head.data()), exact.data()));
        ASSERT_EQ(rows, bitmap.pixels()) << round;
    }
}

TEST(DibRead, BlockOfRunLengths)
{
    // Decoded from right behind the header, where the colour table is, too.
    DibParts dib = runs_of(8, 4, 1, {4, 9, 0, 0});
    dib.table.clear();
    dib.colors_used = 1;
    TestBitmap bitmap;
    DibBlock good(dib.packed());
    ASSERT_EQ(SUCCESS, V_ChangeFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, good.get()));
    EXPECT_EQ(GMEM_INVALID_HANDLE, GlobalFlags(good.let_go()) & GMEM_INVALID_HANDLE); // freed
    EXPECT_EQ((Bytes{9, 9, 9, 9}), bitmap.pixels());
    EXPECT_EQ(1u, bitmap->Colors);
    const struct {
        uint32_t image_bytes, colors;
        int code;
    } kBad[] = {
        {5, 1, ERROR_INVALID_PARAMETER}, {4, 2, ERROR_INVALID_PARAMETER}, {2, 1, SUCCESS}, {1, 1, ERROR_INTERNAL}};
    for (const auto& test : kBad) {
        dib.image_bytes = test.image_bytes;
        dib.colors_used = test.colors;
        DibBlock block(dib.packed());
        TestBitmap other;
        EXPECT_EQ(test.code, V_ChangeFromDIB(other.get(), BITMAPHANDLE_SIZE, block.get()));
        if (test.code == SUCCESS)
            block.let_go();
        else
            EXPECT_EQ(dib.packed(), contents(block.get()));
    }
}

TEST(DibRead, OnlyDescribes)
{
    DibParts dib;
    dib.width = 70000;
    dib.height = -70000;
    const Bytes head = dib.head();
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, V_ConvertFromDIB(bitmap.get(), BITMAPHANDLE_SIZE,
                                        reinterpret_cast<const BITMAPINFO*>(head.data()), nullptr));
    EXPECT_EQ(0u, bitmap->Flags);
    EXPECT_EQ(70000, bitmap->Width);
    EXPECT_EQ(70000, bitmap->Height);
    EXPECT_EQ(24, bitmap->BitsPerPixel);
    EXPECT_EQ(nullptr, +bitmap->Palette);
}

TEST(DibRead, Refused)
{
    TestRandom random(3);
    const DibParts good = make_dib(random, 40, 8, 9, 4);
    const auto with = [&](auto change) {
        DibParts dib = good;
        change(dib);
        return dib;
    };
    const struct {
        DibParts dib;
        int changed, converted;
    } kCases[] = {
        {with([](DibParts& d) { d.width = 0; }), ERROR_INVALID_PARAMETER, ERROR_INVALID_WIDTH_HEIGHT},
        {with([](DibParts& d) { d.height = 0; }), ERROR_INVALID_PARAMETER, ERROR_INVALID_WIDTH_HEIGHT},
        {with([](DibParts& d) { d.width = -9; }), ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
        {with([](DibParts& d) { d.height = INT32_MIN; }), ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
        {with([](DibParts& d) { d.planes = 2; }), ERROR_FEATURE_NOT_SUPPORTED, SUCCESS},
        {with([](DibParts& d) { d.bits = 9; }), ERROR_FEATURE_NOT_SUPPORTED, ERROR_INVALID_BITS_PER_PIXEL},
        {with([](DibParts& d) { d.bits = 0; }), ERROR_FEATURE_NOT_SUPPORTED, ERROR_INVALID_BITS_PER_PIXEL},
        {with([](DibParts& d) { d.bits = 12; }), ERROR_FEATURE_NOT_SUPPORTED, SUCCESS},
        {with([](DibParts& d) { d.bits = 80, d.compression = code_of("JPEG"); }), ERROR_INVALID_BITS_PER_PIXEL,
         ERROR_INVALID_BITS_PER_PIXEL},
        {with([](DibParts& d) { d.compression = 4; }), ERROR_FEATURE_NOT_SUPPORTED, ERROR_FEATURE_NOT_SUPPORTED},
        {with([](DibParts& d) { d.compression = BI_RLE4; }), ERROR_FEATURE_NOT_SUPPORTED, ERROR_FEATURE_NOT_SUPPORTED},
        {with([](DibParts& d) { d.compression = BI_BITFIELDS; }), ERROR_FEATURE_NOT_SUPPORTED,
         ERROR_FEATURE_NOT_SUPPORTED},
        {with([](DibParts& d) { d.compression = code_of("YUY2"), d.bits = 16; }), ERROR_FEATURE_NOT_SUPPORTED,
         ERROR_FEATURE_NOT_SUPPORTED},
        {with([](DibParts& d) { d.colors_used = 257; }), ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
        {with([](DibParts& d) { d.colors_used = 0xFFFFFFFF; }), ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
        {with([](DibParts& d) { d.pixels.pop_back(); }), ERROR_INVALID_PARAMETER, V_SUCCESS_ABORT},
        {with([](DibParts& d) { d.height = 0x7FFFFFFF; }), ERROR_INVALID_PARAMETER, V_SUCCESS_ABORT},
        {with([](DibParts& d) { d.width = 0x7FFFFFFF; }), ERROR_INVALID_PARAMETER, V_SUCCESS_ABORT},
        {with([](DibParts& d) { d.bits = 32, d.colors_used = 0x40000000; }), ERROR_INVALID_PARAMETER, V_SUCCESS_ABORT},
    };
    for (const auto& test : kCases) {
        const Bytes packed = test.dib.packed();
        const DibBlock block(packed);
        for (const auto function : {V_ChangeFromDIB, V_MirrorFromDIB}) {
            TestBitmap bitmap;
            EXPECT_EQ(test.changed, function(bitmap.get(), BITMAPHANDLE_SIZE, block.get())) << &test - kCases;
            EXPECT_TRUE(bitmap.is_empty());
        }
        EXPECT_EQ(packed, contents(block.get()));
        EXPECT_EQ(0u, GlobalFlags(block.get()) & GMEM_LOCKCOUNT);
        if (test.converted == V_SUCCESS_ABORT)
            continue; // a fault of the block, of which conversion is told nothing
        TestBitmap bitmap;
        Bytes pixels = test.dib.pixels;
        pixels.resize(64 * pixels.size() + 64); // as many as a case's depth can want
        EXPECT_EQ(test.converted, convert_dib(bitmap.get(), BITMAPHANDLE_SIZE, test.dib.head(), pixels))
            << &test - kCases;
        EXPECT_TRUE(test.converted == SUCCESS || bitmap.is_empty());
    }
    TestBitmap bitmap;
    const DibBlock block(good.packed());
    for (const auto function : {V_ChangeFromDIB, V_MirrorFromDIB}) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, function(nullptr, BITMAPHANDLE_SIZE, block.get()));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, function(bitmap.get(), 283, block.get()));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, function(bitmap.get(), BITMAPHANDLE_SIZE, nullptr));
    }
    const auto* info = reinterpret_cast<const BITMAPINFO*>(good.table.data());
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ConvertFromDIB(nullptr, BITMAPHANDLE_SIZE, info, nullptr));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ConvertFromDIB(bitmap.get(), 283, info, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_ConvertFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, nullptr, nullptr));
}

TEST(DibRead, EveryCutBlockIsRefused)
{
    TestRandom random(4);
    for (const uint32_t size : {12u, 40u, 124u})
        for (const uint16_t bits : std::initializer_list<uint16_t>{1, 8, 24}) {
            const Bytes packed = make_dib(random, size, bits, 3, 2).packed();
            for (size_t length = 1; length < packed.size(); ++length) {
                const DibBlock block(Bytes(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(length)));
                if (GlobalSize(block.get()) != length)
                    continue; // rounded up by the system
                TestBitmap bitmap;
                ASSERT_EQ(ERROR_INVALID_PARAMETER, V_ChangeFromDIB(bitmap.get(), BITMAPHANDLE_SIZE, block.get()))
                    << length;
            }
        }
}

TEST(DibRead, EveryStorageKind)
{
    TestRandom random(5);
    const Thresholds restore;
    const DibParts dib = make_dib(random, 40, 24, 33, 9);
    const DibParts runs = runs_of(8, 5, 3, {5, 7, 0, 0, 5, 8, 0, 0, 5, 9, 0, 1});
    uint32_t before = 0;
    ASSERT_EQ(SUCCESS, V_GetDefaultMemoryType(&before));
    for (const bool tiled : {false, true}) {
        Thresholds::tiles(200, 0, 1);
        Thresholds::max_conv(tiled ? 1 : -100);
        const uint32_t type = tiled ? TYPE_CONV : TYPE_DISK;
        ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(type));
        TestBitmap bitmap;
        EXPECT_EQ(SUCCESS, convert_dib(bitmap.get(), BITMAPHANDLE_SIZE, dib.head(), dib.pixels));
        EXPECT_TRUE(tiled ? V_BitmapIsTiled(bitmap.get()) : V_BitmapIsDiskMemory(bitmap.get()));
        EXPECT_EQ(dib.pixels, bitmap.pixels());
        TestBitmap other;
        EXPECT_EQ(SUCCESS, convert_dib(other.get(), BITMAPHANDLE_SIZE, runs.head(), runs.pixels));
        EXPECT_EQ((Bytes{7, 7, 7, 7, 7, 0, 0, 0, 8, 8, 8, 8, 8, 0, 0, 0, 9, 9, 9, 9, 9, 0, 0, 0}), other.pixels());
    }
    ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(before));
}

TEST(DibRead, Faults)
{
    TestRandom random(6);
    DibParts fields = make_dib(random, 40, 32, 5, 3);
    fields.compression = BI_BITFIELDS;
    fields.masks = {0xFF00, 0xFF, 0xFF000000};
    DibParts runs = runs_of(4, 8, 1, {8, 0x12, 0, 0});
    runs.colors_used = 1;
    runs.table.clear();
    int step = 0;
    for (const DibParts& dib : {make_dib(random, 40, 8, 5, 3), fields, runs}) {
        SCOPED_TRACE(++step);
        const Bytes packed = dib.packed();
        for (const bool mirror : {false, true})
            for_each_fault([&] {
                DibBlock block(packed);
                if (!block.get())
                    return;
                TestBitmap bitmap;
                const auto function = mirror ? V_MirrorFromDIB : V_ChangeFromDIB;
                const int code = function(bitmap.get(), BITMAPHANDLE_SIZE, block.get());
                if (code == SUCCESS && !mirror) {
                    block.let_go();
                    return;
                }
                EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY || code == ERROR_INVALID_PARAMETER) << code;
                EXPECT_TRUE(code == SUCCESS || bitmap.is_empty());
                EXPECT_EQ(packed.size(), GlobalSize(block.get()));
            });
        Bytes head = dib.head();
        head.resize(head.size() + 4); // a colour table of one entry where the block has run lengths
        for_each_fault([&] {
            TestBitmap bitmap;
            const int code = convert_dib(bitmap.get(), BITMAPHANDLE_SIZE, head, dib.pixels.empty() ? head : dib.pixels);
            EXPECT_TRUE(code == SUCCESS || (code == ERROR_NO_MEMORY && bitmap.is_empty())) << code;
        });
    }
}
