// The body of draw_region; a part of Region.h.
#pragma once

#include "kernel/bitmap/Region.h"
#include "kernel/system/SilentStatus.h"

namespace vk {

/// Two masks that free themselves.
class RegionMasks {
public:
    RegionMasks() noexcept;
    RegionMasks(const RegionMasks&) = delete;
    RegionMasks& operator=(const RegionMasks&) = delete;
    ~RegionMasks();

    int make(BITMAPHANDLE& bitmap, const BITMAPHANDLE& made) noexcept;

    /// Gives `made` the region that was drawn.
    int give_to(BITMAPHANDLE& made) noexcept;

    BITMAPHANDLE from = {};
    BITMAPHANDLE to = {};
};

template <class Draw> int draw_region(BITMAPHANDLE& bitmap, BITMAPHANDLE& made, Draw draw) noexcept
{
    if (!has_area(bitmap))
        return V_SUCCESS;
    const SilentStatus silent;
    RegionMasks masks;
    int result = masks.make(bitmap, made);
    if (result == V_SUCCESS)
        result = draw(masks.from, masks.to);
    return result == V_SUCCESS ? masks.give_to(made) : result;
}

} // namespace vk
