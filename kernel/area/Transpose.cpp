// Rows become columns in one sweep from left to right. At every column where runs begin or end, the bands that are
// crossed change; kept as a set of edges between bands, with a summary on top, a new row of the result is read off by
// going from edge to edge.
#include "kernel/area/Transform.h"

#include "platform/platform.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vk {

namespace {

/// An end of a run: at a column, the band changes between outside and inside.
struct Change {
    int32_t column;
    uint32_t band;
};

/// The changes of an area, ordered by column.
class Changes {
public:
    Changes() noexcept = default;
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;
    ~Changes() { platform::heap_free(items_); }

    bool open(const Area& area) noexcept
    {
        count_ = size_t{area.run_count} * 2;
        items_ = static_cast<Change*>(platform::heap_alloc(std::max<size_t>(count_, 1) * sizeof(Change)));
        if (!items_)
            return false;
        const AreaBox bounds = area.bounds();
        const auto columns = static_cast<size_t>(int64_t{bounds.right} - bounds.left + 1);
        const bool is_crowded = columns / 4 <= count_;
        return is_crowded ? place(area, bounds.left, columns) : (list(area), true);
    }

    const Change* begin() const noexcept { return items_; }
    const Change* end() const noexcept { return items_ + count_; }

private:
    template <class Visit> static void each(const Area& area, Visit visit) noexcept
    {
        for (uint32_t i = 0; i < area.band_count; ++i)
            for (const AreaRun& run : area.runs_of(area.bands[i])) {
                visit(Change{run.first, i});
                visit(Change{run.end, i});
            }
    }

    /// Few in many columns.
    void list(const Area& area) noexcept
    {
        Change* to = items_;
        each(area, [&](const Change& change) noexcept { *to++ = change; });
        std::sort(items_, items_ + count_, [](const Change& a, const Change& b) noexcept {
            return a.column != b.column ? a.column < b.column : a.band < b.band;
        });
    }

    /// Counts how many there are in each column, then puts each to its place.
    bool place(const Area& area, int32_t left, size_t columns) noexcept
    {
        auto* const at = static_cast<size_t*>(platform::heap_alloc((columns + 1) * sizeof(size_t)));
        if (!at)
            return false;
        std::memset(at, 0, (columns + 1) * sizeof(size_t));
        each(area, [&](const Change& change) noexcept { ++at[change.column - left + 1]; });
        for (size_t i = 1; i <= columns; ++i)
            at[i] += at[i - 1];
        each(area, [&](const Change& change) noexcept { items_[at[change.column - left]++] = change; });
        platform::heap_free(at);
        return true;
    }

    Change* items_ = nullptr;
    size_t count_ = 0;
};

/// A set of numbers, of which the next one is found quickly.
class Numbers {
public:
    Numbers() noexcept = default;
    Numbers(const Numbers&) = delete;
    Numbers& operator=(const Numbers&) = delete;
    ~Numbers() { platform::heap_free(words_); }

    bool open(size_t count) noexcept
    {
        const size_t words = count / 64 + 1;
        summary_count_ = words / 64 + 1;
        words_ = static_cast<uint64_t*>(platform::heap_alloc((words + summary_count_) * sizeof(uint64_t)));
        if (!words_)
            return false;
        std::memset(words_, 0, (words + summary_count_) * sizeof(uint64_t));
        summary_ = words_ + words;
        return true;
    }

    /// Puts a number in, or takes it out; true when it is there now.
    bool toggle(size_t number) noexcept
    {
        uint64_t& word = words_[number / 64];
        const bool was_empty = word == 0;
        word ^= uint64_t{1} << (number % 64);
        if (was_empty != (word == 0))
            summary_[number / 4096] ^= uint64_t{1} << (number / 64 % 64);
        return word >> (number % 64) & 1;
    }

    template <class Visit> void each(Visit visit) const noexcept
    {
        for (size_t i = 0; i < summary_count_; ++i)
            for (uint64_t summary = summary_[i]; summary != 0; summary &= summary - 1) {
                const size_t at = i * 64 + static_cast<size_t>(std::countr_zero(summary));
                for (uint64_t word = words_[at]; word != 0; word &= word - 1)
                    visit(at * 64 + static_cast<size_t>(std::countr_zero(word)));
            }
    }

private:
    uint64_t* words_ = nullptr;
    uint64_t* summary_ = nullptr; ///< which words are not empty
    size_t summary_count_ = 0;
};

/// The rows of the result that follow each other until the next change. An edge in front of band i is number 2 i, one
/// behind it 2 i + 1; where bands touch, the two become one.
class Sweep {
public:
    explicit Sweep(const Area& area, AreaBuilder& built) noexcept : area_(area), built_(built) {}

    bool open() noexcept { return edges_.open(size_t{area_.band_count} * 2); }

    void toggle(uint32_t band) noexcept
    {
        const bool touches_before = band > 0 && area_.bands[band - 1].bottom == area_.bands[band].top;
        toggle_edge(touches_before ? size_t{band} * 2 - 1 : size_t{band} * 2);
        toggle_edge(size_t{band} * 2 + 1);
    }

    void add_rows(int32_t top, int32_t bottom) noexcept
    {
        AreaRun* const runs = built_.room(edge_count_ / 2);
        if (!runs)
            return;
        int32_t* to = &runs->first;
        edges_.each([&](size_t edge) noexcept {
            const AreaBand& band = area_.bands[edge / 2];
            *to++ = edge % 2 ? band.bottom : band.top;
        });
        built_.add_band(top, bottom, uint64_t{edge_count_ / 2});
    }

private:
    void toggle_edge(size_t edge) noexcept
    {
        if (edges_.toggle(edge))
            ++edge_count_;
        else
            --edge_count_;
    }

    const Area& area_;
    AreaBuilder& built_;
    Numbers edges_;
    size_t edge_count_ = 0;
};

} // namespace

bool transpose_area(const Area& area, AreaBuilder& built) noexcept
{
    built.clear();
    if (area.empty())
        return true;
    Changes changes;
    Sweep sweep(area, built);
    if (!changes.open(area) || !sweep.open())
        return false;
    for (const Change* change = changes.begin(); change != changes.end() && built.good();) {
        const int32_t column = change->column;
        for (; change != changes.end() && change->column == column; ++change)
            sweep.toggle(change->band);
        if (change != changes.end())
            sweep.add_rows(column, change->column);
    }
    return built.good();
}

} // namespace vk
