// The fast paths but for bits and lanes: rows without error, and the choice among the rest.
#include "kernel/dither/Fast.h"

#include "kernel/convert/Steps.h"
#include "kernel/dither/Match.h"
#include "simd/Simd.h"

namespace vk::dither {
namespace {

/// What an ordered row adds to eight columns, as amounts to add and to subtract with saturation.
struct Offsets {
    uint8_t add[8];
    uint8_t subtract[8];
};

Offsets row_offsets(const DitherState& state) noexcept
{
    Offsets offsets{};
    for (uint32_t x = 0; x < 8 && is_ordered(state.method); ++x) {
        const int32_t offset = ordered_offset(state.method, static_cast<uint32_t>(state.row), x, state.dst_bits);
        offsets.add[x] = static_cast<uint8_t>(offset > 0 ? offset : 0);
        offsets.subtract[x] = static_cast<uint8_t>(offset < 0 ? -offset : 0);
    }
    return offsets;
}

using Bytes = simd::Quad<uint8_t>;

/// Eight pixels' offsets for `Part`, of two, of as many vectors as eight pixels of `Size` bytes may take.
template <size_t Size> Bytes spread_offsets(const uint8_t* offsets, size_t part) noexcept
{
    uint8_t spread[Bytes::kBytes];
    for (size_t i = 0; i < sizeof spread; ++i) {
        spread[i] = offsets[(part * sizeof spread + i) / Size % 8];
    }
    return simd::load<Bytes>(spread);
}

/// Adds a row's offsets to its pixels of `Size` bytes, saturating, in place.
template <size_t Size> void offset_row(const Offsets& offsets, uint8_t* bytes, size_t count) noexcept
{
    Bytes add[2];
    Bytes subtract[2];
    for (size_t i = 0; i < 2; ++i) {
        add[i] = spread_offsets<Size>(offsets.add, i);
        subtract[i] = spread_offsets<Size>(offsets.subtract, i);
    }
    size_t at = 0;
    for (size_t step = 0; at + Bytes::kBytes <= count * Size; at += Bytes::kBytes, ++step) {
        const Bytes value = simd::add_clamped(simd::load<Bytes>(bytes + at), add[step % 2]);
        simd::store(bytes + at, simd::sub_clamped(value, subtract[step % 2]));
    }
    for (; at < count * Size; ++at) {
        const size_t x = at / Size % 8;
        const int32_t value = bytes[at] + offsets.add[x] - offsets.subtract[x];
        bytes[at] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
}

/// Black and white by the sum of the channels, as far as there is a loop for it; how many pixels.
size_t map_two(const DitherState& state, size_t count) noexcept
{
    constexpr int32_t kMost = 3 * 255;
    const auto is_white = [&state](int32_t sum) noexcept { return state.sum_choices[sum] >> 24 == 1; };
    if (state.kind != Kind::fixed1 || is_white(0) || !is_white(kMost)) {
        return 0;
    }
    int32_t dark = 0;
    int32_t bright = kMost;
    while (bright - dark > 1) {
        const int32_t middle = (dark + bright) / 2;
        (is_white(middle) ? bright : dark) = middle;
    }
    const pixel::PairRule rule{-1, -1, -1, 1 - 2 * bright};
    return pixel::run_step<&pixel::StepLoops::match_pair>(reinterpret_cast<const pixel::Rgba8*>(state.work),
                                                          state.indices, count, rule);
}

} // namespace

void map_colors(DitherState& state) noexcept
{
    const auto width = static_cast<size_t>(state.width);
    if (is_ordered(state.method)) {
        offset_row<4>(row_offsets(state), reinterpret_cast<uint8_t*>(state.work), width);
    }
    const size_t done = map_two(state, width);
    with_match(state, [&](const auto& match) {
        const uint32_t* colors = state.work;
        uint8_t* indices = state.indices;
        for (size_t i = done; i < width; ++i) {
            indices[i] = static_cast<uint8_t>(match(colors[i]) >> 24);
        }
    });
}

void map_grays(DitherState& state) noexcept
{
    const auto width = static_cast<size_t>(state.width);
    auto* levels = reinterpret_cast<uint8_t*>(state.work);
    if (is_ordered(state.method)) {
        offset_row<1>(row_offsets(state), levels, width);
    }
    for (size_t i = 0; i < width; ++i) {
        state.indices[i] = static_cast<uint8_t>(state.gray_choices[levels[i]] >> 24);
    }
}

int32_t wavefront_rows(const DitherState& state) noexcept
{
    return is_diffusion(state.method) && state.limit >= DitherPath::wavefront ? wave_rows(state.method) : 1;
}

void fast_rows(DitherState& state, int32_t rows) noexcept
{
    if (!is_diffusion(state.method)) {
        return state.single_gray ? map_grays(state) : map_colors(state);
    }
    if (state.single_gray) {
        diffuse_grays(state, rows);
    } else {
        with_diffusion(state.method, [&]<int32_t kMethod>() noexcept { diffuse_colors<kMethod>(state, rows); });
    }
}

} // namespace vk::dither
