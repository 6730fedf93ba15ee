// Floyd-Steinberg from gray to two grays on eight rows at once, a row to a 16-bit lane, or on two such groups by turns.
//
// Each lane is two columns behind the one above. What a row leaves for the column in the middle of the row below is
// complete one step before that lane gets there, so it moves over by one lane and is never in memory; only the first
// lane reads error and the last one writes it. A step is one column of every lane: lane i does column t - 2 i.
#include "kernel/dither/Bits.h"
#include "kernel/dither/Each.h"
#include "kernel/dither/Pixels.h"
#include "kernel/dither/State.h"
#include "kernel/dither/Team.h"

#include <algorithm>
#include <array>

namespace vk::dither {
namespace {

constexpr int64_t kLag = 2;
constexpr int64_t kLastLag = kLag * (kLanes - 1);
constexpr int64_t kBlock = 8; ///< steps at a time
constexpr int64_t kMargin = 1;

/// The rows' levels and where they are cut off.
struct LaneRows {
    const uint8_t* levels;
    size_t pitch;
    int64_t width;

    bool holds(int64_t column) const noexcept { return column >= 0 && column < width; }
    const uint8_t* at(int64_t lane, int64_t column) const noexcept
    {
        return levels + static_cast<size_t>(lane) * pitch + column;
    }
};

using Bytes = simd::Quad<uint8_t>;

/// Eight steps' levels, a step's levels in 8 bytes; two steps to a vector.
struct Block {
    Bytes steps[kBlock / 2];

    /// A step's levels, 16 bits each.
    Words levels(int64_t i) const noexcept
    {
        const Bytes step = steps[i / 2];
        return simd::as<int16_t>(i % 2 == 0 ? simd::interleave_low(step, Bytes{})
                                            : simd::interleave_high(step, Bytes{}));
    }
};

Block transpose(const Bytes (&rows)[kLanes]) noexcept
{
    const auto words = [&](size_t i) noexcept {
        return simd::as<uint16_t>(simd::interleave_low(rows[i], rows[i + 1]));
    };
    const auto numbers = [](auto v) noexcept { return simd::as<uint32_t>(v); };
    const auto upper_first = numbers(simd::interleave_low(words(0), words(2)));
    const auto upper_last = numbers(simd::interleave_high(words(0), words(2)));
    const auto lower_first = numbers(simd::interleave_low(words(4), words(6)));
    const auto lower_last = numbers(simd::interleave_high(words(4), words(6)));
    const auto bytes = [](auto v) noexcept { return simd::as<uint8_t>(v); };
    return {
        {bytes(simd::interleave_low(upper_first, lower_first)), bytes(simd::interleave_high(upper_first, lower_first)),
         bytes(simd::interleave_low(upper_last, lower_last)), bytes(simd::interleave_high(upper_last, lower_last))}};
}

/// Levels from step `t` on; 0 outside of the rows. All of them are inside when `inside` says so.
template <bool Inside> Block read_block(const LaneRows& rows, int64_t t) noexcept
{
    Bytes lanes[kLanes];
    for (int64_t lane = 0; lane < kLanes; ++lane) {
        const int64_t first = t - kLag * lane;
        uint8_t bytes[kBlock] = {};
        const uint8_t* from = bytes;
        if constexpr (Inside) {
            from = rows.at(lane, first);
        } else {
            for (int64_t i = 0; i < kBlock; ++i) {
                bytes[i] = rows.holds(first + i) ? *rows.at(lane, first + i) : uint8_t{0};
            }
        }
        lanes[lane] = simd::load_first<Bytes, kBlock>(from);
    }
    return transpose(lanes);
}

/// The lanes whose column is inside of the row, at a step.
Words inside_lanes(const LaneRows& rows, int64_t t) noexcept
{
    int16_t inside[kLanes];
    for (int64_t lane = 0; lane < kLanes; ++lane) {
        inside[lane] = rows.holds(t - kLag * lane) ? int16_t{-1} : int16_t{0};
    }
    return simd::load<Words>(inside);
}

/// The two grays, in every lane.
struct Grays {
    Words below_threshold;
    Words level;
    Words level_step;

