// Resizing into gray of any significant range, from every depth, by every filter; and gray order at 8 bits, which is
// the gray ramp in every operation.
#include "Vkbitmap.h"
#include "Vkcolorres.h"
#include "Vkconvert.h"
#include "Vkdib.h"
#include "Vkpalette.h"
#include "Vkresample.h"
#include "Vkresize.h"
#include "Vkrotate.h"
#include "tests/support/TestTurn.h"

#include <string>

using namespace vk::testing;

namespace {

struct Form {
    int32_t bits, order;
    int32_t low = 0, high = -1;

    uint32_t range() const { return static_cast<uint32_t>((high < 0 ? bits - 1 : high) - low + 1); }
    std::string name() const
    {
        return std::to_string(bits) + " bits of order " + std::to_string(order) + ", " + std::to_string(low) + " to " +
               std::to_string(high);
    }
};

const Form kSources[] = {{1, COLORORDER_RGB},          {4, COLORORDER_RGB},          {8, COLORORDER_RGB},
                         {8, COLORORDER_GRAY},         {12, COLORORDER_GRAY},        {12, COLORORDER_GRAY, 1, 6},
                         {16, COLORORDER_GRAY},        {16, COLORORDER_GRAY, 4, 13}, {16, COLORORDER_BGR},
                         {16, COLORORDER_RGB565},      {24, COLORORDER_RGB},         {32, COLORORDER_BGR},
                         {32, COLORORDER_GRAY, 3, 20}, {48, COLORORDER_BGR},         {64, COLORORDER_RGB}};

const Form kTargets[] = {{8, COLORORDER_GRAY},         {12, COLORORDER_GRAY, 0, 11}, {12, COLORORDER_GRAY, 2, 9},
                         {16, COLORORDER_GRAY, 0, -1}, {16, COLORORDER_GRAY, 4, 11}, {16, COLORORDER_GRAY, 3, 14},
                         {16, COLORORDER_GRAY, 6, 10}, {32, COLORORDER_GRAY, 0, -1}, {32, COLORORDER_GRAY, 5, 18}};

bool is_ranged(const Form& form)
{
    return form.order == COLORORDER_GRAY && form.bits > 8;
}

/// The top bits of a value, or its bits over and over.
uint64_t rescaled(uint64_t value, uint32_t from, uint32_t to)
{
    if (to <= from)
        return value >> (from - to);
    uint64_t scaled = 0;
    for (uint32_t bit = 0; bit < to; ++bit)
        scaled = scaled << 1 | (value >> (from - 1 - bit % from) & 1u);
    return scaled;
}

/// The sample that a pixel of one form stands for in the other.
uint64_t sample_for(uint64_t pixel, const Form& from, const Form& to, const RGBQUAD* palette)
{
    if (is_ranged(from) && is_ranged(to)) {
        const uint64_t value = pixel >> from.low & ((uint64_t{1} << from.range()) - 1);
        return rescaled(value, from.range(), to.range()) << to.low;
    }
    alignas(8) uint8_t buffer[16] = {};
    set_pixel(buffer, from.bits, 0, pixel);
    const bool by_source = is_ranged(from);
    EXPECT_EQ(SUCCESS, V_ConvertBufferExt(buffer, 1, from.bits, to.bits, from.order, to.order, palette, nullptr,
                                          by_source ? CVT_SRC_USE_BITS : CVT_DST_USE_BITS,
                                          by_source ? from.low : to.low, by_source ? from.high : to.high));
    return get_pixel(buffer, to.bits, 0);
}

void make(TestBitmap& bitmap, const Form& form, int32_t width, int32_t height)
{
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, width, height, form.bits, form.order));
    bitmap->Order = form.order;
    bitmap->LowBit = form.low;
    bitmap->HighBit = form.high;
}

/// Noise whose samples have nothing outside their range, and of which one picture in two is of one colour.
Picture pixels_for(const Form& form, int32_t width, int32_t height, bool is_plain, uint64_t seed)
{
    Picture picture = Picture::noise(width, height, form.bits, seed);
    for (uint64_t& pixel : picture.pixels) {
        if (is_plain)
            pixel = picture.pixels[0];
        if (is_ranged(form))
            pixel = (pixel >> form.low & ((uint64_t{1} << form.range()) - 1)) << form.low;
    }
    return picture;
}

/// What a source becomes in a size.
Picture samples_of(const Picture& picture, TestBitmap& made, const Form& to, const Form& from, const RGBQUAD* palette)
{
    const Picture sized = picture.sized(made->Width, made->Height);
    return Picture::made(sized.width, sized.height,
                         [&](int32_t x, int32_t y) { return sample_for(sized.at(x, y), from, to, palette); });
}

