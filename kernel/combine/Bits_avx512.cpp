// Boolean functions of 64 bytes at a time, and copies past the caches by whole lines.
#include "kernel/combine/Bits.h"

#include "kernel/convert/Fused.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kVector = 64;
/// How high_shift the source is asked for ahead; a line at a time needs less than the conversions do.
constexpr size_t kAhead = 2048;

__m512i every_byte(uint32_t byte) noexcept
{
    return _mm512_set1_epi8(static_cast<char>(byte));
}

/// Bits of `a` where `choice` is set, else of `b`.
__m512i choose(__m512i choice, __m512i a, __m512i b) noexcept
{
    return _mm512_ternarylogic_epi64(choice, a, b, 0xCA);
}

struct WideLogic {
    __m512i p;
    __m512i q;
    __m512i r;
    __m512i t;

    explicit WideLogic(const Logic& logic) noexcept
        : p(every_byte(logic.p & 0xFF)), q(every_byte(logic.q & 0xFF)), r(every_byte(logic.r & 0xFF)),
          t(every_byte(logic.t & 0xFF))
    {}
    void apply(uint8_t* to, __m512i source) const noexcept
    {
        constexpr int kAndXor = 0x6A; // (a & b) ^ c
        const __m512i always = _mm512_ternarylogic_epi64(source, p, q, kAndXor);
        const __m512i where_set = _mm512_ternarylogic_epi64(source, r, t, kAndXor);
        _mm512_storeu_si512(to, _mm512_ternarylogic_epi64(_mm512_loadu_si512(to), where_set, always, kAndXor));
    }
};

} // namespace

size_t logic_bytes_avx512(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                          BitOrder order) noexcept
{
    const WideLogic wide(logic);
    size_t done = 0;
    if (shift == 0) {
        for (; done + kVector <= bytes; done += kVector)
            wide.apply(to + done, _mm512_loadu_si512(from + done));
        return done;
    }
    const bool high_first = order == BitOrder::high_first;
    const __m128i low_shift = _mm_cvtsi32_si128(static_cast<int>(shift));
    const __m128i high_shift = _mm_cvtsi32_si128(static_cast<int>(8 - shift));
    const __m512i near_bits = every_byte(high_first ? 0xFFu << shift : 0xFFu >> shift);
    for (; done + kVector <= bytes; done += kVector) {
        const __m512i first = _mm512_loadu_si512(from + done);
        const __m512i second = _mm512_loadu_si512(from + done + 1);
        const __m512i a = high_first ? _mm512_sll_epi16(first, low_shift) : _mm512_srl_epi16(first, low_shift);
        const __m512i b = high_first ? _mm512_srl_epi16(second, high_shift) : _mm512_sll_epi16(second, high_shift);
        wide.apply(to + done, choose(near_bits, a, b));
    }
    return done;
}

void stream_lines_avx512(uint8_t* to, const uint8_t* from, size_t bytes) noexcept
{
    for (size_t i = 0; i < bytes; i += kVector) {
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(from) + i + kAhead));
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to + i), _mm512_loadu_si512(from + i));
    }
}

} // namespace vk::combine
