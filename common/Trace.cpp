#include "common/Trace.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace vk::trace {

namespace {

void to_standard_error(const char* function, const char* text)
{
    std::fprintf(stderr, "%s: %s", function, text);
}

Sink sink_from_environment() noexcept
{
    const char* const value = std::getenv("VKKRNX_TRACE");
    return value && value[0] != '\0' && value[0] != '0' ? to_standard_error : nullptr;
}

std::atomic<Sink>& current_sink() noexcept
{
    static std::atomic<Sink> sink{sink_from_environment()};
    return sink;
}

void report(const char* function, const char* format, int count) noexcept
{
    const Sink sink = current_sink().load();
    if (!sink)
        return;
    char text[64];
    std::snprintf(text, sizeof text, format, count);
    sink(function, text);
}

} // namespace

Sink set_sink(Sink sink) noexcept
{
    return current_sink().exchange(sink);
}

bool enabled() noexcept
{
    return current_sink().load(std::memory_order_relaxed) != nullptr;
}

void lock_count(const char* function, int count) noexcept
{
    report(function, "pBitmap->nLockCount = %d\n", count);
}

void row_lock_count(const char* function, int count) noexcept
{
    report(function, "pBitmap->nLockCount = %d\r\n", count);
}

} // namespace vk::trace
