// Areas against plain masks: how they are built, what they are asked, combined and laid out anew.
#include "tests/area/TestArea.h"

#include "kernel/area/Block.h"
#include "kernel/area/Combine.h"
#include "kernel/area/Transform.h"
#include "kernel/system/Blocks.h"

using namespace vk;
using namespace vk::testing;

namespace {

constexpr int32_t kSizes[][2] = {{1, 1},   {64, 3},   {3, 300},  {7, 40},  {21, 60},
                                 {45, 80}, {130, 65}, {257, 33}, {4200, 4}};

/// Runs a test on masks of all sizes.
template <class Run> void each_mask(Run run)
{
    for (const auto& [width, height] : kSizes)
        for (uint64_t seed = 1; seed <= 12; ++seed) {
            SCOPED_TRACE(::testing::Message() << width << " x " << height << ", seed " << seed);
            run(Mask::noise(width, height, seed), seed);
        }
}

TEST(Area, AnswersLikeTheMaskItWasBuiltFrom)
{
    each_mask([](Mask mask, uint64_t) {
        AreaBuilder built;
        build(mask, built);
        const Area area = built.area();
        EXPECT_EQ(mask, mask_of(area, mask.width, mask.height));
        AreaBox box{INT32_MAX, INT32_MAX, 0, 0};
        uint64_t size = 0;
        for (int32_t y = -1; y <= mask.height; ++y)
            for (int32_t x = -1; x <= mask.width; ++x) {
                const bool is_inside = x >= 0 && y >= 0 && x < mask.width && y < mask.height && mask.at(x, y);
                ASSERT_EQ(is_inside, area.contains(x, y)) << x << ", " << y;
                if (!is_inside)
                    continue;
                ++size;
                box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1),
                       std::max(box.bottom, y + 1)};
            }
        EXPECT_EQ(size, area.size());
        const AreaBox bounds = area.bounds();
        EXPECT_TRUE(size == 0 ? bounds.empty()
                              : bounds.left == box.left && bounds.top == box.top && bounds.right == box.right &&
                                    bounds.bottom == box.bottom);
        const AreaRuns part = area.row(mask.height / 2, mask.width / 4, mask.width / 2);
        for (const AreaRun& run : part)
            EXPECT_TRUE(run.end > mask.width / 4 && run.first < mask.width / 2);
    });
}

TEST(Area, CombinesLikeMasks)
{
    constexpr AreaOp kOps[] = {AreaOp::both, AreaOp::either, AreaOp::one, AreaOp::first_only, AreaOp::second_only};
    each_mask([&](Mask a, uint64_t seed) {
        // A third of them share most rows, so that edges and bands meet.
        Mask b = Mask::noise(a.width, a.height, seed + 100);
        for (size_t i = 0; i < b.pixels.size() && seed % 3 == 0; ++i)
            b.pixels[i] = i / static_cast<size_t>(a.width) % 5 ? a.pixels[i] : b.pixels[i];
        Mask smaller = Mask::noise((a.width + 1) / 2, (a.height + 2) / 3, seed + 200);
        AreaBuilder first, second, built;
        build(a, first);
        build(b, second);
        for (const AreaOp op : kOps) {
            SCOPED_TRACE(static_cast<int>(op));
            const auto wanted = [&](Mask& other) {
                return Mask::of(other.width, other.height, [&](int32_t x, int32_t y) {
                    return static_cast<int>(op) >> (a.at(x, y) + 2 * other.at(x, y)) & 1;
                });
            };
            ASSERT_TRUE(combine_areas(first.area(), second.area(), op, built));
            EXPECT_EQ(wanted(b), mask_of(built.area(), a.width, a.height));
            // The same with the second one read from bits, whose rows end the first.
            for (Mask* const bits : {&b, &smaller}) {
                built.clear();
                send(*bits, BitsToArea(first.area(), op, built));
                EXPECT_EQ(wanted(*bits), mask_of(built.area(), bits->width, bits->height));
            }
        }
    });
}

