// The streaming resizer: what each mode gives, rows and pieces in any order, output formats, and failures.
#include "kernel/dither/Dither.h"
#include "kernel/resize/ResizeStream.h"
#include "tests/resample/ResampleSupport.h"
#include "tests/support/FaultLoop.h"

#include "Vkbitmap.h"
#include "Vkdither.h"

using namespace vk::testing;
using vk::Filter;

namespace {

struct Output {
    int32_t width, height, bits, order;
    uint32_t flags;
    const RGBQUAD* palette = nullptr;
};

size_t line_of(const Output& output, int32_t count)
{
    return (static_cast<size_t>(count) * static_cast<size_t>(output.bits) + 7) / 8;
}

/// A stream that ends with its scope.
class Stream {
public:
    Stream(BITMAPHANDLE* source, const Output& to, BITMAPHANDLE* other = nullptr, int locked = 0) : output_(to)
    {
        result_ = V_StartResizeBitmap2(source, to.width, to.height, to.bits, to.palette, to.order, to.flags, other,
                                       nullptr, &state_, locked, 0);
    }
    ~Stream() { EXPECT_TRUE(!state_ || V_StopResizeBitmap(state_) == stop_); }
    int result() const { return result_; }
    void stops_with(int code) { stop_ = code; }
    void* state() { return state_; }
    Bytes row(int32_t y, int32_t column = 0, int32_t count = -1)
    {
        const int32_t width = count < 0 ? output_.width : count;
        Bytes out(line_of(output_, width) + 1, 0xA5);
        EXPECT_EQ(SUCCESS, V_GetResizedRowCol(state_, out.data(), y, column, static_cast<uint32_t>(width)));
        EXPECT_EQ(0xA5, out.back());
        out.pop_back();
        return out;
    }
    Bytes all()
    {
        Bytes rows;
        for (int32_t y = 0; y < output_.height; ++y)
            for (const uint8_t byte : row(y))
                rows.push_back(byte);
        return rows;
    }

private:
    Output output_;
    void* state_ = nullptr;
    int result_ = 0;
    int stop_ = SUCCESS;
};

/// The rows of a bitmap without what lies behind their pixels.
Bytes rows_of(TestBitmap& bitmap)
{
    const Bytes all = bitmap.pixels();
    const size_t line = line_of({0, 0, bitmap->BitsPerPixel, 0, 0}, bitmap->Width);
    Bytes rows;
    for (size_t at = 0; at < all.size(); at += bitmap->BytesPerLine)
        rows.insert(rows.end(), all.begin() + static_cast<ptrdiff_t>(at),
                    all.begin() + static_cast<ptrdiff_t>(at + line));
    return rows;
}

constexpr int32_t kWidth = 37, kHeight = 23;

} // namespace

TEST(ResizeStream, ModesGiveWhatTheWholeBitmapGets)
{
    TestRandom random(320);
    SCOPED_TRACE(random);
    const struct {
        uint32_t flags;
        Filter filter;
    } kModes[] = {{STREAMFLAG_BICUBIC, Filter::bicubic},
                  {STREAMFLAG_SHARP, Filter::alternative},
                  {STREAMFLAG_ALTERNATIVE | STREAMFLAG_ALPHAAWARE, Filter::alternative},
                  {STREAMFLAG_AREA, Filter::area}};
    for (const PixelFormat& format : kResampled)
        for (const Kind kind : {Kind::conv, Kind::disk, Kind::global})
            for (const auto& mode : kModes) {
                if (format.bits < 8 || format.by_color())
                    continue; // these leave their palette
                SCOPED_TRACE(format.name());
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, kind, kWidth, kHeight, format, random));
                const Output to = {20, 31, format.bits, format.order, mode.flags};
                Bytes rows;
                {
                    Stream stream(bitmap, to);
                    ASSERT_EQ(SUCCESS, stream.result());
                    rows = stream.all();
                }
                ASSERT_EQ(SUCCESS, vk::resample_bitmap(*bitmap, to.width, to.height, mode.filter));
                EXPECT_EQ(rows_of(bitmap), rows);
            }
}

TEST(ResizeStream, NearestFollowsTheSteppingRule)
{
    TestRandom random(321);
    for (const PixelFormat& format : kResampled)
        for (const Output& size : {Output{80, 9, 0, 0, 0}, Output{5, 60, 0, 0, 0}, Output{37, 23, 0, 0, 0}}) {
            SCOPED_TRACE(format.name());
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, kWidth, kHeight, format, random));
            if (format.order == kGray && format.bits > 8)
                bitmap->LowBit = 0, bitmap->HighBit = format.bits - 1;
            Output to = size;
            to.bits = format.bits;
            to.order = format.order;
            Stream stream(bitmap, to);
            ASSERT_EQ(SUCCESS, stream.result());
            for (int32_t y = 0; y < to.height; ++y) {
                const Bytes row = stream.row(y);
                const uint8_t* from = bitmap.row(y * kHeight / to.height);
                const uint64_t counts = format.bits == 16 && format.order == kBgr ? 0x7FFF : ~uint64_t{0};
                for (int32_t x = 0; x < to.width; ++x)
                    ASSERT_EQ(get_pixel(from, format.bits, x * kWidth / to.width) & counts,
                              get_pixel(row.data(), format.bits, x))
                        << x << ' ' << y;
            }
        }
}

