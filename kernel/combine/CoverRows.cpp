#include "kernel/combine/CoverRows.h"

#include "kernel/format/PackedBits.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

int AlphaValues::open(const BITMAPHANDLE& bitmap) noexcept
{
    const PixelForm form = form_of(bitmap);
    if (form.has_alpha()) {
        most_ = form.bits == 64 ? 65535 : 255;
        pixel_bytes_ = static_cast<size_t>(form.bits / 8);
        return V_SUCCESS;
    }
    if (!(bitmap.Flags & BITMAPFLAG_TRANSPARENCY))
        return V_SUCCESS;
    most_ = 255;
    return converter_.open_key(bitmap);
}

void AlphaValues::take(Line pixels, int32_t count, uint16_t* values) noexcept
{
    const auto some = static_cast<size_t>(count);
    if (is_opaque()) {
        std::fill_n(values, some, uint16_t{1});
        return;
    }
    if (pixel_bytes_ == 8) {
        const uint8_t* const from = pixels.data + pixel_bytes_ * static_cast<size_t>(pixels.column);
        for (size_t i = 0; i < some; ++i)
            std::memcpy(values + i, from + 8 * i + 6, sizeof *values);
        return;
    }
    const uint8_t* const from =
        pixel_bytes_ ? pixels.data + pixel_bytes_ * static_cast<size_t>(pixels.column) : colors_.take(pixels, count);
    for (size_t i = 0; i < some; ++i)
        values[i] = from[4 * i + 3];
}

bool MaskValues::can_be(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.BitsPerPixel == 1 || bitmap.BitsPerPixel == 8 || bitmap.BitsPerPixel == 16;
}

void MaskValues::open(const BITMAPHANDLE* mask) noexcept
{
    if (!mask)
        return;
    const PixelForm form = form_of(*mask);
    bits_ = form.bits;
    most_ = (1u << bits_) - 1;
    is_gray_ = form.deep_gray();
    if (is_gray_) {
        gray_ = form.gray;
        most_ = gray_.mask();
    }
}

void MaskValues::take(Line pixels, int32_t count, uint16_t* values) const noexcept
{
    const auto first = static_cast<size_t>(pixels.column);
    for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
        const size_t at = first + i;
        if (bits_ == 0) {
            values[i] = 1;
        } else if (bits_ == 1) {
            values[i] = static_cast<uint16_t>(extract_bits(pixels.data + at / 8, 1, static_cast<uint32_t>(at)));
        } else if (bits_ == 8) {
            values[i] = pixels.data[at];
        } else {
            std::memcpy(values + i, pixels.data + 2 * at, sizeof *values);
            if (is_gray_)
                values[i] = static_cast<uint16_t>(gray_.extract(values[i]));
        }
    }
}

} // namespace vk::combine
