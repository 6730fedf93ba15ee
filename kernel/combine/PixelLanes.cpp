#include "kernel/combine/PixelLanes.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"

#include <cstring>

namespace vk::combine {

namespace {

/// Where the fields of a 16-bit colour begin.
struct Fields {
    uint32_t shift[3];
    uint32_t most[3];
};

const Fields& fields_of(const PixelForm& form) noexcept
{
    static constexpr Fields kFive{{0, 5, 10}, {31, 31, 31}};
    static constexpr Fields kSix{{0, 5, 11}, {31, 63, 31}};
    return form.order == COLORORDER_RGB565 ? kSix : kFive;
}

/// The bit of a signed sample that is turned to bring its values in order.
uint32_t sign_of(const PixelForm& form, bool is_signed) noexcept
{
    return is_signed ? (form.gray.mask() >> 1) + 1 : 0;
}

template <class T> T load(const uint8_t* from) noexcept
{
    T value{};
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void unpack_channels(const PixelForm& form, const uint8_t* packed, int32_t count, PixelLanes* lanes) noexcept
{
    const size_t pixel = static_cast<size_t>(form.bits / 8);
    for (int32_t i = 0; i < count; ++i, packed += pixel) {
        for (size_t channel = 0; channel < 3; ++channel)
            lanes[i].value[channel] = load<T>(packed + channel * sizeof(T));
        lanes[i].alpha = form.has_alpha() ? load<T>(packed + 3 * sizeof(T)) : 0;
    }
}

template <class T>
void pack_channels(const PixelForm& form, const PixelLanes* lanes, int32_t count, uint8_t* packed) noexcept
{
    const size_t pixel = static_cast<size_t>(form.bits / 8);
    for (int32_t i = 0; i < count; ++i, packed += pixel) {
        T values[4];
        for (size_t channel = 0; channel < 3; ++channel)
            values[channel] = static_cast<T>(lanes[i].value[channel]);
        values[3] = static_cast<T>(lanes[i].alpha);
        std::memcpy(packed, values, form.has_alpha() ? sizeof values : 3 * sizeof(T));
    }
}

uint32_t load_gray(const PixelForm& form, const uint8_t* packed, uint32_t index) noexcept
{
    switch (form.bits) {
    case 8:
        return packed[index];
    case 12:
        return extract_bits(packed + column_offset(form.bits, static_cast<int32_t>(index)), form.bits, index);
    case 16:
        return load<uint16_t>(packed + 2 * size_t{index});
    default:
        return load<uint32_t>(packed + 4 * size_t{index});
    }
}

void store_gray(const PixelForm& form, uint8_t* packed, uint32_t index, uint32_t sample) noexcept
{
    if (form.bits == 12)
        return insert_bits(packed + column_offset(form.bits, static_cast<int32_t>(index)), form.bits, index, sample);
    const auto bytes = static_cast<size_t>(form.bits / 8);
    std::memcpy(packed + bytes * index, &sample, bytes);
}

} // namespace

LaneForm lane_form(const PixelForm& form) noexcept
{
    LaneForm lanes;
    if (form.gray_levels() || form.deep_gray()) {
        lanes.channels = 1;
        lanes.most[0] = form.gray_levels() ? 255 : form.gray.mask();
        return lanes;
    }
    lanes.channels = 3;
    lanes.has_alpha = form.has_alpha();
    lanes.alpha_most = form.bits >= 48 ? 65535 : 255;
    for (int channel = 0; channel < 3; ++channel)
        lanes.most[channel] = form.bits == 16 ? fields_of(form).most[channel] : lanes.alpha_most;
    return lanes;
}

void unpack_lanes(const PixelForm& form, bool is_signed, const uint8_t* packed, int32_t count,
                  PixelLanes* lanes) noexcept
{
    if (form.gray_levels() || form.deep_gray()) {
        const uint32_t sign = sign_of(form, is_signed);
        for (int32_t i = 0; i < count; ++i) {
            const uint32_t sample = load_gray(form, packed, static_cast<uint32_t>(i));
            lanes[i].value[0] = form.gray_levels() ? sample : form.gray.extract(sample) ^ sign;
        }
        return;
    }
    if (form.bits >= 48)
        return unpack_channels<uint16_t>(form, packed, count, lanes);
    if (form.bits != 16)
        return unpack_channels<uint8_t>(form, packed, count, lanes);
    const Fields& fields = fields_of(form);
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t word = load<uint16_t>(packed + 2 * static_cast<size_t>(i));
        for (int channel = 0; channel < 3; ++channel)
            lanes[i].value[channel] = word >> fields.shift[channel] & fields.most[channel];
    }
}

void pack_lanes(const PixelForm& form, bool is_signed, const PixelLanes* lanes, int32_t count, uint8_t* packed) noexcept
{
    if (form.gray_levels() || form.deep_gray()) {
        const uint32_t sign = sign_of(form, is_signed);
        const GrayRange range = form.gray_levels() ? GrayRange{} : form.gray;
        for (int32_t i = 0; i < count; ++i) {
            const auto index = static_cast<uint32_t>(i);
            const uint32_t kept = load_gray(form, packed, index) & ~range.place(range.mask());
            store_gray(form, packed, index, kept | range.place(lanes[i].value[0] ^ sign));
        }
        return;
    }
    if (form.bits >= 48)
        return pack_channels<uint16_t>(form, lanes, count, packed);
    if (form.bits != 16)
        return pack_channels<uint8_t>(form, lanes, count, packed);
    const Fields& fields = fields_of(form);
    for (int32_t i = 0; i < count; ++i) {
        uint32_t word = load<uint16_t>(packed + 2 * static_cast<size_t>(i));
        for (int channel = 0; channel < 3; ++channel)
            word = (word & ~(fields.most[channel] << fields.shift[channel])) | lanes[i].value[channel]
                                                                                   << fields.shift[channel];
        const auto stored = static_cast<uint16_t>(word);
        std::memcpy(packed + 2 * static_cast<size_t>(i), &stored, sizeof stored);
    }
}

} // namespace vk::combine
