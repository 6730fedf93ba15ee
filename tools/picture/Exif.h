/**
 * @file Exif.h
 * The one tag of a camera's notes that matters to pixels: which way up they are.
 */
#ifndef VK_TOOLS_EXIF_H
#define VK_TOOLS_EXIF_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace vk::tool {

/** The orientation, 1 to 8, that notes in TIFF form name; 1 where they do not or are damaged. */
int32_t exif_orientation(const uint8_t* notes, size_t bytes);

constexpr size_t kExifBytes = 26;

/** Notes in TIFF form that name an orientation and nothing else. */
std::array<uint8_t, kExifBytes> exif_of(int32_t orientation);

} // namespace vk::tool

#endif
