// The redirect family's door: the table that all file access goes through, exchanged by slot, by record and by name,
// and files opened through it.
//
// Inside: Table.h has the library's table and the thread's slots in front of it, File.h open redirected files, Names.h
// redirections that go by name, Buffer.h the one into memory; Copy.cpp is the library's own copy operation.
#include "Vkredirect.h"

#include "kernel/redirect/Buffer.h"
#include "kernel/redirect/File.h"
#include "kernel/redirect/Names.h"
#include "kernel/system/Text.h"
#include "kernel/system/ThreadState.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
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

V_REDIRECTHANDLE handle_of(File* file) noexcept
{
    return file ? file : no_file();
}

V_REDIRECTHANDLE open_utf8(const char* name, int flags, int mode) noexcept
{
    if (!name)
        return no_file();
    const size_t room = std::strlen(name) + 1; // a wide name is never longer
    auto* const wide = static_cast<wchar_t*>(platform::heap_alloc(room * sizeof(wchar_t)));
    if (!wide)
        return no_file();
    File* const file = utf8_to_wide(name, wide, room) ? open_named(effective_table(), wide, flags, mode) : nullptr;
    platform::heap_free(wide);
    return handle_of(file);
}

int close_nothing(int64_t, void*) noexcept
{
    return 0;
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

V_REDIRECTHANDLE V_RedirectedOpen(const wchar_t* pszName, int nFlags, int nMode) noexcept
{
    return handle_of(open_named(effective_table(), pszName, nFlags, nMode));
}

V_REDIRECTHANDLE V_RedirectedOpenA(const char* pszName, int nFlags, int nMode) noexcept
{
    return open_utf8(pszName, nFlags, nMode);
}

V_REDIRECTHANDLE V_RedirectedOpenUTF8(const char* pszName, int nFlags, int nMode) noexcept
{
    return open_utf8(pszName, nFlags, nMode);
}

V_REDIRECTHANDLE V_RedirectedTempFileOpen(const wchar_t* pszName, int nFlags, int nMode) noexcept
{
    return handle_of(open_named(temp_table(), pszName, nFlags, nMode));
}

int32_t V_RedirectedRead(V_REDIRECTHANDLE hFile, void* pBuffer, uint32_t uCount) noexcept
{
    return static_cast<int32_t>(V_RedirectedReadBig(hFile, pBuffer, std::min<uint32_t>(uCount, INT32_MAX)));
}

int64_t V_RedirectedReadBig(V_REDIRECTHANDLE hFile, void* pBuffer, uint64_t uCount) noexcept
{
    const File* const file = file_of(hFile);
    return file ? call_read(file->table, file->handle, pBuffer, static_cast<size_t>(uCount)) : -1;
}

int32_t V_RedirectedWrite(V_REDIRECTHANDLE hFile, const void* pBuffer, uint32_t uCount) noexcept
{
    return static_cast<int32_t>(V_RedirectedWriteBig(hFile, pBuffer, std::min<uint32_t>(uCount, INT32_MAX)));
}

int64_t V_RedirectedWriteBig(V_REDIRECTHANDLE hFile, const void* pBuffer, uint64_t uCount) noexcept
{
    const File* const file = file_of(hFile);
    return file ? call_write(file->table, file->handle, pBuffer, static_cast<size_t>(uCount)) : -1;
}

int32_t V_RedirectedSeek(V_REDIRECTHANDLE hFile, int32_t nOffset, int nOrigin) noexcept
{
    const int64_t position = V_RedirectedSeekBig(hFile, nOffset, nOrigin);
    return position >= INT32_MIN && position <= INT32_MAX ? static_cast<int32_t>(position) : -1;
}

int64_t V_RedirectedSeekBig(V_REDIRECTHANDLE hFile, int64_t nOffset, int nOrigin) noexcept
{
    const File* const file = file_of(hFile);
    return file ? call_seek(file->table, file->handle, nOffset, nOrigin) : -1;
}

int V_RedirectedClose(V_REDIRECTHANDLE hFile) noexcept
{
    if (!hFile)
        return V_ERROR_NULL_PTR;
    File* const file = file_of(hFile);
    if (!file)
        return V_ERROR_INVALID_HANDLE;
    const int result = call_close(file->table, file->handle);
    if (result >= 0 || closes_in_system(file->table))
        release(file);
    return result;
}

int V_CreateRedirectedFileHandle(int64_t hFile, V_REDIRECTHANDLE* phFile) noexcept
{
    if (hFile == kNoFile)
        return V_ERROR_INVALID_PARAMETER;
    if (!phFile)
        return V_ERROR_NULL_PTR;
    Table table = effective_table();
    table.slots[kClose] = {reinterpret_cast<uintptr_t>(&close_nothing), nullptr};
    File* const file = wrap(table, hFile, Kind::given);
    if (!file)
        return V_ERROR_NO_MEMORY;
    *phFile = file;
    return V_SUCCESS;
}

int64_t V_ExtractRedirectedFileHandle(V_REDIRECTHANDLE hFile) noexcept
{
    const File* const file = file_of(hFile);
    return file ? file->handle : kNoFile;
}

int V_ExtractRedirectFunctions(V_REDIRECTHANDLE hFile, REDIRECTFUNCTIONS* pFunctions, uint32_t uSize) noexcept
{
    if (!hFile || hFile == no_file())
        return V_ERROR_INVALID_REDIRECTHANDLE;
    if (!pFunctions)
        return V_ERROR_NULL_PTR;
    if (uSize != sizeof *pFunctions)
        return V_ERROR_INVALID_STRUCT_SIZE;
    pFunctions->StructSize = sizeof *pFunctions;
    const File* const file = file_of(hFile);
    if (!file)
        return V_ERROR_INVALID_REDIRECTHANDLE;
    to_record(file->table, *pFunctions);
    return V_SUCCESS;
}

int V_GetUniqueRedirectFileName(wchar_t* pszName, uint32_t uLength) noexcept
{
    if (!pszName)
        return V_ERROR_NULL_PTR;
    if (uLength < V_REDIRECT_NAME_LENGTH)
        return V_ERROR_BUFFER_TOO_SMALL;
    make_up_name(pszName);
    return V_SUCCESS;
}

int V_RegisterRedirectName(const wchar_t* pszName, const REDIRECTFUNCTIONS* pFunctions) noexcept
{
    if (!pszName || !pFunctions)
        return V_ERROR_NULL_PTR;
    if (pFunctions->StructSize != sizeof *pFunctions)
        return V_ERROR_INVALID_STRUCT_SIZE;
    Table table = from_record(*pFunctions);
    settle_defaults(table);
    return register_name(pszName, table);
}

int V_UnregisterRedirectName(const wchar_t* pszName) noexcept
{
    return pszName ? unregister_name(pszName) : V_ERROR_NULL_PTR;
}

int V_StartRedirectToBuffer(void** ppObject, V_REDIRECTHANDLE* phFile, uint32_t uOptions, void* pBuffer,
                            size_t uCapacity) noexcept
{
    return ppObject ? start_buffer(ppObject, phFile, uOptions, pBuffer, uCapacity) : V_ERROR_INVALID_PARAMETER;
}

int V_StopRedirectToBuffer(void* pObject, void** ppBuffer, size_t* puSize) noexcept
{
    return stop_buffer(pObject, ppBuffer, puSize);
}