    explicit Grays(const TwoGrays& two) noexcept
        : below_threshold(word(two.threshold - 1)), level(word(two.level[0])),
          level_step(word(two.level[1] - two.level[0]))
    {}
    static Words word(int32_t value) noexcept { return simd::all<Words>(static_cast<int16_t>(value)); }
};

class Lanes {
public:
    /// `row` is the first lane's.
    Lanes(const DitherState& state, uint64_t row, uint8_t* masks) noexcept
        : errors_in_(error_row(state, row) + kMargin), errors_out_(error_row(state, row + kLanes)), masks_(masks),
          width_(state.width)
    {
        sum_ = waiting_ = previous_ = Words{};
    }

    /// One column of every lane. Steps that are not `Inside` have lanes outside of their row, which leave no error.
    template <bool Inside>
    [[gnu::always_inline]] void step(int64_t t, Words levels, const Grays& grays, const LaneRows& rows) noexcept
    {
        const Words adjusted = simd::min(simd::max(levels + sixteenth(sum_), Words{}), simd::all<Words>(255));
        const auto mask = adjusted > grays.below_threshold;
        Words error = adjusted - (grays.level + simd::keep(mask, grays.level_step));
        if constexpr (!Inside) {
            error = error & inside_lanes(rows, t);
        }
        masks_[t] = static_cast<uint8_t>(simd::bits(mask));

        const Words done = waiting_ + (error + error + error);
        const Words ahead = (error << 3) - error;
        waiting_ = ((error << 2) + error) + previous_;
        previous_ = error;
        const int32_t next = Inside || t + 1 < width_ ? errors_in_[t + 1] & 0xFFFF : 0;
        sum_ = ahead + (simd::move_up<2>(done) | first_word(next));
        if (Inside || t >= kLastLag) {
            errors_out_[t - kLastLag] = done.raw[kLanes - 1];
        }
    }

    /// Up to eight steps, as far as there are any, whether inside or not.
    void edge_block(int64_t t, const Grays& grays, const LaneRows& rows) noexcept
    {
        const Block levels = read_block<false>(rows, t);
        if (t == 0) {
            sum_ = first_word(errors_in_[0] & 0xFFFF);
        }
        for (int64_t i = 0; i < kBlock && t + i <= width_ + kLastLag; ++i) {
            step<false>(t + i, levels.levels(i), grays, rows);
        }
    }

private:
    static Words first_word(int32_t value) noexcept { return simd::as<int16_t>(simd::first<Channels>(value)); }

