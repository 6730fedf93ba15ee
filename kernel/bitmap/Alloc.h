// Making, replacing and freeing the storage of a bitmap.
#pragma once

#include "Vkrecord.h"
#include "kernel/storage/Storage.h"

#include <cstdint>

namespace vk {

/// The tile figures and limits that the calling thread's settings give for `bytes` bytes. The memory limit is 0.
StoreRequest store_request(uint64_t bytes) noexcept;

/// Bytes that may be had as conventional memory at this moment, by the thread's thresholds.
uint64_t conventional_limit() noexcept;

/// Gives the record the paint table that every allocated bitmap has; false without memory.
bool give_paint_table(BITMAPHANDLE& bitmap) noexcept;

/// Whether a new bitmap's pixels are clear, or every one is written before the bitmap, or what becomes of it, is shown
/// to anybody: callers, callbacks, other threads. What pads the rows is clear in any case, unless whole rows are
/// written, in place, with what pads them.
enum class NewPixels : uint8_t { clear, to_be_written, rows_to_be_written };

/// For a record that is the caller's while it is filled: its status callback may look at it.
NewPixels pixels_of_shown_record() noexcept;

/// Allocates storage of a requested kind, with the paint table and all callbacks. The record keeps its state on
/// failure.
int allocate_bitmap(BITMAPHANDLE& bitmap, uint32_t memory, const RGBQUAD* palette,
                    NewPixels pixels = NewPixels::clear) noexcept;

/// Chooses among conventional, tiled and disk storage for an accepted request and makes it. Callbacks are not asked.
int allocate_plain(BITMAPHANDLE& bitmap, uint32_t memory, NewPixels pixels = NewPixels::clear) noexcept;

/// Points the record at memory of the caller's, which it then never frees. ERROR_INVALID_PARAMETER for a bitmap that
/// does not take any of that size.
int set_data_pointer(BITMAPHANDLE& bitmap, void* data, uint64_t bytes) noexcept;

/// V_FreeBitmap for a record of valid size.
void free_bitmap(BITMAPHANDLE& bitmap) noexcept;

/// Moves the pixels into storage that `make(staged)` creates on a copy of the record without storage. The record takes
/// the new storage over on success only.
using MakeStorage = int (*)(BITMAPHANDLE& staged, const void* context) noexcept;
int move_storage(BITMAPHANDLE& bitmap, MakeStorage make, const void* context) noexcept;

} // namespace vk
