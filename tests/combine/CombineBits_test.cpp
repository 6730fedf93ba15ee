// Putting bitmaps into bitmaps bit by bit: every operation, offset, depth, overlap and storage, against pictures that
// are combined one pixel at a time; conversion on the way; rectangles and arguments of every wrong kind; failures.
#include "kernel/combine/Bits.h"
#include "tests/combine/CombineSupport.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/MemoryFiles.h"

#include <array>

using namespace vk;
using namespace vk::testing;

namespace {

struct BitOperation {
    uint32_t flag;
    uint64_t (*run)(uint64_t s, uint64_t d);
};

const BitOperation kBitOperations[] = {
    {COMBINE_COPY, [](uint64_t s, uint64_t) { return s; }},
    {COMBINE_AND, [](uint64_t s, uint64_t d) { return s & d; }},
    {COMBINE_OR, [](uint64_t s, uint64_t d) { return s | d; }},
    {COMBINE_XOR, [](uint64_t s, uint64_t d) { return s ^ d; }},
    {COMBINE_AND_NOT_SRC, [](uint64_t s, uint64_t d) { return ~s & d; }},
    {COMBINE_AND_NOT_DST, [](uint64_t s, uint64_t d) { return s & ~d; }},
    {COMBINE_OR_NOT_SRC, [](uint64_t s, uint64_t d) { return ~s | d; }},
    {COMBINE_OR_NOT_DST, [](uint64_t s, uint64_t d) { return s | ~d; }},
    {COMBINE_NAND, [](uint64_t s, uint64_t d) { return ~(s & d); }},
    {COMBINE_NOR, [](uint64_t s, uint64_t d) { return ~(s | d); }},
    {COMBINE_XNOR, [](uint64_t s, uint64_t d) { return ~(s ^ d); }},
    {COMBINE_COPY_NOT, [](uint64_t s, uint64_t) { return ~s; }},
    {COMBINE_INVERT, [](uint64_t, uint64_t d) { return ~d; }},
    {COMBINE_CLEAR, [](uint64_t, uint64_t) { return uint64_t{0}; }},
    {COMBINE_SET, [](uint64_t, uint64_t) { return ~uint64_t{0}; }},
    {COMBINE_KEEP, [](uint64_t, uint64_t d) { return d; }},
};

/// The operation with its flags, on pixels of a depth.
auto rule_of(const BitOperation& operation, uint32_t flags, int32_t bits)
{
    return [=](uint64_t s, uint64_t d) {
        const uint64_t result = operation.run(flags & COMBINE_NOT_SRC ? ~s : s, flags & COMBINE_NOT_DST ? ~d : d);
        return result & (~uint64_t{0} >> (64 - bits));
    };
}

constexpr uint32_t kNots[] = {0, COMBINE_NOT_SRC, COMBINE_NOT_DST, COMBINE_NOT_SRC | COMBINE_NOT_DST};

} // namespace

TEST(CombineBits, EveryOperationDepthAndOffset)
{
    TestRandom random(1301);
    SCOPED_TRACE(random);
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        for (const int32_t bits : kDepths)
            for (int32_t offset = 0; offset <= 65; ++offset) {
                const auto& operation = kBitOperations[offset % 16]; // all of them with all flags
                const uint32_t flags = kNots[offset / 16 % 4];
                const int32_t width = random.one_in(3) ? random.between(500, 900) : random.between(1, 90);
                const Place place{offset, 1, width, 3, random.between(0, 65), 0};
                const Picture to = Picture::noise(offset + width + 5, 5, bits, random.next());
                const Picture from = Picture::noise(place.source_column + width + 3, 4, bits, random.next());
                SCOPED_TRACE(place.text() + ", bits " + std::to_string(bits) + ", flags " +
                             std::to_string(operation.flag | flags));
                TestBitmap a;
                TestBitmap b;
                ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, bits));
                ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, bits));
                ASSERT_EQ(SUCCESS, put(a, b, place, operation.flag | flags | COMBINE_RAW));
                ASSERT_EQ(combined(to, from, place, rule_of(operation, flags, bits)), read(a.get()));
            }
    }
}

