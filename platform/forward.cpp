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

Status section_create(size_t bytes, Section* section) noexcept
{
    return backend::section_create(bytes, section);
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    return backend::section_resize(section, bytes);
}

void section_free(Section* section) noexcept
{
    backend::section_free(section);
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

Status temp_directory(wchar_t* directory, size_t length) noexcept
{
    return backend::temp_directory(directory, length);
}

Status temp_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    return backend::temp_name(directory, prefix, name);
}

} // namespace vk::platform
