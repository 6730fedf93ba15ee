// Transposing by tiles. The tile's side is chosen so that its rows in the target are whole cache lines; what a depth
// needs beyond that stands in one table.
#include "kernel/view/Transpose.h"

#include "kernel/format/RowMath.h"
#include "kernel/format/Spread.h"
#include "kernel/view/Blocks.h"
#include "kernel/view/Tile.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace vk {

namespace {

using turn::Tile;

/// The forms that a level has: tables of a set's, and the blocks that need none.
struct Forms {
    const turn::TransposeLoops* loops = turn::transpose_loops_sets.best();
    bool has_blocks = simd::level() != simd::Level::plain;
    SpreadWay spread;
};

constexpr size_t kLine = 64;

/// Pixels of whole bytes, those of columns from `column` and rows from `row` on.
template <int kBytes> void transpose_rest(const Tile& tile, int32_t first_column, int32_t first_row) noexcept
{
    for (int32_t row = 0; row < tile.rows; ++row) {
        const uint8_t* const from = tile.from + row * tile.stride;
        for (int32_t column = row < first_row ? first_column : 0; column < tile.columns; ++column)
            std::memcpy(tile.to + column * tile.pitch + row * kBytes, from + column * kBytes, kBytes);
    }
}

template <int kBytes> void transpose_blocks(const Tile& tile) noexcept
{
    using Rows = simd::Quad<simd::IntOf<kBytes, false>>;
    constexpr auto kSide = static_cast<int32_t>(Rows::kLanes);
    const int32_t columns = tile.columns / kSide * kSide;
    const int32_t rows = tile.rows / kSide * kSide;
    for (int32_t row = 0; row < rows; row += kSide)
        for (int32_t column = 0; column < columns; column += kSide)
            turn::VK_SIMD_SET::transpose_block<Rows>(tile.from + row * tile.stride + column * kBytes, tile.stride,
                                                     tile.to + column * tile.pitch + row * kBytes, tile.pitch);
    transpose_rest<kBytes>(tile, columns, rows);
}

template <int kBytes> void transpose_bytes(const Tile& tile, const Forms& forms) noexcept
{
    constexpr bool kHasBlock = (kBytes & (kBytes - 1)) == 0;
    if (forms.loops && tile.columns * kBytes >= 16) {
        const turn::BlockSize done = forms.loops->pixels(tile, kBytes);
        return transpose_rest<kBytes>(tile, done.columns, done.rows);
    }
    if constexpr (kHasBlock)
        if (forms.has_blocks)
            return transpose_blocks<kBytes>(tile);
    transpose_rest<kBytes>(tile, 0, 0);
}

/// 16 rows of up to 16 bytes of 1-bit pixels: two bytes for each of up to 128 columns, those of rows past the last one
/// clear. A block in full goes to vectors straight, others by way of the stack.
void transpose_bit_block(const Tile& tile, int32_t first_row) noexcept
{
    using Block = simd::Quad<uint8_t>;
    const uint8_t* const from = tile.from + first_row * tile.stride;
    uint8_t* to = tile.to + first_row / 8;
    const int32_t row_count = tile.rows - first_row;
    if (tile.columns == 128 && row_count >= 16)
        return turn::VK_SIMD_SET::transpose_bits<Block>(from, tile.stride, to, tile.pitch);
    const int32_t bytes = (tile.columns + 7) / 8;
    Block rows[16];
    for (int32_t i = 0; i < 16; ++i) {
        const int32_t row = turn::VK_SIMD_SET::row_of_lane(i);
        uint8_t copy[16] = {};
        if (row < row_count)
            std::memcpy(copy, from + row * tile.stride, static_cast<size_t>(bytes));
        rows[i] = simd::load<Block>(copy);
    }
    simd::transpose(rows);
    for (int32_t at = 0; at < bytes; ++at)
        to = turn::VK_SIMD_SET::store_bits(rows[at], to, tile.pitch, std::min(tile.columns - 8 * at, 8));
}

void transpose_1(const Tile& tile, const Forms& forms) noexcept
{
    int32_t row = forms.loops && tile.columns == 128 ? forms.loops->bits(tile) : 0;
    if (forms.has_blocks) {
        for (; row < tile.rows; row += 16)
            transpose_bit_block(tile, row);
        return;
    }
    for (int32_t column = 0; column < tile.columns; ++column)
        for (row = 0; row < tile.rows; row += 8) {
            uint32_t byte = 0;
            for (int32_t i = 0; i < 8; ++i)
                byte = byte << 1 |
                       (row + i < tile.rows ? tile.from[(row + i) * tile.stride + column / 8] >> (7 - column % 8) & 1u
                                            : 0u);
            tile.to[column * tile.pitch + row / 8] = static_cast<uint8_t>(byte);
        }
}

/// The side of tiles of packed pixels, which are spread to whole bytes, transposed and packed again.
constexpr int32_t kSpreadSide = 64;
/// Bytes between its rows: those of 16-bit pixels, and what a vector writes too far.
constexpr ptrdiff_t kSpreadPitch = 2 * kSpreadSide + 32;

/// The units of a depth: bytes, or words where pixels are larger.
template <int32_t kBits> using SpreadUnit = std::conditional_t<spread_size(kBits) == 2, uint16_t, uint8_t>;

template <int32_t kBits> void transpose_packed(const Tile& tile, const Forms& forms) noexcept
{
    using Unit = SpreadUnit<kBits>;
    constexpr auto kUnit = static_cast<int32_t>(sizeof(Unit));
    constexpr int32_t kPitch = kSpreadPitch / kUnit;
    Unit before[kSpreadSide * kSpreadSide];
    Unit after[kSpreadSide * kPitch];
    for (int32_t row = 0; row < tile.rows; ++row)
        spread_pixels(tile.from + row * tile.stride, before + row * kSpreadSide, static_cast<size_t>(tile.columns),
                      kBits, forms.spread);
    transpose_bytes<kUnit>({reinterpret_cast<const uint8_t*>(before), kUnit * kSpreadSide,
                            reinterpret_cast<uint8_t*>(after), kSpreadPitch, tile.columns, tile.rows},
                           forms);
    for (int32_t column = 0; column < tile.columns; ++column)
        gather_pixels(after + column * kPitch, tile.to + column * tile.pitch, static_cast<size_t>(tile.rows), kBits,
                      forms.spread);
}

void transpose_tile(const Tile& tile, const Forms& forms, int32_t bits) noexcept
{
    with_depth(bits, [&]<int32_t kBits>() noexcept {
        if constexpr (packing_of(kBits) == Packing::bytes)
            transpose_bytes<kBits / 8>(tile, forms);
        else if constexpr (kBits == 1)
            transpose_1(tile, forms);
        else
            transpose_packed<kBits>(tile, forms);
    });
}

/// Columns and rows of a full tile, and bytes between its rows in memory of its own: long stretches on both sides,
/// since each is a place of its own in memory, while the whole stays in the second cache. Vectors may write 32 bytes
/// too far.
struct TileSize {
    int32_t columns;
    int32_t rows;
    int32_t pitch;
};

constexpr TileSize tile_size(int32_t bits) noexcept
{
    if (bits != 1 && !is_whole_bytes(bits))
        return {kSpreadSide, kSpreadSide, kSpreadPitch};
    switch (bits) {
    case 1:
        return {128, 512, 64 + 64};
    case 8:
        return {128, 512, 512 + 64};
    case 16:
        return {128, 256, 512 + 64};
    case 24:
        return {128, 192, 576 + 64};
    case 32:
        return {128, 128, 512 + 64};
    case 48:
        return {64, 96, 576 + 64};
    case 64:
        return {64, 64, 512 + 64};
    default:
        return {};
    }
}
static_assert(every_depth([](int32_t bits) { return tile_size(bits).rows > 0; }));

constexpr size_t kTileBytes = 256 * (256 + 64);

/// Memory of its own for a tile: from the heap, since threads may have little stack, or on the stack for narrow tiles
/// where there is none.
class TileMemory {
public:
    TileMemory() noexcept : block_(static_cast<uint8_t*>(platform::heap_alloc(kTileBytes + kLine))) {}
    ~TileMemory() { platform::heap_free(block_); }
    TileMemory(const TileMemory&) = delete;
    TileMemory& operator=(const TileMemory&) = delete;

