// The exact look-up's inner loop: cells and answers of a vector of colours are gathered at a time.
#include "kernel/convert/ExactLookup.h"
#include "simd/InOrder.h"
#include "simd/Simd.h"

namespace vk::pixel::VK_SIMD_SET {
namespace {

using namespace simd;

using Colors = Wide<uint32_t>;

template <int Right> VK_SIMD_INLINE Colors bits_at(Colors v, uint32_t mask) noexcept
{
    return (v >> Right) & all<Colors>(mask);
}

size_t match_known(const uint32_t* cells, const uint8_t* answers, const Rgba8* colors, uint8_t* indices,
                   size_t count) noexcept
{
    const auto gathered = [](const void* from, Colors offsets) noexcept {
        return as<uint32_t>(gather(from, as<int32_t>(offsets)));
    };
    size_t i = 0;
    for (; i + Colors::kLanes <= count; i += Colors::kLanes) {
        const auto word = load<Colors>(colors + i);
        const Colors cell = bits_at<4>(word, 0xFC000) | bits_at<2>(word, 0x3F00) | bits_at<0>(word, 0xFC);
        const Colors value = gathered(cells, cell); // at four bytes each
        if (any(value == Colors{}))
            break;
        const Colors place = bits_at<12>(word, 0x30) | bits_at<6>(word, 0xC) | bits_at<0>(word, 3);
        const Colors held = value - all<Colors>(1);
        const Colors found = gathered(answers, (held >> 6) + (place & held));
        store_low_bytes(indices + i, found & all<Colors>(0xFF));
    }
    return i;
}

} // namespace

const MatchKnown match_known_loop = {match_known, Colors::kLanes};

} // namespace vk::pixel::VK_SIMD_SET
