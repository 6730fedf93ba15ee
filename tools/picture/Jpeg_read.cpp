/**
 * @file Jpeg_read.cpp
 * Reads JPEG files row by row: gray as 8 bits, colour as 24. The decoder is told to go on after damage and only warns;
 * here the warnings that mean lost pixels are errors. Its own errors come as long jumps: nothing with a destructor may
 * be made inside a guarded step.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"

#include <csetjmp>
#include <cstdio>

// After cstdio, whose FILE it needs.
#include <jerror.h>
#include <jpeglib.h>

namespace vk::tool {

namespace {

/** More scans than any real progressive file has; each costs a pass over all pixels. */
constexpr int kMaxScans = 500;

struct JpegErrors {
    jpeg_error_mgr manager; ///< first, so that a pointer to it is one to this
    std::jmp_buf jump;
    char text[JMSG_LENGTH_MAX];
};

[[noreturn]] void on_error(j_common_ptr jpeg)
{
    auto* const errors = reinterpret_cast<JpegErrors*>(jpeg->err);
    errors->manager.format_message(jpeg, errors->text);
    std::longjmp(errors->jump, 1);
}

void on_message(j_common_ptr jpeg, int level)
{
    const int code = jpeg->err->msg_code;
    if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE)) {
        on_error(jpeg);
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

/** Where the decoder has its bytes from. */
struct JpegSource {
    jpeg_source_mgr manager; ///< first, so that a pointer to it is one to this
    InputFile* file;
    bool started;
    JOCTET bytes[1 << 14];
};

/** A file that ends early is given an end-of-image mark, of which the decoder warns. */
boolean fill_input(j_decompress_ptr jpeg)
{
    auto* const source = reinterpret_cast<JpegSource*>(jpeg->src);
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
    source->manager.next_input_byte = source->bytes;
    source->manager.bytes_in_buffer = count;
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
    void decode_row(uint8_t* row) override;

    template <typename Step> void guard(Step step)
    {
        if (setjmp(errors_.jump) != 0) {
            throw FileError(name_, std::string("JPEG: ") + errors_.text);
        }
        step();
    }

    std::string name_;
    Input file_;
    JpegSource source_{};
    JpegErrors errors_{};
    jpeg_progress_mgr progress_{};
    jpeg_decompress_struct jpeg_{};
    int32_t next_row_ = 0;
};

JpegReader::JpegReader(Input file, const std::string& name) : name_(name), file_(std::move(file))
{
    jpeg_.err = jpeg_std_error(&errors_.manager);
    errors_.manager.error_exit = &on_error;
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
        jpeg_read_header(&jpeg_, TRUE);
    });
    if (jpeg_.num_components != 1 && jpeg_.num_components != 3) {
        throw FileError(name_, jpeg_.num_components == 4 ? "JPEG: CMYK pictures are not supported"
                                                         : "JPEG: only gray and RGB pictures are supported");
    }
    const bool gray = jpeg_.num_components == 1;
    jpeg_.out_color_space = gray ? JCS_GRAYSCALE : JCS_RGB;
    check_size(name_, jpeg_.image_width, jpeg_.image_height);
    info_.format = "JPEG";
    info_.width = static_cast<int32_t>(jpeg_.image_width);
    info_.height = static_cast<int32_t>(jpeg_.image_height);
    info_.bits = gray ? 8 : 24;
    info_.order = gray ? COLORORDER_RGB : COLORORDER_BGR;
    info_.palette = gray ? gray_ramp(8) : std::vector<RGBQUAD>();
    if (jpeg_.saw_JFIF_marker != 0 && jpeg_.density_unit != 0) {
        const double inches = jpeg_.density_unit == 2 ? 2.54 : 1.0;
        info_.x_resolution = static_cast<int32_t>(jpeg_.X_density * inches + 0.5);
        info_.y_resolution = static_cast<int32_t>(jpeg_.Y_density * inches + 0.5);
    }
}

void JpegReader::decode_row(uint8_t* row)
{
    if (next_row_ == 0) {
        guard([&] { jpeg_start_decompress(&jpeg_); });
    }
    guard([&] {
        JSAMPROW rows[] = {row};
        jpeg_read_scanlines(&jpeg_, rows, 1);
    });
    if (info_.bits == 24) {
        swap_red_blue(row, static_cast<size_t>(info_.width));
    }
    if (++next_row_ == info_.height) {
        guard([&] { jpeg_finish_decompress(&jpeg_); });
    }
}

} // namespace

std::unique_ptr<PictureReader> read_jpeg(Input file, const std::string& name)
{
    return std::make_unique<JpegReader>(std::move(file), name);
}

} // namespace vk::tool
