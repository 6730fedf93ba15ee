// Implements fault.h: vk::platform on top of vk::backend, with a gate before every call that can fail.
//
// Besides failing on demand it makes carelessness show: new heap memory, and sections that need not be cleared, are
// filled with 0xCD, and a movable block moves whenever its last lock goes. The stock of freed sections lies behind this
// layer: a section in stock is not live, and one that comes from it is made like any other.
#include "platform/fault/Gate.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

namespace vk::fault {

namespace {

constexpr size_t kAnyCall = kCalls;
constexpr uint32_t kInvalidHandle = 0x8000;
constexpr uint32_t kLockCount = 0xFF;

struct Kind {
    const char* name;
    Status status; ///< what a failure of this kind usually is
};

constexpr Kind kKinds[kCalls] = {
    {"heap_alloc", Status::no_memory},     {"heap_realloc", Status::no_memory},
    {"section_create", Status::no_memory}, {"section_resize", Status::no_memory},
    {"movable_alloc", Status::no_memory},  {"movable_realloc", Status::no_memory},
    {"movable_lock", Status::no_memory},   {"memory_status", Status::failed},
    {"handle_count", Status::failed},      {"file_open", Status::denied},
    {"file_read", Status::failed},         {"file_write", Status::disk_full},
    {"file_seek", Status::failed},         {"file_truncate", Status::disk_full},
    {"file_reserve", Status::disk_full},   {"file_map", Status::no_memory},
    {"file_close", Status::failed},        {"file_delete", Status::denied},
    {"temp_directory", Status::failed},    {"temp_name", Status::denied},
    {"event_create", Status::no_memory},   {"event_duplicate", Status::no_memory},
    {"lock_create", Status::no_memory},    {"processor_count", Status::failed},
    {"thread_start", Status::no_memory},   {"pool_queue", Status::no_memory},
    {"module_open", Status::not_found},    {"module_symbol", Status::not_found},
};

std::atomic<uint64_t> seen[kCalls + 1]; ///< by kind, and all of them at kAnyCall
std::atomic<size_t> armed_call{kAnyCall};
std::atomic<uint64_t> armed_number{0};
std::atomic<bool> armed_persistent{false};
std::atomic<bool> has_fired{false};
std::atomic<Status> injected{Status::ok};
std::atomic<bool> short_transfers{false};

std::atomic<int64_t> live_heap{0};
std::atomic<int64_t> live_sections{0};
std::atomic<int64_t> live_files{0};
std::atomic<int64_t> live_views{0};

/// What this layer knows of a movable block.
struct Movable {
    bool made = false;  ///< allocated here
    bool fixed = false; ///< its handle is its address, which cannot be tested for being valid
    int64_t locks = 0;  ///< taken here and not given back here
};

std::mutex movables_mutex;

std::map<void*, Movable>& movables() noexcept
{
    static auto* map = new std::map<void*, Movable>; // outlives every user, also at the program's end
    return *map;
}

void arm_any(size_t call, uint64_t n, bool persistent) noexcept
{
    armed_number = 0;
    for (auto& count : seen)
        count = 0;
    has_fired = false;
    armed_call = call;
    armed_persistent = persistent;
    armed_number = n;
}

void note_movable(void* handle, bool fixed) noexcept
{
    const std::lock_guard guard(movables_mutex);
    movables()[handle] = Movable{true, fixed, 0};
}

/// A fixed block got a new handle.
void note_moved(void* from, void* to) noexcept
{
    const std::lock_guard guard(movables_mutex);
    const auto found = movables().find(from);
    if (found == movables().end() || from == to)
        return;
    movables()[to] = found->second;
    movables().erase(from);
}

void note_freed(void* handle) noexcept
{
    const std::lock_guard guard(movables_mutex);
    movables().erase(handle);
}

void note_lock(void* handle) noexcept
{
    const std::lock_guard guard(movables_mutex);
    ++movables()[handle].locks;
}

void note_unlock(void* handle) noexcept
{
    const std::lock_guard guard(movables_mutex);
    const auto found = movables().find(handle);
    if (found == movables().end() || found->second.locks == 0)
        return;
    if (--found->second.locks == 0 && !found->second.made)
        movables().erase(found);
}

void count_movables(Live& live) noexcept
{
    const std::lock_guard guard(movables_mutex);
    for (auto entry = movables().begin(); entry != movables().end();) {
        const Movable& block = entry->second;
        const uint32_t flags = block.fixed ? 0 : backend::movable_flags(entry->first);
        if ((flags & kInvalidHandle) != 0) { // freed by its owner, past this layer
            entry = movables().erase(entry);
            continue;
        }
        live.movables += block.made ? 1 : 0;
        live.locks += std::min<int64_t>(block.locks, flags & kLockCount);
        ++entry;
    }
}

size_t transfer_size(size_t bytes) noexcept
{
    return short_transfers && bytes > 1 ? bytes / 2 : bytes;
}

} // namespace

bool must_fail(Call call) noexcept
{
    const auto kind = static_cast<size_t>(call);
    const uint64_t of_kind = seen[kind].fetch_add(1) + 1;
    const uint64_t of_any = seen[kAnyCall].fetch_add(1) + 1;
    const uint64_t number = armed_number;
    const size_t armed = armed_call;
    if (number == 0 || (armed != kAnyCall && armed != kind))
        return false;
    const uint64_t count = armed == kAnyCall ? of_any : of_kind;
    if (count != number && !(armed_persistent && count > number))
        return false;
    has_fired = true;
    return true;
}

Status failure_of(Call call) noexcept
{
    const Status status = injected;
    return status == Status::ok ? kKinds[static_cast<size_t>(call)].status : status;
}

const char* name_of(Call call) noexcept
{
    return kKinds[static_cast<size_t>(call)].name;
}

void arm(uint64_t n, bool persistent) noexcept
{
    arm_any(kAnyCall, n, persistent);
}

void arm_call(Call call, uint64_t n, bool persistent) noexcept
{
    arm_any(static_cast<size_t>(call), n, persistent);
}

void disarm() noexcept
{
    armed_number = 0;
}

uint64_t calls() noexcept
{
    return seen[kAnyCall];
}

uint64_t calls(Call call) noexcept
{
    return seen[static_cast<size_t>(call)];
}

bool fired() noexcept
{
    return has_fired;
}

void set_status(Status status) noexcept
{
    injected = status;
}

void set_short_transfers(bool on) noexcept
{
    short_transfers = on;
}

Live live() noexcept
{
    Live now;
    now.heap = live_heap;
    now.sections = live_sections;
    now.files = live_files;
    now.views = live_views;
    count_thread_objects(now);
    now.modules = count_modules();
    count_movables(now);
    return now;
}

} // namespace vk::fault

