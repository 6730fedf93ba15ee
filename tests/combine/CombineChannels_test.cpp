// Arithmetic on channels, at every depth and order, against values worked out one by one; transparent colours left out;
// run-length rows that are combined as runs.
#include "Vkregion.h"
#include "kernel/combine/ChannelOperation.h"
#include "kernel/combine/RunRows.h"
#include "kernel/combine/WordOperation.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/runs/RunLength.h"
#include "kernel/storage/Compressed.h"
#include "tests/combine/CombineSupport.h"

#include <cmath>

using namespace vk;
using namespace vk::testing;

namespace {

constexpr uint32_t kArithmetic[] = {COMBINE_ADD,     COMBINE_SUBTRACT,   COMBINE_MIN,     COMBINE_MAX,
                                    COMBINE_AVERAGE, COMBINE_DIFFERENCE, COMBINE_MULTIPLY};

/// A channel's result in floating point, which has room for every value here.
uint64_t expected(uint32_t flags, uint64_t source, uint64_t destination, uint64_t most)
{
    const long double s = static_cast<long double>(flags & COMBINE_NOT_SRC ? most - source : source);
    const long double d = static_cast<long double>(flags & COMBINE_NOT_DST ? most - destination : destination);
    const long double m = static_cast<long double>(most);
    switch (flags & COMBINE_OPERATIONS) {
    case COMBINE_ADD:
        return static_cast<uint64_t>(std::min(s + d, m));
    case COMBINE_SUBTRACT:
        return static_cast<uint64_t>(std::max(d - s, 0.0L));
    case COMBINE_MIN:
        return static_cast<uint64_t>(std::min(s, d));
    case COMBINE_MAX:
        return static_cast<uint64_t>(std::max(s, d));
    case COMBINE_AVERAGE:
        return static_cast<uint64_t>(std::floor((s + d + 1) / 2));
    case COMBINE_DIFFERENCE:
        return static_cast<uint64_t>(std::fabs(s - d));
    default:
        return static_cast<uint64_t>(std::floor(s * d / m + 0.5L));
    }
}

/// Fields of a pixel that are channels: their lowest bits and their widths.
struct Fields {
    int32_t bits, order;
    std::vector<std::pair<int, int>> fields;
};

const Fields kLayouts[] = {
    {8, COLORORDER_GRAY, {{0, 8}}},
    {12, COLORORDER_GRAY, {{0, 12}}},
    {16, COLORORDER_GRAY, {{0, 16}}},
    {32, COLORORDER_GRAY, {{0, 32}}},
    {16, COLORORDER_BGR, {{0, 5}, {5, 5}, {10, 5}}},
    {16, COLORORDER_RGB565, {{0, 5}, {5, 6}, {11, 5}}},
    {24, COLORORDER_RGB, {{0, 8}, {8, 8}, {16, 8}}},
    {32, COLORORDER_BGR, {{0, 8}, {8, 8}, {16, 8}}},
    {48, COLORORDER_BGR, {{0, 16}, {16, 16}, {32, 16}}},
    {64, COLORORDER_RGB, {{0, 16}, {16, 16}, {32, 16}}},
};

auto rule_of(const Fields& layout, uint32_t flags)
{
    return [&layout, flags](uint64_t s, uint64_t d) {
        uint64_t result = d;
        for (const auto& [shift, width] : layout.fields) {
            const uint64_t most = (uint64_t{1} << width) - 1;
            result &= ~(most << shift);
            result |= expected(flags, s >> shift & most, d >> shift & most, most) << shift;
        }
        return result;
    };
}

RGBQUAD changed(uint32_t flags, const RGBQUAD& s, const RGBQUAD& d)
{
    return {static_cast<uint8_t>(expected(flags, s.rgbBlue, d.rgbBlue, 255)),
            static_cast<uint8_t>(expected(flags, s.rgbGreen, d.rgbGreen, 255)),
            static_cast<uint8_t>(expected(flags, s.rgbRed, d.rgbRed, 255)), 0};
}

} // namespace

