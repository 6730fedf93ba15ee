/**
 * @file Jpeg_read.cpp
 * Reads JPEG files row by row: gray as 8 bits, colour as 24, four inks as what they look like on paper. The decoder
 * goes on after damage and only warns; here the warnings that mean lost pixels are errors. Of arithmetic-coded data
 * that ends too early it does not even warn, and decodes zeros; so the mark at the end is held back and zeros of our
 * own are handed to it before, which tell how many of them it takes.
 */
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Jpeg.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace vk::tool {

namespace {

/** More scans than any real progressive file has; each costs a pass over all pixels. */
constexpr int kMaxScans = 500;

constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned kMostNotes = 0xFFFF;

void on_message(j_common_ptr jpeg, int level)
{
    const int code = jpeg->err->msg_code;
    if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE)) {
        on_jpeg_error(jpeg);
    }
}

void on_progress(j_common_ptr jpeg)
{
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > kMaxScans) {
        auto* const errors = reinterpret_cast<JpegErrors*>(jpeg->err);
        std::snprintf(errors->text, sizeof errors->text, "more than %d scans", kMaxScans);
        std::longjmp(errors->jump, 1);
    }
}

/** Zeros before the end of arithmetic-coded data, of which an encoder leaves out the last ones that are due. */
constexpr JOCTET kZeros[64] = {};
constexpr size_t kZerosDue = 8; ///< more than any encoder leaves out

/** Where the decoder has its bytes from. */
struct JpegSource {
    jpeg_source_mgr manager; ///< first, so that a pointer to it is one to this
    InputFile* file;
    bool started;
    bool arithmetic;      ///< the end is looked for
    const JOCTET* behind; ///< the zeros: the mark at the end, once it is found
    size_t behind_count;
    JOCTET bytes[1 << 14];

    bool gives_zeros() const
    {
        return manager.next_input_byte >= kZeros && manager.next_input_byte <= std::end(kZeros);
    }
};

/** Parts the bytes at hand where the end of the picture is. */
void hold_end_back(JpegSource& source)
{
    constexpr JOCTET kEnd[] = {0xFF, JPEG_EOI};
    const JOCTET* const from = source.manager.next_input_byte;
    const JOCTET* const to = from + source.manager.bytes_in_buffer;
    const JOCTET* const end = std::search(from, to, std::begin(kEnd), std::end(kEnd));
    if (end != to && source.behind == nullptr) {
        source.behind = end;
        source.behind_count = static_cast<size_t>(to - end);
        source.manager.bytes_in_buffer = static_cast<size_t>(end - from);
    }
}

void give(jpeg_source_mgr& manager, const JOCTET* bytes, size_t count)
{
    manager.next_input_byte = bytes;
    manager.bytes_in_buffer = count;
}

/** A file that ends early is given an end-of-image mark, of which the decoder warns. */
boolean fill_input(j_decompress_ptr jpeg)
{
    auto* const source = reinterpret_cast<JpegSource*>(jpeg->src);
    if (source->behind_count != 0) {
        if (!source->gives_zeros()) {
            give(source->manager, kZeros, sizeof kZeros);
        } else {
            give(source->manager, source->behind, std::exchange(source->behind_count, 0));
        }
        return TRUE;
    }
    size_t count = source->file->read(source->bytes, sizeof source->bytes);
    if (count == 0) {
        if (!source->started) {
            ERREXIT(jpeg, JERR_INPUT_EMPTY);
        }
        WARNMS(jpeg, JWRN_JPEG_EOF);
        source->bytes[0] = 0xFF;
        source->bytes[1] = JPEG_EOI;
        count = 2;
    }
    source->started = true;
    give(source->manager, source->bytes, count);
    if (source->arithmetic) {
        hold_end_back(*source);
    }
    return TRUE;
}

void skip_input(j_decompress_ptr jpeg, long count)
{
    jpeg_source_mgr& manager = *jpeg->src;
    for (; count > 0 && static_cast<size_t>(count) > manager.bytes_in_buffer; fill_input(jpeg)) {
        count -= static_cast<long>(manager.bytes_in_buffer);
    }
    if (count > 0) {
        manager.next_input_byte += count;
        manager.bytes_in_buffer -= static_cast<size_t>(count);
    }
}

void read_from(jpeg_decompress_struct& jpeg, JpegSource& source, InputFile& file)
{
    source.file = &file;
    source.manager.init_source = [](j_decompress_ptr) {};
    source.manager.fill_input_buffer = &fill_input;
    source.manager.skip_input_data = &skip_input;
    source.manager.resync_to_restart = &jpeg_resync_to_restart;
    source.manager.term_source = [](j_decompress_ptr) {};
    jpeg.src = &source.manager;
}

