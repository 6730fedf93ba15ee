// Progress of an operation through the calling thread's status callback: 0 first, then each percentage once.
#pragma once

#include "Vkrecord.h"
#include "Vksystem.h"
#include "kernel/system/ThreadState.h"

#include <cstdint>

namespace vk {

class Progress {
public:
    /// An operation of `total` steps that reports percentages from `start` to `end`, which may be any numbers.
    explicit Progress(int64_t total, int start = 0, int end = 100) noexcept
        : callback_(thread_state().status_callback), user_data_(thread_state().status_user_data), start_(start),
          span_(int64_t{end} - start), total_(total)
    {
        for (; total_ > INT32_MAX; total_ >>= 1) // times the span it still fits 64 bits
            ++shift_;
    }

    /// Reports the start. SUCCESS, or the callback's refusal, which becomes the operation's result.
    int begin() noexcept { return report(start_); }

    /// Reports that `done` steps are done, when that is a new percentage.
    int update(int64_t done) noexcept
    {
        if (!callback_ || total_ <= 0)
            return V_SUCCESS;
        const auto percent = static_cast<int>(start_ + (done >> shift_) * span_ / total_);
        return percent == last_ ? V_SUCCESS : report(percent);
    }

private:
    int report(int percent) noexcept
    {
        last_ = percent;
        return callback_ ? callback_(percent, user_data_) : V_SUCCESS;
    }

    V_STATUSCALLBACK callback_;
    void* user_data_;
    int start_;
    int64_t span_;
    int64_t total_;
    int shift_ = 0;
    int64_t last_ = INT64_MIN; ///< nothing yet
};

} // namespace vk
