// Redirected files: opening, transfers and closing through the operations that opened them.
#include "kernel/system/Text.h"
#include "kernel/redirect/File.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

using namespace vk;
using namespace vk::redirect;

namespace {

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
    if (result >= 0)
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
