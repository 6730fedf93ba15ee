// The buffer converter: literal bytes for every packing, the rules with examples of their own, and agreement with the
// slow reference for every pair of formats under random flags, ranges, palettes and widths, between guard pages.
#include "kernel/convert/Convert.h"
#include "kernel/convert/Format.h"
#include "kernel/convert/Steps.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestBitmap.h"

#include "Vkkrnx.h"

namespace vk::testing {
namespace {

using reference::Conversion;

constexpr int32_t kRgb = COLORORDER_RGB, kBgr = COLORORDER_BGR, kGray = COLORORDER_GRAY, kRomm = COLORORDER_ROMM,
                  k565 = COLORORDER_RGB565;

size_t packed(int32_t width, int32_t bits)
{
    return packed_bytes_of(width, bits == 0 ? 8 : bits);
}

template <class T> const T* or_null(const std::vector<T>& v)
{
    return v.empty() ? nullptr : v.data();
}

ConvertJob job_of(const Conversion& c)
{
    ConvertJob job;
    job.width = c.width;
    job.src_bits = c.src_bits;
    job.dst_bits = c.dst_bits;
    job.src_order = c.src_order;
    job.dst_order = c.dst_order;
    job.src_palette = or_null(c.src_palette);
    job.dst_palette = or_null(c.dst_palette);
    job.src_palette16 = or_null(c.src_palette16);
    job.flags = c.flags;
    job.low_bit = c.low_bit;
    job.high_bit = c.high_bit;
    job.transparent = c.transparent;
    return job;
}

std::string describe(const Conversion& c)
{
    return say(c.width, "pixels,", c.src_bits, "bits order", c.src_order, "to", c.dst_bits, "bits order", c.dst_order,
               "flags", c.flags, "range", c.low_bit, c.high_bit, "transparent", c.transparent, "palettes of",
               c.src_palette.size(), c.dst_palette.size(), c.src_palette16.size());
}

/// Converts bytes with the plain exported entry.
Bytes converted(Bytes pixels, int32_t width, int32_t src_bits, int32_t src_order, int32_t dst_bits, int32_t dst_order,
                uint32_t flags = 0, int32_t low = -1, int32_t high = -1, COLORREF transparent = 0)
{
    pixels.resize(std::max(packed(width, src_bits), packed(width, dst_bits)));
    EXPECT_EQ(SUCCESS, V_ConvertBufferExt3(pixels.data(), width, src_bits, dst_bits, src_order, dst_order, nullptr,
                                           nullptr, nullptr, nullptr, flags, low, high, transparent));
    pixels.resize(packed(width, dst_bits));
    return pixels;
}

struct Example {
    const char* what;
    int32_t width, src_bits, src_order, dst_bits, dst_order;
    Bytes src, dst;
    bool both_ways = false;
};

TEST(Convert, ReadsAndWritesEveryPacking)
{
    const Example examples[] = {
        {"1 bit", 9, 1, kRgb, 0, kRgb, {0xB0, 0x80}, {255, 0, 255, 255, 0, 0, 0, 0, 255}, true},
        {"2 bits", 5, 2, kRgb, 0, kRgb, {0x1B, 0x40}, {0, 85, 170, 255, 85}, true},
        {"3 bits", 3, 3, kGray, 24, kBgr, {0x2A, 0x00}, {255, 0, 0, 0, 255, 0, 0, 0, 255}, true},
        {"4 bits", 3, 4, kRgb, 24, kRgb, {0x17, 0xF0}, {128, 0, 0, 128, 128, 128, 255, 255, 255}, true},
        {"5 bits", 2, 5, kRgb, 24, kRgb, {0x40, 0x40}, {85, 0, 0, 0, 0, 255}, true},
        {"6 bits", 2, 6, kRgb, 24, kRgb, {0x40, 0x10}, {85, 0, 0, 0, 0, 85}, true},
        {"7 bits", 2, 7, kRgb, 24, kRgb, {0x40, 0x10}, {85, 0, 0, 0, 36, 0}, true},
        {"8 bits", 2, 8, kRgb, 24, kRgb, {32, 3}, {36, 0, 0, 0, 0, 255}, true},
        {"8 bits gray", 2, 8, kGray, 24, kRgb, {32, 3}, {32, 32, 32, 3, 3, 3}, true},
        {"12 bits", 2, 12, kGray, 16, kGray, {0x23, 0x61, 0x45}, {0x31, 0x12, 0x64, 0x45}, true},
        {"12 bits, odd", 1, 12, kGray, 16, kGray, {0x23, 0x01}, {0x31, 0x12}, true},
        {"5-5-5, red high", 1, 24, kBgr, 16, kBgr, {8, 16, 24}, {0x41, 0x0C}},
        {"5-5-5, blue high", 1, 24, kBgr, 16, kRgb, {8, 16, 24}, {0x43, 0x04}},
        {"5-6-5", 1, 24, kBgr, 16, k565, {8, 16, 24}, {0x81, 0x18}},
        {"5-6-5 read", 1, 16, k565, 24, kBgr, {0x21, 0x84}, {8, 134, 132}, true},
        {"5-5-5 to 16-bit channels", 1, 16, kBgr, 48, kBgr, {0x00, 0x40}, {0, 0, 0, 0, 132, 132}},
        {"24 to 32", 2, 24, kBgr, 32, kRgb, {1, 2, 3, 4, 5, 6}, {3, 2, 1, 255, 6, 5, 4, 255}, true},
        {"32 to 64", 1, 32, kBgr, 64, kRgb, {1, 2, 3, 4}, {3, 3, 2, 2, 1, 1, 4, 4}, true},
        {"48 to 24", 1, 48, kBgr, 24, kBgr, {0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A}, {0x12, 0x56, 0x9A}},
        {"gray of 32 bits", 1, 0, kRgb, 32, kGray, {0x80}, {0x80, 0x80, 0x80, 0x80}, true},
        {"gray of 12 bits", 1, 0, kRgb, 12, kGray, {128}, {0x07, 0x08}, true},
        {"same format", 2, 24, kBgr, 24, kBgr, {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
        {"exchange", 2, 24, kRgb, 24, kBgr, {1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}, true},
        {"gray of red", 1, 24, kRgb, 0, kRgb, {255, 0, 0}, {64}},
        {"gray of green", 1, 24, kRgb, 8, kGray, {0, 255, 0}, {159}},
        {"gray of blue", 1, 24, kRgb, 0, kRgb, {0, 0, 255}, {32}},
        {"gray by 16-bit values", 1, 48, kBgr, 16, kGray, {0, 1, 0, 1, 0, 3}, {0x80, 0x01}},
        {"white to 48", 1, 24, kRgb, 48, kBgr, {255, 255, 255}, {255, 255, 255, 255, 255, 255}, true},
        {"white to wide gamut", 1, 24, kBgr, 24, kRomm, {255, 255, 255}, {255, 255, 255}, true},
        {"red to wide gamut", 1, 24, kRgb, 24, kRomm, {255, 0, 0}, {5, 23, 133}},
        {"wide gamut clamps", 1, 24, kRomm, 24, kBgr, {0, 255, 0}, {0, 255, 0}},
        {"wide gamut saturates", 1, 48, kRgb, 48, kRomm, Bytes(6, 255), Bytes(6, 255)},
    };
    for (const Example& e : examples) {
        SCOPED_TRACE(e.what);
        EXPECT_EQ(e.dst, converted(e.src, e.width, e.src_bits, e.src_order, e.dst_bits, e.dst_order));
        if (e.both_ways) {
            EXPECT_EQ(e.src, converted(e.dst, e.width, e.dst_bits, e.dst_order, e.src_bits, e.src_order));
        }
    }
}

TEST(Convert, KeepsSignificantBits)
{
    // Destination ranges: 4 bits from bit 8 on, 10 bits, and a full one that is none.
    EXPECT_EQ((Bytes{0x00, 0x09}), converted({0x9F}, 1, 0, kRgb, 16, kGray, CVT_DST_USE_BITS, 8, 11));
    EXPECT_EQ((Bytes{0xFF, 0x03}), converted({0xFF}, 1, 0, kRgb, 16, kGray, CVT_DST_USE_BITS, 0, 9));
    EXPECT_EQ((Bytes{0xFF, 0xFF}), converted({0xFF}, 1, 0, kRgb, 16, kGray, CVT_DST_USE_BITS, 0, 15));
    EXPECT_EQ((Bytes{0xF0, 0x0F}), converted({0xFF}, 1, 0, kRgb, 12, kGray, CVT_DST_USE_BITS, 4, -1));
    // Source ranges: what lies outside does not count, narrow ones repeat their bits.
    EXPECT_EQ((Bytes{0x99}), converted({0x09, 0xF0}, 1, 16, kGray, 0, kRgb, CVT_SRC_USE_BITS, 0, 3));
    EXPECT_EQ((Bytes{0x99, 0x99}), converted({0x09, 0xF0}, 1, 16, kGray, 16, kGray, CVT_SRC_USE_BITS, 0, 3));
    EXPECT_EQ((Bytes{0xAA}), converted({0xEB}, 1, 8, kGray, 8, kGray, CVT_SRC_USE_BITS, 2, 3));
}

TEST(Convert, MarksTheTransparentColor)
{
    constexpr uint32_t kFlag = CVT_TRANSPARENT_COLOR;
    const Bytes two = {1, 2, 3, 3, 2, 1}; // red 1 green 2 blue 3 is 0x030201
    EXPECT_EQ((Bytes{1, 2, 3, 0, 3, 2, 1, 255}), converted(two, 2, 24, kRgb, 32, kRgb, kFlag, -1, -1, 0x030201));
    EXPECT_EQ((Bytes{1, 2, 3, 0, 9, 9, 9, 255}),
              converted({1, 2, 3, 7, 9, 9, 9, 0}, 2, 32, kRgb, 32, kRgb, kFlag, -1, -1, 0x030201));
    EXPECT_EQ((Bytes{7, 1, 8, 2, 9, 3, 0, 0}),
              converted({7, 1, 8, 2, 9, 3}, 1, 48, kRgb, 64, kRgb, kFlag, -1, -1, 0x030201));
    // By index: indexed sources only, and only that index.
    EXPECT_EQ((Bytes{0, 0, 0, 255, 255, 255, 255, 0}),
              converted({0x40}, 2, 1, kRgb, 32, kRgb, kFlag, -1, -1, 0x01000001));
    EXPECT_EQ((Bytes{1, 1, 1, 255}), converted({1}, 1, 0, kRgb, 32, kRgb, kFlag, -1, -1, 0x01000001));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), converted({0x00}, 1, 1, kRgb, 32, kRgb, kFlag, -1, -1, 0x000000));
}

TEST(Convert, MatchesDeepPaletteEntries)
{
    std::vector<V_RGBQUAD16> deep(4096, V_RGBQUAD16{0, 0, 0xFFFF, 0});
    deep[0x123] = {0, 0xFF80, 0, 0};
    Bytes pixels = {0x23, 0x61, 0x45};
    ASSERT_EQ(SUCCESS, V_ConvertBufferExt2(pixels.data(), 2, 12, 4, kGray, kRgb, nullptr, nullptr, deep.data(),
                                           pixels.data(), 0, -1, -1));
    EXPECT_EQ(0xA9, pixels[0]) << "green, red";
    // The significant bits index it.
    Bytes word = {0x30, 0x12};
    ASSERT_EQ(SUCCESS, V_ConvertBufferExt2(word.data(), 1, 16, 8, kGray, kRgb, nullptr, nullptr, deep.data(), nullptr,
                                           CVT_SRC_USE_BITS, 4, 15));
    EXPECT_EQ(28, word[0]);
}

/// Every combination of depth and order, also ones there are not.
TEST(Convert, TakesExactlyTheFormatsThereAre)
{
    Bytes pixels(16), before(16, 0x5A);
    for (int32_t src_bits = -1; src_bits <= 65; ++src_bits)
        for (int32_t dst_bits = -1; dst_bits <= 65; ++dst_bits)
            for (int32_t orders = 0; orders < 100; ++orders) {
                Conversion c;
                c.width = 1;
                c.src_bits = src_bits;
                c.dst_bits = dst_bits;
                c.src_order = orders / 10 - 1;
                c.dst_order = orders % 10 - 1;
                pixels = before;
                const bool taken = convert_buffer(pixels.data(), job_of(c)) == SUCCESS;
                ASSERT_EQ(reference::accepted(c), taken) << describe(c);
                ASSERT_TRUE(taken || pixels == before) << describe(c);
            }
}

TEST(Convert, RefusesWhatContradictsItself)
{
    Bytes pixels(64, 1);
    const auto result = [&](void* buffer, int32_t width, int32_t src_bits, int32_t src_order, int32_t dst_bits,
                            int32_t dst_order, uint32_t flags, int32_t low, int32_t high) {
        return V_ConvertBufferExt(buffer, width, src_bits, dst_bits, src_order, dst_order, nullptr, nullptr, flags, low,
                                  high);
    };
    constexpr uint32_t kSrc = CVT_SRC_USE_BITS, kDst = CVT_DST_USE_BITS;
    uint8_t* const p = pixels.data();
    expect_each(ERROR_INVALID_PARAMETER,
                {result(nullptr, 1, 24, kRgb, 24, kRgb, 0, -1, -1), result(p, 0, 24, kRgb, 24, kRgb, 0, -1, -1),
                 result(p, -1, 24, kRgb, 24, kRgb, 0, -1, -1), result(p, 1, 16, kGray, 16, kGray, kSrc | kDst, 0, 15),
                 result(p, 1, 16, kGray, 24, kRgb, kDst, 0, 7), result(p, 1, 24, kRgb, 16, kGray, kDst, 9, 8),
                 V_ConvertBuffer(p, 1, 24, 12, kRgb, kRgb, nullptr, nullptr)});
    expect_each(SUCCESS, {result(p, 1, 24, kRgb, 16, kGray, kSrc | kDst, 0, 7),   // no gray source
                          result(p, 1, 24, kRgb, 16, kGray, kDst, 2, 2000000000), // beyond the sample
                          result(p, 1, 32, kGray, 16, kGray, kSrc, 40, 50)});
}

// Against the reference.

Palette random_palette(TestRandom& random, int32_t bits)
{
    Palette palette;
    if (bits < 1 || bits > 8 || random.one_in(3))
        return palette;
    // Few levels make duplicates and ties common.
    const uint32_t mask = random.one_in(2) ? 0xFFFFFFFFu : 0xC0C0C0C0u;
    for (int32_t i = 0; i < 1 << bits; ++i) {
        const auto color = static_cast<uint32_t>(random.next()) & mask;
        palette.push_back({static_cast<uint8_t>(color), static_cast<uint8_t>(color >> 8),
                           static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 24)});
    }
    return palette;
}

int32_t random_width(TestRandom& random)
{
    const int32_t edges[] = {1, 7, 8, 9, 255, 256, 257, 264};
    return random.one_in(4) ? edges[random.below(8)] : random.between(1, 300);
}

Conversion random_conversion(TestRandom& random, const pixel::Format& src, const pixel::Format& dst)
{
    Conversion c;
    c.width = random_width(random);
    c.src_bits = src.bits;
    c.dst_bits = dst.bits;
    c.src_order = src.order == pixel::kAnyOrder ? kBgr : src.order;
    c.dst_order = dst.order == pixel::kAnyOrder ? kRgb : dst.order;
    c.src_palette = random_palette(random, src.bits);
    c.dst_palette = random_palette(random, dst.bits);
    c.flags = static_cast<uint32_t>(random.below(4)) | (random.one_in(3) ? CVT_TRANSPARENT_COLOR : 0u);
    if (random.one_in(2)) {
        c.flags |= random.one_in(2) ? CVT_SRC_USE_BITS : CVT_DST_USE_BITS;
        c.low_bit = random.between(-1, 12);
        c.high_bit = random.one_in(4) ? -1 : random.between(0, 34);
    }
    if (random.one_in(2) && (src.bits == 12 || src.bits == 16) && src.deep_gray()) {
        c.src_palette16.resize(65536);
        random.fill(c.src_palette16.data(), c.src_palette16.size() * sizeof(V_RGBQUAD16));
    }
    return c;
}

/// Pixels with runs of equal ones, and one of them as the transparent colour.
Bytes random_pixels(TestRandom& random, Conversion& c)
{
    Bytes pixels(packed(c.width, c.src_bits));
    random.fill(pixels.data(), pixels.size());
    if (random.one_in(4))
        std::fill(pixels.begin(), pixels.end(), random.one_in(2) ? uint8_t{0} : uint8_t{255});
    c.transparent = random.one_in(4) ? 0x01000000u | static_cast<uint32_t>(random.below(256)) : 0;
    if (c.transparent == 0 && pixels.size() >= 6) {
        const size_t step = c.src_bits >= 48 ? 2 : 1;
        c.transparent = pixels[step - 1] | static_cast<uint32_t>(pixels[2 * step - 1]) << 8 |
                        static_cast<uint32_t>(pixels[3 * step - 1]) << 16;
    }
    return pixels;
}

/// The reference's answer against both entries of the library, without a byte touched outside.
void expect_agreement(const Conversion& c, const Bytes& src, GuardedBuffer& buffer, GuardedBuffer& target,
                      GuardedBuffer::Edge edge)
{
    const Bytes expected = reference::convert(c, src);
    buffer.place(std::max(src.size(), expected.size()), edge);
    std::memcpy(buffer.data(), src.data(), src.size());
    ASSERT_EQ(SUCCESS, convert_buffer(buffer.data(), job_of(c)));
    Bytes actual(buffer.data(), buffer.data() + expected.size());
    ASSERT_EQ(expected, actual) << "in place";

    buffer.place(src.size(), edge);
    std::memcpy(buffer.data(), src.data(), src.size());
    target.place(expected.size(), edge);
    const size_t rows = c.width > 290 ? 20 : 1; // of so many pixels a plan knows all indices in the end
    ASSERT_EQ(SUCCESS, convert_rows({buffer.data(), 0}, {target.data(), 0}, rows, job_of(c)));
    actual.assign(target.data(), target.data() + expected.size());
    ASSERT_EQ(expected, actual) << "out of place";
}

void compare_pairs(uint64_t seed, int rounds)
{
    size_t count = 0;
    const pixel::Format* formats = pixel::formats(&count);
    GuardedBuffer buffer(4096, GuardedBuffer::Edge::front), target(4096, GuardedBuffer::Edge::front);
    TestRandom random(seed);
    SCOPED_TRACE(random);
    for (size_t pair = 0; pair < count * count; ++pair)
        for (int round = 0; round < rounds; ++round) {
            Conversion c = random_conversion(random, formats[pair / count], formats[pair % count]);
            const Bytes src = random_pixels(random, c);
            SCOPED_TRACE(describe(c));
            if (!reference::accepted(c)) {
                ASSERT_EQ(ERROR_INVALID_PARAMETER, convert_buffer(Bytes(4096).data(), job_of(c)));
                continue;
            }
            expect_agreement(c, src, buffer, target,
                             round % 2 ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back);
            if (::testing::Test::HasFatalFailure())
                return;
        }
}

TEST(Convert, AgreesWithTheReferenceForEveryPair)
{
    for (const simd::Level level : kLevels) {
        SCOPED_TRACE(static_cast<int>(level));
        const AtLevel at(level);
        ASSERT_EQ(at.reached >= kFirstWithLoops, pixel::step_loops_sets.best() != nullptr);
        compare_pairs(20240601 + static_cast<uint64_t>(level), at.reached == level ? 16 : 1);
    }
}

TEST(Convert, WritesRowsAtTheirStridesOnly)
{
    const Bytes src = {1, 2, 3, 0xEE, 4, 5, 6, 0xEE};
    Bytes dst(12, 0xCC);
    ConvertJob job;
    job.width = 1;
    job.src_bits = 24;
    job.dst_bits = 32;
    ASSERT_EQ(SUCCESS, convert_rows({src.data(), 4}, {dst.data(), 6}, 2, job));
    EXPECT_EQ((Bytes{1, 2, 3, 255, 0xCC, 0xCC, 4, 5, 6, 255, 0xCC, 0xCC}), dst);
    expect_each(ERROR_INVALID_PARAMETER, {convert_rows({nullptr, 4}, {dst.data(), 6}, 2, job),
                                          convert_rows({src.data(), 4}, {nullptr, 6}, 2, job)});
}

TEST(Convert, CalculatesBufferSizes)
{
    EXPECT_EQ(32, V_CalcConvertSize(10, 1, 10, 24));
    EXPECT_EQ(12, V_CalcConvertSize(10, 0, 4, 1)) << "0 bits count as 8";
    EXPECT_EQ(400, V_CalcConvertSize(10, 32, 100, 8)) << "the destination's width at the source's depth";
    EXPECT_EQ(0, V_CalcConvertSize(0, 8, 0, 8));
    expect_each(ERROR_INVALID_PARAMETER, {V_CalcConvertSize(-1, 8, 1, 8), V_CalcConvertSize(1, 8, 1, -8),
                                          V_CalcConvertSize(1, 1, 0x7FFFFFFF, 64)});
}

TEST(Convert, PadsSamplesIntoTheirMargins)
{
    struct Case {
        int32_t high, low, margin;
        uint16_t before, after;
    };
    const Case cases[] = {
        {11, 0, 10, 0x0000, 0x0000},  {11, 0, 10, 0xFFFF, 0xFFF5},  {11, 0, 10, 0xFFF5, 0xFFF5},
        {11, 4, 10, 0xF00F, 0xF0AF},  {11, 4, 10, 0x0FF3, 0x0FF3},  {11, 4, 10, 0x0FF0, 0x0FF0},
        {5, 2, 9, 0x00FF, 0x00FB},    {15, 4, 300, 0xFFFF, 0xFFFF}, {15, 4, 300, 0x0003, 0x12C3},
        {15, 0, 100, 0x0000, 0x0000}, {20, 5, 100, 0x0003, 0x0002}, {-3, 9, 1, 0x0001, 0x0001},
        {7, 0, 0, 0x00FF, 0x00FF},    {7, 0, -5, 0x00FF, 0x00FF},
    };
    for (const Case& c : cases) {
        uint16_t samples[2] = {c.before, c.before};
        EXPECT_EQ(SUCCESS, V_PadPixelData(samples, 16, 1, c.high, c.low, c.margin));
        EXPECT_EQ(c.after, samples[0]) << c.high << ' ' << c.low << ' ' << c.margin << ' ' << c.before;
        EXPECT_EQ(c.before, samples[1]);
    }
    uint16_t sample = 0;
    expect_each(ERROR_INVALID_PARAMETER,
                {V_PadPixelData(nullptr, 16, 1, 7, 0, 1), V_PadPixelData(&sample, 12, 1, 7, 0, 1)});
}

} // namespace
} // namespace vk::testing
