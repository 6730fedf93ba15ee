#include "kernel/combine/Level.h"

#include <algorithm>
#include <atomic>

namespace vk::combine {

namespace {

std::atomic<pixel::Cpu> g_limit{pixel::Cpu::avx512};

} // namespace

pixel::Cpu level() noexcept
{
    return std::min(pixel::cpu_level(), g_limit.load(std::memory_order_relaxed));
}

pixel::Cpu limit_level(pixel::Cpu limit) noexcept
{
    g_limit.store(limit, std::memory_order_relaxed);
    return level();
}

} // namespace vk::combine
