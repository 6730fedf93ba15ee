#include "kernel/sampling/Filter.h"

#include "kernel/sampling/Mix.h"
#include "kernel/sampling/Real.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vk::sampling {

namespace {

/// Canvas columns for which the number of samples is chosen together, and samples of a pixel each way at most.
constexpr int32_t kMeanColumns = 64;
constexpr int32_t kMostSamples = 128;

const Reach& reach_of(const Filtering& filtering) noexcept
{
    return filtering.is_cubic ? kCubicReach : kLinearReach;
}

Fractions fractions_of(const Track& track, int32_t i) noexcept
{
    constexpr uint32_t kMask = (1u << kFractionBits) - 1;
    return {static_cast<uint32_t>(track.x[i]) & kMask, static_cast<uint32_t>(track.y[i]) & kMask};
}

/// So many that neighbouring ones are a source pixel apart at most. Rounding must not turn a scale of one into two.
int32_t samples_for(double spacing) noexcept
{
    constexpr double kNoMore = 1.0 / 64;
    return static_cast<int32_t>(std::clamp(std::ceil(spacing - kNoMore), 1.0, double{kMostSamples}));
}

} // namespace

/// What a canvas pixel's samples add up to, each weighted by 2^kWeightBits.
struct FilterPainter::Sums {
    uint64_t lanes[4];
    uint64_t products[3]; ///< with alpha
    int64_t seen;         ///< samples that are in these sums
    uint8_t nearest[Cells::kLargest];
};

FilterPainter::FilterPainter(const Mapping& mapping, const Cells& cells, const Filtering& filtering) noexcept
    : Painter(mapping, reach_of(filtering)), cells_(cells), filtering_(filtering), fill_(), row_()
{
    const MixLoops plain = plain_mix(cells.kind());
    const MixLoops fast = fast_mix(cells.kind());
    plain_ = filtering.is_cubic ? plain.cubic : plain.linear;
    fast_ = filtering.is_cubic ? fast.cubic : fast.linear;
    for (size_t i = 0; i < kLongest; ++i)
        std::memcpy(fill_ + i * cells.size(), cells.fill(), cells.size());
}

