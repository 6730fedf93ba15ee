// Blending against the published formulas in floating point, written down as they stand there: every mode, with and
// without alpha on either side, straight and premultiplied, under masks and opacities, at every depth; the fast forms
// against the plain one; arguments and failures.
#include "kernel/combine/BlendRun.h"
#include "kernel/palette/ColorMatch.h"
#include "tests/combine/CombineSupport.h"

#include <cmath>

using namespace vk;
using namespace vk::testing;

namespace {

using Real = long double;

/// Chapter 10.1: what a mode makes of backdrop and source colour.
Real mixed(uint32_t mode, Real cb, Real cs)
{
    switch (mode) {
    case BLEND_MULTIPLY:
        return cb * cs;
    case BLEND_SCREEN:
        return cb + cs - cb * cs;
    case BLEND_OVERLAY:
        return mixed(BLEND_HARD_LIGHT, cs, cb);
    case BLEND_DARKEN:
        return std::min(cb, cs);
    case BLEND_LIGHTEN:
        return std::max(cb, cs);
    case BLEND_COLOR_DODGE:
        return cb == 0 ? 0 : cs == 1 ? 1 : std::min<Real>(1, cb / (1 - cs));
    case BLEND_COLOR_BURN:
        return cb == 1 ? 1 : cs == 0 ? 0 : 1 - std::min<Real>(1, (1 - cb) / cs);
    case BLEND_HARD_LIGHT:
        return cs <= 0.5L ? cb * (2 * cs) : mixed(BLEND_SCREEN, cb, 2 * cs - 1);
    case BLEND_SOFT_LIGHT: {
        if (cs <= 0.5L)
            return cb - (1 - 2 * cs) * cb * (1 - cb);
        const Real d = cb <= 0.25L ? ((16 * cb - 12) * cb + 4) * cb : std::sqrt(cb);
        return cb + (2 * cs - 1) * (d - cb);
    }
    case BLEND_DIFFERENCE:
        return std::fabs(cb - cs);
    case BLEND_EXCLUSION:
        return cb + cs - 2 * cb * cs;
    default:
        return cs;
    }
}

/// Chapter 9.1.4: the fractions of source and backdrop.
std::pair<Real, Real> fractions(uint32_t mode, Real as, Real ab)
{
    switch (mode) {
    case BLEND_CLEAR:
        return {0, 0};
    case BLEND_SRC:
        return {1, 0};
    case BLEND_DST:
        return {0, 1};
    case BLEND_DST_OVER:
        return {1 - ab, 1};
    case BLEND_SRC_IN:
        return {ab, 0};
    case BLEND_DST_IN:
        return {0, as};
    case BLEND_SRC_OUT:
        return {1 - ab, 0};
    case BLEND_DST_OUT:
        return {0, 1 - as};
    case BLEND_SRC_ATOP:
        return {ab, 1 - as};
    case BLEND_DST_ATOP:
        return {1 - ab, as};
    case BLEND_XOR:
        return {1 - ab, 1 - as};
    case BLEND_PLUS:
        return {1, 1};
    default:
        return {1, 1 - as};
    }
}

/// The composite of one channel, multiplied by its alpha, and that alpha. Colours are straight.
std::pair<Real, Real> composite(uint32_t mode, Real cs, Real as, Real cb, Real ab)
{
    const auto [fa, fb] = fractions(mode, as, ab);
    if (mode >= BLEND_MULTIPLY)
        cs = (1 - ab) * cs + ab * mixed(mode, cb, cs);
    return {std::min<Real>(1, as * fa * cs + ab * fb * cb), std::min<Real>(1, as * fa + ab * fb)};
}

struct Form {
    int32_t bits, order;
    int shift[3];
    int width[3];
    int alpha_shift; ///< -1: none
    int alpha_width;
};

const Form kForms[] = {
    {8, COLORORDER_GRAY, {0, -1, -1}, {8, 0, 0}, -1, 0},     {12, COLORORDER_GRAY, {0, -1, -1}, {12, 0, 0}, -1, 0},
    {16, COLORORDER_GRAY, {0, -1, -1}, {16, 0, 0}, -1, 0},   {16, COLORORDER_BGR, {0, 5, 10}, {5, 5, 5}, -1, 0},
    {16, COLORORDER_RGB565, {0, 5, 11}, {5, 6, 5}, -1, 0},   {24, COLORORDER_BGR, {0, 8, 16}, {8, 8, 8}, -1, 0},
    {32, COLORORDER_RGB, {0, 8, 16}, {8, 8, 8}, 24, 8},      {48, COLORORDER_BGR, {0, 16, 32}, {16, 16, 16}, -1, 0},
    {64, COLORORDER_BGR, {0, 16, 32}, {16, 16, 16}, 48, 16},
};

uint64_t field(uint64_t pixel, int shift, int width)
{
    return pixel >> shift & ((uint64_t{1} << width) - 1);
}

Real part(uint64_t pixel, int shift, int width)
{
    return static_cast<Real>(field(pixel, shift, width)) / static_cast<Real>((uint64_t{1} << width) - 1);
}

/// Random pixels, with many extreme channels; premultiplied ones have no channel above their alpha.
Picture noise(const Form& form, int32_t width, int32_t height, bool is_premultiplied, TestRandom& random)
{
    Picture made = Picture::blank(width, height);
    const auto any = [&](uint64_t most) {
        return random.one_in(5) ? 0 : random.one_in(5) ? most : random.below(most + 1);
    };
    for (uint64_t& pixel : made.pixels) {
        const uint64_t alpha_most = form.alpha_width ? (uint64_t{1} << form.alpha_width) - 1 : 0;
        const uint64_t alpha = any(alpha_most);
        pixel = form.alpha_width ? alpha << form.alpha_shift : 0;
        for (int channel = 0; channel < 3; ++channel)
            if (form.shift[channel] >= 0) {
                const uint64_t most = (uint64_t{1} << form.width[channel]) - 1;
                pixel |= any(is_premultiplied && form.alpha_width ? alpha : most) << form.shift[channel];
            }
    }
    return made;
}

struct Mixing {
    uint32_t mode;
    uint32_t opacity;
    int32_t mask_bits;
};

/// Holds every channel of a result against the formulas: no farther than half a step from the true value.
void expect_composite(const Form& form, const Mixing& setup, uint64_t s, uint64_t d, uint64_t result, Real mask)
{
    const uint32_t mode = setup.mode & BLEND_MODES;
    const bool has_alpha = form.alpha_shift >= 0;
    const bool is_source_premultiplied =
        has_alpha && setup.mode & BLEND_PREMULTIPLIED_SRC && !(setup.mode & BLEND_OPAQUE_SRC);
    const bool is_premultiplied = has_alpha && setup.mode & BLEND_PREMULTIPLIED_DST && !(setup.mode & BLEND_OPAQUE_DST);
    const bool is_blended = has_alpha && !(setup.mode & BLEND_OPAQUE_DST);
    const Real own = has_alpha && !(setup.mode & BLEND_OPAQUE_SRC) ? part(s, form.alpha_shift, form.alpha_width) : 1;
    const Real as = own * mask * static_cast<Real>(setup.opacity) / 65535;
    const Real ab = is_blended ? part(d, form.alpha_shift, form.alpha_width) : 1;
    Real ao = 0;
    for (int channel = 0; channel < 3; ++channel) {
        if (form.shift[channel] < 0)
            continue;
        Real cs = part(s, form.shift[channel], form.width[channel]);
        Real cb = part(d, form.shift[channel], form.width[channel]);
        if (is_source_premultiplied)
            cs = own == 0 ? 0 : cs / own;
        if (is_premultiplied)
            cb = ab == 0 ? 0 : cb / ab;
        const auto [co, alpha] = composite(mode, cs, as, cb, ab);
        ao = alpha;
        const bool is_straight = is_blended && !is_premultiplied;
        const Real shown = !is_straight ? co : alpha == 0 ? 0 : std::min<Real>(1, co / alpha);
        const Real exact = shown * static_cast<Real>((uint64_t{1} << form.width[channel]) - 1);
        const auto got = static_cast<Real>(field(result, form.shift[channel], form.width[channel]));
        ASSERT_LE(std::fabs(got - exact), 0.5L + 1e-5L)
            << "channel " << channel << ": " << std::hex << s << " on " << d << " gives " << result << ", mask "
            << static_cast<double>(mask);
    }
    if (is_blended) {
        const Real exact = ao * static_cast<Real>((uint64_t{1} << form.alpha_width) - 1);
        ASSERT_LE(std::fabs(static_cast<Real>(field(result, form.alpha_shift, form.alpha_width)) - exact),
                  0.5L + 1e-5L);
    } else if (has_alpha) {
        ASSERT_EQ(field(d, form.alpha_shift, form.alpha_width), field(result, form.alpha_shift, form.alpha_width));
    }
}

int blend(TestBitmap& to, TestBitmap& from, TestBitmap* mask, const Place& place, const Mixing& setup,
          int32_t mask_column = 0, int32_t mask_row = 0)
{
    return V_BlendBitmap(to.get(), place.column, place.row, place.width, place.height, from.get(), place.source_column,
                         place.source_row, mask ? mask->get() : nullptr, mask_column, mask_row, setup.mode,
                         setup.opacity);
}

} // namespace

