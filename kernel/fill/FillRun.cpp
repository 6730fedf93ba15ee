#include "kernel/fill/FillRun.h"

#include "kernel/combine/Streaming.h"
#include "simd/Lines.h"
#include "simd/Simd.h"

#include <algorithm>
#include <cstring>

namespace vk::fill {

namespace {

/// Pixels of one to eight bytes come round in three lines, those of seven and five bits do not have whole bytes.
constexpr size_t kPatternLines = 3;

constexpr int32_t kWordPixels = 64;

/// Gives the ink to pixels that are chosen and among `wanted` of a word, of which there are so many bytes.
inline void choose_bytes(uint8_t* to, const uint8_t* chosen, uint64_t ink, int32_t word, uint64_t wanted,
                         size_t bytes) noexcept
{
    const size_t at = sizeof(uint64_t) * static_cast<uint32_t>(word);
    uint64_t marks = 0;
    uint64_t pixels = 0;
    std::memcpy(&marks, chosen + at, bytes);
    std::memcpy(&pixels, to + at, bytes);
    marks = combine::reverse_bits_in_bytes(marks & wanted);
    pixels = (pixels & ~marks) | (ink & marks);
    std::memcpy(to + at, &pixels, bytes);
}

/// The same for a word that the run, up to `end`, has a part of.
void choose_within(Line to, const uint8_t* chosen, uint64_t ink, int32_t word, int32_t end) noexcept
{
    const int32_t first = std::max(to.column - word * kWordPixels, 0);
    const int32_t last = std::min(end - word * kWordPixels, kWordPixels);
    const uint64_t wanted = ~uint64_t{0} << first & ~uint64_t{0} >> (kWordPixels - last);
    choose_bytes(to.data, chosen, ink, word, wanted, static_cast<size_t>(last + 7) / 8);
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
    const FillLoops* const loops = fill_loops_sets.best();
    loops ? loops->stream_pattern(to, pattern, lines) : simd::stream_pattern(to, pattern, lines);
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
    const uint64_t ink = pixels_[0] & 0x80 ? ~uint64_t{0} : 0;
    const int32_t end = to.column + count;
    int32_t first = to.column / kWordPixels;
    const int32_t behind = end / kWordPixels;
    if (to.column % kWordPixels != 0)
        choose_within(to, chosen, ink, first++, end);
    for (int32_t i = first; i < behind; ++i)
        choose_bytes(to.data, chosen, ink, i, ~uint64_t{0}, sizeof ink);
    if (end % kWordPixels != 0 && first <= behind)
        choose_within(to, chosen, ink, behind, end);
}

void FillRun::run(Line to, Line, Line, int32_t count) noexcept
{
    run(to, count);
}

} // namespace vk::fill
