// The planned part of nearest rows with byte permutations: 64 bytes to write are picked from one to four neighbouring
// loads. Loads at the end of the source row, and the last store, are masked.
#include "kernel/resize/Nearest.h"
#include "simd/Simd.h"

namespace vk::resize::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;

constexpr auto kStep = static_cast<ptrdiff_t>(kWidth);

/// The first bytes of a vector, of which there may be none and more than it has.
VK_SIMD_INLINE auto first_bytes(ptrdiff_t bytes) noexcept
{
    return first_lanes<uint8_t, Bytes::kLanes>(bytes > 0 ? static_cast<size_t>(bytes) : 0);
}

/// Loads with nothing behind the row, or from anywhere in it.
template <bool kAtEnd> VK_SIMD_INLINE Bytes load_row(const uint8_t* from, const uint8_t* end) noexcept
{
    if constexpr (kAtEnd)
        return load<Bytes>(from, first_bytes(end - from));
    else
        return load<Bytes>(from);
}

/// Two vectors' bytes by seven bits of the order.
template <size_t kParts, bool kAtEnd>
VK_SIMD_INLINE Bytes permuted(const uint8_t* from, const uint8_t* end, const PermuteStep& step) noexcept
{
    const Bytes order = load<Bytes>(step.order);
    const auto part = [&](ptrdiff_t index) noexcept { return load_row<kAtEnd>(from + index * kStep, end); };
    if constexpr (kParts == 1) {
        return permute(part(0), order);
    } else {
        const Bytes front = permute(part(0), part(1), order);
        if constexpr (kParts == 2)
            return front;
        const Bytes third = part(2);
        const Bytes back = permute(third, kParts == 3 ? third : part(3), order);
        return select(Mask<uint8_t, Bytes::kLanes>{step.is_back}, back, front);
    }
}

template <size_t kParts>
void permute_row(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept
{
    const PermuteStep* const table = permute_steps(plan.table);
    const uint8_t* const end = src + plan.from_bytes();
    const PermuteStep* entry = table;
    const PermuteStep* const last = table + plan.period;
    const auto next = [&]() noexcept {
        if (++entry == last) {
            entry = table;
            src += plan.advance;
        }
    };
    int64_t step = 0;
    for (; step < plan.inner_steps; ++step, dst += kStep) {
        const uint8_t* const from = src + entry->base;
        for (size_t part = 0; part < kParts; ++part)
            __builtin_prefetch(from + ahead + part * kWidth);
        store(dst, permuted<kParts, false>(from, end, *entry));
        next();
    }
    const auto size = static_cast<int64_t>(plan.to_bytes());
    for (; step < plan.steps; ++step, dst += kStep) {
        store(dst, permuted<kParts, true>(src + entry->base, end, *entry), first_bytes(size - step * kStep));
        next();
    }
}

void permute_bytes(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept
{
    switch (plan.parts) {
    case 1:
        return permute_row<1>(plan, src, dst, ahead);
    case 2:
        return permute_row<2>(plan, src, dst, ahead);
    case 3:
        return permute_row<3>(plan, src, dst, ahead);
    default:
        return permute_row<4>(plan, src, dst, ahead);
    }
}

} // namespace

const PermuteLoops permute_loops = {permute_bytes};

} // namespace vk::resize::VK_SIMD_SET