TEST(CombineChannels, EveryOperationAndLayout)
{
    TestRandom random(1340);
    SCOPED_TRACE(random);
    for (const simd::Level level : kLevels)
        for (const Fields& layout : kLayouts)
            for (const uint32_t operation : kArithmetic)
                for (const uint32_t nots : {0u, COMBINE_NOT_SRC, COMBINE_NOT_DST, COMBINE_NOT_SRC | COMBINE_NOT_DST}) {
                    const AtLevel at(level);
                    ASSERT_EQ(at.reached >= kFirstWithLoops, combine::word_loops_sets.best() != nullptr);
                    const uint32_t flags = operation | nots;
                    const int32_t width = random.one_in(4) ? random.between(1100, 1300) : random.between(1, 150);
                    SCOPED_TRACE(std::to_string(layout.bits) + " bits, order " + std::to_string(layout.order) +
                                 ", flags " + std::to_string(flags) + ", width " + std::to_string(width));
                    const Picture to = Picture::noise(width, 2, layout.bits, random.next());
                    const Picture from = Picture::noise(width, 2, layout.bits, random.next());
                    TestBitmap a;
                    TestBitmap b;
                    ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, layout.bits));
                    ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, layout.bits));
                    a->Order = b->Order = layout.order;
                    const Place place{random.between(0, 5), 0, width, 2, random.between(0, 5), 0};
                    ASSERT_EQ(SUCCESS, put(a, b, place, flags));
                    ASSERT_EQ(combined(to, from, place, rule_of(layout, flags)), read(a.get()));
                }
}

// All pairs of 8-bit values, and 16-bit ones where rounding is close, in every form.
TEST(CombineChannels, ProductsAreRoundedOnce)
{
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        std::vector<uint8_t> from(65536);
        std::vector<uint8_t> to(65536);
        for (size_t i = 0; i < from.size(); ++i) {
            from[i] = static_cast<uint8_t>(i);
            to[i] = static_cast<uint8_t>(i >> 8);
        }
        combine::combine_channels(combine::Arithmetic(COMBINE_MULTIPLY), from.data(), to.data(), to.size(), 1, false);
        for (size_t i = 0; i < to.size(); ++i)
            ASSERT_EQ(((i & 255) * (i >> 8) * 2 + 255) / 510, to[i]) << i;
        TestRandom random(1341);
        std::vector<uint16_t> words(8192);
        std::vector<uint16_t> others(8192);
        for (size_t i = 0; i < words.size(); ++i) {
            words[i] = static_cast<uint16_t>(random.one_in(3) ? 65535 - random.below(4) : random.next());
            // About half a step: s * d close to (2 k + 1) * 65535 / 2.
            const uint64_t k = random.below(words[i] + uint64_t{1});
            others[i] = static_cast<uint16_t>(
                std::min<uint64_t>(words[i] ? (2 * k + 1) * 65535 / 2 / words[i] + random.below(2) : 0, 65535));
        }
        std::vector<uint16_t> results = others;
        combine::combine_channels(combine::Arithmetic(COMBINE_MULTIPLY), reinterpret_cast<uint8_t*>(words.data()),
                                  reinterpret_cast<uint8_t*>(results.data()), results.size(), 2, false);
        for (size_t i = 0; i < results.size(); ++i)
            ASSERT_EQ((uint64_t{words[i]} * others[i] * 2 + 65535) / 131070, results[i])
                << words[i] << " * " << others[i];
    }
}

// The significant bits of samples are numbers, signed ones too; the bits around them stay.
TEST(CombineChannels, GrayRanges)
{
    TestBitmap a;
    TestBitmap b;
    ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, {4, 1, {0xF013, 0x0FF2, 0x8001, 0x0010}}, 16));
    ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, {4, 1, {0x0020, 0x0010, 0x0FF0, 0x0FF0}}, 16));
    a->Order = b->Order = COLORORDER_GRAY;
    a->LowBit = b->LowBit = 4;
    a->HighBit = b->HighBit = 11;
    ASSERT_EQ(SUCCESS, put(a, b, {0, 0, 4, 1, 0, 0}, COMBINE_ADD));
    EXPECT_EQ((Picture{4, 1, {0xF033, 0x0FF2, 0x8FF1, 0x0FF0}}), read(a.get()));
    a->Flags |= BITMAPFLAG_SIGNED; // 3, -1, -1, -1 against 2, 1, -1, -1
    ASSERT_EQ(SUCCESS, put(a, b, {0, 0, 4, 1, 0, 0}, COMBINE_MAX));
    EXPECT_EQ((Picture{4, 1, {0xF033, 0x0012, 0x8FF1, 0x0FF0}}), read(a.get()));
    ASSERT_EQ(SUCCESS, put(a, b, {0, 0, 4, 1, 0, 0}, COMBINE_SUBTRACT)); // 1, 0, 0, 0
    EXPECT_EQ((Picture{4, 1, {0xF013, 0x0002, 0x8001, 0x0000}}), read(a.get()));
}

