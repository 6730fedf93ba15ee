// The argument checks that exported functions share, and the facts about the two record sizes.
// A check returns SUCCESS or the code to hand back; callers test in the documented order.
#pragma once

#include "Vkrecord.h"
#include "Vksystem.h"

#include <cstdint>

namespace vk {

constexpr uint32_t kRecordSize = BITMAPHANDLE_SIZE;
constexpr uint32_t kEarlierRecordSize = BITMAPHANDLE_SIZE_EARLIER;
/// Largest data size an earlier record can state.
constexpr uint64_t kEarlierSizeLimit = 0xFFFF0000u;

constexpr bool is_record_size(uint32_t size) noexcept
{
    return size == kRecordSize || size == kEarlierRecordSize;
}

/// Null: ERROR_INVALID_PARAMETER; wrong size: ERROR_INVALID_STRUCT_SIZE.
inline int check_record(const BITMAPHANDLE* bitmap) noexcept
{
    if (!bitmap)
        return V_ERROR_INVALID_PARAMETER;
    return is_record_size(bitmap->StructSize) ? V_SUCCESS : V_ERROR_INVALID_STRUCT_SIZE;
}

/// As check_record, and ERROR_INVALID_IMAGE without storage.
inline int check_allocated(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_record(bitmap);
    if (result != V_SUCCESS)
        return result;
    return bitmap->Flags & BITMAPFLAG_ALLOCATED ? V_SUCCESS : V_ERROR_INVALID_IMAGE;
}

/// True for a record that has the fields behind LUTLength16; false for the earlier one and for sizes nobody knows.
inline bool is_current(const BITMAPHANDLE& bitmap) noexcept
{
    return bitmap.StructSize == kRecordSize;
}

inline uint64_t data_size(const BITMAPHANDLE& bitmap) noexcept
{
    return is_current(bitmap) ? bitmap.Size64 : bitmap.Size;
}

/// Writes the data size; an earlier record states no more than its limit.
inline void set_data_size(BITMAPHANDLE& bitmap, uint64_t size) noexcept
{
    if (is_current(bitmap)) {
        bitmap.Size = size;
        bitmap.Size64 = size;
    } else {
        bitmap.Size = size < kEarlierSizeLimit ? size : kEarlierSizeLimit;
    }
}

/// BytesPerLine * Height.
inline uint64_t plain_size(const BITMAPHANDLE& bitmap) noexcept
{
    const int32_t height = bitmap.Height;
    return static_cast<uint64_t>(bitmap.BytesPerLine) * static_cast<uint32_t>(height > 0 ? height : 0);
}

/// The record's data callbacks; null when it has none or cannot have any.
inline const BITMAPDATACALLBACKS* data_callbacks(const BITMAPHANDLE& bitmap) noexcept
{
    return is_current(bitmap) ? bitmap.DataCallbacks : nullptr;
}

} // namespace vk
