#include "kernel/warp/WarpBitmap.h"

#include "Vkbitmap.h"
#include "Vkwarp.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/sampling/Filter.h"
#include "kernel/sampling/Nearest.h"
#include "kernel/sampling/Walk.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/system/ThreadState.h"
#include "kernel/warp/Grid.h"
#include "kernel/warp/Plane.h"
#include "kernel/warp/Shift.h"

#include <algorithm>

namespace vk {

namespace {

using namespace warp;

int paint_by(BITMAPHANDLE& source, BITMAPHANDLE& made, const Mapping& mapping, const Warp& warp,
             Progress& progress) noexcept
{
    const sampling::FillPixel fill = sampling::fill_pixel(source, warp.fill);
    if (!warp.is_mixed())
        return paint_canvas({source, made, mapping, nullptr}, progress, [&](const auto& act) noexcept {
            NearestPainter painter(mapping, made.BitsPerPixel, fill);
            return act(painter);
        });
    Cells cells;
    const int result = cells.open(source, fill);
    if (result != V_SUCCESS)
        return result;
    const Filtering filtering{(warp.flags & WARP_CUBIC) != 0, (warp.flags & WARP_AREA) != 0,
                              (warp.flags & WARP_EDGE) != 0};
    return paint_canvas({source, made, mapping, &cells}, progress, [&](const auto& act) noexcept {
        FilterPainter painter(mapping, cells, filtering);
        const int opened = painter.open();
        return opened == V_SUCCESS ? act(painter) : opened;
    });
}

int paint_staged(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, const Warp& warp, Progress& progress) noexcept
{
    BitmapAccess access(made);
    int result = access.result();
    if (result == V_SUCCESS)
        result = paint_bitmap(bitmap, made, warp, progress);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

/// Makes and paints the staged bitmap; the source is accessed while it lasts.
int stage(Staged& staged, BITMAPHANDLE& bitmap, const Warp& warp) noexcept
{
    Progress progress(progress_steps(warp.canvas));
    Shape shape{warp.canvas.width, warp.canvas.height, bitmap.BitsPerPixel, bitmap.Order, 0, NewPixels::to_be_written};
    if (moves_rows(warp, {bitmap.Width, bitmap.Height}))
        shape.pixels = NewPixels::rows_to_be_written;
    if (is_compressed(bitmap))
        shape.memory = thread_state().default_memory_type;
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = progress.begin();
    if (result == V_SUCCESS) {
        const SilentStatus silent; // overlays are copied
        result = staged.make(shape, DUPFLAG_PALETTE | DUPFLAG_OVERLAYS);
    }
    if (result == V_SUCCESS)
        result = paint_staged(bitmap, staged.record(), warp, progress);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

} // namespace

namespace warp {

bool is_canvas(double width, double height, int32_t bits) noexcept
{
    const auto columns = static_cast<int32_t>(std::min(width, double{INT32_MAX}));
    return width <= INT32_MAX && height <= INT32_MAX &&
           row_holds_width(wrapping_bytes_per_line(columns, bits), columns, bits);
}

int paint_bitmap(BITMAPHANDLE& source, BITMAPHANDLE& made, const Warp& warp, Progress& progress) noexcept
{
    const Extent extent{source.Width, source.Height};
    if (warp.grid) {
        const Grid grid(extent, warp.canvas, warp.grid->points, warp.grid->columns, warp.grid->rows);
        return paint_by(source, made, grid, warp, progress);
    }
    if (moves_rows(warp, extent))
        return move_rows_aside(source, made, warp, progress);
    const Plane plane(extent, warp.canvas, warp.back);
    return paint_by(source, made, plane, warp, progress);
}

int warp_bitmap(BITMAPHANDLE& bitmap, const Warp& warp) noexcept
{
    if (!is_canvas(warp.canvas.width, warp.canvas.height, bitmap.BitsPerPixel))
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    Staged staged(bitmap);
    int result = stage(staged, bitmap, warp);
    if (result == V_SUCCESS)
        result = warp_attachments(bitmap, staged.record(), warp);
    return result == V_SUCCESS ? staged.replace() : result;
}

} // namespace warp

} // namespace vk