class JpegReader : public PictureReader {
public:
    JpegReader(Input file, const std::string& name);
    ~JpegReader() override { jpeg_destroy_decompress(&jpeg_); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

private:
    void read_header();
    void describe();
    void read_notes();
    void start();
    void make_colors(uint8_t* row);
    void paper_colors(uint8_t* row) const;
    void decode_row(uint8_t* row) override;
    template <typename Step> void guard(Step step) { guard_jpeg(errors_, name_, step); }

    std::string name_;
    Input file_;
    JpegSource source_{};
    JpegErrors errors_{};
    jpeg_progress_mgr progress_{};
    jpeg_decompress_struct jpeg_{};
    std::vector<uint8_t> inks_; ///< a row of four samples a pixel
    int32_t next_row_ = 0;
};

JpegReader::JpegReader(Input file, const std::string& name) : name_(name), file_(std::move(file))
{
    jpeg_.err = report_to(errors_);
    errors_.manager.emit_message = &on_message;
    progress_.progress_monitor = &on_progress;
    try {
        read_header();
    } catch (...) {
        jpeg_destroy_decompress(&jpeg_);
        throw;
    }
}

void JpegReader::read_header()
{
    guard([&] {
        jpeg_create_decompress(&jpeg_);
        jpeg_.progress = &progress_;
        jpeg_.mem->max_memory_to_use = static_cast<long>(kMaxBuffered);
        read_from(jpeg_, source_, *file_);
        jpeg_save_markers(&jpeg_, kExifMarker, kMostNotes);
        jpeg_save_markers(&jpeg_, kProfileMarker, kMostNotes);
        jpeg_read_header(&jpeg_, TRUE);
    });
    const int channels = jpeg_.num_components;
    if (channels != 1 && channels != 3 && channels != 4) {
        throw FileError(name_, "JPEG: a picture of " + std::to_string(channels) + " channels");
    }
    check_size(name_, jpeg_.image_width, jpeg_.image_height, *file_);
    describe();
    read_notes();
}

void JpegReader::describe()
{
    const bool gray = jpeg_.num_components == 1;
    jpeg_.out_color_space = gray ? JCS_GRAYSCALE : jpeg_.num_components == 4 ? JCS_CMYK : kStoredColors;
    info_.format = "JPEG";
    info_.width = static_cast<int32_t>(jpeg_.image_width);
    info_.height = static_cast<int32_t>(jpeg_.image_height);
    info_.bits = gray ? 8 : 24;
    info_.order = gray ? COLORORDER_RGB : COLORORDER_BGR;
    info_.palette = gray ? gray_ramp(8) : std::vector<RGBQUAD>();
    if (jpeg_.num_components == 4) {
        inks_.resize(size_t{jpeg_.image_width} * 4);
    }
    if (jpeg_.saw_JFIF_marker != 0 && jpeg_.density_unit != 0) {
        const double inches = jpeg_.density_unit == 2 ? 2.54 : 1.0;
        info_.x_resolution = static_cast<int32_t>(jpeg_.X_density * inches + 0.5);
        info_.y_resolution = static_cast<int32_t>(jpeg_.Y_density * inches + 0.5);
    }
}

void JpegReader::read_notes()
{
    for (jpeg_saved_marker_ptr marker = jpeg_.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->marker == kExifMarker && marker->data_length > sizeof kExifName &&
            std::memcmp(marker->data, kExifName, sizeof kExifName) == 0) {
            const ExifNotes notes = read_exif(marker->data + sizeof kExifName, marker->data_length - sizeof kExifName);
            info_.orientation = notes.orientation;
            if (info_.x_resolution == 0) {
                info_.x_resolution = notes.x_resolution;
                info_.y_resolution = notes.y_resolution;
            }
        }
    }
    JOCTET* profile = nullptr;
    unsigned bytes = 0;
    if (jpeg_read_icc_profile(&jpeg_, &profile, &bytes) != 0) {
        // One for inks says nothing about the colours that they become here.
        (inks_.empty() ? info_.profile : ink_profile_).assign(profile, profile + bytes);
        std::free(profile);
    }
}

void JpegReader::start()
{
    if (jpeg_.arith_code != 0 && jpeg_.progressive_mode == 0) {
        source_.arithmetic = true;
        hold_end_back(source_);
    }
    guard([&] { jpeg_start_decompress(&jpeg_); });
}

void JpegReader::decode_row(uint8_t* row)
{
    if (next_row_ == 0) {
        start();
    }
    guard([&] {
        JSAMPROW rows[] = {inks_.empty() ? row : inks_.data()};
        jpeg_read_scanlines(&jpeg_, rows, 1);
    });
    if (source_.gives_zeros() && source_.manager.next_input_byte > kZeros + kZerosDue) {
        throw FileError(name_, "JPEG: the coded data ends too early");
    }
    if (!inks_.empty()) {
        make_colors(row);
    } else if (info_.bits == 24 && kStoredColors == JCS_RGB) {
        swap_red_blue(row, static_cast<size_t>(info_.width));
    }
    if (++next_row_ == info_.height) {
        guard([&] { jpeg_finish_decompress(&jpeg_); });
    }
}

void JpegReader::make_colors(uint8_t* row)
{
    if (!ink_conversion_) {
        return paper_colors(row);
    }
    if (jpeg_.saw_Adobe_marker != 0) {
        std::transform(inks_.begin(), inks_.end(), inks_.begin(), [](uint8_t ink) { return ~ink & 0xFF; });
    }
    ink_conversion_(inks_.data(), row, inks_.size() / 4);
}

/** Each primary is what cyan, magenta or yellow and black let through. Files with Adobe's mark, which are those that
 * exist, hold what is let through instead of what is printed. */
void JpegReader::paper_colors(uint8_t* row) const
{
    const uint8_t printed = jpeg_.saw_Adobe_marker != 0 ? 0 : 0xFF;
    for (size_t i = 0; i < inks_.size(); i += 4, row += 3) {
        const int black = inks_[i + 3] ^ printed;
        for (size_t c = 0; c < 3; ++c) {
            row[2 - c] = static_cast<uint8_t>(((inks_[i + c] ^ printed) * black + 127) / 255);
        }
    }
}

} // namespace

std::unique_ptr<PictureReader> read_jpeg(Input file, const std::string& name)
{
    return std::make_unique<JpegReader>(std::move(file), name);
}

} // namespace vk::tool
