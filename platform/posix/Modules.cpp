// Modules loaded at run time: shared objects beside the one this code is in. Never by a bare name, which the loader
// would look for in places that others can write to.
#include "platform/posix/Posix.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

namespace vk::backend {

namespace {

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

Status module_open(const char* name, void** module) noexcept
{
    char directory[posix::kMaxPath];
    char path[posix::kMaxPath];
    if (!own_directory(directory, sizeof directory))
        return Status::failed;
    const int length = std::snprintf(path, sizeof path, "%s%s.so", directory, name);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path)
        return Status::bad_name;
    if (access(path, F_OK) != 0)
        return posix::last_status();
    void* const loaded = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr)
        return Status::failed;
    *module = loaded;
    return Status::ok;
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
