// Warps through the exported functions, whose new storage is made each time, beside OpenCV into storage that is there,
// and shears beside Leptonica. Everything runs on one thread.
#include "bench/Limits.h"

#include "Vkkrnx.h"
#include "simd/Level.h"

#include <cmath>

#if defined(VKKRNX_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif
#if defined(VKKRNX_BENCH_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

namespace {

using namespace vk::bench;

/// Where a picture goes: turned by 3 degrees and a little larger; leaning like a page that was photographed; through a
/// lens.
enum Kind : int64_t { affine, perspective, lens };

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

V_MATRIX map_for(Kind kind, const Size& size)
{
    const double w = size.width;
    const double h = size.height;
    V_MATRIX map;
    V_Matrix_Identity(&map);
    if (kind == affine) {
        V_Matrix_Translate(&map, -w / 2, -h / 2);
        V_Matrix_Rotate(&map, 300);
        V_Matrix_Scale(&map, 1.02, 1.02);
        V_Matrix_Translate(&map, w / 2, h / 2);
        return map;
    }
    const V_POINTD from[4] = {{w * 0.06, h * 0.04}, {w * 0.93, h * 0.07}, {w * 0.98, h * 0.95}, {w * 0.02, h * 0.9}};
    const V_POINTD to[4] = {{0, 0}, {w, 0}, {w, h}, {0, h}};
    V_Matrix_FromCorners(&map, from, to);
    return map;
}

constexpr int32_t kGridColumns = 33;
constexpr int32_t kGridRows = 25;

/// Places through a lens that bends lines outwards.
V_POINTD place_through_lens(double x, double y, const Size& size)
{
    const double u = x / size.width * 2 - 1;
    const double v = y / size.height * 2 - 1;
    const double bend = 0.94 + 0.05 * (u * u + v * v);
    return {(u * bend + 1) / 2 * size.width, (v * bend + 1) / 2 * size.height};
}

std::vector<V_POINTD> lens_grid(const Size& size)
{
    std::vector<V_POINTD> points;
    for (int32_t j = 0; j < kGridRows; ++j)
        for (int32_t i = 0; i < kGridColumns; ++i)
            points.push_back(place_through_lens(double{1} * i * size.width / (kGridColumns - 1),
                                                double{1} * j * size.height / (kGridRows - 1), size));
    return points;
}

template <class Op> void measure(benchmark::State& state, int32_t bits, std::vector<uint8_t>& pixels, Op&& op)
{
    const Size size = size_for(bits);
    const uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    against_memcpy(state, pixels.size(), pixels.size(), count, op);
}

template <class Call> void on_bitmap(benchmark::State& state, int32_t bits, Call&& call)
{
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    const int32_t order = bits == 8 || (bits == 16) ? COLORORDER_GRAY : COLORORDER_BGR;
    measure(state, bits, pixels, [&] {
        BITMAPHANDLE bitmap{};
        V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_USER, size.width, size.height, bits, order, nullptr, TOP_LEFT,
                       pixels.data(), pixels.size());
        if (call(bitmap) != SUCCESS)
            state.SkipWithError("the call failed");
        V_FreeBitmap(&bitmap);
    });
}

/// By range(3).
constexpr vk::simd::Level kLevels[] = {vk::simd::Level::plain, vk::simd::Level::avx2, vk::simd::Level::avx512};

/// range(0) bits, range(1) flags, range(2) kind, range(3) highest level of the inner loops.
void warp(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const auto flags = static_cast<uint32_t>(state.range(1));
    const auto kind = static_cast<Kind>(state.range(2));
    const Size size = size_for(bits);
    const V_MATRIX map = map_for(kind, size);
    const std::vector<V_POINTD> grid = lens_grid(size);
    vk::simd::limit_level(kLevels[state.range(3)]);
    on_bitmap(state, bits, [&](BITMAPHANDLE& bitmap) {
        return kind == lens ? V_WarpBitmapGrid(&bitmap, grid.data(), kGridColumns, kGridRows, size.width, size.height,
                                               flags, 0x00FFFFFFu)
                            : V_WarpBitmap(&bitmap, &map, size.width, size.height, flags, 0x00FFFFFFu);
    });
    vk::simd::limit_level(vk::simd::Level::avx512);
}
BENCHMARK(warp)
    ->ArgNames({"bits", "flags", "kind", "level"})
    ->ArgsProduct({{1, 8, 24, 32}, {WARP_NEAREST, WARP_LINEAR}, {affine, perspective, lens}, {2}})
    ->ArgsProduct({{8, 24, 32, 16, 48, 64}, {WARP_LINEAR, WARP_CUBIC}, {affine}, {0, 1, 2}})
    ->ArgsProduct({{8, 24}, {WARP_NEAREST}, {affine, perspective}, {0, 1}})
    ->Apply(settings);

/// A picture reduced to a third each way: range(0) bits.
void reduce(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const V_MATRIX map{{{1 / 3.0, 0.01, 0}, {-0.01, 1 / 3.0, 0}, {30, 0, 1}}};
    on_bitmap(state, bits, [&](BITMAPHANDLE& bitmap) { return V_WarpBitmap(&bitmap, &map, 0, 0, WARP_AREA, 0); });
}
BENCHMARK(reduce)->ArgNames({"bits"})->ArgsProduct({{1, 8, 24, 32}})->Apply(settings);

