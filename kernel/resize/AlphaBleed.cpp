// Bleeding. A line of pixels is walked from its start: an invisible pixel takes colour from the next one if that is
// visible, else from the one before; the pixel on the far side joins in when it is invisible too, and the walk skips
// one. Columns are all walked at once, a row at a time, with a note per column whether the next pixel is skipped. What
// a neighbour gives has the weight of its alpha. There are no neighbours beyond the ends.
#include "kernel/resize/AlphaBleed.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowAccess.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vk {

namespace {

/// A pixel's channels in memory, alpha last. Rows are bytes: samples are copied in and out.
template <class Sample> struct Pixel {
    static constexpr uint32_t kMost = static_cast<Sample>(~Sample{0});
    static constexpr uint32_t kHalf = (kMost + 1) / 2;
    static constexpr uint32_t kBits = 8 * sizeof(Sample);
    static constexpr size_t kBytes = 4 * sizeof(Sample);

    static uint32_t sample(const uint8_t* pixel, size_t channel) noexcept
    {
        Sample value;
        std::memcpy(&value, pixel + channel * sizeof value, sizeof value);
        return value;
    }
    static uint32_t alpha(const uint8_t* pixel) noexcept { return sample(pixel, 3); }
    static bool is_visible(const uint8_t* pixel) noexcept { return alpha(pixel) >= kHalf; }

    static void blend(uint8_t* pixel, const uint8_t* with) noexcept
    {
        const uint32_t weight = alpha(with);
        for (size_t channel = 0; channel < 3; ++channel) {
            const uint64_t sum =
                uint64_t{kMost - weight} * sample(pixel, channel) + uint64_t{weight} * sample(with, channel);
            const auto value = static_cast<Sample>(sum >> kBits);
            std::memcpy(pixel + channel * sizeof value, &value, sizeof value);
        }
    }

    /// One step of the walk at a pixel; neighbours beyond the end are null. Returns whether the next pixel is skipped.
    static bool bleed(uint8_t* before, uint8_t* pixel, uint8_t* next) noexcept
    {
        if (is_visible(pixel))
            return false;
        if (next && is_visible(next)) {
            blend(pixel, next);
            if (before && !is_visible(before))
                blend(before, next);
            return true;
        }
        if (before && is_visible(before)) {
            blend(pixel, before);
            if (next)
                blend(next, before);
            return true;
        }
        return false;
    }

    static void bleed_row(uint8_t* row, int32_t width) noexcept
    {
        for (int32_t i = 0; i < width; ++i, row += kBytes) {
            const bool skips = bleed(i > 0 ? row - kBytes : nullptr, row, i + 1 < width ? row + kBytes : nullptr);
            if (skips) {
                ++i;
                row += kBytes;
            }
        }
    }

    /// One row of the walk down all columns. `skipped` holds a note per column.
    static void bleed_columns(uint8_t* before, uint8_t* row, uint8_t* next, uint8_t* skipped, int32_t width) noexcept
    {
        for (size_t i = 0; i < static_cast<size_t>(width); ++i) {
            const size_t at = i * kBytes;
            const bool skips =
                !skipped[i] && bleed(before ? before + at : nullptr, row + at, next ? next + at : nullptr);
            skipped[i] = skips ? 1 : 0;
        }
    }

    static bool has_clear(const uint8_t* row, int32_t width) noexcept
    {
        uint32_t least = kMost;
        for (size_t i = 0; i < static_cast<size_t>(width); ++i)
            least = std::min(least, alpha(row + i * kBytes));
        return least < 2;
    }
};

/// Three rows in memory on their way from one bitmap to the other.
template <class Sample> class Bleeder {
public:
    Bleeder(BITMAPHANDLE& from, BITMAPHANDLE& to, const ProgressShare& share) noexcept
        : reader_(from), writer_(to), progress_(from.Height, share), width_(from.Width), height_(from.Height),
          line_(to.BytesPerLine)
    {}

    int run(bool along_rows, bool along_columns) noexcept
    {
        int result = prepare();
        if (result == V_SUCCESS)
            result = progress_.begin();
        if (result == V_SUCCESS)
            result = load(0, along_rows);
        for (int32_t row = 0; row < height_ && result == V_SUCCESS; ++row) {
            if (row + 1 < height_)
                result = load(row + 1, along_rows);
            if (result != V_SUCCESS)
                break;
            if (along_columns)
                Pixel<Sample>::bleed_columns(row > 0 ? at(row - 1) : nullptr, at(row),
                                             row + 1 < height_ ? at(row + 1) : nullptr, skipped_.data(), width_);
            if (row > 0)
                result = store(row - 1);
        }
        return result == V_SUCCESS ? store(height_ - 1) : result;
    }

private:
    static constexpr uint32_t kRows = 3;

    int prepare() noexcept
    {
        int result = reader_.reserve(1);
        if (result == V_SUCCESS)
            result = writer_.reserve(1);
        const bool has_room = result == V_SUCCESS && rows_.allocate(uint64_t{kRows} * line_) &&
                              skipped_.allocate(static_cast<uint64_t>(width_));
        return result == V_SUCCESS && !has_room ? V_ERROR_NO_MEMORY : result;
    }

    uint8_t* at(int32_t row) const noexcept { return rows_.data() + static_cast<uint32_t>(row) % kRows * line_; }
    size_t row_bytes() const noexcept { return static_cast<size_t>(width_) * Pixel<Sample>::kBytes; }

    int load(int32_t row, bool along_rows) noexcept
    {
        const uint8_t* data = nullptr;
        const int result = reader_.read(row, 1, &data);
        if (result != V_SUCCESS)
            return result;
        std::memcpy(at(row), data, row_bytes());
        if (along_rows)
            Pixel<Sample>::bleed_row(at(row), width_);
        return V_SUCCESS;
    }

    int store(int32_t row) noexcept
    {
        std::memcpy(writer_.place(row), at(row), row_bytes());
        const int result = writer_.write(row, 1);
        return result == V_SUCCESS ? progress_.update(row + 1) : result;
    }

    RowReader reader_;
    RowWriter writer_;
    Progress progress_;
    RowBuffer rows_;
    RowBuffer skipped_;
    int32_t width_;
    int32_t height_;
    size_t line_;
};

} // namespace

