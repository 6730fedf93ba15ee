// The reducers: one per pair of working forms.
//
// Sources of at most 256 values go through tables: an indexed source's palette is reduced once as if it were a row of
// colours, and matching remembers the answer for each index or gray level. 16-bit channels become 8-bit ones by their
// high bytes, and only where the destination has no more.
#include "kernel/convert/Reduce.h"

#include <cstring>

namespace vk::pixel {
namespace {

constexpr uint8_t high_byte(uint32_t v) noexcept
{
    return static_cast<uint8_t>(v >> 8);
}
constexpr uint16_t times257(uint32_t v) noexcept
{
    return static_cast<uint16_t>(v * 257u);
}
constexpr Rgba8 high_bytes(const Rgba16& p) noexcept
{
    return {high_byte(p.b), high_byte(p.g), high_byte(p.r), high_byte(p.a)};
}

constexpr Rgba8 convert(const Rgba8& from, Rgba8*) noexcept
{
    return from;
}
constexpr Rgba8 convert(const Rgba16& from, Rgba8*) noexcept
{
    return high_bytes(from);
}
constexpr Rgba16 convert(const Rgba8& from, Rgba16*) noexcept
{
    return {times257(from.b), times257(from.g), times257(from.r), times257(from.a)};
}

/// One loop for all pixel-by-pixel rules.
template <class From, class To, class Rule> void each(const void* in, void* out, size_t count, Rule rule) noexcept
{
    const auto* from = static_cast<const From*>(in);
    auto* to = static_cast<To*>(out);
    for (size_t i = 0; i < count; ++i) {
        to[i] = rule(from[i]);
    }
}

// From colours.

template <class From, class To> void color_to_color(Plan&, const void* in, void* out, size_t count) noexcept
{
    each<From, To>(in, out, count, [](const From& p) noexcept { return convert(p, static_cast<To*>(nullptr)); });
}

template <class From> void color_to_gray8(Plan&, const void* in, void* out, size_t count) noexcept
{
    each<From, uint8_t>(in, out, count, [](const From& p) noexcept {
        const Rgba8 color = convert(p, static_cast<Rgba8*>(nullptr));
        return static_cast<uint8_t>(gray_of(color.r, color.g, color.b));
    });
}

void color8_to_deep(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange to = plan.dst_range;
    each<Rgba8, uint32_t>(in, out, count, [to](const Rgba8& p) noexcept {
        return to.place(gray8_to_bits(gray_of(p.r, p.g, p.b), to.bits));
    });
}

void color16_to_deep(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange to = plan.dst_range;
    each<Rgba16, uint32_t>(in, out, count, [to](const Rgba16& p) noexcept {
        return to.place(resize_gray(gray_of(p.r, p.g, p.b), 16, to.bits));
    });
}

void color8_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    plan.matcher.match(static_cast<const Rgba8*>(in), static_cast<uint8_t*>(out), count);
}

void color16_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    Rgba8 colors[kChunk];
    color_to_color<Rgba16, Rgba8>(plan, in, colors, count);
    color8_to_index(plan, colors, out, count);
}

// From gray.

constexpr Rgba8 gray_color8(uint8_t g) noexcept
{
    return {g, g, g, 255};
}
constexpr Rgba16 gray_color16(uint16_t g) noexcept
{
    return {g, g, g, 65535};
}

/// The index of a gray level, asked for once per plan.
uint8_t index_of_gray(Plan& plan, uint8_t gray) noexcept
{
    if (plan.index_of[gray] < 0) {
        plan.index_of[gray] = plan.matcher.match_one(gray_color8(gray));
    }
    return static_cast<uint8_t>(plan.index_of[gray]);
}

void gray8_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each<uint8_t, uint8_t>(in, out, count, [&plan](uint8_t g) noexcept { return index_of_gray(plan, g); });
}

void gray8_to_deep(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange to = plan.dst_range;
    each<uint8_t, uint32_t>(in, out, count, [to](uint8_t g) noexcept { return to.place(gray8_to_bits(g, to.bits)); });
}

void gray8_to_color8(Plan&, const void* in, void* out, size_t count) noexcept
{
    each<uint8_t, Rgba8>(in, out, count, gray_color8);
}

void gray8_to_color16(Plan&, const void* in, void* out, size_t count) noexcept
{
    each<uint8_t, Rgba16>(in, out, count, [](uint8_t g) noexcept { return gray_color16(times257(g)); });
}

/// One loop over deep gray samples, given to the rule in `bits` bits each. Most samples have more bits than are wanted
/// and only need a shift, which the compiler can do for many at once.
template <class To, class Rule>
void each_level(const GrayRange& from, uint32_t bits, const void* in, void* out, size_t count, Rule rule) noexcept
{
    if (from.bits >= bits && from.shift < 32) {
        const uint32_t mask = (1u << (from.bits - 1) << 1) - 1u;
        const uint32_t drop = from.bits - bits;
        const uint32_t shift = from.shift;
        each<uint32_t, To>(in, out, count, [=](uint32_t v) noexcept { return rule((v >> shift & mask) >> drop); });
        return;
    }
    each<uint32_t, To>(in, out, count,
                       [=](uint32_t v) noexcept { return rule(resize_gray(from.extract(v), from.bits, bits)); });
}

void deep_to_gray8(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each_level<uint8_t>(plan.src_range, 8, in, out, count, [](uint32_t g) noexcept { return static_cast<uint8_t>(g); });
}

