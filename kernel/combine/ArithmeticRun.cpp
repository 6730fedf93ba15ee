#include "kernel/combine/ArithmeticRun.h"

#include "kernel/format/Spread.h"

#include <algorithm>

namespace vk::combine {

int ArithmeticRun::open(const BITMAPHANDLE& to, const BITMAPHANDLE& from, uint64_t pixels) noexcept
{
    form_ = form_of(to);
    is_signed_ = form_.deep_gray() && to.Flags & BITMAPFLAG_SIGNED;
    // Gray levels are their own channel, and so are the indices of a ramp under a source that is gray too.
    const bool is_ramp = same_form(form_, gray_form());
    by_palette_ = form_.indexed() && !form_.gray_levels() && !(is_ramp && same_form(form_of(from), form_));
    find_words();
    if (!by_palette_)
        return converter_.open(from, form_, pixels);
    int result = converter_.open(from, color_form(), pixels);
    if (result == V_SUCCESS)
        result = colors_.open(to, pixels);
    return result == V_SUCCESS && PalettePairs::are_pairs(to, from, pixels) ? pairs_.open(converter_, colors_) : result;
}

void ArithmeticRun::find_words() noexcept
{
    if (form_.bits == 16 && !form_.deep_gray())
        words_ = form_.order == COLORORDER_RGB565 ? WordFields{3, {0, 5, 11}, {5, 6, 5}}
                                                  : WordFields{3, {0, 5, 10}, {5, 5, 5}};
    else if (form_.deep_gray() && !is_signed_)
        words_ = {1, {form_.gray.shift}, {form_.gray.bits}};
}

void ArithmeticRun::run_palette(Line to, const uint8_t* from, int32_t count) noexcept
{
    uint8_t* const colors = colors_.look_up(to, count);
    combine_channels(how_, from, colors, 4 * static_cast<size_t>(count), 1, true);
    colors_.match(to, count);
}

void ArithmeticRun::run_channels(Line to, const uint8_t* from, int32_t count) noexcept
{
    const auto pixel = static_cast<size_t>(form_.bits / 8);
    const int bytes = form_.bits >= 48 ? 2 : 1;
    combine_channels(how_, from, to.data + pixel * static_cast<uint32_t>(to.column),
                     pixel / static_cast<size_t>(bytes) * static_cast<uint32_t>(count), bytes, form_.has_alpha());
}

/// Numbers in words, to which samples of 12 bits are spread.
void ArithmeticRun::run_words(Line to, const uint8_t* from, int32_t count) noexcept
{
    const auto all = static_cast<size_t>(count);
    if (form_.bits == 32)
        return combine_long_words(how_, from, to.data + 4 * static_cast<size_t>(to.column), all, form_.gray.shift,
                                  form_.gray.bits);
    if (form_.bits == 16)
        return combine_words(how_, from, to.data + 2 * static_cast<size_t>(to.column), all, words_);
    alignas(64) uint16_t source[kChunk];
    alignas(64) uint16_t made[kChunk];
    const uint64_t place = uint64_t{12} * static_cast<uint32_t>(to.column);
    copy_bits(packed_, 0, to.data, place, 12 * all, BitOrder::low_first);
    spread_pixels(from, source, all, 12);
    spread_pixels(packed_, made, all, 12);
    combine_words(how_, reinterpret_cast<const uint8_t*>(source), reinterpret_cast<uint8_t*>(made), all, words_);
    gather_pixels(made, packed_, all, 12);
    copy_bits(to.data, place, packed_, 0, 12 * all, BitOrder::low_first);
}

/// Signed gray samples.
void ArithmeticRun::run_lanes(Line to, const uint8_t* from, int32_t count) noexcept
{
    const LaneForm lanes = lane_form(form_);
    const auto bits = static_cast<uint32_t>(form_.bits);
    const uint64_t place = uint64_t{bits} * static_cast<uint32_t>(to.column);
    const uint64_t length = uint64_t{bits} * static_cast<uint32_t>(count);
    copy_bits(packed_, 0, to.data, place, length, bit_order(form_.bits));
    unpack_lanes(form_, is_signed_, from, count, from_lanes_);
    unpack_lanes(form_, is_signed_, packed_, count, to_lanes_);
    for (int channel = 0; channel < lanes.channels; ++channel) {
        const int64_t most = lanes.most[channel];
        const int64_t least = is_signed_ ? -(most + 1) / 2 : 0;
        for (int32_t i = 0; i < count; ++i) {
            uint32_t& value = to_lanes_[i].value[channel];
            const int64_t result =
                arithmetic(how_, from_lanes_[i].value[channel] + least, value + least, least, most + least);
            value = static_cast<uint32_t>(result - least);
        }
    }
    pack_lanes(form_, is_signed_, to_lanes_, count, packed_);
    copy_bits(to.data, place, packed_, 0, length, bit_order(form_.bits));
}

void ArithmeticRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    const bool by_channels = !by_palette_ && !form_.deep_gray() && form_.bits != 16;
    const int32_t most = by_channels && converter_.moves_bits() ? count : kChunk;
    for (int32_t done = 0; done < count;) {
        const int32_t some = std::min(count - done, most);
        if (pairs_.is_open()) {
            pairs_.run({to.data, to.column + done}, {from.data, from.column + done}, some,
                       [this](const uint8_t* other, uint8_t* colors, int32_t asked) noexcept {
                           combine_channels(how_, other, colors, 4 * static_cast<size_t>(asked), 1, true);
                       });
            done += some;
            continue;
        }
        const uint8_t* const source = source_.take({from.data, from.column + done}, some);
        const Line place{to.data, to.column + done};
        if (by_palette_)
            run_palette(place, source, some);
        else if (by_channels)
            run_channels(place, source, some);
        else if (words_.count != 0)
            run_words(place, source, some);
        else
            run_lanes(place, source, some);
        done += some;
    }
}

} // namespace vk::combine
