// Counting colours: exactly as long as there are no more than a palette can hold, else by cells of the colour cube that
// keep their mean.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::quantize {

/// Binary places of the coordinates of points.
constexpr int32_t kFraction = 4;

/// A colour and how often it was there; coordinates times 1 << kFraction.
struct Point {
    int16_t at[3]; ///< blue, green, red
    int16_t owner; ///< the box or centre it belongs to
    uint32_t weight;
};

class ColorCount {
public:
    /// Counts exactly up to `limit` colours (at most 256).
    explicit ColorCount(uint32_t limit) noexcept : limit_(limit) {}
    ColorCount(const ColorCount&) = delete;
    ColorCount& operator=(const ColorCount&) = delete;
    ~ColorCount();

    /// Adds pixels: blue, green, red and a byte that does not count. False without memory.
    bool add(const uint8_t* pixels, size_t count) noexcept;

    /// Begins with cells at once. False without memory.
    bool begin_cells() noexcept { return start_cells(); }

    /// Adds what another count has in cells; both have some.
    void add(const ColorCount& other) noexcept;

    /// Whether so many more pixels fit the cells' sums.
    bool has_room(uint64_t pixels) const noexcept;

    /// Every colour is known.
    bool is_exact() const noexcept { return cells_ == nullptr; }

    /// When exact: the colours in order of appearance, as 0x00RRGGBB.
    uint32_t colors() const noexcept { return used_; }
    uint32_t color(uint32_t i) const noexcept { return known_[i].color; }

    /// When not: the cells in use, and their means.
    uint32_t point_count() const noexcept;
    void write_points(Point* points) const noexcept;

private:
    /// How often a cell's colours were there, and the sums of the low bits of their channels.
    struct Cell {
        uint32_t blue, green, red, count;
    };
    struct Known {
        uint32_t color, count;
    };
    static constexpr uint32_t kSlots = 1024;

    size_t add_exactly(const uint8_t* pixels, size_t count) noexcept;
    bool know(uint32_t color) noexcept;
    bool start_cells() noexcept;
    void add_to_cells(const uint8_t* pixels, size_t count) noexcept;
    void add_to_cell(uint32_t color, uint32_t count) noexcept;
    void add_one(uint32_t color) noexcept;
    void halve() noexcept;

    uint32_t limit_;
    uint32_t used_ = 0;
    uint64_t total_ = 0; ///< pixels in the cells
    Known known_[256] = {};
    uint16_t slots_[kSlots] = {}; ///< 1 + the place of a known colour
    uint32_t last_ = 0xFFFFFFFFu; ///< the colour added last, and its place
    uint32_t last_place_ = 0;
    Cell* cells_ = nullptr;
};

} // namespace vk::quantize
