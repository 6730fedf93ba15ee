// The settings that allocation looks at, per thread where a thread has set any, process-wide otherwise; and the texts
// of the result codes.
#include "tests/support/TestBitmap.h"

#include <array>
#include <map>
#include <thread>

using namespace vk::testing;

namespace {

using Values = std::array<int64_t, 5>;
constexpr Values kStart = {0, -100, 0, 0, 0};

Values values()
{
    int32_t reserved = 0, tiles = 0, buffers = 0;
    int64_t conv = 0, tile = 0;
    EXPECT_EQ(SUCCESS, V_GetMemoryThresholds(&reserved, &conv, &tile, &tiles, &buffers));
    EXPECT_EQ(SUCCESS, V_GetMemoryThresholds(nullptr, nullptr, nullptr, nullptr, nullptr));
    return {reserved, conv, tile, tiles, buffers};
}

TEST(Thresholds, SettingStopsAtTheFirstRefusedValue)
{
    const Thresholds restore;
    const struct {
        Values set;
        uint32_t flags;
        int result;
        Values then;
    } cases[] = {
        {{1, 2, 3, 4, 5}, 0, SUCCESS, kStart},
        {{1, 2, 3, 4, 5}, 31, SUCCESS, {1, 2, 3, 4, 5}},
        {{-100, -100, 0, -100, -100}, 31, SUCCESS, {-100, -100, 0, -100, -100}},
        {{9, 9, 9, 9, 9}, 0xFFFFFFE0u, SUCCESS, kStart},
        {{9, 9, 9, 9, 9}, 5, SUCCESS, {9, -100, 9, 0, 0}},
        {{-101, 9, 9, 9, 9}, 31, ERROR_INVALID_PARAMETER, kStart},
        {{9, -101, 9, 9, 9}, 31, ERROR_INVALID_PARAMETER, {9, -100, 0, 0, 0}},
        {{9, 9, -1, 9, 9}, 31, ERROR_INVALID_PARAMETER, {9, 9, 0, 0, 0}},
        {{9, 9, 9, -101, 9}, 31, ERROR_INVALID_PARAMETER, {9, 9, 9, 0, 0}},
        {{9, 9, 9, 9, -101}, 31, ERROR_INVALID_PARAMETER, {9, 9, 9, 9, 0}},
        {{-101, -101, -1, 9, -101}, 8, SUCCESS, {0, -100, 0, 9, 0}}, // what is not selected is not looked at
    };
    for (const auto& c : cases) {
        const auto small = [&](size_t i) { return static_cast<int32_t>(c.set[i]); };
        ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(0, -100, 0, 0, 0, 31));
        EXPECT_EQ(c.result, V_SetMemoryThresholds(small(0), c.set[1], c.set[2], small(3), small(4), c.flags));
        EXPECT_EQ(c.then, values()) << "case " << &c - cases;
    }
}

TEST(Thresholds, BelongToTheThread)
{
    const Thresholds restore;
    ASSERT_EQ(SUCCESS, V_SetMemoryThresholds(5, 5, 5, 5, 5, 31));
    ASSERT_EQ(SUCCESS, V_SetDefaultMemoryType(TYPE_DISK));
    std::thread([] {
        uint32_t memory = 0;
        EXPECT_EQ(kStart, values());
        EXPECT_EQ(SUCCESS, V_GetDefaultMemoryType(&memory));
        EXPECT_EQ(TYPE_CONV, memory);
        EXPECT_EQ(SUCCESS, V_SetMemoryThresholds(0, 0, 16, 0, 0, 6));
        TestBitmap bitmap;
        EXPECT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 4, 8, 8));
        EXPECT_TRUE(V_BitmapIsTiled(bitmap));
    }).join();
    EXPECT_EQ((Values{5, 5, 5, 5, 5}), values());
    EXPECT_EQ(SUCCESS, V_SetDefaultMemoryType(TYPE_CONV));
}

