/**
 * @file Notes.h
 * What PNG and JPEG files say beside their pixels, read and written without the codec that does the pixels: the way up,
 * the resolution, the profile. For codecs that leave these out.
 */
#ifndef VK_TOOLS_NOTES_H
#define VK_TOOLS_NOTES_H

#include "tools/picture/InputFile.h"
#include "tools/picture/Picture.h"

namespace vk::tool {

/** Takes the way up and the resolution from a PNG file that stands at its beginning. */
void read_png_notes(InputFile& file, PictureInfo& info);
/** Takes the way up, the resolution and the profile from a JPEG file that stands at its beginning. */
void read_jpeg_notes(InputFile& file, PictureInfo& info);

/** Takes the way up and the resolution of a TIFF file's page, counted from 0, from wherever the file stands. */
void read_tiff_notes(InputFile& file, uint32_t page, PictureInfo& info);

/** Whether a file that stands anywhere ends as its format says: codecs may take a cut one as it comes. */
bool png_is_whole(InputFile& file);
bool jpeg_is_whole(InputFile& file);

/** Chunks that say what the picture carries, for behind a PNG file's header, which ends at kPngHeader. */
std::vector<uint8_t> png_notes(const PictureInfo& info, bool gray);
constexpr size_t kPngHeader = 33;

/** Segments that say it, for behind the JFIF segment at a JPEG file's beginning, which ends at kJpegHeader. */
std::vector<uint8_t> jpeg_notes(const PictureInfo& info);
constexpr size_t kJpegHeader = 20;

} // namespace vk::tool

#endif
