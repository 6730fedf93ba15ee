/**
 * @file Tiff.h
 * A TIFF handle over the program's own files. What the library has to say is kept, the last error's text for messages.
 */
#ifndef VK_TOOLS_TIFF_H
#define VK_TOOLS_TIFF_H

#include "tools/Failure.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <tiffio.h>

namespace vk::tool {

/** The text of the thread's last error; empty when there was none. */
inline thread_local char g_tiff_error[256] = "";

inline void on_tiff_error(const char*, const char* format, va_list arguments)
{
    std::vsnprintf(g_tiff_error, sizeof g_tiff_error, format, arguments);
}

inline void on_tiff_warning(const char*, const char*, va_list) {}

struct TiffCloser {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, TiffCloser>;

/** Opens with procedures that are given `file`. FileError when that fails. */
inline Tiff open_tiff(const std::string& name, const char* mode, void* file, TIFFReadWriteProc read,
                      TIFFReadWriteProc write, TIFFSeekProc seek, TIFFSizeProc size)
{
    TIFFSetErrorHandler(&on_tiff_error);
    TIFFSetWarningHandler(&on_tiff_warning);
    g_tiff_error[0] = 0;
    const auto keep_open = [](thandle_t) { return 0; };
    Tiff tiff(TIFFClientOpen(name.c_str(), mode, file, read, write, seek, keep_open, size, nullptr, nullptr));
    if (tiff == nullptr) {
        throw FileError(name, std::string("TIFF: ") + g_tiff_error);
    }
    return tiff;
}

[[noreturn]] inline void throw_tiff_error(const std::string& name)
{
    throw FileError(name, std::string("TIFF: ") + (g_tiff_error[0] != 0 ? g_tiff_error : "it is damaged"));
}

} // namespace vk::tool

#endif
