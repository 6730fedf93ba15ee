/**
 * @file Gif.h
 * Writing GIF files, but for their bytes: the frames wait until there is one palette for all of them and then go, as
 * indices, into a sink. Gif_write.cpp has the one of a library, the folder of the system's component the other.
 */
#ifndef VK_TOOLS_GIF_H
#define VK_TOOLS_GIF_H

#include "tools/picture/OutputFile.h"
#include "tools/picture/Picture.h"

namespace vk::tool {

/** What a file says of all frames. */
struct GifScreen {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<RGBQUAD> colors;   ///< a power of two, 2 to 256
    std::optional<uint16_t> loops; ///< times that the animation is shown, 0 for ever; none: nothing is said
};

/** What a file says of a frame. */
struct GifFrame {
    uint16_t left = 0;
    uint16_t top = 0;
    uint16_t width = 0;
    uint16_t height = 0;
    uint16_t delay = 0;                 ///< hundredths of a second
    uint8_t disposal = 0;               ///< 1: stays; 2: cleared; 3: gives way to what was there
    std::optional<uint8_t> transparent; ///< the index of clear pixels
};

/** Puts a file together: its screen, then each frame and its lines, an index a byte. */
class GifSink {
public:
    virtual ~GifSink() = default;
    virtual void start(const GifScreen& screen) = 0;
    virtual void begin_frame(const GifFrame& frame) = 0;
    virtual void put_line(const uint8_t* indices) = 0;
    virtual void finish() = 0;
};

/** The file outlives the sink; the name is for messages. */
using MakeGifSink = std::unique_ptr<GifSink>(OutputFile& file, const std::string& name);

/** A writer whose file the sink puts together. */
std::unique_ptr<PictureWriter> gif_writer(const std::string& name, const WriteOptions& options, MakeGifSink* make_sink);

} // namespace vk::tool

#endif
