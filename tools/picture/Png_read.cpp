/**
 * @file Png_read.cpp
 * Reads PNG files of every depth. Indexed and gray pictures of up to 8 bits keep their depth and palette; what has
 * transparency of any kind becomes colour with alpha. Interlaced files are decoded as a whole, others row by row.
 */
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"
#include "tools/picture/Png.h"

#include <cstring>

namespace vk::tool {

namespace {

void read_png_bytes(png_structp png, png_bytep bytes, size_t count)
{
    if (static_cast<InputFile*>(png_get_io_ptr(png))->read(bytes, count) != count) {
        png_error(png, "Read Error");
    }
}

class PngReader : public PictureReader {
public:
    PngReader(Input file, const std::string& name);
    ~PngReader() override { png_destroy_read_struct(&png_, &header_, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

private:
    void read_header();
    void check_file_size(uint64_t encoded_row) const;
    void describe(int depth, int colour, bool transparent);
    void read_palette();
    void read_resolution();
    void read_notes();
    void read_interlaced();
    void decode_row(uint8_t* row) override;
    template <typename Step> void guard(Step step) { guard_png(png_, error_, name_, step); }

    std::string name_;
    Input file_;
    PngError error_;
    png_structp png_ = nullptr;
    png_infop header_ = nullptr;
    bool interlaced_ = false;
    int32_t next_row_ = 0;
    std::vector<uint8_t> whole_;    ///< all rows of an interlaced picture, row_bytes() apart
    std::vector<png_bytep> starts_; ///< of the rows in whole_
};

PngReader::PngReader(Input file, const std::string& name) : name_(name), file_(std::move(file))
{
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error_, &on_png_error, &on_png_warning);
    header_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    try {
        if (header_ == nullptr) {
            throw FileError(name_, std::string("PNG: cannot start reading: ") + error_.text);
        }
        read_header();
    } catch (...) {
        png_destroy_read_struct(&png_, &header_, nullptr);
        throw;
    }
}

void PngReader::read_header()
{
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int depth = 0;
    int colour = 0;
    bool transparent = false;
    size_t encoded_row = 0;
    guard([&] {
        png_set_read_fn(png_, file_.get(), &read_png_bytes);
        png_set_user_limits(png_, kMaxWidth, kMaxHeight);
        png_read_info(png_, header_);
        int interlace = 0;
        png_get_IHDR(png_, header_, &width, &height, &depth, &colour, &interlace, nullptr, nullptr);
        interlaced_ = interlace != PNG_INTERLACE_NONE;
        transparent = (colour & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, header_, PNG_INFO_tRNS) != 0;
        encoded_row = png_get_rowbytes(png_, header_);
        if (transparent) {
            png_set_expand(png_);
            png_set_gray_to_rgb(png_);
        }
        png_set_bgr(png_);
        png_set_swap(png_);
        png_set_interlace_handling(png_);
        png_read_update_info(png_, header_);
    });
    check_size(name_, width, height, *file_);
    info_.width = static_cast<int32_t>(width);
    info_.height = static_cast<int32_t>(height);
    check_file_size(encoded_row);
    describe(depth, colour, transparent);
}

/** No deflate stream stands for more than 1032 times its size: refuses small files that claim to be vast. */
void PngReader::check_file_size(uint64_t encoded_row) const
{
    const std::optional<uint64_t> size = file_->size();
    if (size && (encoded_row + 1) * static_cast<uint64_t>(info_.height) / 1032 > *size) {
        throw FileError(name_, "PNG: the file is too short for " + std::to_string(info_.width) + " x " +
                                   std::to_string(info_.height) + " pixels");
    }
}

void PngReader::describe(int depth, int colour, bool transparent)
{
    info_.format = "PNG";
    const int32_t sample = depth == 16 ? 16 : 8;
    if (transparent) {
        info_.bits = 4 * sample;
        info_.order = COLORORDER_BGR;
    } else if (colour == PNG_COLOR_TYPE_RGB) {
        info_.bits = 3 * sample;
        info_.order = COLORORDER_BGR;
    } else if (depth == 16) {
        info_.bits = 16;
        info_.order = COLORORDER_GRAY;
    } else {
        info_.bits = depth;
        info_.palette = gray_ramp(depth);
    }
    if (colour == PNG_COLOR_TYPE_PALETTE && !transparent) {
        read_palette();
    }
    read_resolution();
    read_notes();
    if (png_get_rowbytes(png_, header_) > info_.row_bytes()) {
        throw FileError(name_, "PNG: unexpected row size");
    }
}

/** Entries that the file leaves out are black. */
void PngReader::read_palette()
{
    png_colorp entries = nullptr;
    int count = 0;
    guard([&] { png_get_PLTE(png_, header_, &entries, &count); });
    info_.palette.assign(size_t{1} << info_.bits, RGBQUAD{0, 0, 0, 0});
    for (size_t i = 0; i < std::min(static_cast<size_t>(count), info_.palette.size()); ++i) {
        info_.palette[i] = {entries[i].blue, entries[i].green, entries[i].red, 0};
    }
}

void PngReader::read_resolution()
{
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    guard([&] { png_get_pHYs(png_, header_, &x, &y, &unit); });
    if (unit == PNG_RESOLUTION_METER) {
        info_.x_resolution = static_cast<int32_t>(x * 0.0254 + 0.5);
        info_.y_resolution = static_cast<int32_t>(y * 0.0254 + 0.5);
    }
}

void PngReader::read_notes()
{
    png_bytep notes = nullptr;
    png_uint_32 count = 0;
    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 bytes = 0;
    guard([&] {
        png_get_eXIf_1(png_, header_, &count, &notes);
        png_get_iCCP(png_, header_, &name, &compression, &profile, &bytes);
    });
    info_.orientation = read_exif(notes, notes == nullptr ? 0 : count).orientation;
    if (profile != nullptr) {
        info_.profile.assign(profile, profile + bytes);
    }
}

void PngReader::read_interlaced()
{
    if (info_.data_bytes() > kMaxBuffered) {
        throw FileError(name_, "PNG: the interlaced picture is too large");
    }
    whole_.resize(info_.data_bytes());
    for (int32_t row = 0; row < info_.height; ++row) {
        starts_.push_back(whole_.data() + static_cast<size_t>(row) * info_.row_bytes());
    }
    guard([&] { png_read_image(png_, starts_.data()); });
}

void PngReader::decode_row(uint8_t* row)
{
    if (interlaced_) {
        if (next_row_ == 0) {
            read_interlaced();
        }
        std::memcpy(row, starts_[static_cast<size_t>(next_row_)], info_.row_bytes());
    } else {
        guard([&] { png_read_row(png_, row, nullptr); });
    }
    if (++next_row_ == info_.height) {
        // The end of the file is part of it: a cut one is found here at the latest.
        guard([&] { png_read_end(png_, nullptr); });
    }
}

} // namespace

std::unique_ptr<PictureReader> read_png(Input file, const std::string& name)
{
    return std::make_unique<PngReader>(std::move(file), name);
}

} // namespace vk::tool
