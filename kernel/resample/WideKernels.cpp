// The plain loops of the wide filter.
#include "kernel/resample/WideKernels.h"

#include <algorithm>

namespace vk::resample {

namespace {

/// Bits of numbers that reals sum in one part, by weights of kernels: those of the sum are 30 more.
constexpr uint64_t kMostInOnePart = (uint64_t{1} << 21) - 1;

int64_t drop(int64_t sum, int32_t bits) noexcept
{
    return (sum + (bits == 0 ? 0 : int64_t{1} << (bits - 1))) >> bits;
}

/// The numbers that are summed of a pixel.
template <class Lane, int32_t kChannels, bool kAlpha> struct Numbers {
    uint32_t extra;

    uint32_t operator()(const Lane* pixel, int32_t c) const noexcept
    {
        const uint32_t number = pixel[c];
        if constexpr (kAlpha)
            return c == kChannels - 1 ? number << extra : number * pixel[kChannels - 1];
        return number;
    }
};

template <class Lane, int32_t kChannels, bool kAlpha>
void sum_pixels(const uint8_t* bytes, const WideRow& row, int64_t* out) noexcept
{
    const AlongRow<int32_t>& along = row.along;
    const Numbers<Lane, kChannels, kAlpha> number{static_cast<uint32_t>(row.extra)};
    const int32_t* weights = along.weights;
    for (int32_t i = 0; i < along.count; ++i, weights += along.pitch, out += kChannels) {
        const auto* pixel = reinterpret_cast<const Lane*>(bytes) + static_cast<ptrdiff_t>(along.first[i]) * kChannels;
        int64_t sums[kChannels] = {};
        for (int32_t k = 0; k < along.taps; ++k, pixel += kChannels)
            for (int32_t c = 0; c < kChannels; ++c)
                sums[c] += int64_t{weights[k]} * number(pixel, c);
        for (int32_t c = 0; c < kChannels; ++c)
            out[c] = drop(sums[c], row.shift);
    }
}

template <class Lane> void sum_row(const uint8_t* lanes, const WideRow& row, int64_t* out) noexcept
{
    if (row.by_alpha)
        sum_pixels<Lane, 4, true>(lanes, row, out);
    else if (row.along.channels == 1)
        sum_pixels<Lane, 1, false>(lanes, row, out);
    else if (row.along.channels == 3)
        sum_pixels<Lane, 3, false>(lanes, row, out);
    else
        sum_pixels<Lane, 4, false>(lanes, row, out);
}

void along(const uint8_t* lanes, const WideRow& row, int64_t* out) noexcept
{
    if (row.lane_bytes == 1)
        sum_row<uint8_t>(lanes, row, out);
    else if (row.lane_bytes == 2)
        sum_row<uint16_t>(lanes, row, out);
    else
        sum_row<uint32_t>(lanes, row, out);
}

void down(const WideRows& rows, int64_t* sums, size_t count) noexcept
{
    if (!rows.add)
        std::fill_n(sums, count, 0);
    for (int32_t k = 0; k < rows.taps; ++k)
        for (size_t i = 0; i < count; ++i)
            sums[i] += rows.weights[k] * rows.of[k][i];
}

template <class Lane> bool finish_by_alpha(const int64_t* sums, const WideEnd& end, Lane* out, size_t count) noexcept
{
    bool has_invisible = false;
    for (size_t i = 0; i < count; i += 4, sums += 4, out += 4) {
        const int64_t alpha = wide_alpha(sums[3], end.extra);
        has_invisible = has_invisible || alpha <= 0;
        for (size_t c = 0; c < 3 && alpha > 0; ++c)
            out[c] =
                static_cast<Lane>(std::min<int64_t>((std::max<int64_t>(sums[c], 0) + alpha / 2) / alpha, end.most));
        out[3] = static_cast<Lane>(wide_lane(sums[3], end));
    }
    return has_invisible;
}

template <class Lane> bool finish_row(const int64_t* sums, const WideEnd& end, Lane* out, size_t count) noexcept
{
    if (end.by_alpha)
        return finish_by_alpha(sums, end, out, count);
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<Lane>(wide_lane(sums[i], end));
    return false;
}

bool finish(const int64_t* sums, const WideEnd& end, void* out, size_t count) noexcept
{
    if (end.lane_bytes == 1)
        return finish_row(sums, end, static_cast<uint8_t*>(out), count);
    return end.lane_bytes == 2 ? finish_row(sums, end, static_cast<uint16_t*>(out), count)
                               : finish_row(sums, end, static_cast<uint32_t*>(out), count);
}

} // namespace

const WideLoops& plain_wide_loops() noexcept
{
    static constexpr WideLoops kLoops = {along, down, finish};
    return kLoops;
}

/// Sums of area averaging, which lose no bits, stay below 2^50. Those of kernels always fit.
bool wide_fits_reals(const WideRow& row, int64_t total) noexcept
{
    return row.shift != 0 || row.most <= (uint64_t{1} << 50) / static_cast<uint64_t>(total);
}

int32_t wide_split(double most, double weights) noexcept
{
    constexpr double kMostSum = 0x1p51;
    constexpr int32_t kMostSplit = 20;
    for (int32_t bits = 1; bits <= kMostSplit; ++bits) {
        const auto unit = static_cast<double>(int64_t{1} << bits);
        if (kMostWideRows * unit / 2 * most <= kMostSum && (weights / unit + kMostWideRows) * most <= kMostSum)
            return bits;
    }
    return 0;
}

bool is_in_parts(const WideRow& row) noexcept
{
    return row.shift != 0 && row.most > kMostInOnePart;
}

} // namespace vk::resample
