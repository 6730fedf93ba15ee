#include "kernel/fill/PatternRun.h"

#include "kernel/combine/Aside.h"
#include "kernel/combine/ConvertRun.h"
#include "kernel/combine/LogicRun.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/RowCol.h"

#include <algorithm>

namespace vk::fill {

namespace {

/// Rows are repeated up to so many pixels, so that narrow patterns are not copied piece by piece.
constexpr int32_t kLongEnough = 1024;

constexpr int32_t remainder(int64_t value, int32_t size) noexcept
{
    const auto rest = static_cast<int32_t>(value % size);
    return rest < 0 ? rest + size : rest;
}

} // namespace

int PatternRun::prepare() noexcept
{
    const BITMAPHANDLE& pattern = pattern_.record();
    bits_ = pattern.BitsPerPixel;
    repeats_ = std::max(2, kLongEnough / pattern.Width + 2);
    const uint64_t pixels = static_cast<uint64_t>(pattern.Width) * static_cast<uint32_t>(repeats_);
    return row_.allocate(pattern.BytesPerLine) && repeated_.allocate(packed_bytes(pixels, bits_)) ? V_SUCCESS
                                                                                                  : V_ERROR_NO_MEMORY;
}

int PatternRun::open(BITMAPHANDLE& bitmap, BITMAPHANDLE& pattern) noexcept
{
    using namespace combine;
    Layout layout;
    int result = find_layout(bitmap, pattern, layout);
    if (result != V_SUCCESS)
        return result;
    const int32_t width = layout.transpose ? pattern.Height : pattern.Width;
    const int32_t height = layout.transpose ? pattern.Width : pattern.Height;
    const Area area{0, 0, width, height};
    Aside aside;
    RowConverter converter;
    Progress silent(0);
    result = converter.open(pattern, bitmap, area_bytes(area, 8));
    if (result == V_SUCCESS)
        result = pattern_.make(width, height, bitmap.BitsPerPixel, bitmap);
    if (result == V_SUCCESS)
        result = aside.open(pattern_.record(), pattern, whole_area(pattern), layout, false);
    if (result == V_SUCCESS) {
        ConvertRun convert(converter, Logic(kCopyAnswers), false);
        result = walk(pattern_.record(), area, aside.source(), {}, convert, silent, OnFailure::discard);
    }
    return result == V_SUCCESS ? prepare() : result;
}

int PatternRun::begin_row(int32_t row, int32_t left) noexcept
{
    BITMAPHANDLE& pattern = pattern_.record();
    left_ = left;
    const int result = code_of(
        get_row(pattern, row_.data(), remainder(int64_t{row} - origin_.row, pattern.Height), pattern.BytesPerLine));
    const uint64_t bits = static_cast<uint64_t>(pattern.Width) * static_cast<uint32_t>(bits_);
    const uint64_t wanted = bits * static_cast<uint32_t>(repeats_);
    const auto order = combine::bit_order(bits_);
    if (result == V_SUCCESS)
        combine::copy_bits(repeated_.data(), 0, row_.data(), 0, bits, order);
    for (uint64_t filled = bits; filled < wanted && result == V_SUCCESS; filled *= 2) // by what is there already
        combine::copy_bits(repeated_.data(), filled, repeated_.data(), 0, std::min(filled, wanted - filled), order);
    return result;
}

void PatternRun::run(Line to, Line, Line, int32_t count) noexcept
{
    const int32_t width = pattern_.record().Width;
    const auto bits = static_cast<uint32_t>(bits_);
    for (int32_t done = 0; done < count;) {
        const int32_t column = to.column + done;
        const int32_t phase = remainder(int64_t{left_} + column - origin_.column, width);
        const auto there = static_cast<int64_t>(width) * repeats_ - phase;
        const auto some = static_cast<int32_t>(std::min<int64_t>(count - done, there));
        combine::copy_bits(to.data, uint64_t{bits} * static_cast<uint32_t>(column), repeated_.data(),
                           uint64_t{bits} * static_cast<uint32_t>(phase), uint64_t{bits} * static_cast<uint32_t>(some),
                           combine::bit_order(bits_));
        done += some;
    }
}

} // namespace vk::fill
