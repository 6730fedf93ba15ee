// Runs of pixels whose channels are combined by arithmetic.
#pragma once

#include "kernel/combine/ChannelOperation.h"
#include "kernel/combine/ConvertRun.h"
#include "kernel/combine/PalettePairs.h"
#include "kernel/combine/PixelLanes.h"
#include "kernel/combine/WordOperation.h"

namespace vk::combine {

class ArithmeticRun final : public RunOperation {
public:
    explicit ArithmeticRun(uint32_t flags) noexcept : how_(flags), source_(converter_) {}

    /// Prepares for so many pixels. SUCCESS or a code.
    int open(const BITMAPHANDLE& to, const BITMAPHANDLE& from, uint64_t pixels) noexcept;

    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

private:
    void run_palette(Line to, const uint8_t* from, int32_t count) noexcept;
    void run_channels(Line to, const uint8_t* from, int32_t count) noexcept;
    void run_words(Line to, const uint8_t* from, int32_t count) noexcept;
    void run_lanes(Line to, const uint8_t* from, int32_t count) noexcept;
    void find_words() noexcept;

    const Arithmetic how_;
    PixelForm form_; ///< the destination's
    bool is_signed_ = false;
    bool by_palette_ = false;
    RowConverter converter_;
    ConvertedPixels source_;
    PaletteColors colors_;
    PalettePairs pairs_; ///< of two bitmaps of indices
    WordFields words_;   ///< of gray samples that are not signed, and of colours in 16 bits
    PixelLanes from_lanes_[kChunk];
    PixelLanes to_lanes_[kChunk];
    alignas(64) uint8_t packed_[kChunkBytes];
};

} // namespace vk::combine
