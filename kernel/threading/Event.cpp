// VKWaitEvent: a handle of the platform's event. Copies have handles of their own for the same event, so that every
// object closes what it has, once.
#include "Vkrecord.h"
#include "Vkthreading.h"

#include "platform/platform.h"

#include <utility>

using namespace vk;

static_assert(VKTIMEOUT_INFINITE == kForever);

namespace {

void* duplicate(void* event) noexcept
{
    void* copy = nullptr;
    if (event != nullptr && platform::event_duplicate(event, &copy) != Status::ok)
        copy = nullptr;
    return copy;
}

} // namespace

VKWaitEvent::VKWaitEvent() noexcept : event_(nullptr) {}

VKWaitEvent::VKWaitEvent(const VKWaitEvent& other) noexcept : event_(duplicate(other.event_)) {}

VKWaitEvent& VKWaitEvent::operator=(const VKWaitEvent& other) noexcept
{
    if (this != &other) {
        Destroy();
        event_ = duplicate(other.event_);
    }
    return *this;
}

VKWaitEvent::~VKWaitEvent()
{
    Destroy();
}

int VKWaitEvent::Create(int manualReset, int initialState) noexcept
{
    Destroy();
    return platform::event_create(manualReset != 0, initialState != 0, &event_) == Status::ok ? 1 : -1;
}

void VKWaitEvent::Destroy() noexcept
{
    platform::event_close(std::exchange(event_, nullptr));
}

int VKWaitEvent::IsCreated() const noexcept
{
    return event_ != nullptr ? 1 : 0;
}

int VKWaitEvent::WaitOne(uint32_t milliseconds) noexcept
{
    if (event_ == nullptr)
        return 1;
    switch (platform::event_wait(event_, milliseconds)) {
    case Waited::signalled:
        return 1;
    case Waited::timed_out:
        return VKRESULT_TIMEOUT;
    default:
        return 0;
    }
}

void VKWaitEvent::Set() noexcept
{
    if (event_ != nullptr)
        platform::event_set(event_);
}

void VKWaitEvent::Reset() noexcept
{
    if (event_ != nullptr)
        platform::event_reset(event_);
}
