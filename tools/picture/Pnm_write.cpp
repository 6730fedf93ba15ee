/**
 * @file Pnm_write.cpp
 * Writes PNM, as plain as the picture allows: black and white as P4, gray as P5, everything else as P6. PNM has no
 * alpha channel; pictures with one are refused.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"
#include "tools/picture/OutputFile.h"

#include <cstring>
#include <optional>

namespace vk::tool {

namespace {

enum class Rows { BitsAsTheyAre, BitsInverted, Indices, Palette, Gray16, Colour8, Colour16 };

Rows rows_of(const PictureInfo& info)
{
    if (info.bits == 1 && same_palette(info.palette, gray_ramp(1))) {
        return Rows::BitsInverted; // set is white here, black in the file
    }
    if (info.bits == 1 && same_palette(info.palette, {{255, 255, 255, 0}, {0, 0, 0, 0}})) {
        return Rows::BitsAsTheyAre;
    }
    if (info.bits <= 8) {
        return same_palette(info.palette, gray_ramp(info.bits)) ? Rows::Indices : Rows::Palette;
    }
    if (info.bits == 16 && info.order == COLORORDER_GRAY) {
        return Rows::Gray16;
    }
    if (info.order == COLORORDER_BGR && (info.bits == 24 || info.bits == 48)) {
        return info.bits == 24 ? Rows::Colour8 : Rows::Colour16;
    }
    throw OperationError("PNM cannot hold a picture of " + std::to_string(info.bits) +
                         (info.bits == 32 || info.bits == 64 ? " bits per pixel with alpha" : " bits per pixel"));
}

class PnmWriter : public PictureWriter {
public:
    explicit PnmWriter(const std::string& name) : name_(name) {}

    void begin(const PictureInfo& info) override;
    void write_row(const uint8_t* row) override;
    void finish() override { file_->commit(); }

private:
    size_t index(const uint8_t* row, size_t x) const
    {
        const size_t bit = x * static_cast<size_t>(info_.bits);
        const auto bits = static_cast<size_t>(info_.bits);
        return (row[bit / 8] >> (8 - bits - bit % 8)) & ((size_t{1} << bits) - 1);
    }

    void invert_bits(const uint8_t* row);
    void look_up(const uint8_t* row);
    void split_samples(const uint8_t* row);

    std::string name_;
    PictureInfo info_;
    Rows rows_ = Rows::Indices;
    std::optional<OutputFile> file_;
    std::vector<uint8_t> out_; ///< a row as the file holds it
    std::vector<uint16_t> samples_;
};

void PnmWriter::begin(const PictureInfo& info)
{
    info_ = info;
    rows_ = rows_of(info);
    const auto width = static_cast<size_t>(info.width);
    const bool bits = rows_ == Rows::BitsAsTheyAre || rows_ == Rows::BitsInverted;
    const bool colour = rows_ == Rows::Palette || rows_ == Rows::Colour8 || rows_ == Rows::Colour16;
    const bool deep = rows_ == Rows::Gray16 || rows_ == Rows::Colour16;
    out_.resize(bits ? (width + 7) / 8 : width * (colour ? 3 : 1) * (deep ? 2 : 1));
    samples_.resize(deep ? out_.size() / 2 : 0);
    std::string header = bits ? "P4\n" : colour ? "P6\n" : "P5\n";
    header += std::to_string(info.width) + " " + std::to_string(info.height) + "\n";
    if (!bits) {
        header += std::to_string(deep ? 65535 : rows_ == Rows::Indices ? (1 << info.bits) - 1 : 255) + "\n";
    }
    file_.emplace(name_);
    file_->write(header.data(), header.size());
}

void PnmWriter::invert_bits(const uint8_t* row)
{
    for (size_t i = 0; i < out_.size(); ++i) {
        out_[i] = static_cast<uint8_t>(~row[i]);
    }
    if (info_.width % 8 != 0) {
        out_.back() = static_cast<uint8_t>(out_.back() & (0xFF00 >> (info_.width % 8)));
    }
}

void PnmWriter::look_up(const uint8_t* row)
{
    uint8_t* out = out_.data();
    for (size_t x = 0; x < static_cast<size_t>(info_.width); ++x) {
        const RGBQUAD& entry = info_.palette[index(row, x)];
        *out++ = entry.rgbRed;
        *out++ = entry.rgbGreen;
        *out++ = entry.rgbBlue;
    }
}

/** 16-bit samples go out high byte first. */
void PnmWriter::split_samples(const uint8_t* row)
{
    std::memcpy(samples_.data(), row, out_.size());
    if (rows_ == Rows::Colour16) {
        swap_red_blue(samples_.data(), static_cast<size_t>(info_.width));
    }
    for (size_t i = 0; i < samples_.size(); ++i) {
        out_[2 * i] = static_cast<uint8_t>(samples_[i] >> 8);
        out_[2 * i + 1] = static_cast<uint8_t>(samples_[i]);
    }
}

void PnmWriter::write_row(const uint8_t* row)
{
    switch (rows_) {
    case Rows::BitsAsTheyAre:
        std::memcpy(out_.data(), row, out_.size());
        break;
    case Rows::BitsInverted:
        invert_bits(row);
        break;
    case Rows::Indices:
        for (size_t x = 0; x < out_.size(); ++x) {
            out_[x] = static_cast<uint8_t>(index(row, x));
        }
        break;
    case Rows::Palette:
        look_up(row);
        break;
    case Rows::Colour8:
        std::memcpy(out_.data(), row, out_.size());
        swap_red_blue(out_.data(), static_cast<size_t>(info_.width));
        break;
    case Rows::Gray16:
    case Rows::Colour16:
        split_samples(row);
        break;
    }
    file_->write(out_.data(), out_.size());
}

} // namespace

std::unique_ptr<PictureWriter> write_pnm(const std::string& name)
{
    return std::make_unique<PnmWriter>(name);
}

} // namespace vk::tool
