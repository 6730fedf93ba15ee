/**
 * @file Gif_write.cpp
 * Writes GIF files, one picture or the frames of an animation, with one palette for all: the picture's own where there
 * is just one of up to 8 bits, else the library's for the whole list. The frames wait in a bitmap list until then.
 * Pixels that are more clear than opaque are left out of it.
 */
#include "tools/BitmapList.h"
#include "tools/Failure.h"
#include "tools/picture/Formats.h"
#include "tools/picture/OutputFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <gif_lib.h>

namespace vk::tool {

namespace {

constexpr uint32_t kMostColors = 256;
constexpr int32_t kMostPixels = 0xFFFF; ///< in a row or a column

int write_bytes(GifFileType* gif, const GifByteType* bytes, int count)
{
    return static_cast<OutputFile*>(gif->UserData)->put(bytes, static_cast<size_t>(count)) ? count : 0;
}

/** A frame but for its colours, which are in the list. */
struct HeldFrame {
    Frame frame;
    std::vector<bool> clear; ///< pixels; empty: none are
};

struct Palette {
    std::vector<RGBQUAD> colors;
    int32_t transparent = NO_TRANSPARENT_COLOR;
};

class GifWriter : public PictureWriter {
public:
    GifWriter(const std::string& name, const WriteOptions& options) : name_(name), options_(options) {}
    ~GifWriter() override { close(); }
    GifWriter(const GifWriter&) = delete;
    GifWriter& operator=(const GifWriter&) = delete;

    bool keeps_pages() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override;

private:
    void end_page();
    Palette make_palette();
    void start(const Palette& palette);
    void write_loops(int32_t loops);
    void write_frame(const HeldFrame& held, BITMAPHANDLE& record, const Palette& palette);
    int close() { return gif_ == nullptr ? GIF_OK : EGifCloseFile(std::exchange(gif_, nullptr), nullptr); }
    void require(int result) const
    {
        if (result == GIF_ERROR) {
            const char* const why = gif_ == nullptr ? nullptr : GifErrorString(gif_->Error);
            throw FileError(name_, std::string("GIF: ") + (why == nullptr ? "cannot be written" : why));
        }
    }