void expect_samples(TestBitmap& made, const Form& to, const Picture& picture, const Form& from, const RGBQUAD* palette)
{
    const Picture wanted = samples_of(picture, made, to, from, palette);
    ASSERT_EQ(wanted, read(made));
    EXPECT_EQ(std::pair(to.low, to.high), std::pair(+made->LowBit, +made->HighBit));
    if (!is_ranged(to))
        return;
    const auto [least, most] = std::minmax_element(wanted.pixels.begin(), wanted.pixels.end());
    EXPECT_GE(std::min<uint64_t>(*least >> to.low, INT32_MAX), static_cast<uint64_t>(made->MinVal));
    EXPECT_LE(std::min<uint64_t>(*most >> to.low, INT32_MAX), static_cast<uint64_t>(made->MaxVal));
    EXPECT_LT(static_cast<uint64_t>(made->MaxVal), uint64_t{1} << to.range());
}

} // namespace

TEST(ResizeGray, IntoEveryRangeFromEveryDepth)
{
    for (const Form& from : kSources)
        for (const Form& to : kTargets)
            for (const uint32_t flags : {0u, 1u, 2u, 4u, 8u, 16u})
                for (const int32_t perspective : {TOP_LEFT, 6}) {
                    SCOPED_TRACE(from.name() + " into " + to.name() + ", flags " + std::to_string(flags));
                    const bool is_nearest = flags < 2;
                    // What filters make of a plain picture is the same; replicated pixels may be anything.
                    const Picture picture = pixels_for(from, 9, 7, !is_nearest, from.bits * 7u + flags);
                    TestBitmap source;
                    ASSERT_NO_FATAL_FAILURE(make(source, from, 9, 7));
                    ASSERT_NO_FATAL_FAILURE(paint(source.get(), picture));
                    TestBitmap made;
                    const bool turned = perspective != TOP_LEFT;
                    ASSERT_NO_FATAL_FAILURE(make(made, to, turned ? 7 : 14, turned ? 9 : 5));
                    made->ViewPerspective = perspective;
                    made->MinVal = 77;
                    ASSERT_EQ(SUCCESS, V_ResizeBitmap(source.get(), made.get(), flags));
                    // In perspective 6 the stored picture is the source turned back.
                    const Picture stored = turned ? picture.turned_by(270) : picture;
                    ASSERT_NO_FATAL_FAILURE(expect_samples(made, to, stored, from, source->Palette));
                }
}

TEST(ResizeGray, BetweenRangesOfOneDepth)
{
    int (*const ways[])(BITMAPHANDLE*, BITMAPHANDLE*) = {
        [](BITMAPHANDLE* from, BITMAPHANDLE* to) { return V_IntResizeBitmap(from, to, 0); },
        [](BITMAPHANDLE* from, BITMAPHANDLE* to) { return V_IntResizeBitmap(from, to, SIZEFLAG_RESAMPLE); },
        [](BITMAPHANDLE* from, BITMAPHANDLE* to) { return V_IntResizeBitmap(from, to, SIZEFLAG_ALTRESAMPLE); },
        V_IntResampleBitmap,
        V_IntBicubicResampleBitmap,
    };
    for (const Form& from : kSources)
        for (const Form& to : kTargets)
            for (const auto way : ways) {
                if (from.bits != to.bits || !is_ranged(from) || !is_ranged(to))
                    continue;
                SCOPED_TRACE(from.name() + " into " + to.name());
                const Picture picture = pixels_for(from, 9, 7, way != ways[0], 3);
                TestBitmap source;
                ASSERT_NO_FATAL_FAILURE(make(source, from, 9, 7));
                ASSERT_NO_FATAL_FAILURE(paint(source.get(), picture));
                TestBitmap made;
                ASSERT_NO_FATAL_FAILURE(make(made, to, 14, 5));
                made->MaxVal = 0;
                ASSERT_EQ(SUCCESS, way(source.get(), made.get()));
                ASSERT_EQ(samples_of(picture, made, to, from, nullptr), read(made));
            }
}

