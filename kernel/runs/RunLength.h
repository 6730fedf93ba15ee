// The run-length form of 1-bit rows: a 32-bit count N, then N 16-bit run lengths, little-endian, clear pixels first.
//
// A run that would pass 65535 pixels is closed, followed by a run of length 0 and continued. Where it is closed is part
// of the form: pixels are added as the bytes of the row bring them, so a run of whole bytes closes at a multiple of 8
// (counted from the row's first byte boundary) that does not pass 65535.
//
// Everything here works on plain memory, allocates nothing and trusts no run word: a reader never looks past the N
// words and never writes past the pixels it was asked for. Rows need no alignment.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::runlength {

/// Header plus words.
constexpr size_t row_bytes(uint32_t words) noexcept
{
    return 4u + 2u * static_cast<size_t>(words);
}

/// Most bytes that `pixels` pixels can need.
constexpr size_t max_row_bytes(uint32_t pixels) noexcept
{
    return 4u + 2u * (static_cast<size_t>(pixels) + 1u + 2u * (pixels / 65528u));
}

/// Bytes that `pixels` clear pixels need, from a byte boundary on.
constexpr size_t clear_row_bytes(uint32_t pixels) noexcept
{
    return pixels == 0 ? 4u
                       : 6u + 4u * (pixels > 65535u ? (static_cast<size_t>(pixels) - 65535u + 65527u) / 65528u : 0u);
}

/// The number N in front of a row.
uint32_t word_count(const void* row) noexcept;

/// Compresses `pixels` pixels from bit `bit_offset` (0 to 7) of the first byte on. Returns the row's bytes, 4 + 2N.
size_t compress(void* row, const void* pixels_in, uint32_t bit_offset, uint32_t pixels) noexcept;

/// Writes the row that compress gives for clear pixels.
size_t compress_clear(void* row, uint32_t pixels) noexcept;

/// The size that compress would give, without writing.
size_t measure(const void* pixels_in, uint32_t bit_offset, uint32_t pixels) noexcept;

/// Writes pixels [start, start + pixels) into (pixels + 7) / 8 bytes; missing ones are clear.
void expand(const void* row, void* pixels_out, uint32_t start, uint32_t pixels) noexcept;

/// Replaces pixels from bit `bit_offset` (0 to 7) of the first byte on by the row's, as many as its runs cover and no
/// more than `pixels`. All other bits stay. Returns their number.
uint32_t overlay(const void* row, void* pixels_out, uint32_t bit_offset, uint32_t pixels) noexcept;

/// Pixels that the runs cover, counted no further than `limit`.
uint32_t covered(const void* row, uint32_t limit) noexcept;

/// True when compress could have given the row for `pixels` pixels that start on a byte boundary. May answer false for
/// rows with runs of 65536 pixels and more.
bool is_canonical(const void* row, uint32_t pixels) noexcept;

/// Mirrors a row of `pixels` pixels in place; needs room for one more word when the row ends with set pixels. Pixels
/// the runs do not cover count as clear, runs past `pixels` are cut, splices stay where they are. False, with nothing
/// changed: the pixels not covered are so many that the row would need more room than that.
bool mirror(void* row, uint32_t pixels) noexcept;

/// Reverses the order of `rows` rows that lie back to back.
void flip(void* buffer, uint32_t rows) noexcept;

/// The plain, byte-wise forms that the fast ones must equal; tests and benchmarks run both.
size_t compress_plain(void* row, const void* pixels_in, uint32_t bit_offset, uint32_t pixels) noexcept;
void expand_plain(const void* row, void* pixels_out, uint32_t start, uint32_t pixels) noexcept;

} // namespace vk::runlength
