// Turning by the nearest pixel. Rows of the canvas are cut into what sees the image and what does not beforehand, so
// the inner loops, one per depth, test nothing.
#pragma once

#include "kernel/rotate/Painter.h"

namespace vk::rotate {

/// The way of a run through the source: positions counted from the held box, and the step.
struct Walk {
    const uint8_t* data;
    size_t stride;
    int64_t x;
    int64_t y;
    int64_t step_x;
    int64_t step_y;
};

/// Takes `count` pixels along a walk that stays inside. They come out packed at depths of whole bytes, else as a
/// byte each where they are indices, as 32-bit words where they are samples.
using TakeRun = void (*)(const Walk& walk, uint8_t* out, int32_t count) noexcept;

/// Takes 1-bit pixels to columns [first, first + count) of a row whose other bits stay.
using TakeBits = void (*)(const Walk& walk, uint8_t* row, int32_t first, int32_t count) noexcept;

/// The loops for a depth. `fast` ones may read three bytes behind a pixel, and need a stride below kWideStride.
struct NearestLoops {
    TakeRun plain = nullptr;
    TakeRun fast = nullptr;
    TakeBits fast_bits = nullptr; ///< 1 bit only
};
constexpr size_t kWideStride = size_t{1} << 22; // times the pixels of a run, offsets have 31 bits

/// The loops that the processor allows, or the plain ones alone.
NearestLoops nearest_loops(int32_t bits) noexcept;
/// Those that need AVX2.
NearestLoops nearest_loops_avx2(int32_t bits) noexcept;

/// Keeps to the plain loops, for tests.
void keep_to_plain_loops(bool is_plain) noexcept;

class NearestPainter final : public Painter {
public:
    NearestPainter(const Geometry& geometry, int32_t bits, const FillPixel& fill) noexcept;

    void paint(const Pixels& source, const Target& target) const noexcept override;

    /// Whether a faster loop than the plain one is at work.
    bool is_fast() const noexcept { return loops_.fast || loops_.fast_bits; }

private:
    struct Line;
    void paint_line(const Pixels& source, const Line& line) const noexcept;
    void paint_bytes(const Pixels& source, const Line& line) const noexcept;
    void paint_bits(const Pixels& source, const Line& line) const noexcept;
    void paint_packed(const Pixels& source, const Line& line) const noexcept;
    bool may_be_fast(const Pixels& source, const Run& run) const noexcept;
    Walk walk_of(const Pixels& source, const Run& run) const noexcept;

    const Geometry& geometry_;
    int32_t bits_;
    FillPixel fill_;
    NearestLoops loops_;
    uint8_t pattern_[kLongestRun * 8]; ///< kLongestRun fill pixels, packed
};

} // namespace vk::rotate
