// Redirection through the public interface: tables and their special values, files, names, buffers, copying.
#include "tests/support/MemoryFiles.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <set>
#include <thread>

using namespace vk::testing;

namespace {

const V_REDIRECTHANDLE kNoHandle = reinterpret_cast<V_REDIRECTHANDLE>(intptr_t{-1});
constexpr int kCreate = V_OPENFLAG_CREATE | V_OPENFLAG_TRUNCATE | V_OPENFLAG_READWRITE;
constexpr uint32_t kTableSize = 120;

/// A table as fourteen numbers: function, user data, function, ...
using Numbers = std::array<intptr_t, 14>;

REDIRECTFUNCTIONS table_of(const Numbers& numbers)
{
    REDIRECTFUNCTIONS table = {};
    table.StructSize = kTableSize;
    std::memcpy(reinterpret_cast<char*>(&table) + 8, numbers.data(), sizeof numbers);
    return table;
}

Numbers numbers_of(const REDIRECTFUNCTIONS& table)
{
    Numbers numbers;
    std::memcpy(numbers.data(), reinterpret_cast<const char*>(&table) + 8, sizeof numbers);
    return numbers;
}

Numbers read_table(uint32_t type, int global = 0)
{
    REDIRECTFUNCTIONS table;
    EXPECT_EQ(SUCCESS, V_GetRedirectFunctions(&table, kTableSize, type, global));
    EXPECT_EQ(kTableSize, table.StructSize);
    return numbers_of(table);
}

/// Sets a table and gives what was there.
Numbers set_table(const Numbers& numbers, int global)
{
    REDIRECTFUNCTIONS table = table_of(numbers);
    EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, global));
    return numbers_of(table);
}

template <typename Function> intptr_t number(Function function)
{
    return reinterpret_cast<intptr_t>(function);
}

std::string text_of(V_REDIRECTHANDLE file)
{
    std::string text(static_cast<size_t>(V_RedirectedSeekBig(file, 0, 2)), ' ');
    EXPECT_EQ(0, V_RedirectedSeek(file, 0, 0));
    EXPECT_EQ(static_cast<int64_t>(text.size()), V_RedirectedReadBig(file, text.data(), text.size()));
    return text;
}

} // namespace

TEST(RedirectTables, EverySlotTakesEverySpecialValue)
{
    const RestoreRedirection restore;
    const Numbers defaults = read_table(REDIRECTTYPE_DEFAULT);
    EXPECT_EQ(number(&V_OsOpen), defaults[0]);
    EXPECT_EQ(number(&V_OsClose), defaults[8]);
    EXPECT_EQ(defaults, read_table(REDIRECTTYPE_FILES));
    EXPECT_EQ(defaults, read_table(REDIRECTTYPE_FILES, 1));
    for (const int global : {0, 1}) {
        for (size_t slot = 0; slot < 14; slot += 2) {
            SCOPED_TRACE("slot " + std::to_string(slot / 2) + (global ? ", library" : ", thread"));
            const auto set = [&](intptr_t function, intptr_t user_data) {
                Numbers numbers = {};
                numbers[slot] = function;
                numbers[slot + 1] = user_data;
                const Numbers before = set_table(numbers, global);
                for (size_t i = 0; i < 14; ++i) {
                    if (i / 2 != slot / 2) {
                        EXPECT_EQ(0, before[i]) << "slots that are 0 stay and give 0";
                    }
                }
                return std::pair(before[slot], before[slot + 1]);
            };
            const auto in_force = [&] {
                const Numbers now = read_table(REDIRECTTYPE_FILES);
                return std::pair(now[slot], now[slot + 1]);
            };
            const std::pair<intptr_t, intptr_t> nothing(global ? defaults[slot] : -1, 0);
            const bool seen = global || slot < 10; // a thread's copy and delete are kept but not used
            const auto visible = [&](intptr_t function, intptr_t user_data) {
                return seen ? std::pair(function, user_data) : std::pair(defaults[slot], intptr_t{0});
            };
            EXPECT_EQ(nothing, set(1000, 1));
            EXPECT_EQ(visible(1000, 1), in_force());
            EXPECT_EQ(std::pair(intptr_t{1000}, intptr_t{1}), set(2000, 2));
            EXPECT_EQ(std::pair(intptr_t{0}, intptr_t{9}), set(0, 9)) << "not set";
            EXPECT_EQ(visible(2000, 2), in_force());
            EXPECT_EQ(std::pair(intptr_t{2000}, intptr_t{2}), set(-2, 3));
            EXPECT_EQ(visible(defaults[slot], 3), in_force());
            if (global) {
                EXPECT_EQ(std::pair(intptr_t{0}, intptr_t{4}), set(-1, 4)) << "the library always has operations";
                EXPECT_EQ(std::pair(defaults[slot], intptr_t{3}), set(-2, 0));
            } else {
                EXPECT_EQ(std::pair(defaults[slot], intptr_t{3}), set(-1, 0));
                EXPECT_EQ(nothing, set(-1, 0)) << "none where there is none";
            }
            EXPECT_EQ(defaults, read_table(REDIRECTTYPE_FILES));
        }
    }
}

