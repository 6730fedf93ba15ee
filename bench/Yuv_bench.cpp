// YUV pictures from bitmaps and to bitmaps through the exported functions, beside libyuv on buffers that exist.
#include "BenchSupport.h"
#include "bench/Limits.h"

#include "Vkbitmap.h"
#include "Vkcolorres.h"
#include "Vkyuv.h"
#include "kernel/dib/Header.h"
#include "simd/Level.h"

#if defined(VKKRNX_BENCH_YUV)
#include <libyuv.h>
#endif

namespace vk::bench {
namespace {

constexpr size_t kPixels = size_t{kPhotoWidth} * kPhotoHeight;

/// A picture of a code in a block of its own, and a bitmap of its size.
struct Pair {
    V_YUVPICTURE picture{};
    Block block;
    BITMAPHANDLE bitmap{};

    explicit Pair(const char (&code)[5])
    {
        picture.StructSize = sizeof picture;
        picture.Code = dib::four_cc(code);
        picture.Width = kPhotoWidth;
        picture.Height = kPhotoHeight;
        block.resize(static_cast<size_t>(V_GetYuvSize(&picture)));
        picture.Planes[0] = block.data();
        std::vector<uint8_t> pixels = photo(kPhotoWidth, kPhotoHeight, 3);
        V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, kPhotoWidth, kPhotoHeight, 24, COLORORDER_BGR, nullptr,
                       TOP_LEFT, nullptr, 0);
        std::memcpy(bitmap.Data, pixels.data(), pixels.size());
        V_BitmapToYuv(&bitmap, &picture);
    }
    ~Pair() { V_FreeBitmap(&bitmap); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
};

void from_bitmap(benchmark::State& state, const char (&code)[5], simd::Level level)
{
    Pair pair(code);
    simd::limit_level(level);
    against_memcpy(state, 3 * kPixels, pair.block.size(), kPixels, [&] { V_BitmapToYuv(&pair.bitmap, &pair.picture); });
    simd::limit_level(simd::Level::avx512);
}

void to_bitmap(benchmark::State& state, const char (&code)[5], simd::Level level)
{
    Pair pair(code);
    simd::limit_level(level);
    against_memcpy(state, pair.block.size(), 3 * kPixels, kPixels, [&] {
        BITMAPHANDLE made;
        V_YuvToBitmap(&made, sizeof made, &pair.picture);
        V_FreeBitmap(&made);
    });
    simd::limit_level(simd::Level::avx512);
}

void count_colors(benchmark::State& state)
{
    Pair pair("I444");
    against_memcpy(state, 3 * kPixels, 0, kPixels, [&] {
        uint64_t colors = 0;
        V_CountBitmapColors(&pair.bitmap, &colors);
        benchmark::DoNotOptimize(colors);
    });
}

#if defined(VKKRNX_BENCH_YUV)
/// What libyuv does with the planes of a picture and 24-bit pixels.
template <class Run> void libyuv_run(benchmark::State& state, const char (&code)[5], Run run)
{
    Pair pair(code);
    Block pixels(3 * kPixels, 1);
    std::memcpy(pixels.data(), pair.bitmap.Data, pixels.size());
    uint8_t* const y = pair.block.data();
    against_memcpy(state, 3 * kPixels, pair.block.size(), kPixels,
                   [&] { run(pixels.data(), y, y + pair.picture.Offsets[1], y + pair.picture.Offsets[2]); });
}

constexpr int kWide = kPhotoWidth, kHigh = kPhotoHeight;

void libyuv_to_i420(benchmark::State& state)
{
    libyuv_run(state, "I420", [](uint8_t* bgr, uint8_t* y, uint8_t* u, uint8_t* v) {
        libyuv::RGB24ToI420(bgr, kWide * 3, y, kWide, u, kWide / 2, v, kWide / 2, kWide, kHigh);
    });
}

/// There is no way to NV12 or YUY2 from 24 bits but through 32.
template <class Run> void libyuv_through_32(benchmark::State& state, const char (&code)[5], Run run)
{
    Block wide(4 * kPixels, 1);
    libyuv_run(state, code, [&](uint8_t* bgr, uint8_t* y, uint8_t* uv, uint8_t*) {
        libyuv::RGB24ToARGB(bgr, kWide * 3, wide.data(), kWide * 4, kWide, kHigh);
        run(wide.data(), y, uv);
    });
}

void libyuv_to_nv12(benchmark::State& state)
{
    libyuv_through_32(state, "NV12", [](const uint8_t* argb, uint8_t* y, uint8_t* uv) {
        libyuv::ARGBToNV12(argb, kWide * 4, y, kWide, uv, kWide, kWide, kHigh);
    });
}

void libyuv_to_yuy2(benchmark::State& state)
{
    libyuv_through_32(state, "YUY2", [](const uint8_t* argb, uint8_t* y, uint8_t*) {
        libyuv::ARGBToYUY2(argb, kWide * 4, y, kWide * 2, kWide, kHigh);
    });
}

void libyuv_from_nv12(benchmark::State& state)
{
    libyuv_run(state, "NV12", [](uint8_t* bgr, uint8_t* y, uint8_t* uv, uint8_t*) {
        libyuv::NV12ToRGB24(y, kWide, uv, kWide, bgr, kWide * 3, kWide, kHigh);
    });
}

void libyuv_from_i444(benchmark::State& state)
{
    Block wide(4 * kPixels, 1);
    libyuv_run(state, "I444", [&](uint8_t*, uint8_t* y, uint8_t* u, uint8_t* v) {
        libyuv::I444ToARGB(y, kWide, u, kWide, v, kWide, wide.data(), kWide * 4, kWide, kHigh);
    });
}

BENCHMARK(libyuv_to_i420)->Name("yuv/from_24/I420/libyuv")->Apply(settings);
BENCHMARK(libyuv_to_nv12)->Name("yuv/from_24/NV12/libyuv")->Apply(settings);
BENCHMARK(libyuv_to_yuy2)->Name("yuv/from_24/YUY2/libyuv")->Apply(settings);
BENCHMARK(libyuv_from_nv12)->Name("yuv/to_24/NV12/libyuv")->Apply(settings);
BENCHMARK(libyuv_from_i444)->Name("yuv/to_32/I444/libyuv")->Apply(settings);
#endif

/// What the machine allows for as many bytes, from samples to colours and back.
void limit(benchmark::State& state, uint64_t read, uint64_t written)
{
    Limit copy(Traffic::stream, read, written);
    against_memcpy(state, read, written, kPixels, copy);
}
BENCHMARK_CAPTURE(limit, from_420, 3 * kPixels, kPixels * 3 / 2)->Name("yuv/from_24/limit, 4:2:0")->Apply(settings);
BENCHMARK_CAPTURE(limit, to_420, kPixels * 3 / 2, 3 * kPixels)->Name("yuv/to_24/limit, 4:2:0")->Apply(settings);
BENCHMARK_CAPTURE(limit, from_422, 3 * kPixels, 2 * kPixels)->Name("yuv/from_24/limit, packed")->Apply(settings);
BENCHMARK_CAPTURE(limit, to_422, 2 * kPixels, 3 * kPixels)->Name("yuv/to_24/limit, packed")->Apply(settings);
BENCHMARK_CAPTURE(limit, to_444, 3 * kPixels, 3 * kPixels)->Name("yuv/to_24/limit, I444")->Apply(settings);

#define VK_YUV_BENCH(code)                                                                                             \
    BENCHMARK_CAPTURE(from_bitmap, code, #code, simd::Level::avx512)->Name("yuv/from_24/" #code)->Apply(settings);     \
    BENCHMARK_CAPTURE(to_bitmap, code, #code, simd::Level::avx512)->Name("yuv/to_24/" #code)->Apply(settings)
VK_YUV_BENCH(I420);
VK_YUV_BENCH(NV12);
VK_YUV_BENCH(YUY2);
VK_YUV_BENCH(I444);
BENCHMARK_CAPTURE(from_bitmap, NV12_avx2, "NV12", simd::Level::avx2)->Name("yuv/from_24/NV12/avx2")->Apply(settings);
BENCHMARK_CAPTURE(to_bitmap, NV12_avx2, "NV12", simd::Level::avx2)->Name("yuv/to_24/NV12/avx2")->Apply(settings);
BENCHMARK_CAPTURE(from_bitmap, NV12_plain, "NV12", simd::Level::plain)->Name("yuv/from_24/NV12/plain")->Apply(settings);
BENCHMARK_CAPTURE(to_bitmap, NV12_plain, "NV12", simd::Level::plain)->Name("yuv/to_24/NV12/plain")->Apply(settings);
BENCHMARK(count_colors)->Name("colors/count/24")->Apply(settings);

} // namespace
} // namespace vk::bench
