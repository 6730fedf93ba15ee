/**
 * @file Tiff_read.cpp
 * Reads TIFF files, page by page, with rows in strips or tiles, samples side by side or in planes. Grays, palettes
 * and colours of whole samples come as they are, with 16 bits where they have more than 8; what is left (inks,
 * luminance and chrominance, measured colours) the library makes into colours of 8 bits, a strip or row of tiles at a
 * time.
 */
#include "tools/picture/Formats.h"
#include "tools/picture/Tiff.h"
#include "tools/picture/TiffSamples.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vk::tool {

namespace {

tmsize_t read_bytes(thandle_t file, void* bytes, tmsize_t count)
{
    return static_cast<tmsize_t>(static_cast<InputFile*>(file)->read(bytes, static_cast<size_t>(count)));
}

toff_t seek_bytes(thandle_t file, toff_t offset, int whence)
{
    return static_cast<toff_t>(static_cast<InputFile*>(file)->seek(static_cast<int64_t>(offset), whence));
}

toff_t size_of_file(thandle_t file)
{
    return static_cast<InputFile*>(file)->size().value_or(0);
}

class TiffReader : public PictureReader {
public:
    TiffReader(Input file, const std::string& name);
    bool next_page() override;

private:
    void open_page();
    void read_header();
    void read_alpha();
    bool is_direct() const;
    void describe_direct();
    void read_colors();
    void read_notes();
    void make_room();
    void decode_row(uint8_t* row) override;
    void fetch(uint32_t first, uint32_t count);
    void fetch_tiles(uint32_t first);
    void fetch_rows(uint32_t first, uint32_t count);
    void fetch_colors(uint32_t first, uint32_t count);
    uint32_t sample(const uint8_t* row, size_t index) const { return samples_.get(row, index); }
    bool has_inks() const;
    void take_inks();
    void pack_inks(const uint8_t* line, uint8_t* row);
    void pack(const uint8_t* line, uint8_t* row) const;
    void pack_indices(const uint8_t* line, uint8_t* row) const;
    void unpremultiply(uint32_t* pixel) const;
    size_t line_bytes() const { return is_planar() ? plane_line_ * samples_.count : plane_line_; }
    bool is_planar() const { return samples_.planes == PLANARCONFIG_SEPARATE && samples_.count > 1; }
    uint32_t rows_at_a_time() const;

    std::string name_;
    Input file_;
    Tiff tiff_;
    TiffSamples samples_;
    bool direct_ = false;
    std::vector<uint8_t> inks_; ///< a row of four samples a pixel, where a profile says what they look like
    uint32_t tile_width_ = 0;   ///< 0: strips
    uint32_t tile_height_ = 0;
    size_t plane_line_ = 0;       ///< bytes of a row, of a plane's where there are planes
    std::vector<uint8_t> lines_;  ///< rows as they are in the file; planes of a row follow each other
    std::vector<uint8_t> block_;  ///< a tile, or a strip of another row order
    std::vector<uint32_t> paint_; ///< a strip or row of tiles in the library's own colours
    uint32_t first_ = 0;          ///< the row that lines_ or paint_ begins with
    uint32_t held_ = 0;           ///< rows in it
    uint32_t next_row_ = 0;
};

TiffReader::TiffReader(Input file, const std::string& name) : name_(name), file_(std::move(file))
{
    tiff_ = open_tiff(
        name_, "rm", file_.get(), &read_bytes, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; }, &seek_bytes,
        &size_of_file);
    open_page();
}

bool TiffReader::next_page()
{
    if (TIFFLastDirectory(tiff_.get()) != 0) {
        return false;
    }
    g_tiff_error[0] = 0;
    if (TIFFReadDirectory(tiff_.get()) == 0) {
        throw_tiff_error(name_);
    }
    open_page();
    return true;
}

