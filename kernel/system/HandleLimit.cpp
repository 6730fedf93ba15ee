#include "kernel/system/HandleLimit.h"

#include "kernel/system/LibraryLock.h"
#include "platform/platform.h"

#include <cstdint>
#include <mutex>

namespace vk {

namespace {

constinit LibraryLock g_lock; ///< one test at a time

} // namespace

bool near_handle_limit() noexcept
{
    const std::lock_guard lock(g_lock);
    uint32_t open = 0;
    uint32_t limit = 0;
    if (platform::handle_count(&open, &limit) != Status::ok)
        return true;
    return uint64_t{open} * 10 >= uint64_t{limit} * 9;
}

} // namespace vk
