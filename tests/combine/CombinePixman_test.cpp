// Premultiplied pixels of 8-bit channels blended beside pixman, an implementation that shares nothing with this one:
// the operators of Porter and Duff, and the blend modes. Built where the library is there.
//
// Ours are rounded once. pixman rounds each product by itself, so where a result is the sum of several the two may lie
// a level apart.
#if defined(VKKRNX_TEST_PIXMAN)

#include "tests/combine/CombineSupport.h"

#include <pixman.h>

using namespace vk;
using namespace vk::testing;

namespace {

struct Row {
    uint32_t mode;
    pixman_op_t op;
    int tolerance;
};

constexpr Row kRows[] = {
    {BLEND_SRC_OVER, PIXMAN_OP_OVER, 0},
    {BLEND_CLEAR, PIXMAN_OP_CLEAR, 0},
    {BLEND_SRC, PIXMAN_OP_SRC, 0},
    {BLEND_DST, PIXMAN_OP_DST, 0},
    {BLEND_DST_OVER, PIXMAN_OP_OVER_REVERSE, 0},
    {BLEND_SRC_IN, PIXMAN_OP_IN, 0},
    {BLEND_DST_IN, PIXMAN_OP_IN_REVERSE, 0},
    {BLEND_SRC_OUT, PIXMAN_OP_OUT, 0},
    {BLEND_DST_OUT, PIXMAN_OP_OUT_REVERSE, 0},
    {BLEND_SRC_ATOP, PIXMAN_OP_ATOP, 1},
    {BLEND_DST_ATOP, PIXMAN_OP_ATOP_REVERSE, 1},
    {BLEND_XOR, PIXMAN_OP_XOR, 1},
    {BLEND_PLUS, PIXMAN_OP_ADD, 0},
    {BLEND_MULTIPLY, PIXMAN_OP_MULTIPLY, 1},
    {BLEND_SCREEN, PIXMAN_OP_SCREEN, 1},
    {BLEND_OVERLAY, PIXMAN_OP_OVERLAY, 1},
    {BLEND_DARKEN, PIXMAN_OP_DARKEN, 1},
    {BLEND_LIGHTEN, PIXMAN_OP_LIGHTEN, 1},
    {BLEND_COLOR_DODGE, PIXMAN_OP_COLOR_DODGE, 1},
    {BLEND_COLOR_BURN, PIXMAN_OP_COLOR_BURN, 1},
    {BLEND_HARD_LIGHT, PIXMAN_OP_HARD_LIGHT, 1},
    {BLEND_SOFT_LIGHT, PIXMAN_OP_SOFT_LIGHT, 1},
    {BLEND_DIFFERENCE, PIXMAN_OP_DIFFERENCE, 1},
    {BLEND_EXCLUSION, PIXMAN_OP_EXCLUSION, 1},
};

constexpr int32_t kWidth = 256;
constexpr int32_t kHeight = 96;

/// Colours no larger than their alpha, with many extremes.
Picture premultiplied(TestRandom& random)
{
    Picture made = Picture::blank(kWidth, kHeight);
    const auto any = [&](uint64_t most) {
        return random.one_in(6) ? 0 : random.one_in(6) ? most : random.below(most + 1);
    };
    for (uint64_t& pixel : made.pixels) {
        const uint64_t alpha = any(255);
        pixel = alpha << 24 | any(alpha) << 16 | any(alpha) << 8 | any(alpha);
    }
    return made;
}

pixman_image_t* image_over(TestBitmap& bitmap)
{
    return pixman_image_create_bits(PIXMAN_a8r8g8b8, kWidth, kHeight, reinterpret_cast<uint32_t*>(bitmap->Data),
                                    static_cast<int>(bitmap->BytesPerLine));
}

} // namespace

TEST(CombinePixman, ModesAreWhatAnotherLibraryHas)
{
    TestRandom random(1370);
    SCOPED_TRACE(random);
    for (const Row& row : kRows) {
        SCOPED_TRACE("mode " + std::to_string(row.mode));
        const Picture to = premultiplied(random);
        TestBitmap ours;
        TestBitmap theirs;
        TestBitmap from;
        ASSERT_NO_FATAL_FAILURE(make_stored(ours, Kind::conv, to, 32));
        ASSERT_NO_FATAL_FAILURE(make_stored(theirs, Kind::conv, to, 32));
        ASSERT_NO_FATAL_FAILURE(make_stored(from, Kind::conv, premultiplied(random), 32));
        ASSERT_EQ(SUCCESS, V_BlendBitmap(ours.get(), 0, 0, kWidth, kHeight, from.get(), 0, 0, nullptr, 0, 0,
                                         row.mode | BLEND_PREMULTIPLIED, 65535));
        pixman_image_t* const source = image_over(from);
        pixman_image_t* const target = image_over(theirs);
        pixman_image_composite32(row.op, source, nullptr, target, 0, 0, 0, 0, 0, 0, kWidth, kHeight);
        pixman_image_unref(source);
        pixman_image_unref(target);
        int farthest = 0;
        const size_t bytes = ours.bytes();
        for (size_t i = 0; i < bytes; ++i)
            farthest = std::max(farthest, std::abs(int{ours->Data[i]} - int{theirs->Data[i]}));
        EXPECT_LE(farthest, row.tolerance);
    }
}

#endif