TEST(CombineBits, ABitmapIsItsOwnSource)
{
    TestRandom random(1302);
    SCOPED_TRACE(random);
    const std::pair<int32_t, int32_t> ways[] = {{0, 3},  {0, -3}, {5, 0},   {-5, 0}, {4, 2},
                                                {-4, 2}, {4, -2}, {-4, -2}, {0, 0}};
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths)
            for (const auto& [dx, dy] : ways) {
                if (!can_make(kind, bits))
                    continue;
                const Picture before = Picture::noise(45, 13, bits, random.next());
                const Place place{6 + dx, 4 + dy, 31, 7, 6, 4};
                const auto& operation = kBitOperations[random.below(4)];
                SCOPED_TRACE(std::string(name_of(kind)) + " " + place.text() + ", bits " + std::to_string(bits));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, before, bits));
                ASSERT_EQ(SUCCESS, put(bitmap, bitmap, place, operation.flag));
                ASSERT_EQ(combined(before, before, place, rule_of(operation, 0, bits)), read(bitmap.get()));
            }
    // Two records over the same memory, of different geometry.
    std::vector<uint8_t> memory(4096);
    random.fill(memory.data(), memory.size());
    const std::vector<uint8_t> original = memory;
    TestBitmap a;
    TestBitmap b;
    for (TestBitmap* bitmap : {&a, &b}) {
        const int32_t width = bitmap == &a ? 64 : 32;
        ASSERT_EQ(SUCCESS, V_CreateBitmap(bitmap->get(), bitmap->struct_size(), TYPE_USER, width, 4096 / width, 8, 0,
                                          nullptr, TOP_LEFT, memory.data(), memory.size()));
    }
    ASSERT_EQ(SUCCESS, put(a, b, {0, 0, 32, 64, 0, 8}, COMBINE_COPY));
    for (size_t y = 0; y < 64; ++y)
        for (size_t x = 0; x < 32; ++x)
            ASSERT_EQ(original[(y + 8) * 32 + x], memory[y * 64 + x]) << x << ", " << y;
}

TEST(CombineBits, EveryStorageOnBothSides)
{
    TestRandom random(1303);
    SCOPED_TRACE(random);
    for (const Kind into : kKinds)
        for (const Kind out_of : kKinds)
            for (const int32_t bits : {1, 8, 12, 24}) {
                if (!can_make(into, bits) || !can_make(out_of, bits))
                    continue;
                SCOPED_TRACE(std::string(name_of(out_of)) + " into " + name_of(into) + ", bits " +
                             std::to_string(bits));
                const Picture to = Picture::noise(140, 21, bits, random.next());
                const Picture from = Picture::noise(130, 17, bits, random.next());
                const Place place = Place::random(random, random.one_in(2) ? 20 : 120);
                TestBitmap a(random.one_in(2) ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER);
                TestBitmap b;
                ASSERT_NO_FATAL_FAILURE(make_stored(a, into, to, bits));
                ASSERT_NO_FATAL_FAILURE(make_stored(b, out_of, from, bits, random.one_in(2) ? TOP_LEFT : BOTTOM_LEFT));
                b->ViewPerspective = TOP_LEFT;
                const auto& operation = kBitOperations[random.below(std::size(kBitOperations))];
                ASSERT_EQ(SUCCESS, put(a, b, place, operation.flag));
                EXPECT_EQ(combined(to, from, place, rule_of(operation, 0, bits)), read(a.get()));
                EXPECT_EQ(from, read(b.get()));
            }
}

// What is displayed of the source's part is what is displayed of the destination's afterwards.
TEST(CombineBits, EveryPairOfPerspectives)
{
    TestRandom random(1304);
    SCOPED_TRACE(random);
    for (const int32_t bits : {1, 4, 24})
        for (int32_t to_view = 1; to_view <= 8; ++to_view)
            for (int32_t from_view = 1; from_view <= 8; ++from_view) {
                SCOPED_TRACE(std::to_string(from_view) + " into " + std::to_string(to_view));
                Picture to = Picture::noise(40, 30, bits, random.next());
                Picture from = Picture::noise(35, 33, bits, random.next());
                TestBitmap a;
                TestBitmap b;
                ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, bits, to_view));
                ASSERT_NO_FATAL_FAILURE(make_stored(b, from_view % 2 ? Kind::conv : Kind::disk, from, bits, from_view));
                ASSERT_EQ(SUCCESS, put(a, b, {5, 7, 13, 9, 3, 11}, COMBINE_COPY));
                const bool is_turned = (to_view > 4) != (from_view > 4);
                Picture after = read(a.get());
                const Picture shown = part_of(from, 3, 11, is_turned ? 9 : 13, is_turned ? 13 : 9).shown(from_view);
                EXPECT_EQ(shown, part_of(after, 5, 7, 13, 9).shown(to_view));
                // Cut at the destination's edges, what is left is the same.
                TestBitmap c;
                ASSERT_NO_FATAL_FAILURE(make_stored(c, Kind::conv, to, bits, to_view));
                ASSERT_EQ(SUCCESS, put(c, b, {-4, -2, 13, 9, 3, 11}, COMBINE_COPY));
                Picture cut = read(c.get());
                EXPECT_EQ(part_of(after, 9, 9, 9, 7), part_of(cut, 0, 0, 9, 7));
            }
}

