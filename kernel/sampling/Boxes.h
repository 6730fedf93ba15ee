// How a canvas is cut into boxes of which each sees no more of the source than fits a buffer: a box is halved until it
// does, each time the way that reads less, so that upright pictures go by bands of whole rows.
#pragma once

#include "kernel/format/RowMath.h"
#include "kernel/sampling/Mapping.h"
#include "kernel/sampling/Source.h"

#include <cstddef>
#include <cstdint>

namespace vk::sampling {

/// Source pixels that are held at a time, of storage that is no memory.
constexpr uint64_t kHeldBytes = 32u << 20;
/// Canvas pixels on their way to storage.
constexpr uint64_t kCanvasBytes = 16u << 20;
/// Rows that are painted column block by column block: near ones see the same source rows.
constexpr int32_t kBandRows = 64;

constexpr uint64_t kUnlimited = UINT64_MAX;

/// What is held where `usual` bytes usually are: less when limit_held says so.
uint64_t held_limit(uint64_t usual) noexcept;

inline size_t bytes_of(int64_t pixels, int32_t bits) noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits));
}

/// A box of the canvas, and the pixels of the source that it looks at.
struct Cut {
    Box box;
    Box looked;       ///< empty where that is not asked
    bool fits = true; ///< false: it is too small to be halved
};

/// Bytes of boxes, and of what they look at.
struct CutLimits {
    uint64_t canvas = kUnlimited;
    uint64_t looked = kUnlimited; ///< then it is not asked
};

class Boxes {
public:
    /// For painters that look so many pixels around a position, to a canvas of so many bits.
    Boxes(const Loader& loader, const Mapping& mapping, int32_t margin, int32_t bits) noexcept
        : loader_(loader), mapping_(mapping), margin_(margin), bits_(bits)
    {}

    /// Begins with a box, which is cut up.
    void begin(const Box& all) noexcept
    {
        pending_[0] = all;
        count_ = 1;
    }

    /// The next part of it; false when there is none left.
    bool next(const CutLimits& limits, Cut& cut) noexcept;

    /// Bytes of what is looked at, as the loader tells it.
    uint64_t held_bytes(const Box& looked) const noexcept
    {
        return looked.empty() ? 0 : static_cast<uint64_t>(looked.height()) * loader_.row_bytes(looked.width());
    }

private:
    static constexpr int32_t kDeepest = 128; ///< more than a box can be halved

    Box looked_at(const Box& box) const noexcept;
    bool fits(const Cut& cut, const CutLimits& limits) const noexcept;
    uint64_t cost(const Box& box) const noexcept;
    bool halve(const Box& box, Box& first, Box& second) const noexcept;

    const Loader& loader_;
    const Mapping& mapping_;
    const int32_t margin_;
    const int32_t bits_;
    int32_t count_ = 0;
    Box pending_[kDeepest];
};

/// Writes a box of pixels, rows next to each other, to a bitmap's storage. SUCCESS or a code.
int put_box(BITMAPHANDLE& made, const Box& box, const uint8_t* pixels) noexcept;

} // namespace vk::sampling
