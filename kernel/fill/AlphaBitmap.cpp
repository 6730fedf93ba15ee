// Alpha of whole bitmaps: taken out, put in, multiplied into the colours.
#include "kernel/bitmap/Record.h"
#include "kernel/bitmap/Staged.h"
#include "kernel/combine/Aside.h"
#include "kernel/fill/AlphaRuns.h"
#include "kernel/fill/ChangePixels.h"
#include "kernel/fill/FillBitmap.h"
#include "kernel/resize/Access.h"

namespace vk::fill {

namespace {

/// Changes all pixels of a bitmap by what they are.
int change_all(BITMAPHANDLE& bitmap, combine::RunOperation& operation) noexcept
{
    const Area area = combine::whole_area(bitmap);
    return change_pixels(bitmap, area, [&](Progress& progress) noexcept {
        return walk(bitmap, area, {}, {}, operation, progress, combine::OnFailure::put_back);
    });
}

int take_alpha(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
{
    const Area area = combine::whole_area(to);
    Progress progress(area.height());
    TakeAlphaRun operation(from.BitsPerPixel);
    const int result = progress.begin();
    return result == V_SUCCESS
               ? walk(to, area, {&from, area, false}, {}, operation, progress, combine::OnFailure::discard)
               : result;
}

} // namespace

int get_alpha(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size) noexcept
{
    const Shape shape{
        source.Width, source.Height, source.BitsPerPixel / 4, COLORORDER_GRAY, 0, NewPixels::to_be_written};
    Staged staged(source);
    int result = staged.make(shape, struct_size, DUPFLAG_ANIMATION);
    if (result == V_SUCCESS)
        result = with_access(source, staged.record(), take_alpha);
    if (result == V_SUCCESS)
        staged.give(made);
    else
        clear_record(made, struct_size);
    return result;
}

int set_alpha(BITMAPHANDLE& bitmap, BITMAPHANDLE& alpha) noexcept
{
    Layout layout;
    const int found = combine::find_layout(bitmap, alpha, layout);
    if (found != V_SUCCESS)
        return found;
    combine::Overlap overlap(bitmap.Width, bitmap.Height);
    overlap.cut(bitmap, {});
    overlap.cut(alpha, {}, layout);
    if (overlap.empty())
        return V_SUCCESS;
    return with_access(alpha, bitmap, [&](BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept {
        const Area area = overlap.area({});
        Progress progress(area.height());
        combine::Aside aside;
        PutAlphaRun operation;
        int result = operation.open(to, from);
        if (result == V_SUCCESS)
            result = progress.begin();
        if (result == V_SUCCESS)
            result = aside.open(to, from, overlap.area({}, layout), layout, true);
        if (result != V_SUCCESS)
            return result;
        return walk(to, area, aside.source(), {}, operation, progress, combine::OnFailure::put_back);
    });
}

int set_alpha_value(BITMAPHANDLE& bitmap, uint32_t alpha) noexcept
{
    SetAlphaRun operation(bitmap.BitsPerPixel, alpha);
    return change_all(bitmap, operation);
}

int weigh_colors(BITMAPHANDLE& bitmap, bool is_division) noexcept
{
    WeighRun operation(bitmap.BitsPerPixel, is_division);
    return change_all(bitmap, operation);
}

} // namespace vk::fill
