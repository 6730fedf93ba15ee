// The run-length codec: what its form is, that the fast ways give exactly what the byte-wise one gives, and that no
// words, however wrong, make a reader leave the row or a writer leave the pixels. Buffers lie against forbidden pages.
#include "kernel/runs/RunLength.h"
#include "kernel/runs/RunLengthKernel.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

namespace rl = vk::runlength;
using namespace vk::testing;

namespace {

using Bytes = std::vector<uint8_t>;
using Runs = std::vector<uint16_t>;
using Edge = GuardedBuffer::Edge;

constexpr uint32_t kMostPixels = 270000;

bool pixel(const uint8_t* bytes, uint64_t i)
{
    return (bytes[i / 8] >> (7 - i % 8) & 1) != 0;
}

Bytes row_of(const Runs& runs)
{
    const auto count = static_cast<uint32_t>(runs.size());
    Bytes row(rl::row_bytes(count));
    std::memcpy(row.data(), &count, sizeof count);
    if (count != 0)
        std::memcpy(row.data() + 4, runs.data(), 2 * runs.size());
    return row;
}

Runs runs_of(const Bytes& row)
{
    Runs runs((row.size() - 4) / 2);
    EXPECT_EQ(runs.size(), rl::word_count(row.data()));
    if (!runs.empty())
        std::memcpy(runs.data(), row.data() + 4, 2 * runs.size());
    return runs;
}

/// The pixels of runs, one per element, as many as asked for.
std::vector<bool> model(const Runs& runs, size_t pixels)
{
    std::vector<bool> all;
    for (size_t i = 0; i < runs.size() && all.size() < pixels; ++i)
        all.insert(all.end(), runs[i], i % 2 == 1);
    all.resize(pixels);
    return all;
}

/// Pixels of many characters, bits in front of and behind a row included.
enum class Content { clear, set, random, speckled, stripes, long_runs, count };

Bytes content(Content kind, size_t bytes, TestRandom& random)
{
    Bytes all(bytes, kind == Content::set ? 0xFF : 0);
    uint8_t now = 0;
    for (uint8_t& byte : all) {
        switch (kind) {
        case Content::random:
            byte = static_cast<uint8_t>(random.next());
            break;
        case Content::speckled:
            byte = static_cast<uint8_t>(random.one_in(20) ? 0x80u >> random.below(8) : 0u);
            break;
        case Content::stripes:
            byte = 0x55;
            break;
        case Content::long_runs: {
            const auto cut = static_cast<uint8_t>(0xFFu >> random.below(8));
            const bool change = random.one_in(6000);
            byte = static_cast<uint8_t>(change ? now ^ cut : now);
            now = static_cast<uint8_t>(change ? ~now : now);
            break;
        }
        default:
            break;
        }
    }
    return all;
}

/// Runs a check at every level of the processor; says which ran.
template <class Check> void at_every_level(Check&& check)
{
    const vk::simd::Level best = vk::simd::level();
    for (const vk::simd::Level level : kLevels) {
        const AtLevel at(level);
        const auto& loops = rl::change_loops_sets;
        EXPECT_EQ(at.reached >= kFirstWithLoops, loops.best() != nullptr);
        EXPECT_EQ(std::min(best, level) == vk::simd::Level::avx512, loops.best() && loops.best() == loops.avx512);
        if (level > best)
            continue;
        SCOPED_TRACE(static_cast<int>(level));
        check();
        if (::testing::Test::HasFailure())
            break;
    }
}

/// Compresses pixels that end or begin at a forbidden page into a block that ends at one, at every level and bytewise.
class CompressionCheck {
public:
    void operator()(const Bytes& pixels, uint32_t bit_offset, uint32_t count)
    {
        SCOPED_TRACE("offset " + std::to_string(bit_offset) + ", " + std::to_string(count) + " pixels");
        const Edge edge = count % 2 == 0 ? Edge::back : Edge::front;
        from_.place(pixels.size(), edge);
        std::copy(pixels.begin(), pixels.end(), from_.data());
        plain_.place(rl::max_row_bytes(count), Edge::back);
        const size_t bytes = rl::compress_plain(plain_.data(), from_.data(), bit_offset, count);
        ASSERT_LE(bytes, rl::max_row_bytes(count));
        fast_.place(bytes, Edge::back);
        std::fill_n(fast_.data(), bytes, uint8_t{0xA5});
        ASSERT_EQ(bytes, rl::compress(fast_.data(), from_.data(), bit_offset, count));
        ASSERT_TRUE(std::equal(fast_.data(), fast_.data() + bytes, plain_.data()));
        ASSERT_EQ(bytes, rl::measure(from_.data(), bit_offset, count));
        ASSERT_EQ(count, rl::covered(fast_.data(), UINT32_MAX));
        ASSERT_TRUE(std::equal(pixels.begin(), pixels.end(), from_.data())) << "the source was written";
        if (bit_offset == 0)
            check_expansion(pixels, count);
    }

private:
    void check_expansion(const Bytes& pixels, uint32_t count)
    {
        out_.place((size_t{count} + 7) / 8, count % 3 == 0 ? Edge::front : Edge::back);
        std::fill_n(out_.data(), out_.size(), uint8_t{0xA5});
        rl::expand(fast_.data(), out_.data(), 0, count);
        for (size_t i = 0; i < out_.size(); ++i) {
            const uint32_t mask = i == count / 8 ? ~(0xFFu >> (count % 8)) : 0xFFu;
            ASSERT_EQ(pixels[i] & mask, out_.data()[i]) << "byte " << i;
        }
        EXPECT_TRUE(count > 65535 || rl::is_canonical(fast_.data(), count));
    }

