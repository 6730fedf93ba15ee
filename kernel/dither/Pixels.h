// Pixels in vectors of 16 bytes: a channel to a lane, blue first, as 32-bit numbers of one pixel or 16-bit ones of two.
#pragma once

#include "simd/Pick.h"
#include "simd/Simd.h"

namespace vk::dither {

using Channels = simd::Quad<int32_t>; ///< of one pixel
using Words = simd::Quad<int16_t>;    ///< of two pixels, or of one in the lower half

/// The lower eight bytes as words, and the lower four words, which are not negative or of which the lower halves
/// count, as numbers.
inline Words to_words(simd::Quad<uint8_t> bytes) noexcept
{
    return simd::as<int16_t>(simd::interleave_low(bytes, simd::Quad<uint8_t>{}));
}
inline Channels to_channels(Words words) noexcept
{
    return simd::as<int32_t>(simd::interleave_low(words, Words{}));
}

/// The channels of one pixel of four bytes, and of two.
inline Words words_of(uint32_t pixel) noexcept
{
    return to_words(simd::as<uint8_t>(simd::first<simd::Quad<uint32_t>>(pixel)));
}
inline Words words_of(uint32_t lower, uint32_t upper) noexcept
{
    using Pixels = simd::Quad<uint32_t>;
    return to_words(simd::as<uint8_t>(simd::interleave_low(simd::first<Pixels>(lower), simd::first<Pixels>(upper))));
}

/// A sixteenth, toward zero.
inline Words sixteenth(Words sum) noexcept
{
    const Words bias = simd::as<int16_t>(simd::as<uint16_t>(sum >> 15) >> 12); // 15 where negative
    return (sum + bias) >> 4;
}

/// Ones in the lanes where a comparison holds.
template <class T, size_t N> inline simd::Vec<T, N> ones_where(simd::Mask<T, N> mask) noexcept
{
    return simd::keep(mask, simd::all<simd::Vec<T, N>>(static_cast<T>(~T{0})));
}

} // namespace vk::dither
