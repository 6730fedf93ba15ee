// The platform layer: everything the library asks of the operating system, as plain functions.
//
// `platform/posix` and `platform/win32` implement these functions in namespace vk::backend; `platform/forward.cpp`
// binds vk::platform to the back end for the shipped library, `platform/fault/` does so for test programs, where every
// call that can fail can be made to fail. Only files below platform/ include system headers.
//
// Functions report a Status; `to_result` alone turns one into a result code. An out argument is written on
// Status::ok only, unless said otherwise.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vk {

/// What a system call came to.
enum class Status {
    ok,
    no_memory,   ///< memory, address space or handles ran out
    not_found,   ///< no such file or directory
    exists,      ///< a file that must be new is there already
    denied,      ///< no permission, read-only, sharing violation
    disk_full,   ///< no space, quota or file-size limit
    bad_handle,  ///< a handle that is not open
    bad_name,    ///< a file name the system cannot take
    too_long,    ///< a name that the room for it does not hold
    unsupported, ///< the system has no such service
    failed,      ///< anything else
};

/// The result code of a status; `fallback` for those that have no code of their own.
int to_result(Status status, int fallback) noexcept;

/// No file.
constexpr int64_t kNoFile = -1;

/// Room for a temporary file name, in characters with the final zero.
constexpr size_t kMaxTempName = 260;

/// A block of pixel memory: aligned to a cache line, given back whole.
struct Section {
    void* handle = nullptr; ///< the system's object, where it has one, or what the back end got the block as
    void* view = nullptr;   ///< first byte
    size_t bytes = 0;       ///< size asked for
};

/// What a new block of pixel memory holds.
enum class Contents : uint8_t {
    zeroed,
    unspecified, ///< for who writes every byte before anybody looks: what an earlier block left there, perhaps
};

/// The bound on the stock of freed sections that the platform works out itself.
constexpr uint64_t kDefaultStock = UINT64_MAX;

/// The memory that the process may use, in bytes, as it was a tenth of a second ago at most. What the stock of freed
/// sections holds is available.
struct MemoryStatus {
    uint64_t total_physical = 0;
    uint64_t available_physical = 0;
    uint64_t total_page_file = 0; ///< swap space
    uint64_t available_page_file = 0;
};

enum class Access : uint8_t { read, write, read_write };
enum class Share : uint8_t { none, read, read_write };
enum class Disposition : uint8_t {
    open_existing,
    create_always,     ///< a new file, or an existing one emptied
    truncate_existing, ///< an existing file, emptied
};

struct OpenOptions {
    Access access = Access::read;
    Share share = Share::none;
    Disposition disposition = Disposition::open_existing;
    bool delete_on_close = false; ///< gone when the last handle closes, also after a crash
    bool read_only = false;       ///< attributes of a file that is created
    bool hidden = false;
    bool system = false;
};

enum class Origin : uint8_t { start, current, end };

/// Views of files start at multiples of this.
constexpr size_t kMapGranularity = 65536;

/// What a thread runs.
#if defined(_WIN32)
using ThreadRoutine = unsigned long (*)(void*);
#else
using ThreadRoutine = uint32_t (*)(void*);
#endif

/// What gets the parameter of a routine that will not run.
using ThreadDrop = void (*)(void*);

/// What waiting came to.
enum class Waited : uint8_t { signalled, timed_out, failed };

/// A time to wait that never ends.
constexpr uint32_t kForever = 0xFFFFFFFF;

/// Room for a reader/writer lock.
constexpr size_t kLockBytes = 64;

/// A mutex that is there before any code runs, and needs no destruction: zero when it is free. Its size and alignment
/// are those of a pointer, which is what every system makes do with.
struct alignas(void*) PlainMutex {
    std::atomic<uint32_t> word{0};
    uint32_t rest = 0; ///< the system's
};

/// What has to be at rest while the process is copied: entered before each fork, left after it in both processes. See
/// guard_forks; an object of static storage, which is never destroyed.
struct ForkGuard {
    void (*enter)(ForkGuard& self) noexcept;
    void (*leave)(ForkGuard& self, bool is_child) noexcept;
    ForkGuard* next = nullptr;      ///< the platform's
    std::atomic<bool> known{false}; ///< the platform's: guards forks from now on
};

namespace platform {
#include "platform/functions.inc"
}

namespace backend {
#include "platform/functions.inc"
/// Test builds only: moves an unlocked movable block to a new address and poisons the old one.
void movable_relocate(void* handle) noexcept;
} // namespace backend

} // namespace vk
