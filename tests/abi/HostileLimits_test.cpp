// Operations under limits of the process, and with a disk or a temporary directory that is not what it should be.
#if !defined(_WIN32)

#include "tests/abi/Lives.h"
#include "tests/support/Environment.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>

namespace vk::testing {
namespace {

void set_limit(decltype(RLIMIT_AS) resource, rlim_t value)
{
    rlimit limit{};
    getrlimit(resource, &limit);
    limit.rlim_cur = std::min(value, limit.rlim_max);
    setrlimit(resource, &limit);
}

/// Bytes of address space that the process takes now.
rlim_t space_in_use()
{
    char text[64] = "";
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    const ssize_t length = read(file, text, sizeof text - 1);
    close(file);
    return length > 0 ? std::strtoull(text, nullptr, 10) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) : 0;
}

/// The stack grows under the limit of the address space as well.
void touch_stack()
{
    volatile char room[256 << 10];
    for (size_t at = 0; at < sizeof room; at += 4096)
        room[at] = 1;
}

/// All lives under values from nothing on; in some of them something failed, in the last one nothing.
template <class Enter>
void expect_lives_under(decltype(RLIMIT_AS) resource, std::initializer_list<rlim_t> values, const Enter& value_for)
{
    rlimit before{};
    ASSERT_EQ(0, getrlimit(resource, &before));
    Tally& all = tally();
    int failures = 0;
    for (const rlim_t value : values) {
        const Surroundings limited{[&] { set_limit(resource, value_for(value)); },
                                   [&] { set_limit(resource, before.rlim_cur); }};
        all.failures = 0;
        expect_lives(limited, say("limit", value).c_str());
        failures += all.failures;
        if (::testing::Test::HasFailure())
            return;
    }
    EXPECT_LT(5, failures) << "the limits were hardly felt";
    EXPECT_EQ(0, all.failures) << "under the widest limit";
}

TEST(Hostile, AddressSpace)
{
    if (VK_SANITIZED)
        GTEST_SKIP() << "the sanitizers take all of it";
    for (const int32_t workers : {1, 3}) {
        SCOPED_TRACE(workers);
        ASSERT_EQ(SUCCESS, V_SetWorkers(workers));
        expect_lives_under(RLIMIT_AS, {0, 64 << 10, 300 << 10, 1 << 20, 3 << 20, 1 << 30}, [](rlim_t room) {
            touch_stack();
            return space_in_use() + room;
        });
    }
    V_SetWorkers(1);
}

TEST(Hostile, FileSize)
{
    expect_lives_under(RLIMIT_FSIZE, {0, 4096, 70000, 200000, 1 << 30}, [](rlim_t size) { return size; });
}

TEST(Hostile, Descriptors)
{
    if (VK_SANITIZED)
        GTEST_SKIP() << "the sanitizers' look at an object's type takes a pipe";
    expect_lives_under(RLIMIT_NOFILE, {0, 1, 2, 100}, [](rlim_t more) {
        const int next = dup(0);
        close(next);
        return static_cast<rlim_t>(next) + more;
    });
}

TEST(Hostile, FullDisk)
{
    const ScratchDirectory scratch;
    Tally& all = tally();
    for (const size_t room : {size_t{64} << 10, size_t{400} << 10, size_t{64} << 20}) {
        const SmallDisk disk(scratch.path(), room);
        if (!disk.is_there())
            GTEST_SKIP() << "no right to make a small disk";
        all.failures = 0;
        const auto send_there = [&] { setenv("TMPDIR", scratch.path().c_str(), 1); };
        const std::string before = std::filesystem::temp_directory_path();
        expect_lives({send_there, [&] { setenv("TMPDIR", before.c_str(), 1); }}, say(room, "bytes of disk").c_str());
        EXPECT_EQ(room >> 20 == 0, all.failures > 0) << room;
        EXPECT_EQ(0u, scratch.files());
    }
}

// Files that are open have no name any more, so they stay; new ones cannot be made until there is a directory again.
TEST(Hostile, VanishingDirectory)
{
    const ScratchDirectory scratch;
    const auto place = scratch.path() / "gone";
    Tally& all = tally();
    for (const char* const left_behind : {"nothing", "a file"}) {
        SCOPED_TRACE(left_behind);
        all.failures = 0;
        const auto vanish = [&] {
            setenv("TMPDIR", place.c_str(), 1);
            std::filesystem::remove_all(place);
            if (*left_behind == 'a')
                std::ofstream(place) << "x";
        };
        const auto come_back = [&] {
            std::filesystem::remove_all(place);
            std::filesystem::create_directory(place);
        };
        come_back();
        expect_lives({vanish, come_back}, left_behind);
        EXPECT_LT(0, all.failures);
        EXPECT_EQ(0u, static_cast<size_t>(std::distance(std::filesystem::directory_iterator(place), {})));
    }
}

} // namespace
} // namespace vk::testing

#endif