TEST(Thresholds, DefaultMemoryType)
{
    for (const uint32_t memory : {0u, 2u, 4u, 8u, 127u, 129u, 256u, 257u, 512u, 1024u, ~0u})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetDefaultMemoryType(memory));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetDefaultMemoryType(nullptr));
    // It decides where rows go that stop being compressed.
    for (const uint32_t memory : {TYPE_DISK, TYPE_CONV}) {
        EXPECT_EQ(SUCCESS, V_SetDefaultMemoryType(memory));
        TestBitmap bitmap;
        bitmap.make(Kind::compressed, 100, 5, 1);
        EXPECT_EQ(SUCCESS, V_ChangeBitmapCompression(bitmap, 0));
        EXPECT_EQ(memory, MemoryFigures(bitmap).memory);
    }
}

TEST(Thresholds, DiskThreshold)
{
    GLOBALMEMORYTHRESHOLDS record{sizeof record, 0};
    EXPECT_EQ(ERROR_NULL_PTR, V_GetGlobalMemoryThresholds(nullptr, sizeof record));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetGlobalMemoryThresholds(&record, sizeof record - 1));
    const auto set = [&](int64_t threshold, uint32_t size = sizeof record) {
        record = {size, threshold};
        const int code = V_SetGlobalMemoryThresholds(&record);
        record = {};
        EXPECT_EQ(SUCCESS, V_GetGlobalMemoryThresholds(&record, sizeof record));
        EXPECT_EQ(sizeof record, record.StructSize);
        return code;
    };
    for (const int64_t threshold : {int64_t{1}, int64_t{1} << 40, INT64_MAX}) {
        EXPECT_EQ(SUCCESS, set(threshold));
        EXPECT_EQ(threshold, record.DiskThreshold);
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, set(-2));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, set(5, 12));
    EXPECT_EQ(INT64_MAX, record.DiskThreshold) << "a refused threshold changes nothing";
    EXPECT_EQ(SUCCESS, set(-1));
    EXPECT_GT(record.DiskThreshold, 64 << 20) << "half of a machine's memory";
    EXPECT_EQ(SUCCESS, V_SetGlobalMemoryThresholds(nullptr));
    EXPECT_EQ(SUCCESS, V_GetGlobalMemoryThresholds(&record, sizeof record));
    EXPECT_EQ(0, record.DiskThreshold);
}

const std::map<int, const char*> kTexts = {
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

TEST(Messages, EveryCodeHasItsText)
{
    const auto expect_message = [](int code) {
        const bool is_known = kTexts.count(code) != 0;
        const std::string expected = code == ERROR_FEATURE_NOT_SUPPORTED ? "Feature not supported."
                                     : is_known                          ? kTexts.at(code)
                                                                         : "Internal or Unrecognized Error!";
        char narrow[200];
        wchar_t wide[200];
        EXPECT_EQ(SUCCESS, V_GetFriendlyErrorMessageA(code, narrow, 200, 1, "more"));
        EXPECT_EQ(SUCCESS, V_GetFriendlyErrorMessage(code, wide, 200));
        const std::string text = narrow;
        EXPECT_EQ(std::wstring(text.begin(), text.end()), wide);
        EXPECT_EQ(expected, code == ERROR_FEATURE_NOT_SUPPORTED ? text.substr(0, expected.size()) : text) << code;
    };
    for (int code = -2000; code <= 200; ++code)
        expect_message(code);
    expect_message(INT32_MIN);
    expect_message(INT32_MAX);
}

TEST(Messages, AreCutToTheBuffer)
{
    expect_each(ERROR_INVALID_PARAMETER,
                {V_GetFriendlyErrorMessage(1, nullptr, 10), V_GetFriendlyErrorMessageA(1, nullptr, 10)});
    const std::string whole = "Success";
    for (uint32_t room = 0; room <= 9; ++room) {
        std::string narrow(10, '#');
        std::wstring wide(10, L'#');
        const int expected = room > whole.size() ? SUCCESS : ERROR_BUFFER_TOO_SMALL;
        expect_each(expected, {V_GetFriendlyErrorMessageA(1, narrow.data(), room),
                               V_GetFriendlyErrorMessage(1, wide.data(), room)});
        std::string cut = room == 0 ? "" : whole.substr(0, room - 1) + '\0';
        cut.resize(10, '#');
        EXPECT_EQ(cut, narrow);
        EXPECT_EQ(std::wstring(cut.begin(), cut.end()), wide);
    }
}

} // namespace
