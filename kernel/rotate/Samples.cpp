#include "kernel/rotate/Samples.h"

#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/ExactLookup.h"
#include "kernel/palette/Palette.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vk::rotate {

namespace {

/// What an alpha has in addition: too little to be seen beside the least alpha there is.
constexpr float kAlphaSpare = 1.0F / 1024;

size_t element_size(pixel::Work work) noexcept
{
    switch (work) {
    case pixel::Work::index8:
    case pixel::Work::gray8:
        return sizeof(uint8_t);
    case pixel::Work::gray_deep:
        return sizeof(uint32_t);
    case pixel::Work::rgba8:
        return sizeof(pixel::Rgba8);
    case pixel::Work::rgba16:
        return sizeof(pixel::Rgba16);
    }
    return 0;
}

/// The format of a bitmap's pixels. A record may name an order that its depth does not have; any will do then.
const pixel::Format* format_of(const BITMAPHANDLE& bitmap) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    const pixel::Format* const format = pixel::find_format(bits, bitmap.Order);
    return format ? format : pixel::find_format(bits, usual_order(bits));
}

} // namespace

Samples::~Samples()
{
    pixel::destroy_exact_lookup(lookup_);
}

int Samples::open(const BITMAPHANDLE& bitmap, const FillPixel& fill) noexcept
{
    format_ = format_of(bitmap);
    element_ = element_size(format_->work);
    is_scalar_ = bitmap.BitsPerPixel == 1 || format_->work == pixel::Work::gray8 || format_->deep_gray();
    format_->unpack(fill.packed, fill_, 1);
    if (is_scalar_)
        open_scalar(bitmap);
    else if (format_->indexed())
        return open_palette(bitmap);
    else
        open_channels(bitmap);
    return V_SUCCESS;
}

void Samples::open_scalar(const BITMAPHANDLE& bitmap) noexcept
{
    gray_ = {static_cast<uint32_t>(bitmap.BitsPerPixel), 0};
    if (format_->deep_gray())
        gray_ = gray_range_of(bitmap);
    const bool is_signed = bitmap.BitsPerPixel > 1 && bitmap.Flags & BITMAPFLAG_SIGNED;
    gray_sign_ = is_signed ? 1u << (gray_.bits - 1) : 0;
}

int Samples::open_palette(const BITMAPHANDLE& bitmap) noexcept
{
    const RGBQUAD* const own = bitmap.Palette;
    const uint32_t most = 1u << bitmap.BitsPerPixel;
    const uint32_t count = own ? std::max<uint32_t>(palette_entries(bitmap), 1) : most;
    std::copy_n(own ? own : fixed_palette(bitmap.BitsPerPixel), count, palette_);
    const auto pixels = static_cast<uint64_t>(bitmap.Width) * static_cast<uint32_t>(bitmap.Height);
    lookup_ = pixel::create_exact_lookup(palette_, count, pixels);
    return lookup_ ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

void Samples::open_channels(const BITMAPHANDLE& bitmap) noexcept
{
    most_ = format_->work == pixel::Work::rgba16 ? 65535 : 255;
    std::fill_n(steps_, 3, most_);
    if (has_fields(bitmap.BitsPerPixel)) {
        std::fill_n(steps_, 3, 31.0F);
        if (format_->order == COLORORDER_RGB565)
            steps_[1] = 63;
    }
}

uint32_t Samples::raw_of(const uint8_t* element) const noexcept
{
    uint32_t raw = element[0];
    if (element_ == sizeof raw)
        std::memcpy(&raw, element, sizeof raw);
    return raw;
}

Color Samples::color_of(const uint8_t* element) const noexcept
{
    float channels[4];
    if (format_->work == pixel::Work::rgba16) {
        uint16_t words[4];
        std::memcpy(words, element, sizeof words);
        std::copy_n(words, 4, channels);
    } else {
        const RGBQUAD& entry = palette_[element[0]];
        const uint8_t bytes[4] = {entry.rgbBlue, entry.rgbGreen, entry.rgbRed, 0};
        std::copy_n(lookup_ ? bytes : element, 4, channels);
    }
    if (!format_->alpha)
        return {_mm_setr_ps(channels[0], channels[1], channels[2], 1)};
    const float alpha = channels[3] + kAlphaSpare;
    return Color{_mm_setr_ps(channels[0], channels[1], channels[2], 1)} * alpha;
}

void Samples::read(const uint8_t* packed, int32_t skip, int32_t count, Color* values, uint32_t* raw) const noexcept
{
    alignas(8) uint8_t work[kMostPixels * 8];
    format_->unpack(packed, work, static_cast<size_t>(skip + count));
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t* const element = work + static_cast<size_t>(skip + i) * element_;
        values[i] = color_of(element);
        raw[i] = element[0]; // an index, or not asked for
    }
}

