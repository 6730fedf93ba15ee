// Run-length rows of a text-like 1-bit page, beside libtiff's PackBits and the byte-wise form. Each is compared with
// the memcpy of what it reads plus writes itself: the page's bytes and those of its own compressed form.
#include "BenchSupport.h"
#include "common/RunLength.h"

#ifdef VKKRNX_BENCH_TIFF
#include <tiffio.h>
#endif

namespace {

using namespace vk;
using namespace vk::bench;

constexpr size_t kStride = (kPageWidth + 31) / 32 * 4;
constexpr uint64_t kPixels = uint64_t{kPageWidth} * kPageHeight;

const std::vector<uint8_t>& text_page()
{
    static const std::vector<uint8_t> rows = page(kPageWidth, kPageHeight, kStride);
    return rows;
}

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

void encode(benchmark::State& state, Compress compress, runlength::Level level)
{
    if (runlength::limit_level(level) != level) {
        state.SkipWithError("this processor cannot");
        return;
    }
    std::vector<uint8_t> out = compressed_room();
    const size_t bytes = compress_page(compress, text_page(), out);
    against_memcpy(state, text_page().size(), bytes, kPixels, [&] { compress_page(compress, text_page(), out); });
    state.counters["ratio"] = static_cast<double>(text_page().size()) / static_cast<double>(bytes);
    runlength::limit_level(runlength::Level::avx512);
}

void decode(benchmark::State& state, Expand expand)
{
    std::vector<uint8_t> packed = compressed_room();
    const size_t bytes = compress_page(runlength::compress, text_page(), packed);
    std::vector<uint8_t> out(text_page().size());
    against_memcpy(state, bytes, out.size(), kPixels, [&] {
        const uint8_t* from = packed.data();
        for (size_t y = 0; y < kPageHeight; ++y) {
            expand(from, out.data() + y * kStride, 0, kPageWidth);
            from += runlength::row_bytes(runlength::word_count(from));
        }
    });
    if (out != text_page()) {
        state.SkipWithError("not the page");
    }
}

BENCHMARK_CAPTURE(encode, fast, runlength::compress, runlength::Level::avx512)->Apply(settings);
BENCHMARK_CAPTURE(encode, avx2, runlength::compress, runlength::Level::avx2)->Apply(settings);
BENCHMARK_CAPTURE(encode, sse2, runlength::compress, runlength::Level::sse2)->Apply(settings);
BENCHMARK_CAPTURE(encode, plain, runlength::compress_plain, runlength::Level::sse2)->Apply(settings);
BENCHMARK_CAPTURE(decode, fast, runlength::expand)->Apply(settings);
BENCHMARK_CAPTURE(decode, plain, runlength::expand_plain)->Apply(settings);

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
