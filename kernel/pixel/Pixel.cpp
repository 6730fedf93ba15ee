// Single pixels, as raw bytes and as colours. A colour read goes through the buffer converter, except where a record
// says more than the converter knows: an index is looked up in the bitmap's own palette, and deep gray has a
// significant range.
#include "Vkconvert.h"
#include "Vkpixel.h"

#include "kernel/convert/Convert.h"
#include "kernel/format/GrayRange.h"
#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/palette/ColorMatch.h"
#include "kernel/palette/Palette.h"
#include "kernel/pixel/Pixel.h"
#include "kernel/rows/Locks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/system/Checks.h"

#include <algorithm>

namespace vk {

namespace {

constexpr size_t kMaxPixelBytes = kMostBits / 8;
constexpr uint32_t kIndexForm = 0x01;
constexpr uint32_t kGrayForm = 0x04;

constexpr COLORREF rgb(uint32_t red, uint32_t green, uint32_t blue) noexcept
{
    return red | green << 8 | blue << 16;
}

/// A pixel that the record has, of a size that any depth has.
bool is_inside(const BITMAPHANDLE& bitmap, int32_t row, int32_t column) noexcept
{
    return bitmap.BitsPerPixel >= 1 && bitmap.BitsPerPixel <= kMostBits && row >= 0 && row < bitmap.Height &&
           column >= 0 && column < bitmap.Width;
}

bool is_deep_gray(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.Order == COLORORDER_GRAY && bitmap.BitsPerPixel > kMostIndexBits;
}

bool is_long_gray(const BITMAPHANDLE& bitmap) noexcept
{
    return vk::is_long_gray(bitmap.BitsPerPixel, bitmap.Order);
}

/// The bits of a gray sample that count, of which there is one at least; they may reach past the sample's end.
GrayRange gray_range_of(const BITMAPHANDLE& bitmap) noexcept
{
    GrayRange range = gray_range_as_stated(bitmap.BitsPerPixel, bitmap.LowBit, bitmap.HighBit);
    range.bits = std::max(range.bits, 1u);
    return range;
}

/// Short gray samples have a colour: the top 8 bits of their range.
COLORREF deep_gray_color(const BITMAPHANDLE& bitmap, const uint8_t* pixel, int32_t column) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    if (!is_short_gray(bits, bitmap.Order))
        return kNoColor;
    const uint32_t sample = is_whole_bytes(bits) ? pixel[0] | uint32_t{pixel[1]} << 8
                                                 : extract_bits(pixel, bits, static_cast<uint32_t>(column));
    const uint32_t gray = gray_range_of(bitmap).level(sample);
    return rgb(gray, gray, gray);
}

COLORREF indexed_color(const BITMAPHANDLE& bitmap, const uint8_t* pixel, int32_t column) noexcept
{
    const int32_t bits = bitmap.BitsPerPixel;
    const uint32_t index = extract_bits(pixel, bits, static_cast<uint32_t>(column));
    const RGBQUAD* const palette = bitmap.Palette;
    if (!palette)
        return rgb(index, index, index); // unscaled: a 1-bit pixel reads as 0 or 1
    if (index >= palette_entries(bitmap))
        return rgb(0, 0, 0);
    return rgb(palette[index].rgbRed, palette[index].rgbGreen, palette[index].rgbBlue);
}

COLORREF deep_color(const BITMAPHANDLE& bitmap, uint8_t* pixel) noexcept
{
    ConvertJob job;
    job.width = 1;
    job.src_bits = bitmap.BitsPerPixel;
    job.src_order = bitmap.Order;
    job.dst_bits = 24;
    job.dst_order = COLORORDER_RGB;
    if (convert_buffer(pixel, job) != V_SUCCESS)
        return kNoColor;
    return rgb(pixel[0], pixel[1], pixel[2]);
}

/// The stored value of a colour at up to 8 bits, or -1.
int64_t index_of(const BITMAPHANDLE& bitmap, COLORREF color) noexcept
{
    const uint32_t largest = (1u << bitmap.BitsPerPixel) - 1;
    uint32_t red = color & 0xFF;
    uint32_t green = color >> 8 & 0xFF;
    uint32_t blue = color >> 16 & 0xFF;
    if (color >> 24 == kIndexForm) {
        const uint32_t index = color & 0xFFFF;
        return index <= largest ? int64_t{index} : -1;
    }
    if (color >> 24 == kGrayForm)
        red = blue = green;
    if (!bitmap.Palette) // the inverse of reading: the value stands in every channel
        return std::min(red, largest);
    return find_palette_index(bitmap.Palette, palette_entries(bitmap), static_cast<uint8_t>(red),
                              static_cast<uint8_t>(green), static_cast<uint8_t>(blue));
}

int write_index(const BITMAPHANDLE& bitmap, uint8_t* pixel, int32_t column, COLORREF color) noexcept
{
    const int64_t index = index_of(bitmap, color);
    if (index < 0)
        return V_ERROR_INVALID_PARAMETER;
    insert_bits(pixel, bitmap.BitsPerPixel, static_cast<uint32_t>(column), static_cast<uint32_t>(index));
    return V_SUCCESS;
}

int write_deep(const BITMAPHANDLE& bitmap, uint8_t* pixel, int32_t column, COLORREF color) noexcept
{
    if (color >> 24 == kIndexForm)
        return V_ERROR_INVALID_PARAMETER;
    const uint32_t gray = color >> 8 & 0xFF;
    const COLORREF value = color >> 24 == kGrayForm ? rgb(gray, gray, gray) : color;
    uint8_t converted[kMaxPixelBytes] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                                         static_cast<uint8_t>(value >> 16)};
    ConvertJob job;
    job.width = 1;
    job.src_bits = 24;
    job.src_order = COLORORDER_RGB;
    job.dst_bits = bitmap.BitsPerPixel;
    job.dst_order = bitmap.Order;
    if (is_deep_gray(bitmap)) {
        const GrayRange range = gray_range_of(bitmap);
        const int32_t bits = bitmap.BitsPerPixel;
        job.flags = CVT_DST_USE_BITS;
        job.low_bit = std::min(range.low_bit(), bits - 1);
        job.high_bit = std::min(job.low_bit + static_cast<int32_t>(range.bits), bits) - 1;
    }
    const int result = convert_buffer(converted, job);
    if (result != V_SUCCESS)
        return result;
    if (!is_whole_bytes(bitmap.BitsPerPixel))
        insert_bits(pixel, bitmap.BitsPerPixel, static_cast<uint32_t>(column),
                    extract_bits(converted, bitmap.BitsPerPixel, 0));
    else
        std::copy_n(converted, packed_bytes(1, bitmap.BitsPerPixel), pixel);
    return V_SUCCESS;
}