TEST(RedirectTables, ArgumentsAreCheckedInOrder)
{
    REDIRECTFUNCTIONS table = table_of({});
    REDIRECTFUNCTIONS wrong = table;
    wrong.StructSize = 119;
    for (const uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ERROR_NULL_PTR, V_GetRedirectFunctions(nullptr, 119, type, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetRedirectFunctions(&table, 119, type, 0));
        EXPECT_EQ(type < 4 ? SUCCESS : ERROR_INVALID_PARAMETER, V_GetRedirectFunctions(&table, 120, type, 1));
        EXPECT_EQ(ERROR_NULL_PTR, V_SetRedirectFunctions(nullptr, type, 0));
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_SetRedirectFunctions(&wrong, type, 0));
        REDIRECTFUNCTIONS nothing = table_of({});
        EXPECT_EQ(type == 0                ? SUCCESS
                  : type == 1 || type == 2 ? ERROR_FEATURE_NOT_SUPPORTED
                                           : ERROR_INVALID_PARAMETER,
                  V_SetRedirectFunctions(&nothing, type, 0));
    }
    EXPECT_EQ(ERROR_NULL_PTR, V_UpdateRedirectFunctions(kNoHandle, nullptr));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_UpdateRedirectFunctions(kNoHandle, &wrong));
    uint64_t not_a_file[40] = {};
    for (const V_REDIRECTHANDLE handle : {V_REDIRECTHANDLE{}, kNoHandle, V_REDIRECTHANDLE{not_a_file}}) {
        EXPECT_EQ(ERROR_INVALID_REDIRECTHANDLE, V_UpdateRedirectFunctions(handle, &table));
        EXPECT_EQ(ERROR_INVALID_REDIRECTHANDLE, V_ExtractRedirectFunctions(handle, &table, 120));
        EXPECT_EQ(-1, V_ExtractRedirectedFileHandle(handle));
        EXPECT_EQ(0, V_UsesRedirectIO(nullptr, handle));
        EXPECT_EQ(-1, V_RedirectedRead(handle, not_a_file, 1));
        EXPECT_EQ(-1, V_RedirectedWrite(handle, not_a_file, 1));
        EXPECT_EQ(-1, V_RedirectedSeek(handle, 0, 0));
        EXPECT_EQ(handle ? ERROR_INVALID_HANDLE : ERROR_NULL_PTR, V_RedirectedClose(handle));
    }
    EXPECT_EQ(ERROR_NULL_PTR, V_ExtractRedirectFunctions(not_a_file, nullptr, 120));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ExtractRedirectFunctions(not_a_file, &table, 0));
    V_REDIRECTHANDLE file = nullptr;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_CreateRedirectedFileHandle(-1, nullptr));
    EXPECT_EQ(ERROR_NULL_PTR, V_CreateRedirectedFileHandle(5, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StartRedirectToBuffer(nullptr, &file, 0, nullptr, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StopRedirectToBuffer(nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_StopRedirectToBuffer(not_a_file, nullptr, nullptr));
    for (const auto open : {V_RedirectedOpen, V_RedirectedTempFileOpen})
        EXPECT_EQ(kNoHandle, open(nullptr, 0, 0x100));
    for (const auto open : {V_RedirectedOpenA, V_RedirectedOpenUTF8}) {
        EXPECT_EQ(kNoHandle, open(nullptr, kCreate, 0x180));
        EXPECT_EQ(kNoHandle, open("not UTF-8: \xFF", kCreate, 0x180));
    }
}

TEST(RedirectTables, AThreadsOperationsAreItsOwnAndNoneLetsTheLibrarysApply)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    MemoryFiles everywhere;
    EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr));
    EXPECT_EQ(1, V_UsesRedirectIO(L"VELLRedirect://", nullptr));
    EXPECT_EQ(0, V_UsesRedirectIO(L"VELLRedirect:/", nullptr));
    const Numbers before = set_table(numbers_of(everywhere.table()), 1);
    fs.redirect();
    EXPECT_EQ(number(&fs), read_table(REDIRECTTYPE_FILES)[1]);
    EXPECT_EQ(number(&everywhere), read_table(REDIRECTTYPE_FILES, 1)[1]);
    std::thread([&] { EXPECT_EQ(number(&everywhere), read_table(REDIRECTTYPE_FILES)[1]); }).join();
    V_RedirectIO(reinterpret_cast<V_REDIRECTOPEN>(V_REDIRECT_NONE), nullptr, nullptr, nullptr, nullptr, &fs);
    const Numbers mixed = read_table(REDIRECTTYPE_FILES);
    EXPECT_EQ(number(&everywhere), mixed[1]) << "none of its own";
    EXPECT_EQ(number(&V_OsRead), mixed[2]);
    EXPECT_EQ(number(&fs), mixed[3]);
    void* data[5] = {};
    EXPECT_EQ(SUCCESS, V_GetFilterIOData(&data[0], &data[1], &data[2], nullptr, &data[4]));
    EXPECT_TRUE(data[0] == &everywhere && data[1] == &fs && data[2] == &fs && data[3] == nullptr && data[4] == &fs);
    EXPECT_EQ(numbers_of(everywhere.table())[0], set_table(before, 1)[0]);
    EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr)) << "user data alone redirect nothing";
}

