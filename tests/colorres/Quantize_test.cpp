// Optimized palettes: exact when they can be, near the best when they cannot, and the same however pixels arrive.
#include "kernel/colorres/Quantize.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestRandom.h"

#include "Vkkrnx.h"

#include <cstring>
#include <set>
#include <vector>

using namespace vk::testing;
using vk::quantize::Quantizer;

namespace {

struct Made {
    std::vector<RGBQUAD> entries;
    bool is_exact = false;
};

Made make(const std::vector<uint32_t>& pixels, uint32_t colors, size_t piece = 1000)
{
    Quantizer quantizer(colors);
    const auto* bytes = reinterpret_cast<const uint8_t*>(pixels.data());
    for (size_t at = 0; at < pixels.size(); at += piece)
        EXPECT_TRUE(quantizer.add(bytes + 4 * at, std::min(piece, pixels.size() - at)));
    Made made;
    made.entries.resize(256);
    uint32_t count = 0;
    EXPECT_TRUE(quantizer.make(made.entries.data(), &count, &made.is_exact));
    made.entries.resize(count);
    return made;
}

uint32_t packed(const RGBQUAD& entry)
{
    return entry.rgbBlue | uint32_t{entry.rgbGreen} << 8 | uint32_t{entry.rgbRed} << 16;
}

std::set<uint32_t> packed(const std::vector<RGBQUAD>& entries)
{
    std::set<uint32_t> all;
    for (const RGBQUAD& entry : entries)
        all.insert(packed(entry));
    return all;
}

/// Sum of squared distances to the nearest entries.
double error_of(const std::vector<uint32_t>& pixels, const std::vector<RGBQUAD>& entries)
{
    double sum = 0;
    for (const uint32_t pixel : pixels) {
        int32_t best = INT32_MAX;
        for (const RGBQUAD& entry : entries) {
            const auto b = static_cast<int32_t>(pixel & 0xFF) - entry.rgbBlue;
            const auto g = static_cast<int32_t>(pixel >> 8 & 0xFF) - entry.rgbGreen;
            const auto r = static_cast<int32_t>(pixel >> 16 & 0xFF) - entry.rgbRed;
            best = std::min(best, b * b + g * g + r * r);
        }
        sum += best;
    }
    return sum;
}

/// Pixels around `centers` places, up to `spread` off in each channel.
std::vector<uint32_t> clusters(TestRandom& random, uint32_t centers, int32_t spread, size_t count)
{
    std::vector<uint32_t> places(centers);
    for (uint32_t& place : places)
        place = static_cast<uint32_t>(random.next() & 0xFFFFFF);
    std::vector<uint32_t> pixels(count);
    for (uint32_t& pixel : pixels) {
        const uint32_t place = places[random.below(centers)];
        pixel = static_cast<uint32_t>(random.next()) & 0xFF000000u; // the fourth byte does not count
        for (const int shift : {0, 8, 16}) {
            const int32_t level = static_cast<int32_t>(place >> shift & 0xFF) + random.between(-spread, spread);
            pixel |= static_cast<uint32_t>(std::clamp(level, 0, 255)) << shift;
        }
    }
    return pixels;
}

} // namespace

TEST(Quantize, FewColorsAreKeptExactly)
{
    TestRandom random(51);
    SCOPED_TRACE(random);
    for (const uint32_t limit : {2u, 3u, 16u, 100u, 256u})
        for (uint32_t there = 1; there <= limit + 1; there += there < 4 || there >= limit ? 1 : limit - there) {
            std::set<uint32_t> colors;
            while (colors.size() < there)
                colors.insert(static_cast<uint32_t>(random.next() & 0xFFFFFF));
            std::vector<uint32_t> pixels;
            for (int turn = 0; turn < 3; ++turn)
                pixels.insert(pixels.end(), colors.begin(), colors.end());
            const Made made = make(pixels, limit, 7);
            EXPECT_EQ(there <= limit, made.is_exact) << there << " of " << limit;
            EXPECT_LE(made.entries.size(), limit);
            if (made.is_exact) {
                EXPECT_EQ(colors, packed(made.entries));
            }
        }
}

TEST(Quantize, FindsClusters)
{
    TestRandom random(52);
    SCOPED_TRACE(random);
    for (const uint32_t colors : {2u, 5u, 16u, 64u, 256u}) {
        const std::vector<uint32_t> pixels = clusters(random, colors, 3, 20000);
        const Made made = make(pixels, colors);
        EXPECT_FALSE(made.is_exact);
        EXPECT_LE(made.entries.size(), colors);
        // Three channels, each uniform from -3 to 3: a variance of 4 each. More clusters may share entries.
        const double mean = error_of(pixels, made.entries) / static_cast<double>(pixels.size());
        EXPECT_LT(mean, colors <= 16 ? 13.0 : 30.0) << colors;
    }
}

TEST(Quantize, EveryEntryIsTheMeanOfItsPixels)
{
    TestRandom random(53);
    SCOPED_TRACE(random);
    const std::vector<uint32_t> pixels = clusters(random, 40, 60, 30000);
    for (const uint32_t colors : {4u, 16u, 200u}) {
        const Made made = make(pixels, colors);
        const double error = error_of(pixels, made.entries);
        // No small move of any entry helps by more than a trifle.
        for (size_t i = 0; i < made.entries.size(); i += colors / 4)
            for (const int step : {-6, 6}) {
                std::vector<RGBQUAD> moved = made.entries;
                moved[i].rgbGreen = static_cast<uint8_t>(std::clamp(moved[i].rgbGreen + step, 0, 255));
                EXPECT_GT(error_of(pixels, moved), error * 0.995);
            }
        const int32_t bits = colors == 4 ? 2 : colors == 16 ? 4 : 7;
        const RGBQUAD* const fixed = V_IntGetFixedPalette(bits);
        EXPECT_LT(error, error_of(pixels, std::vector<RGBQUAD>(fixed, fixed + (size_t{1} << bits))) * 0.6);
    }
}

TEST(Quantize, PiecesDoNotMatterAndEntriesAreSorted)
{
    TestRandom random(54);
    SCOPED_TRACE(random);
    const std::vector<uint32_t> pixels = clusters(random, 9, 30, 5000);
    const Made first = make(pixels, 50, 5000);
    for (const size_t piece : {1u, 3u, 777u}) {
        const Made made = make(pixels, 50, piece);
        ASSERT_EQ(first.entries.size(), made.entries.size());
        EXPECT_EQ(0, std::memcmp(first.entries.data(), made.entries.data(), made.entries.size() * sizeof(RGBQUAD)));
    }
    uint32_t before = 0;
    for (const RGBQUAD& entry : first.entries) {
        const uint32_t gray = 5u * entry.rgbGreen + 2u * entry.rgbRed + entry.rgbBlue;
        EXPECT_LE(before, gray);
        before = gray;
    }
}

TEST(Quantize, WithoutMemory)
{
    TestRandom random(56);
    const std::vector<uint32_t> pixels = clusters(random, 9, 30, 500);
    for_each_fault([&] {
        Quantizer quantizer(4);
        RGBQUAD entries[256];
        uint32_t count = 0;
        bool is_exact = false;
        if (quantizer.add(reinterpret_cast<const uint8_t*>(pixels.data()), pixels.size()))
            quantizer.make(entries, &count, &is_exact);
    });
}
