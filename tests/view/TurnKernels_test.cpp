// The kernels that mirror rows and transpose blocks, at every level of the processor, against single pixels, between
// pages that may not be touched.
#include "kernel/view/MirrorRow.h"
#include "kernel/view/Tile.h"
#include "kernel/view/Transpose.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Levels.h"
#include "tests/support/TestTurn.h"

#include "Vkview.h"

using namespace vk::testing;
using vk::simd::Level;
using Edge = GuardedBuffer::Edge;

namespace {

Bytes packed(Picture row, int32_t bits)
{
    Bytes bytes(packed_bytes_of(row.width, bits));
    for (int32_t x = 0; x < row.width; ++x)
        set_pixel(bytes.data(), bits, x, row.at(x, 0));
    return bytes;
}

void expect_mirrored(GuardedBuffer& from, GuardedBuffer& to, int32_t width, int32_t bits)
{
    const Picture row = Picture::noise(width, 1, bits, static_cast<uint64_t>(width * 64 + bits));
    Bytes bytes = packed(row, bits);
    const Bytes wanted = packed(row.mirrored(), bits);
    if (!bytes.empty() && width * bits % 8 != 0 && vk::packing_of(bits) == vk::Packing::high_first)
        bytes.back() = static_cast<uint8_t>(bytes.back() | 1); // padding is nobody's business
    for (const Edge edge : {Edge::front, Edge::back}) {
        from.place(bytes.size(), edge);
        to.place(bytes.size(), edge);
        std::copy(bytes.begin(), bytes.end(), from.data());
        std::fill_n(to.data(), to.size(), uint8_t{0xA5});
        vk::mirror_row(from.data(), to.data(), width, bits);
        ASSERT_TRUE(std::equal(wanted.begin(), wanted.end(), to.data())) << width << " pixels of " << bits;
        ASSERT_EQ(SUCCESS, V_MirrorLine(from.data(), static_cast<uint32_t>(width), bits));
        ASSERT_TRUE(std::equal(wanted.begin(), wanted.end(), from.data())) << width << " in place, of " << bits;
    }
}

/// One block, with strides in either direction.
void expect_transposed(int32_t columns, int32_t rows, int32_t bits, bool back, bool stream)
{
    Picture picture = Picture::noise(columns, rows, bits, static_cast<uint64_t>(columns * 1000 + rows));
    const size_t from_stride = packed_bytes_of(columns, bits);
    const size_t to_stride = stream ? (packed_bytes_of(rows, bits) + 63) / 64 * 64 : packed_bytes_of(rows, bits);
    GuardedBuffer from(from_stride * static_cast<size_t>(rows), back ? Edge::back : Edge::front);
    GuardedBuffer to(to_stride * static_cast<size_t>(columns), stream || !back ? Edge::front : Edge::back);
    std::fill_n(from.data(), from.size(), uint8_t{0});
    std::fill_n(to.data(), to.size(), uint8_t{0});
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < columns; ++x)
            set_pixel(from.data() + from_stride * static_cast<size_t>(y), bits, x, picture.at(x, y));
    const auto from_step = static_cast<ptrdiff_t>(from_stride);
    const auto to_step = static_cast<ptrdiff_t>(to_stride);
    vk::TransposeBlock block{
        from.data(), from_step, to.data() + (back ? to_step * (columns - 1) : 0), back ? -to_step : to_step,
        columns,     rows};
    if (back) {
        block.from += from_step * (rows - 1);
        block.from_stride = -from_step;
    }
    vk::transpose(block, bits, stream);
    for (int32_t y = 0; y < columns; ++y) {
        uint8_t* const row = to.data() + to_stride * static_cast<size_t>(y);
        for (int32_t x = 0; x < rows; ++x) {
            const uint64_t wanted = back ? picture.at(columns - 1 - y, rows - 1 - x) : picture.at(y, x);
            ASSERT_EQ(wanted, get_pixel(row, bits, x))
                << bits << " bits, " << columns << " x " << rows << ", pixel " << x << ' ' << y << " back " << back;
            set_pixel(row, bits, x, 0);
        }
        ASSERT_EQ(static_cast<std::ptrdiff_t>(to_stride), std::count(row, row + to_stride, 0)) << "behind the row";
    }
}

} // namespace

