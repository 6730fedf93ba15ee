// Rows of three bytes a pixel to samples and back in one go, for the codes that most pictures have: chroma for each
// pixel or for two of a row, and one or two rows. What lies between is kept in registers. What is left of a row behind
// whole vectors goes through them by copies.
#include "kernel/yuv/Kernels.h"
#include "simd/Ahead.h"
#include "simd/Channels.h"
#include "simd/Simd.h"

#include <cstring>

namespace vk::yuv::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<int16_t>;
using Numbers = Wide<int32_t>;

/// Pixels of a step.
constexpr size_t kPixels = kWidth;

VK_SIMD_INLINE void put(uint8_t* to, Bytes bytes, bool streams) noexcept
{
    streams ? stream(to, bytes) : store(to, bytes);
}

/// The first of each two bytes as words, and the second where it stands.
VK_SIMD_INLINE Words low_bytes(Words a) noexcept
{
    return a & all<Words>(0xFF);
}
VK_SIMD_INLINE Words high_bytes(Words a) noexcept
{
    return a & all<Words>(-256);
}

/// Colours from samples; lanes of words are even pixels, and odd ones.
class ToBgr {
public:
    explicit ToBgr(const ToBytes& f) noexcept
        : black_(words(128 * f.black)), y_(words(f.y)), ub_(words(f.ub)), ug_(words(f.ug)), vg_(words(f.vg)),
          vr_(words(f.vr))
    {}

    /// Two neighbours' chroma, less its middle.
    struct Chroma {
        Words even, odd;
    };

    VK_SIMD_INLINE void put_pixels(const uint8_t* luma, const Chroma& u, const Chroma& v, uint8_t* bgr,
                                   bool streams) const noexcept
    {
        const auto both = load<Words>(luma);
        const Colors even = colors(low_bytes(both) << 7, u.even, v.even);
        const Colors odd = colors(as<int16_t>(as<uint16_t>(high_bytes(both)) >> 1), u.odd, v.odd);
        const Thirds pixels = mix_channels<Values::even_odd>(pack_unsigned(even.b, odd.b), pack_unsigned(even.g, odd.g),
                                                             pack_unsigned(even.r, odd.r));
        for (size_t i = 0; i < 3; ++i)
            put(bgr + i * kWidth, pixels.of[i], streams);
    }

private:
    struct Colors {
        Words b, g, r;
    };

    static Words words(int32_t value) noexcept { return all<Words>(static_cast<int16_t>(value)); }

    /// Half a unit is added to luma beforehand: what saturates then is cut to the same byte.
    VK_SIMD_INLINE Colors colors(Words luma, Words u, Words v) const noexcept
    {
        const Words level = mul_rounded(luma - black_, y_) + all<Words>(32);
        const Words green = level - mul_rounded(u, ug_) - mul_rounded(v, vg_);
        return {add_clamped(level, mul_rounded(u, ub_)) >> 6, green >> 6, add_clamped(level, mul_rounded(v, vr_)) >> 6};
    }

    Words black_, y_, ub_, ug_, vg_, vr_;
};

/// Chroma for each pixel.
VK_SIMD_INLINE ToBgr::Chroma chroma_of_each(const uint8_t* from) noexcept
{
    const auto both = load<Words>(from), middle = all<Words>(INT16_MIN);
    return {(both << 8) ^ middle, high_bytes(both) ^ middle};
}

/// Chroma for two pixels, spread as spread_loop has it.
template <bool kCentered> VK_SIMD_INLINE ToBgr::Chroma chroma_of_two(const uint16_t* from, int32_t shift) noexcept
{
    const auto middle = all<Words>(INT16_MIN);
    const auto own = load<Words>(from), behind = load<Words>(from + 1), twice = own + own;
    auto even = twice + twice, odd = twice + (behind + behind);
    if constexpr (kCentered) {
        even = twice + own + load<Words>(from - 1);
        odd = twice + own + behind;
    }
    return {shift_left(even, shift) ^ middle, shift_left(odd, shift) ^ middle};
}

/// Pixels up to the next multiple of a register's bytes; 0 where no number of even ones comes there.
size_t pixels_before_line(const uint8_t* bgr) noexcept
{
    constexpr uintptr_t kOneThird = 43; // times 3 is 1, modulo 16, 32 and 64
    const auto at = reinterpret_cast<uintptr_t>(bgr);
    return at % 2 == 0 ? (0 - at) * kOneThird % kWidth : 0;
}

/// Fewer pixels than a register's, by copies.
template <class Put> void put_some(const uint8_t* y, size_t x, size_t count, uint8_t* bgr, const Put& put) noexcept
{
    uint8_t luma[kPixels] = {}, pixels[3 * kPixels];
    std::memcpy(luma, y + x, count);
    put(x, luma, pixels, false, count);
    std::memcpy(bgr + 3 * x, pixels, 3 * count);
}

