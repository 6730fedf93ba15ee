// What is connected to a pixel: found run by run in two pictures of one bit, the pixels that may be filled, each row of
// which is made when it is first reached, and those that have been reached.
//
// A row that gains pixels hands them on to the row above and the row below, as a range of words that are looked at when
// a sweep comes by; sweeps go down and up by turns until no row has anything to hand on. Memory is two bits a pixel, in
// storage of the bitmap's kind where that is much, and a few numbers a row.
#pragma once

#include "kernel/combine/Alike.h"
#include "kernel/combine/Scratch.h"
#include "kernel/rows/RowAccess.h"

#include <cstdint>

namespace vk::fill {

/// Words [first, end) of a row; none when there are none.
struct Words {
    int32_t first = 0;
    int32_t end = 0;

    constexpr bool empty() const noexcept { return first >= end; }
    void add(Words other) noexcept;
};

/// Rows of bits in words, the first pixel in the lowest bit of the first.
class BitRows {
public:
    /// Makes them for an operation on `bitmap`, all bits clear. SUCCESS or a code.
    int make(int32_t words, int32_t rows, const BITMAPHANDLE& bitmap) noexcept;

    /// A row's words: in place, or brought to `buffer`.
    int get(int32_t row, RowBuffer& buffer, uint64_t** words) noexcept;
    /// Stores a row that was changed.
    int put(int32_t row, const uint64_t* words) noexcept;

private:
    combine::Scratch scratch_;
    uint8_t* memory_ = nullptr;
    size_t bytes_ = 0;
};

/// Spreads the bits of `filled` over the runs of `open` that they lie in, beginning with some words of a row and as far
/// as the runs go. Bits that were spread already do no harm. Returns the words it came to.
Words spread_bits(const uint64_t* open, uint64_t* filled, Words range, int32_t words) noexcept;

class Flood {
public:
    /// The pixels of an accessed bitmap that are like `alike`, or with `is_border` those that are not, connected by
    /// four neighbours or by eight.
    Flood(BITMAPHANDLE& bitmap, const combine::Alike& alike, bool is_border, bool by_eight) noexcept;

    /// Finds what is connected to a pixel. SUCCESS or a code.
    int run(int32_t column, int32_t row) noexcept;

    /// The box of what was reached; empty when that is nothing.
    combine::Area box() const noexcept;
    /// The reached pixels of a row, good until the next call.
    int reached(int32_t row, const uint64_t** words) noexcept;

private:
    /// What a row hands on, and whether it is known which of its pixels may be filled.
    struct RowState {
        Words to_next[2]; ///< up, down
        bool is_known;
    };

    int prepare() noexcept;
    int sweep(int direction) noexcept;
    int hand_on(int32_t row, int direction) noexcept;
    int get_open(int32_t row, uint64_t** words) noexcept;
    int find_open(int32_t row, uint64_t* words) noexcept;
    Words seed(const uint64_t* from, const uint64_t* open, uint64_t* reached, Words range) const noexcept;
    void note(int32_t row, Words range) noexcept;
    RowState& state(int32_t row) noexcept { return reinterpret_cast<RowState*>(states_.data())[row]; }

    BITMAPHANDLE& bitmap_;
    const combine::Alike& alike_;
    const bool is_border_;
    const bool by_eight_;
    const int32_t words_; ///< of a row
    RowReader reader_;
    BitRows open_;
    BitRows reached_;
    RowBuffer open_row_;
    RowBuffer reached_row_;
    RowBuffer next_row_;
    RowBuffer inside_; ///< of one row: what lies inside of the bitmap and its region
    RowBuffer states_;
    Words pending_[2]; ///< rows that may have something to hand on, up and down
    Words rows_;       ///< that were reached
    Words columns_;    ///< words that were
};

} // namespace vk::fill
