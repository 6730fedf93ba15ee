// Dithering of whole pictures, as the library does its own, and row by row, as callers do.
#include "BenchSupport.h"
#include "Vkbitmap.h"
#include "Vkdither.h"
#include "kernel/dither/Dither.h"

#include <vector>

namespace {

using vk::bench::kPhotoHeight;
using vk::bench::kPhotoWidth;

std::vector<RGBQUAD> custom_palette(uint32_t colors)
{
    std::vector<RGBQUAD> palette(colors);
    uint32_t noise = 5;
    for (RGBQUAD& entry : palette) {
        noise = noise * 1664525u + 1013904223u;
        entry = {static_cast<uint8_t>(noise >> 24), static_cast<uint8_t>(noise >> 16), static_cast<uint8_t>(noise >> 8),
                 0};
    }
    return palette;
}

enum Palette : int64_t { fixed, custom };
enum Way : int64_t { whole, by_rows, plain };

/// Arguments: method, source bits (8: gray), colours, Palette, Way.
void dither(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(1));
    const auto colors = static_cast<uint32_t>(state.range(2));
    const size_t src_stride = static_cast<size_t>(kPhotoWidth) * static_cast<size_t>(bits) / 8;
    const size_t dst_stride = static_cast<size_t>(kPhotoWidth) * static_cast<size_t>(vk::index_bits(colors)) / 8;
    constexpr size_t kRows = kPhotoHeight;
    std::vector<uint8_t> src = vk::bench::photo(kPhotoWidth, kPhotoHeight, bits / 8);
    std::vector<uint8_t> dst(dst_stride * kRows);
    const std::vector<RGBQUAD> palette = custom_palette(colors);

    BITMAPHANDLE bitmap{};
    V_InitBitmap(&bitmap, BITMAPHANDLE_SIZE, kPhotoWidth, kPhotoHeight, bits);
    bitmap.Order = bits == 8 ? COLORORDER_GRAY : COLORORDER_BGR;
    bitmap.DitheringMethod = static_cast<int32_t>(state.range(0));
    const auto way = static_cast<Way>(state.range(4));
    vk::limit_dithering(way == plain ? vk::DitherPath::plain : vk::DitherPath::bits);
    const auto run = [&] {
        V_StartDithering(&bitmap, state.range(3) == custom ? palette.data() : nullptr, colors);
        if (way == by_rows) {
            for (size_t y = 0; y < kRows; ++y) {
                V_DitherLine(&bitmap, src.data() + y * src_stride, dst.data() + y * dst_stride);
            }
        } else {
            vk::dither_rows(*vk::dither_state(bitmap), src.data(), src_stride, dst.data(), dst_stride, kRows);
        }
        V_StopDithering(&bitmap);
    };
    vk::bench::against_memcpy(state, src.size(), dst.size(), kRows * static_cast<uint64_t>(kPhotoWidth), run);
    vk::limit_dithering(vk::DitherPath::bits);
}

BENCHMARK(dither)
    ->ArgNames({"method", "bits", "colors", "custom", "way"})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 16, fixed, whole})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 16, custom, whole})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 256, fixed, whole})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 256, custom, whole})
    ->Args({DITHER_ORDERED, 24, 256, fixed, whole})
    ->Args({DITHER_ORDERED, 24, 256, custom, whole})
    ->Args({DITHER_FLOYD_STEINBERG, 8, 2, fixed, whole})
    ->Args({DITHER_ORDERED, 8, 2, fixed, whole})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 16, fixed, by_rows})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 16, custom, by_rows})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 256, fixed, by_rows})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 256, custom, by_rows})
    ->Args({DITHER_ORDERED, 24, 256, fixed, by_rows})
    ->Args({DITHER_FLOYD_STEINBERG, 8, 2, fixed, by_rows})
    ->Args({DITHER_ORDERED, 8, 2, fixed, by_rows})
    ->Args({DITHER_STUCKI, 24, 256, custom, whole})
    ->Args({DITHER_STEVENSON_ARCE, 24, 256, custom, whole})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 16, fixed, plain})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 16, custom, plain})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 256, fixed, plain})
    ->Args({DITHER_FLOYD_STEINBERG, 24, 256, custom, plain})
    ->Args({DITHER_ORDERED, 24, 256, fixed, plain})
    ->Args({DITHER_ORDERED, 24, 256, custom, plain})
    ->Args({DITHER_FLOYD_STEINBERG, 8, 2, fixed, plain})
    ->Args({DITHER_ORDERED, 8, 2, fixed, plain})
    ->Apply(vk::bench::settings);

} // namespace
