// The rest of the system family's door, for Vkloader.h: clean-up and shutting down, the directory for modules.
#include "Vkloader.h"

#include "Vkrecord.h"
#include "kernel/system/ResourceDirectory.h"
#include "kernel/system/Shutdown.h"
#include "kernel/system/Text.h"

#include <cstring>
#include <cwchar>

using namespace vk;

int V_RegisterCleanup(void (*pfn)(void*), void* pData) noexcept
{
    if (!pfn)
        return V_ERROR_INVALID_PARAMETER;
    return register_user_cleanup(pfn, pData) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int V_UnregisterCleanup(void (*pfn)(void*), void* pData) noexcept
{
    return unregister_user_cleanup(pfn, pData) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_Shutdown(void) noexcept
{
    return shut_down() ? V_SUCCESS : V_FAILURE;
}

int V_SetResourceDirectory(const wchar_t* pszDirectory) noexcept
{
    return set_resource_directory(pszDirectory) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_SetResourceDirectoryA(const char* pszDirectory) noexcept
{
    wchar_t directory[kResourceRoom] = {};
    if (pszDirectory && !utf8_to_wide(pszDirectory, directory, kResourceRoom))
        return V_ERROR_INVALID_PARAMETER;
    return set_resource_directory(directory) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_GetResourceDirectory(wchar_t* pszDirectory, uint32_t uLength) noexcept
{
    if (!pszDirectory)
        return V_ERROR_INVALID_PARAMETER;
    wchar_t directory[kResourceRoom];
    copy_resource_directory(directory);
    const size_t length = std::wcslen(directory) + 1;
    if (length > uLength)
        return V_ERROR_BUFFER_TOO_SMALL;
    std::wmemcpy(pszDirectory, directory, length);
    return V_SUCCESS;
}

int V_GetResourceDirectoryA(char* pszDirectory, uint32_t uLength) noexcept
{
    if (!pszDirectory)
        return V_ERROR_INVALID_PARAMETER;
    wchar_t directory[kResourceRoom];
    copy_resource_directory(directory);
    char text[4 * kResourceRoom];
    if (!wide_to_utf8(directory, text, sizeof text)) // a path of the system's own that is no text
        return V_ERROR_INVALID_PARAMETER;
    const size_t length = std::strlen(text) + 1;
    if (length > uLength)
        return V_ERROR_BUFFER_TOO_SMALL;
    std::memcpy(pszDirectory, text, length);
    return V_SUCCESS;
}
