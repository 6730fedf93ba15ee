// Waiting for another thread that is at work and will soon be done: first by looking again, then by letting others run,
// at last by sleeping.
#pragma once

#include "platform/platform.h"

#include <cstdint>
#include <thread>

namespace vk {

class Pause {
public:
    /// Called between two looks.
    void wait() noexcept
    {
        constexpr uint32_t kLooks = 200;
        constexpr uint32_t kYields = 400;
        ++waits_;
        if (waits_ < kLooks)
            breathe();
        else if (waits_ < kLooks + kYields)
            std::this_thread::yield();
        else
            platform::sleep_for(1);
    }

private:
    /// Leaves the core to what else runs on it for a moment.
    static void breathe() noexcept
    {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#elif defined(__aarch64__)
        asm volatile("isb"); // "yield" does nothing where a core has one thread
#endif
    }

    uint32_t waits_ = 0;
};

} // namespace vk
