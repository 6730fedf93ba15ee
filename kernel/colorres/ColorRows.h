// Rows from a bitmap's form to another: a short line of steps, decided once. Gray samples with a look-up table become
// the colours it holds; colours become gray before a gray ramp; then pixels are converted, matched or dithered.
//
// Where one step does it all, rows go straight from the source's memory to the destination's.
#pragma once

#include "Vkrecord.h"
#include "kernel/colorres/ColorRes.h"
#include "kernel/convert/Convert.h"
#include "kernel/format/GrayRange.h"
#include "kernel/rows/RowAccess.h"

#include <cstddef>
#include <cstdint>

namespace vk {

class ColorRows {
public:
    ColorRows() noexcept = default;
    ColorRows(const ColorRows&) = delete;
    ColorRows& operator=(const ColorRows&) = delete;
    ~ColorRows();

    /// Prepares for a source and a target whose palette is made; both outlive the object. SUCCESS,
    /// ERROR_INVALID_LUT_LENGTH, ERROR_NO_MEMORY, or what the dithering says.
    int open(const BITMAPHANDLE& source, const ColorTarget& target) noexcept { return open(source, target, nullptr); }

    /// Gets ready for rows that several threads do, each by rows of its own; returns how many threads it is worth
    /// having, no more than `threads`. No row is done yet, and none is by these rows if that is more than one.
    uint32_t share(uint32_t threads) noexcept;

    /// Prepares as rows that are shared did, for the same bitmaps. They outlast this object.
    int join(const BITMAPHANDLE& source, const ColorTarget& target, const ColorRows& shared) noexcept
    {
        return open(source, target, &shared);
    }

    /// Rows that a thread takes at a time, when they are shared: where more than one, all threads take them in order.
    int32_t rows_together() const noexcept;

    /// Says which row is the next; for shared rows.
    void go_to(int32_t row) noexcept;

    /// Lets other threads go on that wait for rows of this one, which has failed.
    void abandon() const noexcept;

    /// Takes the next rows. SUCCESS, or a code when the source has a form that no conversion takes.
    int run(SourceRows src, TargetRows dst, int32_t rows) noexcept;

private:
    /// A form that rows have on their way.
    struct Form {
        int32_t bits = 0;
        int32_t order = 0;
        const RGBQUAD* palette = nullptr;
        int32_t low = -1;
        int32_t high = -1;
    };

    const Form& form_for_last() const noexcept { return has_middle_ ? middle_ : has_table_ ? table_ : first_; }
    int open(const BITMAPHANDLE& source, const ColorTarget& target, const ColorRows* shared) noexcept;
    int run_batch(SourceRows src, TargetRows dst, int32_t rows) noexcept;
    void start_from(const BITMAPHANDLE& source) noexcept;
    int open_table(const BITMAPHANDLE& source) noexcept;
    int open_middle() noexcept;
    int open_matching(const ColorRows* shared) noexcept;
    int open_dithering(const BITMAPHANDLE& source, const ColorRows* shared) noexcept;
    int open_buffers() noexcept;
    ConvertJob job(const Form& from, const Form& to) const noexcept;
    int last_step(SourceRows src, TargetRows dst, int32_t rows) noexcept;
    SourceRows expand(SourceRows src, int32_t rows) noexcept;
    template <class Entry> void expand_row(const uint8_t* row, const Entry* table, uint8_t* out) const noexcept;
    size_t line_of(const Form& form) const noexcept;

    const ColorTarget* target_ = nullptr;
    int32_t width_ = 0;
    int32_t height_ = 0;
    bool is_gray_ = false; ///< every colour of the source is gray
    int32_t batch_ = 0;    ///< rows that the buffers hold

    RGBQUAD palette_[kMaxPaletteEntries] = {}; ///< of an indexed source, in full
    Form first_;                               ///< as rows come in
    Form table_;                               ///< behind the look-up table
    Form middle_;                              ///< as the last step takes them
    Form last_;
    bool has_table_ = false;
    bool has_middle_ = false;
    const RGBQUAD* lut_ = nullptr;
    const V_RGBQUAD16* lut16_ = nullptr;
    GrayRange samples_; ///< of a deep gray source
    RowBuffer table_rows_;
    RowBuffer middle_rows_;

    bool has_transparency_ = false;
    COLORREF transparent_ = 0;
    ColorLookup* lookup_ = nullptr;
    bool is_lookup_shared_ = false; ///< and another object's
    BITMAPHANDLE dither_ = {};      ///< describes the rows that are dithered, and holds the run
};

} // namespace vk
