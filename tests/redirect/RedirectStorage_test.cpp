// Bitmaps whose files live in a file system of the application's: they work, keep their operations whatever is
// redirected later, and survive operations that fail, lie or call back.
#include "tests/redirect/RedirectSupport.h"
#include "tests/support/Environment.h"
#include "tests/support/FaultLoop.h"
#include "tests/support/TestBitmap.h"

#include <array>
#include <atomic>
#include <set>
#include <thread>

using namespace vk::testing;
namespace fault = vk::fault;

namespace {

constexpr int32_t kRows = 11;
constexpr int32_t kLine = 64;
constexpr Kind kFileKinds[] = {Kind::disk, Kind::tiled_file, Kind::tiled_mixed};

using Row = std::array<uint8_t, kLine>;

Row row_of(int seed)
{
    Row row;
    for (size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<uint8_t>(seed * 37 + static_cast<int>(i) * 3 + 1);
    return row;
}

int create(TestBitmap& bitmap, Kind kind)
{
    const Thresholds restore;
    Thresholds::tiles(2 * kLine, kind == Kind::tiled_mixed ? 2 : 0, 2);
    return bitmap.create(kind == Kind::disk ? TYPE_DISK : TYPE_TILED, kLine, kRows, 8);
}

/// A bitmap's life over whatever files there are. Failures are fine so long as they are told: a row that was put reads
/// back as it was put. Returns whether nothing failed.
bool life(Kind kind)
{
    const std::set<intptr_t> codes = {-1, ERROR_FILE_SEEK, ERROR_FILE_READ, ERROR_FILE_WRITE};
    TestBitmap bitmap;
    if (const int code = create(bitmap, kind); code != SUCCESS) {
        EXPECT_EQ(ERROR_NO_MEMORY, code);
        EXPECT_TRUE(bitmap.is_empty() || bitmap->Handle == nullptr);
        return false;
    }
    bool all = true;
    int known[kRows] = {}; // the seed of what a row holds; -1: nobody knows
    const auto told = [&](intptr_t code) {
        EXPECT_TRUE(code == kLine || codes.count(code) != 0) << code;
        return all = all && code == kLine, code == kLine;
    };
    const auto put = [&](int32_t row, int seed) {
        known[row] = told(V_PutBitmapRow(bitmap, row_of(seed).data(), row, kLine)) ? seed : -1;
    };
    const auto check = [&] {
        for (int32_t row = 0; row < bitmap->Height; ++row) {
            Row back = {};
            EXPECT_TRUE(!told(V_GetBitmapRow(bitmap, back.data(), row, kLine)) || known[row] < 0 ||
                        back == (known[row] == 0 ? Row{} : row_of(known[row])))
                << "row " << row;
        }
    };
    if (V_AccessBitmap(bitmap) != SUCCESS)
        return false;
    put(1, 5); // the other row of its tile stays clear
    check();
    for (int32_t row = kRows - 1; row >= 0; --row)
        put(row, 10 + row);
    put(4, 70);
    check();
    for (const int32_t height : {5, kRows}) {
        const bool changes = bitmap->Height != height;
        const int code = V_ChangeBitmapHeight(bitmap, height);
        EXPECT_TRUE(code == SUCCESS || code == ERROR_NO_MEMORY) << code;
        all = all && code == SUCCESS;
        EXPECT_EQ(static_cast<uint64_t>(kLine) * static_cast<uint32_t>(bitmap->Height), bitmap.data_size());
        for (int32_t row = 5; row < kRows && code == SUCCESS && changes; ++row)
            known[row] = 0; // cut off, and clear when they come back
    }
    put(bitmap->Height - 1, 99);
    check();
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
    return all;
}

} // namespace

TEST(RedirectStorage, FilesLiveWhereTheThreadSaysAndStayThere)
{
    for (const Kind kind : kFileKinds) {
        SCOPED_TRACE(name_of(kind));
        const RestoreRedirection restore;
        MemoryFiles fs;
        fs.redirect();
        fault::arm(0, false);
        EXPECT_TRUE(life(kind));
        EXPECT_EQ(0u, fault::calls(fault::Call::file_open) + fault::calls(fault::Call::temp_name)) << "a real file";
        EXPECT_GT(fs.calls, 10u);
        EXPECT_TRUE(fs.files.empty() && fs.open_files() == 0);

        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, create(bitmap, kind));
        ASSERT_EQ(1u, fs.open_files());
        EXPECT_NE(std::wstring::npos, fs.files.begin()->first.find(L"VD"));
        V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        std::thread([&] { // neither this thread nor the one that allocated redirects anything now
            ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
            for (int32_t row = 0; row < kRows; ++row)
                EXPECT_EQ(kLine, V_PutBitmapRow(bitmap, row_of(row).data(), row, kLine));
            EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
        })
            .join();
        const std::vector<uint8_t> all = bitmap.pixels();
        for (int32_t row = 0; row < kRows; ++row)
            EXPECT_EQ(0, std::memcmp(row_of(row).data(), all.data() + row * kLine, kLine));
        EXPECT_EQ(0u, fault::calls(fault::Call::file_open));

        // Out of there into a plain file, and copies of the record's storage kind.
        for (const uint32_t memory : {TYPE_CONV, TYPE_DISK})
            EXPECT_EQ(SUCCESS, V_SetBitmapMemoryInfo(bitmap, memory, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY));
        EXPECT_EQ(0u, fs.open_files());
        EXPECT_EQ(0, bitmap->DataOffset);
        EXPECT_EQ(all, bitmap.pixels());
        fs.redirect();
        TestBitmap copy;
        EXPECT_EQ(SUCCESS, V_CopyBitmap(copy, bitmap, BITMAPHANDLE_SIZE));
        EXPECT_EQ(1u, fs.open_files());
        EXPECT_EQ(all, copy.pixels());
    }
}

