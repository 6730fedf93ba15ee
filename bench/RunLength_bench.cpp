// Run-length rows of 1-bit pages, beside libtiff's PackBits and the byte-wise form. Each is compared with the memcpy of
// what it reads plus writes itself: the page's bytes and those of its own compressed form. The text page is the sample,
// its pixels doubled to 600 dpi; the dense one has strokes from margin to margin, several times what text has.
#include "BenchSupport.h"
#include "kernel/runs/RunLength.h"
#include "simd/Level.h"

#ifdef VKKRNX_BENCH_TIFF
#include <tiffio.h>
#endif
#ifdef VKKRNX_BENCH_SAMPLES
#include <png.h>
#endif

namespace {

using namespace vk;
using namespace vk::bench;

constexpr size_t kStride = (kPageWidth + 31) / 32 * 4;
constexpr uint64_t kPixels = uint64_t{kPageWidth} * kPageHeight;

const std::vector<uint8_t>& dense_page()
{
    static const std::vector<uint8_t> rows = page(kPageWidth, kPageHeight, kStride);
    return rows;
}

#ifdef VKKRNX_BENCH_SAMPLES
/// The sample page with each pixel doubled both ways, cut or filled up to the page's size.
std::vector<uint8_t> double_sample()
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, VKKRNX_BENCH_SAMPLES "/page.png") == 0)
        return dense_page();
    image.format = PNG_FORMAT_GRAY;
    std::vector<uint8_t> gray(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, gray.data(), 0, nullptr);
    std::vector<uint8_t> rows(kStride * kPageHeight);
    for (size_t y = 0; y < std::min<size_t>(kPageHeight, 2 * image.height); ++y)
        for (size_t x = 0; x < std::min<size_t>(kPageWidth, 2 * image.width); ++x)
            if (gray[y / 2 * image.width + x / 2] < 128)
                rows[y * kStride + x / 8] = static_cast<uint8_t>(rows[y * kStride + x / 8] | 0x80 >> x % 8);
    return rows;
}

const std::vector<uint8_t>& text_page()
{
    static const std::vector<uint8_t> rows = double_sample();
    return rows;
}
#else
const std::vector<uint8_t>& text_page()
{
    return dense_page();
}
#endif

using Page = const std::vector<uint8_t>& (*)();

using Compress = size_t (*)(void*, const void*, uint32_t, uint32_t) noexcept;
using Expand = void (*)(const void*, void*, uint32_t, uint32_t) noexcept;

size_t compress_page(Compress compress, const std::vector<uint8_t>& rows, std::vector<uint8_t>& out)
{
    uint8_t* to = out.data();
    for (size_t y = 0; y < kPageHeight; ++y) {
        to += compress(to, rows.data() + y * kStride, 0, kPageWidth);
    }
    return static_cast<size_t>(to - out.data());
}

std::vector<uint8_t> compressed_room()
{
    return std::vector<uint8_t>(runlength::max_row_bytes(kPageWidth) * kPageHeight);
}

void encode(benchmark::State& state, Page page, Compress compress, simd::Level level)
{
    if (simd::limit_level(level) != level) {
        state.SkipWithError("this processor cannot");
        return;
    }
    std::vector<uint8_t> out = compressed_room();
    const size_t bytes = compress_page(compress, page(), out);
    against_memcpy(state, page().size(), bytes, kPixels, [&] { compress_page(compress, page(), out); });
    state.counters["ratio"] = static_cast<double>(page().size()) / static_cast<double>(bytes);
    simd::limit_level(simd::Level::avx512);
}

void decode(benchmark::State& state, Page page, Expand expand)
{
    std::vector<uint8_t> packed = compressed_room();
    const size_t bytes = compress_page(runlength::compress, page(), packed);
    std::vector<uint8_t> out(page().size());
    against_memcpy(state, bytes, out.size(), kPixels, [&] {
        const uint8_t* from = packed.data();
        for (size_t y = 0; y < kPageHeight; ++y) {
            expand(from, out.data() + y * kStride, 0, kPageWidth);
            from += runlength::row_bytes(runlength::word_count(from));
        }
    });
    if (out != page()) {
        state.SkipWithError("not the page");
    }
}

