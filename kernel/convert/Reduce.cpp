// The reducers: one per pair of working forms.
//
// Sources of at most 256 values go through tables: an indexed source's palette is reduced once as if it were a row of
// colours, and matching remembers the answer for each index or gray level. 16-bit channels become 8-bit ones by their
// high bytes, and only where the destination has no more.
//
// Vectors do the front of a run of pixels where there is a loop for them (Steps.h), and what is written here the rest.
// Some go by way of another working form, by the same rules.
#include "kernel/convert/Reduce.h"

#include "kernel/convert/Steps.h"

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

/// Runs a loop on the front and the rule on the rest.
template <auto kLoop, class From, class To, class Rule, class... More>
void each_by_step(const void* in, void* out, size_t count, Rule rule, More... more) noexcept
{
    const auto* from = static_cast<const From*>(in);
    auto* to = static_cast<To*>(out);
    const size_t done = run_step<kLoop>(from, to, count, more...);
    each<From, To>(from + done, to + done, count - done, rule);
}

void color8_to_color16(Plan&, const void* in, void* out, size_t count) noexcept
{
    each_by_step<&StepLoops::widen_colors, Rgba8, Rgba16>(in, out, count, [](const Rgba8& p) noexcept {
        return Rgba16{times257(p.b), times257(p.g), times257(p.r), times257(p.a)};
    });
}

void color16_to_color8(Plan&, const void* in, void* out, size_t count) noexcept
{
    narrow_colors(static_cast<const Rgba16*>(in), static_cast<Rgba8*>(out), count);
}

void color8_to_gray8(Plan&, const void* in, void* out, size_t count) noexcept
{
    each_by_step<&StepLoops::gray_of_colors, Rgba8, uint8_t>(
        in, out, count, [](const Rgba8& p) noexcept { return static_cast<uint8_t>(gray_of(p.r, p.g, p.b)); });
}

/// One reducer behind another, by way of a chunk of `Middle`.
template <class Middle, Reduce kFirst, Reduce kSecond>
void reduce_twice(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    Middle middle[kChunk];
    kFirst(plan, in, middle, count);
    kSecond(plan, middle, out, count);
}

/// How samples of a range become `bits` bits, from bit `place` on; whether there is one such change for all.
bool find_change(const GrayRange& from, uint32_t bits, uint32_t place, SampleChange* change) noexcept
{
    *change = {from.shift, from.bits, bits, place};
    return from.shift < 32 && place < 32;
}

void color16_to_deep(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange to = plan.dst_range;
    const auto* from = static_cast<const Rgba16*>(in);
    auto* samples = static_cast<uint32_t*>(out);
    SampleChange change;
    size_t done = 0;
    if (find_change({16, 0}, to.bits, to.shift, &change)) {
        uint32_t grays[kChunk];
        done = run_step<&StepLoops::samples_of_colors>(from, grays, count);
        done = run_step<&StepLoops::change_samples>(grays, samples, done, change);
    }
    each<Rgba16, uint32_t>(from + done, samples + done, count - done, [to](const Rgba16& p) noexcept {
        return to.place(resize_gray(gray_of(p.r, p.g, p.b), 16, to.bits));
    });
}

void color8_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    plan.matcher.match(static_cast<const Rgba8*>(in), static_cast<uint8_t*>(out), count);
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

void gray8_to_color8(Plan&, const void* in, void* out, size_t count) noexcept
{
    each_by_step<&StepLoops::colors_of_gray, uint8_t, Rgba8>(in, out, count, gray_color8);
}

/// One loop over deep gray samples, given to the rule in `bits` bits each.
template <auto kLoop, class To, class Rule>
void each_level(const GrayRange& from, uint32_t bits, uint32_t place, const void* in, void* out, size_t count,
                Rule rule) noexcept
{
    const auto* samples = static_cast<const uint32_t*>(in);
    auto* to = static_cast<To*>(out);
    SampleChange change;
    const size_t done =
        find_change(from, bits, place, &change) ? run_step<kLoop>(samples, to, count, change) : size_t{0};
    each<uint32_t, To>(samples + done, to + done, count - done,
                       [=](uint32_t v) noexcept { return rule(resize_gray(from.extract(v), from.bits, bits)); });
}

void deep_to_gray8(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each_level<&StepLoops::grays_of_samples, uint8_t>(plan.src_range, 8, 0, in, out, count,
                                                      [](uint32_t g) noexcept { return static_cast<uint8_t>(g); });
}

void deep_to_deep(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const GrayRange to = plan.dst_range;
    each_level<&StepLoops::change_samples, uint32_t>(plan.src_range, to.bits, to.shift, in, out, count,
                                                     [to](uint32_t g) noexcept { return to.place(g); });
}

