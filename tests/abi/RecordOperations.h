// Every operation on a bitmap record, one row each, for earlier_record_test.cpp and tests/faults. The rows of a family
// stand in RecordOperations_<family>.cpp; a test sees to it that no exported function that takes a record is left out.
// An operation copes with any call in it failing: it gives back what it made and returns the failure.
#pragma once

#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace vk::testing {

using B = BITMAPHANDLE*;

constexpr int32_t kWidth = 37;
constexpr int32_t kHeight = 9;
constexpr size_t kRow = 512; ///< more than a row of any kind tried here

inline std::array<uint8_t, kRow> g_row; ///< rows for the operations

/// What a failure leaves of the bitmap.
enum class Failed : uint8_t {
    leaves_it, ///< as it was, to the byte
    part_way,  ///< usable, with some of the work done, as the function's description has it or for being several calls
};

struct RecordOperation {
    const char* name; ///< the functions it is there for
    intptr_t (*run)(B bitmap);
    bool tests_size = true; ///< a record of neither size is ERROR_INVALID_STRUCT_SIZE
    Failed failed = Failed::leaves_it;
};
using Family = std::vector<RecordOperation>;

/// In each family, read from top to bottom, the rows are the life of a bitmap.
extern const Family row_operations, palette_operations, dither_operations, bitmap_operations, view_operations,
    rotate_operations, warp_operations, combine_operations, resize_operations, resample_operations, dib_operations,
    list_operations, storage_operations, region_operations, window_operations, overlay_operations, fill_operations,
    display_operations, yuv_operations;

/// All families, in their order.
inline std::vector<Family> all_families()
{
    return {row_operations,     palette_operations, dither_operations,  bitmap_operations, view_operations,
            rotate_operations,  warp_operations,    combine_operations, resize_operations, resample_operations,
            dib_operations,     list_operations,    storage_operations, region_operations, window_operations,
            overlay_operations, fill_operations,    display_operations, yuv_operations};
}

/// Their operations.
inline Family all_operations()
{
    Family all;
    for (const Family& family : all_families())
        all.insert(all.end(), family.begin(), family.end());
    return all;
}

/// An operation without further arguments.
template <auto function> intptr_t plain(B bitmap)
{
    return function(bitmap);
}

/// Sixteen entries of different colours.
inline std::vector<RGBQUAD> sixteen_colors()
{
    std::vector<RGBQUAD> entries(16);
    EXPECT_EQ(SUCCESS, V_GetFixedPalette(entries.data(), 4));
    return entries;
}

/// An operation that needs a second record: one of the same kind (of the earlier one where that is neither), empty at
/// first, whose tail must survive and which is freed afterwards.
template <class Run> intptr_t with_other(B bitmap, Run run)
{
    const uint32_t size = bitmap->StructSize == BITMAPHANDLE_SIZE ? BITMAPHANDLE_SIZE : BITMAPHANDLE_SIZE_EARLIER;
    std::vector<uint8_t> block(size + 96, 0xA5);
    auto* other = reinterpret_cast<B>(block.data());
    EXPECT_EQ(SUCCESS, V_InitBitmap(other, size, 0, 0, 0));
    const auto result = static_cast<intptr_t>(run(bitmap, other, size));
    V_FreeBitmap(other);
    EXPECT_EQ(96, std::count(block.begin() + static_cast<std::ptrdiff_t>(size), block.end(), 0xA5)) << "second record";
    return result;
}

} // namespace vk::testing
