// The run-length store beyond its Store table: rows in compressed form, and the memory of bands.
// All of it is for records whose flags say Compressed and whose storage this store made.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk {

/// True when the store has row `row` and its rows are as wide as the record says, so that compressed rows may be moved
/// without going through pixels.
bool compressed_has_row(const BITMAPHANDLE& bitmap, int32_t row) noexcept;

/// The stored row, 4 + 2N bytes in the form compress gives; null for a row of clear pixels, which takes no memory.
const void* compressed_row(const BITMAPHANDLE& bitmap, int32_t row) noexcept;

/// Replaces a row by the pixels of a run-length row, whatever its words; not one that compressed_row gave for the same
/// bitmap. SUCCESS or ERROR_NO_MEMORY, the row then being what it was. The caller recounts `Size`.
int compressed_put_row(BITMAPHANDLE& bitmap, int32_t row, const void* run_row) noexcept;

size_t compressed_bands(const BITMAPHANDLE& bitmap) noexcept;
/// Gives the memory back that a band does not use; false when that takes memory which cannot be had.
bool compressed_trim_band(BITMAPHANDLE& bitmap, size_t band) noexcept;
/// Makes room for `bytes` more bytes of run words in a band.
bool compressed_grow_band(BITMAPHANDLE& bitmap, size_t band, uint64_t bytes) noexcept;

} // namespace vk
