#include "kernel/view/OverlayChange.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Duplicate.h"
#include "kernel/bitmap/Record.h"
#include "kernel/system/Checks.h"
#include "kernel/system/SilentStatus.h"
#include "kernel/view/Relayout.h"
#include "kernel/view/ViewPerspective.h"

#include <cstring>

namespace vk {

namespace {

/// The change of the stored pixels of an overlay with a perspective of its own that does to what it shows what happens
/// to what the bitmap shows.
Layout layout_for(int32_t own, int32_t from, Layout layout, int32_t to) noexcept
{
    const Layout shown = then(then(inverse(shown_layout(from)), layout), shown_layout(to));
    return then(then(shown_layout(own), shown), inverse(shown_layout(own)));
}

int change_silently(BITMAPHANDLE& overlay, Layout layout) noexcept
{
    const SilentStatus silent;
    Progress none(0);
    return layout == kAsStored ? V_SUCCESS : change_layout(overlay, {{layout, overlay.ViewPerspective}}, none);
}

bool is_in_use(const BITMAPHANDLE& slot) noexcept
{
    return (slot.Flags & BITMAPFLAG_ALLOCATED) != 0;
}

} // namespace

uint32_t sharing_overlays(const BITMAPHANDLE& bitmap) noexcept
{
    const auto* const table = static_cast<const OverlayTable*>(bitmap.Overlays);
    uint32_t sharing = 0;
    for (int i = 0; table && i < kOverlaySlots; ++i)
        if (table->bitmaps[i].ViewPerspective == bitmap.ViewPerspective)
            sharing |= 1u << i;
    return sharing;
}

OverlayChange::~OverlayChange()
{
    undo();
    free_overlays(copies_);
}

int OverlayChange::prepare(BITMAPHANDLE& bitmap, Layout layout, int32_t to, uint32_t sharing) noexcept
{
    table_ = static_cast<OverlayTable*>(bitmap.Overlays);
    sharing_ = sharing;
    to_ = to;
    const int32_t from = bitmap.ViewPerspective;
    int result = V_SUCCESS;
    for (int i = 0; table_ && i < kOverlaySlots && result == V_SUCCESS; ++i) {
        if (!is_in_use(table_->bitmaps[i]))
            continue;
        layouts_[i] = shares(i) ? layout : layout_for(table_->bitmaps[i].ViewPerspective, from, layout, to);
        if (layouts_[i].transpose)
            result = copy(i);
    }
    return result;
}

int OverlayChange::copy(int index) noexcept
{
    OverlayTable* const copies = require_overlays(copies_);
    if (!copies)
        return V_ERROR_NO_MEMORY;
    const SilentStatus silent;
    BITMAPHANDLE& made = copies->bitmaps[index];
    const int result = copy_bitmap(made, table_->bitmaps[index], kRecordSize);
    return result == V_SUCCESS ? change_silently(made, layouts_[index]) : result;
}

int OverlayChange::reverse() noexcept
{
    int result = V_SUCCESS;
    for (int i = 0; table_ && i < kOverlaySlots && result == V_SUCCESS; ++i) {
        if (is_in_use(table_->bitmaps[i]) && !layouts_[i].transpose)
            result = change_silently(table_->bitmaps[i], layouts_[i]);
        if (result == V_SUCCESS)
            reversed_ = i + 1;
    }
    if (result != V_SUCCESS)
        undo();
    return result;
}

/// A reversal is undone by the same once more.
void OverlayChange::undo() noexcept
{
    for (; reversed_ > 0; --reversed_) {
        const int i = reversed_ - 1;
        if (is_in_use(table_->bitmaps[i]) && !layouts_[i].transpose)
            change_silently(table_->bitmaps[i], layouts_[i]);
    }
}

void OverlayChange::commit(BITMAPHANDLE& bitmap) noexcept
{
    reversed_ = 0;
    auto* const table = static_cast<OverlayTable*>(bitmap.Overlays);
    auto* const copies = static_cast<OverlayTable*>(copies_.Overlays);
    for (int i = 0; table && i < kOverlaySlots; ++i) {
        BITMAPHANDLE& slot = table->bitmaps[i];
        if (copies && is_in_use(copies->bitmaps[i])) {
            free_bitmap(slot);
            std::memcpy(static_cast<void*>(&slot), &copies->bitmaps[i], kRecordSize);
            clear_record(copies->bitmaps[i], kRecordSize);
        }
        if (is_in_use(slot) && shares(i))
            slot.ViewPerspective = to_;
    }
}

int change_overlays(BITMAPHANDLE& bitmap, Layout layout, int32_t to) noexcept
{
    OverlayChange change;
    int result = change.prepare(bitmap, layout, to, sharing_overlays(bitmap));
    if (result == V_SUCCESS)
        result = change.reverse();
    if (result == V_SUCCESS)
        change.commit(bitmap);
    return result;
}

} // namespace vk
