// Rows: the planned kernels against the rule written out pixel by pixel, the scan-line functions, and rows resized in
// place as they come.
#include "kernel/resize/Nearest.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkresize.h"

#include <numeric>

using namespace vk::testing;
using vk::resize::Way;
using vk::simd::Level;

namespace {

/// The rule: pixel i is pixel floor(i * from / to), on top of what `row` holds.
Bytes expected_row(const uint8_t* src, int32_t bits, int32_t from, int32_t to, Bytes row)
{
    for (int32_t i = 0; i < to; ++i)
        set_pixel(row.data(), bits, i, get_pixel(src, bits, static_cast<int32_t>(int64_t{i} * from / to)));
    return row;
}

TEST(ResizeRow, KernelsFollowTheRule)
{
    constexpr int32_t kWidths[] = {1, 2, 3, 7, 8, 9, 16, 31, 33, 64, 65, 130, 257, 1000};
    constexpr size_t kMost = 1000 * 8;
    using Edge = GuardedBuffer::Edge;
    GuardedBuffer src(kMost, Edge::back);
    GuardedBuffer dst(kMost, Edge::back);
    TestRandom random(310);
    SCOPED_TRACE(random);
    const Level best = vk::simd::level();
    int ways[8] = {};
    for (const Level level : kLevels)
        for (const int32_t bits : kDepths)
            for (const int32_t from : kWidths)
                for (int32_t to : kWidths) {
                    to += from == 1000 ? random.between(0, 3) * 127 % 500 : 0;
                    to = from == 257 && to == 64 ? 2 * from : std::min(to, 1000);
                    const Edge edge = random.one_in(2) ? Edge::front : Edge::back;
                    const AtLevel at(level);
                    const bool has_loops = at.reached >= kFirstWithLoops;
                    vk::resize::NearestPlan plan;
                    ASSERT_EQ(SUCCESS, vk::resize::plan_nearest(plan, bits, from, to));
                    if (bits == 1 && has_loops && from / to < vk::resize::kMostShuffledBits && random.one_in(3)) {
                        ASSERT_TRUE(make_shuffle_bits(plan)); // which processors that are fast at bits do without
                    }
                    ++ways[static_cast<int>(plan.way)];
                    EXPECT_TRUE(has_loops || plan.way == Way::walk || from == to);
                    EXPECT_TRUE(!has_loops || bits != 24 || from == to || from / to > 3 || plan.to_bytes() < 32 ||
                                plan.way == (at.reached == Level::avx512 ? Way::permute : Way::shuffle));
                    src.place(packed_bytes_of(from, bits), edge);
                    dst.place(packed_bytes_of(to, bits), edge);
                    random.fill(src.data(), src.size());
                    random.fill(dst.data(), dst.size());
                    vk::resize::run_nearest(plan, src.data(), dst.data());
                    ASSERT_EQ(expected_row(src.data(), bits, from, to, Bytes(dst.size())),
                              Bytes(dst.data(), dst.data() + dst.size()))
                        << bits << " bits, " << from << " to " << to << ", way " << static_cast<int>(plan.way);
                }
    for (const Way way : {Way::copy, Way::walk, Way::shuffle, Way::permute, Way::pick_bits, Way::spread_bits,
                          Way::double_bits, Way::shuffle_bits})
        EXPECT_TRUE(ways[static_cast<int>(way)] > 0 || best < kFirstWithLoops ||
                    (best < Level::avx512 && way == Way::permute) ||
                    (!vk::simd::moves_bits_fast() && (way == Way::pick_bits || way == Way::spread_bits)))
            << static_cast<int>(way);
}

TEST(ResizeRow, StreamedRowsAreCopies)
{
    Bytes from(700);
    std::iota(from.begin(), from.end(), uint8_t{0});
    for (size_t start = 0; start < 70; start += 3)
        for (const size_t bytes : {0, 1, 63, 64, 65, 127, 200, 600}) {
            Bytes to(700, 0xA5);
            vk::resize::stream_rows(from.data() + 5, to.data() + start, bytes);
            Bytes expected(700, 0xA5);
            std::copy_n(from.begin() + 5, bytes, expected.begin() + static_cast<std::ptrdiff_t>(start));
            ASSERT_EQ(expected, to) << start << ", " << bytes;
        }
}

/// Both scan-line functions, from a start and an accumulator on.
TEST(ResizeRow, ScanLinesOfEveryDepth)
{
    TestRandom random(311);
    SCOPED_TRACE(random);
    for (int32_t bits = 1; bits <= 64; ++bits)
        for (int round = 0; round < 12; ++round) {
            const int32_t from = random.between(1, 40);
            const int32_t to = round == 0 ? from : random.between(1, 60);
            const int32_t start = random.between(0, 5);
            const int32_t skipped = random.between(0, to - 1); // destination pixels in front of the part
            const bool is_same = from == to;
            const int32_t quotient = is_same ? 0 : from / to;
            const int32_t remainder = is_same ? to : from % to;
            const auto accumulator = is_same ? 0 : static_cast<int32_t>(int64_t{skipped} * from % to);
            const int32_t first = start + (is_same ? 0 : static_cast<int32_t>(int64_t{skipped} * from / to));
            const int32_t count = to - skipped;
            Bytes src(packed_bytes_of(from + 8, bits) + 2);
            random.fill(src.data(), src.size());
            const size_t room = packed_bytes_of(count, bits) + 3;
            const bool clears = bits <= 3 || bits == 5;
            const Bytes before(room, clears ? 0x00 : 0x5A);
            Bytes expected = before;
            for (int32_t i = 0; i < count; ++i) {
                const int64_t at = is_same ? i : int64_t{skipped + i} * from / to - int64_t{skipped} * from / to;
                for (int32_t bit = 0; bit < bits; ++bit) { // bit by bit: other depths than a bitmap's are streams
                    const bool little = bits % 8 == 0 || vk::packing_of(bits) == vk::Packing::low_first;
                    const int64_t s = (first + at) * bits + bit;
                    const int64_t d = int64_t{i} * bits + bit;
                    const auto shift = [little](int64_t b) { return little ? b % 8 : 7 - b % 8; };
                    const uint32_t value = src[static_cast<size_t>(s / 8)] >> shift(s) & 1u;
                    uint8_t& byte = expected[static_cast<size_t>(d / 8)];
                    byte = static_cast<uint8_t>((byte & ~(1u << shift(d))) | value << shift(d));
                }
            }
            for (const bool reverse : {false, true}) {
                Bytes dst(room, 0x5A);
                const auto scan = reverse ? V_ReverseGetResizedScanLine : V_GetResizedScanLine;
                scan(bits, static_cast<uint32_t>(room), first, quotient, accumulator, remainder, src.data(), dst.data(),
                     count, to, from <= to ? 1 : 0);
                ASSERT_EQ(expected, dst) << bits << " bits, " << from << " to " << to << (reverse ? ", reverse" : "");
                const Bytes kept = dst;
                for (const int32_t bad : {0, 65, -1})
                    scan(bad, 3, 0, 1, 0, 0, src.data(), dst.data(), 1, 1, 0);
                scan(bits, 3, 0, 1, 0, 0, nullptr, dst.data(), 1, 1, 0);
                scan(bits, 3, 0, 1, 0, 0, src.data(), nullptr, 1, 1, 0);
                scan(bits, 3, 0, 1, 0, 0, src.data(), dst.data(), 1, 0, 0);
                scan(bits, 3, -1, 1, 0, 0, src.data(), dst.data(), 1, 1, 0);
                EXPECT_EQ(kept, dst);
            }
        }
}

TEST(ResizeLine, RowsInAnyOrderInPlace)
{
    TestRandom random(312);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (const auto& [old_w, old_h, new_w, new_h] :
             {std::array{37, 20, 53, 31}, {37, 31, 11, 9}, {64, 7, 64, 21}, {1, 1, 70, 3}, {200, 100, 3, 100}}) {
            std::vector<int32_t> rows(static_cast<size_t>(old_h));
            std::iota(rows.begin(), rows.end(), 0);
            for (const int order : {0, 1, 2}) {
                if (order == 1)
                    std::reverse(rows.begin(), rows.end());
                for (size_t i = rows.size() - 1; order == 2 && i > 0; --i)
                    std::swap(rows[i], rows[random.below(i + 1)]);
                void* state = nullptr;
                ASSERT_EQ(SUCCESS, V_StartResize(old_w, old_h, new_w, new_h, &state));
                for (const int32_t row : rows) {
                    GuardedBuffer line(packed_bytes_of(std::max(old_w, new_w), bits), GuardedBuffer::Edge::back);
                    random.fill(line.data(), line.size());
                    const Bytes before(line.data(), line.data() + line.size());
                    const auto wanted =
                        static_cast<int32_t>(int64_t{row + 1} * new_h / old_h - int64_t{row} * new_h / old_h);
                    int32_t width = 0;
                    int32_t copies = -1;
                    ASSERT_EQ(wanted, V_Resize(line.data(), row, bits, &width, &copies, state)) << "row " << row;
                    EXPECT_EQ(wanted, copies);
                    EXPECT_EQ(new_w, width);
                    const Bytes all(line.data(), line.data() + line.size());
                    for (int32_t i = 0; i < new_w && wanted > 0; ++i)
                        ASSERT_EQ(get_pixel(before.data(), bits, static_cast<int32_t>(int64_t{i} * old_w / new_w)),
                                  get_pixel(all.data(), bits, i))
                            << bits << " bits, " << old_w << " to " << new_w << ", pixel " << i;
                    EXPECT_TRUE(wanted > 0 || before == all);
                }
                EXPECT_EQ(SUCCESS, V_StopResize(state));
            }
        }
}

TEST(ResizeLine, SizesAndArguments)
{
    const struct {
        int32_t old_w, old_h, new_w, new_h, width; ///< width 0: refused
    } kCases[] = {{200, 100, 0, 50, 100}, {11, 11, 0, 30, 29},
                  {200, 100, 50, 0, 50},  {10, 10, -1, 5, 0},
                  {10, 10, 5, -1, 0},     {-1, 10, 5, 5, 0},
                  {10, 0, 5, 5, 0},       {10, 10, 0, 0, 0},
                  {1, 100, 0, 9, 0},      {2000000000, 1, 0, 2000000000, 0}};
    for (const auto& test : kCases) {
        void* state = &state;
        const int result = V_StartResize(test.old_w, test.old_h, test.new_w, test.new_h, &state);
        EXPECT_EQ(test.width ? SUCCESS : ERROR_INVALID_PARAMETER, result) << test.old_w << " x " << test.old_h;
        EXPECT_EQ(test.width != 0, state != nullptr);
        uint8_t row[256] = {};
        int32_t width = 0;
        int32_t copies = 0;
        if (state != nullptr) {
            EXPECT_LE(0, V_Resize(row, 0, 8, &width, &copies, state));
            EXPECT_EQ(test.width, width);
            EXPECT_LE(0, V_Resize(row, 1, 8, nullptr, &copies, state));
            EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Resize(nullptr, 0, 8, &width, &copies, state));
            EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Resize(row, 0, 8, &width, nullptr, state));
            for (const auto& [at, bits] : {std::pair{-1, 8}, {test.old_h, 8}, {0, 0}, {0, 65}})
                EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Resize(row, at, bits, &width, &copies, state));
            EXPECT_EQ(SUCCESS, V_StopResize(state));
        }
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_Resize(row, 0, 8, &width, &copies, nullptr));
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StartResize(1, 1, 2, 2, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StopResize(nullptr));
    for_each_fault([] {
        void* state = nullptr;
        const int result = V_StartResize(10, 10, 10, 10, &state);
        uint8_t row[10] = {1, 2, 3};
        int32_t width = 0;
        int32_t copies = 0;
        EXPECT_EQ(result == SUCCESS ? SUCCESS : ERROR_NO_MEMORY, result);
        EXPECT_EQ(result == SUCCESS ? 1 : ERROR_INVALID_PARAMETER, V_Resize(row, 77, 8, &width, &copies, state));
        EXPECT_EQ(result == SUCCESS ? SUCCESS : ERROR_INVALID_PARAMETER, V_StopResize(state));
    });
}

} // namespace