void deep_to_color16(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    each_level<&StepLoops::colors_of_samples, Rgba16>(plan.src_range, 16, 0, in, out, count, [](uint32_t g) noexcept {
        return gray_color16(static_cast<uint16_t>(g));
    });
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

// From bytes: indices, and gray levels.

template <class To> void byte_by_table(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const auto* table = reinterpret_cast<const To*>(plan.table);
    each<uint8_t, To>(in, out, count, [table](uint8_t i) noexcept { return table[i]; });
}

template <> void byte_by_table<uint8_t>(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    const uint8_t* const table = plan.table;
    each_by_step<&StepLoops::look_up, uint8_t, uint8_t>(
        in, out, count, [table](uint8_t i) noexcept { return table[i]; }, table);
}

/// Pixels from which on a plan knows the indices of all bytes before they are asked for.
constexpr uint32_t kManyAsked = 4096;

uint8_t index_of(Plan& plan, uint8_t byte) noexcept
{
    if (plan.index_of[byte] < 0) {
        const RGBQUAD entry = plan.src->indexed() ? plan.src_palette[byte] : RGBQUAD{byte, byte, byte, 0};
        plan.index_of[byte] = plan.matcher.match_one({entry.rgbBlue, entry.rgbGreen, entry.rgbRed, 0});
    }
    return static_cast<uint8_t>(plan.index_of[byte]);
}

/// Of gray levels and indices, each of which is matched once per plan.
void byte_to_index(Plan& plan, const void* in, void* out, size_t count) noexcept
{
    if (plan.asked < kManyAsked) {
        plan.asked += static_cast<uint32_t>(count);
        each<uint8_t, uint8_t>(in, out, count, [&plan](uint8_t i) noexcept { return index_of(plan, i); });
        const uint32_t known = plan.src->indexed() ? 1u << plan.src->bits : 256;
        for (uint32_t i = 0; i < known && plan.asked >= kManyAsked; ++i) {
            plan.table[i] = index_of(plan, static_cast<uint8_t>(i));
        }
        return;
    }
    byte_by_table<uint8_t>(plan, in, out, count);
}

template <Reduce kToBytes> constexpr Reduce kToIndex = reduce_twice<uint8_t, kToBytes, byte_to_index>;

/// Rows: source form; columns: destination form. Null changes nothing.
constexpr Reduce kReduce[5][5] = {
    {byte_to_index, byte_by_table<uint8_t>, byte_by_table<uint32_t>, byte_by_table<Rgba8>, byte_by_table<Rgba16>},
    {byte_to_index, nullptr, byte_by_table<uint32_t>, gray8_to_color8,
     reduce_twice<Rgba8, gray8_to_color8, color8_to_color16>},
    {kToIndex<deep_to_gray8>, deep_to_gray8, deep_to_deep, reduce_twice<uint8_t, deep_to_gray8, gray8_to_color8>,
     deep_to_color16},
    {color8_to_index, color8_to_gray8, reduce_twice<uint8_t, color8_to_gray8, byte_by_table<uint32_t>>, nullptr,
     color8_to_color16},
    {reduce_twice<Rgba8, color16_to_color8, color8_to_index>, reduce_twice<Rgba8, color16_to_color8, color8_to_gray8>,
     color16_to_deep, color16_to_color8, nullptr},
};

constexpr Reduce reducer(Work src, Work dst) noexcept
{
    return kReduce[static_cast<int>(src)][static_cast<int>(dst)];
}

constexpr uint32_t packed_rgb(const Rgba8& p) noexcept
{
    return p.r | static_cast<uint32_t>(p.g) << 8 | static_cast<uint32_t>(p.b) << 16;
}

/// The sample that every byte stands for, `gray(byte)` being its level.
template <class Gray> void fill_samples(Plan& plan, size_t count, Gray gray) noexcept
{
    const GrayRange to = plan.dst_range;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t sample = to.place(gray8_to_bits(gray(i), to.bits));
        std::memcpy(plan.table + sizeof sample * i, &sample, sizeof sample);
    }
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
    if (plan.dst->deep_gray()) {
        fill_samples(plan, count, [&](size_t i) noexcept { return gray_of(colors[i].r, colors[i].g, colors[i].b); });
    } else if (reduce != nullptr) {
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

void narrow_colors(const Rgba16* from, Rgba8* to, size_t count) noexcept
{
    each_by_step<&StepLoops::narrow_colors, Rgba16, Rgba8>(from, to, count, high_bytes);
}

void find_levels(const GrayRange& range, const uint32_t* samples, uint8_t* levels, size_t count) noexcept
{
    SampleChange change;
    const bool has_loop = find_change(range, 8, 0, &change) && range.bits >= 8;
    const size_t done = has_loop ? run_step<&StepLoops::grays_of_samples>(samples, levels, count, change) : size_t{0};
    each<uint32_t, uint8_t>(samples + done, levels + done, count - done,
                            [&range](uint32_t v) noexcept { return range.level(v); });
}

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
    plan.asked = 0;
    if (plan.dst->indexed()) {
        std::memset(plan.index_of, 0xFF, sizeof plan.index_of);
        if (plan.src_palette16 != nullptr) {
            plan.reduce = deep_to_index_by_palette;
        }
    } else if (plan.src->indexed()) {
        fill_table(plan, plan.transparent, by_index ? transparent & 0xFFu : kNoColor);
    } else if (plan.dst->deep_gray() && (plan.src->work == Work::gray8 || plan.src->work == Work::rgba8)) {
        fill_samples(plan, 256, [](size_t i) noexcept { return static_cast<uint32_t>(i); });
    }
}

} // namespace vk::pixel
