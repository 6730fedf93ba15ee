/**
 * @file Pnm_read.cpp
 * Reads PNM: bit maps, gray maps and pixel maps (P1 to P6), as text or bytes, up to 16 bits per sample. Samples are
 * scaled to all of 8 or 16 bits when the file's greatest value is a smaller one. Strict: a sample beyond the greatest
 * value, a malformed header and a file shorter than its size asks for are refused, the last before a single row is
 * read where the file's length is known.
 */
#include "tools/picture/Formats.h"

#include "tools/Failure.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vk::tool {

namespace {

/** The bytes of a file, one by one or in bulk. */
class ByteSource {
public:
    ByteSource(Input file, const std::string& name) : file_(std::move(file)), name_(name) {}

    /** The next byte, or -1 at the end. */
    int peek() { return position_ < end_ || refill() ? buffer_[position_] : -1; }
    int next()
    {
        const int byte = peek();
        position_ += byte >= 0;
        return byte;
    }

    void read(uint8_t* bytes, size_t count)
    {
        while (count != 0) {
            if (peek() < 0) {
                fail("ends too early");
            }
            const size_t part = std::min(count, end_ - position_);
            std::memcpy(bytes, &buffer_[position_], part);
            bytes += part;
            count -= part;
            position_ += part;
        }
    }

    InputFile& file() { return *file_; }

    /** False where it is known that fewer bytes are left in the file. */
    bool may_have_left(uint64_t bytes) { return file_->may_hold(consumed_ + position_ + bytes); }

    [[noreturn]] void fail(const std::string& why) const { throw FileError(name_, "damaged PNM file: " + why); }

private:
    bool refill()
    {
        consumed_ += end_;
        position_ = 0;
        end_ = file_->read(buffer_.data(), buffer_.size());
        if (end_ == 0) {
            file_->check();
        }
        return end_ > 0;
    }

