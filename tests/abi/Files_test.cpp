// The file layer and temporary files.
#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <set>
#include <string>

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

constexpr int kCreateAlways = 0x100;
constexpr int kTruncate = 0x200;
constexpr int kDeleteOnClose = 0x40;
constexpr int kShareAll = 0x180;

/// A name as a path; the standard library's own conversion follows the locale off Windows.
fs::path path_of(const std::wstring& name)
{
    if (kWindows)
        return name;
    std::u8string utf8;
    for (const wchar_t unit : name) {
        const auto code = static_cast<uint32_t>(unit);
        if (code >= 0x800)
            utf8 += {static_cast<char8_t>(0xE0 | code >> 12), static_cast<char8_t>(0x80 | (code >> 6 & 63))};
        else if (code >= 0x80)
            utf8 += static_cast<char8_t>(0xC0 | code >> 6);
        utf8 += static_cast<char8_t>(code < 0x80 ? code : 0x80 | (code & 63));
    }
    return utf8;
}

/// A temporary file that is deleted at the end of the scope, by whatever name it goes.
class TempFile {
public:
    TempFile() { EXPECT_EQ(SUCCESS, V_GetTempFileName(name_, nullptr)); }
    ~TempFile()
    {
        std::error_code ignored;
        fs::permissions(name_, fs::perms::owner_write, fs::perm_options::add, ignored);
        fs::remove(name_, ignored);
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const wchar_t* name() const { return name_; }
    bool exists() const { return fs::exists(name_); }
    uint64_t size() const { return fs::file_size(name_); }
    void write(const char* text) const
    {
        const int64_t file = V_OsCreat(name_, 0);
        EXPECT_EQ(static_cast<int64_t>(std::strlen(text)), V_OsWrite(file, text, std::strlen(text), nullptr));
        EXPECT_EQ(0, V_OsClose(file, nullptr));
    }

private:
    wchar_t name_[260];
};

struct OpenCase {
    int access;
    bool exists;               // the file, before
    bool opens, reads, writes; // what can be done with it
    bool emptied;
};

constexpr OpenCase kOpenCases[] = {
    {0, true, true, true, false, false},
    {1, true, true, false, true, false},
    {2, true, true, true, true, false},
    {3, true, true, true, true, false},
    {0, false, false, false, false, false},
    {2, false, false, false, false, false},
    {2 | kCreateAlways, true, true, true, true, true},
    {2 | kCreateAlways, false, true, true, true, true},
    {1 | kCreateAlways, false, true, false, true, true},
    {2 | kTruncate, true, true, true, true, true},
    {1 | kTruncate, true, true, false, true, true},
    {0 | kTruncate, true, false, false, false, false},
    {2 | kTruncate, false, false, false, false, false},
    {2 | kTruncate | kCreateAlways, false, true, true, true, true},
};

TEST(Files, AccessAndCreationBits)
{
    for (const OpenCase& c : kOpenCases) {
        for (const int on_close : {0, kDeleteOnClose}) {
            SCOPED_TRACE(::testing::Message() << std::hex << (c.access | on_close) << (c.exists ? ", there" : ""));
            const TempFile temp;
            temp.write("hello");
            if (!c.exists) {
                ASSERT_EQ(0, V_OsDelete(temp.name()));
            }
            const int64_t file = V_OsOpen(temp.name(), c.access | on_close, 0, nullptr);
            ASSERT_EQ(c.opens, file != -1);
            if (file == -1)
                continue;
            EXPECT_EQ(c.emptied ? 0 : 5, V_OsSeek(file, 0, 2, nullptr));
            EXPECT_EQ(c.writes ? 3 : -1, V_OsWrite(file, "xyz", 3, nullptr));
            EXPECT_EQ(0, V_OsSeek(file, 0, 0, nullptr));
            char buffer[9] = {};
            EXPECT_EQ(c.reads ? (c.emptied ? 0 : 5) + (c.writes ? 3 : 0) : -1, V_OsRead(file, buffer, 9, nullptr));
            EXPECT_EQ(0, V_OsClose(file, nullptr));
            EXPECT_EQ(on_close == 0, temp.exists());
        }
    }
    EXPECT_EQ(-1, V_OsOpen(nullptr, 2, kShareAll, nullptr));
    EXPECT_EQ(-1, V_OsCreat(nullptr, 0));
    EXPECT_EQ(-1, V_OsOpen(L"", 2 | kCreateAlways, kShareAll, nullptr));
    EXPECT_EQ(-1, V_OsOpen(fs::temp_directory_path().wstring().c_str(), 2, kShareAll, nullptr)) << "a directory";
}

TEST(Files, ShareBits)
{
    const TempFile temp;
    struct {
        int share, access;
        bool opens; // a second time, where the system knows sharing; elsewhere only files of one user are kept
    } const cases[] = {{0, 0, false},     {0x80, 0, false},     {0x100, 0, true},
                       {0x100, 2, false}, {kShareAll, 0, true}, {kShareAll, 2, true}};
    for (const auto& c : cases) {
        const int64_t first = V_OsOpen(temp.name(), 2, c.share, nullptr);
        ASSERT_NE(-1, first);
        const int64_t second = V_OsOpen(temp.name(), c.access, kShareAll, nullptr);
        EXPECT_EQ(c.opens || (!kWindows && (c.share & 0x100) != 0), second != -1) << c.share << ", " << c.access;
        if (second != -1) {
            EXPECT_EQ(0, V_OsClose(second, nullptr));
        }
        EXPECT_EQ(0, V_OsClose(first, nullptr));
    }
}

TEST(Files, CreatModes)
{
    for (int mode = 0; mode < 8; ++mode) {
        TempFile temp;
        temp.write("old");
        if (mode != 0) { // whether an old file takes the attributes of a new one differs
            EXPECT_EQ(0, V_OsDelete(temp.name()));
        }
        const int64_t file = V_OsCreat(temp.name(), mode);
        ASSERT_NE(-1, file) << mode;
        char buffer[4];
        EXPECT_EQ(0, V_OsRead(file, buffer, 4, nullptr)) << "always anew";
        EXPECT_EQ((mode & OSCREAT_READONLY) != 0 ? -1 : 2, V_OsWrite(file, "ab", 2, nullptr));
        EXPECT_EQ(0, V_OsClose(file, nullptr));
        const auto rights = fs::status(temp.name()).permissions();
        EXPECT_EQ((mode & OSCREAT_READONLY) == 0, (rights & fs::perms::owner_write) != fs::perms::none) << mode;
    }
    TempFile temp;
    const int64_t file = V_OsCreat(temp.name(), OSCREAT_DELETEONCLOSE);
    ASSERT_NE(-1, file);
    EXPECT_EQ(1, V_OsWrite(file, "a", 1, nullptr));
    EXPECT_EQ(0, V_OsClose(file, nullptr));
    EXPECT_FALSE(temp.exists());
}

TEST(Files, TransfersSeekAndCut)
{
    const TempFile temp;
    temp.write("0123456789");
    const int64_t file = V_OsOpen(temp.name(), 2, kShareAll, nullptr);
    ASSERT_NE(-1, file);
    char buffer[32] = {};
    struct {
        int64_t offset;
        int origin;
        int64_t position;
    } const seeks[] = {{4, 0, 4}, {2, 1, 6},   {-3, 1, 3},   {-1, 2, 9},   {-2, 3, 8}, {-4, -1, 6},
                       {0, 1, 6}, {-1, 0, -1}, {-99, 1, -1}, {-11, 2, -1}, {0, 1, 6},  {0, 0, 0}};
    for (const auto& c : seeks)
        EXPECT_EQ(c.position, V_OsSeek(file, c.offset, c.origin, nullptr)) << c.offset << " from " << c.origin;
    EXPECT_EQ(0, V_OsRead(file, buffer, 0, nullptr));
    EXPECT_EQ(-1, V_OsRead(file, nullptr, 4, nullptr));
    EXPECT_EQ(-1, V_OsWrite(file, nullptr, 4, nullptr));
    EXPECT_EQ(-1, V_OsReadBig(file, nullptr, 4));
    EXPECT_EQ(-1, V_OsWriteBig(file, nullptr, 4));
    EXPECT_EQ(0, V_OsReadBig(file, nullptr, 0));
    EXPECT_EQ(10, V_OsReadBig(file, buffer, 10));
    EXPECT_EQ(0, V_OsRead(file, buffer, 4, nullptr)) << "the end";
    EXPECT_EQ(7, V_OsSeek(file, 7, 0, nullptr));
    EXPECT_EQ(3, V_OsRead(file, buffer, 32, nullptr));
    EXPECT_EQ(7, V_OsSeek(file, 7, 0, nullptr));
    EXPECT_EQ(-1, V_OsReadBig(file, buffer, 4)) << "short is a failure";
    EXPECT_EQ(8, V_OsSeek(file, 8, 0, nullptr));
    EXPECT_EQ(0, V_OsWrite(file, nullptr, 0, nullptr));
    EXPECT_EQ(8u, temp.size()) << "a write of nothing ends the file";
    EXPECT_EQ(5, V_OsSeek(file, 5, 0, nullptr));
    EXPECT_EQ(0, V_OsWriteBig(file, buffer, 0));
    EXPECT_EQ(5u, temp.size());
    EXPECT_EQ(0, V_OsSetFileSize(file, 12));
    EXPECT_EQ(12, V_OsSeek(file, 0, 1, nullptr));
    EXPECT_EQ(2, V_OsWriteBig(file, "AB", 2));
    EXPECT_EQ(0, V_OsSeek(file, 0, 0, nullptr));
    EXPECT_EQ(14, V_OsRead(file, buffer, 32, nullptr));
    EXPECT_EQ(0, std::memcmp("01234\0\0\0\0\0\0\0AB", buffer, 14));
    EXPECT_EQ(0, V_OsSetFileSize(file, 0));
    EXPECT_EQ(-1, V_OsSetFileSize(file, -1));
    EXPECT_EQ(0u, temp.size());
    constexpr int64_t kFar = (int64_t{5} << 30) + 3; // a hole in front takes no space
    EXPECT_EQ(kFar, V_OsSeek(file, kFar, 0, nullptr));
    EXPECT_EQ(1, V_OsWrite(file, "Z", 1, nullptr));
    EXPECT_EQ(kFar + 1, V_OsSeek(file, 0, 2, nullptr));
    EXPECT_EQ(kFar, V_OsSeek(file, kFar, 0, nullptr));
    EXPECT_EQ(1, V_OsRead(file, buffer, 5, nullptr));
    EXPECT_EQ('Z', buffer[0]);
    EXPECT_EQ(0, V_OsClose(file, nullptr));
}

TEST(Files, HandlesThatAreNone)
{
    char buffer[4] = {};
    for (const int64_t file : {int64_t{-1}, int64_t{-2}, int64_t{1} << 40, INT64_MAX}) {
        EXPECT_EQ(-1, V_OsRead(file, buffer, 4, nullptr));
        EXPECT_EQ(-1, V_OsWrite(file, buffer, 4, nullptr));
        EXPECT_EQ(-1, V_OsWrite(file, buffer, 0, nullptr));
        EXPECT_EQ(-1, V_OsReadBig(file, buffer, 4));
        EXPECT_EQ(-1, V_OsWriteBig(file, buffer, 4));
        EXPECT_EQ(-1, V_OsSeek(file, 0, 0, nullptr));
        EXPECT_EQ(-1, V_OsSetFileSize(file, 4));
        if (!kWindows || file == -1) { // the system closes anything that looks like a pseudo handle
            EXPECT_EQ(-1, V_OsClose(file, nullptr));
        }
    }
    EXPECT_EQ(-1, V_OsDelete(nullptr));
    TempFile temp;
    EXPECT_EQ(0, V_OsDelete(temp.name()));
    EXPECT_EQ(-1, V_OsDelete(temp.name()));
}

TEST(TempFiles, NamesAreNewFilesOfTheOwner)
{
    wchar_t directory[260];
    ASSERT_EQ(SUCCESS, V_GetTempDirectory(directory, 260));
    const std::wstring where = directory;
    EXPECT_TRUE(where.back() == L'/' || where.back() == L'\\');
    std::set<std::wstring> names;
    for (const wchar_t* prefix : {static_cast<const wchar_t*>(nullptr), L"VD", L"", L"\u00E9\u6F22"}) {
        for (int i = 0; i < 20; ++i) {
            wchar_t name[260];
            ASSERT_EQ(SUCCESS, V_GetTempFileName(name, prefix));
            const std::wstring start = where + (prefix != nullptr ? prefix : L"V_");
            EXPECT_EQ(start, std::wstring(name).substr(0, start.size()));
            EXPECT_EQ(0u, fs::file_size(path_of(name)));
            if (!kWindows) {
                EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, fs::status(path_of(name)).permissions());
            }
            names.insert(name);
        }
    }
    EXPECT_EQ(80u, names.size());
    for (const std::wstring& name : names)
        EXPECT_EQ(0, V_OsDelete(name.c_str()));
    wchar_t name[260];
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetTempFileName(nullptr, nullptr));
    EXPECT_EQ(ERROR_NO_MEMORY, V_GetTempFileName(name, L"../x")) << "a prefix does not lead elsewhere";
}

