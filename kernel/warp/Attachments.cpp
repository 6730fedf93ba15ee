// What goes along with a warped bitmap's pixels. Overlays lie over stored pixels, so they are warped as these are, by
// the nearest pixel, to the canvas's size; one that is stored in another perspective is brought to the bitmap's for
// that, and back. The region is drawn, and drawn anew, in the same way.
#include "kernel/bitmap/Overlay.h"
#include "kernel/bitmap/Region.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/ViewPerspective.h"
#include "kernel/warp/WarpBitmap.h"

namespace vk::warp {

namespace {

constexpr COLORREF kClear = 0x01000000u; // index 0

int warp_overlay(BITMAPHANDLE& overlay, int32_t perspective, const Warp& warp) noexcept
{
    const int32_t own = overlay.ViewPerspective;
    const bool is_other = own != perspective && is_perspective(own) && is_perspective(perspective);
    int result = is_other ? change_view_perspective(overlay, perspective) : V_SUCCESS;
    if (result == V_SUCCESS)
        result = check_rows(overlay);
    if (result != V_SUCCESS)
        return result;
    Warp nearest = warp;
    nearest.flags = 0;
    nearest.fill = kClear;
    result = warp_bitmap(overlay, nearest);
    return result == V_SUCCESS && is_other ? change_view_perspective(overlay, own) : result;
}

/// Warps the pixels of a region, drawn as a mask; outside of the picture everything is clear.
int warp_mask(BITMAPHANDLE& from, BITMAPHANDLE& to, const Warp& warp) noexcept
{
    const BitmapAccess from_access(from);
    if (from_access.result() != V_SUCCESS)
        return from_access.result();
    const BitmapAccess to_access(to);
    if (to_access.result() != V_SUCCESS)
        return to_access.result();
    Warp nearest = warp;
    nearest.flags = 0;
    nearest.fill = kClear;
    Progress silent(0);
    return paint_bitmap(from, to, nearest, silent);
}

} // namespace

int warp_attachments(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, const Warp& warp) noexcept
{
    const SilentStatus silent;
    auto* const overlays = static_cast<OverlayTable*>(made.Overlays);
    int result = V_SUCCESS;
    for (int i = 0; i < kOverlaySlots && overlays && result == V_SUCCESS; ++i)
        if (overlays->bitmaps[i].Flags & BITMAPFLAG_ALLOCATED)
            result = warp_overlay(overlays->bitmaps[i], made.ViewPerspective, warp);
    return result == V_SUCCESS
               ? draw_region(bitmap, made,
                             [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept { return warp_mask(from, to, warp); })
               : result;
}

} // namespace vk::warp
