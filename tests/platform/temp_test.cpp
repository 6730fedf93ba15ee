// The temporary directory, and temporary files: new, unique, and their owner's alone.
#include "tests/platform/TempFile.h"

#include <filesystem>
#include <iterator>
#include <set>

#if !defined(_WIN32)
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vk {
namespace {

using testing::position_of;
using testing::TempFile;

std::wstring temp_directory()
{
    wchar_t directory[kMaxTempName] = {};
    EXPECT_EQ(Status::ok, platform::temp_directory(directory, kMaxTempName));
    return directory;
}

TEST(Temp, DirectoryEndsWithASeparatorAndNeverOverruns)
{
    const std::wstring directory = temp_directory();
    ASSERT_GE(directory.size(), 2u);
    EXPECT_TRUE(directory.back() == L'/' || directory.back() == L'\\');
    for (size_t length = 0; length <= directory.size() + 1; ++length) {
        std::wstring room(directory.size() + 5, L'#');
        const bool fits = length > directory.size();
        EXPECT_EQ(fits ? Status::ok : Status::too_long, platform::temp_directory(room.data(), length)) << length;
        EXPECT_EQ(std::wstring::npos, room.find_first_not_of(L'#', length)) << length;
    }
    EXPECT_EQ(Status::bad_name, platform::temp_directory(nullptr, 100));
}

TEST(Temp, NamesAreNewEmptyFiles)
{
    const std::wstring directory = temp_directory();
    std::set<std::wstring> names;
    for (int i = 0; i < 30; ++i) {
        wchar_t name[kMaxTempName] = {};
        ASSERT_EQ(Status::ok, platform::temp_name(directory.c_str(), i % 2 == 0 ? L"VD" : L"", name));
        EXPECT_TRUE(names.insert(name).second);
        EXPECT_EQ(0u, std::wstring(name).find(directory));
    }
    for (const std::wstring& name : names) {
        OpenOptions options;
        int64_t file = kNoFile;
        ASSERT_EQ(Status::ok, platform::file_open(name.c_str(), options, &file));
        EXPECT_EQ(0, position_of(file, true));
        platform::file_close(file);
        EXPECT_EQ(Status::ok, platform::file_delete(name.c_str()));
    }
}

TEST(Temp, FilesForNobodyElseLeaveNothing)
{
    const std::wstring directory = temp_directory() + L"vt own files";
    std::filesystem::create_directory(directory);
    int64_t files[3];
    for (int64_t& file : files) {
        ASSERT_EQ(Status::ok, platform::temp_file(directory.c_str(), L"VD", &file));
        EXPECT_EQ(Status::ok, platform::file_set_size(file, 100));
    }
    size_t named = std::size(files);
#if !defined(_WIN32)
    named = 0;
#endif
    const auto listed = [&] { return std::distance(std::filesystem::directory_iterator(directory), {}); };
    EXPECT_EQ(static_cast<std::ptrdiff_t>(named), listed());
    for (const int64_t file : files)
        platform::file_close(file);
    EXPECT_EQ(0, listed());
    std::filesystem::remove(directory);
    int64_t none = kNoFile;
    EXPECT_NE(Status::ok, platform::temp_file(directory.c_str(), L"VD", &none));
    EXPECT_EQ(kNoFile, none);
}

TEST(Temp, WhatCannotBeNamedIsRefused)
{
    const std::wstring directory = temp_directory();
    wchar_t name[kMaxTempName] = L"untouched";
    EXPECT_EQ(Status::bad_name, platform::temp_name(nullptr, L"VD", name));
    EXPECT_EQ(Status::bad_name, platform::temp_name(L"", L"VD", name));
    EXPECT_EQ(Status::bad_name, platform::temp_name(directory.c_str(), nullptr, name));
    EXPECT_EQ(Status::bad_name, platform::temp_name(directory.c_str(), L"../x", name));
    EXPECT_NE(Status::ok, platform::temp_name((directory + L"no such folder").c_str(), L"VD", name));
    EXPECT_EQ(Status::bad_name, platform::temp_name((directory + std::wstring(260, L'x')).c_str(), L"VD", name));
    EXPECT_STREQ(L"untouched", name);
}

#if !defined(_WIN32)

/// A directory of the test's own that TMPDIR names while it lives.
class OwnTempDirectory {
public:
    OwnTempDirectory()
    {
        const char* set = std::getenv("TMPDIR");
        before_ = set == nullptr ? "" : set;
        char path[] = "/tmp/vk_temp_XXXXXX";
        EXPECT_NE(nullptr, mkdtemp(path));
        path_ = path;
        setenv("TMPDIR", path, 1);
    }
    ~OwnTempDirectory()
    {
        if (before_.empty())
            unsetenv("TMPDIR");
        else
            setenv("TMPDIR", before_.c_str(), 1);
        EXPECT_EQ(0, rmdir(path_.c_str())) << "files are left behind";
    }
    OwnTempDirectory(const OwnTempDirectory&) = delete;
    OwnTempDirectory& operator=(const OwnTempDirectory&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string before_;
    std::string path_;
};

TEST(Temp, EnvironmentNamesTheDirectory)
{
    const OwnTempDirectory own;
    const std::wstring wide(own.path().begin(), own.path().end());
    EXPECT_EQ(wide + L"/", temp_directory());
    wchar_t room[kMaxTempName];
    struct Case {
        std::string set;
        Status status;
        const wchar_t* directory;
    };
    for (const Case& c :
         {Case{"", Status::ok, L"/tmp/"}, Case{"/a\xC3\xA9/", Status::ok, L"/a\u00E9/"},
          Case{"/bad\xFF", Status::bad_name, L""}, Case{std::string(300, 'x'), Status::too_long, L""}}) {
        SCOPED_TRACE(c.set);
        setenv("TMPDIR", c.set.c_str(), 1);
        EXPECT_EQ(c.status, platform::temp_directory(room, kMaxTempName));
        if (c.status == Status::ok) {
            EXPECT_STREQ(c.directory, room);
        }
    }
}

TEST(Temp, FilesAreTheirOwnersAlone)
{
    const OwnTempDirectory own;
    const mode_t before = umask(0);
    {
        const TempFile temp;
        const std::wstring wide = temp.name();
        struct stat info = {};
        EXPECT_EQ(0, stat(std::string(wide.begin(), wide.end()).c_str(), &info));
        EXPECT_EQ(0600u, info.st_mode & 0777u);

        // Made anew, as a bitmap's file is, when somebody removed it in between.
        platform::file_delete(temp.name());
        OpenOptions options;
        options.access = Access::read_write;
        options.disposition = Disposition::create_always;
        options.delete_on_close = true;
        int64_t file = kNoFile;
        EXPECT_EQ(Status::ok, platform::file_open(temp.name(), options, &file));
        EXPECT_EQ(0, fstat(static_cast<int>(file), &info));
        EXPECT_EQ(0600u, info.st_mode & 0777u);
        platform::file_close(file);
    }
    umask(before);
}

TEST(Temp, LinksAreNotFollowed)
{
    const OwnTempDirectory own;
    const std::string link = own.path() + "/link";
    const TempFile target;
    const std::wstring wide = target.name();
    const int64_t kept = target.open();
    testing::write_at(kept, 0, "precious");
    ASSERT_EQ(0, symlink(std::string(wide.begin(), wide.end()).c_str(), link.c_str()));
    OpenOptions options;
    options.access = Access::read_write;
    options.disposition = Disposition::create_always;
    options.delete_on_close = true;
    int64_t file = kNoFile;
    EXPECT_EQ(Status::denied, platform::file_open(std::wstring(link.begin(), link.end()).c_str(), options, &file));
    EXPECT_EQ("precious", testing::read_at(kept, 0, 20));
    platform::file_close(kept);
    unlink(link.c_str());
}

#endif

} // namespace
} // namespace vk