/// range(0) bits, range(1) flags.
void shear(benchmark::State& state)
{
    const auto flags = static_cast<uint32_t>(state.range(1));
    on_bitmap(state, static_cast<int32_t>(state.range(0)),
              [&](BITMAPHANDLE& bitmap) { return V_ShearBitmap(&bitmap, 500, flags, 0x00FFFFFFu); });
}
BENCHMARK(shear)
    ->ArgNames({"bits", "flags"})
    ->ArgsProduct({{1, 8, 24}, {SHEAR_HORIZONTAL, SHEAR_VERTICAL, SHEAR_LINEAR}})
    ->Apply(settings);

/// What reads a picture and writes the canvas that shearing it takes, and nothing else: range(0) bits.
void shear_limit(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_for(bits);
    const auto leant = static_cast<int32_t>(size.height * std::tan(5 * 3.14159265358979323846 / 180)) + 1;
    const auto rows = static_cast<uint64_t>(size.height);
    std::vector<uint8_t> pixels(rows * stride_for(size.width, bits));
    Limit limit(Traffic::stream, pixels.size(), rows * stride_for(size.width + leant, bits));
    measure(state, bits, pixels, limit);
}
BENCHMARK(shear_limit)->ArgNames({"bits"})->ArgsProduct({{1, 8, 24}})->Apply(settings);

/// Turned buffers: range(0) bits, range(1) degrees.
void turn_buffer(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    const size_t stride = stride_for(size.width, bits);
    const size_t turned = state.range(1) == 180 ? stride : stride_for(size.height, bits);
    Block made(turned * static_cast<size_t>(state.range(1) == 180 ? size.height : size.width));
    const auto width = static_cast<uint32_t>(size.width);
    const auto height = static_cast<uint32_t>(size.height);
    measure(state, bits, pixels, [&] {
        if (state.range(1) == 180)
            V_RotateBuffer180(pixels.data(), stride, made.data(), turned, width, height, bits);
        else
            V_RotateBuffer90(pixels.data(), stride, made.data(), turned, width, height, bits, 1);
    });
}
BENCHMARK(turn_buffer)->ArgNames({"bits", "degrees"})->ArgsProduct({{1, 8, 24, 32}, {90, 180}})->Apply(settings);

#if defined(VKKRNX_BENCH_OPENCV)

/// range(0) bits, range(1) interpolation, range(2) kind.
void warp_opencv(benchmark::State& state)
{
    cv::setNumThreads(1);
    const auto bits = static_cast<int32_t>(state.range(0));
    const auto kind = static_cast<Kind>(state.range(2));
    const int how = state.range(1) == WARP_NEAREST  ? cv::INTER_NEAREST
                    : state.range(1) == WARP_LINEAR ? cv::INTER_LINEAR
                                                    : cv::INTER_CUBIC;
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    const int type = CV_MAKETYPE(CV_8U, bits / 8);
    const cv::Mat from(size.height, size.width, type, pixels.data());
    cv::Mat to(size.height, size.width, type);
    const V_MATRIX map = map_for(kind, size);
    cv::Mat m(3, 3, CV_64F);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m.at<double>(i, j) = map.m[j][i];
    cv::Mat x(size.height, size.width, CV_32F);
    cv::Mat y(size.height, size.width, CV_32F);
    for (int32_t row = 0; row < size.height && kind == lens; ++row)
        for (int32_t column = 0; column < size.width; ++column) {
            const V_POINTD place = place_through_lens(column + 0.5, row + 0.5, size);
            x.at<float>(row, column) = static_cast<float>(place.x - 0.5);
            y.at<float>(row, column) = static_cast<float>(place.y - 0.5);
        }
    cv::Mat ready;
    cv::Mat fractions;
    if (kind == lens)
        cv::convertMaps(x, y, ready, fractions, CV_16SC2, how == cv::INTER_NEAREST);
    const cv::Scalar white = cv::Scalar::all(255);
    measure(state, bits, pixels, [&] {
        if (kind == affine)
            cv::warpAffine(from, to, m.rowRange(0, 2), to.size(), how, cv::BORDER_CONSTANT, white);
        else if (kind == perspective)
            cv::warpPerspective(from, to, m, to.size(), how, cv::BORDER_CONSTANT, white);
        else
            cv::remap(from, to, ready, fractions, how, cv::BORDER_CONSTANT, white);
    });
}
BENCHMARK(warp_opencv)
    ->ArgNames({"bits", "flags", "kind"})
    ->ArgsProduct({{8, 24, 32}, {WARP_NEAREST, WARP_LINEAR, WARP_CUBIC}, {affine, perspective, lens}})
    ->Apply(settings);

#endif

#if defined(VKKRNX_BENCH_LEPTONICA)

/// range(0) bits.
void shear_leptonica(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const Size size = size_for(bits);
    std::vector<uint8_t> pixels = picture(bits);
    Pix* const from = pixCreate(size.width, size.height, bits == 24 ? 32 : bits);
    measure(state, bits, pixels, [&] {
        Pix* made = pixHShear(nullptr, from, 0, 0.0872665f, L_BRING_IN_WHITE);
        pixDestroy(&made);
    });
    Pix* gone = from;
    pixDestroy(&gone);
}
BENCHMARK(shear_leptonica)->ArgNames({"bits"})->ArgsProduct({{1, 8, 24}})->Apply(settings);

#endif

} // namespace
