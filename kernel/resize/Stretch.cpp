// Resizing into a bitmap of another depth or view perspective: the source is brought to both in temporary bitmaps
// first. What hangs on the destination follows its pixels.
#include "Vkcolorres.h"
#include "Vkresize.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Region.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/Palette.h"
#include "kernel/resize/Access.h"
#include "kernel/resize/Resize.h"
#include "kernel/resize/Temporary.h"
#include "kernel/system/Checks.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Perspectives that differ in the order of rows, if at all.
bool has_same_axes(int32_t a, int32_t b) noexcept
{
    return a == b || (a == TOP_LEFT && b == BOTTOM_LEFT) || (a == BOTTOM_LEFT && b == TOP_LEFT);
}

/// What makes a source's colours those of the destination.
ColorResRequest request_like(const BITMAPHANDLE& to) noexcept
{
    ColorResRequest request;
    request.bits = to.BitsPerPixel;
    if (is_deep_gray(to)) {
        return gray_like(to);
    } else if (!is_indexed(request.bits)) {
        request.flags = is_gray_only(request.bits) ? COLORRES_ORDER_GRAY : COLORRES_ORDER(to.Order);
    } else if (request.bits == kMostIndexBits && to.Order == COLORORDER_GRAY) {
        request.flags = COLORRES_PALETTE_GRAY;
    } else {
        const uint32_t most = 1u << request.bits;
        request.palette = to.Palette;
        request.colors = palette_entries(to) > 0 ? palette_entries(to) : most;
    }
    return request;
}

/// The source in the destination's perspective and depth.
class Adapted {
public:
    explicit Adapted(BITMAPHANDLE& source) noexcept : current_(&source) {}

    BITMAPHANDLE& record() noexcept { return *current_; }

    int turn(int32_t perspective, const ProgressShare& share) noexcept
    {
        constexpr uint32_t kCopied = DUPFLAG_PALETTE | DUPFLAG_GRAYTABLES;
        const int result =
            copy_in_view_perspective(turned_.record(), *current_, kRecordSize, perspective, kCopied, share);
        current_ = &turned_.record();
        return result;
    }

    int convert(const ColorResRequest& request, const ProgressShare& share) noexcept
    {
        if (current_ == &turned_.record())
            return change_colors(*current_, request, share);
        const int result = make_temporary_colors(converted_.record(), *current_, request, share);
        current_ = &converted_.record();
        return result;
    }

private:
    BITMAPHANDLE* current_;
    Temporary turned_;
    Temporary converted_;
};

