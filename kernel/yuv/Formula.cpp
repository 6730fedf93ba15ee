#include "kernel/yuv/Formula.h"

#include "Vkyuv.h"

#include <cmath>

namespace vk::yuv {

namespace {

struct Matrix {
    double r, b;
    double g() const noexcept { return 1 - r - b; }
};

constexpr Matrix kMatrices[] = {{0.299, 0.114}, {0.2126, 0.0722}, {0.2627, 0.0593}};

/// What samples of a number of bits range over.
struct Spans {
    int32_t black, luma, chroma, neutral, most;
};

Spans spans_of(const Colors& colors) noexcept
{
    const int32_t values = 1 << colors.bits;
    const int32_t unit = values / 256;
    if (colors.range == YUVRANGE_FULL)
        return {0, values - 1, values - 1, values / 2, values - 1};
    return {16 * unit, 219 * unit, 224 * unit, values / 2, values - 1};
}

template <class Factor> Factor rounded(double value) noexcept
{
    return static_cast<Factor>(std::llround(value));
}

template <class Result, class Factor> Result to_colors(const Colors& colors, double luma_unit, double most) noexcept
{
    const Spans spans = spans_of(colors);
    const Matrix& m = kMatrices[colors.matrix];
    const double unit = luma_unit * most / spans.chroma;
    Result f{};
    f.black = spans.black;
    f.ub = rounded<Factor>(unit * (1 - m.b));
    f.ug = rounded<Factor>(unit * m.b * (1 - m.b) / m.g());
    f.vg = rounded<Factor>(unit * m.r * (1 - m.r) / m.g());
    f.vr = rounded<Factor>(unit * (1 - m.r));
    return f;
}

template <class Factor> FromColors<Factor> from_colors(const Colors& colors, double most) noexcept
{
    const Spans spans = spans_of(colors);
    const Matrix& m = kMatrices[colors.matrix];
    const auto one = static_cast<double>(int64_t{1} << FromColors<Factor>::kFraction);
    FromColors<Factor> f{};
    f.black = spans.black;
    f.neutral = spans.neutral;
    f.most = spans.most;
    const double luma = one * spans.luma / most;
    f.y.r = rounded<Factor>(luma * m.r);
    f.y.b = rounded<Factor>(luma * m.b);
    f.y.g = rounded<Factor>(luma) - f.y.r - f.y.b; // grays keep their level
    const double chroma = one / 2 * spans.chroma / most;
    f.u.b = f.v.r = rounded<Factor>(chroma);
    f.u.r = -rounded<Factor>(chroma * m.r / (1 - m.b));
    f.u.g = -f.u.b - f.u.r; // and are neutral
    f.v.b = -rounded<Factor>(chroma * m.b / (1 - m.r));
    f.v.g = -f.v.r - f.v.b;
    return f;
}

} // namespace

ToBytes to_bytes(const Colors& colors) noexcept
{
    constexpr double kOne = 1 << 14;
    auto f = to_colors<ToBytes, int16_t>(colors, kOne, 255);
    f.y = rounded<int16_t>(kOne * 255 / spans_of(colors).luma);
    return f;
}

ToWords to_words(const Colors& colors) noexcept
{
    auto f = to_colors<ToWords, int64_t>(colors, 1 << 25, 65535);
    f.y = rounded<int64_t>((1 << 28) * 65535.0 / spans_of(colors).luma);
    f.neutral = 16 * spans_of(colors).neutral;
    return f;
}

FromBytes from_bytes(const Colors& colors) noexcept
{
    return from_colors<int32_t>(colors, 255);
}

FromWords from_words(const Colors& colors) noexcept
{
    return from_colors<int64_t>(colors, 65535);
}

} // namespace vk::yuv
