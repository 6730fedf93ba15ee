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

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vk::tool {

/** What happens to a frame's place on the canvas before the next frame is drawn. */
enum class Disposal { keep, clear, restore };

/** How a picture is shown as a frame of an animation. */
struct Frame {
    int32_t left = 0; ///< on the canvas
    int32_t top = 0;
    int32_t canvas_width = 0;
    int32_t canvas_height = 0;
    int32_t delay = 0; ///< thousandths of a second until the next one
    Disposal disposal = Disposal::keep;
    bool replaces = false; ///< what is below does not show through transparent pixels
    int32_t loops = 1;     ///< times that the animation is shown; 0: for ever
};

struct PictureInfo {
    const char* format = ""; ///< the file's format; writers ignore it
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 0;             ///< bits per pixel
    int32_t order = 0;            ///< COLORORDER_ value
    std::vector<RGBQUAD> palette; ///< 1 << bits entries up to 8 bits, else empty
    int32_t x_resolution = 0;     ///< dots per inch; 0 when the file does not say
    int32_t y_resolution = 0;
    int32_t orientation = TOP_LEFT; ///< 1 to 8, where the first row and its first pixel are as displayed
    std::vector<uint8_t> profile;   ///< of the colours, as the ICC defines it; empty: none
    std::optional<Frame> frame;

    size_t row_bytes() const { return (static_cast<size_t>(width) * static_cast<size_t>(bits) + 31) / 32 * 4; }
    uint64_t data_bytes() const { return static_cast<uint64_t>(row_bytes()) * static_cast<uint64_t>(height); }
};

/** Makes blue, green and red of cyan, magenta, yellow and black, of which 255 is most. */
using InkConversion = std::function<void(const uint8_t* inks, uint8_t* colors, size_t pixels)>;

class PictureReader {
public:
    virtual ~PictureReader() = default;
    const PictureInfo& info() const { return info_; }

    /** Reads the next row into row_bytes() bytes; FileError when the file does not hold it. At most `height` calls. */
    void read_row(uint8_t* row);
    /** Goes on to the file's next picture, whose info() and rows come from then on; false when there is none. Rows of
     *  this one may be left out. */
    virtual bool next_page() { return false; }
    /** Where a file holds amounts of four inks and says what they look like: its profile. */
    const std::vector<uint8_t>& ink_profile() const { return ink_profile_; }
    /** Has colours made of inks by a function, and not by the rule that each ink takes its part of the light. */
    void convert_inks(InkConversion conversion) { ink_conversion_ = std::move(conversion); }

protected:
    /** Fills in the row's pixels; bits behind the last one may hold anything. */
    virtual void decode_row(uint8_t* row) = 0;

    PictureInfo info_;
    std::vector<uint8_t> ink_profile_;
    InkConversion ink_conversion_;
};

class PictureWriter {
public:
    virtual ~PictureWriter() = default;

    /** Whether the format says how rows are displayed; others are given upright rows. */
    virtual bool keeps_orientation() const { return false; }
    /** Whether begin() may be called again, after all rows, for a further page or frame. */
    virtual bool keeps_pages() const { return false; }

    /** Starts the file; what it replaces stays in place until finish(). */
    virtual void begin(const PictureInfo& info) = 0;
    virtual void write_row(const uint8_t* row) = 0;
    /** Puts the file, with all its rows, in its place. */
    virtual void finish() = 0;
};

/** Pictures of more pixels are refused, and so are, unless this is called, large ones in files that hold next to
 * nothing. */
void set_most_pixels(uint64_t pixels);

/** How a picture is read. */
struct ReadOptions {
    std::optional<uint32_t> page; ///< of several in the file, from 0; else the first
    bool srgb = false;            ///< colours become sRGB by the profile that the file has
};

/** Opens a picture of any readable format, which its first bytes tell. FileError when it cannot be read. */
std::unique_ptr<PictureReader> open_picture(const std::string& name, const ReadOptions& options = {});

constexpr int kUsualEffort = 6;

/** How a picture is written, where its format leaves a choice. */
struct WriteOptions {
    int quality = 90;      ///< of what is lossy, 1 to 100
    int chroma_across = 2; ///< JPEG: columns of pixels that share their colour
    int chroma_down = 2;   ///< JPEG: rows of pixels that do
    bool progressive = false;
    bool optimized = false;       ///< JPEG: codes made for the picture, which is held for that
    std::optional<int> effort;    ///< of packing without loss, 0 (none) to 9; without it as the format sees fit
    std::string compression;      ///< TIFF: by name; empty: what suits the picture
    bool big = false;             ///< TIFF: with room for more than 4 GiB, whatever this page needs
    bool bare = false;            ///< nothing but the pixels: no profile, no resolution; orientation turned into pixels
    bool lossless = false;        ///< WebP: every pixel as it is
    std::optional<int32_t> delay; ///< of every frame, in thousandths of a second; without it those that have none: 100
    std::optional<int32_t> loops; ///< times an animation is shown, 0 for ever; without it as the first frame says
};

/** Gives the writer that the name's extension asks for, and touches nothing yet. UsageError when there is none. */
std::unique_ptr<PictureWriter> create_picture(const std::string& name, const WriteOptions& options);

/** Whether all entries of a palette are gray; one of no entries is not. */
bool is_gray(const std::vector<RGBQUAD>& palette);
/** Whether there is a profile and it is one of grays, or one of red, green and blue. */
bool is_profile_of(const std::vector<uint8_t>& profile, bool gray);

/** Whether a name's extension is that of a format this build reads, or writes. */
bool has_readable_name(const std::string& name);
bool has_writable_name(const std::string& name);
/** The extension for pictures whose own format is not written, with its dot. */
const char* default_extension();

/** The formats of this build, in words. */
std::string readable_formats();
std::string writable_formats();

} // namespace vk::tool

#endif
