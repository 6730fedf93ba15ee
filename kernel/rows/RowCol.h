// Row transfer for the kernel itself: the exported row functions without their argument checks. Every operation on
// whole bitmaps moves its pixels through these two, whatever the storage.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// Copies `bytes` stored bytes from row `row`, pixel column `column` on. Bytes moved, or a negative code.
intptr_t get_row_col(BITMAPHANDLE& bitmap, void* buffer, int32_t row, int32_t column, size_t bytes) noexcept;
intptr_t put_row_col(BITMAPHANDLE& bitmap, const void* buffer, int32_t row, int32_t column, size_t bytes) noexcept;

inline intptr_t get_row(BITMAPHANDLE& bitmap, void* buffer, int32_t row, size_t bytes) noexcept
{
    return get_row_col(bitmap, buffer, row, 0, bytes);
}

inline intptr_t put_row(BITMAPHANDLE& bitmap, const void* buffer, int32_t row, size_t bytes) noexcept
{
    return put_row_col(bitmap, buffer, row, 0, bytes);
}

/// The result code of a transfer: SUCCESS, or what it failed with.
inline int code_of(intptr_t moved) noexcept
{
    return moved < 0 ? static_cast<int>(moved) : V_SUCCESS;
}

/// Writes the stored bytes of a compressed bitmap into its size fields.
void recount_size(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