TEST(CombineChannels, IndicesGoByTheirColours)
{
    TestRandom random(1342);
    SCOPED_TRACE(random);
    for (int32_t bits = 1; bits <= 8; ++bits)
        for (const int32_t from_bits : {3, 8, 24})
            for (const uint32_t flags : kArithmetic) {
                SCOPED_TRACE(std::to_string(from_bits) + " into " + std::to_string(bits) + ", flags " +
                             std::to_string(flags));
                const int32_t height = from_bits == 8 ? 60 : 3; // so many that pairs of indices are remembered
                const Picture to = Picture::noise(90, height, bits, random.next());
                const Picture from = Picture::noise(80, height + 1, from_bits, random.next());
                TestBitmap a;
                TestBitmap b;
                ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, bits));
                ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, from_bits));
                std::vector<RGBQUAD> palettes[2];
                for (int i = 0; i < 2; ++i) {
                    BITMAPHANDLE* const bitmap = i == 0 ? a.get() : b.get();
                    if (bitmap->BitsPerPixel > 8)
                        continue;
                    palettes[i].resize(size_t{1} << bitmap->BitsPerPixel);
                    for (RGBQUAD& entry : palettes[i])
                        random.fill(&entry, 3);
                    palettes[i].back() = palettes[i].front(); // an index of equal colour
                    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap, palettes[i].data(),
                                                             static_cast<uint32_t>(palettes[i].size())));
                }
                const Place place{3, 0, 70, height, 5, 1};
                ASSERT_EQ(SUCCESS, put(a, b, place, flags));
                const auto rule = [&](uint64_t s, uint64_t d) -> uint64_t {
                    const RGBQUAD own = palettes[0][d];
                    const RGBQUAD other = from_bits == 24
                                              ? RGBQUAD{static_cast<uint8_t>(s), static_cast<uint8_t>(s >> 8),
                                                        static_cast<uint8_t>(s >> 16), 0}
                                              : palettes[1][s];
                    const RGBQUAD made = changed(flags, other, own);
                    const bool is_same =
                        made.rgbRed == own.rgbRed && made.rgbGreen == own.rgbGreen && made.rgbBlue == own.rgbBlue;
                    return is_same
                               ? d
                               : static_cast<uint64_t>(find_palette_index(palettes[0].data(),
                                                                          static_cast<uint32_t>(palettes[0].size()),
                                                                          made.rgbRed, made.rgbGreen, made.rgbBlue));
                };
                ASSERT_EQ(combined(to, from, place, rule), read(a.get()));
            }
}

TEST(CombineChannels, TheTransparentColourIsLeftOut)
{
    TestRandom random(1343);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 3, 8, 24, 32, 64})
        for (const uint32_t flags : {COMBINE_COPY, COMBINE_XOR, COMBINE_ADD}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, flags " + std::to_string(flags));
            const Picture to = Picture::noise(150, 3, bits, random.next());
            Picture from = Picture::noise(150, 3, bits, random.next());
            const COLORREF key = bits <= 8 ? 0x01000001u : 0x00332211u; // red 0x11
            const auto key_pixel = [&] {
                return bits == 64 ? 0x7777'33AA'22BB'11CCu : bits == 32 ? 0x88332211u : bits == 24 ? 0x332211u : 1u;
            };
            for (uint64_t& pixel : from.pixels)
                if (random.one_in(3))
                    pixel = key_pixel();
            TestBitmap a;
            TestBitmap b;
            ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, bits));
            ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, bits));
            if (bits > 8)
                a->Order = b->Order = COLORORDER_RGB;
            const Place place{2, 0, 140, 3, 7, 0};
            ASSERT_EQ(SUCCESS, put(a, b, place, COMBINE_KEEP | COMBINE_KEYED)); // there is none yet
            b->Flags |= BITMAPFLAG_TRANSPARENCY;
            b->Transparency = key;
            TestBitmap plain;
            ASSERT_NO_FATAL_FAILURE(make_stored(plain, Kind::conv, to, bits));
            plain->Order = a->Order;
            ASSERT_EQ(SUCCESS, put(plain, b, place, flags));
            ASSERT_EQ(SUCCESS, put(a, b, place, flags | COMBINE_KEYED));
            Picture without = read(plain.get());
            Picture wanted = to;
            for (int32_t y = 0; y < 3; ++y)
                for (int32_t x = 0; x < 140; ++x)
                    if (from.at(7 + x, y) != key_pixel())
                        wanted.at(2 + x, y) = without.at(2 + x, y);
            EXPECT_EQ(wanted, read(a.get()));
        }
}

