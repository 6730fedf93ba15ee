// What rows of 8-bit samples go through on their way to colours and back, plain and for each instruction set. All
// give the same bits; those with vectors are the same loops, compiled for them, where the compiler makes
// the best of these, and code of their own elsewhere.
#pragma once

#include "kernel/yuv/Chroma.h"
#include "kernel/yuv/Formula.h"
#include "simd/Level.h"

#include <cstddef>
#include <cstdint>

namespace vk::yuv {

/// What is read may be read up to kRoom samples behind its end and what is written be written there, but for the
/// caller's memory: what the blends, to_bgr's luma and split read, and what to_bgr, luma, chroma and interleave write.
constexpr size_t kRoom = 64;

/// Where samples go that are made of colours: chroma to planes, for each pixel or two, to pairs, or with luma to packed
/// rows.
enum class ChromaTo : uint8_t { single_planes, planes, pairs, luma_first, chroma_first };

/// One or two rows of colours for a row of chroma. Pointers that are not needed are like others.
struct FusedRows {
    const uint8_t* from[2];
    uint8_t* luma[2];   ///< the packed row as well
    uint8_t* chroma[2]; ///< of the first difference and the second, or of pairs
    ChromaTo to;
    bool stream;
};

/// Ways from samples to colours and back in one go (Fused_vector.cpp), where chroma is for a pixel or for two of a row.
/// They touch nothing beyond the rows. `stream` as below.
struct FusedKernels {
    /// From n / 2 blended samples, rounded up, with one more on both sides and room behind, times 1 << shift.
    void (*to_bgr_pairs)(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, bool centered, int32_t shift,
                         const ToBytes& f, uint8_t* bgr, bool stream) noexcept;
    /// From a sample for each pixel.
    void (*to_bgr_single)(const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n, const ToBytes& f,
                          uint8_t* bgr, bool stream) noexcept;
    /// n groups of two pixels in four bytes to luma and chroma, and room behind them.
    void (*unpack)(const uint8_t* from, size_t n, bool luma_first, uint8_t* y, uint16_t* first,
                   uint16_t* second) noexcept;
    /// From one row or two. The first difference is that of `f.u`.
    void (*from_bgr)(const FusedRows& rows, size_t count, size_t n, bool centered, const FromBytes& f) noexcept;
};

struct Kernels {
    /// own * own_weight + other * other_weight, for n samples.
    void (*blend)(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* to, size_t n) noexcept;
    /// The same for pairs of samples, to two rows.
    void (*blend_pairs)(const uint8_t* own, const uint8_t* other, const RowBlend& blend, uint16_t* first,
                        uint16_t* second, size_t n) noexcept;
    /// From n blended samples, with one more on both sides, to n * step pixels, times 1 << shift.
    void (*spread)(const uint16_t* from, size_t n, const Siting& siting, int32_t shift, uint16_t* to) noexcept;
    /// Colours from luma and chroma times 256. With `stream`, for a row at a multiple of 64 bytes, writes go past the
    /// caches; the caller ends them with a fence.
    void (*to_bgr)(const uint8_t* y, const uint16_t* u, const uint16_t* v, size_t n, const ToBytes& f, uint8_t* bgr,
                   bool stream) noexcept;
    /// Colours of three bytes to a row for each channel.
    void (*split)(const uint8_t* bgr, size_t n, uint8_t* b, uint8_t* g, uint8_t* r) noexcept;
    void (*luma)(const uint8_t* b, const uint8_t* g, const uint8_t* r, size_t n, const FromBytes& f,
                 uint8_t* y) noexcept;
    /// Sums of a channel over rows, from one or two more of them; `more` adds to those that are there.
    void (*add)(const uint8_t* first, const uint8_t* second, size_t n, uint16_t* sum, bool more) noexcept;
    /// n chroma samples from sums over rows with room before them for a filter's reach; `shift` is that of both
    /// filters.
    void (*chroma)(const uint16_t* b, const uint16_t* g, const uint16_t* r, size_t n, const Siting& siting,
                   const FromBytes& f, int32_t shift, uint8_t* u, uint8_t* v) noexcept;
    void (*interleave)(const uint8_t* first, const uint8_t* second, size_t n, uint8_t* pairs) noexcept;
    const FusedKernels* fused; ///< null at the plain level
};

VK_SIMD_TABLE(FusedKernels, fused_kernels);
VK_SIMD_TABLE(Kernels, vector_kernels);
extern const Kernels kPlainKernels;

/// Those in use.
const Kernels& kernels() noexcept;

} // namespace vk::yuv
