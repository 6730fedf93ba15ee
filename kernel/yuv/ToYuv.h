// Rows of colours as rows of a picture, from the top one on.
#pragma once

#include "kernel/rows/RowAccess.h"
#include "kernel/yuv/Kernels.h"
#include "kernel/yuv/Picture.h"

#include <cstddef>
#include <cstdint>

namespace vk::yuv {

/// Bits of the rows that a format's pictures are made from: colours, blue first, with alpha where the format has some.
constexpr int32_t source_bits(const Format& format) noexcept
{
    return format.has_chroma() ? format.bitmap_bits : 3 * format.bitmap_bits;
}

/// Pictures of 8-bit samples.
class ByteRowsOut {
public:
    explicit ByteRowsOut(const Picture& picture) noexcept;

    /// False without memory.
    bool open() noexcept;
    /// Takes the next row. It `stays` if its memory is good until the call after this one has returned.
    void put(const uint8_t* colors, bool stays) noexcept;
    /// Rows go from colours to samples at once.
    bool is_fused() const noexcept;
    /// Some are written past the caches: the caller ends them with a fence.
    bool streams() const noexcept { return stream_; }

private:
    struct Channels {
        uint8_t *b, *g, *r;
    };
    void split(const uint8_t* colors, const Channels& to) noexcept;
    void write_luma(const Channels& from) noexcept;
    void collect(const Channels& from) noexcept;
    void write_chroma() noexcept;
    void write_groups() noexcept;
    void write_pairs(size_t count, uint8_t* to) noexcept;
    void put_fused(const uint8_t* colors, bool stays) noexcept;
    void write_fused(const uint8_t* first, const uint8_t* second) noexcept;

    const Picture& picture_;
    const Kernels& kernels_;
    const FromBytes formula_;
    RowBuffer memory_;
    Channels rows_[2] = {};
    Channels waiting_ = {};  ///< the row before, to be added with the next
    uint16_t* sums_[3] = {}; ///< with room before them
    uint8_t *y_ = nullptr, *u_ = nullptr, *v_ = nullptr, *alpha_ = nullptr;
    uint32_t row_ = 0;
    int32_t in_group_ = 0;           ///< rows collected for a row of chroma
    const uint8_t* first_ = nullptr; ///< the first of two
    const bool stream_;
    uint32_t chroma_row_ = 0;
};

/// Pictures of longer samples.
class WordRowsOut {
public:
    explicit WordRowsOut(const Picture& picture) noexcept;

    bool open() noexcept;
    void put(const uint8_t* colors, bool) noexcept;
    bool streams() const noexcept { return false; }

private:
    void write_luma(const uint8_t* colors) noexcept;
    void collect(const uint8_t* colors) noexcept;
    void write_chroma(const uint8_t* colors) noexcept;

    const Picture& picture_;
    const FromWords formula_;
    const size_t channels_; ///< of the rows that come
    RowBuffer memory_;
    uint32_t* sums_[3] = {}; ///< with room before them
    uint16_t *y_ = nullptr, *u_ = nullptr, *v_ = nullptr;
    uint32_t row_ = 0;
    int32_t in_group_ = 0;
    uint32_t chroma_row_ = 0;
};

} // namespace vk::yuv