bool has_alpha(const BITMAPHANDLE& bitmap) noexcept
{
    return has_alpha(bitmap.BitsPerPixel, bitmap.Order);
}

namespace {

/// Channels are 16-bit words.
bool has_words(const BITMAPHANDLE& bitmap) noexcept
{
    return depth_of(bitmap.BitsPerPixel).channel_bits == 16;
}

} // namespace

int needs_bleeding(BITMAPHANDLE& bitmap, bool* needed) noexcept
{
    RowReader reader(bitmap);
    int result = reader.reserve(1);
    const int32_t width = bitmap.Width;
    const bool is_deep = has_words(bitmap);
    *needed = false;
    for (int32_t row = 0; row < bitmap.Height && result == V_SUCCESS && !*needed; ++row) {
        const uint8_t* data = nullptr;
        result = reader.read(row, 1, &data);
        if (result == V_SUCCESS)
            *needed = is_deep ? Pixel<uint16_t>::has_clear(data, width) : Pixel<uint8_t>::has_clear(data, width);
    }
    return result;
}

int bleed_into(BITMAPHANDLE& from, BITMAPHANDLE& to, bool along_rows, bool along_columns,
               const ProgressShare& share) noexcept
{
    return has_words(from) ? Bleeder<uint16_t>(from, to, share).run(along_rows, along_columns)
                           : Bleeder<uint8_t>(from, to, share).run(along_rows, along_columns);
}

} // namespace vk
