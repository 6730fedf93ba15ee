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

const AlphaLoops alpha_loops = {take_alpha, premultiply, unpremultiply};

} // namespace vk::fill::VK_SIMD_SET
