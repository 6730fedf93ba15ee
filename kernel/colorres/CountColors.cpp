// Colours are counted in scan order until there are too many for a palette. From there on cells of colours are counted,
// whose numbers do not depend on the order of pixels, so several threads may count: each in cells of its own, which are
// added up.
#include "kernel/colorres/ColorRes.h"
#include "kernel/colorres/ColorRows.h"
#include "kernel/colorres/Quantize.h"
#include "kernel/rows/RowBands.h"
#include "platform/platform.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

namespace vk {

namespace {

/// Takes out pixels that do not count; the number that is left.
size_t counted_pixels(uint8_t* pixels, size_t count, const CountedPixels& counted) noexcept
{
    if (!counted.skips_clear && !counted.skips_extremes)
        return count;
    size_t kept = 0;
    for (size_t i = 0; i < count; ++i) {
        uint32_t pixel;
        std::memcpy(&pixel, pixels + 4 * i, sizeof pixel);
        const uint32_t color = pixel & 0xFFFFFF;
        std::memcpy(pixels + 4 * kept, &pixel, sizeof pixel);
        const bool is_clear = counted.skips_clear && pixel >> 24 == 0;
        const bool is_extreme = counted.skips_extremes && (color == 0 || color == 0xFFFFFF);
        kept += is_clear || is_extreme ? 0 : 1;
    }
    return kept;
}

/// The way of rows to a count, as 32-bit colours.
class Feed {
public:
    Feed(const BITMAPHANDLE& source, const ColorTarget& target, const CountedPixels& counted) noexcept
        : source_(source), target_(target), counted_(counted), width_(static_cast<size_t>(source.Width))
    {}

    int open() noexcept
    {
        batch_ = std::clamp(static_cast<int32_t>(65536 / width_), 1, +source_.Height);
        const int result = rows_.open(source_, target_);
        if (result != V_SUCCESS)
            return result;
        return buffer_.allocate(width_ * 4 * static_cast<uint32_t>(batch_)) ? V_SUCCESS : V_ERROR_NO_MEMORY;
    }

    /// Adds rows to a count.
    template <class Count> int add(const RowSet& set, Count& count) noexcept
    {
        for (int32_t done = 0; done < set.count;) {
            const int32_t rows = std::min(batch_, set.count - done);
            const SourceRows from{set.from + size_t{source_.BytesPerLine} * static_cast<uint32_t>(done),
                                  source_.BytesPerLine};
            const int result = rows_.run(from, {buffer_.data(), width_ * 4}, rows);
            if (result != V_SUCCESS)
                return result;
            const size_t kept = counted_pixels(buffer_.data(), width_ * static_cast<uint32_t>(rows), counted_);
            if (!count.add(buffer_.data(), kept))
                return V_ERROR_NO_MEMORY;
            done += rows;
        }
        return V_SUCCESS;
    }

    /// Adds all rows that there are to be had.
    template <class Count> void add_all(RowBands& bands, Count& count) noexcept
    {
        for (RowSet set{}; bands.take(set);)
            bands.done(set, add(set, count));
    }

private:
    const BITMAPHANDLE& source_;
    const ColorTarget& target_;
    const CountedPixels counted_;
    const size_t width_;
    int32_t batch_ = 1;
    ColorRows rows_;
    RowBuffer buffer_;
};

/// What a worker has counted, until the calling thread adds it up.
struct Part {
    quantize::ColorCount count{0}; // of cells from the first colour on
    Part* next = nullptr;
};

class Parts {
public:
    Parts() noexcept = default;
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;
    ~Parts()
    {
        while (Part* const part = first_.load(std::memory_order_acquire)) {
            first_.store(part->next, std::memory_order_relaxed);
            part->~Part();
            platform::heap_free(part);
        }
    }

    /// A new part; null without memory.
    Part* make() noexcept
    {
        void* const memory = platform::heap_alloc(sizeof(Part));
        if (!memory)
            return nullptr;
        auto* const part = new (memory) Part;
        part->next = first_.load(std::memory_order_relaxed);
        while (!first_.compare_exchange_weak(part->next, part, std::memory_order_acq_rel, std::memory_order_relaxed)) {
        }
        return part;
    }

    /// For when nobody counts any more.
    void add_to(quantize::Quantizer& quantizer) const noexcept
    {
        for (const Part* part = first_.load(std::memory_order_acquire); part; part = part->next)
            quantizer.add(part->count);
    }

private:
    std::atomic<Part*> first_{nullptr};
};

class Counting {
public:
    Counting(BITMAPHANDLE& source, quantize::Quantizer& quantizer, const CountedPixels& counted) noexcept
        : source_(source), quantizer_(quantizer), counted_(counted), feed_(source, target_, counted)
    {
        target_.bits = 32;
        target_.order = COLORORDER_BGR;
    }

    int run(Progress& progress) noexcept
    {
        const uint32_t threads = workers_allowed();
        int result = feed_.open();
        for (int32_t row = 0; row < source_.Height && result == V_SUCCESS;) {
            const int32_t left = source_.Height - row;
            const bool is_exact = threads > 1 && quantizer_.is_exact(); // then soon no longer, as a rule
            const int32_t rows = is_exact ? std::min(left, buffered_rows(source_, source_)) : left;
            const auto pixels = static_cast<uint64_t>(source_.Width) * static_cast<uint32_t>(left);
            result = pass(row, rows, is_exact || !quantizer_.has_room(pixels) ? 1 : threads, progress);
            row += rows;
        }
        return result;
    }

private:
    /// Workers begin with cells. The calling thread goes on with the quantizer's own.
    int pass(int32_t row, int32_t rows, uint32_t threads, Progress& progress) noexcept
    {
        Parts parts;
        RowPass pass{source_, nullptr, plan_rows(source_, nullptr, threads), row};
        pass.plan.height = rows;
        pass.plan.rows = std::min(pass.plan.rows, rows);
        pass.plan.before = row;
        auto work = [&](RowBands& bands) noexcept {
            if (bands.is_caller()) {
                feed_.add_all(bands, quantizer_);
                return V_SUCCESS;
            }
            Feed feed(source_, target_, counted_);
            Part* const part = feed.open() == V_SUCCESS ? parts.make() : nullptr;
            if (!part || !part->count.begin_cells())
                return V_ERROR_NO_MEMORY;
            feed.add_all(bands, part->count);
            return V_SUCCESS;
        };
        const int result = pass_rows(pass, progress, work);
        parts.add_to(quantizer_);
        return result;
    }

    BITMAPHANDLE& source_;
    quantize::Quantizer& quantizer_;
    const CountedPixels counted_;
    ColorTarget target_; // 32-bit BGR
    Feed feed_;
};

} // namespace

int add_colors(BITMAPHANDLE& source, quantize::Quantizer& quantizer, Progress& progress, CountedPixels counted) noexcept
{
    counted.skips_clear =
        counted.skips_clear && source.Flags & BITMAPFLAG_TRANSPARENCY && !has_alpha(source.BitsPerPixel, source.Order);
    Counting counting(source, quantizer, counted);
    return counting.run(progress);
}

} // namespace vk
