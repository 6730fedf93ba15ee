/**
 * @file Bmp_read.cpp
 * Reads BMP files: the DIB in them is checked against the file, brought to a header of 40 bytes and handed to the
 * library, whose bitmap then gives the rows. Pixels of 16 bits and of 32 without alpha come out as 24. A file may claim
 * anything; nothing outside of it is read.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"

#include <algorithm>
#include <cstring>

namespace vk::tool {

namespace {

constexpr size_t kFileHeader = 14;
constexpr size_t kCoreHeader = 12;
constexpr size_t kInfoHeader = 40;
constexpr size_t kMasks = 12;
constexpr uint32_t kAlphaBitFields = 6;

using Bytes = std::vector<uint8_t>;

template <typename Value> Value value_at(const Bytes& bytes, size_t at)
{
    Value value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

class BmpReader : public PictureReader {
public:
    BmpReader(Input file, const std::string& name) : name_(name)
    {
        load(*file);
        const size_t header = read_header();
        decode(header);
        describe();
        next_row_ = bitmap_.ViewPerspective == TOP_LEFT ? 0 : info_.height - 1;
    }
    ~BmpReader() override
    {
        if (accessed_) {
            V_ReleaseBitmap(&bitmap_);
        }
        V_FreeBitmap(&bitmap_);
    }
    BmpReader(const BmpReader&) = delete;
    BmpReader& operator=(const BmpReader&) = delete;

private:
    void load(InputFile& file);
    size_t read_header();
    void copy_colors(size_t header);
    bool has_alpha(size_t header) const;
    void decode(size_t header);
    void change_depth();
    void describe();
    void decode_row(uint8_t* row) override;

    BITMAPINFOHEADER& dib() { return *reinterpret_cast<BITMAPINFOHEADER*>(head_); }
    [[noreturn]] void fail(const std::string& why) const { throw FileError(name_, "damaged BMP file: " + why); }

    std::string name_;
    Bytes bytes_;
    /** The header as the library wants it, with the colour table or masks. */
    alignas(BITMAPINFO) uint8_t head_[kInfoHeader + 256 * sizeof(RGBQUAD)] = {};
    bool alpha_ = false;
    BITMAPHANDLE bitmap_{};
    bool accessed_ = false;
    int32_t next_row_ = 0;
};

void BmpReader::load(InputFile& file)
{
    const std::optional<uint64_t> size = file.size();
    if (!size || *size > 2 * kMaxBuffered) {
        throw FileError(name_, size ? "the BMP file is too large" : "the BMP file has no size");
    }
    bytes_.resize(static_cast<size_t>(*size));
    bytes_.resize(file.read(bytes_.data(), bytes_.size()));
    file.check();
    if (bytes_.size() < kFileHeader + kCoreHeader) {
        fail("ends too early");
    }
}

/** Brings the header to 40 bytes, checks it, and gives the size it has in the file. */
size_t BmpReader::read_header()
{
    const size_t size = value_at<uint32_t>(bytes_, kFileHeader);
    if ((size != kCoreHeader && size < kInfoHeader) || size > bytes_.size() - kFileHeader) {
        fail("no header that is known");
    }
    BITMAPINFOHEADER& header = dib();
    if (size == kCoreHeader) {
        header.biWidth = value_at<uint16_t>(bytes_, kFileHeader + 4);
        header.biHeight = value_at<uint16_t>(bytes_, kFileHeader + 6);
        header.biPlanes = value_at<uint16_t>(bytes_, kFileHeader + 8);
        header.biBitCount = value_at<uint16_t>(bytes_, kFileHeader + 10);
    } else {
        std::memcpy(head_, bytes_.data() + kFileHeader, kInfoHeader);
    }
    header.biSize = kInfoHeader;
    check_size(name_, header.biWidth, std::abs(int64_t{header.biHeight}));
    const int bits = header.biBitCount;
    if (header.biPlanes != 1 ||
        (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)) {
        fail("no depth that is known");
    }
    copy_colors(size);
    return size;
}

/** The palette behind the header, or the masks behind or in it. */
void BmpReader::copy_colors(size_t header)
{
    BITMAPINFOHEADER& info = dib();
    const size_t behind = kFileHeader + header;
    if (info.biCompression == kAlphaBitFields) {
        info.biCompression = BI_BITFIELDS;
    }
    if (info.biCompression == BI_BITFIELDS) {
        const size_t at = header == kInfoHeader ? behind : kFileHeader + kInfoHeader;
        if (bytes_.size() < at + kMasks) {
            fail("ends within the colour masks");
        }
        std::memcpy(head_ + kInfoHeader, bytes_.data() + at, kMasks);
        return;
    }
    if (info.biBitCount > 8) {
        return;
    }
    const uint32_t most = 1u << info.biBitCount;
    if (info.biClrUsed > most) {
        fail("more colours than the depth can index");
    }
    const size_t step = header == kCoreHeader ? 3 : sizeof(RGBQUAD);
    const size_t pixels = std::min<size_t>(value_at<uint32_t>(bytes_, 10), bytes_.size());
    const size_t room = pixels > behind ? (pixels - behind) / step : 0;
    const auto count = static_cast<uint32_t>(std::min<size_t>(info.biClrUsed != 0 ? info.biClrUsed : most, room));
    if (count == 0) {
        fail("no colour table");
    }
    info.biClrUsed = count;
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(head_ + kInfoHeader + i * sizeof(RGBQUAD), bytes_.data() + behind + i * step, 3);
    }
}

