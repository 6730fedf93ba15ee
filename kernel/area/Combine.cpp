// A row of an area is a list of ascending edges at which it changes between outside and inside. Two lists are merged
// without a branch that depends on them: how many edges were passed says, by its lowest bit, whether one is inside.
#include "kernel/area/Combine.h"

#include <algorithm>

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

/// A merge on its way: edges passed in either list, and made.
struct Place {
    size_t i = 0;
    size_t j = 0;
    size_t made = 0;

    /// Passes the smaller of two edges, or both where they are one; the masks say which of them stay. Edges are no less
    /// than 0, so that they can be subtracted.
    template <AreaOp op>
    void pass(int64_t at_a, int64_t at_b, int32_t* out, int64_t* stays_a, int64_t* stays_b) noexcept
    {
        const int64_t distance = at_b - at_a;
        *stays_a = distance >> 63;
        *stays_b = -distance >> 63;
        out[made] = static_cast<int32_t>(at_a + (distance & *stays_a));
        i += static_cast<size_t>(*stays_a + 1);
        j += static_cast<size_t>(*stays_b + 1);
        made += (inside<op>() ^ made) & 1;
    }

    /// The result's state, in the lowest bit.
    template <AreaOp op> size_t inside() const noexcept
    {
        if constexpr (op == AreaOp::both)
            return i & j;
        else if constexpr (op == AreaOp::either)
            return i | j;
        else if constexpr (op == AreaOp::one)
            return i ^ j;
        else
            return op == AreaOp::first_only ? i & ~j : j & ~i;
    }
};

/// Writes the edges of the combination; there is room for all that there are, and a run.
template <AreaOp op> size_t merge(Edges a, Edges b, int32_t* out) noexcept
{
    Place place;
    int64_t stays_a = 0;
    int64_t stays_b = 0;
    if (a.count != 0 && b.count != 0) {
        // The edges behind the present ones are loaded before it is known which of them will be the next.
        int64_t at_a = a.at[0];
        int64_t at_b = b.at[0];
        while (place.i + 1 < a.count && place.j + 1 < b.count) {
            const int64_t next_a = a.at[place.i + 1];
            const int64_t next_b = b.at[place.j + 1];
            place.pass<op>(at_a, at_b, out, &stays_a, &stays_b);
            at_a = next_a ^ ((at_a ^ next_a) & stays_a);
            at_b = next_b ^ ((at_b ^ next_b) & stays_b);
        }
    }
    while (place.i < a.count && place.j < b.count)
        place.pass<op>(a.at[place.i], b.at[place.j], out, &stays_a, &stays_b);
    // What is left of one is there alone.
    const bool is_a = place.i < a.count;
    const Edges rest = is_a ? Edges{a.at + place.i, a.count - place.i} : Edges{b.at + place.j, b.count - place.j};
    if (rest.count != 0 && (is_a ? keeps(op, 1, 0) : keeps(op, 0, 1))) {
        std::copy_n(rest.at, rest.count, out + place.made);
        place.made += rest.count;
    }
    return place.made;
}

size_t merge(Edges a, Edges b, AreaOp op, int32_t* out) noexcept
{
    switch (op) {
    case AreaOp::both:
        return merge<AreaOp::both>(a, b, out);
    case AreaOp::either:
        return merge<AreaOp::either>(a, b, out);
    case AreaOp::one:
        return merge<AreaOp::one>(a, b, out);
    case AreaOp::first_only:
        return merge<AreaOp::first_only>(a, b, out);
    case AreaOp::second_only:
        break;
    }
    return merge<AreaOp::second_only>(a, b, out);
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
