// Files in memory, and copies between files of every kind.
#include "tests/redirect/RedirectSupport.h"

#include <filesystem>
#include <set>

using namespace vk::testing;

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
    const Left left = end_buffer(object);
    EXPECT_EQ(std::pair(size_t{10}, size_t{65536}), std::pair(left.text.size(), left.capacity));
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
            const Left left = end_buffer(object);
            EXPECT_EQ(block, left.block) << "the same block, wherever it is now";
            const bool shrinks = (options & 7) == (REDIRECTBUFFER_GROW | REDIRECTBUFFER_SHRINK);
            const size_t capacity = writes && grows ? 32768 : 100;
            EXPECT_EQ(std::pair(expected, shrinks ? std::max<size_t>(expected, 1) : capacity),
                      std::pair(left.text.size(), left.capacity));
            if (writes) {
                EXPECT_EQ(has_data ? "xy" : std::string("\0y", 2), left.text.substr(89, 2)) << "a gap reads as zeros";
            }
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
