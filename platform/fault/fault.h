// The test binding of the platform layer: every call that can fail can be made to fail, and what the kernel acquires
// and gives back is counted.
//
// Test programs link fault.cpp instead of forward.cpp, on both systems; nothing of it is in the library. Arming and
// disarming are for one thread, between the calls it tests; the calls themselves may come from any thread. Calls are
// counted where they pass this layer: off Windows that includes a test's own V_Global calls, on Windows it does not.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace vk::fault {

/// The calls that can fail.
enum class Call : uint8_t {
    heap_alloc,
    heap_realloc,
    section_create,
    section_resize,
    movable_alloc,
    movable_realloc,
    movable_lock,
    memory_status,
    handle_count,
    file_open,  ///< and, behind a temp_name, opening a file that never has a name
    file_read,  ///< at a position, too
    file_write, ///< at a position, too
    file_seek,
    file_truncate, ///< and setting a size
    file_reserve,
    file_map,
    file_close,  ///< the file is closed all the same; only the report is of a failure
    file_delete, ///< likewise: the file is gone, so that tests leave none behind
    temp_directory,
    temp_name,
    event_create,
    event_duplicate,
    lock_create,
    processor_count, ///< the answer is 0
    thread_start,
    pool_queue,
    module_open,
    module_symbol,
};
constexpr size_t kCalls = static_cast<size_t>(Call::module_symbol) + 1;

const char* name_of(Call call) noexcept;

/// Makes the n-th call from now fail, counted from 1, and with `persistent` every later one too. 0 only counts.
/// Counting starts anew.
void arm(uint64_t n, bool persistent) noexcept;
/// The same for the calls of one kind.
void arm_call(Call call, uint64_t n, bool persistent) noexcept;
/// Nothing fails any more. What was counted can still be asked for.
void disarm() noexcept;

/// Calls since the last arming, of all kinds or of one.
uint64_t calls() noexcept;
uint64_t calls(Call call) noexcept;
/// Whether a call was made to fail since the last arming.
bool fired() noexcept;

/// The status of calls made to fail. Status::ok, as at the start: what is usual for each kind.
void set_status(Status status) noexcept;
/// Lets reads and writes move at most half of what they are asked for, but at least one byte.
void set_short_transfers(bool on) noexcept;

/// What was acquired through this layer and is not yet given back.
///
/// Movable blocks are the system's on Windows, where callers lock and free them without passing here. So only blocks
/// and locks that came about here are counted, each block by its handle, and a block is left out once its handle is not
/// valid any more, locks once the block has fewer. No figure is ever negative.
struct Live {
    int64_t heap = 0;
    int64_t sections = 0;
    int64_t movables = 0;
    int64_t locks = 0;
    int64_t files = 0;
    int64_t views = 0;
    int64_t events = 0;
    int64_t rw_locks = 0;
    int64_t modules = 0;

    bool operator==(const Live&) const = default;
};

Live live() noexcept;

} // namespace vk::fault
