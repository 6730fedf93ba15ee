// Takes the calling thread's status callback away for a while, so that what an operation is made of reports nothing.
#pragma once

#include "Vksystem.h"
#include "kernel/system/ThreadState.h"

namespace vk {

class SilentStatus {
public:
    SilentStatus() noexcept : callback_(thread_state().status_callback), user_data_(thread_state().status_user_data)
    {
        set(nullptr, nullptr);
    }
    SilentStatus(const SilentStatus&) = delete;
    SilentStatus& operator=(const SilentStatus&) = delete;
    ~SilentStatus() { set(callback_, user_data_); }

private:
    void set(V_STATUSCALLBACK callback, void* user_data) const noexcept
    {
        if (!callback_) // nothing to take; a thread without settings of its own needs none for this
            return;
        ThreadState& state = thread_state_for_set();
        state.status_callback = callback;
        state.status_user_data = user_data;
    }

    V_STATUSCALLBACK callback_;
    void* user_data_;
};

} // namespace vk
