// Files, temporary files and redirection.
#include "tests/faults/OtherOperations.h"
#include "tests/support/Environment.h"

#include "Vkfiles.h"
#include "Vkredirect.h"
#include "Vktemp.h"

#include <array>
#include <cstring>

namespace vk::testing {

namespace {

constexpr int kSharing = 0x180;
constexpr size_t kBytes = 64;
const V_REDIRECTHANDLE kNoFile = reinterpret_cast<V_REDIRECTHANDLE>(intptr_t{-1});

std::array<uint8_t, kBytes> g_bytes;

/// Something done with the name of a new temporary file, which is then deleted.
template <class Use> intptr_t with_temp_name(Use use)
{
    wchar_t name[260];
    const int code = V_GetTempFileName(name, L"f");
    if (code != V_SUCCESS)
        return code;
    const intptr_t result = use(name);
    return V_OsDelete(name) == 0 ? result : FAILURE;
}

intptr_t close_os_file(int64_t file, bool went_well)
{
    return result_of(file == -1 || V_OsClose(file, nullptr) == 0) & result_of(file != -1 && went_well);
}

intptr_t read_and_write()
{
    return with_temp_name([](const wchar_t* name) {
        const int64_t file = V_OsOpen(name, 2, kSharing, nullptr);
        const bool went_well =
            file != -1 && V_OsWrite(file, g_bytes.data(), kBytes, nullptr) == kBytes &&
            V_OsSeek(file, 8, 0, nullptr) == 8 && V_OsRead(file, g_bytes.data(), kBytes, nullptr) == kBytes - 8 &&
            V_OsSetFileSize(file, 2 * kBytes) == 0 && V_OsWriteBig(file, g_bytes.data(), kBytes) == kBytes &&
            V_OsSeek(file, 0, 0, nullptr) == 0 && V_OsReadBig(file, g_bytes.data(), kBytes) == kBytes;
        return close_os_file(file, went_well);
    });
}

intptr_t create()
{
    return with_temp_name([](const wchar_t* name) { return close_os_file(V_OsCreat(name, 0), true); });
}

intptr_t narrow_temp_name()
{
    char name[780];
    const int code = V_GetTempFileNameA(name, "f");
    if (code == V_SUCCESS)
        remove_temporary_files();
    return code;
}

intptr_t temp_directory()
{
    wchar_t directory[1024];
    return V_GetTempDirectory(directory, 1024);
}

intptr_t temp_options()
{
    TEMPFILEOPTIONS options{};
    return result_of(V_GetTempFileOptions(&options, sizeof options) == V_SUCCESS &&
                     V_SetTempFileOptions(&options) == V_ERROR_FEATURE_NOT_SUPPORTED &&
                     V_SetTempDirectory(L"d") == V_ERROR_FEATURE_NOT_SUPPORTED && V_GetTempFileMode() == 1);
}

bool use_redirected(V_REDIRECTHANDLE file)
{
    return V_RedirectedWrite(file, g_bytes.data(), kBytes) == int32_t{kBytes} &&
           V_RedirectedWriteBig(file, g_bytes.data(), kBytes) == int64_t{kBytes} && V_RedirectedSeek(file, 0, 0) == 0 &&
           V_RedirectedRead(file, g_bytes.data(), 8) == 8 && V_RedirectedSeekBig(file, 1, 1) == 9 &&
           V_RedirectedReadBig(file, g_bytes.data(), kBytes) == int64_t{kBytes};
}

intptr_t close_redirected(V_REDIRECTHANDLE file, bool went_well)
{
    return result_of(file == kNoFile || V_RedirectedClose(file) >= 0) & result_of(file != kNoFile && went_well);
}

template <auto open> intptr_t redirected()
{
    return with_temp_name([](const wchar_t* name) {
        const V_REDIRECTHANDLE file = open(name, V_OPENFLAG_READWRITE, V_OPENMODE_READWRITE);
        return close_redirected(file, file != kNoFile && use_redirected(file));
    });
}

template <auto open> intptr_t redirected_narrow()
{
    return with_temp_name([](const wchar_t* name) {
        char narrow[780] = {};
        for (size_t i = 0; name[i] != 0; ++i)
            narrow[i] = static_cast<char>(name[i]);
        const V_REDIRECTHANDLE file = open(narrow, V_OPENFLAG_READ, V_OPENMODE_READ);
        return close_redirected(file, file != kNoFile);
    });
}

intptr_t around_a_handle()
{
    return with_temp_name([](const wchar_t* name) {
        const int64_t handle = V_OsOpen(name, 2, kSharing, nullptr);
        V_REDIRECTHANDLE file = kNoFile;
        const int made = handle == -1 ? FAILURE : V_CreateRedirectedFileHandle(handle, &file);
        REDIRECTFUNCTIONS table{};
        table.StructSize = sizeof table;
        const bool went_well = made == V_SUCCESS && V_ExtractRedirectedFileHandle(file) == handle &&
                               V_ExtractRedirectFunctions(file, &table, sizeof table) == V_SUCCESS &&
                               V_UpdateRedirectFunctions(file, &table) == V_SUCCESS &&
                               V_UsesRedirectIO(nullptr, file) == 0;
        const intptr_t closed = made == V_SUCCESS ? close_redirected(file, went_well) : FAILURE;
        return close_os_file(handle, closed == V_SUCCESS);
    });
}

intptr_t into_buffer()
{
    void* redirection = nullptr;
    V_REDIRECTHANDLE file = kNoFile;
    const int code =
        V_StartRedirectToBuffer(&redirection, &file, REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE, nullptr, 0);
    if (code != V_SUCCESS)
        return code;
    const bool went_well = use_redirected(file);
    const bool is_closed = V_RedirectedClose(file) >= 0;
    void* bytes = nullptr;
    size_t count = 0;
    const bool is_over = V_StopRedirectToBuffer(redirection, &bytes, &count) == V_SUCCESS;
    if (const HGLOBAL block = bytes ? GlobalHandle(bytes) : nullptr) {
        GlobalUnlock(block);
        GlobalFree(block);
    }
    return result_of(went_well && is_closed && is_over);
}

intptr_t registered_name()
{
    wchar_t name[V_REDIRECT_NAME_LENGTH];
    REDIRECTFUNCTIONS table{};
    table.StructSize = sizeof table;
    int code = V_GetUniqueRedirectFileName(name, V_REDIRECT_NAME_LENGTH);
    if (code == V_SUCCESS)
        code = V_RegisterRedirectName(name, &table);
    if (code != V_SUCCESS)
        return code;
    code = V_GetRedirectFunctions2(name, &table, sizeof table, REDIRECTTYPE_FILES, 0);
    const int gone = V_UnregisterRedirectName(name);
    return code == V_SUCCESS ? gone : code;
}

intptr_t tables()
{
    REDIRECTFUNCTIONS table{}, none{};
    none.StructSize = sizeof none;
    V_REDIRECTOPEN open = nullptr;
    void* data = nullptr;
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    const bool went_well =
        V_FilterIO(&open, nullptr, nullptr, nullptr, nullptr, &data, nullptr, nullptr, nullptr, nullptr) == V_SUCCESS &&
        V_GetFilterIOData(&data, nullptr, nullptr, nullptr, nullptr) == V_SUCCESS &&
        V_GetRedirectFunctions(&table, sizeof table, REDIRECTTYPE_FILES, 0) == V_SUCCESS &&
        V_SetRedirectFunctions(&none, REDIRECTTYPE_FILES, 0) == V_SUCCESS;
    const auto not_set = reinterpret_cast<intptr_t>(nullptr) + V_REDIRECT_NONE;
    V_RedirectIO(reinterpret_cast<V_REDIRECTOPEN>(not_set), reinterpret_cast<V_REDIRECTREAD>(not_set),
                 reinterpret_cast<V_REDIRECTWRITE>(not_set), reinterpret_cast<V_REDIRECTSEEK>(not_set),
                 reinterpret_cast<V_REDIRECTCLOSE>(not_set), nullptr);
    return result_of(went_well);
}

} // namespace

const OtherFamily file_scenarios = {
    {"V_GetTempFileName, V_OsOpen, V_OsRead, V_OsWrite, V_OsSeek, V_OsReadBig, V_OsWriteBig, V_OsSetFileSize, "
     "V_OsClose, "
     "V_OsDelete",
     read_and_write},
    {"V_OsCreat", create},
    {"V_GetTempFileNameA", narrow_temp_name},
    {"V_GetTempDirectory", temp_directory},
    {"V_GetTempFileOptions, V_SetTempFileOptions, V_SetTempDirectory, V_GetTempFileMode", temp_options, Calls::none},
    {"V_RedirectedOpen, V_RedirectedWrite, V_RedirectedWriteBig, V_RedirectedSeek, V_RedirectedSeekBig, "
     "V_RedirectedRead, V_RedirectedReadBig, V_RedirectedClose",
     redirected<V_RedirectedOpen>},
    {"V_RedirectedTempFileOpen", redirected<V_RedirectedTempFileOpen>},
    {"V_RedirectedOpenA", redirected_narrow<V_RedirectedOpenA>},
    {"V_RedirectedOpenUTF8", redirected_narrow<V_RedirectedOpenUTF8>},
    {"V_CreateRedirectedFileHandle, V_ExtractRedirectedFileHandle, V_ExtractRedirectFunctions, "
     "V_UpdateRedirectFunctions, V_UsesRedirectIO",
     around_a_handle},
    {"V_StartRedirectToBuffer, V_StopRedirectToBuffer", into_buffer},
    {"V_GetUniqueRedirectFileName, V_RegisterRedirectName, V_GetRedirectFunctions2, V_UnregisterRedirectName",
     registered_name},
    {"V_RedirectIO, V_FilterIO, V_GetFilterIOData, V_GetRedirectFunctions, V_SetRedirectFunctions", tables,
     Calls::none},
};

} // namespace vk::testing
