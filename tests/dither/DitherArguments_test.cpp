// Dithering's borders: arguments that are wrong or do not go together, failing memory, ends of runs, the default
// method.
#include "kernel/dither/Methods.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestDither.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace vk {
namespace {

using testing::Bytes;
using testing::DitherSetup;
using testing::kTableSize;
using testing::quad;
using testing::Record;
using testing::Table;

TEST(Dither, RefusesWhatDoesNotGoTogether)
{
    std::vector<RGBQUAD> palette(256, quad(1, 2, 3));
    std::vector<RGBQUAD> excluded(4, quad(1, 2, 3, 3));
    Table table(kTableSize);
    constexpr int32_t kMin = INT32_MIN;
    constexpr int32_t kMax = INT32_MAX;
    struct Case {
        const char* what;
        int32_t width, bits, order, method;
        const RGBQUAD* palette;
        uint32_t colors;
        int32_t dst_bits;
        bool with_table;
    };
    const RGBQUAD* p = palette.data();
    const Case cases[] = {
        {"method 9", 8, 24, COLORORDER_BGR, 9, p, 16, 4, false},
        {"method -1", 8, 24, COLORORDER_BGR, -1, p, 16, 4, false},
        {"least method", 8, 24, COLORORDER_BGR, kMin, p, 16, 4, false},
        {"no colors", 8, 24, COLORORDER_BGR, 1, p, 0, 4, false},
        {"257 colors", 8, 24, COLORORDER_BGR, 1, p, 257, 8, false},
        {"most colors", 8, 24, COLORORDER_BGR, 1, nullptr, UINT32_MAX, 8, false},
        {"0 bits", 8, 24, COLORORDER_BGR, 1, p, 1, 0, false},
        {"9 bits", 8, 24, COLORORDER_BGR, 1, p, 2, 9, false},
        {"-1 bits", 8, 24, COLORORDER_BGR, 1, p, 2, -1, false},
        {"too few bits", 8, 24, COLORORDER_BGR, 1, p, 17, 4, false},
        {"all excluded", 8, 24, COLORORDER_BGR, 1, excluded.data(), 4, 2, false},
        {"all excluded, table", 8, 24, COLORORDER_BGR, 1, excluded.data(), 4, 2, true},
        {"table without palette", 8, 24, COLORORDER_BGR, 1, nullptr, 16, 4, true},
        {"negative width", -1, 24, COLORORDER_BGR, 1, p, 16, 4, false},
        {"least width", kMin, 24, COLORORDER_BGR, 1, p, 16, 4, false},
        {"depth 0", 8, 0, COLORORDER_BGR, 1, p, 16, 4, false},
        {"depth 9", 8, 9, COLORORDER_BGR, 1, p, 16, 4, false},
        {"most depth", 8, kMax, COLORORDER_BGR, 1, p, 16, 4, false},
        {"negative depth", 8, -8, COLORORDER_BGR, 1, p, 16, 4, false},
        {"gray of 24 bits", 8, 24, COLORORDER_GRAY, 1, p, 16, 4, false},
        {"12 bits in color", 8, 12, COLORORDER_BGR, 1, p, 16, 4, false},
        {"no such order", 8, 24, 77, 1, p, 16, 4, false},
    };
    int marker = 0;
    for (const Case& c : cases) {
        DitherSetup setup;
        setup.width = 8;
        Record record(setup);
        record->Width = c.width;
        record->BitsPerPixel = c.bits;
        record->Order = c.order;
        record->DitheringMethod = c.method;
        record->DitherData = &marker;
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StartDitheringExt(record.get(), c.palette, c.colors, c.dst_bits,
                                                               c.with_table ? table.data() : nullptr))
            << c.what;
        EXPECT_EQ(&marker, record->DitherData) << c.what;
        record->DitherData = nullptr;
    }
    EXPECT_EQ(Table(kTableSize), table) << "a failed start wrote to the table";
}