namespace {

/// A filter that counts what it passes on to the operation it replaced.
struct Filter {
    V_REDIRECTREAD read = count;
    void* read_data = this;
    int calls = 0;

    void exchange()
    {
        EXPECT_EQ(SUCCESS, V_FilterIO(nullptr, &read, nullptr, nullptr, nullptr, nullptr, &read_data, nullptr, nullptr,
                                      nullptr));
    }
    static int64_t count(int64_t file, void* buffer, size_t bytes, void* user_data)
    {
        auto* const self = static_cast<Filter*>(user_data);
        ++self->calls;
        return self->read(file, buffer, bytes, self->read_data);
    }
};

} // namespace

TEST(RedirectTables, FiltersChainAndComeOutAgain)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    fs.redirect();
    Filter filters[3];
    for (Filter& filter : filters)
        filter.exchange();
    const V_REDIRECTHANDLE file = V_RedirectedOpen(L"a", kCreate, 0x180);
    EXPECT_EQ(3, V_RedirectedWrite(file, "abc", 3));
    EXPECT_EQ("abc", text_of(file));
    EXPECT_EQ(0, V_RedirectedClose(file));
    for (int i = 2; i >= 0; --i) {
        EXPECT_EQ(1, filters[i].calls);
        filters[i].exchange();
        EXPECT_EQ(&Filter::count, filters[i].read) << "what went in comes out";
    }
    EXPECT_EQ(numbers_of(fs.table())[2], read_table(REDIRECTTYPE_FILES)[2]);

    V_REDIRECTOPEN open = nullptr;
    V_REDIRECTCLOSE close = reinterpret_cast<V_REDIRECTCLOSE>(V_REDIRECT_NONE);
    EXPECT_EQ(SUCCESS,
              V_FilterIO(&open, nullptr, nullptr, nullptr, &close, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(fs.table().Open, open) << "nothing set, only told";
    EXPECT_EQ(fs.table().Close, close);
    EXPECT_EQ(number(&V_OsClose), read_table(REDIRECTTYPE_FILES)[8]);
    close = nullptr;
    EXPECT_EQ(SUCCESS,
              V_FilterIO(nullptr, nullptr, nullptr, nullptr, &close, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(V_REDIRECT_NONE, number(close)) << "the thread has none";
}

TEST(RedirectFiles, AnOpenFileKeepsItsOperationsUnlessTheyAreUpdated)
{
    constexpr int64_t kFirst = 0x7FFFFF00; // the library's own operations know no file of such a number
    const RestoreRedirection restore;
    MemoryFiles fs;
    fs.next_handle = kFirst;
    fs.redirect();
    for (const auto open : {V_RedirectedOpenA, V_RedirectedOpenUTF8}) {
        const V_REDIRECTHANDLE utf8 = open("gr\xC3\xBC\xC3\x9F", kCreate, 0x180);
        ASSERT_NE(kNoHandle, utf8);
        EXPECT_EQ(1u, fs.files.count(L"gr\u00FC\u00DF"));
        EXPECT_EQ(0, V_RedirectedClose(utf8));
    }
    EXPECT_EQ(kNoHandle, V_RedirectedOpen(L"missing", 0, 0x100));
    const V_REDIRECTHANDLE file = V_RedirectedTempFileOpen(L"a", kCreate, 0x180);
    EXPECT_EQ(kFirst + 2, V_ExtractRedirectedFileHandle(file));
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr));
    EXPECT_EQ(1, V_UsesRedirectIO(nullptr, file));
    EXPECT_EQ(5, V_RedirectedWriteBig(file, "hello", 5));
    EXPECT_EQ(2, V_RedirectedSeek(file, -3, 2));
    EXPECT_EQ(0, V_RedirectedWrite(file, nullptr, 0)) << "ends the file here";
    EXPECT_EQ("he", text_of(file));
    EXPECT_EQ(int64_t{1} << 40, V_RedirectedSeekBig(file, int64_t{1} << 40, 0));
    EXPECT_EQ(-1, V_RedirectedSeek(file, 0, 1)) << "32 bits cannot say so";
    EXPECT_EQ(0, V_RedirectedSeek(file, 0, 0));
    char buffer[8];
    for (const Wrong wrong : {Wrong::says_too_much, Wrong::fails}) {
        fs.arm(wrong, 1, true);
        EXPECT_EQ(-1, V_RedirectedRead(file, buffer, 8));
        EXPECT_EQ(-1, V_RedirectedWrite(file, buffer, 7));
    }
    fs.arm(Wrong::fails, 0, false);

    for (const intptr_t none : {intptr_t{-1}, intptr_t{-2}}) { // -2: the library's, which knows no such file
        REDIRECTFUNCTIONS change = table_of({0, 0, none, 0, none, 0, none, 0, none, 77});
        const Numbers own = numbers_of(fs.table());
        EXPECT_EQ(SUCCESS, V_UpdateRedirectFunctions(file, &change));
        EXPECT_EQ(0, numbers_of(change)[0]);
        EXPECT_TRUE(std::equal(own.begin() + 2, own.begin() + 10, numbers_of(change).begin() + 2));
        EXPECT_EQ(-1, V_RedirectedRead(file, buffer, 1));
        EXPECT_EQ(-1, V_RedirectedSeek(file, 0, 0));
        if (none == -1) {
            EXPECT_EQ(-1, V_RedirectedClose(file)) << "a close that fails keeps the file";
        }
        EXPECT_EQ(SUCCESS, V_UpdateRedirectFunctions(file, &change));
        EXPECT_EQ("he", text_of(file));
    }
    REDIRECTFUNCTIONS own = {};
    EXPECT_EQ(SUCCESS, V_ExtractRedirectFunctions(file, &own, kTableSize));
    EXPECT_EQ(fs.table().Read, own.Read);

    fs.redirect();
    V_REDIRECTHANDLE second = nullptr;
    ASSERT_EQ(SUCCESS, V_CreateRedirectedFileHandle(V_ExtractRedirectedFileHandle(file), &second));
    EXPECT_EQ("he", text_of(second));
    EXPECT_EQ(0, V_RedirectedClose(second));
    EXPECT_EQ(1u, fs.open_files()) << "the handle was lent";
    EXPECT_EQ(0, V_RedirectedClose(file));
    EXPECT_EQ(0u, fs.open_files());
}

TEST(RedirectFiles, PlainTemporaryFilesWhateverIsRedirected)
{
    const RestoreRedirection restore;
    wchar_t name[260];
    ASSERT_EQ(SUCCESS, V_GetTempFileName(name, nullptr));
    MemoryFiles fs;
    fs.redirect();
    EXPECT_EQ(numbers_of(fs.table())[0], read_table(REDIRECTTYPE_TEMP_REDIRECTED)[0]);
    REDIRECTFUNCTIONS plain;
    ASSERT_EQ(SUCCESS, V_GetRedirectFunctions(&plain, kTableSize, REDIRECTTYPE_TEMP_PLAIN, 0));
    EXPECT_EQ(1, plain.Delete(name));
    const int64_t file = plain.Open(name, kCreate, 0x180, plain.OpenUserData);
    ASSERT_NE(-1, file);
    EXPECT_EQ(3, plain.Write(file, "abc", 3, plain.WriteUserData));
    EXPECT_EQ(1, plain.Seek(file, 1, 0, plain.SeekUserData));
    char buffer[4] = {};
    EXPECT_EQ(2, plain.Read(file, buffer, 4, plain.ReadUserData));
    EXPECT_STREQ("bc", buffer);
    EXPECT_EQ(0, plain.Close(file, plain.CloseUserData));
    EXPECT_EQ(0, plain.Delete(name)) << "gone when closed";
    EXPECT_EQ(0u, fs.calls);
}

TEST(RedirectNames, TablesGoByName)
{
    wchar_t names[2][V_REDIRECT_NAME_LENGTH];
    EXPECT_EQ(ERROR_NULL_PTR, V_GetUniqueRedirectFileName(nullptr, 50));
    EXPECT_EQ(ERROR_BUFFER_TOO_SMALL, V_GetUniqueRedirectFileName(names[0], 49));
    for (auto& name : names) {
        ASSERT_EQ(SUCCESS, V_GetUniqueRedirectFileName(name, 50));
        EXPECT_EQ(0, std::wcsncmp(L"VELLRedirect://00000000-", name, 24));
        EXPECT_EQ(32u, std::wcslen(name));
    }
    EXPECT_STRNE(names[0], names[1]);
    MemoryFiles fs[2];
    REDIRECTFUNCTIONS tables[2] = {fs[0].table(), fs[1].table()};
    EXPECT_EQ(ERROR_NULL_PTR, V_RegisterRedirectName(nullptr, tables));
    EXPECT_EQ(ERROR_NULL_PTR, V_RegisterRedirectName(names[0], nullptr));
    for (const wchar_t* bad : {L"", L"plain", L"VELLRedirect://", L"vellredirect://x"})
        EXPECT_EQ(ERROR_INVALID_PARAMETER, V_RegisterRedirectName(bad, tables)) << bad;
    tables[0].StructSize = 8;
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_RegisterRedirectName(names[0], tables));
    tables[0].StructSize = kTableSize;
    for (int i : {0, 1}) {
        EXPECT_EQ(kNoHandle, V_RedirectedOpen(names[i], kCreate, 0x180));
        EXPECT_EQ(SUCCESS, V_RegisterRedirectName(names[i], &tables[i]));
    }
    V_REDIRECTHANDLE files[2];
    for (int i : {0, 1}) {
        std::thread([&] { files[i] = V_RedirectedOpen(names[i], kCreate, 0x180); }).join();
        ASSERT_NE(kNoHandle, files[i]);
        EXPECT_EQ(1u, fs[i].files.count(names[i]));
        EXPECT_EQ(2, V_RedirectedWrite(files[i], "ok", 2));
        REDIRECTFUNCTIONS table;
        EXPECT_EQ(SUCCESS, V_GetRedirectFunctions2(names[i], &table, kTableSize, 77, 1));
        EXPECT_EQ(&fs[i], table.OpenUserData);
        EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetRedirectFunctions2(names[i], &table, 8, 0, 0));
        EXPECT_EQ(SUCCESS, V_GetRedirectFunctions2(i ? L"plain" : nullptr, &table, kTableSize, 0, 0));
        EXPECT_EQ(nullptr, table.OpenUserData);
    }
    EXPECT_EQ(SUCCESS, V_RegisterRedirectName(names[0], &tables[1])) << "replaced";
    const V_REDIRECTHANDLE other = V_RedirectedOpen(names[0], kCreate, 0x180);
    EXPECT_EQ(2u, fs[1].open_files());
    EXPECT_EQ(0, V_RedirectedClose(other));
    for (int i : {0, 1}) {
        EXPECT_EQ(SUCCESS, V_UnregisterRedirectName(names[i]));
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, V_UnregisterRedirectName(names[i]));
        REDIRECTFUNCTIONS table;
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, V_GetRedirectFunctions2(names[i], &table, kTableSize, 0, 0));
        EXPECT_EQ("ok", text_of(files[i])) << "open files stay";
        EXPECT_EQ(0, V_RedirectedClose(files[i]));
    }
    EXPECT_EQ(ERROR_NULL_PTR, V_UnregisterRedirectName(nullptr));
}

