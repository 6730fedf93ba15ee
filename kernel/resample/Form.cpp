#include "kernel/resample/Form.h"

#include "kernel/colorres/GrayScale.h"
#include "kernel/convert/ColorLookup.h"
#include "kernel/convert/Gray.h"
#include "kernel/palette/Palette.h"

#include <algorithm>
#include <cstring>

namespace vk::resample {

namespace {

void read_palette(const BITMAPHANDLE& bitmap, Form& form) noexcept
{
    const uint32_t most = 1u << form.bits;
    const RGBQUAD* const own = bitmap.Palette;
    form.colors = own ? palette_entries(bitmap) : most;
    std::copy_n(own ? own : fixed_palette(form.bits), form.colors, form.entries);
}

bool same_entries(const Form& a, const Form& b) noexcept
{
    const auto same = [](const RGBQUAD& x, const RGBQUAD& y) noexcept {
        return x.rgbRed == y.rgbRed && x.rgbGreen == y.rgbGreen && x.rgbBlue == y.rgbBlue;
    };
    return std::equal(a.entries, a.entries + (1u << a.bits), b.entries, same);
}

void set_lanes(Form& form, Lanes lanes, int32_t channels, int32_t bytes, uint32_t most) noexcept
{
    form.lanes = lanes;
    form.channels = channels;
    form.lane_bytes = bytes;
    form.most = most;
}

void set_samples(const BITMAPHANDLE& bitmap, Form& form) noexcept
{
    form.gray = gray_range_of(bitmap);
    form.bias = bitmap.Flags & BITMAPFLAG_SIGNED ? 1u << (form.gray.bits - 1) : 0u;
    set_lanes(form, Lanes::sample, 1, form.bits > 16 ? 4 : 2, form.gray.mask());
}

void set_channels(Form& form) noexcept
{
    if (has_fields(form.bits))
        return set_lanes(form, Lanes::field, 3, 1, 63);
    const Depth& depth = depth_of(form.bits);
    form.alpha = has_alpha(form.bits, form.order);
    set_lanes(form, Lanes::stored, depth.channels, depth.channel_bits / 8, (1u << depth.channel_bits) - 1);
}

/// Palettes on a straight line are averaged by their indices: two entries, or a gray ramp.
void set_indexed(const BITMAPHANDLE& bitmap, bool as_levels, Form& form) noexcept
{
    const GrayKind kind = gray_kind(bitmap);
    if (form.bits == 8 && form.order == COLORORDER_GRAY)
        return set_lanes(form, Lanes::stored, 1, 1, 255);
    read_palette(bitmap, form);
    if (as_levels && kind != GrayKind::none)
        return set_lanes(form, Lanes::gray, 1, 1, 255);
    if (!as_levels && (kind != GrayKind::none || form.bits == 1))
        return set_lanes(form, Lanes::index, 1, 1, (1u << form.bits) - 1);
    set_lanes(form, Lanes::color, 3, 1, 255);
}

uint8_t gray_of_entry(const RGBQUAD& entry) noexcept
{
    return static_cast<uint8_t>(pixel::gray_of(entry.rgbRed, entry.rgbGreen, entry.rgbBlue));
}

void unpack_fields(const Form& form, const uint8_t* row, uint8_t* lanes, size_t width) noexcept
{
    const Fields fields(form);
    for (size_t i = 0; i < width; ++i, lanes += 3) {
        const uint32_t spread = fields.spread(row[2 * i] | uint32_t{row[2 * i + 1]} << 8);
        lanes[0] = static_cast<uint8_t>(spread);
        lanes[1] = static_cast<uint8_t>(spread >> 8);
        lanes[2] = static_cast<uint8_t>(spread >> 16);
    }
}

void pack_fields(const Form& form, const uint8_t* lanes, uint8_t* row, size_t width) noexcept
{
    const Fields fields(form);
    for (size_t i = 0; i < width; ++i, lanes += 3) {
        const uint16_t pixel = fields.joined(lanes[0] | uint32_t{lanes[1]} << 8 | uint32_t{lanes[2]} << 16);
        row[2 * i] = static_cast<uint8_t>(pixel);
        row[2 * i + 1] = static_cast<uint8_t>(pixel >> 8);
    }
}

template <class Lane>
void unpack_samples(const Form& form, const uint8_t* row, Lane* lanes, size_t width, uint32_t* room) noexcept
{
    form.format->unpack(row, room, width);
    const GrayRange range = form.gray;
    for (size_t i = 0; i < width; ++i)
        lanes[i] = static_cast<Lane>(range.extract(room[i]) ^ form.bias);
}

template <class Lane>
void pack_samples(const Form& form, const Lane* lanes, uint8_t* row, size_t width, uint32_t* room) noexcept
{
    const GrayRange range = form.gray;
    for (size_t i = 0; i < width; ++i)
        room[i] = range.place(std::min<uint32_t>(lanes[i], form.most) ^ form.bias);
    form.format->pack(room, row, width);
}

void unpack_indexed(const Form& form, const uint8_t* row, uint8_t* lanes, size_t width, uint8_t* indices) noexcept
{
    form.format->unpack(row, form.lanes == Lanes::index ? lanes : indices, width);
    if (form.lanes == Lanes::gray) {
        uint8_t levels[256];
        std::transform(form.entries, form.entries + 256, levels, gray_of_entry);
        for (size_t i = 0; i < width; ++i)
            lanes[i] = levels[indices[i]];
    } else if (form.lanes == Lanes::color) {
        for (size_t i = 0; i < width; ++i)
            std::memcpy(lanes + 3 * i, &form.entries[indices[i]], 3); // blue, green, red
    }
}

void pack_indices(const Form& form, const uint8_t* lanes, uint8_t* row, size_t width, uint8_t* room) noexcept
{
    for (size_t i = 0; i < width; ++i)
        room[i] = std::min(lanes[i], static_cast<uint8_t>(form.most));
    form.format->pack(room, row, width);
}

void pack_colors(const Form& form, const uint8_t* lanes, uint8_t* row, size_t width, uint8_t* room,
                 const ColorLookup* lookup) noexcept
{
    constexpr size_t kBatch = 256;
    pixel::Rgba8 colors[kBatch];
    for (size_t done = 0; done < width; done += kBatch) {
        const size_t count = std::min(kBatch, width - done);
        for (size_t i = 0; i < count; ++i)
            std::memcpy(&colors[i], lanes + 3 * (done + i), 3);
        lookup->match(lookup, colors, room + done, count);
    }
    form.format->pack(room, row, width);
}

} // namespace

namespace {

/// Gray levels of 8 bits, which stand for themselves.
bool is_levels(const Form& form) noexcept
{
    return form.bits == 8 && form.lanes == Lanes::stored;
}

/// The form of gray levels as the indices of a ramp, beside an indexed one.
void make_ramp(const Form& indexed, Form& levels) noexcept
{
    levels.format = indexed.format;
    std::copy_n(gray_levels(), kMaxPaletteEntries, levels.entries);
    levels.colors = kMaxPaletteEntries;
    set_lanes(levels, Lanes::index, 1, 1, 255);
}

} // namespace

bool make_form(const BITMAPHANDLE& bitmap, bool as_levels, Form& form) noexcept
{
    form = Form{};
    form.bits = bitmap.BitsPerPixel;
    form.order = bitmap.Order;
    form.format = pixel::find_format(form.bits, form.order);
    if (!form.format)
        return false;
    if (is_indexed(form.bits))
        set_indexed(bitmap, as_levels, form);
    else if (form.order == COLORORDER_GRAY)
        set_samples(bitmap, form);
    else
        set_channels(form);
    return true;
}

bool make_forms(const BITMAPHANDLE& from, const BITMAPHANDLE& to, Form& source, Form& target) noexcept
{
    const bool to_gray = from.BitsPerPixel == 1 && to.BitsPerPixel == 8;
    if (!make_form(from, to_gray, source) || !make_form(to, false, target))
        return false;
    if (to_gray) {
        set_lanes(source, Lanes::gray, 1, 1, 255);
        set_lanes(target, Lanes::stored, 1, 1, 255);
        return true;
    }
    if (source.bits != target.bits)
        return false;
    if (is_levels(target) && source.lanes != Lanes::stored) {
        set_lanes(source, Lanes::gray, 1, 1, 255);
        return true;
    }
    if (is_levels(source) && target.lanes != Lanes::stored) // whose indices are those of a gray ramp
        make_ramp(target, source);
    if (source.format != target.format)
        return false;
    const bool is_line = source.lanes == Lanes::index && target.lanes == Lanes::index;
    if (is_indexed(source.bits) && source.lanes != Lanes::stored && (!is_line || !same_entries(source, target))) {
        set_lanes(source, Lanes::color, 3, 1, 255);
        set_lanes(target, Lanes::color, 3, 1, 255);
    }
    return source.lanes != Lanes::sample || source.gray.bits == target.gray.bits;
}

void unpack_row(const Form& form, const uint8_t* row, void* lanes, size_t width, uint32_t* room) noexcept
{
    auto* const bytes = static_cast<uint8_t*>(lanes);
    if (form.lanes == Lanes::field)
        unpack_fields(form, row, bytes, width);
    else if (form.lanes != Lanes::sample)
        unpack_indexed(form, row, bytes, width, reinterpret_cast<uint8_t*>(room));
    else if (form.lane_bytes == 2)
        unpack_samples(form, row, static_cast<uint16_t*>(lanes), width, room);
    else
        unpack_samples(form, row, static_cast<uint32_t*>(lanes), width, room);
}

void pack_row(const Form& form, const void* lanes, uint8_t* row, size_t width, uint32_t* room,
              const ColorLookup* lookup) noexcept
{
    const auto* const bytes = static_cast<const uint8_t*>(lanes);
    if (form.lanes == Lanes::field)
        pack_fields(form, bytes, row, width);
    else if (form.lanes == Lanes::index)
        pack_indices(form, bytes, row, width, reinterpret_cast<uint8_t*>(room));
    else if (form.lanes == Lanes::color)
        pack_colors(form, bytes, row, width, reinterpret_cast<uint8_t*>(room), lookup);
    else if (form.lane_bytes == 2)
        pack_samples(form, static_cast<const uint16_t*>(lanes), row, width, room);
    else
        pack_samples(form, static_cast<const uint32_t*>(lanes), row, width, room);
}

} // namespace vk::resample
