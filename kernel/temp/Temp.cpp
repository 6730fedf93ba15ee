// The temp family's door: names, directory and options of temporary files.
//
// Inside: TempNames.cpp makes names, with the operations that the file will be opened with. The options are kept
// further down, in kernel/files/, because the redirect table asks for them too.
#include "Vktemp.h"

#include "kernel/temp/Temp.h"

#include "kernel/files/TempOptions.h"
#include "kernel/redirect/Table.h"

using namespace vk;

int V_GetTempFileName(wchar_t* pszName, const wchar_t* pszPrefix) noexcept
{
    if (!pszName)
        return V_ERROR_INVALID_PARAMETER;
    return make_temp_name(redirect::temp_table(), pszPrefix ? pszPrefix : kDefaultPrefix, pszName);
}

int V_GetTempFileNameA(char* pszName, const char* pszPrefix) noexcept
{
    return pszName ? temp_name_utf8(pszName, pszPrefix) : V_ERROR_INVALID_PARAMETER;
}

int V_GetTempDirectory(wchar_t* pszDirectory, uint32_t uLength) noexcept
{
    return pszDirectory ? temp_directory(pszDirectory, uLength) : V_ERROR_NULL_PTR;
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
    *pOptions = temp_file_options();
    return V_SUCCESS;
}

int V_SetTempFileOptions(const TEMPFILEOPTIONS*) noexcept
{
    return V_ERROR_FEATURE_NOT_SUPPORTED;
}

int V_GetTempFileMode(void) noexcept
{
    return static_cast<int>(temp_file_options().Mode);
}
