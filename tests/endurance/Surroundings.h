// What the system says of this process: resident memory and open handles.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <psapi.h>
#else
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>
#endif

namespace vk::endurance {

#if defined(_WIN32)

inline uint64_t resident_bytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
}

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

inline uint64_t open_handles()
{
    const std::filesystem::directory_iterator handles("/proc/self/fd");
    return static_cast<uint64_t>(std::distance(begin(handles), end(handles)));
}

#endif

} // namespace vk::endurance
