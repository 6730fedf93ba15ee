// Source over, a vector of pixels at a time.
#include "kernel/combine/BlendKernels.h"
#include "simd/Divide.h"
#include "simd/Simd.h"
#include "simd/Thirds.h"

namespace vk::combine::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<uint16_t>;
using Pixels = Wide<uint32_t>; ///< four bytes each, alpha last

constexpr size_t kPixels = Pixels::kLanes;
constexpr uint32_t kAlphaBits = 0xFF000000u;

/// Words of up to 255 * 255 in 255ths, rounded to the nearest.
VK_SIMD_INLINE Words by_255(Words products) noexcept
{
    const Words moved = products + all<Words>(128);
    return (moved + (moved >> 8)) >> 8;
}

/// The lower and the upper bytes of each block as words.
struct Split {
    Words low, high;

    explicit VK_SIMD_INLINE Split(Bytes bytes) noexcept
        : low(as<uint16_t>(interleave_low(bytes, Bytes{}))), high(as<uint16_t>(interleave_high(bytes, Bytes{})))
    {}
    VK_SIMD_INLINE Split(Words lower, Words upper) noexcept : low(lower), high(upper) {}
    VK_SIMD_INLINE Bytes joined() const noexcept { return pack_unsigned(as<int16_t>(low), as<int16_t>(high)); }
};

/// The alpha of every pixel in place of each of its four bytes, as words.
VK_SIMD_INLINE Split alphas_of(Pixels pixels) noexcept
{
    static constexpr auto kLow = order_of<16>([](size_t i) { return i % 2 != 0 ? kNone : i < 8 ? 3 : 7; });
    static constexpr auto kHigh = order_of<16>([](size_t i) { return i % 2 != 0 ? kNone : i < 8 ? 11 : 15; });
    const Bytes bytes = as<uint8_t>(pixels);
    return {as<uint16_t>(shuffle(bytes, in_blocks<Bytes>(kLow))),
            as<uint16_t>(shuffle(bytes, in_blocks<Bytes>(kHigh)))};
}

/// Of bytes, each under its own mask value.
VK_SIMD_INLINE Bytes mix(Bytes s, Bytes d, Split mask) noexcept
{
    const auto words = [](Words a, Words b, Words m) noexcept { return by_255(a * m + b * (m ^ all<Words>(255))); };
    const Split source(s), under(d);
    return Split(words(source.low, under.low, mask.low), words(source.high, under.high, mask.high)).joined();
}

/// Straight pixels over opaque ones, whose alpha stays full.
VK_SIMD_INLINE Pixels over_opaque(Pixels s, Pixels d) noexcept
{
    return as<uint32_t>(mix(as<uint8_t>(s | all<Pixels>(kAlphaBits)), as<uint8_t>(d), alphas_of(s)));
}

/// Straight pixels over any.
VK_SIMD_INLINE Pixels over_any(Pixels s, Pixels d) noexcept
{
    const Pixels source = s >> 24;
    const Pixels kept = as<uint32_t>(as<uint16_t>(d >> 24) * as<uint16_t>(source ^ all<Pixels>(0xFF)));
    const Pixels part = (source << 8) - source;
    const Pixels sum = part + kept;
    const Pixels alpha = source + as<uint32_t>(by_255(as<uint16_t>(kept)));
    const Pixels colors = mix_colors(s, d, part, sum) & all<Pixels>(~kAlphaBits);
    return keep(sum != Pixels{}, alpha << 24 | colors);
}

/// Has memory fetched that is needed soon: the work on pixels leaves it idle. Nothing is read, so the address may lie
/// behind them.
VK_SIMD_INLINE void fetch_ahead(const uint8_t* at) noexcept
{
    constexpr uintptr_t kAhead = 2048;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + kAhead));
}

size_t over_premultiplied(const uint8_t* from, uint8_t* to, const uint8_t*, size_t count) noexcept
{
    return for_steps<kPixels>(count, [&](size_t done, auto part) noexcept {
        const Pixels s = part.template load<Pixels>(from + 4 * done);
        const Split under(as<uint8_t>(part.template load<Pixels>(to + 4 * done)));
        const Split alphas = alphas_of(s);
        const Words full = all<Words>(255);
        const Split kept(by_255(under.low * (full - alphas.low)), by_255(under.high * (full - alphas.high)));
        part.store(to + 4 * done, as<uint32_t>(add_clamped(as<uint8_t>(s), kept.joined())));
    });
}

size_t over_straight(const uint8_t* from, uint8_t* to, const uint8_t*, size_t count) noexcept
{
    return for_steps<kPixels>(count, [&](size_t done, auto part) noexcept {
        fetch_ahead(from + 4 * done);
        fetch_ahead(to + 4 * done);
        const Pixels s = part.template load<Pixels>(from + 4 * done);
        const Pixels d = part.template load<Pixels>(to + 4 * done);
        const bool is_opaque = part.all(d >= all<Pixels>(kAlphaBits));
        part.store(to + 4 * done, is_opaque ? over_opaque(s, d) : over_any(s, d));
    });
}

size_t mix_gray(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept
{
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth)
        store(to + done, mix(load<Bytes>(from + done), load<Bytes>(to + done), Split(load<Bytes>(mask + done))));
    return done;
}

size_t mix_24(const uint8_t* from, uint8_t* to, const uint8_t* mask, size_t count) noexcept
{
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth) {
        const Bytes values = load<Bytes>(mask + done);
        const Bytes thirds[] = {thrice<0>(values), thrice<1>(values), thrice<2>(values)};
        for (size_t i = 0; i < 3; ++i) {
            const size_t at = 3 * done + kWidth * i;
            store(to + at, mix(load<Bytes>(from + at), load<Bytes>(to + at), Split(thirds[i])));
        }
    }
    return done;
}

} // namespace

const BlendLoops blend_loops = {over_premultiplied, over_straight, mix_gray, mix_24};

} // namespace vk::combine::VK_SIMD_SET
