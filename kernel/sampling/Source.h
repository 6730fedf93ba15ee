// The source's pixels in memory, as a painter takes them: the bitmap's own where they stand, or boxes of it that are
// read, and taken apart into cells where pixels are mixed that are none.
#pragma once

#include "kernel/rows/RowAccess.h"
#include "kernel/sampling/Cells.h"
#include "kernel/sampling/Mapping.h"

namespace vk::sampling {

/// Pixels or cells in memory: the box `held`, whose left side is a multiple of kAligned.
struct Pixels {
    const uint8_t* data = nullptr; ///< the first byte of the box's first pixel
    size_t stride = 0;
    Box held{};
    size_t behind = 0; ///< bytes behind the last row that may be read
};

/// Pixels that fill bytes at every depth.
constexpr int32_t kAligned = 8;

/// Reads boxes of an accessed bitmap, as cells or, without any, as they are.
class Loader {
public:
    Loader(BITMAPHANDLE& bitmap, const Cells* cells) noexcept;

    int32_t width() const noexcept { return bitmap_.Width; }
    int32_t height() const noexcept { return bitmap_.Height; }
    /// Bits of what is told.
    int32_t bits() const noexcept { return cells_ ? 8 * cells_->kind().size : bitmap_.BitsPerPixel; }

    /// Reads from there what somebody else has read: packed pixels, and no others.
    void lend(const Pixels& pixels) noexcept
    {
        is_memory_ = true;
        memory_ = pixels;
    }

    /// The pixels are in memory.
    bool is_memory() const noexcept { return is_memory_; }
    /// And they are what is told.
    bool is_direct() const noexcept { return is_memory_ && (!cells_ || cells_->is_direct()); }

    /// Those in memory, as they stand there.
    const Pixels& memory() const noexcept { return memory_; }
    /// Those that can be read.
    const Box& readable() const noexcept { return memory_.held; }

    /// Bytes of a row of so many pixels.
    size_t row_bytes(int64_t pixels) const noexcept;

    /// Reads a box, whose left side is a multiple of kAligned, to `to` with row_bytes of it for each row. SUCCESS or a
    /// code.
    int load(const Box& box, uint8_t* to) noexcept;

private:
    int load_row(const Box& box, int32_t row, uint8_t* to) noexcept;

    BITMAPHANDLE& bitmap_;
    const Cells* cells_;
    bool is_memory_ = false;
    Pixels memory_;
    RowBuffer packed_; ///< a row on its way to become cells
};

/// A few small blocks of the source, for stretches so wide that no box can hold them.
class Fetcher {
public:
    explicit Fetcher(Loader& loader) noexcept : loader_(loader) {}

    /// SUCCESS or ERROR_NO_MEMORY.
    int open() noexcept;

    /// The block that a pixel of the source lies in; null after a failure.
    const Pixels* block(int32_t x, int32_t y) noexcept;

    /// SUCCESS, or what the first failure was.
    int result() const noexcept { return result_; }

private:
    static constexpr int32_t kSide = 32;

    Loader& loader_;
    RowBuffer buffer_;
    size_t block_bytes_ = 0;
    Pixels blocks_[4]; ///< by evenness of their place both ways
    int result_ = 1;
};

/// The same for means, which take thousands of samples there: what they see is cut into parts that lie side by side. A
/// part is read when it is first asked for and samples go by parts, so each pixel is read once, or up to four times at
/// the edges of parts: a part holds the pixels behind its own, too, with which its last samples are mixed.
class Parts {
public:
    explicit Parts(Loader& loader) noexcept : loader_(loader) {}

    /// For what is looked at, its left side a multiple of kAligned, through so many bytes of room: kLeastBytes at
    /// least.
    void open(const Box& looked, uint8_t* room, uint64_t bytes) noexcept;

    /// The first part, and the next one. False when there is none left.
    bool first() noexcept;
    bool next() noexcept;

    /// Whether samples that begin with this pixel are mixed in this part. Ones outside of the source go with those at
    /// its edge.
    bool has(int64_t x, int64_t y) const noexcept;

    /// The part's pixels; null after a failure.
    const Pixels* pixels() noexcept;

    /// SUCCESS, or what the first failure was.
    int result() const noexcept { return result_; }

    static constexpr uint64_t kLeastBytes = 1024;

private:
    Loader& loader_;
    Box looked_;
    Box part_; ///< whose samples are mixed
    uint8_t* room_ = nullptr;
    int32_t width_ = 0;
    int32_t height_ = 0;
    Pixels pixels_; ///< as far as they are read
    int result_ = 1;
};

/// What painters get.
struct Source {
    Pixels pixels;
    Extent extent;
    Fetcher* fetcher = nullptr; ///< asked for what is not held
    Parts* parts = nullptr;     ///< likewise, for means
};

} // namespace vk::sampling
