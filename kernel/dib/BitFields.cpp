#include "kernel/dib/BitFields.h"

#include "Vkrecord.h"
#include "kernel/dib/Header.h"

#include <algorithm>
#include <bit>

namespace vk::dib {

namespace {

struct UsualSet {
    int32_t bits;
    Masks masks;
    int32_t order;
};
constexpr UsualSet kUsualSets[] = {
    {32, {0xFF0000, 0x00FF00, 0x0000FF}, COLORORDER_BGR},
    {32, {0x0000FF, 0x00FF00, 0xFF0000}, COLORORDER_RGB},
    {16, {0x7C00, 0x03E0, 0x001F}, COLORORDER_BGR},
    {16, {0xF800, 0x07E0, 0x001F}, COLORORDER_RGB565},
};

/// A value of `width` bits (1 to 8) as 8 bits, by repeating it.
uint8_t repeated(uint32_t value, uint32_t width) noexcept
{
    uint32_t bits = value << (8 - width);
    for (uint32_t filled = width; filled < 8; filled *= 2)
        bits |= bits >> filled;
    return static_cast<uint8_t>(bits);
}

} // namespace

Masks read_masks(const uint8_t* bytes) noexcept
{
    return {read_value<uint32_t>(bytes), read_value<uint32_t>(bytes + 4), read_value<uint32_t>(bytes + 8)};
}

int32_t usual_order(const Masks& masks, int32_t bits) noexcept
{
    for (const UsualSet& set : kUsualSets)
        if (set.bits == bits && set.masks == masks)
            return set.order;
    return -1;
}

FieldMover::Field::Field(uint32_t field_mask) noexcept : mask(field_mask), shift(0)
{
    if (mask == 0)
        return; // every level is 0
    const auto low = static_cast<uint32_t>(std::countr_zero(mask));
    const auto width = 32 - static_cast<uint32_t>(std::countl_zero(mask)) - low;
    const uint32_t kept = std::min(width, 8u);
    shift = low + width - kept;
    for (uint32_t value = 0; value < 1u << kept; ++value)
        levels[value] = repeated(value, kept);
}

FieldMover::FieldMover(const Masks& masks) noexcept : red_(masks.red), green_(masks.green), blue_(masks.blue) {}

void FieldMover::repack(uint8_t* to, const uint8_t* from, size_t pixels, int32_t bits, uint8_t alpha) const noexcept
{
    if (bits == 16) {
        for (size_t i = 0; i < pixels; ++i) {
            const uint32_t pixel = read_value<uint16_t>(from + 2 * i);
            const auto red = static_cast<uint32_t>(red_.level(pixel) >> 3);
            const auto green = static_cast<uint32_t>(green_.level(pixel) >> 3);
            const auto blue = static_cast<uint32_t>(blue_.level(pixel) >> 3);
            write_value(to + 2 * i, static_cast<uint16_t>(red << 10 | green << 5 | blue));
        }
        return;
    }
    for (size_t i = 0; i < pixels; ++i) {
        const auto pixel = read_value<uint32_t>(from + 4 * i);
        to[4 * i] = blue_.level(pixel);
        to[4 * i + 1] = green_.level(pixel);
        to[4 * i + 2] = red_.level(pixel);
        to[4 * i + 3] = alpha;
    }
}

} // namespace vk::dib
