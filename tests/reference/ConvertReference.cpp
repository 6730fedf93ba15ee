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
    if (bits == 0 || (bits >= 8 && order == COLORORDER_GRAY))
        return Kind::gray;
    return bits <= 8 ? Kind::index : Kind::color;
}

/// `count` bits from bit `first` on: the most significant first, or little-endian words of any size.
int64_t bits_of(const std::vector<uint8_t>& row, size_t first, int count, bool from_top)
{
    int64_t value = 0;
    for (int i = 0; i < count; ++i) {
        const size_t at = first + static_cast<size_t>(i);
        const int64_t bit = row[at / 8] >> (from_top ? 7 - at % 8 : at % 8) & 1;
        value |= bit << (from_top ? count - 1 - i : i);
    }
    return value;
}

void put_bits(std::vector<uint8_t>& row, size_t first, int count, bool from_top, int64_t value)
{
    for (int i = 0; i < count; ++i) {
        const size_t at = first + static_cast<size_t>(i);
        const int64_t bit = value >> (from_top ? count - 1 - i : i) & 1;
        row[at / 8] = static_cast<uint8_t>(row[at / 8] | bit << (from_top ? 7 - at % 8 : at % 8));
    }
}

/// The value whose bits are those of `value`, said again and again.
int64_t repeated(int64_t value, int from, int to)
{
    int64_t result = 0;
    for (int i = 0; i < to; ++i)
        result = result * 2 + (value >> (from - 1 - i % from) & 1);
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
    if (bits < 0 || (bits > 8 && bits != 12 && bits != 16 && bits != 24 && bits != 32 && bits != 48 && bits != 64))
        return false;
    return order == COLORORDER_RGB || order == COLORORDER_BGR ? bits != 12
           : order == COLORORDER_GRAY                         ? bits <= 16 || bits == 32
           : order == COLORORDER_ROMM                         ? bits == 24 || bits == 48
                                                              : order == COLORORDER_RGB565 && (bits <= 8 || bits == 16);
}

/// The positions of the fields of a 16-bit colour: shift and width of red, green, blue.
struct Fields {
    int red, green_bits, blue;
};

Fields fields_of(int32_t order)
{
    if (order == COLORORDER_RGB565)
        return {11, 6, 0};
    return order == COLORORDER_RGB ? Fields{0, 5, 10} : Fields{10, 5, 0};
}

Pixel read_color(const Conversion& job, const std::vector<uint8_t>& row, size_t at)
{
    Pixel p;
    if (job.src_bits == 16) {
        const Fields f = fields_of(job.src_order);
        const int64_t word = bits_of(row, at, 16, false);
        p.red = repeated(word >> f.red & 31, 5, 8);
        p.green = repeated(word >> 5 & ones(f.green_bits), f.green_bits, 8);
        p.blue = repeated(word >> f.blue & 31, 5, 8);
        p.alpha = 255;
        return p;
    }
    p.bits = job.src_bits >= 48 ? 16 : 8;
    const auto step = static_cast<size_t>(p.bits);
    const size_t red_at = job.src_order == COLORORDER_RGB ? 0 : 2;
    p.red = bits_of(row, at + red_at * step, p.bits, false);
    p.green = bits_of(row, at + step, p.bits, false);
    p.blue = bits_of(row, at + (2 - red_at) * step, p.bits, false);
    p.alpha = job.src_bits % 32 == 0 ? bits_of(row, at + 3 * step, p.bits, false) : ones(p.bits);
    return p;
}

Pixel read(const Conversion& job, const std::vector<uint8_t>& row, size_t i)
{
    const size_t at = i * static_cast<size_t>(depth_of(job.src_bits));
    Pixel p;
    p.kind = kind_of(job.src_bits, job.src_order);
    if (p.kind == Kind::color)
        return read_color(job, row, at);
    if (p.kind == Kind::index) {
        p.value = bits_of(row, at, job.src_bits, true);
        return p;
    }
    const int depth = depth_of(job.src_bits);
    const bool limited = flags_of(job).src_range;
    const Range range = range_of(job, depth, limited);
    p.value = (bits_of(row, at, depth, false) >> std::min(range.shift, 63)) & ones(range.bits);
    p.bits = range.bits;
    p.proportional = depth == 8 && !limited;
    return p;
}

