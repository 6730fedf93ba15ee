// What the system and the C library say of this process: resident memory, the blocks of the heap, open handles.
//
// glibc keeps freed blocks for each thread, some 200 KiB that it counts as held, and at the end of each thread's arena
// up to twice the size of the largest mapped block that was freed, which malloc_trim leaves there. How much of that has
// come together is a matter of chance. A process without the caches, and with one arena, tells what is really held.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <psapi.h>
#else
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#endif

namespace vk::endurance {

#if defined(_WIN32)

inline uint64_t resident_bytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
}

/// Bytes of the heap that somebody holds; 0 where the C library does not tell.
inline uint64_t heap_bytes()
{
    return 0;
}

inline void trim_heap()
{
    HeapCompact(GetProcessHeap(), 0);
}

inline void start_again_with_bare_heap(char**) {}

inline uint64_t open_handles()
{
    DWORD count = 0;
    return GetProcessHandleCount(GetCurrentProcess(), &count) ? count : 0;
}

#else

inline uint64_t resident_bytes()
{
    uint64_t all = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

#if defined(__GLIBC__)
inline uint64_t heap_bytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

inline void trim_heap()
{
    malloc_trim(0);
}

constexpr const char* kTunables = "GLIBC_TUNABLES";

/// Returns when it is so already, or cannot be.
inline void start_again_with_bare_heap(char** words)
{
    if (std::getenv(kTunables) == nullptr &&
        setenv(kTunables, "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1", 1) == 0)
        execv("/proc/self/exe", words);
}
#else
inline uint64_t heap_bytes()
{
    return 0;
}

inline void trim_heap() {}
inline void start_again_with_bare_heap(char**) {}
#endif

inline uint64_t open_handles()
{
    const std::filesystem::directory_iterator handles("/proc/self/fd");
    return static_cast<uint64_t>(std::distance(begin(handles), end(handles)));
}

#endif

} // namespace vk::endurance
