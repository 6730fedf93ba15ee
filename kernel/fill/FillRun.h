// Runs of pixels of one colour.
#pragma once

#include "kernel/combine/Bits.h"
#include "kernel/combine/FillColor.h"
#include "kernel/combine/Walk.h"
#include "simd/Level.h"

namespace vk::fill {

using combine::Line;

class FillRun final : public combine::RunOperation {
public:
    /// With `is_large` runs of whole bytes go past the caches.
    FillRun(const BITMAPHANDLE& bitmap, COLORREF color, bool is_large) noexcept;
    FillRun(const FillRun&) = delete;
    FillRun& operator=(const FillRun&) = delete;
    ~FillRun();

    void run(Line to, Line from, Line mask, int32_t count) noexcept override;
    void run(Line to, int32_t count) noexcept;

    /// Of pixels of one bit those that are set in a row of `chosen` bits, which begins where the line's data does and
    /// has its first pixel in the lowest bit.
    void run_chosen(Line to, const uint8_t* chosen, int32_t count) const noexcept;

private:
    void stream(uint8_t* to, size_t bytes) const noexcept;

    /// Pixels of a repeating row: a multiple of eight, and whole cache lines of any pixel of whole bytes.
    static constexpr int32_t kPixels = 768;
    static constexpr size_t kLine = 64;

    const uint32_t bits_;
    const combine::BitOrder order_;
    const bool is_streamed_;
    alignas(64) uint8_t pixels_[kPixels * 8 + kLine];
};

struct FillLoops {
    /// Writes `lines` cache lines to a place at one, three of them by turns from `pattern`.
    void (*stream_pattern)(uint8_t* to, const uint8_t* pattern, size_t lines) noexcept;
};
VK_SIMD_TABLE(FillLoops, fill_loops);

} // namespace vk::fill
