// Replacing a bitmap by a resized one. The new bitmap is staged; the source is only read, and where its colours are
// bled first that happens in a copy, so that a failure anywhere leaves the caller's record right.
#include "Vkcolorres.h"
#include "Vkresize.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/palette/Palette.h"
#include "kernel/resize/Access.h"
#include "kernel/resize/AlphaBleed.h"
#include "kernel/resize/Resize.h"
#include "kernel/resize/Temporary.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

namespace vk {

namespace {

constexpr int32_t kGrayBits = 8;

/// The one way that the flags come to.
uint32_t settle_flags(const BITMAPHANDLE& bitmap, uint32_t flags) noexcept
{
    if (bitmap.BitsPerPixel != 1)
        flags &= ~SIZEFLAG_FAVORBLACK;
    else if (flags & (SIZEFLAG_FAVORBLACK | SIZEFLAG_SCALETOGRAY))
        flags &=
            gray_kind(bitmap) != GrayKind::none ? ~SIZEFLAG_RESAMPLE : ~(SIZEFLAG_FAVORBLACK | SIZEFLAG_SCALETOGRAY);
    for (const uint32_t flag : {SIZEFLAG_ALTRESAMPLE, SIZEFLAG_RESAMPLE, SIZEFLAG_BICUBIC, SIZEFLAG_SCALETOGRAY})
        if (flags & flag)
            return flag;
    return flags & SIZEFLAG_FAVORBLACK;
}

ColorResRequest gray_request() noexcept
{
    ColorResRequest request;
    request.bits = kGrayBits;
    request.flags = COLORRES_PALETTE_GRAY | COLORRES_NODITHER;
    return request;
}

/// Where the pixels come from: the bitmap itself, or a copy whose invisible pixels are bled.
class Source {
public:
    explicit Source(BITMAPHANDLE& bitmap) noexcept : bitmap_(&bitmap) {}

    BITMAPHANDLE& record() noexcept { return *bitmap_; }

    int bleed(bool along_rows, bool along_columns, const ProgressShare& share) noexcept
    {
        BITMAPHANDLE& bitmap = *bitmap_;
        bitmap_ = &copy_.record();
        const auto fill = [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept {
            return bleed_into(from, to, along_rows, along_columns, share);
        };
        const int result = make_like(copy_.record(), bitmap, kRecordSize, shape_of(bitmap), 0);
        return result == V_SUCCESS ? with_access(bitmap, copy_.record(), fill) : result;
    }

private:
    BITMAPHANDLE* bitmap_;
    Temporary copy_;
};

/// Makes and fills an 8-bit gray bitmap. Deep pixels become gray when they are few, indices before they are mixed.
int stage_gray(Staged& staged, BITMAPHANDLE& bitmap, Shape shape, const ProgressShare& share) noexcept
{
    constexpr uint32_t kCopied = DUPFLAG_PALETTE | DUPFLAG_ANIMATION | DUPFLAG_GRAYTABLES;
    const bool is_deep = bitmap.BitsPerPixel > kGrayBits;
    const int passes = bitmap.BitsPerPixel == 1 ? 1 : 2;
    if (!is_deep)
        shape.bits = kGrayBits;
    int result = staged.make(shape, kCopied);
    if (result == V_SUCCESS && !is_deep)
        result = give_palette(staged.record(), gray_levels(), kMaxPaletteEntries);
    Temporary gray;
    BITMAPHANDLE* source = &bitmap;
    if (result == V_SUCCESS && !is_deep && passes == 2) {
        result = make_temporary_colors(gray.record(), bitmap, gray_request(), share.pass(0, passes));
        source = &gray.record();
    }
    if (result == V_SUCCESS)
        result = resize_into(*source, staged.record(), SIZEFLAG_RESAMPLE, share.pass(is_deep ? 0 : passes - 1, passes));
    return result == V_SUCCESS && is_deep ? change_colors(staged.record(), gray_request(), share.pass(1, passes))
                                          : result;
}

/// Fills the staged bitmap from one that is accessed.
int stage(Staged& staged, BITMAPHANDLE& bitmap, const Shape& shape, uint32_t flags) noexcept
{
    const uint32_t way = settle_flags(bitmap, flags);
    const bool along_rows = shape.width >= bitmap.Width;
    const bool along_columns = shape.height >= bitmap.Height;
    bool bleeds = false;
    int result = V_SUCCESS;
    if (flags & SIZEFLAG_ALPHAAWARE && has_alpha(bitmap) && (along_rows || along_columns))
        result = needs_bleeding(bitmap, &bleeds);
    const ProgressShare whole;
    const ProgressShare share = bleeds ? whole.pass(1, 2) : whole;
    Source source(bitmap);
    if (result == V_SUCCESS && bleeds)
        result = source.bleed(along_rows, along_columns, whole.pass(0, 2));
    if (result == V_SUCCESS && way == SIZEFLAG_SCALETOGRAY)
        return stage_gray(staged, source.record(), shape, share);
    if (result == V_SUCCESS)
        result = staged.make(shape, DUPFLAG_PALETTE | DUPFLAG_ANIMATION);
    return result == V_SUCCESS ? resize_into(source.record(), staged.record(), way, share) : result;
}

} // namespace

int size_bitmap(BITMAPHANDLE& bitmap, int32_t width, int32_t height, uint32_t flags) noexcept
{
    int result = check_rows(bitmap);
    if (result != V_SUCCESS)
        return result;
    Shape shape = shape_of(bitmap);
    shape.width = width;
    shape.height = height;
    shape.order = Shape::kLikeSource;
    shape.pixels = NewPixels::to_be_written;
    Staged staged(bitmap);
    BitmapAccess access(bitmap); // around all looks at it
    result = access.result();
    if (result == V_SUCCESS)
        result = stage(staged, bitmap, shape, flags);
    OverlayCopies overlays;
    if (result == V_SUCCESS)
        result = scale_overlays(bitmap, width, height, overlays);
    if (result == V_SUCCESS)
        result = scale_region(bitmap, staged.record(), width, height);
    if (result != V_SUCCESS)
        return result;
    const int released = access.release();
    result = staged.replace();
    if (result == V_SUCCESS)
        overlays.give_to(bitmap);
    return first_failure(result, released);
}

} // namespace vk
