// Overlays follow their bitmap: when its stored pixels get another layout, or it is shown in another perspective, each
// overlay is changed so that it lies over the same pixels of what is shown, whatever its own perspective. One that
// shares the bitmap's perspective goes on sharing it.
//
// What has to be made anew is made beside the old first, what can be reversed in place is reversed when the bitmap's
// own pixels are done, and nothing can fail any more when the change is committed. Without `commit` nothing has
// changed, as far as it can be undone.
#pragma once

#include "Vkrecord.h"
#include "kernel/area/Layout.h"
#include "kernel/bitmap/Overlay.h"

namespace vk {

/// The overlays that share their bitmap's perspective, a bit for each slot.
uint32_t sharing_overlays(const BITMAPHANDLE& bitmap) noexcept;

class OverlayChange {
public:
    OverlayChange() noexcept = default;
    OverlayChange(const OverlayChange&) = delete;
    OverlayChange& operator=(const OverlayChange&) = delete;
    ~OverlayChange();

    /// For a bitmap whose stored pixels get `layout` and which is then shown in perspective `to`; `sharing` says which
    /// overlays go on sharing it.
    int prepare(BITMAPHANDLE& bitmap, Layout layout, int32_t to, uint32_t sharing) noexcept;

    /// Reverses overlays in place: all or none.
    int reverse() noexcept;
    /// Takes that back.
    void undo() noexcept;

    /// The overlays hang on the bitmap, or on the one that took its place.
    void commit(BITMAPHANDLE& bitmap) noexcept;

private:
    int copy(int index) noexcept;
    bool shares(int index) const noexcept { return (sharing_ >> index & 1u) != 0; }

    OverlayTable* table_ = nullptr;
    uint32_t sharing_ = 0;
    int32_t to_ = 0;
    Layout layouts_[kOverlaySlots];
    int reversed_ = 0;         ///< slots up to which overlays are reversed
    BITMAPHANDLE copies_ = {}; ///< holds those that are made anew
};

/// Changes the overlays of a bitmap alone. SUCCESS or nothing done.
int change_overlays(BITMAPHANDLE& bitmap, Layout layout, int32_t to) noexcept;

} // namespace vk