    const int32_t* errors_in_; ///< from column 0 on
    int32_t* errors_out_;      ///< from the margin on
    uint8_t* masks_;           ///< a byte per step, a bit per lane
    int64_t width_;
    Words sum_;      ///< error that has reached the next column
    Words waiting_;  ///< for the last column of the row below, without this one's share
    Words previous_; ///< the last error
};

/// When a group does its part of what the first one does at `t`: far enough behind the group above to find its error.
constexpr int64_t group_time(int64_t t, size_t group) noexcept
{
    constexpr int64_t kGroupLag = 2 * kBlock;
    static_assert(kGroupLag > kLastLag);
    return t - kGroupLag * static_cast<int64_t>(group);
}

/// Does blocks from `t` on, before `stop`, for as long as all groups are inside of their rows; returns where that ends.
template <size_t Groups>
int64_t run_inside(Lanes (&lanes)[Groups], const std::array<LaneRows, Groups>& rows, const Grays& two, int64_t t,
                   int64_t stop) noexcept
{
    const Grays grays = two;
    std::array<Lanes, Groups> local = std::to_array(lanes); // which no store to a mask can alias
    for (stop = std::min(stop, rows[0].width - kBlock); t < stop; t += kBlock) {
        Block blocks[Groups];
        each<Groups>([&](auto g)
                         __attribute__((always_inline)) { blocks[g] = read_block<true>(rows[g], group_time(t, g)); });
        each<kBlock>([&](auto i) __attribute__((always_inline)) {
            each<Groups>([&](auto g) __attribute__((always_inline)) {
                const int64_t now = group_time(t, g) + static_cast<int64_t>(i);
                local[g].template step<true>(now, blocks[g].levels(i), grays, rows[g]);
            });
        });
    }
    std::copy(local.begin(), local.end(), lanes);
    return t;
}

/// Does the groups' rows, behind the row above where there is a gate.
template <size_t Groups>
void run_groups(Lanes (&lanes)[Groups], const std::array<LaneRows, Groups>& rows, const Grays& grays,
                const Gate* gate) noexcept
{
    // The last lane's last column is complete one step behind it.
    const int64_t width = rows[0].width;
    const int64_t end = width + kLastLag + 1;
    const int64_t behind = -group_time(0, Groups - 1);
    for (int64_t t = 0; t < end + behind; t += kBlock) {
        while (gate && t - behind >= kLastLag && t + kBlock < width) {
            gate->wait(t + kStretch + kBlock); // a step loads the next column
            t = run_inside(lanes, rows, grays, t, t + kStretch);
            gate->tell(t - behind - kLastLag - kMargin);
        }
        if (!gate && t - behind >= kLastLag) {
            t = run_inside(lanes, rows, grays, t, width);
        }
        if (gate) {
            gate->wait(t + kBlock + 1);
        }
        for (size_t g = 0; g < Groups; ++g) {
            const int64_t now = group_time(t, g);
            if (now >= 0 && now < end) {
                lanes[g].edge_block(now, grays, rows[g]);
            }
        }
        if (gate) {
            gate->tell(t + kBlock - behind - kLastLag - kMargin);
        }
    }
}

/// Packs a lane's bits: pixel x is bit `lane` of the step's mask.
void pack_lane(const uint8_t* masks, int32_t lane, uint8_t invert, size_t width, uint8_t* dst) noexcept
{
    const uint32_t inverted = invert * 0x0101u;
    const uint8_t* from = masks + kLag * lane;
    size_t x = 0;
    const auto sixteen = [&] {
        const auto steps = simd::shift_left(simd::load<simd::Quad<uint16_t>>(from + x), 7 - lane);
        return reverse_bits(static_cast<uint32_t>(simd::high_bits(simd::as<uint8_t>(steps)))) ^ inverted;
    };
    for (; x + 16 <= width; x += 16) {
        const auto bits = static_cast<uint16_t>(sixteen());
        std::memcpy(dst + x / 8, &bits, sizeof bits);
    }
    const uint32_t bits = sixteen();
    for (size_t done = x; done < width; done += 8) {
        const size_t left = std::min<size_t>(8, width - done);
        dst[done / 8] = static_cast<uint8_t>(bits >> (done - x) & 0xFF00u >> left);
    }
}

} // namespace

bool has_lanes(const DitherState& state) noexcept
{
    return state.limit >= DitherPath::lanes && state.method == DITHER_FLOYD_STEINBERG && state.single_gray &&
           state.two.valid && state.dst_bits == 1;
}

void lane_rows(DitherState& state, size_t groups, const uint8_t* grays, size_t gray_pitch, uint8_t* dst,
               size_t dst_stride) noexcept
{
    const auto width = static_cast<size_t>(state.width);
    const size_t group_masks = kMostRows / kMostLaneGroups * state.index_pitch;
    const size_t group_grays = gray_pitch * static_cast<size_t>(kLanes);
    const Grays two(state.two);
    const LaneRows first{grays, gray_pitch, state.width};
    const auto run = [&](auto& lanes, const auto& rows) {
        if (state.team == nullptr) {
            run_groups(lanes, rows, two, nullptr);
            return;
        }
        const Gate gate(state, static_cast<int32_t>(groups) * kLanes);
        run_groups(lanes, rows, two, &gate);
    };
    if (groups == 1) {
        Lanes lanes[] = {{state, state.row, state.indices}};
        run(lanes, std::array{first});
    } else {
        Lanes lanes[] = {{state, state.row, state.indices}, {state, state.row + kLanes, state.indices + group_masks}};
        run(lanes, std::array{first, LaneRows{grays + group_grays, gray_pitch, state.width}});
    }
    const uint8_t invert = state.two.index[0] != 0 ? 0xFF : 0;
    for (size_t row = 0; row < groups * kLanes; ++row) {
        const uint8_t* masks = state.indices + row / kLanes * group_masks;
        pack_lane(masks, static_cast<int32_t>(row % kLanes), invert, width, dst + row * dst_stride);
    }
}

} // namespace vk::dither
