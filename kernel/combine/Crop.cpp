#include "kernel/combine/Crop.h"

#include "Vkbitmap.h"
#include "kernel/bitmap/OverlayCopies.h"
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Region.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/combine/LogicRun.h"
#include "kernel/combine/Streaming.h"
#include "kernel/resize/Access.h"
#include "kernel/rows/RowAccess.h"

namespace vk::combine {

namespace {

constexpr uint32_t kCopiedParts = DUPFLAG_PALETTE | DUPFLAG_EXTRADATA | DUPFLAG_GRAYTABLES | DUPFLAG_ANIMATION;

Shape shape_of_area(const BITMAPHANDLE& source, const Area& area) noexcept
{
    return {area.width(), area.height(), source.BitsPerPixel, source.Order, 0, NewPixels::to_be_written};
}

/// Fills a bitmap made for an area; reports progress.
int fill(BITMAPHANDLE& made, BITMAPHANDLE& source, const Area& area) noexcept
{
    return with_access(source, made, [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept {
        Progress progress(area.height());
        const int begun = progress.begin();
        if (begun != V_SUCCESS)
            return begun;
        const bool is_large = area_bytes(area, from.BitsPerPixel) >= kStreamFrom && RowWriter(to).in_place();
        LogicRun copy(from.BitsPerPixel, Logic(kCopyAnswers), is_large);
        return walk(to, whole_area(to), {&from, area, false}, {}, copy, progress, OnFailure::discard);
    });
}

/// The overlays of a bitmap that is cut to an area; those with nothing there are left out.
int cut_overlays(const BITMAPHANDLE& bitmap, const Area& area, OverlayCopies& copies) noexcept
{
    return copies.make(bitmap, [&](BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept {
        const Area part = clip_area(from, {area.left, area.top}, area.width(), area.height());
        return part.empty() ? V_SUCCESS : copy_area(to, from, kRecordSize, part);
    });
}

} // namespace

int copy_area(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const Area& area) noexcept
{
    Staged staged(source);
    OverlayCopies overlays;
    int result = staged.make(shape_of_area(source, area), struct_size, kCopiedParts);
    if (result == V_SUCCESS)
        result = fill(staged.record(), source, area);
    if (result == V_SUCCESS)
        result = cut_overlays(source, area, overlays);
    if (result == V_SUCCESS)
        result = move_area(source, staged.record(), -int64_t{area.left}, -int64_t{area.top});
    if (result != V_SUCCESS) {
        clear_record(made, struct_size);
        return result;
    }
    overlays.give_to(staged.record());
    staged.give(made);
    return V_SUCCESS;
}

int trim_bitmap(BITMAPHANDLE& bitmap, const Area& area) noexcept
{
    if (area == whole_area(bitmap))
        return V_SUCCESS;
    Staged staged(bitmap);
    OverlayCopies overlays;
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = staged.make(shape_of_area(bitmap, area), DUPFLAG_PALETTE | DUPFLAG_ANIMATION);
    if (result == V_SUCCESS)
        result = fill(staged.record(), bitmap, area);
    if (result == V_SUCCESS)
        result = cut_overlays(bitmap, area, overlays);
    if (result == V_SUCCESS)
        result = move_area(bitmap, staged.record(), -int64_t{area.left}, -int64_t{area.top});
    if (result != V_SUCCESS)
        return result;
    const int released = access.release();
    result = staged.replace();
    if (result == V_SUCCESS)
        overlays.give_to(bitmap);
    return first_failure(result, released);
}

} // namespace vk::combine