TEST(CombineBlend, EveryModeIsThePublishedOne)
{
    TestRandom random(1360);
    SCOPED_TRACE(random);
    constexpr uint32_t kFlags[] = {
        0, BLEND_PREMULTIPLIED, BLEND_PREMULTIPLIED_SRC, BLEND_PREMULTIPLIED_DST, BLEND_OPAQUE_SRC, BLEND_OPAQUE_DST};
    for (const Form& form : kForms)
        for (uint32_t mode = BLEND_SRC_OVER; mode <= BLEND_EXCLUSION; ++mode)
            for (const uint32_t flags : kFlags)
                for (const int32_t mask_bits : {0, 1, 8, 16}) {
                    if (form.alpha_shift < 0 && flags != 0)
                        continue;
                    const Mixing setup{
                        mode | flags, random.one_in(2) ? 65535 : static_cast<uint32_t>(random.below(65536)), mask_bits};
                    SCOPED_TRACE(std::to_string(form.bits) + " bits, order " + std::to_string(form.order) + ", mode " +
                                 std::to_string(setup.mode) + ", opacity " + std::to_string(setup.opacity) + ", mask " +
                                 std::to_string(mask_bits));
                    Picture to = noise(form, 70, 3, flags & BLEND_PREMULTIPLIED_DST, random);
                    Picture from = noise(form, 70, 3, flags & BLEND_PREMULTIPLIED_SRC, random);
                    Picture cover = Picture::noise(70, 3, std::max(mask_bits, 1), random.next());
                    TestBitmap a;
                    TestBitmap b;
                    TestBitmap m;
                    ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, form.bits));
                    ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, form.bits));
                    ASSERT_NO_FATAL_FAILURE(make_stored(m, Kind::conv, cover, std::max(mask_bits, 1)));
                    a->Order = b->Order = form.order;
                    if (mask_bits == 16)
                        m->Order = COLORORDER_GRAY;
                    ASSERT_EQ(SUCCESS, blend(a, b, mask_bits ? &m : nullptr, {1, 0, 60, 3, 3, 0}, setup, 5, 0));
                    Picture result = read(a.get());
                    for (int32_t y = 0; y < 3; ++y)
                        for (int32_t x = 0; x < 60; ++x) {
                            const Real covered = mask_bits ? part(cover.at(x + 5, y), 0, mask_bits) : 1;
                            ASSERT_NO_FATAL_FAILURE(expect_composite(form, setup, from.at(x + 3, y), to.at(x + 1, y),
                                                                     result.at(x + 1, y), covered));
                        }
                }
}

