// The clean-up registry of Cleanup.h: a list of entries, newest first, under a spin lock that is never held while one
// runs.
#include "kernel/system/Cleanup.h"

#include "platform/platform.h"

#include <atomic>

namespace vk {

namespace {

constinit std::atomic_flag g_busy = ATOMIC_FLAG_INIT;
constinit Cleanup* g_newest = nullptr;

class RegistryLock {
public:
    RegistryLock() noexcept
    {
        while (g_busy.test_and_set(std::memory_order_acquire))
            platform::sleep_for(1);
    }
    ~RegistryLock() { g_busy.clear(std::memory_order_release); }
    RegistryLock(const RegistryLock&) = delete;
    RegistryLock& operator=(const RegistryLock&) = delete;
};

Cleanup* take_newest() noexcept
{
    const RegistryLock lock;
    Cleanup* const entry = g_newest;
    if (entry != nullptr) {
        g_newest = entry->next;
        entry->registered = false;
    }
    return entry;
}

} // namespace

void register_cleanup(Cleanup& entry) noexcept
{
    const RegistryLock lock;
    if (entry.registered)
        return;
    entry.registered = true;
    entry.next = g_newest;
    g_newest = &entry;
    platform::set_unload_hook(&run_cleanups);
}

void run_cleanups() noexcept
{
    while (Cleanup* const entry = take_newest())
        entry->run();
}

} // namespace vk