// Into every form from every other: the rows are those of the converter's reference.
TEST(CombineBits, CopyConverts)
{
    constexpr std::pair<int32_t, int32_t> kForms[] = {
        {1, 0},  {2, 0},  {3, 0},  {4, 0},  {5, 0},  {6, 0},  {7, 0},  {8, 0},  {8, 2},  {12, 2}, {16, 1}, {16, 0},
        {16, 7}, {16, 2}, {24, 1}, {24, 0}, {24, 5}, {32, 1}, {32, 0}, {32, 2}, {48, 1}, {48, 0}, {64, 1}, {64, 0}};
    TestRandom random(1305);
    SCOPED_TRACE(random);
    const auto make = [&](TestBitmap& bitmap, int32_t bits, int32_t order, int32_t width,
                          std::vector<RGBQUAD>& palette) {
        ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, Picture::noise(width, 3, bits, random.next()), bits));
        bitmap->Order = order;
        if (bits > 8 || order == COLORORDER_GRAY)
            return;
        palette.resize(size_t{1} << bits);
        for (RGBQUAD& entry : palette)
            random.fill(&entry, 3);
        ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap.get(), palette.data(), 1u << bits));
    };
    for (const simd::Level level : kLevels)
        for (const auto& [to_bits, to_order] : kForms)
            for (const auto& [from_bits, from_order] : kForms) {
                const AtLevel at(level);
                SCOPED_TRACE(std::to_string(from_bits) + "/" + std::to_string(from_order) + " to " +
                             std::to_string(to_bits) + "/" + std::to_string(to_order));
                reference::Conversion job;
                TestBitmap a;
                TestBitmap b;
                const int32_t width = random.one_in(8) ? 1500 : random.between(1, 90);
                ASSERT_NO_FATAL_FAILURE(make(a, to_bits, to_order, width + 12, job.dst_palette));
                ASSERT_NO_FATAL_FAILURE(make(b, from_bits, from_order, width + 12, job.src_palette));
                job.width = width;
                job.src_bits = from_bits;
                job.dst_bits = to_bits;
                job.src_order = from_order;
                job.dst_order = to_order;
                const Place place{random.between(0, 11), 1, width, 1, random.between(0, 11), 2};
                Picture to = read(a.get());
                Picture from = read(b.get());
                std::vector<uint8_t> row(static_cast<size_t>(width) * 8 + 8);
                for (int32_t x = 0; x < width; ++x)
                    set_pixel(row.data(), from_bits, x, from.at(place.source_column + x, 2));
                const std::vector<uint8_t> expected = reference::convert(job, row);
                for (int32_t x = 0; x < width; ++x)
                    to.at(place.column + x, 1) = get_pixel(expected.data(), to_bits, x);
                ASSERT_EQ(SUCCESS, put(a, b, place, COMBINE_COPY));
                ASSERT_EQ(to, read(a.get()));
                ASSERT_EQ(from_bits == to_bits ? SUCCESS : ERROR_INVALID_BITS_PER_PIXEL, put(a, b, place, COMBINE_XOR));
            }
}

