// Modules loaded at run time: shared objects beside the one this code is in, or in a directory that is told. By a bare
// name, which the loader looks for in places that others can write to, only where that is asked for.
#include "platform/posix/Posix.h"

#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

namespace vk::backend {

namespace {

Status load(const char* name, void** module) noexcept
{
    void* const loaded = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr)
        return Status::not_found;
    *module = loaded;
    return Status::ok;
}

/// The directory of this code with its final separator; false when it cannot be told.
bool own_directory(char* directory, size_t room) noexcept
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&own_directory), &info) == 0 || info.dli_fname == nullptr)
        return false;
    const char* name = info.dli_fname;
    char program[posix::kMaxPath];
    if (std::strchr(name, '/') == nullptr) { // a program found by way of PATH
        const ssize_t length = readlink("/proc/self/exe", program, sizeof program - 1);
        if (length <= 0)
            return false;
        program[length] = 0;
        name = program;
    }
    const char* end = std::strrchr(name, '/');
    const size_t length = end == nullptr ? 0 : static_cast<size_t>(end - name) + 1;
    if (length == 0 || length >= room)
        return false;
    std::memcpy(directory, name, length);
    directory[length] = 0;
    return true;
}

} // namespace

Status module_open(const wchar_t* directory, const wchar_t* name, void** module) noexcept
{
    constexpr char kSuffix[] = ".so";
    char path[posix::kMaxPath];
    if (directory == nullptr && !own_directory(path, sizeof path))
        return Status::failed;
    if (directory != nullptr)
        if (const Status status = posix::to_utf8(directory, path, sizeof path); status != Status::ok)
            return status;
    const size_t length = std::strlen(path);
    if (const Status status = posix::to_utf8(name, path + length, sizeof path - length); status != Status::ok)
        return status;
    const size_t end = std::strlen(path);
    if (end + sizeof kSuffix > sizeof path)
        return Status::too_long;
    std::memcpy(path + end, kSuffix, sizeof kSuffix);
    return access(path, F_OK) == 0 ? load(path, module) : posix::last_status();
}

Status module_open_as(const wchar_t* name, void** module) noexcept
{
    char path[posix::kMaxPath];
    const Status status = posix::to_utf8(name, path, sizeof path);
    return status == Status::ok ? load(path, module) : status;
}

bool is_absolute_path(const wchar_t* path) noexcept
{
    return path[0] == L'/';
}

void* module_symbol(void* module, const char* symbol) noexcept
{
    return dlsym(module, symbol);
}

void module_close(void* module) noexcept
{
    dlclose(module);
}

} // namespace vk::backend
