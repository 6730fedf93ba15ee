#include "kernel/colorres/ColorCount.h"

#include "platform/platform.h"
#include "simd/Pick.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk::quantize {

namespace {

constexpr uint32_t kCells = 1u << 18;
/// Sums of low bits, up to 3 per pixel, fit 32 bits below this.
constexpr uint64_t kMostPixels = 1u << 30;

using Sums = simd::Quad<uint32_t>; ///< of a cell

uint32_t color_of(const uint8_t* pixel) noexcept
{
    return pixel[0] | uint32_t{pixel[1]} << 8 | uint32_t{pixel[2]} << 16;
}

constexpr uint32_t cell_of(uint32_t color) noexcept
{
    return (color >> 2 & 0x3Fu) | (color >> 10 & 0x3Fu) << 6 | (color >> 18 & 0x3Fu) << 12;
}

/// The mean of a cell's channel: its first level and the mean of the low bits, rounded.
int16_t mean(uint32_t level, uint32_t sum, uint32_t count) noexcept
{
    const uint64_t low = ((uint64_t{sum} << (kFraction + 1)) + count) / (2 * uint64_t{count});
    return static_cast<int16_t>((level << (kFraction + 2)) + low);
}

} // namespace

ColorCount::~ColorCount()
{
    platform::heap_free(cells_);
}

bool ColorCount::add(const uint8_t* pixels, size_t count) noexcept
{
    size_t done = 0;
    if (is_exact()) {
        done = add_exactly(pixels, count);
        if (done == count)
            return true;
        if (!start_cells())
            return false;
    }
    add_to_cells(pixels + 4 * done, count - done);
    return true;
}

/// Adds until there is a colour too many; the number of pixels added.
size_t ColorCount::add_exactly(const uint8_t* pixels, size_t count) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t color = color_of(pixels + 4 * i);
        if (color != last_ && !know(color))
            return i;
        uint32_t& known = known_[last_place_].count;
        known = known == UINT32_MAX ? known : known + 1;
    }
    return count;
}

/// Finds or takes in a colour and makes it the last; false when it is one too many.
bool ColorCount::know(uint32_t color) noexcept
{
    uint32_t slot = color * 2654435761u >> 22;
    while (slots_[slot] != 0 && known_[slots_[slot] - 1u].color != color)
        slot = (slot + 1) % kSlots;
    if (slots_[slot] == 0) {
        if (used_ == limit_)
            return false;
        known_[used_] = {color, 0};
        slots_[slot] = static_cast<uint16_t>(++used_);
    }
    last_ = color;
    last_place_ = slots_[slot] - 1u;
    return true;
}

bool ColorCount::start_cells() noexcept
{
    cells_ = static_cast<Cell*>(platform::heap_alloc(kCells * sizeof(Cell)));
    if (!cells_)
        return false;
    std::memset(cells_, 0, kCells * sizeof(Cell));
    uint64_t seen = 0;
    for (uint32_t i = 0; i < used_; ++i)
        seen += known_[i].count;
    const uint32_t divisor = static_cast<uint32_t>(seen / (kMostPixels / 4)) + 1;
    for (uint32_t i = 0; i < used_; ++i)
        add_to_cell(known_[i].color, known_[i].count / divisor + 1);
    total_ = seen / divisor + used_;
    return true;
}

void ColorCount::add_to_cell(uint32_t color, uint32_t count) noexcept
{
    Cell& cell = cells_[cell_of(color)];
    cell.count += count;
    cell.blue += (color & 3u) * count;
    cell.green += (color >> 8 & 3u) * count;
    cell.red += (color >> 16 & 3u) * count;
}

/// add_to_cell for a single pixel, all four sums at once.
void ColorCount::add_one(uint32_t color) noexcept
{
    using Bytes = simd::Quad<uint8_t>;
    const auto bytes = simd::first<Sums>((color & 0x00030303u) | 0x01000000u);
    const auto words = simd::interleave_low(simd::as<uint8_t>(bytes), Bytes{});
    const auto step = simd::as<uint32_t>(simd::interleave_low(simd::as<uint16_t>(words), simd::Quad<uint16_t>{}));
    Cell* const cell = cells_ + cell_of(color);
    simd::store(cell, simd::load<Sums>(cell) + step);
}

void ColorCount::add_to_cells(const uint8_t* pixels, size_t count) noexcept
{
    while (count != 0) {
        if (total_ >= kMostPixels)
            halve();
        const auto part = static_cast<size_t>(std::min<uint64_t>(count, kMostPixels - total_));
        for (size_t i = 0; i < part; ++i)
            add_one(color_of(pixels + 4 * i));
        total_ += part;
        pixels += 4 * part;
        count -= part;
    }
}

void ColorCount::add(const ColorCount& other) noexcept
{
    for (uint32_t i = 0; i < kCells && other.cells_; ++i) {
        simd::store(cells_ + i, simd::load<Sums>(cells_ + i) + simd::load<Sums>(other.cells_ + i));
    }
    total_ += other.total_;
}

bool ColorCount::has_room(uint64_t pixels) const noexcept
{
    return pixels <= kMostPixels && total_ <= kMostPixels - pixels;
}

/// Makes room for more pixels: what was seen so far counts half.
void ColorCount::halve() noexcept
{
    for (Cell* cell = cells_; cell != cells_ + kCells; ++cell)
        *cell = {cell->blue / 2, cell->green / 2, cell->red / 2, cell->count / 2};
    total_ /= 2;
}

uint32_t ColorCount::point_count() const noexcept
{
    return static_cast<uint32_t>(
        std::count_if(cells_, cells_ + kCells, [](const Cell& cell) noexcept { return cell.count != 0; }));
}

void ColorCount::write_points(Point* points) const noexcept
{
    for (uint32_t i = 0; i < kCells; ++i) {
        const Cell& cell = cells_[i];
        if (cell.count == 0)
            continue;
        *points++ = {{mean(i & 0x3Fu, cell.blue, cell.count), mean(i >> 6 & 0x3Fu, cell.green, cell.count),
                      mean(i >> 12, cell.red, cell.count)},
                     0,
                     cell.count};
    }
}

} // namespace vk::quantize
