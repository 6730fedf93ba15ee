// Device-independent bitmaps in and out.
#pragma once

#include "Vkrecord.h"
#include "kernel/dib/Header.h"

#include <cstdint>

namespace vk {

/// A DIB in memory, with how much of it may be read. For the exported function, which is told no sizes, that is all.
struct DibSource {
    const uint8_t* header = nullptr;
    uint64_t header_room = UINT64_MAX;
    const uint8_t* bits = nullptr; ///< null: only describe the bitmap
    uint64_t bits_room = UINT64_MAX;
};

/// V_ConvertFromDIB for a record of a size there is. On failure the record is empty but for StructSize.
int convert_from_dib(BITMAPHANDLE& bitmap, uint32_t struct_size, const DibSource& dib) noexcept;

/// V_ChangeFromDIB, or V_MirrorFromDIB when the block is borrowed, for a record of a size there is. On failure the
/// record is empty but for StructSize, and the block is still its owner's.
int adopt_dib(BITMAPHANDLE& bitmap, uint32_t struct_size, HGLOBAL handle, bool borrow) noexcept;

/// The DIB of an allocated bitmap, as movable memory or from the library's heap; `size` may be null. Null on failure.
void* convert_to_dib(BITMAPHANDLE& bitmap, uint32_t type, uint32_t* size, bool global) noexcept;

/// The same, and the bitmap is freed.
HGLOBAL change_to_dib(BITMAPHANDLE& bitmap, uint32_t type) noexcept;

/// Codes whose pixels a codec module decodes.
bool is_jpeg_code(uint32_t code) noexcept;

/// Gives a bitmap of up to 8 bits a palette from a colour table, `entry_bytes` (3 or 4) for each of 1 to 256 entries.
int set_color_table(BITMAPHANDLE& bitmap, const uint8_t* table, uint32_t count, uint32_t entry_bytes) noexcept;

} // namespace vk
