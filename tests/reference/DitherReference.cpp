// The slow dither. Sums of error are kept undivided, as wide integers, by picture position.
#include "tests/reference/DitherReference.h"

#include "tests/reference/ConvertReference.h"

#include <algorithm>

namespace vk::reference {
namespace {

/// Shares of the error by row and column; the fourth column is the pixel's own.
struct Method {
    int divisor;
    int shares[4][7];
};
constexpr Method kMethods[] = {
    {1, {}},
    {16, {{0, 0, 0, 0, 7, 0, 0}, {0, 0, 3, 5, 1, 0, 0}}},
    {42, {{0, 0, 0, 0, 8, 4, 0}, {0, 2, 4, 8, 4, 2, 0}, {0, 1, 2, 4, 2, 1, 0}}},
    {32, {{0, 0, 0, 0, 8, 4, 0}, {0, 2, 4, 8, 4, 2, 0}}},
    {32, {{0, 0, 0, 0, 5, 3, 0}, {0, 2, 4, 5, 4, 2, 0}, {0, 0, 2, 3, 2, 0, 0}}},
    {200, {{0, 0, 0, 0, 0, 32, 0}, {12, 0, 26, 0, 30, 0, 16}, {0, 12, 0, 26, 0, 12, 0}, {5, 0, 12, 0, 12, 0, 5}}},
    {48, {{0, 0, 0, 0, 7, 5, 0}, {0, 3, 5, 7, 5, 3, 0}, {0, 1, 3, 5, 3, 1, 0}}},
};

constexpr int kThresholds[2][64] = {
    {0,   128, 32,  160, 8,   136, 40,  168, 192, 64,  224, 96,  200, 72,  232, 104, 48,  176, 16,  144, 56,  184,
     24,  152, 236, 112, 208, 80,  244, 120, 216, 88,  12,  140, 44,  172, 4,   132, 36,  164, 204, 76,  232, 108,
     196, 68,  228, 100, 60,  188, 28,  156, 52,  180, 20,  148, 248, 124, 220, 92,  240, 116, 212, 84},
    {112, 40,  72, 104, 144, 176, 208, 136, 88,  8,   16,  48,  192, 232, 240, 168, 56,  24,  0,   80,  160, 224,
     248, 200, 96, 64,  32,  120, 128, 216, 184, 152, 148, 180, 212, 140, 116, 44,  76,  108, 196, 236, 244, 172,
     92,  12,  20, 52,  164, 228, 252, 204, 60,  28,  4,   84,  132, 220, 188, 156, 100, 68,  36,  124}};

int offset(int method, int x, int y, int bits)
{
    constexpr int kMiddle[] = {0, 128, 64, 42, 32, 25, 21, 18, 16};
    return kThresholds[method - 7][y % 8 * 8 + x % 8] / bits - kMiddle[bits];
}

int key_of(const RGBQUAD& color)
{
    return color.rgbRed / 8 * 1024 + color.rgbGreen / 8 * 32 + color.rgbBlue / 8;
}

bool same_colors(const std::vector<RGBQUAD>& a, const std::vector<RGBQUAD>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const RGBQUAD& x, const RGBQUAD& y) {
        return x.rgbBlue == y.rgbBlue && x.rgbGreen == y.rgbGreen && x.rgbRed == y.rgbRed && x.rgbReserved % 4 == 0;
    });
}

/// A gray row's significant bits as levels; fewer than eight are stretched in proportion.
std::vector<uint8_t> levels_of(const DitherSetup& setup, const uint8_t* source)
{
    const int high = setup.high_bit < 0 || setup.high_bit >= setup.bits ? setup.bits - 1 : setup.high_bit;
    const int low = std::max(setup.low_bit, 0);
    const int bits = high - low + 1;
    const uint64_t largest = (uint64_t{1} << bits) - 1;
    std::vector<uint8_t> levels;
    for (int64_t x = 0; x < setup.width; ++x) {
        uint64_t sample = 0;
        for (int64_t bit = 0; bit < setup.bits; ++bit) {
            const int64_t at = x * setup.bits + bit;
            sample |= uint64_t{source[at / 8] >> (at % 8) & 1u} << bit;
        }
        const uint64_t value = sample >> low & largest;
        levels.insert(levels.end(), 3, static_cast<uint8_t>(bits >= 8 ? value >> (bits - 8) : value * 255 / largest));
    }
    return levels;
}

} // namespace

Dither::Dither(const DitherSetup& setup) : setup_(setup)
{
    choose_kind();
    std::vector<RGBQUAD> from = kind_ >= 2 ? fixed_entries(kind_ - 1) : setup_.palette;
    from.resize(kind_ == 10 ? 216 : from.size());
    for (size_t i = 0; i < from.size(); ++i)
        if (from[i].rgbReserved % 4 == 0) {
            entries_.push_back(from[i]);
            indices_.push_back(static_cast<uint32_t>(i));
        }
    for (size_t i = 0; i < entries_.size() && kind_ < 2; ++i) {
        const int key = key_of(entries_[i]);
        cache_.emplace(key, i);
        if (kind_ == 1 && setup_.match_table[static_cast<size_t>(key)] == 0)
            setup_.match_table[static_cast<size_t>(key)] = static_cast<uint32_t>(i) + 1;
    }
}

