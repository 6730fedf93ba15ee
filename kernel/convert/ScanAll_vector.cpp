// The nearest of a few palette entries, for a vector of colours at a time: every entry is tried.
#include "kernel/convert/ExactLookup.h"
#include "simd/Lowest.h"
#include "simd/Simd.h"

namespace vk::pixel::VK_SIMD_SET {
namespace {

using namespace simd;

using Colors = Wide<uint32_t>;
using Keys = Wide<int32_t>;
constexpr size_t kStep = Colors::kLanes;

/// The two lowest keys of so many colours: what a distance is beyond the colour's own square, times 256, and the index.
struct Lowest {
    Keys first = all<Keys>(INT32_MAX), second = first;

    VK_SIMD_INLINE void see(Keys key) noexcept
    {
        second = min(second, max(first, key));
        first = min(first, key);
    }
};

VK_SIMD_INLINE Lowest lowest_of(const ScanEntry* entries, uint32_t count, Colors colors) noexcept
{
    const auto outer = as<int16_t>(colors & all<Colors>(0x00FF00FF)); // blue and red
    const auto green = as<int16_t>((colors >> 8) & all<Colors>(0xFF));
    Lowest lowest;
    for (uint32_t i = 0; i < count; ++i) {
        const auto products = mul_pairs(outer, as<int16_t>(all<Keys>(entries[i].outer))) +
                              mul_pairs(green, as<int16_t>(all<Keys>(entries[i].green)));
        lowest.see((products << 8) + all<Keys>(entries[i].square_and_index));
    }
    return lowest;
}

uint64_t scan_step(const ScanEntry* entries, uint32_t count, const Rgba8* colors, uint8_t* indices) noexcept
{
    const Lowest lowest = lowest_of(entries, count, load<Colors>(colors));
    store_lowest<1>(indices, as<uint32_t>(lowest.first) & all<Colors>(0xFF), kStep);
    return bits((lowest.first >> 8) == (lowest.second >> 8));
}

} // namespace

const ScanAll scan_all = {scan_step, kStep};

} // namespace vk::pixel::VK_SIMD_SET
