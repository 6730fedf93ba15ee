// What processors can be told without any effect but on time. Not the compiler's own forms: it takes functions that
// only fetch for ones that do nothing, and drops them.
#pragma once

#include <cstdint>

namespace vk::simd {

/// Fetches memory that will be read; any address may be given.
inline void fetch(uintptr_t at) noexcept
{
#if defined(__x86_64__)
    __asm__ volatile("prefetcht0 (%0)" : : "r"(at));
#elif defined(__aarch64__)
    __asm__ volatile("prfm pldl1keep, [%0]" : : "r"(at));
#else
    __builtin_prefetch(reinterpret_cast<const void*>(at));
#endif
}

/// The same of memory that will be written.
inline void fetch_to_write(uintptr_t at) noexcept
{
#if defined(__x86_64__)
    __asm__ volatile("prefetchw (%0)" : : "r"(at));
#elif defined(__aarch64__)
    __asm__ volatile("prfm pstl1keep, [%0]" : : "r"(at));
#else
    __builtin_prefetch(reinterpret_cast<const void*>(at), 1);
#endif
}

/// Leaves the core to what else runs on it for a moment, between two looks at something that is about to change.
inline void breathe() noexcept
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ volatile("isb"); // "yield" does nothing where a core has one thread
#endif
}

} // namespace vk::simd
