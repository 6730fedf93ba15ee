/**
 * @file Picture.h
 * Picture files as rows. Readers and writers hand rows over exactly as a bitmap stores them (top row first,
 * BytesPerLine bytes, blue before green before red, samples of 16 bits in the machine's order, padding clear), so a
 * picture of any size passes through in one row's memory.
 *
 * Formats of rows: 1, 2, 4 and 8 bits with a palette (grays have a gray ramp), 16-bit gray, 24 and 48 bits of colour,
 * 32 and 64 bits of colour with alpha.
 */
#ifndef VK_TOOLS_PICTURE_H
#define VK_TOOLS_PICTURE_H

#include "include/Vkkrnx.h"

#include <memory>
#include <string>
#include <vector>

namespace vk::tool {

struct PictureInfo {
    const char* format = ""; ///< the file's format; writers ignore it
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 0;             ///< bits per pixel
    int32_t order = 0;            ///< COLORORDER_ value
    std::vector<RGBQUAD> palette; ///< 1 << bits entries up to 8 bits, else empty
    int32_t x_resolution = 0;     ///< dots per inch; 0 when the file does not say
    int32_t y_resolution = 0;

    size_t row_bytes() const { return (static_cast<size_t>(width) * static_cast<size_t>(bits) + 31) / 32 * 4; }
    uint64_t data_bytes() const { return static_cast<uint64_t>(row_bytes()) * static_cast<uint64_t>(height); }
};

class PictureReader {
public:
    virtual ~PictureReader() = default;
    const PictureInfo& info() const { return info_; }

    /** Reads the next row into row_bytes() bytes; FileError when the file does not hold it. At most `height` calls. */
    void read_row(uint8_t* row);

protected:
    /** Fills in the row's pixels; bits behind the last one may hold anything. */
    virtual void decode_row(uint8_t* row) = 0;

    PictureInfo info_;
};

class PictureWriter {
public:
    virtual ~PictureWriter() = default;

    /** Starts the file; what it replaces stays in place until finish(). */
    virtual void begin(const PictureInfo& info) = 0;
    virtual void write_row(const uint8_t* row) = 0;
    /** Puts the file, with all its rows, in its place. */
    virtual void finish() = 0;
};

/** Opens a picture of any readable format, which its first bytes tell. FileError when it cannot be read. */
std::unique_ptr<PictureReader> open_picture(const std::string& name);

/** Gives the writer that the name's extension asks for, and touches nothing yet. UsageError when there is none. */
std::unique_ptr<PictureWriter> create_picture(const std::string& name);

/** Whether a name's extension is that of a format this build reads, or writes. */
bool has_readable_name(const std::string& name);
bool has_writable_name(const std::string& name);
/** The extension for pictures whose own format is not written, with its dot. */
const char* default_extension();

/** The formats of this build, in words. */
const char* readable_formats();
const char* writable_formats();

} // namespace vk::tool

#endif