/// Copies of a bitmap's overlays on their way to another. Until they are placed nothing has changed.
class SlotCopies {
public:
    int make(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
    {
        auto* const table = static_cast<OverlayTable*>(from.Overlays);
        if (!table || table == to.Overlays)
            return V_SUCCESS;
        int result = V_SUCCESS;
        for (int i = 0; i < kOverlaySlots && result == V_SUCCESS; ++i) {
            if (!(table->bitmaps[i].Flags & BITMAPFLAG_ALLOCATED))
                continue; // an empty slot
            has_any_ = true;
            attributes_[i] = table->attributes[i];
            result = copy_over(copies_[i].record(), table->bitmaps[i], from, to);
        }
        if (result == V_SUCCESS && has_any_ && !require_overlays(to))
            result = V_ERROR_NO_MEMORY;
        return result;
    }

    void place(BITMAPHANDLE& to) noexcept
    {
        for (int i = 0; i < kOverlaySlots && has_any_; ++i) {
            if (!(copies_[i].record().Flags & BITMAPFLAG_ALLOCATED))
                continue;
            BITMAPHANDLE& slot = static_cast<OverlayTable*>(to.Overlays)->bitmaps[i];
            free_bitmap(slot);
            std::memcpy(static_cast<void*>(&slot), &copies_[i].record(), kRecordSize);
            clear_record(copies_[i].record(), kRecordSize);
            static_cast<OverlayTable*>(to.Overlays)->attributes[i] = attributes_[i];
        }
    }

private:
    /// One that has a pixel over each of the source's gets one over each of the destination's.
    static int copy_over(BITMAPHANDLE& made, BITMAPHANDLE& overlay, const BITMAPHANDLE& from,
                         const BITMAPHANDLE& to) noexcept
    {
        int result = copy_bitmap(made, overlay, kRecordSize);
        if (result != V_SUCCESS || !covers(overlay, from))
            return result;
        const SilentStatus silent;
        if (from.ViewPerspective != to.ViewPerspective)
            result = change_view_perspective(made, to.ViewPerspective);
        return result == V_SUCCESS ? size_bitmap(made, to.Width, to.Height, 0) : result;
    }

    V_OVERLAYATTRIBUTES attributes_[kOverlaySlots];
    Temporary copies_[kOverlaySlots];
    bool has_any_ = false;
};

/// Gives the destination the source's region, in its own perspective and size, by the steps that the pixels took.
int carry_region(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
{
    const Layout layout = perspective_layout(from.ViewPerspective, to.ViewPerspective);
    const bool is_turned_first = !has_same_axes(from.ViewPerspective, to.ViewPerspective);
    Temporary between;
    BITMAPHANDLE& made = between.record();
    made.Width = is_turned_first ? (layout.transpose ? from.Height : from.Width) : to.Width;
    made.Height = is_turned_first ? (layout.transpose ? from.Width : from.Height) : to.Height;
    const int result = is_turned_first ? lay_out_area(from, made, layout) : scale_area(from, made);
    if (result != V_SUCCESS)
        return result;
    return is_turned_first ? scale_area(made, to) : lay_out_area(made, to, layout);
}

/// The destination's region and overlays, when its pixels are there. Without a region of its own it gets the source's.
int carry_parts(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
{
    SlotCopies overlays;
    int result = overlays.make(from, to);
    if (result == V_SUCCESS && to.RgnInfo != from.RgnInfo)
        result = to.RgnInfo ? ask_scale_hook(to, to.Width, to.Height) : carry_region(from, to);
    if (result == V_SUCCESS)
        overlays.place(to);
    return result;
}

constexpr uint32_t kFilters = SIZEFLAG_RESAMPLE | SIZEFLAG_BICUBIC | SIZEFLAG_ALTRESAMPLE;

/// Gray pixels stand for levels of the destination's range. Filters mix samples, which must mean the same in both
/// bitmaps; other ways take colours as they are.
bool must_convert(const BITMAPHANDLE& from, const BITMAPHANDLE& to, uint32_t flags) noexcept
{
    if (is_deep_gray(to))
        return !has_same_gray(from, to);
    if (to.BitsPerPixel == kMostIndexBits && to.Order == COLORORDER_GRAY)
        return gray_kind(from) != GrayKind::ramp;
    return flags & kFilters && !is_indexed(to.BitsPerPixel) && from.Order != to.Order;
}

/// The smallest and largest sample of pixels that were taken as they are: the source's, where it knows them.
int follow_gray_limits(const BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
{
    if (!is_deep_gray(to) || (from.MinVal == 0 && from.MaxVal == 0))
        return refresh_gray_limits(to);
    to.MinVal = from.MinVal;
    to.MaxVal = from.MaxVal;
    return V_SUCCESS;
}

} // namespace

int stretch(BITMAPHANDLE& from, BITMAPHANDLE& to, uint32_t flags) noexcept
{
    const bool turns = !has_same_axes(from.ViewPerspective, to.ViewPerspective);
    const bool is_other_depth = from.BitsPerPixel != to.BitsPerPixel;
    if (is_other_depth && flags & SIZEFLAG_SCALETOGRAY && to.BitsPerPixel > 1)
        flags = SIZEFLAG_RESAMPLE;
    const bool converts = is_other_depth || must_convert(from, to, flags);
    const int passes = 1 + turns + converts;
    const ProgressShare whole;
    Adapted source(from);
    const auto fill = [&](BITMAPHANDLE& given, BITMAPHANDLE& target) noexcept {
        int result = turns ? source.turn(target.ViewPerspective, whole.pass(0, passes)) : V_SUCCESS;
        if (result == V_SUCCESS && converts)
            result = source.convert(request_like(target), whole.pass(turns, passes));
        if (result == V_SUCCESS)
            result = resize_into(source.record(), target, flags, whole.pass(passes - 1, passes));
        if (result == V_SUCCESS && !(flags & kFilters))
            result = follow_gray_limits(source.record(), target);
        return result == V_SUCCESS ? carry_parts(given, target) : result;
    };
    return with_access(from, to, fill); // around all looks at them
}

} // namespace vk