TEST(TempFiles, NamesInUtf8)
{
    for (const char* prefix : {"", "ab", "\xC3\xA9\xE6\xBC\xA2"}) {
        char name[780];
        ASSERT_EQ(SUCCESS, V_GetTempFileNameA(name, prefix));
        const fs::path path(std::u8string(name, name + std::strlen(name)));
        EXPECT_TRUE(fs::exists(path));
        EXPECT_EQ(0u, std::string(name).find(prefix, std::string(name).find_last_of("/\\") + 1) -
                          std::string(name).find_last_of("/\\") - 1);
        EXPECT_TRUE(fs::remove(path));
    }
    char name[780];
    for (const char* prefix : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80"})
        EXPECT_EQ(ERROR_NO_DISK_SPACE, V_GetTempFileNameA(name, prefix));
    EXPECT_GT(0, V_GetTempFileNameA(name, std::string(400, 'x').c_str()));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetTempFileNameA(nullptr, "ab"));
}

TEST(TempFiles, DirectoryAndOptions)
{
    wchar_t directory[260];
    EXPECT_EQ(ERROR_NULL_PTR, V_GetTempDirectory(nullptr, 10));
    EXPECT_EQ(SUCCESS, V_GetTempDirectory(directory, 260));
    const auto length = static_cast<uint32_t>(std::wstring(directory).size());
    for (const uint32_t room : {0u, 1u, length})
        EXPECT_EQ(ERROR_BUFFER_TOO_SMALL, V_GetTempDirectory(directory, room)) << room;
    EXPECT_EQ(SUCCESS, V_GetTempDirectory(directory, length + 1));
    EXPECT_EQ(ERROR_NULL_PTR, V_SetTempDirectory(nullptr));
    EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_SetTempDirectory(directory));
    TEMPFILEOPTIONS options{};
    EXPECT_EQ(ERROR_NULL_PTR, V_GetTempFileOptions(nullptr, sizeof options));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetTempFileOptions(&options, sizeof options + 4));
    EXPECT_EQ(SUCCESS, V_GetTempFileOptions(&options, sizeof options));
    const uint32_t expected[] = {24, 1, 0, 128, 8, 16};
    EXPECT_EQ(0, std::memcmp(expected, &options, sizeof expected));
    options.Mode = 3;
    EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_SetTempFileOptions(&options));
    EXPECT_EQ(ERROR_FEATURE_NOT_SUPPORTED, V_SetTempFileOptions(nullptr));
    EXPECT_EQ(1, V_GetTempFileMode());
}

} // namespace
