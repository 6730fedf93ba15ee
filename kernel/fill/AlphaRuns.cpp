#include "kernel/fill/AlphaRuns.h"

#include "kernel/combine/Level.h"
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

template <class T> void take_plain(const uint8_t* pixels, uint8_t* alphas, size_t count) noexcept
{
    for (size_t i = 0; i < count; ++i)
        std::memcpy(alphas + i * sizeof(T), pixels + (4 * i + 3) * sizeof(T), sizeof(T));
}

template <class T> void put_plain(uint8_t* pixels, const uint8_t* alphas, size_t count) noexcept
{
    for (size_t i = 0; i < count; ++i)
        std::memcpy(pixels + (4 * i + 3) * sizeof(T), alphas + i * sizeof(T), sizeof(T));
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

/// Runs the form for the processor: nothing is left to a level that there is none for.
template <class Avx2, class Avx512> size_t run_fast(Avx2 avx2, Avx512 avx512) noexcept
{
    const pixel::Cpu cpu = combine::level();
    return cpu >= pixel::Cpu::avx512 ? avx512() : cpu >= pixel::Cpu::avx2 ? avx2() : 0;
}

} // namespace

void TakeAlphaRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    const auto all = static_cast<size_t>(count);
    const uint8_t* const pixels = pixels_of(from, is_deep_);
    if (is_deep_)
        return take_plain<uint16_t>(pixels, to.data + 2 * static_cast<size_t>(to.column), all);
    uint8_t* const alphas = to.data + to.column;
    const size_t done = run_fast([&] { return take_alpha_avx2(pixels, alphas, all); },
                                 [&] { return take_alpha_avx512(pixels, alphas, all); });
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
    for (int32_t done = 0; done < count; done += combine::kChunk) {
        const int32_t some = std::min(count - done, combine::kChunk);
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
    if (is_deep_)
        return weigh_plain<uint16_t>(pixels, all, is_division_);
    const size_t done = is_division_ ? run_fast([&] { return unpremultiply_avx2(pixels, all); },
                                                [&] { return unpremultiply_avx512(pixels, all); })
                                     : run_fast([&] { return premultiply_avx2(pixels, all); },
                                                [&] { return premultiply_avx512(pixels, all); });
    weigh_plain<uint8_t>(pixels + 4 * done, all - done, is_division_);
}

} // namespace vk::fill