TEST(RedirectBuffer, AFileInMemory)
{
    const RestoreRedirection restore;
    void* object = nullptr;
    ASSERT_EQ(SUCCESS,
              V_StartRedirectToBuffer(&object, nullptr, REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE, nullptr, 0));
    EXPECT_EQ(1, V_UsesRedirectIO(nullptr, nullptr));
    const V_REDIRECTHANDLE file = V_RedirectedOpen(L"any name", kCreate, 0x180);
    ASSERT_NE(kNoHandle, file);
    EXPECT_EQ(number(object), V_ExtractRedirectedFileHandle(file));
    char buffer[16];
    EXPECT_EQ(-1, V_RedirectedRead(file, buffer, 1)) << "no buffer yet";
    EXPECT_EQ(0, V_RedirectedWrite(file, buffer, 0));
    EXPECT_EQ(1, V_RedirectedWrite(file, "a", 1));
    EXPECT_EQ(0, V_RedirectedRead(file, buffer, 16)) << "the end";
    EXPECT_EQ(40000, V_RedirectedSeek(file, 40000, 0));
    EXPECT_EQ(-1, V_RedirectedRead(file, buffer, 1)) << "past the data";
    EXPECT_EQ(-1, V_RedirectedWrite(file, buffer, 0)) << "past the capacity";
    EXPECT_EQ(2, V_RedirectedWrite(file, "bc", 2));
    const std::string text = text_of(file);
    EXPECT_EQ("a" + std::string(39999, '\0') + "bc", text);
    EXPECT_EQ(10, V_RedirectedSeek(file, 10, 0));
    EXPECT_EQ(0, V_RedirectedWrite(file, nullptr, 0));
    EXPECT_EQ("a" + std::string(9, '\0'), text_of(file)) << "truncated";
    EXPECT_EQ(-5, V_RedirectedSeek(file, -15, 2)) << "no bounds for positions";
    EXPECT_EQ(-1, V_RedirectedRead(file, buffer, 1));
    EXPECT_EQ(-1, V_RedirectedWrite(file, buffer, 1));
    EXPECT_EQ(-5, V_RedirectedSeek(file, 0, 1));
    EXPECT_EQ(-1, V_RedirectedSeek(file, 0, 3));
    EXPECT_EQ(-1, V_RedirectedSeekBig(file, INT64_MIN, 1));
    EXPECT_EQ(INT64_MAX, V_RedirectedSeekBig(file, INT64_MAX, 0));
    EXPECT_EQ(-1, V_RedirectedSeekBig(file, 1, 1));
    EXPECT_EQ(-1, V_RedirectedWrite(file, buffer, 16)) << "no room there ever";
    EXPECT_EQ(0, V_RedirectedClose(file));
    void* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(SUCCESS, V_StopRedirectToBuffer(object, &data, &size));
    EXPECT_EQ(10u, size);
    const HGLOBAL block = GlobalHandle(data);
    EXPECT_EQ(65536u, GlobalSize(block));
    GlobalUnlock(block);
    EXPECT_EQ(nullptr, GlobalFree(block));
    EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr));
}

