// Run lengths from anyone, against a decoder that puts one pixel at a time. An input is depth, width, and height
// with the width's scale (3 bytes), then the data.
#include "fuzz/DibSupport.h"
#include "kernel/dib/Runs.h"

using namespace vk::fuzz;

namespace {

/// One pixel per byte, row by row; false for corrupt data, which may be found out a row late.
class SlowDecoder {
public:
    SlowDecoder(const uint8_t* data, size_t size, bool nibbles, uint32_t width, uint32_t height, uint32_t limit)
        : data_(data, data + size), nibbles_(nibbles), width_(width), height_(height), limit_(limit),
          pixels(size_t{width} * height)
    {}

    bool decode()
    {
        while (y_ < height_) {
            if (at_ + 2 > data_.size())
                return x_ >= width_ && y_ + 1 == height_;
            const uint8_t count = data_[at_++];
            const uint8_t value = data_[at_++];
            if (count != 0) {
                for (int i = 0; i < count; ++i)
                    if (!put(nibbles_ ? (i % 2 ? value & 15 : value >> 4) : value))
                        return false;
            } else if (!escape(value)) {
                return false;
            }
        }
        return true;
    }

private:
    bool escape(uint8_t code)
    {
        if (code == 1)
            at_ = data_.size();
        if (code <= 1) {
            const bool complete = x_ >= width_;
            x_ = 0;
            ++y_;
            return complete;
        }
        if (code == 2) {
            if (at_ + 2 > data_.size() || x_ + data_[at_] > limit_ || y_ + data_[at_ + 1] >= height_)
                return false;
            x_ += data_[at_];
            y_ += data_[at_ + 1];
            at_ += 2;
            return true;
        }
        const size_t bytes = nibbles_ ? (code + 1u) / 2 : code;
        if (at_ + bytes > data_.size())
            return false;
        for (unsigned i = 0; i < code; ++i)
            if (!put(nibbles_ ? (i % 2 ? data_[at_ + i / 2] & 15 : data_[at_ + i / 2] >> 4) : data_[at_ + i]))
                return false;
        at_ = std::min(data_.size(), at_ + bytes + bytes % 2);
        return true;
    }
    bool put(int value)
    {
        if (x_ >= limit_)
            return false;
        if (x_ < width_)
            pixels[size_t{y_} * width_ + x_] = static_cast<uint8_t>(value);
        ++x_;
        return true;
    }

    std::vector<uint8_t> data_;
    bool nibbles_;
    uint32_t width_, height_, limit_;
    uint32_t x_ = 0, y_ = 0;
    size_t at_ = 0;

public:
    std::vector<uint8_t> pixels;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4)
        return 0;
    const bool nibbles = data[0] % 2 != 0;
    const uint32_t width = (data[1] + 1u) * (data[2] / 64 + 1u);
    const uint32_t height = data[2] % 32 + 1u;
    const uint32_t stride = (width * (nibbles ? 4 : 8) + 31) / 32 * 4;
    SlowDecoder slow(data + 3, size - 3, nibbles, width, height, nibbles ? 2 * stride : stride);
    const bool sound = slow.decode();
    vk::dib::RunDecoder fast(data + 3, size - 3, nibbles ? 4 : 8, width, height, stride);
    std::vector<uint8_t> row(stride);
    bool all = true;
    for (uint32_t y = 0; y < height && all; ++y) {
        all = fast.row(row.data());
        for (uint32_t x = 0; x < width && all && sound; ++x) {
            const int value = nibbles ? (x % 2 ? row[x / 2] & 15 : row[x / 2] >> 4) : row[x];
            require(value == slow.pixels[size_t{y} * width + x]);
        }
        for (uint32_t i = (width * (nibbles ? 4 : 8) + 7) / 8; i < stride && all; ++i)
            require(row[i] == 0);
    }
    require(all == sound);
    return 0;
}
