// The loops of WideKernels.h in vectors.
//
// Numbers of a row are summed as reals, which is exact: none of the sums has more bits than a real. Numbers too large
// for that are summed in two parts of 16 bits each. Halves never tie when sums lose bits, because half a unit of the
// numbers is in every sum; so the processor's own rounding does.
//
// Down the columns it is the weights that come in two parts, or where sums are too large for that, the sums: two
// numbers of 32 bits with a sign each, the second times 2^32.
#include "kernel/resample/WideKernels.h"
#include "simd/Divide.h"
#include "simd/Fold.h"
#include "simd/InOrder.h"
#include "simd/Round.h"
#include "simd/Simd.h"

namespace vk::resample::VK_SIMD_SET {

namespace {

using namespace simd;

using Numbers = Wide<uint32_t>;
using Longs = Wide<int64_t>;
using Four = Vec<double, 4>;
constexpr size_t kNumbers = Numbers::kLanes;

// ---- along the row ----

/// Numbers that are made at a time, and the vectors of them.
constexpr size_t kStep = 16;
constexpr size_t kVectors = kStep / kNumbers;

/// Lanes as numbers of 32 bits, vector by vector.
template <class T, size_t N> VK_SIMD_INLINE void spread(Vec<T, N> lanes, Numbers* out) noexcept
{
    if constexpr (sizeof(T) == 4 && N == kNumbers) {
        *out = lanes;
    } else if constexpr (sizeof(T) == 4 || (N * sizeof(T) > 16 && 2 * N * sizeof(T) > kWidth)) {
        spread(low_half(lanes), out);
        spread(high_half(lanes), out + kVectors * N / 2 / kStep);
    } else {
        spread(widen(lanes), out);
    }
}
VK_SIMD_INLINE void load_step(const uint8_t* from, Numbers* out) noexcept
{
    spread(load<Vec<uint8_t, kStep>>(from), out);
}
VK_SIMD_INLINE void load_step(const uint16_t* from, Numbers* out) noexcept
{
    for (size_t half = 0; half < 2; ++half)
        if constexpr (kVectors == 1)
            spread(load<Vec<uint16_t, kStep>>(from), out);
        else
            spread(load<Quad<uint16_t>>(from + half * kStep / 2), out + half * kVectors / 2);
}
VK_SIMD_INLINE void load_step(const uint32_t* from, Numbers* out) noexcept
{
    for (size_t v = 0; v < kVectors; ++v)
        out[v] = load<Numbers>(from + v * kNumbers);
}

/// How numbers become reals.
enum class Parts : uint8_t {
    one,   ///< those below 2^31
    whole, ///< those of 32 bits
    two    ///< these in two parts, each a row of its own
};

VK_SIMD_INLINE void store_reals(double* out, Numbers numbers) noexcept
{
    const auto low = to_double(as<int32_t>(low_half(numbers))), high = to_double(as<int32_t>(high_half(numbers)));
    store(out, low);
    store(out + kNumbers / 2, high);
}

template <class Lane, bool kAlpha, Parts kParts>
VK_SIMD_INLINE void expand_step(const Lane* lanes, const WideRow& row, double* out) noexcept
{
    const auto colors = lanes_of<Numbers>([](size_t i) noexcept { return i % 4 == 3 ? 0u : ~0u; });
    const auto low = all<Numbers>(0xFFFF);
    Numbers numbers[kVectors];
    load_step(lanes, numbers);
    for (size_t v = 0; v < kVectors; ++v, out += kNumbers) {
        Numbers made = numbers[v];
        if constexpr (kAlpha)
            made = made * ((of_block<3>(made) & colors) | (all<Numbers>(1u << row.extra) & ~colors));
        if constexpr (kParts == Parts::one) {
            store_reals(out, made);
        } else if constexpr (kParts == Parts::two) {
            store_reals(out, made & low);
            store_reals(out + row.part, made >> 16);
        } else {
            const auto joined = [&](auto upper, auto lower) noexcept {
                const auto reals = to_double(as<int32_t>(upper));
                return mul_add(reals, all<decltype(reals)>(65536.0), to_double(as<int32_t>(lower)));
            };
            const Numbers upper = made >> 16, lower = made & low;
            store(out, joined(low_half(upper), low_half(lower)));
            store(out + kNumbers / 2, joined(high_half(upper), high_half(lower)));
        }
    }
}

/// The numbers of a row of lanes, and zeros behind them, as reals.
template <class Lane, bool kAlpha, Parts kParts> void expand(const uint8_t* bytes, const WideRow& row) noexcept
{
    const auto* const lanes = reinterpret_cast<const Lane*>(bytes);
    const auto count = static_cast<size_t>(row.along.source) * static_cast<size_t>(row.along.channels);
    size_t i = 0;
    for (; i + kStep <= count; i += kStep)
        expand_step<Lane, kAlpha, kParts>(lanes + i, row, row.room + i);
    if (i == count)
        return;
    Lane last[kStep] = {};
    __builtin_memcpy(last, lanes + i, (count - i) * sizeof(Lane));
    expand_step<Lane, kAlpha, kParts>(last, row, row.room + i);
}

template <Parts kParts> void expand_row(const uint8_t* lanes, const WideRow& row) noexcept
{
    if (row.lane_bytes == 4)
        expand<uint32_t, false, kParts>(lanes, row);
    else if (row.lane_bytes == 2)
        row.by_alpha ? expand<uint16_t, true, kParts>(lanes, row) : expand<uint16_t, false, kParts>(lanes, row);
    else
        row.by_alpha ? expand<uint8_t, true, kParts>(lanes, row) : expand<uint8_t, false, kParts>(lanes, row);
}

/// What four sums need to lose their bits.
class Rounding {
public:
    explicit VK_SIMD_INLINE Rounding(const WideRow& row) noexcept
        : half_(all<Four>(row.shift == 0 ? 0.0 : 0.5)), scale_(all<Four>(power(-row.shift))),
          upper_scale_(all<Four>(power(16 - row.shift))), stays_real_(row.split != 0)
    {}
    VK_SIMD_INLINE Four half() const noexcept { return half_; } ///< where a sum begins