void Dither::choose_kind()
{
    int bits = 1;
    while (setup_.colors > 1u << bits)
        ++bits;
    if (!setup_.match_table.empty())
        kind_ = 1;
    else if (setup_.palette.empty() || same_colors(setup_.palette, fixed_entries(bits)))
        kind_ = bits + 1;
    else if (same_colors(setup_.palette, fixed_entries(9)))
        kind_ = 10;
}

/// The row in blue, green, red; of a wide-gamut row, which is changed where it stands, the upper bytes.
std::vector<uint8_t> Dither::colors_of(uint8_t* source) const
{
    if (setup_.order == COLORORDER_GRAY && setup_.bits >= 8)
        return levels_of(setup_, source);
    Conversion job;
    job.width = setup_.width;
    job.src_bits = job.dst_bits = setup_.bits;
    job.src_order = setup_.order;
    job.dst_order = COLORORDER_BGR;
    const size_t bytes = (static_cast<size_t>(setup_.width) * static_cast<size_t>(setup_.bits) + 7) / 8;
    std::vector<uint8_t> row(source, source + bytes);
    if (setup_.order == COLORORDER_ROMM) {
        row = convert(job, row);
        std::copy(row.begin(), row.end(), source);
        job.src_order = COLORORDER_BGR;
    }
    job.dst_bits = 24;
    job.src_palette = setup_.own_palette;
    if (!setup_.own_palette.empty())
        job.src_palette.resize(size_t{1} << std::min(setup_.bits, 8), RGBQUAD{0, 0, 0, 0});
    return convert(job, row);
}

size_t Dither::match(const RGBQUAD& color)
{
    const auto search = [this](const RGBQUAD& c) {
        return static_cast<size_t>(nearest(entries_, c.rgbRed, c.rgbGreen, c.rgbBlue));
    };
    if (kind_ >= 2)
        return search(color);
    const RGBQUAD cut{static_cast<uint8_t>(color.rgbBlue & 0xF8), static_cast<uint8_t>(color.rgbGreen & 0xF8),
                      static_cast<uint8_t>(color.rgbRed & 0xF8), 0};
    if (kind_ == 0) {
        const auto found = cache_.find(key_of(cut));
        return found != cache_.end() ? found->second : cache_[key_of(cut)] = search(cut);
    }
    uint32_t& slot = setup_.match_table[static_cast<size_t>(key_of(cut))];
    if (slot == 0 || slot > entries_.size())
        slot = static_cast<uint32_t>(search(cut)) + 1;
    return slot - 1;
}

std::vector<uint8_t> Dither::row(uint8_t* source)
{
    const bool diffuses = setup_.method >= 1 && setup_.method <= 6;
    const Method& method = kMethods[diffuses ? setup_.method : 0];
    const auto width = static_cast<size_t>(setup_.width);
    for (int y = y_; y <= y_ + 3; ++y)
        errors_[y].resize(3, std::vector<int64_t>(width));
    std::vector<uint8_t> packed((width * static_cast<size_t>(setup_.dst_bits) + 7) / 8);
    const std::vector<uint8_t> colors = colors_of(source);
    for (int x = 0; x < setup_.width; ++x) {
        uint8_t channels[3];
        for (size_t c = 0; c < 3; ++c) {
            int64_t value = colors[3 * static_cast<size_t>(x) + c];
            value += errors_[y_][c][static_cast<size_t>(x)] / method.divisor;
            value += setup_.method >= 7 ? offset(setup_.method, x, y_, setup_.dst_bits) : 0;
            channels[c] = static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255));
        }
        const size_t place = match({channels[0], channels[1], channels[2], 0});
        const uint8_t chosen[] = {entries_[place].rgbBlue, entries_[place].rgbGreen, entries_[place].rgbRed};
        for (int dy = 0; dy < 4; ++dy)
            for (int to = std::max(x - 3, 0); to < std::min(x + 4, setup_.width); ++to)
                for (size_t c = 0; c < 3; ++c)
                    errors_[y_ + dy][c][static_cast<size_t>(to)] +=
                        method.shares[dy][to - x + 3] * (channels[c] - chosen[c]);
        for (int bit = 0; bit < setup_.dst_bits; ++bit) {
            const int at = x * setup_.dst_bits + bit;
            const auto value = indices_[place] >> (setup_.dst_bits - 1 - bit) & 1u;
            packed[static_cast<size_t>(at) / 8] |= static_cast<uint8_t>(value << (7 - at % 8));
        }
    }
    errors_.erase(y_++);
    return packed;
}

} // namespace vk::reference