// Whatever is fast gives the bits of what is plain: on all alphas, and colours around where rounding turns.
TEST(CombineBlend, FastFormsEqualThePlainOne)
{
    TestRandom random(1361);
    SCOPED_TRACE(random);
    const auto run = [&](simd::Level level, const Form& form, const Picture& to, const Picture& from,
                         const Picture& cover, const Mixing& setup) {
        const AtLevel at(level);
        TestBitmap a;
        TestBitmap b;
        TestBitmap m;
        make_stored(a, Kind::conv, to, form.bits);
        make_stored(b, Kind::conv, from, form.bits);
        make_stored(m, Kind::conv, cover, std::max(setup.mask_bits, 1));
        a->Order = b->Order = form.order;
        EXPECT_EQ(SUCCESS, blend(a, b, setup.mask_bits ? &m : nullptr, {3, 0, to.width, to.height, 0, 0}, setup));
        return read(a.get());
    };
    for (const Form& form : kForms) {
        if (form.bits != 8 && form.bits != 24 && form.bits != 32)
            continue;
        for (uint32_t mode = BLEND_SRC_OVER; mode <= BLEND_EXCLUSION; ++mode)
            for (const uint32_t flags :
                 {0u, BLEND_PREMULTIPLIED, BLEND_OPAQUE_SRC, BLEND_OPAQUE_DST, BLEND_OPAQUE_SRC | BLEND_OPAQUE_DST})
                for (const int32_t mask_bits : {0, 8}) {
                    if (form.bits != 32 && flags != 0)
                        continue;
                    const Mixing setup{mode | flags, random.one_in(3) ? 40000u : 65535u, mask_bits};
                    SCOPED_TRACE(std::to_string(form.bits) + " bits, mode " + std::to_string(setup.mode) + ", mask " +
                                 std::to_string(mask_bits) + ", opacity " + std::to_string(setup.opacity));
                    const int32_t width = mode == BLEND_SRC_OVER ? 16384 : 2500;
                    const Picture to = noise(form, width, 2, false, random); // colours above their alpha too
                    const Picture from = noise(form, width, 2, false, random);
                    const Picture cover = Picture::noise(width, 2, std::max(mask_bits, 1), random.next());
                    const Picture plain = run(simd::Level::plain, form, to, from, cover, setup);
                    ASSERT_EQ(plain, run(simd::Level::avx2, form, to, from, cover, setup));
                    ASSERT_EQ(plain, run(simd::Level::avx512, form, to, from, cover, setup));
                }
    }
}

