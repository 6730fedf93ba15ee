// What the POSIX back end makes of calls of the system that fail, are interrupted, or do half of what they are asked
// for. The functions stand in for the C library's in the whole test program, and hand on what no test has said.
#if !defined(_WIN32) && !defined(VKKRNX_TEST_SANITIZED)

#include "platform/posix/Posix.h"
#include "tests/platform/TempFile.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// How the next calls of a function of the calling thread end.
struct Plan {
    const char* name;
    int error; ///< kShort, kNothing or what errno says
    int times;
    int after = 0; ///< so many calls that are handed on
};
constexpr int kShort = -1;   ///< a transfer of a byte
constexpr int kNothing = -2; ///< a transfer of none
thread_local Plan t_plans[3] = {};

int planned(const char* name)
{
    for (Plan& plan : t_plans)
        if (plan.name != nullptr && plan.times > 0 && std::strcmp(plan.name, name) == 0) {
            if (plan.after > 0) {
                --plan.after;
                return 0;
            }
            --plan.times;
            errno = plan.error > 0 ? plan.error : errno;
            return plan.error;
        }
    return 0;
}

template <class Function> Function* real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

size_t length_of(int plan, size_t bytes)
{
    return plan == kShort && bytes > 1 ? 1 : bytes;
}

} // namespace

