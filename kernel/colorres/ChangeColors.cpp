// Changes of colours on whole bitmaps. Whether a bitmap is replaced or a second one made, the result is staged: the
// source is only read, and a failure anywhere leaves the caller's records right.
#include "kernel/colorres/ColorRes.h"

#include "Vkbitmap.h"
#include "Vksystem.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/colorres/FillColors.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/colorres/Quantize.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

constexpr uint32_t kIndexForm = 0x01;

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
        const Shape shape{source.Width, source.Height, target.bits, target.order, 0, NewPixels::to_be_written};
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
        result = fill_colors(source, staged.record(), target, progress, scan_steps);
    if (result == V_SUCCESS)
        result = refresh_gray_limits(staged.record());
    if (result == V_SUCCESS)
        translate_colors(staged.record(), source, target);
    return result;
}

} // namespace

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
