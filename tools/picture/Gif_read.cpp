/**
 * @file Gif_read.cpp
 * Reads GIF files, frame by frame as the file holds them: as indices with their palette, or as colours with alpha where
 * an index is transparent. Interlaced frames are decoded as a whole, others row by row.
 */
#include "tools/Failure.h"
#include "tools/picture/Formats.h"

#include <algorithm>
#include <cstring>
#include <gif_lib.h>

namespace vk::tool {

namespace {

int read_bytes(GifFileType* gif, GifByteType* bytes, int count)
{
    return static_cast<int>(static_cast<InputFile*>(gif->UserData)->read(bytes, static_cast<size_t>(count)));
}

struct GifCloser {
    void operator()(GifFileType* gif) const noexcept { DGifCloseFile(gif, nullptr); }
};

class GifReader : public PictureReader {
public:
    GifReader(Input file, const std::string& name);
    bool next_page() override;

private:
    bool find_frame();
    void read_extension();
    void describe();
    void describe_frame();
    void read_line(GifPixelType* line);
    void read_interlaced();
    void decode_row(uint8_t* row) override;
    void check(int result) const
    {
        if (result == GIF_ERROR) {
            fail(GifErrorString(gif_->Error));
        }
    }
    [[noreturn]] void fail(const char* why) const
    {
        throw FileError(name_, std::string("GIF: ") + (why == nullptr ? "it is damaged" : why));
    }

