// What creation gives a bitmap besides its storage: order, view, palette; and blocks for the caller's own data.
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

struct Creation {
    int32_t bits, order, perspective;
    bool palette;
    int result;
    int32_t stored_bits, stored_order;
    enum { none, gray, given, fixed } colours;
};

constexpr Creation kCreations[] = {
    {0, COLORORDER_BGR, 0, false, SUCCESS, 8, COLORORDER_RGB, Creation::gray},
    {0, COLORORDER_ROMM, 1, true, SUCCESS, 8, COLORORDER_RGB, Creation::gray},
    {8, COLORORDER_GRAY, 4, false, SUCCESS, 8, COLORORDER_RGB, Creation::gray},
    {8, COLORORDER_GRAY, 4, true, SUCCESS, 8, COLORORDER_RGB, Creation::given},
    {8, COLORORDER_BGR, 8, false, SUCCESS, 8, COLORORDER_RGB, Creation::fixed},
    {4, COLORORDER_RGB, 2, true, SUCCESS, 4, COLORORDER_RGB, Creation::given},
    {4, COLORORDER_GRAY, 2, false, SUCCESS, 4, COLORORDER_RGB, Creation::gray},
    {2, COLORORDER_RGB, 1, false, SUCCESS, 2, COLORORDER_RGB, Creation::gray}, // the fixed one is gray there
    {1, COLORORDER_RGB, 1, false, SUCCESS, 1, COLORORDER_RGB, Creation::fixed},
    {24, COLORORDER_RGB, 1, true, SUCCESS, 24, COLORORDER_RGB, Creation::none},
    {24, COLORORDER_ROMM, 1, false, SUCCESS, 24, COLORORDER_ROMM, Creation::none},
    {48, COLORORDER_ROMM, 1, false, SUCCESS, 48, COLORORDER_ROMM, Creation::none},
    {16, COLORORDER_GRAY, 1, false, SUCCESS, 16, COLORORDER_GRAY, Creation::none},
    {12, COLORORDER_GRAY, 1, false, SUCCESS, 12, COLORORDER_GRAY, Creation::none},
    {8, COLORORDER_ROMM, 1, false, ERROR_INVALID_BITS_PER_PIXEL, 0, 0, Creation::none},
    {16, COLORORDER_ROMM, 1, false, ERROR_INVALID_BITS_PER_PIXEL, 0, 0, Creation::none},
    {64, COLORORDER_ROMM, 1, false, ERROR_INVALID_BITS_PER_PIXEL, 0, 0, Creation::none},
    {9, COLORORDER_RGB, 1, false, ERROR_INVALID_BITS_PER_PIXEL, 0, 0, Creation::none},
    {8, COLORORDER_RGB, 9, false, ERROR_INVALID_PARAMETER, 0, 0, Creation::none},
    {8, COLORORDER_RGB, -1, false, ERROR_INVALID_PARAMETER, 0, 0, Creation::none},
};

void expect_palette(const Creation& c, const BITMAPHANDLE& bitmap, const RGBQUAD* given)
{
    const RGBQUAD* const entries = bitmap.Palette;
    if (c.colours == Creation::none) {
        EXPECT_EQ(nullptr, entries);
        return;
    }
    ASSERT_NE(nullptr, entries);
    ASSERT_NE(given, entries);
    const int32_t count = 1 << c.stored_bits;
    const RGBQUAD* const fixed = V_IntGetFixedPalette(c.stored_bits);
    for (int32_t i = 0; i < count; ++i) {
        const auto level = static_cast<uint8_t>(i * 255 / (count - 1));
        const RGBQUAD gray{level, level, level, 0};
        const RGBQUAD& expected = c.colours == Creation::gray    ? gray
                                  : c.colours == Creation::given ? given[i]
                                                                 : fixed[i];
        ASSERT_EQ(0, std::memcmp(&expected, entries + i, 3)) << "entry " << i;
    }
}

TEST(Creation, GivesOrderPaletteAndView)
{
    RGBQUAD given[256];
    for (int i = 0; i < 256; ++i)
        given[i] = {static_cast<uint8_t>(i * 7), static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i ^ 0x55), 0};
    for (const Creation& c : kCreations) {
        SCOPED_TRACE(&c - kCreations);
        TestBitmap bitmap;
        EXPECT_EQ(c.result, V_CreateBitmap(bitmap.get(), BITMAPHANDLE_SIZE, TYPE_CONV, 10, 7, c.bits, c.order,
                                           c.palette ? given : nullptr, c.perspective, nullptr, 0));
        if (c.result != SUCCESS) {
            EXPECT_TRUE(bitmap.is_empty());
            continue;
        }
        EXPECT_EQ(c.stored_bits, bitmap->BitsPerPixel);
        EXPECT_EQ(c.stored_order, bitmap->Order);
        EXPECT_EQ(c.perspective == 0 ? TOP_LEFT : c.perspective, bitmap->ViewPerspective);
        expect_palette(c, *bitmap.get(), given);
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              V_CreateBitmap(nullptr, BITMAPHANDLE_SIZE, TYPE_CONV, 1, 1, 8, 0, nullptr, 1, nullptr, 0));
    BITMAPHANDLE record{};
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_CreateBitmap(&record, 283, TYPE_CONV, 1, 1, 8, 0, nullptr, 1, nullptr, 0));
    EXPECT_EQ(0u, record.StructSize);
}

TEST(Creation, ExtraData)
{
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_AllocateBitmapExtraData(nullptr, 1));
    EXPECT_EQ(ERROR_INVALID_IMAGE, V_FreeBitmapExtraData(nullptr));
    for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
        TestBitmap bitmap(size);
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 3, 3, 8));
        ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap.get(), 1000));
        void* const block = bitmap->ExtraData;
        EXPECT_EQ(1000u, +bitmap->ExtraDataSize);
        EXPECT_EQ(1000, std::count(static_cast<uint8_t*>(block), static_cast<uint8_t*>(block) + 1000, 0));
        std::memset(block, 1, 1000);
        EXPECT_EQ(ERROR_NO_MEMORY, V_AllocateBitmapExtraData(bitmap.get(), UINT64_MAX));
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_AllocateBitmapExtraData(bitmap.get(), 0));
        EXPECT_TRUE(bitmap->ExtraData == block && bitmap->ExtraDataSize == 1000);
        ASSERT_EQ(SUCCESS, V_AllocateBitmapExtraData(bitmap.get(), 10));
        EXPECT_EQ(10u, +bitmap->ExtraDataSize);
        EXPECT_EQ(SUCCESS, V_FreeBitmapExtraData(bitmap.get()));
        EXPECT_EQ(SUCCESS, V_FreeBitmapExtraData(bitmap.get()));
        EXPECT_TRUE(bitmap->ExtraData == nullptr && bitmap->ExtraDataSize == 0);
        bitmap->StructSize = 1;
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_AllocateBitmapExtraData(bitmap.get(), 1));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_FreeBitmapExtraData(bitmap.get()));
        bitmap->StructSize = size;
    }
}

} // namespace
