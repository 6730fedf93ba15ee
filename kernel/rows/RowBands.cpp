// Bands that are moved lie in slots, which the calling thread fills ahead and empties in order; so there are more of
// them than threads. A slot says itself when its band is done.
#include "kernel/rows/RowBands.h"

#include "kernel/threading/Pause.h"

#include <algorithm>

namespace vk {

class RowRelay {
public:
    RowRelay(const RowPass& pass, RowWork work, void* context) noexcept
        : pass_(pass), work_(work), context_(context), reader_(pass.source)
    {}

    int run(Progress& progress) noexcept
    {
        const int result = open();
        auto work = [this](Bands& bands) noexcept {
            RowBands rows(*this, bands);
            return work_(context_, rows);
        };
        return result == V_SUCCESS ? run_bands(pass_.plan, progress, work) : result;
    }

    bool take(Bands& bands, RowSet& set) noexcept
    {
        Band band{};
        if (!bands.take(band)) {
            if (is_moved_ && bands.is_caller())
                write_up_to(bands, batches_);
            return false;
        }
        const int64_t number = band.row / pass_.plan.rows;
        if (is_moved_ && !(bands.is_caller() ? bring(bands, number) : wait_for(bands, number)))
            return false;
        set = {from(number), to(number), pass_.first + band.row, band.rows};
        return true;
    }

    void done(Bands& bands, const RowSet& set, int result) noexcept
    {
        const int32_t row = set.row - pass_.first;
        if (!is_moved_ || result != V_SUCCESS)
            return bands.done({row, set.count}, result);
        const int64_t number = row / pass_.plan.rows;
        slots_[number % count_].store(number + 1, std::memory_order_release);
        if (bands.is_caller())
            write_done(bands);
    }

private:
    static constexpr int64_t kMostSlots = 64;

    int open() noexcept
    {
        const BandPlan& plan = pass_.plan;
        is_moved_ = !is_in_memory(pass_.source, pass_.made);
        batches_ = (int64_t{plan.height} + plan.rows - 1) / plan.rows;
        count_ = plan.threads == 1 ? 1 : std::min<int64_t>(2 * int64_t{plan.threads} + 1, batches_);
        if (count_ > kMostSlots) {
            count_ = kMostSlots;
            pass_.plan.threads = kMostSlots / 2;
        }
        int result =
            reader_.in_place() ? V_SUCCESS : from_.allocate_for(pass_.source, slot_bytes(pass_.source, count_));
        if (result == V_SUCCESS && pass_.made && !RowWriter(*pass_.made).in_place())
            result = to_.allocate_for(*pass_.made, slot_bytes(*pass_.made, count_));
        return result;
    }

    uint64_t slot_bytes(const BITMAPHANDLE& bitmap, int64_t slots) const noexcept
    {
        return uint64_t{bitmap.BytesPerLine} * static_cast<uint32_t>(pass_.plan.rows) * static_cast<uint64_t>(slots);
    }
    int32_t first_row(int64_t number) const noexcept
    {
        return pass_.first + static_cast<int32_t>(number * pass_.plan.rows);
    }
    int32_t rows_of(int64_t number) const noexcept
    {
        return std::min(pass_.plan.rows, pass_.first + pass_.plan.height - first_row(number));
    }

    const uint8_t* from(int64_t number) noexcept
    {
        if (!reader_.in_place())
            return from_.data() + slot_bytes(pass_.source, number % count_);
        const uint8_t* rows = nullptr;
        RowReader reader(pass_.source);
        static_cast<void>(reader.read(first_row(number), rows_of(number), &rows)); // where they stand
        return rows;
    }
    uint8_t* to(int64_t number) const noexcept
    {
        if (!pass_.made)
            return nullptr;
        return to_.data() ? to_.data() + slot_bytes(*pass_.made, number % count_)
                          : RowWriter(*pass_.made).place(first_row(number));
    }

    /// Reads as far ahead as there is room. False when that fails.
    bool read_ahead(Bands& bands) noexcept
    {
        int64_t read = read_.load(std::memory_order_relaxed);
        for (; read < std::min(batches_, written_ + count_); ++read) {
            const int result = reader_.in_place()
                                   ? V_SUCCESS
                                   : get_rows(pass_.source, from_.data() + slot_bytes(pass_.source, read % count_),
                                              first_row(read), rows_of(read));
            if (result != V_SUCCESS) {
                bands.done({}, result);
                return false;
            }
            read_.store(read + 1, std::memory_order_release);
        }
        return true;
    }

    bool is_done(int64_t number) const noexcept
    {
        return slots_[number % count_].load(std::memory_order_acquire) == number + 1;
    }

    /// Writes what is done and next.
    void write_done(Bands& bands) noexcept
    {
        for (; written_ < batches_ && is_done(written_) && !bands.has_stopped(); ++written_) {
            const int32_t rows = rows_of(written_);
            const int result = to_.data() ? put_rows(*pass_.made, to(written_), first_row(written_), rows) : V_SUCCESS;
            bands.done({first_row(written_) - pass_.first, rows}, result);
        }
    }

    /// Writes so many bands and reads ahead meanwhile. False when the operation is to stop.
    bool write_up_to(Bands& bands, int64_t number) noexcept
    {
        Pause pause;
        for (;;) {
            write_done(bands);
            if (bands.has_stopped() || !read_ahead(bands))
                return false;
            if (written_ >= number)
                return true;
            pause.wait();
        }
    }

    /// Has a band read that the calling thread has taken: as soon as there is room for it.
    bool bring(Bands& bands, int64_t number) noexcept { return write_up_to(bands, number - count_ + 1); }

    bool wait_for(const Bands& bands, int64_t number) const noexcept
    {
        for (Pause pause; read_.load(std::memory_order_acquire) <= number; pause.wait())
            if (bands.has_stopped()) // others may wait for this band by now, if it has been read
                return read_.load(std::memory_order_acquire) > number;
        return true;
    }

    RowPass pass_;
    const RowWork work_;
    void* const context_;
    RowReader reader_;
    bool is_moved_ = false;
    int64_t batches_ = 0;
    int64_t count_ = 1;                           ///< slots
    RowBuffer from_;                              ///< of rows that are read
    RowBuffer to_;                                ///< of rows that will be written
    std::atomic<int64_t> read_{0};                ///< bands read
    int64_t written_ = 0;                         ///< bands written, by the calling thread
    std::atomic<int64_t> slots_[kMostSlots] = {}; ///< one more than the number of the band that was done there last
};

bool RowBands::take(RowSet& set) noexcept
{
    return relay_.take(bands_, set);
}

void RowBands::done(const RowSet& set, int result) noexcept
{
    relay_.done(bands_, set, result);
}

bool is_in_memory(BITMAPHANDLE& source, BITMAPHANDLE* made) noexcept
{
    return RowReader(source).in_place() && (!made || RowWriter(*made).in_place());
}

BandPlan plan_rows(BITMAPHANDLE& source, BITMAPHANDLE* made, uint32_t threads, int32_t multiple) noexcept
{
    const bool is_memory = is_in_memory(source, made);
    BandPlan plan = plan_bands(source.Height, multiple, threads);
    const int32_t most = is_memory ? reported_rows(source.Height) : buffered_rows(source, made ? *made : source);
    if (threads == 1)
        plan.rows = most;
    else if (!is_memory)
        plan.rows = std::min(plan.rows, most);
    return plan;
}

int pass_rows(const RowPass& pass, Progress& progress, RowWork work, void* context) noexcept
{
    RowRelay relay(pass, work, context);
    return relay.run(progress);
}

} // namespace vk
