// Pixels as the numbers that interpolation weights, and back.
//
// Colours are four floats, each channel multiplied by the alpha so that transparent pixels do not bleed into others. No
// alpha is quite 0: where all are transparent, and in pictures whose fourth byte means nothing, colours still count
// evenly. Grays are the significant bits of the sample, and two-colour pixels their index, as doubles, which hold 32
// bits. A constant picture comes back to the bit.
#pragma once

#include "Vkrecord.h"
#include "kernel/convert/ColorLookup.h"
#include "kernel/convert/Format.h"
#include "kernel/format/GrayRange.h"
#include "kernel/palette/Palette.h"
#include "kernel/rotate/Painter.h"

#include <emmintrin.h>

namespace vk::rotate {

/// Blue, green, red and alpha.
struct Color {
    __m128 channels;

    friend Color operator*(const Color& color, float weight) noexcept
    {
        return {_mm_mul_ps(color.channels, _mm_set1_ps(weight))};
    }
    friend Color operator+(const Color& a, const Color& b) noexcept { return {_mm_add_ps(a.channels, b.channels)}; }
};

class Samples {
public:
    Samples() noexcept = default;
    Samples(const Samples&) = delete;
    Samples& operator=(const Samples&) = delete;
    ~Samples();

    /// Most pixels of a call.
    static constexpr int32_t kMostPixels = 128;

    /// Prepares for pixels of the bitmap's form, and this fill. SUCCESS or ERROR_NO_MEMORY.
    int open(const BITMAPHANDLE& bitmap, const FillPixel& fill) noexcept;

    int32_t bits() const noexcept { return format_->stored_bits(); }

    /// Pixels are doubles, not colours.
    bool is_scalar() const noexcept { return is_scalar_; }

    /// The pixels [skip, skip + count) of those packed from a byte on, as numbers and as they are.
    void read(const uint8_t* packed, int32_t skip, int32_t count, Color* values, uint32_t* raw) const noexcept;
    void read(const uint8_t* packed, int32_t skip, int32_t count, double* values, uint32_t* raw) const noexcept;

    /// The fill pixel, likewise.
    void get_fill(Color& value, uint32_t& raw) const noexcept;
    void get_fill(double& value, uint32_t& raw) const noexcept;

    /// A row of fill pixels, to write others into.
    void start_row(int32_t count) noexcept;
    /// Writes numbers from pixel `first` on. `closest` are the pixels nearest to each: what is not interpolated is
    /// theirs.
    void write(const Color* values, const uint32_t* closest, int32_t first, int32_t count) noexcept;
    void write(const double* values, const uint32_t* closest, int32_t first, int32_t count) noexcept;
    /// Packs the row.
    void pack_row(uint8_t* packed, int32_t count) const noexcept;

private:
    void open_scalar(const BITMAPHANDLE& bitmap) noexcept;
    int open_palette(const BITMAPHANDLE& bitmap) noexcept;
    void open_channels(const BITMAPHANDLE& bitmap) noexcept;
    uint32_t raw_of(const uint8_t* element) const noexcept;
    double scalar_of(uint32_t raw) const noexcept { return gray_.extract(raw) ^ gray_sign_; }
    Color color_of(const uint8_t* element) const noexcept;
    pixel::Rgba16 levels_of(const Color& color) const noexcept;
    void write_indices(const Color* values, const uint32_t* closest, int32_t first, int32_t count) noexcept;

    const pixel::Format* format_ = nullptr;
    size_t element_ = 1; ///< bytes of a pixel in the format's working form
    bool is_scalar_ = false;
    GrayRange gray_;
    uint32_t gray_sign_ = 0; ///< the bit whose flipping makes signed samples ascend

    float most_ = 255;                 ///< of a channel, as unpacked
    float steps_[3] = {255, 255, 255}; ///< of blue, green and red, as stored
    RGBQUAD palette_[kMaxPaletteEntries] = {};
    ColorLookup* lookup_ = nullptr;

    alignas(8) uint8_t fill_[8] = {}; ///< in the working form
    alignas(8) uint8_t row_[kMostPixels * 8] = {};
};

} // namespace vk::rotate