void deep_to_deep(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange to = plan.dst_range;
    each_level<uint32_t>(plan.src_range, to.bits, in, out, count, [to](uint32_t g) noexcept { return to.place(g); });
}

void deep_to_color8(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each_level<Rgba8>(plan.src_range, 8, in, out, count,
                      [](uint32_t g) noexcept { return gray_color8(static_cast<uint8_t>(g)); });
}

void deep_to_color16(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each_level<Rgba16>(plan.src_range, 16, in, out, count,
                       [](uint32_t g) noexcept { return gray_color16(static_cast<uint16_t>(g)); });
}

void deep_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each_level<uint8_t>(plan.src_range, 8, in, out, count,
                        [&plan](uint32_t g) noexcept { return index_of_gray(plan, static_cast<uint8_t>(g)); });
}

/// Through the palette of 16-bit channels, by the high bytes of its entries.
void deep_to_index_by_palette(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange from = plan.src_range;
    each<uint32_t, uint8_t>(in, out, count, [&plan, from](uint32_t v) noexcept {
        const V_RGBQUAD16 entry = plan.src_palette16[from.extract(v)];
        return plan.matcher.match_one(
            {high_byte(entry.rgbBlue), high_byte(entry.rgbGreen), high_byte(entry.rgbRed), 0});
    });
}

// From indices.

void index_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each<uint8_t, uint8_t>(in, out, count, [&plan](uint8_t i) noexcept {
        if (plan.index_of[i] < 0) {
            const RGBQUAD entry = plan.src_palette[i];
            plan.index_of[i] = plan.matcher.match_one({entry.rgbBlue, entry.rgbGreen, entry.rgbRed, 0});
        }
        return static_cast<uint8_t>(plan.index_of[i]);
    });
}

template <class To> void index_by_table(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const auto* table = reinterpret_cast<const To*>(plan.table);
    each<uint8_t, To>(in, out, count, [table](uint8_t i) noexcept { return table[i]; });
}

/// Rows: source form; columns: destination form. Null changes nothing.
constexpr Reduce kReduce[5][5] = {
    {index_to_index, index_by_table<uint8_t>, index_by_table<uint32_t>, index_by_table<Rgba8>, index_by_table<Rgba16>},
    {gray8_to_index, nullptr, gray8_to_deep, gray8_to_color8, gray8_to_color16},
    {deep_to_index, deep_to_gray8, deep_to_deep, deep_to_color8, deep_to_color16},
    {color8_to_index, color_to_gray8<Rgba8>, color8_to_deep, nullptr, color_to_color<Rgba8, Rgba16>},
    {color16_to_index, color_to_gray8<Rgba16>, color16_to_deep, color_to_color<Rgba16, Rgba8>, nullptr},
};

constexpr Reduce reducer(Work src, Work dst) noexcept
{
    return kReduce[static_cast<int>(src)][static_cast<int>(dst)];
}

constexpr uint32_t packed_rgb(const Rgba8& p) noexcept
{
    return p.r | static_cast<uint32_t>(p.g) << 8 | static_cast<uint32_t>(p.b) << 16;
}

/// The working form of every index. Alpha is settled here, where the index is known.
void fill_table(Plan& plan, uint32_t transparent, uint32_t transparent_index) noexcept
{
    const size_t count = size_t{1} << plan.src->bits;
    Rgba8 colors[256];
    for (size_t i = 0; i < count; ++i) {
        const RGBQUAD entry = plan.src_palette[i];
        colors[i] = {entry.rgbBlue, entry.rgbGreen, entry.rgbRed, 255};
        if (i == transparent_index || packed_rgb(colors[i]) == transparent) {
            colors[i].a = 0;
        }
    }
    const Reduce reduce = reducer(Work::rgba8, plan.dst->work);
    if (reduce != nullptr) {
        reduce(plan, colors, plan.table, count);
    } else {
        std::memcpy(plan.table, colors, sizeof colors);
    }
}

constexpr bool is_index_color(COLORREF color) noexcept
{
    return color >> 24 == 1;
}

} // namespace

void set_alpha8(Rgba8* pixels, size_t count, uint32_t transparent) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        pixels[i].a = packed_rgb(pixels[i]) == transparent ? 0 : 255;
    }
}

void set_alpha16(Rgba16* pixels, size_t count, uint32_t transparent) noexcept
{
    for (size_t i = 0; i < count; ++i) {
        pixels[i].a = packed_rgb(high_bytes(pixels[i])) == transparent ? 0 : 65535;
    }
}

void prepare_reduce(Plan& plan, COLORREF transparent, bool transparent_used) noexcept
{
    const bool by_index = transparent_used && is_index_color(transparent);
    plan.transparent = transparent_used && !by_index ? transparent & 0x00FFFFFFu : kNoColor;
    plan.set_alpha = transparent_used && plan.dst->alpha && !plan.src->indexed();
    plan.reduce = reducer(plan.src->work, plan.dst->work);
    if (plan.src == plan.dst && plan.src->deep_gray() && plan.src_range == plan.dst_range &&
        plan.src_range.shift == 0) {
        plan.reduce = nullptr;
    }
    if (plan.dst->indexed()) {
        std::memset(plan.index_of, 0xFF, sizeof plan.index_of);
        if (plan.src_palette16 != nullptr) {
            plan.reduce = deep_to_index_by_palette;
        }
    } else if (plan.src->indexed()) {
        fill_table(plan, plan.transparent, by_index ? transparent & 0xFFu : kNoColor);
    }
}

} // namespace vk::pixel