void TiffReader::open_page()
{
    info_ = {};
    samples_ = {};
    ink_profile_.clear();
    ink_conversion_ = nullptr;
    inks_.clear();
    tile_width_ = first_ = held_ = next_row_ = 0;
    read_header();
    direct_ = is_direct();
    if (direct_) {
        describe_direct();
    } else {
        char why[1024] = "";
        if (TIFFRGBAImageOK(tiff_.get(), why) == 0) {
            throw FileError(name_, std::string("TIFF: ") + why);
        }
        info_.bits = samples_.alpha ? 32 : 24;
        info_.order = COLORORDER_BGR;
        samples_.bits = has_inks() ? samples_.bits : uint16_t{8}; // of what the library makes
        samples_.premultiplied = samples_.alpha;
    }
    read_notes();
    make_room();
}

void TiffReader::read_header()
{
    TIFF* const tiff = tiff_.get();
    uint32_t width = 0;
    uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    check_size(name_, width, height, *file_);
    info_.format = "TIFF";
    info_.width = static_cast<int32_t>(width);
    info_.height = static_cast<int32_t>(height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &samples_.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples_.count);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &samples_.planes);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &samples_.format);
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &samples_.photometric) == 0) {
        samples_.photometric = samples_.count >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISWHITE;
    }
    uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    if (TIFFIsCODECConfigured(compression) == 0) {
        throw FileError(name_, "TIFF: its compression, " + std::to_string(compression) + ", is not known here");
    }
    if (compression == COMPRESSION_JPEG && samples_.photometric == PHOTOMETRIC_YCBCR &&
        samples_.planes == PLANARCONFIG_CONTIG) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        samples_.photometric = PHOTOMETRIC_RGB;
    }
    read_alpha();
    if (TIFFIsTiled(tiff) != 0) {
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tile_width_);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tile_height_);
    }
}

void TiffReader::read_alpha()
{
    uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_EXTRASAMPLES, &samples_.extra, &kinds);
    samples_.extra = std::min<uint16_t>(samples_.extra, static_cast<uint16_t>(samples_.count - 1));
    if (samples_.extra > 0) {
        samples_.premultiplied = kinds[0] == EXTRASAMPLE_ASSOCALPHA;
        samples_.alpha = samples_.premultiplied || kinds[0] == EXTRASAMPLE_UNASSALPHA;
    }
}

/** Whether the samples can be taken as they are. */
bool TiffReader::is_direct() const
{
    if (samples_.format != SAMPLEFORMAT_UINT || samples_.bits < 1 || samples_.bits > 16) {
        return false;
    }
    switch (samples_.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return samples_.colors() == 1;
    case PHOTOMETRIC_PALETTE:
        return samples_.colors() == 1 && samples_.bits <= 8 && !samples_.alpha;
    case PHOTOMETRIC_RGB:
        return samples_.colors() == 3;
    default:
        return false;
    }
}

void TiffReader::describe_direct()
{
    const int32_t sample = samples_.bits > 8 ? 16 : 8;
    info_.order = COLORORDER_BGR;
    if (samples_.alpha) {
        info_.bits = 4 * sample;
    } else if (samples_.photometric == PHOTOMETRIC_RGB) {
        info_.bits = 3 * sample;
    } else if (sample == 16) {
        info_.bits = 16;
        info_.order = COLORORDER_GRAY;
    } else {
        info_.bits = samples_.bits <= 2 ? samples_.bits : samples_.bits <= 4 ? 4 : 8;
        info_.order = COLORORDER_RGB;
        read_colors();
    }
}

/** The colour map, or the ramp of as many grays as samples can tell apart; entries that none can name are black. */
void TiffReader::read_colors()
{
    const size_t count = size_t{1} << samples_.bits;
    info_.palette.assign(size_t{1} << info_.bits, RGBQUAD{});
    uint16_t* maps[3] = {};
    if (samples_.photometric == PHOTOMETRIC_PALETTE) {
        if (TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 0) {
            throw FileError(name_, "TIFF: the colour map is missing");
        }
        // Some programs write entries of 8 bits, others the 8 bits with zeros behind them.
        const bool deep = std::any_of(maps, maps + 3, [count](const uint16_t* map) {
            return std::any_of(map, map + count, [](uint16_t value) { return value > 0xFF; });
        });
        const auto byte = [deep](uint16_t value) { return static_cast<uint8_t>(deep ? value >> 8 : value); };
        for (size_t i = 0; i < count; ++i) {
            info_.palette[i] = {byte(maps[2][i]), byte(maps[1][i]), byte(maps[0][i]), 0};
        }
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        const size_t level = samples_.photometric == PHOTOMETRIC_MINISWHITE ? count - 1 - i : i;
        const auto gray = static_cast<uint8_t>(level * 255 / (count - 1));
        info_.palette[i] = {gray, gray, gray, 0};
    }
}

