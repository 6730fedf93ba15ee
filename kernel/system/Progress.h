// Progress of an operation through the calling thread's status callback: 0 first, then each percentage once.
#pragma once

#include "Vkrecord.h"
#include "kernel/system/ThreadState.h"

#include <cstdint>

namespace vk {

/// The part of an operation's hundred that one of its passes has. Passes behind the first do not report where they
/// start, since the one before has reported its end.
struct ProgressShare {
    int start = 0;
    int end = 100;
    bool continues = false;

    /// Of several equal passes within this one the one with a number.
    constexpr ProgressShare pass(int64_t index, int64_t count) const noexcept
    {
        const int64_t span = int64_t{end} - start;
        return {static_cast<int>(start + span * index / count), static_cast<int>(start + span * (index + 1) / count),
                continues || index != 0};
    }
};

class Progress {
public:
    /// An operation of `total` steps that reports percentages from `start` to `end`, which may be any numbers.
    explicit Progress(int64_t total, int start = 0, int end = 100) noexcept
        : Progress(total, ProgressShare{start, end, false})
    {}

    /// A pass of an operation.
    Progress(int64_t total, const ProgressShare& share) noexcept
        : callback_(thread_state().status_callback), user_data_(thread_state().status_user_data), start_(share.start),
          span_(int64_t{share.end} - share.start), total_(total), continues_(share.continues)
    {
        for (; total_ > INT32_MAX; total_ >>= 1) // times the span it still fits 64 bits
            ++shift_;
    }

    /// Reports the start. SUCCESS, or the callback's refusal, which becomes the operation's result.
    int begin() noexcept
    {
        if (!continues_)
            return report(start_);
        last_ = start_;
        return V_SUCCESS;
    }

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
    bool continues_;
};

} // namespace vk
