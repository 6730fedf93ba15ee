// Overlays lie over the stored pixels of their bitmap; when that gets others they have to go along. They are changed as
// copies, which take the place of the old ones when everything else has gone well.
#pragma once

#include "kernel/bitmap/Overlay.h"
#include "kernel/system/SilentStatus.h"

#include <algorithm>

namespace vk {

class OverlayCopies {
public:
    OverlayCopies() noexcept = default;
    OverlayCopies(const OverlayCopies&) = delete;
    OverlayCopies& operator=(const OverlayCopies&) = delete;
    ~OverlayCopies() { free_overlays(holder_); }

    /// Has `change(to, from)` make a copy of each overlay in its new form, or leave an empty record. It reports no
    /// progress. SUCCESS or the first code that is not.
    template <class Change> int make(const BITMAPHANDLE& bitmap, Change change) noexcept
    {
        auto* const from = static_cast<OverlayTable*>(bitmap.Overlays);
        if (!from)
            return V_SUCCESS;
        const SilentStatus silent;
        OverlayTable* const to = require_overlays(holder_);
        int result = to ? V_SUCCESS : V_ERROR_NO_MEMORY;
        if (to)
            std::copy_n(from->attributes, kOverlaySlots, to->attributes);
        for (int i = 0; i < kOverlaySlots && result == V_SUCCESS; ++i)
            if (from->bitmaps[i].Flags & BITMAPFLAG_ALLOCATED)
                result = change(to->bitmaps[i], from->bitmaps[i]);
        return result;
    }

    /// Exchanges them for the overlays that a bitmap has.
    void give_to(BITMAPHANDLE& bitmap) noexcept
    {
        void* const old = bitmap.Overlays;
        bitmap.Overlays = holder_.Overlays;
        holder_.Overlays = old;
    }

private:
    BITMAPHANDLE holder_ = {};
};

/// The overlays of a bitmap whose pixels are resized by the nearest stepping rule, or by a filter. One that has another
/// size or perspective than its bitmap stays as it is.
int scale_overlays(const BITMAPHANDLE& bitmap, int32_t width, int32_t height, OverlayCopies& copies) noexcept;

} // namespace vk
