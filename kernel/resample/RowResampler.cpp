#include "kernel/resample/RowResampler.h"

#include <algorithm>
#include <cstring>

namespace vk::resample {

namespace {

constexpr int32_t kMostSlots = 16;

} // namespace

int RowResampler::Axes::open(const Stretch& along, const Stretch& down, Kernel kernel, int32_t bits) noexcept
{
    const int result = x.open(kernel, along, bits);
    return result == V_SUCCESS ? y.open(kernel, down, bits) : result;
}

int RowResampler::open(int32_t width, int32_t height, Kernel kernel) noexcept
{
    return open({rows_.width(), width, 0, width}, {rows_.height(), height, 0, height}, kernel);
}

int RowResampler::open(const Stretch& x, const Stretch& y, Kernel kernel) noexcept
{
    kernel_ = kernel;
    int result = open_filter(x, y);
    if (result == V_SUCCESS)
        result = rows_.open(std::clamp(axes_.y.most(), kSumRows, kMostSlots));
    if (result != V_SUCCESS || !rows_.form().alpha || kernel == Kernel::nearest)
        return result;
    result = open_wide(by_alpha_, alpha_axes_, x, y, true);
    const auto most = static_cast<uint64_t>(alpha_axes_.y.most());
    return result != V_SUCCESS || weights_.allocate(most * sizeof(int32_t)) ? result : V_ERROR_NO_MEMORY;
}

int RowResampler::open_filter(const Stretch& x, const Stretch& y) noexcept
{
    const bool is_area = kernel_ == Kernel::area;
    const int result = axes_.open(x, y, kernel_, is_area ? 0 : kNarrowBits);
    if (result != V_SUCCESS || kernel_ == Kernel::nearest)
        return result;
    is_bytes_ = rows_.form().lane_bytes == 1 &&
                (is_area ? ByteFilter::takes_area(axes_.x, axes_.y) : ByteFilter::takes_kernel(axes_.x, axes_.y));
    return is_bytes_ ? bytes_.open(rows_, axes_.x, axes_.y, is_area) : open_wide(wide_, axes_, x, y, false);
}

/// Area averaging is exact unless the sums of a huge picture would not fit.
int RowResampler::open_wide(WideFilter& filter, Axes& axes, const Stretch& x, const Stretch& y, bool by_alpha) noexcept
{
    const Form& form = rows_.form();
    bool exact = kernel_ == Kernel::area;
    int result = axes.open(x, y, kernel_, exact ? 0 : kWideBits);
    if (result == V_SUCCESS && exact &&
        !sums_fit(by_alpha ? uint64_t{form.most} * form.most : form.most, axes.x, axes.y)) {
        exact = false;
        result = axes.open(x, y, kernel_, kWideBits);
    }
    return result == V_SUCCESS ? filter.open(rows_, axes.x, axes.y, exact, by_alpha) : result;
}

int RowResampler::nearest_row(int32_t y, uint8_t* lanes) noexcept
{
    int32_t first = 0;
    int32_t weight = 0;
    axes_.y.taps(y, &first, &weight);
    const uint8_t* from = nullptr;
    const int result = rows_.row(first, &from);
    const size_t bytes = rows_.form().pixel_bytes();
    for (int32_t i = 0; i < axes_.x.positions() && result == V_SUCCESS; ++i, lanes += bytes) {
        axes_.x.taps(i, &first, &weight);
        std::memcpy(lanes, from + static_cast<size_t>(first) * bytes, bytes);
    }
    return result;
}

/// Whether all source rows of row `y` are.
int RowResampler::is_opaque(int32_t y, bool* opaque) noexcept
{
    int32_t first = 0;
    const int32_t count = alpha_axes_.y.taps(y, &first, reinterpret_cast<int32_t*>(weights_.data()));
    int result = V_SUCCESS;
    *opaque = true;
    for (int32_t k = 0; k < count && *opaque && result == V_SUCCESS; ++k)
        result = rows_.is_opaque(first + k, opaque);
    return result;
}

int RowResampler::row(int32_t y, void* lanes) noexcept
{
    if (kernel_ == Kernel::nearest)
        return nearest_row(y, static_cast<uint8_t*>(lanes));
    bool opaque = true;
    const int result = rows_.form().alpha ? is_opaque(y, &opaque) : V_SUCCESS;
    if (result != V_SUCCESS)
        return result;
    if (!opaque)
        return by_alpha_.row(y, lanes);
    return is_bytes_ ? bytes_.row(y, static_cast<uint8_t*>(lanes)) : wide_.row(y, lanes);
}

} // namespace vk::resample
