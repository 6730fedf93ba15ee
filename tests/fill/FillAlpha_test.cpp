// Alpha against its formulas on every pair of values, and scrambling: the published stream, exact inverses in any
// order, the same bits however the pixels are kept.
#include "Vkfill.h"
#include "kernel/fill/AlphaKernels.h"
#include "kernel/fill/ChaCha.h"
#include "tests/combine/CombineSupport.h"

using namespace vk;
using namespace vk::testing;

namespace {

/// All values of a channel under all alphas, thrice, at 8 bits; any at 16.
Picture all_pairs(int32_t bits, TestRandom& random)
{
    Picture made = Picture::blank(256, 256);
    for (int32_t y = 0; y < 256; ++y)
        for (int32_t x = 0; x < 256; ++x) {
            const auto c = static_cast<uint64_t>(x);
            made.at(x, y) = bits == 32 ? static_cast<uint64_t>(y) << 24 | (255 - c) << 16 | (c ^ 85) << 8 | c
                                       : random.next() & (random.one_in(9) ? 0x0000FFFFFFFFFFFFu : ~uint64_t{0});
        }
    return made;
}

template <class Rule> Picture weighed(Picture picture, int32_t bits, Rule rule)
{
    const int width = bits / 4;
    const uint64_t most = (uint64_t{1} << width) - 1;
    for (uint64_t& pixel : picture.pixels) {
        const uint64_t alpha = pixel >> 3 * width;
        uint64_t made = alpha << 3 * width;
        for (int channel = 0; channel < 3; ++channel)
            made |= rule(pixel >> channel * width & most, alpha, most) << channel * width;
        pixel = made;
    }
    return picture;
}

} // namespace

TEST(FillAlpha, ColoursAreMultipliedAndDivided)
{
    TestRandom random(1410);
    SCOPED_TRACE(random);
    for (const simd::Level level : kLevels)
        for (const int32_t bits : {32, 64}) {
            const AtLevel at(level);
            const Picture before = all_pairs(bits, random);
            TestBitmap bitmap;
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::conv, before, bits));
            ASSERT_EQ(SUCCESS, V_PremultiplyBitmap(bitmap.get()));
            EXPECT_EQ(
                weighed(before, bits, [](uint64_t c, uint64_t a, uint64_t m) { return (2 * c * a + m) / (2 * m); }),
                read(bitmap.get()));
            ASSERT_NO_FATAL_FAILURE(paint(bitmap.get(), before));
            ASSERT_EQ(SUCCESS, V_UnpremultiplyBitmap(bitmap.get()));
            EXPECT_EQ(weighed(before, bits,
                              [](uint64_t c, uint64_t a, uint64_t m) {
                                  return a == 0 ? 0 : std::min(m, (2 * c * m + a) / (2 * a));
                              }),
                      read(bitmap.get()));
        }
    uint8_t pixels[800] = {};
    uint8_t alphas[100] = {};
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        if (const fill::AlphaLoops* const loops = fill::alpha_loops_sets.best()) {
            const bool masks = at.reached == simd::Level::avx512;
            EXPECT_EQ(masks ? 99u : 96u, loops->premultiply(pixels, 99));
            EXPECT_EQ(masks ? 99u : 96u, loops->unpremultiply(pixels, 99));
            EXPECT_EQ(masks ? 64u : 96u, loops->take_alpha(pixels, alphas, 99));
            const size_t words = at.reached == simd::Level::neon ? 98 : 96;
            EXPECT_EQ(words, loops->premultiply_words(pixels, 99));
            EXPECT_EQ(words, loops->unpremultiply_words(pixels, 99));
        }
    }
}

TEST(FillAlpha, IsTakenOutAndPutIn)
{
    for (const simd::Level level : kLevels)
        for (const Kind kind : kKinds)
            for (const int32_t bits : {32, 64}) {
                if (!can_make(kind, bits))
                    continue;
                SCOPED_TRACE(std::string(name_of(kind)) + ", " + std::to_string(bits) + " bits");
                const AtLevel at(level);
                Picture before = Picture::noise(300, 7, bits, 11);
                TestBitmap bitmap;
                TestBitmap alpha(BITMAPHANDLE_SIZE_EARLIER);
                ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, before, bits, BOTTOM_LEFT));
                ASSERT_EQ(SUCCESS, V_GetBitmapAlpha(alpha.get(), bitmap.get(), alpha.struct_size()));
                EXPECT_EQ(COLORORDER_GRAY, alpha->Order);
                EXPECT_EQ(BOTTOM_LEFT, alpha->ViewPerspective);
                Picture taken = before;
                for (uint64_t& pixel : taken.pixels)
                    pixel >>= bits / 4 * 3;
                EXPECT_EQ(taken, read(alpha.get()));
                const uint64_t most = (uint64_t{1} << bits / 4) - 1;
                const uint64_t colors = ~(most << bits / 4 * 3);
                ASSERT_EQ(SUCCESS, V_SetBitmapAlphaValue(bitmap.get(), static_cast<uint32_t>(most) - 1));
                Picture even = before;
                for (uint64_t& pixel : even.pixels)
                    pixel = (pixel & colors) | (most - 1) << bits / 4 * 3;
                if (bits == 32)
                    for (uint64_t& pixel : even.pixels)
                        pixel &= 0xFFFFFFFF;
                EXPECT_EQ(even, read(bitmap.get()));
                ASSERT_EQ(SUCCESS, V_SetBitmapAlpha(bitmap.get(), alpha.get()));
                EXPECT_EQ(before, read(bitmap.get()));
            }
}

