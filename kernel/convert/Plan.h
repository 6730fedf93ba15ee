// A conversion, decided once and run over any number of rows.
//
// `make_plan` does all the checking and choosing; running a plan cannot fail and allocates nothing. The general run
// goes in chunks of 256 pixels: unpack to a working form, undo the wide gamut, reduce to the other working form, set
// alpha, apply the wide gamut, pack. A fused path (Fused.h) does a chunk in one step for pairs worth it.
//
// A plan fills some of its tables while it runs, so one plan is for one thread. It points into the job's palettes.
#pragma once

#include "kernel/convert/Convert.h"
#include "kernel/convert/Format.h"
#include "kernel/convert/Gray.h"
#include "kernel/convert/PaletteMatch.h"

#include <cstddef>
#include <cstdint>

namespace vk::pixel {

struct Plan;
struct FusedPath;

/// Takes `count` pixels (at most kChunk) from one working form to another.
using Reduce = void (*)(Plan& plan, const void* in, void* out, size_t count) noexcept;

/// Pixels that are converted at a time. A multiple of 8, so that a chunk starts on a byte at every depth.
constexpr size_t kChunk = 256;

/// No colour is equal to this one.
constexpr uint32_t kNoColor = 0xFFFFFFFFu;

struct Plan {
    Plan() noexcept {} // NOLINT: the tables are large and only filled when they are used

    const Format* src;
    const Format* dst;
    const Format* spread;       ///< bytes that pixels of 1 to 7 bits become before the fused path takes them, or null
    const FusedPath* fused;     ///< or null
    Reduce reduce;              ///< null when the working forms are the same and nothing changes
    const RGBQUAD* src_palette; ///< never null for an indexed source
    const V_RGBQUAD16* src_palette16;
    GrayRange src_range; ///< of deep gray sources
    GrayRange dst_range; ///< of deep gray destinations
    bool undo_gamut;
    bool apply_gamut;
    bool set_alpha;       ///< alpha comes from the comparison with `transparent`, pixel by pixel
    uint32_t transparent; ///< red in the low byte, or kNoColor

    alignas(16) uint8_t table[256 * sizeof(Rgba16)]; ///< the working form of each index or gray of a source of bytes
    int16_t index_of[256]; ///< destination index of each source index or gray; -1 not yet asked
    uint32_t asked;        ///< pixels that were asked for one by one; from many on the table has all indices
    Matcher matcher;
};

/// Decides on a conversion; false when the job is not a valid one. The job's width is not looked at.
bool make_plan(const ConvertJob& job, Plan* plan) noexcept;

/// Converts `width` pixels within one buffer.
void run_in_place(Plan& plan, uint8_t* buffer, size_t width) noexcept;

/// Bytes behind a run of pixels that may be touched all the same: read at the source, overwritten at the destination.
struct Spare {
    size_t src = 0;
    size_t dst = 0;
};

/// Converts `width` pixels from one buffer to another that does not overlap it.
void run_row(Plan& plan, const uint8_t* src, uint8_t* dst, size_t width, Spare spare) noexcept;

/// Converts `rows` rows from one block to another that does not overlap it, strides in bytes. Large results go past the
/// caches.
void run_rows(Plan& plan, const uint8_t* src, size_t src_stride, uint8_t* dst, size_t dst_stride, size_t width,
              size_t rows) noexcept;

} // namespace vk::pixel
