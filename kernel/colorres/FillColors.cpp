// Each thread converts with rows of its own, which share what they learn about colours. Rows of error diffusion follow
// each other closely, so threads take few at a time; other rows do not depend on each other.
#include "kernel/colorres/FillColors.h"

#include "kernel/colorres/ColorRows.h"
#include "kernel/format/Depths.h"
#include "kernel/rows/RegionRows.h"
#include "kernel/rows/RowBands.h"
#include "kernel/rows/Segments.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

/// Dithering is for the pixels inside the region: those outside get their nearest colours.
class Outside {
public:
    explicit Outside(const BITMAPHANDLE& source) noexcept : inside_(source), width_(source.Width) {}

    int open(const BITMAPHANDLE& source, const ColorTarget& target, size_t line) noexcept
    {
        is_needed_ = target.dithered && !inside_.is_whole();
        if (!is_needed_)
            return V_SUCCESS;
        target_ = target;
        target_.dithered = false;
        return buffer_.allocate(uint64_t{line}) ? rows_.open(source, target_) : V_ERROR_NO_MEMORY;
    }

    /// Changes converted rows outside of the region.
    int run(SourceRows from, TargetRows to, int32_t row, int32_t count) noexcept
    {
        int result = V_SUCCESS;
        for (int32_t i = 0; is_needed_ && i < count && result == V_SUCCESS; ++i) {
            const auto at = static_cast<size_t>(i);
            const SourceRows line{static_cast<const uint8_t*>(from.data) + from.stride * at, from.stride};
            result = rows_.run(line, {buffer_.data(), to.stride}, 1);
            if (result == V_SUCCESS)
                mix(static_cast<uint8_t*>(to.data) + to.stride * at, row + i, to.stride);
        }
        return result;
    }

private:
    void mix(uint8_t* dithered, int32_t row, size_t bytes) noexcept
    {
        uint8_t* const nearest = buffer_.data();
        inside_.each(row, 0, width_, [&](int32_t first, int32_t end) noexcept {
            copy_pixels(nearest, dithered, target_.bits, static_cast<uint32_t>(first), static_cast<uint32_t>(end));
        });
        std::memcpy(dithered, nearest, bytes);
    }

    const RegionRows inside_;
    const int32_t width_;
    bool is_needed_ = false;
    ColorTarget target_;
    ColorRows rows_;
    RowBuffer buffer_;
};

/// Rows that bands are made up of: where a plain conversion is big enough to go past the caches, its parts are, too.
int32_t rows_of_bands(const BITMAPHANDLE& source, const BITMAPHANDLE& made, uint32_t threads) noexcept
{
    constexpr uint64_t kStreamed = uint64_t{32} << 20; // read and written
    const uint64_t line = uint64_t{source.BytesPerLine} + made.BytesPerLine;
    const auto height = static_cast<uint32_t>(source.Height);
    if (made.BitsPerPixel <= kMostIndexBits || line * height < kStreamed)
        return 1;
    const uint64_t rows = std::max<uint64_t>((kStreamed + line - 1) / line, (height + threads - 1) / threads);
    return static_cast<int32_t>(std::min<uint64_t>(rows, height));
}

class Filling {
public:
    Filling(BITMAPHANDLE& source, BITMAPHANDLE& made, const ColorTarget& target) noexcept
        : source_(source), made_(made), target_(target)
    {}

    int run(Progress& progress, int64_t steps_before) noexcept
    {
        const int result = first_.open(source_, target_);
        if (result != V_SUCCESS)
            return result;
        const uint32_t threads = first_.share(workers_allowed());
        RowPass pass{source_, &made_, plan(threads)};
        pass.plan.before = steps_before;
        auto work = [&](RowBands& bands) noexcept {
            if (threads == 1)
                return convert(first_, bands);
            ColorRows own;
            const int joined = own.join(source_, target_, first_);
            return joined == V_SUCCESS ? convert(own, bands) : joined;
        };
        return pass_rows(pass, progress, work);
    }

private:
    BandPlan plan(uint32_t threads) const noexcept
    {
        BandPlan plan = plan_rows(source_, &made_, threads, rows_of_bands(source_, made_, threads));
        const int32_t together = first_.rows_together();
        if (threads > 1 && together > 1)
            plan.rows = std::min(together, plan.height);
        return plan;
    }

    int convert(ColorRows& rows, RowBands& bands) const noexcept
    {
        Outside outside(source_);
        const int result = outside.open(source_, target_, made_.BytesPerLine);
        for (RowSet set{}; result == V_SUCCESS && bands.take(set);) {
            const SourceRows from{set.from, source_.BytesPerLine};
            const TargetRows to{set.to, made_.BytesPerLine};
            rows.go_to(set.row);
            int converted = rows.run(from, to, set.count);
            if (converted != V_SUCCESS)
                rows.abandon();
            else
                converted = outside.run(from, to, set.row, set.count);
            bands.done(set, converted);
        }
        return result;
    }

    BITMAPHANDLE& source_;
    BITMAPHANDLE& made_;
    const ColorTarget& target_;
    ColorRows first_;
};

} // namespace

int fill_colors(BITMAPHANDLE& source, BITMAPHANDLE& made, const ColorTarget& target, Progress& progress,
                int64_t steps_before) noexcept
{
    Filling filling(source, made, target);
    return filling.run(progress, steps_before);
}

} // namespace vk
