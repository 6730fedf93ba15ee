/**
 * @file Gif_frames.cpp
 * The frames of a GIF file on their way to one palette: the picture's own where there is just one of up to 8 bits, else
 * the library's for the whole list. The frames wait in a bitmap list until then. Pixels that are more clear than opaque
 * are left out of it.
 */
#include "tools/BitmapList.h"
#include "tools/Failure.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Gif.h"

#include <algorithm>
#include <bit>

namespace vk::tool {

namespace {

constexpr uint32_t kMostColors = 256;
constexpr int32_t kMost = 0xFFFF; ///< of pixels in a row or a column, of hundredths of a second and of loops

/** A frame but for its colours, which are in the list. */
struct HeldFrame {
    Frame frame;
    std::vector<bool> clear; ///< pixels; empty: none are
};

struct Palette {
    std::vector<RGBQUAD> colors;
    std::optional<uint8_t> transparent;
};

class GifWriter : public PictureWriter {
public:
    GifWriter(const std::string& name, const WriteOptions& options, MakeGifSink* make_sink)
        : name_(name), options_(options), make_sink_(make_sink)
    {}

    bool keeps_pages() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override;

private:
    void end_page();
    Palette make_palette();
    GifScreen screen_with(const Palette& palette) const;

    std::string name_;
    WriteOptions options_;
    MakeGifSink* make_sink_;
    PictureInfo info_; ///< of the page at hand
    std::unique_ptr<Bitmap> page_;
    std::vector<uint8_t> row_;
    int32_t next_row_ = 0;
    BitmapList pages_;
    std::vector<HeldFrame> frames_;
    bool has_clear_ = false;
    std::optional<OutputFile> file_;
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
    if (std::max(frame.canvas_width, frame.canvas_height) > kMost) {
        throw OperationError("GIF holds at most " + std::to_string(kMost) + " pixels in a row or a column");
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
    if (has_clear_) {
        palette.transparent = static_cast<uint8_t>(count);
    }
    palette.colors.resize(count);
    return palette;
}

GifScreen GifWriter::screen_with(const Palette& palette) const
{
    GifScreen screen;
    for (const HeldFrame& held : frames_) {
        screen.width = std::max(screen.width, held.frame.canvas_width);
        screen.height = std::max(screen.height, held.frame.canvas_height);
    }
    const size_t used = palette.colors.size() + (palette.transparent ? 1 : 0);
    screen.colors = palette.colors;
    screen.colors.resize(std::max<size_t>(std::bit_ceil(used), 2));
    const int32_t loops = frames_[0].frame.loops;
    if ((frames_.size() > 1 || info_.frame) && loops != 1) {
        screen.loops = static_cast<uint16_t>(std::min(loops, kMost));
    }
    return screen;
}

GifFrame description(const HeldFrame& held, const BITMAPHANDLE& record, const Palette& palette)
{
    const Frame& frame = held.frame;
    GifFrame made;
    made.left = static_cast<uint16_t>(frame.left);
    made.top = static_cast<uint16_t>(frame.top);
    made.width = static_cast<uint16_t>(record.Width);
    made.height = static_cast<uint16_t>(record.Height);
    made.delay = static_cast<uint16_t>(std::min((frame.delay + 5) / 10, kMost));
    made.disposal = frame.disposal == Disposal::clear ? 2 : frame.disposal == Disposal::restore ? 3 : 1;
    made.transparent = held.clear.empty() ? std::nullopt : palette.transparent;
    return made;
}

void put_lines(GifSink& sink, const HeldFrame& held, BITMAPHANDLE& record, uint8_t transparent)
{
    const auto width = static_cast<size_t>(record.Width);
    const auto bits = static_cast<size_t>(record.BitsPerPixel);
    std::vector<uint8_t> stored(record.BytesPerLine);
    std::vector<uint8_t> line(width);
    Access access(record);
    for (int32_t y = 0; y < record.Height; ++y) {
        access.get(y, stored.data(), stored.size());
        for (size_t x = 0; x < width; ++x) {
            const size_t bit = x * bits;
            const bool clear = !held.clear.empty() && held.clear[static_cast<size_t>(y) * width + x];
            const uint32_t index = stored[bit / 8] >> (8 - bits - bit % 8) & ((1u << bits) - 1);
            line[x] = clear ? transparent : static_cast<uint8_t>(index);
        }
        sink.put_line(line.data());
    }
}

void GifWriter::finish()
{
    end_page();
    const Palette palette = make_palette();
    const std::unique_ptr<GifSink> sink = make_sink_(*file_, name_);
    sink->start(screen_with(palette));
    for (const HeldFrame& held : frames_) {
        Bitmap bitmap(pages_.take_first());
        BITMAPHANDLE& record = bitmap.record();
        const bool own = frames_.size() == 1 && record.BitsPerPixel <= 8;
        if (!own) {
            check(V_ColorResBitmap(&record, nullptr, 0, 8, COLORRES_PALETTE_DEFAULT, palette.colors.data(), nullptr,
                                   static_cast<uint32_t>(palette.colors.size())),
                  "bringing a frame to the palette");
        }
        sink->begin_frame(description(held, record, palette));
        put_lines(*sink, held, record, palette.transparent.value_or(0));
    }
    sink->finish();
    file_->commit();
}

} // namespace

std::unique_ptr<PictureWriter> gif_writer(const std::string& name, const WriteOptions& options, MakeGifSink* make_sink)
{
    return std::make_unique<GifWriter>(name, options, make_sink);
}

} // namespace vk::tool
