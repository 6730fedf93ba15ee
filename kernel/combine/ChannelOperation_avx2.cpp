// Arithmetic on 32 bytes at a time.
#include "kernel/combine/ChannelOperation.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kVector = 32;

struct Bytes {
    static __m256i add(__m256i a, __m256i b) noexcept { return _mm256_adds_epu8(a, b); }
    static __m256i subtract(__m256i a, __m256i b) noexcept { return _mm256_subs_epu8(a, b); }
    static __m256i smaller(__m256i a, __m256i b) noexcept { return _mm256_min_epu8(a, b); }
    static __m256i larger(__m256i a, __m256i b) noexcept { return _mm256_max_epu8(a, b); }
    static __m256i mean(__m256i a, __m256i b) noexcept { return _mm256_avg_epu8(a, b); }

    /// Of products x of two bytes, x / 255 is ((x + 128) + ((x + 128) >> 8)) >> 8, rounded to the nearest.
    static __m256i multiply(__m256i a, __m256i b) noexcept
    {
        const __m256i zero = _mm256_setzero_si256();
        const auto half = [&](__m256i x, __m256i y) noexcept {
            const __m256i product = _mm256_add_epi16(_mm256_mullo_epi16(x, y), _mm256_set1_epi16(128));
            return _mm256_srli_epi16(_mm256_add_epi16(product, _mm256_srli_epi16(product, 8)), 8);
        };
        return _mm256_packus_epi16(half(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero)),
                                   half(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero)));
    }
};

struct Words {
    static __m256i add(__m256i a, __m256i b) noexcept { return _mm256_adds_epu16(a, b); }
    static __m256i subtract(__m256i a, __m256i b) noexcept { return _mm256_subs_epu16(a, b); }
    static __m256i smaller(__m256i a, __m256i b) noexcept { return _mm256_min_epu16(a, b); }
    static __m256i larger(__m256i a, __m256i b) noexcept { return _mm256_max_epu16(a, b); }
    static __m256i mean(__m256i a, __m256i b) noexcept { return _mm256_avg_epu16(a, b); }

    static __m256i multiply(__m256i a, __m256i b) noexcept
    {
        const __m256i zero = _mm256_setzero_si256();
        const auto half = [&](__m256i x, __m256i y) noexcept {
            const __m256i product = _mm256_add_epi32(_mm256_mullo_epi32(x, y), _mm256_set1_epi32(32768));
            return _mm256_srli_epi32(_mm256_add_epi32(product, _mm256_srli_epi32(product, 16)), 16);
        };
        return _mm256_packus_epi32(half(_mm256_unpacklo_epi16(a, zero), _mm256_unpacklo_epi16(b, zero)),
                                   half(_mm256_unpackhi_epi16(a, zero), _mm256_unpackhi_epi16(b, zero)));
    }
};

/// What every vector needs besides its source and destination.
struct Masks {
    __m256i source;      ///< bits of the source that are inverted
    __m256i destination; ///< bits of the destination that are
    __m256i kept;        ///< bits that stay
};

template <class Run> size_t each(const uint8_t* from, uint8_t* to, size_t bytes, const Masks& masks, Run run) noexcept
{
    size_t done = 0;
    for (; done + kVector <= bytes; done += kVector) {
        const __m256i s = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + done));
        auto* const place = reinterpret_cast<__m256i*>(to + done);
        const __m256i d = _mm256_loadu_si256(place);
        const __m256i result = run(_mm256_xor_si256(s, masks.source), _mm256_xor_si256(d, masks.destination));
        _mm256_storeu_si256(place, _mm256_blendv_epi8(result, d, masks.kept));
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
        return each(from, to, bytes, masks, [](__m256i s, __m256i d) noexcept { return Channel::subtract(d, s); });
    case COMBINE_MIN:
        return each(from, to, bytes, masks, Channel::smaller);
    case COMBINE_MAX:
        return each(from, to, bytes, masks, Channel::larger);
    case COMBINE_AVERAGE:
        return each(from, to, bytes, masks, Channel::mean);
    case COMBINE_DIFFERENCE:
        return each(from, to, bytes, masks, [](__m256i s, __m256i d) noexcept {
            return _mm256_or_si256(Channel::subtract(s, d), Channel::subtract(d, s));
        });
    default:
        return each(from, to, bytes, masks, Channel::multiply);
    }
}

} // namespace

size_t combine_channels_avx2(const Arithmetic& how, const uint8_t* from, uint8_t* to, size_t bytes_in_all, int bytes,
                             bool has_alpha) noexcept
{
    const auto all = [](bool is_set) noexcept { return _mm256_set1_epi8(is_set ? -1 : 0); };
    const __m256i alpha = bytes == 1 ? _mm256_set1_epi32(static_cast<int>(0xFF000000u))
                                     : _mm256_set1_epi64x(static_cast<int64_t>(0xFFFF000000000000u));
    const Masks masks{all(how.inverts_source), all(how.inverts_destination), has_alpha ? alpha : all(false)};
    return bytes == 1 ? run_operation<Bytes>(how.operation, from, to, bytes_in_all, masks)
                      : run_operation<Words>(how.operation, from, to, bytes_in_all, masks);
}

} // namespace vk::combine
