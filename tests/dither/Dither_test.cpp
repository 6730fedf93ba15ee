// Dithering: literal rows, agreement of every path with the slow reference for every method, palette kind and source
// format, and prepared matching at the edges of its regions.
#include "kernel/dither/Bits.h"
#include "kernel/dither/Dither.h"
#include "kernel/dither/Methods.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestDither.h"

#include <array>

namespace vk::testing {
namespace {

constexpr DitherPath kPaths[] = {DitherPath::plain, DitherPath::single, DitherPath::wavefront, DitherPath::lanes,
                                 DitherPath::bits};
constexpr const char* kPathNames[] = {"plain", "single", "wavefront", "lanes", "bits"};

/// Keeps runs to a path within a scope.
class Limit {
public:
    explicit Limit(DitherPath path) { limit_dithering(path); }
    ~Limit() { limit_dithering(DitherPath::bits); }
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

Palette random_palette(TestRandom& random, size_t count, bool gray)
{
    Palette entries(count);
    random.fill(entries.data(), count * sizeof(RGBQUAD));
    for (RGBQUAD& entry : entries) {
        entry.rgbReserved = static_cast<uint8_t>(random.one_in(6) ? 1 + random.below(7) : 4 * random.below(2));
        if (gray)
            entry.rgbGreen = entry.rgbRed = entry.rgbBlue;
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
        for (uint32_t& slot : setup.match_table)
            slot = random.one_in(3) ? static_cast<uint32_t>(random.below(setup.colors + 3)) : 0;
    }
    if (kind != 12 && random.one_in(4))
        setup.dst_bits += random.between(0, 8 - setup.dst_bits);
}

/// Rows of a source: noise, or a slope with some.
Bytes random_rows(const DitherSetup& setup, int32_t rows, TestRandom& random)
{
    const size_t stride = packed_bytes_of(setup.width, setup.bits);
    Bytes bytes(stride * static_cast<size_t>(rows));
    random.fill(bytes.data(), bytes.size());
    if (random.one_in(2)) {
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>(i % stride * 255 / stride + bytes[i] / 16);
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
        const Bytes row =
            dither.row(result.source.data() + static_cast<size_t>(y) * packed_bytes_of(setup.width, setup.bits));
        result.indices.insert(result.indices.end(), row.begin(), row.end());
    }
    result.match_table = dither.match_table();
    return result;
}

using Done = std::array<uint64_t, kDitherPaths>;

/// Runs the library; a `step` of 0 goes by V_DitherLine, others give so many rows at once.
Picture dithered(DitherSetup setup, const Bytes& source, int32_t rows, int32_t step, Done& done)
{
    const size_t src_stride = packed_bytes_of(setup.width, setup.bits);
    const size_t dst_stride = packed_bytes_of(setup.width, setup.dst_bits);
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
            EXPECT_EQ(SUCCESS, V_DitherLine(record, from, to));
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
    return say("method", s.method, "kind", kind, s.width, "pixels of", s.bits, "bits order", s.order, "range",
               s.low_bit, "to", s.high_bit, s.colors, "colors in", s.dst_bits,
               s.palette.empty() ? "bits, no palette" : "bits");
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
        if (!same)
            return false;
    }
    return true;
}

TEST(Dither, EveryPathAgreesWithTheReference)
{
    TestRandom random(20301);
    SCOPED_TRACE(random);
    Done done{};
    int32_t width = 0;
    for (int32_t method = 0; method < dither::kMethodCount; ++method) {
        for (int kind = 0; kind <= 12; ++kind) {
            for (const SourceFormat& format : kSources) {
                width = width % 70 + 1;
                DitherSetup setup{width, format.bits, format.order, format.low, format.high, {}, method};
                if (format.bits <= 8 && random.one_in(2)) { // of any length, sometimes gray
                    setup.own_palette = random_palette(random, 1 + random.below(1u << format.bits), random.one_in(3));
                }
                choose_palette(setup, kind, random);
                const int32_t rows = random.between(6, 21);
                if (!check_paths(setup, kind, random_rows(setup, rows, random), rows, random, done))
                    return;
            }
        }
    }
    for (size_t i = 0; i < kDitherPaths; ++i)
        EXPECT_TRUE(done[i] > 0) << kPathNames[i] << " never ran";
}

// The bits of thresholded rows at every level, each of which has loops of its own for them; without any, rows are
// plain.
TEST(Dither, BitsAtEveryLevel)
{
    TestRandom random(20304);
    SCOPED_TRACE(random);
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        const dither::BitLoops* const loops = dither::bit_loops_sets.best();
        EXPECT_EQ(at.reached >= kFirstWithLoops, loops != nullptr);
        for (const int32_t method : {DITHER_NONE, DITHER_ORDERED, DITHER_CLUSTERED}) {
            const DitherSetup setup{random.between(1, 300), 8, COLORORDER_GRAY, 0, 7, {}, method, {}, 2, 1};
            const Bytes source = random_rows(setup, 17, random);
            Done done{};
            EXPECT_EQ(expected(setup, source, 17).indices, dithered(setup, source, 17, 5, done).indices);
            EXPECT_EQ(17u,
                      done[static_cast<size_t>(level == simd::Level::plain ? DitherPath::plain : DitherPath::bits)]);
        }
        for (const SourceFormat& source : kSources) { // and black and white of colours
            const DitherSetup setup{random.between(1, 300),
                                    source.bits,
                                    source.order,
                                    source.low,
                                    source.high,
                                    {},
                                    DITHER_ORDERED,
                                    {},
                                    2,
                                    1};
            const Bytes rows = random_rows(setup, 9, random);
            Done done{};
            ASSERT_EQ(expected(setup, rows, 9).indices, dithered(setup, rows, 9, 5, done).indices) << source.bits;
        }
        uint8_t levels[100] = {};
        uint8_t bits[16] = {};
        if (loops) {
            EXPECT_EQ(96u, loops->row({}, levels, 99, bits));
        }
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
                    DitherSetup setup{width, format.bits, format.order, 0, 7, {}, method};
                    choose_palette(setup, kind, random);
                    if (!check_paths(setup, kind, random_rows(setup, 17, random), 17, random, done))
                        return;
                }
            }
        }
    }
}