TEST(ResizeStream, LinearIsLinear)
{
    TestBitmap ramp;
    ASSERT_EQ(SUCCESS, ramp.create(TYPE_CONV, 4, 1, 8, kGray));
    const uint8_t levels[] = {0, 100, 200, 40};
    std::copy_n(levels, 4, ramp->Data);
    Stream larger(ramp, {8, 1, 8, kGray, STREAMFLAG_LINEAR});
    EXPECT_EQ((Bytes{0, 25, 75, 125, 175, 160, 80, 40}), larger.row(0));
    Stream smaller(ramp, {2, 1, 8, kGray, STREAMFLAG_LINEAR}); // weights 4, 3, 1: twice the support, folded
    EXPECT_EQ((Bytes{63, 108}), smaller.row(0));
}

TEST(ResizeStream, RowsAndPiecesInAnyOrder)
{
    TestRandom random(322);
    SCOPED_TRACE(random);
    for (const PixelFormat& format : kResampled)
        for (const uint32_t flags : {STREAMFLAG_NEAREST, STREAMFLAG_BICUBIC, STREAMFLAG_AREA}) {
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::tiled_file, kWidth, kHeight, format, random));
            bitmap->DitheringMethod = DITHER_NONE;
            const Output to = {51, 17, format.bits, format.order, flags};
            Stream in_order(bitmap, to);
            Stream stream(bitmap, to);
            ASSERT_EQ(SUCCESS, stream.result());
            std::vector<Bytes> rows;
            for (int32_t y = 0; y < to.height; ++y)
                rows.push_back(in_order.row(y));
            for (int round = 0; round < 60; ++round) {
                const int32_t y = random.between(0, to.height - 1);
                const int32_t column = random.between(0, to.width - 1);
                const int32_t count = random.between(0, to.width - column);
                const Bytes piece = stream.row(y, column, count);
                for (int32_t x = 0; x < count; ++x)
                    ASSERT_EQ(get_pixel(rows[size_t(y)].data(), format.bits, column + x),
                              get_pixel(piece.data(), format.bits, x))
                        << format.name();
                const int32_t used = count * format.bits % 8;
                const bool is_low_first = vk::packing_of(format.bits) == vk::Packing::low_first;
                const int32_t spare = used == 0 ? 0 : is_low_first ? 0xFF << used & 0xFF : 0xFF >> used;
                ASSERT_TRUE(spare == 0 || (piece.back() & spare) == 0) << "spare bits are clear";
            }
        }
}

TEST(ResizeStream, LongRowsComeInChunks)
{
    TestRandom random(323);
    for (const int32_t bits : {1, 3, 12, 24}) {
        TestBitmap bitmap;
        ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, 20001, 2, {bits, vk::usual_order(bits)}, random));
        const Output to = {20001, 2, bits, bitmap->Order, 0};
        Stream stream(bitmap, to);
        ASSERT_EQ(SUCCESS, stream.result());
        EXPECT_EQ(rows_of(bitmap), stream.all());
        const Bytes piece = stream.row(1, 3, 19997);
        for (int32_t x = 0; x < 19997; x += 101)
            ASSERT_EQ(get_pixel(bitmap->Data + bitmap->BytesPerLine, bits, x + 3), get_pixel(piece.data(), bits, x));
    }
}

