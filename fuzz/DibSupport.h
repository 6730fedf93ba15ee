// What the DIB targets share: bitmaps that must be sound when a function says so, and empty when it does not.
#pragma once

#include "Vkdib.h"
#include "Vkrows.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace vk::fuzz {

inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Far more pixels than the input has bytes would only make memory and time run out.
constexpr int64_t kMostPixels = 1 << 20;

inline void expect_empty(const BITMAPHANDLE& bitmap)
{
    require(bitmap.Flags == 0 && !bitmap.Handle && !bitmap.Data && !bitmap.Palette && !bitmap.PaintLUT);
}

/// Reads every byte of the rows, and every palette entry.
inline uint64_t sum_of(BITMAPHANDLE& bitmap)
{
    require(V_AccessBitmap(&bitmap) == V_SUCCESS);
    std::vector<uint8_t> row(bitmap.BytesPerLine);
    uint64_t sum = 0;
    for (int32_t y = 0; y < bitmap.Height; ++y) {
        require(V_GetBitmapRow(&bitmap, row.data(), y, row.size()) == static_cast<intptr_t>(row.size()));
        for (const uint8_t byte : row)
            sum += byte;
    }
    require(V_ReleaseBitmap(&bitmap) == V_SUCCESS);
    for (uint32_t i = 0; bitmap.Palette && i < bitmap.Colors; ++i)
        sum += bitmap.Palette[i].rgbGreen;
    return sum;
}

template <class Value> Value value_at(const uint8_t* data)
{
    Value value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

} // namespace vk::fuzz