    std::string name_;
    WriteOptions options_;
    PictureInfo info_; ///< of the page at hand
    std::unique_ptr<Bitmap> page_;
    std::vector<uint8_t> row_;
    int32_t next_row_ = 0;
    BitmapList pages_;
    std::vector<HeldFrame> frames_;
    bool has_clear_ = false;
    std::optional<OutputFile> file_;
    GifFileType* gif_ = nullptr;
};

bool has_alpha(const PictureInfo& info)
{
    return info.bits % 32 == 0;
}

void GifWriter::begin(const PictureInfo& info)
{
    if (!file_) {
        file_.emplace(name_);
    } else {
        end_page();
    }
    const Frame frame = frame_of(info, options_);
    if (std::max(frame.canvas_width, frame.canvas_height) > kMostPixels) {
        throw OperationError("GIF holds at most " + std::to_string(kMostPixels) + " pixels in a row or a column");
    }
    frames_.push_back({frame, {}});
    info_ = info;
    next_row_ = 0;
    PictureInfo held = info;
    if (has_alpha(info)) {
        held.bits = 24;
        frames_.back().clear.resize(static_cast<size_t>(info.width) * static_cast<size_t>(info.height));
        row_.resize(held.row_bytes());
    }
    page_ = std::make_unique<Bitmap>(held);
}

/** Clear pixels take the colour of one beside them, so that the palette needs none for them. */
void GifWriter::write_row(const uint8_t* row)
{
    Access access(*page_);
    if (!has_alpha(info_)) {
        access.put(next_row_++, row, info_.row_bytes());
        return;
    }
    const auto width = static_cast<size_t>(info_.width);
    const size_t sample = static_cast<size_t>(info_.bits) / 32;
    std::vector<bool>& clear = frames_.back().clear;
    const size_t first = static_cast<size_t>(next_row_) * width;
    size_t shown = width; // the last one
    for (size_t x = 0; x < width; ++x, row += 4 * sample) {
        const bool is_clear = row[4 * sample - 1] < 0x80;
        clear[first + x] = is_clear;
        if (is_clear && shown == width) {
            continue; // has what is left of the row above, or black
        }
        for (size_t c = 0; c < 3; ++c) {
            row_[3 * x + c] = is_clear ? row_[3 * shown + c] : row[(c + 1) * sample - 1];
        }
        if (!is_clear && shown == width) {
            for (size_t before = 0; before < 3 * x; ++before) {
                row_[before] = row_[3 * x + before % 3];
            }
        }
        shown = is_clear ? shown : x;
    }
    access.put(next_row_++, row_.data(), row_.size());
}

void GifWriter::end_page()
{
    std::vector<bool>& clear = frames_.back().clear;
    if (std::find(clear.begin(), clear.end(), true) == clear.end()) {
        clear.clear();
    }
    has_clear_ = has_clear_ || !clear.empty();
    if (frames_.size() > 1 && frames_.back().frame.replaces && !clear.empty()) {
        throw OperationError("GIF has no frames whose clear pixels cover what is below");
    }
    pages_.append(*page_);
    page_.reset();
}

Palette GifWriter::make_palette()
{
    Palette palette;
    const BITMAPHANDLE first = pages_.item(0);
    if (frames_.size() == 1 && first.BitsPerPixel <= 8) {
        palette.colors.assign(first.Palette, first.Palette + first.Colors);
        return palette;
    }
    uint32_t count = kMostColors - (has_clear_ ? 1 : 0);
    palette.colors.resize(kMostColors);
    check(V_CreateBitmapListOptPal(pages_.handle(), palette.colors.data(), &count, 0), "making the palette");
    palette.transparent = has_clear_ ? static_cast<int32_t>(count) : NO_TRANSPARENT_COLOR;
    palette.colors.resize(count);
    return palette;
}

void GifWriter::start(const Palette& palette)
{
    int32_t width = 0;
    int32_t height = 0;
    for (const HeldFrame& held : frames_) {
        width = std::max(width, held.frame.canvas_width);
        height = std::max(height, held.frame.canvas_height);
    }
    std::array<GifColorType, kMostColors> colors{};
    std::transform(palette.colors.begin(), palette.colors.end(), colors.begin(), [](const RGBQUAD& color) {
        return GifColorType{color.rgbRed, color.rgbGreen, color.rgbBlue};
    });
    const size_t used = palette.colors.size() + (palette.transparent != NO_TRANSPARENT_COLOR ? 1 : 0);
    const int entries = static_cast<int>(std::max<size_t>(std::bit_ceil(used), 2));
    int error = 0;
    gif_ = EGifOpen(&*file_, &write_bytes, &error);
    require(gif_ == nullptr ? GIF_ERROR : GIF_OK);
    EGifSetGifVersion(gif_, true);
    const std::unique_ptr<ColorMapObject, void (*)(ColorMapObject*)> map(GifMakeMapObject(entries, colors.data()),
                                                                         &GifFreeMapObject);
    require(map == nullptr ? GIF_ERROR : EGifPutScreenDesc(gif_, width, height, 8, 0, map.get()));
    if (frames_.size() > 1 || info_.frame) {
        write_loops(frames_[0].frame.loops);
    }
}

void GifWriter::write_loops(int32_t loops)
{
    if (loops == 1) {
        return;
    }
    const int32_t count = std::min(loops, 0xFFFF);
    const GifByteType block[] = {1, static_cast<GifByteType>(count), static_cast<GifByteType>(count >> 8)};
    require(EGifPutExtensionLeader(gif_, APPLICATION_EXT_FUNC_CODE));
    require(EGifPutExtensionBlock(gif_, 11, "NETSCAPE2.0"));
    require(EGifPutExtensionBlock(gif_, sizeof block, block));
    require(EGifPutExtensionTrailer(gif_));
}

void GifWriter::write_frame(const HeldFrame& held, BITMAPHANDLE& record, const Palette& palette)
{
    const Frame& frame = held.frame;
    GraphicsControlBlock control{};
    control.DisposalMode = frame.disposal == Disposal::clear     ? DISPOSE_BACKGROUND
                           : frame.disposal == Disposal::restore ? DISPOSE_PREVIOUS
                                                                 : DISPOSE_DO_NOT;
    control.DelayTime = std::min((frame.delay + 5) / 10, 0xFFFF);
    control.TransparentColor = held.clear.empty() ? NO_TRANSPARENT_COLOR : palette.transparent;
    std::array<GifByteType, 4> block{};
    const size_t bytes = EGifGCBToExtension(&control, block.data());
    require(EGifPutExtension(gif_, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(bytes), block.data()));
    require(EGifPutImageDesc(gif_, frame.left, frame.top, record.Width, record.Height, false, nullptr));
    const auto width = static_cast<size_t>(record.Width);
    std::vector<uint8_t> stored(record.BytesPerLine);
    std::vector<GifPixelType> line(width);
    Access access(record);
    const auto bits = static_cast<size_t>(record.BitsPerPixel);
    for (int32_t y = 0; y < record.Height; ++y) {
        access.get(y, stored.data(), stored.size());
        for (size_t x = 0; x < width; ++x) {
            const size_t bit = x * bits;
            const bool clear = !held.clear.empty() && held.clear[static_cast<size_t>(y) * width + x];
            line[x] = static_cast<GifPixelType>(clear ? static_cast<uint32_t>(palette.transparent)
                                                      : stored[bit / 8] >> (8 - bits - bit % 8) & ((1u << bits) - 1));
        }
        require(EGifPutLine(gif_, line.data(), record.Width));
    }
}

void GifWriter::finish()
{
    end_page();
    const Palette palette = make_palette();
    start(palette);
    for (size_t i = 0; i < frames_.size(); ++i) {
        Bitmap bitmap(pages_.take_first());
        BITMAPHANDLE& record = bitmap.record();
        const bool own = frames_.size() == 1 && record.BitsPerPixel <= 8;
        if (!own) {
            check(V_ColorResBitmap(&record, nullptr, 0, 8, COLORRES_PALETTE_DEFAULT, palette.colors.data(), nullptr,
                                   static_cast<uint32_t>(palette.colors.size())),
                  "bringing a frame to the palette");
        }
        write_frame(frames_[i], record, palette);
    }
    require(close());
    file_->commit();
}

} // namespace

std::unique_ptr<PictureWriter> write_gif(const std::string& name, const WriteOptions& options)
{
    return std::make_unique<GifWriter>(name, options);
}

} // namespace vk::tool
