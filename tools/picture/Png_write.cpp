/**
 * @file Png_write.cpp
 * Writes PNG files row by row, with the depth, palette and resolution of the picture. Palettes that are gray ramps
 * become gray pictures. How colours are packed is chosen by trying it on the first rows.
 */
#include "tools/picture/Exif.h"
#include "tools/picture/Formats.h"
#include "tools/picture/OutputFile.h"
#include "tools/picture/Png.h"

#include <array>
#include <functional>
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

/** Takes bytes; false when it cannot. Throws nothing. */
using Put = std::function<bool(const void* bytes, size_t count)>;

void write_png_bytes(png_structp png, png_bytep bytes, size_t count)
{
    if (!(*static_cast<const Put*>(png_get_io_ptr(png)))(bytes, count)) {
        png_error(png, "Write Error");
    }
}

void flush_nothing(png_structp) {}

/** zlib's ways with rows that are filtered: looking for what came before, or for runs alone. Photographs hold nothing
 * that came before, and looking for it takes most of the time. */
constexpr int kUsual = 0;
constexpr int kAnyMatch = 1;
constexpr int kRunsOnly = 3;

struct Packing {
    int effort;
    int strategy;
};

/** One picture on its way into bytes. */
class PngEncoder {
public:
    PngEncoder(const std::string& name, const PictureInfo& info, Packing packing, Put put);
    ~PngEncoder() { png_destroy_write_struct(&png_, &header_); }
    PngEncoder(const PngEncoder&) = delete;
    PngEncoder& operator=(const PngEncoder&) = delete;

    void write_row(const uint8_t* row)
    {
        guard([&] { png_write_row(png_, row); });
    }
    void finish()
    {
        guard([&] { png_write_end(png_, nullptr); });
    }

private:
    void write_header(const PictureInfo& info);
    void write_notes(const PictureInfo& info);
    template <typename Step> void guard(Step step) { guard_png(png_, error_, name_, step); }

    std::string name_;
    Put put_;
    PngError error_;
    png_structp png_ = nullptr;
    png_infop header_ = nullptr;
};

PngEncoder::PngEncoder(const std::string& name, const PictureInfo& info, Packing packing, Put put)
    : name_(name), put_(std::move(put))
{
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, &on_png_error, &on_png_warning);
    header_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    try {
        if (header_ == nullptr) {
            throw FileError(name_, std::string("PNG: cannot start writing: ") + error_.text);
        }
        write_header(info);
        write_notes(info);
        guard([&] {
            png_set_compression_level(png_, packing.effort);
            png_set_compression_strategy(png_, packing.strategy);
            png_write_info(png_, header_);
            png_set_bgr(png_);
            png_set_swap(png_);
        });
    } catch (...) {
        png_destroy_write_struct(&png_, &header_);
        throw;
    }
}

void PngEncoder::write_notes(const PictureInfo& info)
{
    const auto bytes = static_cast<png_uint_32>(info.profile.size());
    const bool gray = (png_get_color_type(png_, header_) & PNG_COLOR_MASK_COLOR) == 0;
    if (is_profile_of(info.profile, gray)) {
        guard(
            [&] { png_set_iCCP(png_, header_, "ICC profile", PNG_COMPRESSION_TYPE_BASE, info.profile.data(), bytes); });
    }
    std::vector<uint8_t> notes = write_exif({.orientation = info.orientation});
    if (info.orientation != TOP_LEFT) {
        guard([&] { png_set_eXIf_1(png_, header_, static_cast<png_uint_32>(notes.size()), notes.data()); });
    }
}

void PngEncoder::write_header(const PictureInfo& info)
{
    const PngKind kind = kind_of(info);
    std::array<png_color, 256> palette{};
    for (size_t i = 0; i < info.palette.size(); ++i) {
        palette[i] = {info.palette[i].rgbRed, info.palette[i].rgbGreen, info.palette[i].rgbBlue};
    }
    const auto per_metre = [](int32_t dpi) { return static_cast<png_uint_32>(dpi / 0.0254 + 0.5); };
    guard([&] {
        png_set_write_fn(png_, &put_, &write_png_bytes, &flush_nothing);
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
    });
}

class PngWriter : public PictureWriter {
public:
    PngWriter(const std::string& name, const WriteOptions& options) : name_(name), options_(options) {}

    bool keeps_orientation() const override { return true; }
    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override;

private:
    void start();
    Packing choose_packing() const;
    uint64_t trial_size(Packing packing) const;
    size_t rows_held() const { return held_.size() / info_.row_bytes(); }

    std::string name_;
    WriteOptions options_;
    PictureInfo info_;
    std::vector<uint8_t> held_; ///< the first rows, on which the way is chosen
    std::optional<OutputFile> file_;
    std::optional<PngEncoder> encoder_;
};

void PngWriter::begin(const PictureInfo& info)
{
    kind_of(info);
    info_ = info;
    file_.emplace(name_);
}

void PngWriter::write_row(const uint8_t* row)
{
    constexpr size_t kEnough = size_t{1} << 19;
    if (encoder_) {
        encoder_->write_row(row);
        return;
    }
    held_.insert(held_.end(), row, row + info_.row_bytes());
    if (held_.size() >= kEnough) {
        start();
    }
}

void PngWriter::start()
{
    encoder_.emplace(name_, info_, choose_packing(),
                     [this](const void* bytes, size_t count) { return file_->put(bytes, count); });
    for (size_t at = 0; at < held_.size(); at += info_.row_bytes()) {
        encoder_->write_row(&held_[at]);
    }
    held_ = std::vector<uint8_t>();
}

/** Runs alone where they do about as well, with the greatest effort only where they do better. Where no effort is asked
 * for, one that takes a third of the time will do if little is lost. */
Packing PngWriter::choose_packing() const
{
    constexpr uint64_t kAbout = 100; ///< of which part more is as good
    constexpr uint64_t kLittle = 10;
    constexpr int kQuick = 3;
    const int effort = options_.effort.value_or(kUsualEffort);
    if (info_.bits < 24 || rows_held() < 2 || effort == 0) {
        return {effort, kUsual};
    }
    const uint64_t any = trial_size({effort, kAnyMatch});
    const uint64_t runs = trial_size({effort, kRunsOnly});
    if (runs <= any + (effort == 9 ? 0 : any / kAbout)) {
        return {effort, kRunsOnly};
    }
    const bool quick = !options_.effort && trial_size({kQuick, kAnyMatch}) <= any + any / kLittle;
    return {quick ? kQuick : effort, kAnyMatch};
}

uint64_t PngWriter::trial_size(Packing packing) const
{
    uint64_t size = 0;
    PictureInfo part = info_;
    part.height = static_cast<int32_t>(rows_held());
    PngEncoder encoder(name_, part, packing, [&size](const void*, size_t count) {
        size += count;
        return true;
    });
    for (size_t at = 0; at < held_.size(); at += info_.row_bytes()) {
        encoder.write_row(&held_[at]);
    }
    encoder.finish();
    return size;
}

void PngWriter::finish()
{
    if (!encoder_) {
        start();
    }
    encoder_->finish();
    file_->commit();
}

} // namespace

std::unique_ptr<PictureWriter> write_png(const std::string& name, const WriteOptions& options)
{
    return std::make_unique<PngWriter>(name, options);
}

} // namespace vk::tool
