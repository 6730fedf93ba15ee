// Straight windows, 64 samples at a time.
#include "kernel/window/LinearWindow.h"

#include <immintrin.h>

namespace vk {

namespace {

/// How samples come: all their bits count, or some.
enum class Bits : uint8_t { all, some };

class Vectors {
public:
    Vectors(const LinearWindow& window, const SampleForm& form, uint8_t flip) noexcept
        : mask_(words(form.significant.mask())), sign_(words(form.is_signed ? form.significant.mask() / 2 + 1 : 0)),
          base_(words(window.base)), span_(words(window.span)), upper_factor_(words(window.factor >> 16)),
          lower_factor_(words(window.factor)), upper_offset_(words(window.offset >> 16)),
          lower_offset_(words(window.offset)), flip_(_mm512_set1_epi8(static_cast<int8_t>(flip))),
          shifts_(words(static_cast<uint32_t>(window.shift - 16))),
          sample_shift_(_mm_cvtsi32_si128(form.significant.low_bit()))
    {}

    /// 64 samples to 64 levels.
    template <Bits bits, bool is_split> __m512i run(const uint8_t* row) const noexcept
    {
        const __m512i low = sixteen<bits, is_split>(row);
        const __m512i high = sixteen<bits, is_split>(row + 64);
        return _mm512_xor_si512(_mm512_permutex2var_epi8(low, lowest_, high), flip_);
    }

private:
    static __m512i words(uint32_t value) noexcept { return _mm512_set1_epi16(static_cast<int16_t>(value)); }

    template <Bits bits, bool is_split> __m512i sixteen(const uint8_t* row) const noexcept
    {
        __m512i samples = _mm512_loadu_si512(reinterpret_cast<const __m512i*>(row));
        if constexpr (bits == Bits::some)
            samples = _mm512_and_si512(_mm512_srl_epi16(samples, sample_shift_), mask_);
        samples = _mm512_subs_epu16(_mm512_xor_si512(samples, sign_), base_);
        samples = _mm512_min_epu16(samples, span_);
        if constexpr (is_split)
            return split(samples);
        return whole(samples);
    }

    /// The upper half of the sum, in halves that are multiplied and added each.
    __m512i whole(__m512i distances) const noexcept
    {
        const __m512i lower = _mm512_add_epi16(_mm512_mullo_epi16(distances, lower_factor_), lower_offset_);
        const __m512i upper = _mm512_add_epi16(_mm512_mulhi_epu16(distances, lower_factor_),
                                               _mm512_mullo_epi16(distances, upper_factor_));
        const __mmask32 carry = _mm512_cmplt_epu16_mask(lower, lower_offset_);
        const __m512i made = _mm512_add_epi16(upper, upper_offset_);
        return _mm512_srlv_epi16(_mm512_mask_add_epi16(made, carry, made, _mm512_set1_epi16(1)), shifts_);
    }

    /// The sum in two halves. A half that became smaller by an addition has a carry.
    __m512i split(__m512i distances) const noexcept
    {
        const __m512i product = _mm512_mullo_epi16(distances, upper_factor_);
        const __m512i first = _mm512_add_epi16(product, _mm512_mulhi_epu16(distances, lower_factor_));
        const __m512i second = _mm512_add_epi16(first, lower_offset_);
        __m512i upper = _mm512_add_epi16(_mm512_mulhi_epu16(distances, upper_factor_), upper_offset_);
        const __m512i one = _mm512_set1_epi16(1);
        upper = _mm512_mask_add_epi16(upper, _mm512_cmplt_epu16_mask(first, product), upper, one);
        upper = _mm512_mask_add_epi16(upper, _mm512_cmplt_epu16_mask(second, first), upper, one);
        return _mm512_srlv_epi16(upper, shifts_);
    }

    /// The numbers of two vectors' even bytes.
    static __m512i even_bytes() noexcept
    {
        uint8_t numbers[64];
        for (size_t i = 0; i < sizeof numbers; ++i)
            numbers[i] = static_cast<uint8_t>(2 * i);
        return _mm512_loadu_si512(numbers);
    }

    const __m512i lowest_ = even_bytes();
    __m512i mask_, sign_, base_, span_, upper_factor_, lower_factor_, upper_offset_, lower_offset_, flip_, shifts_;
    __m128i sample_shift_;
};

uint8_t level_of(const LinearWindow& window, const SampleForm& form, uint8_t flip, const uint8_t* at) noexcept
{
    const uint32_t raw = at[0] | uint32_t{at[1]} << 8;
    const uint32_t sign = form.is_signed ? form.significant.mask() / 2 + 1 : 0;
    const uint32_t sample = (raw >> form.significant.shift & form.significant.mask()) ^ sign;
    return static_cast<uint8_t>(linear_level(window, sample) ^ flip);
}

template <Bits bits, bool is_split>
size_t run_vectors(const Vectors& vectors, const uint8_t* row, uint8_t* levels, size_t done, size_t count,
                   bool streams) noexcept
{
    for (; done + 64 <= count; done += 64) {
        const auto ahead = reinterpret_cast<uintptr_t>(row + 2 * done) + kAhead;
        __builtin_prefetch(reinterpret_cast<const void*>(ahead), 0, 3);
        __builtin_prefetch(reinterpret_cast<const void*>(ahead + 64), 0, 3);
        const __m512i made = vectors.run<bits, is_split>(row + 2 * done);
        auto* const to = reinterpret_cast<__m512i*>(levels + done);
        streams ? _mm512_stream_si512(to, made) : _mm512_storeu_si512(to, made);
    }
    return done;
}

void run_row(const LinearWindow& window, const SampleForm& form, uint8_t flip, const uint8_t* row, uint8_t* levels,
             size_t count, bool streams) noexcept
{
    const Vectors vectors(window, form, flip);
    size_t done = 0;
    while (streams && done < count && reinterpret_cast<uintptr_t>(levels + done) % 64 != 0) {
        levels[done] = level_of(window, form, flip, row + 2 * done);
        ++done;
    }
    constexpr decltype(&run_vectors<Bits::all, false>) kRuns[] = {
        run_vectors<Bits::all, false>, run_vectors<Bits::all, true>, run_vectors<Bits::some, false>,
        run_vectors<Bits::some, true>};
    const size_t run = (form.significant.bits == 16 ? 0 : 2) + (window.before ? 1 : 0);
    done = kRuns[run](vectors, row, levels, done, count, streams);
    for (; done < count; ++done)
        levels[done] = level_of(window, form, flip, row + 2 * done);
}

} // namespace

LinearRow linear_row_avx512() noexcept
{
    return run_row;
}

} // namespace vk
