// Mirroring by byte permutations: as many pixels of three and six bytes as a register holds whole, from loads that end
// with them; 1, 2 and 4 bits are shifted to the byte boundary that the new row starts from and turned inside their
// bytes by table. Only code chosen by level runs here.
#include "kernel/view/MirrorRow.h"

#include <immintrin.h>

namespace vk::turn {

namespace {

constexpr int64_t kWide = 64;

struct alignas(64) Order {
    uint8_t at[kWide] = {};
};

template <int kBytes> constexpr Order make_order() noexcept
{
    Order order;
    for (int i = 0; i < kWide / kBytes * kBytes; ++i)
        order.at[i] = static_cast<uint8_t>(kWide - kBytes - i / kBytes * kBytes + i % kBytes);
    return order;
}
template <int kBytes> constexpr Order kOrder = make_order<kBytes>();

__m512i load(const uint8_t* from) noexcept
{
    return _mm512_loadu_si512(from);
}

/// With a mask of everything, because compilers warn of the value that the plain form leaves undefined.
__m512i permute(__m512i order, __m512i bytes) noexcept
{
    return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, order, bytes);
}

/// What a store writes too far the next one puts right, or the caller.
template <int kBytes> int64_t mirror_odd(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    constexpr int64_t kStep = kWide / kBytes;
    const __m512i order = _mm512_load_si512(kOrder<kBytes>.at);
    int64_t done = 0;
    for (; (width - done) * kBytes >= kWide; done += kStep)
        _mm512_storeu_si512(to + done * kBytes, permute(order, load(from + (width - done) * kBytes - kWide)));
    return done;
}

/// What the low four bits of a byte become at its other end, for pixels of kBits bits, four times.
template <int kBits> constexpr Order make_nibbles() noexcept
{
    Order order;
    for (uint32_t i = 0; i < kWide; ++i)
        for (uint32_t at = 0; at < 4; at += kBits)
            order.at[i] = static_cast<uint8_t>(order.at[i] | (i % 16 >> at & ((1u << kBits) - 1)) << (4 - kBits - at));
    return order;
}
template <int kBits> constexpr Order kNibbles = make_nibbles<kBits>();

/// Pixels of less than a byte on their way to a row that starts from a byte boundary.
template <int kBits> class FieldTurner {
public:
    explicit FieldTurner(int64_t width) noexcept
        : shift_(static_cast<int>(width * kBits % 8)), left_(_mm_cvtsi32_si128(shift_)),
          right_(_mm_cvtsi32_si128(8 - shift_)), upper_(_mm512_set1_epi8(static_cast<char>(0xFF << shift_))),
          lower_(_mm512_set1_epi8(static_cast<char>(0xFF >> (8 - shift_))))
    {}

    /// 64 bytes of the new row, from those of the old one from `from` on and, where it ends inside a byte, the one
    /// after them.
    __m512i turn(const uint8_t* from) const noexcept
    {
        __m512i bytes = load(from);
        if (shift_ != 0)
            bytes = _mm512_or_si512(_mm512_and_si512(upper_, _mm512_sll_epi16(bytes, left_)),
                                    _mm512_and_si512(lower_, _mm512_srl_epi16(load(from + 1), right_)));
        bytes = permute(order_, bytes);
        const __m512i high = _mm512_shuffle_epi8(nibbles_, _mm512_and_si512(bytes, low_));
        const __m512i rest = _mm512_shuffle_epi8(nibbles_, _mm512_and_si512(_mm512_srli_epi16(bytes, 4), low_));
        return _mm512_or_si512(_mm512_slli_epi16(high, 4), rest);
    }

private:
    int shift_; ///< bits of the last byte that are pixels, or 0 where all are
    __m128i left_;
    __m128i right_;
    __m512i upper_;
    __m512i lower_;
    __m512i low_ = _mm512_set1_epi8(0x0F);
    __m512i order_ = _mm512_load_si512(kOrder<1>.at);
    __m512i nibbles_ = _mm512_load_si512(kNibbles<kBits>.at);
};

template <int kBits> int64_t mirror_fields(const uint8_t* from, uint8_t* to, int64_t width) noexcept
{
    const FieldTurner<kBits> turner(width);
    const int64_t last =
        width * kBits / 8 - kWide; // where the last vector goes, over what the one before may have done
    if (last < 0)
        return 0;
    for (int64_t done = 0; done < last; done += kWide)
        _mm512_storeu_si512(to + done, turner.turn(from + last - done));
    _mm512_storeu_si512(to + last, turner.turn(from));
    return (last + kWide) * 8 / kBits;
}

} // namespace

int64_t mirror_avx512(const uint8_t* from, uint8_t* to, int64_t width, int32_t bits) noexcept
{
    switch (bits) {
    case 1:
        return mirror_fields<1>(from, to, width);
    case 2:
        return mirror_fields<2>(from, to, width);
    case 4:
        return mirror_fields<4>(from, to, width);
    case 24:
        return mirror_odd<3>(from, to, width);
    case 48:
        return mirror_odd<6>(from, to, width);
    default:
        return 0;
    }
}

} // namespace vk::turn
