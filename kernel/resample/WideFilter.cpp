#include "kernel/resample/WideFilter.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vk::resample {

namespace {

/// Summed for a pixel with alpha: three colours times alpha, alpha, three colours.
constexpr int32_t kAlphaChannels = 7;
/// Rows behind the first pass take up to this much where more than a few would be of use.
constexpr uint64_t kRingBytes = 16 * 1024 * 1024;
constexpr uint64_t kLeastRows = 8;

/// Bits dropped between the passes: of products with alpha, and of lanes.
struct Shifts {
    int32_t product;
    int32_t lane;
};

int64_t drop(int64_t sum, int32_t bits) noexcept
{
    return (sum + (bits == 0 ? 0 : int64_t{1} << (bits - 1))) >> bits;
}

template <class Lane, int32_t kChannels>
void sum_pixels(const uint8_t* bytes, const TapTable& table, int32_t count, Shifts shifts, int64_t* out) noexcept
{
    constexpr int32_t kProducts = kChannels == kAlphaChannels ? 3 : 0;
    const int32_t taps = table.count();
    const int32_t* weights = table.weights();
    for (int32_t i = 0; i < count; ++i, weights += taps, out += kChannels) {
        const auto* lane = reinterpret_cast<const Lane*>(bytes) + static_cast<ptrdiff_t>(table.first()[i]) * kChannels;
        int64_t sums[kChannels] = {};
        for (int32_t k = 0; k < taps; ++k, lane += kChannels)
            for (int32_t c = 0; c < kChannels; ++c)
                sums[c] += int64_t{weights[k]} * lane[c];
        for (int32_t c = 0; c < kChannels; ++c)
            out[c] = drop(sums[c], c < kProducts ? shifts.product : shifts.lane);
    }
}

template <class Lane>
void sum_row(const uint8_t* lanes, int32_t channels, const TapTable& table, int32_t count, Shifts shifts,
             int64_t* out) noexcept
{
    if (channels == 1)
        sum_pixels<Lane, 1>(lanes, table, count, shifts, out);
    else if (channels == 3)
        sum_pixels<Lane, 3>(lanes, table, count, shifts, out);
    else if (channels == 4)
        sum_pixels<Lane, 4>(lanes, table, count, shifts, out);
    else
        sum_pixels<Lane, kAlphaChannels>(lanes, table, count, shifts, out);
}

template <class Lane> void multiply_alpha(const Lane* pixel, uint32_t* out, size_t width) noexcept
{
    for (size_t i = 0; i < width; ++i, pixel += 4, out += kAlphaChannels) {
        out[3] = pixel[3];
        for (size_t c = 0; c < 3; ++c) {
            out[c] = uint32_t{pixel[c]} * pixel[3];
            out[4 + c] = pixel[c];
        }
    }
}

/// The largest lane that is summed.
uint64_t largest(const Form& form, bool by_alpha) noexcept
{
    return by_alpha ? uint64_t{form.most} * form.most : form.most;
}

} // namespace

bool sums_fit(uint64_t most, const Axis& x, const Axis& y) noexcept
{
    const uint64_t limit = (uint64_t{1} << 62) / std::max<uint64_t>(most, 1);
    return static_cast<uint64_t>(x.total()) <= limit / static_cast<uint64_t>(y.total());
}

int WideFilter::open(LaneRows& rows, Axis& x, Axis& y, bool exact, bool by_alpha) noexcept
{
    rows_ = &rows;
    y_ = &y;
    exact_ = exact;
    by_alpha_ = by_alpha;
    channels_ = by_alpha ? kAlphaChannels : rows.form().channels;
    total_ = exact ? x.total() * y.total() : 0;
    // The second pass takes 33 bits of value and 28 of weight; negative lobes less than double the sum.
    // Alpha and plain colours keep as many bits more as their products are larger.
    const auto bits = static_cast<int32_t>(std::bit_width(largest(rows.form(), by_alpha)));
    product_shift_ = exact ? 0 : std::max(kWideBits + bits - 33, 0);
    extra_bits_ = exact || !by_alpha ? 0 : static_cast<int32_t>(std::bit_width(rows.form().most));
    last_shift_ = exact ? 0 : 2 * kWideBits - product_shift_ + extra_bits_;
    lanes_ = static_cast<size_t>(x.positions()) * static_cast<size_t>(channels_);
    const auto most = static_cast<uint64_t>(y.most());
    slots_ = static_cast<int32_t>(std::min(most, std::max(kRingBytes / (lanes_ * sizeof(int64_t)), kLeastRows)));
    const auto slots = static_cast<uint64_t>(slots_);
    const uint64_t source = by_alpha ? static_cast<uint64_t>(x.pixels()) * kAlphaChannels * sizeof(uint32_t) : 1;
    const bool has_room = ring_.allocate(slots * lanes_ * sizeof(int64_t)) && held_.allocate(slots * sizeof(int32_t)) &&
                          sums_.allocate(lanes_ * sizeof(int64_t)) && weights_.allocate(most * sizeof(int32_t)) &&
                          expanded_.allocate(source);
    return has_room ? table_.open(x) : V_ERROR_NO_MEMORY;
}

