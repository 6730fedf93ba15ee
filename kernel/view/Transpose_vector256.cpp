// Transposing what needs shuffles: pixels of three and six bytes are spread to four and eight.
#include "kernel/view/Blocks.h"
#include "kernel/view/Tile.h"
#include "simd/Bits.h"

namespace vk::turn::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Block = Quad<uint8_t>;

constexpr int32_t kOddSide = 4; ///< columns of 24- and 48-bit blocks
constexpr int32_t kBlocks = kWidth / 16;

/// Columns and rows of the blocks of pixels of so many bytes.
constexpr BlockSize block_of(int32_t bytes) noexcept
{
    return bytes == 3   ? BlockSize{kOddSide, kOddSide * kBlocks}
           : bytes == 6 ? BlockSize{kOddSide, kOddSide}
                        : BlockSize{16 / bytes, 16 / bytes * kBlocks};
}

/// Four by four pixels of 48 bits, whose rows are two loads that overlap.
void transpose_48(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    static constexpr Order<16> kFront = {{0, 1, 2, 3, 4, 5, kNone, kNone, 6, 7, 8, 9, 10, 11, kNone, kNone}};
    static constexpr Order<16> kBack = {{4, 5, 6, 7, 8, 9, kNone, kNone, 10, 11, 12, 13, 14, 15, kNone, kNone}};
    static constexpr Order<16> kClosed = {{0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, kNone, kNone, kNone, kNone}};
    const auto pixels = [&](ptrdiff_t at, const Order<16>& order) noexcept {
        return as<uint64_t>(shuffle(load<Block>(from + at), order.load<Block>()));
    };
    const auto put = [&](ptrdiff_t row, Quad<uint64_t> pair) noexcept {
        store(to + row * pitch, shuffle(as<uint8_t>(pair), kClosed.load<Block>()));
    };
    for (int half = 0; half < 2; ++half, from += 2 * stride, to += 12) {
        const auto a = pixels(0, kFront), b = pixels(stride, kFront);
        const auto c = pixels(8, kBack), d = pixels(stride + 8, kBack);
        put(0, interleave_low(a, b));
        put(1, interleave_high(a, b));
        put(2, interleave_low(c, d));
        put(3, interleave_high(c, d));
    }
}

/// Four columns of 24 bits, four rows for each block. Each row is read as 16 bytes that end with its last pixel, or
/// begin with its first where that would be in front of the row.
template <bool kAtEnd> void transpose_24(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch) noexcept
{
    constexpr size_t kSkipped = kAtEnd ? 4 : 0;
    static constexpr auto kSpread =
        order_of<16>([](size_t i) { return i % 4 == 3 ? kNone : kSkipped + i / 4 * 3 + i % 4; });
    static constexpr auto kClosed = order_of<16>([](size_t i) { return i < 12 ? i / 3 * 4 + i % 3 : kNone; });
    Wide<uint32_t> rows[4];
    from -= kSkipped;
    for (ptrdiff_t i = 0; i < 4; ++i)
        rows[i] = as<uint32_t>(
            shuffle(load_both<Bytes>(from + i * stride, from + (i + 4) * stride), in_blocks<Bytes>(kSpread)));
    transpose(rows);
    for (ptrdiff_t i = 0; i < 4; ++i) {
        const auto pixels = as<uint32_t>(shuffle(as<uint8_t>(rows[i]), in_blocks<Bytes>(kClosed)));
        if constexpr (kBlocks == 1)
            store(to + i * pitch, pixels);
        else
            store(to + i * pitch, pick<0, 1, 2, 4, 5, 6, 3, 7>(pixels));
    }
}

template <int kBytes>
void transpose_one(const uint8_t* from, ptrdiff_t stride, uint8_t* to, ptrdiff_t pitch, bool is_first) noexcept
{
    if constexpr (kBytes == 6)
        transpose_48(from, stride, to, pitch);
    else if constexpr (kBytes != 3)
        transpose_block<Wide<IntOf<kBytes, false>>>(from, stride, to, pitch);
    else if (is_first)
        transpose_24<false>(from, stride, to, pitch);
    else
        transpose_24<true>(from, stride, to, pitch);
}

