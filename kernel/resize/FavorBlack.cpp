// Favour black. Pixels are counted by words of bits: each destination pixel's block is a run of bits in some rows. What
// is counted is the bit of black; that of a bitmap whose palette is no gray ramp is 0.
#include "kernel/resize/FavorBlack.h"

#include "kernel/colorres/GrayScale.h"
#include "kernel/format/RowMath.h"
#include "kernel/resize/Access.h"
#include "kernel/resize/Nearest.h"
#include "kernel/resize/Stepping.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Progress.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vk {

namespace {

constexpr uint32_t kWordBits = 64;

uint32_t bit_count(uint64_t bits) noexcept
{
    bits -= bits >> 1 & 0x5555555555555555u;
    bits = (bits & 0x3333333333333333u) + (bits >> 2 & 0x3333333333333333u);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
    return static_cast<uint32_t>(bits * 0x0101010101010101u >> 56);
}

/// Row `row` counted from the top of the displayed picture.
int32_t stored_row(const BITMAPHANDLE& bitmap, int32_t row) noexcept
{
    return bitmap.ViewPerspective == BOTTOM_LEFT ? bitmap.Height - 1 - row : row;
}

/// A source row as words whose top bit is the first pixel, black set and everything behind the row clear, with a word
/// of room behind it.
class BlackRow {
public:
    bool allocate(int32_t width) noexcept
    {
        width_ = static_cast<uint32_t>(width);
        words_ = width_ / kWordBits + 2;
        return buffer_.allocate(uint64_t{words_} * sizeof(uint64_t));
    }

    /// Returns whether there is any black.
    bool load(const uint8_t* row, bool black_is_set) noexcept
    {
        auto* const words = reinterpret_cast<uint64_t*>(buffer_.data());
        std::memcpy(words, row, packed_bytes(width_, 1));
        const uint64_t flip = black_is_set ? 0 : ~uint64_t{0};
        const uint32_t last = width_ / kWordBits;
        uint64_t any = 0;
        for (uint32_t i = 0; i < last; ++i) {
            words[i] = __builtin_bswap64(words[i]) ^ flip;
            any |= words[i];
        }
        const uint32_t rest = width_ % kWordBits;
        words[last] = rest ? (__builtin_bswap64(words[last]) ^ flip) & ~uint64_t{0} << (kWordBits - rest) : 0;
        return (any | words[last]) != 0;
    }

    /// Black pixels from `first` on, at most 64.
    uint32_t count(uint64_t first, uint32_t pixels) const noexcept
    {
        const auto* const words = reinterpret_cast<const uint64_t*>(buffer_.data()) + first / kWordBits;
        const auto skip = static_cast<uint32_t>(first % kWordBits);
        const uint64_t taken = words[0] << skip | words[1] >> 1 >> (kWordBits - 1 - skip);
        return bit_count(taken >> (kWordBits - pixels));
    }

private:
    RowBuffer buffer_;
    uint32_t width_ = 0;
    uint32_t words_ = 0;
};

class Blocks {
public:
    Blocks(BITMAPHANDLE& from, BITMAPHANDLE& to) noexcept
        : from_(from), to_(to), reader_(from), writer_(to), width_(to.Width),
          block_width_(std::max(1, from.Width / to.Width)), block_height_(std::max(1, from.Height / to.Height)),
          threshold_(black_threshold(int64_t{block_width_} * block_height_)),
          black_is_set_(gray_kind(from) == GrayKind::inverted)
    {}

    int prepare() noexcept
    {
        int result = reader_.reserve(1);
        if (result == V_SUCCESS)
            result = writer_.reserve(1);
        if (result == V_SUCCESS && is_nearest())
            return resize::plan_nearest(nearest_, 1, from_.Width, width_);
        const bool has_room = result == V_SUCCESS && black_.allocate(from_.Width) &&
                              counts_.allocate(uint64_t{sizeof(int64_t)} * static_cast<uint32_t>(width_));
        return result == V_SUCCESS && !has_room ? V_ERROR_NO_MEMORY : result;
    }

