// The loops in vectors. Products with rounding are an instruction of their own, sums that would leave 16 bits saturate,
// which the cut to a byte does not see. Where the compiler makes the best of a plain loop, it is that.
#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/Loops.h"
#include "simd/Ahead.h"
#include "simd/Channels.h"
#include "simd/Simd.h"

namespace vk::yuv::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<int16_t>;

constexpr size_t kWords = Words::kLanes;

VK_SIMD_INLINE Words widen_from(const uint8_t* from) noexcept
{
    return as<int16_t>(widen(load<Vec<uint8_t, kWords>>(from)));
}

VK_SIMD_INLINE Words words(int32_t value) noexcept
{
    return all<Words>(static_cast<int16_t>(value));
}

/// The weights of two rows in all lanes.
struct Blended {
    Words own, other;

    explicit Blended(const RowBlend& blend) noexcept : own(words(blend.own_weight)), other(words(blend.other_weight)) {}
    VK_SIMD_INLINE Words of(Words a, Words b) const noexcept { return a * own + b * other; }
};

void blend(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* to, size_t n) noexcept
{
    const Blended weights(blend);
    size_t i = 0;
    for (; i + kWords <= n; i += kWords)
        store(to + i, weights.of(widen_from(own + i), widen_from(other + i)));
    blend_loop(own + i, other + i, blend, to + i, n - i);
}

/// A pair is a word: the first sample its lower byte.
void blend_pairs(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* first, uint16_t* second,
                 size_t n) noexcept
{
    const Blended weights(blend);
    const auto low = [](Words a) noexcept { return a & words(0xFF); };
    const auto high = [](Words a) noexcept { return as<int16_t>(as<uint16_t>(a) >> 8); };
    size_t i = 0;
    for (; i + kWords <= n; i += kWords) {
        fetch_soon(own + 2 * i);
        const Words a = load<Words>(own + 2 * i), b = load<Words>(other + 2 * i);
        store(first + i, weights.of(low(a), low(b)));
        store(second + i, weights.of(high(a), high(b)));
    }
    blend_pairs_loop(own + 2 * i, other + 2 * i, blend, first + i, second + i, n - i);
}

/// The factors in all lanes.
struct Factors {
    Words black, y, ub, ug, vg, vr;

    explicit Factors(const ToBytes& f) noexcept
        : black(words(f.black)), y(words(f.y)), ub(words(f.ub)), ug(words(f.ug)), vg(words(f.vg)), vr(words(f.vr))
    {}
};

/// As many pixels as words, as channels that are still to be cut.
struct Colors {
    Words b, g, r;

    VK_SIMD_INLINE Colors(const uint8_t* y, const uint16_t* u, const uint16_t* v, const Factors& f) noexcept
    {
        const Words level = mul_rounded((widen_from(y) - f.black) << 7, f.y);
        const Words d = load<Words>(u) - words(INT16_MIN); // wraps, as it should
        const Words e = load<Words>(v) - words(INT16_MIN);
        const auto cut = [](Words sum) noexcept { return add_clamped(sum, words(32)) >> 6; };
        b = cut(add_clamped(level, mul_rounded(d, f.ub)));
        g = cut(level - mul_rounded(d, f.ug) - mul_rounded(e, f.vg));
        r = cut(add_clamped(level, mul_rounded(e, f.vr)));
    }
};

VK_SIMD_INLINE Bytes narrow(Words low, Words high) noexcept
{
    return unpacked(pack_unsigned(low, high));
}

template <bool kStream>
size_t to_bgr_whole(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const Factors& f,
                    uint8_t* bgr) noexcept
{
    size_t x = 0;
    for (; x + kWidth <= n; x += kWidth) {
        fetch_soon(y + x);
        const Colors low(y + x, u + x, v + x, f);
        const Colors high(y + x + kWords, u + x + kWords, v + x + kWords, f);
        const Thirds pixels =
            mix_channels<Values::in_order>(narrow(low.b, high.b), narrow(low.g, high.g), narrow(low.r, high.r));
        for (size_t i = 0; i < 3; ++i)
            put<kStream>(bgr + 3 * x + i * kWidth, pixels.of[i]);
    }
    return x;
}

