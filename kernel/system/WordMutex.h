// A mutex that is there before any code runs: the standard one has no constant initialisation on every system.
#pragma once

#include "platform/platform.h"

namespace vk {

class WordMutex {
public:
    constexpr WordMutex() noexcept = default;
    WordMutex(const WordMutex&) = delete;
    WordMutex& operator=(const WordMutex&) = delete;

    void lock() noexcept { platform::mutex_acquire(mutex_); }
    void unlock() noexcept { platform::mutex_release(mutex_); }

private:
    PlainMutex mutex_;
};

} // namespace vk