TEST(RedirectBuffer, OptionsDecideOverGrowingShrinkingAndWriting)
{
    const RestoreRedirection restore;
    for (uint32_t options = 0; options < 16; ++options)
        for (const bool truncate : {false, true}) {
            SCOPED_TRACE("options " + std::to_string(options) + (truncate ? ", emptied" : ""));
            const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 100);
            std::memset(GlobalLock(block), 'x', 100);
            void* object = nullptr;
            V_REDIRECTHANDLE file = nullptr;
            ASSERT_EQ(SUCCESS, V_StartRedirectToBuffer(&object, &file, options, GlobalLock(block), 100));
            GlobalUnlock(block); // one lock stays
            if (truncate) {
                EXPECT_EQ(0, V_RedirectedClose(file));
                file = V_RedirectedOpen(L"", kCreate, 0x180);
            }
            const bool has_data = (options & REDIRECTBUFFER_DATA) != 0 && !truncate;
            EXPECT_EQ(has_data ? 100 : 0, V_RedirectedSeek(file, 0, 2));
            EXPECT_EQ(90, V_RedirectedSeek(file, 90, 0));
            const bool writes = (options & REDIRECTBUFFER_WRITE) != 0;
            const bool grows = (options & REDIRECTBUFFER_GROW) != 0;
            EXPECT_EQ(!writes ? -1 : grows ? 20 : 10, V_RedirectedWrite(file, std::string(20, 'y').c_str(), 20));
            const size_t expected = writes ? (grows ? 110 : 100) : has_data ? 100 : 0;
            EXPECT_EQ(0, V_RedirectedClose(file));
            void* data = nullptr;
            size_t size = 0;
            ASSERT_EQ(SUCCESS, V_StopRedirectToBuffer(object, &data, &size));
            EXPECT_EQ(expected, size);
            EXPECT_EQ(block, GlobalHandle(data)) << "the same block, wherever it is now";
            const bool shrinks = (options & 7) == (REDIRECTBUFFER_GROW | REDIRECTBUFFER_SHRINK);
            const size_t capacity = writes && grows ? 32768 : 100;
            EXPECT_EQ(shrinks ? std::max<size_t>(size, 1) : capacity, GlobalSize(block));
            if (writes) {
                EXPECT_EQ(has_data ? 'x' : '\0', static_cast<char*>(data)[89]) << "a gap reads as zeros";
                EXPECT_EQ('y', static_cast<char*>(data)[90]);
            }
            GlobalUnlock(block);
            EXPECT_EQ(nullptr, GlobalFree(block));
        }
}