TEST(Dither, RefusesRecordsAndRows)
{
    DitherSetup setup;
    setup.width = 3;
    Bytes row(9);
    Record record(setup);
    for (BITMAPHANDLE* bitmap : {static_cast<BITMAPHANDLE*>(nullptr), record.get()}) {
        const int code = bitmap == nullptr ? ERROR_INVALID_PARAMETER : ERROR_INVALID_STRUCT_SIZE;
        record->StructSize = 100;
        EXPECT_EQ(code, V_StartDithering(bitmap, nullptr, 0));
        EXPECT_EQ(code, V_StartDitheringExt(bitmap, nullptr, 16, 4, nullptr));
        EXPECT_EQ(code, V_DitherLine(bitmap, row.data(), row.data()));
        EXPECT_EQ(code, V_StopDithering(bitmap));
    }
    record->StructSize = BITMAPHANDLE_SIZE;
    EXPECT_EQ(SUCCESS, V_StopDithering(record.get())) << "never started";
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StartDithering(record.get(), nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StartDithering(record.get(), nullptr, 257));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DitherLine(record.get(), row.data(), row.data())) << "not started";

    ASSERT_EQ(SUCCESS, V_StartDithering(record.get(), nullptr, 3)); // 2 bits each
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DitherLine(record.get(), nullptr, row.data()));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DitherLine(record.get(), row.data(), nullptr));
    for (int32_t BITMAPHANDLE::*field : {&BITMAPHANDLE::Width, &BITMAPHANDLE::BitsPerPixel, &BITMAPHANDLE::Order}) {
        const int32_t was = record.get()->*field;
        record.get()->*field = was + 8;
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DitherLine(record.get(), row.data(), row.data()));
        record.get()->*field = was;
    }
    row.assign(9, 255);
    Bytes out(2, 0x55);
    EXPECT_EQ(SUCCESS, V_DitherLine(record.get(), row.data(), out.data()));
    EXPECT_EQ((Bytes{0xFC, 0x55}), out) << "three 2-bit indices";
    EXPECT_EQ(SUCCESS, V_StopDithering(record.get()));
    EXPECT_EQ(nullptr, record->DitherData);

    record->Width = 0;
    ASSERT_EQ(SUCCESS, V_StartDithering(record.get(), nullptr, 16));
    EXPECT_EQ(SUCCESS, V_DitherLine(record.get(), row.data(), out.data()));
    EXPECT_EQ(0x55, out[1]);
}

TEST(Dither, FreeingTheBitmapEndsTheRun)
{
    for (const uint32_t size : {BITMAPHANDLE_SIZE, BITMAPHANDLE_SIZE_EARLIER}) {
        const fault::Live before = fault::live();
        testing::TestBitmap bitmap(size);
        ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 20, 4, 24, COLORORDER_BGR));
        ASSERT_EQ(SUCCESS, V_StartDithering(bitmap.get(), nullptr, 16));
        V_FreeBitmap(bitmap.get());
        EXPECT_EQ(nullptr, bitmap->DitherData);
        testing::expect_same_live(before, fault::live());
    }
}

TEST(Dither, SurvivesEveryFailingCall)
{
    std::vector<RGBQUAD> palette(20, quad(9, 9, 9));
    for (const bool with_table : {false, true}) {
        Table table(kTableSize);
        testing::for_each_fault([&] {
            DitherSetup setup;
            setup.width = 100;
            setup.method = DITHER_STUCKI;
            Record record(setup);
            std::fill(table.begin(), table.end(), 0);
            const int code =
                V_StartDitheringExt(record.get(), palette.data(), 20, 5, with_table ? table.data() : nullptr);
            EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY) << code;
            EXPECT_EQ(code == SUCCESS, record->DitherData != nullptr);
            EXPECT_TRUE(code == SUCCESS || table == Table(kTableSize));
            const uint64_t calls = fault::calls();
            Bytes row(300);
            EXPECT_EQ(code == SUCCESS ? SUCCESS : ERROR_INVALID_PARAMETER,
                      V_DitherLine(record.get(), row.data(), row.data()));
            EXPECT_EQ(calls, fault::calls()) << "a row allocates nothing";
        });
    }
}

TEST(DitherThread, DefaultMethodBelongsToTheThread)
{
    const int32_t before = V_GetDefaultDithering();
    EXPECT_EQ(DITHER_FLOYD_STEINBERG, before);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DefaultDithering(vk::dither::kMethodCount));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DefaultDithering(-1));
    EXPECT_EQ(before, V_GetDefaultDithering());
    std::thread([before] {
        EXPECT_EQ(SUCCESS, V_DefaultDithering(DITHER_CLUSTERED));
        EXPECT_EQ(DITHER_CLUSTERED, V_GetDefaultDithering());
        BITMAPHANDLE bitmap{};
        EXPECT_EQ(SUCCESS, V_InitBitmap(&bitmap, BITMAPHANDLE_SIZE, 1, 1, 24));
        EXPECT_EQ(DITHER_CLUSTERED, bitmap.DitheringMethod);
        EXPECT_EQ(SUCCESS, V_DefaultDithering(before));
    }).join();
    EXPECT_EQ(before, V_GetDefaultDithering());
}

} // namespace
} // namespace vk
