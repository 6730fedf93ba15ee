// Mixing four cells of numbers of a byte: the arithmetic of Mix.h in vectors of 64 bytes. Pixels with different alpha,
// and mixing of sixteen cells, are left to AVX2.
#include "kernel/sampling/Mix.h"

#include <algorithm>
#include <immintrin.h>

namespace vk::sampling {

namespace {

/// Behind a patch's last sample there is nothing that may be looked at, but its positions may be read.
uint32_t some_of(const Patch& patch, int32_t i, int32_t lanes) noexcept
{
    return (1u << std::min(lanes, patch.count - i)) - 1;
}

__m512i all(int32_t value) noexcept
{
    return _mm512_set1_epi32(value);
}

/// Rounded and without the weights' bits.
__m512i dropped(__m512i sum) noexcept
{
    return _mm512_srai_epi32(_mm512_add_epi32(sum, all(1 << (kWeightBits - 1))), kWeightBits);
}

__m512i paired(__m512i first, __m512i second) noexcept
{
    return _mm512_mask_blend_epi16(0xAAAAAAAAu, first, _mm512_slli_epi32(second, 16));
}

/// Bytes from a patch's origin to sixteen samples' first cells.
__m512i offsets_of(const Patch& patch, int32_t i, int32_t size) noexcept
{
    const auto whole = [i](const int32_t* positions, int32_t first) noexcept {
        return _mm512_sub_epi32(_mm512_srai_epi32(_mm512_loadu_si512(positions + i), kFractionBits), all(first));
    };
    return _mm512_add_epi32(_mm512_mullo_epi32(whole(patch.y, patch.top), all(static_cast<int32_t>(patch.stride))),
                            _mm512_mullo_epi32(whole(patch.x, patch.left), all(size)));
}

/// The four weights of sixteen samples, in pairs: those of each row of cells.
struct Pairs {
    __m512i upper;
    __m512i lower;

