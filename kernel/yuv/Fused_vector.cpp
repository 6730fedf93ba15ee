// Rows of three bytes a pixel to samples and back in one go, for the codes that most pictures have: chroma for each
// pixel or for two of a row, and one or two rows. What lies between is kept in registers. Written once for both widths
// of vectors: `V` is what a level can do (Vectors_avx2.h, Vectors_avx512.h), a type without linkage, so that no
// level's code is taken for that of another. What is left of a row behind whole vectors goes through them by copies.
#pragma once

#include "kernel/yuv/Kernels.h"

#include <cstring>

namespace vk::yuv {

namespace {

/// Colours from samples; lanes of words are even pixels, and odd ones.
template <class V> class ToBgr {
    using Reg = typename V::Reg;

public:
    explicit ToBgr(const ToBytes& f) noexcept
        : black_(V::words(128 * f.black)), y_(V::words(f.y)), ub_(V::words(f.ub)), ug_(V::words(f.ug)),
          vg_(V::words(f.vg)), vr_(V::words(f.vr))
    {}

    /// Two neighbours' chroma, less its middle.
    struct Chroma {
        Reg even, odd;
    };

    [[gnu::always_inline]] void put(const uint8_t* luma, const Chroma& u, const Chroma& v, uint8_t* bgr,
                                    bool stream) const noexcept
    {
        const Reg both = V::load(luma);
        const Colors even = colors(V::template left<7>(V::low_bytes(both)), u.even, v.even);
        const Colors odd = colors(V::template right<1>(V::high_bytes(both)), u.odd, v.odd);
        V::put_bgr(V::pack_bytes(even.b, odd.b), V::pack_bytes(even.g, odd.g), V::pack_bytes(even.r, odd.r), bgr,
                   stream);
    }

private:
    struct Colors {
        Reg b, g, r;
    };

    /// Half a unit is added to luma beforehand: what saturates then is cut to the same byte.
    Colors colors(Reg luma, Reg u, Reg v) const noexcept
    {
        const Reg level = V::add(V::high_product(V::sub(luma, black_), y_), V::words(32));
        const Reg green = V::sub(V::sub(level, V::high_product(u, ug_)), V::high_product(v, vg_));
        return {V::template right_signed<6>(V::add_cut(level, V::high_product(u, ub_))),
                V::template right_signed<6>(green),
                V::template right_signed<6>(V::add_cut(level, V::high_product(v, vr_)))};
    }

    Reg black_, y_, ub_, ug_, vg_, vr_;
};

/// Chroma for each pixel.
template <class V> typename ToBgr<V>::Chroma chroma_of_each(const uint8_t* from) noexcept
{
    const auto both = V::load(from);
    const auto middle = V::words(INT16_MIN);
    return {V::exclusive_or(V::template left<8>(both), middle), V::exclusive_or(V::high_bytes(both), middle)};
}

/// Chroma for two pixels, spread as spread_loop has it.
template <class V, bool kCentered>
typename ToBgr<V>::Chroma chroma_of_two(const uint16_t* from, const typename V::Places& places) noexcept
{
    const auto middle = V::words(INT16_MIN);
    const auto own = V::load(from), behind = V::load(from + 1), twice = V::add(own, own);
    auto even = V::add(twice, twice), odd = V::add(twice, V::add(behind, behind));
    if constexpr (kCentered) {
        even = V::add(V::add(twice, own), V::load(from - 1));
        odd = V::add(V::add(twice, own), behind);
    }
    return {V::exclusive_or(V::left_by(even, places), middle), V::exclusive_or(V::left_by(odd, places), middle)};
}

/// Pixels up to the next multiple of a register's bytes; 0 where no number of even ones comes there.
template <class V> size_t pixels_before_line(const uint8_t* bgr) noexcept
{
    constexpr uintptr_t kOneThird = 43; // times 3 is 1, modulo 32 and 64
    const auto at = reinterpret_cast<uintptr_t>(bgr);
    return at % 2 == 0 ? (0 - at) * kOneThird % V::kBytes : 0;
}

/// Fewer pixels than a register's, by copies.
template <class V, class Put>
void put_some(const uint8_t* y, size_t x, size_t count, uint8_t* bgr, const Put& put) noexcept
{
    uint8_t luma[V::kPixels] = {}, pixels[3 * V::kPixels];
    std::memcpy(luma, y + x, count);
    put(x, luma, pixels, false, count);
    std::memcpy(bgr + 3 * x, pixels, 3 * count);
}

/// Goes over a row: `put` makes pixels at x of it from luma, as many as it is told.
template <class V, class Put>
void each_part(const uint8_t* y, size_t n, uint8_t* bgr, bool stream, const Put& put) noexcept
{
    constexpr size_t kPixels = V::kPixels;
    size_t x = 0;
    if (stream && n >= kPixels) {
        x = pixels_before_line<V>(bgr);
        if (x != 0)
            put_some<V>(y, 0, x, bgr, put);
    }
    const bool is_aligned = reinterpret_cast<uintptr_t>(bgr + 3 * x) % V::kBytes == 0;
    for (; x + kPixels <= n; x += kPixels)
        put(x, y + x, bgr + 3 * x, stream && is_aligned, kPixels);
    if (x != n)
        put_some<V>(y, x, n - x, bgr, put);
}

template <class V>
void to_bgr_single(const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n, const ToBytes& f, uint8_t* bgr,
                   bool stream) noexcept
{
    const ToBgr<V> to(f);
    const auto put = [&](size_t x, const uint8_t* luma, uint8_t* pixels, bool streams, size_t count) noexcept {
        if (count < V::kPixels) {
            uint8_t some[2][V::kPixels] = {};
            std::memcpy(some[0], u + x, count);
            std::memcpy(some[1], v + x, count);
            return to.put(luma, chroma_of_each<V>(some[0]), chroma_of_each<V>(some[1]), pixels, streams);
        }
        V::fetch_ahead(y + x);
        V::fetch_ahead(u + x);
        V::fetch_ahead(v + x);
        to.put(luma, chroma_of_each<V>(u + x), chroma_of_each<V>(v + x), pixels, streams);
    };
    each_part<V>(y, n, bgr, stream, put);
}

template <class V, bool kCentered>
void to_bgr_two(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, int32_t shift, const ToBytes& f,
                uint8_t* bgr, bool stream) noexcept
{
    const ToBgr<V> to(f);
    const typename V::Places places(shift);
    const auto put = [&](size_t x, const uint8_t* luma, uint8_t* pixels, bool streams, size_t) noexcept {
        V::fetch_ahead(y + x);
        to.put(luma, chroma_of_two<V, kCentered>(u + x / 2, places), chroma_of_two<V, kCentered>(v + x / 2, places),
               pixels, streams);
    };
    each_part<V>(y, n, bgr, stream, put);
}

template <class V>
void to_bgr_pairs(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, bool centered, int32_t shift,
                  const ToBytes& f, uint8_t* bgr, bool stream) noexcept
{
    centered ? to_bgr_two<V, true>(y, u, v, n, shift, f, bgr, stream)
             : to_bgr_two<V, false>(y, u, v, n, shift, f, bgr, stream);
}

/// Packed rows, of two pixels in four bytes, to luma and samples of chroma as words.
template <class V>
void unpack_twos(const uint8_t* from, size_t n, bool luma_first, uint8_t* y, uint16_t* first, uint16_t* second) noexcept
{
    constexpr size_t kPairs = V::kPixels / 2;
    size_t k = 0;
    for (; k + kPairs <= n; k += kPairs) {
        V::fetch_ahead(from + 4 * k);
        V::fetch_ahead(from + 4 * k + 64);
        const auto front = V::load(from + 4 * k), back = V::load(from + 4 * k + V::kBytes);
        const auto low = [](auto a) noexcept { return V::low_bytes(a); };
        const auto high = [](auto a) noexcept { return V::template right<8>(a); };
        const auto luma = luma_first ? V::pack_bytes(low(front), low(back)) : V::pack_bytes(high(front), high(back));
        const auto c = luma_first ? high(front) : low(front), d = luma_first ? high(back) : low(back);
        V::put(V::packed_in_order(luma), y + 2 * k, false);
        V::put(V::packed_in_order(V::pack_low_words(c, d)), reinterpret_cast<uint8_t*>(first + k), false);
        V::put(V::packed_in_order(V::pack_high_words(c, d)), reinterpret_cast<uint8_t*>(second + k), false);
    }
    for (const size_t at = luma_first ? 0 : 1; k < n; ++k) {
        y[2 * k] = from[4 * k + at];
        y[2 * k + 1] = from[4 * k + at + 2];
        first[k] = from[4 * k + 1 - at];
        second[k] = from[4 * k + 3 - at];
    }
}

/// How chroma lies in a row: a sample for each pixel, or for two.
enum class Across : uint8_t { single, left, centered };

/// Samples from colours, kRows rows for a row of chroma. A register has a pixel in each lane of 32 bits: blue and
/// green, or red, as words; four of them are a part of a row.
template <class V, size_t kRows, Across kAcross> class FromBgr {
    using Reg = typename V::Reg;
    static constexpr int32_t kLumaPlaces = FromBytes::kFraction;
    static constexpr int32_t kChromaPlaces = FromBytes::kFraction + static_cast<int32_t>(kAcross == Across::centered) +
                                             2 * static_cast<int32_t>(kAcross == Across::left) + (kRows == 2 ? 1 : 0);

public:
    FromBgr(const FusedRows& rows, const FromBytes& f) noexcept
        : luma_(f.y, f.black, kLumaPlaces), first_(f.u, f.neutral, kChromaPlaces),
          second_(f.v, f.neutral, kChromaPlaces), before_(sums_of(rows))
    {}

    [[gnu::always_inline]] void put(const FusedRows& rows) noexcept
    {
        Four sums;
        Reg luma[kRows];
        for (size_t row = 0; row < kRows; ++row) {
            Four pixels;
            V::get_bgr(rows.from[row], pixels.bg, pixels.r);
            luma[row] = luma_.template bytes<kLumaPlaces>(pixels);
            for (size_t i = 0; i < 4; ++i) {
                sums.bg[i] = row == 0 ? pixels.bg[i] : V::add(sums.bg[i], pixels.bg[i]);
                sums.r[i] = row == 0 ? pixels.r[i] : V::add(sums.r[i], pixels.r[i]);
            }
        }
        if constexpr (kAcross == Across::single)
            store_single(rows, luma[0], sums);
        else
            store(rows, luma, chroma(sums));
    }

private:
    struct Four {
        Reg bg[4], r[4];
    };
    struct Two {
        Reg bg[2], r[2];
    };
    /// Odd pixels' sums, of which the last is that before a part.
    struct Before {
        Reg bg, r;
    };

    /// The weights of one sample, with what is added before rounding down.
    struct Weighted {
        Reg bg, r, more;

        Weighted(const Weights<int32_t>& w, int32_t base, int32_t places) noexcept
            : bg(V::dwords((w.b & 0xFFFF) | static_cast<int32_t>(static_cast<uint32_t>(w.g) << 16))),
              r(V::dwords(w.r & 0xFFFF)), more(V::dwords((base << places) + (1 << (places - 1))))
        {}
        template <int32_t kPlaces> Reg of(Reg sum_bg, Reg sum_r) const noexcept
        {
            return V::template right_dwords<kPlaces>(
                V::add_dwords(V::add_dwords(V::pair_products(sum_bg, bg), V::pair_products(sum_r, r)), more));
        }
        template <int32_t kPlaces> Reg bytes(const Four& p) const noexcept
        {
            const Reg low = V::pack_words(of<kPlaces>(p.bg[0], p.r[0]), of<kPlaces>(p.bg[1], p.r[1]));
            const Reg high = V::pack_words(of<kPlaces>(p.bg[2], p.r[2]), of<kPlaces>(p.bg[3], p.r[3]));
            return V::pack_bytes(low, high);
        }
        template <int32_t kPlaces> Reg words(const Two& p) const noexcept
        {
            return V::pack_words(of<kPlaces>(p.bg[0], p.r[0]), of<kPlaces>(p.bg[1], p.r[1]));
        }
    };

    /// The first pixel's sums: a row goes on as at its edge.
    static Before sums_of(const FusedRows& rows) noexcept
    {
        int32_t sum[3] = {};
        for (size_t row = 0; row < kRows; ++row)
            for (size_t c = 0; c < 3; ++c)
                sum[c] += rows.from[row][c];
        return {V::dwords(sum[0] | sum[1] << 16), V::dwords(sum[2])};
    }

    static Reg filtered(Reg first, Reg second, Reg& before) noexcept
    {
        const Reg even = V::even_dwords(first, second), odd = V::odd_dwords(first, second);
        const Reg own = V::add(even, odd);
        if constexpr (kAcross == Across::centered)
            return own;
        const Reg left = V::shifted_in(before, odd);
        before = odd;
        return V::add(V::add(own, even), left);
    }

    /// Both differences, the first in the lower halves of lanes of 16 bytes.
    Reg chroma(const Four& sums) noexcept
    {
        Two pairs;
        for (size_t i = 0; i < 2; ++i) {
            pairs.bg[i] = filtered(sums.bg[2 * i], sums.bg[2 * i + 1], before_.bg);
            pairs.r[i] = filtered(sums.r[2 * i], sums.r[2 * i + 1], before_.r);
        }
        return V::pack_bytes(first_.template words<kChromaPlaces>(pairs), second_.template words<kChromaPlaces>(pairs));
    }

    void store(const FusedRows& rows, const Reg (&luma)[kRows], Reg chroma) const noexcept
    {
        if (rows.to == ChromaTo::luma_first || rows.to == ChromaTo::chroma_first)
            return V::put_mixed(luma[0], chroma, rows.to == ChromaTo::luma_first, rows.luma[0], rows.stream);
        for (size_t row = 0; row < kRows; ++row)
            V::put(V::in_order(luma[row]), rows.luma[row], rows.stream);
        if (rows.to == ChromaTo::pairs)
            V::put(V::as_pairs(chroma), rows.chroma[0], rows.stream);
        else
            V::put_halves(V::in_order(chroma), rows.chroma[0], rows.chroma[1], rows.stream);
    }

    void store_single(const FusedRows& rows, Reg luma, const Four& pixels) const noexcept
    {
        V::put(V::in_order(luma), rows.luma[0], rows.stream);
        V::put(V::in_order(first_.template bytes<kChromaPlaces>(pixels)), rows.chroma[0], rows.stream);
        V::put(V::in_order(second_.template bytes<kChromaPlaces>(pixels)), rows.chroma[1], rows.stream);
    }

    Weighted luma_, first_, second_;
    Before before_;
};

constexpr bool is_packed(ChromaTo to) noexcept
{
    return to == ChromaTo::luma_first || to == ChromaTo::chroma_first;
}

/// Where n pixels further on are.
inline FusedRows further(FusedRows rows, size_t n) noexcept
{
    for (size_t i = 0; i < 2; ++i) {
        rows.from[i] += 3 * n;
        rows.luma[i] += is_packed(rows.to) ? 2 * n : n;
        rows.chroma[i] += rows.to == ChromaTo::planes ? n / 2 : n;
    }
    return rows;
}

/// The last pixels, fewer than a part, with the last one repeated.
template <class V, class Part> void put_rest(Part& part, const FusedRows& rows, size_t n, size_t count) noexcept
{
    constexpr size_t kPixels = V::kPixels;
    uint8_t from[2][3 * kPixels], luma[2][2 * kPixels], chroma[2][kPixels];
    for (size_t row = 0; row < count; ++row) {
        std::memcpy(from[row], rows.from[row], 3 * n);
        for (size_t i = 3 * n; i < sizeof from[row]; ++i)
            from[row][i] = from[row][i - 3];
    }
    part.put({{from[0], from[1]}, {luma[0], luma[1]}, {chroma[0], chroma[1]}, rows.to, false});
    const size_t pairs = (n + 1) / 2;
    if (is_packed(rows.to)) {
        std::memcpy(rows.luma[0], luma[0], 4 * pairs);
        return;
    }
    for (size_t row = 0; row < count; ++row)
        std::memcpy(rows.luma[row], luma[row], n);
    const size_t samples = rows.to == ChromaTo::pairs ? 2 * pairs : rows.to == ChromaTo::planes ? pairs : n;
    std::memcpy(rows.chroma[0], chroma[0], samples);
    if (rows.to != ChromaTo::pairs)
        std::memcpy(rows.chroma[1], chroma[1], samples);
}

template <class V, size_t kRows, Across kAcross>
void from_bgr_rows(const FusedRows& all, size_t n, const FromBytes& f) noexcept
{
    FromBgr<V, kRows, kAcross> part(all, f);
    FusedRows rows = all;
    uintptr_t places = 0;
    for (size_t i = 0; i < 2; ++i)
        places |= reinterpret_cast<uintptr_t>(rows.luma[i]) | reinterpret_cast<uintptr_t>(rows.chroma[i]);
    rows.stream = rows.stream && places % V::kBytes == 0;
    size_t x = 0;
    for (; x + V::kPixels <= n; x += V::kPixels) {
        for (size_t row = 0; row < kRows; ++row)
            for (size_t line = 0; line < 3 * V::kPixels; line += 64)
                V::fetch_ahead(rows.from[row] + line);
        part.put(rows);
        rows = further(rows, V::kPixels);
    }
    if (x != n)
        put_rest<V>(part, rows, n - x, kRows);
}

template <class V>
void from_bgr(const FusedRows& rows, size_t count, size_t n, bool centered, const FromBytes& f) noexcept
{
    if (rows.to == ChromaTo::single_planes)
        return from_bgr_rows<V, 1, Across::single>(rows, n, f);
    if (count == 2)
        return centered ? from_bgr_rows<V, 2, Across::centered>(rows, n, f)
                        : from_bgr_rows<V, 2, Across::left>(rows, n, f);
    return centered ? from_bgr_rows<V, 1, Across::centered>(rows, n, f) : from_bgr_rows<V, 1, Across::left>(rows, n, f);
}

} // namespace

} // namespace vk::yuv