/// Copies bytes of a row.
template <bool kStream> VK_SIMD_INLINE void copy_row(const uint8_t* from, uint8_t* to, size_t bytes) noexcept
{
    size_t at = 0;
    for (; at + kWidth <= bytes; at += kWidth)
        put<kStream>(to + at, load<Bytes>(from + at));
    if constexpr (!kStream)
        if (at < bytes)
            std::memcpy(to + at, from + at, bytes - at);
}

/// Rows of a block one after the other. In a picture whose rows are some pages apart they would share one set of the
/// first cache, which does not hold as many lines as a block of small pixels has rows.
class BlockRows {
public:
    static constexpr int32_t kMostBytes = 256;
    static constexpr ptrdiff_t kPitch = kMostBytes + 64;

    const uint8_t* take(const uint8_t* from, ptrdiff_t stride, int32_t rows, int32_t bytes) noexcept
    {
        for (int32_t row = 0; row < rows; ++row, from += stride)
            copy_row<false>(from, rows_ + row * kPitch, static_cast<size_t>(bytes));
        return rows_;
    }

private:
    alignas(64) uint8_t rows_[32 * kPitch];
};

/// The blocks of a tile, row by row. Each has its share of the lines of the next tile fetched: a row of blocks takes
/// all lines of its rows once.
template <int kBytes> BlockSize transpose_blocks(const Tile& tile) noexcept
{
    constexpr BlockSize kBlock = block_of(kBytes);
    constexpr int32_t kTaken = kBlock.columns * kBytes;
    constexpr int32_t kLine = 64;
    BlockRows taken;
    int32_t row = 0;
    for (; row + kBlock.rows <= tile.rows; row += kBlock.rows) {
        const uint8_t* from = tile.from + row * tile.stride;
        ptrdiff_t stride = tile.stride;
        const uint8_t* fetched = from + tile.ahead;
        if constexpr (kBlock.rows >= 16) {
            from = taken.take(from, stride, kBlock.rows, tile.columns * kBytes);
            stride = BlockRows::kPitch;
        }
        int32_t fetched_row = 0;
        for (int32_t column = 0; column + kBlock.columns <= tile.columns; column += kBlock.columns) {
            if (tile.ahead != 0)
                for (int32_t bytes = 0; bytes < kTaken * kBlock.rows; bytes += kLine) {
                    __builtin_prefetch(fetched + fetched_row * tile.stride);
                    if (++fetched_row == kBlock.rows) {
                        fetched_row = 0;
                        fetched += kLine;
                    }
                }
            transpose_one<kBytes>(from + column * kBytes, stride, tile.to + column * tile.pitch + row * kBytes,
                                  tile.pitch, column == 0);
        }
    }
    return {tile.columns / kBlock.columns * kBlock.columns, row};
}

BlockSize transpose_pixels(const Tile& tile, int32_t bytes) noexcept
{
    switch (bytes) {
    case 1:
        return transpose_blocks<1>(tile);
    case 2:
        return transpose_blocks<2>(tile);
    case 3:
        return transpose_blocks<3>(tile);
    case 4:
        return transpose_blocks<4>(tile);
    case 6:
        return transpose_blocks<6>(tile);
    case 8:
        return transpose_blocks<8>(tile);
    default:
        return {}; // has no block
    }
}

int32_t transpose_bit_rows(const Tile& tile) noexcept
{
    constexpr auto kRows = static_cast<int32_t>(kWidth);
    int32_t row = 0;
    for (; row + kRows <= tile.rows; row += kRows)
        transpose_bits<Bytes>(tile.from + row * tile.stride, tile.stride, tile.to + row / 8, tile.pitch);
    return row;
}

template <bool kStream> void copy_rows(const Lines& lines) noexcept
{
    const uint8_t* from = lines.from;
    uint8_t* to = lines.to;
    for (int32_t row = 0; row < lines.rows; ++row, from += lines.pitch, to += lines.stride)
        copy_row<kStream>(from, to, lines.bytes);
}

void copy_lines(const Lines& lines, bool stream) noexcept
{
    return stream ? copy_rows<true>(lines) : copy_rows<false>(lines);
}

} // namespace

const TransposeLoops transpose_loops = {transpose_pixels, transpose_bit_rows, copy_lines};

} // namespace vk::turn::VK_SIMD_SET
