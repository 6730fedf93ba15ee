/**
 * @file WebP_read.cpp
 * Reads WebP files, frame by frame as the file holds them: colours of 8 bits, with alpha where there is some. The file
 * is held in memory, and a frame's pixels are decoded as a whole when its first row is asked for.
 */
#include "tools/Failure.h"
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"

#include <algorithm>
#include <cstring>
#include <webp/decode.h>
#include <webp/demux.h>

namespace vk::tool {

namespace {

struct DemuxerCloser {
    void operator()(WebPDemuxer* demuxer) const noexcept { WebPDemuxDelete(demuxer); }
};

class WebpReader : public PictureReader {
public:
    WebpReader(Input file, const std::string& name);
    ~WebpReader() override { WebPDemuxReleaseIterator(&frame_); }
    WebpReader(const WebpReader&) = delete;
    WebpReader& operator=(const WebpReader&) = delete;

    bool next_page() override;

private:
    void read_file(InputFile& file);
    void describe();
    void read_notes();
    std::vector<uint8_t> chunk(const char* name) const;
    void decode();
    void decode_row(uint8_t* row) override;
    [[noreturn]] void fail(const char* why) const { throw FileError(name_, std::string("WebP: ") + why); }

    std::string name_;
    std::vector<uint8_t> bytes_;
    std::unique_ptr<WebPDemuxer, DemuxerCloser> demuxer_;
    WebPIterator frame_{};
    std::vector<uint8_t> pixels_; ///< of the frame, row_bytes() apart
    int32_t next_row_ = 0;
};

WebpReader::WebpReader(Input file, const std::string& name) : name_(name)
{
    read_file(*file);
    const WebPData data{bytes_.data(), bytes_.size()};
    demuxer_.reset(WebPDemux(&data));
    if (demuxer_ == nullptr || WebPDemuxGetFrame(demuxer_.get(), 1, &frame_) == 0) {
        fail("it is damaged or cut off");
    }
    describe();
}

void WebpReader::read_file(InputFile& file)
{
    constexpr size_t kPiece = size_t{1} << 20;
    size_t got = kPiece;
    for (size_t held = 0; got == kPiece; held += got) {
        if (held > kMaxBuffered) {
            fail("the file is too large");
        }
        bytes_.resize(held + kPiece);
        got = file.read(bytes_.data() + held, kPiece);
        bytes_.resize(held + got);
    }
    file.check();
}

bool WebpReader::next_page()
{
    if (WebPDemuxNextFrame(&frame_) == 0) {
        return false;
    }
    describe();
    return true;
}

void WebpReader::describe()
{
    check_size(name_, frame_.width, frame_.height, bytes_.size());
    info_ = {};
    info_.format = "WebP";
    info_.width = frame_.width;
    info_.height = frame_.height;
    info_.bits = frame_.has_alpha != 0 ? 32 : 24;
    info_.order = COLORORDER_BGR;
    const auto ask = [this](WebPFormatFeature feature) {
        return static_cast<int32_t>(WebPDemuxGetI(demuxer_.get(), feature));
    };
    if ((ask(WEBP_FF_FORMAT_FLAGS) & ANIMATION_FLAG) != 0) {
        const bool clears = frame_.dispose_method == WEBP_MUX_DISPOSE_BACKGROUND;
        info_.frame = {frame_.x_offset,
                       frame_.y_offset,
                       ask(WEBP_FF_CANVAS_WIDTH),
                       ask(WEBP_FF_CANVAS_HEIGHT),
                       frame_.duration,
                       clears ? Disposal::clear : Disposal::keep,
                       frame_.blend_method == WEBP_MUX_NO_BLEND,
                       ask(WEBP_FF_LOOP_COUNT)};
    }
    read_notes();
    pixels_.clear();
    next_row_ = 0;
}

std::vector<uint8_t> WebpReader::chunk(const char* name) const
{
    std::vector<uint8_t> bytes;
    WebPChunkIterator found{};
    if (WebPDemuxGetChunk(demuxer_.get(), name, 1, &found) != 0) {
        bytes.assign(found.chunk.bytes, found.chunk.bytes + found.chunk.size);
    }
    WebPDemuxReleaseChunkIterator(&found);
    return bytes;
}

/** Camera's notes have the name that they have in JPEG in front of them at times. */
void WebpReader::read_notes()
{
    constexpr char kName[] = "Exif\0";
    info_.profile = chunk("ICCP");
    const std::vector<uint8_t> bytes = chunk("EXIF");
    const bool named = bytes.size() > sizeof kName && std::memcmp(bytes.data(), kName, sizeof kName) == 0;
    const size_t skipped = named ? sizeof kName : 0;
    const ExifNotes notes = read_exif(bytes.data() + skipped, bytes.size() - skipped);
    info_.orientation = notes.orientation;
    info_.x_resolution = notes.x_resolution;
    info_.y_resolution = notes.y_resolution;
}

void WebpReader::decode()
{
    if (info_.data_bytes() > kMaxBuffered) {
        fail("the picture is too large");
    }
    pixels_.resize(info_.data_bytes());
    const auto into = info_.bits == 32 ? &WebPDecodeBGRAInto : &WebPDecodeBGRInto;
    const WebPData& data = frame_.fragment;
    if (into(data.bytes, data.size, pixels_.data(), pixels_.size(), static_cast<int>(info_.row_bytes())) == nullptr) {
        fail("the coded data is damaged");
    }
}

void WebpReader::decode_row(uint8_t* row)
{
    if (next_row_ == 0) {
        decode();
    }
    const size_t bytes = info_.row_bytes();
    std::memcpy(row, &pixels_[static_cast<size_t>(next_row_++) * bytes], bytes);
}

} // namespace

std::unique_ptr<PictureReader> read_webp(Input file, const std::string& name)
{
    return std::make_unique<WebpReader>(std::move(file), name);
}

} // namespace vk::tool
