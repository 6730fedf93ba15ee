// Events, reader/writer locks, threads and the pool: the system's own. Its thread pool is used as it is.
//
// Locks are slim ones where the system has them, else critical sections, which readers enter like writers; lock_look_up
// decides once. A thread may be inside this library at any time from its first item on, and the system offers no way to
// wait for its pool while a library is being unloaded. So the first thread or item keeps the library loaded for good.
#include "platform/win32/Threads.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace vk::backend {

static_assert(sizeof(CRITICAL_SECTION) <= kLockBytes && sizeof(SRWLOCK) <= kLockBytes);
static_assert(sizeof(SRWLOCK) == sizeof(PlainMutex) && alignof(SRWLOCK) <= alignof(PlainMutex));

namespace {

using SlimCall = void(WINAPI*)(PSRWLOCK);

struct SlimLocks {
    SlimCall initialize = nullptr;
    SlimCall acquire_shared = nullptr;
    SlimCall release_shared = nullptr;
    SlimCall acquire_exclusive = nullptr;
    SlimCall release_exclusive = nullptr;
};

constinit SlimLocks g_slim;
constinit std::atomic<bool> g_kept{false};
using UnloadHook = void (*)();
constinit UnloadHook g_unload_hook = nullptr;

Status keep_loaded() noexcept
{
    if (g_kept.load(std::memory_order_acquire))
        return Status::ok;
    HMODULE self = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<LPCWSTR>(&g_kept), &self))
        return win32::last_status();
    g_kept.store(true, std::memory_order_release);
    return Status::ok;
}

thread_local constinit bool t_runs_item = false;
constinit std::atomic<int64_t> g_items{0}; ///< queued or running

/// An item on its way through the system's pool.
struct Item {
    ThreadRoutine routine;
    void* parameter;
};

DWORD WINAPI run_item(void* queued) noexcept
{
    const Item item = *static_cast<Item*>(queued);
    heap_free(queued);
    t_runs_item = true;
    const DWORD result = item.routine(item.parameter);
    t_runs_item = false;
    --g_items;
    return result;
}

PSRWLOCK slim(void* lock) noexcept
{
    return static_cast<PSRWLOCK>(lock);
}

LPCRITICAL_SECTION section(void* lock) noexcept
{
    return static_cast<LPCRITICAL_SECTION>(lock);
}

} // namespace

void win32::look_up_slim_locks(const wchar_t* module) noexcept
{
    HMODULE const library = LoadLibraryW(module); // stays loaded: its functions are called from now on
    const auto find = [library](const char* name) noexcept {
        return library == nullptr ? nullptr
                                  : reinterpret_cast<SlimCall>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    };
    g_slim = SlimLocks{find("InitializeSRWLock"), find("AcquireSRWLockShared"), find("ReleaseSRWLockShared"),
                       find("AcquireSRWLockExclusive"), find("ReleaseSRWLockExclusive")};
}

bool win32::has_slim_locks() noexcept
{
    return g_slim.initialize != nullptr;
}

void win32::on_unload() noexcept
{
    if (g_unload_hook != nullptr)
        g_unload_hook();
}

Status event_create(bool manual_reset, bool signalled, void** event) noexcept
{
    HANDLE const made = CreateEventW(nullptr, manual_reset, signalled, nullptr);
    if (made == nullptr)
        return win32::last_status();
    *event = made;
    return Status::ok;
}

Status event_duplicate(void* event, void** copy) noexcept
{
    HANDLE made = nullptr;
    HANDLE const process = GetCurrentProcess();
    if (!DuplicateHandle(process, event, process, &made, 0, FALSE, DUPLICATE_SAME_ACCESS))
        return win32::last_status();
    *copy = made;
    return Status::ok;
}

void event_close(void* event) noexcept
{
    if (event != nullptr)
        CloseHandle(event);
}

Waited event_wait(void* event, uint32_t milliseconds) noexcept
{
    switch (WaitForSingleObject(event, milliseconds)) {
    case WAIT_OBJECT_0:
        return Waited::signalled;
    case WAIT_TIMEOUT:
        return Waited::timed_out;
    default:
        return Waited::failed;
    }
}

void event_set(void* event) noexcept
{
    SetEvent(event);
}

void event_reset(void* event) noexcept
{
    ResetEvent(event);
}

Status lock_create(void* lock) noexcept
{
    if (win32::has_slim_locks())
        g_slim.initialize(slim(lock));
    else if (!InitializeCriticalSectionAndSpinCount(section(lock), 0))
        return win32::last_status();
    return Status::ok;
}

void lock_destroy(void* lock) noexcept
{
    if (!win32::has_slim_locks()) // a slim lock has nothing to delete
        DeleteCriticalSection(section(lock));
}

void lock_acquire(void* lock, bool shared) noexcept
{
    if (!win32::has_slim_locks())
        EnterCriticalSection(section(lock));
    else if (shared)
        g_slim.acquire_shared(slim(lock));
    else
        g_slim.acquire_exclusive(slim(lock));
}

void lock_release(void* lock, bool shared) noexcept
{
    if (!win32::has_slim_locks())
        LeaveCriticalSection(section(lock));
    else if (shared)
        g_slim.release_shared(slim(lock));
    else
        g_slim.release_exclusive(slim(lock));
}

void lock_look_up() noexcept
{
    win32::look_up_slim_locks(L"Kernel32.dll");
}

// The standard library's waiting for a word of memory loses wake-ups on this system; its slim locks do not.
void mutex_acquire(PlainMutex& mutex) noexcept
{
    AcquireSRWLockExclusive(reinterpret_cast<PSRWLOCK>(&mutex));
}

void mutex_release(PlainMutex& mutex) noexcept
{
    ReleaseSRWLockExclusive(reinterpret_cast<PSRWLOCK>(&mutex));
}

void guard_forks(ForkGuard&) noexcept {} // no process is ever a copy of another

uint32_t processor_count() noexcept
{
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors;
}

void sleep_for(uint32_t milliseconds) noexcept
{
    Sleep(milliseconds);
}

Status thread_start(ThreadRoutine routine, void* parameter) noexcept
{
    if (const Status status = keep_loaded(); status != Status::ok)
        return status;
    HANDLE const thread = CreateThread(nullptr, 0, routine, parameter, 0, nullptr);
    if (thread == nullptr)
        return win32::last_status();
    CloseHandle(thread);
    return Status::ok;
}

Status pool_queue(ThreadRoutine routine, void* parameter, bool long_running, ThreadDrop) noexcept
{
    if (const Status status = keep_loaded(); status != Status::ok)
        return status;
    void* const item = heap_alloc(sizeof(Item));
    if (item == nullptr)
        return Status::no_memory;
    const ULONG flags = long_running ? WT_EXECUTELONGFUNCTION : WT_EXECUTEDEFAULT;
    ++g_items;
    if (QueueUserWorkItem(&run_item, new (item) Item{routine, parameter}, flags))
        return Status::ok;
    const Status status = win32::last_status();
    --g_items;
    heap_free(item);
    return status;
}

/// The system's pool tells nobody when it is done.
void pool_rest() noexcept
{
    while (g_items != 0)
        Sleep(1);
}

bool on_pool_thread() noexcept
{
    return t_runs_item;
}

void set_unload_hook(void (*hook)()) noexcept
{
    g_unload_hook = hook;
}

} // namespace vk::backend

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID process_ends)
{
    // When the process ends, its other threads are gone already, with whatever locks they held: the system takes
    // everything back by itself then.
    if (reason == DLL_PROCESS_DETACH && process_ends == nullptr)
        vk::backend::win32::on_unload();
    return TRUE;
}