/// Goes over a row: `put` makes pixels at x of it from luma, as many as it is told.
template <class Put> void each_part(const uint8_t* y, size_t n, uint8_t* bgr, bool stream, const Put& put) noexcept
{
    size_t x = 0;
    if (stream && n >= kPixels) {
        x = pixels_before_line(bgr);
        if (x != 0)
            put_some(y, 0, x, bgr, put);
    }
    const bool is_aligned = reinterpret_cast<uintptr_t>(bgr + 3 * x) % kWidth == 0;
    for (; x + kPixels <= n; x += kPixels)
        put(x, y + x, bgr + 3 * x, stream && is_aligned, kPixels);
    if (x != n)
        put_some(y, x, n - x, bgr, put);
}

void to_bgr_single(const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n, const ToBytes& f, uint8_t* bgr,
                   bool stream) noexcept
{
    const ToBgr to(f);
    const auto put = [&](size_t x, const uint8_t* luma, uint8_t* pixels, bool streams, size_t count) noexcept {
        if (count < kPixels) {
            uint8_t some[2][kPixels] = {};
            std::memcpy(some[0], u + x, count);
            std::memcpy(some[1], v + x, count);
            return to.put_pixels(luma, chroma_of_each(some[0]), chroma_of_each(some[1]), pixels, streams);
        }
        fetch_soon(y + x);
        fetch_soon(u + x);
        fetch_soon(v + x);
        to.put_pixels(luma, chroma_of_each(u + x), chroma_of_each(v + x), pixels, streams);
    };
    each_part(y, n, bgr, stream, put);
}

template <bool kCentered>
void to_bgr_two(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, int32_t shift, const ToBytes& f,
                uint8_t* bgr, bool stream) noexcept
{
    const ToBgr to(f);
    const auto put = [&](size_t x, const uint8_t* luma, uint8_t* pixels, bool streams, size_t) noexcept {
        fetch_soon(y + x);
        to.put_pixels(luma, chroma_of_two<kCentered>(u + x / 2, shift), chroma_of_two<kCentered>(v + x / 2, shift),
                      pixels, streams);
    };
    each_part(y, n, bgr, stream, put);
}

void to_bgr_pairs(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, bool centered, int32_t shift,
                  const ToBytes& f, uint8_t* bgr, bool stream) noexcept
{
    centered ? to_bgr_two<true>(y, u, v, n, shift, f, bgr, stream)
             : to_bgr_two<false>(y, u, v, n, shift, f, bgr, stream);
}

