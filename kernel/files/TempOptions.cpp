#include "kernel/files/TempOptions.h"

#include "kernel/system/LibraryLock.h"

#include <mutex>

namespace vk {

namespace {

constexpr uint32_t kModeNoFiles = 3;

class Options {
public:
    TEMPFILEOPTIONS get() noexcept
    {
        const std::lock_guard lock(mutex_);
        return options_;
    }

    uint32_t set_mode(uint32_t mode) noexcept
    {
        const std::lock_guard lock(mutex_);
        const uint32_t before = options_.Mode;
        options_.Mode = mode;
        return before;
    }

private:
    LibraryLock mutex_;
    TEMPFILEOPTIONS options_{sizeof(TEMPFILEOPTIONS), 1, 0, 128, 8, 16};
};

Options g_options;

} // namespace

TEMPFILEOPTIONS temp_file_options() noexcept
{
    return g_options.get();
}

bool temp_files_forbidden() noexcept
{
    return g_options.get().Mode == kModeNoFiles;
}

uint32_t set_temp_file_mode(uint32_t mode) noexcept
{
    return g_options.set_mode(mode);
}

} // namespace vk
