// Contrast and intensity are fractions of whole numbers. The power of gamma is worked out with the four basic
// operations alone, so that it is the same on every system.
#include "kernel/display/PaintTables.h"

#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vk::display {

namespace {

constexpr int32_t kMost = 1000;
constexpr int32_t kPlainGamma = 100;
constexpr int32_t kMostGamma = 10000;
constexpr uint32_t kEntries = 256;
constexpr uint32_t kWideEntries = 65536;
constexpr double kLog2 = 0.693147180559945309417;

/// The natural logarithm of a number above 0, by the series of the hyperbolic arc tangent.
double log_of(double number) noexcept
{
    int exponent = 0;
    double mantissa = std::frexp(number, &exponent);
    if (mantissa < 0.70710678118654752440) {
        mantissa *= 2.0;
        --exponent;
    }
    const double ratio = (mantissa - 1.0) / (mantissa + 1.0); // up to 0.172 either way
    const double square = ratio * ratio;
    double sum = 0.0;
    for (int i = 25; i >= 1; i -= 2)
        sum = sum * square + 1.0 / i;
    return 2.0 * ratio * sum + exponent * kLog2;
}

/// e to a power of 0 or less.
double exp_of(double power) noexcept
{
    if (power < -700.0)
        return 0.0;
    const auto halvings = static_cast<int>(power / kLog2);
    const double rest = power - halvings * kLog2;
    double sum = 1.0;
    for (int i = 20; i >= 1; --i)
        sum = 1.0 + sum * rest / i;
    return std::ldexp(sum, halvings);
}

/// A number from 0 to 1.
struct Fraction {
    int64_t part;
    int64_t whole;
};

Fraction brightness(const Paint& paint, uint32_t value, uint32_t most) noexcept
{
    const int64_t multiplier = paint.contrast < 0 ? kMost + paint.contrast : kMost;
    const int64_t divisor = paint.contrast < 0 ? kMost : kMost - paint.contrast;
    const int64_t away = 2 * int64_t{value} - most; // from the middle; odd
    if (divisor == 0)
        return {std::clamp(int64_t{away > 0 ? kMost : 0} + paint.intensity, int64_t{0}, int64_t{kMost}), kMost};
    const int64_t whole = 2 * int64_t{most} * divisor * kMost;
    const int64_t part = whole / 2 + away * multiplier * kMost + 2 * int64_t{most} * divisor * paint.intensity;
    return {std::clamp(part, int64_t{0}, whole), whole};
}

/// A table of the record: the one that is there, when it has all entries, or a new block.
template <class Entry> Entry* table_for(Entry* own, uint32_t entries) noexcept
{
    if (own && held_entries(own, entries) == entries)
        return own;
    return static_cast<Entry*>(locked_block_alloc(entries * sizeof(Entry)));
}

template <class Entry> void fill(const Paint& paint, Entry* table, uint32_t entries) noexcept
{
    for (uint32_t i = 0; i < entries; ++i)
        table[i] = static_cast<Entry>(painted(paint, i, entries - 1));
}

} // namespace

bool Paint::is_valid() const noexcept
{
    const auto is_within = [](int32_t number) noexcept { return number >= -kMost && number <= kMost; };
    return is_within(contrast) && is_within(intensity) && gamma >= 1 && gamma <= kMostGamma;
}

uint32_t painted(const Paint& paint, uint32_t value, uint32_t most) noexcept
{
    const Fraction bright = brightness(paint, value, most);
    if (paint.gamma == kPlainGamma)
        return static_cast<uint32_t>((2 * bright.part * most + bright.whole) / (2 * bright.whole));
    if (bright.part == 0 || bright.part == bright.whole)
        return bright.part == 0 ? 0 : most;
    const double base = static_cast<double>(bright.part) / static_cast<double>(bright.whole);
    const double power = exp_of(log_of(base) * kPlainGamma / paint.gamma);
    return std::min(static_cast<uint32_t>(power * most + 0.5), most);
}

int set_paint(BITMAPHANDLE& bitmap, const Paint& paint) noexcept
{
    uint8_t* const old = bitmap.PaintLUT;
    uint8_t* const table = table_for(old, kEntries);
    if (!table)
        return V_ERROR_NO_MEMORY;
    uint16_t* const old_wide = is_current(bitmap) ? bitmap.PaintLUT16 : nullptr;
    uint16_t* const wide = is_current(bitmap) ? table_for(old_wide, kWideEntries) : nullptr;
    if (is_current(bitmap) && !wide) {
        if (table != old)
            locked_block_free(table);
        return V_ERROR_NO_MEMORY;
    }
    fill(paint, table, kEntries);
    if (table != old)
        locked_block_free(old);
    bitmap.PaintLUT = table;
    if (wide) {
        fill(paint, wide, kWideEntries);
        if (wide != old_wide)
            locked_block_free(old_wide);
        bitmap.PaintLUT16 = wide;
    }
    bitmap.PaintContrast = paint.contrast;
    bitmap.PaintIntensity = paint.intensity;
    bitmap.PaintGamma = paint.gamma;
    bitmap.Flags |= BITMAPFLAG_USEPAINTLUT;
    return V_SUCCESS;
}

const uint8_t* paint_table(const BITMAPHANDLE& bitmap) noexcept
{
    const uint8_t* const table = bitmap.Flags & BITMAPFLAG_USEPAINTLUT ? bitmap.PaintLUT : nullptr;
    return table && held_entries(table, kEntries) == kEntries ? table : nullptr;
}

const uint16_t* wide_paint_table(const BITMAPHANDLE& bitmap) noexcept
{
    const bool is_used = is_current(bitmap) && bitmap.Flags & BITMAPFLAG_USEPAINTLUT;
    const uint16_t* const table = is_used ? bitmap.PaintLUT16 : nullptr;
    return table && held_entries(table, kWideEntries) == kWideEntries ? table : nullptr;
}

void paint_bytes(uint8_t* pixels, size_t count, size_t channels, const uint8_t* table) noexcept
{
    for (size_t i = 0; i < count; ++i, pixels += channels)
        for (size_t c = 0; c < 3; ++c)
            pixels[c] = table[pixels[c]];
}

void paint_words(uint8_t* pixels, size_t count, size_t channels, const uint16_t* table) noexcept
{
    for (size_t i = 0; i < count; ++i, pixels += channels * sizeof(uint16_t)) {
        uint16_t words[3];
        std::memcpy(words, pixels, sizeof words);
        for (uint16_t& word : words)
            word = table[word];
        std::memcpy(pixels, words, sizeof words);
    }
}

} // namespace vk::display
