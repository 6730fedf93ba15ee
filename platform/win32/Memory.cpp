// Fixed memory, sections, and the figures of memory and handles.
//
// A section is backed by the page file: `handle` is the mapping object, `view` a view of all of it; both come from the
// stock (Stock.h) where it has some. The system has no call that changes a section's size, so a resize makes a new one
// and copies.
#include "platform/Stock.h"
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
    return heap_realloc(nullptr, bytes);
}

void* heap_realloc(void* block, size_t bytes) noexcept
{
    const size_t size = std::max<size_t>(bytes, 1);
    void* const made = std::realloc(block, size);
    return made == nullptr && stock_empty() ? std::realloc(block, size) : made;
}

void heap_free(void* block) noexcept
{
    std::free(block);
}

Status stock::map(size_t capacity, Section* section) noexcept
{
    const uint64_t size = capacity;
    HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size >> 32),
                                        static_cast<DWORD>(size), nullptr);
    if (mapping == nullptr)
        return Status::no_memory;
    void* view = MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0);
    if (view == nullptr) {
        CloseHandle(mapping);
        return Status::no_memory;
    }
    *section = Section{mapping, view, capacity};
    return Status::ok;
}

void stock::unmap(const Section& section, size_t) noexcept
{
    UnmapViewOfFile(section.view);
    CloseHandle(section.handle);
}

bool stock::is_cleared_well(size_t) noexcept
{
    return false;
}

uint32_t stock::milliseconds() noexcept
{
    return GetTickCount();
}

Status section_create(size_t bytes, Contents contents, Section* section) noexcept
{
    return stock::create(bytes, contents, section);
}

Status section_resize(Section* section, size_t bytes) noexcept
{
    Section resized;
    if (const Status status = section_create(bytes, Contents::unspecified, &resized); status != Status::ok)
        return status;
    const size_t kept = std::min(bytes, section->bytes);
    std::memcpy(resized.view, section->view, kept);
    std::memset(static_cast<uint8_t*>(resized.view) + kept, 0, bytes - kept);
    section_free(section);
    *section = resized;
    return Status::ok;
}

void section_free(Section* section) noexcept
{
    stock::give_back(section);
}

Status memory_status(MemoryStatus* status) noexcept
{
    MEMORYSTATUSEX found = {};
    found.dwLength = sizeof found;
    if (!GlobalMemoryStatusEx(&found))
        return win32::last_status();
    status->total_physical = found.ullTotalPhys;
    status->available_physical = std::min<uint64_t>(found.ullTotalPhys, found.ullAvailPhys + stock_held());
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
