// Changing pixels that are palette indices by what they show: looked up, changed as 32-bit colours, and matched again.
// A pixel whose colour has not changed keeps its index, though another entry may have the same colour.
#pragma once

#include "kernel/combine/ConvertRun.h"
#include "kernel/combine/RowConverter.h"

namespace vk::combine {

class PaletteColors {
public:
    /// Prepares for a bitmap of up to 8 bits per pixel and so many of its pixels. SUCCESS or a code.
    int open(const BITMAPHANDLE& bitmap, uint64_t pixels) noexcept;

    /// The colours of up to kChunk pixels, to be changed.
    uint8_t* look_up(Line pixels, int32_t count) noexcept;

    /// Writes the indices of the colours as they are now to where they were looked up.
    void match(Line pixels, int32_t count) noexcept;

    int32_t bits() const noexcept { return form_.bits; }
    /// The colours of pixels that begin with a byte, and the indices nearest to up to kChunk colours, a byte each.
    void show(const uint8_t* pixels, uint8_t* colors, size_t count) noexcept { to_colors_.run(pixels, colors, count); }
    void find(const uint8_t* colors, uint8_t* indices, size_t count) noexcept;

private:
    PixelForm form_;
    RowConverter to_colors_;
    RowConverter to_indices_;
    alignas(64) uint8_t indices_[kChunk];
    alignas(64) uint8_t packed_[kChunk];
    alignas(64) uint8_t before_[kChunkBytes];
    alignas(64) uint8_t colors_[kChunkBytes];
};

} // namespace vk::combine
