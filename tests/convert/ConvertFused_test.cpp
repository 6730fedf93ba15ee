// Every fused path against the general way, on widths around its steps and chunks, in place, out of place and past the
// caches. Each comparison first makes sure that it is this very path that runs.
#include "kernel/convert/Fused.h"
#include "kernel/convert/KeptPlan.h"
#include "kernel/convert/Plan.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestBitmap.h"

#include <memory>

namespace vk::testing {
namespace {

using pixel::FusedPath;
using pixel::Plan;

/// One path with palettes of its own, and the level that has it.
struct Case {
    const FusedPath& path;
    const simd::Level level;
    ConvertJob job;
    RGBQUAD src_palette[256], dst_palette[256];

    /// Of pixels that are spread to the bytes that the path takes, of `spread_from` bits, unless that is 0.
    Case(const FusedPath& p, simd::Level l, TestRandom& random, int32_t spread_from = 0) : path(p), level(l)
    {
        random.fill(src_palette, sizeof src_palette);
        // Grays that a comparison can tell apart, either way round.
        const bool dark_first = random.one_in(2);
        const auto dark = static_cast<uint8_t>(random.below(100)),
                   light = static_cast<uint8_t>(120 + random.below(136));
        dst_palette[dark_first ? 0 : 1] = {dark, dark, dark, 0};
        dst_palette[dark_first ? 1 : 0] = {light, light, light, 0};
        const bool is_gray = p.src_bits == 0 || p.src_order == COLORORDER_GRAY;
        if (is_gray && p.serves == pixel::find_bits) // or that none can
            dst_palette[0] = dst_palette[1];
        job.src_bits = spread_from != 0 ? spread_from : p.src_bits;
        job.dst_bits = p.dst_bits;
        job.src_order = p.src_order == pixel::kAnyOrder ? COLORORDER_RGB : p.src_order;
        job.dst_order = p.dst_order == pixel::kAnyOrder ? COLORORDER_RGB : p.dst_order;
        job.src_palette = src_palette;
        job.dst_palette = dst_palette;
    }

    /// The plan as decided below a level, and whether it takes the path.
    std::unique_ptr<Plan> plan(simd::Level highest) const
    {
        const AtLevel at(highest);
        auto result = std::make_unique<Plan>();
        EXPECT_TRUE(pixel::make_plan(job, result.get()));
        const FusedPath* const expected = highest == simd::Level::plain ? nullptr : &path;
        EXPECT_EQ(expected, result->fused) << path.name;
        EXPECT_EQ(expected != nullptr && job.src_bits != path.src_bits, result->spread != nullptr) << path.name;
        return result;
    }