void TiffReader::read_notes()
{
    TIFF* const tiff = tiff_.get();
    uint16_t orientation = ORIENTATION_TOPLEFT;
    uint16_t unit = RESUNIT_INCH;
    float across = 0;
    float down = 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    info_.orientation = orientation >= 1 && orientation <= 8 ? orientation : TOP_LEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (unit != RESUNIT_NONE && TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &across) != 0 &&
        TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &down) != 0) {
        const double inches = unit == RESUNIT_CENTIMETER ? 2.54 : 1;
        const auto dots = [inches](double value) {
            return value > 0 && value < 1e6 ? static_cast<int32_t>(value * inches + 0.5) : 0;
        };
        info_.x_resolution = dots(across);
        info_.y_resolution = dots(down);
    }
    uint32_t bytes = 0;
    const uint8_t* profile = nullptr;
    if ((direct_ || has_inks()) && TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &bytes, &profile) != 0) {
        // One for inks says nothing about the colours that the library makes of them.
        (direct_ ? info_.profile : ink_profile_).assign(profile, profile + bytes);
    }
}

bool TiffReader::has_inks() const
{
    uint16_t set = INKSET_CMYK;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_INKSET, &set);
    return samples_.photometric == PHOTOMETRIC_SEPARATED && set == INKSET_CMYK && samples_.colors() == 4 &&
           !samples_.alpha && samples_.format == SAMPLEFORMAT_UINT && (samples_.bits == 8 || samples_.bits == 16);
}

/** Has the inks themselves come, for the conversion that was given since the page was opened. */
void TiffReader::take_inks()
{
    direct_ = true;
    inks_.resize(static_cast<size_t>(info_.width) * 4);
    make_room();
}

uint32_t TiffReader::rows_at_a_time() const
{
    if (tile_width_ != 0) {
        return tile_height_;
    }
    uint32_t rows = 1;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_ROWSPERSTRIP, &rows);
    return std::min<uint32_t>(rows, static_cast<uint32_t>(info_.height));
}

/** Rows of the file come one at a time from strips and by rows of tiles; the library's own colours by either. */
void TiffReader::make_room()
{
    const auto width = static_cast<uint64_t>(info_.width);
    const uint64_t rows = direct_ && tile_width_ == 0 ? 1 : rows_at_a_time();
    const uint64_t across = tile_width_ == 0 ? width : (width + tile_width_ - 1) / tile_width_ * tile_width_;
    const uint64_t planes = is_planar() ? samples_.count : 1;
    const uint64_t bits = across * samples_.bits * (is_planar() ? 1 : samples_.count);
    const uint64_t bytes = direct_ ? (bits + 7) / 8 * planes * rows : width * rows * sizeof(uint32_t);
    if (rows == 0 || bytes / rows > std::numeric_limits<uint32_t>::max() || bytes > kMaxBuffered) {
        throw FileError(name_, "TIFF: its strips or tiles are too large");
    }
    if (!direct_) {
        paint_.resize(width * rows);
        return;
    }
    plane_line_ = static_cast<size_t>((bits + 7) / 8);
    lines_.resize(static_cast<size_t>(bytes));
    const tmsize_t need = tile_width_ != 0 ? TIFFTileSize(tiff_.get()) : TIFFScanlineSize(tiff_.get());
    if (need <= 0 || static_cast<uint64_t>(need) > kMaxBuffered) {
        throw_tiff_error(name_);
    }
    block_.resize(static_cast<size_t>(need));
}

