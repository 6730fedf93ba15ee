// Moving an allocated bitmap's pixels to storage of another kind or other figures.
#pragma once

#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// The figures of V_SetBitmapMemoryInfo; `flags` says which of them count.
struct TileArguments {
    int64_t tile_size;
    int32_t tiles;
    int32_t memory_tiles;
    int32_t file_tiles;
    int32_t mapped_tiles;
    uint32_t flags;
};

/// V_SetBitmapMemoryInfo and V_ChangeBitmapCompression for an allocated bitmap.
int change_memory(BITMAPHANDLE& bitmap, uint32_t memory, const TileArguments& arguments) noexcept;
int change_compression(BITMAPHANDLE& bitmap, int32_t compression) noexcept;

/// The compression that a depth is toggled to; where none holds it, one that says so.
int32_t best_compression(int32_t bits) noexcept;

/// Gives a bitmap another number of rows, those that stay with their pixels. The record is left alone on failure, which
/// is ERROR_NO_MEMORY. Height.cpp.
int change_height(BITMAPHANDLE& bitmap, int32_t height) noexcept;

/// Gives back, or takes, spare memory of each band of a run-length compressed bitmap. Heap.cpp.
int trim_heap(BITMAPHANDLE& bitmap) noexcept;
int grow_heap(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept;

} // namespace vk
