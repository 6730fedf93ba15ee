// A row goes through three forms: pixels, a byte or a colour for each, and a bit for each, from which runs are read.
// Up to 8 bits and for deep gray a table says which values belong; colours are compared four at a time.
#include "kernel/region/PixelArea.h"

#include "kernel/bitmap/Region.h"
#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/Convert.h"
#include "kernel/convert/Plan.h"
#include "kernel/convert/Reduce.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/Palette.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowAccess.h"
#include "simd/Pick.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Sets a bit for each pixel that a test takes; all bytes of the row are written.
template <class Test> void test_pixels(uint8_t* bits, int32_t width, Test test) noexcept
{
    for (int32_t x = 0; x < width; x += 8) {
        const int32_t count = std::min(8, width - x);
        uint32_t byte = 0;
        for (int32_t i = 0; i < count; ++i)
            byte |= (test(x + i) ? 0x80u : 0u) >> i;
        bits[x / 8] = static_cast<uint8_t>(byte);
    }
}

/// Tests the rows of one bitmap.
class RowTest {
public:
    explicit RowTest(const BITMAPHANDLE& bitmap) noexcept
        : width_(bitmap.Width), bits_(bitmap.BitsPerPixel), order_(bitmap.Order),
          is_deep_gray_(vk::is_deep_gray(bitmap)), gray_(is_deep_gray_ ? gray_range_of(bitmap) : GrayRange{})
    {}
    RowTest(const RowTest&) = delete;
    RowTest& operator=(const RowTest&) = delete;

    /// SUCCESS or ERROR_NO_MEMORY.
    virtual int open() noexcept { return V_SUCCESS; }

    /// SUCCESS, or a code for a form there is none of.
    virtual int test(const uint8_t* row, uint8_t* out) noexcept = 0;

protected:
    ~RowTest() = default;

    /// A stored pixel of up to 32 bits.
    uint32_t value(const uint8_t* row, int32_t x) const noexcept
    {
        const uint8_t* const at = row + column_offset(bits_, x);
        if (!is_whole_bytes(bits_))
            return extract_bits(at, bits_, static_cast<uint32_t>(x));
        uint32_t value = 0;
        std::memcpy(&value, at, static_cast<size_t>(bits_ / 8));
        return value;
    }

    const int32_t width_;
    const int32_t bits_;
    const int32_t order_;
    const bool is_deep_gray_;
    const GrayRange gray_;
};

/// Bytes that a table of 256 knows: indices, or levels of gray. A conversion to one bit tells them apart, those that
/// are taken being white.
class TableTest final : public RowTest {
public:
    TableTest(const BITMAPHANDLE& bitmap, const bool (&takes)[256]) noexcept : RowTest(bitmap)
    {
        for (uint32_t i = 0; i < 256; ++i)
            colors_[i] = takes[i] ? kWhite : RGBQUAD{};
    }

    int open() noexcept override
    {
        ConvertJob job;
        job.src_bits = is_deep_gray_ ? 8 : bits_;
        job.dst_bits = 1;
        job.src_palette = colors_;
        job.dst_palette = kAnswers;
        return pixel::make_plan(job, &plan_) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
    }

    int test(const uint8_t* row, uint8_t* out) noexcept override
    {
        const auto width = static_cast<size_t>(width_);
        if (!is_deep_gray_) {
            pixel::run_row(plan_, row, out, width, {});
            return V_SUCCESS;
        }
        uint32_t samples[kPiece];
        uint8_t levels[kPiece];
        for (size_t at = 0; at < width; at += kPiece) {
            const size_t count = std::min(kPiece, width - at);
            format_->unpack(row + packed_bytes(at, bits_), samples, count);
            pixel::find_levels(gray_, samples, levels, count);
            pixel::run_row(plan_, levels, out + at / 8, count, {});
        }
        return V_SUCCESS;
    }

private:
    static constexpr size_t kPiece = 1024;
    static constexpr RGBQUAD kWhite = {255, 255, 255, 0};
    static constexpr RGBQUAD kAnswers[2] = {{}, kWhite};

    const pixel::Format* const format_ = pixel::find_format(bits_, order_); ///< of deep gray
    RGBQUAD colors_[256];
    pixel::Plan plan_;
};

class ColorTest final : public RowTest {
public:
    ColorTest(const BITMAPHANDLE& bitmap, const ColorRange& range) noexcept : RowTest(bitmap)
    {
        std::memcpy(&lower_, &range.lower, sizeof lower_);
        std::memcpy(&upper_, &range.upper, sizeof upper_);
        lower_ &= 0x00FFFFFF; // any alpha
        upper_ |= 0xFF000000;
        job_.width = width_;
        job_.src_bits = bits_;
        job_.src_order = order_;
        job_.dst_bits = 32;
        job_.dst_order = COLORORDER_BGR;
    }

    int open() noexcept override
    {
        return colors_.allocate((static_cast<uint64_t>(width_) + 8) * 4) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    }

    int test(const uint8_t* row, uint8_t* out) noexcept override
    {
        const size_t line = static_cast<size_t>(width_) * 4;
        const int result = convert_rows({row, line}, {colors_.data(), line}, 1, job_);
        for (int32_t x = 0; x < width_ && result == V_SUCCESS; x += 8)
            out[x / 8] = static_cast<uint8_t>(test_four(x) << 4 | test_four(x + 4));
        return result;
    }

private:
    /// A bit for each of four colours, the first one's the highest.
    int test_four(int32_t x) const noexcept
    {
        const uint8_t* const at = colors_.data() + size_t{4} * static_cast<size_t>(x);
        using Colors = simd::Quad<uint32_t>;
        const auto bytes_of = [](Colors v) noexcept { return simd::as<uint8_t>(v); };
        const auto colors = simd::pick<3, 2, 1, 0>(simd::load<Colors>(at));
        const auto above = simd::max(bytes_of(colors), bytes_of(simd::all<Colors>(lower_)));
        const auto inside = simd::min(above, bytes_of(simd::all<Colors>(upper_)));
        return static_cast<int>(simd::bits(simd::as<int32_t>(inside) == simd::as<int32_t>(colors)));
    }

