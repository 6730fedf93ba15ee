// Binds the kernel straight to the system: what the shipped library links.
//
// Test programs link platform/fault/fault.cpp in its place.
#include "platform/platform.h"

namespace vk::platform {

void* heap_alloc(size_t bytes) noexcept
{
    return backend::heap_alloc(bytes);
}

void* heap_realloc(void* block, size_t bytes) noexcept
{
    return backend::heap_realloc(block, bytes);
}

void heap_free(void* block) noexcept
{
    backend::heap_free(block);
}

Status section_create(size_t bytes, Contents contents, Section* section) noexcept
{
    return backend::section_create(bytes, contents, section);
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    return backend::section_resize(section, bytes);
}

void section_free(Section* section) noexcept
{
    backend::section_free(section);
}

void stock_set_limit(uint64_t bytes) noexcept
{
    backend::stock_set_limit(bytes);
}

uint64_t stock_limit() noexcept
{
    return backend::stock_limit();
}

uint64_t stock_held() noexcept
{
    return backend::stock_held();
}

bool stock_empty() noexcept
{
    return backend::stock_empty();
}

void* movable_alloc(uint32_t flags, size_t bytes) noexcept
{
    return backend::movable_alloc(flags, bytes);
}

void* movable_realloc(void* handle, size_t bytes, uint32_t flags) noexcept
{
    return backend::movable_realloc(handle, bytes, flags);
}

void* movable_lock(void* handle) noexcept
{
    return backend::movable_lock(handle);
}

int movable_unlock(void* handle) noexcept
{
    return backend::movable_unlock(handle);
}

void* movable_free(void* handle) noexcept
{
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

Status memory_status(MemoryStatus* status) noexcept
{
    return backend::memory_status(status);
}

Status handle_count(uint32_t* open, uint32_t* limit) noexcept
{
    return backend::handle_count(open, limit);
}

Status file_open(const wchar_t* name, const OpenOptions& options, int64_t* file) noexcept
{
    return backend::file_open(name, options, file);
}

Status file_read(int64_t file, void* buffer, size_t bytes, size_t* moved) noexcept
{
    return backend::file_read(file, buffer, bytes, moved);
}

Status file_write(int64_t file, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    return backend::file_write(file, buffer, bytes, moved);
}

Status file_seek(int64_t file, int64_t offset, Origin origin, int64_t* position) noexcept
{
    return backend::file_seek(file, offset, origin, position);
}

Status file_truncate(int64_t file) noexcept
{
    return backend::file_truncate(file);
}

Status file_read_at(int64_t file, int64_t offset, void* buffer, size_t bytes, size_t* moved) noexcept
{
    return backend::file_read_at(file, offset, buffer, bytes, moved);
}

Status file_write_at(int64_t file, int64_t offset, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    return backend::file_write_at(file, offset, buffer, bytes, moved);
}

Status file_set_size(int64_t file, int64_t size) noexcept
{
    return backend::file_set_size(file, size);
}

Status file_reserve(int64_t file, int64_t offset, size_t bytes) noexcept
{
    return backend::file_reserve(file, offset, bytes);
}

Status file_map(int64_t file, int64_t offset, size_t bytes, void** view) noexcept
{
    return backend::file_map(file, offset, bytes, view);
}

void file_unmap(void* view, size_t bytes) noexcept
{
    backend::file_unmap(view, bytes);
}

Status file_close(int64_t file) noexcept
{
    return backend::file_close(file);
}

Status file_delete(const wchar_t* name) noexcept
{
    return backend::file_delete(name);
}

void set_last_error(Status status) noexcept
{
    backend::set_last_error(status);
}

Status module_open(const wchar_t* directory, const wchar_t* name, void** module) noexcept
{
    return backend::module_open(directory, name, module);
}

Status module_open_as(const wchar_t* name, void** module) noexcept
{
    return backend::module_open_as(name, module);
}

bool is_absolute_path(const wchar_t* path) noexcept
{
    return backend::is_absolute_path(path);
}

void* module_symbol(void* module, const char* symbol) noexcept
{
    return backend::module_symbol(module, symbol);
}

void module_close(void* module) noexcept
{
    backend::module_close(module);
}

Status temp_directory(wchar_t* directory, size_t length) noexcept
{
    return backend::temp_directory(directory, length);
}

Status temp_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    return backend::temp_name(directory, prefix, name);
}

Status temp_file(const wchar_t* directory, const wchar_t* prefix, int64_t* file) noexcept
{
    return backend::temp_file(directory, prefix, file);
}

Status event_create(bool manual_reset, bool signalled, void** event) noexcept
{
    return backend::event_create(manual_reset, signalled, event);
}

Status event_duplicate(void* event, void** copy) noexcept
{
    return backend::event_duplicate(event, copy);
}

void event_close(void* event) noexcept
{
    backend::event_close(event);
}

Waited event_wait(void* event, uint32_t milliseconds) noexcept
{
    return backend::event_wait(event, milliseconds);
}

void event_set(void* event) noexcept
{
    backend::event_set(event);
}

void event_reset(void* event) noexcept
{
    backend::event_reset(event);
}

Status lock_create(void* lock) noexcept
{
    return backend::lock_create(lock);
}

void lock_destroy(void* lock) noexcept
{
    backend::lock_destroy(lock);
}

void lock_acquire(void* lock, bool shared) noexcept
{
    backend::lock_acquire(lock, shared);
}

void lock_release(void* lock, bool shared) noexcept
{
    backend::lock_release(lock, shared);
}

void lock_look_up() noexcept
{
    backend::lock_look_up();
}

void mutex_acquire(PlainMutex& mutex) noexcept
{
    backend::mutex_acquire(mutex);
}

void mutex_release(PlainMutex& mutex) noexcept
{
    backend::mutex_release(mutex);
}

void guard_forks(ForkGuard& guard) noexcept
{
    backend::guard_forks(guard);
}

uint32_t processor_count() noexcept
{
    return backend::processor_count();
}

void sleep_for(uint32_t milliseconds) noexcept
{
    backend::sleep_for(milliseconds);
}

Status thread_start(ThreadRoutine routine, void* parameter) noexcept
{
    return backend::thread_start(routine, parameter);
}

Status pool_queue(ThreadRoutine routine, void* parameter, bool long_running, ThreadDrop drop) noexcept
{
    return backend::pool_queue(routine, parameter, long_running, drop);
}

void pool_rest() noexcept
{
    backend::pool_rest();
}

bool on_pool_thread() noexcept
{
    return backend::on_pool_thread();
}

void set_unload_hook(void (*hook)()) noexcept
{
    backend::set_unload_hook(hook);
}

} // namespace vk::platform