TEST(FillAlpha, OfOtherFormsAndSizes)
{
    TestBitmap colors;
    TestBitmap mask;
    ASSERT_NO_FATAL_FAILURE(make_stored(colors, Kind::conv, Picture::blank(3, 2), 32));
    ASSERT_NO_FATAL_FAILURE(make_stored(mask, Kind::conv, {2, 3, {0, 1, 1, 0, 1, 1}}, 1, BOTTOM_LEFT));
    ASSERT_EQ(SUCCESS, V_SetBitmapAlpha(colors.get(), mask.get()));
    // The mask's first stored row is displayed last, but rectangles begin at stored rows.
    Picture got = read(colors.get());
    EXPECT_EQ(0u, got.at(2, 0) | got.at(2, 1));
    EXPECT_EQ(SUCCESS, V_SetBitmapAlpha(colors.get(), colors.get()));
    TestBitmap plain;
    ASSERT_NO_FATAL_FAILURE(make_stored(plain, Kind::conv, Picture::blank(3, 2), 24));
    TestBitmap made;
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_GetBitmapAlpha(made.get(), plain.get(), BITMAPHANDLE_SIZE));
    EXPECT_TRUE(made.is_empty());
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_SetBitmapAlpha(plain.get(), mask.get()));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_SetBitmapAlphaValue(plain.get(), 0));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_PremultiplyBitmap(plain.get()));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_UnpremultiplyBitmap(plain.get()));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_SetBitmapAlphaValue(colors.get(), 256));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetBitmapAlpha(colors.get(), colors.get(), BITMAPHANDLE_SIZE));
    colors->Order = COLORORDER_GRAY; // samples of 32 bits
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, V_PremultiplyBitmap(colors.get()));
}

// The key stream of RFC 8439, section 2.3.2, at every level, and blocks side by side as one after the other.
TEST(FillScramble, IsThePublishedStream)
{
    fill::ChaCha cipher{};
    for (uint32_t i = 0; i < 8; ++i)
        cipher.key[i] = (4 * i + 3) << 24 | (4 * i + 2) << 16 | (4 * i + 1) << 8 | 4 * i;
    cipher.nonce = {0x09000000, 0x4a000000, 0};
    constexpr uint8_t kExpected[] = {0x10, 0xf1, 0xe7, 0xe4, 0xd1, 0x3b, 0x59, 0x15, 0x50, 0x0f, 0xdd, 0x1f, 0xa3,
                                     0x20, 0x71, 0xc4, 0xc7, 0xd1, 0xf4, 0xc7, 0x33, 0xc0, 0x68, 0x03, 0x04, 0x22,
                                     0xaa, 0x9a, 0xc3, 0xd4, 0x6c, 0x4e, 0xd2, 0x82, 0x64, 0x46, 0x07, 0x9f, 0xaa,
                                     0x09, 0x14, 0xc2, 0xd7, 0x05, 0xd9, 0x8b, 0x02, 0xa2, 0xb5, 0x12, 0x9c, 0xd1,
                                     0xde, 0x16, 0x4e, 0xb9, 0xcb, 0xd0, 0x83, 0xe8, 0xa2, 0x50, 0x3c, 0x4e};
    std::vector<uint8_t> stream(64 * 37);
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        cipher.blocks(1, 37, stream.data());
        EXPECT_EQ(0, std::memcmp(kExpected, stream.data(), sizeof kExpected));
        for (uint32_t i = 0; i < 37; ++i) {
            uint8_t block[64];
            cipher.blocks(1 + i, 1, block);
            ASSERT_EQ(0, std::memcmp(block, stream.data() + 64 * size_t{i}, sizeof block)) << i;
        }
    }
}

