// View perspectives: relabelling, and moving the pixels. The copy moves each pixel once, straight to its new place; in
// place a flip comes first and then the turn, each of them whole or not at all.
#include "kernel/view/ViewPerspective.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Callbacks.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/OverlayChange.h"
#include "kernel/view/Relayout.h"

#include <utility>

namespace vk {

namespace {

/// What turns stored data into the top-left form: flip, mirror, then a turn.
struct ToTopLeft {
    bool flip;
    bool mirror;
    int32_t angle;
};
constexpr ToTopLeft kToTopLeft[] = {{},
                                    {false, false, 0},
                                    {false, true, 0},
                                    {false, false, 180},
                                    {true, false, 0},
                                    {true, false, 90},
                                    {false, false, 90},
                                    {true, false, 270},
                                    {false, false, 270}};

Layout turn_of(int32_t angle) noexcept
{
    return angle == 90 ? kTurnedClockwise : angle == 180 ? kHalfTurned : angle == 270 ? kTurnedBack : kAsStored;
}

int change_in_place(BITMAPHANDLE& bitmap, PerspectiveChange change, int32_t to) noexcept
{
    const SilentStatus silent;
    Progress none(0);
    const Layout turn = turn_of(change.angle);
    if (!change.flip)
        return change_layout(bitmap, {{turn, to}}, none);
    if (change.angle == 0)
        return change_layout(bitmap, {{kFlipped, to}}, none);
    return change_layout(bitmap, {{kFlipped, TOP_LEFT}, {turn, to}}, none);
}

/// A module's region's part of a change. No hook turns one by a quarter.
int follow_with_region(BITMAPHANDLE& bitmap, PerspectiveChange change) noexcept
{
    const Layout layout = layout_of(change);
    return layout.transpose ? ask_reverse_hooks(bitmap, change.flip, false)
                            : ask_reverse_hooks(bitmap, layout.flip, layout.mirror);
}

bool has_copy_callbacks(const BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    return calls && (calls->BeginCopyBitmapDataCallback || calls->EndCopyBitmapDataCallback);
}

int move_between(BITMAPHANDLE& made, BITMAPHANDLE& source, Layout layout, const ProgressShare& share) noexcept
{
    BitmapAccess from(source);
    if (from.result() != V_SUCCESS)
        return from.result();
    const Operation own(made, Operation::Scratch::own);
    BitmapAccess to(made);
    if (to.result() != V_SUCCESS)
        return to.result();
    Progress progress(source.Height, share);
    int result = progress.begin();
    if (result == V_SUCCESS)
        result = move_pixels(source, made, layout, progress);
    const int released = release_both(to, from);
    return first_failure(result, released);
}

/// Fills a bitmap of the final shape, and brings its parts into line.
int fill_changed(BITMAPHANDLE& made, BITMAPHANDLE& source, PerspectiveChange change, int32_t to,
                 const ProgressShare& share) noexcept
{
    const Layout layout = layout_of(change);
    int result = move_between(made, source, layout, share);
    if (result != V_SUCCESS)
        return result;
    if (layout.transpose)
        swap_resolutions(made);
    result = change_overlays(made, layout, to);
    made.ViewPerspective = to;
    if (result != V_SUCCESS || !made.RgnInfo)
        return result;
    return has_area(made) ? lay_out_area(source, made, layout) : follow_with_region(made, change);
}

/// Fills a bitmap of the source's shape as a copy, and changes it then: for callbacks that see to copying.
int fill_copied(BITMAPHANDLE& made, BITMAPHANDLE& source, PerspectiveChange change, int32_t to,
                const ProgressShare& share) noexcept
{
    const int result = copy_bitmap_data(made, source, share);
    const bool is_same = source.ViewPerspective == to;
    return result == V_SUCCESS && !is_same ? change_in_place(made, change, to) : result;
}

/// Moves what was not copied, the region changed like the pixels.
int take_over(BITMAPHANDLE& made, BITMAPHANDLE& source, PerspectiveChange change, uint32_t dup_flags) noexcept
{
    if (!made.RgnInfo && has_area(source)) {
        const int result = lay_out_area(source, made, layout_of(change));
        if (result != V_SUCCESS)
            return result;
    } else if (!made.RgnInfo && source.RgnInfo) {
        made.RgnInfo = source.RgnInfo;
        const int result = follow_with_region(made, change);
        if (result != V_SUCCESS) {
            made.RgnInfo = nullptr;
            return result;
        }
        source.RgnInfo = nullptr;
    }
    hand_over(made, source, dup_flags);
    return V_SUCCESS;
}

int make_changed(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, int32_t to, uint32_t dup_flags,
                 const ProgressShare& share) noexcept
{
    const bool is_same = source.ViewPerspective == to;
    if (!is_same && !(is_perspective(source.ViewPerspective) && is_perspective(to)))
        return V_ERROR_INVALID_PARAMETER;
    int result = check_rows(source);
    if (result != V_SUCCESS)
        return result;
    const PerspectiveChange change =
        is_same ? PerspectiveChange{false, 0} : perspective_change(source.ViewPerspective, to);
    const bool in_one = !is_same && !has_copy_callbacks(source);
    Shape shape = shape_of(source);
    shape.pixels = in_one ? pixels_of_shown_record() : NewPixels::clear;
    if (in_one && layout_of(change).transpose)
        std::swap(shape.width, shape.height);
    result = make_like(made, source, struct_size, shape, dup_flags);
    if (result != V_SUCCESS)
        return result;
    result = in_one ? fill_changed(made, source, change, to, share) : fill_copied(made, source, change, to, share);
    if (result == V_SUCCESS && dup_flags & DUPFLAG_TAKEOVER)
        result = take_over(made, source, change, dup_flags);
    if (result != V_SUCCESS)
        free_bitmap(made);
    return result;
}

} // namespace

Layout layout_of(PerspectiveChange change) noexcept
{
    return then(change.flip ? kFlipped : kAsStored, turn_of(change.angle));
}

Layout perspective_layout(int32_t from, int32_t to) noexcept
{
    return from == to ? kAsStored : layout_of(perspective_change(from, to));
}

Layout shown_layout(int32_t perspective) noexcept
{
    if (!is_perspective(perspective))
        return kAsStored;
    const ToTopLeft way = kToTopLeft[perspective];
    return then({way.flip, way.mirror, false}, turn_of(way.angle));
}

int change_shown(BITMAPHANDLE& bitmap, int32_t to) noexcept
{
    const int result = change_overlays(bitmap, kAsStored, to);
    if (result == V_SUCCESS)
        bitmap.ViewPerspective = to;
    return result;
}

PerspectiveChange perspective_change(int32_t from, int32_t to) noexcept
{
    const ToTopLeft there = kToTopLeft[from];
    const ToTopLeft back = kToTopLeft[to];
    bool flip = there.flip;
    int32_t angle = there.angle - back.angle;
    if (is_mirrored_perspective(to)) { // undone from behind: turns go the other way
        angle = -angle;
        flip = !flip;
    }
    if (back.mirror) {
        // A mirror is a flip and a half turn.
        angle += 180;
    }
    if (there.mirror) {
        flip = !flip;
        angle += 180;
    }
    return {flip, (angle % 360 + 360) % 360};
}

int change_view_perspective(BITMAPHANDLE& bitmap, int32_t to) noexcept
{
    if (bitmap.ViewPerspective == to)
        return V_SUCCESS;
    if (!is_perspective(bitmap.ViewPerspective) || !is_perspective(to))
        return V_ERROR_INVALID_PARAMETER;
    if (!(bitmap.Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_IMAGE;
    return change_in_place(bitmap, perspective_change(bitmap.ViewPerspective, to), to);
}

int copy_in_view_perspective(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, int32_t to,
                             uint32_t dup_flags, const ProgressShare& share) noexcept
{
    const int result = make_changed(made, source, struct_size, to, dup_flags, share);
    if (result != V_SUCCESS)
        clear_record(made, struct_size);
    return result;
}

} // namespace vk