    size_t src_bytes(size_t width) const
    {
        return packed_bytes_of(static_cast<int64_t>(width), job.src_bits == 0 ? 8 : job.src_bits);
    }
    size_t dst_bytes(size_t width) const
    {
        return packed_bytes_of(static_cast<int64_t>(width), job.dst_bits == 0 ? 8 : job.dst_bits);
    }
};

Bytes general(const Case& c, const Bytes& src, size_t width)
{
    Bytes result(c.dst_bytes(width));
    pixel::run_row(*c.plan(simd::Level::plain), src.data(), result.data(), width, {});
    return result;
}

void compare(const Case& c, size_t width, TestRandom& random, GuardedBuffer& buffer, GuardedBuffer& target)
{
    SCOPED_TRACE(std::string(c.path.name) + ", " + std::to_string(width) + " pixels");
    const auto edge = random.one_in(2) ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back;
    const auto plan = c.plan(c.level);
    Bytes src(c.src_bytes(width));
    random.fill(src.data(), src.size());
    const Bytes expected = general(c, src, width);

    buffer.place(src.size(), edge);
    target.place(expected.size(), edge);
    std::memcpy(buffer.data(), src.data(), src.size());
    pixel::run_row(*plan, buffer.data(), target.data(), width, {});
    ASSERT_EQ(expected, Bytes(target.data(), target.data() + expected.size())) << "out of place";
    std::memset(target.data(), 0xCC, expected.size());
    pixel::stream_fused(*plan, buffer.data(), target.data(), width);
    ASSERT_EQ(expected, Bytes(target.data(), target.data() + expected.size())) << "past the caches";

    buffer.place(std::max(src.size(), expected.size()), edge);
    std::memcpy(buffer.data(), src.data(), src.size());
    pixel::run_in_place(*plan, buffer.data(), width);
    ASSERT_EQ(expected, Bytes(buffer.data(), buffer.data() + expected.size())) << "in place";
}

TEST(ConvertFused, EveryPathIsTheGeneralWay)
{
    TestRandom random(4711);
    SCOPED_TRACE(random);
    GuardedBuffer buffer(40000, GuardedBuffer::Edge::front), target(40000, GuardedBuffer::Edge::front);
    const auto expect_rows = [&](const pixel::FusedRows& rows, simd::Level level) {
        for (const FusedPath* path = rows.first; path < rows.first + rows.count; ++path) {
            ASSERT_EQ(0u, path->step % 8) << path->name;
            ASSERT_LE(path->step, pixel::kMaxFusedStep) << path->name;
            ASSERT_LE(path->slack, pixel::kFusedSlack) << path->name;
            const Case c(*path, level, random);
            for (size_t width = 1; width <= 300; ++width)
                compare(c, width, random, buffer, target);
            for (const size_t width : {2047u, 2048u, 2049u, 4096u, 5000u})
                compare(c, width, random, buffer, target);
            for (int32_t bits = path->dst_bits == 1 ? 2 : 1; bits < 8 && path->src_bits == 8 && path->src_order < 0;
                 ++bits)
                for (const size_t width : {1u, 65u, 299u, 2049u, 5001u})
                    compare(Case(*path, level, random, bits), width, random, buffer, target);
            if (HasFailure())
                return;
        }
    };
    expect_rows(pixel::kPlainFusedRows, simd::Level::base);
    for (const simd::Level level : {simd::Level::neon, simd::Level::avx2, simd::Level::avx512}) {
        SCOPED_TRACE(static_cast<int>(level));
        const AtLevel at(level);
        const pixel::FusedRows* const rows = pixel::fused_rows_sets.best();
        if (rows != nullptr && at.reached == level)
            expect_rows(*rows, level);
    }
}

TEST(ConvertFused, DecidesOnceForWholeBlocks)
{
    // Large enough to go past the caches, with rows of an odd length and padding between them.
    constexpr size_t kWidth = 4001, kRows = 1200, kSrcStride = 3 * kWidth + 1, kDstStride = 4 * kWidth + 8;
    TestRandom random(12);
    Bytes src(kSrcStride * kRows), dst(kDstStride * kRows, 0xCC);
    random.fill(src.data(), src.size());
    ConvertJob job;
    job.width = static_cast<int32_t>(kWidth);
    job.src_bits = 24;
    job.dst_bits = 32;
    ASSERT_EQ(V_SUCCESS, convert_rows({src.data(), kSrcStride}, {dst.data(), kDstStride}, kRows, job));
    for (size_t row = 0; row < kRows; ++row) {
        const uint8_t* from = src.data() + row * kSrcStride;
        const uint8_t* to = dst.data() + row * kDstStride;
        for (size_t x = 0; x < kWidth; ++x) {
            ASSERT_EQ(0, std::memcmp(from + 3 * x, to + 4 * x, 3)) << row << ' ' << x;
            ASSERT_EQ(255, to[4 * x + 3]);
        }
        ASSERT_EQ(8, std::count(to + 4 * kWidth, to + kDstStride, 0xCC)) << row;
    }
}

TEST(ConvertFused, KeepsThePlanOfRowsAlike)
{
    // A few jobs by turns and in runs, whose palettes change in between: always what a plan of its own makes, and no
    // more plans than there are changes.
    constexpr size_t kWidth = 70;
    TestRandom random(77);
    SCOPED_TRACE(random);
    RGBQUAD palettes[2][256];
    random.fill(palettes, sizeof palettes);
    ConvertJob jobs[6];
    constexpr int32_t kBits[][2] = {{24, 8}, {8, 1}, {8, 24}, {4, 8}, {16, 4}, {24, 32}};
    for (size_t i = 0; i < std::size(jobs); ++i) {
        jobs[i].width = kWidth;
        jobs[i].src_bits = kBits[i][0];
        jobs[i].dst_bits = kBits[i][1];
        jobs[i].src_palette = i == 3 ? nullptr : palettes[0];
        jobs[i].dst_palette = i == 4 ? nullptr : palettes[1];
    }
    size_t last = std::size(jobs);
    for (int round = 0; round < 400; ++round) {
        const size_t which = random.one_in(3) ? random.below(std::size(jobs)) : std::min(last, std::size(jobs) - 1);
        const ConvertJob& job = jobs[which];
        bool is_alike = which == last;
        if (random.one_in(8)) {
            const size_t palette = random.below(2), entry = random.below(2);
            palettes[palette][entry].rgbGreen ^= 0x80;
            const bool is_used =
                palette == 0 ? job.src_bits <= 8 && job.src_palette : job.dst_bits <= 8 && job.dst_palette;
            is_alike = is_alike && !is_used;
        }
        last = which;
        Bytes row(kWidth * 4), expected(kWidth * 4);
        random.fill(row.data(), row.size());
        ASSERT_EQ(V_SUCCESS, convert_rows({row.data(), row.size()}, {expected.data(), expected.size()}, 1, job));
        const uint64_t made = pixel::plans_made();
        ASSERT_EQ(V_SUCCESS, convert_buffer(row.data(), job));
        ASSERT_EQ(made + (is_alike ? 0 : 1), pixel::plans_made()) << which;
        const int64_t bytes = packed_bytes_of(static_cast<int64_t>(kWidth), job.dst_bits);
        ASSERT_EQ(0, std::memcmp(expected.data(), row.data(), static_cast<size_t>(bytes))) << which;
    }
    ConvertJob wrong = jobs[last];
    wrong.dst_bits = 19;
    Bytes row(kWidth * 4);
    EXPECT_EQ(V_ERROR_INVALID_PARAMETER, convert_buffer(row.data(), wrong));
    EXPECT_EQ(V_SUCCESS, convert_buffer(row.data(), jobs[last])); // what a failure left is not taken for a plan
}

} // namespace
} // namespace vk::testing
