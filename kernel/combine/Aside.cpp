#include "kernel/combine/Aside.h"

#include "kernel/combine/LogicRun.h"
#include "kernel/view/ViewPerspective.h"

namespace vk::combine {

int find_layout(const BITMAPHANDLE& to, const BITMAPHANDLE& from, Layout& layout) noexcept
{
    layout = {};
    const int32_t wanted = to.ViewPerspective;
    const int32_t present = from.ViewPerspective;
    if (wanted == present)
        return V_SUCCESS;
    if (!is_perspective(wanted) || !is_perspective(present))
        return V_ERROR_INVALID_PARAMETER;
    layout = layout_of(perspective_change(present, wanted));
    return V_SUCCESS;
}

int Aside::copy(BITMAPHANDLE& bitmap, const Area& area) noexcept
{
    const int result = copied_.make(area.width(), area.height(), bitmap.BitsPerPixel, bitmap);
    if (result != V_SUCCESS)
        return result;
    Progress silent(0);
    LogicRun operation(bitmap.BitsPerPixel, Logic(kCopyAnswers));
    source_ = {&copied_.record(), {0, 0, area.width(), area.height()}, false};
    return walk(copied_.record(), source_.area, {&bitmap, area, false}, {}, operation, silent, OnFailure::discard);
}

int Aside::open(BITMAPHANDLE& to, BITMAPHANDLE& bitmap, const Area& area, Layout layout, bool may_be_own) noexcept
{
    const bool is_shared = &to == &bitmap ? !may_be_own : share_storage(to, bitmap);
    source_ = {&bitmap, area, layout.flip};
    if (!is_shared && !layout.mirror && !layout.transpose)
        return V_SUCCESS;
    int result = copy(bitmap, area);
    source_.is_reversed = layout.flip;
    if (result != V_SUCCESS || (!layout.mirror && !layout.transpose))
        return result;
    const int32_t width = layout.transpose ? area.height() : area.width();
    const int32_t height = layout.transpose ? area.width() : area.height();
    result = turned_.make(width, height, bitmap.BitsPerPixel, bitmap);
    Progress silent(0);
    if (result == V_SUCCESS)
        result = move_pixels(copied_.record(), turned_.record(), layout, silent);
    source_ = {&turned_.record(), {0, 0, width, height}, false};
    return result;
}

} // namespace vk::combine
