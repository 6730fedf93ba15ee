#include "kernel/combine/Undo.h"

#include "kernel/format/RowMath.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Storage.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

int Undo::open(const Area& area) noexcept
{
    const bool is_whole = has_whole_rows(bitmap_);
    area_ = is_whole ? Area{0, area.top, bitmap_.Width, area.bottom}
                     : Area{area.left / 8 * 8, area.top, area.right, area.bottom};
    bytes_ = static_cast<size_t>(packed_bytes(static_cast<uint32_t>(area_.width()), bitmap_.BitsPerPixel));
    first_ = end_ = area_.top;
    if (!line_.allocate(bytes_))
        return V_ERROR_NO_MEMORY;
    return kept_.make(area_.width(), area_.height(), bitmap_.BitsPerPixel, bitmap_);
}

int Undo::keep(int32_t row, int32_t count, const Rows& rows) noexcept
{
    if (!kept_.is_made())
        return V_SUCCESS;
    const auto before = static_cast<uint32_t>(area_.left - rows.left);
    const auto skipped = static_cast<size_t>(packed_bytes(before, bitmap_.BitsPerPixel));
    int result = V_SUCCESS;
    for (int32_t i = 0; i < count && result == V_SUCCESS; ++i)
        result = code_of(put_row(kept_.record(), rows.row(i) + skipped, row - area_.top + i, bytes_));
    if (result != V_SUCCESS)
        return result;
    const bool is_first = first_ == end_;
    is_upward_ = !is_first && row < first_;
    first_ = is_first ? row : std::min(first_, row);
    end_ = std::max(is_first ? row : end_, row + count);
    return V_SUCCESS;
}

/// A run-length row is cleared first, which never fails and frees the room of what was in its place.
void Undo::put_back_row(int32_t row) noexcept
{
    if (has_whole_rows(bitmap_)) {
        std::memset(line_.data(), 0, bytes_);
        put_row_col(bitmap_, line_.data(), row, area_.left, bytes_);
    }
    if (get_row(kept_.record(), line_.data(), row - area_.top, bytes_) == static_cast<intptr_t>(bytes_))
        put_row_col(bitmap_, line_.data(), row, area_.left, bytes_);
}

void Undo::put_back() noexcept
{
    for (int32_t i = 0; i < end_ - first_; ++i)
        put_back_row(is_upward_ ? first_ + i : end_ - 1 - i);
    first_ = end_;
}

} // namespace vk::combine
