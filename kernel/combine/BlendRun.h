// Runs of pixels blended with a source's, under a mask and an opacity. BlendFormula.h has the arithmetic; here source
// and destination are brought together, and a faster form is taken where there is one.
#pragma once

#include "kernel/combine/BlendFormula.h"
#include "kernel/combine/BlendKernels.h"
#include "kernel/combine/CoverRows.h"
#include "kernel/combine/PalettePairs.h"
#include "kernel/combine/PixelLanes.h"
#include "kernel/combine/Streaming.h"

namespace vk::combine {

/// What V_BlendBitmap is asked for.
struct BlendRequest {
    uint32_t mode;
    uint32_t flags; ///< BLEND_ flags
    uint32_t opacity;

    constexpr bool has(uint32_t flag) const noexcept { return (flags & flag) != 0; }
};

class BlendRun final : public RunOperation {
public:
    explicit BlendRun(const BlendRequest& request) noexcept : request_(request), source_(converter_) {}

    /// Prepares for so many pixels; the mask may be null. SUCCESS or a code.
    int open(const BITMAPHANDLE& to, const BITMAPHANDLE& from, const BITMAPHANDLE* mask, uint64_t pixels) noexcept;

    void run(Line to, Line from, Line mask, int32_t count) noexcept override;

    /// The loop of BlendKernels.h that is taken at a level; null where there is none for this blend.
    BlendLoop* fast_loop(simd::Level highest) const noexcept;

private:
    /// Blends that there are loops for.
    enum class Fast : uint8_t { none, over_premultiplied, over_straight, mix };

    void choose_forms(const BITMAPHANDLE& to, const BITMAPHANDLE& from) noexcept;
    void choose_width() noexcept;
    void choose_fast() noexcept;
    void run_fast(BlendLoop* loop, Line to, Line from, Line mask, int32_t count) noexcept;
    void run_chunk(Line to, Line from, Line mask, int32_t count) noexcept;
    void run_pairs(Line to, Line from, int32_t count) noexcept;
    void blend_pixels(const uint8_t* from, uint8_t* to, int32_t count) noexcept;
    template <class Wide> void blend_lanes(const PixelLanes* from, PixelLanes* to, int32_t count) const noexcept;
    template <class Wide> Coverage<Wide> coverage(uint32_t alpha, uint32_t mask) const noexcept;

    const BlendRequest request_;
    PixelForm form_; ///< in which pixels are blended: the destination's, or colours for a palette's indices
    LaneForm lanes_;
    BlendForms how_{};
    bool is_signed_ = false;
    bool by_palette_ = false;
    bool is_wide_ = false;    ///< fractions need more than 64 bits
    bool is_coarse_ = false;  ///< and more than 128: the coverage is rounded to 16 bits
    uint32_t alpha_most_ = 1; ///< of the source; 1: it is opaque
    bool own_alpha_ = false;  ///< it comes with the converted pixels
    Fast fast_ = Fast::none;

    RowConverter converter_;
    ConvertedPixels source_;
    PaletteColors colors_;
    PalettePairs pairs_; ///< of two bitmaps of indices without a mask
    AlphaValues alpha_;
    MaskValues mask_;
    uint16_t alphas_[kChunk];
    uint16_t masks_[kChunk];
    PixelLanes from_lanes_[kChunk];
    PixelLanes to_lanes_[kChunk];
    alignas(64) uint8_t packed_[kChunkBytes];
};

} // namespace vk::combine
