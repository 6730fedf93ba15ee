// The planned parts of nearest rows. Only code chosen by level runs here.
#include "kernel/resize/Nearest.h"

#include <cstring>
#include <immintrin.h>

namespace vk::resize {

namespace {

inline uint64_t load_big_endian(const uint8_t* from) noexcept
{
    uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return __builtin_bswap64(word);
}

inline void store_big_endian(uint8_t* to, uint64_t word) noexcept
{
    word = __builtin_bswap64(word);
    std::memcpy(to, &word, sizeof word);
}

inline __m256i load_lanes(const uint8_t* low, const uint8_t* high) noexcept
{
    const __m128i front = _mm_loadu_si128(reinterpret_cast<const __m128i*>(low));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(front),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

/// `steps` steps from the start of a period on.
template <size_t kParts>
uint8_t* shuffle_period(const uint8_t* masks, const ShuffleStep* bases, int64_t steps, const uint8_t* src,
                        uint8_t* dst) noexcept
{
    for (int64_t step = 0; step < steps; ++step, ++bases, dst += sizeof(__m256i)) {
        const uint8_t* const low = src + bases->base[0];
        const uint8_t* const high = src + bases->base[1];
        __m256i gathered = _mm256_setzero_si256();
        for (size_t part = 0; part < kParts; ++part, masks += sizeof(__m256i)) {
            const __m256i mask = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(masks));
            const __m256i bytes = load_lanes(low + 16 * part, high + 16 * part);
            gathered = _mm256_or_si256(gathered, _mm256_shuffle_epi8(bytes, mask));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), gathered);
    }
    return dst;
}

template <size_t kParts> void shuffle_row(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const uint8_t* const masks = plan.table.data();
    const auto* const bases =
        reinterpret_cast<const ShuffleStep*>(masks + static_cast<size_t>(plan.period) * kParts * sizeof(__m256i));
    int64_t left = plan.steps;
    for (; left > plan.period; left -= plan.period, src += plan.advance)
        dst = shuffle_period<kParts>(masks, bases, plan.period, src, dst);
    shuffle_period<kParts>(masks, bases, left, src, dst);
}

} // namespace

void shuffle_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
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

// Four bits become eight by look-up. The halves of a vector are spread apart first, so that interleaving within lanes
// leaves the bytes in order. The last step ends with the last full source byte, over what the one before may have done.
void double_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const __m256i doubled =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F, '\xC0', '\xC3',
                                                  '\xCC', '\xCF', '\xF0', '\xF3', '\xFC', '\xFF'));
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const int64_t last = plan.walked_from / 16 - 16; // source byte
    for (int64_t step = 0; step < plan.steps; ++step) {
        const int64_t at = step + 1 < plan.steps ? 16 * step : last;
        const __m128i loaded = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + at));
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_castsi128_si256(loaded), 0x10);
        const __m256i high = _mm256_shuffle_epi8(doubled, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble));
        const __m256i low = _mm256_shuffle_epi8(doubled, _mm256_and_si256(bytes, nibble));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 2 * at), _mm256_unpacklo_epi8(high, low));
    }
}

// Runs of set pixels are what is left of the power of two behind them when the one at their start is taken away.
void spread_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const auto* entry = reinterpret_cast<const SpreadStep*>(plan.table.data());
    for (int64_t step = 0; step < plan.steps; ++step, ++entry, dst += 8) {
        const uint8_t* const at = src + entry->byte;
        const uint64_t pixels = load_big_endian(at) << entry->skip | uint64_t{at[8]} >> (8 - entry->skip);
        const uint64_t taken = pixels >> entry->spare;
        store_big_endian(dst, _pdep_u64(taken, entry->bound) - _pdep_u64(taken, entry->ends));
    }
}

void pick_avx2(const NearestPlan& plan, const uint8_t* src, uint8_t* dst) noexcept
{
    const auto* entry = reinterpret_cast<const PickStep*>(plan.table.data());
    uint64_t carried = 0; // pixels of an unfinished byte, in the top one
    uint64_t used = 0;    // how many
    for (int64_t step = 0; step < plan.steps; ++step, ++entry, src += 7) {
        const uint64_t picked = _pext_u64(load_big_endian(src), entry->mask) << 1 << (63 - entry->count);
        const uint64_t word = carried | picked >> used;
        store_big_endian(dst, word);
        used += entry->count;
        dst += used / 8;
        carried = word << (used / 8 * 8);
        used %= 8;
    }
}

void stream_lines_avx2(const uint8_t* from, uint8_t* to, size_t bytes) noexcept
{
    for (size_t at = 0; at < bytes; at += sizeof(__m256i))
        _mm256_stream_si256(reinterpret_cast<__m256i*>(to + at),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + at)));
}

} // namespace vk::resize