/** Brings rows of the file into lines_ or paint_. */
void TiffReader::fetch(uint32_t first, uint32_t count)
{
    g_tiff_error[0] = 0;
    if (!direct_) {
        fetch_colors(first, count);
    } else if (tile_width_ != 0) {
        fetch_tiles(first);
    } else {
        fetch_rows(first, count);
    }
    first_ = first;
    held_ = count;
}

void TiffReader::fetch_rows(uint32_t first, uint32_t count)
{
    const uint16_t planes = is_planar() ? samples_.count : 1;
    for (uint32_t row = 0; row < count; ++row) {
        for (uint16_t plane = 0; plane < planes; ++plane) {
            if (TIFFReadScanline(tiff_.get(), block_.data(), first + row, plane) < 0) {
                throw_tiff_error(name_);
            }
            std::memcpy(&lines_[row * line_bytes() + plane * plane_line_], block_.data(),
                        std::min(plane_line_, block_.size()));
        }
    }
}

void TiffReader::fetch_tiles(uint32_t first)
{
    const uint16_t planes = is_planar() ? samples_.count : 1;
    const auto tile_line = static_cast<size_t>(TIFFTileRowSize(tiff_.get()));
    for (uint16_t plane = 0; plane < planes; ++plane) {
        size_t at = plane * plane_line_;
        for (uint32_t x = 0; x < static_cast<uint32_t>(info_.width); x += tile_width_, at += tile_line) {
            if (TIFFReadTile(tiff_.get(), block_.data(), x, first, 0, plane) < 0) {
                throw_tiff_error(name_);
            }
            const size_t left = (plane + size_t{1}) * plane_line_ - at;
            for (uint32_t row = 0; row < tile_height_; ++row) {
                std::memcpy(&lines_[row * line_bytes() + at], &block_[row * tile_line], std::min(tile_line, left));
            }
        }
    }
}

/** The library gives strips and tiles from the bottom up. */
void TiffReader::fetch_colors(uint32_t first, uint32_t count)
{
    const auto width = static_cast<uint32_t>(info_.width);
    if (tile_width_ == 0) {
        if (TIFFReadRGBAStripExt(tiff_.get(), first, paint_.data(), 1) == 0) {
            throw_tiff_error(name_);
        }
        for (uint32_t top = 0, bottom = count - 1; top < bottom; ++top, --bottom) {
            std::swap_ranges(&paint_[size_t{top} * width], &paint_[size_t{top} * width] + width,
                             &paint_[size_t{bottom} * width]);
        }
        return;
    }
    std::vector<uint32_t> tile(size_t{tile_width_} * tile_height_);
    for (uint32_t x = 0; x < width; x += tile_width_) {
        if (TIFFReadRGBATileExt(tiff_.get(), x, first, tile.data(), 1) == 0) {
            throw_tiff_error(name_);
        }
        for (uint32_t row = 0; row < count; ++row) {
            std::copy_n(&tile[size_t{tile_height_ - 1 - row} * tile_width_], std::min(tile_width_, width - x),
                        &paint_[size_t{row} * width + x]);
        }
    }
}

void TiffReader::pack_indices(const uint8_t* line, uint8_t* row) const
{
    const auto bits = static_cast<size_t>(info_.bits);
    if (bits == samples_.bits && samples_.count == 1) {
        std::memcpy(row, line, std::min(plane_line_, info_.row_bytes())); // tiles reach beyond the picture
        return;
    }
    const size_t step = is_planar() ? 1 : samples_.count;
    std::memset(row, 0, info_.row_bytes());
    for (size_t x = 0; x < static_cast<size_t>(info_.width); ++x) {
        row[x * bits / 8] =
            static_cast<uint8_t>(row[x * bits / 8] | sample(line, x * step) << (8 - bits - x * bits % 8));
    }
}

