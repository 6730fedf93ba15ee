#include "kernel/system/HandleLimit.h"

#include "platform/platform.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace vk {

namespace {

std::atomic<int> g_inside{0};

/// One test at a time. A thread that finds another inside steps back and tries again a millisecond later.
class Turn {
public:
    Turn() noexcept
    {
        while (g_inside.fetch_add(1) != 0) {
            g_inside.fetch_sub(1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ~Turn() { g_inside.fetch_sub(1); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

} // namespace

bool near_handle_limit() noexcept
{
    const Turn turn;
    uint32_t open = 0;
    uint32_t limit = 0;
    if (platform::handle_count(&open, &limit) != Status::ok)
        return true;
    return uint64_t{open} * 10 >= uint64_t{limit} * 9;
}

} // namespace vk