TEST(RedirectBuffer, RedirectionsNestAndEndInAnyOrder)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    for (const std::array<int, 3>& order :
         {std::array{2, 1, 0}, {0, 1, 2}, {1, 0, 2}, {0, 2, 1}, {1, 2, 0}, {2, 0, 1}}) {
        fs.redirect();
        char memory[3][8] = {};
        void* objects[3];
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(SUCCESS, V_StartRedirectToBuffer(&objects[i], nullptr, REDIRECTBUFFER_WRITE, memory[i], 8));
            const V_REDIRECTHANDLE file = V_RedirectedOpen(L"f", kCreate, 0x180);
            EXPECT_EQ(8, V_RedirectedWrite(file, "01234567+", 9)) << "as much as fits";
            EXPECT_EQ(0, V_RedirectedClose(file));
        }
        std::set<void*> left(objects, objects + 3);
        for (const int i : order) {
            void* data = nullptr;
            size_t size = 0;
            ASSERT_EQ(SUCCESS, V_StopRedirectToBuffer(objects[i], &data, &size));
            EXPECT_TRUE(data == memory[i] && size == 8);
            left.erase(objects[i]);
            void* innermost = nullptr;
            V_GetFilterIOData(&innermost, nullptr, nullptr, nullptr, nullptr);
            EXPECT_TRUE(left.empty() ? innermost == &fs : left.count(innermost) == 1);
        }
        EXPECT_EQ(numbers_of(fs.table())[0], read_table(REDIRECTTYPE_FILES)[0]);
    }
    EXPECT_EQ(0u, fs.calls);
}