void to_bgr(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const ToBytes& f, uint8_t* bgr,
            bool stream) noexcept
{
    const bool is_aligned = reinterpret_cast<uintptr_t>(bgr) % kWidth == 0;
    const Factors factors(f);
    const size_t x = stream && is_aligned ? to_bgr_whole<true>(y, u, v, n, factors, bgr)
                                          : to_bgr_whole<false>(y, u, v, n, factors, bgr);
    to_bgr_loop(y + x, u + x, v + x, n - x, f, bgr + 3 * x, false);
}

void split(const uint8_t* bgr, size_t n, uint8_t* b, uint8_t* g, uint8_t* r) noexcept
{
    size_t x = 0;
    for (; x + kWidth <= n; x += kWidth) {
        for (size_t line = 0; line < 3 * kWidth; line += 64)
            fetch_soon(bgr + 3 * x + line);
        const Thirds channels = split_channels(bgr + 3 * x);
        store(b + x, channels.of[0]);
        store(g + x, channels.of[1]);
        store(r + x, channels.of[2]);
    }
    split_loop(bgr + 3 * x, n - x, b + x, g + x, r + x);
}

/// Two 16-bit factors for pairs of samples.
VK_SIMD_INLINE Words pair_of(int32_t low, int32_t high) noexcept
{
    return as<int16_t>(all<Wide<uint32_t>>(static_cast<uint32_t>(low & 0xFFFF) | static_cast<uint32_t>(high) << 16));
}

/// Blue with green, and red with one, by which the rounding is weighted. Full-range factors of green may take all of 15
/// bits, no more.
struct Pairs {
    Words bg[2], ro[2];

    VK_SIMD_INLINE Pairs(Words b, Words g, Words r) noexcept
        : bg{interleave_low(b, g), interleave_high(b, g)}, ro{interleave_low(r, words(1)), interleave_high(r, words(1))}
    {}
    VK_SIMD_INLINE Words weighed(Words first, Words second, Words base) const noexcept
    {
        const auto half = [&](size_t i) noexcept { return (mul_pairs(bg[i], first) + mul_pairs(ro[i], second)) >> 15; };
        return pack(half(0), half(1)) + base;
    }
};

void luma(const uint8_t* b, const uint8_t* g, const uint8_t* r, size_t n, const FromBytes& f, uint8_t* y) noexcept
{
    const Words bg = pair_of(f.y.b, f.y.g), ro = pair_of(f.y.r, 1 << 14), black = words(f.black);
    const auto part = [&](size_t x) noexcept {
        return Pairs(widen_from(b + x), widen_from(g + x), widen_from(r + x)).weighed(bg, ro, black);
    };
    size_t x = 0;
    for (; x + kWidth <= n; x += kWidth)
        store(y + x, narrow(part(x), part(x + kWords)));
    luma_loop(b + x, g + x, r + x, n - x, f, y + x);
}

/// A sample for each pixel.
size_t chroma_single(const uint16_t* b, const uint16_t* g, const uint16_t* r, size_t n, const FromBytes& f, uint8_t* u,
                     uint8_t* v) noexcept
{
    const Difference both[] = {{f.u, u}, {f.v, v}};
    size_t k = 0;
    for (; k + kWords <= n; k += kWords) {
        const Pairs pairs(load<Words>(b + k), load<Words>(g + k), load<Words>(r + k));
        for (const Difference& d : both) {
            const Words samples =
                pairs.weighed(pair_of(d.weights.b, d.weights.g), pair_of(d.weights.r, 1 << 14), words(f.neutral));
            store(d.to + k, low_half(narrow(samples, samples)));
        }
    }
    return k;
}

void chroma(const uint16_t* b, const uint16_t* g, const uint16_t* r, size_t n, const Siting& siting, const FromBytes& f,
            int32_t shift, uint8_t* u, uint8_t* v) noexcept
{
    const size_t k = siting.step == 1 && shift == 0 ? chroma_single(b, g, r, n, f, u, v) : 0;
    const size_t at = k * static_cast<size_t>(siting.step);
    chroma_loop<int32_t, uint16_t, uint8_t>(b + at, g + at, r + at, n - k, siting, f, shift, u + k, v + k);
}

} // namespace

const Kernels vector_kernels = {blend,    blend_pairs, spread_loop<uint16_t>, to_bgr,        split, luma,
                                add_loop, chroma,      interleave_loop,       &fused_kernels};

} // namespace vk::yuv::VK_SIMD_SET
