/**
 * @file Bmp_read.cpp
 * Reads BMP files: the DIB in them is checked against the file, brought to a header of 40 bytes and handed to the
 * library, whose bitmap then gives the rows. What programs write and the library does not take is put into a form that
 * it takes: run lengths whose rows end early, and unusual fields of 16 bits. Pixels of 16 bits and of 32 without alpha
 * come out as 24. A file may claim anything; nothing outside of it is read.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"

#include <algorithm>
#include <cstring>

namespace vk::tool {

namespace {

constexpr size_t kFileHeader = 14;
constexpr size_t kCoreHeader = 12;
constexpr size_t kShortHeader = 16; ///< the shortest that begins as that of 40 bytes does
constexpr size_t kInfoHeader = 40;
constexpr size_t kMasks = 12;
constexpr uint32_t kAlphaBitFields = 6;

using Bytes = std::vector<uint8_t>;

template <typename Value> Value value_at(const uint8_t* bytes)
{
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <typename Value> Value value_at(const Bytes& bytes, size_t at)
{
    return value_at<Value>(bytes.data() + at);
}

template <size_t N> bool same_masks(const uint8_t* bytes, const uint32_t (&masks)[N])
{
    return std::memcmp(bytes, masks, sizeof masks) == 0;
}

/** Run lengths with every row complete: rows that end early, and those missing at the end, are filled up with jumps.
 *  What stands behind the last row is dropped; what is wrong otherwise is left for the decoder to find. */
class RunCompleter {
public:
    RunCompleter(const BITMAPINFOHEADER& info)
        : nibbles_(info.biCompression == BI_RLE4), width_(info.biWidth), rows_(std::abs(int64_t{info.biHeight}))
    {}

    Bytes run(const uint8_t* at, const uint8_t* end)
    {
        while (rows_ > 0 && end - at >= 2 && runs_.size() < kMaxBuffered) {
            const uint8_t count = at[0];
            const uint8_t code = at[1];
            if (count == 0 && code <= 1) {
                code == 0 ? end_row() : end_picture();
                at += 2;
                continue;
            }
            const std::ptrdiff_t length = std::min<std::ptrdiff_t>(follow(count, code, at, end), end - at);
            runs_.insert(runs_.end(), at, at + length);
            at += length;
        }
        return std::move(runs_);
    }

private:
    /** Moves on by what is drawn or jumped over, and gives the bytes that says so. */
    std::ptrdiff_t follow(uint8_t count, uint8_t code, const uint8_t* at, const uint8_t* end)
    {
        constexpr uint8_t kJump = 2;
        if (count == 0 && code == kJump) {
            if (end - at >= 4) {
                x_ += at[2];
                rows_ -= at[3];
            }
            return 4;
        }
        x_ += count != 0 ? count : code;
        const int literal = count != 0 ? 0 : nibbles_ ? (code + 1) / 2 : code;
        return 2 + literal + literal % 2;
    }

    void end_picture()
    {
        for (int64_t down = 0; rows_ > 1; rows_ -= down) {
            down = std::min(kFarthest, rows_ - 1);
            jump(0, down);
        }
        end_row();
    }

    void end_row()
    {
        for (; x_ < width_; x_ += kFarthest) {
            jump(std::min(kFarthest, width_ - x_), 0);
        }
        runs_.insert(runs_.end(), 2, 0);
        x_ = 0;
        --rows_;
    }

    void jump(int64_t right, int64_t down)
    {
        const uint8_t bytes[] = {0, 2, static_cast<uint8_t>(right), static_cast<uint8_t>(down)};
        runs_.insert(runs_.end(), std::begin(bytes), std::end(bytes));
    }

    static constexpr int64_t kFarthest = 255; ///< that one jump goes

