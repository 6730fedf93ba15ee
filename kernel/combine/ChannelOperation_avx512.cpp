// Arithmetic on 64 bytes at a time.
#include "kernel/combine/ChannelOperation.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kVector = 64;

struct Bytes {
    static __m512i add(__m512i a, __m512i b) noexcept { return _mm512_adds_epu8(a, b); }
    static __m512i subtract(__m512i a, __m512i b) noexcept { return _mm512_subs_epu8(a, b); }
    static __m512i smaller(__m512i a, __m512i b) noexcept { return _mm512_min_epu8(a, b); }
    static __m512i larger(__m512i a, __m512i b) noexcept { return _mm512_max_epu8(a, b); }
    static __m512i mean(__m512i a, __m512i b) noexcept { return _mm512_avg_epu8(a, b); }

    /// Of products x of two bytes, x / 255 is ((x + 128) + ((x + 128) >> 8)) >> 8, rounded to the nearest.
    static __m512i multiply(__m512i a, __m512i b) noexcept
    {
        const __m512i zero = _mm512_setzero_si512();
        const auto half = [&](__m512i x, __m512i y) noexcept {
            const __m512i product = _mm512_add_epi16(_mm512_mullo_epi16(x, y), _mm512_set1_epi16(128));
            return _mm512_srli_epi16(_mm512_add_epi16(product, _mm512_srli_epi16(product, 8)), 8);
        };
        return _mm512_packus_epi16(half(_mm512_unpacklo_epi8(a, zero), _mm512_unpacklo_epi8(b, zero)),
                                   half(_mm512_unpackhi_epi8(a, zero), _mm512_unpackhi_epi8(b, zero)));
    }
};

struct Words {
    static __m512i add(__m512i a, __m512i b) noexcept { return _mm512_adds_epu16(a, b); }
    static __m512i subtract(__m512i a, __m512i b) noexcept { return _mm512_subs_epu16(a, b); }
    static __m512i smaller(__m512i a, __m512i b) noexcept { return _mm512_min_epu16(a, b); }
    static __m512i larger(__m512i a, __m512i b) noexcept { return _mm512_max_epu16(a, b); }
    static __m512i mean(__m512i a, __m512i b) noexcept { return _mm512_avg_epu16(a, b); }

    static __m512i multiply(__m512i a, __m512i b) noexcept
    {
        const __m512i zero = _mm512_setzero_si512();
        const auto half = [&](__m512i x, __m512i y) noexcept {
            const __m512i product = _mm512_add_epi32(_mm512_mullo_epi32(x, y), _mm512_set1_epi32(32768));
            return _mm512_maskz_srli_epi32(0xFFFF,
                                           _mm512_add_epi32(product, _mm512_maskz_srli_epi32(0xFFFF, product, 16)), 16);
        };
        return _mm512_packus_epi32(half(_mm512_unpacklo_epi16(a, zero), _mm512_unpacklo_epi16(b, zero)),
                                   half(_mm512_unpackhi_epi16(a, zero), _mm512_unpackhi_epi16(b, zero)));
    }
};

/// What every vector needs besides its source and destination.
struct Masks {
    __m512i source;      ///< bits of the source that are inverted
    __m512i destination; ///< bits of the destination that are
    __mmask64 kept;      ///< bytes that stay
};

template <class Run> size_t each(const uint8_t* from, uint8_t* to, size_t bytes, const Masks& masks, Run run) noexcept
{
    size_t done = 0;
    for (; done + kVector <= bytes; done += kVector) {
        const __m512i s = _mm512_loadu_si512(from + done);
        const __m512i d = _mm512_loadu_si512(to + done);
        const __m512i result = run(_mm512_xor_si512(s, masks.source), _mm512_xor_si512(d, masks.destination));
        _mm512_storeu_si512(to + done, _mm512_mask_blend_epi8(masks.kept, result, d));
    }
    return done;
}

template <class Channel>
size_t run_operation(uint32_t operation, const uint8_t* from, uint8_t* to, size_t bytes, const Masks& masks) noexcept
{
    switch (operation) {
    case COMBINE_ADD:
        return each(from, to, bytes, masks, Channel::add);
    case COMBINE_SUBTRACT:
        return each(from, to, bytes, masks, [](__m512i s, __m512i d) noexcept { return Channel::subtract(d, s); });
    case COMBINE_MIN:
        return each(from, to, bytes, masks, Channel::smaller);
    case COMBINE_MAX:
        return each(from, to, bytes, masks, Channel::larger);
    case COMBINE_AVERAGE:
        return each(from, to, bytes, masks, Channel::mean);
    case COMBINE_DIFFERENCE:
        return each(from, to, bytes, masks, [](__m512i s, __m512i d) noexcept {
            return _mm512_or_si512(Channel::subtract(s, d), Channel::subtract(d, s));
        });
    default:
        return each(from, to, bytes, masks, Channel::multiply);
    }
}

} // namespace

size_t combine_channels_avx512(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t bytes_in_all, int bytes,
                               bool has_alpha) noexcept
{
    const auto all = [](bool is_set) noexcept { return _mm512_set1_epi8(is_set ? -1 : 0); };
    const __mmask64 alpha = bytes == 1 ? 0x8888888888888888u : 0xC0C0C0C0C0C0C0C0u;
    const Masks masks{all(how.inverts_source), all(how.inverts_destination), has_alpha ? alpha : 0};
    return bytes == 1 ? run_operation<Bytes>(how.operation, from, to, bytes_in_all, masks)
                      : run_operation<Words>(how.operation, from, to, bytes_in_all, masks);
}

} // namespace vk::combine
