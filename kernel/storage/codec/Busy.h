// A lock for the length of a scope, on a flag that needs no making and no freeing.
#pragma once

#include <atomic>

namespace vk {

class Busy {
public:
    explicit Busy(std::atomic_flag& flag) noexcept : flag_(flag)
    {
        while (flag_.test_and_set(std::memory_order_acquire))
            flag_.wait(true, std::memory_order_relaxed);
    }
    ~Busy()
    {
        flag_.clear(std::memory_order_release);
        flag_.notify_one();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    std::atomic_flag& flag_;
};

} // namespace vk
