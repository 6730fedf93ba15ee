// Leaves the pixels of a source's transparent colour out of any operation.
#pragma once

#include "kernel/combine/ConvertRun.h"

namespace vk::combine {

class KeyedRun final : public RunOperation {
public:
    explicit KeyedRun(RunOperation& operation) noexcept : operation_(operation), source_(converter_) {}

    /// SUCCESS or a code. The source has a transparent colour.
    int open(const BITMAPHANDLE& from) noexcept;

    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    RunOperation& operation_;
    RowConverter converter_; ///< to colours with alpha, which says where the transparent one is
    ConvertedPixels source_;
};

} // namespace vk::combine