void Samples::read(const uint8_t* packed, int32_t skip, int32_t count, double* values, uint32_t* raw) const noexcept
{
    alignas(8) uint8_t work[kMostPixels * 8];
    format_->unpack(packed, work, static_cast<size_t>(skip + count));
    for (int32_t i = 0; i < count; ++i) {
        raw[i] = raw_of(work + static_cast<size_t>(skip + i) * element_);
        values[i] = scalar_of(raw[i]);
    }
}

void Samples::get_fill(Color& value, uint32_t& raw) const noexcept
{
    value = color_of(fill_);
    raw = fill_[0];
}

void Samples::get_fill(double& value, uint32_t& raw) const noexcept
{
    raw = raw_of(fill_);
    value = scalar_of(raw);
}

void Samples::start_row(int32_t count) noexcept
{
    for (size_t i = 0; i < static_cast<size_t>(count); ++i)
        std::memcpy(row_ + i * element_, fill_, element_);
}

pixel::Rgba16 Samples::levels_of(const Color& color) const noexcept
{
    float channels[4];
    _mm_storeu_ps(channels, color.channels);
    const float alpha = channels[3];
    const float scale = format_->alpha ? 1 / std::max(alpha, kAlphaSpare / 4) : 1;
    uint16_t levels[3];
    for (int c = 0; c < 3; ++c) {
        const float steps = steps_[c];
        const float value = std::clamp(channels[c] * scale, 0.0F, most_) * (steps / most_);
        const auto level = static_cast<uint32_t>(value + 0.5F);
        const auto most = static_cast<uint32_t>(most_);
        const auto count = static_cast<uint32_t>(steps);
        levels[c] = static_cast<uint16_t>((level * most + count / 2) / count);
    }
    return {levels[0], levels[1], levels[2], static_cast<uint16_t>(std::clamp(alpha, 0.0F, most_) + 0.5F)};
}

/// The nearest entries. Of entries of one colour the nearest pixel's own goes before the one that is found.
void Samples::write_indices(const Color* values, const uint32_t* closest, int32_t first, int32_t count) noexcept
{
    pixel::Rgba8 colors[kMostPixels] = {};
    for (int32_t i = 0; i < count; ++i) {
        const pixel::Rgba16 levels = levels_of(values[i]);
        colors[i] = {static_cast<uint8_t>(levels.b), static_cast<uint8_t>(levels.g), static_cast<uint8_t>(levels.r), 0};
    }
    uint8_t* const indices = row_ + first;
    lookup_->match(lookup_, colors, indices, static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        const RGBQUAD& own = palette_[closest[i] & 0xFF];
        const RGBQUAD& found = palette_[indices[i]];
        if (own.rgbBlue == found.rgbBlue && own.rgbGreen == found.rgbGreen && own.rgbRed == found.rgbRed)
            indices[i] = static_cast<uint8_t>(closest[i]);
    }
}

void Samples::write(const Color* values, const uint32_t* closest, int32_t first, int32_t count) noexcept
{
    if (lookup_) {
        write_indices(values, closest, first, count);
        return;
    }
    for (int32_t i = 0; i < count; ++i) {
        const pixel::Rgba16 levels = levels_of(values[i]);
        uint8_t* const element = row_ + static_cast<size_t>(first + i) * element_;
        const pixel::Rgba8 bytes{static_cast<uint8_t>(levels.b), static_cast<uint8_t>(levels.g),
                                 static_cast<uint8_t>(levels.r), static_cast<uint8_t>(levels.a)};
        if (element_ == sizeof levels)
            std::memcpy(element, &levels, sizeof levels);
        else
            std::memcpy(element, &bytes, sizeof bytes);
    }
}

void Samples::write(const double* values, const uint32_t* closest, int32_t first, int32_t count) noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const double clipped = std::clamp(values[i] + 0.5, 0.0, double{1} * gray_.mask());
        const uint32_t value = static_cast<uint32_t>(clipped) ^ gray_sign_;
        const uint32_t raw = (closest[i] & ~gray_.place(gray_.mask())) | gray_.place(value);
        uint8_t* const element = row_ + static_cast<size_t>(first + i) * element_;
        if (element_ == sizeof raw)
            std::memcpy(element, &raw, sizeof raw);
        else
            element[0] = static_cast<uint8_t>(raw);
    }
}

void Samples::pack_row(uint8_t* packed, int32_t count) const noexcept
{
    format_->pack(row_, packed, static_cast<size_t>(count));
}

} // namespace vk::rotate
