#include "kernel/rotate/Filter.h"

#include "kernel/format/RowMath.h"

#include <algorithm>

namespace vk::rotate {

namespace {

/// Side of a box of the canvas.
constexpr int32_t kSide = 64;
/// Pixels around the positions of a box that may be looked at.
constexpr int32_t kTapMargin = 4;
/// Side of the laid out pixels: the diagonal of a box, and the margin.
constexpr int32_t kWindowSide = 91 + 2 * kTapMargin + 3;
static_assert(kWindowSide + 7 <= Samples::kMostPixels && kTapMargin <= Painter::kMargin);

constexpr int64_t kFraction = kOne - 1;

/// The weights of the pixels around a position, `f` behind the first, or the second of four.
template <class Real> struct Linear {
    static constexpr int32_t kTaps = 2;
    Real weights[kTaps];
    explicit Linear(Real f) noexcept : weights{1 - f, f} {}
};

/// Cubic convolution with the parameter -1/2.
template <class Real> struct Cubic {
    static constexpr int32_t kTaps = 4;
    Real weights[kTaps];
    explicit Cubic(Real f) noexcept
        : weights{((2 - f) * f - 1) * f / 2, ((3 * f - 5) * f * f + 2) / 2, ((4 - 3 * f) * f + 1) * f / 2,
                  (f - 1) * f * f / 2}
    {}
};

/// Colours are weighted by floats.
template <class Value> struct RealOf;
template <> struct RealOf<Color> {
    using Type = float;
};
template <> struct RealOf<double> {
    using Type = double;
};

template <class Weights, class Value, class Real>
Value weighted(const Value* first, Real fraction_x, Real fraction_y) noexcept
{
    const Weights across(fraction_x);
    const Weights down(fraction_y);
    Value sum{};
    for (int32_t j = 0; j < Weights::kTaps; ++j, first += kWindowSide) {
        Value line = first[0] * across.weights[0];
        for (int32_t i = 1; i < Weights::kTaps; ++i)
            line = line + first[i] * across.weights[i];
        sum = sum + line * down.weights[j];
    }
    return sum;
}

} // namespace

int FilterPainter::open(const BITMAPHANDLE& bitmap, const FillPixel& fill) noexcept
{
    constexpr uint64_t kPixels = uint64_t{kWindowSide} * kWindowSide;
    if (!values_.allocate(kPixels * sizeof(Color)) || !raw_.allocate(kPixels * sizeof(uint32_t)))
        return V_ERROR_NO_MEMORY;
    return samples_.open(bitmap, fill);
}

template <class Value> void FilterPainter::lay_out(const Pixels& source, const Box& box) noexcept
{
    constexpr int32_t kAligned = 8; // packed pixels start on a byte there
    const int32_t bits = samples_.bits();
    const int32_t left = std::clamp(box.left, 0, geometry_.width);
    const int32_t right = std::clamp(box.right, left, geometry_.width);
    auto* values = reinterpret_cast<Value*>(values_.data());
    auto* raw = reinterpret_cast<uint32_t*>(raw_.data());
    Value fill;
    uint32_t raw_fill = 0;
    samples_.get_fill(fill, raw_fill);
    for (int32_t row = box.top; row < box.bottom; ++row, values += kWindowSide, raw += kWindowSide) {
        std::fill_n(values, box.right - box.left, fill);
        std::fill_n(raw, box.right - box.left, raw_fill);
        if (row < 0 || row >= geometry_.height || left == right)
            continue;
        const int32_t column = left - source.held.left;
        const int32_t skip = column % kAligned;
        const uint8_t* const packed = source.data + static_cast<size_t>(row - source.held.top) * source.stride +
                                      packed_bytes(static_cast<uint64_t>(column - skip), bits);
        samples_.read(packed, skip, right - left, values + (left - box.left), raw + (left - box.left));
    }
}

template <class Value> void FilterPainter::paint_run(const Run& run, const Box& box, int32_t left) noexcept
{
    using Real = typename RealOf<Value>::Type;
    constexpr Real kScale = Real{1} / static_cast<Real>(kOne);
    const auto* const values = reinterpret_cast<const Value*>(values_.data());
    const auto* const raw = reinterpret_cast<const uint32_t*>(raw_.data());
    Value results[kSide] = {};
    uint32_t closest[kSide] = {};
    const int32_t count = run.end - run.first;
    int64_t x = run.x - box.left * kOne;
    int64_t y = run.y - box.top * kOne;
    for (int32_t i = 0; i < count; ++i, x += geometry_.step_x, y += geometry_.step_y) {
        const auto column = static_cast<int32_t>(x >> kFractionBits);
        const auto row = static_cast<int32_t>(y >> kFractionBits);
        const Real fraction_x = static_cast<Real>(x & kFraction) * kScale;
        const Real fraction_y = static_cast<Real>(y & kFraction) * kScale;
        const Value* const at = values + row * kWindowSide + column;
        results[i] = is_cubic_ ? weighted<Cubic<Real>>(at - kWindowSide - 1, fraction_x, fraction_y)
                               : weighted<Linear<Real>>(at, fraction_x, fraction_y);
        closest[i] = raw[(row + (fraction_y > Real{0.5})) * kWindowSide + column + (fraction_x > Real{0.5})];
    }
    samples_.write(results, closest, run.first - left, count);
}

template <class Value> void FilterPainter::paint_box(const Pixels& source, const Target& target) noexcept
{
    const Box& box = target.box;
    const Box seen = source_box(geometry_, box, kTapMargin);
    lay_out<Value>(source, seen);
    const int32_t width = box.right - box.left;
    uint8_t* data = target.data;
    for (int32_t row = box.top; row < box.bottom; ++row, data += target.stride) {
        const Run run = find_run(geometry_, is_cubic_ ? kCubicReach : kLinearReach, row, box.left, box.right);
        samples_.start_row(width);
        if (!run.empty())
            paint_run<Value>(run, seen, box.left);
        samples_.pack_row(data, width);
    }
}

void FilterPainter::paint(const Pixels& source, const Target& target) noexcept
{
    const Box& all = target.box;
    for (int32_t top = all.top; top < all.bottom; top += std::min(kSide, all.bottom - top)) {
        const int32_t bottom = top + std::min(kSide, all.bottom - top);
        uint8_t* const row = target.data + static_cast<size_t>(top - all.top) * target.stride;
        for (int32_t left = all.left; left < all.right; left += std::min(kSide, all.right - left)) {
            const int32_t right = left + std::min(kSide, all.right - left);
            uint8_t* const data = row + packed_bytes(static_cast<uint64_t>(left - all.left), samples_.bits());
            const Target part{data, target.stride, {left, top, right, bottom}};
            samples_.is_scalar() ? paint_box<double>(source, part) : paint_box<Color>(source, part);
        }
    }
}

} // namespace vk::rotate
