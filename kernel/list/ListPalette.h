// One palette for several bitmaps.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// Makes a palette of at most `*count` entries for allocated bitmaps that check_rows accepts; `flags` are LISTPAL_
/// flags that the count has room for.
int make_list_palette(BITMAPHANDLE* bitmaps, uint32_t bitmap_count, RGBQUAD* entries, uint32_t* count,
                      uint32_t flags) noexcept;

} // namespace vk