#define VK_STAND_IN(result, failure, name, parameters, arguments, specifier)                                           \
    extern "C" result name parameters specifier                                                                        \
    {                                                                                                                  \
        static auto* const other = real<result parameters>(nullptr, #name);                                            \
        return planned(#name) > 0 ? (failure) : other arguments;                                                       \
    }
#define VK_STAND_IN_TRANSFER(name, parameters, ...)                                                                    \
    extern "C" ssize_t name parameters                                                                                 \
    {                                                                                                                  \
        static auto* const other = real<ssize_t parameters>(nullptr, #name);                                           \
        const int plan = planned(#name);                                                                               \
        return plan > 0 ? -1 : plan == kNothing ? 0 : other(__VA_ARGS__);                                              \
    }

VK_STAND_IN(int, -1, fallocate, (int file, int mode, off_t at, off_t bytes), (file, mode, at, bytes), )
VK_STAND_IN(int, -1, fstat, (int file, struct stat* info), (file, info), noexcept)
VK_STAND_IN(int, -1, ftruncate, (int file, off_t size), (file, size), noexcept)
VK_STAND_IN(int, -1, truncate, (const char* path, off_t size), (path, size), noexcept)
VK_STAND_IN(int, -1, flock, (int file, int operation), (file, operation), noexcept)
VK_STAND_IN(int, -1, fchmod, (int file, mode_t mode), (file, mode), noexcept)
VK_STAND_IN(int, -1, unlink, (const char* path), (path), noexcept)
VK_STAND_IN(off_t, -1, lseek, (int file, off_t offset, int whence), (file, offset, whence), noexcept)
VK_STAND_IN(void*, MAP_FAILED, mmap, (void* at, size_t bytes, int access, int flags, int file, off_t offset),
            (at, bytes, access, flags, file, offset), noexcept)
VK_STAND_IN(DIR*, nullptr, opendir, (const char* path), (path), )
VK_STAND_IN(FILE*, nullptr, fopen, (const char* path, const char* mode), (path, mode), )
VK_STAND_IN(long, -1, sysconf, (int name), (name), noexcept)
VK_STAND_IN(ssize_t, -1, getrandom, (void* bytes, size_t count, unsigned flags), (bytes, count, flags), )
VK_STAND_IN(int, ENOMEM, pthread_rwlockattr_init, (pthread_rwlockattr_t * attributes), (attributes), noexcept)
VK_STAND_IN(int, EAGAIN, pthread_create,
            (pthread_t * thread, const pthread_attr_t* attributes, void* (*run)(void*), void* given),
            (thread, attributes, run, given), noexcept)
VK_STAND_IN_TRANSFER(read, (int file, void* to, size_t bytes), file, to, length_of(plan, bytes))
VK_STAND_IN_TRANSFER(write, (int file, const void* from, size_t bytes), file, from, length_of(plan, bytes))
VK_STAND_IN_TRANSFER(pread, (int file, void* to, size_t bytes, off_t at), file, to, length_of(plan, bytes), at)
VK_STAND_IN_TRANSFER(pwrite, (int file, const void* from, size_t bytes, off_t at), file, from, length_of(plan, bytes),
                     at)

extern "C" int open(const char* path, int flags, ...)
{
    static auto* const other = real<int(const char*, int, ...)>(nullptr, "open");
    va_list list;
    va_start(list, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    return planned("open") > 0 ? -1 : other(path, flags, mode);
}

extern "C" void* mremap(void* old, size_t before, size_t after, int flags, ...) noexcept
{
    static auto* const other = real<void*(void*, size_t, size_t, int, ...)>(nullptr, "mremap");
    return planned("mremap") > 0 ? MAP_FAILED : other(old, before, after, flags);
}

extern "C" int close(int file)
{
    static auto* const other = real<int(int)>(nullptr, "close");
    const int result = other(file);
    return planned("close") > 0 ? -1 : result;
}

namespace vk {
namespace {

using testing::TempFile;

class SystemCalls : public ::testing::Test {
protected:
    void TearDown() override { forget(); }

    static void forget() { std::fill(std::begin(t_plans), std::end(t_plans), Plan{}); }
    /// Descriptors that are open.
    static uint32_t handles()
    {
        uint32_t open = 0;
        uint32_t most = 0;
        EXPECT_EQ(Status::ok, backend::handle_count(&open, &most));
        return open;
    }

    struct Case {
        const char* what;
        Status expected;
        Status (*run)(const TempFile& file);
        Plan plans[3];
    };

    /// Runs each with its plan, which must have been met, and counts descriptors.
    static void try_all(std::initializer_list<Case> cases)
    {
        for (const Case& test : cases) {
            const TempFile file;
            const int64_t opened = file.open();
            testing::write_at(opened, 0, std::string(100000, 'x'));
            backend::file_close(opened);
            forget();
            const uint32_t before = handles();
            std::copy(std::begin(test.plans), std::end(test.plans), std::begin(t_plans));
            const Status status = test.run(file);
            const int left = t_plans[0].times + t_plans[1].times + t_plans[2].times;
            forget();
            EXPECT_EQ(test.expected, status) << test.what;
            EXPECT_EQ(0, left) << test.what << " is not met";
            EXPECT_EQ(before, handles()) << test.what << " leaves something open";
        }
    }
};

/// Opens, and closes what was opened.
template <Access access, Disposition disposition, bool vanishes, bool read_only> Status open_so(const TempFile& file)
{
    OpenOptions options;
    options.access = access;
    options.disposition = disposition;
    options.delete_on_close = vanishes;
    options.read_only = read_only;
    int64_t opened = kNoFile;
    const Status status = backend::file_open(file.name(), options, &opened);
    if (status == Status::ok)
        backend::file_close(opened);
    return status;
}
constexpr auto kOpen = &open_so<Access::read_write, Disposition::open_existing, false, false>;
constexpr auto kOpenEmpty = &open_so<Access::write, Disposition::truncate_existing, false, false>;
constexpr auto kCreateToRead = &open_so<Access::read, Disposition::create_always, false, false>;
constexpr auto kCreateReadOnly = &open_so<Access::write, Disposition::create_always, false, true>;
constexpr auto kOpenVanishing = &open_so<Access::read_write, Disposition::open_existing, true, false>;

TEST_F(SystemCalls, Opening)
{
    try_all({
        {"interrupted", Status::ok, kOpen, {{"open", EINTR, 2}}},
        {"no descriptors", Status::no_memory, kOpen, {{"open", EMFILE, 1}}},
        {"unknown", Status::failed, kOpen, {{"fstat", EIO, 1}}},
        {"interrupted lock", Status::ok, kOpen, {{"flock", EINTR, 3}}},
        {"no locks there", Status::ok, kOpen, {{"flock", ENOLCK, 1}}},
        {"locked", Status::denied, kOpen, {{"flock", EWOULDBLOCK, 1}}},
        {"interrupted emptying", Status::ok, kOpenEmpty, {{"ftruncate", EINTR, 1}}},
        {"emptying", Status::failed, kOpenEmpty, {{"ftruncate", EIO, 1}}},
        {"emptying by name", Status::failed, kCreateToRead, {{"truncate", EIO, 1}}},
        {"rights", Status::denied, kCreateReadOnly, {{"fchmod", EPERM, 1}}},
        {"unlinking", Status::denied, kOpenVanishing, {{"unlink", EPERM, 1}}},
    });
}

/// Does something with the file open.
template <class Use> Status with_open(const TempFile& file, const Use& use)
{
    OpenOptions options;
    options.access = Access::read_write;
    int64_t opened = kNoFile;
    const Status status = backend::file_open(file.name(), options, &opened);
    EXPECT_EQ(Status::ok, status);
    const Status result = use(opened);
    const Status closed = backend::file_close(opened);
    return result == Status::ok ? closed : result;
}

/// Reads or writes 5000 bytes, which have to be all and the right ones.
template <bool at_position> Status read_some(const TempFile& file)
{
    return with_open(file, [](int64_t opened) {
        std::string text(5000, '?');
        size_t moved = 0;
        const Status status = at_position ? backend::file_read_at(opened, 10, text.data(), text.size(), &moved)
                                          : backend::file_read(opened, text.data(), text.size(), &moved);
        EXPECT_TRUE(status != Status::ok || (moved == text.size() && text == std::string(5000, 'x')));
        return status;
    });
}
template <bool at_position> Status write_some(const TempFile& file)
{
    std::string text(5000, '?');
    for (size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>('a' + i % 26);
    return with_open(file, [&](int64_t opened) {
        size_t moved = 0;
        const Status status = at_position ? backend::file_write_at(opened, 0, text.data(), text.size(), &moved)
                                          : backend::file_write(opened, text.data(), text.size(), &moved);
        if (status == Status::ok) {
            std::string back(text.size(), '?');
            EXPECT_EQ(Status::ok, backend::file_read_at(opened, 0, back.data(), back.size(), &moved));
            EXPECT_EQ(text, back);
        }
        return status;
    });
}
Status set_size(const TempFile& file)
{
    return with_open(file, [](int64_t opened) { return backend::file_set_size(opened, 7); });
}
Status truncate_here(const TempFile& file)
{
    return with_open(file, [](int64_t opened) { return backend::file_truncate(opened); });
}
Status map_it(const TempFile& file)
{
    return with_open(file, [](int64_t opened) {
        void* view = nullptr;
        return backend::file_map(opened, 0, 4096, &view);
    });
}

TEST_F(SystemCalls, Transfers)
{
    try_all({
        {"read in drops", Status::ok, &read_some<false>, {{"read", kShort, 5}, {"read", EINTR, 2}}},
        {"read at, in drops", Status::ok, &read_some<true>, {{"pread", kShort, 5}, {"pread", EINTR, 2}}},
        {"read and nothing comes", Status::failed, &read_some<false>, {{"read", kShort, 1}, {"read", EIO, 1}}},
        {"write in drops", Status::ok, &write_some<false>, {{"write", kShort, 5}, {"write", EINTR, 2}}},
        {"write at, in drops", Status::ok, &write_some<true>, {{"pwrite", kShort, 5}, {"pwrite", EINTR, 2}}},
        {"write, full", Status::disk_full, &write_some<false>, {{"write", kShort, 1}, {"write", ENOSPC, 1}}},
        {"write at, over quota", Status::disk_full, &write_some<true>, {{"pwrite", EDQUOT, 1}}},
        {"write that moves nothing", Status::failed, &write_some<false>, {{"write", kNothing, 1}}},
        {"size", Status::ok, &set_size, {{"ftruncate", EINTR, 2}}},
        {"size that cannot be told", Status::failed, &set_size, {{"fstat", EIO, 1, 1}}},
        {"size, lost", Status::failed, &set_size, {{"ftruncate", EIO, 1}}},
        {"truncate without position", Status::failed, &truncate_here, {{"lseek", EIO, 1}}},
        {"map, no room", Status::no_memory, &map_it, {{"mmap", ENOMEM, 1}}},
        {"map, cannot be mapped", Status::unsupported, &map_it, {{"mmap", ENODEV, 1}}},
        {"close, interrupted", Status::ok, &set_size, {{"close", EINTR, 1}}},
        {"close, lost", Status::failed, &set_size, {{"close", EIO, 1}}},
    });
}

/// Takes disk space behind the end; the file then is so large, and what was there is there still.
Status reserve(const TempFile& file)
{
    return with_open(file, [](int64_t opened) {
        const Status status = backend::file_reserve(opened, 90000, 200000);
        char last = 0;
        size_t moved = 0;
        EXPECT_EQ(Status::ok, backend::file_read_at(opened, 99999, &last, 1, &moved));
        EXPECT_EQ('x', last);
        if (status == Status::ok) {
            EXPECT_EQ(Status::ok, backend::file_read_at(opened, 289999, &last, 1, &moved));
            EXPECT_EQ(1u, moved);
        }
        return status;
    });
}

TEST_F(SystemCalls, DiskSpace)
{
    constexpr Plan kCannot{"fallocate", EOPNOTSUPP, 1};
    try_all({
        {"interrupted", Status::ok, &reserve, {{"fallocate", EINTR, 2}}},
        {"full", Status::disk_full, &reserve, {{"fallocate", ENOSPC, 1}}},
        {"by writing", Status::ok, &reserve, {kCannot}},
        {"not even known", Status::ok, &reserve, {{"fallocate", ENOSYS, 1}}},
        {"by writing, interrupted", Status::ok, &reserve, {kCannot, {"pwrite", EINTR, 2}, {"pwrite", kShort, 2}}},
        {"by writing, full", Status::disk_full, &reserve, {kCannot, {"pwrite", kShort, 1}, {"pwrite", ENOSPC, 1}}},
        {"by writing nothing", Status::failed, &reserve, {kCannot, {"pwrite", kNothing, 1}}},
        {"of unknown size", Status::failed, &reserve, {kCannot, {"fstat", EIO, 1, 1}}},
        {"without position", Status::failed, &reserve, {kCannot, {"lseek", EIO, 1}}},
    });
}

TEST_F(SystemCalls, Sections)
{
    constexpr size_t kMiB = size_t{1} << 20;
    backend::stock_empty();
    Section section;
    t_plans[0] = {"mmap", ENOMEM, 2};
    EXPECT_EQ(Status::no_memory, backend::section_create(3 * kMiB + 17, Contents::zeroed, &section));
    forget();
    t_plans[0] = {"mmap", ENOMEM, 1}; // no room for an aligned one
    ASSERT_EQ(Status::ok, backend::section_create(3 * kMiB + 17, Contents::zeroed, &section));
    forget();
    auto* view = static_cast<uint8_t*>(section.view);
    view[0] = 1;
    view[3 * kMiB] = 2;
    const Section before = section;
    t_plans[0] = {"mremap", ENOMEM, 2};
    EXPECT_EQ(Status::no_memory, backend::section_resize(&section, 40 * kMiB));
    forget();
    EXPECT_TRUE(section.view == before.view && section.bytes == before.bytes && view[3 * kMiB] == 2);
    ASSERT_EQ(Status::ok, backend::section_resize(&section, 40 * kMiB));
    view = static_cast<uint8_t*>(section.view);
    EXPECT_TRUE(view[0] == 1 && view[3 * kMiB] == 2 && view[3 * kMiB + 17] == 0 && view[40 * kMiB - 1] == 0);
    backend::section_free(&section);
}

TEST_F(SystemCalls, FiguresAndNames)
{
    uint32_t open = 0;
    uint32_t most = 0;
    t_plans[0] = {"opendir", EMFILE, 1};
    EXPECT_EQ(Status::no_memory, backend::handle_count(&open, &most));
    // Where /proc is missing, and then where nothing tells; figures are kept for a tenth of a second.
    for (const int silent : {0, 1}) {
        MemoryStatus status;
        Status result = Status::ok;
        backend::sleep_for(150);
        t_plans[0] = {"fopen", ENOENT, 100};
        t_plans[1] = {"sysconf", EINVAL, silent};
        result = backend::memory_status(&status);
        forget();
        EXPECT_EQ(silent != 0 ? Status::failed : Status::ok, result);
        EXPECT_TRUE(silent != 0 || (status.total_physical > 1u << 20 && status.total_page_file == 0));
    }
    // Without randomness names are new all the same.
    std::set<std::wstring> names;
    wchar_t directory[kMaxTempName];
    ASSERT_EQ(Status::ok, backend::temp_directory(directory, kMaxTempName));
    for (int i = 0; i < 20; ++i) {
        wchar_t name[kMaxTempName];
        t_plans[0] = {"getrandom", EAGAIN, 1};
        t_plans[1] = {"open", EINTR, 1};
        ASSERT_EQ(Status::ok, backend::temp_name(directory, L"vt", name));
        names.insert(name);
        backend::file_delete(name);
    }
    EXPECT_EQ(20u, names.size());
    // A file system that has no files without names.
    int64_t file = kNoFile;
    t_plans[0] = {"open", EOPNOTSUPP, 1};
    ASSERT_EQ(Status::ok, backend::temp_file(directory, L"vt", &file));
    EXPECT_EQ(Status::ok, backend::file_close(file));
    t_plans[0] = {"open", EACCES, 100};
    EXPECT_EQ(Status::denied, backend::temp_file(directory, L"vt", &file));
    forget();
    wchar_t name[kMaxTempName] = L"as it was";
    t_plans[0] = {"open", EEXIST, 100};
    EXPECT_EQ(Status::exists, backend::temp_name(directory, L"vt", name));
    forget();
    t_plans[0] = {"open", EACCES, 1};
    EXPECT_EQ(Status::denied, backend::temp_name(directory, L"vt", name));
    EXPECT_STREQ(L"as it was", name);
}

TEST_F(SystemCalls, Threads)
{
    alignas(void*) uint8_t lock[kLockBytes];
    t_plans[0] = {"pthread_rwlockattr_init", ENOMEM, 1};
    EXPECT_EQ(Status::no_memory, backend::lock_create(lock));
    t_plans[0] = {"pthread_create", EAGAIN, 1};
    EXPECT_EQ(Status::no_memory, backend::thread_start([](void*) -> uint32_t { return 0; }, nullptr));
    t_plans[0] = {"sysconf", EINVAL, 1};
    EXPECT_EQ(0u, backend::processor_count());
}

} // namespace
} // namespace vk

#endif
