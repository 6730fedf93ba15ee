// Files, with every transfer complete in one call.
//
// A file handle is the system's handle as an integer; INVALID_HANDLE_VALUE is kNoFile. That value and null name other
// objects to some calls, so they are refused here. The system counts transfers in 32 bits: bigger ones go in pieces.
#include "platform/win32/Win32.h"

#include <algorithm>

namespace vk::backend {

using win32::last_status;

namespace {

constexpr size_t kMaxTransfer = 0x40000000;

HANDLE to_handle(int64_t file) noexcept
{
    return reinterpret_cast<HANDLE>(static_cast<intptr_t>(file));
}

bool is_open(int64_t file) noexcept
{
    return file != 0 && file != kNoFile;
}

DWORD high_half(int64_t value) noexcept
{
    return static_cast<DWORD>(static_cast<uint64_t>(value) >> 32);
}

DWORD low_half(int64_t value) noexcept
{
    return static_cast<DWORD>(static_cast<uint64_t>(value));
}

DWORD access_of(Access access) noexcept
{
    switch (access) {
    case Access::read:
        return GENERIC_READ;
    case Access::write:
        return GENERIC_WRITE;
    case Access::read_write:
        break;
    }
    return GENERIC_READ | GENERIC_WRITE;
}

/// Where a transfer takes place that has no position of its own.
constexpr int64_t kCurrent = -1;

/// What tells the system a position; null for the file's own.
OVERLAPPED* position_at(OVERLAPPED& place, int64_t offset, size_t done) noexcept
{
    if (offset == kCurrent)
        return nullptr;
    place = {};
    place.Offset = low_half(offset + static_cast<int64_t>(done));
    place.OffsetHigh = high_half(offset + static_cast<int64_t>(done));
    return &place;
}

Status read_all(int64_t file, int64_t offset, void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    auto* to = static_cast<uint8_t*>(buffer);
    OVERLAPPED place;
    size_t done = 0;
    while (done < bytes) {
        DWORD part = 0;
        if (!ReadFile(to_handle(file), to + done, static_cast<DWORD>(std::min(bytes - done, kMaxTransfer)), &part,
                      position_at(place, offset, done))) {
            const DWORD error = GetLastError();
            if (error != ERROR_HANDLE_EOF && error != ERROR_BROKEN_PIPE)
                return win32::to_status(error);
            break;
        }
        if (part == 0)
            break;
        done += part;
    }
    *moved = done;
    return Status::ok;
}

Status write_all(int64_t file, int64_t offset, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    const auto* from = static_cast<const uint8_t*>(buffer);
    OVERLAPPED place;
    size_t done = 0;
    while (done < bytes) {
        DWORD part = 0;
        if (!WriteFile(to_handle(file), from + done, static_cast<DWORD>(std::min(bytes - done, kMaxTransfer)), &part,
                       position_at(place, offset, done)))
            return last_status();
        if (part == 0)
            return Status::failed;
        done += part;
    }
    *moved = done;
    return Status::ok;
}

Status set_size(int64_t file, int64_t size) noexcept
{
    FILE_END_OF_FILE_INFO info; // leaves the position alone, unlike SetEndOfFile
    info.EndOfFile.QuadPart = size;
    return SetFileInformationByHandle(to_handle(file), FileEndOfFileInfo, &info, sizeof info) ? Status::ok
                                                                                              : last_status();
}

/// A position that a transfer of so many bytes may have.
bool is_position(int64_t offset, size_t bytes) noexcept
{
    return offset >= 0 && bytes <= static_cast<uint64_t>(INT64_MAX - offset);
}

/// A file that is to be deleted can only be opened twice if both handles share deletion.
DWORD share_of(const OpenOptions& options) noexcept
{
    const DWORD share = options.share == Share::none   ? 0
                        : options.share == Share::read ? FILE_SHARE_READ
                                                       : FILE_SHARE_READ | FILE_SHARE_WRITE;
    return share | (options.delete_on_close && options.share != Share::none ? FILE_SHARE_DELETE : 0);
}

DWORD disposition_of(Disposition disposition) noexcept
{
    switch (disposition) {
    case Disposition::open_existing:
        return OPEN_EXISTING;
    case Disposition::create_always:
        return CREATE_ALWAYS;
    case Disposition::truncate_existing:
        break;
    }
    return TRUNCATE_EXISTING;
}

DWORD attributes_of(const OpenOptions& options) noexcept
{
    DWORD attributes = 0;
    attributes |= options.read_only ? FILE_ATTRIBUTE_READONLY : 0;
    attributes |= options.hidden ? FILE_ATTRIBUTE_HIDDEN : 0;
    attributes |= options.system ? FILE_ATTRIBUTE_SYSTEM : 0;
    if (options.delete_on_close)
        attributes |= FILE_ATTRIBUTE_TEMPORARY; // may stay in the cache until it goes
    if (attributes == 0)
        attributes = FILE_ATTRIBUTE_NORMAL;
    return attributes | (options.delete_on_close ? FILE_FLAG_DELETE_ON_CLOSE : 0);
}

} // namespace

Status file_open(const wchar_t* name, const OpenOptions& options, int64_t* file) noexcept
{
    if (name == nullptr)
        return Status::bad_name;
    // Nothing may be emptied through a handle that only reads. Windows says so itself, its stand-ins do not.
    if (options.disposition == Disposition::truncate_existing && options.access == Access::read)
        return Status::failed;
    HANDLE opened = CreateFileW(name, access_of(options.access), share_of(options), nullptr,
                                disposition_of(options.disposition), attributes_of(options), nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return last_status();
    *file = reinterpret_cast<intptr_t>(opened);
    return Status::ok;
}

Status file_read(int64_t file, void* buffer, size_t bytes, size_t* moved) noexcept
{
    return read_all(file, kCurrent, buffer, bytes, moved);
}

Status file_write(int64_t file, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    return write_all(file, kCurrent, buffer, bytes, moved);
}

Status file_read_at(int64_t file, int64_t offset, void* buffer, size_t bytes, size_t* moved) noexcept
{
    return is_position(offset, bytes) ? read_all(file, offset, buffer, bytes, moved) : Status::failed;
}

Status file_write_at(int64_t file, int64_t offset, const void* buffer, size_t bytes, size_t* moved) noexcept
{
    return is_position(offset, bytes) ? write_all(file, offset, buffer, bytes, moved) : Status::disk_full;
}

Status file_set_size(int64_t file, int64_t size) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    return size < 0 ? Status::failed : set_size(file, size);
}

Status file_seek(int64_t file, int64_t offset, Origin origin, int64_t* position) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    const DWORD method = origin == Origin::start ? FILE_BEGIN : origin == Origin::current ? FILE_CURRENT : FILE_END;
    LARGE_INTEGER distance;
    LARGE_INTEGER now;
    distance.QuadPart = offset;
    if (!SetFilePointerEx(to_handle(file), distance, &now, method))
        return last_status();
    *position = now.QuadPart;
    return Status::ok;
}

