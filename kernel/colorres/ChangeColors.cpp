// Changes of colours on whole bitmaps. Whether a bitmap is replaced or a second one made, the result is staged: the
// source is only read, and a failure anywhere leaves the caller's records right.
#include "kernel/colorres/ColorRes.h"

#include "Vkbitmap.h"
#include "Vksystem.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/colorres/ColorRows.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/colorres/Quantize.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/rows/RegionRows.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/rows/Segments.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr uint32_t kIndexForm = 0x01;

/// Calls `take(rows, row, count)` for all rows, a batch at a time, and reports progress behind the steps done before.
template <class Take>
int each_batch(BITMAPHANDLE& source, int32_t batch, Progress& progress, int64_t steps_before, Take take) noexcept
{
    RowReader reader(source);
    int result = reader.reserve(batch);
    for (int32_t row = 0; row < source.Height && result == V_SUCCESS;) {
        const int32_t count = std::min(batch, source.Height - row);
        const uint8_t* data = nullptr;
        result = reader.read(row, count, &data);
        if (result == V_SUCCESS)
            result = take(SourceRows{data, source.BytesPerLine}, row, count);
        row += count;
        if (result == V_SUCCESS)
            result = progress.update(steps_before + row);
    }
    return result;
}

/// Takes out pixels that do not count; the number that is left.
size_t counted_pixels(uint8_t* pixels, size_t count, const CountedPixels& counted) noexcept
{
    if (!counted.skips_clear && !counted.skips_extremes)
        return count;
    size_t kept = 0;
    for (size_t i = 0; i < count; ++i) {
        uint32_t pixel;
        std::memcpy(&pixel, pixels + 4 * i, sizeof pixel);
        const uint32_t color = pixel & 0xFFFFFF;
        std::memcpy(pixels + 4 * kept, &pixel, sizeof pixel);
        const bool is_clear = counted.skips_clear && pixel >> 24 == 0;
        const bool is_extreme = counted.skips_extremes && (color == 0 || color == 0xFFFFFF);
        kept += is_clear || is_extreme ? 0 : 1;
    }
    return kept;
}

/// Looks at all pixels and makes the palette that suits them.
int make_palette(BITMAPHANDLE& source, ColorTarget& target, Progress& progress) noexcept
{
    quantize::Quantizer quantizer(target.count);
    const int result = add_colors(source, quantizer, progress, {});
    if (result != V_SUCCESS)
        return result;
    bool is_exact = false;
    if (!quantizer.make(target.entries, &target.count, &is_exact))
        return V_ERROR_NO_MEMORY;
    target.dithered = target.dithered && !is_exact;
    return V_SUCCESS;
}

/// Dithering is for the pixels inside the region: those outside get their nearest colours.
class Outside {
public:
    explicit Outside(const BITMAPHANDLE& source) noexcept : inside_(source), width_(source.Width) {}

    int open(const BITMAPHANDLE& source, const ColorTarget& target, size_t line, int32_t batch) noexcept
    {
        is_needed_ = target.dithered && !inside_.is_whole();
        if (!is_needed_)
            return V_SUCCESS;
        target_ = target;
        target_.dithered = false;
        if (!buffer_.allocate(uint64_t{line} * static_cast<uint32_t>(batch)))
            return V_ERROR_NO_MEMORY;
        return rows_.open(source, target_);
    }

    /// Changes converted rows outside of the region.
    int run(SourceRows from, TargetRows to, int32_t row, int32_t count) noexcept
    {
        if (!is_needed_)
            return V_SUCCESS;
        const int result = rows_.run(from, {buffer_.data(), to.stride}, count);
        for (int32_t i = 0; i < count && result == V_SUCCESS; ++i) {
            const size_t at = to.stride * static_cast<size_t>(i);
            uint8_t* const dithered = static_cast<uint8_t*>(to.data) + at;
            uint8_t* const nearest = buffer_.data() + at;
            inside_.each(row + i, 0, width_, [&](int32_t first, int32_t end) noexcept {
                copy_pixels(nearest, dithered, target_.bits, static_cast<uint32_t>(first), static_cast<uint32_t>(end));
            });
            std::memcpy(dithered, nearest, to.stride);
        }
        return result;
    }

private:
    const RegionRows inside_;
    const int32_t width_;
    bool is_needed_ = false;
    ColorTarget target_;
    ColorRows rows_;
    RowBuffer buffer_;
};

