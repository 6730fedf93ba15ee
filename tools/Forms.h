/**
 * @file Forms.h
 * Forms of pixels that operations ask for: with alpha, gray, or in two levels.
 */
#ifndef VK_TOOLS_FORMS_H
#define VK_TOOLS_FORMS_H

#include "tools/Bitmap.h"

namespace vk::tool {

/** Pixels without alpha get some, opaque. */
void have_alpha(BITMAPHANDLE& record);

/** Becomes gray levels of 8 bits, unless it is gray in 8 or 16 bits already. */
void make_gray(BITMAPHANDLE& record);

/** Becomes 1 bit per pixel: 1 where the picture is nearer to white than to black. */
void make_two_levels(BITMAPHANDLE& record);

/** Reads a picture as a mask: its gray levels. */
std::unique_ptr<Bitmap> load_mask(const std::string& name);

} // namespace vk::tool

#endif