TEST(RedirectStorage, OperationsThatGoWrongAreToldAndLoseNothing)
{
    for (const Kind kind : kFileKinds)
        for (const Wrong wrong : kWrongs)
            for (const bool persistent : {false, true}) {
                const RestoreRedirection restore;
                bool fired = true;
                for (uint64_t n = 1; fired && !HasFailure(); ++n) {
                    SCOPED_TRACE(std::string(name_of(kind)) + ", wrong " + std::to_string(static_cast<int>(wrong)) +
                                 (persistent ? " from call " : " at call ") + std::to_string(n));
                    MemoryFiles fs;
                    fs.redirect();
                    fs.arm(wrong, n, persistent);
                    const fault::Live before = fault::live();
                    const bool good = life(kind);
                    fired = fs.fired;
                    if (!fired || wrong == Wrong::moves_half) {
                        EXPECT_TRUE(good) << "moving less is no failure";
                    }
                    expect_same_live(before, fault::live());
                    EXPECT_EQ(0u, fs.open_files());
                    EXPECT_TRUE(fs.files.empty());
                }
            }
}

TEST(RedirectStorage, FileSystemsRunFull)
{
    const RestoreRedirection restore;
    for (const Kind kind : kFileKinds)
        for (const int64_t answer : {-1, 0})
            for (size_t capacity = 0; capacity <= 12 * 65536 && !HasFailure(); capacity = capacity * 3 + 100) {
                MemoryFiles fs;
                fs.capacity = capacity;
                fs.full_answer = answer;
                fs.redirect();
                const bool good = life(kind);
                // Every tile has a slot of 64 KiB. Two of them can do without theirs: they stay in memory.
                const size_t enough = kind == Kind::disk ? kLine * kRows : 5 * 65536 + 2 * kLine;
                const size_t scarce = kind == Kind::disk ? enough - 1 : kind == Kind::tiled_file ? 3 * 65536 : 65536;
                EXPECT_TRUE(good ? capacity > scarce : capacity < enough) << name_of(kind) << " in " << capacity;
                EXPECT_TRUE(fs.files.empty() && fs.open_files() == 0);
            }
}

TEST(RedirectStorage, FaultsOfTheSystem)
{
    const RestoreRedirection restore;
    for (const Kind kind : kFileKinds) {
        SCOPED_TRACE(name_of(kind));
        for_each_fault([kind] {
            MemoryFiles fs;
            fs.redirect();
            life(kind);
            EXPECT_TRUE(fs.files.empty() && fs.open_files() == 0);
        });
    }
}

namespace {

MemoryFiles* g_deleting = nullptr;

V_REDIRECTDELETE library_delete()
{
    REDIRECTFUNCTIONS now;
    EXPECT_EQ(SUCCESS, V_GetRedirectFunctions(&now, sizeof now, REDIRECTTYPE_FILES, 1));
    return now.Delete;
}

/// Sets one operation alone.
void set_delete(V_REDIRECTDELETE remove)
{
    REDIRECTFUNCTIONS table = {};
    table.StructSize = sizeof table;
    table.Delete = remove;
    EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, 1));
}

} // namespace

