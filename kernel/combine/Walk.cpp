#include "kernel/combine/Walk.h"

#include "kernel/combine/Undo.h"
#include "kernel/format/RowMath.h"
#include "kernel/rows/RegionRows.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "kernel/system/ThreadState.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace vk::combine {

namespace {

/// Rows [first, first + count) of an area, counted from its top.
struct Batch {
    int32_t first;
    int32_t count;
};

/// The rows of a source that go with a batch.
class SourceRows {
public:
    explicit SourceRows(const Source& source) noexcept : source_(source)
    {
        if (source.bitmap)
            rows_.emplace(*source.bitmap, source.area, AreaRows::Use::read);
    }

    bool in_place() const noexcept { return !rows_ || rows_->in_place(); }
    int reserve(int32_t count) noexcept { return rows_ ? rows_->reserve(count) : V_SUCCESS; }

    int load(Batch batch) noexcept
    {
        if (!rows_)
            return V_SUCCESS;
        const int32_t before = source_.is_reversed ? source_.area.height() - batch.first - batch.count : batch.first;
        count_ = batch.count;
        return rows_->load(source_.area.top + before, batch.count, loaded_);
    }

    /// The row that lies on row `index` of the batch.
    Line line(int32_t index) const noexcept
    {
        if (!rows_)
            return {};
        return {loaded_.row(source_.is_reversed ? count_ - 1 - index : index), source_.area.left - loaded_.left};
    }

private:
    const Source& source_;
    std::optional<AreaRows> rows_;
    Rows loaded_;
    int32_t count_ = 0;
};

class Walk {
public:
    Walk(BITMAPHANDLE& to, const Area& area, const Source& from, const Source& mask, RunOperation& operation,
         OnFailure on_failure) noexcept
        : to_(to), area_(area), from_(from), target_(to, area, AreaRows::Use::change), source_(from), mask_(mask),
          undo_(to), inside_(to), operation_(operation), is_put_back_(on_failure == OnFailure::put_back)
    {
        const bool is_own = from.bitmap == &to && share_pixels(area, from.area);
        is_upward_ = is_own && from.area.top < area.top;
        is_sideways_ = is_own && from.area.top == area.top;
    }

    int run(Progress& progress) noexcept
    {
        int result = open();
        for (int32_t done = 0; done < area_.height() && result == V_SUCCESS;) {
            const int32_t count = std::min(batch_, area_.height() - done);
            result = change({is_upward_ ? area_.height() - done - count : done, count});
            done += count;
            if (result == V_SUCCESS)
                result = progress.update(done);
        }
        if (result != V_SUCCESS)
            undo_.put_back();
        return result;
    }

private:
    int open() noexcept
    {
        const bool in_memory = target_.in_place() && source_.in_place() && mask_.in_place();
        const bool may_fail = !in_memory || thread_state().status_callback != nullptr;
        batch_ = has_whole_rows(to_) ? 1 : batch_rows(to_, area_, in_memory);
        if (!source_.in_place())
            batch_ = std::min(batch_, batch_rows(*from_.bitmap, from_.area, false));
        int result = is_put_back_ && may_fail ? undo_.open(area_) : V_SUCCESS;
        if (result == V_SUCCESS)
            result = target_.reserve(batch_);
        if (result == V_SUCCESS)
            result = source_.reserve(batch_);
        if (result == V_SUCCESS)
            result = mask_.reserve(batch_);
        if (result == V_SUCCESS && is_sideways_ && !copy_.allocate(from_bytes()))
            result = V_ERROR_NO_MEMORY;
        return result;
    }

    size_t from_bytes() const noexcept
    {
        const auto pixels = static_cast<uint32_t>(from_.area.width() + from_.area.left % 8);
        return static_cast<size_t>(packed_bytes(pixels, to_.BitsPerPixel));
    }

    int change(Batch batch) noexcept
    {
        const int32_t row = area_.top + batch.first;
        Rows rows;
        int result = source_.load(batch);
        if (result == V_SUCCESS)
            result = mask_.load(batch);
        if (result == V_SUCCESS)
            result = target_.load(row, batch.count, rows);
        if (result == V_SUCCESS)
            result = undo_.keep(row, batch.count, rows);
        if (result != V_SUCCESS)
            return result;
        for (int32_t i = 0; i < batch.count && result == V_SUCCESS; ++i) {
            const int32_t index = is_upward_ ? batch.count - 1 - i : i;
            result = operation_.begin_row(row + index, rows.left);
            if (result == V_SUCCESS)
                change_row(row + index, {rows.row(index), area_.left - rows.left}, source_line(index),
                           mask_.line(index));
        }
        return result == V_SUCCESS ? target_.store(row, batch.count) : result;
    }

    /// A row that is its own source is read whole before it changes.
    Line source_line(int32_t index) noexcept
    {
        const Line line = source_.line(index);
        if (!is_sideways_)
            return line;
        const auto skipped =
            static_cast<size_t>(packed_bytes(static_cast<uint32_t>(line.column / 8 * 8), to_.BitsPerPixel));
        std::memcpy(copy_.data(), line.data + skipped, from_bytes());
        return {copy_.data(), line.column % 8};
    }

    void change_row(int32_t row, Line to, Line from, Line mask) noexcept
    {
        inside_.each(row, area_.left, area_.right, [&](int32_t first, int32_t end) noexcept {
            const int32_t skipped = first - area_.left;
            operation_.run({to.data, to.column + skipped}, {from.data, from.column + skipped},
                           {mask.data, mask.column + skipped}, end - first);
        });
    }

    BITMAPHANDLE& to_;
    const Area area_;
    const Source& from_;
    AreaRows target_;
    SourceRows source_;
    SourceRows mask_;
    Undo undo_;
    const RegionRows inside_; // asked for once: finding out whose a region is takes longer than filling a row
    RunOperation& operation_;
    const bool is_put_back_;
    bool is_upward_ = false;   ///< from the last row up, because the source lies above
    bool is_sideways_ = false; ///< the source lies in the same rows
    int32_t batch_ = 1;
    RowBuffer copy_;
};

/// Addresses of all rows; empty when they are not memory.
struct Addresses {
    uintptr_t begin = 0;
    uintptr_t end = 0;
};

Addresses addresses_of(BITMAPHANDLE& bitmap) noexcept
{
    RowReader reader(bitmap);
    const uint8_t* rows = nullptr;
    if (!reader.in_place() || reader.read(0, 0, &rows) != V_SUCCESS)
        return {};
    const auto begin = reinterpret_cast<uintptr_t>(rows);
    return {begin, begin + static_cast<uintptr_t>(plain_size(bitmap))};
}

} // namespace

bool share_storage(BITMAPHANDLE& a, BITMAPHANDLE& b) noexcept
{
    if (&a == &b || (a.Handle && a.Handle == b.Handle))
        return true;
    const Addresses of_a = addresses_of(a);
    const Addresses of_b = addresses_of(b);
    return std::max(of_a.begin, of_b.begin) < std::min(of_a.end, of_b.end);
}

int walk(BITMAPHANDLE& to, const Area& area, const Source& from, const Source& mask, RunOperation& operation,
         Progress& progress, OnFailure on_failure) noexcept
{
    return Walk(to, area, from, mask, operation, on_failure).run(progress);
}

} // namespace vk::combine
