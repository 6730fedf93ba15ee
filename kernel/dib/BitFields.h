// Colour masks of 16- and 32-bit DIBs. The usual sets are colour orders of the library and need no work; pixels with
// any other masks are repacked to BGR, 8 bits per channel at 32 and 5 at 16. Masks may be anything: a field reaches
// from its lowest to its highest bit, an empty one is black.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vk::dib {

struct Masks {
    uint32_t red = 0;
    uint32_t green = 0;
    uint32_t blue = 0;

    bool operator==(const Masks&) const noexcept = default;
};

/// Three mask words.
Masks read_masks(const uint8_t* bytes) noexcept;

/// The colour order that a usual set of masks stands for; -1 for any other set.
int32_t usual_order(const Masks& masks, int32_t bits) noexcept;

class FieldMover {
public:
    explicit FieldMover(const Masks& masks) noexcept;

    /// Repacks a row of 16- or 32-bit pixels, also in place. The fourth byte of 32-bit pixels becomes `alpha`.
    void repack(uint8_t* to, const uint8_t* from, size_t pixels, int32_t bits, uint8_t alpha) const noexcept;

private:
    struct Field {
        explicit Field(uint32_t field_mask) noexcept;
        /// The field as 8 bits.
        uint8_t level(uint32_t pixel) const noexcept { return levels[(pixel & mask) >> shift]; }

        uint32_t mask;
        uint32_t shift; ///< to the field's top 8 bits, or to all of a narrower one
        std::array<uint8_t, 256> levels{};
    };

    Field red_;
    Field green_;
    Field blue_;
};

} // namespace vk::dib
