/**
 * @file Jpeg_write.cpp
 * Writes JPEG files row by row: grays as gray pictures, everything else as colours of 8 bits without alpha.
 */
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Jpeg.h"
#include "tools/picture/OutputFile.h"

#include <algorithm>
#include <optional>

namespace vk::tool {

namespace {

constexpr int64_t kMostPixels = 65500; ///< in a row or a column

/** Where the encoder's bytes go. */
struct JpegTarget {
    jpeg_destination_mgr manager; ///< first, so that a pointer to it is one to this
    OutputFile* file;
    JOCTET bytes[1 << 14];

    void start_over()
    {
        manager.next_output_byte = bytes;
        manager.free_in_buffer = sizeof bytes;
    }
};

JpegTarget& target_of(j_compress_ptr jpeg)
{
    return *reinterpret_cast<JpegTarget*>(jpeg->dest);
}

void put(j_compress_ptr jpeg, size_t count)
{
    JpegTarget& target = target_of(jpeg);
    if (!target.file->put(target.bytes, count)) {
        ERREXIT(jpeg, JERR_FILE_WRITE);
    }
    target.start_over();
}

boolean put_all(j_compress_ptr jpeg)
{
    put(jpeg, sizeof JpegTarget::bytes);
    return TRUE;
}

void put_rest(j_compress_ptr jpeg)
{
    put(jpeg, sizeof JpegTarget::bytes - jpeg->dest->free_in_buffer);
}

class JpegWriter : public PictureWriter {
public:
    JpegWriter(const std::string& name, const WriteOptions& options) : name_(name), options_(options) {}
    ~JpegWriter() override { jpeg_destroy_compress(&jpeg_); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    bool keeps_orientation() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override
    {
        guard([&] { jpeg_finish_compress(&jpeg_); });
        file_->commit();
    }

private:
    void set_up();
    void write_notes();
    template <typename Step> void guard(Step step) { guard_jpeg(errors_, name_, step); }

    std::string name_;
    WriteOptions options_;
    PictureInfo info_;
    bool gray_ = false;
    bool stored_ = false; ///< rows are taken as they are
    std::optional<OutputFile> file_;
    JpegTarget target_{};
    JpegErrors errors_{};
    jpeg_compress_struct jpeg_{};
    std::vector<uint8_t> row_; ///< as the encoder takes it
};

void JpegWriter::begin(const PictureInfo& info)
{
    if (info.width > kMostPixels || info.height > kMostPixels) {
        throw OperationError("JPEG holds at most " + std::to_string(kMostPixels) + " pixels in a row or a column");
    }
    info_ = info;
    gray_ = info.order == COLORORDER_GRAY || is_gray(info.palette);
    stored_ = info.bits == 24 && info.order == COLORORDER_BGR && kStoredColors != JCS_RGB;
    row_.resize(static_cast<size_t>(info.width) * (gray_ ? 1 : 3));
    file_.emplace(name_);
    jpeg_.err = report_to(errors_);
    guard([&] { jpeg_create_compress(&jpeg_); });
    target_.file = &*file_;
    target_.manager.init_destination = [](j_compress_ptr jpeg) { target_of(jpeg).start_over(); };
    target_.manager.empty_output_buffer = &put_all;
    target_.manager.term_destination = &put_rest;
    jpeg_.dest = &target_.manager;
    guard([&] { set_up(); });
    write_notes();
}

void JpegWriter::set_up()
{
    jpeg_.image_width = static_cast<JDIMENSION>(info_.width);
    jpeg_.image_height = static_cast<JDIMENSION>(info_.height);
    jpeg_.input_components = gray_ ? 1 : 3;
    jpeg_.in_color_space = gray_ ? JCS_GRAYSCALE : stored_ ? kStoredColors : JCS_RGB;
    jpeg_set_defaults(&jpeg_);
    jpeg_set_quality(&jpeg_, options_.quality, TRUE);
    jpeg_.optimize_coding = options_.optimized ? TRUE : FALSE;
    if (!gray_) {
        jpeg_.comp_info[0].h_samp_factor = options_.chroma_across;
        jpeg_.comp_info[0].v_samp_factor = options_.chroma_down;
    }
    if (info_.x_resolution > 0 && info_.y_resolution > 0) {
        jpeg_.density_unit = 1;
        jpeg_.X_density = static_cast<UINT16>(std::min(info_.x_resolution, 0xFFFF));
        jpeg_.Y_density = static_cast<UINT16>(std::min(info_.y_resolution, 0xFFFF));
    }
    if (options_.progressive) {
        jpeg_simple_progression(&jpeg_);
    }
    jpeg_start_compress(&jpeg_, TRUE);
}

void JpegWriter::write_notes()
{
    if (info_.orientation != TOP_LEFT) {
        std::vector<uint8_t> notes(std::begin(kExifName), std::end(kExifName));
        const std::vector<uint8_t> exif = write_exif({.orientation = info_.orientation});
        notes.insert(notes.end(), exif.begin(), exif.end());
        guard([&] { jpeg_write_marker(&jpeg_, kExifMarker, notes.data(), static_cast<unsigned>(notes.size())); });
    }
    if (!info_.profile.empty()) {
        const auto bytes = static_cast<unsigned>(info_.profile.size());
        guard([&] { jpeg_write_icc_profile(&jpeg_, info_.profile.data(), bytes); });
    }
}

void JpegWriter::write_row(const uint8_t* row)
{
    if (!stored_) {
        plain_samples(info_, row, gray_, row_.data());
    }
    guard([&] {
        JSAMPROW rows[] = {stored_ ? const_cast<JSAMPROW>(row) : row_.data()}; // which the encoder only reads
        jpeg_write_scanlines(&jpeg_, rows, 1);
    });
}

} // namespace

std::unique_ptr<PictureWriter> write_jpeg(const std::string& name, const WriteOptions& options)
{
    return std::make_unique<JpegWriter>(name, options);
}

} // namespace vk::tool