// What the comparison above rests on: these blends have a loop of their own for each level, which does all whole
// vectors.
TEST(CombineBlend, FastFormsAreTaken)
{
    using combine::BlendLoops;
    constexpr struct {
        int32_t bits;
        uint32_t mode;
        uint32_t opacity;
        int32_t mask_bits;
        combine::BlendLoop* BlendLoops::*loop;
        bool masks_rest; ///< where the set can
    } kRows[] = {
        {32, BLEND_SRC_OVER, 65535, 0, &BlendLoops::over_straight, true},
        {32, BLEND_PREMULTIPLIED, 65535, 0, &BlendLoops::over_premultiplied, true},
        {24, BLEND_SRC_OVER, 65535, 8, &BlendLoops::mix_24, false},
        {8, BLEND_SRC_OVER, 65535, 8, &BlendLoops::mix_gray, false},
        {32, BLEND_SRC_OVER | BLEND_PREMULTIPLIED_SRC, 65535, 0, nullptr, false},
        {32, BLEND_SRC_OVER, 65534, 0, nullptr, false},
        {32, BLEND_SRC_ATOP, 65535, 0, nullptr, false},
        {32, BLEND_SRC_OVER, 65535, 8, nullptr, false},
        {8, BLEND_SRC_OVER, 65535, 1, nullptr, false},
    };
    uint8_t from[400] = {};
    uint8_t to[400] = {};
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::to_string(row.bits) + " bits, mode " + std::to_string(row.mode));
        TestBitmap a;
        TestBitmap m;
        ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, Picture::blank(8, 1), row.bits));
        ASSERT_NO_FATAL_FAILURE(make_stored(m, Kind::conv, Picture::blank(8, 1), std::max(row.mask_bits, 1)));
        if (row.bits == 8)
            a->Order = COLORORDER_GRAY;
        combine::BlendRun run({row.mode & BLEND_MODES, row.mode & ~BLEND_MODES, row.opacity});
        ASSERT_EQ(SUCCESS, run.open(*a.get(), *a.get(), row.mask_bits ? m.get() : nullptr, 8));
        EXPECT_EQ(nullptr, run.fast_loop(simd::Level::base));
        for (const simd::Level level : kLevels) {
            const BlendLoops* const loops = combine::blend_loops_sets.at(level);
            combine::BlendLoop* const wanted = loops && row.loop ? loops->*row.loop : nullptr;
            EXPECT_EQ(wanted, run.fast_loop(level));
            if (wanted && level <= simd::level()) {
                const size_t whole = row.bits == 32 ? 96 : level == simd::Level::avx512 ? 64 : 96;
                EXPECT_EQ(row.masks_rest && level == simd::Level::avx512 ? 99 : whole, wanted(from, to, from, 99));
            }
        }
    }
}

