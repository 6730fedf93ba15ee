// Every fused path against the general way, on widths around its steps and chunks, in place, out of place and past the
// caches. Each comparison first makes sure that it is this very path that runs.
#include "kernel/convert/Fused.h"
#include "kernel/convert/Plan.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TestBitmap.h"

#include <memory>

namespace vk::testing {
namespace {

using pixel::Cpu;
using pixel::FusedPath;
using pixel::Plan;

/// Gives the paths back when a test ends.
struct Limit {
    explicit Limit(Cpu highest) { pixel::limit_fused(highest); }
    ~Limit() { pixel::limit_fused(Cpu::avx512); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
};

/// One path with palettes of its own.
struct Case {
    const FusedPath& path;
    ConvertJob job;
    RGBQUAD src_palette[256], dst_palette[256];

    Case(const FusedPath& p, TestRandom& random) : path(p)
    {
        random.fill(src_palette, sizeof src_palette);
        // Grays that a comparison can tell apart, either way round.
        const bool dark_first = random.one_in(2);
        const auto dark = static_cast<uint8_t>(random.below(100)),
                   light = static_cast<uint8_t>(120 + random.below(136));
        dst_palette[dark_first ? 0 : 1] = {dark, dark, dark, 0};
        dst_palette[dark_first ? 1 : 0] = {light, light, light, 0};
        job.src_bits = p.src_bits;
        job.dst_bits = p.dst_bits;
        job.src_order = p.src_order == pixel::kAnyOrder ? COLORORDER_RGB : p.src_order;
        job.dst_order = p.dst_order == pixel::kAnyOrder ? COLORORDER_RGB : p.dst_order;
        job.src_palette = src_palette;
        job.dst_palette = dst_palette;
    }

    /// The plan as decided below a level, and whether it takes the path.
    std::unique_ptr<Plan> plan(Cpu highest) const
    {
        const Limit limit(highest);
        auto result = std::make_unique<Plan>();
        EXPECT_TRUE(pixel::make_plan(job, result.get()));
        EXPECT_EQ(highest == Cpu::none ? nullptr : &path, result->fused) << path.name;
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
    pixel::run_row(*c.plan(Cpu::none), src.data(), result.data(), width, {});
    return result;
}

void compare(const Case& c, size_t width, TestRandom& random, GuardedBuffer& buffer, GuardedBuffer& target)
{
    SCOPED_TRACE(std::string(c.path.name) + ", " + std::to_string(width) + " pixels");
    const auto edge = random.one_in(2) ? GuardedBuffer::Edge::front : GuardedBuffer::Edge::back;
    const auto plan = c.plan(c.path.cpu);
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
    size_t run = 0;
    for (size_t i = 0; pixel::fused_path(i) != nullptr; ++i) {
        const FusedPath& path = *pixel::fused_path(i);
        ASSERT_EQ(0u, path.step % 8) << path.name;
        ASSERT_LE(path.step, pixel::kMaxFusedStep) << path.name;
        ASSERT_LE(path.slack, pixel::kFusedSlack) << path.name;
        if (path.cpu > pixel::cpu_level())
            continue;
        ++run;
        const Case c(path, random);
        for (size_t width = 1; width <= 300; ++width)
            compare(c, width, random, buffer, target);
        for (const size_t width : {2047u, 2048u, 2049u, 4096u, 5000u})
            compare(c, width, random, buffer, target);
        if (HasFailure())
            return;
    }
    EXPECT_GE(run, 2u);
    RecordProperty("level", static_cast<int>(pixel::cpu_level()));
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

} // namespace
} // namespace vk::testing