/// Dithers gray rows to 1 bit; every row has the same level.
Bytes gray_rows(int32_t method, int32_t width, int32_t rows, uint8_t level)
{
    const DitherSetup setup{width, 8, COLORORDER_GRAY, 0, 7, {}, method, {}, 2, 1};
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
    DitherSetup setup{static_cast<int32_t>(edges.size() * edges.size())};
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
            for (const uint8_t green : edges)
                for (const uint8_t red : edges)
                    row.insert(row.end(), {blue, green, red});
            ASSERT_EQ(SUCCESS, V_DitherLine(record, row.data(), indices.data()));
            ASSERT_EQ(dither.row(row.data()), indices) << "blue " << int{blue};
        }
    }
}

TEST(Dither, CustomPalettesMatchFiveBitsAndSkipExcludedEntries)
{
    // 7 and 0 share a 15-bit colour, which belongs to the entry that has it first.
    DitherSetup setup{4};
    setup.palette = {quad(255, 0, 0, 1), quad(7, 7, 7), quad(0, 0, 0), quad(200, 0, 0), quad(255, 255, 255, 2)};
    setup.colors = 5;
    Bytes row = {0, 0, 0, 0, 0, 255, 255, 255, 255, 7, 7, 7};
    Bytes indices(4);
    Record record(setup);
    ASSERT_EQ(SUCCESS, V_StartDithering(record, setup.palette.data(), setup.colors));
    ASSERT_EQ(SUCCESS, V_DitherLine(record, row.data(), indices.data()));
    indices.resize(2);
    EXPECT_EQ((Bytes{0x2D, 0x90}), indices); // 001 011 011 001: white's own entry is excluded
}

TEST(Dither, FillsTheCallersTableAndLeavesItAlone)
{
    DitherSetup setup{2};
    setup.palette = {quad(0, 0, 0), quad(255, 0, 0), quad(0, 255, 0)};
    setup.colors = 3;
    setup.match_table.assign(kTableSize, 0);
    setup.match_table[31] = 3; // the caller says that blue is green
    Bytes row = {255, 0, 0, 0, 0, 130};
    Bytes indices(2);
    {
        Record record(setup);
        ASSERT_EQ(SUCCESS, record.start(setup));
        ASSERT_EQ(SUCCESS, V_DitherLine(record, row.data(), indices.data()));
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
                DitherSetup setup{333, bits, bits == 8 ? COLORORDER_GRAY : COLORORDER_BGR, 0, 7, {}, method};
                choose_palette(setup, kind, random);
                const Bytes source = random_rows(setup, 1, random);
                const Bytes want = dithered(setup, source, 1, 0, done).indices;
                Bytes both = source;
                both.resize(std::max(source.size(), want.size()));
                Record record(setup);
                ASSERT_EQ(SUCCESS, record.start(setup));
                ASSERT_EQ(SUCCESS, V_DitherLine(record, both.data(), both.data()));
                both.resize(want.size());
                EXPECT_EQ(want, both) << describe(setup, kind);
            }
        }
    }
}

} // namespace
} // namespace vk::testing
