#include "kernel/sampling/Cells.h"

#include "kernel/convert/ExactLookup.h"
#include "kernel/format/Depths.h"

#include <algorithm>
#include <cstring>

namespace vk::sampling {

namespace {

using resample::Lanes;

/// A record may name an order that its depth does not have; any will do then.
bool make_form(const BITMAPHANDLE& bitmap, resample::Form& form) noexcept
{
    if (resample::make_form(bitmap, false, form))
        return true;
    BITMAPHANDLE usual = bitmap;
    usual.Order = usual_order(bitmap.BitsPerPixel);
    return resample::make_form(usual, false, form);
}

bool same_color(const RGBQUAD& a, const RGBQUAD& b) noexcept
{
    return a.rgbBlue == b.rgbBlue && a.rgbGreen == b.rgbGreen && a.rgbRed == b.rgbRed;
}

/// Every index is its own level of gray.
bool is_identity(const resample::Form& form) noexcept
{
    for (uint32_t i = 0; i < 256; ++i)
        if (!same_color(form.entries[i],
                        {static_cast<uint8_t>(i), static_cast<uint8_t>(i), static_cast<uint8_t>(i), 0}))
            return false;
    return form.colors == 256;
}

CellKind kind_of(const resample::Form& form) noexcept
{
    CellKind kind{form.channels, form.lane_bytes, form.channels * form.lane_bytes, form.alpha, false, form.most};
    if (form.lanes == Lanes::color || form.lanes == Lanes::field)
        kind.size = 4;
    if (form.lanes == Lanes::sample && form.gray.bits < static_cast<uint32_t>(form.bits))
        kind.size = 2 * form.lane_bytes;
    kind.carried = form.lanes == Lanes::color || kind.size == 2 * form.lane_bytes;
    return kind;
}

template <class Lane> Lane load(const uint8_t* from) noexcept
{
    Lane value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class Lane> void put(uint8_t* to, Lane value) noexcept
{
    std::memcpy(to, &value, sizeof value);
}

} // namespace

Cells::~Cells()
{
    pixel::destroy_exact_lookup(lookup_);
}

void Cells::open_real(const BITMAPHANDLE& bitmap) noexcept
{
    const bool is_index = form_.lanes == Lanes::index;
    const bool is_level = is_index && is_identity(form_);
    const bool is_field = form_.lanes == Lanes::field;
    if (is_level) {
        form_.lanes = Lanes::stored;
    } else if (is_index && form_.bits > 1) {
        form_.lanes = Lanes::color;
        form_.channels = 3;
        form_.most = 255;
    } else if (is_field) {
        form_.most = 255;
    } else if (form_.lanes == Lanes::stored && form_.bits == 8 && bitmap.Flags & BITMAPFLAG_SIGNED) {
        form_.lanes = Lanes::index;
        form_.bias = 0x80;
    }
    kind_ = kind_of(form_);
    kind_.is_real = true;
    kind_.is_level = is_level;
    if (is_field)
        std::fill_n(kind_.steps, 3, uint8_t{31});
    if (is_field && form_.order == COLORORDER_RGB565)
        kind_.steps[1] = 63;
}

int Cells::open(const BITMAPHANDLE& bitmap, const FillPixel& fill, bool is_real) noexcept
{
    if (!make_form(bitmap, form_))
        return V_ERROR_INVALID_BITS_PER_PIXEL;
    if (form_.lanes == Lanes::sample && form_.bits % 16 == 0 && form_.bias == 0 &&
        form_.gray.bits == static_cast<uint32_t>(form_.bits))
        form_.lanes = Lanes::stored;
    if (is_real)
        open_real(bitmap);
    else
        kind_ = kind_of(form_);
    const int result = form_.lanes == Lanes::color ? open_lookup(bitmap) : V_SUCCESS;
    if (is_direct())
        std::copy_n(fill.packed, size(), fill_);
    else if (result == V_SUCCESS)
        unpack(fill.packed, fill_, 1);
    return result;
}

int Cells::open_lookup(const BITMAPHANDLE& bitmap) noexcept
{
    const auto pixels = static_cast<uint64_t>(bitmap.Width) * static_cast<uint32_t>(bitmap.Height);
    lookup_ = pixel::create_exact_lookup(form_.entries, std::max(form_.colors, 1u), pixels);
    return lookup_ ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

void Cells::unpack_colors(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept
{
    uint8_t indices[kMostPixels];
    form_.format->unpack(packed, indices, count);
    for (size_t i = 0; i < count; ++i) {
        const RGBQUAD& entry = form_.entries[indices[i]];
        const uint8_t cell[4] = {entry.rgbBlue, entry.rgbGreen, entry.rgbRed, indices[i]};
        std::memcpy(cells + 4 * i, cell, sizeof cell);
    }
}

void Cells::pack_colors(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept
{
    uint8_t indices[kMostPixels + 8]; // the look-up may write a little more
    lookup_->match(lookup_, reinterpret_cast<const pixel::Rgba8*>(cells), indices, count);
    constexpr uint32_t kColor = 0x00FFFFFF; // of words of blue, green, red and something else
    const auto* const entries = reinterpret_cast<const uint8_t*>(form_.entries);
    for (size_t i = 0; i < count; ++i) { // without branches, which nobody foresees
        const uint8_t own = cells[4 * i + 3];
        const auto entry = load<uint32_t>(entries + size_t{4} * own);
        const uint64_t to_found = (entry ^ load<uint32_t>(entries + size_t{4} * indices[i])) & kColor;
        const uint64_t to_mixed = (entry ^ load<uint32_t>(cells + 4 * i)) & kColor;
        indices[i] = to_found * to_mixed == 0 ? own : indices[i];
    }
    form_.format->pack(indices, packed, count);
}

/// What is carried is the sample as a whole.
template <class Lane> void Cells::unpack_samples(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept
{
    uint32_t samples[kMostPixels];
    form_.format->unpack(packed, samples, count);
    const GrayRange range = form_.gray;
    const uint32_t bias = form_.bias;
    const auto number = [&](size_t i) noexcept { return static_cast<Lane>(range.extract(samples[i]) ^ bias); };
    for (size_t i = 0; i < count && !kind_.carried; ++i)
        put(cells + i * sizeof(Lane), number(i));
    for (size_t i = 0; i < count && kind_.carried; ++i) {
        put(cells + 2 * i * sizeof(Lane), number(i));
        put(cells + (2 * i + 1) * sizeof(Lane), static_cast<Lane>(samples[i]));
    }
}

template <class Lane> void Cells::pack_samples(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept
{
    uint32_t samples[kMostPixels];
    const GrayRange range = form_.gray;
    const uint32_t bias = form_.bias;
    for (size_t i = 0; i < count && !kind_.carried; ++i)
        samples[i] = range.place(load<Lane>(cells + i * sizeof(Lane)) ^ bias);
    for (size_t i = 0; i < count && kind_.carried; ++i) {
        const uint32_t rest = load<Lane>(cells + (2 * i + 1) * sizeof(Lane)) & ~range.place(range.mask());
        samples[i] = rest | range.place(load<Lane>(cells + 2 * i * sizeof(Lane)) ^ bias);
    }
    form_.format->pack(samples, packed, count);
}

void Cells::unpack_fields(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept
{
    if (kind_.is_real)
        return form_.format->unpack(packed, cells, count);
    const resample::Fields fields(form_);
    for (size_t i = 0; i < count; ++i)
        put(cells + 4 * i, fields.spread(load<uint16_t>(packed + 2 * i)));
}

void Cells::pack_fields(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept
{
    if (kind_.is_real)
        return form_.format->pack(cells, packed, count);
    const resample::Fields fields(form_);
    for (size_t i = 0; i < count; ++i)
        put(packed + 2 * i, fields.joined(load<uint32_t>(cells + 4 * i)));
}

void Cells::unpack_indices(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept
{
    form_.format->unpack(packed, cells, count);
    for (size_t i = 0; i < count && form_.bias != 0; ++i)
        cells[i] = static_cast<uint8_t>(cells[i] ^ form_.bias);
}

void Cells::pack_indices(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept
{
    uint8_t indices[kMostPixels];
    for (size_t i = 0; i < count; ++i)
        indices[i] = static_cast<uint8_t>(cells[i] ^ form_.bias);
    form_.format->pack(indices, packed, count);
}

void Cells::unpack(const uint8_t* packed, uint8_t* cells, size_t count) const noexcept
{
    if (form_.lanes == Lanes::stored)
        std::memcpy(cells, packed, count * size());
    else if (form_.lanes == Lanes::color)
        unpack_colors(packed, cells, count);
    else if (form_.lanes == Lanes::index)
        unpack_indices(packed, cells, count);
    else if (form_.lanes == Lanes::sample)
        form_.lane_bytes == 2 ? unpack_samples<uint16_t>(packed, cells, count)
                              : unpack_samples<uint32_t>(packed, cells, count);
    else
        unpack_fields(packed, cells, count);
}

void Cells::pack(const uint8_t* cells, uint8_t* packed, size_t count) const noexcept
{
    if (form_.lanes == Lanes::stored)
        std::memcpy(packed, cells, count * size());
    else if (form_.lanes == Lanes::color)
        pack_colors(cells, packed, count);
    else if (form_.lanes == Lanes::index)
        pack_indices(cells, packed, count);
    else if (form_.lanes == Lanes::sample)
        form_.lane_bytes == 2 ? pack_samples<uint16_t>(cells, packed, count)
                              : pack_samples<uint32_t>(cells, packed, count);
    else
        pack_fields(cells, packed, count);
}

} // namespace vk::sampling
