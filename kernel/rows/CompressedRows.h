// Rows of 1-bit bitmaps in run-length form.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/RowMath.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// The pixels of a row from a column to the end, or as many as a transfer concerns, and the bytes that hold them.
struct RowSpan {
    int32_t row;
    int32_t column;
    uint32_t pixels;

    uint32_t bit() const noexcept { return static_cast<uint32_t>(column) % 8u; }
    size_t bytes() const noexcept { return static_cast<size_t>(packed_bytes(uint64_t{bit()} + pixels, 1)); }
};

/// Gives a span's pixels as one run-length row; `room` is the buffer's size. Bytes used, or a negative code.
intptr_t get_compressed(BITMAPHANDLE& bitmap, void* buffer, const RowSpan& span, size_t room) noexcept;

/// Puts a run-length row over a span: all of it when `whole`, else as many pixels as its runs cover.
intptr_t put_compressed(BITMAPHANDLE& bitmap, const void* run_row, RowSpan span, size_t room, bool whole) noexcept;

} // namespace vk