TEST(CombineRuns, RowsOfRuns)
{
    TestRandom random(1344);
    SCOPED_TRACE(random);
    for (int round = 0; round < 3000; ++round) {
        const auto width =
            static_cast<uint32_t>(random.one_in(30) ? random.between(60000, 200000) : random.between(1, 300));
        const auto from_width =
            static_cast<uint32_t>(random.one_in(30) ? random.between(60000, 200000) : random.between(1, 300));
        const auto noise = [&](uint32_t pixels) {
            std::vector<uint8_t> row((pixels + 7) / 8 + 1, random.one_in(3) ? 0xFF : 0);
            for (uint64_t i = random.below(row.size()); i > 0; --i)
                row[random.below(row.size())] = static_cast<uint8_t>(random.next());
            return row;
        };
        std::vector<uint8_t> row = noise(width);
        const std::vector<uint8_t> from = noise(from_width);
        const auto column = static_cast<uint32_t>(random.below(width));
        const auto from_column = static_cast<uint32_t>(random.below(from_width));
        const auto count = static_cast<uint32_t>(1 + random.below(std::min(width - column, from_width - from_column)));
        const auto answers = static_cast<uint32_t>(random.below(16));
        const auto runs_of = [](const std::vector<uint8_t>& pixels, uint32_t pixel_count) {
            std::vector<uint8_t> runs(runlength::max_row_bytes(pixel_count));
            runs.resize(runlength::compress(runs.data(), pixels.data(), 0, pixel_count));
            return runs;
        };
        const std::vector<uint8_t> old_runs = runs_of(row, width);
        const std::vector<uint8_t> from_runs = runs_of(from, from_width);
        std::vector<uint8_t> made(runlength::max_row_bytes(width), 0xEE);
        const size_t bytes = combine::combine_run_row(made.data(), old_runs.data(), width, column, from_runs.data(),
                                                      from_column, count, combine::Logic(answers));
        ASSERT_LE(bytes, made.size());
        for (uint32_t i = 0; i < count; ++i) {
            const uint64_t s = get_pixel(from.data(), 1, static_cast<int32_t>(from_column + i));
            const uint64_t d = get_pixel(row.data(), 1, static_cast<int32_t>(column + i));
            set_pixel(row.data(), 1, static_cast<int32_t>(column + i), answers >> (2 * s + d) & 1);
        }
        std::vector<uint8_t> pixels((width + 7) / 8);
        runlength::expand(made.data(), pixels.data(), 0, width);
        for (uint32_t i = 0; i < width; ++i)
            ASSERT_EQ(get_pixel(row.data(), 1, static_cast<int32_t>(i)),
                      get_pixel(pixels.data(), 1, static_cast<int32_t>(i)))
                << i << " of " << width << ", round " << round;
    }
}

