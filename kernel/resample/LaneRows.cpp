#include "kernel/resample/LaneRows.h"

#include <algorithm>
#include <cstring>

namespace vk::resample {

namespace {

template <class Lane> bool has_full_alpha(const uint8_t* lanes, size_t width, Lane most) noexcept
{
    Lane all = most;
    for (size_t i = 0; i < width; ++i) {
        Lane alpha;
        std::memcpy(&alpha, lanes + (4 * i + 3) * sizeof alpha, sizeof alpha);
        all = static_cast<Lane>(all & alpha);
    }
    return all == most;
}

} // namespace

LaneRows::LaneRows(BITMAPHANDLE& bitmap, const Form& form, const RowRing* ring) noexcept
    : bitmap_(bitmap), form_(form), ring_(ring), reader_(bitmap)
{}

int LaneRows::read(int32_t y, const uint8_t** row) noexcept
{
    if (!ring_)
        return reader_.read(y, 1, row);
    *row = ring_->row(y);
    return V_SUCCESS;
}

int LaneRows::open(int32_t slots) noexcept
{
    const auto width = static_cast<uint32_t>(bitmap_.Width);
    if (form_.alpha && !alpha_.allocate(static_cast<uint32_t>(bitmap_.Height)))
        return V_ERROR_NO_MEMORY;
    const uint8_t* first = nullptr;
    direct_ = form_.lanes == Lanes::stored && (ring_ || reader_.in_place()) && read(0, &first) == V_SUCCESS &&
              is_aligned(first, form_.lane_bytes);
    if (direct_)
        return V_SUCCESS;
    slots_ = slots;
    pitch_ = (form_.pixel_bytes() * width + 15) / 16 * 16;
    const auto count = static_cast<uint64_t>(slots);
    const bool has_room = lanes_.allocate(pitch_ * count) && held_.allocate(count * sizeof(int32_t)) &&
                          (form_.lanes == Lanes::stored || room_.allocate(uint64_t{width} * sizeof(uint32_t)));
    if (!has_room)
        return V_ERROR_NO_MEMORY;
    return ring_ ? V_SUCCESS : reader_.reserve(1);
}

int LaneRows::row(int32_t y, const uint8_t** lanes) noexcept
{
    if (direct_)
        return read(y, lanes);
    const int32_t slot = y % slots_;
    auto* const held = reinterpret_cast<int32_t*>(held_.data()) + slot;
    uint8_t* const out = lanes_.data() + static_cast<size_t>(slot) * pitch_;
    *lanes = out;
    if (*held == y + 1)
        return V_SUCCESS;
    *held = 0;
    const uint8_t* row = nullptr;
    const int result = read(y, &row);
    if (result != V_SUCCESS)
        return result;
    const auto width = static_cast<size_t>(bitmap_.Width);
    if (form_.lanes == Lanes::stored)
        std::memcpy(out, row, form_.pixel_bytes() * width);
    else
        unpack_row(form_, row, out, width, reinterpret_cast<uint32_t*>(room_.data()));
    *held = y + 1;
    return V_SUCCESS;
}

bool LaneRows::see_alpha(const uint8_t* lanes) const noexcept
{
    const auto width = static_cast<size_t>(bitmap_.Width);
    return form_.lane_bytes == 1 ? has_full_alpha<uint8_t>(lanes, width, 0xFF)
                                 : has_full_alpha<uint16_t>(lanes, width, 0xFFFF);
}

int LaneRows::is_opaque(int32_t y, bool* opaque) noexcept
{
    enum Seen : uint8_t { unseen, full, partial };
    uint8_t* const seen = alpha_.data() + y;
    if (*seen == unseen) {
        const uint8_t* lanes = nullptr;
        const int result = row(y, &lanes);
        if (result != V_SUCCESS)
            return result;
        *seen = see_alpha(lanes) ? full : partial;
    }
    *opaque = *seen == full;
    return V_SUCCESS;
}

} // namespace vk::resample
