// Source rows as lanes (Form.h): in place where they stand in memory in that form, else through a few slots that keep
// the rows asked for last, so that neighbouring destination rows do not read or unpack a row again.
#pragma once

#include "kernel/resample/Form.h"
#include "kernel/rows/RowAccess.h"

namespace vk::resample {

/// Rows of a bitmap that somebody else reads, each as long as it is needed.
struct RowRing {
    const uint8_t* data = nullptr;
    int32_t rows = 1; ///< that there is room for
    size_t pitch = 0;

    const uint8_t* row(int32_t y) const noexcept { return data + static_cast<size_t>(y % rows) * pitch; }
};

class LaneRows {
public:
    /// Of the bitmap's own rows, or as a ring has them.
    LaneRows(BITMAPHANDLE& bitmap, const Form& form, const RowRing* ring = nullptr) noexcept;

    /// Makes room for `slots` rows. SUCCESS or ERROR_NO_MEMORY.
    int open(int32_t slots) noexcept;

    const Form& form() const noexcept { return form_; }
    int32_t width() const noexcept { return bitmap_.Width; }
    int32_t height() const noexcept { return bitmap_.Height; }

    /// Points `lanes` at row `y`, which stays until `slots` rows behind it have been asked for. SUCCESS or the failure
    /// of the transfer.
    int row(int32_t y, const uint8_t** lanes) noexcept;

    /// Tells whether row `y` has alpha only of the largest value. SUCCESS or the failure of the transfer.
    int is_opaque(int32_t y, bool* opaque) noexcept;

private:
    int read(int32_t y, const uint8_t** row) noexcept;
    bool see_alpha(const uint8_t* lanes) const noexcept;

    BITMAPHANDLE& bitmap_;
    const Form& form_;
    const RowRing* ring_;
    RowReader reader_;
    bool direct_ = false; ///< rows are used where they stand
    int32_t slots_ = 0;
    size_t pitch_ = 0;
    RowBuffer lanes_; ///< the slots
    RowBuffer held_;  ///< row in each slot, counted from 1
    RowBuffer room_;  ///< for unpacking
    RowBuffer alpha_; ///< for each row of the bitmap: 0 not yet seen, 1 opaque, 2 not
};

} // namespace vk::resample
