#include "kernel/combine/ArithmeticRun.h"

#include <algorithm>

namespace vk::combine {

int ArithmeticRun::open(const BITMAPHANDLE& to, const BITMAPHANDLE& from, uint64_t pixels) noexcept
{
    form_ = form_of(to);
    is_signed_ = form_.deep_gray() && to.Flags & BITMAPFLAG_SIGNED;
    // Gray levels are their own channel, and so are the indices of a ramp under a source that is gray too.
    const bool is_ramp = same_form(form_, gray_form());
    by_palette_ = form_.indexed() && !form_.gray_levels() && !(is_ramp && same_form(form_of(from), form_));
    if (!by_palette_)
        return converter_.open(from, form_, pixels);
    const int result = converter_.open(from, color_form(), pixels);
    return result == V_SUCCESS ? colors_.open(to, pixels) : result;
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

/// Gray samples, of which only the significant bits are a number, and colours in 16 bits.
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
        const uint8_t* const source = source_.take({from.data, from.column + done}, some);
        const Line place{to.data, to.column + done};
        if (by_palette_)
            run_palette(place, source, some);
        else if (by_channels)
            run_channels(place, source, some);
        else
            run_lanes(place, source, some);
        done += some;
    }
}

} // namespace vk::combine
