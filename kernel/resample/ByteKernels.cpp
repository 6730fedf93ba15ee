// The plain loops over lanes of one byte.
#include "kernel/resample/ByteKernels.h"

#include <algorithm>

namespace vk::resample {

namespace {

template <int32_t kChannels>
void area_pixels(int32_t begin, const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                 uint8_t* out) noexcept
{
    const auto pitch = static_cast<ptrdiff_t>(along.pitch);
    for (int32_t i = begin; i < along.count; ++i) {
        const uint32_t* from = sums + static_cast<ptrdiff_t>(along.first[i]) * kChannels;
        const int32_t* const weights = along.weights + i * pitch;
        uint64_t totals[kChannels] = {};
        for (int32_t k = 0; k < along.taps; ++k, from += kChannels)
            for (int32_t c = 0; c < kChannels; ++c)
                totals[c] += uint64_t{from[c]} * static_cast<uint32_t>(weights[k]);
        for (int32_t c = 0; c < kChannels; ++c)
            out[static_cast<ptrdiff_t>(i) * kChannels + c] =
                static_cast<uint8_t>((totals[c] + quotient.total / 2) / quotient.total);
    }
}

template <int32_t kChannels>
void kernel_pixels(int32_t begin, const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    constexpr int32_t kShift = kNarrowBits - kNarrowFraction;
    const auto pitch = static_cast<ptrdiff_t>(along.pitch);
    for (int32_t i = begin; i < along.count; ++i) {
        const uint8_t* from = lanes + static_cast<ptrdiff_t>(along.first[i]) * kChannels;
        const int16_t* const weights = along.weights + i * pitch;
        int32_t sums[kChannels] = {};
        for (int32_t k = 0; k < along.taps; ++k, from += kChannels)
            for (int32_t c = 0; c < kChannels; ++c)
                sums[c] += weights[k] * from[c];
        for (int32_t c = 0; c < kChannels; ++c)
            out[static_cast<ptrdiff_t>(i) * kChannels + c] =
                static_cast<int16_t>((sums[c] + (1 << (kShift - 1))) >> kShift);
    }
}

size_t all_sum_rows(const uint8_t* const* rows, const int32_t* weights, uint32_t* sums, size_t count, bool add) noexcept
{
    sum_rows_from(0, rows, weights, sums, count, add);
    return count;
}

int32_t all_area_row(const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                     uint8_t* out) noexcept
{
    area_row_from(0, sums, along, quotient, out);
    return along.count;
}

int32_t all_kernel_row(const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    kernel_row_from(0, lanes, along, out);
    return along.count;
}

size_t all_kernel_rows(const int16_t* const* rows, const int16_t* weights, int32_t taps, uint8_t* out,
                       size_t count) noexcept
{
    kernel_rows_from(0, rows, weights, taps, out, count);
    return count;
}

} // namespace

void sum_rows_from(size_t begin, const uint8_t* const* rows, const int32_t* weights, uint32_t* sums, size_t count,
                   bool add) noexcept
{
    const auto w0 = static_cast<uint32_t>(weights[0]);
    const auto w1 = static_cast<uint32_t>(weights[1]);
    const auto w2 = static_cast<uint32_t>(weights[2]);
    const auto w3 = static_cast<uint32_t>(weights[3]);
    for (size_t i = begin; i < count; ++i) {
        const uint32_t sum = rows[0][i] * w0 + rows[1][i] * w1 + rows[2][i] * w2 + rows[3][i] * w3;
        sums[i] = add ? sums[i] + sum : sum;
    }
}

void area_row_from(int32_t begin, const uint32_t* sums, const AlongRow<int32_t>& along, const Quotient& quotient,
                   uint8_t* out) noexcept
{
    if (along.channels == 1)
        area_pixels<1>(begin, sums, along, quotient, out);
    else if (along.channels == 3)
        area_pixels<3>(begin, sums, along, quotient, out);
    else
        area_pixels<4>(begin, sums, along, quotient, out);
}

void kernel_row_from(int32_t begin, const uint8_t* lanes, const AlongRow<int16_t>& along, int16_t* out) noexcept
{
    if (along.channels == 1)
        kernel_pixels<1>(begin, lanes, along, out);
    else if (along.channels == 3)
        kernel_pixels<3>(begin, lanes, along, out);
    else
        kernel_pixels<4>(begin, lanes, along, out);
}

void kernel_rows_from(size_t begin, const int16_t* const* rows, const int16_t* weights, int32_t taps, uint8_t* out,
                      size_t count) noexcept
{
    constexpr int32_t kShift = kNarrowBits + kNarrowFraction;
    for (size_t i = begin; i < count; ++i) {
        int32_t sum = 1 << (kShift - 1);
        for (int32_t k = 0; k < taps; ++k)
            sum += weights[k] * rows[k][i];
        out[i] = static_cast<uint8_t>(std::clamp(sum >> kShift, 0, 255));
    }
}

const ByteLoops& plain_loops() noexcept
{
    static constexpr ByteLoops kLoops = {all_sum_rows, all_area_row, all_kernel_row, all_kernel_rows};
    return kLoops;
}

} // namespace vk::resample