namespace {

using B = BITMAPHANDLE*;

/// An operation on the bitmap itself.
template <auto function, auto... arguments> int on(B b, Bytes&)
{
    return function(b, arguments...);
}

/// Into a bitmap of some form: the stored pixels.
template <int32_t kBits, int32_t kOrder, auto function, auto... arguments> int filled(B b, Bytes& pixels)
{
    TestBitmap target;
    EXPECT_EQ(SUCCESS, target.create(TYPE_CONV, 23, 31, kBits, kOrder));
    target->Order = kOrder;
    const int result = function(b, target, arguments...);
    pixels = target.pixels();
    return result;
}

template <int32_t kBits, int32_t kOrder, uint32_t kFlags>
constexpr auto resized = filled<kBits, kOrder, V_ResizeBitmap, kFlags>;
template <uint32_t kFlags> constexpr auto sized = on<V_SizeBitmap, 23, 31, kFlags>;

template <int32_t kBits, uint32_t kFlags> int colored(B b, Bytes& made)
{
    TestBitmap to;
    const int result = V_ColorResBitmap(b, to.get(), BITMAPHANDLE_SIZE, kBits, kFlags, nullptr, nullptr, 0);
    made = to.pixels();
    return result;
}

const struct {
    const char* name;
    int (*run)(B bitmap, Bytes& made);
} kOperations[] = {
    {"nearest size", sized<0>},
    {"area size", sized<SIZEFLAG_RESAMPLE>},
    {"bicubic size", sized<SIZEFLAG_BICUBIC>},
    {"alternative size", sized<SIZEFLAG_ALTRESAMPLE>},
    {"size to gray", sized<SIZEFLAG_SCALETOGRAY>},
    {"resample", on<V_ResampleBitmap, 5, 9>},
    {"bicubic resample", on<V_BicubicResampleBitmap, 50, 40>},
    {"nearest into colours", resized<24, COLORORDER_BGR, 0>},
    {"nearest into gray order", resized<8, COLORORDER_GRAY, 0>},
    {"area into gray order", resized<8, COLORORDER_GRAY, SIZEFLAG_RESAMPLE>},
    {"bicubic into gray order", resized<8, COLORORDER_GRAY, SIZEFLAG_BICUBIC>},
    {"area into a palette", resized<8, COLORORDER_RGB, SIZEFLAG_RESAMPLE>},
    {"area into bits", resized<1, COLORORDER_RGB, SIZEFLAG_RESAMPLE>},
    {"area into deep gray", resized<16, COLORORDER_GRAY, SIZEFLAG_RESAMPLE>},
    {"inner resample into gray order", filled<8, COLORORDER_GRAY, V_IntResampleBitmap>},
    {"inner resample into a palette", filled<8, COLORORDER_RGB, V_IntResampleBitmap>},
    {"rotation", on<V_RotateBitmap, 3000, uint32_t{ROTATEFLAG_GROW}, 0x00404040u>},
    {"rotation, linear", on<V_RotateBitmap, 3000, uint32_t{ROTATEFLAG_RESAMPLE}, 0x00404040u>},
    {"rotation, bicubic", on<V_RotateBitmap, 3000, uint32_t{ROTATEFLAG_BICUBIC}, 0x04008000u>},
    {"colours", colored<24, 0>},
    {"few colours", colored<4, 0>},
    {"an optimized palette", colored<3, COLORRES_PALETTE_OPTIMIZED>},
    {"bits", colored<1, COLORRES_NODITHER>},
    {"gray", on<V_GrayScaleBitmap, 12>},
    {"DIB",
     [](B b, Bytes& made) {
         uint32_t bytes = 0;
         auto* const block = static_cast<uint8_t*>(V_ConvertToDIB2(b, 0, &bytes, 0));
         made.assign(block, block + bytes);
         V_FreeMemory(block);
         return SUCCESS;
     }},
    {"colour of a pixel",
     [](B b, Bytes& made) {
         const COLORREF color = V_GetPixelColor(b, 3, 4);
         made = {static_cast<uint8_t>(color), static_cast<uint8_t>(color >> 8), static_cast<uint8_t>(color >> 16)};
         return SUCCESS;
     }},
    {"a pixel of a colour", on<V_PutPixelColor, 3, 4, 0x00404040u>},
};

} // namespace

TEST(ResizeGray, EightBitGrayOrderIsTheRamp)
{
    const Picture picture = Picture::noise(17, 13, 8, 4);
    for (const auto& operation : kOperations) {
        Bytes pixels[2];
        for (const bool gray_order : {false, true}) {
            SCOPED_TRACE(std::string(operation.name) + (gray_order ? " of gray order" : " of the ramp"));
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 17, 13, 8));
            ASSERT_EQ(SUCCESS, V_CreateBitmapGrayPalette(bitmap.get()));
            bitmap->DitheringMethod = 1;
            if (gray_order) {
                ASSERT_EQ(SUCCESS, V_FreePalette(bitmap->Palette));
                bitmap->Palette = nullptr;
                bitmap->Order = COLORORDER_GRAY;
            }
            ASSERT_NO_FATAL_FAILURE(paint(bitmap.get(), picture));
            Bytes& made = pixels[gray_order ? 1 : 0];
            EXPECT_EQ(SUCCESS, operation.run(bitmap.get(), made));
            if (made.empty())
                made = bitmap.pixels();
        }
        EXPECT_EQ(pixels[0], pixels[1]) << operation.name;
    }
}
