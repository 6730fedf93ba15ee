// Modules loaded at run time: DLLs beside the one this code is in, or in a directory that is told, by their full path,
// with their own dependencies looked for there and in the system's directory alone; by a bare name where that is asked
// for.
#include "platform/win32/Win32.h"

#include <cwchar>

namespace vk::backend {

namespace {

constexpr DWORD kMaxName = 32768;

constexpr wchar_t kSuffix[] = L".dll";

/// The directory of this code with its final separator, written to room for kMaxName characters; false when it cannot
/// be told or is too long.
bool own_directory(wchar_t* path) noexcept
{
    HMODULE own = nullptr;
    constexpr DWORD kByAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(kByAddress, reinterpret_cast<LPCWSTR>(&own_directory), &own))
        return false;
    const DWORD length = GetModuleFileNameW(own, path, kMaxName);
    wchar_t* const end = length == 0 || length >= kMaxName ? nullptr : std::wcsrchr(path, L'\\');
    if (end == nullptr)
        return false;
    end[1] = 0;
    return true;
}

/// Puts a text behind another; false when there is no room.
bool append(wchar_t* path, const wchar_t* text) noexcept
{
    const size_t length = std::wcslen(path);
    const size_t more = std::wcslen(text);
    if (length + more >= kMaxName)
        return false;
    std::wmemcpy(path + length, text, more + 1);
    return true;
}

/// By an absolute path with separators of the system's own, or by a bare name.
Status load(const wchar_t* path, void** module) noexcept
{
    const DWORD flags = is_absolute_path(path) ? LOAD_WITH_ALTERED_SEARCH_PATH : 0;
    const HMODULE loaded = LoadLibraryExW(path, nullptr, flags);
    if (loaded == nullptr)
        return win32::last_status();
    *module = loaded;
    return Status::ok;
}

/// Loads by three texts, the first of which may be null for the directory of this code.
Status load_joined(const wchar_t* directory, const wchar_t* name, const wchar_t* suffix, void** module) noexcept
{
    auto* const path = static_cast<wchar_t*>(heap_alloc(kMaxName * sizeof(wchar_t)));
    if (path == nullptr)
        return Status::no_memory;
    path[0] = 0;
    const bool is_told = directory == nullptr ? own_directory(path) : append(path, directory);
    Status status = is_told ? Status::too_long : Status::failed;
    if (is_told && append(path, name) && append(path, suffix)) {
        for (wchar_t* at = path; *at != 0; ++at) // the loader takes no others
            *at = *at == L'/' ? L'\\' : *at;
        status = load(path, module);
    }
    heap_free(path);
    return status;
}

} // namespace

Status module_open(const wchar_t* directory, const wchar_t* name, void** module) noexcept
{
    return load_joined(directory, name, kSuffix, module);
}

Status module_open_as(const wchar_t* name, void** module) noexcept
{
    return load_joined(L"", name, L"", module);
}

bool is_absolute_path(const wchar_t* path) noexcept
{
    const auto is_separator = [](wchar_t at) noexcept { return at == L'/' || at == L'\\'; };
    if (is_separator(path[0]))
        return is_separator(path[1]); // of the network, or the system's own kinds
    return path[0] != 0 && path[1] == L':' && is_separator(path[2]);
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
