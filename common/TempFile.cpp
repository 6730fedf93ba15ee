// Names, options and creation of temporary files.
#include "common/TempFile.h"

#include "Vkkrnx.h"
#include "common/Text.h"
#include "platform/platform.h"

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

} // namespace

bool temp_files_forbidden() noexcept
{
    return g_options.get().Mode == kModeNoFiles;
}

uint32_t set_temp_file_mode(uint32_t mode) noexcept
{
    return g_options.set_mode(mode);
}

int64_t create_storage_file() noexcept
{
    wchar_t name[kMaxTempName];
    if (V_GetTempFileName(name, L"VD") != V_SUCCESS)
        return kNoFile;
    const int64_t file = V_OsCreat(name, OSCREAT_DELETEONCLOSE);
    if (file == kNoFile)
        V_OsDelete(name);
    return file;
}

} // namespace vk

using namespace vk;

int V_GetTempFileName(wchar_t* pszName, const wchar_t* pszPrefix) noexcept
{
    if (!pszName)
        return V_ERROR_INVALID_PARAMETER;
    wchar_t directory[kMaxTempName];
    if (V_GetTempDirectory(directory, kMaxTempName) != V_SUCCESS)
        return V_ERROR_NO_MEMORY;
    const Status status = platform::temp_name(directory, pszPrefix ? pszPrefix : L"V_", pszName);
    return status == Status::ok ? V_SUCCESS : V_ERROR_NO_MEMORY;
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
