// Describing an image in a record, and the texts of the result codes.
#include "tests/support/TestBitmap.h"

#include <cstring>
#include <string>

using namespace vk::testing;

namespace {

struct InitCase {
    uint32_t struct_size;
    int32_t width, height, bits;
    int result;
    uint32_t line;
    uint64_t size;
};

constexpr uint32_t kNow = BITMAPHANDLE_SIZE;
constexpr uint32_t kThen = BITMAPHANDLE_SIZE_EARLIER;

constexpr InitCase kInitCases[] = {
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
    {kThen, -2147483647 - 1, 1, 8, ERROR_INVALID_WIDTH_HEIGHT, 0, 0},
    {kNow, 0, 5, 0, ERROR_INVALID_BITS_PER_PIXEL, 0, 0},
};

TEST(Record, DescribesSizesAndRefusesWrongOnes)
{
    for (const InitCase& c : kInitCases) {
        SCOPED_TRACE(::testing::Message() << c.struct_size << ": " << c.width << " x " << c.height << " at " << c.bits);
        TestBitmap bitmap(c.struct_size);
        std::memset(static_cast<void*>(bitmap.get()), 0x5A, c.struct_size); // nothing of it may count
        EXPECT_EQ(c.result, V_InitBitmap(bitmap.get(), c.struct_size, c.width, c.height, c.bits));
        EXPECT_EQ(c.struct_size, bitmap->StructSize);
        if (c.result != SUCCESS || c.bits == 0) {
            EXPECT_TRUE(bitmap.is_empty());
            continue;
        }
        EXPECT_EQ(c.width, bitmap->Width);
        EXPECT_EQ(c.height, bitmap->Height);
        EXPECT_EQ(c.bits, bitmap->BitsPerPixel);
        EXPECT_EQ(c.line, bitmap->BytesPerLine);
        EXPECT_EQ(c.size, +bitmap->Size);
        EXPECT_EQ(c.size, bitmap.data_size());
    }
    BITMAPHANDLE record;
    std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_InitBitmap(nullptr, kNow, 1, 1, 1));
    for (const uint32_t size : {0u, 4u, kThen - 1, kThen + 1, kNow - 1, kNow + 1, ~0u})
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_InitBitmap(&record, size, 1, 1, 1)) << size;
    EXPECT_EQ(0x5A5A5A5Au, record.StructSize) << "a refused size writes nothing";
}

TEST(Record, DepthsSetColoursOrderAndGrayRange)
{
    constexpr int32_t kStated[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
    for (int32_t bits = -1; bits <= 66; ++bits) {
        SCOPED_TRACE(bits);
        const bool known = std::count(std::begin(kStated), std::end(kStated), bits) != 0;
        TestBitmap bitmap;
        ASSERT_EQ(known ? SUCCESS : ERROR_INVALID_BITS_PER_PIXEL, V_InitBitmap(bitmap.get(), kNow, 10, 10, bits));
        if (!known) {
            EXPECT_TRUE(bitmap.is_empty());
            continue;
        }
        const int32_t high = bits == 32 ? -1 : bits == 24 ? 7 : bits >= 48 ? 15 : bits - 1;
        EXPECT_EQ(high, bitmap->HighBit);
        EXPECT_EQ(high, bitmap->PaintHighBit);
        EXPECT_EQ(0, bitmap->LowBit);
        EXPECT_EQ(0, bitmap->PaintLowBit);
        EXPECT_EQ(bits <= 8 ? 1u << bits : 0, bitmap->Colors);
        EXPECT_EQ(bits == 12 ? COLORORDER_GRAY : bits < 12 ? COLORORDER_RGB : COLORORDER_BGR, bitmap->Order);
        EXPECT_EQ(100, bitmap->PaintGamma);
        EXPECT_EQ(BOTTOM_LEFT, bitmap->ViewPerspective);
        EXPECT_EQ(150, bitmap->XResolution);
        EXPECT_EQ(150, bitmap->YResolution);
        EXPECT_EQ(1, bitmap->DitheringMethod);
        EXPECT_EQ(0u, bitmap->Flags);
        EXPECT_EQ(0, bitmap->LockCount);
        EXPECT_EQ(0, bitmap->OriginalFormat);
        EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
        EXPECT_TRUE(bitmap->Unused1 == 0 && bitmap->Unused2 == 0 && bitmap->Palette == nullptr);
    }
}

TEST(Record, DataCallbacksAreCopiedWhereTheyFit)
{
    int user = 0;
    BITMAPDATACALLBACKS table{};
    table.StructSize = sizeof table;
    table.UserData = &user;
    BITMAPDATACALLBACKS wrong = table;
    wrong.StructSize = sizeof table - 8;
    struct {
        uint32_t struct_size;
        int32_t height;
        const BITMAPDATACALLBACKS* table;
        bool installed;
    } const cases[] = {{kNow, 3, &table, true},
                       {kNow, 0, &table, false},
                       {kNow, 3, &wrong, false},
                       {kNow, 3, nullptr, false},
                       {kThen, 3, &table, false}};
    for (const auto& c : cases) {
        TestBitmap bitmap(c.struct_size);
        EXPECT_EQ(SUCCESS, V_InitBitmapWithCallbacks(bitmap.get(), c.struct_size, 3, c.height, 8, c.table));
        BITMAPDATACALLBACKS seen{};
        EXPECT_EQ(SUCCESS, V_GetBitmapDataCallbacks(bitmap.get(), &seen, sizeof seen));
        EXPECT_EQ(c.installed ? &user : nullptr, seen.UserData);
        EXPECT_EQ(sizeof seen, seen.StructSize);
    }
    TestBitmap bitmap;
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), kNow, 3, 3, 8));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetBitmapDataCallbacks(bitmap.get(), &wrong));
    EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &table));
    EXPECT_NE(&table, +bitmap->DataCallbacks) << "the record keeps a copy";
    EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), &table));
    BITMAPDATACALLBACKS seen{};
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetBitmapDataCallbacks(bitmap.get(), &seen, sizeof seen + 1));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapDataCallbacks(bitmap.get(), nullptr, sizeof seen));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapDataCallbacks(nullptr, &table));
    EXPECT_EQ(SUCCESS, V_SetBitmapDataCallbacks(bitmap.get(), nullptr));
    EXPECT_TRUE(bitmap->DataCallbacks == nullptr);
    ASSERT_EQ(SUCCESS, V_InitBitmap(bitmap.get(), kNow, 3, 0, 8));
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, V_SetBitmapDataCallbacks(bitmap.get(), &table));
}