TEST(RedirectStorage, FilesAreDeletedWhereTheirMakerKeepsThem)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    fs.keeps_temporary = true;
    fs.redirect();
    g_deleting = &fs;
    const V_REDIRECTDELETE before = library_delete();
    set_delete([](const wchar_t* name) { return static_cast<int>(g_deleting->files.erase(name)); });
    for (const Kind kind : kFileKinds) {
        life(kind);
        EXPECT_TRUE(fs.files.empty()) << name_of(kind);
    }
    {
        TestBitmap bitmap;
        ASSERT_EQ(SUCCESS, create(bitmap, Kind::disk));
        set_delete([](const wchar_t*) { return 0; });
    }
    EXPECT_TRUE(fs.files.empty()) << "the operation of when it was opened";
    set_delete(before);
}

TEST(RedirectStorage, OperationsMayCallBack)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    MemoryFiles inner;
    int depth = 0;
    fs.before_call = [&] {
        if (depth != 0)
            return;
        ++depth;
        set_delete(nullptr);
        EXPECT_NE(nullptr, library_delete());
        inner.redirect();
        TestBitmap other;
        EXPECT_EQ(SUCCESS, create(other, Kind::tiled_mixed));
        other.pixels();
        fs.redirect();
        --depth;
    };
    fs.redirect();
    for (const Kind kind : kFileKinds)
        EXPECT_TRUE(life(kind)) << name_of(kind);
    EXPECT_GT(inner.calls, 100u);
}

TEST(RedirectStorage, ThreadsRedirectOnTheirOwn)
{
    std::atomic<bool> stop{false};
    std::atomic<int> good{0};
    MemoryFiles library_wide; // never used: every thread sets all five operations
    std::thread changer([&] {
        REDIRECTFUNCTIONS table = library_wide.table();
        while (!stop) {
            EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, 1));
            EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, 1));
            wchar_t name[V_REDIRECT_NAME_LENGTH];
            EXPECT_EQ(SUCCESS, V_GetUniqueRedirectFileName(name, V_REDIRECT_NAME_LENGTH));
            EXPECT_EQ(SUCCESS, V_RegisterRedirectName(name, &table));
            EXPECT_EQ(SUCCESS, V_UnregisterRedirectName(name));
        }
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, i] {
            MemoryFiles fs;
            fs.redirect();
            for (int round = 0; round < 6; ++round) {
                const Kind kind = kFileKinds[(i + round) % 3];
                good += life(kind) && fs.files.empty() && fs.open_files() == 0 ? 1 : 0;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    stop = true;
    changer.join();
    EXPECT_EQ(48, good);
    EXPECT_EQ(0u, library_wide.calls);
}

TEST(RedirectStorage, NamesOfTemporaryFilesComeWithoutAFile)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    fs.redirect();
    fault::arm(0, false);
    std::set<std::wstring> names;
    wchar_t name[260];
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(SUCCESS, V_GetTempFileName(name, L"abc"));
        ASSERT_TRUE(names.insert(name).second);
    }
    EXPECT_NE(std::wstring::npos, names.begin()->find(L"abc"));
    EXPECT_EQ(0u, fault::calls(fault::Call::temp_name) + fault::calls(fault::Call::file_open));
}

TEST(RedirectStorage, FiltersOfTheSystemsFilesLeaveNoneBehind)
{
    const RestoreRedirection restore;
    const ScratchDirectory directory;
    const TempFilesIn here(directory.path());
    static int reads = 0;
    V_REDIRECTREAD read = [](int64_t file, void* buffer, size_t bytes, void*) {
        return ++reads, V_OsRead(file, buffer, bytes, nullptr);
    };
    V_FilterIO(nullptr, &read, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    for (const Kind kind : kFileKinds) {
        reads = 0;
        EXPECT_TRUE(life(kind));
        EXPECT_GT(reads, 0) << name_of(kind);
        EXPECT_EQ(0u, directory.files());
        for_each_fault([kind] { life(kind); },
                       [&](const FaultRound& round) { // when deleting fails too, nobody can help it
                           EXPECT_TRUE(round.persistent || directory.files() == 0);
                           for (const auto& left : std::filesystem::directory_iterator(directory.path()))
                               std::filesystem::remove(left);
                       });
    }
}

TEST(RedirectStorage, BuffersTakeNoTemporaryFiles)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    fs.redirect();
    void* object = nullptr;
    ASSERT_EQ(SUCCESS, V_StartRedirectToBuffer(&object, nullptr, 9, nullptr, 0));
    const V_REDIRECTHANDLE file = V_RedirectedOpen(L"picture", 0x302, 0x180);
    ASSERT_EQ(7, V_RedirectedWrite(file, "picture", 7));
    for (const Kind kind : kFileKinds) {
        const uint64_t before = fs.calls;
        EXPECT_TRUE(life(kind));
        EXPECT_GT(fs.calls, before) << name_of(kind);
    }
    EXPECT_EQ(7, V_RedirectedSeek(file, 0, 2));
    EXPECT_EQ(0, V_RedirectedClose(file));
    EXPECT_EQ("picture", end_buffer(object).text);
}

