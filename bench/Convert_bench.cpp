// The buffer converter on whole pictures, from one block to another, beside libyuv for the pairs it has.
#include "BenchSupport.h"

#include "kernel/convert/Convert.h"
#include "kernel/convert/ExactLookup.h"
#include "kernel/convert/Fused.h"
#include "kernel/palette/Palette.h"

#if defined(VKKRNX_BENCH_YUV)
#include <libyuv.h>
#endif

namespace vk::bench {
namespace {

constexpr size_t kPixels = size_t{kPhotoWidth} * kPhotoHeight;
constexpr int32_t kBgr = COLORORDER_BGR, kRgb = COLORORDER_RGB, kGray = COLORORDER_GRAY, k565 = COLORORDER_RGB565;

size_t row_bytes(int32_t bits, int32_t width = kPhotoWidth)
{
    return static_cast<size_t>(width) * static_cast<size_t>(bits == 0 ? 8 : bits) / 8;
}

/// A photograph in 24-bit BGR, converted to the source's format.
Block picture(int32_t bits, int32_t order)
{
    const std::vector<uint8_t> photo24 = photo(kPhotoWidth, kPhotoHeight, 3);
    Block pixels(row_bytes(bits) * kPhotoHeight);
    ConvertJob job;
    job.width = kPhotoWidth;
    job.src_bits = 24;
    job.src_order = kBgr;
    job.dst_bits = bits;
    job.dst_order = order;
    ColorLookup* lookup = pixel::create_exact_lookup(fixed_palette(bits == 8 ? 8 : 1), bits == 8 ? 256 : 2, kPixels);
    job.lookup = lookup;
    convert_rows({photo24.data(), row_bytes(24)}, {pixels.data(), row_bytes(bits)}, kPhotoHeight, job);
    pixel::destroy_exact_lookup(lookup);
    return pixels;
}

/// 1-bit sources are pages, all others photographs.
void run(benchmark::State& state, const ConvertJob& base, simd::Level highest)
{
    simd::limit_level(highest);
    ConvertJob job = base;
    const bool is_page = job.src_bits == 1;
    job.width = is_page ? kPageWidth : kPhotoWidth;
    const auto rows = static_cast<size_t>(is_page ? kPageHeight : kPhotoHeight);
    const size_t src_row = row_bytes(job.src_bits, job.width);
    const size_t dst_row = row_bytes(job.dst_bits, job.width);
    const Block src = is_page ? block_of(page(kPageWidth, kPageHeight, src_row)) : picture(job.src_bits, job.src_order);
    Block dst(dst_row * rows, 1);
    against_memcpy(state, src.size(), dst.size(), rows * static_cast<size_t>(job.width), [&] {
        convert_rows({src.data(), src_row}, {dst.data(), dst_row}, rows, job);
    });
    simd::limit_level(simd::Level::avx512);
}

/// Rows converted in place, over and over the same one, as the exported entries do.
void run_in_place(benchmark::State& state, const ConvertJob& base)
{
    ConvertJob job = base;
    job.width = kPhotoWidth;
    std::vector<uint8_t> row(std::max(row_bytes(job.src_bits), row_bytes(job.dst_bits)), 77);
    against_memcpy(state, row_bytes(job.src_bits), row_bytes(job.dst_bits), kPhotoWidth,
                   [&] { convert_buffer(row.data(), job); });
}

ConvertJob pair(int32_t src_bits, int32_t src_order, int32_t dst_bits, int32_t dst_order)
{
    ConvertJob job;
    job.src_bits = src_bits;
    job.src_order = src_order;
    job.dst_bits = dst_bits;
    job.dst_order = dst_order;
    return job;
}

void nearest256(benchmark::State& state)
{
    RGBQUAD palette[256];
    uint32_t noise = 99;
    for (RGBQUAD& e : palette) {
        noise = noise * 1664525u + 1013904223u;
        e = {static_cast<uint8_t>(noise >> 24), static_cast<uint8_t>(noise >> 16), static_cast<uint8_t>(noise >> 8), 0};
    }
    ConvertJob job = pair(24, kBgr, 8, kBgr);
    job.width = kPhotoWidth;
    job.dst_palette = palette;
    const Block src = picture(24, kBgr);
    Block dst(kPixels, 1);
    against_memcpy(state, src.size(), dst.size(), kPixels, [&] {
        // Preparing the look-up is part of the work.
        ColorLookup* lookup = pixel::create_exact_lookup(palette, 256, kPixels);
        ConvertJob with = job;
        with.lookup = lookup;
        convert_rows({src.data(), row_bytes(24)}, {dst.data(), row_bytes(8)}, kPhotoHeight, with);
        pixel::destroy_exact_lookup(lookup);
    });
}
BENCHMARK(nearest256)->Name("convert/24 to nearest of 256")->Apply(settings);

struct Row {
    const char* name;
    ConvertJob job;
};

const Row kRows[] = {
    {"24 to 32", pair(24, kBgr, 32, kBgr)},    {"24 BGR to RGB", pair(24, kBgr, 24, kRgb)},
    {"32 to 24", pair(32, kBgr, 24, kBgr)},    {"24 to gray", pair(24, kBgr, 8, kGray)},
    {"gray to 24", pair(8, kGray, 24, kBgr)},  {"24 to 48", pair(24, kBgr, 48, kBgr)},
    {"8 to 24", pair(8, kBgr, 24, kBgr)},      {"1 to gray", pair(1, kBgr, 8, kGray)},
    {"24 to 5-6-5", pair(24, kBgr, 16, k565)}, {"5-6-5 to 24", pair(16, k565, 24, kBgr)},
    {"gray to 1", pair(8, kGray, 1, kBgr)},    {"16 gray to gray", pair(16, kGray, 8, kGray)},
    {"48 to 24", pair(48, kBgr, 24, kBgr)},    {"24 to wide gamut", pair(24, kBgr, 24, COLORORDER_ROMM)},
    {"8 to gray", pair(8, kBgr, 8, kGray)},    {"4 to 8", pair(4, kBgr, 8, kBgr)},
};

[[maybe_unused]] const bool kRegistered = [] {
    for (const Row& row : kRows) {
        const std::string name = std::string("convert/") + row.name;
        const ConvertJob job = row.job;
        settings(benchmark::RegisterBenchmark(name.c_str(),
                                              [job](benchmark::State& s) { run(s, job, simd::Level::avx512); }));
        settings(benchmark::RegisterBenchmark((name + ", AVX2").c_str(),
                                              [job](benchmark::State& s) { run(s, job, simd::Level::avx2); }));
        settings(benchmark::RegisterBenchmark((name + ", plain").c_str(),
                                              [job](benchmark::State& s) { run(s, job, simd::Level::plain); }));
        settings(benchmark::RegisterBenchmark((name + ", row in place").c_str(),
                                              [job](benchmark::State& s) { run_in_place(s, job); }));
    }
    return true;
}();

#if defined(VKKRNX_BENCH_YUV)

template <class Convert>
void yuv(benchmark::State& state, int32_t src_bits, int32_t src_order, int32_t dst_bits, Convert convert)
{
    const Block src = picture(src_bits, src_order);
    Block dst(row_bytes(dst_bits) * kPhotoHeight, 1);
    against_memcpy(state, src.size(), dst.size(), kPixels, [&] {
        convert(src.data(), static_cast<int>(row_bytes(src_bits)), dst.data(), static_cast<int>(row_bytes(dst_bits)),
                kPhotoWidth, kPhotoHeight);
    });
}

void yuv_24_to_32(benchmark::State& state)
{
    yuv(state, 24, kBgr, 32, libyuv::RGB24ToARGB);
}
BENCHMARK(yuv_24_to_32)->Name("convert/24 to 32, libyuv")->Apply(settings);
void yuv_32_to_24(benchmark::State& state)
{
    yuv(state, 32, kBgr, 24, libyuv::ARGBToRGB24);
}
BENCHMARK(yuv_32_to_24)->Name("convert/32 to 24, libyuv")->Apply(settings);
void yuv_swap(benchmark::State& state)
{
    yuv(state, 24, kBgr, 24, libyuv::RAWToRGB24);
}
BENCHMARK(yuv_swap)->Name("convert/24 BGR to RGB, libyuv")->Apply(settings);
void yuv_gray(benchmark::State& state)
{
    yuv(state, 24, kBgr, 8, libyuv::RGB24ToJ400);
}
BENCHMARK(yuv_gray)->Name("convert/24 to gray, libyuv")->Apply(settings);

#endif

} // namespace
} // namespace vk::bench
