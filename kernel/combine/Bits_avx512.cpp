// Boolean functions of 64 bytes at a time, and copies past the caches by whole lines.
#include "kernel/combine/Bits.h"

#include "kernel/convert/Fused.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

constexpr size_t kVector = 64;
/// How far ahead bytes are asked for; a line at a time needs less than the conversions do.
constexpr size_t kAhead = 2048;

/// What will be wanted soon, which may lie behind the row.
const void* ahead(const uint8_t* at) noexcept
{
    return reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead);
}

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
    void apply(uint8_t* to, __m512i source, __mmask64 bytes) const noexcept
    {
        constexpr int kAndXor = 0x6A; // (a & b) ^ c
        const __m512i always = _mm512_ternarylogic_epi64(source, p, q, kAndXor);
        const __m512i where_set = _mm512_ternarylogic_epi64(source, r, t, kAndXor);
        const __m512i before = _mm512_maskz_loadu_epi8(bytes, to);
        _mm512_mask_storeu_epi8(to, bytes, _mm512_ternarylogic_epi64(before, where_set, always, kAndXor));
    }
};

/// Copies, which do not look at the destination.
struct WideCopy {
    static void apply(uint8_t* to, __m512i source, __mmask64 bytes) noexcept
    {
        _mm512_mask_storeu_epi8(to, bytes, source);
    }
};

/// Calls `step(first, bytes)` for every vector, `bytes` being those of it that are wanted; all but the first begin with
/// a line of `to`.
template <class Step> void each_vector(const uint8_t* to, size_t bytes, Step step) noexcept
{
    constexpr __mmask64 kAll = ~__mmask64{0};
    const auto begun = reinterpret_cast<uintptr_t>(to) % kVector;
    size_t done = 0;
    if (begun != 0 && bytes > kVector) {
        done = kVector - begun;
        step(0, kAll >> begun);
    }
    for (; done + kVector <= bytes; done += kVector)
        step(done, kAll);
    if (done < bytes)
        step(done, kAll >> (kVector - (bytes - done)));
}

/// Puts source bytes to their places by `wide`.
template <class Wide>
void put_bytes(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Wide& wide,
               BitOrder order) noexcept
{
    if (shift == 0) {
        each_vector(to, bytes, [&](size_t first, __mmask64 some) noexcept {
            wide.apply(to + first, _mm512_maskz_loadu_epi8(some, from + first), some);
        });
        return;
    }
    const bool high_first = order == BitOrder::high_first;
    const __m128i low_shift = _mm_cvtsi32_si128(static_cast<int>(shift));
    const __m128i high_shift = _mm_cvtsi32_si128(static_cast<int>(8 - shift));
    const __m512i near_bits = every_byte(high_first ? 0xFFu << shift : 0xFFu >> shift);
    each_vector(to, bytes, [&](size_t first, __mmask64 some) noexcept {
        __builtin_prefetch(ahead(from + first));
        __builtin_prefetch(ahead(to + first));
        const __m512i own = _mm512_maskz_loadu_epi8(some, from + first);
        const __m512i next = _mm512_maskz_loadu_epi8(some, from + first + 1);
        const __m512i a = high_first ? _mm512_sll_epi16(own, low_shift) : _mm512_srl_epi16(own, low_shift);
        const __m512i b = high_first ? _mm512_srl_epi16(next, high_shift) : _mm512_sll_epi16(next, high_shift);
        wide.apply(to + first, choose(near_bits, a, b), some);
    });
}

} // namespace

size_t logic_bytes_avx512(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                          BitOrder order) noexcept
{
    if (logic.is_copy())
        put_bytes(to, from, bytes, shift, WideCopy{}, order);
    else
        put_bytes(to, from, bytes, shift, WideLogic(logic), order);
    return bytes;
}

void stream_lines_avx512(uint8_t* to, const uint8_t* from, size_t bytes) noexcept
{
    for (size_t i = 0; i < bytes; i += kVector) {
        __builtin_prefetch(ahead(from + i));
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to + i), _mm512_loadu_si512(from + i));
    }
}

} // namespace vk::combine
