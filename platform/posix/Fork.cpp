// What a fork of the process goes through: the guards that guard_forks was given, entered before it and left after it
// on both sides, so that the copy begins with every lock free and what it protects whole.
//
// The registry's own lock is held meanwhile, so a lock that comes into being during a fork waits for its end.
#include "platform/posix/Posix.h"

#include <pthread.h>

namespace vk::backend {

namespace {

pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit ForkGuard* g_newest = nullptr;
constinit bool g_installed = false;

void before_fork() noexcept
{
    pthread_mutex_lock(&g_mutex);
    for (ForkGuard* guard = g_newest; guard != nullptr; guard = guard->next)
        guard->enter(*guard);
}

void after_fork(bool is_child) noexcept
{
    for (ForkGuard* guard = g_newest; guard != nullptr; guard = guard->next)
        guard->leave(*guard, is_child);
    pthread_mutex_unlock(&g_mutex);
}

void after_fork_in_parent() noexcept
{
    after_fork(false);
}

void after_fork_in_child() noexcept
{
    after_fork(true);
}

/// Early, so that handlers which the program installs later find the library's locks free. Without memory for that it
/// is tried again with each new guard.
[[gnu::constructor]] void install() noexcept
{
    g_installed = pthread_atfork(&before_fork, &after_fork_in_parent, &after_fork_in_child) == 0;
}

} // namespace

void guard_forks(ForkGuard& guard) noexcept
{
    pthread_mutex_lock(&g_mutex);
    if (!g_installed)
        install();
    if (g_installed && !guard.known.load(std::memory_order_relaxed)) {
        guard.next = g_newest;
        g_newest = &guard;
        guard.known.store(true, std::memory_order_release);
    }
    pthread_mutex_unlock(&g_mutex);
}

} // namespace vk::backend
