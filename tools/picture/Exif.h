/**
 * @file Exif.h
 * What matters to pixels in a camera's notes: which way up they are, and how large.
 */
#ifndef VK_TOOLS_EXIF_H
#define VK_TOOLS_EXIF_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vk::tool {

struct ExifNotes {
    int32_t orientation = 1;  ///< 1 to 8
    int32_t x_resolution = 0; ///< dots per inch; 0: not said
    int32_t y_resolution = 0;
};

/** What notes in TIFF form say; the usual where they do not or are damaged. */
ExifNotes read_exif(const uint8_t* notes, size_t bytes);

/** Notes in TIFF form that say that and nothing else. */
std::vector<uint8_t> write_exif(const ExifNotes& notes);

} // namespace vk::tool

#endif
