// Taking the nearest pixel, as it is, at every depth.
#pragma once

#include "kernel/sampling/Fill.h"
#include "kernel/sampling/Painter.h"

namespace vk::sampling {

class NearestPainter final : public Painter {
public:
    NearestPainter(const Mapping& mapping, int32_t bits, const FillPixel& fill) noexcept;

    void paint(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept override;

private:
    void paint_bytes(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept;
    void paint_bits(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept;
    void paint_packed(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept;
    void take(const Source& source, int32_t row, const Track& track, uint8_t* out, size_t element) noexcept;
    void take_single(const Source& source, const Track& track, int32_t i, uint8_t* out) noexcept;

    int32_t bits_;
    FillPixel fill_;
    Take plain_;
    Take fast_;
    TakeBits fast_bits_;
    Track track_;
    alignas(64) uint8_t pattern_[kLongest * 8]; ///< fill pixels
    alignas(64) uint8_t work_[kLongest * 4 + kSlack];
};

} // namespace vk::sampling