    GuardedBuffer from_{kMostPixels / 8 + 2, Edge::back};
    GuardedBuffer plain_{rl::max_row_bytes(kMostPixels), Edge::back};
    GuardedBuffer fast_{rl::max_row_bytes(kMostPixels), Edge::back};
    GuardedBuffer out_{kMostPixels / 8 + 2, Edge::back};
};

TEST(RunLength, HasTheDocumentedForm)
{
    struct Case {
        Bytes pixels;
        uint32_t offset;
        uint32_t count;
        Runs runs;
    };
    const Bytes clear(30000, 0);
    const Bytes set(30000, 0xFF);
    const Case cases[] = {
        {clear, 0, 100, {100}},
        {{0xDF}, 0, 3, {0, 2, 1}},
        {{0xFF}, 3, 4, {0, 4}}, // masked bits do not count, nor do those behind
        {{0xE4}, 2, 5, {0, 1, 2, 1, 1}},
        {clear, 0, 0, {}},
        {clear, 0, 65535, {65535}},
        {clear, 0, 65536, {65528, 0, 8}},
        {clear, 0, 70000, {65528, 0, 4472}},
        {clear, 3, 70000, {65533, 0, 4467}},
        {clear, 1, 65536, {65535, 0, 1}},
        {set, 0, 131072, {0, 65528, 0, 65528, 0, 16}},
        {set, 7, 131072, {0, 65529, 0, 65528, 0, 15}},
    };
    at_every_level([&] {
        for (const Case& c : cases) {
            Bytes row(rl::max_row_bytes(c.count));
            row.resize(rl::compress(row.data(), c.pixels.data(), c.offset, c.count));
            EXPECT_EQ(c.runs, runs_of(row));
        }
    });
    for (const uint32_t count : {0u, 1u, 65535u, 65536u, 70000u, 131063u, 131064u, 200000u}) {
        Bytes row(rl::clear_row_bytes(count));
        ASSERT_EQ(row.size(), rl::compress_clear(row.data(), count)) << count;
        ASSERT_EQ(row.size(), rl::measure(clear.data(), 0, count)) << count;
        EXPECT_EQ(count, rl::covered(row.data(), UINT32_MAX));
    }
}

TEST(RunLength, EqualsTheBytewiseFormAtEveryWidthAndOffset)
{
    TestRandom random(101);
    SCOPED_TRACE(random);
    CompressionCheck check;
    at_every_level([&] {
        for (uint32_t count = 0; count <= 300 && !HasFailure(); ++count)
            for (uint32_t offset = 0; offset < 8; ++offset)
                check(content(static_cast<Content>(random.below(static_cast<uint64_t>(Content::count))),
                              (size_t{offset} + count + 7) / 8, random),
                      offset, count);
    });
}

TEST(RunLength, SplitsLongRunsAsBytesBringThem)
{
    TestRandom random(102);
    SCOPED_TRACE(random);
    CompressionCheck check;
    const auto around = [&](uint32_t count, uint32_t offset, Content kind, uint32_t change) {
        Bytes pixels = content(kind, (size_t{offset} + count + 7) / 8, random);
        if (change < offset + count) // everything from a pixel on in the other colour
            for (uint32_t i = change; i < 8 * pixels.size(); ++i)
                pixels[i / 8] = static_cast<uint8_t>(pixels[i / 8] ^ 0x80u >> i % 8);
        check(pixels, offset, count);
    };
    at_every_level([&] {
        for (const uint32_t edge : {65528u, 65535u, 65536u, 131056u, 131063u, 131070u, 200000u})
            for (uint32_t count = edge - 9; count <= edge + 9 && !HasFailure(); count += 1 + count % 2) {
                const auto offset = static_cast<uint32_t>(random.below(8));
                for (const Content kind : {Content::clear, Content::set}) {
                    around(count, offset, kind, UINT32_MAX);
                    around(count, offset, kind, static_cast<uint32_t>(random.below(80)));
                    around(count, offset, kind, 65500 + static_cast<uint32_t>(random.below(60)));
                }
                around(count, offset, Content::long_runs, UINT32_MAX);
            }
        for (int i = 0; i < 12 && !HasFailure(); ++i)
            around(static_cast<uint32_t>(random.below(kMostPixels)), static_cast<uint32_t>(random.below(8)),
                   static_cast<Content>(i % 6), UINT32_MAX);
    });
}

/// Words of any kind: short and long runs, zeros, counts that end early.
Runs hostile_runs(TestRandom& random)
{
    Runs runs(random.below(random.one_in(3) ? 200 : 9));
    const uint64_t most = uint64_t{1} << random.below(17);
    for (uint16_t& run : runs)
        run = random.one_in(4) ? 0 : static_cast<uint16_t>(random.below(most));
    return runs;
}

TEST(RunLength, ExpandsAndOverlaysAnyWordsWithinBounds)
{
    TestRandom random(103);
    SCOPED_TRACE(random);
    GuardedBuffer row(4096, Edge::back);
    GuardedBuffer out(20000, Edge::back);
    for (int round = 0; round < 4000 && !HasFailure(); ++round) {
        const Runs runs = hostile_runs(random);
        const auto start = random.one_in(2) ? 0 : static_cast<uint32_t>(random.below(5000));
        const auto count = static_cast<uint32_t>(random.below(random.one_in(4) ? 70000 : 900));
        const auto offset = static_cast<uint32_t>(random.below(8));
        const Edge edge = random.one_in(2) ? Edge::front : Edge::back;
        const Bytes bytes = row_of(runs);
        row.place(bytes.size(), Edge::back);
        std::copy(bytes.begin(), bytes.end(), row.data());

        const std::vector<bool> expected = model(runs, size_t{start} + count);
        out.place((size_t{count} + 7) / 8, edge);
        std::fill_n(out.data(), out.size(), uint8_t{0xFF});
        Bytes plain(out.size(), 0xFF);
        rl::expand(row.data(), out.data(), start, count);
        rl::expand_plain(row.data(), plain.data(), start, count);
        ASSERT_TRUE(std::equal(plain.begin(), plain.end(), out.data()));
        for (uint32_t i = 0; i < 8 * out.size(); ++i)
            ASSERT_EQ(i < count && expected[start + i], pixel(out.data(), i)) << "pixel " << i;

        const uint64_t sum = std::accumulate(runs.begin(), runs.end(), uint64_t{0});
        const auto covered = static_cast<uint32_t>(std::min<uint64_t>(sum, count));
        out.place((size_t{offset} + covered + 7) / 8, edge);
        random.fill(out.data(), out.size());
        const Bytes before(out.data(), out.data() + out.size());
        EXPECT_EQ(covered, rl::covered(row.data(), count));
        ASSERT_EQ(covered, rl::overlay(row.data(), out.data(), offset, count));
        const std::vector<bool> laid = model(runs, covered);
        for (uint32_t i = 0; i < 8 * out.size(); ++i) {
            const bool inside = i >= offset && i < offset + covered;
            ASSERT_EQ(inside ? laid[i - offset] : pixel(before.data(), i), pixel(out.data(), i)) << i;
        }
        if (rl::is_canonical(row.data(), count)) {
            Bytes again(rl::max_row_bytes(count));
            again.resize(rl::compress(again.data(), plain.data(), 0, count));
            EXPECT_TRUE(start != 0 || again == bytes);
        }
    }
}

TEST(RunLength, MirrorsInPlace)
{
    struct Case {
        Runs before;
        uint32_t pixels;
        Runs after;
        bool fits = true;
    };
    const Case cases[] = {
        {{100}, 100, {100}},
        {{3, 4}, 7, {0, 4, 3}}, // ends with set pixels: one word more
        {{0, 2, 1}, 3, {1, 2}},
        {{0, 5}, 5, {0, 5}},
        {{4472, 0, 65528}, 70000, {65528, 0, 4472}},
        {{3, 9, 50}, 8, {0, 5, 3}}, // cut
        {{3, 4}, 10, {3, 4, 3}},    // the rest is clear
        {{3, 4, 1}, 10, {3, 4, 3}},
        {{}, 10, {}},
        {{0, 0}, 10, {}},
        {{5, 3}, 0, {}},
        {{1, 2, 40000}, 100000, {1, 2, 40000}, false}, // would need more words
    };
    for (const Case& c : cases) {
        GuardedBuffer buffer(rl::row_bytes(static_cast<uint32_t>(std::max(c.before.size(), c.after.size()))),
                             Edge::back);
        const Bytes before = row_of(c.before);
        std::copy(before.begin(), before.end(), buffer.data());
        EXPECT_EQ(c.fits, rl::mirror(buffer.data(), c.pixels));
        EXPECT_EQ(c.after, runs_of(Bytes(buffer.data(), buffer.data() + rl::row_bytes(rl::word_count(buffer.data())))));
    }
    TestRandom random(104);
    SCOPED_TRACE(random);
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        const Runs runs = hostile_runs(random);
        const auto count = static_cast<uint32_t>(random.below(3000));
        Bytes row = row_of(runs);
        row.resize(row.size() + 2);
        ASSERT_TRUE(rl::mirror(row.data(), count));
        std::vector<bool> expected = model(runs, count);
        std::reverse(expected.begin(), expected.end());
        row.resize(rl::row_bytes(rl::word_count(row.data())));
        EXPECT_EQ(expected, model(runs_of(row), count));
        EXPECT_LE(rl::covered(row.data(), UINT32_MAX), count);
    }
}

TEST(RunLength, FlipsRowsOfAnySizes)
{
    TestRandom random(105);
    SCOPED_TRACE(random);
    for (uint32_t rows = 0; rows < 40; ++rows) {
        Bytes forward;
        Bytes backward;
        for (uint32_t i = 0; i < rows; ++i) {
            // One row in between has so many words that its count needs both halves.
            const Bytes row = row_of(i == 20 ? Runs(70000, static_cast<uint16_t>(i)) : hostile_runs(random));
            forward.insert(forward.end(), row.begin(), row.end());
            backward.insert(backward.begin(), row.begin(), row.end());
        }
        rl::flip(forward.data(), rows);
        ASSERT_EQ(backward, forward) << rows << " rows";
    }
}

} // namespace