// Both sides' ranges of gray bits, palettes with fewer colours than the depth, look-up tables, transparency.
TEST(CombineBits, CopyKnowsWhatRecordsSay)
{
    TestBitmap a;
    TestBitmap b;
    ASSERT_EQ(SUCCESS, a.create(TYPE_CONV, 3, 1, 16, COLORORDER_GRAY));
    ASSERT_EQ(SUCCESS, b.create(TYPE_CONV, 3, 1, 12, COLORORDER_GRAY));
    a->LowBit = 2;
    a->HighBit = 12; // 11 bits
    b->LowBit = 1;
    b->HighBit = 6; // 6 bits
    ASSERT_NO_FATAL_FAILURE(paint(b.get(), {3, 1, {0xFFF, 0x801, 0b101101'0}}));
    ASSERT_EQ(SUCCESS, put(a, b, {0, 0, 3, 1, 0, 0}, COMBINE_COPY));
    EXPECT_EQ((Picture{3, 1, {0x7FF << 2, 0, 0b101101'10110 << 2}}), read(a.get()));

    TestBitmap indexed;
    const RGBQUAD two[] = {{0, 0, 255, 0}, {255, 0, 0, 0}};
    ASSERT_EQ(SUCCESS, indexed.create(TYPE_CONV, 3, 1, 8));
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(indexed.get(), two, 2));
    TestBitmap colors;
    ASSERT_EQ(SUCCESS, colors.create(TYPE_CONV, 3, 1, 24, COLORORDER_RGB));
    ASSERT_NO_FATAL_FAILURE(paint(colors.get(), {3, 1, {0x000000, 0x0000FF, 0xF00000}}));
    ASSERT_EQ(SUCCESS, put(indexed, colors, {0, 0, 3, 1, 0, 0}, COMBINE_COPY));
    EXPECT_EQ((Picture{3, 1, {0, 0, 1}}), read(indexed.get())); // black has no entry of its own

    ASSERT_NO_FATAL_FAILURE(paint(indexed.get(), {3, 1, {0, 1, 2}}));
    TestBitmap alpha;
    ASSERT_EQ(SUCCESS, alpha.create(TYPE_CONV, 3, 1, 32, COLORORDER_BGR));
    indexed->Flags |= BITMAPFLAG_TRANSPARENCY;
    indexed->Transparency = 0x01000001u;
    ASSERT_EQ(SUCCESS, put(alpha, indexed, {0, 0, 3, 1, 0, 0}, COMBINE_COPY));
    EXPECT_EQ((Picture{3, 1, {0xFFFF0000, 0x000000FF, 0xFF000000}}), read(alpha.get()));

    b->LowBit = 0;
    b->HighBit = 1;
    std::array<RGBQUAD, 4> table = {{{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}, {10, 11, 12, 0}}};
    b->LUT = V_CreateNewPalette(table.data(), 4);
    b->LUTLength = 4;
    b->Flags |= BITMAPFLAG_USELUT;
    ASSERT_NO_FATAL_FAILURE(paint(b.get(), {3, 1, {3, 1, 0}}));
    ASSERT_EQ(SUCCESS, put(colors, b, {0, 0, 3, 1, 0, 0}, COMBINE_COPY));
    EXPECT_EQ((Picture{3, 1, {0x0A0B0C, 0x040506, 0x010203}}), read(colors.get()));
    b->LUTLength = 3;
    EXPECT_EQ(ERROR_INVALID_LUT_LENGTH, put(colors, b, {0, 0, 3, 1, 0, 0}, COMBINE_COPY));

    // Two meanings of black in one bit.
    TestBitmap white_first;
    TestBitmap black_first;
    const RGBQUAD inverted[] = {{255, 255, 255, 0}, {0, 0, 0, 0}};
    ASSERT_NO_FATAL_FAILURE(make_stored(white_first, Kind::conv, {4, 1, {0, 0, 1, 1}}, 1));
    ASSERT_NO_FATAL_FAILURE(make_stored(black_first, Kind::conv, {4, 1, {0, 1, 0, 1}}, 1));
    ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(white_first.get(), inverted, 2));
    ASSERT_EQ(SUCCESS, put(white_first, black_first, {0, 0, 4, 1, 0, 0}, COMBINE_OR));
    EXPECT_EQ((Picture{4, 1, {1, 0, 1, 1}}), read(white_first.get()));
    ASSERT_EQ(SUCCESS, put(white_first, black_first, {0, 0, 4, 1, 0, 0}, COMBINE_COPY | COMBINE_RAW));
    EXPECT_EQ((Picture{4, 1, {0, 1, 0, 1}}), read(white_first.get()));

    // Grays into a palette of all of them keep their level.
    TestBitmap ramp;
    ASSERT_EQ(SUCCESS, ramp.create(TYPE_CONV, 4, 1, 8, COLORORDER_GRAY));
    ASSERT_EQ(SUCCESS, put(ramp, white_first, {0, 0, 4, 1, 0, 0}, COMBINE_COPY));
    EXPECT_EQ((Picture{4, 1, {255, 0, 255, 0}}), read(ramp.get()));
}

// What the comparisons at every level rest on: the loops do all of a row that has a vector's bytes.
TEST(CombineBits, FastFormsAreTaken)
{
    const std::vector<uint8_t> from(400, 0x5A);
    std::vector<uint8_t> to(400);
    const combine::Logic logic(0x6);
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        const combine::BitLoops* const loops = combine::bit_loops_sets.best();
        EXPECT_EQ(at.reached >= kFirstWithLoops, loops != nullptr);
        for (const uint32_t shift : {0u, 3u})
            for (const combine::BitOrder order : {combine::BitOrder::high_first, combine::BitOrder::low_first})
                if (loops) {
                    EXPECT_EQ(99u, loops->logic_bytes(to.data(), from.data(), 99, shift, logic, order));
                }
    }
}

TEST(CombineBits, RectanglesOfEveryKind)
{
    TestRandom random(1306);
    SCOPED_TRACE(random);
    const int32_t odd[] = {INT32_MIN, INT32_MIN + 1, -70000,        -20,      -1, 0, 1, 19, 20,
                           21,        70000,         INT32_MAX - 1, INT32_MAX};
    const Picture to = Picture::noise(20, 20, 4, 1);
    const Picture from = Picture::noise(19, 18, 4, 2);
    TestBitmap a;
    TestBitmap b;
    ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, 4));
    ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, 4));
    for (int i = 0; i < 4000; ++i) {
        const auto any = [&] { return random.one_in(3) ? odd[random.below(std::size(odd))] : random.between(-25, 25); };
        const Place place{any(), any(), any(), any(), any(), any()};
        SCOPED_TRACE(place.text());
        ASSERT_NO_FATAL_FAILURE(paint(a.get(), to));
        ASSERT_EQ(SUCCESS, put(a, b, place, COMBINE_COPY));
        ASSERT_EQ(combined(to, from, place, [](uint64_t s, uint64_t) { return s; }), read(a.get()));
    }
}

TEST(CombineBits, RefusesWhatMakesNoSense)
{
    TestBitmap a;
    TestBitmap b;
    TestBitmap none;
    ASSERT_EQ(SUCCESS, a.create(TYPE_CONV, 8, 8, 8));
    ASSERT_EQ(SUCCESS, b.create(TYPE_CONV, 8, 8, 24));
    const Place place{0, 0, 8, 8, 0, 0};
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CombineBitmap(nullptr, 0, 0, 1, 1, b.get(), 0, 0, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CombineBitmap(a.get(), 0, 0, 1, 1, nullptr, 0, 0, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, put(a, none, place, 0));
    EXPECT_EQ(ERROR_INVALID_IMAGE, put(none, a, place, 0));
    for (const uint32_t flags : {COMBINE_MULTIPLY + 1, 0xFFu, 0x1000u, 0x80000000u, COMBINE_ADD | COMBINE_RAW})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, put(a, b, place, flags)) << flags;
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, put(a, b, place, COMBINE_COPY | COMBINE_RAW));
    b->ViewPerspective = 9;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, put(a, b, place, 0));
    b->ViewPerspective = TOP_LEFT;
    b->Order = COLORORDER_GRAY;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, put(a, b, place, 0));
    b->BytesPerLine = 4;
    EXPECT_EQ(ERROR_INVALID_WIDTH_HEIGHT, put(a, b, place, 0));
    b->BytesPerLine = 24;
}

