// The diagnostic trace: reports misuse of locks, off by default. The environment variable VKKRNX_TRACE (any value but
// 0) sends it to the standard error stream; tests catch it with a sink of their own.
#pragma once

#include <atomic>

namespace vk::trace {

using Sink = void (*)(const char* function, const char* text);

/// The sink in force, null while the trace is off. Set from the environment when the library is loaded.
extern std::atomic<Sink> g_sink;

/// Replaces the sink; null turns the trace off. Returns the one before.
Sink set_sink(Sink sink) noexcept;

inline bool enabled() noexcept
{
    return g_sink.load(std::memory_order_relaxed) != nullptr;
}

/// Reports a lock count with the name of the function that met it.
void lock_count(const char* function, int count) noexcept;
/// The same from a row function, whose report ends its line the other way.
void row_lock_count(const char* function, int count) noexcept;

} // namespace vk::trace
