// Asking for memory before it is needed, in loops that write past the caches.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::simd {

/// How far ahead of their loads the streaming kernels ask for the source, in bytes: beyond the page that the processor
/// looks ahead in by itself.
constexpr size_t kFetchAhead = 8192;

/// Asks for the source of a streaming kernel's later step, `Bytes` of them per step. Nothing is read, so the address
/// may lie behind the source.
template <bool Stream, size_t Bytes> inline void fetch_ahead(const uint8_t* src) noexcept
{
    if constexpr (Stream) {
        for (size_t offset = 0; offset < Bytes; offset += 64) {
            __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(src) + kFetchAhead + offset));
        }
    }
}

/// Asks for memory that is needed soon by a loop whose work leaves memory idle: the processor's own fetching ends with
/// each page, which rows often are. Nothing is read, so the address may lie behind the memory.
inline void fetch_soon(const uint8_t* at) noexcept
{
    constexpr uintptr_t kAhead = 2048;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
}

} // namespace vk::simd
