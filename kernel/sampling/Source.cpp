#include "kernel/sampling/Source.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowCol.h"

#include <algorithm>

namespace vk::sampling {

Loader::Loader(BITMAPHANDLE& bitmap, const Cells* cells) noexcept : bitmap_(bitmap), cells_(cells), reader_(bitmap) {}

int Loader::whole(Pixels& pixels) noexcept
{
    pixels = {nullptr, bitmap_.BytesPerLine, {0, 0, bitmap_.Width, bitmap_.Height}, 0};
    return reader_.read(0, 1, &pixels.data);
}

size_t Loader::row_bytes(int64_t pixels) const noexcept
{
    return static_cast<size_t>(packed_bytes(static_cast<uint64_t>(pixels), bits()));
}

int Loader::load_row(const Box& box, int32_t row, uint8_t* to) noexcept
{
    const int32_t bits = bitmap_.BitsPerPixel;
    const auto bytes = static_cast<size_t>(packed_bytes(static_cast<uint64_t>(box.width()), bits));
    const auto offset = static_cast<size_t>(packed_bytes(static_cast<uint64_t>(box.left), bits));
    const bool is_cells = cells_ && !cells_->is_direct();
    const uint8_t* packed = nullptr;
    if (is_memory()) {
        const int result = reader_.read(row, 1, &packed);
        if (result != V_SUCCESS)
            return result;
        packed += offset;
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

} // namespace vk::sampling
