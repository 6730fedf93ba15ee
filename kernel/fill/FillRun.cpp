#include "kernel/fill/FillRun.h"

#include "kernel/combine/Level.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace vk::fill {

namespace {

/// Pixels of one to eight bytes come round in three lines, those of seven and five bits do not have whole bytes.
constexpr size_t kPatternLines = 3;

} // namespace

FillRun::FillRun(const BITMAPHANDLE& bitmap, COLORREF color, bool is_large) noexcept
    : bits_(static_cast<uint32_t>(bitmap.BitsPerPixel)), order_(combine::bit_order(bitmap.BitsPerPixel)),
      is_streamed_(is_large && bitmap.BitsPerPixel % 8 == 0), pixels_()
{
    const combine::FillColor fill = combine::fill_color(bitmap, color);
    combine::copy_bits(pixels_, 0, fill.packed, 0, bits_, order_);
    for (uint32_t done = 1; done < kPixels; done *= 2) // what is there already, once more
        combine::copy_bits(pixels_, uint64_t{bits_} * done, pixels_, 0,
                           uint64_t{bits_} * std::min(done, kPixels - done), order_);
    const size_t bytes = size_t{bits_} * kPixels / 8;
    std::memcpy(pixels_ + bytes, pixels_, kLine);
}

FillRun::~FillRun()
{
    if (is_streamed_)
        combine::stream_fence();
}

void FillRun::stream(uint8_t* to, size_t bytes) const noexcept
{
    const size_t pixel = bits_ / 8;
    const size_t lead = std::min<size_t>((kLine - reinterpret_cast<uintptr_t>(to) % kLine) % kLine, bytes);
    const size_t lines = (bytes - lead) / kLine;
    const uint8_t* const pattern = pixels_ + lead % pixel;
    std::memcpy(to, pixels_, lead);
    to += lead;
    if (combine::level() >= pixel::Cpu::avx512) {
        stream_pattern_avx512(to, pattern, lines);
    } else {
        for (size_t i = 0; i < lines * kLine; i += sizeof(__m128i))
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + i),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern + i % (kPatternLines * kLine))));
    }
    std::memcpy(to + lines * kLine, pattern + lines % kPatternLines * kLine, bytes - lead - lines * kLine);
}

void FillRun::run(Line to, int32_t count) noexcept
{
    if (is_streamed_)
        return stream(to.data + size_t{bits_} / 8 * static_cast<uint32_t>(to.column),
                      size_t{bits_} / 8 * static_cast<uint32_t>(count));
    for (int32_t done = 0; done < count;) {
        const int32_t column = to.column + done;
        const int32_t phase = column % 8; // from there on source and destination lie alike
        const int32_t some = std::min(count - done, kPixels - phase);
        combine::copy_bits(to.data, uint64_t{bits_} * static_cast<uint32_t>(column), pixels_,
                           uint64_t{bits_} * static_cast<uint32_t>(phase),
                           uint64_t{bits_} * static_cast<uint32_t>(some), order_);
        done += some;
    }
}

void FillRun::run(Line to, Line, Line, int32_t count) noexcept
{
    run(to, count);
}

} // namespace vk::fill
