// The inner loop of compression by vectors: as many bytes as one has are reversed at a time, those that do not change
// the colour are left out at once.
#include "kernel/runs/RunLengthKernel.h"
#include "simd/Bits.h"
#include "simd/Simd.h"

namespace vk::runlength::VK_SIMD_SET {

namespace {

using namespace simd;

using Words = Wide<uint64_t>;

/// Turns words' bits into pixel order.
template <class V> VK_SIMD_INLINE V in_order(V words) noexcept
{
    return as<uint64_t>(reverse_fields<1>(as<uint8_t>(words)));
}

/// Appends the changes in words in pixel order; of those before them the last bit counts, which is `colour`, and
/// becomes that of the words.
template <class V>
VK_SIMD_INLINE size_t append_all(V ordered, V before, uint64_t& colour, Positions& positions, uint16_t* list,
                                 size_t count) noexcept
{
    if constexpr (V::kLanes > 4) { // more than it pays to take out of the register one by one
        alignas(V::kBytes) uint64_t masks[V::kLanes];
        store(masks, ordered ^ (ordered << 1 | move_up(before, ordered) >> 63));
        colour ^= count & 1u; // each change turns it
        for (const uint64_t mask : masks)
            count = positions.append(mask, list, count);
        colour ^= count & 1u;
    } else {
        const auto append = [&](uint64_t word) noexcept {
            count = positions.append(word ^ (word << 1 | colour), list, count);
            colour = word >> 63;
        };
        append(ordered.raw[0]);
        append(ordered.raw[1]);
        if constexpr (V::kLanes == 4) {
            append(ordered.raw[2]);
            append(ordered.raw[3]);
        }
    }
    return count;
}

size_t find_changes(const uint8_t* pixels, size_t words, uint32_t base, uint64_t colour, uint16_t* list,
                    size_t count) noexcept
{
    constexpr size_t kGroup = Words::kLanes;
    Positions positions(base);
    Words before = all<Words>(0 - colour); // whose last bit is what counts
    size_t i = 0;
    for (; i + kGroup <= words; i += kGroup) {
        const auto read = load<Words>(pixels + 8 * i);
        const auto even = all<Words>(0 - colour);
        if (all(read == even)) {
            positions.skip(kGroup);
            before = even;
            continue;
        }
        const Words ordered = in_order(read);
        count = append_all(ordered, before, colour, positions, list, count);
        before = ordered;
    }
    for (; i < words; ++i) {
        const uint64_t word = in_order(load_first<Quad<uint64_t>, 8>(pixels + 8 * i)).raw[0];
        count = positions.append(word ^ (word << 1 | colour), list, count);
        colour = word >> 63;
    }
    return count;
}

} // namespace

const ChangeLoops change_loops = {find_changes};

} // namespace vk::runlength::VK_SIMD_SET