    uint8_t* data() noexcept { return block_ ? block_ + (0 - reinterpret_cast<uintptr_t>(block_)) % kLine : spare_; }

    TileSize limited(TileSize size) const noexcept
    {
        if (!block_)
            size.columns = std::min(size.columns, kNarrow);
        return size;
    }

private:
    static constexpr int32_t kNarrow = 16;

    uint8_t* const block_;
    alignas(kLine) uint8_t spare_[kNarrow * (576 + 64)];

    static_assert(every_depth([](int32_t bits) {
        return kNarrow * tile_size(bits).pitch <= static_cast<int32_t>(sizeof spare_);
    }));
};

void copy_lines(const turn::Lines& lines, bool stream) noexcept
{
    for (int32_t row = 0; row < lines.rows; ++row) {
        const uint8_t* const from = lines.from + row * lines.pitch;
        uint8_t* const to = lines.to + row * lines.stride;
        if (!stream) {
            std::memcpy(to, from, lines.bytes);
            continue;
        }
        for (size_t i = 0; i < lines.bytes; i += 16)
            simd::stream(to + i, simd::load<simd::Quad<uint8_t>>(from + i));
    }
}

/// Tiles near each other are done together, so that few pages are in use at a time.
constexpr int32_t kNeighbours = 1024;

class Transposer {
public:
    Transposer(const TransposeBlock& block, int32_t bits, bool stream) noexcept
        : block_(block), bits_(bits), size_(memory_.limited(tile_size(bits)))
    {
        const auto step = static_cast<size_t>(block.to_stride < 0 ? -block.to_stride : block.to_stride);
        stream_ = stream && (reinterpret_cast<uintptr_t>(block.to) | step) % kLine == 0;
    }

