// The formulas of YUV rows in DIBs for vectors of both widths, exact in words of 16 bits: `V` is what a level can do
// (kernel/yuv/Vectors_avx2.h, Vectors_avx512.h). Chroma is for two pixels, so its terms are made once and added to even
// pixels and to odd ones, which stay in registers of their own until they are packed.
#pragma once

#include "kernel/dib/YuvKernel.h"

namespace vk::dib {

namespace {

/// Studio range. A product of 1024ths is split into whole ones and a rest that is small enough for luma's to be added:
/// (y - 16) 1192 is y - 16 whole ones and 168 more for each.
template <class V> struct Studio {
    using Reg = typename V::Reg;
    struct Split {
        Reg whole, rest;
    };

    /// Below no rest falls: 16 whole ones, those that luma begins at, are taken from it.
    static Split luma(Reg y) noexcept
    {
        return {y, V::add(V::multiply(V::sub(y, V::words(16)), 168), V::words(511 - 16 * 1024))};
    }
    static Split blue(Reg d, Reg) noexcept { return {V::add(d, d), V::multiply(d, 2066 - 2 * 1024)}; }
    static Split green(Reg d, Reg e) noexcept // -401 d is 16 times -25 d, and -d
    {
        return sixty_fourths(V::add(V::multiply(d, -25), V::multiply(e, -52)), V::sub(V::words(0), d));
    }
    static Split red(Reg, Reg e) noexcept { return sixty_fourths(V::multiply(e, 102), V::add(e, e)); }
    static Reg channel(const Split& luma, const Split& term) noexcept
    {
        return V::add(V::add(luma.whole, term.whole), V::template right_signed<10>(V::add(luma.rest, term.rest)));
    }

private:
    static Split sixty_fourths(Reg count, Reg more) noexcept
    {
        const Reg below = V::template left<4>(V::both_bits(count, V::words(63)));
        return {V::template right_signed<6>(count), V::add(below, more)};
    }
};

/// Full range: thousandths, halves added, cut towards zero.
template <class V> struct Full {
    using Reg = typename V::Reg;

    static Reg luma(Reg y) noexcept { return y; }
    /// 1.772 d is 2 d, less 0.228 d to the nearest; what is below zero is one more, as the cut is towards it. The
    /// factor is exact for all of chroma.
    static Reg blue(Reg d, Reg) noexcept { return V::add(V::add(d, d), cut(d, -7471)); }
    static Reg red(Reg, Reg e) noexcept { return V::add(e, cut(e, 13174)); }
    static Reg green(Reg d, Reg e) noexcept { return thousandths(green_sum<false>(d, e), green_sum<true>(d, e)); }
    static Reg channel(Reg luma, Reg term) noexcept { return V::add(luma, term); }

private:
    static Reg cut(Reg a, int32_t factor) noexcept
    {
        return V::sub(V::high_product(a, V::words(factor)), V::template right_signed<15>(a));
    }
    template <bool kHigh> static Reg green_sum(Reg d, Reg e) noexcept
    {
        const Reg factors = V::dwords((-344 & 0xFFFF) | static_cast<int32_t>(static_cast<uint32_t>(-714) << 16));
        const Reg sum = V::add_dwords(V::pair_products(V::template pairs_of<kHigh>(d, e), factors), V::dwords(500));
        return V::add_dwords(sum, V::both_bits(V::template right_dwords<31>(sum), V::dwords(999)));
    }
    /// Rounded down: eighths fit words, and moved above zero they are divided by 125 as a product.
    static Reg thousandths(Reg low, Reg high) noexcept
    {
        constexpr int32_t kMoved = 230;
        const Reg eighths = V::pack_words(V::template right_dwords<3>(low), V::template right_dwords<3>(high));
        const Reg moved = V::add(eighths, V::words(kMoved * 125));
        return V::sub(V::template right<6>(V::high_unsigned(moved, 33555)), V::words(kMoved));
    }
};

/// Luma of even and odd pixels, and chroma, as words.
template <class V> struct Samples {
    typename V::Reg even, odd, u, v;
};

template <class V, class Formula> void put(const Samples<V>& s, uint8_t* bgr, bool stream) noexcept
{
    const auto d = V::sub(s.u, V::words(128)), e = V::sub(s.v, V::words(128));
    const auto even = Formula::luma(s.even), odd = Formula::luma(s.odd);
    const auto b = Formula::blue(d, e), g = Formula::green(d, e), r = Formula::red(d, e);
    V::put_bgr(V::pack_bytes(Formula::channel(even, b), Formula::channel(odd, b)),
               V::pack_bytes(Formula::channel(even, g), Formula::channel(odd, g)),
               V::pack_bytes(Formula::channel(even, r), Formula::channel(odd, r)), bgr, stream);
}

/// Packed samples: `luma_first` tells which bytes are luma, `u_first` which chroma byte comes first.
template <class V, class Formula, bool luma_first, bool u_first>
uint32_t packed(const uint8_t* from, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    uint32_t x = 0;
    for (; x + V::kPixels <= width; x += V::kPixels) {
        const uint8_t* const at = from + 2 * size_t{x};
        V::fetch_ahead(at);
        V::fetch_ahead(at + V::kPixels);
        const auto front = V::load(at), back = V::load(at + V::kBytes);
        const auto first = V::even_quarters(front, back), second = V::odd_quarters(front, back);
        const auto low_first = V::low_bytes(first), low_second = V::low_bytes(second);
        const auto high_first = V::template right<8>(first), high_second = V::template right<8>(second);
        const auto even =
            luma_first ? V::pack_low_words(low_first, low_second) : V::pack_low_words(high_first, high_second);
        const auto odd =
            luma_first ? V::pack_high_words(low_first, low_second) : V::pack_high_words(high_first, high_second);
        const auto one =
            luma_first ? V::pack_low_words(high_first, high_second) : V::pack_low_words(low_first, low_second);
        const auto other =
            luma_first ? V::pack_high_words(high_first, high_second) : V::pack_high_words(low_first, low_second);
        put<V, Formula>({even, odd, u_first ? one : other, u_first ? other : one}, bgr + 3 * size_t{x}, stream);
    }
    return x;
}

template <class V> uint32_t planar(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    uint32_t x = 0;
    for (; x + V::kPixels <= width; x += V::kPixels) {
        V::fetch_ahead(row.y + x);
        const auto luma = V::load(row.y + x);
        put<V, Studio<V>>(
            {V::low_bytes(luma), V::template right<8>(luma), V::widen(row.u + x / 2), V::widen(row.v + x / 2)},
            bgr + 3 * size_t{x}, stream);
    }
    return x;
}

} // namespace

} // namespace vk::dib
