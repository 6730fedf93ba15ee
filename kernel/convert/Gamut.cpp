// The wide-gamut matrices in 13-bit fixed point. The rounding constant is 4095, one less than half: results depend on
// it, and it is the same in both directions.
#include "kernel/convert/Gamut.h"

#include <algorithm>
#include <cstdint>

namespace vk::pixel {
namespace {

constexpr int32_t kRound = 4095;

template <class Pixel> void forward(Pixel* pixels, size_t count) noexcept
{
    using Channel = decltype(Pixel::r);
    constexpr uint32_t kMax = static_cast<Channel>(~Channel{0});
    for (size_t i = 0; i < count; ++i) {
        const uint32_t b = pixels[i].b;
        const uint32_t g = pixels[i].g;
        const uint32_t r = pixels[i].r;
        pixels[i].b = static_cast<Channel>(std::min((7151u * b + 897u * g + 145u * r + kRound) >> 13, kMax));
        pixels[i].g = static_cast<Channel>(std::min((394u * b + 7067u * g + 731u * r + kRound) >> 13, kMax));
        pixels[i].r = static_cast<Channel>(std::min((1067u * b + 2841u * g + 4284u * r + kRound) >> 13, kMax));
    }
}

/// Division truncates toward zero, unlike a shift; negative results clamp to 0 all the same.
template <class Channel> Channel clamped(int32_t sum) noexcept
{
    constexpr int32_t kMax = static_cast<Channel>(~Channel{0});
    return static_cast<Channel>(std::clamp(sum / 8192, 0, kMax));
}

template <class Pixel> void inverse(Pixel* pixels, size_t count) noexcept
{
    using Channel = decltype(Pixel::r);
    for (size_t i = 0; i < count; ++i) {
        const int32_t b = pixels[i].b;
        const int32_t g = pixels[i].g;
        const int32_t r = pixels[i].r;
        pixels[i].b = clamped<Channel>(9467 * b - 1151 * g - 125 * r + kRound);
        pixels[i].g = clamped<Channel>(-305 * b + 10232 * g - 1735 * r + kRound);
        pixels[i].r = clamped<Channel>(-2156 * b - 6498 * g + 16846 * r + kRound);
    }
}

} // namespace

void forward_gamut(Rgba8* pixels, size_t count) noexcept
{
    forward(pixels, count);
}
void forward_gamut(Rgba16* pixels, size_t count) noexcept
{
    forward(pixels, count);
}
void inverse_gamut(Rgba8* pixels, size_t count) noexcept
{
    inverse(pixels, count);
}
void inverse_gamut(Rgba16* pixels, size_t count) noexcept
{
    inverse(pixels, count);
}

} // namespace vk::pixel
