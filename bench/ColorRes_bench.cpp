// Changing a whole bitmap's colours, into a second bitmap whose storage is made each time, as callers do. And how good
// optimized palettes are: the mean squared error per pixel, all channels added, of the samples reduced without
// dithering, as the counter `mse`. Of Pillow, libimagequant, ImageMagick and libvips the best reach 347 and 178 with 16
// colours, 30.9 and 16.8 with 256.
#include "BenchSupport.h"

#include "Vkkrnx.h"

#if defined(VKKRNX_BENCH_SAMPLES)
#include <cstdio>
#include <jpeglib.h>
#include <png.h>
#endif

namespace {

using namespace vk::bench;

class Picture {
public:
    Picture(int32_t width, int32_t height, int32_t bits)
    {
        V_CreateBitmap(&record_, BITMAPHANDLE_SIZE, TYPE_CONV, width, height, bits, COLORORDER_BGR, nullptr, TOP_LEFT,
                       nullptr, 0);
    }
    ~Picture() { V_FreeBitmap(&record_); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    BITMAPHANDLE* get() { return &record_; }
    uint8_t* row(int32_t y) { return record_.Data + static_cast<size_t>(y) * record_.BytesPerLine; }

private:
    BITMAPHANDLE record_{};
};

void fill(Picture& picture, int32_t width, int32_t height)
{
    const std::vector<uint8_t> pixels = photo(width, height, 3);
    const size_t line = static_cast<size_t>(width) * 3;
    for (int32_t y = 0; y < height; ++y) {
        std::memcpy(picture.row(y), pixels.data() + static_cast<size_t>(y) * line, line);
    }
}

/// One change from 24 bits: range(0) bits, range(1) flags, range(2) colours.
void change(benchmark::State& state)
{
    const auto bits = static_cast<int32_t>(state.range(0));
    const auto flags = static_cast<uint32_t>(state.range(1));
    const auto colors = static_cast<uint32_t>(state.range(2));
    Picture source(kPhotoWidth, kPhotoHeight, 24);
    fill(source, kPhotoWidth, kPhotoHeight);
    const uint64_t pixels = uint64_t{kPhotoWidth} * kPhotoHeight;
    against_memcpy(state, pixels * 3, pixels * static_cast<uint64_t>(bits) / 8, pixels, [&] {
        BITMAPHANDLE made{};
        if (V_ColorResBitmap(source.get(), &made, BITMAPHANDLE_SIZE, bits, flags, nullptr, nullptr, colors) !=
            SUCCESS) {
            state.SkipWithError("V_ColorResBitmap");
        }
        V_FreeBitmap(&made);
    });
}
BENCHMARK(change)
    ->ArgNames({"bits", "flags", "colors"})
    ->Args({32, 0, 0})
    ->Args({24, COLORRES_ORDER_RGB, 0})
    ->Args({16, COLORRES_ORDER_GRAY, 0})
    ->Args({8, COLORRES_PALETTE_GRAY, 0})
    ->Args({8, COLORRES_NODITHER, 0})
    ->Args({8, 0, 0})
    ->Args({8, COLORRES_PALETTE_OPTIMIZED | COLORRES_NODITHER, 256})
    ->Args({8, COLORRES_PALETTE_OPTIMIZED, 256})
    ->Args({4, COLORRES_PALETTE_OPTIMIZED, 16})
    ->Args({1, COLORRES_PALETTE_GRAY, 0})
    ->Apply(settings);

/// One change from 8-bit gray to one bit.
void change_gray(benchmark::State& state)
{
    const auto flags = static_cast<uint32_t>(state.range(0));
    BITMAPHANDLE source{};
    V_CreateBitmap(&source, BITMAPHANDLE_SIZE, TYPE_CONV, kPhotoWidth, kPhotoHeight, 8, COLORORDER_GRAY, nullptr,
                   TOP_LEFT, nullptr, 0);
    const std::vector<uint8_t> grays = photo(kPhotoWidth, kPhotoHeight, 1);
    std::memcpy(source.Data, grays.data(), grays.size());
    source.DitheringMethod = static_cast<int32_t>(state.range(1));
    const uint64_t pixels = uint64_t{kPhotoWidth} * kPhotoHeight;
    against_memcpy(state, pixels, pixels / 8, pixels, [&] {
        BITMAPHANDLE made{};
        if (V_ColorResBitmap(&source, &made, BITMAPHANDLE_SIZE, 1, flags, nullptr, nullptr, 0) != SUCCESS) {
            state.SkipWithError("V_ColorResBitmap");
        }
        V_FreeBitmap(&made);
    });
    V_FreeBitmap(&source);
}
BENCHMARK(change_gray)
    ->ArgNames({"flags", "method"})
    ->Args({COLORRES_NODITHER, DITHER_ORDERED})
    ->Args({COLORRES_NODITHER | COLORRES_PALETTE_GRAY, DITHER_ORDERED})
    ->Args({0, DITHER_ORDERED})
    ->Args({COLORRES_PALETTE_GRAY, DITHER_ORDERED})
    ->Args({0, DITHER_FLOYD_STEINBERG})
    ->Apply(settings);

void copy(benchmark::State& state)
{
    Picture source(kPhotoWidth, kPhotoHeight, 24);
    fill(source, kPhotoWidth, kPhotoHeight);
    Picture made(kPhotoWidth, kPhotoHeight, 24);
    const uint64_t pixels = uint64_t{kPhotoWidth} * kPhotoHeight;
    against_memcpy(state, pixels * 3, pixels * 3, pixels, [&] { V_CopyBitmapData(made.get(), source.get()); });
}
BENCHMARK(copy)->Apply(settings);

#if defined(VKKRNX_BENCH_SAMPLES)

std::vector<uint8_t> read_png(const char* name, int32_t* width, int32_t* height)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, name) == 0) {
        return {};
    }
    image.format = PNG_FORMAT_BGR;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
    *width = static_cast<int32_t>(image.width);
    *height = static_cast<int32_t>(image.height);
    return pixels;
}

