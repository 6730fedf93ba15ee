// Changing a bitmap's depth, colour order or palette. ColorTarget.cpp settles what is asked for, ColorRows.h takes rows
// from the one form to the other, kernel/colorres/ makes palettes; here they come together.
#pragma once

#include "Vkrecord.h"
#include "kernel/format/Depths.h"
#include "kernel/palette/Palette.h"
#include "kernel/system/Progress.h"

#include <cstdint>

namespace vk {

namespace quantize {
class Quantizer;
}

/// As V_ColorResBitmap takes it.
struct ColorResRequest {
    int32_t bits = 0;
    uint32_t flags = 0;
    const RGBQUAD* palette = nullptr;
    HPALETTE handle = nullptr;
    uint32_t colors = 0;
    int32_t low = 0;   ///< the significant bits of deep gray
    int32_t high = -1; ///< negative: all, or what a bitmap of that form has
};

/// A request that is settled: the new form, and how pixels get there.
struct ColorTarget {
    int32_t bits = 0;
    int32_t order = COLORORDER_RGB;
    uint32_t count = 0;     ///< entries of the palette; most of them while it is to be made. 0 above 8 bits
    bool optimized = false; ///< the palette is still to be made
    bool gray_ramp = false; ///< colours become gray before they meet the palette
    bool dithered = false;  ///< else each pixel gets the nearest entry
    bool passed = false;    ///< the palette is one the caller passed
    int32_t low = 0;        ///< the significant bits of deep gray
    int32_t high = -1;      ///< negative: not asked for
    RGBQUAD entries[kMaxPaletteEntries] = {};

    bool indexed() const noexcept { return is_indexed(bits); }
    /// Gray levels that are their own indices.
    bool gray_levels() const noexcept { return gray_ramp && bits == 8; }
};

/// What gives a bitmap the form of one that is deep gray.
ColorResRequest gray_like(const BITMAPHANDLE& bitmap) noexcept;

/// Settles a request for a source that check_rows accepts. Whether dithering pays is for drop_useless_dithering.
int settle_target(const BITMAPHANDLE& source, const ColorResRequest& request, ColorTarget& target) noexcept;

/// True when the bitmap has the settled form already.
bool has_form(const BITMAPHANDLE& bitmap, const ColorTarget& target) noexcept;

/// Switches dithering off where the palette holds every colour that the source can have.
void drop_useless_dithering(const BITMAPHANDLE& source, ColorTarget& target) noexcept;

/// What of a bitmap counts for a palette.
struct CountedPixels {
    bool skips_clear = false;    ///< not its transparent colour
    bool skips_extremes = false; ///< neither black nor white
};

/// Adds the colours of an accessed bitmap's pixels, a step of progress for each row.
int add_colors(BITMAPHANDLE& source, quantize::Quantizer& quantizer, Progress& progress,
               CountedPixels counted) noexcept;

/// Replaces an allocated bitmap, as a pass of an operation.
int change_colors(BITMAPHANDLE& bitmap, const ColorResRequest& request, const ProgressShare& share = {}) noexcept;

/// Makes a bitmap with the pixels alone for the time of another operation: nothing hangs on it but palette and gray
/// tables. On failure its record is empty but for StructSize.
int make_temporary_colors(BITMAPHANDLE& made, BITMAPHANDLE& source, const ColorResRequest& request,
                          const ProgressShare& share) noexcept;

/// Makes a second bitmap; on failure its record is empty but for StructSize.
int make_colors(BITMAPHANDLE& made, BITMAPHANDLE& source, uint32_t struct_size, const ColorResRequest& request,
                const ProgressShare& share = {}) noexcept;

} // namespace vk
