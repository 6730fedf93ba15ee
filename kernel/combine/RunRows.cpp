#include "kernel/combine/RunRows.h"

#include "kernel/combine/Inside.h"
#include "kernel/rows/RowCol.h"
#include "kernel/runs/RunLength.h"
#include "kernel/runs/RunLengthWords.h"
#include "kernel/storage/Compressed.h"
#include "kernel/storage/Storage.h"
#include "kernel/system/Checks.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

namespace vk::combine {

namespace {

/// The runs of a row from its start on; behind the last one everything is clear.
class RunReader {
public:
    explicit RunReader(const void* row) noexcept
    {
        if (row) {
            words_ = runlength::words_of(row);
            left_ = runlength::word_count(row);
        }
        next();
    }

    bool is_set() const noexcept { return is_set_; }
    uint64_t length() const noexcept { return length_; }

    void skip(uint64_t count) noexcept
    {
        while (count != 0) {
            const uint64_t some = std::min(count, length_);
            take(some);
            count -= some;
        }
    }
    void take(uint64_t count) noexcept
    {
        length_ -= count;
        while (length_ == 0)
            next();
    }

private:
    void next() noexcept
    {
        if (left_ == 0) {
            is_set_ = false;
            length_ = UINT64_MAX;
            return;
        }
        is_set_ = is_next_set_;
        is_next_set_ = !is_next_set_;
        length_ = runlength::load_run(words_, 0);
        words_ += sizeof(uint16_t);
        --left_;
    }

    const uint8_t* words_ = nullptr;
    uint32_t left_ = 0;
    uint64_t length_ = 0;
    bool is_set_ = false;
    bool is_next_set_ = false;
};

/// Gathers runs into a row; equal ones that follow each other are one.
class RunWriter {
public:
    explicit RunWriter(void* row) noexcept : row_(row) {}

    void add(bool is_set, uint64_t count) noexcept
    {
        if (count == 0)
            return;
        if (is_set != is_set_) {
            close(length_);
            is_set_ = is_set;
            length_ = 0;
        }
        length_ += count;
        constexpr uint64_t kLongestWhole = runlength::kLongest / 8 * 8;
        while (length_ > runlength::kLongest) { // continued behind a run of nothing
            close(kLongestWhole);
            close(0);
            length_ -= kLongestWhole;
        }
    }
    size_t finish() noexcept
    {
        close(length_);
        return runlength::set_word_count(row_, words_);
    }

private:
    void close(uint64_t count) noexcept
    {
        runlength::store_run(runlength::words_of(row_), words_++, static_cast<uint32_t>(count));
    }

    void* row_;
    uint32_t words_ = 0;
    uint64_t length_ = 0;
    bool is_set_ = false;
};

void copy_runs(RunReader& from, RunWriter& to, uint64_t count) noexcept
{
    while (count != 0) {
        const uint64_t some = std::min(count, from.length());
        to.add(from.is_set(), some);
        from.take(some);
        count -= some;
    }
}

bool is_watched(const BITMAPHANDLE& bitmap) noexcept
{
    const BITMAPDATACALLBACKS* const calls = data_callbacks(bitmap);
    return calls && (calls->GetBitmapRowColCallback || calls->PutBitmapRowColCallback);
}

/// Rows that were replaced, as they were stored, to be put back from the last on.
class ReplacedRows {
public:
    ReplacedRows() noexcept = default;
    ReplacedRows(const ReplacedRows&) = delete;
    ReplacedRows& operator=(const ReplacedRows&) = delete;
    ~ReplacedRows() { platform::heap_free(bytes_); }

    /// Keeps a row, null for a clear one; false without memory.
    bool keep(int32_t row, const void* stored) noexcept
    {
        const size_t size = stored ? runlength::row_bytes(runlength::word_count(stored)) : 0;
        const Trailer trailer{row, static_cast<uint32_t>(size)};
        if (!make_room(size + sizeof trailer))
            return false;
        if (stored)
            std::memcpy(bytes_ + used_, stored, size);
        std::memcpy(bytes_ + used_ + size, &trailer, sizeof trailer);
        used_ += size + sizeof trailer;
        return true;
    }

