/**
 * @file WebP_write.cpp
 * Writes WebP files, one picture or the frames of an animation. Pixels become colours of 8 bits, with alpha where there
 * is some; those of up to 8 bits per pixel, and others when that is asked for, are packed without loss.
 */
#include "tools/Failure.h"
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"
#include "tools/picture/OutputFile.h"

#include <algorithm>
#include <cstring>
#include <webp/encode.h>
#include <webp/mux.h>

namespace vk::tool {

namespace {

struct MuxCloser {
    void operator()(WebPMux* mux) const noexcept { WebPMuxDelete(mux); }
};

/** Bytes that the library allocates. */
struct Assembled {
    WebPData data{};
    Assembled() = default;
    Assembled(const Assembled&) = delete;
    Assembled& operator=(const Assembled&) = delete;
    ~Assembled() { WebPDataClear(&data); }
};

/** A picture on its way through the encoder, and what comes out. */
struct Encoding {
    WebPPicture picture{};
    WebPMemoryWriter out{};

    Encoding()
    {
        WebPPictureInit(&picture);
        WebPMemoryWriterInit(&out);
    }
    Encoding(const Encoding&) = delete;
    Encoding& operator=(const Encoding&) = delete;
    ~Encoding()
    {
        WebPPictureFree(&picture);
        WebPMemoryWriterClear(&out);
    }
};

struct CodedFrame {
    std::vector<uint8_t> bytes;
    Frame frame;
};

class WebpWriter : public PictureWriter {
public:
    WebpWriter(const std::string& name, const WriteOptions& options) : name_(name), options_(options) {}

    bool keeps_orientation() const override { return true; }
    bool keeps_pages() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override;

private:
    void end_page();
    void encode(Encoding& encoding) const;
    void add_frames(WebPMux* mux) const;
    void add_notes(WebPMux* mux) const;
    bool is_still() const;
    void require(WebPMuxError error) const
    {
        if (error != WEBP_MUX_OK) {
            throw FileError(name_, "WebP: cannot be put together, error " + std::to_string(error));
        }
    }