TEST(ResizeStream, OutputFormatsAreThoseOfColorResolution)
{
    TestRandom random(324);
    RGBQUAD palette[16];
    random.fill(palette, sizeof palette);
    const struct {
        Output to;
        uint32_t flags;
        const RGBQUAD* palette;
    } kOutputs[] = {
        {{20, 15, 24, kRgb, 0}, COLORRES_ORDER_RGB, nullptr},
        {{20, 15, 16, COLORORDER_RGB565, 0}, COLORRES_ORDER_RGB565, nullptr},
        {{20, 15, 12, kGray, 0}, COLORRES_ORDER_GRAY, nullptr},
        {{20, 15, 8, kGray, 0}, COLORRES_ORDER_GRAY, nullptr},
        {{20, 15, 8, kRgb, 0}, COLORRES_PALETTE_FIXED, nullptr},
        {{20, 15, 4, kRgb, 0, palette}, COLORRES_PALETTE_DEFAULT, palette},
        {{20, 15, 1, kRgb, 0}, COLORRES_PALETTE_FIXED, nullptr},
    };
    for (const PixelFormat& format : {PixelFormat{48, kBgr}, PixelFormat{32, kBgr}, PixelFormat{16, kBgr}})
        for (auto output : kOutputs)
            for (const int32_t method : {DITHER_NONE, DITHER_FLOYD_STEINBERG, DITHER_ORDERED}) {
                SCOPED_TRACE(format.name() + " to " + std::to_string(output.to.bits));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::conv, kWidth, kHeight, format, random));
                bitmap->DitheringMethod = method;
                output.to.flags = STREAMFLAG_BICUBIC;
                Bytes rows;
                {
                    Stream stream(bitmap, output.to);
                    ASSERT_EQ(SUCCESS, stream.result());
                    rows = stream.all();
                    stream.row(7);
                    EXPECT_EQ(rows, stream.all()) << "from the start again";
                }
                ASSERT_EQ(SUCCESS, vk::resample_bitmap(*bitmap, 20, 15, Filter::bicubic));
                ASSERT_EQ(SUCCESS, V_ColorResBitmap(bitmap, nullptr, 0, output.to.bits, output.flags, output.palette,
                                                    nullptr, output.palette ? 16 : 0));
                EXPECT_EQ(rows_of(bitmap), rows);
            }
    TestBitmap page; // gray palettes become gray, whatever their depth
    ASSERT_NO_FATAL_FAILURE(make_picture(page, Kind::conv, 40, 30, {1, kRgb}, random));
    page->ViewPerspective = TOP_LEFT;
    TestBitmap gray;
    ASSERT_EQ(SUCCESS, gray.create(TYPE_CONV, 10, 10, 8, kGray));
    ASSERT_EQ(SUCCESS, V_IntResampleBitmap(page, gray));
    EXPECT_EQ(rows_of(gray), Stream(page, {10, 10, 8, kGray, STREAMFLAG_AREA}).all());
}

TEST(ResizeStream, DestinationBitmapGivesFormatAndRowOrder)
{
    TestRandom random(325);
    TestBitmap source, other;
    ASSERT_NO_FATAL_FAILURE(make_picture(source, Kind::conv, kWidth, kHeight, {24, kBgr}, random));
    ASSERT_NO_FATAL_FAILURE(make_picture(other, Kind::global, 10, 10, {16, COLORORDER_RGB565}, random));
    source->ViewPerspective = TOP_LEFT;
    other->ViewPerspective = BOTTOM_LEFT;
    Output to = {12, 8, 16, COLORORDER_RGB565, STREAMFLAG_BICUBIC};
    Stream plain(source, to);
    to.bits = 0;
    Stream as_other(source, to, other);
    to.bits = 16;
    Stream only_other(nullptr, to, other);
    only_other.stops_with(ERROR_NULL_PTR);
    Stream same(other, to);
    for (int32_t y = 0; y < 8; ++y) {
        Bytes row(24);
        ASSERT_EQ(SUCCESS, V_GetResizedRowCol(as_other.state(), row.data(), 7 - y, 0, 12));
        EXPECT_EQ(plain.row(y), row);
        EXPECT_EQ(same.row(y), only_other.row(y));
    }
}