// Two compressed bitmaps are combined without a row being expanded: it takes no row callback to see that, since rows
// come out in the store's own form, and their size is right.
TEST(CombineRuns, CompressedBitmapsStayWhatTheyAre)
{
    TestRandom random(1345);
    SCOPED_TRACE(random);
    for (int round = 0; round < 40; ++round) {
        const Picture to = Picture::noise(200, 30, 1, random.next());
        const Picture from = Picture::noise(180, 40, 1, random.next());
        const Place place = Place::random(random, 150);
        TestBitmap a;
        TestBitmap b;
        TestBitmap plain;
        ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::compressed, to, 1));
        ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::compressed, from, 1, random.one_in(2) ? TOP_LEFT : BOTTOM_LEFT));
        ASSERT_NO_FATAL_FAILURE(make_stored(plain, Kind::conv, to, 1));
        ASSERT_TRUE(combine::have_run_rows(*a.get(), *b.get()));
        EXPECT_FALSE(combine::have_run_rows(*a.get(), *plain.get()));
        const uint32_t flags = static_cast<uint32_t>(random.below(16));
        ASSERT_EQ(SUCCESS, put(a, b, place, flags));
        ASSERT_EQ(SUCCESS, put(plain, b, place, flags));
        EXPECT_EQ(read(plain.get()), read(a.get()));
        uint64_t stored = 0;
        for (int32_t row = 0; row < 30; ++row) {
            const void* const runs = compressed_row(*a.get(), row);
            stored += runs ? runlength::row_bytes(runlength::word_count(runs)) : runlength::clear_row_bytes(200);
        }
        EXPECT_EQ(stored, uint64_t{a->Size64});
    }
}

// Run-length rows, a region and a mask at once: inside of the region it is what pixels in memory become.
TEST(CombineRuns, InsideARegionAndUnderAMask)
{
    TestRandom random(1347);
    SCOPED_TRACE(random);
    for (int round = 0; round < 40; ++round) {
        Picture to = Picture::noise(200, 30, 1, random.next());
        const Picture from = Picture::noise(180, 40, 1, random.next());
        const Place place = Place::random(random, 150);
        TestBitmap a;
        TestBitmap b;
        TestBitmap mask;
        TestBitmap plain;
        ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::compressed, to, 1));
        ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::compressed, from, 1));
        ASSERT_NO_FATAL_FAILURE(make_stored(mask, Kind::compressed, Picture::noise(170, 50, 1, random.next()), 1));
        ASSERT_NO_FATAL_FAILURE(make_stored(plain, Kind::conv, to, 1));
        const RECT box = {random.between(-9, 90), random.between(-5, 15), random.between(95, 220),
                          random.between(16, 40)};
        ASSERT_EQ(SUCCESS, V_SetBitmapRegionEllipse(a.get(), &box, REGION_SET));
        const bool is_masked = round % 2 == 0;
        const auto run = [&](TestBitmap& bitmap) {
            return is_masked
                       ? V_BlendBitmap(bitmap.get(), place.column, place.row, place.width, place.height, b.get(),
                                       place.source_column, place.source_row, mask.get(), 3, 1, BLEND_DIFFERENCE, 65535)
                       : put(bitmap, b, place, COMBINE_XOR);
        };
        ASSERT_EQ(SUCCESS, run(a));
        ASSERT_EQ(SUCCESS, run(plain));
        Picture all = read(plain.get());
        for (int32_t y = 0; y < 30; ++y)
            for (int32_t x = 0; x < 200; ++x)
                if (V_IsPointInBitmapRegion(a.get(), x, y) == 1)
                    to.at(x, y) = all.at(x, y);
        EXPECT_EQ(to, read(a.get())) << place.text();
    }
}

TEST(CombineRuns, StopsAndFailuresChangeNothing)
{
    const NothingLost scope;
    TestRandom random(1346);
    const Picture to = Picture::noise(300, 40, 1, 3);
    const Picture from = Picture::noise(300, 40, 1, 4);
    TestBitmap a;
    TestBitmap b;
    ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::compressed, to, 1));
    ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::compressed, from, 1));
    for (const uint32_t flags : {COMBINE_XOR, COMBINE_CLEAR, COMBINE_COPY}) {
        expect_stops(a.get(), 40, [&] { return put(a, b, {7, 0, 290, 40, 1, 0}, flags); });
        ASSERT_NO_FATAL_FAILURE(paint(a.get(), to));
        expect_survives_faults(a.get(), true, [&] { return put(a, b, {7, 0, 290, 40, 1, 0}, flags); });
        ASSERT_NO_FATAL_FAILURE(paint(a.get(), to));
    }
}
