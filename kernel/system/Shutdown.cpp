// Callers' functions stand in a list, newest first, each with a number; what is registered while they run has a higher
// one and waits for the next time. The lock is never held while one runs.
#include "kernel/system/Shutdown.h"

#include "kernel/system/Cleanup.h"
#include "kernel/system/LibraryLock.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>

namespace vk {

namespace {

struct Entry {
    CleanupFunction function;
    void* data;
    uint64_t number;
    Entry* next;
};

constinit LibraryLock g_lock;
constinit Entry* g_newest = nullptr;
constinit uint64_t g_last_number = 0;
constinit std::atomic<bool> g_is_shutting{false};

/// What points to a pair's entry; to null when there is none. The lock is held.
Entry** find(CleanupFunction function, void* data) noexcept
{
    Entry** link = &g_newest;
    while (*link && ((*link)->function != function || (*link)->data != data))
        link = &(*link)->next;
    return link;
}

uint64_t last_number() noexcept
{
    const std::lock_guard lock(g_lock);
    return g_last_number;
}

/// Takes out the newest entry of those up to a number.
Entry* take_newest(uint64_t last) noexcept
{
    const std::lock_guard lock(g_lock);
    Entry** link = &g_newest;
    while (*link && (*link)->number > last)
        link = &(*link)->next;
    Entry* const entry = *link;
    if (entry)
        *link = entry->next;
    return entry;
}

void run_user_cleanups() noexcept
{
    const uint64_t last = last_number();
    while (Entry* const entry = take_newest(last)) {
        const Entry copy = *entry;
        platform::heap_free(entry);
        copy.function(copy.data);
    }
}

/// Shutting down has called them before.
void run_at_unload() noexcept
{
    if (!g_is_shutting)
        run_user_cleanups();
}

constinit Cleanup g_at_unload{&run_at_unload};

} // namespace

bool register_user_cleanup(CleanupFunction function, void* data) noexcept
{
    void* spare = platform::heap_alloc(sizeof(Entry));
    if (!spare)
        return false;
    {
        const std::lock_guard lock(g_lock);
        if (!*find(function, data)) {
            g_newest = new (spare) Entry{function, data, ++g_last_number, g_newest};
            spare = nullptr;
        }
    }
    platform::heap_free(spare);
    register_cleanup(g_at_unload);
    return true;
}

bool unregister_user_cleanup(CleanupFunction function, void* data) noexcept
{
    Entry* entry = nullptr;
    {
        const std::lock_guard lock(g_lock);
        Entry** const link = find(function, data);
        entry = *link;
        if (entry)
            *link = entry->next;
    }
    platform::heap_free(entry);
    return entry != nullptr;
}

bool shut_down() noexcept
{
    if (platform::on_pool_thread() || g_is_shutting.exchange(true))
        return false;
    platform::pool_rest();
    run_user_cleanups();
    run_cleanups();
    register_cleanup(g_at_unload); // for what was registered meanwhile
    g_is_shutting = false;
    return true;
}

} // namespace vk