void TiffReader::unpremultiply(uint32_t* pixel) const
{
    const uint32_t most = (1u << samples_.bits) - 1;
    for (int c = 0; c < 3 && samples_.premultiplied; ++c) {
        const uint64_t whole = pixel[3] == 0 ? 0 : (uint64_t{pixel[c]} * most + pixel[3] / 2) / pixel[3];
        pixel[c] = static_cast<uint32_t>(std::min<uint64_t>(whole, most));
    }
}

/** One row of the file as a bitmap stores it. */
void TiffReader::pack(const uint8_t* line, uint8_t* row) const
{
    if (info_.bits <= 8) {
        pack_indices(line, row);
        return;
    }
    const uint32_t most = (1u << samples_.bits) - 1;
    const bool wide = samples_.bits > 8;
    const uint32_t full = wide ? 0xFFFF : 0xFF;
    const auto put = [&](size_t at, uint32_t value) {
        const uint32_t scaled = most == full ? value : (value * full + most / 2) / most;
        if (wide) {
            const auto sample16 = static_cast<uint16_t>(scaled);
            std::memcpy(row + 2 * at, &sample16, sizeof sample16);
        } else {
            row[at] = static_cast<uint8_t>(scaled);
        }
    };
    const bool color = samples_.colors() == 3;
    const size_t channels = info_.order == COLORORDER_GRAY ? 1 : samples_.alpha ? 4 : 3;
    const bool flipped = samples_.photometric == PHOTOMETRIC_MINISWHITE;
    for (size_t x = 0; x < static_cast<size_t>(info_.width); ++x) {
        uint32_t pixel[4] = {};
        for (size_t c = 0; c < channels; ++c) {
            const size_t from = color ? c : c == 3 ? 1 : 0;
            pixel[c] = is_planar() ? sample(line + from * plane_line_, x) : sample(line, x * samples_.count + from);
            pixel[c] = flipped && c != 3 ? most - pixel[c] : pixel[c];
        }
        if (channels == 4) {
            unpremultiply(pixel);
        }
        for (size_t c = 0; c < channels; ++c) {
            put(x * channels + c, pixel[channels == 1 || c == 3 ? c : 2 - c]);
        }
    }
}

void TiffReader::pack_inks(const uint8_t* line, uint8_t* row)
{
    for (size_t i = 0; i < inks_.size(); ++i) {
        const size_t at = i / 4 * samples_.count + i % 4;
        const uint32_t ink = is_planar() ? sample(line + i % 4 * plane_line_, i / 4) : sample(line, at);
        inks_[i] = static_cast<uint8_t>(ink >> (samples_.bits - 8));
    }
    ink_conversion_(inks_.data(), row, inks_.size() / 4);
}

void TiffReader::decode_row(uint8_t* row)
{
    if (next_row_ == 0 && ink_conversion_) {
        take_inks();
    }
    if (next_row_ >= first_ + held_) {
        const uint32_t rows = direct_ && tile_width_ == 0 ? 1 : rows_at_a_time();
        fetch(next_row_, std::min(rows, static_cast<uint32_t>(info_.height) - next_row_));
    }
    const size_t at = next_row_++ - first_;
    if (direct_) {
        const uint8_t* const line = &lines_[at * line_bytes()];
        inks_.empty() ? pack(line, row) : pack_inks(line, row);
        return;
    }
    const uint32_t* pixel = &paint_[at * static_cast<size_t>(info_.width)];
    const size_t step = static_cast<size_t>(info_.bits) / 8;
    for (int32_t x = 0; x < info_.width; ++x, ++pixel, row += step) {
        uint32_t channels[4] = {TIFFGetR(*pixel), TIFFGetG(*pixel), TIFFGetB(*pixel), TIFFGetA(*pixel)};
        if (step == 4) {
            unpremultiply(channels);
        }
        for (size_t c = 0; c < step; ++c) {
            row[c] = static_cast<uint8_t>(c == 3 ? channels[3] : channels[2 - c]);
        }
    }
}

} // namespace

std::unique_ptr<PictureReader> read_tiff(Input file, const std::string& name)
{
    return std::make_unique<TiffReader>(std::move(file), name);
}

} // namespace vk::tool
