// A mutex in one word that is there before any code runs: the standard one has no constant initialisation on every
// system. 0 is free, 1 held, 2 held with threads that may be waiting.
#pragma once

#include <atomic>
#include <cstdint>

namespace vk {

class WordMutex {
public:
    constexpr WordMutex() noexcept = default;
    WordMutex(const WordMutex&) = delete;
    WordMutex& operator=(const WordMutex&) = delete;

    void lock() noexcept
    {
        uint32_t state = 0;
        if (word_.compare_exchange_strong(state, 1, std::memory_order_acquire))
            return;
        while (word_.exchange(2, std::memory_order_acquire) != 0)
            word_.wait(2, std::memory_order_relaxed);
    }

    void unlock() noexcept
    {
        if (word_.exchange(0, std::memory_order_release) == 2)
            word_.notify_one();
    }

private:
    std::atomic<uint32_t> word_{0};
};

} // namespace vk
