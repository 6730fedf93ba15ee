// Dithering inside the kernel: start on a checked record, any number of rows, stop. WinDith.cpp has the exported
// functions; kernel/dither/ the engine.
#pragma once

#include "Vkrecord.h"

#include <cstddef>
#include <cstdint>

namespace vk {

struct DitherState;

/// Bits that number `colors` entries (1 to 256).
constexpr int32_t index_bits(uint32_t colors) noexcept
{
    int32_t bits = 1;
    while (1u << bits < colors) {
        ++bits;
    }
    return bits;
}

/// V_StartDitheringExt for a record of valid size.
int start_dithering(BITMAPHANDLE& bitmap, const RGBQUAD* palette, uint32_t colors, int32_t bits,
                    uint32_t* match_table) noexcept;

/// Ends the record's run, if it has one.
void stop_dithering(BITMAPHANDLE& bitmap) noexcept;

/// The record's run, when it has one that still fits the record; else null.
DitherState* dither_state(const BITMAPHANDLE& bitmap) noexcept;

/// Dithers the next rows of a run. The result does not depend on how many rows a call gets, but many at once are
/// faster. Wide-gamut source rows are converted where they stand. Destination rows may lie on the source rows when no
/// row reaches over a later source row.
void dither_rows(DitherState& state, uint8_t* src, size_t src_stride, uint8_t* dst, size_t dst_stride,
                 size_t rows) noexcept;

/// Prepares a record's run, of which no row is done, for rows that several threads do, each with a record of its own
/// that has joined. Returns how many threads it is worth having, no more than `threads`; 1: the run stays as it was.
uint32_t share_dithering(BITMAPHANDLE& bitmap, uint32_t threads) noexcept;

/// Gives a record with the same fields a part in a shared run. It ends with stop_dithering, before the run itself does.
/// SUCCESS or ERROR_NO_MEMORY.
int join_dithering(BITMAPHANDLE& bitmap, const BITMAPHANDLE& run) noexcept;

/// Rows that a thread of a shared run takes at a time. Where more than one, rows are taken in order, all that are taken
/// are done, and no more rows are under way than threads take together.
int32_t rows_together(const DitherState& state) noexcept;

/// Says which row is the next that a part of a shared run does.
void go_to_row(DitherState& state, uint64_t row) noexcept;

/// Lets the threads of a shared run that wait for each other's rows go on: some rows have failed and never come.
void abandon_dithering(const DitherState& state) noexcept;

/// How rows get done; each state counts them, for tests.
enum class DitherPath : uint8_t {
    plain,     ///< one pixel after the other, every colour matched by the defining search
    single,    ///< prepared matching, row by row
    wavefront, ///< prepared matching, error diffusion on several rows at once
    lanes,     ///< gray to two grays, error diffusion on eight rows at once
    bits,      ///< gray to two grays by thresholds, a vector of pixels at a time
};
constexpr size_t kDitherPaths = 5;

/// Rows that a run did in one way.
uint64_t dither_rows_done(const DitherState& state, DitherPath path) noexcept;

/// Keeps runs started from now on to this path and those before it; for tests and benchmarks.
void limit_dithering(DitherPath path) noexcept;

} // namespace vk
