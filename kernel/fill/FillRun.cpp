#include "kernel/fill/FillRun.h"

#include "kernel/combine/Level.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace vk::fill {

namespace {

/// Pixels of one to eight bytes come round in three lines, those of seven and five bits do not have whole bytes.
constexpr size_t kPatternLines = 3;

/// Up to eight bytes, the others 0.
uint64_t load_bytes(const uint8_t* from, size_t bytes) noexcept
{
    uint64_t word = 0;
    if (bytes == sizeof word) // which need not ask for a copy of any size
        std::memcpy(&word, from, sizeof word);
    else
        std::memcpy(&word, from, bytes);
    return word;
}

void store_bytes(uint8_t* to, uint64_t word, size_t bytes) noexcept
{
    if (bytes == sizeof word)
        std::memcpy(to, &word, sizeof word);
    else
        std::memcpy(to, &word, bytes);
}

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

void FillRun::run_chosen(Line to, const uint8_t* chosen, int32_t count) const noexcept
{
    constexpr int32_t kWord = 8;
    const uint64_t ink = pixels_[0] & 0x80 ? ~uint64_t{0} : 0;
    const int32_t end = to.column + count;
    const int32_t bytes = (end + 7) / 8;
    for (int32_t i = to.column / 8; i < bytes; i += kWord) {
        const auto some = static_cast<size_t>(std::min(bytes - i, kWord));
        uint64_t marks = load_bytes(chosen + i, some);
        if (marks == 0)
            continue;
        const int32_t before = std::max(to.column - 8 * i, 0);
        const int32_t behind = std::max(8 * (i + kWord) - end, 0);
        marks &= ~uint64_t{0} << before & ~uint64_t{0} >> behind;
        marks = combine::reverse_bits_in_bytes(marks);
        const uint64_t word = (load_bytes(to.data + i, some) & ~marks) | (ink & marks);
        store_bytes(to.data + i, word, some);
    }
}

void FillRun::run(Line to, Line, Line, int32_t count) noexcept
{
    run(to, count);
}

} // namespace vk::fill