TEST(FillScramble, EveryOrderOfHidingAndShowingBringsPixelsBack)
{
    TestRandom random(1411);
    SCOPED_TRACE(random);
    for (const Kind kind : kKinds)
        for (const int32_t bits : kDepths) {
            if (!can_make(kind, bits))
                continue;
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + std::to_string(bits) + " bits");
            const Picture before = Picture::noise(700, 9, bits, random.next());
            TestBitmap bitmap;
            TestBitmap other;
            ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, kind, before, bits));
            ASSERT_NO_FATAL_FAILURE(make_stored(other, Kind::conv, before, bits));
            std::vector<Place> places;
            for (int i = 0; i < 4; ++i)
                places.push_back({random.between(-3, 300), random.between(-3, 4), random.between(200, 800),
                                  random.between(4, 12), 0, 0});
            const auto scramble = [&](TestBitmap& b, const Place& p, uint32_t flags) {
                return V_ScrambleBitmap(b.get(), b.get(), BITMAPHANDLE_SIZE, p.column, p.row, p.width, p.height, 77,
                                        flags);
            };
            ASSERT_EQ(SUCCESS, scramble(bitmap, places[0], SCRAMBLE_HIDE));
            ASSERT_EQ(SUCCESS, scramble(other, places[0], SCRAMBLE_HIDE));
            Picture hidden = read(bitmap.get());
            EXPECT_EQ(hidden, read(other.get()));
            uint64_t same = 0;
            uint64_t inside = 0;
            for (int32_t y = 0; y < 9; ++y)
                for (int32_t x = 0; x < 700; ++x) {
                    const Place& p = places[0];
                    const bool is_same = hidden.at(x, y) == Picture(before).pixels[static_cast<size_t>(y * 700 + x)];
                    const bool is_in = x >= p.column && x < p.column + p.width && y >= p.row && y < p.row + p.height;
                    ASSERT_TRUE(is_in || is_same);
                    same += is_in && is_same;
                    inside += is_in;
                }
            EXPECT_LT(same, inside * 6 / 10) << "as many as chance has them";
            for (size_t i = 1; i < places.size(); ++i)
                ASSERT_EQ(SUCCESS, scramble(bitmap, places[i], SCRAMBLE_HIDE));
            for (const size_t i : {size_t{2}, size_t{0}, size_t{3}, size_t{1}})
                ASSERT_EQ(SUCCESS, scramble(bitmap, places[i], SCRAMBLE_SHOW));
            EXPECT_EQ(before, read(bitmap.get()));
        }
}

TEST(FillScramble, CopiesAndFailures)
{
    const NothingLost scope;
    TestBitmap bitmap(BITMAPHANDLE_SIZE_EARLIER);
    const Picture before = Picture::noise(60, 33, 8, 5);
    ASSERT_NO_FATAL_FAILURE(make_stored(bitmap, Kind::tiled_file, before, 8));
    const auto run = [&](BITMAPHANDLE* to, int32_t width, uint32_t flags) {
        return V_ScrambleBitmap(to, bitmap.get(), BITMAPHANDLE_SIZE_EARLIER, 3, 4, width, 25, 0xDEADBEEF, flags);
    };
    TestBitmap hidden(BITMAPHANDLE_SIZE_EARLIER);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, run(hidden.get(), 40, 2));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, run(nullptr, 40, SCRAMBLE_HIDE));
    ASSERT_EQ(SUCCESS, run(hidden.get(), 40, SCRAMBLE_HIDE));
    EXPECT_EQ(before, read(bitmap.get()));
    EXPECT_NE(before, read(hidden.get()));
    ASSERT_EQ(SUCCESS, V_ScrambleBitmap(hidden.get(), hidden.get(), 0, 3, 4, 40, 25, 0xDEADBEEF, SCRAMBLE_SHOW));
    EXPECT_EQ(before, read(hidden.get()));
    TestBitmap same(BITMAPHANDLE_SIZE_EARLIER);
    ASSERT_EQ(SUCCESS, run(same.get(), 0, SCRAMBLE_HIDE));
    EXPECT_EQ(before, read(same.get()));
    const auto copy = [&] {
        TestBitmap made(BITMAPHANDLE_SIZE_EARLIER);
        const int result = run(made.get(), 40, SCRAMBLE_HIDE);
        EXPECT_TRUE(result == SUCCESS || made.is_empty());
        return result;
    };
    expect_survives_faults(bitmap.get(), false, copy);
    {
        const Listener listener;
        EXPECT_EQ(SUCCESS, copy());
        EXPECT_EQ(0, listener.heard.front());
        EXPECT_EQ(100, listener.heard.back());
        EXPECT_TRUE(std::is_sorted(listener.heard.begin(), listener.heard.end()));
    }
    const auto own = [&] { return run(bitmap.get(), 40, SCRAMBLE_HIDE); };
    expect_stops(bitmap.get(), 25, own);
    expect_survives_faults(bitmap.get(), false, own);
}
