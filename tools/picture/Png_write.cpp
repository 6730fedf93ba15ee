/**
 * @file Png_write.cpp
 * Writes PNG files row by row, with the depth, palette and resolution of the picture. Palettes that are gray ramps
 * become gray pictures.
 */
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"
#include "tools/picture/OutputFile.h"
#include "tools/picture/Png.h"

#include <array>
#include <optional>

namespace vk::tool {

namespace {

struct PngKind {
    int32_t bits;
    int32_t order;
    int depth;
    int colour;
};

constexpr PngKind kDeepKinds[] = {
    {16, COLORORDER_GRAY, 16, PNG_COLOR_TYPE_GRAY},     {24, COLORORDER_BGR, 8, PNG_COLOR_TYPE_RGB},
    {32, COLORORDER_BGR, 8, PNG_COLOR_TYPE_RGB_ALPHA},  {48, COLORORDER_BGR, 16, PNG_COLOR_TYPE_RGB},
    {64, COLORORDER_BGR, 16, PNG_COLOR_TYPE_RGB_ALPHA},
};

PngKind kind_of(const PictureInfo& info)
{
    if (info.bits == 1 || info.bits == 2 || info.bits == 4 || info.bits == 8) {
        const bool gray = same_palette(info.palette, gray_ramp(info.bits));
        return {info.bits, info.order, info.bits, gray ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE};
    }
    for (const PngKind& kind : kDeepKinds) {
        if (kind.bits == info.bits && kind.order == info.order) {
            return kind;
        }
    }
    throw OperationError("PNG cannot hold a picture of " + std::to_string(info.bits) + " bits per pixel");
}

void write_png_bytes(png_structp png, png_bytep bytes, size_t count)
{
    if (!static_cast<OutputFile*>(png_get_io_ptr(png))->put(bytes, count)) {
        png_error(png, "Write Error");
    }
}

void flush_nothing(png_structp) {}

class PngWriter : public PictureWriter {
public:
    PngWriter(const std::string& name, const WriteOptions& options) : name_(name), options_(options) {}
    ~PngWriter() override { png_destroy_write_struct(&png_, &header_); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    bool keeps_orientation() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override
    {
        guard([&] { png_write_row(png_, row); });
    }
    void finish() override
    {
        guard([&] { png_write_end(png_, nullptr); });
        file_->commit();
    }

private:
    void write_header(const PictureInfo& info, const PngKind& kind);
    void write_notes(const PictureInfo& info);
    template <typename Step> void guard(Step step) { guard_png(png_, error_, name_, step); }

    std::string name_;
    WriteOptions options_;
    std::optional<OutputFile> file_;
    PngError error_;
    png_structp png_ = nullptr;
    png_infop header_ = nullptr;
};

void PngWriter::begin(const PictureInfo& info)
{
    const PngKind kind = kind_of(info);
    file_.emplace(name_);
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, &on_png_error, &on_png_warning);
    header_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    if (header_ == nullptr) {
        throw FileError(name_, std::string("PNG: cannot start writing: ") + error_.text);
    }
    write_header(info, kind);
    write_notes(info);
    guard([&] {
        png_write_info(png_, header_);
        png_set_bgr(png_);
        png_set_swap(png_);
    });
}

void PngWriter::write_notes(const PictureInfo& info)
{
    const auto bytes = static_cast<png_uint_32>(info.profile.size());
    const bool gray = (png_get_color_type(png_, header_) & PNG_COLOR_MASK_COLOR) == 0;
    if (is_profile_of(info.profile, gray)) {
        guard(
            [&] { png_set_iCCP(png_, header_, "ICC profile", PNG_COMPRESSION_TYPE_BASE, info.profile.data(), bytes); });
    }
    auto notes = exif_of(info.orientation);
    if (info.orientation != TOP_LEFT) {
        guard([&] { png_set_eXIf_1(png_, header_, static_cast<png_uint_32>(notes.size()), notes.data()); });
    }
}

void PngWriter::write_header(const PictureInfo& info, const PngKind& kind)
{
    std::array<png_color, 256> palette{};
    for (size_t i = 0; i < info.palette.size(); ++i) {
        palette[i] = {info.palette[i].rgbRed, info.palette[i].rgbGreen, info.palette[i].rgbBlue};
    }
    const auto per_metre = [](int32_t dpi) { return static_cast<png_uint_32>(dpi / 0.0254 + 0.5); };
    guard([&] {
        png_set_write_fn(png_, &*file_, &write_png_bytes, &flush_nothing);
        png_set_user_limits(png_, kMaxWidth, kMaxHeight);
        png_set_benign_errors(png_, 1);
        png_set_option(png_, PNG_SKIP_sRGB_CHECK_PROFILE, PNG_OPTION_ON); // what was read is written
        png_set_IHDR(png_, header_, static_cast<png_uint_32>(info.width), static_cast<png_uint_32>(info.height),
                     kind.depth, kind.colour, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        if (kind.colour == PNG_COLOR_TYPE_PALETTE) {
            png_set_PLTE(png_, header_, palette.data(), 1 << kind.depth);
        }
        if (info.x_resolution > 0 && info.y_resolution > 0) {
            png_set_pHYs(png_, header_, per_metre(info.x_resolution), per_metre(info.y_resolution),
                         PNG_RESOLUTION_METER);
        }
        png_set_compression_level(png_, options_.effort);
    });
}

} // namespace

std::unique_ptr<PictureWriter> write_png(const std::string& name, const WriteOptions& options)
{
    return std::make_unique<PngWriter>(name, options);
}

} // namespace vk::tool
