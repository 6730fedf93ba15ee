// Modules loaded at run time: DLLs beside the one this code is in, by their full path, with their own dependencies
// looked for there and in the system's directory alone.
#include "platform/win32/Win32.h"

#include <cwchar>

namespace vk::backend {

namespace {

constexpr DWORD kMaxName = 32768;

/// The full path of a module; false when it cannot be told or is too long.
bool path_beside(const char* name, wchar_t* path) noexcept
{
    HMODULE own = nullptr;
    constexpr DWORD kByAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(kByAddress, reinterpret_cast<LPCWSTR>(&path_beside), &own))
        return false;
    const DWORD length = GetModuleFileNameW(own, path, kMaxName);
    wchar_t* end = length == 0 || length >= kMaxName ? nullptr : std::wcsrchr(path, L'\\');
    if (end == nullptr)
        return false;
    constexpr wchar_t kSuffix[] = L".dll";
    for (++end; *name != 0; ++name, ++end) { // names are plain ASCII
        if (end - path >= static_cast<ptrdiff_t>(kMaxName - sizeof kSuffix))
            return false;
        *end = static_cast<wchar_t>(*name);
    }
    std::wmemcpy(end, kSuffix, sizeof kSuffix / sizeof *kSuffix);
    return true;
}

} // namespace

Status module_open(const char* name, void** module) noexcept
{
    auto* const path = static_cast<wchar_t*>(heap_alloc(kMaxName * sizeof(wchar_t)));
    if (path == nullptr)
        return Status::no_memory;
    Status status = Status::failed;
    if (path_beside(name, path)) {
        const HMODULE loaded = LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        status = loaded == nullptr ? win32::last_status() : Status::ok;
        if (loaded != nullptr)
            *module = loaded;
    }
    heap_free(path);
    return status;
}

void* module_symbol(void* module, const char* symbol) noexcept
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), symbol));
}

void module_close(void* module) noexcept
{
    FreeLibrary(static_cast<HMODULE>(module));
}

} // namespace vk::backend
