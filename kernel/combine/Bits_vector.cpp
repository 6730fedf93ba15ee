// Boolean functions of a vector of bytes at a time, and copies past the caches by whole lines.
#include "kernel/combine/Bits.h"
#include "simd/Lines.h"
#include "simd/Simd.h"

namespace vk::combine::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;

struct WideLogic {
    Bytes p, q, r, t;

    explicit VK_SIMD_INLINE WideLogic(const Logic& logic) noexcept
        : p(every_byte(logic.p)), q(every_byte(logic.q)), r(every_byte(logic.r)), t(every_byte(logic.t))
    {}
    static VK_SIMD_INLINE Bytes every_byte(uint64_t bits) noexcept { return all<Bytes>(static_cast<uint8_t>(bits)); }

    template <class Part> VK_SIMD_INLINE void apply(uint8_t* to, Bytes source, Part part) const noexcept
    {
        const Bytes always = (source & p) ^ q;
        const Bytes where_set = (source & r) ^ t;
        part.store(to, (part.template load<Bytes>(to) & where_set) ^ always);
    }
};

/// Copies, which do not look at the destination.
struct WideCopy {
    template <class Part> static VK_SIMD_INLINE void apply(uint8_t* to, Bytes source, Part part) noexcept
    {
        part.store(to, source);
    }
};

/// Puts source bytes to their places by `wide`; returns how many.
template <bool HighFirst, class Put>
VK_SIMD_INLINE size_t put_shifted(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift,
                                  const Put& wide) noexcept
{
    const auto near_shift = static_cast<int>(shift);
    const int far_shift = 8 - near_shift;
    const auto near_bits = all<Bytes>(static_cast<uint8_t>(HighFirst ? 0xFFu << shift : 0xFFu >> shift));
    return for_aligned_steps(to, bytes, [&](size_t first, auto part) noexcept {
        if constexpr (kWidth == kLine) { // more often it takes more than it gives
            fetch_line_ahead(from + first);
            fetch_line_ahead(to + first);
        }
        const auto own = as<uint16_t>(part.template load<Bytes>(from + first));
        const auto next = as<uint16_t>(part.template load<Bytes>(from + first + 1));
        const auto a = as<uint8_t>(HighFirst ? shift_left(own, near_shift) : shift_right(own, near_shift));
        const auto b = as<uint8_t>(HighFirst ? shift_right(next, far_shift) : shift_left(next, far_shift));
        wide.apply(to + first, (near_bits & a) | (~near_bits & b), part);
    });
}

template <class Put>
size_t put_bytes(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Put& wide,
                 BitOrder order) noexcept
{
    if (shift != 0)
        return order == BitOrder::high_first ? put_shifted<true>(to, from, bytes, shift, wide)
                                             : put_shifted<false>(to, from, bytes, shift, wide);
    return for_aligned_steps(to, bytes, [&](size_t first, auto part) noexcept {
        wide.apply(to + first, part.template load<Bytes>(from + first), part);
    });
}

size_t logic_bytes(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                   BitOrder order) noexcept
{
    return logic.is_copy() ? put_bytes(to, from, bytes, shift, WideCopy{}, order)
                           : put_bytes(to, from, bytes, shift, WideLogic(logic), order);
}

void stream(uint8_t* to, const uint8_t* from, size_t bytes) noexcept
{
    simd::stream_lines(to, from, bytes);
}

} // namespace

const BitLoops bit_loops = {logic_bytes, stream};

} // namespace vk::combine::VK_SIMD_SET
