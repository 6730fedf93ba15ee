#include "kernel/resample/ByteFilter.h"

#include <algorithm>
#include <cmath>

namespace vk::resample {

namespace {

constexpr int64_t kMostTotal = int64_t{1} << 40; ///< the quotient's inverse is exact enough for more

} // namespace

bool ByteFilter::takes_area(const Axis& x, const Axis& y) noexcept
{
    constexpr int64_t kMostSum = UINT32_MAX / 255;
    constexpr int64_t kMostWeight = INT16_MAX;
    return y.total() <= kMostSum && std::min<int64_t>(y.total(), y.target()) <= kMostWeight &&
           x.total() <= kMostTotal / y.total();
}

bool ByteFilter::takes_kernel(const Axis& x, const Axis& y) noexcept
{
    return x.most() <= kMostNarrowTaps && y.most() <= kMostNarrowTaps;
}

int ByteFilter::open(LaneRows& rows, Axis& x, Axis& y, bool is_area) noexcept
{
    fast_ = byte_loops_sets.best();
    loops_ = fast_ ? fast_ : &plain_loops();
    rows_ = &rows;
    y_ = &y;
    is_area_ = is_area;
    target_ = x.positions();
    quotient_.total = static_cast<uint64_t>(x.total() * y.total());
    quotient_.inverse = std::nextafter(1.0 / static_cast<double>(quotient_.total), 1.0);
    if (!weights_.allocate(static_cast<uint64_t>(y.most() + kSumRows) * sizeof(int32_t)))
        return V_ERROR_NO_MEMORY;
    const int result = table_.open(x);
    if (result != V_SUCCESS)
        return result;
    return is_area ? open_area() : open_kernel();
}

int ByteFilter::open_area() noexcept
{
    const size_t lanes = static_cast<size_t>(rows_->width()) * rows_->form().pixel_bytes();
    return between_.allocate((lanes + kLaneSlack) * sizeof(uint32_t)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

int ByteFilter::open_kernel() noexcept
{
    const int32_t taps = table_.count();
    const auto positions = static_cast<size_t>(target_);
    pitch_ = (taps + kTapGroup - 1) / kTapGroup * kTapGroup;
    slots_ = y_->most();
    ring_pitch_ = (positions * rows_->form().pixel_bytes() + kLaneSlack) / kLaneSlack * kLaneSlack + kLaneSlack;
    const auto slots = static_cast<size_t>(slots_);
    if (!taps_.allocate(positions * static_cast<size_t>(pitch_) * sizeof(int16_t)) ||
        !between_.allocate(slots * ring_pitch_ * sizeof(int16_t)) || !held_.allocate(slots * sizeof(int32_t)))
        return V_ERROR_NO_MEMORY;
    auto* out = reinterpret_cast<int16_t*>(taps_.data());
    const int32_t* from = table_.weights();
    for (size_t i = 0; i < positions; ++i, from += taps, out += pitch_)
        std::transform(from, from + taps, out, [](int32_t weight) noexcept { return static_cast<int16_t>(weight); });
    return V_SUCCESS;
}

template <class Weight> AlongRow<Weight> ByteFilter::along(const Weight* weights, int32_t pitch) const noexcept
{
    return {table_.first(), weights, table_.count(), pitch, rows_->form().channels, rows_->width(), target_};
}

int ByteFilter::row(int32_t at, uint8_t* out) noexcept
{
    return is_area_ ? area_row(at, out) : kernel_row(at, out);
}

/// Source rows are summed a few at a time; missing ones count nothing.
int ByteFilter::area_row(int32_t at, uint8_t* out) noexcept
{
    auto* const weights = reinterpret_cast<int32_t*>(weights_.data());
    auto* const sums = reinterpret_cast<uint32_t*>(between_.data());
    const size_t lanes = static_cast<size_t>(rows_->width()) * rows_->form().pixel_bytes();
    int32_t first = 0;
    const int32_t taps = y_->taps(at, &first, weights);
    std::fill_n(weights + taps, kSumRows - 1, 0);
    for (int32_t k = 0; k < taps; k += kSumRows) {
        const uint8_t* rows[kSumRows];
        for (int32_t r = 0; r < kSumRows; ++r) {
            const int result = rows_->row(first + std::min(k + r, taps - 1), &rows[r]);
            if (result != V_SUCCESS)
                return result;
        }
        const size_t done = loops_->sum_rows(rows, weights + k, sums, lanes, k != 0);
        sum_rows_from(done, rows, weights + k, sums, lanes, k != 0);
    }
    const AlongRow<int32_t> pass = along(table_.weights(), table_.count());
    area_row_from(loops_->area_row(sums, pass, quotient_, out), sums, pass, quotient_, out);
    return V_SUCCESS;
}

/// Source row `y` behind the first pass.
int ByteFilter::narrow_row(int32_t y, const int16_t** values) noexcept
{
    const int32_t slot = y % slots_;
    auto* const held = reinterpret_cast<int32_t*>(held_.data()) + slot;
    auto* const out = reinterpret_cast<int16_t*>(between_.data()) + static_cast<size_t>(slot) * ring_pitch_;
    *values = out;
    if (*held == y + 1)
        return V_SUCCESS;
    *held = 0;
    const uint8_t* lanes = nullptr;
    const int result = rows_->row(y, &lanes);
    if (result != V_SUCCESS)
        return result;
    const AlongRow<int16_t> pass = along(reinterpret_cast<const int16_t*>(taps_.data()), pitch_);
    kernel_row_from(loops_->kernel_row(lanes, pass, out), lanes, pass, out);
    *held = y + 1;
    return V_SUCCESS;
}

int ByteFilter::kernel_row(int32_t at, uint8_t* out) noexcept
{
    auto* const weights = reinterpret_cast<int32_t*>(weights_.data());
    int32_t first = 0;
    const int32_t taps = y_->taps(at, &first, weights);
    const int16_t* rows[kMostNarrowTaps] = {};
    int16_t factors[kMostNarrowTaps] = {};
    for (int32_t k = 0; k < taps; ++k) {
        const int result = narrow_row(first + k, &rows[k]);
        if (result != V_SUCCESS)
            return result;
        factors[k] = static_cast<int16_t>(weights[k]);
    }
    const int32_t even = taps + taps % 2; // loops take pairs; a missing row counts nothing
    rows[even - 1] = rows[taps - 1];
    const size_t lanes = static_cast<size_t>(target_) * rows_->form().pixel_bytes();
    const size_t done = loops_->kernel_rows(rows, factors, even, out, lanes);
    kernel_rows_from(done, rows, factors, even, out, lanes);
    return V_SUCCESS;
}

} // namespace vk::resample