    std::string name_;
    Input file_;
    std::unique_ptr<GifFileType, GifCloser> gif_;
    GraphicsControlBlock control_{}; ///< of the frame
    int32_t loops_ = 1;
    std::vector<RGBQUAD> colors_;
    std::vector<GifPixelType> line_;
    std::vector<GifPixelType> whole_; ///< all lines of an interlaced frame
    int32_t next_row_ = 0;
};

constexpr GraphicsControlBlock kNoControl = {DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};

GifReader::GifReader(Input file, const std::string& name) : name_(name), file_(std::move(file))
{
    int error = 0;
    gif_.reset(DGifOpen(file_.get(), &read_bytes, &error));
    if (gif_ == nullptr) {
        fail(GifErrorString(error));
    }
    if (!find_frame()) {
        fail("there is no picture in it");
    }
}

/** Data of a frame that is not wanted comes in blocks, of which an empty one is the last. */
bool GifReader::next_page()
{
    GifByteType* block = nullptr;
    if (next_row_ < info_.height && whole_.empty()) {
        do {
            check(DGifGetCodeNext(gif_.get(), &block));
        } while (block != nullptr);
    }
    return find_frame();
}

bool GifReader::find_frame()
{
    control_ = kNoControl;
    GifRecordType kind = UNDEFINED_RECORD_TYPE;
    for (;;) {
        check(DGifGetRecordType(gif_.get(), &kind));
        if (kind == TERMINATE_RECORD_TYPE) {
            return false;
        }
        if (kind == IMAGE_DESC_RECORD_TYPE) {
            check(DGifGetImageDesc(gif_.get()));
            describe();
            return true;
        }
        read_extension();
    }
}

void GifReader::read_extension()
{
    int code = 0;
    GifByteType* block = nullptr;
    check(DGifGetExtension(gif_.get(), &code, &block));
    const bool loops = code == APPLICATION_EXT_FUNC_CODE && block != nullptr && block[0] == 11 &&
                       std::memcmp(block + 1, "NETSCAPE2.0", 11) == 0;
    if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr &&
        DGifExtensionToGCB(block[0], block + 1, &control_) == GIF_ERROR) {
        control_ = kNoControl;
    }
    while (block != nullptr) {
        check(DGifGetExtensionNext(gif_.get(), &block));
        if (loops && block != nullptr && block[0] == 3 && block[1] == 1) {
            loops_ = block[2] | block[3] << 8;
        }
    }
}

void GifReader::describe()
{
    const GifImageDesc& image = gif_->Image;
    const ColorMapObject* const map = image.ColorMap != nullptr ? image.ColorMap : gif_->SColorMap;
    check_size(name_, image.Width, image.Height, *file_);
    if (map == nullptr || map->ColorCount < 1 || map->ColorCount > 256) {
        fail("it has no palette");
    }
    colors_.clear();
    for (int i = 0; i < map->ColorCount; ++i) {
        const GifColorType& color = map->Colors[i];
        colors_.push_back({color.Blue, color.Green, color.Red, 0});
    }
    info_ = {};
    info_.format = "GIF";
    info_.width = image.Width;
    info_.height = image.Height;
    const size_t count = colors_.size();
    if (control_.TransparentColor != NO_TRANSPARENT_COLOR) {
        info_.bits = 32;
        info_.order = COLORORDER_BGR;
    } else {
        info_.bits = count <= 2 ? 1 : count <= 4 ? 2 : count <= 16 ? 4 : 8;
        info_.palette = colors_;
        info_.palette.resize(size_t{1} << info_.bits);
    }
    describe_frame();
    line_.resize(static_cast<size_t>(image.Width));
    whole_.clear();
    next_row_ = 0;
}

void GifReader::describe_frame()
{
    constexpr int32_t kUnit = 10; // delays are in hundredths
    const GifImageDesc& image = gif_->Image;
    const Disposal disposal = control_.DisposalMode == DISPOSE_BACKGROUND ? Disposal::clear
                              : control_.DisposalMode == DISPOSE_PREVIOUS ? Disposal::restore
                                                                          : Disposal::keep;
    info_.frame = {image.Left,
                   image.Top,
                   std::max(gif_->SWidth, image.Left + image.Width),
                   std::max(gif_->SHeight, image.Top + image.Height),
                   control_.DelayTime * kUnit,
                   disposal,
                   false,
                   loops_};
}

void GifReader::read_line(GifPixelType* line)
{
    check(DGifGetLine(gif_.get(), line, info_.width));
    const auto beyond = [this](GifPixelType index) {
        return index >= colors_.size() && index != control_.TransparentColor;
    };
    if (std::any_of(line, line + info_.width, beyond)) {
        fail("a pixel has no colour");
    }
}

/** Every eighth line, those between them, and so on. */
void GifReader::read_interlaced()
{
    constexpr int32_t kFirst[] = {0, 4, 2, 1};
    constexpr int32_t kStep[] = {8, 8, 4, 2};
    const auto width = static_cast<size_t>(info_.width);
    whole_.resize(width * static_cast<size_t>(info_.height));
    for (size_t pass = 0; pass < 4; ++pass) {
        for (int32_t y = kFirst[pass]; y < info_.height; y += kStep[pass]) {
            read_line(&whole_[static_cast<size_t>(y) * width]);
        }
    }
}

void GifReader::decode_row(uint8_t* row)
{
    if (gif_->Image.Interlace && next_row_ == 0) {
        read_interlaced();
    }
    const auto width = static_cast<size_t>(info_.width);
    const GifPixelType* line = line_.data();
    if (gif_->Image.Interlace) {
        line = &whole_[static_cast<size_t>(next_row_) * width];
    } else {
        read_line(line_.data());
    }
    ++next_row_;
    const auto bits = static_cast<size_t>(info_.bits);
    std::memset(row, 0, info_.row_bytes());
    for (size_t x = 0; x < width; ++x) {
        if (bits == 32) {
            const RGBQUAD clear{};
            const bool shown = line[x] != control_.TransparentColor;
            const RGBQUAD& color = shown ? colors_[line[x]] : clear;
            const uint8_t pixel[] = {color.rgbBlue, color.rgbGreen, color.rgbRed, static_cast<uint8_t>(-shown)};
            std::copy(std::begin(pixel), std::end(pixel), row + 4 * x);
        } else {
            row[x * bits / 8] = static_cast<uint8_t>(row[x * bits / 8] | line[x] << (8 - bits - x * bits % 8));
        }
    }
}

} // namespace

std::unique_ptr<PictureReader> read_gif(Input file, const std::string& name)
{
    return std::make_unique<GifReader>(std::move(file), name);
}

} // namespace vk::tool
