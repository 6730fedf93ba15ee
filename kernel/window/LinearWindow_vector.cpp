// Straight windows, a vector of levels at a time.
#include "kernel/window/LinearWindow.h"
#include "simd/Carry.h"
#include "simd/InOrder.h"
#include "simd/Shift.h"
#include "simd/Simd.h"

namespace vk::VK_SIMD_SET {

namespace {

using namespace simd;

using Levels = Wide<uint8_t>;
using Words = Wide<uint16_t>;

/// How samples come: all their bits count, or some.
enum class Bits : uint8_t { all, some };

class Vectors {
public:
    Vectors(const LinearWindow& window, const SampleForm& form, uint8_t flip) noexcept
        : mask_(words(form.significant.mask())), sign_(words(sign_bit(form))), base_(words(window.base)),
          span_(words(window.span)), upper_factor_(words(window.factor >> 16)), lower_factor_(words(window.factor)),
          upper_offset_(words(window.offset >> 16)), lower_offset_(words(window.offset)), flip_(all<Levels>(flip)),
          sample_shift_(form.significant.low_bit()), shift_(window.shift - 16)
    {}

    template <Bits bits, bool is_split> VK_SIMD_INLINE Levels run(const uint8_t* row) const noexcept
    {
        const Words low = levels<bits, is_split>(load<Words>(row));
        const Words high = levels<bits, is_split>(load<Words>(row + kWidth));
        return low_bytes(low, high) ^ flip_;
    }

private:
    static Words words(uint32_t value) noexcept { return all<Words>(static_cast<uint16_t>(value)); }

    template <Bits bits, bool is_split> VK_SIMD_INLINE Words levels(Words samples) const noexcept
    {
        if constexpr (bits == Bits::some)
            samples = sample_shift_(samples) & mask_;
        const Words distances = min(sub_clamped(samples ^ sign_, base_), span_);
        return shift_(is_split ? split(distances) : whole(distances));
    }

    /// The upper half of the sum, in halves that are multiplied and added each.
    VK_SIMD_INLINE Words whole(Words distances) const noexcept
    {
        const Words lower = distances * lower_factor_ + lower_offset_;
        const Words upper = mul_high(distances, lower_factor_) + distances * upper_factor_;
        return add_carry(upper + upper_offset_, lower, lower_offset_);
    }

    /// The sum in two halves.
    VK_SIMD_INLINE Words split(Words distances) const noexcept
    {
        const Words product = distances * upper_factor_;
        const Words first = product + mul_high(distances, lower_factor_);
        const Words second = first + lower_offset_;
        const Words upper = mul_high(distances, upper_factor_) + upper_offset_;
        return add_carry(add_carry(upper, first, product), second, first);
    }

    Words mask_, sign_, base_, span_, upper_factor_, lower_factor_, upper_offset_, lower_offset_;
    Levels flip_;
    WordShift sample_shift_, shift_;
};

template <Bits bits, bool is_split>
size_t run_vectors(const Vectors& vectors, const uint8_t* row, uint8_t* levels, size_t done, size_t count,
                   bool streams) noexcept
{
    for (; done + kWidth <= count; done += kWidth) {
        const auto ahead = reinterpret_cast<uintptr_t>(row + 2 * done) + kAhead;
        for (size_t line = 0; line < 2 * kWidth; line += 64)
            __builtin_prefetch(reinterpret_cast<const void*>(ahead + line), 0, 3);
        const Levels made = vectors.run<bits, is_split>(row + 2 * done);
        streams ? stream(levels + done, made) : store(levels + done, made);
    }
    return done;
}

void run_row(const LinearWindow& window, const SampleForm& form, uint8_t flip, const uint8_t* row, uint8_t* levels,
             size_t count, bool streams) noexcept
{
    const Vectors vectors(window, form, flip);
    size_t done = 0;
    for (; streams && done < count && reinterpret_cast<uintptr_t>(levels + done) % kWidth != 0; ++done)
        levels[done] = linear_level(window, form, flip, row + 2 * done);
    constexpr decltype(&run_vectors<Bits::all, false>) kRuns[] = {
        run_vectors<Bits::all, false>, run_vectors<Bits::all, true>, run_vectors<Bits::some, false>,
        run_vectors<Bits::some, true>};
    const size_t run = (form.significant.bits == 16 ? 0 : 2) + (window.before ? 1 : 0);
    done = kRuns[run](vectors, row, levels, done, count, streams);
    for (; done < count; ++done)
        levels[done] = linear_level(window, form, flip, row + 2 * done);
}

} // namespace

const LinearLoops linear_loops = {run_row};

} // namespace vk::VK_SIMD_SET
