// Redirected files: a file in a buffer does what a model of a file does, whatever is read, written and sought; an
// operating system's temporary file does the same; tables with any special values and any order of starting and ending
// leave the thread as it was.
#include "fuzz/Subject.h"

#include "Vkfiles.h"
#include "Vkredirect.h"
#include "Vktemp.h"

namespace vk::fuzz {

namespace {

constexpr size_t kMostBytes = 4096;
const V_REDIRECTHANDLE kNoFile = reinterpret_cast<V_REDIRECTHANDLE>(intptr_t{-1});

/// A file as the interface describes it.
struct ModelFile {
    Bytes bytes;
    size_t position = 0;

    void write(const Bytes& data)
    {
        if (data.empty())
            return bytes.resize(position);
        bytes.resize(std::max(bytes.size(), position + data.size()));
        std::copy(data.begin(), data.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position));
        position += data.size();
    }
    Bytes read(size_t count)
    {
        const size_t first = std::min(position, bytes.size()), end = std::min(first + count, bytes.size());
        position += end - first;
        return {bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.begin() + static_cast<std::ptrdiff_t>(end)};
    }
    int64_t target(int64_t offset, int origin) const
    {
        return offset + (origin == 0 ? 0 : static_cast<int64_t>(origin == 1 ? position : bytes.size()));
    }
};

/// One operation on the file and on its model. Of one that failed only the position is made sure of.
void step(ByteSource& source, V_REDIRECTHANDLE file, ModelFile& model, bool is_buffer)
{
    const int way = source.below(3);
    Bytes data;
    data.reserve(64); // never a null pointer, which is refused
    data.assign(static_cast<size_t>(source.below(64)), source.byte());
    const int64_t offset = source.between(-64, 512);
    const int origin = source.below(3);
    if (model.position + data.size() > kMostBytes)
        return;
    if (way == 0) {
        const int64_t count = V_RedirectedWriteBig(file, data.data(), data.size());
        require(count == static_cast<int64_t>(data.size()));
        model.write(data);
    } else if (way == 1) {
        const Bytes wanted = model.read(data.size());
        if (is_buffer && model.bytes.empty())
            return; // there may be no buffer yet, which is no file to read from
        require(V_RedirectedReadBig(file, data.data(), data.size()) == static_cast<int64_t>(wanted.size()));
        data.resize(wanted.size());
        require(data == wanted);
    } else {
        const int64_t target = model.target(offset, origin), size = static_cast<int64_t>(model.bytes.size());
        const int64_t at = V_RedirectedSeekBig(file, offset, origin);
        if (target >= 0 && target <= (is_buffer ? size : static_cast<int64_t>(kMostBytes))) {
            require(at == target);
            model.position = static_cast<size_t>(target);
            return;
        }
        // A buffer may be sought anywhere, but has nothing there; a file has no place before its start.
        require(at == target || (!is_buffer && at == -1));
        uint8_t byte = 0;
        require(!is_buffer || V_RedirectedReadBig(file, &byte, 1) == -1);
        const auto back = static_cast<int64_t>(model.position);
        require(V_RedirectedSeekBig(file, back, 0) == back);
    }
}

void in_buffer(ByteSource& source, uint32_t options)
{
    void* redirection = nullptr;
    V_REDIRECTHANDLE file = kNoFile;
    const uint32_t flags = REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE | (options & REDIRECTBUFFER_SHRINK);
    Refusals refusals(source);
    const int code = V_StartRedirectToBuffer(&redirection, &file, flags, nullptr, 0);
    refusals.stop();
    if (code != V_SUCCESS)
        return;
    require(V_UsesRedirectIO(nullptr, file) == 1 && V_UsesRedirectIO(nullptr, nullptr) == 1);
    ModelFile model;
    for (int i = 0; i < 24 && !source.is_empty(); ++i)
        step(source, file, model, true);
    require(V_RedirectedClose(file) >= 0);
    void* bytes = nullptr;
    size_t count = 0;
    require(V_StopRedirectToBuffer(redirection, &bytes, &count) == V_SUCCESS);
    require(count == model.bytes.size());
    require(count == 0 || std::memcmp(bytes, model.bytes.data(), count) == 0);
    if (const HGLOBAL block = bytes ? GlobalHandle(bytes) : nullptr) {
        GlobalUnlock(block);
        require(GlobalFree(block) == nullptr);
    }
    require(V_UsesRedirectIO(nullptr, nullptr) == 0);
}

void in_temp_file(ByteSource& source)
{
    wchar_t name[260];
    require(V_GetTempFileName(name, L"fz") == V_SUCCESS);
    const V_REDIRECTHANDLE file =
        V_RedirectedTempFileOpen(name, V_OPENFLAG_READWRITE | V_OPENFLAG_TEMPORARY, V_OPENMODE_READWRITE);
    require(file != kNoFile);
    ModelFile model;
    for (int i = 0; i < 24 && !source.is_empty(); ++i)
        step(source, file, model, false);
    require(V_RedirectedClose(file) >= 0);
    require(V_OsOpen(name, 0, 0x180, nullptr) == -1);
}

/// Names for registration: any text behind the prefix.
void names(ByteSource& source)
{
    wchar_t name[64] = {};
    require(V_GetUniqueRedirectFileName(name, 64) == V_SUCCESS);
    REDIRECTFUNCTIONS table{};
    table.StructSize = sizeof table;
    for (size_t i = 10; i < 60 && name[i] != 0; ++i)
        if (source.one_in(8))
            name[i] = static_cast<wchar_t>(source.byte());
    Refusals refusals(source);
    const int code = V_RegisterRedirectName(name, &table);
    refusals.stop();
    require_known(code);
    require(V_UnregisterRedirectName(name) == (code == V_SUCCESS ? V_SUCCESS : V_ERROR_FILE_NOT_FOUND));
}

/// Tables with slots that are not set, on purpose or not, and what is read back.
void tables(ByteSource& source)
{
    constexpr intptr_t kValues[] = {0, V_REDIRECT_NONE, V_REDIRECT_DEFAULT, 4096};
    intptr_t words[15] = {};
    for (int i = 1; i < 15; ++i)
        words[i] = source.one_of(kValues);
    REDIRECTFUNCTIONS table{}, before{}, after{};
    require(V_GetRedirectFunctions(&before, sizeof before, REDIRECTTYPE_FILES, 0) == V_SUCCESS);
    std::memcpy(&table, words, sizeof table);
    table.StructSize = sizeof table;
    require(V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, 0) == V_SUCCESS);
    const auto none = reinterpret_cast<V_REDIRECTOPEN>(V_REDIRECT_NONE);
    V_RedirectIO(none, reinterpret_cast<V_REDIRECTREAD>(V_REDIRECT_NONE),
                 reinterpret_cast<V_REDIRECTWRITE>(V_REDIRECT_NONE), reinterpret_cast<V_REDIRECTSEEK>(V_REDIRECT_NONE),
                 reinterpret_cast<V_REDIRECTCLOSE>(V_REDIRECT_NONE), nullptr);
    require(V_GetRedirectFunctions(&after, sizeof after, REDIRECTTYPE_FILES, 0) == V_SUCCESS);
    require(before.Open == after.Open && before.Read == after.Read && before.Close == after.Close);
    require(V_FreeThreadState() == V_SUCCESS);
}

} // namespace

} // namespace vk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vk::fuzz;
    const NothingStays nothing;
    ByteSource source(data, size);
    const uint32_t options = source.byte();
    switch (options % 5) {
    case 0:
        names(source);
        break;
    case 1:
        tables(source);
        break;
    case 2:
        in_temp_file(source);
        break;
    default:
        in_buffer(source, options / 5);
    }
    return 0;
}