std::vector<uint8_t> read_jpeg(const char* name, int32_t* width, int32_t* height)
{
    FILE* const file = std::fopen(name, "rb");
    if (file == nullptr) {
        return {};
    }
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&info);
    *width = static_cast<int32_t>(info.output_width);
    *height = static_cast<int32_t>(info.output_height);
    const size_t line = size_t{info.output_width} * 3;
    std::vector<uint8_t> pixels(line * info.output_height);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = pixels.data() + line * info.output_scanline;
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    std::fclose(file);
    return pixels;
}

double mean_squared_error(const std::vector<uint8_t>& pixels, BITMAPHANDLE* reduced)
{
    BITMAPHANDLE back{};
    V_ColorResBitmap(reduced, &back, BITMAPHANDLE_SIZE, 24, 0, nullptr, nullptr, 0);
    double sum = 0;
    const auto width = static_cast<size_t>(back.Width);
    for (size_t y = 0; y < static_cast<size_t>(back.Height); ++y) {
        for (size_t i = 0; i < 3 * width; ++i) {
            const int difference = pixels[y * 3 * width + i] - back.Data[y * back.BytesPerLine + i];
            sum += difference * difference;
        }
    }
    const double count = static_cast<double>(width) * back.Height;
    V_FreeBitmap(&back);
    return sum / count;
}

/// range(0): which sample; range(1): colours.
void optimized_palette(benchmark::State& state)
{
    int32_t width = 0;
    int32_t height = 0;
    const bool is_png = state.range(0) == 0;
    const auto colors = static_cast<uint32_t>(state.range(1));
    const std::vector<uint8_t> pixels = is_png ? read_png(VKKRNX_BENCH_SAMPLES "/astronaut.png", &width, &height)
                                               : read_jpeg(VKKRNX_BENCH_SAMPLES "/rocket.jpg", &width, &height);
    state.SetLabel(is_png ? "astronaut" : "rocket");
    if (pixels.empty()) {
        state.SkipWithError("the sample cannot be read");
        return;
    }
    Picture source(width, height, 24);
    const size_t line = static_cast<size_t>(width) * 3;
    for (int32_t y = 0; y < height; ++y) {
        std::memcpy(source.row(y), pixels.data() + static_cast<size_t>(y) * line, line);
    }
    BITMAPHANDLE made{};
    for ([[maybe_unused]] auto _ : state) {
        V_FreeBitmap(&made);
        V_ColorResBitmap(source.get(), &made, BITMAPHANDLE_SIZE, 8, COLORRES_PALETTE_OPTIMIZED | COLORRES_NODITHER,
                         nullptr, nullptr, colors);
    }
    state.counters["mse"] = mean_squared_error(pixels, &made);
    V_FreeBitmap(&made);
}
BENCHMARK(optimized_palette)
    ->ArgNames({"sample", "colors"})
    ->ArgsProduct({{0, 1}, {2, 16, 64, 256}})
    ->Unit(benchmark::kMillisecond);

#endif

} // namespace
