// See ConvertReference.h. Written for being obviously right, not for speed: samples are bit strings, colours carry the
// number of bits of their channels, and each rule appears where it applies.
#include "tests/reference/ConvertReference.h"

#include <algorithm>
#include <limits>

namespace vk::reference {
namespace {

enum class Kind { index, gray, color };

/// A pixel's meaning: an index, a gray level of so many bits, or a colour with channels of so many bits.
struct Pixel {
    Kind kind = Kind::color;
    int64_t value = 0; ///< index or gray level
    int bits = 8;      ///< of `value` or of each channel
    int64_t red = 0, green = 0, blue = 0, alpha = 0;
    bool proportional = false; ///< a gray level made from bytes: widened in proportion
};

int64_t ones(int bits)
{
    return (int64_t{1} << bits) - 1;
}

int depth_of(int32_t bits)
{
    return bits == 0 ? 8 : bits;
}

Kind kind_of(int32_t bits, int32_t order)
{
    if (bits == 0 || (bits >= 8 && order == COLORORDER_GRAY)) {
        return Kind::gray;
    }
    return bits <= 8 ? Kind::index : Kind::color;
}

/// `count` bits from bit `first` on, the first being the most significant.
int64_t bits_from_top(const std::vector<uint8_t>& row, size_t first, int count)
{
    int64_t value = 0;
    for (size_t i = first; i < first + static_cast<size_t>(count); ++i) {
        value = value * 2 + (row[i / 8] >> (7 - i % 8) & 1);
    }
    return value;
}

void put_bits_from_top(std::vector<uint8_t>& row, size_t first, int count, int64_t value)
{
    for (int i = 0; i < count; ++i) {
        const size_t at = first + static_cast<size_t>(i);
        row[at / 8] = static_cast<uint8_t>(row[at / 8] | (value >> (count - 1 - i) & 1) << (7 - at % 8));
    }
}

/// `count` bits from bit `first` on, the first being the least significant: little-endian words of any size.
int64_t bits_from_bottom(const std::vector<uint8_t>& row, size_t first, int count)
{
    int64_t value = 0;
    for (int i = 0; i < count; ++i) {
        const size_t at = first + static_cast<size_t>(i);
        value |= static_cast<int64_t>(row[at / 8] >> at % 8 & 1) << i;
    }
    return value;
}

void put_bits_from_bottom(std::vector<uint8_t>& row, size_t first, int count, int64_t value)
{
    for (int i = 0; i < count; ++i) {
        const size_t at = first + static_cast<size_t>(i);
        row[at / 8] = static_cast<uint8_t>(row[at / 8] | (value >> i & 1) << at % 8);
    }
}

/// The value whose bits are those of `value`, said again and again.
int64_t repeated(int64_t value, int from, int to)
{
    int64_t result = 0;
    for (int i = 0; i < to; ++i) {
        result = result * 2 + (value >> (from - 1 - i % from) & 1);
    }
    return result;
}

struct Range {
    int bits, shift;
};

Range range_of(const Conversion& job, int depth, bool limited)
{
    const int64_t high = limited && job.high_bit >= 0 ? job.high_bit : depth - 1;
    const int64_t low = limited ? std::max(job.low_bit, 0) : 0;
    const int64_t bits = std::min<int64_t>(high - low + 1, depth);
    return {static_cast<int>(bits), static_cast<int>(high - bits + 1)};
}

struct Flags {
    bool valid, src_range, dst_range, transparent;
};

Flags flags_of(const Conversion& job)
{
    const bool src_gray = job.src_order == COLORORDER_GRAY;
    const bool dst_gray = job.dst_order == COLORORDER_GRAY;
    Flags flags{true, src_gray && (job.flags & 4) != 0, (job.flags & 8) != 0, (job.flags & 0x80) != 0};
    flags.valid = !(flags.src_range && flags.dst_range) && !(flags.dst_range && !dst_gray);
    const auto is_full = [&](int32_t bits) {
        return job.low_bit < 1 && (job.high_bit == bits - 1 || job.high_bit < 0);
    };
    flags.src_range = flags.src_range && !is_full(job.src_bits);
    flags.dst_range = flags.dst_range && !is_full(job.dst_bits);
    return flags;
}

bool is_format(int32_t bits, int32_t order)
{
    const std::vector<int32_t> depths = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
    if (std::find(depths.begin(), depths.end(), bits) == depths.end()) {
        return false;
    }
    switch (order) {
    case COLORORDER_RGB:
    case COLORORDER_BGR:
        return bits != 12;
    case COLORORDER_GRAY:
        return bits <= 16 || bits == 32;
    case COLORORDER_ROMM:
        return bits == 24 || bits == 48;
    case COLORORDER_RGB565:
        return bits <= 8 || bits == 16;
    default:
        return false;
    }
}

/// The positions of the fields of a 16-bit colour: shift and width of red, green, blue.
struct Fields {
    int red, green_bits, blue;
};

Fields fields_of(int32_t order)
{
    if (order == COLORORDER_RGB565) {
        return {11, 6, 0};
    }
    return order == COLORORDER_RGB ? Fields{0, 5, 10} : Fields{10, 5, 0};
}

Pixel read_color(const Conversion& job, const std::vector<uint8_t>& row, size_t at)
{
    Pixel p;
    if (job.src_bits == 16) {
        const Fields f = fields_of(job.src_order);
        const int64_t word = bits_from_bottom(row, at, 16);
        p.red = repeated(word >> f.red & 31, 5, 8);
        p.green = repeated(word >> 5 & ones(f.green_bits), f.green_bits, 8);
        p.blue = repeated(word >> f.blue & 31, 5, 8);
        p.alpha = 255;
        return p;
    }
    p.bits = job.src_bits >= 48 ? 16 : 8;
    const auto step = static_cast<size_t>(p.bits);
    const size_t red_at = job.src_order == COLORORDER_RGB ? 0 : 2;
    p.red = bits_from_bottom(row, at + red_at * step, p.bits);
    p.green = bits_from_bottom(row, at + step, p.bits);
    p.blue = bits_from_bottom(row, at + (2 - red_at) * step, p.bits);
    p.alpha = job.src_bits % 32 == 0 ? bits_from_bottom(row, at + 3 * step, p.bits) : ones(p.bits);
    return p;
}

Pixel read(const Conversion& job, const std::vector<uint8_t>& row, size_t i)
{
    const size_t at = i * static_cast<size_t>(depth_of(job.src_bits));
    Pixel p;
    p.kind = kind_of(job.src_bits, job.src_order);
    if (p.kind == Kind::color) {
        return read_color(job, row, at);
    }
    if (p.kind == Kind::index) {
        p.value = bits_from_top(row, at, job.src_bits);
        return p;
    }
    const int depth = depth_of(job.src_bits);
    const bool limited = flags_of(job).src_range;
    const Range range = range_of(job, depth, limited);
    p.value = (bits_from_bottom(row, at, depth) >> std::min(range.shift, 63)) & ones(range.bits);
    p.bits = range.bits;
    p.proportional = depth == 8 && !limited;
    return p;
}

RGBQUAD entry_of(const std::vector<RGBQUAD>& palette, int32_t bits, int64_t index)
{
    return palette.empty() ? fixed_entry(bits, static_cast<uint32_t>(index)) : palette[static_cast<size_t>(index)];
}

int64_t clamped(int64_t sum, int bits)
{
    return std::clamp<int64_t>(sum / 8192, 0, ones(bits));
}

void leave_wide_gamut(Pixel& p)
{
    const int64_t b = p.blue, g = p.green, r = p.red;
    p.blue = clamped(9467 * b - 1151 * g - 125 * r + 4095, p.bits);
    p.green = clamped(-305 * b + 10232 * g - 1735 * r + 4095, p.bits);
    p.red = clamped(-2156 * b - 6498 * g + 16846 * r + 4095, p.bits);
}

void enter_wide_gamut(Pixel& p)
{
    const int64_t b = p.blue, g = p.green, r = p.red;
    p.blue = std::min((7151 * b + 897 * g + 145 * r + 4095) >> 13, ones(p.bits));
    p.green = std::min((394 * b + 7067 * g + 731 * r + 4095) >> 13, ones(p.bits));
    p.red = std::min((1067 * b + 2841 * g + 4284 * r + 4095) >> 13, ones(p.bits));
}

/// A gray level in another number of bits.
int64_t gray_in(const Pixel& gray, int bits)
{
    if (gray.proportional && bits > 8) {
        return static_cast<int64_t>(static_cast<uint64_t>(gray.value) * static_cast<uint64_t>(ones(bits)) / 255);
    }
    return bits <= gray.bits ? gray.value >> (gray.bits - bits) : repeated(gray.value, gray.bits, bits);
}

int64_t weigh(const Pixel& p)
{
    return (5 * p.green + 2 * p.red + p.blue + 4) / 8;
}

Pixel with_channels(const Pixel& p, int bits)
{
    Pixel result = p;
    for (int64_t Pixel::*channel : {&Pixel::red, &Pixel::green, &Pixel::blue, &Pixel::alpha}) {
        result.*channel = bits < p.bits ? p.*channel / 256 : bits > p.bits ? p.*channel * 257 : p.*channel;
    }
    result.bits = bits;
    return result;
}

/// Any pixel as a colour whose channels have 8 or 16 bits.
Pixel as_color(const Conversion& job, const Pixel& p, int bits)
{
    if (p.kind == Kind::color) {
        return with_channels(p, bits);
    }
    Pixel color;
    if (p.kind == Kind::gray) {
        color.bits = bits;
        color.red = color.green = color.blue = gray_in(p, bits);
        color.alpha = ones(bits);
        return color;
    }
    const RGBQUAD entry = entry_of(job.src_palette, job.src_bits, p.value);
    color.red = entry.rgbRed;
    color.green = entry.rgbGreen;
    color.blue = entry.rgbBlue;
    color.alpha = 255;
    return with_channels(color, bits);
}

/// Any pixel as a gray level; `deep` destinations see all bits of 16-bit channels.
Pixel as_gray(const Conversion& job, const Pixel& p, bool deep)
{
    if (p.kind == Kind::gray) {
        return p;
    }
    const Pixel color = p.kind == Kind::color && deep ? p : as_color(job, p, 8);
    Pixel gray;
    gray.kind = Kind::gray;
    gray.value = weigh(color);
    gray.bits = color.bits;
    gray.proportional = color.bits == 8;
    return gray;
}

bool is_transparent(const Conversion& job, const Pixel& p)
{
    if (job.transparent >> 24 == 1) {
        return p.kind == Kind::index && p.value == static_cast<int64_t>(job.transparent & 0xFF);
    }
    const Pixel color = as_color(job, p, 8);
    return (color.red | color.green << 8 | color.blue << 16) == static_cast<int64_t>(job.transparent & 0xFFFFFF);
}

void write_index(const Conversion& job, const Pixel& p, std::vector<uint8_t>& row, size_t at)
{
    Pixel color = as_color(job, p, 8);
    if (p.kind == Kind::gray && !job.src_palette16.empty() && (job.src_bits == 12 || job.src_bits == 16)) {
        const V_RGBQUAD16 entry = job.src_palette16[static_cast<size_t>(p.value)];
        color.red = entry.rgbRed / 256;
        color.green = entry.rgbGreen / 256;
        color.blue = entry.rgbBlue / 256;
    }
    std::vector<RGBQUAD> palette = job.dst_palette;
    for (uint32_t i = 0; job.dst_palette.empty() && i < 1u << job.dst_bits; ++i) {
        palette.push_back(fixed_entry(job.dst_bits, i));
    }
    const int32_t index =
        nearest(palette, static_cast<int>(color.red), static_cast<int>(color.green), static_cast<int>(color.blue));
    put_bits_from_top(row, at, job.dst_bits, index);
}

void write_gray(const Conversion& job, const Pixel& p, std::vector<uint8_t>& row, size_t at)
{
    const int depth = depth_of(job.dst_bits);
    const Pixel gray = as_gray(job, p, depth > 8);
    const Range range = range_of(job, depth, depth > 8 && flags_of(job).dst_range);
    const int64_t value = range.shift < depth ? gray_in(gray, range.bits) << range.shift : 0;
    put_bits_from_bottom(row, at, depth, value & ones(depth));
}

void write_color(const Conversion& job, const Pixel& p, std::vector<uint8_t>& row, size_t at)
{
    Pixel color = as_color(job, p, job.dst_bits >= 48 ? 16 : 8);
    if (flags_of(job).transparent) {
        color.alpha = is_transparent(job, p) ? 0 : ones(color.bits);
    }
    if (job.dst_order == COLORORDER_ROMM && job.src_order != COLORORDER_ROMM) {
        enter_wide_gamut(color);
    }
    if (job.dst_bits == 16) {
        const Fields f = fields_of(job.dst_order);
        put_bits_from_bottom(row, at, 16,
                             (color.red >> 3) << f.red | (color.green >> (8 - f.green_bits)) << 5 |
                                 (color.blue >> 3) << f.blue);
        return;
    }
    const auto step = static_cast<size_t>(color.bits);
    const size_t red_at = job.dst_order == COLORORDER_RGB ? 0 : 2;
    put_bits_from_bottom(row, at + red_at * step, color.bits, color.red);
    put_bits_from_bottom(row, at + step, color.bits, color.green);
    put_bits_from_bottom(row, at + (2 - red_at) * step, color.bits, color.blue);
    if (job.dst_bits % 32 == 0) {
        put_bits_from_bottom(row, at + 3 * step, color.bits, color.alpha);
    }
}

/// The class of a colour by the order of its channels.
int order_class(int red, int green, int blue)
{
    return (red < blue ? 4 : 0) + (green < std::min(red, blue) ? 2 : 0) + (green > std::max(red, blue) ? 1 : 0);
}

} // namespace

RGBQUAD fixed_entry(int32_t bits, uint32_t index)
{
    static const uint8_t two[] = {0, 255}, four[] = {0, 85, 170, 255}, eight[] = {0, 36, 73, 109, 146, 182, 219, 255};
    static const uint32_t vga[] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
                                   0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    const uint32_t i = index;
    const auto quad = [](uint32_t r, uint32_t g, uint32_t b) {
        return RGBQUAD{static_cast<uint8_t>(b), static_cast<uint8_t>(g), static_cast<uint8_t>(r), 0};
    };
    switch (bits) {
    case 1:
        return quad(two[i], two[i], two[i]);
    case 2:
        return quad(four[i], four[i], four[i]);
    case 3:
        return quad(two[i / 4], two[i / 2 % 2], two[i % 2]);
    case 4:
        return quad(vga[i] >> 16, vga[i] >> 8, vga[i]);
    case 5:
        return quad(four[i / 8], four[i / 2 % 4], two[i % 2]);
    case 6:
        return quad(four[i / 16], four[i / 4 % 4], four[i % 4]);
    case 7:
        return quad(four[i / 32], eight[i / 4 % 8], four[i % 4]);
    default:
        return quad(eight[i / 32], eight[i / 4 % 8], four[i % 4]);
    }
}

int32_t nearest(const std::vector<RGBQUAD>& palette, int red, int green, int blue)
{
    const auto is_all = [](const RGBQUAD& e, int v) { return e.rgbRed == v && e.rgbGreen == v && e.rgbBlue == v; };
    const auto last = static_cast<int32_t>(palette.size()) - 1;
    if (last < 0) {
        return -1;
    }
    if (red == 0 && green == 0 && blue == 0 && (is_all(palette.front(), 0) || is_all(palette.back(), 0))) {
        return is_all(palette.front(), 0) ? 0 : last;
    }
    if (red == 255 && green == 255 && blue == 255 && (is_all(palette.front(), 255) || is_all(palette.back(), 255))) {
        return is_all(palette.back(), 255) ? last : 0;
    }
    std::vector<int> distances;
    for (const RGBQUAD& e : palette) {
        const int dr = e.rgbRed - red, dg = e.rgbGreen - green, db = e.rgbBlue - blue;
        distances.push_back(dr * dr + dg * dg + db * db);
    }
    const int least = *std::min_element(distances.begin(), distances.end());
    const auto first = static_cast<int32_t>(std::find(distances.begin(), distances.end(), least) - distances.begin());
    for (int32_t i = last; i > first && least != 0; --i) {
        const RGBQUAD& e = palette[static_cast<size_t>(i)];
        if (distances[static_cast<size_t>(i)] == least &&
            order_class(e.rgbRed, e.rgbGreen, e.rgbBlue) == order_class(red, green, blue)) {
            return i;
        }
    }
    return first;
}

bool accepted(const Conversion& job)
{
    if (job.width <= 0 || !is_format(job.src_bits, job.src_order) || !is_format(job.dst_bits, job.dst_order)) {
        return false;
    }
    const Flags flags = flags_of(job);
    const bool deep_target = kind_of(job.dst_bits, job.dst_order) == Kind::gray && depth_of(job.dst_bits) > 8;
    const bool gray_source = kind_of(job.src_bits, job.src_order) == Kind::gray;
    return flags.valid && range_of(job, depth_of(job.src_bits), gray_source && flags.src_range).bits > 0 &&
           range_of(job, depth_of(job.dst_bits), deep_target && flags.dst_range).bits > 0;
}

namespace {

/// A row that stays in its format, and of which nothing is asked, keeps every bit.
bool stays(const Conversion& job)
{
    const Flags flags = flags_of(job);
    const bool has_alpha = kind_of(job.dst_bits, job.dst_order) == Kind::color && job.dst_bits % 32 == 0;
    return job.src_bits == job.dst_bits && job.src_order == job.dst_order && !flags.src_range && !flags.dst_range &&
           kind_of(job.src_bits, job.src_order) != Kind::index && !(flags.transparent && has_alpha);
}

} // namespace

std::vector<uint8_t> convert(const Conversion& job, const std::vector<uint8_t>& src)
{
    if (stays(job)) {
        return src;
    }
    const auto depth = static_cast<size_t>(depth_of(job.dst_bits));
    const auto width = static_cast<size_t>(job.width);
    std::vector<uint8_t> row((width * depth + 7) / 8);
    for (size_t i = 0; i < width; ++i) {
        Pixel p = read(job, src, i);
        if (job.src_order == COLORORDER_ROMM && job.dst_order != COLORORDER_ROMM) {
            leave_wide_gamut(p);
        }
        switch (kind_of(job.dst_bits, job.dst_order)) {
        case Kind::index:
            write_index(job, p, row, i * depth);
            break;
        case Kind::gray:
            write_gray(job, p, row, i * depth);
            break;
        case Kind::color:
            write_color(job, p, row, i * depth);
            break;
        }
    }
    return row;
}

} // namespace vk::reference
