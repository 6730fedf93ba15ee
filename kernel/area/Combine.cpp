// A row of an area is a list of ascending edges at which it changes between outside and inside. Two lists are merged
// without a branch that depends on them: how many edges were passed says, by its lowest bit, whether one is inside.
#include "kernel/area/Combine.h"

#include <algorithm>
#include <bit>

namespace vk {

namespace {

/// Bands of one run that are combined between two looks at the room for them.
constexpr uint32_t kBatch = 256;

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

uint64_t bits_of(int64_t first, int64_t end) noexcept
{
    return std::bit_cast<uint64_t>(AreaRun{static_cast<int32_t>(first), static_cast<int32_t>(end)});
}

/// Two numbers in order, found without a branch.
struct Ordered {
    Ordered(int64_t a, int64_t b) noexcept : least(a + ((b - a) & (b - a) >> 63)), most(a + b - least) {}
    int64_t least;
    int64_t most;
};

/// Puts in one or two runs, or none, of which each may be empty.
void put_pieces(int64_t first, int64_t first_end, int64_t second, int64_t second_end, SmallBand& band) noexcept
{
    const auto has_first = static_cast<uint64_t>(first < first_end);
    const uint64_t front = bits_of(first, first_end);
    band.back = bits_of(second, second_end);
    band.front = front ^ ((front ^ band.back) & (has_first - 1));
    band.count = static_cast<uint32_t>(has_first + (second < second_end));
}

/// Combines a run with another one.
template <AreaOp op> void merge_single(AreaRun a, AreaRun b, SmallBand& band) noexcept
{
    const Ordered firsts(a.first, b.first);
    const Ordered ends(a.end, b.end);
    if constexpr (op == AreaOp::both) {
        band.front = bits_of(firsts.most, ends.least);
        band.count = firsts.most < ends.least;
    } else if constexpr (op == AreaOp::either) {
        const int64_t apart = (ends.least - firsts.most) >> 63; // all bits where there is a gap
        band.front = bits_of(firsts.least, ends.most + ((ends.least - ends.most) & apart));
        band.back = bits_of(firsts.most, ends.most);
        band.count = static_cast<uint32_t>(1 - apart);
    } else if constexpr (op == AreaOp::one) {
        // What lies before the inner two of the four edges, and what lies behind them, unless these two are the same.
        const Ordered inner(firsts.most, ends.least);
        const int64_t touch = -int64_t{inner.least == inner.most};
        put_pieces(firsts.least, inner.least + ((ends.most - inner.least) & touch), inner.most,
                   ends.most + ((inner.most - ends.most) & touch), band);
    } else {
        const AreaRun from = op == AreaOp::first_only ? a : b;
        const AreaRun off = op == AreaOp::first_only ? b : a;
        put_pieces(from.first, Ordered(from.end, off.first).least, Ordered(from.first, off.end).most, from.end, band);
    }
}

/// Two bands of the same rows with a run each.
bool are_single(const AreaBand& a, const AreaBand& b) noexcept
{
    return a.top == b.top && a.bottom == b.bottom && a.end - a.first == 1 && b.end - b.first == 1;
}

/// Adds the combination of two rows of runs.
template <AreaOp op> void add_combined(AreaRuns a, AreaRuns b, int32_t top, int32_t bottom, AreaBuilder& built) noexcept
{
    AreaRun* const room = built.room(uint64_t{a.size()} + b.size() + 1);
    if (!room)
        return;
    built.add_band(top, bottom, merge<op>(edges_of(a), edges_of(b), &room->first) / 2);
}

/// Adds the bands of an area from row `y` on.
void add_rest(const Area& area, const AreaBand* band, int32_t y, AreaBuilder& built) noexcept
{
    for (const AreaBand* const end = area.bands + area.band_count; band != end; ++band)
        built.add_band(std::max(band->top, y), band->bottom, area.runs_of(*band));
}

/// Bands of one run each that lie in the same rows, as many as follow from here on.
template <AreaOp op>
void add_singles(const Area& a, const AreaBand*& in_a, const Area& b, const AreaBand*& in_b, int32_t& y,
                 AreaBuilder& built) noexcept
{
    const AreaBand* at_a = in_a;
    const AreaBand* at_b = in_b;
    const AreaBand* const end_a = a.bands + a.band_count;
    const AreaBand* const end_b = b.bands + b.band_count;
    const AreaRun* const runs_a = a.runs;
    const AreaRun* const runs_b = b.runs;
    built.add_small_bands(kBatch, [&](SmallBand& band) noexcept {
        if (at_a == end_a || at_b == end_b || !are_single(*at_a, *at_b))
            return false;
        band.top = at_a->top;
        band.bottom = at_a->bottom;
        merge_single<op>(runs_a[at_a->first], runs_b[at_b->first], band);
        ++at_a;
        ++at_b;
        return true;
    });
    if (at_a != in_a)
        y = at_a[-1].bottom;
    in_a = at_a;
    in_b = at_b;
}

/// From row to row at which a band begins or ends.
template <AreaOp op> void sweep(const Area& a, const Area& b, AreaBuilder& built) noexcept
{
    const AreaBand* in_a = a.bands;
    const AreaBand* in_b = b.bands;
    const AreaBand* const end_a = in_a + a.band_count;
    const AreaBand* const end_b = in_b + b.band_count;
    int32_t y = INT32_MIN;
    while (in_a != end_a && in_b != end_b && built.good()) {
        if (are_single(*in_a, *in_b) && in_a->top >= y) {
            add_singles<op>(a, in_a, b, in_b, y, built);
            continue;
        }
        const int32_t top = std::max(y, std::min(in_a->top, in_b->top));
        const bool has_a = in_a->top <= top;
        const bool has_b = in_b->top <= top;
        y = std::min(has_a ? in_a->bottom : in_a->top, has_b ? in_b->bottom : in_b->top);
        if (has_a && has_b)
            add_combined<op>(a.runs_of(*in_a), b.runs_of(*in_b), top, y, built);
        else if (has_a && keeps(op, 1, 0))
            built.add_band(top, y, a.runs_of(*in_a));
        else if (has_b && keeps(op, 0, 1))
            built.add_band(top, y, b.runs_of(*in_b));
        in_a += in_a->bottom == y;
        in_b += in_b->bottom == y;
    }
    if (keeps(op, 1, 0))
        add_rest(a, in_a, y, built);
    if (keeps(op, 0, 1))
        add_rest(b, in_b, y, built);
}

} // namespace

bool combine_areas(const Area& a, const Area& b, AreaOp op, AreaBuilder& built) noexcept
{
    built.clear();
    built.expect(uint64_t{a.run_count} + b.run_count + 2 * kBatch, uint64_t{a.band_count} + b.band_count + kBatch);
    switch (op) {
    case AreaOp::both:
        sweep<AreaOp::both>(a, b, built);
        break;
    case AreaOp::either:
        sweep<AreaOp::either>(a, b, built);
        break;
    case AreaOp::one:
        sweep<AreaOp::one>(a, b, built);
        break;
    case AreaOp::first_only:
        sweep<AreaOp::first_only>(a, b, built);
        break;
    case AreaOp::second_only:
        sweep<AreaOp::second_only>(a, b, built);
        break;
    }
    return built.good();
}

} // namespace vk