const uint8_t* WideFilter::expand(const uint8_t* lanes) noexcept
{
    auto* const out = reinterpret_cast<uint32_t*>(expanded_.data());
    const auto width = static_cast<size_t>(rows_->width());
    if (rows_->form().lane_bytes == 1)
        multiply_alpha(lanes, out, width);
    else
        multiply_alpha(reinterpret_cast<const uint16_t*>(lanes), out, width);
    return expanded_.data();
}

/// Source row `y` behind the first pass.
int WideFilter::narrow_row(int32_t y, const int64_t** sums) noexcept
{
    const int32_t slot = y % slots_;
    auto* const held = reinterpret_cast<int32_t*>(held_.data()) + slot;
    auto* const out = reinterpret_cast<int64_t*>(ring_.data()) + static_cast<size_t>(slot) * lanes_;
    *sums = out;
    if (*held == y + 1)
        return V_SUCCESS;
    *held = 0;
    const uint8_t* lanes = nullptr;
    const int result = rows_->row(y, &lanes);
    if (result != V_SUCCESS)
        return result;
    const auto count = static_cast<int32_t>(lanes_ / static_cast<size_t>(channels_));
    const int32_t bytes = by_alpha_ ? 4 : rows_->form().lane_bytes;
    if (by_alpha_)
        lanes = expand(lanes);
    const Shifts shifts{product_shift_, product_shift_ - extra_bits_};
    if (bytes == 1)
        sum_row<uint8_t>(lanes, channels_, table_, count, shifts, out);
    else if (bytes == 2)
        sum_row<uint16_t>(lanes, channels_, table_, count, shifts, out);
    else
        sum_row<uint32_t>(lanes, channels_, table_, count, shifts, out);
    *held = y + 1;
    return V_SUCCESS;
}

uint32_t WideFilter::lane(int64_t sum) const noexcept
{
    const int64_t value =
        exact_ ? (sum + total_ / 2) / total_ : (sum + (int64_t{1} << (last_shift_ - 1))) >> last_shift_;
    return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, rows_->form().most));
}

template <class Lane> void WideFilter::finish(Lane* out) const noexcept
{
    const auto* const sums = reinterpret_cast<const int64_t*>(sums_.data());
    for (size_t i = 0; i < lanes_; ++i)
        out[i] = static_cast<Lane>(lane(sums[i]));
}

template <class Lane> void WideFilter::finish_by_alpha(Lane* out) const noexcept
{
    const auto* sums = reinterpret_cast<const int64_t*>(sums_.data());
    const int64_t most = rows_->form().most;
    for (size_t i = 0; i < lanes_; i += kAlphaChannels, sums += kAlphaChannels, out += 4) {
        const int64_t alpha = drop(sums[3], extra_bits_);
        for (size_t c = 0; c < 3; ++c) {
            const int64_t mean = alpha > 0 ? (std::max<int64_t>(sums[c], 0) + alpha / 2) / alpha : lane(sums[4 + c]);
            out[c] = static_cast<Lane>(std::min(mean, most));
        }
        out[3] = static_cast<Lane>(lane(sums[3]));
    }
}

int WideFilter::row(int32_t at, void* out) noexcept
{
    auto* const sums = reinterpret_cast<int64_t*>(sums_.data());
    auto* const weights = reinterpret_cast<int32_t*>(weights_.data());
    std::fill_n(sums, lanes_, 0);
    int32_t first = 0;
    const int32_t taps = y_->taps(at, &first, weights);
    for (int32_t k = 0; k < taps; ++k) {
        const int64_t* from = nullptr;
        const int result = narrow_row(first + k, &from);
        if (result != V_SUCCESS)
            return result;
        for (size_t i = 0; i < lanes_; ++i)
            sums[i] += weights[k] * from[i];
    }
    const int32_t bytes = rows_->form().lane_bytes;
    if (by_alpha_)
        bytes == 1 ? finish_by_alpha(static_cast<uint8_t*>(out)) : finish_by_alpha(static_cast<uint16_t*>(out));
    else if (bytes == 1)
        finish(static_cast<uint8_t*>(out));
    else if (bytes == 2)
        finish(static_cast<uint16_t*>(out));
    else
        finish(static_cast<uint32_t*>(out));
    return V_SUCCESS;
}

} // namespace vk::resample
