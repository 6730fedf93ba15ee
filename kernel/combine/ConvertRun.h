// Runs of pixels from a bitmap of another form: converted on the way, then copied or combined bit by bit.
#pragma once

#include "kernel/combine/Bits.h"
#include "kernel/combine/RowConverter.h"
#include "kernel/combine/Walk.h"

namespace vk::combine {

/// Source pixels in the destination's form, some at a time.
class ConvertedPixels {
public:
    explicit ConvertedPixels(RowConverter& converter) noexcept : converter_(converter) {}

    /// Up to kChunk pixels from `from` on, beginning with a byte; good until the next call.
    const uint8_t* take(Line from, int32_t count) noexcept;

private:
    RowConverter& converter_;
    alignas(64) uint8_t aligned_[kChunkBytes];
    alignas(64) uint8_t converted_[kChunkBytes];
};

class ConvertRun final : public RunOperation {
public:
    ConvertRun(RowConverter& converter, const Logic& logic, bool is_large) noexcept
        : converter_(converter), pixels_(converter), logic_(logic), is_large_(is_large && logic.is_copy())
    {}
    ConvertRun(const ConvertRun&) = delete;
    ConvertRun& operator=(const ConvertRun&) = delete;
    ~ConvertRun();

    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    int32_t run_straight(Line to, Line from, int32_t count) noexcept;

    RowConverter& converter_;
    ConvertedPixels pixels_;
    const Logic logic_;
    const bool is_large_;
};

} // namespace vk::combine