TEST(RedirectCopy, EverySourceAndDestination)
{
    namespace fs = std::filesystem;
    const RestoreRedirection restore;
    wchar_t names[2][260];
    for (auto& name : names)
        ASSERT_EQ(SUCCESS, V_GetTempFileName(name, nullptr));
    MemoryFiles memory;
    memory.redirect();
    REDIRECTFUNCTIONS table;
    ASSERT_EQ(SUCCESS, V_GetRedirectFunctions(&table, kTableSize, REDIRECTTYPE_DEFAULT, 0));
    std::string text(3 * 32768 + 5, 'a');
    for (size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>('a' + i % 23 + i / 32768);
    const auto put = [&](uint32_t kind, const wchar_t* name) {
        if (kind & COPYREDIRECT_SRC_FILE) {
            const int64_t file = V_OsCreat(name, 0);
            EXPECT_EQ(static_cast<int64_t>(text.size()), V_OsWriteBig(file, text.data(), text.size()));
            V_OsClose(file, nullptr);
        } else {
            memory.files[name] = std::make_shared<MemoryFiles::Bytes>(text.begin(), text.end());
        }
    };
    const auto get = [&](uint32_t kind, const wchar_t* name) -> std::string {
        if (kind & COPYREDIRECT_SRC_FILE) {
            std::string back(fs::file_size(name), ' ');
            const int64_t file = V_OsOpen(name, 0, 0x180, nullptr);
            V_OsReadBig(file, back.data(), back.size());
            V_OsClose(file, nullptr);
            return back;
        }
        return memory.files.count(name) ? std::string(memory.files[name]->begin(), memory.files[name]->end()) : "none";
    };
    for (uint32_t flags = 0; flags < 128; ++flags) {
        SCOPED_TRACE(flags);
        memory.files.clear();
        V_OsDelete(names[1]);
        const uint32_t from = flags & 0xE;
        const uint32_t to = flags >> 3 & 0xE;
        const auto copy = [&](uint32_t how) { return table.Copy(names[0], names[1], how); };
        if (from == 0 || to == 0) {
            EXPECT_EQ(ERROR_INVALID_PARAMETER, copy(flags));
            continue;
        }
        V_OsDelete(names[0]);
        EXPECT_EQ(FAILURE, copy(flags)) << "no source";
        put(from, names[0]);
        EXPECT_EQ(SUCCESS, copy(flags));
        EXPECT_EQ(text, get(to, names[1]));
        EXPECT_EQ((flags & 1) != 0 ? FAILURE : SUCCESS, copy(flags)) << "the destination exists";
        if (from == to) {
            EXPECT_EQ(FAILURE, table.Copy(names[0], names[0], flags));
            EXPECT_EQ(text, get(from, names[0])) << "onto itself";
        }
        EXPECT_EQ(0u, memory.open_files());
    }
    for (const auto& name : names)
        V_OsDelete(name);
}