TEST(TurnKernels, RowsMirrored)
{
    GuardedBuffer from(400000, Edge::front);
    GuardedBuffer to(400000, Edge::front);
    for (const Level level : kLevels) {
        const AtLevel at(level);
        for (const int32_t bits : kDepths) {
            for (int32_t width = 0; width <= 1031; width += width == 140 ? 371 : width == 512 ? 511 : 1)
                ASSERT_NO_FATAL_FAILURE(expect_mirrored(from, to, width, bits));
        }
        for (const int32_t bits : {1, 7, 12}) // too long for a copy on the stack
            ASSERT_NO_FATAL_FAILURE(expect_mirrored(from, to, 131072 + 3, bits));
    }
}

TEST(TurnKernels, MirrorLineArguments)
{
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_MirrorLine(nullptr, 3, 8));
    Bytes row = {0x80, 0xFF};
    EXPECT_EQ(SUCCESS, V_MirrorLine(row.data(), 3, 1));
    EXPECT_EQ((Bytes{0x20, 0xFF}), row) << "padding ends clear, the next byte is not the row's";
    for (const int32_t bits : {0, -1, 9, 10, 11, 13, 20, 40, 63, 65, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(SUCCESS, V_MirrorLine(row.data(), 2, bits));
        EXPECT_EQ((Bytes{0x20, 0xFF}), row) << bits;
    }
}

TEST(TurnKernels, BlocksTransposed)
{
    const int32_t sides[] = {1, 3, 4, 7, 8, 15, 17, 32, 63, 65, 130};
    for (const Level level : kLevels) {
        const AtLevel at(level);
        for (const int32_t bits : kDepths) {
            for (const int32_t columns : sides)
                for (const int32_t rows : {columns, 67})
                    ASSERT_NO_FATAL_FAILURE(expect_transposed(columns, rows, bits, (columns + rows) % 2 != 0, false));
            // More than one tile either way, and more than the tiles done together.
            const int32_t high = bits == 1 ? 1100 : 150;
            ASSERT_NO_FATAL_FAILURE(expect_transposed(1037, high, bits, true, true));
            ASSERT_NO_FATAL_FAILURE(expect_transposed(high, 1100, bits, false, true));
        }
    }
}

// What the cases above rest on: each level has loops of its own, which do what they can of a row and of a tile.
TEST(TurnKernels, LoopsTaken)
{
    for (const Level level : kLevels) {
        const AtLevel at(level);
        const bool has_loops = at.reached >= kFirstWithLoops;
        const vk::turn::MirrorLoops* const mirror = vk::turn::mirror_loops_sets.best();
        ASSERT_EQ(has_loops, mirror != nullptr);
        ASSERT_EQ(has_loops, vk::turn::transpose_loops_sets.best() != nullptr);
        if (!has_loops)
            continue;
        const bool is_wide = at.reached == Level::avx512;
        EXPECT_NE(is_wide, mirror == vk::turn::mirror_loops_sets.at(Level::avx2));
        Bytes from(128 * 32), to(128 * 192);
        EXPECT_EQ(40, mirror->front(from.data(), to.data(), 40, 8));
        const int64_t whole = at.reached == Level::neon ? 2 * 16 + 5 : is_wide ? 21 + 3 * 5 : 7 * 5; // pixels at once
        EXPECT_EQ(whole, mirror->front(from.data(), to.data(), 39, 24));
        EXPECT_EQ(128, mirror->front(from.data(), to.data(), 131, 1));
        const vk::turn::TransposeLoops& loops = *vk::turn::transpose_loops_sets.best();
        const vk::turn::Tile tile{from.data(), 48, to.data(), 192, 16, 37};
        const int32_t rows = level == Level::neon ? 16 : 32;
        EXPECT_EQ(32, loops.pixels(tile, 1).rows);
        EXPECT_EQ(16, loops.pixels(tile, 3).columns);
        EXPECT_EQ(rows, loops.bits({from.data(), 16, to.data(), 128, 128, rows + 5}));
    }
}
