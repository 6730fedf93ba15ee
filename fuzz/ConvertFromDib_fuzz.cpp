// Headers from anyone, over pixels that are as many as the header says. An input is a header with colour table or masks
// (52 bytes at least, 1064 at most), then pixels, which are filled up with zeros.
#include "fuzz/DibSupport.h"

#include "Vkbitmap.h"
#include <algorithm>

using namespace vk::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHead = 40 + 4 * 256;
    if (size < 52)
        return 0;
    std::vector<uint8_t> head(kHead);
    std::copy_n(data, std::min(size, kHead), head.begin());
    const int64_t width = value_at<int32_t>(head.data() + 4);
    const int64_t height = std::llabs(int64_t{value_at<int32_t>(head.data() + 8)});
    const int64_t bits = value_at<uint16_t>(head.data() + 14);
    if (std::llabs(width) * height > kMostPixels || width > kMostPixels || height > kMostPixels)
        return 0;
    const auto said = value_at<uint32_t>(head.data() + 20);
    const int64_t stride = (std::llabs(width) * std::max<int64_t>(bits, 32) + 31) / 8;
    std::vector<uint8_t> pixels(static_cast<size_t>(std::min<int64_t>(stride * height + 16, 1 << 24)));
    const size_t given = size > kHead ? size - kHead : size - 52;
    std::copy_n(data + size - given, std::min(given, pixels.size()), pixels.begin());
    const bool is_core = value_at<uint32_t>(head.data()) == 12; // has no compression
    const auto compression = is_core ? 0 : value_at<uint32_t>(head.data() + 16);
    if (compression == BI_RLE8 || compression == BI_RLE4) { // no more than there is, and no less
        if (said > given)
            return 0;
        pixels.assign(data + size - given, data + size - given + said);
        pixels.shrink_to_fit();
        if (pixels.empty())
            return 0;
    }
    BITMAPHANDLE bitmap;
    const auto* const info = reinterpret_cast<const BITMAPINFO*>(head.data());
    const int described = V_ConvertFromDIB(&bitmap, BITMAPHANDLE_SIZE, info, nullptr);
    require(described != V_SUCCESS || (bitmap.Flags & BITMAPFLAG_ALLOCATED) == 0);
    V_FreeBitmap(&bitmap);
    const int code = V_ConvertFromDIB(&bitmap, BITMAPHANDLE_SIZE, info, pixels.data());
    require(code != V_SUCCESS || described == V_SUCCESS);
    if (code == V_SUCCESS)
        sum_of(bitmap);
    else
        expect_empty(bitmap);
    V_FreeBitmap(&bitmap);
    return 0;
}
