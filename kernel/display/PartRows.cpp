#include "kernel/display/PartRows.h"

#include "kernel/format/PackedBits.h"
#include "kernel/format/RowMath.h"
#include "kernel/resize/Stepping.h"
#include "kernel/rows/RowCol.h"

#include <cstring>

namespace vk::display {

namespace {

/// As many pixels begin with a byte at every depth.
constexpr int32_t kByteful = 8;
/// What the packing of bits may write behind a row.
constexpr size_t kSlack = 8;

template <size_t kBytes>
void pick_bytes(const uint8_t* row, const int32_t* places, int32_t count, uint8_t* out) noexcept
{
    for (int32_t i = 0; i < count; ++i, out += kBytes)
        std::memcpy(out, row + static_cast<size_t>(places[i]) * kBytes, kBytes);
}

void pick_bits(const uint8_t* row, int32_t bits, const int32_t* places, int32_t count, uint8_t* out) noexcept
{
    for (int32_t i = 0; i < count; ++i) {
        const auto from = static_cast<uint32_t>(places[i]), to = static_cast<uint32_t>(i);
        insert_bits(out + column_offset(bits, i), bits, to,
                    extract_bits(row + column_offset(bits, places[i]), bits, from));
    }
}

} // namespace

int PartRows::open(int32_t left, int32_t right) noexcept
{
    const int32_t bits = bitmap_.BitsPerPixel;
    first_ = left / kByteful * kByteful;
    bytes_ = static_cast<size_t>(packed_bytes(static_cast<uint32_t>(right - first_), bits));
    return reader_.in_place() || buffer_.allocate(bytes_ + kSlack) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int PartRows::read(int32_t y, const uint8_t** pixels) noexcept
{
    if (reader_.in_place()) {
        const int result = reader_.read(y, 1, pixels);
        *pixels += column_offset(bitmap_.BitsPerPixel, first_);
        return result;
    }
    *pixels = buffer_.data();
    return code_of(get_row_col(bitmap_, buffer_.data(), y, first_, bytes_));
}

int32_t Steps::pixel(int32_t at) const noexcept
{
    const int64_t position = int64_t{first} + at;
    const int64_t from_left = from_end ? source - 1 - resize::stepped(target - 1 - position, source, target)
                                       : resize::stepped(position, source, target);
    return static_cast<int32_t>(left + from_left);
}

int Picker::open(const Steps& steps, int32_t bits, int32_t row_first, int32_t row_end) noexcept
{
    bits_ = bits;
    count_ = steps.count;
    row_first_ = row_first;
    const auto count = static_cast<uint64_t>(count_);
    if (!places_.allocate(count * sizeof(int32_t)) || !picked_.allocate(packed_bytes(count, bits) + kSlack))
        return V_ERROR_NO_MEMORY;
    auto* const places = reinterpret_cast<int32_t*>(places_.data());
    for (int32_t i = 0; i < count_; ++i)
        places[i] = steps.pixel(i) - row_first;
    is_plain_ = steps.is_same() && places[0] == 0;
    // A plan may look at all of the source's pixels, the last one wanted or not.
    const bool has_source = steps.left == row_first && int64_t{steps.left} + steps.source <= row_end;
    has_plan_ = !is_plain_ && !steps.from_end && count_ == steps.target && has_source;
    return has_plan_ ? resize::plan_nearest(plan_, bits, steps.source, steps.target) : V_SUCCESS;
}

const uint8_t* Picker::run(const uint8_t* row) noexcept
{
    if (is_plain_)
        return row;
    if (has_plan_)
        resize::run_nearest(plan_, row, picked_.data());
    else
        pick(row);
    return picked_.data();
}

void Picker::pick(const uint8_t* row) noexcept
{
    uint8_t* const out = picked_.data();
    switch (bits_) {
    case 8:
        return pick_bytes<1>(row, places(), count_, out);
    case 16:
        return pick_bytes<2>(row, places(), count_, out);
    case 24:
        return pick_bytes<3>(row, places(), count_, out);
    case 32:
        return pick_bytes<4>(row, places(), count_, out);
    case 48:
        return pick_bytes<6>(row, places(), count_, out);
    case 64:
        return pick_bytes<8>(row, places(), count_, out);
    default:
        return pick_bits(row, bits_, places(), count_, out);
    }
}

} // namespace vk::display
