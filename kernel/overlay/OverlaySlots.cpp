// A picture is brought to the size of its bitmap once, when it is set: what follows the bitmap's pixels from then on
// has nothing to know of origins.
#include "kernel/overlay/OverlaySlots.h"

#include "Vkbitmap.h"
#include "Vkcombine.h"
#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/combine/Crop.h"
#include "kernel/resize/Temporary.h"
#include "kernel/system/Checks.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/ViewPerspective.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

using combine::Area;
using combine::Corner;

/// What a bitmap shows of a picture, in the picture's pixels; empty for nothing.
Area part_over(const BITMAPHANDLE& bitmap, const BITMAPHANDLE& picture, Corner at) noexcept
{
    const auto first = [](int32_t origin) noexcept { return std::max<int64_t>(-int64_t{origin}, 0); };
    const auto end = [](int32_t origin, int32_t held, int32_t own) noexcept {
        return std::min<int64_t>(own, int64_t{held} - origin);
    };
    const int64_t left = first(at.column), right = end(at.column, bitmap.Width, picture.Width);
    const int64_t top = first(at.row), bottom = end(at.row, bitmap.Height, picture.Height);
    if (left >= right || top >= bottom)
        return {};
    return {static_cast<int32_t>(left), static_cast<int32_t>(top), static_cast<int32_t>(right),
            static_cast<int32_t>(bottom)};
}

/// Makes a picture of the bitmap's size from one that has its perspective.
int lay_over(BITMAPHANDLE& made, BITMAPHANDLE& picture, const BITMAPHANDLE& bitmap, Corner at) noexcept
{
    constexpr COLORREF kClear = 0x01000000u; // the first index
    const Area part = part_over(bitmap, picture, at);
    if (part.empty())
        return make_like(made, picture, kRecordSize, {bitmap.Width, bitmap.Height, 1}, DUPFLAG_PALETTE);
    const int result = combine::copy_area(made, picture, kRecordSize, part);
    const int32_t left = std::max(at.column, 0), top = std::max(at.row, 0);
    const int32_t right = bitmap.Width - left - part.width(), bottom = bitmap.Height - top - part.height();
    return result == V_SUCCESS ? combine::extend_bitmap(made, {left, top, right, bottom, EXTEND_FILL, kClear}) : result;
}

/// Moves a record of the current size to an empty one.
void move_record(BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept
{
    std::memcpy(static_cast<void*>(&to), &from, kRecordSize);
    clear_record(from, kRecordSize);
}

} // namespace

BITMAPHANDLE* overlay_in(const BITMAPHANDLE& bitmap, int32_t index) noexcept
{
    auto* const table = static_cast<OverlayTable*>(bitmap.Overlays);
    return table && table->bitmaps[index].Flags & BITMAPFLAG_ALLOCATED ? table->bitmaps + index : nullptr;
}

int place_overlay(BITMAPHANDLE& bitmap, int32_t index, BITMAPHANDLE& picture) noexcept
{
    OverlayTable* const table = require_overlays(bitmap);
    if (!table)
        return V_ERROR_NO_MEMORY;
    free_bitmap(table->bitmaps[index]);
    move_record(table->bitmaps[index], picture);
    return V_SUCCESS;
}

int set_overlay(BITMAPHANDLE& bitmap, int32_t index, BITMAPHANDLE& overlay, bool moves) noexcept
{
    OverlayTable* const table = require_overlays(bitmap);
    if (!table)
        return V_ERROR_NO_MEMORY;
    const SilentStatus silent;
    const Corner at{table->attributes[index].nOriginCol, table->attributes[index].nOriginRow};
    Temporary turned;
    Temporary made;
    const bool fits = at.column == 0 && at.row == 0 && covers(overlay, bitmap);
    if (fits && moves && is_current(overlay) && overlay.LockCount == 0)
        return place_overlay(bitmap, index, overlay);
    BITMAPHANDLE* picture = &overlay;
    int result = V_SUCCESS;
    if (overlay.ViewPerspective != bitmap.ViewPerspective) {
        result =
            copy_in_view_perspective(turned.record(), overlay, kRecordSize, bitmap.ViewPerspective, DUPFLAG_PALETTE);
        picture = &turned.record();
    }
    if (result == V_SUCCESS)
        result = lay_over(made.record(), *picture, bitmap, at);
    if (result == V_SUCCESS)
        result = place_overlay(bitmap, index, made.record());
    if (result == V_SUCCESS && moves) {
        free_bitmap(overlay);
        clear_record(overlay, overlay.StructSize);
    }
    return result;
}

} // namespace vk
