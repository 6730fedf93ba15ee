// Rotation by 7.3 degrees on the kept canvas: whole bitmaps, whose new storage is made each time, beside OpenCV into
// storage that is there.
// Everything runs on one thread.
#include "BenchSupport.h"

#include "Vkkrnx.h"
#include "simd/Level.h"

#if defined(VKKRNX_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace vk::bench;

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

/// By range(3).
constexpr vk::simd::Level kLevels[] = {vk::simd::Level::plain, vk::simd::Level::avx2, vk::simd::Level::avx512};

/// The exported function: range(0) bits, range(1) flags, range(2) angle, range(3) highest level of the inner loops.
void rotate(benchmark::State& state)
{
    vk::simd::limit_level(kLevels[state.range(3)]);
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
    vk::simd::limit_level(vk::simd::Level::avx512);
}
BENCHMARK(rotate)
    ->ArgNames({"bits", "flags", "angle", "level"})
    ->ArgsProduct({{1, 8, 24, 32}, {0}, {kAngle, 4500, 8999}, {2}})
    ->ArgsProduct({{1, 8, 16, 24, 32, 48, 64}, {0}, {kAngle}, {0, 1}})
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

} // namespace
