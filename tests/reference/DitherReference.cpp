// The slow dither. Sums of error are kept undivided, as wide integers, by picture position.
#include "tests/reference/DitherReference.h"

#include <algorithm>
#include <cstdlib>

namespace vk::reference {
namespace {

struct Share {
    int dx, dy, weight;
};
struct Method {
    int divisor;
    std::vector<Share> shares;
};

const std::vector<Method>& methods()
{
    static const std::vector<Method> all = {
        {1, {}},
        {16, {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}},
        {42,
         {{1, 0, 8},
          {2, 0, 4},
          {-2, 1, 2},
          {-1, 1, 4},
          {0, 1, 8},
          {1, 1, 4},
          {2, 1, 2},
          {-2, 2, 1},
          {-1, 2, 2},
          {0, 2, 4},
          {1, 2, 2},
          {2, 2, 1}}},
        {32, {{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4}, {2, 1, 2}}},
        {32,
         {{1, 0, 5},
          {2, 0, 3},
          {-2, 1, 2},
          {-1, 1, 4},
          {0, 1, 5},
          {1, 1, 4},
          {2, 1, 2},
          {-1, 2, 2},
          {0, 2, 3},
          {1, 2, 2}}},
        {200,
         {{2, 0, 32},
          {-3, 1, 12},
          {-1, 1, 26},
          {1, 1, 30},
          {3, 1, 16},
          {-2, 2, 12},
          {0, 2, 26},
          {2, 2, 12},
          {-3, 3, 5},
          {-1, 3, 12},
          {1, 3, 12},
          {3, 3, 5}}},
        {48,
         {{1, 0, 7},
          {2, 0, 5},
          {-2, 1, 3},
          {-1, 1, 5},
          {0, 1, 7},
          {1, 1, 5},
          {2, 1, 3},
          {-2, 2, 1},
          {-1, 2, 3},
          {0, 2, 5},
          {1, 2, 3},
          {2, 2, 1}}},
    };
    return all;
}

const int kThresholds[2][64] = {
    {0,   128, 32,  160, 8,   136, 40,  168, 192, 64,  224, 96,  200, 72,  232, 104, 48,  176, 16,  144, 56,  184,
     24,  152, 236, 112, 208, 80,  244, 120, 216, 88,  12,  140, 44,  172, 4,   132, 36,  164, 204, 76,  232, 108,
     196, 68,  228, 100, 60,  188, 28,  156, 52,  180, 20,  148, 248, 124, 220, 92,  240, 116, 212, 84},
    {112, 40,  72, 104, 144, 176, 208, 136, 88,  8,   16,  48,  192, 232, 240, 168, 56,  24,  0,   80,  160, 224,
     248, 200, 96, 64,  32,  120, 128, 216, 184, 152, 148, 180, 212, 140, 116, 44,  76,  108, 196, 236, 244, 172,
     92,  12,  20, 52,  164, 228, 252, 204, 60,  28,  4,   84,  132, 220, 188, 156, 100, 68,  36,  124}};

int offset(int method, int x, int y, int bits)
{
    static const int kMiddle[] = {0, 128, 64, 42, 32, 25, 21, 18, 16};
    return kThresholds[method - 7][y % 8 * 8 + x % 8] / bits - kMiddle[bits];
}

RGBQUAD quad(int red, int green, int blue)
{
    return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

int rounded(int k, int last)
{
    return static_cast<int>(k * 255.0 / last + 0.5);
}

int order_class(int red, int green, int blue)
{
    return (red < blue ? 4 : 0) + (green < red && green < blue ? 2 : 0) + (green > red && green > blue ? 1 : 0);
}

uint32_t stream_bits(const uint8_t* bytes, int64_t at, int count)
{
    uint32_t value = 0;
    for (int64_t i = at; i < at + count; ++i) {
        value = value * 2 + (bytes[i / 8] >> (7 - i % 8) & 1u);
    }
    return value;
}

uint32_t word16(const uint8_t* at)
{
    return at[0] + 256u * at[1];
}

int limited(int64_t value, int largest)
{
    return static_cast<int>(std::clamp<int64_t>(value, 0, largest));
}

/// Wide gamut to BGR, where the pixel stands; channels of one or two bytes.
void to_bgr(uint8_t* pixel, int bytes)
{
    static const int kMatrix[3][3] = {{9467, -1151, -125}, {-305, 10232, -1735}, {-2156, -6498, 16846}};
    int64_t in[3];
    for (int c = 0; c < 3; ++c) {
        in[c] = bytes == 1 ? pixel[c] : word16(pixel + 2 * c);
    }
    for (int c = 0; c < 3; ++c) {
        const int64_t sum = kMatrix[c][0] * in[0] + kMatrix[c][1] * in[1] + kMatrix[c][2] * in[2] + 4095;
        const int out = limited(sum / 8192, bytes == 1 ? 255 : 65535);
        pixel[c * bytes] = static_cast<uint8_t>(out);
        if (bytes == 2) {
            pixel[c * 2 + 1] = static_cast<uint8_t>(out / 256);
        }
    }
}

bool same_colors(const std::vector<RGBQUAD>& a, const std::vector<RGBQUAD>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const RGBQUAD& x, const RGBQUAD& y) {
        return x.rgbBlue == y.rgbBlue && x.rgbGreen == y.rgbGreen && x.rgbRed == y.rgbRed && x.rgbReserved % 4 == 0;
    });
}

} // namespace

