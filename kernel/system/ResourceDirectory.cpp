#include "kernel/system/ResourceDirectory.h"

#include "kernel/system/LibraryLock.h"
#include "platform/platform.h"

#include <cwchar>
#include <mutex>

namespace vk {

namespace {

constinit LibraryLock g_lock;
constinit wchar_t g_directory[kResourceRoom] = {};

bool ends_in_separator(const wchar_t* path, size_t length) noexcept
{
    return path[length - 1] == L'/' || path[length - 1] == L'\\';
}

} // namespace

bool set_resource_directory(const wchar_t* directory) noexcept
{
    wchar_t made[kResourceRoom] = {};
    if (directory && *directory != 0) {
        const size_t length = wcsnlen(directory, kResourceRoom);
        if (length + 2 > kResourceRoom || !platform::is_absolute_path(directory))
            return false;
        std::wmemcpy(made, directory, length);
        if (!ends_in_separator(directory, length))
            made[length] = L'/'; // which every system takes
    }
    const std::lock_guard lock(g_lock);
    std::wmemcpy(g_directory, made, kResourceRoom);
    return true;
}

void copy_resource_directory(wchar_t (&directory)[kResourceRoom]) noexcept
{
    const std::lock_guard lock(g_lock);
    std::wmemcpy(directory, g_directory, kResourceRoom);
}

} // namespace vk