    bool nibbles_;
    int64_t width_;
    int64_t rows_; ///< that are not complete
    int64_t x_ = 0;
    Bytes runs_;
};

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
    size_t masks_at(size_t header) const
    {
        return header == kInfoHeader ? kFileHeader + header : kFileHeader + kInfoHeader;
    }
    bool take_alpha(size_t header, size_t pixels);
    void widen_fields(size_t pixels);
    void check_plain(size_t left);
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
    bool has_four_masks_ = false;
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
    if ((size != kCoreHeader && size < kShortHeader) || size > bytes_.size() - kFileHeader) {
        fail("no header that is known");
    }
    BITMAPINFOHEADER& header = dib();
    if (size == kCoreHeader) {
        header.biWidth = value_at<uint16_t>(bytes_, kFileHeader + 4);
        header.biHeight = value_at<uint16_t>(bytes_, kFileHeader + 6);
        header.biPlanes = value_at<uint16_t>(bytes_, kFileHeader + 8);
        header.biBitCount = value_at<uint16_t>(bytes_, kFileHeader + 10);
    } else {
        std::memcpy(head_, bytes_.data() + kFileHeader, std::min(size, kInfoHeader));
    }
    header.biSize = kInfoHeader;
    check_size(name_, header.biWidth, std::abs(int64_t{header.biHeight}), bytes_.size());
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
    has_four_masks_ = info.biCompression == kAlphaBitFields || header >= kInfoHeader + kMasks + 4;
    if (info.biCompression == kAlphaBitFields) {
        info.biCompression = BI_BITFIELDS;
    }
    if (info.biCompression == BI_BITFIELDS) {
        const size_t at = masks_at(header);
        if (bytes_.size() < at + kMasks + (has_four_masks_ ? 4 : 0)) {
            fail("ends within the colour masks");
        }
        std::memcpy(head_ + kInfoHeader, bytes_.data() + at, kMasks);
        return;
    }
    if (info.biBitCount > 8) {
        return;
    }
    const uint32_t most = 1u << info.biBitCount;
    info.biClrUsed = std::min<uint32_t>(info.biClrUsed, most); // no pixel can have the others
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

/** Whether the file says that its fourth bytes are alpha. If so, the pixels become blue, green, red, alpha. */
bool BmpReader::take_alpha(size_t header, size_t pixels)
{
    constexpr uint32_t kUsual[] = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};
    constexpr uint32_t kReversed[] = {0xFF, 0xFF00, 0xFF0000, 0xFF000000};
    const uint8_t* const masks = bytes_.data() + masks_at(header);
    if (!has_four_masks_ || dib().biBitCount != 32 || dib().biCompression != BI_BITFIELDS) {
        return false;
    }
    if (same_masks(masks, kReversed)) {
        for (size_t at = pixels; at + 4 <= bytes_.size(); at += 4) {
            std::swap(bytes_[at], bytes_[at + 2]);
        }
        return true;
    }
    return same_masks(masks, kUsual);
}

/** Gives pixels of 16 bits with unusual fields 32 bits: the library would keep no more than 5 bits of a field. */
void BmpReader::widen_fields(size_t pixels)
{
    constexpr uint32_t k555[] = {0x7C00, 0x3E0, 0x1F};
    constexpr uint32_t k565[] = {0xF800, 0x7E0, 0x1F};
    BITMAPINFOHEADER& info = dib();
    const uint8_t* const masks = head_ + kInfoHeader;
    if (info.biBitCount != 16 || info.biCompression != BI_BITFIELDS || same_masks(masks, k555) ||
        same_masks(masks, k565)) {
        return;
    }
    const auto width = static_cast<size_t>(info.biWidth);
    const auto rows = static_cast<size_t>(std::abs(int64_t{info.biHeight}));
    const size_t line = (width * 2 + 3) / 4 * 4;
    Bytes wide(pixels + width * rows * 4);
    for (size_t i = 0; i < width * rows; ++i) {
        const uint32_t pixel = value_at<uint16_t>(bytes_, pixels + i / width * line + i % width * 2);
        std::memcpy(wide.data() + pixels + 4 * i, &pixel, sizeof pixel);
    }
    bytes_ = std::move(wide);
    info.biBitCount = 32;
}

/** Whether all pixels are there. */
void BmpReader::check_plain(size_t left)
{
    const BITMAPINFOHEADER& info = dib();
    const uint64_t line = (static_cast<uint64_t>(info.biWidth) * info.biBitCount + 31) / 32 * 4;
    if (line * static_cast<uint64_t>(std::abs(int64_t{info.biHeight})) > left) {
        fail("ends too early");
    }
}

void BmpReader::decode(size_t header)
{
    BITMAPINFOHEADER& info = dib();
    size_t at = value_at<uint32_t>(bytes_, 10);
    if (at < kFileHeader + header || at >= bytes_.size()) {
        fail("the pixels are outside the file");
    }
    if (info.biCompression == BI_RLE8 || info.biCompression == BI_RLE4) {
        bytes_ = RunCompleter(info).run(bytes_.data() + at, bytes_.data() + bytes_.size());
        info.biSizeImage = static_cast<uint32_t>(bytes_.size());
        at = 0;
        if (bytes_.empty()) {
            fail("ends too early");
        }
    } else if (info.biCompression == BI_RGB || info.biCompression == BI_BITFIELDS) {
        check_plain(bytes_.size() - at);
        alpha_ = take_alpha(header, at);
        widen_fields(at);
    } else {
        throw FileError(name_, "BMP: only plain and run-length pictures are supported");
    }
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