Status file_truncate(int64_t file) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    return SetEndOfFile(to_handle(file)) ? Status::ok : last_status();
}

/// The system backs all of a file that is not sparse, so a file that is long enough is reserved.
Status file_reserve(int64_t file, int64_t offset, size_t bytes) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    if (offset < 0 || bytes > static_cast<uint64_t>(INT64_MAX - offset))
        return Status::disk_full;
    LARGE_INTEGER size;
    if (!GetFileSizeEx(to_handle(file), &size))
        return last_status();
    const int64_t end = offset + static_cast<int64_t>(bytes);
    if (bytes == 0 || size.QuadPart >= end)
        return Status::ok;
    return set_size(file, end);
}

Status file_map(int64_t file, int64_t offset, size_t bytes, void** view) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    LARGE_INTEGER size;
    if (!GetFileSizeEx(to_handle(file), &size))
        return last_status();
    // Zero bytes would mean all of the file, and a mapping bigger than the file would extend it.
    if (bytes == 0 || offset < 0 || offset > size.QuadPart || bytes > static_cast<uint64_t>(size.QuadPart - offset))
        return Status::failed;
    HANDLE mapping = CreateFileMappingW(to_handle(file), nullptr, PAGE_READWRITE, 0, 0, nullptr);
    if (mapping == nullptr)
        return last_status();
    void* mapped = MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, high_half(offset), low_half(offset), bytes);
    const Status status = mapped == nullptr ? last_status() : Status::ok;
    CloseHandle(mapping); // the view keeps it alive
    if (mapped != nullptr)
        *view = mapped;
    return status;
}

void file_unmap(void* view, size_t) noexcept
{
    if (view != nullptr)
        UnmapViewOfFile(view);
}

Status file_close(int64_t file) noexcept
{
    if (!is_open(file))
        return Status::bad_handle;
    return CloseHandle(to_handle(file)) ? Status::ok : last_status();
}

Status file_delete(const wchar_t* name) noexcept
{
    if (name == nullptr)
        return Status::bad_name;
    return DeleteFileW(name) ? Status::ok : last_status();
}

} // namespace vk::backend
