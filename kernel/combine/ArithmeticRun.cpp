#include "kernel/combine/ArithmeticRun.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

/// A field of a 16-bit colour.
struct Field {
    uint32_t shift;
    uint32_t most;
};

} // namespace

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

/// The significant bits of a sample are a number, the others stay.
uint32_t ArithmeticRun::combine_sample(uint32_t from, uint32_t to) const noexcept
{
    const GrayRange& gray = form_.gray;
    const int64_t range = int64_t{gray.mask()} + 1;
    const int64_t least = is_signed_ ? -range / 2 : 0;
    const auto value = [&](uint32_t sample) noexcept {
        const int64_t bits = gray.extract(sample);
        return is_signed_ && bits >= range / 2 ? bits - range : bits;
    };
    const int64_t result = arithmetic(how_, value(from), value(to), least, least + range - 1);
    return (to & ~gray.place(gray.mask())) | gray.place(static_cast<uint32_t>(result) & gray.mask());
}

void ArithmeticRun::run_gray(Line to, const uint8_t* from, int32_t count) noexcept
{
    const auto bytes = static_cast<size_t>(form_.bits / 8);
    for (int32_t i = 0; i < count; ++i) {
        const auto column = static_cast<uint32_t>(to.column + i);
        const auto index = static_cast<uint32_t>(i);
        if (!is_whole_bytes(form_.bits)) {
            uint8_t* const place = to.data + column_offset(form_.bits, to.column + i);
            const uint32_t other = extract_bits(from + column_offset(form_.bits, static_cast<int32_t>(index)), form_.bits, index);
            insert_bits(place, form_.bits, column, combine_sample(other, extract_bits(place, form_.bits, column)));
            continue;
        }
        uint32_t s = 0;
        uint32_t d = 0;
        std::memcpy(&s, from + bytes * index, bytes);
        std::memcpy(&d, to.data + bytes * column, bytes);
        d = combine_sample(s, d);
        std::memcpy(to.data + bytes * column, &d, bytes);
    }
}

void ArithmeticRun::run_fields(Line to, const uint8_t* from, int32_t count) noexcept
{
    constexpr Field kFive[] = {{0, 31}, {5, 31}, {10, 31}};
    constexpr Field kSix[] = {{0, 31}, {5, 63}, {11, 31}};
    const auto& fields = form_.order == COLORORDER_RGB565 ? kSix : kFive;
    uint8_t* place = to.data + 2 * static_cast<size_t>(to.column);
    for (int32_t i = 0; i < count; ++i, from += 2, place += 2) {
        uint16_t s = 0;
        uint16_t d = 0;
        std::memcpy(&s, from, sizeof s);
        std::memcpy(&d, place, sizeof d);
        uint32_t result = d;
        for (const Field& field : fields) {
            const int64_t value = arithmetic(how_, s >> field.shift & field.most, d >> field.shift & field.most, 0, field.most);
            result = (result & ~(field.most << field.shift)) | static_cast<uint32_t>(value) << field.shift;
        }
        d = static_cast<uint16_t>(result);
        std::memcpy(place, &d, sizeof d);
    }
}

void ArithmeticRun::run(Line to, Line from, Line, int32_t count) noexcept
{
    for (int32_t done = 0; done < count;) {
        const int32_t some = std::min(count - done, kChunk);
        const uint8_t* const source = source_.take({from.data, from.column + done}, some);
        const Line place{to.data, to.column + done};
        if (by_palette_)
            run_palette(place, source, some);
        else if (form_.deep_gray())
            run_gray(place, source, some);
        else if (form_.bits == 16)
            run_fields(place, source, some);
        else
            run_channels(place, source, some);
        done += some;
    }
}

} // namespace vk::combine
