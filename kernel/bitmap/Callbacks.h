// The callbacks that take part in allocation: one for the process, and nine that a bitmap may carry.
#pragma once

#include "Vkbitmap.h"
#include "Vkrecord.h"

#include <cstdint>

namespace vk {

/// The process-wide allocation callback.
struct AllocateCallback {
    V_ALLOCATEBITMAPCALLBACK function;
    void* user_data;
};

/// Installs a callback; the one before is returned.
AllocateCallback exchange_allocate_callback(const AllocateCallback& callback) noexcept;

/// Installs the region hooks; an empty record removes them.
void set_region_hooks(const REGIONCOPYHOOKS& hooks) noexcept;

/// Asks the process-wide callback, which may change `memory`. SUCCESS when there is none.
int ask_allocate_callback(BITMAPHANDLE& bitmap, uint32_t& memory, const RGBQUAD* palette) noexcept;

/// Asks the bitmap's own allocation callback, with `Handle` and `Data` cleared. SUCCESS when there is none.
int ask_data_callback(BITMAPHANDLE& bitmap, uint32_t& memory, const RGBQUAD* palette) noexcept;

/// Replaces the record's copy of a table; null removes it.
int set_data_callbacks(BITMAPHANDLE& bitmap, const BITMAPDATACALLBACKS* callbacks) noexcept;

void free_data_callbacks(BITMAPHANDLE& bitmap) noexcept;

// The region hooks, which Region.h calls. Each is called for a bitmap that has a region, and SUCCESS where there is
// none, or no hook.

/// The hook that scales the bitmap's region to a new size.
int ask_scale_hook(BITMAPHANDLE& bitmap, int32_t width, int32_t height) noexcept;

/// The hooks that flip, and reverse, the bitmap's region: both or, after a refusal, which is the result, none.
int ask_reverse_hooks(BITMAPHANDLE& bitmap, bool flip, bool mirror) noexcept;

/// Gives a bitmap a copy of another's region, or the same where nobody frees regions; else none.
int ask_copy_hook(BITMAPHANDLE& made, BITMAPHANDLE& source) noexcept;

void ask_free_hook(BITMAPHANDLE& bitmap) noexcept;

} // namespace vk
