// Lossless codecs of the super-compressed store: a band of rows in, a block of bytes out, and back.
//
// A codec is a table of functions that keeps nothing between calls, so one serves any number of bitmaps and threads.
// What was not written by a codec must never harm its decoder: whatever the bytes, decoding ends with true or false and
// touches nothing outside the memory it was given. There is one codec for 8 and 24 bits and one for 1 bit; each is
// loaded with its first user and unloaded with its last.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::codec {

/// The rows that are coded together: `rows` of `bytes_per_line` bytes, which hold `width` pixels and perhaps more.
struct Shape {
    uint32_t width = 0;
    uint32_t bytes_per_line = 0;
    uint32_t rows = 0;
    int32_t bits = 0;

    size_t bytes() const noexcept { return size_t{bytes_per_line} * rows; }
};

struct Codec {
    const char* name;

    /// Called before the first use; false when the codec cannot be had.
    bool (*load)() noexcept;
    /// Called when nobody uses it any more.
    void (*unload)() noexcept;
    /// Bytes of working memory, aligned for any type, that both directions need for a shape.
    size_t (*workspace_bytes)(const Shape& shape) noexcept;
    /// Bytes written to `out`, or 0 when the result would not fit `room` bytes. All bytes of a row count, those behind
    /// its pixels too.
    size_t (*encode)(const Shape& shape, const uint8_t* rows, uint8_t* out, size_t room, uint8_t* workspace) noexcept;
    /// Writes all rows. False when the bytes are not what an encoder writes; the rows then hold anything.
    bool (*decode)(const Shape& shape, const uint8_t* packed, size_t bytes, uint8_t* rows, uint8_t* workspace) noexcept;
};

extern const Codec kSampleCodec; ///< 8 and 24 bits
extern const Codec kPageCodec;   ///< 1 bit

/// Whether there is a codec for a depth.
bool has_codec(int32_t bits) noexcept;

/// The codec for a depth with one more user; null when there is none for it.
const Codec* acquire(int32_t bits) noexcept;

/// Takes a user away again.
void release(int32_t bits) noexcept;

/// Users that the codec for a depth has.
uint32_t users(int32_t bits) noexcept;

} // namespace vk::codec
