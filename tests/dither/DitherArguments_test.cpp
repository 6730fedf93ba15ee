// Dithering's borders: arguments that are wrong or do not go together, failing memory, ends of runs, the default
// method.
#include "kernel/dither/Methods.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestDither.h"

#include <thread>

namespace vk::testing {
namespace {

TEST(Dither, RefusesWhatDoesNotGoTogether)
{
    Palette palette(256, quad(1, 2, 3));
    Palette excluded(4, quad(1, 2, 3, 3));
    Table table(kTableSize);
    const RGBQUAD* const p = palette.data();
    const struct {
        const char* what;
        int32_t width, bits, order, method;
        const RGBQUAD* palette;
        uint32_t colors;
        int32_t dst_bits;
        bool with_table = false;
    } cases[] = {
        {"method 9", 8, 24, COLORORDER_BGR, 9, p, 16, 4},
        {"method -1", 8, 24, COLORORDER_BGR, -1, p, 16, 4},
        {"least method", 8, 24, COLORORDER_BGR, INT32_MIN, p, 16, 4},
        {"no colors", 8, 24, COLORORDER_BGR, 1, p, 0, 4},
        {"257 colors", 8, 24, COLORORDER_BGR, 1, p, 257, 8},
        {"most colors", 8, 24, COLORORDER_BGR, 1, nullptr, UINT32_MAX, 8},
        {"0 bits", 8, 24, COLORORDER_BGR, 1, p, 1, 0},
        {"9 bits", 8, 24, COLORORDER_BGR, 1, p, 2, 9},
        {"-1 bits", 8, 24, COLORORDER_BGR, 1, p, 2, -1},
        {"too few bits", 8, 24, COLORORDER_BGR, 1, p, 17, 4},
        {"all excluded", 8, 24, COLORORDER_BGR, 1, excluded.data(), 4, 2},
        {"all excluded, table", 8, 24, COLORORDER_BGR, 1, excluded.data(), 4, 2, true},
        {"table without palette", 8, 24, COLORORDER_BGR, 1, nullptr, 16, 4, true},
        {"negative width", -1, 24, COLORORDER_BGR, 1, p, 16, 4},
        {"least width", INT32_MIN, 24, COLORORDER_BGR, 1, p, 16, 4},
        {"depth 0", 8, 0, COLORORDER_BGR, 1, p, 16, 4},
        {"depth 9", 8, 9, COLORORDER_BGR, 1, p, 16, 4},
        {"most depth", 8, INT32_MAX, COLORORDER_BGR, 1, p, 16, 4},
        {"negative depth", 8, -8, COLORORDER_BGR, 1, p, 16, 4},
        {"gray of 24 bits", 8, 24, COLORORDER_GRAY, 1, p, 16, 4},
        {"12 bits in color", 8, 12, COLORORDER_BGR, 1, p, 16, 4},
        {"no such order", 8, 24, 77, 1, p, 16, 4},
    };
    int marker = 0;
    for (const auto& c : cases) {
        DitherSetup setup{8};
        Record record(setup);
        record->Width = c.width;
        record->BitsPerPixel = c.bits;
        record->Order = c.order;
        record->DitheringMethod = c.method;
        record->DitherData = &marker;
        EXPECT_EQ(ERROR_INVALID_PARAMETER,
                  V_StartDitheringExt(record, c.palette, c.colors, c.dst_bits, c.with_table ? table.data() : nullptr))
            << c.what;
        EXPECT_EQ(&marker, record->DitherData) << c.what;
        record->DitherData = nullptr;
    }
    EXPECT_EQ(Table(kTableSize), table) << "a failed start wrote to the table";
}

TEST(Dither, RefusesRowsThatAreNotTheRuns)
{
    DitherSetup setup{3};
    Bytes row(9);
    Record record(setup);
    expect_each(ERROR_INVALID_PARAMETER,
                {V_StartDithering(record, nullptr, 0), V_StartDithering(record, nullptr, 257)});
    ASSERT_EQ(SUCCESS, V_StartDithering(record, nullptr, 3)); // 2 bits each
    expect_each(ERROR_INVALID_PARAMETER,
                {V_DitherLine(record, nullptr, row.data()), V_DitherLine(record, row.data(), nullptr)});
    for (const auto field : {&BITMAPHANDLE::Width, &BITMAPHANDLE::BitsPerPixel, &BITMAPHANDLE::Order}) {
        const int32_t was = (*record).*field;
        (*record).*field = was + 8;
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DitherLine(record, row.data(), row.data()));
        (*record).*field = was;
    }
    row.assign(9, 255);
    Bytes out(2, 0x55);
    EXPECT_EQ(SUCCESS, V_DitherLine(record, row.data(), out.data()));
    EXPECT_EQ((Bytes{0xFC, 0x55}), out) << "three 2-bit indices";
    EXPECT_EQ(SUCCESS, V_StopDithering(record));
    EXPECT_EQ(nullptr, record->DitherData);

