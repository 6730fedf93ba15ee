// The state of a dithering run: everything Start.cpp decides and allocates, and what goes from row to row.
//
// A colour is a word here: blue, green, red from the low byte on. A choice is the colour chosen with its palette index
// in the top byte. Error rows form a ring of `ring_rows`; row n of the run takes its error from slot n modulo
// ring_rows. A run is either plain throughout or not, and the two may use an error row differently.
#pragma once

#include "kernel/convert/Format.h"
#include "kernel/dither/Dither.h"
#include "kernel/dither/Methods.h"
#include "kernel/format/GrayRange.h"

#include <cstring>

namespace vk::dither {

struct Team;

/// Why colours match as they do; the numbers are of no account outside.
enum class Kind : uint8_t {
    custom,
    user_table,
    fixed1,
    fixed2,
    fixed3,
    fixed4,
    fixed5,
    fixed6,
    fixed7,
    fixed8,
    cube216
};

constexpr bool is_fixed(Kind kind) noexcept
{
    return kind >= Kind::fixed1;
}

constexpr uint32_t kColors15 = 32768;
constexpr uint32_t kColorMask = 0x00FFFFFFu;
/// Rows that go side by side at most, and so rows of working memory.
constexpr int32_t kMostRows = most_wave_rows();
/// Rows of a group of gray lanes, and groups. Their levels take the working memory of kMostRows colour rows.
constexpr int32_t kLanes = 8;
constexpr int32_t kMostLaneGroups = 2;
static_assert(kLanes * kMostLaneGroups <= kMostRows * 4 && kMostRows % kMostLaneGroups == 0);
/// Bytes behind each row of indices.
constexpr size_t kIndexSlack = 64;

constexpr uint32_t color_word(const RGBQUAD& entry) noexcept
{
    return entry.rgbBlue | static_cast<uint32_t>(entry.rgbGreen) << 8 | static_cast<uint32_t>(entry.rgbRed) << 16;
}
constexpr uint8_t blue_of(uint32_t color) noexcept
{
    return static_cast<uint8_t>(color);
}
constexpr uint8_t green_of(uint32_t color) noexcept
{
    return static_cast<uint8_t>(color >> 8);
}
constexpr uint8_t red_of(uint32_t color) noexcept
{
    return static_cast<uint8_t>(color >> 16);
}
constexpr uint32_t gray_word(uint32_t level) noexcept
{
    return level * 0x010101u;
}
/// The colour's place in a table of 15-bit colours.
constexpr uint32_t key_of(uint32_t color) noexcept
{
    return (color >> 9 & 0x7C00u) | (color >> 6 & 0x03E0u) | (color >> 3 & 0x001Fu);
}

/// Two grays that a level is compared for: the second from `threshold` on.
struct TwoGrays {
    bool valid = false;
    int32_t threshold = 0;
    uint8_t level[2] = {};
    uint8_t index[2] = {};
};

} // namespace vk::dither

namespace vk {

struct DitherState {
    // The source.
    int32_t width;
    int32_t src_bits;
    int32_t src_order;
    const pixel::Format* format;
    GrayRange gray;
    uint32_t src_colors[256]; ///< of an indexed source
    uint8_t src_grays[256];   ///< gray level of each byte, of an indexed or 8-bit gray source

    // What becomes of it.
    int32_t method;
    dither::Kind kind;
    int32_t dst_bits;
    pixel::Pack pack;
    bool plain;       ///< the plain path and no other
    bool single_gray; ///< source and palette are gray, so one channel stands for three
    DitherPath limit;

    // The palette: the fixed entries, or those that may be chosen.
    RGBQUAD entries[256];
    uint32_t choices[256]; ///< the same, as choices
    uint32_t count;

    // Matching.
    uint32_t* user_table;      ///< the caller's: 1 + position in entries
    uint32_t* cache;           ///< ours: choices by 15-bit colour, or `unknown`; several threads may fill it
    uint32_t unknown;          ///< a word that is no choice
    uint64_t channels[3][256]; ///< blue, green, red: see Match.h
    uint8_t classes[256];      ///< channel-order classes of a cube's entries
    uint32_t green_step;       ///< of a cube: entries from one green level to the next
    uint32_t red_step;
    uint32_t sum_choices[3 * 255 + 1]; ///< by the sum of the channels, when all entries are gray
    uint32_t gray_choices[256];        ///< by level, of a single-gray run
    dither::TwoGrays two;

    // Working memory, one block.
    void* memory;
    int32_t* errors; ///< ring_rows rows of `error_pitch` values; 4 a column, or 1 for a single gray
    size_t error_pitch;
    int32_t ring_rows;
    uint32_t* work;   ///< kMostRows rows of width colours
    uint8_t* indices; ///< kMostRows rows of index_pitch
    size_t index_pitch;

    // Threads that share the run (Team.h).
    bool is_member; ///< matching and error rows are another state's
    dither::Team* team;
    void* team_memory;

    uint64_t row; ///< rows done
    uint64_t done[kDitherPaths];
};

} // namespace vk

namespace vk::dither {

/// The error row of row `row` of the run, from `reach` columns before the first on.
inline int32_t* error_row(const DitherState& state, uint64_t row) noexcept
{
    return state.errors + static_cast<size_t>(row % static_cast<uint64_t>(state.ring_rows)) * state.error_pitch;
}

// Source.cpp

/// Reads a row into `out`, width colours. Converts a wide-gamut row where it stands.
void read_colors(const DitherState& state, uint8_t* row, uint32_t* out) noexcept;
/// Reads a row of a single-gray run: width levels.
void read_grays(const DitherState& state, const uint8_t* row, uint8_t* out) noexcept;
/// True when every pixel of the source has equal channels.
bool source_is_gray(const DitherState& state) noexcept;

// Match.cpp

/// Prepares fast matching; the palette is decided.
void prepare_match(DitherState& state) noexcept;
/// The choice for a colour by the defining search, with what 15-bit colours were found before.
uint32_t match_plain(DitherState& state, uint32_t color) noexcept;
/// The choice for a colour that is not in the table of a custom or user palette yet.
uint32_t match_missing(DitherState& state, uint32_t key) noexcept;

// The paths. Rows are read into `work` before and packed from `indices` after them, unless said otherwise.

void plain_row(DitherState& state) noexcept;
/// `rows` is 1 or wavefront_rows().
void fast_rows(DitherState& state, int32_t rows) noexcept;
/// Rows the wavefront takes at once; 1 when there is none.
int32_t wavefront_rows(const DitherState& state) noexcept;
/// One or two groups of kLanes rows of levels, `gray_pitch` apart; packs its rows itself.
void lane_rows(DitherState& state, size_t groups, const uint8_t* grays, size_t gray_pitch, uint8_t* dst,
               size_t dst_stride) noexcept;
bool has_lanes(const DitherState& state) noexcept;

} // namespace vk::dither
