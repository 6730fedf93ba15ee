// The clean-up registry of Cleanup.h: a list of entries, newest first, under a lock that is never held while one runs.
#include "kernel/system/Cleanup.h"

#include "kernel/system/LibraryLock.h"
#include "platform/platform.h"

#include <mutex>

namespace vk {

namespace {

constinit LibraryLock g_lock;
constinit Cleanup* g_newest = nullptr;

Cleanup* take_newest() noexcept
{
    const std::lock_guard lock(g_lock);
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
    const std::lock_guard lock(g_lock);
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
