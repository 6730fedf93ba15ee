// The exchange functions of the file operations: the library's table and the calling thread's.
#include "kernel/redirect/File.h"
#include "kernel/redirect/Names.h"

#include "kernel/system/ThreadState.h"

#include <utility>

using namespace vk;
using namespace vk::redirect;

namespace {

/// Sets a thread's slot from an argument: null is the library's own operation.
template <typename Function> void set_slot(Slot& slot, size_t index, Function function, void* user_data) noexcept
{
    const auto wanted = reinterpret_cast<uintptr_t>(function);
    slot.function = wanted == 0 || wanted == kDefault ? default_table().slots[index].function
                    : wanted == kNone                 ? 0
                                                      : wanted;
    slot.user_data = user_data;
}

/// Exchanges a thread's slot with a caller's variables.
template <typename Function> void filter_slot(Slot& slot, size_t index, Function* function, void** user_data) noexcept
{
    if (function) {
        const uintptr_t previous = slot.function ? slot.function : kNone;
        if (*function)
            set_slot(slot, index, *function, slot.user_data);
        *function = reinterpret_cast<Function>(previous);
    }
    if (user_data)
        std::swap(slot.user_data, *user_data);
}

int check_table(const REDIRECTFUNCTIONS* functions, uint32_t size) noexcept
{
    if (!functions)
        return V_ERROR_NULL_PTR;
    return size == sizeof *functions ? V_SUCCESS : V_ERROR_INVALID_STRUCT_SIZE;
}

} // namespace

void V_RedirectIO(V_REDIRECTOPEN pfnOpen, V_REDIRECTREAD pfnRead, V_REDIRECTWRITE pfnWrite, V_REDIRECTSEEK pfnSeek,
                  V_REDIRECTCLOSE pfnClose, void* pUserData) noexcept
{
    Slot* const slots = thread_state_for_set().redirect.slots;
    set_slot(slots[kOpen], kOpen, pfnOpen, pUserData);
    set_slot(slots[kRead], kRead, pfnRead, pUserData);
    set_slot(slots[kWrite], kWrite, pfnWrite, pUserData);
    set_slot(slots[kSeek], kSeek, pfnSeek, pUserData);
    set_slot(slots[kClose], kClose, pfnClose, pUserData);
}

int V_FilterIO(V_REDIRECTOPEN* ppfnOpen, V_REDIRECTREAD* ppfnRead, V_REDIRECTWRITE* ppfnWrite, V_REDIRECTSEEK* ppfnSeek,
               V_REDIRECTCLOSE* ppfnClose, void** ppOpenUserData, void** ppReadUserData, void** ppWriteUserData,
               void** ppSeekUserData, void** ppCloseUserData) noexcept
{
    Slot* const slots = thread_state_for_set().redirect.slots;
    filter_slot(slots[kOpen], kOpen, ppfnOpen, ppOpenUserData);
    filter_slot(slots[kRead], kRead, ppfnRead, ppReadUserData);
    filter_slot(slots[kWrite], kWrite, ppfnWrite, ppWriteUserData);
    filter_slot(slots[kSeek], kSeek, ppfnSeek, ppSeekUserData);
    filter_slot(slots[kClose], kClose, ppfnClose, ppCloseUserData);
    return V_SUCCESS;
}

int V_GetFilterIOData(void** ppOpenUserData, void** ppReadUserData, void** ppWriteUserData, void** ppSeekUserData,
                      void** ppCloseUserData) noexcept
{
    const Table table = effective_table();
    void** const out[kFileSlots] = {ppOpenUserData, ppReadUserData, ppWriteUserData, ppSeekUserData, ppCloseUserData};
    for (size_t i = 0; i < kFileSlots; ++i) {
        if (out[i])
            *out[i] = table.slots[i].user_data;
    }
    return V_SUCCESS;
}

int V_GetRedirectFunctions(REDIRECTFUNCTIONS* pFunctions, uint32_t uSize, uint32_t uType, int bGlobalOnly) noexcept
{
    if (const int result = check_table(pFunctions, uSize); result != V_SUCCESS)
        return result;
    switch (uType) {
    case REDIRECTTYPE_FILES:
        to_record(bGlobalOnly ? library_table() : effective_table(), *pFunctions);
        return V_SUCCESS;
    case REDIRECTTYPE_TEMP_PLAIN:
        to_record(plain_temp_table(), *pFunctions);
        return V_SUCCESS;
    case REDIRECTTYPE_TEMP_REDIRECTED:
        to_record(temp_table(), *pFunctions);
        return V_SUCCESS;
    case REDIRECTTYPE_DEFAULT:
        to_record(default_table(), *pFunctions);
        return V_SUCCESS;
    default:
        return V_ERROR_INVALID_PARAMETER;
    }
}

int V_GetRedirectFunctions2(const wchar_t* pszName, REDIRECTFUNCTIONS* pFunctions, uint32_t uSize, uint32_t uType,
                            int bGlobalOnly) noexcept
{
    if (!pszName || !is_registered_form(pszName))
        return V_GetRedirectFunctions(pFunctions, uSize, uType, bGlobalOnly);
    Table table;
    int result = check_table(pFunctions, uSize);
    if (result == V_SUCCESS)
        result = find_name(pszName, table);
    if (result == V_SUCCESS)
        to_record(table, *pFunctions);
    return result;
}

int V_SetRedirectFunctions(REDIRECTFUNCTIONS* pFunctions, uint32_t uType, int bGlobal) noexcept
{
    if (!pFunctions)
        return V_ERROR_NULL_PTR;
    if (const int result = check_table(pFunctions, pFunctions->StructSize); result != V_SUCCESS)
        return result;
    if (uType == REDIRECTTYPE_TEMP_PLAIN || uType == REDIRECTTYPE_TEMP_REDIRECTED)
        return V_ERROR_FEATURE_NOT_SUPPORTED;
    if (uType != REDIRECTTYPE_FILES)
        return V_ERROR_INVALID_PARAMETER;
    Table table = from_record(*pFunctions);
    settle_defaults(table);
    if (bGlobal)
        exchange_library(table);
    else
        exchange_thread(table);
    to_record(table, *pFunctions);
    return V_SUCCESS;
}

int V_UpdateRedirectFunctions(V_REDIRECTHANDLE hFile, REDIRECTFUNCTIONS* pFunctions) noexcept
{
    if (!pFunctions)
        return V_ERROR_NULL_PTR;
    if (const int result = check_table(pFunctions, pFunctions->StructSize); result != V_SUCCESS)
        return result;
    File* const file = file_of(hFile);
    if (!file)
        return V_ERROR_INVALID_REDIRECTHANDLE;
    Table table = from_record(*pFunctions);
    settle_defaults(table);
    exchange(file->table, table);
    to_record(table, *pFunctions);
    return V_SUCCESS;
}

int V_UsesRedirectIO(const wchar_t* pszName, V_REDIRECTHANDLE hFile) noexcept
{
    if (!is_plain(effective_table()) || (pszName && is_registered_form(pszName)))
        return 1;
    const File* const file = file_of(hFile);
    return file && !is_plain(file->table) ? 1 : 0;
}
