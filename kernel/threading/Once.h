// What is done once per process, by whichever thread comes first, while the others wait for it. Constant-initialised
// and without an end, so that it may be used at any time of the process.
#pragma once

#include "kernel/system/LibraryLock.h"

#include <atomic>
#include <mutex>

namespace vk {

class Once {
public:
    template <class Work> void run(Work&& work) noexcept
    {
        if (done_.load(std::memory_order_acquire))
            return;
        const std::lock_guard lock(lock_);
        if (!done_.load(std::memory_order_relaxed)) {
            work();
            done_.store(true, std::memory_order_release);
        }
    }

private:
    LibraryLock lock_;
    std::atomic<bool> done_{false};
};

} // namespace vk
