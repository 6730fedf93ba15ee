// Translation of system errors to Status, for the whole back end.
#include "platform/win32/Win32.h"

namespace vk::backend::win32 {

/// ERROR_DISK_QUOTA_EXCEEDED, which not every set of system headers has.
constexpr DWORD kDiskQuotaExceeded = 1295;

Status to_status(DWORD error) noexcept
{
    switch (error) {
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_COMMITMENT_LIMIT:
    case ERROR_NO_SYSTEM_RESOURCES:
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_WORKING_SET_QUOTA:
    case ERROR_PAGEFILE_QUOTA:
        return Status::no_memory;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_MOD_NOT_FOUND:
        return Status::not_found;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return Status::exists;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
    case ERROR_DELETE_PENDING:
    case ERROR_USER_MAPPED_FILE:
        return Status::denied;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:
    case ERROR_FILE_TOO_LARGE:
        return Status::disk_full;
    case ERROR_INVALID_HANDLE:
        return Status::bad_handle;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
    case ERROR_DIRECTORY:
        return Status::bad_name;
    case ERROR_NOT_SUPPORTED:
    case ERROR_INVALID_FUNCTION:
    case ERROR_CALL_NOT_IMPLEMENTED:
        return Status::unsupported;
    default:
        return Status::failed;
    }
}

Status last_status() noexcept
{
    return to_status(GetLastError());
}

} // namespace vk::backend::win32

namespace vk::backend {

void set_last_error(Status status) noexcept
{
    SetLastError(status == Status::exists ? ERROR_FILE_EXISTS : ERROR_GEN_FAILURE);
}

} // namespace vk::backend
