#include "kernel/convert/PairLookup.h"

#include "kernel/convert/Steps.h"
#include "kernel/palette/ColorMatch.h"
#include "platform/platform.h"

#include <algorithm>
#include <new>

namespace vk::pixel {

namespace {

struct PairLookup {
    ColorLookup base;
    RGBQUAD entries[2];
    PairRule rule;
};

constexpr int32_t square_of(const RGBQUAD& entry) noexcept
{
    return entry.rgbBlue * entry.rgbBlue + entry.rgbGreen * entry.rgbGreen + entry.rgbRed * entry.rgbRed;
}

/// The distances' squares differ by the entries' own less twice the products with the colour.
PairRule rule_of(const RGBQUAD (&entries)[2]) noexcept
{
    const auto difference = [](uint8_t a, uint8_t b) noexcept { return static_cast<int16_t>(a - b); };
    return {difference(entries[0].rgbBlue, entries[1].rgbBlue), difference(entries[0].rgbGreen, entries[1].rgbGreen),
            difference(entries[0].rgbRed, entries[1].rgbRed), square_of(entries[0]) - square_of(entries[1])};
}

uint8_t match_one(const PairLookup& lookup, const Rgba8& color) noexcept
{
    const PairRule& rule = lookup.rule;
    const int32_t twice = 2 * (rule.blue * color.b + rule.green * color.g + rule.red * color.r);
    if (twice == rule.limit)
        return static_cast<uint8_t>(find_palette_index(lookup.entries, 2, color.r, color.g, color.b));
    return twice < rule.limit ? 1 : 0;
}

void match_colors(const ColorLookup* self, const Rgba8* colors, uint8_t* indices, size_t count) noexcept
{
    constexpr size_t kMostStep = 64;
    const auto& lookup = *reinterpret_cast<const PairLookup*>(self);
    for (size_t at = 0; at < count;) {
        at += run_step<&StepLoops::match_pair>(colors + at, indices + at, count - at, lookup.rule);
        for (const size_t end = std::min(count, at + kMostStep); at < end; ++at)
            indices[at] = match_one(lookup, colors[at]);
    }
}

} // namespace

bool are_apart(const RGBQUAD& first, const RGBQUAD& second) noexcept
{
    return first.rgbBlue != second.rgbBlue || first.rgbGreen != second.rgbGreen || first.rgbRed != second.rgbRed;
}

ColorLookup* create_pair_lookup(const RGBQUAD (&entries)[2]) noexcept
{
    void* const memory = platform::heap_alloc(sizeof(PairLookup));
    if (memory == nullptr)
        return nullptr;
    return &(new (memory) PairLookup{{match_colors}, {entries[0], entries[1]}, rule_of(entries)})->base;
}

bool destroy_pair_lookup(ColorLookup* lookup) noexcept
{
    const bool is_pair = lookup->match == match_colors;
    if (is_pair)
        platform::heap_free(reinterpret_cast<PairLookup*>(lookup));
    return is_pair;
}

} // namespace vk::pixel
