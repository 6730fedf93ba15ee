// The planned part of nearest rows with byte permutations: 64 bytes to write are picked from one to four neighbouring
// loads. Loads at the end of the source row, and the last store, are masked. Only code chosen by level runs here.
#include "kernel/resize/Nearest.h"

#include <immintrin.h>

namespace vk::resize {

namespace {

constexpr size_t kWide = 64;
/// Bits for the first `bytes` of a register.
__mmask64 first_bytes(ptrdiff_t bytes) noexcept
{
    if (bytes <= 0)
        return 0;
    return bytes >= static_cast<ptrdiff_t>(kWide) ? ~__mmask64{0} : (__mmask64{1} << bytes) - 1;
}

/// Loads with nothing behind the row, or from anywhere in it.
template <bool kAtEnd> __m512i load(const uint8_t* from, const uint8_t* end) noexcept
{
    if constexpr (kAtEnd)
        return _mm512_maskz_loadu_epi8(first_bytes(end - from), from);
    else
        return _mm512_loadu_si512(from);
}

/// Two registers' bytes by seven bits of the order; with a mask of everything, because compilers warn of the value that
/// the plain form leaves undefined.
template <size_t kParts, bool kAtEnd>
__m512i permuted(const uint8_t* from, const uint8_t* end, const PermuteStep& step) noexcept
{
    const __m512i order = _mm512_load_si512(step.order);
    if constexpr (kParts == 1)
        return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, order, load<kAtEnd>(from, end));
    const __m512i front = _mm512_permutex2var_epi8(load<kAtEnd>(from, end), order, load<kAtEnd>(from + kWide, end));
    if constexpr (kParts <= 2)
        return front;
    const __m512i third = load<kAtEnd>(from + 2 * kWide, end);
    const __m512i fourth = kParts == 3 ? third : load<kAtEnd>(from + 3 * kWide, end);
    return _mm512_mask_blend_epi8(step.is_back, front, _mm512_permutex2var_epi8(third, order, fourth));
}

template <size_t kParts>
void permute_row(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept
{
    const PermuteStep* const table = permute_steps(plan.table);
    const uint8_t* const end = src + plan.from_bytes();
    const PermuteStep* entry = table;
    const PermuteStep* const last = table + plan.period;
    int64_t step = 0;
    for (; step < plan.inner_steps; ++step, dst += kWide) {
        const uint8_t* const from = src + entry->base;
        for (size_t part = 0; part < kParts; ++part)
            _mm_prefetch(reinterpret_cast<const char*>(from + ahead + part * kWide), _MM_HINT_T0);
        _mm512_storeu_si512(dst, permuted<kParts, false>(from, end, *entry));
        if (++entry == last) {
            entry = table;
            src += plan.advance;
        }
    }
    const auto size = static_cast<int64_t>(plan.to_bytes());
    for (; step < plan.steps; ++step, dst += kWide) {
        const auto left = static_cast<ptrdiff_t>(size - step * static_cast<int64_t>(kWide));
        _mm512_mask_storeu_epi8(dst, first_bytes(left), permuted<kParts, true>(src + entry->base, end, *entry));
        if (++entry == last) {
            entry = table;
            src += plan.advance;
        }
    }
}

} // namespace

void permute_avx512(const NearestPlan& plan, const uint8_t* src, uint8_t* dst, ptrdiff_t ahead) noexcept
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

} // namespace vk::resize
