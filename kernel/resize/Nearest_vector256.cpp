// The planned parts of nearest rows, but for permutations.
#include "kernel/resize/Nearest.h"
#include "simd/Bits.h"
#include "simd/Pick.h"
#include "simd/Simd.h"

#include <cstring>

namespace vk::resize::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Block = Quad<uint8_t>;

constexpr size_t kStep = 32; ///< bytes written

VK_SIMD_INLINE uint64_t load_big_endian(const uint8_t* from) noexcept
{
    uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return __builtin_bswap64(word);
}

VK_SIMD_INLINE void store_big_endian(uint8_t* to, uint64_t word) noexcept
{
    word = __builtin_bswap64(word);
    std::memcpy(to, &word, sizeof word);
}

/// `steps` steps from the start of a period on.
template <size_t kParts>
uint8_t* shuffle_period(const uint8_t* masks, const ShuffleStep* bases, int64_t steps, const uint8_t* src,
                        uint8_t* dst) noexcept
{
    for (int64_t step = 0; step < steps; ++step, ++bases, masks += kParts * kStep, dst += kStep)
        for (size_t at = 0; at < kStep; at += kWidth) {
            const uint8_t* const low = src + bases->base[at / 16];
            const uint8_t* const high = src + bases->base[1];
            Bytes gathered{};
            for (size_t part = 0; part < kParts; ++part) {
                const Bytes bytes = load_both<Bytes>(low + 16 * part, high + 16 * part);
                gathered |= shuffle(bytes, load<Bytes>(masks + part * kStep + at));
            }
            store(dst + at, gathered);
        }
    return dst;
}

template <size_t kParts> void shuffle_row(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const uint8_t* const masks = plan.table.data();
    const auto* const bases =
        reinterpret_cast<const ShuffleStep*>(masks + static_cast<size_t>(plan.period) * kParts * kStep);
    int64_t left = plan.steps;
    for (; left > plan.period; left -= plan.period, src += plan.advance)
        dst = shuffle_period<kParts>(masks, bases, plan.period, src, dst);
    shuffle_period<kParts>(masks, bases, left, src, dst);
}

void shuffle_bytes(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    switch (plan.parts) {
    case 1:
        return shuffle_row<1>(plan, src, dst);
    case 2:
        return shuffle_row<2>(plan, src, dst);
    case 3:
        return shuffle_row<3>(plan, src, dst);
    default:
        return shuffle_row<4>(plan, src, dst);
    }
}

/// Words of a byte each with its upper half first, each half doubled by look-up.
template <class V> VK_SIMD_INLINE auto doubled(V words) noexcept
{
    static constexpr auto kDoubled =
        order_of<16>([](size_t i) { return 3 * ((i & 1) | (i & 2) << 1 | (i & 4) << 2 | (i & 8) << 3); });
    const auto halves = as<uint8_t>((words >> 4 | words << 8) & all<V>(0x0F0F));
    return shuffle(in_blocks<decltype(as<uint8_t>(words))>(kDoubled), halves);
}

/// Sixteen bytes of bits, each twice.
VK_SIMD_INLINE void store_doubled(uint8_t* to, auto bytes) noexcept
{
    if constexpr (kWidth == 16) {
        store(to, doubled(as<uint16_t>(interleave_low(bytes, Block{}))));
        store(to + 16, doubled(as<uint16_t>(interleave_high(bytes, Block{}))));
    } else {
        store(to, doubled(widen(bytes)));
    }
}

/// The last step ends with the last full source byte, over what the one before may have done.
void double_bits(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const int64_t last = plan.walked_from / 16 - 16; // source byte
    for (int64_t step = 0; step < plan.steps; ++step) {
        const int64_t at = step + 1 < plan.steps ? 16 * step : last;
        store_doubled(dst + 2 * at, load<Block>(src + at));
    }
}

// Runs of set pixels are what is left of the power of two behind them when the one at their start is taken away.
void spread_bits(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const auto* entry = reinterpret_cast<const SpreadStep*>(plan.table.data());
    for (int64_t step = 0; step < plan.steps; ++step, ++entry, dst += 8) {
        const uint8_t* const at = src + entry->byte;
        const uint64_t pixels = load_big_endian(at) << entry->skip | uint64_t{at[8]} >> (8 - entry->skip);
        const uint64_t taken = pixels >> entry->spare;
        store_big_endian(dst, deposit(taken, entry->bound) - deposit(taken, entry->ends));
    }
}

void pick_bits(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const auto* entry = reinterpret_cast<const PickStep*>(plan.table.data());
    uint64_t carried = 0; // pixels of an unfinished byte, in the top one
    uint64_t used = 0;    // how many
    for (int64_t step = 0; step < plan.steps; ++step, ++entry, src += 7) {
        const uint64_t picked = extract(load_big_endian(src), entry->mask) << 1 << (63 - entry->count);
        const uint64_t word = carried | picked >> used;
        store_big_endian(dst, word);
        used += entry->count;
        dst += used / 8;
        carried = word << (used / 8 * 8);
        used %= 8;
    }
}

void shuffle_bits(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const auto* entry = reinterpret_cast<const BitStep*>(plan.table.data());
    for (int64_t step = 0; step < plan.steps; ++step, ++entry, dst += 2) {
        const Block bytes = shuffle(load<Block>(src + entry->base), load<Block>(entry->place));
        const auto pixels = static_cast<uint16_t>(bits(has_bit(bytes, load<Block>(entry->bit))));
        std::memcpy(dst, &pixels, sizeof pixels);
    }
}

void stream_lines(const uint8_t* from, uint8_t* to, size_t bytes) noexcept
{
    for (size_t at = 0; at < bytes; at += kWidth)
        stream(to + at, load<Bytes>(from + at));
}

} // namespace

const NearestLoops nearest_loops = {shuffle_bytes, double_bits, spread_bits, pick_bits, shuffle_bits, stream_lines};

} // namespace vk::resize::VK_SIMD_SET
