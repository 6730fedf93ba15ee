// A prepared look-up that gives the plain scan's answer for every colour (kernel/palette/ColorMatch.h), ties included.
//
// The colour cube is cut into cells of 4 x 4 x 4 colours. The colours nearer to one entry than to another lie on one
// side of a plane, so whether an entry can win, or tie, anywhere in a cell follows from the cell's corners. A cell that
// only one entry can win holds its index; any other holds the index of each of its 64 colours, found by scanning the
// few entries that can win there, in palette order, so that ties fall as in the scan of all. Cells are settled when a
// colour first falls into them, in memory that is there from the start: asking never fails and allocates nothing.
//
// Few entries need none of that: where there are vectors, all are tried at once, and cells serve ties alone.
//
// Several threads may ask at once. What one finds out it publishes as a whole; two that settle the same cell at once
// come to the same answers, and one of their blocks is lost.
#pragma once

#include "kernel/convert/ColorLookup.h"
#include "simd/Level.h"

#include <cstdint>

namespace vk::pixel {

/// Prepares a look-up for `count` entries (1 to 256), which are copied, and some number of pixels, by which its memory
/// is chosen (up to 20 MiB). Null without memory. It learns while it is asked, by any number of threads.
ColorLookup* create_exact_lookup(const RGBQUAD* entries, uint32_t count, uint64_t pixels) noexcept;

/// Answers colours whose cells are settled, `step` at a time, up to the first so many with one that is not; returns how
/// many. `cells` and `answers` are the look-up's tables; three bytes behind the answers may be read.
struct MatchKnown {
    size_t (*match)(const uint32_t* cells, const uint8_t* answers, const Rgba8* colors, uint8_t* indices,
                    size_t count) noexcept;
    size_t step;
};
VK_SIMD_TABLE_256(MatchKnown, match_known_loop);

/// An entry as scanning all of few sees it: what blue and red, and green, are multiplied by, in 16 bits each, and the
/// entry's square times 256 with the index.
struct ScanEntry {
    int32_t outer;
    int32_t green;
    int32_t square_and_index;
};

/// Writes the index of the nearest entry, of those equally near the first, for `step` colours; returns a bit for each
/// that has several, which another rule decides.
struct ScanAll {
    uint64_t (*match)(const ScanEntry* entries, uint32_t count, const Rgba8* colors, uint8_t* indices) noexcept;
    size_t step;
};
VK_SIMD_TABLE(ScanAll, scan_all);

/// Palettes of no more entries are scanned as a whole where there are vectors: that takes no longer than looking up.
constexpr uint32_t kMostScanned = 32;

/// Frees a look-up made by create_exact_lookup; null is ignored.
void destroy_exact_lookup(ColorLookup* lookup) noexcept;

} // namespace vk::pixel