    /// Displayed row `row` of the destination.
    int make_row(int32_t row) noexcept
    {
        if (is_nearest())
            return take_row(row);
        std::memset(counts_.data(), 0, sizeof(int64_t) * static_cast<size_t>(width_));
        const auto first = static_cast<int32_t>(resize::stepped(row, from_.Height, to_.Height));
        int result = V_SUCCESS;
        for (int32_t i = 0; i < block_height_ && result == V_SUCCESS; ++i)
            result = count_row(stored_row(from_, first + i));
        return result == V_SUCCESS ? write_row(stored_row(to_, row)) : result;
    }

private:
    /// Blocks of one pixel have its colour.
    bool is_nearest() const noexcept { return block_width_ == 1 && block_height_ == 1; }

    int take_row(int32_t row) noexcept
    {
        const auto first = static_cast<int32_t>(resize::stepped(row, from_.Height, to_.Height));
        const uint8_t* data = nullptr;
        const int result = reader_.read(stored_row(from_, first), 1, &data);
        if (result != V_SUCCESS)
            return result;
        const int32_t stored = stored_row(to_, row);
        uint8_t* const made = writer_.place(stored);
        const size_t bytes = nearest_.row_bytes();
        resize::run_nearest(nearest_, data, made);
        std::memset(made + bytes, 0, to_.BytesPerLine - bytes);
        return writer_.write(stored, 1);
    }

    int count_row(int32_t stored) noexcept
    {
        const uint8_t* data = nullptr;
        const int result = reader_.read(stored, 1, &data);
        if (result != V_SUCCESS || !black_.load(data, black_is_set_))
            return result;
        auto* const counts = reinterpret_cast<int64_t*>(counts_.data());
        resize::Walk walk(from_.Width, width_);
        for (int32_t i = 0; i < width_; ++i, walk.next()) {
            auto first = static_cast<uint64_t>(walk.source());
            auto left = static_cast<uint32_t>(block_width_);
            for (; left > kWordBits; left -= kWordBits, first += kWordBits)
                counts[i] += black_.count(first, kWordBits);
            counts[i] += black_.count(first, left);
        }
        return V_SUCCESS;
    }

    int write_row(int32_t stored) noexcept
    {
        const auto* const counts = reinterpret_cast<const int64_t*>(counts_.data());
        uint8_t* const row = writer_.place(stored);
        std::memset(row, 0, to_.BytesPerLine);
        for (int32_t i = 0; i < width_; ++i) {
            const bool is_set = (counts[i] >= threshold_) == black_is_set_;
            row[i / 8] = static_cast<uint8_t>(row[i / 8] | (is_set ? 0x80u >> (i % 8) : 0u));
        }
        return writer_.write(stored, 1);
    }

    BITMAPHANDLE& from_;
    BITMAPHANDLE& to_;
    RowReader reader_;
    RowWriter writer_;
    BlackRow black_;
    RowBuffer counts_;
    resize::NearestPlan nearest_; ///< for blocks of one pixel
    int32_t width_;
    int32_t block_width_;
    int32_t block_height_;
    int64_t threshold_;
    bool black_is_set_;
};

int fill_blocks(BITMAPHANDLE& from, BITMAPHANDLE& to, const ProgressShare& share) noexcept
{
    const int32_t height = to.Height;
    Blocks blocks(from, to);
    Progress progress(height, share);
    int result = blocks.prepare();
    if (result == V_SUCCESS)
        result = progress.begin();
    for (int32_t row = 0; row < height && result == V_SUCCESS; ++row) {
        result = blocks.make_row(row);
        if (result == V_SUCCESS)
            result = progress.update(row + 1);
    }
    return result;
}

} // namespace

int64_t black_threshold(int64_t pixels) noexcept
{
    if (pixels < 4)
        return 1;
    int64_t root = pixels / 2;
    for (int64_t correction = 1; correction != 0;) {
        const int64_t other = pixels / root;
        correction = std::abs(root - other) / 2;
        root = std::min(other, root) + correction;
    }
    if (root > 4)
        return root;
    return root < 3 ? 1 : root - 1;
}

int favor_black(BITMAPHANDLE& from, BITMAPHANDLE& to, const ProgressShare& share) noexcept
{
    const auto fill = [&](BITMAPHANDLE& source, BITMAPHANDLE& target) noexcept {
        return fill_blocks(source, target, share);
    };
    return with_access(from, to, fill);
}

} // namespace vk
