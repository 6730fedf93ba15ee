// The directory of temporary files, and new files with unique names in it, from the system's own services.
//
// The directory belongs to the user, and files inherit its protection: that is what keeps them to their owner. The
// system uses the first three characters of a prefix.
#include "platform/win32/Win32.h"

#include <cwchar>

namespace vk::backend {

static_assert(kMaxTempName >= MAX_PATH, "GetTempFileNameW writes up to MAX_PATH characters");

Status temp_directory(wchar_t* directory, size_t length) noexcept
{
    if (directory == nullptr)
        return Status::bad_name;
    if (length == 0)
        return Status::too_long;
    wchar_t path[MAX_PATH + 1];
    const DWORD used = GetTempPathW(MAX_PATH + 1, path);
    if (used == 0)
        return win32::last_status();
    if (used > MAX_PATH || used >= length)
        return Status::too_long;
    std::wmemcpy(directory, path, used + size_t{1});
    return Status::ok;
}

Status temp_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    if (directory == nullptr || prefix == nullptr || *directory == 0 || std::wcspbrk(prefix, L"\\/:") != nullptr)
        return Status::bad_name;
    wchar_t made[MAX_PATH];
    if (GetTempFileNameW(directory, prefix, 0, made) == 0)
        return win32::last_status();
    std::wmemcpy(name, made, std::wcslen(made) + 1);
    return Status::ok;
}

} // namespace vk::backend
