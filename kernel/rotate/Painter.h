// What the two ways of taking pixels, nearest and interpolated, have in common: they paint boxes of the canvas from
// source pixels that lie in memory. Turn.cpp cuts the canvas into such boxes and brings the source pixels there.
#pragma once

#include "kernel/rotate/Geometry.h"
#include "kernel/sampling/Fill.h"

#include <cstddef>
#include <cstdint>

namespace vk::rotate {

using sampling::FillPixel;

/// Source pixels in memory: the box `held`, whose left side is a multiple of 8 pixels.
struct Pixels {
    const uint8_t* data = nullptr; ///< the first byte of the box's first pixel
    size_t stride = 0;
    Box held{};
};

/// A box of the canvas to paint. Its left side is a multiple of 8 pixels, so that rows start on a byte; what the last
/// byte of a row has left over becomes clear.
struct Target {
    uint8_t* data = nullptr;
    size_t stride = 0;
    Box box{};
};

class Painter {
public:
    /// Paints a box, also while other threads paint others. The source pixels it looks at (source_box with kMargin), as
    /// far as there are any, are held.
    virtual void paint(const Pixels& source, const Target& target) const noexcept = 0;

    static constexpr int32_t kMargin = 8;

protected:
    ~Painter() = default;
};

} // namespace vk::rotate
