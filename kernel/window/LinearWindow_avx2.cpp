// Straight windows, 32 samples at a time.
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
          lower_offset_(words(window.offset)), flip_(_mm256_set1_epi8(static_cast<int8_t>(flip))),
          sample_shift_(_mm_cvtsi32_si128(form.significant.low_bit())), shift_(_mm_cvtsi32_si128(window.shift - 16))
    {}

    /// 32 samples to 32 levels.
    template <Bits bits, bool is_split> __m256i run(const uint8_t* row) const noexcept
    {
        const __m256i low = sixteen<bits, is_split>(row);
        const __m256i high = sixteen<bits, is_split>(row + 32);
        const __m256i levels = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), _MM_SHUFFLE(3, 1, 2, 0));
        return _mm256_xor_si256(levels, flip_);
    }

private:
    static __m256i words(uint32_t value) noexcept { return _mm256_set1_epi16(static_cast<int16_t>(value)); }

    template <Bits bits, bool is_split> __m256i sixteen(const uint8_t* row) const noexcept
    {
        __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row));
        if constexpr (bits == Bits::some)
            samples = _mm256_and_si256(_mm256_srl_epi16(samples, sample_shift_), mask_);
        samples = _mm256_subs_epu16(_mm256_xor_si256(samples, sign_), base_);
        samples = _mm256_min_epu16(samples, span_);
        if constexpr (is_split)
            return split(samples);
        return whole(samples);
    }

    /// The upper half of the sum, in halves that are multiplied and added each.
    __m256i whole(__m256i distances) const noexcept
    {
        const __m256i lower = _mm256_add_epi16(_mm256_mullo_epi16(distances, lower_factor_), lower_offset_);
        const __m256i upper = _mm256_add_epi16(_mm256_mulhi_epu16(distances, lower_factor_),
                                               _mm256_mullo_epi16(distances, upper_factor_));
        // A carry less one that was not taken.
        const __m256i carry = _mm256_add_epi16(not_below(lower, lower_offset_), _mm256_set1_epi16(1));
        return _mm256_srl_epi16(_mm256_add_epi16(_mm256_add_epi16(upper, upper_offset_), carry), shift_);
    }

    /// The sum in two halves. A half that became smaller by an addition has a carry, which is -1 here; none is 0.
    __m256i split(__m256i distances) const noexcept
    {
        const __m256i product = _mm256_mullo_epi16(distances, upper_factor_);
        const __m256i first = _mm256_add_epi16(product, _mm256_mulhi_epu16(distances, lower_factor_));
        const __m256i second = _mm256_add_epi16(first, lower_offset_);
        const __m256i none = _mm256_add_epi16(not_below(first, product), not_below(second, first));
        // Two carries less those that were not taken.
        const __m256i upper = _mm256_add_epi16(_mm256_mulhi_epu16(distances, upper_factor_), upper_offset_);
        return _mm256_srl_epi16(_mm256_add_epi16(upper, _mm256_add_epi16(none, _mm256_set1_epi16(2))), shift_);
    }

    /// -1 where a is no less than b, as unsigned numbers.
    static __m256i not_below(__m256i a, __m256i b) noexcept { return _mm256_cmpeq_epi16(_mm256_max_epu16(a, b), a); }

    __m256i mask_, sign_, base_, span_, upper_factor_, lower_factor_, upper_offset_, lower_offset_, flip_;
    __m128i sample_shift_, shift_;
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
    for (; done + 32 <= count; done += 32) {
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(row + 2 * done) + kAhead), 0, 3);
        const __m256i made = vectors.run<bits, is_split>(row + 2 * done);
        auto* const to = reinterpret_cast<__m256i*>(levels + done);
        streams ? _mm256_stream_si256(to, made) : _mm256_storeu_si256(to, made);
    }
    return done;
}

void run_row(const LinearWindow& window, const SampleForm& form, uint8_t flip, const uint8_t* row, uint8_t* levels,
             size_t count, bool streams) noexcept
{
    const Vectors vectors(window, form, flip);
    size_t done = 0;
    while (streams && done < count && reinterpret_cast<uintptr_t>(levels + done) % 32 != 0) {
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

LinearRow linear_row_avx2() noexcept
{
    return run_row;
}

} // namespace vk
