// A canvas that several threads paint where source or canvas is no memory (threading/Relay.h): the calling thread reads
// a box of the source ahead of the one whose part of the canvas is painted, in pieces of a few rows, and writes these.
#pragma once

#include "kernel/sampling/Boxes.h"
#include "kernel/threading/Relay.h"

namespace vk::sampling {

struct Painting;

/// A piece of the canvas, what it sees of the source, and where it is painted.
struct Piece {
    Box box;
    Pixels window;             ///< packed; nothing where the source is memory
    uint8_t* canvas = nullptr; ///< rows next to each other; null where it is painted in its place
};

class MovedBoxes final : public Freight {
public:
    /// For painters that look so many pixels around a position.
    MovedBoxes(const Painting& painting, int32_t margin) noexcept;

    /// Settles what is painted at a time. False when one thread does as well alone: a few pixels of the canvas see more
    /// of the source than is held, or there is but one piece.
    bool plan(uint32_t threads) noexcept;

    /// SUCCESS or what RowBuffer::allocate_for says.
    int open() noexcept;

    Relay& relay() noexcept { return relay_; }
    const Piece& piece(int64_t number) const noexcept { return pieces_[relay_.slot(number)]; }
    bool is_read() const noexcept { return is_read_; } ///< the source is no memory

    int bring(int64_t number) noexcept override;
    int carry(int64_t number) noexcept override;
    bool has_room(int64_t carried) const noexcept override;
    int64_t steps(int64_t number) const noexcept override;

private:
    static constexpr int32_t kWindows = 2;

    CutLimits limits() const noexcept;
    bool next_cut(Cut& cut) noexcept { return boxes_.next(limits_, cut); }
    int32_t rows_of(const Box& box) const noexcept;
    int read_next() noexcept;

    BITMAPHANDLE& source_;
    BITMAPHANDLE& made_;
    const bool is_read_;
    const bool is_written_;
    Loader told_;   ///< as what painters take, to measure
    Loader packed_; ///< as they are read
    Boxes boxes_;
    CutLimits limits_;
    Relay relay_;
    int32_t piece_rows_ = 1;
    uint64_t window_bytes_ = 0; ///< of the largest box's source pixels, and of the largest piece
    uint64_t canvas_bytes_ = 0;
    RowBuffer windows_;
    RowBuffer canvases_;                 ///< in slots
    Piece pieces_[Relay::kMostSlots];    ///< in slots
    Cut cut_;                            ///< whose rows are brought
    int32_t row_ = 0;                    ///< the next of them
    Pixels window_;                      ///< of these
    int64_t windows_read_ = 0;           ///< each into the one that has been used longer
    int64_t last_behind_[kWindows] = {}; ///< for either: the number behind the last piece that sees it
};

} // namespace vk::sampling
