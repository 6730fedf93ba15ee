#include "kernel/resample/WideFilter.h"

#include <algorithm>
#include <bit>

namespace vk::resample {

namespace {

/// Rows behind the first pass take up to this much where more than a few would be of use.
constexpr uint64_t kRingBytes = 16 * 1024 * 1024;

template <class Lane>
void put_colors(const int64_t* sums, const WideEnd& end, Lane* out, size_t begin, size_t count) noexcept
{
    for (size_t i = begin; i < begin + count; ++i)
        if (i % 4 != 3)
            out[i] = static_cast<Lane>(wide_lane(sums[i], end));
}

/// The end of pixels of which nothing is visible, from `begin` on: those have no alpha, which is quickly seen.
template <class Lane>
size_t invisible_end(const int64_t* sums, const WideEnd& end, const Lane* out, size_t begin, size_t count) noexcept
{
    size_t i = begin;
    while (i < count && out[i + 3] == 0 && wide_alpha(sums[i + 3], end.extra) <= 0)
        i += 4;
    return i;
}

} // namespace

bool sums_fit(uint64_t most, const Axis& x, const Axis& y) noexcept
{
    const uint64_t limit = (uint64_t{1} << 62) / std::max<uint64_t>(most, 1);
    return static_cast<uint64_t>(x.total()) <= limit / static_cast<uint64_t>(y.total());
}

/// The second pass takes 33 bits of value and 28 of weight; negative lobes less than double the sum. Colours that stand
/// alone lose fewer bits than products, as alpha beside these does.
void WideFilter::set_shifts(bool exact, bool by_alpha, int64_t total) noexcept
{
    const Form& form = rows_->form();
    const auto shift_for = [&](uint64_t most) noexcept {
        return exact ? 0 : std::max(kWideBits + static_cast<int32_t>(std::bit_width(most)) - 33, 0);
    };
    const auto set = [&](Ring& ring, uint64_t most, int32_t extra) noexcept {
        ring.pass.extra = ring.end.extra = extra;
        ring.pass.most = most;
        ring.pass.shift = shift_for(most);
        ring.end.shift = exact ? 0 : 2 * kWideBits - ring.pass.shift + extra;
        ring.end.unit = exact ? total : int64_t{1} << ring.end.shift;
        ring.end.inverse = 1.0 / static_cast<double>(ring.end.unit);
    };
    set(colors_, form.most, 0);
    const auto extra = exact ? 0 : static_cast<int32_t>(std::bit_width(form.most));
    set(ring_, by_alpha ? uint64_t{form.most} * form.most : form.most, by_alpha ? extra : 0);
    ring_.pass.by_alpha = ring_.end.by_alpha = by_alpha;
}

int WideFilter::open_ring(Ring& ring) noexcept
{
    const Form& form = rows_->form();
    const auto slots = static_cast<uint64_t>(slots_);
    ring.pass.along = {table_.first(),
                       table_.weights(),
                       table_.count(),
                       table_.count(),
                       form.channels,
                       rows_->width(),
                       static_cast<int32_t>(lanes_ / static_cast<size_t>(form.channels))};
    ring.pass.lane_bytes = ring.end.lane_bytes = form.lane_bytes;
    ring.end.most = form.most;
    const bool has_room =
        ring.rows.allocate(slots * pitch_ * sizeof(int64_t)) && ring.held.allocate(slots * sizeof(int32_t));
    return has_room ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

/// Weights and room for loops that sum in reals.
int WideFilter::open_reals(int64_t across) noexcept
{
    const int32_t taps = table_.count();
    const int32_t channels = rows_->form().channels;
    const int32_t pitch = channels == 1 ? (taps + kTapGroup - 1) / kTapGroup * kTapGroup : taps;
    const size_t part = static_cast<size_t>(rows_->width()) * static_cast<size_t>(channels) + kLaneSlack;
    const size_t positions = lanes_ / static_cast<size_t>(channels);
    if (!reals_.allocate(positions * static_cast<size_t>(pitch) * sizeof(double)) ||
        !room_.allocate(2 * part * sizeof(double)))
        return V_ERROR_NO_MEMORY;
    auto* out = reinterpret_cast<double*>(reals_.data());
    const int32_t* from = table_.weights();
    for (size_t i = 0; i < positions; ++i, from += taps, out += pitch)
        std::copy_n(from, taps, out);
    for (Ring* ring : {&ring_, &colors_}) {
        ring->pass.reals = reinterpret_cast<const double*>(reals_.data());
        ring->pass.pitch = pitch;
        ring->pass.room = reinterpret_cast<double*>(room_.data());
        ring->pass.part = part;
        const bool is_exact = ring->end.shift == 0;
        const double most = is_exact ? static_cast<double>(ring->pass.most) * static_cast<double>(across) : 0x1p34;
        ring->pass.split = wide_split(most, static_cast<double>(y_->total()) * (is_exact ? 1 : 2));
    }
    return V_SUCCESS;
}

int WideFilter::open(LaneRows& rows, Axis& x, Axis& y, bool exact, bool by_alpha) noexcept
{
    rows_ = &rows;
    y_ = &y;
    lanes_ = static_cast<size_t>(x.positions()) * static_cast<size_t>(rows.form().channels);
    pitch_ = lanes_ + kLaneSlack;
    set_shifts(exact, by_alpha, exact ? x.total() * y.total() : 0);
    fast_ = wide_fits_reals(ring_.pass, x.total()) ? wide_loops_sets.best() : nullptr;
    loops_ = fast_ ? fast_ : &plain_wide_loops();
    const auto most = static_cast<uint64_t>(y.most());
    const uint64_t useful = std::max(kRingBytes / (pitch_ * sizeof(int64_t)), uint64_t{kMostWideRows});
    slots_ = static_cast<int32_t>(std::min(most, useful));
    if (!sums_.allocate(pitch_ * sizeof(int64_t)) || !weights_.allocate(most * sizeof(int32_t)) ||
        (by_alpha && !color_sums_.allocate(pitch_ * sizeof(int64_t))))
        return V_ERROR_NO_MEMORY;
    int result = table_.open(x);
    if (result == V_SUCCESS)
        result = open_ring(ring_);
    if (result == V_SUCCESS && by_alpha)
        result = open_ring(colors_);
    return result == V_SUCCESS && fast_ ? open_reals(x.total()) : result;
}

/// Source row `y` behind the first pass.
int WideFilter::narrow_row(Ring& ring, int32_t y, const int64_t** sums) noexcept
{
    const int32_t slot = y % slots_;
    auto* const held = reinterpret_cast<int32_t*>(ring.held.data()) + slot;
    auto* const out = reinterpret_cast<int64_t*>(ring.rows.data()) + static_cast<size_t>(slot) * pitch_;
    *sums = out;
    if (*held == y + 1)
        return V_SUCCESS;
    *held = 0;
    const uint8_t* lanes = nullptr;
    const int result = rows_->row(y, &lanes);
    if (result != V_SUCCESS)
        return result;
    loops_->along(lanes, ring.pass, out);
    *held = y + 1;
    return V_SUCCESS;
}

/// The sums of lanes of the row under way, a few source rows at a time.
int WideFilter::sum_rows(Ring& ring, size_t begin, size_t count, int64_t* sums) noexcept
{
    const auto* const weights = reinterpret_cast<const int32_t*>(weights_.data());
    for (int32_t k = 0; k < taps_; k += kMostWideRows) {
        const int32_t some = std::min(kMostWideRows, taps_ - k);
        WideRows rows{{}, weights + k, some, ring.pass.split, k != 0};
        for (int32_t r = 0; r < some; ++r) {
            const int result = narrow_row(ring, first_ + k + r, &rows.of[r]);
            if (result != V_SUCCESS)
                return result;
            rows.of[r] += begin;
        }
        loops_->down(rows, sums + begin, count);
    }
    return V_SUCCESS;
}

/// Gives runs of pixels of which nothing is visible the plain means of colours. Where not all source rows are kept,
/// the row is one run.
template <class Lane> int WideFilter::fill_invisible(Lane* out) noexcept
{
    auto* const plain = reinterpret_cast<int64_t*>(color_sums_.data());
    const auto* const sums = reinterpret_cast<const int64_t*>(sums_.data());
    int result = taps_ > slots_ ? sum_rows(colors_, 0, lanes_, plain) : V_SUCCESS;
    for (size_t i = 0; i < lanes_ && result == V_SUCCESS; i += 4) {
        const size_t begin = i;
        i = invisible_end(sums, ring_.end, out, begin, lanes_);
        if (i == begin)
            continue;
        if (taps_ <= slots_)
            result = sum_rows(colors_, begin, i - begin, plain);
        put_colors(plain, colors_.end, out, begin, i - begin);
    }
    return result;
}

int WideFilter::row(int32_t at, void* out) noexcept
{
    auto* const sums = reinterpret_cast<int64_t*>(sums_.data());
    taps_ = y_->taps(at, &first_, reinterpret_cast<int32_t*>(weights_.data()));
    const int result = sum_rows(ring_, 0, lanes_, sums);
    if (result != V_SUCCESS || !loops_->finish(sums, ring_.end, out, lanes_))
        return result;
    return ring_.end.lane_bytes == 1 ? fill_invisible(static_cast<uint8_t*>(out))
                                     : fill_invisible(static_cast<uint16_t*>(out));
}

} // namespace vk::resample
