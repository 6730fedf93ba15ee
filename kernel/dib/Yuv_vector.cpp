// The formulas of YUV rows in DIBs in vectors, exact in words of 16 bits. Chroma is for two pixels, so its terms are
// made once and added to even pixels and to odd ones, which stay in vectors of their own until they are packed.
#include "kernel/dib/YuvKernel.h"
#include "simd/Ahead.h"
#include "simd/Channels.h"
#include "simd/Simd.h"

namespace vk::dib::VK_SIMD_SET {

namespace {

using namespace simd;

using Words = Wide<int16_t>;
using Numbers = Wide<int32_t>;

constexpr uint32_t kPixels = kWidth;

VK_SIMD_INLINE Words words(int32_t value) noexcept
{
    return all<Words>(static_cast<int16_t>(value));
}

/// Studio range. A product of 1024ths is split into whole ones and a rest that is small enough for luma's to be added:
/// (y - 16) 1192 is y - 16 whole ones and 168 more for each.
struct Studio {
    struct Split {
        Words whole, rest;
    };

    /// Below no rest falls: 16 whole ones, those that luma begins at, are taken from it.
    static Split luma(Words y) noexcept { return {y, (y - words(16)) * words(168) + words(511 - 16 * 1024)}; }
    static Split blue(Words d, Words) noexcept { return {d + d, d * words(2066 - 2 * 1024)}; }
    static Split green(Words d, Words e) noexcept // -401 d is 16 times -25 d, and -d
    {
        return sixty_fourths(d * words(-25) + e * words(-52), -d);
    }
    static Split red(Words, Words e) noexcept { return sixty_fourths(e * words(102), e + e); }
    static Words channel(const Split& luma, const Split& term) noexcept
    {
        return luma.whole + term.whole + ((luma.rest + term.rest) >> 10);
    }

private:
    static Split sixty_fourths(Words count, Words more) noexcept
    {
        return {count >> 6, ((count & words(63)) << 4) + more};
    }
};

/// Full range: thousandths, halves added, cut towards zero.
struct Full {
    static Words luma(Words y) noexcept { return y; }
    /// 1.772 d is 2 d, less 0.228 d to the nearest; what is below zero is one more, as the cut is towards it. The
    /// factor is exact for all of chroma.
    static Words blue(Words d, Words) noexcept { return d + d + cut(d, -7471); }
    static Words red(Words, Words e) noexcept { return e + cut(e, 13174); }
    static Words green(Words d, Words e) noexcept
    {
        return thousandths(green_sum(interleave_low(d, e)), green_sum(interleave_high(d, e)));
    }
    static Words channel(Words luma, Words term) noexcept { return luma + term; }

private:
    static Words cut(Words a, int32_t factor) noexcept { return mul_rounded(a, words(factor)) - (a >> 15); }
    static Numbers green_sum(Words both) noexcept
    {
        const auto factors = all<Numbers>((-344 & 0xFFFF) | static_cast<int32_t>(static_cast<uint32_t>(-714) << 16));
        const Numbers sum = mul_pairs(both, as<int16_t>(factors)) + all<Numbers>(500);
        return sum + ((sum >> 31) & all<Numbers>(999));
    }
    /// Rounded down: eighths fit words, and moved above zero they are divided by 125 as a product.
    static Words thousandths(Numbers low, Numbers high) noexcept
    {
        constexpr int32_t kMoved = 230;
        const auto moved = as<uint16_t>(pack(low >> 3, high >> 3) + words(kMoved * 125));
        return as<int16_t>(mul_high(moved, all<Wide<uint16_t>>(33555)) >> 6) - words(kMoved);
    }
};

/// Luma of even and odd pixels, and chroma, as words.
struct Samples {
    Words even, odd, u, v;
};

template <class Formula> VK_SIMD_INLINE void put_pixels(const Samples& s, uint8_t* bgr, bool streams) noexcept
{
    const auto d = s.u - words(128), e = s.v - words(128);
    const auto even = Formula::luma(s.even), odd = Formula::luma(s.odd);
    const auto channel = [&](const auto& term) noexcept {
        return pack_unsigned(Formula::channel(even, term), Formula::channel(odd, term));
    };
    const Thirds pixels = mix_channels<Values::even_odd>(channel(Formula::blue(d, e)), channel(Formula::green(d, e)),
                                                         channel(Formula::red(d, e)));
    for (size_t i = 0; i < 3; ++i)
        streams ? stream(bgr + i * kWidth, pixels.of[i]) : store(bgr + i * kWidth, pixels.of[i]);
}

/// Bytes as words, the first of each two or the second.
VK_SIMD_INLINE Words low_bytes(Words a) noexcept
{
    return a & words(0xFF);
}
VK_SIMD_INLINE Words high_bytes(Words a) noexcept
{
    return as<int16_t>(as<uint16_t>(a) >> 8);
}

/// Packed samples: `kLumaFirst` tells which bytes are luma, `kUFirst` which chroma byte comes first.
template <class Formula, bool kLumaFirst, bool kUFirst>
uint32_t packed(const uint8_t* from, uint32_t width, uint8_t* bgr, bool streams) noexcept
{
    const auto lower = [](Words a, Words b) noexcept {
        const auto low = all<Numbers>(0xFFFF);
        return as<int16_t>(pack_unsigned(as<int32_t>(a) & low, as<int32_t>(b) & low));
    };
    const auto upper = [](Words a, Words b) noexcept {
        return as<int16_t>(pack_unsigned(as<int32_t>(as<uint32_t>(a) >> 16), as<int32_t>(as<uint32_t>(b) >> 16)));
    };
    uint32_t x = 0;
    for (; x + kPixels <= width; x += kPixels) {
        const uint8_t* const at = from + 2 * size_t{x};
        fetch_soon(at);
        fetch_soon(at + kPixels);
        const auto front = load<Words>(at), back = load<Words>(at + kWidth);
        // Every other block, so that packing those with the others keeps the order.
        const auto first = every_other_block<0>(front, back), second = every_other_block<1>(front, back);
        const auto low_first = low_bytes(first), low_second = low_bytes(second);
        const auto high_first = high_bytes(first), high_second = high_bytes(second);
        const auto even = kLumaFirst ? lower(low_first, low_second) : lower(high_first, high_second);
        const auto odd = kLumaFirst ? upper(low_first, low_second) : upper(high_first, high_second);
        const auto one = kLumaFirst ? lower(high_first, high_second) : lower(low_first, low_second);
        const auto other = kLumaFirst ? upper(high_first, high_second) : upper(low_first, low_second);
        put_pixels<Formula>({even, odd, kUFirst ? one : other, kUFirst ? other : one}, bgr + 3 * size_t{x}, streams);
    }
    return x;
}

uint32_t yuy2_full(const YuvRow& row, uint32_t width, uint8_t* bgr, bool streams) noexcept
{
    return packed<Full, true, true>(row.y, width, bgr, streams);
}

uint32_t uyvy_studio(const YuvRow& row, uint32_t width, uint8_t* bgr, bool streams) noexcept
{
    return packed<Studio, false, true>(row.u, width, bgr, streams);
}

uint32_t yvyu_studio(const YuvRow& row, uint32_t width, uint8_t* bgr, bool streams) noexcept
{
    return packed<Studio, true, false>(row.y, width, bgr, streams);
}

uint32_t planar_studio(const YuvRow& row, uint32_t width, uint8_t* bgr, bool streams) noexcept
{
    const auto chroma = [](const uint8_t* from) noexcept {
        return as<int16_t>(widen(load<Vec<uint8_t, kWidth / 2>>(from)));
    };
    uint32_t x = 0;
    for (; x + kPixels <= width; x += kPixels) {
        fetch_soon(row.y + x);
        const auto luma = load<Words>(row.y + x);
        put_pixels<Studio>({low_bytes(luma), high_bytes(luma), chroma(row.u + x / 2), chroma(row.v + x / 2)},
                           bgr + 3 * size_t{x}, streams);
    }
    return x;
}

} // namespace

const YuvLoops yuv_loops = {kWidth, yuy2_full, uyvy_studio, yvyu_studio, planar_studio};

} // namespace vk::dib::VK_SIMD_SET