namespace vk::platform {

using fault::Call;
using fault::failure_of;
using fault::must_fail;

void* heap_alloc(size_t bytes) noexcept
{
    void* block = must_fail(Call::heap_alloc) ? nullptr : backend::heap_alloc(bytes);
    if (block != nullptr) {
        std::memset(block, 0xCD, bytes);
        ++fault::live_heap;
    }
    return block;
}

void* heap_realloc(void* block, size_t bytes) noexcept
{
    void* grown = must_fail(Call::heap_realloc) ? nullptr : backend::heap_realloc(block, bytes);
    if (grown != nullptr && block == nullptr)
        ++fault::live_heap;
    return grown;
}

void heap_free(void* block) noexcept
{
    if (block != nullptr)
        --fault::live_heap;
    backend::heap_free(block);
}

Status section_create(size_t bytes, Contents contents, Section* section) noexcept
{
    if (must_fail(Call::section_create))
        return failure_of(Call::section_create);
    const Status status = backend::section_create(bytes, contents, section);
    if (status == Status::ok) {
        ++fault::live_sections;
        if (contents == Contents::unspecified)
            std::memset(section->view, 0xCD, bytes);
    }
    return status;
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    return must_fail(Call::section_resize) ? failure_of(Call::section_resize) : backend::section_resize(section, bytes);
}

void section_free(Section* section) noexcept
{
    if (section->view != nullptr)
        --fault::live_sections;
    backend::section_free(section);
}

void* movable_alloc(uint32_t flags, size_t bytes) noexcept
{
    constexpr uint32_t kMoveable = 0x0002;
    void* handle = must_fail(Call::movable_alloc) ? nullptr : backend::movable_alloc(flags, bytes);
    if (handle != nullptr)
        fault::note_movable(handle, (flags & kMoveable) == 0);
    return handle;
}

void* movable_realloc(void* handle, size_t bytes, uint32_t flags) noexcept
{
    void* grown = must_fail(Call::movable_realloc) ? nullptr : backend::movable_realloc(handle, bytes, flags);
    if (grown != nullptr)
        fault::note_moved(handle, grown);
    return grown;
}

void* movable_lock(void* handle) noexcept
{
    void* data = must_fail(Call::movable_lock) ? nullptr : backend::movable_lock(handle);
    if (data != nullptr && data != handle)
        fault::note_lock(handle);
    return data;
}

int movable_unlock(void* handle) noexcept
{
    fault::note_unlock(handle);
    const int locked = backend::movable_unlock(handle);
    if (locked == 0)
        backend::movable_relocate(handle);
    return locked;
}

void* movable_free(void* handle) noexcept
{
    // First, as the handle may be another thread's new block right after.
    fault::note_freed(handle);
    return backend::movable_free(handle);
}

size_t movable_size(void* handle) noexcept
{
    return backend::movable_size(handle);
}

void* movable_handle(const void* data) noexcept
{
    return backend::movable_handle(data);
}

uint32_t movable_flags(void* handle) noexcept
{
    return backend::movable_flags(handle);
}

Status file_open(const wchar_t* name, const OpenOptions& options, int64_t* file) noexcept
{
    if (must_fail(Call::file_open))
        return failure_of(Call::file_open);
    const Status status = backend::file_open(name, options, file);
    if (status == Status::ok)
        ++fault::live_files;
    return status;
}

Status temp_file(const wchar_t* directory, const wchar_t* prefix, int64_t* file) noexcept
{
    for (const Call part : {Call::temp_name, Call::file_open})
        if (must_fail(part))
            return failure_of(part);
    const Status status = backend::temp_file(directory, prefix, file);
    if (status == Status::ok)
        ++fault::live_files;
    return status;
}

Status file_read(int64_t file, void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (must_fail(Call::file_read))
        return failure_of(Call::file_read);
    return backend::file_read(file, buffer, fault::transfer_size(bytes), moved);
}

Status file_write(int64_t file, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (must_fail(Call::file_write))
        return failure_of(Call::file_write);
    return backend::file_write(file, buffer, fault::transfer_size(bytes), moved);
}

Status file_seek(int64_t file, int64_t offset, Origin origin, int64_t* position) noexcept
{
    if (must_fail(Call::file_seek))
        return failure_of(Call::file_seek);
    return backend::file_seek(file, offset, origin, position);
}

Status file_truncate(int64_t file) noexcept
{
    return must_fail(Call::file_truncate) ? failure_of(Call::file_truncate) : backend::file_truncate(file);
}

Status file_read_at(int64_t file, int64_t offset, void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (must_fail(Call::file_read))
        return failure_of(Call::file_read);
    return backend::file_read_at(file, offset, buffer, fault::transfer_size(bytes), moved);
}

Status file_write_at(int64_t file, int64_t offset, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (must_fail(Call::file_write))
        return failure_of(Call::file_write);
    return backend::file_write_at(file, offset, buffer, fault::transfer_size(bytes), moved);
}

Status file_set_size(int64_t file, int64_t size) noexcept
{
    return must_fail(Call::file_truncate) ? failure_of(Call::file_truncate) : backend::file_set_size(file, size);
}

Status file_reserve(int64_t file, int64_t offset, size_t bytes) noexcept
{
    return must_fail(Call::file_reserve) ? failure_of(Call::file_reserve) : backend::file_reserve(file, offset, bytes);
}

Status file_map(int64_t file, int64_t offset, size_t bytes, void** view) noexcept
{
    if (must_fail(Call::file_map))
        return failure_of(Call::file_map);
    const Status status = backend::file_map(file, offset, bytes, view);
    if (status == Status::ok)
        ++fault::live_views;
    return status;
}

void file_unmap(void* view, size_t bytes) noexcept
{
    if (view != nullptr)
        --fault::live_views;
    backend::file_unmap(view, bytes);
}

Status file_close(int64_t file) noexcept
{
    const bool fail = must_fail(Call::file_close);
    const Status status = backend::file_close(file);
    if (status != Status::bad_handle) // whatever else it says, the handle is gone
        --fault::live_files;
    return fail ? failure_of(Call::file_close) : status;
}

Status file_delete(const wchar_t* name) noexcept
{
    const bool fail = must_fail(Call::file_delete);
    const Status status = backend::file_delete(name);
    return fail ? failure_of(Call::file_delete) : status;
}

} // namespace vk::platform
