// Describing an image in a record, and the callbacks a record may carry.
#include "tests/support/TestBitmap.h"

#include <tuple>

using namespace vk::testing;

namespace {

constexpr uint32_t kNow = BITMAPHANDLE_SIZE;
constexpr uint32_t kThen = BITMAPHANDLE_SIZE_EARLIER;

constexpr struct {
    uint32_t struct_size;
    int32_t width, height, bits;
    int result;
    uint32_t line;
    uint64_t size;
} kInitCases[] = {
    {kNow, 0, 0, 0, SUCCESS, 0, 0},
    {kThen, 0, 0, 0, SUCCESS, 0, 0},
    {kNow, 0, 5, 8, SUCCESS, 0, 0},
    {kNow, 5, 0, 8, SUCCESS, 8, 0},
    {kNow, 0, 0, 8, SUCCESS, 0, 0},
    {kNow, 1, 1, 1, SUCCESS, 4, 4},
    {kNow, 3, 1, 24, SUCCESS, 12, 12},
    {kNow, 5, 2, 12, SUCCESS, 8, 16},
    {kNow, 33, 3, 1, SUCCESS, 8, 24},
    {kNow, 7, 3, 3, SUCCESS, 4, 12},
    {kNow, 11, 3, 3, SUCCESS, 8, 24},
    {kNow, 0x7FFFFFFF, 1, 1, SUCCESS, 0x10000000, 0x10000000},
    // The product of width and depth wraps at 32 bits.
    {kNow, 0x20000000, 7, 8, SUCCESS, 0, 0},
    {kNow, 0x20000001, 7, 8, SUCCESS, 4, 28},
    {kNow, 0x10000001, 2, 24, SUCCESS, 0x10000000 + 4, 2 * (0x10000000ull + 4)},
    {kNow, 0x7FFFFFFF, 2, 64, SUCCESS, 0x1FFFFFF8, 0x3FFFFFF0},
    {kNow, 0x1FFFFFFF, 2, 8, SUCCESS, 0, 0}, // the rounding up wraps
    {kNow, 65536, 65536, 8, SUCCESS, 65536, 4294967296u},
    {kNow, 0x08000000, 0x7FFFFFFF, 24, SUCCESS, 0x18000000, 0x18000000ull * 0x7FFFFFFF},
    {kThen, 65536, 65535, 8, SUCCESS, 65536, 0xFFFF0000u},
    {kThen, 65536, 65536, 8, ERROR_MEMORY_TOO_LARGE, 0, 0},
    {kThen, 4, 0x3FFFC001, 8, ERROR_MEMORY_TOO_LARGE, 0, 0},
    {kNow, -1, 0, 0, ERROR_INVALID_WIDTH_HEIGHT, 0, 0},
    {kNow, 0, -1, 0, ERROR_INVALID_WIDTH_HEIGHT, 0, 0},
    {kNow, -1, -1, 8, ERROR_INVALID_WIDTH_HEIGHT, 0, 0},
    {kNow, 1, -1, 8, ERROR_INVALID_WIDTH_HEIGHT, 0, 0},
    {kThen, INT32_MIN, 1, 8, ERROR_INVALID_WIDTH_HEIGHT, 0, 0},
    {kNow, 0, 5, 0, ERROR_INVALID_BITS_PER_PIXEL, 0, 0},
};

TEST(Record, DescribesSizesAndRefusesWrongOnes)
{
    for (const auto& c : kInitCases) {
        SCOPED_TRACE(say(c.struct_size, c.width, c.height, c.bits));
        TestBitmap bitmap(c.struct_size);
        std::memset(bitmap, 0x5A, c.struct_size); // nothing of it may count
        EXPECT_EQ(c.result, bitmap.init(c.width, c.height, c.bits));
        EXPECT_EQ(c.struct_size, bitmap->StructSize);
        if (c.result != SUCCESS || c.bits == 0) {
            EXPECT_TRUE(bitmap.is_empty());
            continue;
        }
        EXPECT_EQ(std::tuple(c.width, c.height, c.bits, c.line, c.size, c.size),
                  std::tuple(+bitmap->Width, +bitmap->Height, +bitmap->BitsPerPixel, +bitmap->BytesPerLine,
                             +bitmap->Size, bitmap.data_size()));
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_InitBitmap(nullptr, kNow, 1, 1, 1));
}

TEST(Record, DepthsSetColoursOrderAndGrayRange)
{
    for (int32_t bits = -1; bits <= 66; ++bits) {
        SCOPED_TRACE(bits);
        const bool known = std::count(std::begin(kDepths), std::end(kDepths), bits) != 0;
        TestBitmap bitmap;
        ASSERT_EQ(known ? SUCCESS : ERROR_INVALID_BITS_PER_PIXEL, bitmap.init(10, 10, bits));
        if (!known) {
            EXPECT_TRUE(bitmap.is_empty());
            continue;
        }
        BITMAPHANDLE expected{};
        expected.StructSize = kNow;
        expected.Width = expected.Height = 10;
        expected.BitsPerPixel = bits;
        expected.BytesPerLine = static_cast<uint32_t>(packed_bytes_of(10, bits) + 3) / 4 * 4;
        expected.Size = expected.Size64 = expected.BytesPerLine * 10u;
        expected.HighBit = expected.PaintHighBit = bits == 32 ? -1 : bits == 24 ? 7 : bits >= 48 ? 15 : bits - 1;
        expected.Colors = bits <= 8 ? 1u << bits : 0;
        expected.Order = bits == 12 ? COLORORDER_GRAY : bits < 12 ? COLORORDER_RGB : COLORORDER_BGR;
        expected.PaintGamma = 100;
        expected.ViewPerspective = BOTTOM_LEFT;
        expected.XResolution = expected.YResolution = 150;
        expected.DitheringMethod = 1;
        const auto* const wanted = reinterpret_cast<const uint8_t*>(&expected);
        EXPECT_EQ(Bytes(wanted, wanted + sizeof expected), bitmap.image());
    }
}

TEST(Record, DataCallbacksAreCopiedWhereTheyFit)
{
    int user = 0;
    const BITMAPDATACALLBACKS table = callbacks_for(&user);
    BITMAPDATACALLBACKS wrong = table;
    wrong.StructSize = sizeof table - 8;
    const struct {
        uint32_t struct_size;
        int32_t height;
        const BITMAPDATACALLBACKS* table;
    } cases[] = {{kNow, 3, &table}, {kNow, 0, &table}, {kNow, 3, &wrong}, {kNow, 3, nullptr}, {kThen, 3, &table}};
    BITMAPDATACALLBACKS seen{};
    for (const auto& c : cases) { // the first alone installs it
        TestBitmap bitmap(c.struct_size);
        EXPECT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap, c.struct_size, 3, c.height, 8, c.table));
        EXPECT_EQ(SUCCESS, V_GetBitmapDataCallbacks(bitmap, &seen, sizeof seen));
        EXPECT_EQ(&c == cases ? &user : nullptr, seen.UserData) << &c - cases;
        EXPECT_EQ(sizeof seen, seen.StructSize);
    }
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, bitmap.init(3, 3, 8));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, &table));
        EXPECT_NE(&table, +bitmap->DataCallbacks) << "the record keeps a copy";
    }
    expect_each(ERROR_INVALID_STRUCT_SIZE,
                {V_SetBitmapDataCallbacks(bitmap, &wrong), V_GetBitmapDataCallbacks(bitmap, &seen, sizeof seen + 1)});
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapDataCallbacks(bitmap, nullptr, sizeof seen));
    EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap, nullptr));
    EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
    ASSERT_EQ(SUCCESS, bitmap.init(3, 0, 8));
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_SetBitmapDataCallbacks(bitmap, &table));
}

} // namespace