TEST(ResizeStream, LocksAndArguments)
{
    TestRandom random(326);
    TestBitmap bitmap;
    TestBitmap empty;
    ASSERT_NO_FATAL_FAILURE(make_picture(bitmap, Kind::global, kWidth, kHeight, {24, kBgr}, random));
    void* state = &bitmap;
    const auto start = [&](BITMAPHANDLE* source, int32_t width, int32_t height, int32_t bits, int32_t order = kBgr) {
        return V_StartResizeBitmap(source, width, height, bits, nullptr, order, 0, nullptr, nullptr, &state);
    };
    EXPECT_EQ(ERROR_INVALID_IMAGE, start(empty, 5, 5, 24));
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              V_StartResizeBitmap(bitmap, 5, 5, 24, nullptr, kBgr, 0, nullptr, nullptr, nullptr));
    for (const auto& [width, height] : {std::pair{0, 0}, {-1, 5}, {5, -1}, {1, 0}})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, start(bitmap, width, height, 24)) << width << ' ' << height;
    for (const auto& [bits, order] :
         {std::pair{9, kBgr}, {24, kGray}, {-1, kBgr}, {65, kBgr}, {16, 99}, {24, -1}, {12, kBgr}})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, start(bitmap, 5, 5, bits, order)) << bits << ' ' << order;
    EXPECT_EQ(static_cast<void*>(&bitmap), state);
    EXPECT_EQ(0, bitmap->LockCount);
    {
        Stream stream(bitmap, {5, 5, 24, kBgr, 0});
        ASSERT_EQ(SUCCESS, stream.result());
        EXPECT_EQ(1, bitmap->LockCount);
        Stream held(bitmap, {5, 5, 24, kBgr, 0}, nullptr, 1);
        EXPECT_EQ(1, bitmap->LockCount);
        uint8_t row[15];
        for (const auto& [y, column, count] : {std::tuple{-1, 0, 1}, {5, 0, 1}, {0, -1, 1}, {0, 6, 0}, {0, 3, 3}})
            EXPECT_EQ(ERROR_INVALID_PARAMETER,
                      V_GetResizedRowCol(stream.state(), row, y, column, static_cast<uint32_t>(count)));
        uint32_t foreign = 3;
        expect_each(ERROR_INVALID_PARAMETER,
                    {V_GetResizedRowCol(stream.state(), nullptr, 0, 0, 1), V_GetResizedRowCol(nullptr, row, 0, 0, 1),
                     V_StopResizeBitmap(&foreign), V_StopResizeBitmap(nullptr)});
    }
    EXPECT_EQ(0, bitmap->LockCount);
    for (const auto& [old_w, old_h, w, h, made_w, made_h] :
         {std::array{200, 100, 0, 50, 100, 50}, {11, 11, 0, 30, 29, 30}, {10, 4, 5, 0, 5, 2}, {3, 9, 7, 8, 7, 8}}) {
        int32_t width = w, height = h;
        ASSERT_TRUE(vk::complete_dimensions(old_w, old_h, width, height));
        EXPECT_EQ(std::pair(made_w, made_h), std::pair(width, height));
    }
}

TEST(ResizeStream, ARowThatCouldNotBeReadIsReadAgain)
{
    TestRandom random(414);
    TestBitmap bitmap;
    bitmap.make(Kind::disk, kWidth, kHeight, 24, random);
    for (const uint32_t flags : {STREAMFLAG_BICUBIC, STREAMFLAG_AREA, STREAMFLAG_LINEAR}) {
        const Output to{20, 31, 24, kBgr, flags};
        const Bytes wanted = Stream(bitmap, to).all();
        for (uint64_t call = 1; call < 20; ++call) {
            Stream stream(bitmap, to);
            uint8_t row[60];
            vk::fault::arm_call(vk::fault::Call::file_read, call, false);
            for (int32_t y = 0; y < to.height && !vk::fault::fired(); ++y)
                V_GetResizedRowCol(stream.state(), row, y, 0, 20);
            EXPECT_TRUE(vk::fault::fired());
            vk::fault::disarm();
            EXPECT_TRUE(wanted == stream.all()) << "read " << call << ", flags " << flags;
        }
    }
}

TEST(ResizeStream, WideLookUpTablesCount)
{
    std::vector<V_RGBQUAD16> table(65536);
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = {static_cast<uint16_t>(i * 3), static_cast<uint16_t>(i * 5), static_cast<uint16_t>(i * 7), 0};
    TestBitmap bitmap, colored;
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 9, 1, 16, COLORORDER_GRAY));
    TestRandom random(415);
    random.fill(bitmap->Data, 18);
    bitmap->Flags |= BITMAPFLAG_USELUT;
    bitmap->LUT16 = table.data();
    bitmap->LUTLength16 = 65536;
    ASSERT_EQ(SUCCESS,
              V_ColorResBitmap(bitmap, colored, BITMAPHANDLE_SIZE, 48, COLORRES_ORDER_BGR, nullptr, nullptr, 0));
    EXPECT_EQ(rows_of(colored), Stream(bitmap, {9, 1, 48, kBgr, 0}).all());
    bitmap->LUT16 = nullptr;
    bitmap->LUTLength16 = 0;
    EXPECT_NE(rows_of(colored), Stream(bitmap, {9, 1, 48, kBgr, 0}).all());
}

TEST(ResizeStream, FailuresLeaveNothingBehind)
{
    for (const Output& to : {Output{9, 8, 4, kRgb, STREAMFLAG_BICUBIC}, Output{9, 3, 24, kRgb, STREAMFLAG_AREA}})
        for (const uint32_t memory : {TYPE_CONV, TYPE_DISK})
            for_each_fault([&] {
                TestBitmap bitmap;
                if (bitmap.create(memory, 15, 6, 32, kBgr) != SUCCESS)
                    return;
                void* state = nullptr;
                if (V_StartResizeBitmap2(bitmap, to.width, to.height, to.bits, nullptr, to.order, to.flags, nullptr,
                                         nullptr, &state, 0, 0) == SUCCESS) {
                    uint8_t row[64];
                    for (const int32_t y : {0, 1, 2, 0})
                        V_GetResizedRowCol(state, row, y, 0, 9);
                    V_StopResizeBitmap(state);
                }
                EXPECT_EQ(0, bitmap->LockCount);
            });
}