int FilterPainter::open() noexcept
{
    return !filtering_.is_area || sums_.allocate(kMeanColumns * sizeof(Sums)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
}

void FilterPainter::fill(uint8_t* cells, int64_t count) const noexcept
{
    std::memcpy(cells, fill_, static_cast<size_t>(count) * cells_.size());
}

/// Whether a sample is part of the picture: where anything it mixes is, or with edges where its own place is.
bool FilterPainter::sees(const Source& source, const Track& track, int32_t i) const noexcept
{
    const int64_t x = (track.base_x << kFractionBits) + track.x[i];
    const int64_t y = (track.base_y << kFractionBits) + track.y[i];
    const int64_t width = int64_t{source.extent.width} << kFractionBits;
    const int64_t height = int64_t{source.extent.height} << kFractionBits;
    if (filtering_.has_edges) {
        constexpr int64_t kHalf = kOne / 2;
        return x > -kHalf && x <= width - kHalf && y > -kHalf && y <= height - kHalf;
    }
    const int64_t before = int64_t{reach_.high} << kFractionBits;
    const int64_t behind = int64_t{reach_.low} << kFractionBits;
    return x >= -before && x < width + behind && y >= -before && y < height + behind;
}

/// A cell of the source, or what stands for it outside.
const uint8_t* FilterPainter::cell(const Source& source, int64_t x, int64_t y) const noexcept
{
    const Extent& extent = source.extent;
    const bool is_outside = x < 0 || y < 0 || x >= extent.width || y >= extent.height;
    if (is_outside && !filtering_.has_edges)
        return fill_;
    const auto column = static_cast<int32_t>(std::clamp<int64_t>(x, 0, extent.width - 1));
    const auto row = static_cast<int32_t>(std::clamp<int64_t>(y, 0, extent.height - 1));
    const Pixels* from = &source.pixels;
    const Box& held = from->held;
    if (column < held.left || column >= held.right || row < held.top || row >= held.bottom) {
        from = source.fetcher ? source.fetcher->block(column, row) : nullptr;
        if (!from)
            return fill_;
    }
    return from->data + static_cast<size_t>(row - from->held.top) * from->stride +
           static_cast<size_t>(column - from->held.left) * cells_.size();
}

/// The cells around a sample, `before` of them before it, `side` each way.
void FilterPainter::gather(const Source& source, const Track& track, int32_t i, int32_t before, int32_t side,
                           const uint8_t** cells) const noexcept
{
    const int64_t x = track.base_x + (track.x[i] >> kFractionBits) - before;
    const int64_t y = track.base_y + (track.y[i] >> kFractionBits) - before;
    for (int32_t k = 0; k < side * side; ++k)
        cells[k] = cell(source, x + k % side, y + k / side);
}

void FilterPainter::mix_single(const Source& source, const Track& track, int32_t i, uint8_t* out) const noexcept
{
    const CellKind& kind = cells_.kind();
    if (!sees(source, track, i))
        return fill(out, 1);
    if (filtering_.is_cubic) {
        const uint8_t* cells[16];
        gather(source, track, i, 1, 4, cells);
        return with_kind(kind, [&]<class Lane, int kChannels, bool kAlpha>() noexcept {
            if (kind.is_real)
                return mix_real<Lane, kChannels, kAlpha, 4>(cells, track.line.from(i), kind, out);
            mix_cubic<Lane, kChannels, kAlpha>(cells, fractions_of(track, i), kind, out);
        });
    }
    const uint8_t* cells[4];
    gather(source, track, i, 0, 2, cells);
    with_kind(kind, [&]<class Lane, int kChannels, bool kAlpha>() noexcept {
        if (kind.is_real)
            return mix_real<Lane, kChannels, kAlpha, 2>(cells, track.line.from(i), kind, out);
        mix_linear<Lane, kChannels, kAlpha>(cells, fractions_of(track, i), kind, out);
    });
}

/// Columns [left, right), one sample each.
void FilterPainter::paint_cells(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept
{
    const CellKind& kind = cells_.kind();
    const size_t size = cells_.size();
    int64_t at = left;
    for (; at < right && mapping_.follow({}, reach_, row, at, right, track_); at = track_.first + track_.count) {
        fill(out, track_.first - at);
        out += static_cast<size_t>(track_.first - at) * size;
        if (cells_.is_direct())
            fetch_ahead(source.pixels, 8 * kind.size, row, track_);
        split(
            track_, inner(source.pixels),
            [&](int32_t from, int32_t count, const Span& span) noexcept {
                const Span looked{span.left - reach_.low, span.top - reach_.low, span.right + reach_.high,
                                  span.bottom + reach_.high};
                Patch patch = patch_of(source.pixels, 8 * kind.size, track_, from, count, looked);
                const bool is_fast = fast_ && may_be_fast(source.pixels, 8 * kind.size, span);
                (is_fast ? fast_ : plain_)(patch, kind, out + static_cast<size_t>(from) * size);
            },
            [&](int32_t i) noexcept { mix_single(source, track_, i, out + static_cast<size_t>(i) * size); });
        out += static_cast<size_t>(track_.count) * size;
    }
    fill(out, right - at);
}

/// The raster of the block of kMeanColumns that a column is in.
Raster FilterPainter::raster_for(int32_t row, int32_t left) const noexcept
{
    const int32_t first = left / kMeanColumns * kMeanColumns;
    const int32_t end = first + std::min(kMeanColumns, mapping_.canvas().width - first);
    const Spacing spacing = mapping_.spacing(row, first, end);
    return {samples_for(spacing.across), samples_for(spacing.down)};
}

void FilterPainter::add_sample(const Source& source, const Track& track, int32_t i, const Raster& raster, int64_t row,
                               Sums& sums) const noexcept
{
    const CellKind& kind = cells_.kind();
    const Fractions fractions = fractions_of(track, i);
    const NarrowWeights weights(fractions);
    const uint8_t* cells[4];
    gather(source, track, i, 0, 2, cells);
    with_kind(kind, [&]<class Lane, int kChannels, bool kAlpha>() noexcept {
        for (size_t k = 0; k < 4; ++k) {
            const uint64_t weight = weights.of[k];
            const uint64_t alpha = kAlpha ? weight * lane_of<Lane>(cells[k], kChannels - 1) : 0;
            for (int c = 0; c < kChannels; ++c)
                sums.lanes[c] += weight * lane_of<Lane>(cells[k], c);
            for (int c = 0; c < kChannels - 1 && kAlpha; ++c)
                sums.products[c] += alpha * lane_of<Lane>(cells[k], c);
        }
    });
    ++sums.seen;
    const bool is_middle =
        (track.first + i) % raster.across == raster.across / 2 && row % raster.down == raster.down / 2;
    if (is_middle)
        std::memcpy(sums.nearest, cells[is_second(fractions.x) + 2 * is_second(fractions.y)], cells_.size());
}

/// The mean of all samples, of which those that see nothing are fill.
void FilterPainter::finish(const Sums& sums, const Raster& raster, uint8_t* out) const noexcept
{
    const CellKind& kind = cells_.kind();
    const auto count = static_cast<uint64_t>(int64_t{raster.across} * raster.down);
    const uint64_t missing = (count - static_cast<uint64_t>(sums.seen)) << kWeightBits;
    const uint64_t total = count << kWeightBits;
    std::memcpy(out, sums.nearest, cells_.size());
    with_kind(kind, [&]<class Lane, int kChannels, bool kAlpha>() noexcept {
        const uint64_t fill_alpha = kAlpha ? lane_of<Lane>(fill_, kChannels - 1) * missing : 0;
        const uint64_t alpha = kAlpha ? sums.lanes[kChannels - 1] + fill_alpha : 0;
        for (int c = 0; c < kChannels; ++c) {
            const uint64_t number = lane_of<Lane>(fill_, c);
            uint64_t value = (sums.lanes[c] + number * missing + total / 2) / total;
            if (kAlpha && c < kChannels - 1 && alpha > 0)
                value = (sums.products[c] + number * fill_alpha + alpha / 2) / alpha;
            put_lane<Lane>(out, c, value);
        }
    });
}

/// Adds the samples of columns [left, right), as far as they are those of the source's part.
void FilterPainter::add_samples(const Source& source, const Raster& raster, int32_t row, int32_t left, int32_t right,
                                Sums* sums) noexcept
{
    Parts* const parts = source.parts;
    Source held = source;
    const auto is_held = [&](int32_t i) noexcept {
        if (!parts)
            return true;
        if (!parts->has(track_.base_x + (track_.x[i] >> kFractionBits), track_.base_y + (track_.y[i] >> kFractionBits)))
            return false;
        const Pixels* const pixels = parts->pixels();
        if (pixels)
            held.pixels = *pixels;
        return pixels != nullptr;
    };
    const int64_t end = int64_t{right} * raster.across;
    const int64_t first_row = int64_t{row} * raster.down;
    for (int64_t line = first_row; line < first_row + raster.down; ++line)
        for (int64_t at = int64_t{left} * raster.across;
             at < end && mapping_.follow(raster, reach_, line, at, end, track_); at = track_.first + track_.count)
            for (int32_t i = 0; i < track_.count; ++i)
                if (sees(source, track_, i) && is_held(i))
                    add_sample(held, track_, i, raster, line, sums[(track_.first + i) / raster.across - left]);
}

/// Columns [left, right), no more than kMeanColumns, each the mean of its samples.
void FilterPainter::paint_means(const Source& source, const Raster& raster, int32_t row, int32_t left, int32_t right,
                                uint8_t* out) noexcept
{
    auto* const sums = reinterpret_cast<Sums*>(sums_.data());
    std::memset(static_cast<void*>(sums), 0, static_cast<size_t>(right - left) * sizeof(Sums));
    for (int32_t i = 0; i < right - left; ++i)
        std::memcpy(sums[i].nearest, fill_, cells_.size());
    if (!source.parts)
        add_samples(source, raster, row, left, right, sums);
    for (bool is_left = source.parts && source.parts->first(); is_left; is_left = source.parts->next())
        add_samples(source, raster, row, left, right, sums);
    for (int32_t i = 0; i < right - left; ++i)
        finish(sums[i], raster, out + static_cast<size_t>(i) * cells_.size());
}

void FilterPainter::paint(const Source& source, int32_t row, int32_t left, int32_t right, uint8_t* out) noexcept
{
    uint8_t* const cells = cells_.is_direct() ? out : row_;
    if (!filtering_.is_area) {
        paint_cells(source, row, left, right, cells);
    } else {
        for (int32_t at = left, next = at; at < right; at = next) {
            next = std::min(at / kMeanColumns * kMeanColumns + kMeanColumns, right);
            const Raster raster = raster_for(row, at);
            uint8_t* const place = cells + static_cast<size_t>(at - left) * cells_.size();
            if (raster.is_fine())
                paint_means(source, raster, row, at, next, place);
            else
                paint_cells(source, row, at, next, place);
        }
    }
    if (!cells_.is_direct())
        cells_.pack(row_, out, static_cast<size_t>(right - left));
}

} // namespace vk::sampling
