/**
 * @file Jpeg.h
 * A call into the JPEG library, whose errors come as long jumps: nothing with a destructor may be made inside a guarded
 * step.
 */
#ifndef VK_TOOLS_JPEG_H
#define VK_TOOLS_JPEG_H

#include "tools/Failure.h"

#include <csetjmp>
#include <cstdio>

// After cstdio, whose FILE it needs.
#include <jerror.h>
#include <jpeglib.h>

namespace vk::tool {

struct JpegErrors {
    jpeg_error_mgr manager; ///< first, so that a pointer to it is one to this
    std::jmp_buf jump;
    char text[JMSG_LENGTH_MAX];
};

[[noreturn]] inline void on_jpeg_error(j_common_ptr jpeg)
{
    auto* const errors = reinterpret_cast<JpegErrors*>(jpeg->err);
    errors->manager.format_message(jpeg, errors->text);
    std::longjmp(errors->jump, 1);
}

/** The library's way of reporting, with errors as jumps and warnings dropped. */
inline jpeg_error_mgr* report_to(JpegErrors& errors)
{
    jpeg_std_error(&errors.manager);
    errors.manager.error_exit = &on_jpeg_error;
    errors.manager.emit_message = [](j_common_ptr, int) {};
    return &errors.manager;
}

/** Runs a step; FileError when the library reports an error. */
template <typename Step> void guard_jpeg(JpegErrors& errors, const std::string& name, Step step)
{
    if (setjmp(errors.jump) != 0) {
        throw FileError(name, std::string("JPEG: ") + errors.text);
    }
    step();
}

/** Colours as rows have them, where the library knows these. */
#ifdef JCS_EXTENSIONS
constexpr J_COLOR_SPACE kStoredColors = JCS_EXT_BGR;
#else
constexpr J_COLOR_SPACE kStoredColors = JCS_RGB;
#endif

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr char kExifName[] = "Exif\0"; ///< six bytes before the notes

} // namespace vk::tool

#endif
