/**
 * @file Tiff_write.cpp
 * Writes TIFF files row by row, pages one behind the other, in strips of some 64 KiB. Palettes that are gray ramps
 * become grays; pages of 1 bit are packed as facsimiles and everything else by deflate, unless another way is asked
 * for.
 */
#include "tools/picture/Formats.h"
#include "tools/picture/OutputFile.h"
#include "tools/picture/Tiff.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace vk::tool {

namespace {

tmsize_t read_bytes(thandle_t file, void* bytes, tmsize_t count)
{
    return static_cast<tmsize_t>(static_cast<OutputFile*>(file)->get(bytes, static_cast<size_t>(count)));
}

tmsize_t write_bytes(thandle_t file, void* bytes, tmsize_t count)
{
    return static_cast<OutputFile*>(file)->put(bytes, static_cast<size_t>(count)) ? count : -1;
}

toff_t seek_bytes(thandle_t file, toff_t offset, int whence)
{
    return static_cast<toff_t>(static_cast<OutputFile*>(file)->seek(static_cast<int64_t>(offset), whence));
}

toff_t size_of_file(thandle_t)
{
    return 0;
}

struct Compression {
    const char* name;
    uint16_t value;
    uint16_t predictor; ///< for samples of 8 and 16 bits
};

constexpr Compression kCompressions[] = {
    {"none", COMPRESSION_NONE, 0},
    {"packbits", COMPRESSION_PACKBITS, 0},
    {"lzw", COMPRESSION_LZW, PREDICTOR_HORIZONTAL},
    {"deflate", COMPRESSION_ADOBE_DEFLATE, PREDICTOR_HORIZONTAL},
    {"group3", COMPRESSION_CCITTFAX3, 0},
    {"group4", COMPRESSION_CCITTFAX4, 0},
    {"jpeg", COMPRESSION_JPEG, 0},
};

const Compression& compression_of(const WriteOptions& options, int32_t bits)
{
    const std::string name = !options.compression.empty() ? options.compression : bits == 1 ? "group4" : "deflate";
    const auto found = std::find_if(std::begin(kCompressions), std::end(kCompressions),
                                    [&](const Compression& compression) { return name == compression.name; });
    if (found == std::end(kCompressions)) {
        throw UsageError("--compression does not know " + name);
    }
    const bool facsimile = found->value == COMPRESSION_CCITTFAX3 || found->value == COMPRESSION_CCITTFAX4;
    const bool jpeg = found->value == COMPRESSION_JPEG;
    if ((facsimile && bits != 1) || (jpeg && bits != 8 && bits != 24)) {
        throw OperationError("TIFF: " + name + " does not hold pictures of " + std::to_string(bits) +
                             " bits per pixel");
    }
    return *found;
}

class TiffWriter : public PictureWriter {
public:
    TiffWriter(const std::string& name, const WriteOptions& options) : name_(name), options_(options) {}
    TiffWriter(const TiffWriter&) = delete;
    TiffWriter& operator=(const TiffWriter&) = delete;

    bool keeps_orientation() const override { return true; }
    bool keeps_pages() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override;

private:
    void set_form(const Compression& compression);
    void set_colors();
    void set_notes();
    void end_page();
    template <typename... Values> void set(uint32_t tag, Values... values)
    {
        if (TIFFSetField(tiff_.get(), tag, values...) == 0) {
            throw_tiff_error(name_);
        }
    }