std::vector<RGBQUAD> fixed_entries(int kind_bits)
{
    static const int kLevels[][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {2, 2, 2}, {0, 0, 0},
                                     {4, 4, 2}, {4, 4, 4}, {4, 8, 4}, {8, 8, 4}, {6, 6, 6}}; // red, green, blue
    if (kind_bits == 1) {
        return {quad(0, 0, 0), quad(255, 255, 255)};
    }
    if (kind_bits == 2) {
        return {quad(0, 0, 0), quad(85, 85, 85), quad(170, 170, 170), quad(255, 255, 255)};
    }
    std::vector<RGBQUAD> entries;
    if (kind_bits == 4) {
        for (int i = 0; i < 16; ++i) {
            const int high = i < 8 ? 128 : 255;
            const int on = i < 8 ? i : i - 8;
            entries.push_back(i == 8 ? quad(192, 192, 192)
                                     : quad(on & 1 ? high : 0, on & 2 ? high : 0, on & 4 ? high : 0));
        }
        return entries;
    }
    const auto& n = kLevels[kind_bits];
    for (int r = 0; r < n[0]; ++r) {
        for (int g = 0; g < n[1]; ++g) {
            for (int b = 0; b < n[2]; ++b) {
                entries.push_back(quad(rounded(r, n[0] - 1), rounded(g, n[1] - 1), rounded(b, n[2] - 1)));
            }
        }
    }
    entries.resize(kind_bits == 9 ? 256 : entries.size(), quad(0, 0, 0));
    return entries;
}

Dither::Dither(const DitherSetup& setup) : setup_(setup)
{
    choose_kind();
    std::vector<RGBQUAD> from = setup_.palette;
    if (kind_ >= 2) {
        from = fixed_entries(kind_ - 1);
        from.resize(kind_ == 10 ? 216 : from.size());
    }
    for (size_t i = 0; i < from.size(); ++i) {
        if (from[i].rgbReserved % 4 == 0 || kind_ >= 2) {
            entries_.push_back({{{from[i].rgbRed, from[i].rgbGreen, from[i].rgbBlue}}, static_cast<int>(i)});
        }
    }
    for (size_t i = 0; i < entries_.size() && kind_ < 2; ++i) {
        const auto& c = entries_[i].color.channel;
        const int key = c[0] / 8 * 1024 + c[1] / 8 * 32 + c[2] / 8;
        cache_.emplace(key, static_cast<int>(i));
        if (kind_ == 1 && setup_.match_table[static_cast<size_t>(key)] == 0) {
            setup_.match_table[static_cast<size_t>(key)] = static_cast<uint32_t>(i) + 1;
        }
    }
}

void Dither::choose_kind()
{
    int bits = 1;
    while (setup_.colors > 1u << bits) {
        ++bits;
    }
    if (!setup_.match_table.empty()) {
        kind_ = 1;
    } else if (setup_.palette.empty() || same_colors(setup_.palette, fixed_entries(bits))) {
        kind_ = bits + 1;
    } else if (same_colors(setup_.palette, fixed_entries(9))) {
        kind_ = 10;
    }
}

Dither::Color Dither::gray_color(uint32_t sample) const
{
    const int depth = setup_.bits;
    const int high = setup_.high_bit < 0 || setup_.high_bit >= depth ? depth - 1 : setup_.high_bit;
    const int low = std::max(setup_.low_bit, 0);
    const int n = high - low + 1;
    const uint64_t largest = (uint64_t{1} << n) - 1;
    const uint64_t value = (sample >> low) & largest;
    const int level = static_cast<int>(n >= 8 ? value >> (n - 8) : value * 255 / largest);
    return {{level, level, level}};
}

