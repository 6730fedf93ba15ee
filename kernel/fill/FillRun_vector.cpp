// One colour written by whole cache lines.
#include "kernel/fill/FillRun.h"
#include "simd/Lines.h"
#include "simd/Simd.h"

namespace vk::fill::VK_SIMD_SET {

namespace {

void stream_pattern(uint8_t* to, const uint8_t* pattern, size_t lines) noexcept
{
    simd::stream_pattern(to, pattern, lines);
}

} // namespace

const FillLoops fill_loops = {stream_pattern};

} // namespace vk::fill::VK_SIMD_SET
