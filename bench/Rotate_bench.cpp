// Rotation by 7.3 degrees on the kept canvas: whole bitmaps, whose new storage is made each time, and the painting
// alone into storage that is there; beside the plain loops.
#include "BenchSupport.h"

#include "Vkkrnx.h"
#include "kernel/rotate/Nearest.h"

namespace {

using namespace vk::bench;
using namespace vk::rotate;

constexpr int32_t kAngle = 730;

struct Size {
    int32_t width;
    int32_t height;
};

Size size_for(int32_t bits)
{
    return bits == 1 ? Size{kPageWidth, kPageHeight} : Size{kPhotoWidth, kPhotoHeight};
}

size_t stride_for(int32_t width, int32_t bits)
{
    return (static_cast<size_t>(width) * static_cast<size_t>(bits) + 31) / 32 * 4;
}

std::vector<uint8_t> picture(int32_t bits)
{
    const Size size = size_for(bits);
    return bits == 1 ? page(size.width, size.height, stride_for(size.width, 1))
                     : photo(size.width, size.height, bits / 8);
}

/// The exported function: range(0) bits, range(1) flags, range(2) angle.
void rotate(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const auto flags = static_cast<uint32_t>(state.range(1));
    const auto angle = static_cast<int32_t>(state.range(2));
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    const uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    against_memcpy(state, pixels.size(), pixels.size(), count, [&] {
        BITMAPHANDLE bitmap{};
        V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_USER, size.width, size.height, bits, COLORORDER_BGR, nullptr,
                       TOP_LEFT, pixels.data(), pixels.size());
        if (V_RotateBitmap(&bitmap, angle, flags, 0x00FFFFFFu) != SUCCESS)
            state.SkipWithError("V_RotateBitmap");
        V_FreeBitmap(&bitmap);
    });
}
BENCHMARK(rotate)
    ->ArgNames({"bits", "flags", "angle"})
    ->ArgsProduct({{1, 8, 24, 32}, {0}, {kAngle, 4500, 8999}})
    ->ArgsProduct({{8, 24, 32}, {2, 4}, {kAngle}})
    ->Apply(settings);

/// The painting alone: range(0) bits, range(1) whether by the plain loops.
void paint(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_for(bits);
    const size_t stride = stride_for(size.width, bits);
    const std::vector<uint8_t> pixels = picture(bits);
    std::vector<uint8_t> canvas(pixels.size());
    Geometry geometry;
    make_geometry(geometry, size.width, size.height, kAngle, Placement::kept);
    const Box all{0, 0, size.width, size.height};
    keep_to_plain_loops(state.range(1) != 0);
    NearestPainter painter(geometry, bits, FillPixel{});
    keep_to_plain_loops(false);
    const uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    against_memcpy(state, pixels.size(), pixels.size(), count, [&] {
        constexpr int32_t kBand = 64;
        for (int32_t top = 0; top < size.height; top += kBand) {
            const Box band{0, top, size.width, std::min(top + kBand, size.height)};
            painter.paint({pixels.data(), stride, all},
                          {canvas.data() + static_cast<size_t>(top) * stride, stride, band});
        }
    });
}
BENCHMARK(paint)->ArgNames({"bits", "plain"})->ArgsProduct({{1, 8, 16, 24, 32, 48, 64}, {0, 1}})->Apply(settings);

} // namespace