TEST(Area, ObeysTheLawsOfSets)
{
    const AreaBox frame{0, 0, 90, 70};
    for (uint64_t seed = 1; seed <= 20; ++seed) {
        AreaBuilder a, b, c, left, right, part, other;
        build(Mask::noise(90, 70, seed), a);
        build(Mask::noise(90, 70, seed + 50), b);
        build(Mask::noise(90, 70, seed + 90), c);
        for (const AreaOp op : {AreaOp::both, AreaOp::either, AreaOp::one}) {
            combine_areas(a.area(), b.area(), op, part);
            combine_areas(part.area(), c.area(), op, left);
            combine_areas(b.area(), c.area(), op, part);
            combine_areas(a.area(), part.area(), op, right);
            EXPECT_TRUE(left.area().equals(right.area())) << "associativity, seed " << seed;
        }
        combine_areas(a.area(), b.area(), AreaOp::either, part);
        invert_area(part.area(), frame, left);
        invert_area(a.area(), frame, part);
        invert_area(b.area(), frame, other);
        combine_areas(part.area(), other.area(), AreaOp::both, right);
        EXPECT_TRUE(left.area().equals(right.area())) << "De Morgan, seed " << seed;
    }
}

TEST(Area, FollowsEveryLayout)
{
    each_mask([](Mask mask, uint64_t seed) {
        const int32_t w = mask.width;
        const int32_t h = mask.height;
        AreaBuilder from, built;
        build(mask, from);
        const Area area = from.area();
        EXPECT_TRUE(copy_area(area, built) && area.equals(built.area()));
        ASSERT_TRUE(flip_area(area, h, built));
        EXPECT_EQ(Mask::of(w, h, [&](int32_t x, int32_t y) { return mask.at(x, h - 1 - y); }),
                  mask_of(built.area(), w, h));
        ASSERT_TRUE(mirror_area(area, w, built));
        EXPECT_EQ(Mask::of(w, h, [&](int32_t x, int32_t y) { return mask.at(w - 1 - x, y); }),
                  mask_of(built.area(), w, h));
        ASSERT_TRUE(transpose_area(area, built));
        EXPECT_EQ(Mask::of(h, w, [&](int32_t x, int32_t y) { return mask.at(y, x); }), mask_of(built.area(), h, w));
        const auto dx = static_cast<int32_t>(seed * 5) - 30;
        const auto dy = 12 - static_cast<int32_t>(seed * 3);
        ASSERT_TRUE(move_area(area, dx, dy, {0, 0, w, h}, built));
        EXPECT_EQ(Mask::of(w, h,
                           [&](int32_t x, int32_t y) {
                               const int32_t c = x - dx, r = y - dy;
                               return c >= 0 && r >= 0 && c < w && r < h && mask.at(c, r);
                           }),
                  mask_of(built.area(), w, h));
        const auto new_w = 1 + static_cast<int32_t>(seed * 37 % 300);
        const auto new_h = 1 + static_cast<int32_t>(seed * 11 % 90);
        ASSERT_TRUE(scale_area(area, w, h, new_w, new_h, built));
        EXPECT_EQ(Mask::of(new_w, new_h, [&](int32_t x, int32_t y) { return mask.at(x * w / new_w, y * h / new_h); }),
                  mask_of(built.area(), new_w, new_h));
    });
}

TEST(Area, LivesInABlockThatIsToldApart)
{
    AreaBuilder built;
    build(Mask::noise(90, 70, 4), built);
    for (const AreaHome home : {AreaHome::block, AreaHome::section})
        for (const int32_t few : {0, 1}) { // the builder's own block, or a copy
            AreaBuilder other(home);
            build(Mask::noise(90, few == 0 ? 70 : 1, 4), other);
            const std::vector<AreaRun> runs(other.area().runs, other.area().runs + other.area().run_count);
            void* const block = other.release();
            ASSERT_TRUE(is_area_block(block));
            EXPECT_TRUE(few != 0 || area_of_block(block).equals(built.area()));
            EXPECT_EQ(runs.size(), area_of_block(block).run_count);
            EXPECT_FALSE(is_area_block(static_cast<uint8_t*>(block) + 8));
            locked_block_free(block);
        }
    EXPECT_FALSE(is_area_block(&built));
    EXPECT_FALSE(is_area_block(nullptr));
    void* const other = locked_block_alloc(200);
    EXPECT_FALSE(is_area_block(other));
    locked_block_free(other);
}

} // namespace