Dither::Color Dither::source_color(uint8_t* source, int x) const
{
    const bool gray = setup_.order == COLORORDER_GRAY;
    const bool red_first = setup_.order == COLORORDER_RGB;
    const int depth = setup_.bits;
    if (depth < 8 || (depth == 8 && !gray)) {
        const uint32_t index = stream_bits(source, int64_t{x} * depth, depth);
        const std::vector<RGBQUAD> palette = setup_.own_palette.empty() ? fixed_entries(depth) : setup_.own_palette;
        const RGBQUAD entry = index < palette.size() ? palette[index] : quad(0, 0, 0);
        return {{entry.rgbRed, entry.rgbGreen, entry.rgbBlue}};
    }
    if (depth == 12) {
        const uint8_t* pair = source + x / 2 * 3;
        return gray_color(x % 2 == 0 ? pair[0] + pair[1] % 16 * 256u : pair[1] / 16 + pair[2] * 16u);
    }
    if (gray) {
        const uint8_t* at = source + x * (depth / 8);
        return gray_color(depth == 8 ? at[0] : depth == 16 ? word16(at) : word16(at) + 65536u * word16(at + 2));
    }
    if (depth == 16) {
        const int word = static_cast<int>(word16(source + 2 * x));
        const bool six = setup_.order == COLORORDER_RGB565;
        const int low = word % 32;
        const int high = six ? word / 2048 : word / 1024 % 32;
        const int green = six ? word / 32 % 64 : word / 32 % 32;
        const auto five = [](int v) { return v * 8 + v / 4; };
        return {
            {five(red_first ? low : high), six ? green * 4 + green / 16 : five(green), five(red_first ? high : low)}};
    }
    const int bytes = depth >= 48 ? 2 : 1;
    uint8_t* pixel = source + x * (depth / 8);
    if (setup_.order == COLORORDER_ROMM) {
        to_bgr(pixel, bytes);
    }
    const int first = pixel[bytes - 1];
    const int third = pixel[3 * bytes - 1];
    return {{red_first ? first : third, pixel[2 * bytes - 1], red_first ? third : first}};
}

int Dither::nearest(const Color& color) const
{
    const auto& c = color.channel;
    const auto is = [&](const Entry& entry, int level) {
        const auto& e = entry.color.channel;
        return e[0] == level && e[1] == level && e[2] == level;
    };
    const int last = static_cast<int>(entries_.size()) - 1;
    if (c[0] == c[1] && c[1] == c[2] && (c[0] == 0 || c[0] == 255)) {
        for (const int end : {c[0] == 0 ? 0 : last, c[0] == 0 ? last : 0}) {
            if (is(entries_[static_cast<size_t>(end)], c[0])) {
                return end;
            }
        }
    }
    int best = -1;
    int64_t least = INT64_MAX;
    for (int i = 0; i <= last && least != 0; ++i) {
        const auto& e = entries_[static_cast<size_t>(i)].color.channel;
        int64_t distance = 0;
        for (int k = 0; k < 3; ++k) {
            distance += int64_t{e[k] - c[k]} * (e[k] - c[k]);
        }
        if (distance < least || (distance == least && order_class(e[0], e[1], e[2]) == order_class(c[0], c[1], c[2]))) {
            best = i;
            least = distance;
        }
    }
    return best;
}

const Dither::Entry& Dither::match(const Color& color)
{
    if (kind_ >= 2) {
        return entries_[static_cast<size_t>(nearest(color))];
    }
    Color cut = color;
    for (int& value : cut.channel) {
        value -= value % 8;
    }
    const int key = cut.channel[0] / 8 * 1024 + cut.channel[1] / 8 * 32 + cut.channel[2] / 8;
    if (kind_ == 1) {
        uint32_t& slot = setup_.match_table[static_cast<size_t>(key)];
        if (slot == 0 || slot > entries_.size()) {
            slot = static_cast<uint32_t>(nearest(cut)) + 1;
        }
        return entries_[slot - 1];
    }
    const auto found = cache_.find(key);
    const int at = found != cache_.end() ? found->second : cache_[key] = nearest(cut);
    return entries_[static_cast<size_t>(at)];
}

std::vector<uint8_t> Dither::row(uint8_t* source)
{
    const bool diffuses = setup_.method >= 1 && setup_.method <= 6;
    const Method& method = methods()[diffuses ? static_cast<size_t>(setup_.method) : 0];
    for (int y = y_; y <= y_ + 3; ++y) {
        errors_[y].resize(3, std::vector<int64_t>(static_cast<size_t>(setup_.width)));
    }
    std::vector<uint8_t> packed((static_cast<size_t>(setup_.width) * static_cast<size_t>(setup_.dst_bits) + 7) / 8);
    for (int x = 0; x < setup_.width; ++x) {
        Color color = source_color(source, x);
        for (int c = 0; c < 3; ++c) {
            int64_t add = errors_[y_][static_cast<size_t>(c)][static_cast<size_t>(x)] / method.divisor;
            add += setup_.method >= 7 ? offset(setup_.method, x, y_, setup_.dst_bits) : 0;
            color.channel[c] = limited(color.channel[c] + add, 255);
        }
        const Entry& entry = match(color);
        for (const Share& share : method.shares) {
            const int to = x + share.dx;
            for (int c = 0; to >= 0 && to < setup_.width && c < 3; ++c) {
                errors_[y_ + share.dy][static_cast<size_t>(c)][static_cast<size_t>(to)] +=
                    share.weight * (color.channel[c] - entry.color.channel[c]);
            }
        }
        for (int bit = 0; bit < setup_.dst_bits; ++bit) {
            const int at = x * setup_.dst_bits + bit;
            const int value = entry.index >> (setup_.dst_bits - 1 - bit) & 1;
            packed[static_cast<size_t>(at) / 8] |= static_cast<uint8_t>(value << (7 - at % 8));
        }
    }
    errors_.erase(y_++);
    return packed;
}

} // namespace vk::reference
