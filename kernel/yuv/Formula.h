// The formulas of Vkyuv.h as factors: what becomes of a picture's matrix and range, worked out once for a picture.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vk::yuv {

struct Colors {
    uint32_t matrix; ///< YUVMATRIX_ value
    uint32_t range;  ///< YUVRANGE_ value
    uint8_t bits;    ///< of a sample
};

/// Samples of 8 bits to colours of 8 bits; chroma is times 256.
struct ToBytes {
    int32_t black;
    int16_t y, ub, ug, vg, vr;
};
ToBytes to_bytes(const Colors& colors) noexcept;

constexpr int32_t high_product(int32_t a, int32_t b) noexcept
{
    return (a * b + (1 << 14)) >> 15;
}

constexpr uint8_t cut_byte(int32_t value) noexcept
{
    return static_cast<uint8_t>(std::clamp((value + 32) >> 6, 0, 255));
}

/// One level of luma without chroma.
constexpr uint8_t gray_byte(const ToBytes& f, int32_t y) noexcept
{
    return cut_byte(high_product((y - f.black) * 128, f.y));
}

/// One pixel, blue first.
constexpr void color_bytes(const ToBytes& f, int32_t y, int32_t u, int32_t v, uint8_t* bgr) noexcept
{
    const int32_t level = high_product((y - f.black) * 128, f.y);
    bgr[0] = cut_byte(level + high_product(u - 32768, f.ub));
    bgr[1] = cut_byte(level - high_product(u - 32768, f.ug) - high_product(v - 32768, f.vg));
    bgr[2] = cut_byte(level + high_product(v - 32768, f.vr));
}

/// Samples of 10 or 16 bits to colours of 16 bits; chroma is times 16.
struct ToWords {
    int32_t black, neutral;
    int64_t y, ub, ug, vg, vr;
};
ToWords to_words(const Colors& colors) noexcept;

constexpr uint16_t cut_word(int64_t value) noexcept
{
    return static_cast<uint16_t>(std::clamp<int64_t>((value + (1 << 27)) >> 28, 0, 65535));
}

constexpr void color_words(const ToWords& f, int64_t y, int64_t u, int64_t v, uint16_t* bgr) noexcept
{
    const int64_t level = (y - f.black) * f.y;
    bgr[0] = cut_word(level + (u - f.neutral) * f.ub);
    bgr[1] = cut_word(level - (u - f.neutral) * f.ug - (v - f.neutral) * f.vg);
    bgr[2] = cut_word(level + (v - f.neutral) * f.vr);
}

/// The weights of blue, green and red for one sample.
template <class Factor> struct Weights {
    Factor b, g, r;
};

/// Colours to samples: of 8 bits with factors of 15 bits, of 16 bits with factors of 30.
template <class Factor> struct FromColors {
    static constexpr int32_t kFraction = sizeof(Factor) == 4 ? 15 : 30;

    Weights<Factor> y, u, v;
    int32_t black, neutral, most;

    constexpr int32_t luma(Factor b, Factor g, Factor r) const noexcept
    {
        const Factor sum = y.b * b + y.g * g + y.r * r + (Factor{1} << (kFraction - 1));
        return static_cast<int32_t>(sum >> kFraction) + black;
    }
    /// Of sums whose weights add up to 1 << shift.
    constexpr int32_t chroma(const Weights<Factor>& w, Factor b, Factor g, Factor r, int32_t shift) const noexcept
    {
        const Factor sum = w.b * b + w.g * g + w.r * r + (Factor{1} << (kFraction + shift - 1));
        return std::clamp(static_cast<int32_t>(sum >> (kFraction + shift)) + neutral, 0, most);
    }
};
using FromBytes = FromColors<int32_t>;

/// One of the two differences, and where its samples go.
struct Difference {
    const Weights<int32_t>& weights;
    uint8_t* to;
};
using FromWords = FromColors<int64_t>;
FromBytes from_bytes(const Colors& colors) noexcept;
FromWords from_words(const Colors& colors) noexcept;

} // namespace vk::yuv
