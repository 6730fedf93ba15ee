#include "kernel/convert/KeptPlan.h"

#include "kernel/convert/Fused.h"
#include "kernel/format/Depths.h"

#include <cstring>
#include <new>

namespace vk::pixel {

namespace {

/// Palettes of a job by their entries; of depths without any, or for the fixed one, none.
struct Entries {
    bool given;
    RGBQUAD entries[256];
};

uint32_t entries_of(const RGBQUAD* palette, int32_t bits) noexcept
{
    return palette != nullptr && is_indexed(bits) ? 1u << bits : 0;
}

struct Kept {
    bool is_valid;
    simd::Level limit;
    ConvertJob job; ///< whose pointers are not looked at
    Entries src, dst;
    uint64_t made;
    alignas(Plan) unsigned char plan[sizeof(Plan)];
};

thread_local constinit Kept t_kept{};

Plan& plan_of(Kept& kept) noexcept
{
    return *std::launder(reinterpret_cast<Plan*>(kept.plan));
}

bool is_same(const Entries& kept, const RGBQUAD* palette, int32_t bits) noexcept
{
    const uint32_t count = entries_of(palette, bits);
    return kept.given == (count != 0) &&
           (count == 0 || std::memcmp(kept.entries, palette, count * sizeof(RGBQUAD)) == 0);
}

void keep(Entries& kept, const RGBQUAD* palette, int32_t bits) noexcept
{
    const uint32_t count = entries_of(palette, bits);
    kept.given = count != 0;
    if (count != 0)
        std::memcpy(kept.entries, palette, count * sizeof(RGBQUAD));
}

bool is_same_job(const ConvertJob& a, const ConvertJob& b) noexcept
{
    return a.src_bits == b.src_bits && a.dst_bits == b.dst_bits && a.src_order == b.src_order &&
           a.dst_order == b.dst_order && a.flags == b.flags && a.low_bit == b.low_bit && a.high_bit == b.high_bit &&
           a.to_low_bit == b.to_low_bit && a.to_high_bit == b.to_high_bit && a.transparent == b.transparent;
}

/// A prepared look-up, or a palette of up to 65536 entries, is not worth a comparison.
bool can_keep(const ConvertJob& job) noexcept
{
    return job.lookup == nullptr && job.src_palette16 == nullptr;
}

} // namespace

Plan* kept_plan(const ConvertJob& job) noexcept
{
    Kept& kept = t_kept;
    const simd::Level limit = simd::level();
    if (kept.is_valid && kept.limit == limit && can_keep(job) && is_same_job(kept.job, job) &&
        is_same(kept.src, job.src_palette, job.src_bits) && is_same(kept.dst, job.dst_palette, job.dst_bits))
        return &plan_of(kept);
    kept.is_valid = false;
    ConvertJob own = job; // by the palettes kept, which stay
    if (can_keep(job)) {
        keep(kept.src, job.src_palette, job.src_bits);
        keep(kept.dst, job.dst_palette, job.dst_bits);
        own.src_palette = kept.src.given ? kept.src.entries : nullptr;
        own.dst_palette = kept.dst.given ? kept.dst.entries : nullptr;
    }
    Plan* const plan = new (kept.plan) Plan;
    ++kept.made;
    if (!make_plan(own, plan))
        return nullptr;
    kept.is_valid = can_keep(job);
    kept.limit = limit;
    kept.job = job;
    return plan;
}

uint64_t plans_made() noexcept
{
    return t_kept.made;
}

} // namespace vk::pixel