    std::string name_;
    WriteOptions options_;
    PictureInfo info_;
    std::optional<OutputFile> file_;
    Tiff tiff_; ///< after the file it writes to
    std::vector<uint8_t> row_;
    uint32_t next_row_ = 0;
};

void TiffWriter::begin(const PictureInfo& info)
{
    const Compression& compression = compression_of(options_, info.bits);
    info_ = info;
    if (tiff_ == nullptr) {
        file_.emplace(name_);
        constexpr uint64_t kClassicMost = uint64_t{4000} << 20;
        const char* const mode = options_.big || info.data_bytes() > kClassicMost ? "w8m" : "wm";
        tiff_ = open_tiff(name_, mode, &*file_, &read_bytes, &write_bytes, &seek_bytes, &size_of_file);
    } else {
        end_page();
    }
    set_form(compression);
    set_colors();
    set_notes();
    row_.resize(info.row_bytes());
    next_row_ = 0;
}

void TiffWriter::set_form(const Compression& compression)
{
    const bool gray = info_.bits <= 8 || info_.order == COLORORDER_GRAY;
    const int channels = gray ? 1 : info_.bits % 32 == 0 ? 4 : 3;
    const int sample = info_.bits / channels;
    set(TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(info_.width));
    set(TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(info_.height));
    set(TIFFTAG_BITSPERSAMPLE, sample);
    set(TIFFTAG_SAMPLESPERPIXEL, channels);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_COMPRESSION, compression.value);
    if (channels == 4) {
        const uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        set(TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    if (compression.predictor != 0 && sample >= 8) {
        set(TIFFTAG_PREDICTOR, compression.predictor);
    }
    if (compression.value == COMPRESSION_ADOBE_DEFLATE) {
        set(TIFFTAG_ZIPQUALITY, std::max(options_.effort.value_or(kUsualEffort), 1));
    }
    if (compression.value == COMPRESSION_JPEG) {
        set(TIFFTAG_JPEGQUALITY, options_.quality);
    }
    set(TIFFTAG_ROWSPERSTRIP, compression.value == COMPRESSION_CCITTFAX4
                                  ? static_cast<uint32_t>(info_.height)
                                  : TIFFDefaultStripSize(tiff_.get(), uint32_t(-1)) / 8 * 8 + 8);
}

/** Grays, the entries of a palette, or colours. Two colours of facsimiles are white and black on paper. */
void TiffWriter::set_colors()
{
    std::vector<RGBQUAD> reversed = gray_ramp(std::min(info_.bits, 8));
    const bool ramp = info_.bits <= 8 && same_palette(info_.palette, reversed);
    std::reverse(reversed.begin(), reversed.end());
    if (info_.bits > 8) {
        set(TIFFTAG_PHOTOMETRIC, info_.order == COLORORDER_GRAY ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    } else if (ramp) {
        set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    } else if (same_palette(info_.palette, reversed)) {
        set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    } else {
        std::vector<uint16_t> maps[3];
        for (const RGBQUAD& color : info_.palette) {
            maps[0].push_back(static_cast<uint16_t>(color.rgbRed * 257));
            maps[1].push_back(static_cast<uint16_t>(color.rgbGreen * 257));
            maps[2].push_back(static_cast<uint16_t>(color.rgbBlue * 257));
        }
        set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
        set(TIFFTAG_COLORMAP, maps[0].data(), maps[1].data(), maps[2].data());
    }
}

void TiffWriter::set_notes()
{
    if (info_.orientation != TOP_LEFT) {
        set(TIFFTAG_ORIENTATION, info_.orientation);
    }
    if (info_.x_resolution > 0 && info_.y_resolution > 0) {
        set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        set(TIFFTAG_XRESOLUTION, static_cast<double>(info_.x_resolution));
        set(TIFFTAG_YRESOLUTION, static_cast<double>(info_.y_resolution));
    }
    if (!info_.profile.empty()) {
        set(TIFFTAG_ICCPROFILE, static_cast<uint32_t>(info_.profile.size()), info_.profile.data());
    }
}

void TiffWriter::write_row(const uint8_t* row)
{
    const auto width = static_cast<size_t>(info_.width);
    std::memcpy(row_.data(), row, row_.size()); // the library may change what it is given
    if (info_.order == COLORORDER_BGR) {
        const bool wide = info_.bits >= 48;
        const size_t channels = info_.bits % 32 == 0 ? 4 : 3;
        if (wide) {
            swap_red_blue(reinterpret_cast<uint16_t*>(row_.data()), width, channels);
        } else {
            swap_red_blue(row_.data(), width, channels);
        }
    }
    if (TIFFWriteScanline(tiff_.get(), row_.data(), next_row_++, 0) < 0) {
        throw_tiff_error(name_);
    }
}

void TiffWriter::end_page()
{
    if (TIFFWriteDirectory(tiff_.get()) == 0) {
        throw_tiff_error(name_);
    }
}

void TiffWriter::finish()
{
    end_page();
    tiff_.reset();
    file_->commit();
}

} // namespace

std::unique_ptr<PictureWriter> write_tiff(const std::string& name, const WriteOptions& options)
{
    return std::make_unique<TiffWriter>(name, options);
}

} // namespace vk::tool
