// A row of an area is a list of ascending edges at which it changes between outside and inside. Two lists are merged
// without a branch that depends on them: how many edges were passed says, by its lowest bit, whether one is inside.
#include "kernel/area/Combine.h"

#include <algorithm>
#include <cstring>

namespace vk {

namespace {

constexpr bool keeps(AreaOp op, uint32_t in_a, uint32_t in_b) noexcept
{
    return static_cast<uint32_t>(op) >> (in_a + 2 * in_b) & 1;
}

/// Edges in ascending order, an even number of them.
struct Edges {
    const int32_t* at;
    size_t count;
};

Edges edges_of(AreaRuns runs) noexcept
{
    return {runs.size() == 0 ? nullptr : &runs.begin()->first, size_t{runs.size()} * 2};
}

/// Writes the edges of the combination; there is room for all that there are.
size_t merge(Edges a, Edges b, AreaOp op, int32_t* out) noexcept
{
    size_t i = 0;
    size_t j = 0;
    size_t made = 0;
    while (i < a.count && j < b.count) {
        const int32_t at_a = a.at[i];
        const int32_t at_b = b.at[j];
        out[made] = std::min(at_a, at_b);
        i += at_a <= at_b;
        j += at_b <= at_a;
        const uint32_t now = static_cast<uint32_t>(op) >> ((i & 1) + 2 * (j & 1)) & 1;
        made += (now ^ made) & 1;
    }
    // What is left of one is there alone.
    const Edges rest = i < a.count ? Edges{a.at + i, a.count - i} : Edges{b.at + j, b.count - j};
    if (rest.count != 0 && (i < a.count ? keeps(op, 1, 0) : keeps(op, 0, 1))) {
        std::memcpy(out + made, rest.at, rest.count * sizeof *out);
        made += rest.count;
    }
    return made;
}

/// The bands of an area from the top down, as the sweep comes to them.
class Bands {
public:
    explicit Bands(const Area& area) noexcept : area_(area), band_(area.bands), end_(area.bands + area.band_count) {}

    bool done() const noexcept { return band_ == end_; }

    /// The next row at which something begins or ends; none is the largest number.
    int32_t next(int32_t y) const noexcept { return done() ? INT32_MAX : covers(y) ? band_->bottom : band_->top; }
    bool covers(int32_t y) const noexcept { return !done() && band_->top <= y; }
    AreaRuns runs(int32_t y) const noexcept { return covers(y) ? area_.runs_of(*band_) : AreaRuns{}; }

    /// Passes a band that ends at `y`.
    void pass(int32_t y) noexcept
    {
        if (!done() && band_->bottom == y)
            ++band_;
    }

private:
    const Area& area_;
    const AreaBand* band_;
    const AreaBand* end_;
};

void add_combined(AreaRuns a, AreaRuns b, AreaOp op, int32_t top, int32_t bottom, AreaBuilder& built) noexcept
{
    if ((a.size() == 0 && !keeps(op, 0, 1)) || (b.size() == 0 && !keeps(op, 1, 0)))
        return;
    AreaRun* const room = built.room(uint64_t{a.size()} + b.size() + 1);
    if (room)
        built.add_band(top, bottom, merge(edges_of(a), edges_of(b), op, &room->first) / 2);
}

} // namespace

bool combine_areas(const Area& a, const Area& b, AreaOp op, AreaBuilder& built) noexcept
{
    built.clear();
    Bands bands_a(a);
    Bands bands_b(b);
    int32_t y = INT32_MIN;
    while (!(bands_a.done() && bands_b.done()) && built.good()) {
        const int32_t next = std::min(bands_a.next(y), bands_b.next(y));
        add_combined(bands_a.runs(y), bands_b.runs(y), op, y, next, built);
        bands_a.pass(next);
        bands_b.pass(next);
        y = next;
    }
    return built.good();
}

} // namespace vk
