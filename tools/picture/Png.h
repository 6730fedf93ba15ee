/**
 * @file Png.h
 * A call into libpng, which reports errors by a long jump: nothing with a destructor may be made inside a guarded step.
 */
#ifndef VK_TOOLS_PNG_H
#define VK_TOOLS_PNG_H

#include "tools/Failure.h"

#include <csetjmp>
#include <cstdio>
#include <png.h>

namespace vk::tool {

/** What went wrong, kept across the jump. */
struct PngError {
    char text[200] = "";
};

/** An error handler of libpng, whose user pointer is a PngError. */
[[noreturn]] inline void on_png_error(png_structp png, png_const_charp text)
{
    std::snprintf(static_cast<PngError*>(png_get_error_ptr(png))->text, sizeof PngError::text, "%s", text);
    png_longjmp(png, 1);
}

/** Recoverable oddities of files are nobody's business. */
inline void on_png_warning(png_structp, png_const_charp) {}

/** Runs a step; FileError when libpng reports an error. */
template <typename Step> void guard_png(png_structp png, const PngError& error, const std::string& name, Step step)
{
    if (setjmp(png_jmpbuf(png)) != 0) {
        throw FileError(name, std::string("PNG: ") + error.text);
    }
    step();
}

} // namespace vk::tool

#endif
