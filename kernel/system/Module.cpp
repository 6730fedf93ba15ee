// The system family's door for Vkmodule.h: V_DllLoader by handles.
#include "Vkmodule.h"

#include "Vkdllloader.h"
#include "Vkrecord.h"
#include "kernel/system/HeapObject.h"
#include "kernel/system/ResourceDirectory.h"
#include "kernel/system/Text.h"

using namespace vk;

namespace {

int load(HDLLLOADER& handle, const wchar_t* name, uint32_t flags) noexcept
{
    auto* const loader = make_object<V_DllLoader>();
    if (!loader)
        return V_ERROR_NO_MEMORY;
    const int result = loader->Load(name, flags);
    if (result == V_SUCCESS)
        handle = loader;
    else
        end_object(loader);
    return result;
}

} // namespace

int V_LoadDll(HDLLLOADER* phLoader, const wchar_t* pszName, uint32_t uFlags) noexcept
{
    if (!phLoader)
        return V_ERROR_INVALID_PARAMETER;
    *phLoader = nullptr;
    return load(*phLoader, pszName, uFlags);
}

int V_LoadDllA(HDLLLOADER* phLoader, const char* pszName, uint32_t uFlags) noexcept
{
    if (!phLoader)
        return V_ERROR_INVALID_PARAMETER;
    *phLoader = nullptr;
    wchar_t name[kResourceRoom] = {};
    if (!pszName || !utf8_to_wide(pszName, name, kResourceRoom))
        return V_ERROR_INVALID_PARAMETER;
    return load(*phLoader, name, uFlags);
}

int V_CopyDll(HDLLLOADER* phCopy, HDLLLOADER hLoader) noexcept
{
    if (!phCopy)
        return V_ERROR_INVALID_PARAMETER;
    *phCopy = nullptr;
    if (!hLoader)
        return V_ERROR_INVALID_PARAMETER;
    *phCopy = make_object<V_DllLoader>(*hLoader);
    return *phCopy ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int V_UnloadDll(HDLLLOADER hLoader) noexcept
{
    if (!hLoader)
        return V_ERROR_INVALID_PARAMETER;
    end_object(hLoader);
    return V_SUCCESS;
}

void* V_GetDllFunction(HDLLLOADER hLoader, const char* pszName) noexcept
{
    return hLoader ? hLoader->GetFunction(pszName) : nullptr;
}