    /// What comes next is cleared first, which never fails, so that there is the room that its old row had.
    void put_back(BITMAPHANDLE& bitmap) noexcept
    {
        while (used_ != 0) {
            Trailer trailer{};
            used_ -= sizeof trailer;
            std::memcpy(&trailer, bytes_ + used_, sizeof trailer);
            used_ -= trailer.bytes;
            uint8_t clear[runlength::row_bytes(0)] = {};
            compressed_put_row(bitmap, trailer.row, clear);
            if (trailer.bytes != 0)
                compressed_put_row(bitmap, trailer.row, bytes_ + used_);
        }
        recount_size(bitmap);
    }

private:
    struct Trailer {
        int32_t row;
        uint32_t bytes; ///< in front of it
    };

    bool make_room(size_t more) noexcept
    {
        if (more <= capacity_ - used_)
            return true;
        const size_t wanted = used_ + std::max(more, used_ / 2 + 4096);
        void* const grown = bytes_ ? platform::heap_realloc(bytes_, wanted) : platform::heap_alloc(wanted);
        if (!grown)
            return false;
        bytes_ = static_cast<uint8_t*>(grown);
        capacity_ = wanted;
        return true;
    }

    uint8_t* bytes_ = nullptr;
    size_t used_ = 0;
    size_t capacity_ = 0;
};

class RunRowWalk {
public:
    RunRowWalk(BITMAPHANDLE& to, const Area& area, const Source& from, const Logic& logic) noexcept
        : to_(to), area_(area), from_(from), logic_(logic), width_(static_cast<uint32_t>(to.Width)),
          is_upward_(from.bitmap == &to && from.area.top < area.top)
    {}

    int run(Progress& progress) noexcept
    {
        // A row is made from what the one before gave, run by run of the region.
        const size_t room = runlength::max_row_bytes(width_);
        int result = made_.allocate(room) && next_.allocate(room) ? V_SUCCESS : V_ERROR_NO_MEMORY;
        for (int32_t done = 0; done < area_.height() && result == V_SUCCESS; ++done) {
            result = change(is_upward_ ? area_.height() - 1 - done : done);
            if (result == V_SUCCESS)
                result = progress.update(done + 1);
        }
        if (result != V_SUCCESS)
            replaced_.put_back(to_);
        recount_size(to_);
        return result;
    }

private:
    int change(int32_t index) noexcept
    {
        const int32_t row = area_.top + index;
        const int32_t from_row = from_.is_reversed ? from_.area.bottom - 1 - index : from_.area.top + index;
        const void* const old = compressed_row(to_, row);
        const void* const other = compressed_row(*from_.bitmap, from_row);
        const void* now = old;
        inside_runs(to_, row, area_.left, area_.right, [&](int32_t first, int32_t end) noexcept {
            uint8_t* const place = now == made_.data() ? next_.data() : made_.data();
            combine_run_row(place, now, width_, static_cast<uint32_t>(first), other,
                            static_cast<uint32_t>(from_.area.left + first - area_.left),
                            static_cast<uint32_t>(end - first), logic_);
            now = place;
        });
        if (now == old)
            return V_SUCCESS;
        if (!replaced_.keep(row, old))
            return V_ERROR_NO_MEMORY;
        return compressed_put_row(to_, row, now);
    }

    BITMAPHANDLE& to_;
    const Area area_;
    const Source& from_;
    const Logic& logic_;
    const uint32_t width_;
    const bool is_upward_;
    RowBuffer made_;
    RowBuffer next_;
    ReplacedRows replaced_;
};

} // namespace

size_t combine_run_row(void* made, const void* row, uint32_t width, uint32_t column, const void* from,
                       uint32_t from_column, uint32_t count, const Logic& logic) noexcept
{
    RunReader old(row);
    RunReader other(from);
    RunWriter writer(made);
    copy_runs(old, writer, column);
    other.skip(from_column);
    for (uint64_t left = count; left != 0;) {
        const uint64_t some = std::min({left, old.length(), other.length()});
        const uint64_t result = logic(other.is_set() ? ~uint64_t{0} : 0, old.is_set() ? ~uint64_t{0} : 0);
        writer.add(result != 0, some);
        old.take(some);
        other.take(some);
        left -= some;
    }
    copy_runs(old, writer, uint64_t{width} - column - count);
    return writer.finish();
}

bool have_run_rows(BITMAPHANDLE& to, BITMAPHANDLE& from) noexcept
{
    return has_run_rows(to) && has_run_rows(from) && !is_watched(to) && !is_watched(from) &&
           compressed_has_row(to, to.Height - 1) && compressed_has_row(from, from.Height - 1);
}

int walk_run_rows(BITMAPHANDLE& to, const Area& area, const Source& from, const Logic& logic,
                  Progress& progress) noexcept
{
    return RunRowWalk(to, area, from, logic).run(progress);
}

} // namespace vk::combine
