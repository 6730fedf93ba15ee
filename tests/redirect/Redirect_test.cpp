// Redirection through the public interface: tables and their special values, files, and names.
#include "tests/redirect/RedirectSupport.h"
#include "tests/support/TestBitmap.h"

#include <thread>
#include <tuple>

using namespace vk::testing;

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
            const bool seen = global || slot < 10; // a thread's copy and delete are kept but not used
            using Slot = std::pair<intptr_t, intptr_t>;
            const auto expect_step = [&](Slot to, Slot was, Slot in_force) {
                Numbers numbers = {}, wanted = {}, after = defaults;
                numbers[slot] = to.first;
                numbers[slot + 1] = to.second;
                std::tie(wanted[slot], wanted[slot + 1]) = was;
                EXPECT_EQ(wanted, set_table(numbers, global)) << to.first << ": slots that are 0 stay and give 0";
                if (seen)
                    std::tie(after[slot], after[slot + 1]) = in_force;
                EXPECT_EQ(after, read_table(REDIRECTTYPE_FILES)) << to.first;
            };
            const intptr_t own = defaults[slot];
            expect_step({1000, 1}, {global ? own : -1, 0}, {1000, 1});
            expect_step({2000, 2}, {1000, 1}, {2000, 2});
            expect_step({0, 9}, {0, 9}, {2000, 2}); // not set
            expect_step({-2, 3}, {2000, 2}, {own, 3});
            if (global) {
                expect_step({-1, 4}, {0, 4}, {own, 3}); // the library always has operations
                expect_step({-2, 0}, {own, 3}, {own, 0});
            } else {
                expect_step({-1, 0}, {own, 3}, {own, 0});
                expect_step({-1, 0}, {-1, 0}, {own, 0}); // none where there is none
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
        expect_each(ERROR_NULL_PTR,
                    {V_GetRedirectFunctions(nullptr, 119, type, 0), V_SetRedirectFunctions(nullptr, type, 0)});
        expect_each(ERROR_INVALID_STRUCT_SIZE,
                    {V_GetRedirectFunctions(&table, 119, type, 0), V_SetRedirectFunctions(&wrong, type, 0)});
        EXPECT_EQ(type < 4 ? SUCCESS : ERROR_INVALID_PARAMETER, V_GetRedirectFunctions(&table, 120, type, 1));
        constexpr int kSet[] = {SUCCESS, ERROR_FEATURE_NOT_SUPPORTED, ERROR_FEATURE_NOT_SUPPORTED};
        REDIRECTFUNCTIONS nothing = table_of({});
        EXPECT_EQ(type < 3 ? kSet[type] : ERROR_INVALID_PARAMETER, V_SetRedirectFunctions(&nothing, type, 0));
    }
    EXPECT_EQ(ERROR_NULL_PTR, V_UpdateRedirectFunctions(kNoHandle, nullptr));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_UpdateRedirectFunctions(kNoHandle, &wrong));
    uint64_t not_a_file[40] = {};
    for (const V_REDIRECTHANDLE handle : {V_REDIRECTHANDLE{}, kNoHandle, V_REDIRECTHANDLE{not_a_file}}) {
        expect_each(ERROR_INVALID_REDIRECTHANDLE,
                    {V_UpdateRedirectFunctions(handle, &table), V_ExtractRedirectFunctions(handle, &table, 120)});
        expect_each(-1, {V_ExtractRedirectedFileHandle(handle), V_RedirectedRead(handle, not_a_file, 1),
                         V_RedirectedWrite(handle, not_a_file, 1), V_RedirectedSeek(handle, 0, 0)});
        EXPECT_EQ(0, V_UsesRedirectIO(nullptr, handle));
        EXPECT_EQ(handle ? ERROR_INVALID_HANDLE : ERROR_NULL_PTR, V_RedirectedClose(handle));
    }
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_ExtractRedirectFunctions(not_a_file, &table, 0));
    expect_each(ERROR_NULL_PTR,
                {V_ExtractRedirectFunctions(not_a_file, nullptr, 120), V_CreateRedirectedFileHandle(5, nullptr)});
    V_REDIRECTHANDLE file = nullptr;
    expect_each(ERROR_INVALID_PARAMETER,
                {V_CreateRedirectedFileHandle(-1, nullptr), V_StartRedirectToBuffer(nullptr, &file, 0, nullptr, 0),
                 V_StopRedirectToBuffer(nullptr, nullptr, nullptr),
                 V_StopRedirectToBuffer(not_a_file, nullptr, nullptr)});
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
    EXPECT_EQ(ERROR_BUFFER_TOO_SMALL, V_GetUniqueRedirectFileName(names[0], 49));
    for (auto& name : names) {
        ASSERT_EQ(SUCCESS, V_GetUniqueRedirectFileName(name, 50));
        EXPECT_EQ(0, std::wcsncmp(L"VELLRedirect://00000000-", name, 24));
        EXPECT_EQ(32u, std::wcslen(name));
    }
    EXPECT_STRNE(names[0], names[1]);
    MemoryFiles fs[2];
    REDIRECTFUNCTIONS tables[2] = {fs[0].table(), fs[1].table()};
    expect_each(ERROR_NULL_PTR, {V_RegisterRedirectName(nullptr, tables), V_RegisterRedirectName(names[0], nullptr),
                                 V_UnregisterRedirectName(nullptr), V_GetUniqueRedirectFileName(nullptr, 50)});
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
}