TEST(RedirectStorage, WindowsOfHugeMemoryTellWhatWentWrong)
{
    const RestoreRedirection restore;
    MemoryFiles fs;
    fs.redirect();
    constexpr uint64_t kBytes = 5u << 20;
    std::vector<int> codes;
    for (uint64_t call = 1; codes.empty() || codes.back() != SUCCESS; ++call) {
        HHUGEMEMORY block = nullptr;
        void* window = nullptr;
        ASSERT_EQ(SUCCESS, V_AllocHugeMemory(&block, kBytes, TYPE_DISK));
        ASSERT_EQ(SUCCESS, V_AccessHugeMemory(block, 0, 1, &window));
        *static_cast<uint8_t*>(window) = 77;
        fs.arm(Wrong::fails, call, false);
        codes.push_back(V_AccessHugeMemory(block, kBytes - 1, 1, &window));
        fs.arm(Wrong::fails, 0, false);
        ASSERT_EQ(SUCCESS, V_AccessHugeMemory(block, 0, 1, &window));
        EXPECT_EQ(77, *static_cast<uint8_t*>(window)) << "what was written stays, whatever fails";
        EXPECT_EQ(SUCCESS, V_FreeHugeMemory(block));
    }
    EXPECT_EQ((std::vector<int>{ERROR_FILE_SEEK, ERROR_FILE_WRITE, ERROR_FILE_SEEK, ERROR_FILE_READ, SUCCESS}), codes);
}

TEST(RedirectStorage, BuffersMeetFaults)
{
    const RestoreRedirection restore;
    for_each_fault([] {
        void* object = nullptr;
        V_REDIRECTHANDLE file = nullptr;
        const int code = V_StartRedirectToBuffer(&object, &file, 0xB, nullptr, 0);
        if (code != SUCCESS) {
            EXPECT_EQ(ERROR_NO_MEMORY, code);
            EXPECT_EQ(0, V_UsesRedirectIO(nullptr, nullptr)) << "nothing is left behind";
            return;
        }
        const std::vector<uint8_t> bytes(40010, 7);
        int64_t written = 0;
        for (const size_t count : {size_t{10}, bytes.size() - 10})
            written += std::max<int64_t>(0, V_RedirectedWriteBig(file, bytes.data(), count));
        EXPECT_EQ(0, V_RedirectedClose(file));
        const Left left = end_buffer(object);
        EXPECT_LE(left.text.size(), std::min(left.capacity, static_cast<size_t>(written)));
        EXPECT_EQ(std::string(left.text.size(), 7), left.text);
    });
    for_each_fault([] {
        V_REDIRECTHANDLE file = nullptr;
        const int code = V_CreateRedirectedFileHandle(5, &file);
        EXPECT_TRUE(file ? code == SUCCESS : code == ERROR_NO_MEMORY) << code;
        EXPECT_TRUE(!file || V_RedirectedClose(file) == 0);
    });
    wchar_t name[V_REDIRECT_NAME_LENGTH];
    ASSERT_EQ(SUCCESS, V_GetUniqueRedirectFileName(name, V_REDIRECT_NAME_LENGTH));
    for_each_fault([&name] {
        MemoryFiles fs;
        const REDIRECTFUNCTIONS table = fs.table();
        const int code = V_RegisterRedirectName(name, &table);
        const V_REDIRECTHANDLE file = V_RedirectedOpen(name, kCreate, 0x180);
        EXPECT_TRUE(code == SUCCESS || (code == ERROR_NO_MEMORY && file == kNoHandle));
        EXPECT_TRUE(file == kNoHandle || V_RedirectedClose(file) == 0);
        EXPECT_EQ(0u, fs.open_files());
        EXPECT_EQ(code == SUCCESS ? SUCCESS : ERROR_FILE_NOT_FOUND, V_UnregisterRedirectName(name));
    });
}
