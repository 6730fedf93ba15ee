// The diagnostic trace: who reports which count, word for word, and that nobody does with the trace off.
#include "kernel/system/Trace.h"
#include "tests/support/TestBitmap.h"

using namespace vk::testing;

namespace {

using B = BITMAPHANDLE*;
using Reports = std::vector<std::string>;

Reports g_reports;

void collect(const char* function, const char* text)
{
    g_reports.push_back(std::string(function) + "|" + text);
}

struct Case {
    const char* name;
    intptr_t (*call)(B bitmap, uint8_t* buffer);
    intptr_t result;    ///< which is the same whatever is reported
    int32_t bits;       ///< of the bitmap
    int32_t silent;     ///< a count in step
    const char* ending; ///< of the line
    std::initializer_list<int32_t> told;
};

/// What is reported when a function meets a count.
Reports after(const Case& c, int32_t count, uint32_t struct_size = BITMAPHANDLE_SIZE)
{
    TestBitmap bitmap(struct_size);
    bitmap.make(Kind::conv, 5, 5, c.bits);
    if (struct_size == BITMAPHANDLE_SIZE)
        bitmap->LockCount = count;
    uint8_t buffer[8] = {};
    g_reports.clear();
    EXPECT_EQ(c.result, c.call(bitmap, buffer)) << "it goes on all the same";
    Reports reports = g_reports;
    if (struct_size == BITMAPHANDLE_SIZE)
        bitmap->LockCount = 0;
    return reports;
}

constexpr std::initializer_list<int32_t> kUnlocked = {0, -3};
constexpr const char* kRow = "\r\n";
constexpr const char* kLock = "\n";

const Case kCases[] = {
    {"V_GetPixelData", [](B b, uint8_t* p) -> intptr_t { return V_GetPixelData(b, p, 0, 0, 1); }, SUCCESS, 8, 1, kRow,
     kUnlocked},
    {"V_PutPixelData", [](B b, uint8_t* p) -> intptr_t { return V_PutPixelData(b, p, 0, 0, 1); }, SUCCESS, 8, 1, kRow,
     kUnlocked},
    {"V_PutBitmapRowSegments", [](B b, uint8_t* p) -> intptr_t { return V_PutBitmapRowSegments(b, p, 0, nullptr, 0); },
     0, 8, 1, kRow, kUnlocked},
    {"V_GetBitmapRowCompressed", [](B b, uint8_t* p) -> intptr_t { return V_GetBitmapRowCompressed(b, p, 0, 8); }, 6, 1,
     1, kRow, kUnlocked},
    {"V_PutBitmapRowCompressed", [](B b, uint8_t* p) -> intptr_t { return V_PutBitmapRowCompressed(b, p, 0, 8); }, 4, 1,
     1, kRow, kUnlocked},
    {"V_GetBitmapRowColCompressed",
     [](B b, uint8_t* p) -> intptr_t { return V_GetBitmapRowColCompressed(b, p, 0, 1, 8); }, 6, 1, 1, kRow, kUnlocked},
    {"V_PutBitmapRowColCompressed",
     [](B b, uint8_t* p) -> intptr_t { return V_PutBitmapRowColCompressed(b, p, 0, 1, 8); }, 4, 1, 1, kRow, kUnlocked},
    {"V_GetBitmapRow", [](B b, uint8_t* p) { return V_GetBitmapRow(b, p, 0, 5); }, 5, 8, 1, kRow, kUnlocked},
    {"V_PutBitmapRow", [](B b, uint8_t* p) { return V_PutBitmapRow(b, p, 0, 5); }, 5, 8, 1, kRow, kUnlocked},
    {"V_GetBitmapRowCol", [](B b, uint8_t* p) { return V_GetBitmapRowCol(b, p, 0, 0, 5); }, 5, 8, 1, kRow, kUnlocked},
    {"V_PutBitmapRowCol", [](B b, uint8_t* p) { return V_PutBitmapRowCol(b, p, 0, 0, 5); }, 5, 8, 1, kRow, kUnlocked},
    {"V_AccessBitmap", [](B b, uint8_t*) -> intptr_t { return V_AccessBitmap(b); }, SUCCESS, 8, 0, kLock, {-1}},
    {"V_ReleaseBitmap", [](B b, uint8_t*) -> intptr_t { return V_ReleaseBitmap(b); }, SUCCESS, 8, 1, kLock, {0}},
    {"V_FreeBitmap", [](B b, uint8_t*) -> intptr_t { return V_FreeBitmap(b), 0; }, 0, 8, 0, kLock, {2, INT32_MIN}},
};

TEST(Trace, CountsOutOfStepAreReportedAndNothingElse)
{
    const vk::trace::Sink before = vk::trace::set_sink(collect);
    EXPECT_TRUE(vk::trace::enabled());
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        for (const int32_t count : c.told)
            EXPECT_EQ((Reports{std::string(c.name) + "|pBitmap->nLockCount = " + std::to_string(count) + c.ending}),
                      after(c, count));
        EXPECT_EQ(Reports{}, after(c, c.silent));
        EXPECT_EQ(Reports{}, after(c, 0, BITMAPHANDLE_SIZE_EARLIER)) << "it has no count";
    }
    // Colours access the bitmap themselves, once, which may not be enough.
    const Case get = {"", [](B b, uint8_t*) -> intptr_t { return V_GetPixelColor(b, 0, 0); }, 0, 8, 0, "", {}};
    const Case put = {"", [](B b, uint8_t*) -> intptr_t { return V_PutPixelColor(b, 0, 0, 0); }, SUCCESS, 8, 0, "", {}};
    for (const Case* c : {&get, &put}) {
        const std::string name = c == &get ? "V_GetPixelColor" : "V_PutPixelColor";
        EXPECT_EQ(Reports{}, after(*c, 0));
        const Reports reports = after(*c, -2);
        ASSERT_EQ(3u, reports.size());
        EXPECT_EQ(name + "|pBitmap->nLockCount = -1\r\n", reports[1]);
    }
    EXPECT_EQ(&collect, vk::trace::set_sink(nullptr));
    EXPECT_FALSE(vk::trace::enabled());
    for (const Case& c : kCases)
        EXPECT_EQ(Reports{}, after(c, *c.told.begin()));
    vk::trace::set_sink(before);
}

} // namespace
