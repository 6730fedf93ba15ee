// The result is staged beside the bitmap, and what the rules change on the way there - the view perspective, the
// expansion of a compressed bitmap - is done to copies, so that a failure anywhere leaves the record right.
#include "kernel/rotate/Rotate.h"

#include "Vkbitmap.h"
#include "Vkrotate.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/rotate/Angle.h"
#include "kernel/rotate/Turn.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/sampling/Filter.h"
#include "kernel/sampling/Nearest.h"
#include "kernel/sampling/Walk.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "kernel/system/Progress.h"
#include "kernel/system/ThreadState.h"
#include "kernel/view/Relayout.h"
#include "kernel/view/ViewPerspective.h"

namespace vk {

namespace {

using rotate::Geometry;
using rotate::Placement;

/// What is asked for, settled: the perspective that the stored pixels get and the angle back, from 0 to 35999.
struct Turn {
    int32_t perspective;
    int32_t angle;
    uint32_t flags;
    COLORREF fill;
    int progress_start;
    int progress_end;
};

/// Perspectives as one of the two that rows can be stored in, and an angle.
struct Fold {
    int32_t perspective;
    int32_t angle;
};

Fold fold_of(int32_t perspective) noexcept
{
    constexpr Fold kFolds[] = {
        {BOTTOM_LEFT, 2 * kRightAngle}, {TOP_LEFT, 2 * kRightAngle}, {BOTTOM_LEFT, 0},
        {BOTTOM_LEFT, kRightAngle},     {TOP_LEFT, kRightAngle},     {BOTTOM_LEFT, 3 * kRightAngle},
        {TOP_LEFT, 3 * kRightAngle}};
    return perspective < 2 || perspective > 8 ? Fold{perspective, 0} : kFolds[perspective - 2];
}

int32_t angle_back(int32_t angle, int32_t added) noexcept
{
    const auto rest = static_cast<int32_t>(-(int64_t{angle} + added) % kFullTurn);
    return rest < 0 ? rest + kFullTurn : rest;
}

Placement placement_of(uint32_t flags) noexcept
{
    if (flags & ROTATEFLAG_CENTER)
        return Placement::cornered;
    return flags & ROTATEFLAG_GROW ? Placement::grown : Placement::kept;
}

/// An uncompressed copy of a bitmap's pixels, freed in the end.
class Expanded {
public:
    Expanded() noexcept = default;
    Expanded(const Expanded&) = delete;
    Expanded& operator=(const Expanded&) = delete;
    ~Expanded()
    {
        if (is_made_)
            free_bitmap(record_);
    }

    /// Makes the copy of an accessed bitmap, and accesses it: what stays so until it is freed.
    int make(BITMAPHANDLE& source) noexcept
    {
        Shape shape = shape_of(source);
        shape.memory = TYPE_CONV;
        int result = make_like(record_, source, kRecordSize, shape, 0);
        is_made_ = result == V_SUCCESS;
        if (result == V_SUCCESS)
            result = access_bitmap(record_);
        Progress silent(0);
        return result == V_SUCCESS ? copy_rows(source, record_, false, silent) : result;
    }

