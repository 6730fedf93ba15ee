// The scan for the nearest palette entry. See ColorMatch.h for the rule of ties.
#include "kernel/palette/ColorMatch.h"

namespace vk {
namespace {

bool is_gray_of(const RGBQUAD& entry, uint8_t level) noexcept
{
    return entry.rgbRed == level && entry.rgbGreen == level && entry.rgbBlue == level;
}

} // namespace

int32_t match_extreme(const RGBQUAD* entries, uint32_t count, uint8_t red, uint8_t green, uint8_t blue) noexcept
{
    if (red != green || green != blue || (red != 0 && red != 255)) {
        return -1;
    }
    // Black looks at the first entry first, white at the last.
    const int32_t last = static_cast<int32_t>(count - 1);
    const int32_t first_choice = red == 0 ? 0 : last;
    const int32_t second_choice = last - first_choice;
    if (is_gray_of(entries[first_choice], red)) {
        return first_choice;
    }
    return is_gray_of(entries[second_choice], red) ? second_choice : -1;
}

int32_t find_palette_index(const RGBQUAD* entries, uint32_t count, uint8_t red, uint8_t green, uint8_t blue) noexcept
{
    if (entries == nullptr) {
        return 0;
    }
    if (count == 0) {
        return -1;
    }
    const int32_t extreme = match_extreme(entries, count, red, green, blue);
    if (extreme >= 0) {
        return extreme;
    }
    const uint32_t own_class = channel_class(red, green, blue);
    uint32_t best = 0;
    uint32_t best_distance = UINT32_MAX;
    for (uint32_t i = 0; i < count && best_distance != 0; ++i) {
        const uint32_t distance = color_distance(entries[i], red, green, blue);
        if (distance < best_distance || (distance == best_distance && channel_class(entries[i]) == own_class)) {
            best = i;
            best_distance = distance;
        }
    }
    return static_cast<int32_t>(best);
}

} // namespace vk
