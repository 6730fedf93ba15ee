// The file layer and temporary files, as the exported functions offer them.
#include "platform/fault/fault.h"
#include "tests/support/MemoryFiles.h"
#include "tests/support/TestBitmap.h"

#include <filesystem>
#include <set>

namespace fs = std::filesystem;
using namespace vk::testing;

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
    explicit TempFile(const char* text = "")
    {
        EXPECT_EQ(SUCCESS, V_GetTempFileName(name_, nullptr));
        const int64_t file = V_OsCreat(name_, 0);
        EXPECT_EQ(static_cast<int64_t>(std::strlen(text)), V_OsWrite(file, text, std::strlen(text), nullptr));
        EXPECT_EQ(0, V_OsClose(file, nullptr));
    }
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

private:
    wchar_t name_[260];
};

constexpr struct {
    int access;
    bool exists;               // the file, before
    bool opens, reads, writes; // what can be done with it
    bool emptied;
} kOpenCases[] = {
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
    for (const auto& c : kOpenCases)
        for (const int on_close : {0, kDeleteOnClose}) {
            SCOPED_TRACE(say(c.access | on_close, c.exists ? "there" : ""));
            const TempFile temp("hello");
            ASSERT_TRUE(c.exists || V_OsDelete(temp.name()) == 0);
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
    expect_each(-1, {V_OsOpen(nullptr, 2, kShareAll, nullptr), V_OsCreat(nullptr, 0),
                     V_OsOpen(L"", 2 | kCreateAlways, kShareAll, nullptr),
                     V_OsOpen(fs::temp_directory_path().wstring().c_str(), 2, kShareAll, nullptr)});
}

TEST(Files, ShareBits)
{
    const TempFile temp;
    const struct {
        int share, access;
        bool opens; // a second time, where the system knows sharing; elsewhere only files of one user are kept
    } cases[] = {{0, 0, false},     {0x80, 0, false},     {0x100, 0, true},
                 {0x100, 2, false}, {kShareAll, 0, true}, {kShareAll, 2, true}};
    for (const auto& c : cases) {
        const int64_t first = V_OsOpen(temp.name(), 2, c.share, nullptr);
        const int64_t second = V_OsOpen(temp.name(), c.access, kShareAll, nullptr);
        EXPECT_EQ(c.opens || (!kWindows && (c.share & 0x100) != 0), second != -1) << c.share << ", " << c.access;
        EXPECT_TRUE(second == -1 || V_OsClose(second, nullptr) == 0);
        EXPECT_EQ(0, V_OsClose(first, nullptr));
    }
}

TEST(Files, CreatModes)
{
    for (int mode = 0; mode <= 8; ++mode) {
        SCOPED_TRACE(mode);
        const bool deleted = mode == 8;
        const TempFile temp("old");
        EXPECT_TRUE(mode == 0 || V_OsDelete(temp.name()) == 0); // whether old files take new attributes differs
        const int64_t file = V_OsCreat(temp.name(), deleted ? OSCREAT_DELETEONCLOSE : mode);
        ASSERT_NE(-1, file);
        char buffer[4];
        EXPECT_EQ(0, V_OsRead(file, buffer, 4, nullptr)) << "always anew";
        const bool is_read_only = !deleted && (mode & OSCREAT_READONLY) != 0;
        EXPECT_EQ(is_read_only ? -1 : 2, V_OsWrite(file, "ab", 2, nullptr));
        EXPECT_EQ(0, V_OsClose(file, nullptr));
        ASSERT_EQ(deleted, !temp.exists());
        EXPECT_TRUE(deleted || is_read_only == ((fs::status(temp.name()).permissions() & fs::perms::owner_write) ==
                                                fs::perms::none));
    }
}

TEST(Files, TransfersSeekAndCut)
{
    const TempFile temp("0123456789");
    const int64_t file = V_OsOpen(temp.name(), 2, kShareAll, nullptr);
    const auto seek = [file](int64_t offset, int origin = 0) { return V_OsSeek(file, offset, origin, nullptr); };
    ASSERT_NE(-1, file);
    char buffer[32] = {};
    const struct {
        int64_t offset;
        int origin;
        int64_t position;
    } seeks[] = {{4, 0, 4}, {2, 1, 6},   {-3, 1, 3},   {-1, 2, 9},   {-2, 3, 8}, {-4, -1, 6},
                 {0, 1, 6}, {-1, 0, -1}, {-99, 1, -1}, {-11, 2, -1}, {0, 1, 6},  {0, 0, 0}};
    for (const auto& c : seeks)
        EXPECT_EQ(c.position, seek(c.offset, c.origin)) << c.offset << " from " << c.origin;
    expect_each(-1, {V_OsRead(file, nullptr, 4, nullptr), V_OsWrite(file, nullptr, 4, nullptr),
                     V_OsReadBig(file, nullptr, 4), V_OsWriteBig(file, nullptr, 4), V_OsSetFileSize(file, -1)});
    expect_each(0, {V_OsRead(file, buffer, 0, nullptr), V_OsReadBig(file, nullptr, 0)});
    EXPECT_EQ(10, V_OsReadBig(file, buffer, 10));
    EXPECT_EQ(0, V_OsRead(file, buffer, 4, nullptr)) << "the end";
    EXPECT_EQ(7, seek(7));
    EXPECT_EQ(3, V_OsRead(file, buffer, 32, nullptr));
    EXPECT_EQ(7, seek(7));
    EXPECT_EQ(-1, V_OsReadBig(file, buffer, 4)) << "short is a failure";
    EXPECT_EQ(8, seek(8));
    EXPECT_EQ(0, V_OsWrite(file, nullptr, 0, nullptr));
    EXPECT_EQ(8u, temp.size()) << "a write of nothing ends the file";
    EXPECT_EQ(5, seek(5));
    EXPECT_EQ(0, V_OsWriteBig(file, buffer, 0));
    EXPECT_EQ(5u, temp.size());
    EXPECT_EQ(0, V_OsSetFileSize(file, 12));
    EXPECT_EQ(12, seek(0, 1));
    EXPECT_EQ(2, V_OsWriteBig(file, "AB", 2));
    EXPECT_EQ(0, seek(0));
    EXPECT_EQ(14, V_OsRead(file, buffer, 32, nullptr));
    EXPECT_EQ(0, std::memcmp("01234\0\0\0\0\0\0\0AB", buffer, 14));
    EXPECT_EQ(0, V_OsSetFileSize(file, 0));
    EXPECT_EQ(0u, temp.size());
    constexpr int64_t kFar = (int64_t{5} << 30) + 3; // a hole in front takes no space
    EXPECT_EQ(kFar, seek(kFar));
    EXPECT_EQ(1, V_OsWrite(file, "Z", 1, nullptr));
    EXPECT_EQ(kFar + 1, seek(0, 2));
    EXPECT_EQ(kFar, seek(kFar));
    EXPECT_EQ(1, V_OsRead(file, buffer, 5, nullptr));
    EXPECT_EQ('Z', buffer[0]);
    EXPECT_EQ(0, V_OsClose(file, nullptr));
}

TEST(Files, BigTransfersGoInPieces)
{
    namespace fault = vk::fault;
    constexpr uint64_t kPiece = 0x7FFFFFF;
    const TempFile temp;
    const int64_t file = V_OsOpen(temp.name(), 2, kShareAll, nullptr);
    Bytes bytes(kPiece + 3, 0x11);
    bytes[kPiece - 1] = 1;
    bytes[kPiece] = 2;
    bytes[kPiece + 2] = 3;
    const auto count = static_cast<int64_t>(bytes.size());
    fault::arm(0, false);
    EXPECT_EQ(count, V_OsWriteBig(file, bytes.data(), bytes.size()));
    EXPECT_EQ(2u, fault::calls(fault::Call::file_write));
    EXPECT_EQ(0, V_OsSeek(file, 0, 0, nullptr));
    Bytes back(bytes.size());
    EXPECT_EQ(count, V_OsReadBig(file, back.data(), back.size()));
    EXPECT_EQ(2u, fault::calls(fault::Call::file_read));
    EXPECT_TRUE(bytes == back);
    for (const uint64_t call : {1u, 2u}) {
        EXPECT_EQ(0, V_OsSeek(file, 0, 0, nullptr));
        fault::arm_call(fault::Call::file_read, call, false);
        EXPECT_EQ(-1, V_OsReadBig(file, back.data(), back.size()));
        fault::arm_call(fault::Call::file_write, call, false);
        EXPECT_EQ(-1, V_OsWriteBig(file, back.data(), back.size()));
    }
    fault::disarm();
    EXPECT_EQ(0, V_OsClose(file, nullptr));
}

TEST(Files, HandlesThatAreNone)
{
    char buffer[4] = {};
    for (const int64_t file : {int64_t{-1}, int64_t{-2}, int64_t{1} << 40, INT64_MAX}) {
        expect_each(-1, {V_OsRead(file, buffer, 4, nullptr), V_OsWrite(file, buffer, 4, nullptr),
                         V_OsWrite(file, buffer, 0, nullptr), V_OsReadBig(file, buffer, 4),
                         V_OsWriteBig(file, buffer, 4), V_OsSeek(file, 0, 0, nullptr), V_OsSetFileSize(file, 4)});
        // The system closes anything that looks like a pseudo handle.
        EXPECT_TRUE((kWindows && file != -1) || V_OsClose(file, nullptr) == -1);
    }
    const TempFile temp;
    EXPECT_EQ(0, V_OsDelete(temp.name()));
    expect_each(-1, {V_OsDelete(temp.name()), V_OsDelete(nullptr)});
}

TEST(TempFiles, NamesAreNewFilesOfTheOwner)
{
    wchar_t directory[260];
    ASSERT_EQ(SUCCESS, V_GetTempDirectory(directory, 260));
    const std::wstring where = directory;
    EXPECT_TRUE(where.back() == L'/' || where.back() == L'\\');
    std::set<std::wstring> names;
    for (const wchar_t* prefix : {static_cast<const wchar_t*>(nullptr), L"VD", L"", L"\u00E9\u6F22"})
        for (int i = 0; i < 20; ++i) {
            wchar_t name[260];
            ASSERT_EQ(SUCCESS, V_GetTempFileName(name, prefix));
            const std::wstring start = where + (prefix != nullptr ? prefix : L"V_");
            EXPECT_EQ(start, std::wstring(name).substr(0, start.size()));
            EXPECT_EQ(0u, fs::file_size(path_of(name)));
            EXPECT_TRUE(kWindows ||
                        fs::status(path_of(name)).permissions() == (fs::perms::owner_read | fs::perms::owner_write));
            names.insert(name);
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
    char name[780 + 4];
    for (const char* prefix : {"", "ab", "\xC3\xA9\xE6\xBC\xA2"}) {
        ASSERT_EQ(SUCCESS, V_GetTempFileNameA(name, prefix));
        const std::string text = name;
        EXPECT_EQ(prefix, text.substr(text.find_last_of("/\\") + 1, std::strlen(prefix)));
        EXPECT_TRUE(fs::remove(fs::path(std::u8string(text.begin(), text.end()))));
    }
    for (const char* prefix : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80"})
        EXPECT_EQ(ERROR_NO_DISK_SPACE, V_GetTempFileNameA(name, prefix));
    EXPECT_GT(0, V_GetTempFileNameA(name, std::string(400, 'x').c_str()));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, V_GetTempFileNameA(nullptr, "ab"));
    // Names of any length, up to more bytes than the buffer has, where files have no names of the system's making.
    const RestoreRedirection restore;
    MemoryFiles files;
    files.redirect();
    wchar_t directory[260];
    ASSERT_EQ(SUCCESS, V_GetTempDirectory(directory, 260));
    std::string prefix;
    for (size_t count = 1; count < 250; ++count) {
        prefix += "\xF0\x9F\x98\x80"; // one character, or two of 16 bits
        std::fill(std::begin(name), std::end(name), '#');
        const size_t units = count * (sizeof(wchar_t) == 2 ? 2 : 1), others = std::wcslen(directory) + 20;
        EXPECT_EQ(units >= 260                ? ERROR_NO_DISK_SPACE
                  : others + units >= 260     ? ERROR_NO_MEMORY
                  : others + 4 * count >= 780 ? ERROR_FILE_READ
                                              : SUCCESS,
                  V_GetTempFileNameA(name, prefix.c_str()))
            << count;
        EXPECT_EQ("####", std::string(name + 780, 4)) << "written past the documented size";
    }
}

TEST(TempFiles, DirectoryAndOptions)
{
    wchar_t directory[260];
    expect_each(ERROR_NULL_PTR, {V_GetTempDirectory(nullptr, 10), V_SetTempDirectory(nullptr)});
    EXPECT_EQ(SUCCESS, V_GetTempDirectory(directory, 260));
    const auto length = static_cast<uint32_t>(std::wcslen(directory));
    for (const uint32_t room : {0u, 1u, length, length + 1})
        EXPECT_EQ(room > length ? SUCCESS : ERROR_BUFFER_TOO_SMALL, V_GetTempDirectory(directory, room)) << room;
    TEMPFILEOPTIONS options{};
    EXPECT_EQ(ERROR_NULL_PTR, V_GetTempFileOptions(nullptr, sizeof options));
    EXPECT_EQ(ERROR_INVALID_STRUCT_SIZE, V_GetTempFileOptions(&options, sizeof options + 4));
    EXPECT_EQ(SUCCESS, V_GetTempFileOptions(&options, sizeof options));
    const uint32_t expected[] = {24, 1, 0, 128, 8, 16};
    EXPECT_EQ(0, std::memcmp(expected, &options, sizeof expected));
    options.Mode = 3;
    expect_each(ERROR_FEATURE_NOT_SUPPORTED,
                {V_SetTempFileOptions(&options), V_SetTempFileOptions(nullptr), V_SetTempDirectory(directory)});
    EXPECT_EQ(1, V_GetTempFileMode());
}

} // namespace