/// Converts all rows into the staged bitmap.
int fill(BITMAPHANDLE& source, BITMAPHANDLE& made, const ColorTarget& target, Progress& progress,
         int64_t steps_before) noexcept
{
    ColorRows rows;
    int result = rows.open(source, target);
    RowWriter writer(made);
    const bool is_direct = RowReader(source).in_place() && writer.in_place();
    const int32_t batch = is_direct ? reported_rows(source.Height) : buffered_rows(source, made);
    const size_t line = made.BytesPerLine;
    Outside outside(source);
    if (result == V_SUCCESS)
        result = outside.open(source, target, line, batch);
    if (result == V_SUCCESS)
        result = writer.reserve(batch);
    if (result != V_SUCCESS)
        return result;
    return each_batch(source, batch, progress, steps_before, [&](SourceRows from, int32_t row, int32_t count) noexcept {
        const TargetRows to{writer.place(row), line};
        int converted = rows.run(from, to, count);
        if (converted == V_SUCCESS)
            converted = outside.run(from, to, row, count);
        return converted == V_SUCCESS ? writer.write(row, count) : converted;
    });
}

/// A colour that means in the new form what it meant in the old one.
COLORREF translate(COLORREF color, const BITMAPHANDLE& source, const ColorTarget& target) noexcept
{
    RGBQUAD meant = {static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8), static_cast<uint8_t>(color),
                     0};
    if (color >> 24 == kIndexForm) {
        const uint32_t index = color & 0xFFFF;
        const bool is_entry = index < palette_entries(source);
        meant = is_entry ? source.Palette[index] : RGBQUAD{};
    }
    if (!target.indexed())
        return meant.rgbRed | uint32_t{meant.rgbGreen} << 8 | uint32_t{meant.rgbBlue} << 16;
    const int32_t index = find_palette_index(target.entries, target.count, meant.rgbRed, meant.rgbGreen, meant.rgbBlue);
    return kIndexForm << 24 | static_cast<uint32_t>(index);
}

void translate_colors(BITMAPHANDLE& made, const BITMAPHANDLE& source, const ColorTarget& target) noexcept
{
    if (source.Flags & BITMAPFLAG_TRANSPARENCY)
        made.Transparency = translate(source.Transparency, source, target);
    if (source.Background >> 24 == kIndexForm)
        made.Background = translate(source.Background, source, target);
}

/// Makes and fills the staged bitmap for a source that is accessed.
int stage(Staged& staged, BITMAPHANDLE& source, uint32_t struct_size, uint32_t dup_flags, ColorTarget& target,
          const ProgressShare& share) noexcept
{
    const int64_t scan_steps = target.optimized ? source.Height : 0;
    Progress progress(source.Height + scan_steps, share);
    int result = progress.begin();
    if (result == V_SUCCESS && target.optimized)
        result = make_palette(source, target, progress);
    if (result == V_SUCCESS) {
        drop_useless_dithering(source, target);
        const Shape shape{source.Width, source.Height, target.bits, target.order, 0};
        result = staged.make(shape, struct_size, dup_flags);
    }
    if (result == V_SUCCESS && target.high >= 0) {
        staged.record().LowBit = target.low;
        staged.record().HighBit = target.high;
    }
    if (result == V_SUCCESS && target.indexed())
        result = give_palette(staged.record(), target.entries, target.count);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess made(staged.record());
    result = made.result();
    if (result == V_SUCCESS)
        result = fill(source, staged.record(), target, progress, scan_steps);
    if (result == V_SUCCESS)
        result = refresh_gray_limits(staged.record());
    if (result == V_SUCCESS)
        translate_colors(staged.record(), source, target);
    return result;
}

} // namespace