// Every pair of alphas, straight: the division by the alpha that comes out is exact.
TEST(CombineBlend, StraightAlphaOfEveryKind)
{
    TestRandom random(1362);
    SCOPED_TRACE(random);
    const Form& form = kForms[6];
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        Picture to = Picture::blank(256, 256);
        Picture from = Picture::blank(256, 256);
        for (int32_t y = 0; y < 256; ++y)
            for (int32_t x = 0; x < 256; ++x) {
                to.at(x, y) = static_cast<uint64_t>(y) << 24 | (random.next() & 0xFFFFFF);
                from.at(x, y) = static_cast<uint64_t>(x) << 24 | (random.next() & 0xFFFFFF);
            }
        TestBitmap a;
        TestBitmap b;
        ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, 32));
        ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, from, 32));
        ASSERT_EQ(SUCCESS, blend(a, b, nullptr, {0, 0, 256, 256, 0, 0}, {BLEND_SRC_OVER, 65535, 0}));
        Picture result = read(a.get());
        for (int32_t y = 0; y < 256; ++y)
            for (int32_t x = 0; x < 256; ++x)
                ASSERT_NO_FATAL_FAILURE(
                    expect_composite(form, {BLEND_SRC_OVER, 65535, 0}, from.at(x, y), to.at(x, y), result.at(x, y), 1));
    }
}

TEST(CombineBlend, OtherFormsOfSourceAndMask)
{
    TestRandom random(1363);
    SCOPED_TRACE(random);
    // A palette's indices, mixed half and half by their colours with 32-bit pixels of some alpha.
    TestBitmap indexed;
    TestBitmap colors;
    ASSERT_NO_FATAL_FAILURE(make_stored(indexed, Kind::conv, Picture::noise(60, 4, 4, 9), 4));
    ASSERT_NO_FATAL_FAILURE(make_stored(colors, Kind::disk, Picture::noise(60, 4, 32, 10), 32));
    Picture before = read(indexed.get());
    Picture source = read(colors.get());
    const RGBQUAD* const palette = V_IntGetFixedPalette(4);
    ASSERT_EQ(SUCCESS, blend(indexed, colors, nullptr, {1, 0, 50, 4, 2, 0}, {BLEND_SRC_OVER, 32768, 0}));
    Picture after = read(indexed.get());
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 50; ++x) {
            const uint64_t s = source.at(x + 2, y);
            const RGBQUAD own = palette[before.at(x + 1, y)];
            const Real as = part(s, 24, 8) * 32768 / 65535;
            const auto mix = [&](uint8_t cb, int shift) {
                return static_cast<uint8_t>(std::floor((as * part(s, shift, 8) + (1 - as) * cb / 255) * 255 + 0.5L));
            };
            const RGBQUAD made = {mix(own.rgbBlue, 0), mix(own.rgbGreen, 8), mix(own.rgbRed, 16), 0};
            const bool is_same =
                made.rgbBlue == own.rgbBlue && made.rgbGreen == own.rgbGreen && made.rgbRed == own.rgbRed;
            EXPECT_EQ(is_same ? before.at(x + 1, y)
                              : static_cast<uint64_t>(
                                    find_palette_index(palette, 16, made.rgbRed, made.rgbGreen, made.rgbBlue)),
                      after.at(x + 1, y));
        }
    // A source without alpha, whose transparent colour is left out, and 16-bit alpha onto 8-bit gray.
    TestBitmap gray;
    TestBitmap flat;
    ASSERT_NO_FATAL_FAILURE(make_stored(gray, Kind::conv, {3, 1, {10, 20, 30}}, 8));
    ASSERT_NO_FATAL_FAILURE(make_stored(flat, Kind::conv, {3, 1, {0xFFFFFF, 0x102030, 0}}, 24));
    gray->Order = COLORORDER_GRAY;
    flat->Flags |= BITMAPFLAG_TRANSPARENCY;
    flat->Transparency = 0x00302010u; // red 0x10
    ASSERT_EQ(SUCCESS, blend(gray, flat, nullptr, {0, 0, 3, 1, 0, 0}, {BLEND_SRC_OVER, 65535, 0}));
    EXPECT_EQ((Picture{3, 1, {255, 20, 0}}), read(gray.get()));
    TestBitmap deep;
    ASSERT_NO_FATAL_FAILURE(
        make_stored(deep, Kind::conv, {3, 1, {0x8000'FFFF'FFFF'FFFF, 0xFFFF'0000'0000'0000, 0}}, 64));
    ASSERT_EQ(SUCCESS, blend(gray, deep, nullptr, {0, 0, 3, 1, 0, 0}, {BLEND_SRC_OVER, 65535, 0}));
    EXPECT_EQ((Picture{3, 1, {255, 0, 0}}), read(gray.get()));
    // A mask of 12 significant bits, upside down, and the destination as its own mask.
    TestBitmap mask;
    ASSERT_NO_FATAL_FAILURE(make_stored(mask, Kind::conv, {2, 2, {0x0FFF, 0x0FFF, 0xF7F8, 0xF000}}, 16, BOTTOM_LEFT));
    mask->Order = COLORORDER_GRAY;
    mask->HighBit = 11;
    TestBitmap under;
    TestBitmap white;
    ASSERT_NO_FATAL_FAILURE(make_stored(under, Kind::conv, {2, 2, {0, 100, 0, 100}}, 8));
    ASSERT_NO_FATAL_FAILURE(make_stored(white, Kind::conv, {2, 2, {255, 255, 255, 255}}, 8));
    under->Order = white->Order = COLORORDER_GRAY;
    ASSERT_EQ(SUCCESS, blend(under, white, &mask, {0, 0, 2, 2, 0, 0}, {BLEND_SRC_OVER, 65535, 16}));
    EXPECT_EQ((Picture{2, 2, {127, 100, 255, 255}}), read(under.get()));
    ASSERT_EQ(SUCCESS, blend(under, white, &under, {0, 0, 2, 2, 0, 0}, {BLEND_SRC_OVER, 65535, 8}, 0, 1));
    EXPECT_EQ((Picture{2, 2, {255, 255, 255, 255}}), read(under.get()));
}