    record->Width = 0;
    ASSERT_EQ(SUCCESS, V_StartDithering(record, nullptr, 16));
    EXPECT_EQ(SUCCESS, V_DitherLine(record, row.data(), out.data()));
    EXPECT_EQ(0x55, out[1]);
}

TEST(Dither, FreeingTheBitmapEndsTheRun)
{
    for (const uint32_t size : kRecordSizes) {
        const fault::Live before = fault::live();
        TestBitmap bitmap(size);
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 20, 4, 24, COLORORDER_BGR));
        ASSERT_EQ(SUCCESS, V_StartDithering(bitmap, nullptr, 16));
        V_FreeBitmap(bitmap);
        EXPECT_EQ(nullptr, bitmap->DitherData);
        expect_same_live(before, fault::live());
    }
}

TEST(Dither, SurvivesEveryFailingCall)
{
    const Palette palette(20, quad(9, 9, 9));
    for (const bool with_table : {false, true}) {
        Table table(kTableSize);
        for_each_fault([&] {
            DitherSetup setup{100};
            setup.method = DITHER_STUCKI;
            Record record(setup);
            std::fill(table.begin(), table.end(), 0);
            const int code = V_StartDitheringExt(record, palette.data(), 20, 5, with_table ? table.data() : nullptr);
            EXPECT_TRUE(code == SUCCESS || (code == ERROR_NO_MEMORY && table == Table(kTableSize))) << code;
            EXPECT_EQ(code == SUCCESS, record->DitherData != nullptr);
            const uint64_t calls = fault::calls();
            Bytes row(300);
            EXPECT_EQ(code == SUCCESS ? SUCCESS : ERROR_INVALID_PARAMETER,
                      V_DitherLine(record, row.data(), row.data()));
            EXPECT_EQ(calls, fault::calls()) << "a row allocates nothing";
        });
    }
}

TEST(DitherThread, DefaultMethodBelongsToTheThread)
{
    const int32_t before = V_GetDefaultDithering();
    EXPECT_EQ(DITHER_FLOYD_STEINBERG, before);
    expect_each(ERROR_INVALID_PARAMETER, {V_DefaultDithering(dither::kMethodCount), V_DefaultDithering(-1)});
    EXPECT_EQ(before, V_GetDefaultDithering());
    std::thread([before] {
        EXPECT_EQ(SUCCESS, V_DefaultDithering(DITHER_CLUSTERED));
        EXPECT_EQ(DITHER_CLUSTERED, V_GetDefaultDithering());
        TestBitmap bitmap;
        EXPECT_EQ(SUCCESS, bitmap.init(1, 1, 24));
        EXPECT_EQ(DITHER_CLUSTERED, bitmap->DitheringMethod);
        EXPECT_EQ(SUCCESS, V_DefaultDithering(before));
    }).join();
    EXPECT_EQ(before, V_GetDefaultDithering());
}

} // namespace
} // namespace vk::testing
