// Rotation by 7.3 degrees on the kept canvas: whole bitmaps, whose new storage is made each time, beside OpenCV into
// storage that is there; and, as an internal figure, the painting of nearest pixels alone beside the plain loops.
// Everything runs on one thread.
#include "BenchSupport.h"

#include "Vkkrnx.h"
#include "kernel/rotate/Nearest.h"
#include "kernel/sampling/Loops.h"

#if defined(VKKRNX_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

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

/// The exported function: range(0) bits, range(1) flags, range(2) angle, range(3) highest level of the inner loops that
/// mix.
void rotate(benchmark::State& state)
{
    vk::sampling::limit_level(static_cast<vk::sampling::Level>(state.range(3)));
    const auto bits = static_cast<int32_t>(state.range(0));
    const auto flags = static_cast<uint32_t>(state.range(1));
    const auto angle = static_cast<int32_t>(state.range(2));
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    const uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    const int32_t order = bits == 8 || bits == 16 ? COLORORDER_GRAY : COLORORDER_BGR;
    against_memcpy(state, pixels.size(), pixels.size(), count, [&] {
        BITMAPHANDLE bitmap{};
        V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_USER, size.width, size.height, bits, order, nullptr, TOP_LEFT,
                       pixels.data(), pixels.size());
        if (V_RotateBitmap(&bitmap, angle, flags, 0x00FFFFFFu) != SUCCESS)
            state.SkipWithError("V_RotateBitmap");
        V_FreeBitmap(&bitmap);
    });
    vk::sampling::limit_level(vk::sampling::Level::avx512);
}
BENCHMARK(rotate)
    ->ArgNames({"bits", "flags", "angle", "level"})
    ->ArgsProduct({{1, 8, 24, 32}, {0}, {kAngle, 4500, 8999}, {2}})
    ->ArgsProduct({{1, 16, 48, 64}, {2, 4}, {kAngle}, {2}})
    ->ArgsProduct({{8, 24, 32}, {2, 4}, {kAngle}, {0, 1, 2}})
    ->Apply(settings);

#if defined(VKKRNX_BENCH_OPENCV)

/// range(0) bits, range(1) flags.
void rotate_opencv(benchmark::State& state)
{
    cv::setNumThreads(1);
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    const int type = CV_MAKETYPE(CV_8U, bits / 8);
    const cv::Mat from(size.height, size.width, type, pixels.data());
    cv::Mat to(size.height, size.width, type);
    const cv::Point2f middle(static_cast<float>(size.width - 1) / 2, static_cast<float>(size.height - 1) / 2);
    const cv::Mat turn = cv::getRotationMatrix2D(middle, -kAngle / 100.0, 1);
    const int how = state.range(1) == 2 ? cv::INTER_LINEAR : cv::INTER_CUBIC;
    const uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    against_memcpy(state, pixels.size(), pixels.size(), count,
                   [&] { cv::warpAffine(from, to, turn, to.size(), how, cv::BORDER_CONSTANT, cv::Scalar::all(255)); });
}
BENCHMARK(rotate_opencv)->ArgNames({"bits", "flags"})->ArgsProduct({{8, 24, 32}, {2, 4}})->Apply(settings);

#endif

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