int add_colors(BITMAPHANDLE& source, quantize::Quantizer& quantizer, Progress& progress, CountedPixels counted) noexcept
{
    counted.skips_clear =
        counted.skips_clear && source.Flags & BITMAPFLAG_TRANSPARENCY && !has_alpha(source.BitsPerPixel, source.Order);
    ColorTarget colors; // 32-bit BGR
    colors.bits = 32;
    colors.order = COLORORDER_BGR;
    ColorRows rows;
    int result = rows.open(source, colors);
    const auto width = static_cast<size_t>(source.Width);
    const int32_t batch = std::min(buffered_rows(source, source), std::max(1, static_cast<int32_t>(65536 / width)));
    RowBuffer buffer;
    if (result == V_SUCCESS && !buffer.allocate(width * 4 * static_cast<uint32_t>(batch)))
        result = V_ERROR_NO_MEMORY;
    if (result != V_SUCCESS)
        return result;
    return each_batch(source, batch, progress, 0, [&](SourceRows from, int32_t, int32_t count) noexcept {
        const int converted = rows.run(from, {buffer.data(), width * 4}, count);
        if (converted != V_SUCCESS)
            return converted;
        const size_t kept = counted_pixels(buffer.data(), width * static_cast<uint32_t>(count), counted);
        return quantizer.add(buffer.data(), kept) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    });
}

int change_colors(BITMAPHANDLE& bitmap, const ColorResRequest& request, const ProgressShare& share) noexcept
{
    ColorTarget target;
    int result = check_rows(bitmap);
    if (result == V_SUCCESS)
        result = settle_target(bitmap, request, target);
    if (result != V_SUCCESS || has_form(bitmap, target))
        return result;
    Staged staged(bitmap);
    BitmapAccess access(bitmap);
    constexpr uint32_t kCopied = DUPFLAG_PALETTE | DUPFLAG_ANIMATION | DUPFLAG_TAKEOVER;
    result = access.result();
    if (result == V_SUCCESS)
        result = stage(staged, bitmap, bitmap.StructSize, kCopied, target, share);
    return result == V_SUCCESS ? staged.replace(access) : result;
}

namespace {

int make_colors_with(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const ColorResRequest& request,
                     uint32_t dup_flags, const ProgressShare& share) noexcept
{
    ColorTarget target;
    int result = check_rows(source);
    if (result == V_SUCCESS)
        result = settle_target(source, request, target);
    if (result == V_SUCCESS && has_form(source, target))
        return copy_bitmap(made, source, struct_size, dup_flags, share);
    Staged staged(source);
    if (result == V_SUCCESS) {
        BitmapAccess access(source);
        result = access.result();
        if (result == V_SUCCESS)
            result = stage(staged, source, struct_size, dup_flags, target, share);
        const int released = access.release();
        result = first_failure(result, released);
    }
    if (result == V_SUCCESS)
        staged.give(made);
    else
        clear_record(made, struct_size);
    return result;
}

} // namespace

int make_colors(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const ColorResRequest& request,
                const ProgressShare& share) noexcept
{
    return make_colors_with(made, source, struct_size, request, copy_flags(source), share);
}

int make_temporary_colors(BITMAPHANDLE& made, BITMAPHANDLE& source, const ColorResRequest& request,
                          const ProgressShare& share) noexcept
{
    constexpr uint32_t kParts = DUPFLAG_PALETTE | DUPFLAG_GRAYTABLES | DUPFLAG_ANIMATION;
    return make_colors_with(made, source, kRecordSize, request, kParts, share);
}

} // namespace vk