BENCHMARK_CAPTURE(encode, text_fast, text_page, runlength::compress, simd::Level::avx512)->Apply(settings);
BENCHMARK_CAPTURE(encode, dense_fast, dense_page, runlength::compress, simd::Level::avx512)->Apply(settings);
BENCHMARK_CAPTURE(encode, text_avx2, text_page, runlength::compress, simd::Level::avx2)->Apply(settings);
BENCHMARK_CAPTURE(encode, dense_avx2, dense_page, runlength::compress, simd::Level::avx2)->Apply(settings);
BENCHMARK_CAPTURE(encode, text_sse2, text_page, runlength::compress, simd::Level::base)->Apply(settings);
BENCHMARK_CAPTURE(encode, dense_sse2, dense_page, runlength::compress, simd::Level::base)->Apply(settings);
BENCHMARK_CAPTURE(encode, text_plain, text_page, runlength::compress_plain, simd::Level::base)->Apply(settings);
BENCHMARK_CAPTURE(encode, dense_plain, dense_page, runlength::compress_plain, simd::Level::base)->Apply(settings);
BENCHMARK_CAPTURE(decode, text_fast, text_page, runlength::expand)->Apply(settings);
BENCHMARK_CAPTURE(decode, dense_fast, dense_page, runlength::expand)->Apply(settings);
BENCHMARK_CAPTURE(decode, text_plain, text_page, runlength::expand_plain)->Apply(settings);
BENCHMARK_CAPTURE(decode, dense_plain, dense_page, runlength::expand_plain)->Apply(settings);

#ifdef VKKRNX_BENCH_TIFF
/// A TIFF file in memory.
struct MemoryFile {
    std::vector<uint8_t> bytes;
    size_t size = 0;
    size_t position = 0;

    static MemoryFile& of(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }
    static tsize_t read(thandle_t handle, void* to, tsize_t count)
    {
        MemoryFile& file = of(handle);
        const size_t left = file.position < file.size ? file.size - file.position : 0;
        const size_t moved = std::min(left, static_cast<size_t>(count));
        std::memcpy(to, file.bytes.data() + file.position, moved);
        file.position += moved;
        return static_cast<tsize_t>(moved);
    }
    static tsize_t write(thandle_t handle, void* from, tsize_t count)
    {
        MemoryFile& file = of(handle);
        const size_t end = file.position + static_cast<size_t>(count);
        if (end > file.bytes.size()) {
            file.bytes.resize(2 * end);
        }
        std::memcpy(file.bytes.data() + file.position, from, static_cast<size_t>(count));
        file.position = end;
        file.size = std::max(file.size, end);
        return count;
    }
    static toff_t seek(thandle_t handle, toff_t offset, int origin)
    {
        MemoryFile& file = of(handle);
        const size_t start = origin == SEEK_CUR ? file.position : origin == SEEK_END ? file.size : 0;
        return file.position = start + static_cast<size_t>(offset);
    }
    static int close(thandle_t) { return 0; }
    static toff_t length(thandle_t handle) { return of(handle).size; }

    TIFF* open(const char* mode)
    {
        position = 0;
        return TIFFClientOpen("page", mode, this, read, write, seek, close, length, nullptr, nullptr);
    }
};

void write_packbits(MemoryFile& file)
{
    file.size = 0;
    TIFF* const tiff = file.open("wm");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kPageWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kPageHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kPageHeight);
    TIFFWriteEncodedStrip(tiff, 0, const_cast<uint8_t*>(text_page().data()), static_cast<tsize_t>(text_page().size()));
    TIFFClose(tiff);
}

void encode_libtiff(benchmark::State& state)
{
    MemoryFile file;
    write_packbits(file);
    against_memcpy(state, text_page().size(), file.size, kPixels, [&] { write_packbits(file); });
}

void decode_libtiff(benchmark::State& state)
{
    MemoryFile file;
    write_packbits(file);
    std::vector<uint8_t> out(text_page().size());
    against_memcpy(state, file.size, out.size(), kPixels, [&] {
        TIFF* const tiff = file.open("rm");
        TIFFReadEncodedStrip(tiff, 0, out.data(), static_cast<tsize_t>(out.size()));
        TIFFClose(tiff);
    });
    if (out != text_page()) {
        state.SkipWithError("not the page");
    }
}

BENCHMARK(encode_libtiff)->Apply(settings);
BENCHMARK(decode_libtiff)->Apply(settings);
#endif

} // namespace
