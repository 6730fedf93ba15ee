// The table of fused paths and the choice among them.
#include "common/pixel/Fused.h"

#include <atomic>

namespace vk::pixel {
namespace {

std::atomic<FusedLimit> g_limit{FusedLimit::avx512};

} // namespace

const FusedPath* find_fused(const Plan&) noexcept
{
    return nullptr;
}

void limit_fused(FusedLimit limit) noexcept
{
    g_limit.store(limit, std::memory_order_relaxed);
}

} // namespace vk::pixel
