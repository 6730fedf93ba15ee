// Rows of gray samples through a window: a byte for each sample, 0 to 255.
//
// Up to 16 significant bits a table has the results. Straight windows on 16-bit samples take a product and a shift
// instead, wherever these give the table's results for every sample there can be, which the steps of the window tell.
#pragma once

#include "Vkwindow.h"
#include "kernel/format/GrayRange.h"
#include "kernel/format/PackedBits.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/window/Curve.h"
#include "kernel/window/LinearWindow.h"

#include <cstring>

namespace vk {

/// A stored pixel of 8, 12, 16 or 32 bits.
inline uint32_t stored_sample(const uint8_t* row, int32_t bits, int32_t x) noexcept
{
    const auto column = static_cast<size_t>(x);
    uint32_t sample = 0;
    with_depth(bits, [&]<int32_t kBits>() noexcept {
        if constexpr (kBits >= kMostIndexBits && has_order(kBits, COLORORDER_GRAY))
            sample = pixel_at<kBits>(row, column);
    });
    return sample;
}

/// SUCCESS, or ERROR_INVALID_BITS_PER_PIXEL for a bitmap that is not gray.
int sample_form(const BITMAPHANDLE& bitmap, uint32_t flags, SampleForm* form) noexcept;

class WindowRows {
public:
    /// For a checked window, or null for the whole range of the samples. SUCCESS or ERROR_NO_MEMORY.
    int open(const SampleForm& form, const V_WINDOW* window) noexcept;

    /// Writes the levels of `count` samples from `first` on in a row.
    void run(const uint8_t* row, int32_t first, int32_t count, uint8_t* levels, bool streams) const noexcept;

    /// True when rows are not looked up.
    bool is_linear() const noexcept { return loops_ != nullptr; }

private:
    void fill_table(const WindowSteps& steps) noexcept;
    template <bool is_whole> void look_up(const uint8_t* row, size_t count, uint8_t* levels) const noexcept;
    void run_steps(const uint8_t* row, int32_t count, uint8_t* levels) const noexcept;

    SampleForm form_;
    uint8_t flip_ = 0; ///< 255 for an inverted window
    RowBuffer table_;
    RowBuffer steps_; ///< of more than 16 bits: the first sample of each level
    LinearWindow linear_;
    const LinearLoops* loops_ = nullptr; ///< or the table
};

} // namespace vk
