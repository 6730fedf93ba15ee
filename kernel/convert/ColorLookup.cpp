// The nested-table look-up.
#include "kernel/convert/ColorLookup.h"

namespace vk::pixel {
namespace {

constexpr uint64_t kNone = ~uint64_t{0};

constexpr bool is_final(uint64_t entry) noexcept
{
    return entry < 256 || entry == kNone;
}

template <class T> const T* table_at(uint64_t address) noexcept
{
    return reinterpret_cast<const T*>(static_cast<uintptr_t>(address));
}

uint8_t find(const uint64_t* by_blue, const Rgba8& color) noexcept
{
    uint64_t entry = by_blue[color.b];
    if (!is_final(entry)) {
        entry = table_at<uint64_t>(entry)[color.g];
        if (!is_final(entry)) {
            entry = table_at<uint32_t>(entry)[color.r];
        }
    }
    return static_cast<uint8_t>(entry);
}

void match_levels(const ColorLookup* self, const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    const uint64_t* by_blue = reinterpret_cast<const LevelLookup*>(self)->by_blue;
    for (size_t i = 0; i < count; ++i) {
        indices[i] = find(by_blue, colors[i]);
    }
}

} // namespace

LevelLookup make_level_lookup(const uint64_t* by_blue) noexcept
{
    return {{match_levels}, by_blue};
}

} // namespace vk::pixel
