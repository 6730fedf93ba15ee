/**
 * @file Describe.h
 * The lines about a picture that every command's report begins with.
 */
#ifndef VK_TOOLS_DESCRIBE_H
#define VK_TOOLS_DESCRIBE_H

#include "tools/Bitmap.h"
#include "tools/Report.h"

namespace vk::tool {

/** The file, its geometry and its pixels, and what the bitmap's record says of them. */
void describe_picture(Report& report, const std::string& name, const PictureInfo& info, Bitmap& bitmap);

/** Where the pixels are: the memory type and, for tiles, their figures. */
/** The lines of a frame; none for what is no frame. */
void describe_frame(Report& report, const std::optional<Frame>& frame);
void describe_storage(Report& report, const MemoryInfo& info);

} // namespace vk::tool

#endif
