// The prepared look-ups: the exact one against the plain scan over the whole colour cube, and the nested tables.
#include "kernel/convert/Convert.h"
#include "kernel/convert/ExactLookup.h"
#include "kernel/convert/Fused.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/palette/Palette.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/Levels.h"
#include "tests/support/TestBitmap.h"

#include <memory>

namespace vk::testing {
namespace {

using pixel::Rgba8;
using Lookup = std::unique_ptr<ColorLookup, decltype(&pixel::destroy_exact_lookup)>;

#if defined(VKKRNX_TEST_SANITIZED)
constexpr uint32_t kStep = 61; // instrumented, the plain scan is too slow for every colour
#else
constexpr uint32_t kStep = 1;
#endif

Rgba8 color_at(uint32_t i)
{
    return {static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i >> 16), 0};
}

/// Compares every step-th colour, row by row as the converter asks.
void expect_exact(const Palette& palette, uint64_t pixels, uint32_t step)
{
    const auto count = static_cast<uint32_t>(palette.size());
    const Lookup lookup(pixel::create_exact_lookup(palette.data(), count, pixels), pixel::destroy_exact_lookup);
    ASSERT_NE(nullptr, lookup);
    Rgba8 colors[256];
    uint8_t indices[256];
    for (uint32_t at = 0; at < 1u << 24; at += 256 * step) {
        for (uint32_t i = 0; i < 256; ++i)
            colors[i] = color_at((at + i * step) & 0xFFFFFF);
        lookup->match(lookup.get(), colors, indices, 256);
        for (uint32_t i = 0; i < 256; ++i) {
            const Rgba8 c = colors[i];
            ASSERT_EQ(find_palette_index(palette.data(), count, c.r, c.g, c.b), indices[i])
                << count << " entries, colour " << int{c.r} << ' ' << int{c.g} << ' ' << int{c.b};
        }
    }
}

Palette fixed(int32_t bits)
{
    return {fixed_palette(bits), fixed_palette(bits) + (size_t{1} << bits)};
}

/// Entries with few levels: many duplicates, many ties, and white and black in the middle.
Palette clustered(uint64_t seed, size_t count, uint32_t levels)
{
    TestRandom random(seed);
    Palette palette(count);
    for (RGBQUAD& e : palette) {
        const auto level = [&] { return static_cast<uint8_t>(random.below(levels) * 255 / (levels - 1)); };
        e = {level(), level(), level(), 0};
    }
    return palette;
}

TEST(ExactLookup, IsTheScanForEveryColor)
{
    expect_exact(clustered(1, 61, 3), 1u << 24, kStep);
    expect_exact(clustered(2, 256, 256), 1u << 24, 5 * kStep);
    expect_exact(fixed(4), 1u << 24, kStep);
    expect_exact({{7, 7, 7, 0}}, 1u << 24, kStep);
    for (const simd::Level level : kLevels) { // two entries with many colours as near to the one as to the other
        const AtLevel at(level);
        expect_exact({{9, 200, 31, 0}, {10, 200, 30, 0}}, 1, 7 * kStep);
        expect_exact({{255, 255, 255, 0}, {0, 0, 0, 0}}, 1, 97 * kStep);
        expect_exact({{4, 4, 4, 0}, {4, 4, 4, 0}}, 1, 997 * kStep);
    }
}

TEST(ExactLookup, IsTheScanForManyPalettes)
{
    for (int32_t bits = 1; bits <= 8; ++bits)
        expect_exact(fixed(bits), 1u << 24, 97 * kStep);
    expect_exact({gray_levels(), gray_levels() + 256}, 1u << 24, 97 * kStep);
    expect_exact({netscape_palette(), netscape_palette() + 256}, 1u << 24, 97 * kStep);
    for (uint32_t i = 0; i < 40; ++i)
        expect_exact(clustered(10 + i, 1 + i * 6, 2 + i % 7), 1u << 24, 599 * kStep);
}

TEST(ExactLookup, IsTheScanWhenItsMemoryIsUsedUp)
{
    expect_exact(clustered(3, 200, 256), 1, 97 * kStep);
    expect_exact({{255, 255, 255, 0}, {1, 2, 3, 0}, {0, 0, 0, 0}, {255, 255, 255, 0}}, 1, 97 * kStep);
}

/// The wide loop, where this processor has it, is another one than the plain loop and gives the same.
TEST(ExactLookup, IsTheScanInThePlainLoopToo)
{
    for (const int32_t bits : {3, 8}) {
        const Palette palette = fixed(bits);
        const auto count = static_cast<uint32_t>(palette.size());
        const Lookup wide(pixel::create_exact_lookup(palette.data(), count, 1), pixel::destroy_exact_lookup);
        const bool is_wide = pixel::match_known_loop_sets.best() != nullptr;
        EXPECT_EQ(is_wide, pixel::scan_all_sets.best() != nullptr);
        const AtLevel at(simd::Level::base);
        const Lookup plain(pixel::create_exact_lookup(palette.data(), count, 1), pixel::destroy_exact_lookup);
        EXPECT_EQ(is_wide, wide->match != plain->match);
    }
    const AtLevel at(simd::Level::base);
    expect_exact(clustered(4, 250, 16), 1u << 24, 31 * kStep);
    expect_exact(clustered(5, 250, 256), 1, 97 * kStep);
}

TEST(ExactLookup, ComesBackEmptyWithoutMemory)
{
    for_each_fault([] {
        const Palette palette = fixed(3);
        pixel::destroy_exact_lookup(pixel::create_exact_lookup(palette.data(), 8, 1000));
    });
}

TEST(ColorLookup, NestedTablesAnswerAtEveryLevel)
{
    std::vector<uint32_t> by_red(256, 5);
    by_red[9] = 0xFFFFFFFFu;
    std::vector<uint64_t> by_green(256, 4), by_blue(256, 3);
    by_green[1] = reinterpret_cast<uintptr_t>(by_red.data());
    by_green[2] = ~uint64_t{0};
    by_blue[1] = reinterpret_cast<uintptr_t>(by_green.data());
    by_blue[2] = ~uint64_t{0};
    const pixel::LevelLookup lookup = pixel::make_level_lookup(by_blue.data());
    // blue, green, red
    uint8_t pixels[] = {0, 0, 0, 2, 0, 0, 1, 0, 0, 1, 2, 0, 1, 1, 0, 1, 1, 9};
    ConvertJob job;
    job.width = 6;
    job.src_bits = 24;
    job.dst_bits = 8;
    job.src_order = COLORORDER_BGR;
    job.lookup = &lookup.base;
    ASSERT_EQ(SUCCESS, convert_buffer(pixels, job));
    EXPECT_EQ((std::vector<uint8_t>{3, 255, 4, 255, 5, 255}), std::vector<uint8_t>(pixels, pixels + 6));
}

} // namespace
} // namespace vk::testing