/// Packed rows, of two pixels in four bytes, to luma and samples of chroma as words.
void unpack_twos(const uint8_t* from, size_t n, bool luma_first, uint8_t* y, uint16_t* first, uint16_t* second) noexcept
{
    constexpr size_t kPairs = kPixels / 2;
    const auto low = [](Words a) noexcept { return low_bytes(a); };
    const auto high = [](Words a) noexcept { return as<int16_t>(as<uint16_t>(a) >> 8); };
    const auto lower = [](Words a) noexcept { return as<int32_t>(a) & all<Numbers>(0xFFFF); };
    const auto upper = [](Words a) noexcept { return as<int32_t>(as<uint32_t>(a) >> 16); };
    size_t k = 0;
    for (; k + kPairs <= n; k += kPairs) {
        fetch_soon(from + 4 * k);
        fetch_soon(from + 4 * k + 64);
        const auto front = load<Words>(from + 4 * k), back = load<Words>(from + 4 * k + kWidth);
        const auto luma = luma_first ? pack_unsigned(low(front), low(back)) : pack_unsigned(high(front), high(back));
        const auto c = luma_first ? high(front) : low(front), d = luma_first ? high(back) : low(back);
        store(y + 2 * k, unpacked(luma));
        store(first + k, unpacked(pack_unsigned(lower(c), lower(d))));
        store(second + k, unpacked(pack_unsigned(upper(c), upper(d))));
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

/// Samples from colours, kRows rows for a row of chroma. Four vectors of pixels are a part of a row.
template <size_t kRows, Across kAcross> class FromBgr {
    static constexpr int32_t kLumaPlaces = FromBytes::kFraction;
    static constexpr int32_t kChromaPlaces = FromBytes::kFraction + static_cast<int32_t>(kAcross == Across::centered) +
                                             2 * static_cast<int32_t>(kAcross == Across::left) + (kRows == 2 ? 1 : 0);

public:
    FromBgr(const FusedRows& rows, const FromBytes& f) noexcept
        : luma_(f.y, f.black, kLumaPlaces), first_(f.u, f.neutral, kChromaPlaces),
          second_(f.v, f.neutral, kChromaPlaces), before_(sums_of(rows))
    {}

    VK_SIMD_INLINE void put_part(const FusedRows& rows) noexcept
    {
        Four sums;
        Bytes luma[kRows];
        for (size_t row = 0; row < kRows; ++row) {
            Four pixels;
            pixels.load(rows.from[row]);
            luma[row] = luma_.template bytes<kLumaPlaces>(pixels);
            for (size_t i = 0; i < 4; ++i) {
                sums.of[i].bg = row == 0 ? pixels.of[i].bg : sums.of[i].bg + pixels.of[i].bg;
                sums.of[i].r = row == 0 ? pixels.of[i].r : sums.of[i].r + pixels.of[i].r;
            }
        }
        if constexpr (kAcross == Across::single)
            store_single(rows, luma[0], sums);
        else
            store(rows, luma, chroma(sums));
    }

private:
    struct Four {
        ColorWords of[4];

        VK_SIMD_INLINE void load(const uint8_t* bgr) noexcept
        {
            constexpr size_t kBytes = 3 * kWidth / 4;
            of[0] = load_colors<false>(bgr);
            of[1] = load_colors<false>(bgr + kBytes);
            of[2] = load_colors<false>(bgr + 2 * kBytes);
            of[3] = load_colors<true>(bgr + 3 * kBytes);
        }
    };
    struct Two {
        ColorWords of[2];
    };

    /// The weights of one sample, with what is added before rounding down.
    struct Weighted {
        Words bg, r;
        Numbers more;

        Weighted(const Weights<int32_t>& w, int32_t base, int32_t places) noexcept
            : bg(pair((w.b & 0xFFFF) | static_cast<int32_t>(static_cast<uint32_t>(w.g) << 16))), r(pair(w.r & 0xFFFF)),
              more(all<Numbers>((base << places) + (1 << (places - 1))))
        {}
        static Words pair(int32_t both) noexcept { return as<int16_t>(all<Numbers>(both)); }

        template <int32_t kPlaces> VK_SIMD_INLINE Numbers of(const ColorWords& sum) const noexcept
        {
            return (mul_pairs(sum.bg, bg) + mul_pairs(sum.r, r) + more) >> kPlaces;
        }
        template <int32_t kPlaces> VK_SIMD_INLINE Words words(const ColorWords& a, const ColorWords& b) const noexcept
        {
            return pack(of<kPlaces>(a), of<kPlaces>(b));
        }
        template <int32_t kPlaces> VK_SIMD_INLINE Bytes bytes(const Four& p) const noexcept
        {
            return pack_unsigned(words<kPlaces>(p.of[0], p.of[1]), words<kPlaces>(p.of[2], p.of[3]));
        }
    };

    /// The first pixel's sums: a row goes on as at its edge.
    static ColorWords sums_of(const FusedRows& rows) noexcept
    {
        int32_t sum[3] = {};
        for (size_t row = 0; row < kRows; ++row)
            for (size_t c = 0; c < 3; ++c)
                sum[c] += rows.from[row][c];
        return {Weighted::pair(sum[0] | sum[1] << 16), Weighted::pair(sum[2])};
    }

    static VK_SIMD_INLINE Words filtered(Words first, Words second, Words& before) noexcept
    {
        const auto part = [&]<size_t kFirst>() noexcept {
            return as<int16_t>(every_other<kFirst>(as<int32_t>(first), as<int32_t>(second)));
        };
        const Words even = part.template operator()<0>(), odd = part.template operator()<1>();
        const Words own = even + odd;
        if constexpr (kAcross == Across::centered)
            return own;
        const Words left = as<int16_t>(moved_up(as<int32_t>(before), as<int32_t>(odd)));
        before = odd;
        return own + even + left;
    }

    /// Both differences, the first in the lower halves of blocks.
    VK_SIMD_INLINE Bytes chroma(const Four& sums) noexcept
    {
        Two pairs;
        for (size_t i = 0; i < 2; ++i) {
            pairs.of[i].bg = filtered(sums.of[2 * i].bg, sums.of[2 * i + 1].bg, before_.bg);
            pairs.of[i].r = filtered(sums.of[2 * i].r, sums.of[2 * i + 1].r, before_.r);
        }
        return pack_unsigned(first_.template words<kChromaPlaces>(pairs.of[0], pairs.of[1]),
                             second_.template words<kChromaPlaces>(pairs.of[0], pairs.of[1]));
    }

    /// Each block's eight samples of both differences by turns.
    static VK_SIMD_INLINE Bytes as_pairs(Bytes chroma) noexcept
    {
        static constexpr auto kOrder = order_of<16>([](size_t i) { return i / 2 + i % 2 * 8; });
        return shuffle(chroma, in_blocks<Bytes>(kOrder));
    }

    /// Luma where interleaving it with chroma in blocks leaves pixels in order: the first half of all in the lower
    /// halves of blocks.
    static VK_SIMD_INLINE Bytes for_mixing(Bytes luma) noexcept
    {
        if constexpr (kWideBlocks == 1)
            return luma;
        else
            return as<uint8_t>(arrange<[](size_t i) {
                const size_t four = i / 4 * 2 + i % 2 + (i % 4 < 2 ? 0 : 2 * kWideBlocks);
                return four % kWideBlocks * 4 + four / kWideBlocks;
            }>(as<uint32_t>(luma)));
    }

    static VK_SIMD_INLINE void put_mixed(Bytes luma, Bytes chroma, bool luma_first, uint8_t* to, bool streams) noexcept
    {
        const Bytes y = for_mixing(luma), c = as_pairs(chroma);
        const Bytes first = luma_first ? y : c, second = luma_first ? c : y;
        put(to, interleave_low(first, second), streams);
        put(to + kWidth, interleave_high(first, second), streams);
    }

    static VK_SIMD_INLINE void put_halves(Bytes all, uint8_t* first, uint8_t* second, bool streams) noexcept
    {
        const auto low = low_half(all), high = high_half(all);
        if (streams) {
            stream(first, low);
            stream(second, high);
        } else {
            simd::store(first, low);
            simd::store(second, high);
        }
    }

    VK_SIMD_INLINE void store(const FusedRows& rows, const Bytes (&luma)[kRows], Bytes chroma) const noexcept
    {
        if (rows.to == ChromaTo::luma_first || rows.to == ChromaTo::chroma_first)
            return put_mixed(luma[0], chroma, rows.to == ChromaTo::luma_first, rows.luma[0], rows.stream);
        for (size_t row = 0; row < kRows; ++row)
            put(rows.luma[row], unpacked_4(luma[row]), rows.stream);
        if (rows.to == ChromaTo::pairs)
            put(rows.chroma[0], unpacked(as_pairs(chroma)), rows.stream);
        else
            put_halves(unpacked_4(chroma), rows.chroma[0], rows.chroma[1], rows.stream);
    }

    VK_SIMD_INLINE void store_single(const FusedRows& rows, Bytes luma, const Four& pixels) const noexcept
    {
        put(rows.luma[0], unpacked_4(luma), rows.stream);
        put(rows.chroma[0], unpacked_4(first_.template bytes<kChromaPlaces>(pixels)), rows.stream);
        put(rows.chroma[1], unpacked_4(second_.template bytes<kChromaPlaces>(pixels)), rows.stream);
    }

    Weighted luma_, first_, second_;
    ColorWords before_; ///< odd pixels' sums, of which the last is that before a part
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
template <class Part> void put_rest(Part& part, const FusedRows& rows, size_t n, size_t count) noexcept
{
    uint8_t from[2][3 * kPixels], luma[2][2 * kPixels], chroma[2][kPixels];
    for (size_t row = 0; row < count; ++row) {
        std::memcpy(from[row], rows.from[row], 3 * n);
        for (size_t i = 3 * n; i < sizeof from[row]; ++i)
            from[row][i] = from[row][i - 3];
    }
    part.put_part({{from[0], from[1]}, {luma[0], luma[1]}, {chroma[0], chroma[1]}, rows.to, false});
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

template <size_t kRows, Across kAcross> void from_bgr_rows(const FusedRows& all, size_t n, const FromBytes& f) noexcept
{
    FromBgr<kRows, kAcross> part(all, f);
    FusedRows rows = all;
    uintptr_t places = 0;
    for (size_t i = 0; i < 2; ++i)
        places |= reinterpret_cast<uintptr_t>(rows.luma[i]) | reinterpret_cast<uintptr_t>(rows.chroma[i]);
    rows.stream = rows.stream && places % kWidth == 0;
    size_t x = 0;
    for (; x + kPixels <= n; x += kPixels) {
        for (size_t row = 0; row < kRows; ++row)
            for (size_t line = 0; line < 3 * kPixels; line += 64)
                fetch_soon(rows.from[row] + line);
        part.put_part(rows);
        rows = further(rows, kPixels);
    }
    if (x != n)
        put_rest(part, rows, n - x, kRows);
}

void from_bgr(const FusedRows& rows, size_t count, size_t n, bool centered, const FromBytes& f) noexcept
{
    if (rows.to == ChromaTo::single_planes)
        return from_bgr_rows<1, Across::single>(rows, n, f);
    if (count == 2)
        return centered ? from_bgr_rows<2, Across::centered>(rows, n, f) : from_bgr_rows<2, Across::left>(rows, n, f);
    return centered ? from_bgr_rows<1, Across::centered>(rows, n, f) : from_bgr_rows<1, Across::left>(rows, n, f);
}

} // namespace

const FusedKernels fused_kernels = {to_bgr_pairs, to_bgr_single, unpack_twos, from_bgr};

} // namespace vk::yuv::VK_SIMD_SET
