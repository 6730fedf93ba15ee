// Areas that follow the pixels of a picture.
#pragma once

#include "kernel/area/AreaBuilder.h"
#include "kernel/area/Layout.h"

namespace vk {

// Each builds anew, and is false without memory. Areas lie within the pictures they belong to.

/// A copy.
bool copy_area(const Area& area, AreaBuilder& built) noexcept;

/// What lies in a box.
bool cut_area(const Area& area, const AreaBox& box, AreaBuilder& built) noexcept;

/// Moved by any distance, and cut to a frame.
bool move_area(const Area& area, int64_t columns, int64_t rows, const AreaBox& frame, AreaBuilder& built) noexcept;

/// What of a frame the area leaves out.
bool invert_area(const Area& area, const AreaBox& frame, AreaBuilder& built) noexcept;

/// For a picture of `height` rows in reverse order.
bool flip_area(const Area& area, int32_t height, AreaBuilder& built) noexcept;

/// For a picture of `width` columns in reverse order.
bool mirror_area(const Area& area, int32_t width, AreaBuilder& built) noexcept;

/// For a picture whose rows become its columns.
bool transpose_area(const Area& area, AreaBuilder& built) noexcept;

/// For a picture of a size in a new layout.
bool lay_out_area(const Area& area, Layout layout, int32_t width, int32_t height, AreaBuilder& built) noexcept;

/// For a picture of one size made another, where position i takes floor(i * old / new).
bool scale_area(const Area& area, int32_t old_width, int32_t old_height, int32_t width, int32_t height,
                AreaBuilder& built) noexcept;

} // namespace vk