TEST(CombineBits, StopsAndFailuresChangeNothing)
{
    TestRandom random(1307);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : {1, 8}) {
            if (!can_make(kind, bits))
                continue;
            SCOPED_TRACE(std::string(name_of(kind)) + ", bits " + std::to_string(bits));
            const NothingLost scope;
            const Picture to = Picture::noise(50, 40, bits, random.next());
            const Picture from = Picture::noise(50, 40, 8, random.next());
            TestBitmap a;
            TestBitmap b;
            ASSERT_NO_FATAL_FAILURE(make_stored(a, kind, to, bits));
            ASSERT_NO_FATAL_FAILURE(make_stored(b, kind == Kind::compressed ? Kind::conv : kind, from, 8));
            expect_stops(a.get(), 30, [&] { return put(a, b, {9, 5, 33, 30, 2, 1}, COMBINE_COPY); });
            ASSERT_NO_FATAL_FAILURE(paint(a.get(), to));
            expect_stops(a.get(), 30, [&] { return put(a, a, {9, 9, 33, 30, 2, 1}, COMBINE_XOR); });
            const Listener listener;
            ASSERT_NO_FATAL_FAILURE(paint(a.get(), to));
            expect_survives_faults(a.get(), kind == Kind::conv || kind == Kind::compressed, [&] {
                return put(a, b, {9, 5, 33, 30, 2, 1}, COMBINE_COPY);
            });
        }
}
