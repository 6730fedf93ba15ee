#include "tests/support/Environment.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <psapi.h>
#else
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace vk::testing {

namespace fs = std::filesystem;

namespace {

void send_temp_files_to(const fs::path& directory)
{
#if defined(_WIN32)
    SetEnvironmentVariableW(L"TMP", directory.c_str());
#else
    setenv("TMPDIR", directory.c_str(), 1);
#endif
}

/// Where a whole test program's temporary files go, so that what failing calls leave behind goes with them.
class OwnTempDirectory : public ::testing::Environment {
    void SetUp() override
    {
        directory_ = std::make_unique<ScratchDirectory>();
        there_ = std::make_unique<TempFilesIn>(directory_->path());
    }
    void TearDown() override
    {
        there_.reset();
        directory_.reset();
    }
    std::unique_ptr<ScratchDirectory> directory_;
    std::unique_ptr<TempFilesIn> there_;
};

const ::testing::Environment* const g_own_temp_directory =
    ::testing::AddGlobalTestEnvironment(new OwnTempDirectory); // which it deletes

size_t files_in(const fs::path& directory)
{
    std::error_code none;
    const fs::directory_iterator first(directory, none);
    return none ? 0 : static_cast<size_t>(std::distance(fs::begin(first), fs::end(first)));
}

} // namespace

size_t temporary_files()
{
    std::error_code none;
    return files_in(fs::temp_directory_path(none));
}

void remove_temporary_files()
{
    for (const auto& left : fs::directory_iterator(fs::temp_directory_path()))
        fs::remove(left);
}

ScratchDirectory::ScratchDirectory()
{
    static std::atomic<unsigned> counter{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    path_ = fs::temp_directory_path() / ("vk_test_" + std::to_string(now) + "_" + std::to_string(counter++));
    fs::create_directory(path_);
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

size_t ScratchDirectory::files() const
{
    return files_in(path_);
}

TempFilesIn::TempFilesIn(const fs::path& directory) : before_(fs::temp_directory_path())
{
    send_temp_files_to(directory);
}

TempFilesIn::~TempFilesIn()
{
    send_temp_files_to(before_);
}

#if defined(_WIN32)

FileSizeLimit::FileSizeLimit(uint64_t) {}
FileSizeLimit::~FileSizeLimit() = default;
SmallDisk::SmallDisk(const fs::path&, size_t) {}
SmallDisk::~SmallDisk() = default;

uint64_t resident_bytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.WorkingSetSize;
}

#else

FileSizeLimit::FileSizeLimit(uint64_t bytes)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0)
        return;
    before_ = limit.rlim_cur;
    limit.rlim_cur = bytes;
    holds_ = setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

FileSizeLimit::~FileSizeLimit()
{
    rlimit limit{};
    if (holds_ && getrlimit(RLIMIT_FSIZE, &limit) == 0) {
        limit.rlim_cur = before_;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
}

SmallDisk::SmallDisk(const fs::path& at, size_t bytes) : at_(at)
{
    const std::string options = "size=" + std::to_string(bytes);
    is_there_ = mount("none", at.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

SmallDisk::~SmallDisk()
{
    if (is_there_)
        umount(at_.c_str());
}

uint64_t resident_bytes()
{
    uint64_t whole = 0;
    uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

#endif

} // namespace vk::testing
