// Reading source rows: any format to 8-bit colours, or gray levels where one channel does.
#include "kernel/convert/Gamut.h"
#include "kernel/convert/Reduce.h"
#include "kernel/dither/State.h"

#include <algorithm>

namespace vk::dither {
namespace {

using pixel::Rgba16;
using pixel::Rgba8;
using pixel::Work;

/// A multiple of 8, so that a chunk starts on a byte at every depth.
constexpr size_t kChunk = 256;

/// Colours, whose words are what they are in memory but for alpha.
void read_colors8(const DitherState& state, uint8_t* row, uint32_t* out, size_t count) noexcept
{
    auto* const pixels = reinterpret_cast<Rgba8*>(out); // bytes all the same
    state.format->unpack(row, pixels, count);
    if (state.format->wide_gamut) {
        pixel::inverse_gamut(pixels, count);
        state.format->pack(pixels, row, count);
    }
    for (size_t i = 0; i < count; ++i) {
        out[i] &= kColorMask;
    }
}

void read_colors16(const DitherState& state, uint8_t* row, uint32_t* out, size_t count) noexcept
{
    Rgba16 pixels[kChunk];
    state.format->unpack(row, pixels, count);
    if (state.format->wide_gamut) {
        pixel::inverse_gamut(pixels, count);
        state.format->pack(pixels, row, count);
    }
    pixel::narrow_colors(pixels, reinterpret_cast<Rgba8*>(out), count);
    for (size_t i = 0; i < count; ++i) {
        out[i] &= kColorMask;
    }
}

void read_levels(const DitherState& state, const uint8_t* row, uint8_t* out, size_t count) noexcept
{
    uint32_t samples[kChunk];
    state.format->unpack(row, samples, count);
    pixel::find_levels(state.gray, samples, out, count);
}

void read_chunk(const DitherState& state, uint8_t* row, uint32_t* out, size_t count) noexcept
{
    uint8_t bytes[kChunk];
    switch (state.format->work) {
    case Work::rgba8:
        read_colors8(state, row, out, count);
        return;
    case Work::rgba16:
        read_colors16(state, row, out, count);
        return;
    case Work::gray_deep:
        read_levels(state, row, bytes, count);
        for (size_t i = 0; i < count; ++i) {
            out[i] = gray_word(bytes[i]);
        }
        return;
    case Work::index8:
    case Work::gray8:
        state.format->unpack(row, bytes, count);
        for (size_t i = 0; i < count; ++i) {
            out[i] = state.src_colors[bytes[i]];
        }
        return;
    }
}

/// Calls `read(column, count)` for one chunk after the other.
template <class Read> void by_chunks(int32_t width, Read read) noexcept
{
    const auto columns = static_cast<size_t>(width);
    for (size_t at = 0; at < columns; at += kChunk) {
        read(at, std::min(kChunk, columns - at));
    }
}

} // namespace

void read_colors(const DitherState& state, uint8_t* row, uint32_t* out) noexcept
{
    const auto bits = static_cast<size_t>(state.src_bits);
    by_chunks(state.width, [&](size_t at, size_t count) { read_chunk(state, row + at * bits / 8, out + at, count); });
}

void read_grays(const DitherState& state, const uint8_t* row, uint8_t* out) noexcept
{
    const auto bits = static_cast<size_t>(state.src_bits);
    by_chunks(state.width, [&](size_t at, size_t count) {
        const uint8_t* from = row + at * bits / 8;
        if (state.format->deep_gray()) {
            read_levels(state, from, out + at, count);
            return;
        }
        state.format->unpack(from, out + at, count);
        for (size_t i = 0; i < count; ++i) {
            out[at + i] = state.src_grays[out[at + i]];
        }
    });
}

bool source_is_gray(const DitherState& state) noexcept
{
    if (!state.format->indexed()) {
        return state.format->work == Work::gray8 || state.format->deep_gray();
    }
    return std::all_of(state.src_colors, state.src_colors + (size_t{1} << state.src_bits),
                       [](uint32_t color) { return color == gray_word(color & 0xFFu); });
}

} // namespace vk::dither