    VK_SIMD_INLINE void put(int64_t* out, Four sums) const noexcept { put_whole(out, rounded_to_whole(sums * scale_)); }

    /// Of sums in two parts: what the upper one leaves behind the point goes with the lower one.
    VK_SIMD_INLINE void put(int64_t* out, Four lower, Four upper) const noexcept
    {
        const Four scaled = upper * upper_scale_;
        const Four whole = rounded_to_whole(scaled);
        put_whole(out, whole + rounded_to_whole((scaled - whole) + lower * scale_));
    }

private:
    static VK_SIMD_INLINE double power(int32_t exponent) noexcept
    {
        return __builtin_bit_cast(double, static_cast<uint64_t>(1023 + exponent) << 52);
    }
    VK_SIMD_INLINE void put_whole(int64_t* out, Four sums) const noexcept
    {
        if (stays_real_)
            return store(out, sums);
        const auto v = nearest_whole(sums); // the upper half for a lower one with a sign
        store(out, v + ((v & all<Vec<int64_t, 4>>(int64_t{1} << 31)) << 1));
    }

    Four half_, scale_, upper_scale_;
    bool stays_real_;
};

/// The same real in all lanes: less zero, which changes none, unlike zero and it.
VK_SIMD_INLINE Four each(double value) noexcept
{
    return {value - Four::Raw{}};
}

/// Pixels of three or four numbers, of kTaps taps (0: any). A number behind the last ones is touched.
template <int32_t kChannels, int32_t kTaps, bool kTwo> void along_pixels(const WideRow& row, int64_t* out) noexcept
{
    const Rounding rounding(row);
    const double* weights = row.reals;
    const int32_t taps = kTaps ? kTaps : row.along.taps;
    for (int32_t i = 0; i < row.along.count; ++i, weights += row.pitch, out += kChannels) {
        const double* from = row.room + static_cast<ptrdiff_t>(row.along.first[i]) * kChannels;
        Four sum = rounding.half();
        [[maybe_unused]] Four upper{};
        for (int32_t k = 0; k < taps; ++k, from += kChannels) {
            const Four weight = each(weights[k]);
            sum = mul_add(load<Four>(from), weight, sum);
            if constexpr (kTwo)
                upper = mul_add(load<Four>(from + row.part), weight, upper);
        }
        if constexpr (kTwo)
            rounding.put(out, sum, upper);
        else
            rounding.put(out, sum);
    }
}

/// Four partial sums of a position of one number.
VK_SIMD_INLINE Four gray_parts(const double* from, const double* weights, int32_t pitch) noexcept
{
    Four sum = load<Four>(from) * load<Four>(weights);
    for (int32_t k = kTapGroup; k < pitch; k += kTapGroup)
        sum = mul_add(load<Four>(from + k), load<Four>(weights + k), sum);
    return sum;
}

/// Pixels of one number, four at a time, the last one again where there are fewer.
template <bool kTwo> void along_grays(const WideRow& row, int64_t* out) noexcept
{
    const Rounding rounding(row);
    const int32_t last = row.along.count - 1;
    for (int32_t i = 0; i <= last; i += 4) {
        const auto sums = [&](const double* room) noexcept {
            const auto parts = [&](int32_t at) noexcept {
                const int32_t position = at < last ? at : last;
                return gray_parts(room + row.along.first[position],
                                  row.reals + static_cast<ptrdiff_t>(position) * row.pitch, row.pitch);
            };
            return folded({parts(i), parts(i + 1), parts(i + 2), parts(i + 3)});
        };
        const Four sum = sums(row.room) + rounding.half();
        if constexpr (kTwo)
            rounding.put(out + i, sum, sums(row.room + row.part));
        else
            rounding.put(out + i, sum);
    }
}

template <int32_t kChannels, bool kTwo> void along_colors(const WideRow& row, int64_t* out) noexcept
{
    row.along.taps == 4 ? along_pixels<kChannels, 4, kTwo>(row, out) : along_pixels<kChannels, 0, kTwo>(row, out);
}

template <bool kTwo> void along_row(const WideRow& row, int64_t* out) noexcept
{
    if (row.along.channels == 1)
        along_grays<kTwo>(row, out);
    else if (row.along.channels == 3)
        along_colors<3, kTwo>(row, out);
    else
        along_colors<4, kTwo>(row, out);
}

void along(const uint8_t* lanes, const WideRow& row, int64_t* out) noexcept
{
    const bool is_two = is_in_parts(row);
    if (is_two)
        expand_row<Parts::two>(lanes, row);
    else if (row.most > INT32_MAX)
        expand_row<Parts::whole>(lanes, row);
    else
        expand_row<Parts::one>(lanes, row);
    is_two ? along_row<true>(row, out) : along_row<false>(row, out);
}

// ---- down the columns ----

/// Vectors that are summed at a time.
constexpr size_t kTogether = 2;

VK_SIMD_INLINE void put_sums(int64_t* place, Longs sum, bool add) noexcept
{
    store(place, add ? sum + load<Longs>(place) : sum);
}

/// By kTaps rows (0: any).
template <int32_t kTaps> void halves_down(const WideRows& rows, int64_t* sums, size_t count) noexcept
{
    const int32_t taps = kTaps ? kTaps : rows.taps;
    Wide<int32_t> by[kMostWideRows];
    for (int32_t k = 0; k < taps; ++k)
        by[k] = all<Wide<int32_t>>(rows.weights[k]);
    for (size_t i = 0; i < count; i += kTogether * Longs::kLanes) {
        Longs low[kTogether] = {}, high[kTogether] = {};
        for (int32_t k = 0; k < taps; ++k)
            for (size_t v = 0; v < kTogether; ++v) {
                const auto halves = load<Longs>(rows.of[k] + i + v * Longs::kLanes);
                low[v] += mul_even(as<int32_t>(halves), by[k]);
                high[v] += mul_even(as<int32_t>(as<uint64_t>(halves) >> 32), by[k]);
            }
        for (size_t v = 0; v < kTogether; ++v)
            put_sums(sums + i + v * Longs::kLanes, low[v] + (high[v] << 32), rows.add);
    }
}

template <int32_t kTaps> void reals_down(const WideRows& rows, int64_t* sums, size_t count) noexcept
{
    using Reals = Wide<double>;
    const int32_t taps = kTaps ? kTaps : rows.taps;
    Reals lower[kMostWideRows], upper[kMostWideRows];
    for (int32_t k = 0; k < taps; ++k) {
        const int64_t weight = rows.weights[k];
        const int64_t above = (weight + (int64_t{1} << rows.split >> 1)) >> rows.split;
        upper[k] = all<Reals>(static_cast<double>(above));
        lower[k] = all<Reals>(static_cast<double>(weight - (above << rows.split)));
    }
    for (size_t i = 0; i < count; i += kTogether * Longs::kLanes) {
        Reals low[kTogether] = {}, high[kTogether] = {};
        for (int32_t k = 0; k < taps; ++k)
            for (size_t v = 0; v < kTogether; ++v) {
                const auto values = load<Reals>(rows.of[k] + i + v * Longs::kLanes);
                low[v] = mul_add(values, lower[k], low[v]);
                high[v] = mul_add(values, upper[k], high[v]);
            }
        for (size_t v = 0; v < kTogether; ++v) {
            const Longs above = as<int64_t>(shift_left(as<uint64_t>(nearest_whole(high[v])), rows.split));
            put_sums(sums + i + v * Longs::kLanes, nearest_whole(low[v]) + above, rows.add);
        }
    }
}

template <int32_t kTaps> void rows_down(const WideRows& rows, int64_t* sums, size_t count) noexcept
{
    rows.split != 0 ? reals_down<kTaps>(rows, sums, count) : halves_down<kTaps>(rows, sums, count);
}

void down(const WideRows& rows, int64_t* sums, size_t count) noexcept
{
    if (rows.taps == 4)
        rows_down<4>(rows, sums, count);
    else if (rows.taps == 2)
        rows_down<2>(rows, sums, count);
    else
        rows_down<0>(rows, sums, count);
}

// ---- the end ----

/// Sums of whole pixels with alpha.
using Pixels = Vec<int64_t, kWidth == 64 ? 8 : 4>;

enum class End : uint8_t {
    shift, ///< bits are dropped
    total, ///< divided by all weights
    alpha  ///< colours divided by alpha
};

template <End kEnd> class Ending {
public:
    explicit VK_SIMD_INLINE Ending(const WideEnd& end) noexcept
        : most_(all<Pixels>(end.most)), unit_(all<Pixels>(end.unit)), half_(unit_ >> 1),
          inverse_(all<Reals>(end.inverse)), extra_half_(all<Pixels>(int64_t{1} << end.extra >> 1)),
          visible_(all<Pixels>(int64_t{1} << end.extra)), extra_(end.extra), shift_(end.shift)
    {}

    VK_SIMD_INLINE Pixels values(Pixels sums) noexcept
    {
        const auto positive = keep(sums > Pixels{}, sums);
        Pixels value;
        if constexpr (kEnd == End::shift) {
            value = as<int64_t>(shift_right(as<uint64_t>(positive + half_), shift_));
        } else if constexpr (kEnd == End::total) {
            const Pixels of = positive + half_;
            const Pixels close = nearest_whole(to_double(of) * inverse_); // or one more than the quotient
            value = close - keep(of < close * unit_, all<Pixels>(1));
        } else {
            const Pixels alpha = arrange<[](size_t i) { return i / 4 * 4 + 3; }>(sums) + extra_half_;
            invisible_ |= keep(alpha < visible_, visible_);
            const Pixels shifted = as<int64_t>(shift_right(as<uint64_t>(alpha), extra_));
            const Pixels by = arrange<[](size_t i) { return i % 4 == 3 ? Pixels::kLanes + i : i; }>(shifted, unit_);
            value = few_quotients(positive + as<int64_t>(as<uint64_t>(by) >> 1), by);
        }
        return select(value > most_, most_, value);
    }

    VK_SIMD_INLINE bool has_invisible() const noexcept { return any(invisible_ != Pixels{}); }

private:
    using Reals = Vec<double, Pixels::kLanes>;

    Pixels most_, unit_, half_;
    Reals inverse_;
    Pixels extra_half_, visible_;
    Pixels invisible_{};
    int32_t extra_, shift_;
};

VK_SIMD_INLINE void store_lanes(uint8_t* out, Numbers lanes) noexcept
{
    store_low_bytes(out, lanes);
}
VK_SIMD_INLINE void store_lanes(uint16_t* out, Numbers lanes) noexcept
{
    store_low_words(out, lanes);
}
VK_SIMD_INLINE void store_lanes(uint32_t* out, Numbers lanes) noexcept
{
    store(out, lanes);
}

template <End kEnd> VK_SIMD_INLINE Numbers numbers_of(Ending<kEnd>& ending, const int64_t* sums) noexcept
{
    const auto first = as<uint32_t>(ending.values(load<Pixels>(sums)));
    if constexpr (Pixels::kLanes == kNumbers)
        return every_other<0>(low_half(first), high_half(first));
    else
        return every_other<0>(first, as<uint32_t>(ending.values(load<Pixels>(sums + Pixels::kLanes))));
}

template <End kEnd, class Lane>
bool finish_row(const int64_t* sums, const WideEnd& end, Lane* out, size_t count) noexcept
{
    Ending<kEnd> ending(end);
    size_t i = 0;
    for (; i + kNumbers <= count; i += kNumbers)
        store_lanes(out + i, numbers_of(ending, sums + i));
    if (i < count) {
        int64_t room[kNumbers];
        for (size_t k = 0; k < kNumbers; ++k) // what comes behind the last sum must not look invisible
            room[k] = i + k < count ? sums[i + k] : end.unit;
        Lane last[kNumbers];
        store_lanes(last, numbers_of(ending, room));
        __builtin_memcpy(out + i, last, (count - i) * sizeof(Lane));
    }
    return kEnd == End::alpha && ending.has_invisible();
}

template <class Lane> bool finish_lanes(const int64_t* sums, const WideEnd& end, Lane* out, size_t count) noexcept
{
    if constexpr (sizeof(Lane) != 4)
        if (end.by_alpha)
            return finish_row<End::alpha>(sums, end, out, count);
    return end.shift != 0 ? finish_row<End::shift>(sums, end, out, count)
                          : finish_row<End::total>(sums, end, out, count);
}

bool finish(const int64_t* sums, const WideEnd& end, void* out, size_t count) noexcept
{
    if (end.lane_bytes == 1)
        return finish_lanes(sums, end, static_cast<uint8_t*>(out), count);
    return end.lane_bytes == 2 ? finish_lanes(sums, end, static_cast<uint16_t*>(out), count)
                               : finish_lanes(sums, end, static_cast<uint32_t*>(out), count);
}

} // namespace

const WideLoops wide_loops = {along, down, finish};

} // namespace vk::resample::VK_SIMD_SET
