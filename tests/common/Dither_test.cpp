// Dithering: literal rows, agreement of every path with the slow reference for every method, palette kind and source
// format, prepared matching at the edges of its regions, and what happens to arguments that are wrong.
#include "common/Dither.h"

#include "Vkdither.h"
#include "tests/reference/DitherReference.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <thread>
#include <vector>

namespace vk {
namespace {

using reference::DitherSetup;
using testing::GuardedBuffer;
using testing::TestRandom;
using Bytes = std::vector<uint8_t>;
using Table = std::vector<uint32_t>;

constexpr DitherPath kPaths[] = {DitherPath::plain, DitherPath::single, DitherPath::wavefront,
                                 DitherPath::lanes, DitherPath::bits,   DitherPath::bits_avx2};
constexpr const char* kPathNames[] = {"plain", "single", "wavefront", "lanes", "bits", "bits_avx2"};
constexpr size_t kTableSize = 32768;

/// Keeps runs to a path within a scope.
class Limit {
public:
    explicit Limit(DitherPath path) { limit_dithering(path); }
    ~Limit() { limit_dithering(DitherPath::bits_avx2); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
};

struct SourceFormat {
    int32_t bits, order, low, high;
};
constexpr SourceFormat kSources[] = {
    {1, COLORORDER_RGB, 0, 0},    {2, COLORORDER_RGB, 0, 1},      {3, COLORORDER_BGR, 0, 2},
    {4, COLORORDER_RGB, 0, 3},    {5, COLORORDER_RGB, 0, 4},      {6, COLORORDER_GRAY, 0, 5},
    {7, COLORORDER_RGB, 0, 6},    {8, COLORORDER_RGB, 0, 7},      {8, COLORORDER_GRAY, 0, 7},
    {8, COLORORDER_GRAY, 2, 4},   {12, COLORORDER_GRAY, 0, 11},   {12, COLORORDER_GRAY, 3, 8},
    {16, COLORORDER_GRAY, 0, 15}, {16, COLORORDER_GRAY, 2, 11},   {16, COLORORDER_RGB, 0, 15},
    {16, COLORORDER_BGR, 0, 15},  {16, COLORORDER_RGB565, 0, 15}, {24, COLORORDER_RGB, 0, 7},
    {24, COLORORDER_BGR, 0, 7},   {24, COLORORDER_ROMM, 0, 7},    {32, COLORORDER_RGB, 0, -1},
    {32, COLORORDER_BGR, 0, -1},  {32, COLORORDER_GRAY, 0, -1},   {32, COLORORDER_GRAY, 20, 25},
    {48, COLORORDER_RGB, 0, 15},  {48, COLORORDER_BGR, 0, 15},    {48, COLORORDER_ROMM, 0, 15},
    {64, COLORORDER_RGB, 0, 15},  {64, COLORORDER_BGR, 0, 15},
};

size_t packed(int32_t width, int32_t bits)
{
    return (static_cast<size_t>(width) * static_cast<size_t>(bits) + 7) / 8;
}

RGBQUAD quad(int red, int green, int blue, int reserved = 0)
{
    return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red),
            static_cast<uint8_t>(reserved)};
}

std::vector<RGBQUAD> random_palette(TestRandom& random, size_t count, bool gray)
{
    std::vector<RGBQUAD> entries(count);
    random.fill(entries.data(), count * sizeof(RGBQUAD));
    for (RGBQUAD& entry : entries) {
        entry.rgbReserved = static_cast<uint8_t>(random.one_in(6) ? 1 + random.below(7) : 4 * random.below(2));
        if (gray) {
            entry.rgbGreen = entry.rgbRed = entry.rgbBlue;
        }
    }
    entries[random.below(count)].rgbReserved = 0;
    return entries;
}

/// Gives a setup a destination palette of a kind (11 and 12: custom grays, many and two).
void choose_palette(DitherSetup& setup, int kind, TestRandom& random)
{
    setup.match_table.clear();
    if (kind >= 2 && kind <= 10) {
        setup.palette = reference::fixed_entries(kind - 1);
        setup.colors = static_cast<uint32_t>(setup.palette.size());
        setup.dst_bits = index_bits(setup.colors);
        if (kind < 10 && random.one_in(2)) { // or none, with any count of its class
            setup.palette.clear();
            setup.colors -= static_cast<uint32_t>(random.below(setup.colors == 2 ? 2 : setup.colors / 2));
        }
    } else {
        const size_t count = kind == 12 ? 2 : 1 + random.below(random.one_in(2) ? 256 : 20);
        setup.palette = random_palette(random, count, kind > 10);
        setup.colors = static_cast<uint32_t>(count);
        setup.dst_bits = index_bits(setup.colors);
    }
    if (kind == 1) {
        setup.match_table.resize(kTableSize);
        for (uint32_t& slot : setup.match_table) {
            slot = random.one_in(3) ? static_cast<uint32_t>(random.below(setup.colors + 3)) : 0;
        }
    }
    if (kind != 12 && random.one_in(4)) {
        setup.dst_bits += random.between(0, 8 - setup.dst_bits);
    }
}

/// Rows of a source: noise, or a slope with some.
Bytes random_rows(const DitherSetup& setup, int32_t rows, TestRandom& random)
{
    const size_t stride = packed(setup.width, setup.bits);
    Bytes bytes(stride * static_cast<size_t>(rows));
    random.fill(bytes.data(), bytes.size());
    if (random.one_in(2)) {
        for (size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<uint8_t>(i % stride * 255 / stride + bytes[i] / 16);
        }
    }
    return bytes;
}

struct Picture {
    Bytes source; ///< as the run leaves it
    Bytes indices;
    Table match_table;
};

Picture expected(const DitherSetup& setup, Bytes source, int32_t rows)
{
    reference::Dither dither(setup);
    Picture result{std::move(source), {}, {}};
    for (int32_t y = 0; y < rows; ++y) {
        const Bytes row = dither.row(result.source.data() + static_cast<size_t>(y) * packed(setup.width, setup.bits));
        result.indices.insert(result.indices.end(), row.begin(), row.end());
    }
    result.match_table = dither.match_table();
    return result;
}

/// A record as a setup wants it. Its palette is the setup's.
class Record {
public:
    explicit Record(DitherSetup& setup, uint32_t size = BITMAPHANDLE_SIZE)
    {
        EXPECT_EQ(SUCCESS, V_InitBitmap(&bitmap_, size, setup.width, 1, setup.bits));
        bitmap_.Order = setup.order;
        bitmap_.LowBit = setup.low_bit;
        bitmap_.HighBit = setup.high_bit;
        bitmap_.Palette = setup.own_palette.empty() ? nullptr : setup.own_palette.data();
        bitmap_.Colors = static_cast<uint32_t>(setup.own_palette.size());
        bitmap_.DitheringMethod = setup.method;
    }
    ~Record() { V_StopDithering(&bitmap_); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    BITMAPHANDLE* get() { return &bitmap_; }
    BITMAPHANDLE* operator->() { return &bitmap_; }
    int start(DitherSetup& setup)
    {
        return V_StartDitheringExt(&bitmap_, setup.palette.empty() ? nullptr : setup.palette.data(), setup.colors,
                                   setup.dst_bits, setup.match_table.empty() ? nullptr : setup.match_table.data());
    }
    DitherState& state() { return *dither_state(bitmap_); }

private:
    BITMAPHANDLE bitmap_{};
};

using Done = std::array<uint64_t, kDitherPaths>;

/// Runs the library; a `step` of 0 goes by V_DitherLine, others give so many rows at once.
Picture dithered(DitherSetup setup, const Bytes& source, int32_t rows, int32_t step, Done& done)
{
    const size_t src_stride = packed(setup.width, setup.bits);
    const size_t dst_stride = packed(setup.width, setup.dst_bits);
    const auto edge = rows % 2 == 0 ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back;
    GuardedBuffer src(source.size(), edge);
    GuardedBuffer dst(dst_stride * static_cast<size_t>(rows), edge);
    std::copy(source.begin(), source.end(), src.data());
    Record record(setup);
    EXPECT_EQ(SUCCESS, record.start(setup));
    for (int32_t y = 0; y < rows; y += std::max(step, 1)) {
        const auto at = static_cast<size_t>(y);
        uint8_t* from = src.data() + at * src_stride;
        uint8_t* to = dst.data() + at * dst_stride;
        if (step == 0) {
            EXPECT_EQ(SUCCESS, V_DitherLine(record.get(), from, to));
        } else {
            dither_rows(record.state(), from, src_stride, to, dst_stride,
                        static_cast<size_t>(std::min(step, rows - y)));
        }
    }
    uint64_t total = 0;
    for (size_t i = 0; i < kDitherPaths; ++i) {
        const uint64_t by_path = dither_rows_done(record.state(), kPaths[i]);
        done[i] += by_path;
        total += by_path;
    }
    EXPECT_EQ(static_cast<uint64_t>(rows), total);
    return {Bytes(src.data(), src.data() + src.size()), Bytes(dst.data(), dst.data() + dst.size()), setup.match_table};
}

std::string describe(const DitherSetup& s, int kind)
{
    const auto t = [](auto v) { return std::to_string(v); };
    return "method " + t(s.method) + ", kind " + t(kind) + ", " + t(s.width) + " pixels of " + t(s.bits) +
           " bits order " + t(s.order) + " range " + t(s.low_bit) + ".." + t(s.high_bit) + ", " + t(s.colors) +
           " colors in " + t(s.dst_bits) + " bits" + (s.palette.empty() ? ", no palette" : "");
}

/// Compares every path with the reference; true when all agree.
bool check_paths(const DitherSetup& setup, int kind, const Bytes& source, int32_t rows, TestRandom& random, Done& done)
{
    SCOPED_TRACE(describe(setup, kind));
    if (kind <= 10) {
        EXPECT_EQ(kind, reference::Dither(setup).kind());
    }
    const Picture want = expected(setup, source, rows);
    for (size_t i = 0; i < kDitherPaths; ++i) {
        const Limit limit(kPaths[i]);
        const int32_t step = i <= 1 ? 0 : random.between(i == 3 ? std::min(8, rows) : 0, rows);
        const Picture got = dithered(setup, source, rows, step, done);
        const bool same =
            got.indices == want.indices && got.source == want.source && got.match_table == want.match_table;
        EXPECT_TRUE(same) << "up to path " << kPathNames[i] << ", rows at once " << step
                          << (got.indices != want.indices ? ": indices" : ": source or table");
        if (!same) {
            return false;
        }
    }
    return true;
}

TEST(Dither, EveryPathAgreesWithTheReference)
{
    TestRandom random(20301);
    SCOPED_TRACE(random);
    Done done{};
    int32_t width = 0;
    for (int32_t method = 0; method <= 8; ++method) {
        for (int kind = 0; kind <= 12; ++kind) {
            for (const SourceFormat& format : kSources) {
                DitherSetup setup;
                setup.width = width = width % 70 + 1;
                setup.bits = format.bits;
                setup.order = format.order;
                setup.low_bit = format.low;
                setup.high_bit = format.high;
                setup.method = method;
                if (format.bits <= 8 && random.one_in(2)) { // of any length, sometimes gray
                    setup.own_palette = random_palette(random, 1 + random.below(1u << format.bits), random.one_in(3));
                }
                choose_palette(setup, kind, random);
                const int32_t rows = random.between(6, 21);
                if (!check_paths(setup, kind, random_rows(setup, rows, random), rows, random, done)) {
                    return;
                }
            }
        }
    }
    const bool avx2 = __builtin_cpu_supports("avx2") != 0;
    for (size_t i = 0; i < kDitherPaths; ++i) {
        EXPECT_TRUE(done[i] > 0 || (!avx2 && kPaths[i] == DitherPath::bits_avx2)) << kPathNames[i] << " never ran";
    }
}

TEST(Dither, LongRowsAgreeWithTheReference)
{
    TestRandom random(20302);
    SCOPED_TRACE(random);
    Done done{};
    for (const int32_t width : {255, 256, 257, 301, 1031}) {
        for (const SourceFormat format : {SourceFormat{24, COLORORDER_BGR, 0, 7}, {8, COLORORDER_GRAY, 0, 7}}) {
            for (const int32_t method : {1, 5, 7, 8}) {
                for (const int kind : {0, 2, 5, 9, 12}) {
                    DitherSetup setup;
                    setup.width = width;
                    setup.bits = format.bits;
                    setup.order = format.order;
                    setup.method = method;
                    choose_palette(setup, kind, random);
                    if (!check_paths(setup, kind, random_rows(setup, 17, random), 17, random, done)) {
                        return;
                    }
                }
            }
        }
    }
}

/// Dithers gray rows to 1 bit; every row has the same level.
Bytes gray_rows(int32_t method, int32_t width, int32_t rows, uint8_t level)
{
    DitherSetup setup;
    setup.width = width;
    setup.bits = 8;
    setup.order = COLORORDER_GRAY;
    setup.method = method;
    setup.colors = 2;
    setup.dst_bits = 1;
    Done done{};
    return dithered(setup, Bytes(static_cast<size_t>(width * rows), level), rows, 0, done).indices;
}

TEST(Dither, LiteralRows)
{
    EXPECT_EQ((Bytes{0x48, 0x50}), gray_rows(DITHER_FLOYD_STEINBERG, 5, 2, 100)); // worked out by hand
    EXPECT_EQ((Bytes{0x11, 0xAA, 0x44, 0xAA, 0x11, 0xAA, 0x54, 0xAA, 0x11}), gray_rows(DITHER_ORDERED, 8, 9, 100));
    EXPECT_EQ((Bytes{0x06, 0x0F, 0x0F, 0x06, 0x60, 0xF0, 0xF0, 0x70}), gray_rows(DITHER_CLUSTERED, 8, 8, 100));
    EXPECT_EQ((Bytes{0x00, 0x00}), gray_rows(DITHER_NONE, 3, 2, 127));
    EXPECT_EQ((Bytes{0xE0, 0xE0}), gray_rows(DITHER_NONE, 3, 2, 128));
    EXPECT_EQ((Bytes{0x30}), gray_rows(DITHER_STEVENSON_ARCE, 6, 1, 120)); // error skips a column
}

TEST(Dither, FixedPalettesMatchAtTheEdgesOfTheirRegions)
{
    // Colours around every level, half-way point and threshold of the fixed palettes.
    const Bytes edges = {0,   1,   17,  18,  19,  25,  26,  42,  43,  54,  55,  63,  64,  65,  73,  76,  77,
                         85,  90,  91,  92,  96,  127, 128, 129, 146, 153, 154, 159, 160, 161, 163, 164, 165,
                         178, 182, 191, 192, 193, 200, 201, 212, 213, 223, 224, 225, 236, 237, 238, 254, 255};
    DitherSetup setup;
    setup.width = static_cast<int32_t>(edges.size() * edges.size());
    setup.method = DITHER_NONE;
    for (int bits = 1; bits <= 9; ++bits) {
        SCOPED_TRACE(bits);
        setup.palette = reference::fixed_entries(bits);
        setup.colors = static_cast<uint32_t>(setup.palette.size());
        setup.dst_bits = 8;
        reference::Dither dither(setup);
        Record record(setup);
        ASSERT_EQ(SUCCESS, record.start(setup));
        Bytes row;
        Bytes indices(edges.size() * edges.size());
        for (const uint8_t blue : edges) {
            row.clear();
            for (const uint8_t green : edges) {
                for (const uint8_t red : edges) {
                    row.insert(row.end(), {blue, green, red});
                }
            }
            ASSERT_EQ(SUCCESS, V_DitherLine(record.get(), row.data(), indices.data()));
            ASSERT_EQ(dither.row(row.data()), indices) << "blue " << int{blue};
        }
    }
}

TEST(Dither, CustomPalettesMatchFiveBitsAndSkipExcludedEntries)
{
    // 7 and 0 share a 15-bit colour, which belongs to the entry that has it first.
    DitherSetup setup;
    setup.width = 4;
    setup.palette = {quad(255, 0, 0, 1), quad(7, 7, 7), quad(0, 0, 0), quad(200, 0, 0), quad(255, 255, 255, 2)};
    setup.colors = 5;
    Bytes row = {0, 0, 0, 0, 0, 255, 255, 255, 255, 7, 7, 7};
    Bytes indices(4);
    Record record(setup);
    record->DitheringMethod = DITHER_NONE;
    ASSERT_EQ(SUCCESS, V_StartDithering(record.get(), setup.palette.data(), setup.colors));
    ASSERT_EQ(SUCCESS, V_DitherLine(record.get(), row.data(), indices.data()));
    indices.resize(2);
    EXPECT_EQ((Bytes{0x2D, 0x90}), indices); // 001 011 011 001: white's own entry is excluded
}

TEST(Dither, FillsTheCallersTableAndLeavesItAlone)
{
    DitherSetup setup;
    setup.width = 2;
    setup.method = DITHER_NONE;
    setup.palette = {quad(0, 0, 0), quad(255, 0, 0), quad(0, 255, 0)};
    setup.colors = 3;
    setup.match_table.assign(kTableSize, 0);
    setup.match_table[31] = 3; // the caller says that blue is green
    Bytes row = {255, 0, 0, 0, 0, 130};
    Bytes indices(2);
    {
        Record record(setup);
        ASSERT_EQ(SUCCESS, record.start(setup));
        ASSERT_EQ(SUCCESS, V_DitherLine(record.get(), row.data(), indices.data()));
    }
    EXPECT_EQ((Bytes{2, 1}), indices);
    EXPECT_EQ(1u, setup.match_table[0]) << "seeded";
    EXPECT_EQ(2u, setup.match_table[31 << 10]) << "seeded";
    EXPECT_EQ(2u, setup.match_table[16 << 10]) << "found on the way";
    EXPECT_EQ(3u, setup.match_table[31]);
    EXPECT_EQ(kTableSize - 5, static_cast<size_t>(std::count(setup.match_table.begin(), setup.match_table.end(), 0u)));
}

TEST(Dither, DestinationMayBeTheSource)
{
    TestRandom random(20303);
    SCOPED_TRACE(random);
    Done done{};
    for (const int32_t bits : {1, 4, 8, 24}) {
        for (const int32_t method : {0, 1, 7}) {
            for (const int kind : {2, 5, 9}) {
                DitherSetup setup;
                setup.width = 333;
                setup.bits = bits;
                setup.order = bits == 8 ? COLORORDER_GRAY : COLORORDER_BGR;
                setup.method = method;
                choose_palette(setup, kind, random);
                const Bytes source = random_rows(setup, 1, random);
                const Bytes want = dithered(setup, source, 1, 0, done).indices;
                Bytes both = source;
                both.resize(std::max(source.size(), want.size()));
                Record record(setup);
                ASSERT_EQ(SUCCESS, record.start(setup));
                ASSERT_EQ(SUCCESS, V_DitherLine(record.get(), both.data(), both.data()));
                both.resize(want.size());
                EXPECT_EQ(want, both) << describe(setup, kind);
            }
        }
    }
}

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
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_DefaultDithering(9));
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
