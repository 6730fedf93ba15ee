// How much of each pixel counts: the alpha of a source, and the values of a mask, as numbers of 16 bits.
#pragma once

#include "kernel/combine/ConvertRun.h"

namespace vk::combine {

/// The alpha of a bitmap's pixels: its own, or none for its transparent colour and all for the others.
class AlphaValues {
public:
    AlphaValues() noexcept : colors_(converter_) {}

    /// SUCCESS or a code. A bitmap without alpha of any kind is opaque.
    int open(const BITMAPHANDLE& bitmap) noexcept;

    bool is_opaque() const noexcept { return most_ == 1; }
    /// The value of full alpha: 255 or 65535, or 1 when nothing else occurs.
    uint32_t most() const noexcept { return most_; }

    /// The values of up to kChunk pixels.
    void take(Line pixels, int32_t count, uint16_t* values) noexcept;

private:
    uint32_t most_ = 1;
    size_t pixel_bytes_ = 0; ///< 0: alpha comes of the transparent colour
    RowConverter converter_;
    ConvertedPixels colors_;
};

/// The values of a mask of 1, 8 or 16 bits; of gray samples the significant bits.
class MaskValues {
public:
    /// True for a bitmap that can be a mask.
    static bool can_be(const BITMAPHANDLE& bitmap) noexcept;

    /// Null: everything counts.
    void open(const BITMAPHANDLE* mask) noexcept;

    bool is_open() const noexcept { return bits_ != 0; }
    int32_t bits() const noexcept { return bits_; }
    /// The largest value; 1 without a mask.
    uint32_t most() const noexcept { return most_; }

    void take(Line pixels, int32_t count, uint16_t* values) const noexcept;

private:
    int32_t bits_ = 0;
    bool is_gray_ = false;
    GrayRange gray_;
    uint32_t most_ = 1;
};

} // namespace vk::combine
