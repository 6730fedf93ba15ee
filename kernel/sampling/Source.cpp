#include "kernel/sampling/Source.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowCol.h"

#include <algorithm>

namespace vk::sampling {

Loader::Loader(BITMAPHANDLE& bitmap, const Cells* cells) noexcept : bitmap_(bitmap), cells_(cells)
{
    RowReader reader(bitmap);
    is_memory_ = reader.in_place();
    memory_ = {nullptr, bitmap.BytesPerLine, {0, 0, bitmap.Width, bitmap.Height}, 0};
    if (is_memory_)
        static_cast<void>(reader.read(0, 1, &memory_.data)); // where it stands
}

size_t Loader::row_bytes(int64_t pixels) const noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits()));
}

int Loader::load_row(const Box& box, int32_t row, uint8_t* to) noexcept
{
    const int32_t bits = bitmap_.BitsPerPixel;
    const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint64_t>(box.width()), bits));
    const bool is_cells = cells_ && !cells_->is_direct();
    const uint8_t* packed = nullptr;
    if (is_memory_) {
        const auto aside = static_cast<uint64_t>(box.left - memory_.held.left);
        packed = memory_.data + static_cast<size_t>(row - memory_.held.top) * memory_.stride +
                 static_cast<size_t>(packed_bytes(aside, bits));
    } else {
        if (is_cells && !packed_.data() && !packed_.allocate(bitmap_.BytesPerLine))
            return V_ERROR_NO_MEMORY;
        uint8_t* const room = is_cells ? packed_.data() : to;
        const int result = code_of(get_row_col(bitmap_, room, row, box.left, bytes));
        if (result != V_SUCCESS || !is_cells)
            return result;
        packed = room;
    }
    if (!is_cells) {
        std::copy_n(packed, bytes, to);
        return V_SUCCESS;
    }
    for (int64_t at = 0; at < box.width(); at += Cells::kMostPixels) {
        const auto count = static_cast<size_t>(std::min<int64_t>(Cells::kMostPixels, box.width() - at));
        cells_->unpack(packed + packed_bytes(static_cast<uint64_t>(at), bits), to, count);
        to += count * cells_->size();
    }
    return V_SUCCESS;
}

int Loader::load(const Box& box, uint8_t* to) noexcept
{
    const size_t stride = row_bytes(box.width());
    int result = V_SUCCESS;
    for (int32_t row = box.top; row < box.bottom && result == V_SUCCESS; ++row, to += stride)
        result = load_row(box, row, to);
    return result;
}

int Fetcher::open() noexcept
{
    block_bytes_ = loader_.row_bytes(kSide) * kSide;
    return buffer_.data() || buffer_.allocate(4 * block_bytes_ + kSlack) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

const Pixels* Fetcher::block(int32_t x, int32_t y) noexcept
{
    const int32_t left = x / kSide * kSide;
    const int32_t top = y / kSide * kSide;
    const auto slot = static_cast<size_t>(x / kSide % 2 + y / kSide % 2 * 2);
    Pixels& held = blocks_[slot];
    if (held.data && held.held.left == left && held.held.top == top)
        return &held;
    const Box box{left, top, left + std::min(kSide, loader_.width() - left),
                  top + std::min(kSide, loader_.height() - top)};
    uint8_t* const data = buffer_.data() + slot * block_bytes_;
    held.data = nullptr;
    const int result = loader_.load(box, data);
    if (result != V_SUCCESS) {
        result_ = result_ == V_SUCCESS ? result : result_;
        return nullptr;
    }
    held = {data, loader_.row_bytes(box.width()), box, kSlack};
    return &held;
}

void Parts::open(const Box& looked, uint8_t* room, uint64_t bytes) noexcept
{
    constexpr int64_t kRows = 32; // of whole rows as many fit as do; of a part's no fewer than these
    looked_ = looked;
    room_ = room;
    int64_t width = looked.width();
    const auto rows_of = [&](int64_t held) noexcept {
        return static_cast<int64_t>(bytes / std::max<uint64_t>(loader_.row_bytes(held), 1));
    };
    if (rows_of(width) <= kRows)
        width = std::max<int64_t>(static_cast<int64_t>(bytes) / (kRows + 1) * 8 / loader_.bits() / kAligned - 1, 1) *
                kAligned;
    width_ = static_cast<int32_t>(std::min(width, looked.width()));
    const int64_t rows = rows_of(int64_t{width_} + (width_ < looked.width() ? kAligned : 0)) - 1;
    height_ = static_cast<int32_t>(std::clamp<int64_t>(rows, 1, looked.height()));
}

bool Parts::first() noexcept
{
    part_ = {looked_.left, looked_.top, looked_.left + width_, looked_.top + height_};
    pixels_ = {};
    return !looked_.empty();
}

bool Parts::next() noexcept
{
    pixels_ = {};
    if (part_.right < looked_.right) {
        part_.left = part_.right;
    } else {
        if (part_.bottom >= looked_.bottom)
            return false;
        part_.left = looked_.left;
        part_.top = part_.bottom;
    }
    part_.right = part_.left + std::min(width_, looked_.right - part_.left);
    part_.bottom = part_.top + std::min(height_, looked_.bottom - part_.top);
    return true;
}

bool Parts::has(int64_t x, int64_t y) const noexcept
{
    const int64_t column = std::clamp<int64_t>(x, looked_.left, looked_.right - 1);
    const int64_t row = std::clamp<int64_t>(y, looked_.top, looked_.bottom - 1);
    return column >= part_.left && column < part_.right && row >= part_.top && row < part_.bottom;
}

const Pixels* Parts::pixels() noexcept
{
    if (pixels_.data || result_ != V_SUCCESS)
        return result_ == V_SUCCESS ? &pixels_ : nullptr;
    const Box box{part_.left, part_.top, std::min(part_.right, looked_.right - 1) + 1,
                  std::min(part_.bottom, looked_.bottom - 1) + 1};
    result_ = loader_.load(box, room_);
    if (result_ == V_SUCCESS)
        pixels_ = {room_, loader_.row_bytes(box.width()), box, kSlack};
    return pixels_.data ? &pixels_ : nullptr;
}

} // namespace vk::sampling
