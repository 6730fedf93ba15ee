// Pixels of one bitmap in the form of another: the one rule for it. Depth, colour order, palette and gray range are
// the destination's afterwards. Colours take the nearest entry of its palette, without dithering; a look-up table that
// is in use is baked in; a transparent colour becomes alpha where there is some. Pixels that mean the same already are
// taken bit by bit.
#pragma once

#include "Vkrecord.h"
#include "kernel/colorres/ColorRows.h"
#include "kernel/combine/PixelForm.h"
#include "kernel/convert/Plan.h"

#include <cstddef>
#include <cstdint>

namespace vk::combine {

/// Pixels that are converted at a time where they do not go from the one place to the other straight.
constexpr int32_t kChunk = 1024;
constexpr size_t kChunkBytes = size_t{kChunk} * 8;

class RowConverter {
public:
    RowConverter() noexcept {} // NOLINT: the plans are large and only filled when they are used
    RowConverter(const RowConverter&) = delete;
    RowConverter& operator=(const RowConverter&) = delete;
    ~RowConverter();

    /// Prepares for so many pixels of `from`. SUCCESS; ERROR_INVALID_PARAMETER: a depth and order that do not go
    /// together; ERROR_INVALID_LUT_LENGTH; ERROR_NO_MEMORY.
    int open(const BITMAPHANDLE& from, const BITMAPHANDLE& to, uint64_t pixels) noexcept;
    /// The same for a form that no bitmap has.
    int open(const BITMAPHANDLE& from, const PixelForm& to, uint64_t pixels) noexcept;

    /// To color_form, with alpha 0 for the bitmap's transparent colour and full alpha for every other.
    int open_key(const BITMAPHANDLE& from) noexcept;

    /// Nothing changes.
    bool moves_bits() const noexcept { return moves_bits_; }
    const PixelForm& from() const noexcept { return from_; }
    const PixelForm& to() const noexcept { return to_; }

    /// Converts pixels that begin with a byte on both sides; a last byte's spare bits become clear. With `is_large`
    /// they go past the caches where there is a way, and stream_fence comes behind the last.
    void run(const uint8_t* from, uint8_t* to, size_t count, bool is_large = false) noexcept;

private:
    int open_steps(const BITMAPHANDLE& from, uint64_t pixels, bool is_keyed) noexcept;
    int open_table(const BITMAPHANDLE& from) noexcept;
    int open_last(ConvertJob job, uint64_t pixels) noexcept;
    ConvertJob first_job() const noexcept;
    void run_chunk(const uint8_t* from, uint8_t* to, size_t count) noexcept;

    PixelForm from_;
    PixelForm to_;
    bool moves_bits_ = false;
    bool has_table_ = false;   ///< a look-up table comes first
    bool has_samples_ = false; ///< gray goes through samples of 32 bits, from one range to another
    ColorTarget table_target_;
    ColorRows table_;
    BITMAPHANDLE table_source_ = {};
    ColorLookup* lookup_ = nullptr;
    pixel::Plan first_;
    pixel::Plan last_;
};

} // namespace vk::combine