    Input file_;
    std::string name_;
    std::array<uint8_t, 1 << 16> buffer_{};
    size_t position_ = 0;
    size_t end_ = 0;
    uint64_t consumed_ = 0; ///< bytes before the buffer's
};

bool is_space(int c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

class PnmReader : public PictureReader {
public:
    PnmReader(Input file, const std::string& name) : source_(std::move(file), name) { read_header(name); }

private:
    void read_header(const std::string& name);
    void describe();
    void skip_space(bool comments);
    uint32_t read_number(bool comments);
    uint32_t read_bit();
    uint16_t checked(uint32_t sample) const
    {
        if (sample > max_) {
            source_.fail("a sample is greater than the greatest value");
        }
        return static_cast<uint16_t>(sample);
    }
    void read_bytes_row(size_t count);
    void decode_row(uint8_t* row) override;
    void decode_bits(uint8_t* row);

    ByteSource source_;
    char kind_ = 0; ///< '1' to '6'
    bool text_ = false;
    uint32_t channels_ = 1;
    uint32_t max_ = 1;
    std::vector<uint8_t> bytes_;    ///< a row as the file holds it
    std::vector<uint16_t> samples_; ///< a row's samples, unscaled
};

void PnmReader::read_header(const std::string& name)
{
    source_.next();
    kind_ = static_cast<char>(source_.next());
    text_ = kind_ <= '3';
    channels_ = kind_ == '3' || kind_ == '6' ? 3 : 1;
    const int64_t width = read_number(true);
    const int64_t height = read_number(true);
    check_size(name, width, height, source_.file());
    info_.width = static_cast<int32_t>(width);
    info_.height = static_cast<int32_t>(height);
    const bool bit_map = kind_ == '1' || kind_ == '4';
    if (!bit_map) {
        max_ = read_number(true);
        if (max_ < 1 || max_ > 65535) {
            source_.fail("the greatest value must be 1 to 65535");
        }
    }
    if (!is_space(source_.next())) {
        source_.fail("no space after the header");
    }
    describe();
    // A row's bytes; in text, a sample takes at least one digit and a space, a bit just the digit.
    const uint64_t samples = static_cast<uint64_t>(width) * channels_;
    const uint64_t sample_bytes = text_ || max_ > 255 ? 2 : 1;
    const uint64_t row = kind_ == '4' ? (samples + 7) / 8 : bit_map ? samples : samples * sample_bytes;
    if (!source_.may_have_left(row * static_cast<uint64_t>(height) - (text_ ? 1 : 0))) {
        source_.fail("it is too short for " + std::to_string(width) + " x " + std::to_string(height) + " pixels");
    }
    bytes_.resize(text_ ? 0 : row);
    samples_.resize(bit_map ? 0 : samples);
}

void PnmReader::describe()
{
    info_.format = channels_ == 3 ? "PNM (colour)" : kind_ == '1' || kind_ == '4' ? "PNM (bits)" : "PNM (gray)";
    if (kind_ == '1' || kind_ == '4') {
        // A set bit is black.
        info_.bits = 1;
        info_.palette = {{255, 255, 255, 0}, {0, 0, 0, 0}};
    } else if (channels_ == 3) {
        info_.bits = max_ > 255 ? 48 : 24;
        info_.order = COLORORDER_BGR;
    } else if (max_ > 255) {
        info_.bits = 16;
        info_.order = COLORORDER_GRAY;
    } else {
        info_.bits = 8;
        info_.palette = gray_ramp(8);
    }
}

/** Comments belong to the header only. */
void PnmReader::skip_space(bool comments)
{
    int c = source_.peek();
    while (is_space(c) || (comments && c == '#')) {
        if (c == '#') {
            while (c >= 0 && c != '\n' && c != '\r') {
                c = source_.next();
            }
        } else {
            source_.next();
        }
        c = source_.peek();
    }
}

uint32_t PnmReader::read_number(bool comments)
{
    skip_space(comments);
    int c = source_.peek();
    if (c < 0) {
        source_.fail("ends too early");
    }
    if (c < '0' || c > '9') {
        source_.fail("a number was expected");
    }
    uint64_t number = 0;
    while (c >= '0' && c <= '9') {
        number = number * 10 + static_cast<uint64_t>(c - '0');
        if (number > INT32_MAX) {
            source_.fail("a number is too large");
        }
        source_.next();
        c = source_.peek();
    }
    if (c >= 0 && !is_space(c) && !(comments && c == '#')) {
        source_.fail("a number was expected");
    }
    return static_cast<uint32_t>(number);
}

uint32_t PnmReader::read_bit()
{
    skip_space(false);
    const int c = source_.next();
    if (c != '0' && c != '1') {
        source_.fail(c < 0 ? "ends too early" : "a bit was expected");
    }
    return static_cast<uint32_t>(c - '0');
}

void PnmReader::decode_bits(uint8_t* row)
{
    if (!text_) {
        source_.read(row, bytes_.size());
        return;
    }
    for (size_t x = 0; x < static_cast<size_t>(info_.width); ++x) {
        const auto mask = static_cast<uint8_t>(0x80u >> (x % 8));
        row[x / 8] = static_cast<uint8_t>(read_bit() != 0 ? row[x / 8] | mask : row[x / 8] & ~mask);
    }
}

/** Fills samples_ from the file. */
void PnmReader::read_bytes_row(size_t count)
{
    source_.read(bytes_.data(), bytes_.size());
    for (size_t i = 0; i < count; ++i) {
        samples_[i] = checked(max_ > 255 ? static_cast<uint32_t>(bytes_[2 * i] << 8 | bytes_[2 * i + 1]) : bytes_[i]);
    }
}

void PnmReader::decode_row(uint8_t* row)
{
    if (info_.bits == 1) {
        return decode_bits(row);
    }
    if (!text_ && max_ == 255) {
        source_.read(row, bytes_.size());
        if (channels_ == 3) {
            swap_red_blue(row, static_cast<size_t>(info_.width));
        }
        return;
    }
    if (text_) {
        std::generate(samples_.begin(), samples_.end(), [this] { return checked(read_number(false)); });
    } else {
        read_bytes_row(samples_.size());
    }
    const uint32_t full = max_ > 255 ? 65535 : 255;
    for (uint16_t& sample : samples_) {
        sample = static_cast<uint16_t>((sample * full + max_ / 2) / max_);
    }
    if (channels_ == 3) {
        swap_red_blue(samples_.data(), static_cast<size_t>(info_.width));
    }
    if (full == 255) {
        std::copy(samples_.begin(), samples_.end(), row);
    } else {
        std::memcpy(row, samples_.data(), samples_.size() * sizeof samples_[0]);
    }
}

} // namespace

std::unique_ptr<PictureReader> read_pnm(Input file, const std::string& name)
{
    return std::make_unique<PnmReader>(std::move(file), name);
}

} // namespace vk::tool
