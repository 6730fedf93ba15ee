// Waiting for another thread that is at work and will soon be done: first by looking again, then by letting others run,
// at last by sleeping.
#pragma once

#include "platform/platform.h"
#include "simd/Hints.h"

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
            simd::breathe();
        else if (waits_ < kLooks + kYields)
            std::this_thread::yield();
        else
            platform::sleep_for(1);
    }

private:
    uint32_t waits_ = 0;
};

} // namespace vk
