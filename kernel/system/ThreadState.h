// The defaults and callbacks that each thread keeps for itself, with one process-wide state behind them for threads
// that have set nothing. A thread's own state begins as a copy of the process-wide one when the thread first sets a
// value, and is gone with the thread: it holds values and borrowed pointers only, nothing to free.
#pragma once

#include "Vkrecord.h"
#include "Vksystem.h"
#include "kernel/system/RedirectSlots.h"

#include <cstdint>

namespace vk {

constexpr int32_t kDefaultResolution = 150;
constexpr uint64_t kDefaultTileSize = 0x1000000;

struct ThreadState {
    uint32_t default_memory_type = TYPE_CONV;
    int32_t reserved_memory = 0;
    int64_t max_conv_size = -100;
    int64_t tile_size = 0;
    int32_t conv_tiles = 0;
    int32_t conv_buffers = 0;
    int32_t default_dithering = 1; ///< Floyd-Steinberg
    int32_t default_x_resolution = kDefaultResolution;
    int32_t default_y_resolution = kDefaultResolution;
    uint32_t* user_match_table = nullptr;
    V_STATUSCALLBACK status_callback = nullptr;
    void* status_user_data = nullptr;
    redirect::Table redirect = {}; ///< operations in front of the library's; 0 where the thread has none
};

/// The calling thread's values: its own state, or the process-wide one.
const ThreadState& thread_state() noexcept;

/// The calling thread's own state, made now if it has none.
ThreadState& thread_state_for_set() noexcept;

/// The tile size in force.
uint64_t tile_size_in_force() noexcept;

} // namespace vk
