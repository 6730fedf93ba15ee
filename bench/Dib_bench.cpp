// DIBs in and out: whole pictures through the exported functions, and the decoders alone beside libyuv.
#include "BenchSupport.h"

#include "Vkbitmap.h"
#include "Vkdib.h"
#include "kernel/dib/Header.h"
#include "kernel/dib/Runs.h"
#include "kernel/dib/Yuv.h"
#include "simd/Level.h"

#if defined(VKKRNX_BENCH_YUV)
#include <libyuv.h>
#endif
#if defined(VKKRNX_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace vk::bench {
namespace {

constexpr size_t kPixels = size_t{kPhotoWidth} * kPhotoHeight;
constexpr uint32_t kWide = kPhotoWidth;
constexpr uint32_t kHigh = kPhotoHeight;

BITMAPINFO info_of(uint16_t bits, uint32_t compression = BI_RGB)
{
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = kPhotoWidth;
    info.bmiHeader.biHeight = kPhotoHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = bits;
    info.bmiHeader.biCompression = compression;
    return info;
}

void convert_from_24(benchmark::State& state)
{
    const BITMAPINFO info = info_of(24);
    const std::vector<uint8_t> pixels = photo(kPhotoWidth, kPhotoHeight, 3);
    against_memcpy(state, pixels.size(), pixels.size(), kPixels, [&] {
        BITMAPHANDLE bitmap;
        V_ConvertFromDIB(&bitmap, BITMAPHANDLE_SIZE, &info, pixels.data());
        V_FreeBitmap(&bitmap);
    });
}

/// From a bitmap to a DIB; `view` tells whether its rows have to be turned round.
void convert_to_24(benchmark::State& state, int32_t view)
{
    const BITMAPINFO info = info_of(24);
    const std::vector<uint8_t> pixels = photo(kPhotoWidth, kPhotoHeight, 3);
    BITMAPHANDLE bitmap;
    V_ConvertFromDIB(&bitmap, BITMAPHANDLE_SIZE, &info, pixels.data());
    bitmap.ViewPerspective = view;
    against_memcpy(state, pixels.size(), pixels.size(), kPixels, [&] { GlobalFree(V_ConvertToDIB(&bitmap, 0)); });
    V_FreeBitmap(&bitmap);
}

/// A block becomes a bitmap and a block again.
void change_both_ways(benchmark::State& state)
{
    const BITMAPINFO info = info_of(24);
    const std::vector<uint8_t> pixels = photo(kPhotoWidth, kPhotoHeight, 3);
    BITMAPHANDLE bitmap;
    V_ConvertFromDIB(&bitmap, BITMAPHANDLE_SIZE, &info, pixels.data());
    HGLOBAL dib = V_ChangeToDIB(&bitmap, 0);
    against_memcpy(state, pixels.size(), pixels.size(), kPixels, [&] {
        V_ChangeFromDIB(&bitmap, BITMAPHANDLE_SIZE, dib);
        dib = V_ChangeToDIB(&bitmap, 0);
    });
    GlobalFree(dib);
}

/// Rows as encoders of such files write them: runs where pixels repeat, literals elsewhere.
std::vector<uint8_t> encoded(const std::vector<uint8_t>& pixels)
{
    std::vector<uint8_t> data;
    for (uint32_t y = 0; y < kHigh; ++y) {
        const uint8_t* const row = pixels.data() + size_t{y} * kWide;
        for (uint32_t x = 0; x < kWide;) {
            uint32_t run = 1;
            while (x + run < kWide && run < 255 && row[x + run] == row[x])
                ++run;
            uint32_t literal = run > 2 ? 0 : run;
            while (literal != 0 && x + literal + 2 < kWide && literal < 254 &&
                   !(row[x + literal] == row[x + literal + 1] && row[x + literal] == row[x + literal + 2]))
                ++literal;
            if (literal < 3) {
                data.insert(data.end(), {static_cast<uint8_t>(run), row[x]});
                x += run;
                continue;
            }
            data.insert(data.end(), {0, static_cast<uint8_t>(literal)});
            data.insert(data.end(), row + x, row + x + literal);
            if (literal % 2)
                data.push_back(0);
            x += literal;
        }
        data.insert(data.end(), {0, 0});
    }
    return data;
}

/// Drawing-like indices: flat runs of a few to a few hundred pixels with short noisy stretches.
std::vector<uint8_t> drawing()
{
    std::vector<uint8_t> pixels;
    uint32_t noise = 3;
    while (pixels.size() < kPixels) {
        noise = noise * 1664525u + 1013904223u;
        const bool flat = noise >> 30 != 0;
        const uint32_t count = flat ? 3 + (noise >> 8) % 60 : 4 + (noise >> 8) % 12;
        for (uint32_t i = 0; i < count; ++i) {
            pixels.push_back(static_cast<uint8_t>(noise >> 20));
            noise = flat ? noise : noise * 1664525u + 1013904223u;
        }
    }
    pixels.resize(kPixels);
    return pixels;
}

void decode_runs(benchmark::State& state)
{
    const std::vector<uint8_t> data = encoded(drawing());
    std::vector<uint8_t> to(kPixels, 1);
    against_memcpy(state, data.size(), to.size(), kPixels, [&] {
        dib::RunDecoder decoder(data.data(), data.size(), 8, kWide, kHigh, kWide);
        for (uint32_t y = 0; y < kHigh; ++y)
            decoder.row(to.data() + size_t{y} * kWide);
    });
}

void decode_yuv(benchmark::State& state, const char (&code)[5], simd::Level level)
{
    const dib::YuvFormat* const format = dib::find_yuv(dib::four_cc(code));
    const auto bytes = static_cast<size_t>(dib::yuv_bytes(*format, kWide, kHigh));
    std::vector<uint8_t> samples = photo(kPhotoWidth, kPhotoHeight, 2);
    samples.resize(bytes);
    Block to(kPixels * 3, 1);
    simd::limit_level(level);
    against_memcpy(state, bytes, to.size(), kPixels, [&] {
        dib::convert_yuv({format, samples.data(), kWide, kHigh}, 0, kHigh, to.data(), size_t{kWide} * 3);
    });
    simd::limit_level(simd::Level::avx512);
}

/// The same through the exported function, into a bitmap that is made.
void convert_from_yuv(benchmark::State& state, const char (&code)[5], uint16_t bits)
{
    const dib::YuvFormat* const format = dib::find_yuv(dib::four_cc(code));
    const auto bytes = static_cast<size_t>(dib::yuv_bytes(*format, kWide, kHigh));
    const BITMAPINFO info = info_of(bits, dib::four_cc(code));
    std::vector<uint8_t> samples = photo(kPhotoWidth, kPhotoHeight, 2);
    samples.resize(bytes);
    against_memcpy(state, bytes, kPixels * 3, kPixels, [&] {
        BITMAPHANDLE bitmap;
        V_ConvertFromDIB(&bitmap, BITMAPHANDLE_SIZE, &info, samples.data());
        V_FreeBitmap(&bitmap);
    });
}
BENCHMARK_CAPTURE(convert_from_yuv, yuy2, "YUY2", 16)->Name("dib/convert_from/YUY2")->Apply(settings);
BENCHMARK_CAPTURE(convert_from_yuv, uyvy, "UYVY", 16)->Name("dib/convert_from/UYVY")->Apply(settings);
BENCHMARK_CAPTURE(convert_from_yuv, i420, "I420", 12)->Name("dib/convert_from/I420")->Apply(settings);

#if defined(VKKRNX_BENCH_OPENCV)
/// OpenCV's conversion of a packed picture to 24 bits.
void opencv_packed(benchmark::State& state, int how)
{
    std::vector<uint8_t> samples = photo(kPhotoWidth, kPhotoHeight, 2);
    Block to(kPixels * 3, 1);
    cv::setNumThreads(1);
    const cv::Mat from(kPhotoHeight, kPhotoWidth, CV_8UC2, samples.data());
    cv::Mat bgr(kPhotoHeight, kPhotoWidth, CV_8UC3, to.data());
    against_memcpy(state, samples.size(), to.size(), kPixels, [&] { cv::cvtColor(from, bgr, how); });
}
BENCHMARK_CAPTURE(opencv_packed, yuy2, cv::COLOR_YUV2BGR_YUY2)->Name("dib/yuv/YUY2/OpenCV")->Apply(settings);
BENCHMARK_CAPTURE(opencv_packed, uyvy, cv::COLOR_YUV2BGR_UYVY)->Name("dib/yuv/UYVY/OpenCV")->Apply(settings);
#endif

#if defined(VKKRNX_BENCH_YUV)
void libyuv_yuy2(benchmark::State& state)
{
    std::vector<uint8_t> samples = photo(kPhotoWidth, kPhotoHeight, 2);
    std::vector<uint8_t> wide(kPixels * 4, 1);
    against_memcpy(state, samples.size(), wide.size(), kPixels, [&] {
        libyuv::YUY2ToARGB(samples.data(), kPhotoWidth * 2, wide.data(), kPhotoWidth * 4, kPhotoWidth, kPhotoHeight);
    });
}

void libyuv_i420(benchmark::State& state)
{
    const std::vector<uint8_t> samples = photo(kPhotoWidth, kPhotoHeight, 2);
    std::vector<uint8_t> to(kPixels * 3, 1);
    against_memcpy(state, kPixels * 3 / 2, to.size(), kPixels, [&] {
        libyuv::I420ToRGB24(samples.data(), kPhotoWidth, samples.data() + kPixels, kPhotoWidth / 2,
                            samples.data() + kPixels * 5 / 4, kPhotoWidth / 2, to.data(), kPhotoWidth * 3, kPhotoWidth,
                            kPhotoHeight);
    });
}
BENCHMARK(libyuv_yuy2)->Name("dib/yuv/YUY2/libyuv")->Apply(settings);
BENCHMARK(libyuv_i420)->Name("dib/yuv/I420/libyuv")->Apply(settings);
#endif

BENCHMARK(convert_from_24)->Name("dib/convert_from/24")->Apply(settings);
BENCHMARK_CAPTURE(convert_to_24, same, BOTTOM_LEFT)->Name("dib/convert_to/24")->Apply(settings);
BENCHMARK_CAPTURE(convert_to_24, turned, TOP_LEFT)->Name("dib/convert_to/24/top_left")->Apply(settings);
BENCHMARK(change_both_ways)->Name("dib/change/24")->Apply(settings);
BENCHMARK(decode_runs)->Name("dib/runs/8")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, yuy2, "YUY2", simd::Level::avx512)->Name("dib/yuv/YUY2")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, uyvy, "UYVY", simd::Level::avx512)->Name("dib/yuv/UYVY")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, i420, "I420", simd::Level::avx512)->Name("dib/yuv/I420")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, yuy2_avx2, "YUY2", simd::Level::avx2)->Name("dib/yuv/YUY2/avx2")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, uyvy_avx2, "UYVY", simd::Level::avx2)->Name("dib/yuv/UYVY/avx2")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, i420_avx2, "I420", simd::Level::avx2)->Name("dib/yuv/I420/avx2")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, yuy2_plain, "YUY2", simd::Level::plain)->Name("dib/yuv/YUY2/plain")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, uyvy_plain, "UYVY", simd::Level::plain)->Name("dib/yuv/UYVY/plain")->Apply(settings);
BENCHMARK_CAPTURE(decode_yuv, i420_plain, "I420", simd::Level::plain)->Name("dib/yuv/I420/plain")->Apply(settings);

} // namespace
} // namespace vk::bench
