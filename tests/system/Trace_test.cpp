// The diagnostic trace: who reports which count, word for word, and that nobody does with the trace off.
#include "kernel/system/Trace.h"

#include "tests/support/TestBitmap.h"

#include <string>
#include <vector>

using namespace vk::testing;

namespace {

std::vector<std::string> g_reports;

void collect(const char* function, const char* text)
{
    g_reports.push_back(std::string(function) + "|" + text);
}

class Trace : public ::testing::Test {
protected:
    Trace() : before_(vk::trace::set_sink(collect)) { g_reports.clear(); }
    ~Trace() override { vk::trace::set_sink(before_); }

    static std::vector<std::string> take() { return std::move(g_reports); }

private:
    vk::trace::Sink before_;
};

using Reports = std::vector<std::string>;

Reports after(void (*call)(BITMAPHANDLE*, uint8_t*), int32_t count, uint32_t struct_size = BITMAPHANDLE_SIZE,
              int32_t bits = 8)
{
    TestBitmap bitmap(struct_size);
    bitmap.make(Kind::conv, 5, 5, bits);
    if (struct_size == BITMAPHANDLE_SIZE)
        bitmap->LockCount = count;
    uint8_t buffer[8] = {};
    call(bitmap.get(), buffer);
    Reports reports = std::move(g_reports);
    g_reports.clear();
    if (struct_size == BITMAPHANDLE_SIZE)
        bitmap->LockCount = 0;
    return reports;
}

TEST_F(Trace, RowFunctionsReportAnUnlockedBitmapAndGoOn)
{
    struct {
        const char* name;
        void (*call)(BITMAPHANDLE*, uint8_t*);
        int32_t bits = 8;
    } const cases[] = {
        {"V_GetPixelData", [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(SUCCESS, V_GetPixelData(b, p, 0, 0, 1)); }},
        {"V_PutPixelData", [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(SUCCESS, V_PutPixelData(b, p, 0, 0, 1)); }},
        {"V_PutBitmapRowSegments",
         [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(0, V_PutBitmapRowSegments(b, p, 0, nullptr, 0)); }},
        {"V_GetBitmapRowCompressed",
         [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(6, V_GetBitmapRowCompressed(b, p, 0, 8)); }, 1},
        {"V_PutBitmapRowCompressed",
         [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(4, V_PutBitmapRowCompressed(b, p, 0, 8)); }, 1},
        {"V_GetBitmapRowColCompressed",
         [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(6, V_GetBitmapRowColCompressed(b, p, 0, 1, 8)); }, 1},
        {"V_PutBitmapRowColCompressed",
         [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(4, V_PutBitmapRowColCompressed(b, p, 0, 1, 8)); }, 1},
        {"V_GetBitmapRow", [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(5, V_GetBitmapRow(b, p, 0, 5)); }},
        {"V_PutBitmapRow", [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(5, V_PutBitmapRow(b, p, 0, 5)); }},
        {"V_GetBitmapRowCol", [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(5, V_GetBitmapRowCol(b, p, 0, 0, 5)); }},
        {"V_PutBitmapRowCol", [](BITMAPHANDLE* b, uint8_t* p) { EXPECT_EQ(5, V_PutBitmapRowCol(b, p, 0, 0, 5)); }},
    };
    for (const auto& c : cases) {
        EXPECT_EQ((Reports{std::string(c.name) + "|pBitmap->nLockCount = 0\r\n"}),
                  after(c.call, 0, BITMAPHANDLE_SIZE, c.bits));
        EXPECT_EQ((Reports{std::string(c.name) + "|pBitmap->nLockCount = -3\r\n"}),
                  after(c.call, -3, BITMAPHANDLE_SIZE, c.bits));
        EXPECT_EQ(Reports{}, after(c.call, 1, BITMAPHANDLE_SIZE, c.bits));
        EXPECT_EQ(Reports{}, after(c.call, 0, BITMAPHANDLE_SIZE_EARLIER, c.bits)) << "it has no count";
    }
}

TEST_F(Trace, ColoursAccessTheBitmapThemselves)
{
    const auto get = [](BITMAPHANDLE* b, uint8_t*) { V_GetPixelColor(b, 0, 0); };
    const auto put = [](BITMAPHANDLE* b, uint8_t*) { V_PutPixelColor(b, 0, 0, 0); };
    for (const auto& call : {+get, +put})
        EXPECT_EQ(Reports{}, after(call, 0));
    const std::string count = "pBitmap->nLockCount = ";
    const Reports reports = after(get, -2); // where one access is not enough
    ASSERT_EQ(3u, reports.size());
    EXPECT_EQ("V_GetPixelColor|" + count + "-1\r\n", reports[1]);
    EXPECT_EQ("V_PutPixelColor|" + count + "-1\r\n", after(put, -2)[1]);
}

TEST_F(Trace, LocksReportCountsOutOfStep)
{
    const auto access = [](BITMAPHANDLE* b, uint8_t*) { V_AccessBitmap(b); };
    const auto release = [](BITMAPHANDLE* b, uint8_t*) { V_ReleaseBitmap(b); };
    const auto free = [](BITMAPHANDLE* b, uint8_t*) { V_FreeBitmap(b); };
    EXPECT_EQ(Reports{}, after(access, 0));
    EXPECT_EQ((Reports{"V_AccessBitmap|pBitmap->nLockCount = -1\n"}), after(access, -1));
    EXPECT_EQ(Reports{}, after(release, 1));
    EXPECT_EQ((Reports{"V_ReleaseBitmap|pBitmap->nLockCount = 0\n"}), after(release, 0));
    EXPECT_EQ(Reports{}, after(free, 0));
    EXPECT_EQ((Reports{"V_FreeBitmap|pBitmap->nLockCount = 2\n"}), after(free, 2));
    EXPECT_EQ((Reports{"V_FreeBitmap|pBitmap->nLockCount = -2147483648\n"}), after(free, -2147483647 - 1));
    for (const auto& call : {+access, +release, +free})
        EXPECT_EQ(Reports{}, after(call, 0, BITMAPHANDLE_SIZE_EARLIER));
}

TEST_F(Trace, OffMeansSilent)
{
    EXPECT_TRUE(vk::trace::enabled());
    EXPECT_EQ(&collect, vk::trace::set_sink(nullptr));
    EXPECT_FALSE(vk::trace::enabled());
    EXPECT_EQ(Reports{}, after([](BITMAPHANDLE* b, uint8_t* p) { V_GetBitmapRow(b, p, 0, 5); }, -1));
    EXPECT_EQ(Reports{}, take());
}

} // namespace