RGBQUAD entry_of(const std::vector<RGBQUAD>& palette, int32_t bits, int64_t index)
{
    return palette.empty() ? fixed_entry(bits, static_cast<uint32_t>(index)) : palette[static_cast<size_t>(index)];
}

/// Multiplies blue, green and red with a matrix of 8192ths.
void change_gamut(Pixel& p, const int64_t (&matrix)[3][3])
{
    const int64_t in[] = {p.blue, p.green, p.red};
    int64_t* const out[] = {&p.blue, &p.green, &p.red};
    for (size_t c = 0; c < 3; ++c)
        *out[c] = std::clamp<int64_t>(
            (matrix[c][0] * in[0] + matrix[c][1] * in[1] + matrix[c][2] * in[2] + 4095) / 8192, 0, ones(p.bits));
}

constexpr int64_t kLeaveWideGamut[3][3] = {{9467, -1151, -125}, {-305, 10232, -1735}, {-2156, -6498, 16846}};
constexpr int64_t kEnterWideGamut[3][3] = {{7151, 897, 145}, {394, 7067, 731}, {1067, 2841, 4284}};

/// A gray level in another number of bits.
int64_t gray_in(const Pixel& gray, int bits)
{
    if (gray.proportional && bits > 8)
        return static_cast<int64_t>(static_cast<uint64_t>(gray.value) * static_cast<uint64_t>(ones(bits)) / 255);
    return bits <= gray.bits ? gray.value >> (gray.bits - bits) : repeated(gray.value, gray.bits, bits);
}

int64_t weigh(const Pixel& p)
{
    return (5 * p.green + 2 * p.red + p.blue + 4) / 8;
}

Pixel with_channels(const Pixel& p, int bits)
{
    Pixel result = p;
    for (int64_t Pixel::*channel : {&Pixel::red, &Pixel::green, &Pixel::blue, &Pixel::alpha})
        result.*channel = bits < p.bits ? p.*channel / 256 : bits > p.bits ? p.*channel * 257 : p.*channel;
    result.bits = bits;
    return result;
}

/// Any pixel as a colour whose channels have 8 or 16 bits.
Pixel as_color(const Conversion& job, const Pixel& p, int bits)
{
    if (p.kind == Kind::color)
        return with_channels(p, bits);
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
    if (p.kind == Kind::gray)
        return p;
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
    if (job.transparent >> 24 == 1)
        return p.kind == Kind::index && p.value == static_cast<int64_t>(job.transparent & 0xFF);
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
    const std::vector<RGBQUAD> palette = job.dst_palette.empty() ? fixed_entries(job.dst_bits) : job.dst_palette;
    const int32_t index =
        nearest(palette, static_cast<int>(color.red), static_cast<int>(color.green), static_cast<int>(color.blue));
    put_bits(row, at, job.dst_bits, true, index);
}

void write_gray(const Conversion& job, const Pixel& p, std::vector<uint8_t>& row, size_t at)
{
    const int depth = depth_of(job.dst_bits);
    const Pixel gray = as_gray(job, p, depth > 8);
    const Range range = range_of(job, depth, depth > 8 && flags_of(job).dst_range);
    const int64_t value = range.shift < depth ? gray_in(gray, range.bits) << range.shift : 0;
    put_bits(row, at, depth, false, value & ones(depth));
}