    Pairs(const Patch& patch, int32_t i) noexcept
    {
        constexpr int kDropped = kFractionBits - kWeightBits;
        const auto rounded = [i](const int32_t* positions) noexcept {
            const __m512i f = _mm512_and_si512(_mm512_loadu_si512(positions + i), all(kOne - 1));
            return _mm512_srli_epi32(_mm512_add_epi32(f, all(1 << (kDropped - 1))), kDropped);
        };
        const __m512i x = rounded(patch.x);
        const __m512i y = rounded(patch.y);
        const __m512i last = dropped(_mm512_madd_epi16(x, y)); // below 2^15 each
        const __m512i second = _mm512_sub_epi32(x, last);
        upper = paired(_mm512_sub_epi32(_mm512_sub_epi32(all(1 << kWeightBits), y), second), second);
        lower = paired(_mm512_sub_epi32(y, last), last);
    }
};

void linear_1(const Patch& patch, const CellKind&, uint8_t* out) noexcept
{
    constexpr int32_t kLanes = 16;
    constexpr char z = -1;
    const __m512i order =
        _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_setr_epi8(0, z, 1, z, 4, z, 5, z, 8, z, 9, z, 12, z, 13, z));
    for (int32_t i = 0; i < patch.count; i += kLanes) {
        const auto some = static_cast<__mmask16>(some_of(patch, i, kLanes));
        const __m512i offsets = offsets_of(patch, i, 1);
        const Pairs weights(patch, i);
        const auto row = [&](const uint8_t* origin) noexcept {
            return _mm512_shuffle_epi8(_mm512_mask_i32gather_epi32(_mm512_setzero_si512(), some, offsets, origin, 1),
                                       order);
        };
        const __m512i sum = _mm512_add_epi32(_mm512_madd_epi16(row(patch.origin), weights.upper),
                                             _mm512_madd_epi16(row(patch.origin + patch.stride), weights.lower));
        _mm_mask_storeu_epi8(out + i, some, _mm512_cvtepi32_epi8(dropped(sum)));
    }
}

/// Where numbers c of two cells next to each other go, as two of 16 bits: of the first or the second eight bytes.
template <int32_t kSize, int kAt> __m512i pairs_order() noexcept
{
    constexpr char z = -1;
    constexpr char a = kAt;
    constexpr char b = kAt + kSize;
    constexpr char last = kSize == 4 ? a + 3 : z;
    constexpr char next = kSize == 4 ? b + 3 : z;
    return _mm512_maskz_broadcast_i32x4(
        0xFFFF, _mm_setr_epi8(a, z, b, z, a + 1, z, b + 1, z, a + 2, z, b + 2, z, last, z, next, z));
}

/// The first bytes of eight samples' numbers, of which even ones stand in one vector and odd ones in another.
template <int32_t kSize> __m512i closing_order() noexcept
{
    alignas(64) static constexpr auto kOrder = [] {
        struct {
            uint8_t from[64];
        } order{};
        for (int32_t i = 0; i < 8 * kSize; ++i)
            order.from[i] = static_cast<uint8_t>(i / kSize % 2 * 64 + i / kSize / 2 * 16 + i % kSize * 4);
        return order;
    }();
    return _mm512_load_si512(kOrder.from);
}

template <int32_t kSize, bool kAlpha> void linear(const Patch& patch, const CellKind& kind, uint8_t* out) noexcept
{
    constexpr int32_t kLanes = 8;
    const __m512i even_order = pairs_order<kSize, 0>();
    const __m512i odd_order = pairs_order<kSize, 8>();
    const __m512i closing = closing_order<kSize>();
    const __m512i evens = _mm512_setr_epi32(0, 0, 0, 0, 2, 2, 2, 2, 4, 4, 4, 4, 6, 6, 6, 6);
    const __m512i odds = _mm512_setr_epi32(1, 1, 1, 1, 3, 3, 3, 3, 5, 5, 5, 5, 7, 7, 7, 7);
    for (int32_t i = 0; i < patch.count; i += 2 * kLanes) {
        const Pairs weights(patch, i);
        const __m512i offsets = offsets_of(patch, i, kSize);
        const auto mix_eight = [&](int32_t at, __m256i places, __m512i upper_weights, __m512i lower_weights) noexcept {
            const uint32_t some = some_of(patch, at, kLanes);
            const auto row = [&](const uint8_t* origin) noexcept {
                return _mm512_mask_i32gather_epi64(_mm512_set1_epi64(-1), static_cast<__mmask8>(some), places, origin,
                                                   1);
            };
            const __m512i upper = row(patch.origin);
            const __m512i lower = row(patch.origin + patch.stride);
            if constexpr (kAlpha) {
                constexpr uint64_t kAlphas = 0x8888888888888888u;
                const __m512i both = _mm512_and_si512(upper, lower);
                if ((~_mm512_cmpeq_epi8_mask(both, _mm512_set1_epi8(-1)) & kAlphas) != 0) {
                    Patch few = patch;
                    few.x += at;
                    few.y += at;
                    few.count = std::min(kLanes, patch.count - at);
                    return avx2_mix(kind).linear(few, kind, out + at * kSize);
                }
            }
            const auto sum = [&](__m512i order, __m512i which) noexcept {
                return dropped(_mm512_add_epi32(_mm512_madd_epi16(_mm512_shuffle_epi8(upper, order),
                                                                  _mm512_permutexvar_epi32(which, upper_weights)),
                                                _mm512_madd_epi16(_mm512_shuffle_epi8(lower, order),
                                                                  _mm512_permutexvar_epi32(which, lower_weights))));
            };
            const __m512i cells = _mm512_permutex2var_epi8(sum(even_order, evens), closing, sum(odd_order, odds));
            const auto bytes = static_cast<uint32_t>(_mm_popcnt_u32(some) * kSize);
            _mm256_mask_storeu_epi8(out + at * kSize, static_cast<__mmask32>((uint64_t{1} << bytes) - 1),
                                    _mm512_castsi512_si256(cells));
        };
        mix_eight(i, _mm512_castsi512_si256(offsets), weights.upper, weights.lower);
        if (i + kLanes < patch.count) {
            const auto upper_half = [](__m512i both) noexcept { return _mm512_shuffle_i64x2(both, both, 0xEE); };
            mix_eight(i + kLanes, _mm512_extracti64x4_epi64(offsets, 1), upper_half(weights.upper),
                      upper_half(weights.lower));
        }
    }
}

} // namespace

MixLoops avx512_mix(const CellKind& kind) noexcept
{
    if (kind.lane_bytes != 1 || kind.carried)
        return {};
    if (kind.size == 1)
        return {linear_1, nullptr};
    if (kind.size == 3)
        return {linear<3, false>, nullptr};
    return {kind.alpha ? linear<4, true> : linear<4, false>, nullptr};
}

} // namespace vk::sampling
