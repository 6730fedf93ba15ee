/**
 * @file Gif_write.cpp
 * Puts GIF files together through the library. Gif_frames.cpp makes what goes into them.
 */
#include "tools/Failure.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Gif.h"

#include <algorithm>
#include <array>
#include <gif_lib.h>

namespace vk::tool {

namespace {

int write_bytes(GifFileType* gif, const GifByteType* bytes, int count)
{
    return static_cast<OutputFile*>(gif->UserData)->put(bytes, static_cast<size_t>(count)) ? count : 0;
}

class LibrarySink : public GifSink {
public:
    LibrarySink(OutputFile& file, const std::string& name) : file_(file), name_(name) {}
    ~LibrarySink() override { close(); }
    LibrarySink(const LibrarySink&) = delete;
    LibrarySink& operator=(const LibrarySink&) = delete;

    void start(const GifScreen& screen) override;
    void begin_frame(const GifFrame& frame) override;
    void put_line(const uint8_t* indices) override
    {
        line_.assign(indices, indices + line_.size());
        require(EGifPutLine(gif_, line_.data(), static_cast<int>(line_.size())));
    }
    void finish() override { require(close()); }

private:
    void write_loops(uint16_t loops);
    int close() { return gif_ == nullptr ? GIF_OK : EGifCloseFile(std::exchange(gif_, nullptr), nullptr); }
    void require(int result) const
    {
        if (result == GIF_ERROR) {
            const char* const why = gif_ == nullptr ? nullptr : GifErrorString(gif_->Error);
            throw FileError(name_, std::string("GIF: ") + (why == nullptr ? "cannot be written" : why));
        }
    }

    OutputFile& file_;
    std::string name_;
    GifFileType* gif_ = nullptr;
    std::vector<GifPixelType> line_; ///< which the library may change
};

void LibrarySink::start(const GifScreen& screen)
{
    std::array<GifColorType, 256> colors{};
    std::transform(screen.colors.begin(), screen.colors.end(), colors.begin(), [](const RGBQUAD& color) {
        return GifColorType{color.rgbRed, color.rgbGreen, color.rgbBlue};
    });
    int error = 0;
    gif_ = EGifOpen(&file_, &write_bytes, &error);
    require(gif_ == nullptr ? GIF_ERROR : GIF_OK);
    EGifSetGifVersion(gif_, true);
    const std::unique_ptr<ColorMapObject, void (*)(ColorMapObject*)> map(
        GifMakeMapObject(static_cast<int>(screen.colors.size()), colors.data()), &GifFreeMapObject);
    require(map == nullptr ? GIF_ERROR : EGifPutScreenDesc(gif_, screen.width, screen.height, 8, 0, map.get()));
    if (screen.loops) {
        write_loops(*screen.loops);
    }
}

void LibrarySink::write_loops(uint16_t loops)
{
    const GifByteType block[] = {1, static_cast<GifByteType>(loops), static_cast<GifByteType>(loops >> 8)};
    require(EGifPutExtensionLeader(gif_, APPLICATION_EXT_FUNC_CODE));
    require(EGifPutExtensionBlock(gif_, 11, "NETSCAPE2.0"));
    require(EGifPutExtensionBlock(gif_, sizeof block, block));
    require(EGifPutExtensionTrailer(gif_));
}

void LibrarySink::begin_frame(const GifFrame& frame)
{
    GraphicsControlBlock control{};
    control.DisposalMode = frame.disposal;
    control.DelayTime = frame.delay;
    control.TransparentColor = frame.transparent ? *frame.transparent : NO_TRANSPARENT_COLOR;
    std::array<GifByteType, 4> block{};
    const size_t bytes = EGifGCBToExtension(&control, block.data());
    require(EGifPutExtension(gif_, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(bytes), block.data()));
    require(EGifPutImageDesc(gif_, frame.left, frame.top, frame.width, frame.height, false, nullptr));
    line_.resize(frame.width);
}

} // namespace

std::unique_ptr<PictureWriter> write_gif(const std::string& name, const WriteOptions& options)
{
    return gif_writer(name, options, [](OutputFile& file, const std::string& file_name) -> std::unique_ptr<GifSink> {
        return std::make_unique<LibrarySink>(file, file_name);
    });
}

} // namespace vk::tool
