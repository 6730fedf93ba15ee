// Memory figures below the limits of control groups and of the address space, from made-up system files.
#if !defined(_WIN32)

#include "platform/posix/Limits.h"
#include "tests/support/Environment.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <fstream>
#include <map>
#include <string>
#include <sys/resource.h>

namespace vk {
namespace {

namespace posix = backend::posix;
using Files = std::map<std::string, std::string>;

/// Figures as they would be on a machine with these files and 1000 of memory, 600 of it free, and 500 and 400 of swap.
MemoryStatus figures(const Files& files)
{
    const testing::ScratchDirectory root;
    for (const auto& [name, text] : files) {
        const auto file = root.path() / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    MemoryStatus status{1000, 600, 500, 400};
    posix::apply_group_limits(root.path().c_str(), status);
    return status;
}

auto all_of(const MemoryStatus& status)
{
    return std::array{status.total_physical, status.available_physical, status.total_page_file,
                      status.available_page_file};
}

constexpr char kMounts[] = "proc/self/mountinfo";
constexpr char kGroups[] = "proc/self/cgroup";
constexpr char kTwo[] = "31 23 0:28 / /cg rw,relatime shared:4 - cgroup2 cgroup2 rw,nsdelegate\n";
constexpr char kPart[] = "31 23 0:28 /outer /cg rw - cgroup2 cgroup2 rw\n";
constexpr char kOne[] = "30 23 0:27 / /cpu rw - cgroup cgroup rw,cpu\n31 23 0:28 / /cg rw - cgroup cgroup rw,memory\n";

TEST(Limits, AreTheLeastOfAllGroupsAbove)
{
    const struct {
        const char* what;
        Files files;
        MemoryStatus expected;
    } kCases[] = {
        {"no files", {}, {1000, 600, 500, 400}},
        {"no such tree",
         {{kMounts, "1 2 0:3 / /x rw - tmpfs tmpfs rw\n"}, {kGroups, "0::/a\n"}},
         {1000, 600, 500, 400}},
        {"version 2, two groups, the outer one narrower",
         {{kMounts, kTwo},
          {kGroups, "0::/outer/inner\n"},
          {"cg/outer/inner/memory.max", "900\n"},
          {"cg/outer/inner/memory.current", "100\n"},
          {"cg/outer/memory.max", "300\n"},
          {"cg/outer/memory.current", "150\n"},
          {"cg/outer/memory.stat", "anon 90\ninactive_file 30\nactive_file 30\n"},
          {"cg/outer/memory.swap.max", "50\n"},
          {"cg/outer/memory.swap.current", "20\n"},
          {"memory.max", "1\n"}}, // not of the tree
         {300, 180, 50, 30}},
        {"version 2 without limits",
         {{kMounts, kTwo}, {kGroups, "0::/a\n"}, {"cg/a/memory.max", "max\n"}, {"cg/a/memory.current", "5\n"}},
         {1000, 600, 500, 400}},
        {"version 2, part of the tree",
         {{kMounts, kPart}, {kGroups, "0::/outer/a\n"}, {"cg/a/memory.max", "400\n"}, {"cg/a/memory.current", "500\n"}},
         {400, 0, 500, 400}},
        {"version 2, a group outside of the part",
         {{kMounts, kPart}, {kGroups, "0::/../b\n"}, {"cg/memory.max", "700\n"}, {"cg/memory.current", "0\n"}},
         {700, 600, 500, 400}},
        {"version 1",
         {{kMounts, kOne},
          {kGroups, "5:cpu:/no\n4:cpuset,memory:/g/h\n0::/\n"},
          {"cg/g/h/memory.limit_in_bytes", "9223372036854771712\n"},
          {"cg/g/h/memory.usage_in_bytes", "200\n"},
          {"cg/g/memory.limit_in_bytes", "500\n"},
          {"cg/g/memory.usage_in_bytes", "250\n"},
          {"cg/g/memory.stat", "inactive_file 1\ntotal_inactive_file 50\n"},
          {"cg/g/memory.memsw.limit_in_bytes", "600\n"},
          {"cg/g/memory.memsw.usage_in_bytes", "280\n"}},
         {500, 300, 100, 70}},
        {"both, version 1 in charge",
         {{kMounts, std::string(kOne) + "32 23 0:29 / /two rw - cgroup2 cgroup2 rw\n"},
          {kGroups, "4:memory:/g\n0::/\n"},
          {"cg/g/memory.limit_in_bytes", "100\n"},
          {"cg/g/memory.usage_in_bytes", "40\n"}},
         {100, 60, 500, 400}},
    };
    for (const auto& test : kCases)
        EXPECT_EQ(all_of(test.expected), all_of(figures(test.files))) << test.what;
}

TEST(Limits, AddressSpaceHoldsMemoryAndSwap)
{
    const struct {
        uint64_t limit, used;
        MemoryStatus expected;
    } kCases[] = {{5000, 100, {1000, 600, 500, 400}},
                  {1200, 100, {1000, 600, 200, 400}},
                  {800, 300, {800, 500, 0, 0}},
                  {800, 900, {800, 0, 0, 0}}};
    for (const auto& test : kCases) {
        MemoryStatus status{1000, 600, 500, 400};
        posix::apply_space_limit(test.limit, test.used, status);
        EXPECT_EQ(all_of(test.expected), all_of(status)) << test.limit;
    }
}

// The process's own limit counts within a tenth of a second.
TEST(Limits, AreThoseOfTheProcess)
{
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_AS, &before));
    const rlimit lowered{rlim_t{1} << 45, before.rlim_max}; // sanitizers want room
    ASSERT_EQ(0, setrlimit(RLIMIT_AS, &lowered));
    MemoryStatus status;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    do
        ASSERT_EQ(Status::ok, backend::memory_status(&status));
    while (status.total_physical + status.total_page_file > lowered.rlim_cur && std::chrono::steady_clock::now() < end);
    setrlimit(RLIMIT_AS, &before);
    EXPECT_GE(lowered.rlim_cur, status.total_physical + status.total_page_file);
    EXPECT_GE(status.total_physical, status.available_physical);
    EXPECT_LT(0u, status.available_physical);
}

} // namespace
} // namespace vk

#endif
