// The gray-scale operations. Making a bitmap gray is a change of colours like any other (ColorRes.h); telling whether
// one is gray goes by its order and its palette alone, never by its pixels.
#include "kernel/colorres/GrayScale.h"

#include "Vkrecord.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/convert/Steps.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstdlib>

namespace vk {

namespace {

/// True when an entry is gray and stands where it should among `count` equally spaced ones.
bool is_ramp_entry(const RGBQUAD& entry, uint32_t index, uint32_t count) noexcept
{
    const auto wanted = static_cast<int>(index * 255 / (count - 1));
    return entry.rgbRed == entry.rgbGreen && entry.rgbGreen == entry.rgbBlue && std::abs(entry.rgbRed - wanted) <= 1;
}

template <class Index> bool is_ramp(const RGBQUAD* entries, uint32_t count, Index index) noexcept
{
    for (uint32_t i = 0; i < count; ++i)
        if (!is_ramp_entry(entries[i], index(i), count))
            return false;
    return true;
}

GrayKind palette_kind(const RGBQUAD* entries, uint32_t count) noexcept
{
    if (is_ramp(entries, count, [](uint32_t i) noexcept { return i; }))
        return GrayKind::ramp;
    const auto from_end = [count](uint32_t i) noexcept { return count - 1 - i; };
    return is_ramp(entries, count, from_end) ? GrayKind::inverted : GrayKind::none;
}

/// What counts of a sample: `flip` turns signed ones into unsigned ones of the same order.
struct Significant {
    GrayRange range;
    uint32_t flip;

    uint32_t of(uint32_t sample) const noexcept { return range.extract(sample) ^ flip; }
};

void see_samples(const uint32_t* samples, size_t count, const Significant& significant,
                 pixel::SampleLimits& limits) noexcept
{
    const GrayRange& range = significant.range;
    const pixel::SampleChange values{range.shift, range.bits, range.bits, 0};
    const size_t done =
        pixel::run_step<&pixel::StepLoops::widen_limits>(samples, &limits, count, values, significant.flip);
    for (size_t i = done; i < count; ++i) {
        const uint32_t value = significant.of(samples[i]);
        limits.least = std::min(limits.least, value);
        limits.most = std::max(limits.most, value);
    }
}

void see_row(const uint8_t* row, int32_t bits, size_t width, const Significant& significant,
             pixel::SampleLimits& limits) noexcept
{
    constexpr size_t kPiece = 512;
    const pixel::Format& format =
        bits == kMostIndexBits ? pixel::gray8_samples() : *pixel::find_format(bits, COLORORDER_GRAY);
    uint32_t samples[kPiece];
    for (size_t at = 0; at < width; at += kPiece) {
        const size_t count = std::min(kPiece, width - at);
        format.unpack(row + pixel::format_bytes(format, at), samples, count);
        see_samples(samples, count, significant, limits);
    }
}

} // namespace

GrayKind gray_kind(const BITMAPHANDLE& bitmap) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    if (!is_indexed(bits))
        return is_deep_gray(bitmap) ? GrayKind::deep : GrayKind::none;
    if (bits == 8 && bitmap.Order == COLORORDER_GRAY)
        return GrayKind::ramp;
    const uint32_t count = 1u << bits;
    if (!bitmap.Palette)
        return palette_kind(fixed_palette(bits), count);
    return bitmap.Colors >= count ? palette_kind(bitmap.Palette, count) : GrayKind::none;
}

int refresh_gray_limits(BITMAPHANDLE& bitmap) noexcept
{
    return is_deep_gray(bitmap) && has_order(bitmap.BitsPerPixel, bitmap.Order) ? find_gray_limits(bitmap) : V_SUCCESS;
}

int find_gray_limits(BITMAPHANDLE& bitmap) noexcept
{
    const GrayRange range = gray_range_of(bitmap);
    const uint32_t sign = bitmap.Flags & BITMAPFLAG_SIGNED ? range.mask() / 2 + 1 : 0;
    // Indices from white on are the levels the other way round, which changes the same bits of all.
    const uint32_t flip = gray_kind(bitmap) == GrayKind::inverted ? range.mask() ^ sign : sign;
    const Significant significant{range, flip};
    const auto width = static_cast<size_t>(bitmap.Width);
    RowReader reader(bitmap);
    const int32_t batch = buffered_rows(bitmap, bitmap);
    int result = reader.reserve(batch);
    pixel::SampleLimits limits;
    for (int32_t row = 0; row < bitmap.Height && result == V_SUCCESS;) {
        const int32_t rows = std::min(batch, bitmap.Height - row);
        const uint8_t* data = nullptr;
        result = reader.read(row, rows, &data);
        for (int32_t i = 0; i < rows && result == V_SUCCESS; ++i)
            see_row(data + size_t{bitmap.BytesPerLine} * static_cast<uint32_t>(i), bitmap.BitsPerPixel, width,
                    significant, limits);
        row += rows;
    }
    if (result == V_SUCCESS) {
        const auto value = [sign](uint32_t seen) noexcept {
            return static_cast<int32_t>(std::min<int64_t>(int64_t{seen} - sign, INT32_MAX));
        };
        bitmap.MinVal = value(limits.least);
        bitmap.MaxVal = value(limits.most);
    }
    return result;
}

} // namespace vk