    uint32_t lower_ = 0;
    uint32_t upper_ = 0;
    ConvertJob job_;
    RowBuffer colors_;
};

/// Colours of more than 8 bits that are not black, and deep gray samples that are not 0.
class NonzeroTest final : public RowTest {
public:
    explicit NonzeroTest(const BITMAPHANDLE& bitmap) noexcept : RowTest(bitmap)
    {
        std::memset(mask_, 0xFF, sizeof mask_);
        if (is_deep_gray_)
            return;
        if (bits_ == 16 && order_ != COLORORDER_RGB565)
            mask_[1] = 0x7F;
        if (bits_ == 32)
            mask_[3] = 0;
        if (bits_ == 64)
            mask_[6] = mask_[7] = 0;
    }

    int test(const uint8_t* row, uint8_t* out) noexcept override
    {
        if (bits_ == 12) {
            test_pixels(out, width_, [&](int32_t x) noexcept { return value(row, x) != 0; });
            return V_SUCCESS;
        }
        const auto bytes = static_cast<size_t>(bits_ / 8);
        test_pixels(out, width_, [&](int32_t x) noexcept {
            const uint8_t* const at = row + bytes * static_cast<size_t>(x);
            uint32_t any = 0;
            for (size_t i = 0; i < bytes; ++i)
                any |= static_cast<uint32_t>(at[i] & mask_[i]);
            return any != 0;
        });
        return V_SUCCESS;
    }

private:
    uint8_t mask_[8]; ///< of a pixel's bytes
};

int read_rows(BITMAPHANDLE& bitmap, RowTest& test, BitsToArea& to) noexcept
{
    RowReader reader(bitmap);
    RowBuffer bits;
    const int32_t batch = buffered_rows(bitmap, bitmap);
    const size_t line = bitmap.BytesPerLine;
    int result = bits.allocate(static_cast<uint64_t>(bitmap.Width) / 8 + 8) ? test.open() : V_ERROR_NO_MEMORY;
    if (result == V_SUCCESS)
        result = reader.reserve(batch);
    for (int32_t row = 0; row < bitmap.Height && result == V_SUCCESS;) {
        const int32_t rows = std::min(batch, bitmap.Height - row);
        const uint8_t* data = nullptr;
        to.built().expect_rows(row, bitmap.Height);
        result = reader.read(row, rows, &data);
        for (int32_t i = 0; i < rows && result == V_SUCCESS; ++i, data += line) {
            result = test.test(data, bits.data());
            to.add({bits.data(), 0, row + i, 1}, bitmap.Width);
            if (!to.built().good())
                return V_ERROR_NO_MEMORY;
        }
        row += rows;
    }
    return result;
}

int read_bitmap(BITMAPHANDLE& bitmap, RowTest& test, BitsToArea& to) noexcept
{
    BitmapAccess access(bitmap);
    int result = access.result();
    if (result == V_SUCCESS)
        result = read_rows(bitmap, test, to);
    const int released = access.release();
    return result == V_SUCCESS ? released : result;
}

bool is_between(uint8_t value, uint8_t lower, uint8_t upper) noexcept
{
    return value >= lower && value <= upper;
}

/// Whether an index belongs to a range, by its number or by its colour.
bool takes_index(const BITMAPHANDLE& bitmap, uint32_t index, const ColorRange& range) noexcept
{
    if (range.is_index)
        return index >= range.first && index <= range.last;
    const auto level = static_cast<uint8_t>(index);
    RGBQUAD color = {level, level, level, 0};
    if (bitmap.Palette && !vk::is_deep_gray(bitmap))
        color = index < palette_entries(bitmap) ? bitmap.Palette[index] : RGBQUAD{};
    return is_between(color.rgbRed, range.lower.rgbRed, range.upper.rgbRed) &&
           is_between(color.rgbGreen, range.lower.rgbGreen, range.upper.rgbGreen) &&
           is_between(color.rgbBlue, range.lower.rgbBlue, range.upper.rgbBlue);
}

} // namespace

int area_of_colors(BITMAPHANDLE& bitmap, const ColorRange& range, BitsToArea to) noexcept
{
    if (bitmap.BitsPerPixel > 8 && !is_deep_gray(bitmap)) {
        ColorTest test(bitmap, range);
        return read_bitmap(bitmap, test, to);
    }
    bool takes[256];
    for (uint32_t i = 0; i < 256; ++i)
        takes[i] = takes_index(bitmap, i, range);
    TableTest test(bitmap, takes);
    return read_bitmap(bitmap, test, to);
}

int area_of_nonzero(BITMAPHANDLE& bitmap, BitsToArea to) noexcept
{
    if (bitmap.BitsPerPixel > 8) {
        NonzeroTest test(bitmap);
        return read_bitmap(bitmap, test, to);
    }
    if (bitmap.BitsPerPixel == 1) {
        const BitmapAccess access(bitmap);
        return access.result() == V_SUCCESS ? area_of_mask(bitmap, to) : access.result();
    }
    bool takes[256];
    for (uint32_t i = 0; i < 256; ++i)
        takes[i] = i != 0;
    TableTest test(bitmap, takes);
    return read_bitmap(bitmap, test, to);
}

} // namespace vk
