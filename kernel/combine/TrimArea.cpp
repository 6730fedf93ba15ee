// Finding what is not border: row by row from both ends, and from then on only as much of each row as may still widen
// the box.
#include "kernel/combine/Alike.h"
#include "kernel/combine/Crop.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"

#include <algorithm>

namespace vk::combine {

namespace {

constexpr int32_t kPiece = 4096; ///< pixels that are looked at at a time
constexpr int32_t kWordPixels = 64;

/// The first, or the last, of `count` pixels that is not alike; -1 without one.
int32_t first_other(const Alike& border, Line pixels, int32_t count) noexcept
{
    uint64_t words[kPiece / kWordPixels];
    for (int32_t done = 0; done < count; done += kPiece) {
        const int32_t some = std::min(count - done, kPiece);
        border.match({pixels.data, pixels.column + done}, some, words);
        for (int32_t i = 0; i < some; i += kWordPixels) {
            const int32_t bits = std::min(some - i, kWordPixels);
            const uint64_t others = ~words[i / kWordPixels] & (~uint64_t{0} >> (kWordPixels - bits));
            if (others)
                return done + i + __builtin_ctzll(others);
        }
    }
    return -1;
}

int32_t last_other(const Alike& border, Line pixels, int32_t count) noexcept
{
    uint64_t words[kPiece / kWordPixels];
    for (int32_t left = count; left > 0;) {
        const int32_t begin = (left - 1) / kPiece * kPiece;
        const int32_t some = left - begin;
        border.match({pixels.data, pixels.column + begin}, some, words);
        for (int32_t i = (some - 1) / kWordPixels; i >= 0; --i) {
            const int32_t bits = std::min(some - i * kWordPixels, kWordPixels);
            const uint64_t others = ~words[i] & (~uint64_t{0} >> (kWordPixels - bits));
            if (others)
                return begin + i * kWordPixels + kWordPixels - 1 - __builtin_clzll(others);
        }
        left = begin;
    }
    return -1;
}

class BoxSearch {
public:
    BoxSearch(BITMAPHANDLE& bitmap, const Alike& border) noexcept
        : border_(border), width_(bitmap.Width), height_(bitmap.Height), reader_(bitmap)
    {}

    int run(Area& area) noexcept
    {
        area = {};
        int result = reader_.reserve(1);
        int32_t top = 0;
        while (result == V_SUCCESS && top < height_ && !see(top, result))
            ++top;
        if (result != V_SUCCESS || top == height_)
            return result;
        int32_t bottom = height_;
        while (result == V_SUCCESS && bottom - 1 > top && !see(bottom - 1, result))
            --bottom;
        for (int32_t row = top + 1; row < bottom - 1 && result == V_SUCCESS; ++row)
            see(row, result);
        if (result == V_SUCCESS)
            area = {left_, top, right_, bottom};
        return result;
    }

private:
    /// Widens the box by a row; true when it has anything that is not border.
    bool see(int32_t row, int& result) noexcept
    {
        const uint8_t* data = nullptr;
        result = reader_.read(row, 1, &data);
        if (result != V_SUCCESS)
            return false;
        auto* const pixels = const_cast<uint8_t*>(data); // only read
        const bool is_first = left_ == right_;
        const int32_t first = first_other(border_, {pixels, 0}, is_first ? width_ : left_);
        if (first >= 0)
            left_ = first;
        if (is_first && first < 0)
            return false;
        const int32_t from = is_first ? left_ : right_;
        const int32_t last = last_other(border_, {pixels, from}, width_ - from);
        if (last >= 0)
            right_ = from + last + 1;
        return is_first || first >= 0 || last >= 0 || first_other(border_, {pixels, left_}, right_ - left_) >= 0;
    }

    const Alike& border_;
    const int32_t width_;
    const int32_t height_;
    RowReader reader_;
    int32_t left_ = 0;
    int32_t right_ = 0;
};

} // namespace

int find_trim_area(BITMAPHANDLE& bitmap, COLORREF border, uint32_t tolerance, Area& area) noexcept
{
    BitmapAccess access(bitmap);
    if (access.result() != V_SUCCESS)
        return access.result();
    Alike alike;
    alike.open(bitmap, border, tolerance);
    const int result = BoxSearch(bitmap, alike).run(area);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

} // namespace vk::combine
