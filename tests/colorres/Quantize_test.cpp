// Optimized palettes: exact when they can be, near the best when they cannot, and the same however pixels arrive.
#include "kernel/colorres/Quantize.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

#include "Vkkrnx.h"

#include <map>
#include <set>

using namespace vk::testing;
using vk::quantize::Quantizer;

namespace {

using Colors = std::vector<uint32_t>; ///< blue, green, red; the fourth byte does not count

struct Made {
    Palette entries = Palette(256);
    bool is_exact = false;
};

Made make(const Colors& pixels, uint32_t colors, size_t piece = 1000)
{
    Quantizer quantizer(colors);
    for (size_t at = 0; at < pixels.size(); at += piece)
        EXPECT_TRUE(quantizer.add(reinterpret_cast<const uint8_t*>(&pixels[at]), std::min(piece, pixels.size() - at)));
    Made made;
    uint32_t count = 0;
    EXPECT_TRUE(quantizer.make(made.entries.data(), &count, &made.is_exact));
    made.entries.resize(count);
    EXPECT_LE(count, colors);
    return made;
}

int32_t channel(uint32_t color, int shift)
{
    return static_cast<int32_t>(color >> shift & 0xFF);
}

/// Sum of squared distances to the nearest entries.
double error_of(const Colors& pixels, const Palette& entries)
{
    double sum = 0;
    for (const uint32_t pixel : pixels) {
        int32_t best = INT32_MAX;
        for (const RGBQUAD& entry : entries) {
            const int32_t b = channel(pixel, 0) - entry.rgbBlue, g = channel(pixel, 8) - entry.rgbGreen,
                          r = channel(pixel, 16) - entry.rgbRed;
            best = std::min(best, b * b + g * g + r * r);
        }
        sum += best;
    }
    return sum;
}

/// Pixels around places, up to `spread` off in each channel.
Colors around(TestRandom& random, const Colors& places, int32_t spread, size_t count)
{
    Colors pixels(count);
    for (uint32_t& pixel : pixels) {
        // The first places come up more often than the last.
        const uint32_t place = places[std::min(random.below(places.size()), random.below(places.size() + 1))];
        pixel = static_cast<uint32_t>(random.next()) & 0xFF000000u;
        for (const int shift : {0, 8, 16})
            pixel |= static_cast<uint32_t>(std::clamp(channel(place, shift) + random.between(-spread, spread), 0, 255))
                     << shift;
    }
    return pixels;
}

Colors clusters(TestRandom& random, uint32_t centers, int32_t spread, size_t count)
{
    Colors places(centers);
    for (uint32_t& place : places)
        place = static_cast<uint32_t>(random.next() & 0xFFFFFF);
    return around(random, places, spread, count);
}

} // namespace

TEST(Quantize, FewColorsAreKeptExactly)
{
    TestRandom random(51);
    SCOPED_TRACE(random);
    for (const uint32_t limit : {2u, 3u, 16u, 100u, 256u})
        for (uint32_t there = 1; there <= limit + 1; there += there < 4 || there >= limit ? 1 : limit - there) {
            std::set<uint32_t> colors, kept;
            while (colors.size() < there)
                colors.insert(static_cast<uint32_t>(random.next() & 0xFFFFFF));
            Colors pixels;
            for (int turn = 0; turn < 3; ++turn)
                pixels.insert(pixels.end(), colors.begin(), colors.end());
            const Made made = make(pixels, limit, 7);
            EXPECT_EQ(there <= limit, made.is_exact) << there << " of " << limit;
            for (const RGBQUAD& entry : made.entries)
                kept.insert(entry.rgbBlue | uint32_t{entry.rgbGreen} << 8 | uint32_t{entry.rgbRed} << 16);
            EXPECT_TRUE(!made.is_exact || colors == kept);
        }
}