    BITMAPHANDLE& record() noexcept { return record_; }

private:
    BITMAPHANDLE record_ = {};
    bool is_made_ = false;
};

/// Paints a bitmap by the nearest pixels.
int paint_nearest(BITMAPHANDLE& source, BITMAPHANDLE& made, const Geometry& geometry, const sampling::FillPixel& fill,
                  Progress& progress) noexcept
{
    const rotate::Turn mapping(geometry, rotate::Taken::nearest);
    return sampling::paint_canvas({source, made, mapping, nullptr}, progress, [&](const auto& act) noexcept {
        sampling::NearestPainter painter(mapping, made.BitsPerPixel, fill);
        return act(painter);
    });
}

/// Paints the staged bitmap by mixed pixels.
int paint_mixed(BITMAPHANDLE& source, const BITMAPHANDLE& described, BITMAPHANDLE& made, const Geometry& geometry,
                const Turn& turn, Progress& progress) noexcept
{
    sampling::Cells cells;
    const int result = cells.open(described, sampling::fill_pixel(described, turn.fill), true);
    if (result != V_SUCCESS)
        return result;
    const rotate::Turn mapping(geometry, rotate::Taken::mixed);
    return sampling::paint_canvas({source, made, mapping, &cells}, progress, [&](const auto& act) noexcept {
        sampling::FilterPainter painter(mapping, cells, {(turn.flags & ROTATEFLAG_BICUBIC) != 0});
        return act(painter);
    });
}

/// Paints the staged bitmap; it and the source are accessed.
int paint(BITMAPHANDLE& source, const BITMAPHANDLE& described, BITMAPHANDLE& made, const Geometry& geometry,
          const Turn& turn, Progress& progress) noexcept
{
    const bool is_filtered = turn.flags & (ROTATEFLAG_RESAMPLE | ROTATEFLAG_BICUBIC) && !geometry.moves_whole_pixels();
    if (is_filtered)
        return paint_mixed(source, described, made, geometry, turn, progress);
    return paint_nearest(source, made, geometry, sampling::fill_pixel(described, turn.fill), progress);
}

/// Makes the staged bitmap.
int stage(Staged& staged, const BITMAPHANDLE& bitmap, const Geometry& geometry, const Turn& turn) noexcept
{
    Shape shape{geometry.canvas_width,   geometry.canvas_height, bitmap.BitsPerPixel, bitmap.Order, 0,
                NewPixels::to_be_written};
    if (is_compressed(bitmap))
        shape.memory = thread_state().default_memory_type;
    const int result = staged.make(shape, DUPFLAG_PALETTE);
    if (result == V_SUCCESS)
        staged.record().ViewPerspective = turn.perspective;
    return result;
}

/// Turns 1-bit pixels as the bitmap's were turned; outside of them everything is clear.
int turn_mask(BITMAPHANDLE& from, BITMAPHANDLE& to, const Geometry& geometry) noexcept
{
    BitmapAccess from_access(from);
    if (from_access.result() != V_SUCCESS)
        return from_access.result();
    BitmapAccess to_access(to);
    if (to_access.result() != V_SUCCESS)
        return to_access.result();
    Progress silent(0);
    return paint_nearest(from, to, geometry, {}, silent);
}

/// Turns the overlays that have a pixel over each of the bitmap's.
int turn_overlays(const BITMAPHANDLE& bitmap, const BITMAPHANDLE& made, const Geometry& geometry,
                  OverlayCopies& overlays) noexcept
{
    return overlays.make(bitmap, [&](BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept {
        if (!covers(from, bitmap))
            return copy_bitmap(to, from, kRecordSize);
        Shape shape{made.Width, made.Height, from.BitsPerPixel, from.Order, 0};
        const bool is_expanded = is_compressed(from);
        if (is_expanded)
            shape.memory = TYPE_CONV;
        BitmapAccess access(from);
        Expanded expanded;
        int result = is_expanded && access.result() == V_SUCCESS ? expanded.make(from) : access.result();
        if (result == V_SUCCESS)
            result = make_like(to, from, kRecordSize, shape, DUPFLAG_PALETTE);
        to.ViewPerspective = made.ViewPerspective;
        return result == V_SUCCESS ? turn_mask(is_expanded ? expanded.record() : from, to, geometry) : result;
    });
}

int turn_by_any_angle(BITMAPHANDLE& bitmap, const Turn& turn, int32_t angle) noexcept
{
    Geometry geometry;
    if (!rotate::make_geometry(geometry, bitmap.Width, bitmap.Height, angle, placement_of(turn.flags)))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    Progress progress(sampling::progress_steps({geometry.canvas_width, geometry.canvas_height}), turn.progress_start,
                      turn.progress_end);
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = progress.begin();
    const bool is_expanded = is_compressed(bitmap);
    Expanded expanded;
    if (result == V_SUCCESS && is_expanded)
        result = expanded.make(bitmap);
    Staged staged(bitmap);
    if (result == V_SUCCESS)
        result = stage(staged, bitmap, geometry, turn);
    if (result != V_SUCCESS)
        return result;
    BitmapAccess made(staged.record());
    result = made.result();
    if (result == V_SUCCESS)
        result = paint(is_expanded ? expanded.record() : bitmap, bitmap, staged.record(), geometry, turn, progress);
    made.release();
    if (result == V_SUCCESS)
        result = draw_region(bitmap, staged.record(), [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept {
            return turn_mask(from, to, geometry);
        });
    OverlayCopies overlays;
    if (result == V_SUCCESS)
        result = turn_overlays(bitmap, staged.record(), geometry, overlays);
    if (result != V_SUCCESS)
        return result;
    const int released = access.release();
    result = staged.replace();
    if (result == V_SUCCESS)
        overlays.give_to(bitmap);
    return first_failure(result, released);
}

/// Turns that move every pixel, done on stored rows; `angle` is the way back.
int turn_by_right_angles(BITMAPHANDLE& bitmap, const Turn& turn, int32_t angle) noexcept
{
    Progress progress(bitmap.Height, turn.progress_start, turn.progress_end);
    const int result = progress.begin();
    const Layout layout = angle == 2 * kRightAngle   ? kHalfTurned
                          : angle == 3 * kRightAngle ? kTurnedClockwise
                                                     : kTurnedBack;
    return result == V_SUCCESS ? change_layout(bitmap, {{layout, turn.perspective}}, progress) : result;
}

/// Nothing to turn: progress alone, and the perspective.
int turn_by_nothing(BITMAPHANDLE& bitmap, const Turn& turn) noexcept
{
    Progress progress(1, turn.progress_start, turn.progress_end);
    int result = progress.begin();
    if (result == V_SUCCESS)
        result = progress.update(1);
    return result == V_SUCCESS ? change_shown(bitmap, turn.perspective) : result;
}

} // namespace

int rotate_bitmap(BITMAPHANDLE& bitmap, int32_t angle, uint32_t flags, COLORREF fill, int progress_start,
                  int progress_end, [[maybe_unused]] double center_x, [[maybe_unused]] double center_y) noexcept
{
    const int result = check_rows(bitmap);
    if (result != V_SUCCESS)
        return result;
    const Fold fold = fold_of(bitmap.ViewPerspective);
    const Turn turn{fold.perspective, angle_back(angle, fold.angle), flags, fill, progress_start, progress_end};
    if (turn.angle == 0)
        return turn_by_nothing(bitmap, turn);
    // Rows stored from the bottom up turn the other way.
    const int32_t stored = turn.perspective == BOTTOM_LEFT ? kFullTurn - turn.angle : turn.angle;
    const bool keeps_all = flags & ROTATEFLAG_GROW || bitmap.Width == bitmap.Height || stored == 2 * kRightAngle;
    return stored % kRightAngle == 0 && keeps_all ? turn_by_right_angles(bitmap, turn, stored)
                                                  : turn_by_any_angle(bitmap, turn, stored);
}

} // namespace vk
