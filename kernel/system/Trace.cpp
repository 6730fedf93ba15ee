#include "kernel/system/Trace.h"

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

void report(const char* function, const char* format, int count) noexcept
{
    const Sink sink = g_sink.load();
    if (!sink)
        return;
    char text[64];
    std::snprintf(text, sizeof text, format, count);
    sink(function, text);
}

} // namespace

std::atomic<Sink> g_sink{sink_from_environment()};

Sink set_sink(Sink sink) noexcept
{
    return g_sink.exchange(sink);
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