TEST(CombineBlend, OddArgumentsAndFailures)
{
    TestBitmap a;
    TestBitmap b;
    TestBitmap m;
    TestBitmap none;
    const Picture to = Picture::noise(40, 30, 32, 1);
    ASSERT_NO_FATAL_FAILURE(make_stored(a, Kind::conv, to, 32));
    ASSERT_NO_FATAL_FAILURE(make_stored(b, Kind::conv, Picture::noise(40, 30, 24, 2), 24));
    ASSERT_NO_FATAL_FAILURE(make_stored(m, Kind::tiled_file, Picture::noise(33, 21, 8, 3), 8));
    const Place place{0, 0, 40, 30, 0, 0};
    EXPECT_EQ(ERROR_INVALID_IMAGE, blend(a, none, nullptr, place, {0, 0, 0}));
    EXPECT_EQ(ERROR_INVALID_IMAGE, blend(a, b, &none, place, {0, 0, 0}));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, blend(a, b, &m, place, {BLEND_EXCLUSION + 1, 0, 0}));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, blend(a, b, &m, place, {0x1000, 0, 0}));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, blend(a, b, &m, place, {0, 65536, 0}));
    EXPECT_EQ(ERROR_INVALID_BITS_PER_PIXEL, blend(a, b, &b, place, {0, 65535, 0}));
    EXPECT_EQ(SUCCESS, blend(a, b, &m, {0, 0, 40, 30, INT32_MIN, 7}, {BLEND_SRC, 65535, 8}));
    EXPECT_EQ(SUCCESS, blend(a, b, &m, place, {BLEND_CLEAR, 65535, 8}, INT32_MAX, 0));
    EXPECT_EQ(SUCCESS, blend(a, b, &m, place, {BLEND_CLEAR, 65535, 8}, 33, 0));
    EXPECT_EQ(to, read(a.get()));
    // The rectangle ends where the mask does.
    ASSERT_EQ(SUCCESS, blend(a, b, &m, place, {BLEND_CLEAR, 65535, 8}, 3, 1));
    Picture cleared = read(a.get());
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 40; ++x)
            ASSERT_EQ(x < 30 && y < 20 ? 0 : Picture(to).at(x, y), cleared.at(x, y)) << x << ", " << y;
    for (const Kind kind : kKinds) {
        if (!can_make(kind, 8))
            continue;
        SCOPED_TRACE(name_of(kind));
        const NothingLost scope;
        TestBitmap into;
        ASSERT_NO_FATAL_FAILURE(make_stored(into, kind, Picture::noise(50, 25, 8, 4), 8));
        const auto run = [&] { return blend(into, b, &m, {3, 2, 33, 19, 1, 1}, {BLEND_SOFT_LIGHT, 60000, 8}, 2, 1); };
        const Picture before = read(into.get());
        expect_stops(into.get(), 19, run);
        ASSERT_NO_FATAL_FAILURE(paint(into.get(), before));
        expect_survives_faults(into.get(), false, run);
    }
}