/// Reads the pixel's bytes, puts the colour among its neighbours and writes them back.
int put_pixel_color(BITMAPHANDLE& bitmap, int32_t row, int32_t column, COLORREF color) noexcept
{
    if (is_long_gray(bitmap))
        return V_ERROR_INVALID_PARAMETER;
    uint8_t pixel[kMaxPixelBytes] = {};
    const size_t bytes = pixel_bytes(bitmap.BitsPerPixel, column);
    BitmapAccess access(bitmap);
    if (access.result() != V_SUCCESS)
        return access.result();
    trace_access(bitmap, "V_PutPixelColor");
    intptr_t moved = get_row_col(bitmap, pixel, row, column, bytes);
    if (moved < 0)
        return static_cast<int>(moved);
    const int result = is_indexed(bitmap.BitsPerPixel) ? write_index(bitmap, pixel, column, color)
                                                       : write_deep(bitmap, pixel, column, color);
    if (result != V_SUCCESS)
        return result;
    moved = put_row_col(bitmap, pixel, row, column, bytes);
    return moved < 0 ? static_cast<int>(moved) : access.release();
}

/// Checks of the raw pixel functions.
int check_pixel(const BITMAPHANDLE* bitmap, const void* buffer, int32_t column, size_t size,
                const char* function) noexcept
{
    if (!bitmap || !buffer || !(bitmap->Flags & BITMAPFLAG_ALLOCATED))
        return V_ERROR_INVALID_IMAGE;
    if (!is_record_size(bitmap->StructSize))
        return V_ERROR_INVALID_STRUCT_SIZE;
    trace_access(*bitmap, function);
    return size < pixel_bytes(bitmap->BitsPerPixel, column) ? V_ERROR_INVALID_PARAMETER : V_SUCCESS;
}

int moved_all(intptr_t moved, size_t wanted) noexcept
{
    return moved == static_cast<intptr_t>(wanted) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

} // namespace

COLORREF pixel_color(BITMAPHANDLE& bitmap, int32_t row, int32_t column) noexcept
{
    if (is_long_gray(bitmap))
        return kNoColor;
    uint8_t pixel[kMaxPixelBytes] = {};
    const size_t bytes = pixel_bytes(bitmap.BitsPerPixel, column);
    BitmapAccess access(bitmap);
    if (access.result() != V_SUCCESS)
        return kNoColor;
    trace_access(bitmap, "V_GetPixelColor"); // a count gone wild is not put right by this access
    if (get_row_col(bitmap, pixel, row, column, bytes) != static_cast<intptr_t>(bytes))
        return kNoColor;
    access.release();
    if (is_indexed(bitmap.BitsPerPixel))
        return indexed_color(bitmap, pixel, column);
    return is_deep_gray(bitmap) ? deep_gray_color(bitmap, pixel, column) : deep_color(bitmap, pixel);
}

} // namespace vk

using namespace vk;

int V_GetPixelData(BITMAPHANDLE* pBitmap, void* pBuffer, int32_t nRow, int32_t nCol, size_t uBufferSize) noexcept
{
    const int result = check_pixel(pBitmap, pBuffer, nCol, uBufferSize, "V_GetPixelData");
    if (result != V_SUCCESS)
        return result;
    const size_t bytes = pixel_bytes(pBitmap->BitsPerPixel, nCol);
    return moved_all(get_row_col(*pBitmap, pBuffer, nRow, nCol, bytes), bytes);
}

int V_PutPixelData(BITMAPHANDLE* pBitmap, const void* pBuffer, int32_t nRow, int32_t nCol, size_t uBufferSize) noexcept
{
    const int result = check_pixel(pBitmap, pBuffer, nCol, uBufferSize, "V_PutPixelData");
    if (result != V_SUCCESS)
        return result;
    const size_t bytes = pixel_bytes(pBitmap->BitsPerPixel, nCol);
    return moved_all(put_row_col(*pBitmap, pBuffer, nRow, nCol, bytes), bytes);
}

COLORREF V_GetPixelColor(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t nCol) noexcept
{
    if (check_allocated(pBitmap) != V_SUCCESS || !is_inside(*pBitmap, nRow, nCol))
        return kNoColor;
    return pixel_color(*pBitmap, nRow, nCol);
}

int V_PutPixelColor(BITMAPHANDLE* pBitmap, int32_t nRow, int32_t nCol, COLORREF crColor) noexcept
{
    if (!pBitmap)
        return V_ERROR_INVALID_IMAGE;
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    return is_inside(*pBitmap, nRow, nCol) ? put_pixel_color(*pBitmap, nRow, nCol, crColor) : V_ERROR_INVALID_PARAMETER;
}
