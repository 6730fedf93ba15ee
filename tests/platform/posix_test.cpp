// What only the POSIX back end does: size limits without a signal, reserving where the file system cannot, names in
// UTF-8, and attributes of new files.
#if !defined(_WIN32)

#include "platform/posix/Posix.h"
#include "tests/platform/TempFile.h"

#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vk {
namespace {

using testing::position_of;
using testing::read_at;
using testing::seek_to;
using testing::TempFile;
using testing::write_at;

/// Lowers a limit of the process while it lives.
class LimitScope {
public:
    LimitScope(decltype(RLIMIT_FSIZE) resource, rlim_t value) : resource_(resource)
    {
        EXPECT_EQ(0, getrlimit(resource, &before_));
        const rlimit lowered{value, before_.rlim_max};
        EXPECT_EQ(0, setrlimit(resource, &lowered));
    }
    ~LimitScope() { setrlimit(resource_, &before_); }
    LimitScope(const LimitScope&) = delete;
    LimitScope& operator=(const LimitScope&) = delete;

private:
    decltype(RLIMIT_FSIZE) resource_;
    rlimit before_{};
};

TEST(Posix, SizeLimitIsAStatusNotASignal)
{
    const TempFile temp;
    const int64_t file = temp.open();
    write_at(file, 0, std::string(20000, 'x'));
    {
        const LimitScope limit(RLIMIT_FSIZE, 10000); // SIGXFSZ would end the test program here
        size_t moved = 77;
        seek_to(file, 9990);
        EXPECT_EQ(Status::disk_full, platform::file_write(file, "0123456789a", 11, &moved));
        EXPECT_EQ(Status::ok, platform::file_write(file, "0123456789", 10, &moved));
        EXPECT_EQ(10u, moved);
        EXPECT_EQ(Status::disk_full, platform::file_write(file, "0", 1, &moved));
        EXPECT_EQ(Status::disk_full, platform::file_reserve(file, 9990, 11));
        EXPECT_EQ(Status::ok, platform::file_reserve(file, 9000, 1000));
        seek_to(file, 30000);
        EXPECT_EQ(Status::disk_full, platform::file_truncate(file)) << "would grow";
        seek_to(file, 15000);
        EXPECT_EQ(Status::ok, platform::file_truncate(file)) << "shrinks, if not enough";
        EXPECT_EQ(Status::disk_full, platform::file_write(file, "0", 1, &moved));
    }
    EXPECT_EQ(15000, position_of(file, true));
    EXPECT_EQ("0123456789xxxxx", read_at(file, 9990, 15));
    platform::file_close(file);

    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    OpenOptions options;
    options.access = Access::write;
    int64_t device = kNoFile;
    ASSERT_EQ(Status::ok, platform::file_open(L"/dev/null", options, &device));
    size_t moved = 0;
    {
        const LimitScope limit(RLIMIT_FSIZE, 0); // for files, not for pipes and devices
        EXPECT_EQ(Status::ok, platform::file_write(ends[1], "abc", 3, &moved));
        EXPECT_EQ(Status::ok, platform::file_write(device, "abc", 3, &moved));
    }
    platform::file_close(device);
    platform::file_close(ends[1]);
    char read[10];
    EXPECT_EQ(Status::ok, platform::file_read(ends[0], read, 10, &moved));
    EXPECT_EQ("abc", std::string(read, moved));
    platform::file_close(ends[0]);
}

int64_t allocated_bytes(int64_t file)
{
    struct stat info = {};
    EXPECT_EQ(0, fstat(static_cast<int>(file), &info));
    return int64_t{info.st_blocks} * 512;
}

TEST(Posix, ReserveByWritingFillsHolesOnly)
{
    constexpr int64_t kMiB = 1 << 20;
    const TempFile temp;
    const int64_t file = temp.open();
    write_at(file, 2 * kMiB, "in the middle");
    write_at(file, 5 * kMiB, "at the end");
    seek_to(file, 99);
    EXPECT_EQ(Status::ok, backend::posix::reserve_by_writing(static_cast<int>(file), kMiB, 7 * kMiB));
    EXPECT_EQ(99, position_of(file));
    fsync(static_cast<int>(file));
    EXPECT_GE(allocated_bytes(file), 6 * kMiB);
    EXPECT_LT(allocated_bytes(file), 7 * kMiB) << "the first part stays a hole";
    EXPECT_EQ(7 * kMiB, position_of(file, true));
    EXPECT_EQ(std::string(3, '\0') + "in the middle" + std::string(3, '\0'), read_at(file, 2 * kMiB - 3, 19));
    EXPECT_EQ("at the end" + std::string(20, '\0'), read_at(file, 5 * kMiB, 30));

    EXPECT_EQ(Status::ok, backend::posix::reserve_by_writing(static_cast<int>(file), 0, kMiB)) << "inside the file";
    fsync(static_cast<int>(file));
    EXPECT_GE(allocated_bytes(file), 7 * kMiB);
    EXPECT_EQ(7 * kMiB, position_of(file, true));
    platform::file_close(file);
}

TEST(Posix, ReadOnlyIsForTheNextToOpen)
{
    for (const bool exists : {true, false}) {
        const TempFile temp;
        if (!exists)
            platform::file_delete(temp.name());
        OpenOptions options;
        options.access = Access::read_write;
        options.disposition = Disposition::create_always;
        options.read_only = true;
        int64_t file = kNoFile;
        ASSERT_EQ(Status::ok, platform::file_open(temp.name(), options, &file));
        write_at(file, 0, "written");
        struct stat info = {};
        EXPECT_EQ(0, fstat(static_cast<int>(file), &info));
        EXPECT_EQ(0u, info.st_mode & 0222u);
        EXPECT_NE(0u, info.st_mode & 0400u);
        platform::file_close(file);
    }
}

TEST(Posix, HandlesRunOutAtTheProcessesLimit)
{
    const TempFile temp;
    uint32_t expected = 0;
    for (int file = 0; file < 4096; ++file)
        expected += fcntl(file, F_GETFD) >= 0 ? 1 : 0;
    uint32_t open = 0;
    uint32_t most = 0;
    Status opening = Status::ok;
    Status counting = Status::ok;
    {
        const LimitScope limit(RLIMIT_NOFILE, 100);
        EXPECT_EQ(Status::ok, platform::handle_count(&open, &most));
        EXPECT_EQ(expected, open);
        EXPECT_EQ(100u, most);
        // No checks in between: they may need descriptors themselves.
        OpenOptions options;
        options.share = Share::read_write;
        int64_t files[100];
        size_t count = 0;
        while (count < 100 && (opening = platform::file_open(temp.name(), options, files + count)) == Status::ok)
            ++count;
        counting = platform::handle_count(&open, &most);
        while (count != 0)
            platform::file_close(files[--count]);
    }
    EXPECT_EQ(Status::no_memory, opening);
    EXPECT_EQ(Status::no_memory, counting);
}

TEST(Posix, NamesInUtf8)
{
    struct Case {
        const wchar_t* wide;
        const char* utf8;
    };
    constexpr Case kCases[] = {{L"", ""},
                               {L"az~\x7F", "az~\x7F"},
                               {L"\u0080\u07FF", "\xC2\x80\xDF\xBF"},
                               {L"\u0800\uD7FF\uE000\uFFFF", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
                               {L"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"}};
    for (const Case& c : kCases) {
        char utf8[32];
        wchar_t wide[32];
        const size_t bytes = std::string(c.utf8).size() + 1;
        const size_t characters = std::wstring(c.wide).size() + 1;
        EXPECT_EQ(Status::ok, backend::posix::to_utf8(c.wide, utf8, bytes));
        EXPECT_STREQ(c.utf8, utf8);
        EXPECT_EQ(Status::ok, backend::posix::from_utf8(c.utf8, wide, characters));
        EXPECT_STREQ(c.wide, wide);
        EXPECT_EQ(Status::too_long, backend::posix::from_utf8(c.utf8, wide, characters - 1));
        if (bytes > 1) {
            EXPECT_EQ(Status::bad_name, backend::posix::to_utf8(c.wide, utf8, bytes - 1));
        }
    }
    char utf8[32];
    wchar_t wide[32];
    for (const uint32_t code : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
        const wchar_t text[] = {L'a', static_cast<wchar_t>(code), 0};
        EXPECT_EQ(Status::bad_name, backend::posix::to_utf8(text, utf8, sizeof utf8)) << code;
    }
    for (const char* bad : {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xE2\x82",
                            "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"})
        EXPECT_EQ(Status::bad_name, backend::posix::from_utf8(bad, wide, 32)) << ::testing::PrintToString(bad);
}

} // namespace
} // namespace vk

#endif