    std::string name_;
    WriteOptions options_;
    PictureInfo first_; ///< whose notes are the file's
    PictureInfo info_;  ///< of the page at hand
    Frame frame_;       ///< the same page's
    int32_t width_ = 0; ///< of the page, with what its place needs before it
    int32_t height_ = 0;
    size_t channels_ = 3;
    std::vector<uint8_t> pixels_; ///< red, green, blue and perhaps alpha
    std::vector<uint8_t> row_;
    size_t next_ = 0; ///< where the next row goes
    std::vector<CodedFrame> frames_;
    std::optional<OutputFile> file_;
};

/** Places are even in the file: frames at odd ones get clear pixels before them. */
void WebpWriter::begin(const PictureInfo& info)
{
    if (!file_) {
        file_.emplace(name_);
        first_ = info;
    } else {
        end_page();
    }
    info_ = info;
    frame_ = frame_of(info, options_);
    if (frame_.disposal == Disposal::restore) {
        throw OperationError("WebP has no frames that give way to what was there before them");
    }
    const int32_t left = frame_.left % 2;
    const int32_t top = frame_.top % 2;
    if ((left != 0 || top != 0) && frame_.replaces) {
        throw OperationError("WebP: frames that cover what is below begin at even columns and rows");
    }
    width_ = info.width + left;
    height_ = info.height + top;
    if (std::max(width_, height_) > WEBP_MAX_DIMENSION) {
        throw OperationError("WebP holds at most " + std::to_string(WEBP_MAX_DIMENSION) +
                             " pixels in a row or a column");
    }
    frame_.left -= left;
    frame_.top -= top;
    channels_ = info.bits % 32 == 0 || left != 0 || top != 0 ? 4 : 3;
    const size_t line = static_cast<size_t>(width_) * channels_;
    pixels_.assign(line * static_cast<size_t>(height_), 0);
    row_.resize(static_cast<size_t>(info.width) * 3);
    next_ = static_cast<size_t>(top) * line + static_cast<size_t>(left) * channels_;
}

void WebpWriter::write_row(const uint8_t* row)
{
    plain_samples(info_, row, false, row_.data());
    uint8_t* out = &pixels_[next_];
    next_ += static_cast<size_t>(width_) * channels_;
    if (channels_ == 3) {
        std::copy(row_.begin(), row_.end(), out);
        return;
    }
    const size_t step = static_cast<size_t>(info_.bits) / 8;
    for (size_t x = 0; x < static_cast<size_t>(info_.width); ++x, out += 4) {
        std::copy_n(&row_[3 * x], 3, out);
        out[3] = info_.bits % 32 == 0 ? row[(x + 1) * step - 1] : 0xFF; // the high byte of 16 bits is the second one
    }
}

void WebpWriter::encode(Encoding& encoding) const
{
    WebPConfig config;
    WebPConfigInit(&config);
    const bool lossless = options_.lossless || info_.bits <= 8;
    if (lossless) {
        WebPConfigLosslessPreset(&config, options_.effort.value_or(kUsualEffort));
        config.exact = 1;
    } else {
        config.quality = static_cast<float>(options_.quality);
        config.method = std::min(options_.effort.value_or(kUsualEffort) * 2 / 3, 6);
    }
    WebPPicture& picture = encoding.picture;
    picture.use_argb = lossless ? 1 : 0;
    picture.width = width_;
    picture.height = height_;
    picture.writer = &WebPMemoryWrite;
    picture.custom_ptr = &encoding.out;
    picture.progress_hook = [](int, const WebPPicture*) { return interrupted() ? 0 : 1; };
    const auto import = channels_ == 4 ? &WebPPictureImportRGBA : &WebPPictureImportRGB;
    const bool done = import(&picture, pixels_.data(), width_ * static_cast<int>(channels_)) != 0 &&
                      WebPEncode(&config, &picture) != 0;
    if (!done && interrupted()) {
        throw Interrupted();
    }
    if (!done) {
        throw FileError(name_, "WebP: cannot be packed, error " + std::to_string(picture.error_code));
    }
}

void WebpWriter::end_page()
{
    Encoding encoding;
    encode(encoding);
    frames_.push_back({{encoding.out.mem, encoding.out.mem + encoding.out.size}, frame_});
}

/** One picture that is all of its canvas. */
bool WebpWriter::is_still() const
{
    const Frame& frame = frames_[0].frame;
    return frames_.size() == 1 && frame.left == 0 && frame.top == 0 && width_ == info_.width &&
           height_ == info_.height && frame.canvas_width == width_ && frame.canvas_height == height_;
}

void WebpWriter::add_frames(WebPMux* mux) const
{
    int32_t width = 0;
    int32_t height = 0;
    for (const CodedFrame& coded : frames_) {
        const Frame& frame = coded.frame;
        WebPMuxFrameInfo info{};
        info.bitstream = {coded.bytes.data(), coded.bytes.size()};
        info.x_offset = frame.left;
        info.y_offset = frame.top;
        info.duration = frame.delay;
        info.id = WEBP_CHUNK_ANMF;
        info.dispose_method = frame.disposal == Disposal::clear ? WEBP_MUX_DISPOSE_BACKGROUND : WEBP_MUX_DISPOSE_NONE;
        info.blend_method = frame.replaces ? WEBP_MUX_NO_BLEND : WEBP_MUX_BLEND;
        require(WebPMuxPushFrame(mux, &info, 1));
        width = std::max(width, frame.canvas_width);
        height = std::max(height, frame.canvas_height);
    }
    const WebPMuxAnimParams params{0, frames_[0].frame.loops};
    require(WebPMuxSetAnimationParams(mux, &params));
    require(WebPMuxSetCanvasSize(mux, width, height));
}

void WebpWriter::add_notes(WebPMux* mux) const
{
    if (is_profile_of(first_.profile, false)) {
        const WebPData data{first_.profile.data(), first_.profile.size()};
        require(WebPMuxSetChunk(mux, "ICCP", &data, 1));
    }
    if (first_.orientation != TOP_LEFT || first_.x_resolution > 0) {
        const std::vector<uint8_t> notes = write_exif({first_.orientation, first_.x_resolution, first_.y_resolution});
        const WebPData data{notes.data(), notes.size()};
        require(WebPMuxSetChunk(mux, "EXIF", &data, 1));
    }
}

void WebpWriter::finish()
{
    end_page();
    const std::unique_ptr<WebPMux, MuxCloser> mux(WebPMuxNew());
    if (mux == nullptr) {
        throw std::bad_alloc();
    }
    if (is_still()) {
        const WebPData data{frames_[0].bytes.data(), frames_[0].bytes.size()};
        require(WebPMuxSetImage(mux.get(), &data, 1));
    } else {
        add_frames(mux.get());
    }
    add_notes(mux.get());
    Assembled assembled;
    require(WebPMuxAssemble(mux.get(), &assembled.data));
    file_->write(assembled.data.bytes, assembled.data.size);
    file_->commit();
}

} // namespace

std::unique_ptr<PictureWriter> write_webp(const std::string& name, const WriteOptions& options)
{
    return std::make_unique<WebpWriter>(name, options);
}

} // namespace vk::tool
