// Bands that are moved lie in slots of a relay; those of a bitmap that is memory itself lie where they stand.
#include "kernel/rows/RowBands.h"

#include "kernel/threading/Relay.h"

#include <algorithm>

namespace vk {

class RowRelay final : public Freight {
public:
    RowRelay(const RowPass& pass, RowWork work, void* context) noexcept
        : pass_(pass), work_(work), context_(context), reader_(pass.source), relay_(*this),
          is_moved_(!is_in_memory(pass.source, pass.made))
    {
        const BandPlan& plan = pass.plan;
        relay_.plan(plan.height / plan.rows + (plan.height % plan.rows != 0), plan.threads, plan.before);
    }

    int run(Progress& progress) noexcept
    {
        const int result = open();
        auto work = [this](Bands& bands) noexcept {
            RowBands rows(*this, bands);
            return work_(context_, rows);
        };
        return result == V_SUCCESS ? run_bands(is_moved_ ? relay_.bands() : pass_.plan, progress, work) : result;
    }

    bool take(Bands& bands, RowSet& set) noexcept
    {
        Band band{};
        int64_t number = 0;
        if (is_moved_ ? !relay_.take(bands, number) : !bands.take(band))
            return false;
        if (!is_moved_)
            number = band.row / pass_.plan.rows;
        set = {from(number), to(number), first_row(number), rows_of(number)};
        return true;
    }

    void done(Bands& bands, const RowSet& set, int result) noexcept
    {
        const int32_t row = set.row - pass_.first;
        if (is_moved_)
            relay_.done(bands, row / pass_.plan.rows, result);
        else
            bands.done({row, set.count}, result);
    }

    int bring(int64_t number) noexcept override
    {
        return reader_.in_place() ? V_SUCCESS
                                  : get_rows(pass_.source, from_.data() + slot_bytes(pass_.source, relay_.slot(number)),
                                             first_row(number), rows_of(number));
    }
    int carry(int64_t number) noexcept override
    {
        return to_.data() ? put_rows(*pass_.made, to(number), first_row(number), rows_of(number)) : V_SUCCESS;
    }
    bool has_room(int64_t) const noexcept override { return true; }
    int64_t steps(int64_t number) const noexcept override { return pass_.plan.steps * rows_of(number); }

private:
    int open() noexcept
    {
        const auto slots = static_cast<uint64_t>(relay_.slots());
        int result = reader_.in_place() ? V_SUCCESS : from_.allocate_for(pass_.source, slot_bytes(pass_.source, slots));
        if (result == V_SUCCESS && pass_.made && !RowWriter(*pass_.made).in_place())
            result = to_.allocate_for(*pass_.made, slot_bytes(*pass_.made, slots));
        return result;
    }

    uint64_t slot_bytes(const BITMAPHANDLE& bitmap, uint64_t slots) const noexcept
    {
        return uint64_t{bitmap.BytesPerLine} * static_cast<uint32_t>(pass_.plan.rows) * slots;
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
            return from_.data() + slot_bytes(pass_.source, relay_.slot(number));
        const uint8_t* rows = nullptr;
        RowReader reader(pass_.source);
        static_cast<void>(reader.read(first_row(number), rows_of(number), &rows)); // where they stand
        return rows;
    }
    uint8_t* to(int64_t number) const noexcept
    {
        if (!pass_.made)
            return nullptr;
        return to_.data() ? to_.data() + slot_bytes(*pass_.made, relay_.slot(number))
                          : RowWriter(*pass_.made).place(first_row(number));
    }

    const RowPass pass_;
    const RowWork work_;
    void* const context_;
    RowReader reader_;
    Relay relay_;
    const bool is_moved_;
    RowBuffer from_; ///< of rows that are read
    RowBuffer to_;   ///< of rows that will be written
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
