// What is done once per process, by whichever thread comes first, while the others wait for it in steps of a
// millisecond. Constant-initialised and without an end, so that it may be used at any time of the process.
#pragma once

#include "platform/platform.h"

#include <atomic>

namespace vk {

class Once {
public:
    template <class Work> void run(Work&& work) noexcept
    {
        while (!done_.load(std::memory_order_acquire)) {
            const bool alone = entries_.fetch_add(1, std::memory_order_acquire) == 0;
            if (alone && !done_.load(std::memory_order_acquire)) {
                work();
                done_.store(true, std::memory_order_release);
            }
            entries_.fetch_sub(1, std::memory_order_release);
            if (!alone)
                platform::sleep_for(1);
        }
    }

private:
    std::atomic<uint32_t> entries_{0};
    std::atomic<bool> done_{false};
};

} // namespace vk
