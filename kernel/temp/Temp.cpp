// Names, options and creation of temporary files.
#include "kernel/temp/Temp.h"

#include "Vkkrnx.h"
#include "kernel/system/Text.h"
#include "platform/platform.h"

#include <atomic>
#include <chrono>
#include <cwchar>
#include <iterator>
#include <mutex>

namespace vk {

namespace {

constexpr uint32_t kModeNoFiles = 3;
constexpr size_t kNarrowName = 3 * kMaxTempName; ///< UTF-8 needs at most three bytes per 16-bit character

class Options {
public:
    TEMPFILEOPTIONS get() noexcept
    {
        const std::lock_guard lock(mutex_);
        return options_;
    }

    uint32_t set_mode(uint32_t mode) noexcept
    {
        const std::lock_guard lock(mutex_);
        const uint32_t before = options_.Mode;
        options_.Mode = mode;
        return before;
    }

private:
    std::mutex mutex_;
    TEMPFILEOPTIONS options_{sizeof(TEMPFILEOPTIONS), 1, 0, 128, 8, 16};
};

Options g_options;

std::atomic<uint64_t> g_made_up{0};

/// A number that is not used twice: the time tells processes apart, the counter calls at one time.
uint64_t unique_number() noexcept
{
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    return static_cast<uint64_t>(now) * 0x10000 + g_made_up.fetch_add(1) % 0x10000;
}

/// A name for a file that the system knows nothing of.
bool make_up_name(const wchar_t* directory, const wchar_t* prefix, wchar_t* name) noexcept
{
    constexpr size_t kDigits = 16;
    constexpr wchar_t kEnding[] = L".tmp";
    const size_t first = std::wcslen(directory);
    const size_t second = std::wcslen(prefix);
    if (first + second + kDigits + std::size(kEnding) > kMaxTempName)
        return false;
    std::wmemcpy(name, directory, first);
    std::wmemcpy(name + first, prefix, second);
    wchar_t* end = name + first + second;
    uint64_t number = unique_number();
    for (size_t i = 0; i < kDigits; ++i, number >>= 4)
        *end++ = L"0123456789abcdef"[number & 15];
    std::wmemcpy(end, kEnding, std::size(kEnding));
    return true;
}

} // namespace

bool temp_files_forbidden() noexcept
{
    return g_options.get().Mode == kModeNoFiles;
}

uint32_t set_temp_file_mode(uint32_t mode) noexcept
{
    return g_options.set_mode(mode);
}

bool opens_in_system(const redirect::Table& table) noexcept
{
    return table.slots[redirect::kOpen].function == redirect::default_table().slots[redirect::kOpen].function;
}

int make_temp_name(const redirect::Table& table, const wchar_t* prefix, wchar_t* name) noexcept
{
    wchar_t directory[kMaxTempName];
    if (V_GetTempDirectory(directory, kMaxTempName) != V_SUCCESS)
        return V_ERROR_NO_MEMORY;
    if (!opens_in_system(table))
        return make_up_name(directory, prefix, name) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    return platform::temp_name(directory, prefix, name) == Status::ok ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

} // namespace vk

using namespace vk;

int V_GetTempFileName(wchar_t* pszName, const wchar_t* pszPrefix) noexcept
{
    if (!pszName)
        return V_ERROR_INVALID_PARAMETER;
    return make_temp_name(redirect::temp_table(), pszPrefix ? pszPrefix : L"V_", pszName);
}

int V_GetTempFileNameA(char* pszName, const char* pszPrefix) noexcept
{
    if (!pszName)
        return V_ERROR_INVALID_PARAMETER;
    wchar_t prefix[kMaxTempName];
    // A prefix that cannot be read leaves no system error behind, which maps to this code.
    if (pszPrefix && !utf8_to_wide(pszPrefix, prefix, kMaxTempName))
        return V_ERROR_NO_DISK_SPACE;
    wchar_t name[kMaxTempName];
    const int result = V_GetTempFileName(name, pszPrefix ? prefix : nullptr);
    if (result != V_SUCCESS)
        return result;
    if (!wide_to_utf8(name, pszName, kNarrowName)) {
        if (opens_in_system(redirect::temp_table()))
            V_OsDelete(name);
        return V_ERROR_FILE_READ;
    }
    return V_SUCCESS;
}

int V_GetTempDirectory(wchar_t* pszDirectory, uint32_t uLength) noexcept
{
    if (!pszDirectory)
        return V_ERROR_NULL_PTR;
    switch (platform::temp_directory(pszDirectory, uLength)) {
    case Status::ok:
        return V_SUCCESS;
    case Status::bad_name: // longer than the buffer
        return V_ERROR_BUFFER_TOO_SMALL;
    default:
        return V_ERROR_NO_MEMORY;
    }
}

int V_SetTempDirectory(const wchar_t* pszDirectory) noexcept
{
    return pszDirectory ? V_ERROR_FEATURE_NOT_SUPPORTED : V_ERROR_NULL_PTR;
}

int V_GetTempFileOptions(TEMPFILEOPTIONS* pOptions, uint32_t uStructSize) noexcept
{
    if (!pOptions)
        return V_ERROR_NULL_PTR;
    if (uStructSize != sizeof *pOptions)
        return V_ERROR_INVALID_STRUCT_SIZE;
    *pOptions = g_options.get();
    return V_SUCCESS;
}

int V_SetTempFileOptions(const TEMPFILEOPTIONS*) noexcept
{
    return V_ERROR_FEATURE_NOT_SUPPORTED;
}

int V_GetTempFileMode(void) noexcept
{
    return static_cast<int>(g_options.get().Mode);
}