struct Text {
    int code;
    const char* text;
};

constexpr const char* kNoText = "Internal or Unrecognized Error!";

constexpr Text kTexts[] = {
    {1, "Success"},
    {0, "Function not successful"},
    {2, "Successful. You can quit now"},
    {3, "Function successful. Delete file before quiting"},
    {4, "Function successful. Retry the failed operation"},
    {5, "Successful. Ignore this marker"},
    {-1, "Not enough memory available"},
    {-2, "Invalid image"},
    {-3, "Not enough memory available"},
    {-4, "Error seeking to position"},
    {-5, "Error writing file"},
    {-6, "File not present - abort"},
    {-7, "Error reading file"},
    {-8, "Invalid filename specified"},
    {-10, "File not found"},
    {-11, "Invalid width or height"},
    {-13, "Invalid parameter passed"},
    {-14, "Not able to open file"},
    {-27, "Invalid bits per pixel"},
    {-29, "Escape key pressed - or user aborted operation"},
    {-74, "Internal error"},
    {-129, "Invalid tile"},
    {-261, "Invalid handle"},
    {-290, "The buffer size is too small"},
    {-295, "Not enough disk space"},
    {-789, "The structure size is invalid"},
    {-814, "A NULL pointer was passed"},
    {-1486, "The LUT length is invalid. LUTLength should be 1 << (HighBit - LowBit + 1)"},
};

std::string message(int code)
{
    char narrow[200];
    wchar_t wide[200];
    EXPECT_EQ(SUCCESS, V_GetFriendlyErrorMessageA(code, narrow, 200, 1, "more"));
    EXPECT_EQ(SUCCESS, V_GetFriendlyErrorMessage(code, wide, 200));
    const std::string text = narrow;
    EXPECT_EQ(std::wstring(text.begin(), text.end()), wide);
    return text;
}

TEST(Messages, EveryCodeHasItsText)
{
    for (int code = -2000; code <= 200; ++code) {
        const auto* const known =
            std::find_if(std::begin(kTexts), std::end(kTexts), [code](const Text& text) { return text.code == code; });
        if (code == ERROR_FEATURE_NOT_SUPPORTED) {
            EXPECT_EQ(0u, message(code).find("Feature not supported.")) << message(code);
        } else {
            EXPECT_EQ(known == std::end(kTexts) ? kNoText : known->text, message(code)) << code;
        }
    }
    for (const int code : {-2147483647 - 1, 2147483647, 105, -1854})
        EXPECT_EQ(kNoText, message(code));
}

TEST(Messages, AreCutToTheBuffer)
{
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetFriendlyErrorMessage(1, nullptr, 10));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetFriendlyErrorMessageA(1, nullptr, 10));
    const std::string whole = "Success";
    for (uint32_t room = 0; room <= 9; ++room) {
        char narrow[10];
        wchar_t wide[10];
        std::fill(std::begin(narrow), std::end(narrow), '#');
        std::fill(std::begin(wide), std::end(wide), L'#');
        const int expected = room > whole.size() ? SUCCESS : ERROR_BUFFER_TOO_SMALL;
        EXPECT_EQ(expected, V_GetFriendlyErrorMessageA(1, narrow, room));
        EXPECT_EQ(expected, V_GetFriendlyErrorMessage(1, wide, room));
        EXPECT_EQ('#', narrow[room > 8 ? 8 : room]);
        EXPECT_EQ(L'#', wide[room > 8 ? 8 : room]);
        if (room != 0) {
            EXPECT_EQ(whole.substr(0, room - 1), narrow);
            EXPECT_EQ(std::wstring(whole.begin(), whole.end()).substr(0, room - 1), wide);
        }
    }
}

} // namespace
