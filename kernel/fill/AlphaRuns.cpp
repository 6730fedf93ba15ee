#include "kernel/fill/AlphaRuns.h"

#include "kernel/combine/Rest.h"
#include "kernel/combine/Streaming.h"
#include "kernel/fill/AlphaKernels.h"

#include <algorithm>
#include <cstring>

namespace vk::fill {

namespace {

/// The first pixel of a line of 32- or 64-bit ones.
uint8_t* pixels_of(Line line, bool is_deep) noexcept
{
    return line.data + (is_deep ? size_t{8} : size_t{4}) * static_cast<uint32_t>(line.column);
}

/// All channels of a pixel, alpha in the highest bits.
template <class T> struct Whole;
template <> struct Whole<uint8_t> {
    using Pixel = uint32_t;
};
template <> struct Whole<uint16_t> {
    using Pixel = uint64_t;
};
template <class T> constexpr int kAlphaShift = 3 * 8 * sizeof(T);

// Written so that compilers make vectors of them.

template <class T> void take_plain(const uint8_t* pixels, uint8_t* alphas, size_t count) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        typename Whole<T>::Pixel pixel;
        std::memcpy(&pixel, pixels + i * sizeof pixel, sizeof pixel);
        const auto alpha = static_cast<T>(pixel >> kAlphaShift<T>);
        std::memcpy(alphas + i * sizeof alpha, &alpha, sizeof alpha);
    }
}

template <class T> void put_plain(uint8_t* pixels, const uint8_t* alphas, size_t count) noexcept
{
    using Pixel = typename Whole<T>::Pixel;
    for (size_t i = 0; i < count; ++i) {
        Pixel pixel;
        T alpha;
        std::memcpy(&pixel, pixels + i * sizeof pixel, sizeof pixel);
        std::memcpy(&alpha, alphas + i * sizeof alpha, sizeof alpha);
        pixel = (pixel & ~(Pixel{static_cast<T>(~T{0})} << kAlphaShift<T>)) | Pixel{alpha} << kAlphaShift<T>;
        std::memcpy(pixels + i * sizeof pixel, &pixel, sizeof pixel);
    }
}

template <class T> void weigh_plain(uint8_t* pixels, size_t count, bool is_division) noexcept
{
    constexpr uint32_t kMost = static_cast<T>(~T{0});
    for (size_t i = 0; i < count; ++i, pixels += 4 * sizeof(T)) {
        T lanes[4];
        std::memcpy(lanes, pixels, sizeof lanes);
        for (int channel = 0; channel < 3; ++channel)
            lanes[channel] = static_cast<T>(is_division ? by_alpha(lanes[channel], lanes[3], kMost)
                                                        : times_alpha(lanes[channel], lanes[3], kMost));
        std::memcpy(pixels, lanes, 3 * sizeof(T));
    }
}

} // namespace

void TakeAlphaRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    const auto all = static_cast<size_t>(count);
    const uint8_t* const pixels = pixels_of(from, is_deep_);
    if (is_deep_)
        return take_plain<uint16_t>(pixels, to.data + 2 * static_cast<size_t>(to.column), all);
    uint8_t* const alphas = to.data + to.column;
    const AlphaLoops* const loops = alpha_loops_sets.best();
    const size_t done = loops ? loops->take_alpha(pixels, alphas, all) : 0;
    take_plain<uint8_t>(pixels + 4 * done, alphas + done, all - done);
}

int PutAlphaRun::open(const BITMAPHANDLE& to, const BITMAPHANDLE& alpha) noexcept
{
    is_deep_ = to.BitsPerPixel == 64;
    combine::PixelForm form = combine::gray_form();
    if (is_deep_) {
        form.bits = 16;
        form.gray = gray_range_within(16, 0, 15);
    }
    return converter_.open(alpha, form, UINT64_MAX);
}

void PutAlphaRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    const int32_t most = converter_.moves_bits() ? count : combine::kChunk;
    for (int32_t done = 0; done < count; done += most) {
        const int32_t some = std::min(count - done, most);
        const uint8_t* const alphas = source_.take({from.data, from.column + done}, some);
        uint8_t* const pixels = pixels_of({to.data, to.column + done}, is_deep_);
        if (is_deep_)
            put_plain<uint16_t>(pixels, alphas, static_cast<size_t>(some));
        else
            put_plain<uint8_t>(pixels, alphas, static_cast<size_t>(some));
    }
}

void SetAlphaRun::run(Line to, Line, Line, int32_t count) noexcept
{
    uint8_t* const pixels = pixels_of(to, is_deep_);
    const auto alpha = static_cast<uint16_t>(alpha_);
    const size_t bytes = is_deep_ ? 2 : 1;
    for (size_t i = 0; i < static_cast<size_t>(count); ++i)
        std::memcpy(pixels + (4 * i + 3) * bytes, &alpha, bytes);
}

void WeighRun::run(Line to, Line, Line, int32_t count) noexcept
{
    const auto all = static_cast<size_t>(count);
    uint8_t* const pixels = pixels_of(to, is_deep_);
    const AlphaLoops* const loops = alpha_loops_sets.best();
    if (is_deep_) {
        const size_t done = !loops         ? 0
                            : is_division_ ? loops->unpremultiply_words(pixels, all)
                                           : loops->premultiply_words(pixels, all);
        return weigh_plain<uint16_t>(pixels + 8 * done, all - done, is_division_);
    }
    if (!loops)
        return weigh_plain<uint8_t>(pixels, all, is_division_);
    const auto loop = is_division_ ? loops->unpremultiply : loops->premultiply;
    const size_t done = loop(pixels, all);
    if (done < all)
        combine::run_rest({nullptr, pixels + 4 * done, nullptr}, all - done, 4,
                          [loop](const combine::RestOf& rest, size_t room) noexcept { loop(rest.to, room); });
}

} // namespace vk::fill