    void run() noexcept
    {
        const int32_t high = (kNeighbours + size_.rows - 1) / size_.rows * size_.rows;
        for (int32_t row = 0; row < block_.rows; row += high)
            for (int32_t column = 0; column < block_.columns; column += kNeighbours)
                run_part(column, std::min(block_.columns, column + kNeighbours), row,
                         std::min(block_.rows, row + high));
        if (stream_)
            simd::fence();
    }

private:
    void run_part(int32_t first_column, int32_t end_column, int32_t row, int32_t end_row) noexcept
    {
        for (; row < end_row; row += size_.rows)
            for (int32_t column = first_column; column < end_column; column += size_.columns)
                run_tile(column, std::min(size_.columns, end_column - column), row, std::min(size_.rows, end_row - row),
                         ahead(first_column, column, end_column, row, end_row));
    }

    /// How far the next tile of a part is away; 0 without one that is whole.
    ptrdiff_t ahead(int32_t first_column, int32_t column, int32_t end_column, int32_t row,
                    int32_t end_row) const noexcept
    {
        if (column + 2 * size_.columns <= end_column)
            return offset(size_.columns);
        if (column + size_.columns < end_column || row + 2 * size_.rows > end_row)
            return 0;
        return size_.rows * block_.from_stride - offset(column - first_column);
    }

    void run_tile(int32_t column, int32_t columns, int32_t row, int32_t rows, ptrdiff_t ahead) noexcept
    {
        const Tile tile{block_.from + row * block_.from_stride + offset(column),
                        block_.from_stride,
                        memory_.data(),
                        size_.pitch,
                        columns,
                        rows,
                        ahead};
        transpose_tile(tile, forms_, bits_);
        const turn::Lines lines{
            tile.to,          size_.pitch, block_.to + column * block_.to_stride + offset(row),
            block_.to_stride, columns,     static_cast<size_t>(packed_bytes(static_cast<uint32_t>(rows), bits_))};
        const bool stream = stream_ && lines.bytes % kLine == 0;
        return forms_.loops ? forms_.loops->copy(lines, stream) : copy_lines(lines, stream);
    }

    ptrdiff_t offset(int32_t pixel) const noexcept
    {
        return static_cast<ptrdiff_t>(packed_bytes(static_cast<uint32_t>(pixel), bits_));
    }

    const TransposeBlock block_;
    const int32_t bits_;
    TileMemory memory_;
    const TileSize size_;
    const Forms forms_;
    bool stream_ = false;
};

} // namespace

void transpose(const TransposeBlock& block, int32_t bits, bool stream) noexcept
{
    Transposer(block, bits, stream).run();
}

} // namespace vk
