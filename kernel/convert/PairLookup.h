// The exact look-up for palettes of two entries that differ: which one is nearer is a question of which side of a plane
// a colour lies on. Only colours on the plane itself are looked for by the scan, for its rule of ties.
#pragma once

#include "kernel/convert/ColorLookup.h"

namespace vk::pixel {

/// Whether two entries have such a plane between them.
bool are_apart(const RGBQUAD& first, const RGBQUAD& second) noexcept;

/// Prepares a look-up; null without memory. It learns nothing, so that any number of threads may ask it.
ColorLookup* create_pair_lookup(const RGBQUAD (&entries)[2]) noexcept;

/// Frees one; false for a look-up of another kind, which stays.
bool destroy_pair_lookup(ColorLookup* lookup) noexcept;

} // namespace vk::pixel