void write_color(const Conversion& job, const Pixel& p, std::vector<uint8_t>& row, size_t at)
{
    Pixel color = as_color(job, p, job.dst_bits >= 48 ? 16 : 8);
    if (flags_of(job).transparent)
        color.alpha = is_transparent(job, p) ? 0 : ones(color.bits);
    if (job.dst_order == COLORORDER_ROMM && job.src_order != COLORORDER_ROMM)
        change_gamut(color, kEnterWideGamut);
    if (job.dst_bits == 16) {
        const Fields f = fields_of(job.dst_order);
        put_bits(row, at, 16, false,
                 (color.red >> 3) << f.red | (color.green >> (8 - f.green_bits)) << 5 | (color.blue >> 3) << f.blue);
        return;
    }
    const auto step = static_cast<size_t>(color.bits);
    const size_t red_at = job.dst_order == COLORORDER_RGB ? 0 : 2;
    put_bits(row, at + red_at * step, color.bits, false, color.red);
    put_bits(row, at + step, color.bits, false, color.green);
    put_bits(row, at + (2 - red_at) * step, color.bits, false, color.blue);
    if (job.dst_bits % 32 == 0)
        put_bits(row, at + 3 * step, color.bits, false, color.alpha);
}

/// The class of a colour by the order of its channels.
int order_class(int red, int green, int blue)
{
    return (red < blue ? 4 : 0) + (green < std::min(red, blue) ? 2 : 0) + (green > std::max(red, blue) ? 1 : 0);
}

} // namespace

RGBQUAD fixed_entry(int32_t bits, uint32_t i)
{
    static const uint32_t vga[] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
                                   0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    static const uint32_t levels[][3] = {{},        {},        {},        {2, 2, 2}, {},
                                         {4, 4, 2}, {4, 4, 4}, {4, 8, 4}, {8, 8, 4}, {6, 6, 6}};
    const auto quad = [](uint32_t r, uint32_t g, uint32_t b) {
        return RGBQUAD{static_cast<uint8_t>(b), static_cast<uint8_t>(g), static_cast<uint8_t>(r), 0};
    };
    if (bits <= 2)
        return quad(i * 255 / (bits == 1 ? 1 : 3), i * 255 / (bits == 1 ? 1 : 3), i * 255 / (bits == 1 ? 1 : 3));
    if (bits == 4)
        return quad(vga[i] >> 16, vga[i] >> 8, vga[i]);
    const auto& n = levels[bits];
    const auto level = [](uint32_t k, uint32_t last) { return static_cast<uint32_t>(k * 255.0 / last + 0.5); };
    if (i >= n[0] * n[1] * n[2])
        return quad(0, 0, 0); // the cube's black entries
    return quad(level(i / (n[1] * n[2]), n[0] - 1), level(i / n[2] % n[1], n[1] - 1), level(i % n[2], n[2] - 1));
}

std::vector<RGBQUAD> fixed_entries(int32_t bits)
{
    std::vector<RGBQUAD> entries;
    for (uint32_t i = 0; i < 1u << std::min(bits, 8); ++i)
        entries.push_back(fixed_entry(bits, i));
    return entries;
}

int32_t nearest(const std::vector<RGBQUAD>& palette, int red, int green, int blue)
{
    const auto is_all = [](const RGBQUAD& e, int v) { return e.rgbRed == v && e.rgbGreen == v && e.rgbBlue == v; };
    const auto last = static_cast<int32_t>(palette.size()) - 1;
    if (last < 0)
        return -1;
    if (red == 0 && green == 0 && blue == 0 && (is_all(palette.front(), 0) || is_all(palette.back(), 0)))
        return is_all(palette.front(), 0) ? 0 : last;
    if (red == 255 && green == 255 && blue == 255 && (is_all(palette.front(), 255) || is_all(palette.back(), 255)))
        return is_all(palette.back(), 255) ? last : 0;
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
    if (job.width <= 0 || !is_format(job.src_bits, job.src_order) || !is_format(job.dst_bits, job.dst_order))
        return false;
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
    if (stays(job))
        return src;
    const auto depth = static_cast<size_t>(depth_of(job.dst_bits));
    const auto width = static_cast<size_t>(job.width);
    std::vector<uint8_t> row((width * depth + 7) / 8);
    for (size_t i = 0; i < width; ++i) {
        Pixel p = read(job, src, i);
        if (job.src_order == COLORORDER_ROMM && job.dst_order != COLORORDER_ROMM)
            change_gamut(p, kLeaveWideGamut);
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
