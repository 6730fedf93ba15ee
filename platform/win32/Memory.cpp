// Fixed memory, sections, and the figures of memory and handles.
//
// A section is backed by the page file: `handle` is the mapping object, `view` a view of all of it. The system has no
// call that changes a section's size, so a resize makes a new one and copies.
#include "platform/win32/Win32.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vk::backend {

namespace {

/// Most handles the library counts on.
constexpr uint32_t kMaxHandles = 20000;

} // namespace

void* heap_alloc(size_t bytes) noexcept
{
    return std::malloc(std::max<size_t>(bytes, 1));
}

void* heap_realloc(void* block, size_t bytes) noexcept
{
    return std::realloc(block, std::max<size_t>(bytes, 1));
}

void heap_free(void* block) noexcept
{
    std::free(block);
}

Status section_create(size_t bytes, Section* section) noexcept
{
    const uint64_t size = std::max<size_t>(bytes, 1); // an empty section has a page too
    if (size > PTRDIFF_MAX)
        return Status::no_memory;
    HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size >> 32),
                                        static_cast<DWORD>(size), nullptr);
    if (mapping == nullptr)
        return Status::no_memory;
    void* view = MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0);
    if (view == nullptr) {
        CloseHandle(mapping);
        return Status::no_memory;
    }
    *section = Section{mapping, view, bytes};
    return Status::ok;
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    Section resized;
    if (const Status status = section_create(bytes, &resized); status != Status::ok)
        return status;
    std::memcpy(resized.view, section->view, std::min(bytes, section->bytes));
    section_free(section);
    *section = resized;
    return Status::ok;
}

void section_free(Section* section) noexcept
{
    if (section->view != nullptr)
        UnmapViewOfFile(section->view);
    if (section->handle != nullptr)
        CloseHandle(section->handle);
    *section = Section{};
}

Status memory_status(MemoryStatus* status) noexcept
{
    MEMORYSTATUSEX found = {};
    found.dwLength = sizeof found;
    if (!GlobalMemoryStatusEx(&found))
        return win32::last_status();
    status->total_physical = found.ullTotalPhys;
    status->available_physical = found.ullAvailPhys;
    status->total_page_file = found.ullTotalPageFile;
    status->available_page_file = found.ullAvailPageFile;
    return Status::ok;
}

Status handle_count(uint32_t* open, uint32_t* limit) noexcept
{
    DWORD count = 0;
    if (!GetProcessHandleCount(GetCurrentProcess(), &count))
        return win32::last_status();
    *open = count;
    *limit = kMaxHandles;
    return Status::ok;
}

} // namespace vk::backend
