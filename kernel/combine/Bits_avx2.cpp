// Boolean functions of 32 bytes at a time.
#include "kernel/combine/Bits.h"

#include <immintrin.h>

namespace vk::combine {

namespace {

__m256i load(const uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

__m256i every_byte(uint32_t byte) noexcept
{
    return _mm256_set1_epi8(static_cast<char>(byte));
}

struct WideLogic {
    __m256i p;
    __m256i q;
    __m256i r;
    __m256i t;

    explicit WideLogic(const Logic& logic) noexcept
        : p(every_byte(logic.p & 0xFF)), q(every_byte(logic.q & 0xFF)), r(every_byte(logic.r & 0xFF)),
          t(every_byte(logic.t & 0xFF))
    {}
    void apply(uint8_t* to, __m256i source) const noexcept
    {
        const __m256i always = _mm256_xor_si256(_mm256_and_si256(source, p), q);
        const __m256i where_set = _mm256_xor_si256(_mm256_and_si256(source, r), t);
        const __m256i result = _mm256_xor_si256(always, _mm256_and_si256(load(to), where_set));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), result);
    }
};

/// Copies, which do not look at the destination.
struct WideCopy {
    static void apply(uint8_t* to, __m256i source) noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), source);
    }
};

/// Puts source bytes to their places by `wide`; returns how many.
template <class Wide>
size_t put_bytes(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Wide& wide,
                 BitOrder order) noexcept
{
    constexpr size_t kVector = 32;
    size_t done = 0;
    if (shift == 0) {
        for (; done + kVector <= bytes; done += kVector)
            wide.apply(to + done, load(from + done));
        return done;
    }
    const bool high_first = order == BitOrder::high_first;
    const __m128i low_shift = _mm_cvtsi32_si128(static_cast<int>(shift));
    const __m128i high_shift = _mm_cvtsi32_si128(static_cast<int>(8 - shift));
    const __m256i near_bits = every_byte(high_first ? 0xFFu << shift : 0xFFu >> shift);
    for (; done + kVector <= bytes; done += kVector) {
        const __m256i first = load(from + done);
        const __m256i second = load(from + done + 1);
        const __m256i a = high_first ? _mm256_sll_epi16(first, low_shift) : _mm256_srl_epi16(first, low_shift);
        const __m256i b = high_first ? _mm256_srl_epi16(second, high_shift) : _mm256_sll_epi16(second, high_shift);
        wide.apply(to + done, _mm256_or_si256(_mm256_and_si256(near_bits, a), _mm256_andnot_si256(near_bits, b)));
    }
    return done;
}

} // namespace

size_t logic_bytes_avx2(uint8_t* to, const uint8_t* from, size_t bytes, uint32_t shift, const Logic& logic,
                        BitOrder order) noexcept
{
    return logic.is_copy() ? put_bytes(to, from, bytes, shift, WideCopy{}, order)
                           : put_bytes(to, from, bytes, shift, WideLogic(logic), order);
}

} // namespace vk::combine
