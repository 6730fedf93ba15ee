// Runs of pixels of a picture that is repeated in all directions.
#pragma once

#include "kernel/combine/Scratch.h"
#include "kernel/combine/Walk.h"
#include "kernel/rows/RowAccess.h"

namespace vk::fill {

using combine::Line;

class PatternRun final : public combine::RunOperation {
public:
    /// The pattern's first pixel lies on `origin`, and again a pattern further on.
    explicit PatternRun(combine::Corner origin) noexcept : origin_(origin) {}

    /// Takes an accessed pattern over in the bitmap's form and the order of its pixels. SUCCESS or a code.
    int open(BITMAPHANDLE& bitmap, BITMAPHANDLE& pattern) noexcept;

    int begin_row(int32_t row, int32_t left) noexcept override;
    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    int prepare() noexcept;

    const combine::Corner origin_;
    combine::Scratch pattern_; ///< one of it, as it is to be written
    int32_t bits_ = 0;
    int32_t repeats_ = 0; ///< how often a row of it stands in the buffer
    int32_t left_ = 0;    ///< column that lines are counted from
    RowBuffer row_;
    RowBuffer repeated_;
};

} // namespace vk::fill