TEST(Quantize, FindsClusters)
{
    TestRandom random(52);
    SCOPED_TRACE(random);
    for (const uint32_t colors : {2u, 5u, 16u, 64u, 256u}) {
        const Colors pixels = clusters(random, colors, 3, 20000);
        const Made made = make(pixels, colors);
        EXPECT_FALSE(made.is_exact);
        // Three channels, each uniform from -3 to 3: a variance of 4 each. More clusters may share entries.
        const double mean = error_of(pixels, made.entries) / static_cast<double>(pixels.size());
        EXPECT_LT(mean, colors <= 16 ? 13.0 : 30.0) << colors;
    }
    // Clusters far apart along one axis or a diagonal: the entries are their means.
    for (const uint32_t axis : {0x000001u, 0x000100u, 0x010000u, 0x010101u})
        for (const int32_t spread : {2, 9}) {
            const uint32_t base = 0x303030u & ~(axis * 0xFF);
            const Colors pixels = around(
                random, {base + 20 * axis, base + 75 * axis, base + 150 * axis, base + 240 * axis}, spread, 5000);
            const Made made = make(pixels, 4);
            ASSERT_EQ(4u, made.entries.size());
            std::map<size_t, std::array<double, 4>> sums; // by the nearest entry
            for (const uint32_t pixel : pixels) {
                size_t best = 0;
                for (size_t i = 1; i < 4; ++i)
                    if (error_of({pixel}, {made.entries[i]}) < error_of({pixel}, {made.entries[best]}))
                        best = i;
                for (size_t c = 0; c < 3; ++c)
                    sums[best][c] += channel(pixel, static_cast<int>(8 * c));
                sums[best][3] += 1;
            }
            ASSERT_EQ(4u, sums.size());
            for (const auto& [i, sum] : sums) {
                EXPECT_NEAR(sum[0] / sum[3], made.entries[i].rgbBlue, 0.6) << std::hex << axis;
                EXPECT_NEAR(sum[1] / sum[3], made.entries[i].rgbGreen, 0.6) << std::hex << axis;
                EXPECT_NEAR(sum[2] / sum[3], made.entries[i].rgbRed, 0.6) << std::hex << axis;
            }
        }
}

TEST(Quantize, EveryEntryIsTheMeanOfItsPixels)
{
    TestRandom random(53);
    SCOPED_TRACE(random);
    const Colors pixels = clusters(random, 40, 60, 30000);
    for (const uint32_t colors : {4u, 16u, 200u}) {
        const Made made = make(pixels, colors);
        const double error = error_of(pixels, made.entries);
        // No small move of any entry helps by more than a trifle.
        for (size_t i = 0; i < made.entries.size(); i += colors / 4)
            for (const int step : {-6, 6}) {
                Palette moved = made.entries;
                moved[i].rgbGreen = static_cast<uint8_t>(std::clamp(moved[i].rgbGreen + step, 0, 255));
                EXPECT_GT(error_of(pixels, moved), error * 0.995);
            }
        const int32_t bits = colors == 4 ? 2 : colors == 16 ? 4 : 7;
        const RGBQUAD* const fixed = V_IntGetFixedPalette(bits);
        EXPECT_LT(error, error_of(pixels, Palette(fixed, fixed + (size_t{1} << bits))) * 0.6);
    }
}

TEST(Quantize, PiecesDoNotMatterAndEntriesAreSorted)
{
    TestRandom random(54);
    SCOPED_TRACE(random);
    const Colors pixels = clusters(random, 9, 30, 5000);
    const Made first = make(pixels, 50, 5000);
    for (const size_t piece : {1u, 3u, 777u}) {
        const Made made = make(pixels, 50, piece);
        ASSERT_EQ(first.entries.size(), made.entries.size());
        EXPECT_EQ(0, std::memcmp(first.entries.data(), made.entries.data(), made.entries.size() * sizeof(RGBQUAD)));
    }
    EXPECT_TRUE(std::is_sorted(first.entries.begin(), first.entries.end(), [](const RGBQUAD& a, const RGBQUAD& b) {
        return 5 * a.rgbGreen + 2 * a.rgbRed + a.rgbBlue < 5 * b.rgbGreen + 2 * b.rgbRed + b.rgbBlue;
    }));
}

TEST(Quantize, WithoutMemory)
{
    TestRandom random(56);
    const Colors pixels = clusters(random, 9, 30, 500);
    for_each_fault([&] {
        Quantizer quantizer(4);
        RGBQUAD entries[256];
        uint32_t count = 0;
        bool is_exact = false;
        if (quantizer.add(reinterpret_cast<const uint8_t*>(pixels.data()), pixels.size()))
            quantizer.make(entries, &count, &is_exact);
    });
}