/** Whether the file says that its fourth bytes are alpha. */
bool BmpReader::has_alpha(size_t header) const
{
    constexpr size_t kWithAlphaMask = kInfoHeader + 16;
    constexpr uint32_t kUsual[] = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};
    const auto* const info = reinterpret_cast<const BITMAPINFOHEADER*>(head_);
    return header >= kWithAlphaMask && info->biBitCount == 32 && info->biCompression == BI_BITFIELDS &&
           std::memcmp(bytes_.data() + kFileHeader + kInfoHeader, kUsual, sizeof kUsual) == 0;
}

void BmpReader::decode(size_t header)
{
    BITMAPINFOHEADER& info = dib();
    const size_t at = value_at<uint32_t>(bytes_, 10);
    if (at < kFileHeader + header || at >= bytes_.size()) {
        fail("the pixels are outside the file");
    }
    const size_t left = bytes_.size() - at;
    if (info.biCompression == BI_RLE8 || info.biCompression == BI_RLE4) {
        const size_t said = info.biSizeImage != 0 ? info.biSizeImage : left;
        info.biSizeImage = static_cast<uint32_t>(std::min(said, left));
    } else if (info.biCompression == BI_RGB || info.biCompression == BI_BITFIELDS) {
        const uint64_t line = (static_cast<uint64_t>(info.biWidth) * info.biBitCount + 31) / 32 * 4;
        if (line * static_cast<uint64_t>(std::abs(int64_t{info.biHeight})) > left) {
            fail("ends too early");
        }
    } else {
        throw FileError(name_, "BMP: only plain and run-length pictures are supported");
    }
    alpha_ = has_alpha(header);
    if (alpha_) {
        info.biCompression = BI_RGB; // keeps the fourth byte as it is
    }
    const int result =
        V_ConvertFromDIB(&bitmap_, BITMAPHANDLE_SIZE, reinterpret_cast<const BITMAPINFO*>(head_), bytes_.data() + at);
    if (result == V_ERROR_INTERNAL) {
        fail("the run lengths are wrong");
    }
    if (result == V_ERROR_FEATURE_NOT_SUPPORTED) {
        fail("its depth and its compression do not go together");
    }
    check(result, "decoding the BMP file");
    bytes_ = Bytes();
    change_depth();
}

void BmpReader::change_depth()
{
    const int32_t bits = bitmap_.BitsPerPixel;
    if (bits == 16 || (bits == 32 && !alpha_)) {
        check(V_ColorResBitmap(&bitmap_, nullptr, 0, 24, COLORRES_ORDER_BGR, nullptr, nullptr, 0), "making 24 bits");
    }
    check(V_AccessBitmap(&bitmap_), "accessing the bitmap");
    accessed_ = true;
}

void BmpReader::describe()
{
    const BITMAPINFOHEADER& header = dib();
    info_.format = "BMP";
    info_.width = bitmap_.Width;
    info_.height = bitmap_.Height;
    info_.bits = bitmap_.BitsPerPixel;
    info_.order = info_.bits > 8 ? COLORORDER_BGR : COLORORDER_RGB;
    if (info_.bits <= 8) {
        info_.palette.assign(size_t{1} << info_.bits, RGBQUAD{});
        std::copy_n(bitmap_.Palette, std::min<size_t>(bitmap_.Colors, info_.palette.size()), info_.palette.begin());
    }
    if (header.biXPelsPerMeter > 0 && header.biYPelsPerMeter > 0) {
        info_.x_resolution = bitmap_.XResolution;
        info_.y_resolution = bitmap_.YResolution;
    }
}

void BmpReader::decode_row(uint8_t* row)
{
    const size_t bytes = info_.row_bytes();
    const intptr_t moved = V_GetBitmapRow(&bitmap_, row, next_row_, bytes);
    if (moved != static_cast<intptr_t>(bytes)) {
        throw_library_error(moved, "getting a row");
    }
    next_row_ += bitmap_.ViewPerspective == TOP_LEFT ? 1 : -1;
}

} // namespace

std::unique_ptr<PictureReader> read_bmp(Input file, const std::string& name)
{
    return std::make_unique<BmpReader>(std::move(file), name);
}

} // namespace vk::tool
