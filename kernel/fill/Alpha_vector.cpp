// Alpha, a vector of pixels at a time.
#include "kernel/fill/AlphaKernels.h"
#include "simd/Divide.h"
#include "simd/InOrder.h"
#include "simd/Lines.h"
#include "simd/Simd.h"

namespace vk::fill::VK_SIMD_SET {

namespace {

using namespace simd;

using Bytes = Wide<uint8_t>;
using Words = Wide<uint16_t>;
using Pixels = Wide<uint32_t>;

constexpr size_t kPixels = Pixels::kLanes;

size_t take_alpha(const uint8_t* pixels, uint8_t* alphas, size_t count) noexcept
{
    size_t done = 0;
    for (; done + kWidth <= count; done += kWidth) {
        const auto part = [&](size_t i) noexcept { return load<Pixels>(pixels + 4 * done + kWidth * i); };
        store(alphas + done, bytes_of<3>({part(0), part(1), part(2), part(3)}));
    }
    return done;
}

/// Channels as words times their alpha, in 255ths rounded to the nearest. `alphas` are words too.
VK_SIMD_INLINE Words multiply(Bytes channels, Bytes alphas) noexcept
{
    const Words product = as<uint16_t>(channels) * as<uint16_t>(alphas) + all<Words>(128);
    return (product + (product >> 8)) >> 8;
}

/// The alpha of each pixel for its colours, as words; that of alpha itself stays 255. Pixels 0 and 1 of a block, or 2
/// and 3.
template <size_t Half> VK_SIMD_INLINE Bytes alphas_of(Bytes pixels) noexcept
{
    static constexpr auto kOrder =
        order_of<16>([](size_t i) { return i % 2 != 0 || i % 8 == 6 ? kNone : 8 * Half + i / 8 * 4 + 3; });
    return shuffle(pixels, in_blocks<Bytes>(kOrder)) | as<uint8_t>(all<Wide<uint64_t>>(0x00FF000000000000));
}

size_t premultiply(uint8_t* pixels, size_t count) noexcept
{
    return for_steps<kPixels>(count, [&](size_t done, auto part) noexcept {
        const auto v = as<uint8_t>(part.template load<Pixels>(pixels + 4 * done));
        const Words low = multiply(interleave_low(v, Bytes{}), alphas_of<0>(v));
        const Words high = multiply(interleave_high(v, Bytes{}), alphas_of<1>(v));
        part.store(pixels + 4 * done, as<uint32_t>(pack_unsigned(as<int16_t>(low), as<int16_t>(high))));
    });
}

/// Channels times the alpha of their pixel, in 65535ths rounded to the nearest; alpha times all of them.
size_t premultiply_words(uint8_t* pixels, size_t count) noexcept
{
    static constexpr auto kAlphas =
        order_of<16>([](size_t i) { return i % 8 >= 6 ? size_t{kNone} : i / 8 * 8 + 6 + i % 2; });
    constexpr size_t kStep = kWidth / 8;
    size_t done = 0;
    for (; done + kStep <= count; done += kStep) {
        const auto v = load<Bytes>(pixels + 8 * done);
        const auto alphas =
            as<uint16_t>(shuffle(v, in_blocks<Bytes>(kAlphas)) | as<uint8_t>(all<Wide<uint64_t>>(0xFFFF000000000000)));
        const auto product = [](Words color, Words alpha) noexcept {
            const Pixels moved = as<uint32_t>(color) * as<uint32_t>(alpha) + all<Pixels>(0x8000);
            return as<int32_t>((moved + (moved >> 16)) >> 16);
        };
        const Words words = as<uint16_t>(v);
        store(pixels + 8 * done,
              pack_unsigned(product(interleave_low(words, Words{}), interleave_low(alphas, Words{})),
                            product(interleave_high(words, Words{}), interleave_high(alphas, Words{}))));
    }
    return done;
}

/// A channel in each lane of 64 bits, as reals: below a number whose last bit is one.
VK_SIMD_INLINE Wide<double> reals_of(Wide<uint64_t> words) noexcept
{
    constexpr uint64_t kBits = 0x4330000000000000; // of 2^52
    return as<double>(words | all<Wide<uint64_t>>(kBits)) - all<Wide<double>>(0x1p52);
}

/// Times 65535 by alpha, with one quotient for each pixel. A product is off by less than 2^-34, and nothing but a half
/// is nearer than 2^-17 to where rounding turns, so that with a little more halves are rounded up.
size_t unpremultiply_words(uint8_t* pixels, size_t count) noexcept
{
    using Longs = Wide<uint64_t>;
    using Reals = Wide<double>;
    const auto channel = all<Longs>(0xFFFF);
    size_t done = 0;
    for (; done + Longs::kLanes <= count; done += Longs::kLanes) {
        const auto v = load<Longs>(pixels + 8 * done);
        const Longs alphas = v >> 48;
        const Reals scale = all<Reals>(65535) / reals_of(alphas);
        const auto color = [&](int shift) noexcept {
            const Reals quotient = reals_of(v >> shift & channel) * scale + all<Reals>(0x1p-20);
            return (as<uint64_t>(min(quotient, all<Reals>(65535)) + all<Reals>(0x1p52)) & channel) << shift;
        };
        const Longs colors = color(0) | color(16) | color(32);
        store(pixels + 8 * done, keep(alphas != Longs{}, colors) | alphas << 48);
    }
    return done;
}

size_t unpremultiply(uint8_t* pixels, size_t count) noexcept
{
    return for_steps<kPixels>(count, [&](size_t done, auto part) noexcept {
        fetch_line_ahead(pixels + 4 * done);
        const auto v = part.template load<Pixels>(pixels + 4 * done);
        const auto scale = about_quotient(255, as<int32_t>(v >> 24));
        // Times 255 by alpha: half a step and a little is added before the rest is cut off, which is less than any
        // quotient but a half is away from where it turns.
        const auto color = [&](int shift) noexcept {
            const auto channel = to_float(as<int32_t>((v >> shift) & all<Pixels>(0xFF)));
            const auto quotient = cut_off(mul_add(channel, scale, all<Wide<float>>(0.5f + 1.0f / 2048)));
            return as<uint32_t>(min(quotient, all<Wide<int32_t>>(255))) << shift;
        };
        part.store(pixels + 4 * done, color(0) | color(8) | color(16) | (v & all<Pixels>(0xFF000000u)));
    });
}

} // namespace

const AlphaLoops alpha_loops = {take_alpha, premultiply, unpremultiply, premultiply_words, unpremultiply_words};

} // namespace vk::fill::VK_SIMD_SET
