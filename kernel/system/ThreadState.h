// The defaults and callbacks that each thread keeps for itself, with one process-wide state behind them for threads
// that have set nothing. A thread's own state begins as a copy of the process-wide one when the thread first sets a
// value, and is gone with the thread: it holds values and borrowed pointers only, nothing to free.
//
// A thread without own values looks at a copy of the process-wide ones, too, which it makes anew when their number has
// changed; so looking costs no lock.
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
    int32_t workers = 1;           ///< threads that an operation may use; 0: as many as processors
    int32_t default_x_resolution = kDefaultResolution;
    int32_t default_y_resolution = kDefaultResolution;
    uint32_t* user_match_table = nullptr;
    V_STATUSCALLBACK status_callback = nullptr;
    void* status_user_data = nullptr;
    redirect::Table redirect = {}; ///< operations in front of the library's; 0 where the thread has none
};

/// The calling thread's values: its own state, or the process-wide one. The next call may change what is referred to.
const ThreadState& thread_state() noexcept;

/// The calling thread's own state, made now if it has none.
ThreadState& thread_state_for_set() noexcept;

/// The calling thread's values as other threads may have them: without buffer redirections.
ThreadState state_to_hand_over() noexcept;

/// Makes a state the process-wide one.
void set_process_state(const ThreadState& state) noexcept;

/// Forgets the calling thread's own state. False when it cannot go: a buffer redirection is running.
bool drop_thread_state() noexcept;

/// Lets the calling thread have set nothing for the length of a scope. What it has set comes back then.
class FreshThreadState {
public:
    FreshThreadState() noexcept;
    ~FreshThreadState();
    FreshThreadState(const FreshThreadState&) = delete;
    FreshThreadState& operator=(const FreshThreadState&) = delete;

private:
    bool had_own_;
    ThreadState own_;
};

/// The tile size in force.
uint64_t tile_size_in_force() noexcept;

} // namespace vk
