// The matcher. A cache slot starts with a colour that belongs to another slot, so that no valid flag is needed.
#include "kernel/convert/PaletteMatch.h"

#include "kernel/palette/ColorMatch.h"

namespace vk::pixel {
namespace {

constexpr uint32_t kColorMask = 0x00FFFFFFu;

constexpr uint32_t color_key(const Rgba8& color) noexcept
{
    return static_cast<uint32_t>(color.r) << 16 | static_cast<uint32_t>(color.g) << 8 | color.b;
}

constexpr uint32_t slot_of(uint32_t key, uint32_t bits) noexcept
{
    return key * 0x9E3779B1u >> (32u - bits);
}

} // namespace

void Matcher::prepare(const RGBQUAD* entries, uint32_t count, const ColorLookup* lookup) noexcept
{
    entries_ = entries;
    count_ = count;
    lookup_ = lookup;
    if (lookup == nullptr) {
        // Black belongs to slot 0, so it marks every other slot as empty; slot 0 gets black's true index.
        for (uint32_t& slot : cache_) {
            slot = 0;
        }
        cache_[0] = static_cast<uint32_t>(find_palette_index(entries, count, 0, 0, 0)) << 24;
    }
}

uint8_t Matcher::match_one(Rgba8 color) noexcept
{
    if (lookup_ != nullptr) {
        uint8_t index = 0;
        lookup_->match(lookup_, &color, &index, 1);
        return index;
    }
    const uint32_t key = color_key(color);
    uint32_t& slot = cache_[slot_of(key, kCacheBits)];
    if ((slot & kColorMask) != key) {
        slot = key | static_cast<uint32_t>(find_palette_index(entries_, count_, color.r, color.g, color.b)) << 24;
    }
    return static_cast<uint8_t>(slot >> 24);
}

void Matcher::match(const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    if (lookup_ != nullptr) {
        lookup_->match(lookup_, colors, indices, count);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        indices[i] = match_one(colors[i]);
    }
}

} // namespace vk::pixel
