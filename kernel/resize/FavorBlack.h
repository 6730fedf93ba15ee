// Resizing 1-bit bitmaps so that black wins: thin lines of a page stay when it shrinks.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

/// Black pixels that make a destination pixel black, of blocks of `pixels` source pixels.
int64_t black_threshold(int64_t pixels) noexcept;

/// Fills a 1-bit bitmap from a 1-bit bitmap; check_rows accepts both.
int favor_black(BITMAPHANDLE& from, BITMAPHANDLE& to, const ProgressShare& share) noexcept;

} // namespace vk
