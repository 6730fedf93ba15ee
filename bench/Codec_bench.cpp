// The codecs of super-compressed storage, band by band as the store uses them, and whole bitmaps through the store's
// row functions; beside libpng at its fastest and, for the ratio alone, at its best. `ratio` is raw bytes to packed
// ones.
#include "BenchSupport.h"
#include "Vkkrnx.h"
#include "kernel/storage/codec/Codec.h"

#ifdef VKKRNX_BENCH_SAMPLES
#include <png.h>
#endif

namespace {

using namespace vk;
using namespace vk::bench;

/// A picture cut into bands.
struct Picture {
    codec::Shape shape; ///< of a whole band
    uint32_t height = 0;
    std::vector<uint8_t> rows;

    Picture() = default;
    Picture(uint32_t width, uint32_t lines, int32_t bits, std::vector<uint8_t> bytes)
        : height(lines), rows(std::move(bytes))
    {
        const auto line = static_cast<uint32_t>(rows.size() / lines);
        const uint32_t band = (bits == 1 ? 65536u : 131072u) / line;
        shape = codec::Shape{width, line, band >= 16 ? band / 16 * 16 : 16, bits};
    }
};

#ifdef VKKRNX_BENCH_SAMPLES
/// A sample, in its own size; empty when it cannot be read.
Picture sample(const char* path, int32_t bits)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path) == 0)
        return {};
    image.format = bits == 24 ? PNG_FORMAT_BGR : PNG_FORMAT_GRAY;
    std::vector<uint8_t> bytes(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
    if (bits != 1)
        return Picture(image.width, image.height, bits, std::move(bytes));
    const size_t line = (image.width + 31) / 32 * 4;
    std::vector<uint8_t> packed(line * image.height);
    for (size_t y = 0; y < image.height; ++y)
        for (size_t x = 0; x < image.width; ++x)
            if (bytes[y * image.width + x] < 128)
                packed[y * line + x / 8] = static_cast<uint8_t>(packed[y * line + x / 8] | 0x80 >> x % 8);
    return Picture(image.width, image.height, 1, std::move(packed));
}
#endif

const Picture& picture(int32_t bits)
{
#ifdef VKKRNX_BENCH_SAMPLES
    static const Picture page_sample = sample(VKKRNX_BENCH_SAMPLES "/page.png", 1);
    static const Picture gray_sample = sample(VKKRNX_BENCH_SAMPLES "/astronaut.png", 8);
    static const Picture color_sample = sample(VKKRNX_BENCH_SAMPLES "/astronaut.png", 24);
#else
    static const Picture page_sample(kPageWidth, kPageHeight, 1,
                                     page(kPageWidth, kPageHeight, (kPageWidth + 31) / 32 * 4));
    static const Picture gray_sample(kPhotoWidth, kPhotoHeight, 8, photo(kPhotoWidth, kPhotoHeight, 1));
    static const Picture color_sample(kPhotoWidth, kPhotoHeight, 24, photo(kPhotoWidth, kPhotoHeight, 3));
#endif
    return bits == 1 ? page_sample : bits == 8 ? gray_sample : color_sample;
}

const codec::Codec& codec_for(int32_t bits)
{
    return bits == 1 ? codec::kPageCodec : codec::kSampleCodec;
}

/// Calls visit(shape, rows) for every band.
template <class Visit> void for_each_band(const Picture& from, Visit visit)
{
    codec::Shape shape = from.shape;
    for (uint32_t y = 0; y < from.height; y += from.shape.rows) {
        shape.rows = std::min(from.shape.rows, from.height - y);
        visit(shape, from.rows.data() + size_t{y} * shape.bytes_per_line);
    }
}

/// All packed bands back to back; none stands as it is in the pictures used here.
std::vector<size_t> pack(const Picture& from, std::vector<uint8_t>& out, std::vector<uint8_t>& workspace)
{
    std::vector<size_t> sizes;
    size_t used = 0;
    out.resize(from.rows.size() + from.shape.bytes());
    for_each_band(from, [&](const codec::Shape& shape, const uint8_t* rows) {
        sizes.push_back(codec_for(shape.bits).encode(shape, rows, out.data() + used, shape.bytes(), workspace.data()));
        used += sizes.back();
    });
    sizes.push_back(used);
    return sizes;
}

void report(benchmark::State& state, size_t raw, size_t packed)
{
    state.counters["ratio"] = static_cast<double>(raw) / static_cast<double>(packed);
    const double pixels = state.counters["pixels/s"];
    state.counters["MB/s"] = pixels / 1e6;
}

void encode(benchmark::State& state, int32_t bits)
{
    const Picture& from = picture(bits);
    std::vector<uint8_t> workspace(codec_for(bits).workspace_bytes(from.shape));
    std::vector<uint8_t> out;
    const size_t packed = pack(from, out, workspace).back();
    against_memcpy(state, from.rows.size(), packed, from.rows.size(), [&] { pack(from, out, workspace); });
    report(state, from.rows.size(), packed);
}

void decode(benchmark::State& state, int32_t bits)
{
    const Picture& from = picture(bits);
    std::vector<uint8_t> workspace(codec_for(bits).workspace_bytes(from.shape));
    std::vector<uint8_t> out;
    const std::vector<size_t> sizes = pack(from, out, workspace);
    std::vector<uint8_t> back(from.rows.size());
    against_memcpy(state, sizes.back(), back.size(), back.size(), [&] {
        size_t band = 0;
        size_t used = 0;
        for_each_band(from, [&](const codec::Shape& shape, const uint8_t* rows) {
            codec_for(bits).decode(shape, out.data() + used, sizes[band], back.data() + (rows - from.rows.data()),
                                   workspace.data());
            used += sizes[band++];
        });
    });
    if (back != from.rows)
        state.SkipWithError("not the picture");
    report(state, from.rows.size(), sizes.back());
}

/// Rows in order through the store, written and packed, or read.
void store(benchmark::State& state, int32_t bits, bool writes)
{
    const Picture& from = picture(bits);
    BITMAPHANDLE bitmap = {};
    V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_SUPERCOMPRESSED, static_cast<int32_t>(from.shape.width),
                   static_cast<int32_t>(from.height), bits, COLORORDER_BGR, nullptr, TOP_LEFT, nullptr, 0);
    std::vector<uint8_t> row(bitmap.BytesPerLine);
    const auto write = [&] {
        for (int32_t y = 0; y < bitmap.Height; ++y)
            V_PutBitmapRow(&bitmap, from.rows.data() + static_cast<size_t>(y) * from.shape.bytes_per_line, y,
                           from.shape.bytes_per_line);
        V_UpdateBitmapSize(&bitmap);
    };
    write();
    const auto packed = static_cast<size_t>(bitmap.Size64);
    const auto read = [&] {
        for (int32_t y = 0; y < bitmap.Height; ++y)
            V_GetBitmapRow(&bitmap, row.data(), y, row.size());
    };
    if (writes)
        against_memcpy(state, from.rows.size(), packed, from.rows.size(), write);
    else
        against_memcpy(state, packed, from.rows.size(), from.rows.size(), read);
    report(state, from.rows.size(), packed);
    V_FreeBitmap(&bitmap);
}

#ifdef VKKRNX_BENCH_SAMPLES
struct Stream {
    std::vector<uint8_t> bytes;
    size_t position = 0;
};

void write_png(const Picture& from, Stream& to, int level, int filters)
{
    to.bytes.clear();
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &to,
        [](png_structp p, png_bytep data, size_t count) {
            auto& out = static_cast<Stream*>(png_get_io_ptr(p))->bytes;
            out.insert(out.end(), data, data + count);
        },
        [](png_structp) {});
    png_set_compression_level(png, level);
    png_set_filter(png, 0, filters);
    png_set_IHDR(png, info, from.shape.width, from.height, from.shape.bits == 1 ? 1 : 8,
                 from.shape.bits == 24 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, 0, 0);
    png_write_info(png, info);
    for (size_t y = 0; y < from.height; ++y)
        png_write_row(png, from.rows.data() + y * from.shape.bytes_per_line);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
}

void read_png(Stream& from, std::vector<uint8_t>& row, uint32_t height)
{
    from.position = 0;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &from, [](png_structp p, png_bytep data, size_t count) {
        auto& in = *static_cast<Stream*>(png_get_io_ptr(p));
        std::memcpy(data, in.bytes.data() + in.position, count);
        in.position += count;
    });
    png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_read_info(png, info);
    for (uint32_t y = 0; y < height; ++y)
        png_read_row(png, row.data(), nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

void decode_libpng(benchmark::State& state, int32_t bits)
{
    const Picture& from = picture(bits);
    Stream stream;
    write_png(from, stream, 1, PNG_FILTER_SUB);
    std::vector<uint8_t> row(from.shape.bytes_per_line);
    against_memcpy(state, stream.bytes.size(), from.rows.size(), from.rows.size(),
                   [&] { read_png(stream, row, from.height); });
    report(state, from.rows.size(), stream.bytes.size());
}

/// For its ratio: the smallest that libpng makes.
void encode_libpng_best(benchmark::State& state, int32_t bits)
{
    const Picture& from = picture(bits);
    Stream stream;
    for ([[maybe_unused]] auto _ : state) {
        const auto start = Clock::now();
        write_png(from, stream, 9, PNG_ALL_FILTERS);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["pixels/s"] = static_cast<double>(from.rows.size()) / seconds;
    }
    report(state, from.rows.size(), stream.bytes.size());
}

BENCHMARK_CAPTURE(decode_libpng, gray, 8)->Apply(settings);
BENCHMARK_CAPTURE(decode_libpng, color, 24)->Apply(settings);
BENCHMARK_CAPTURE(encode_libpng_best, gray, 8)->Apply(settings);
BENCHMARK_CAPTURE(encode_libpng_best, color, 24)->Apply(settings);
#endif

BENCHMARK_CAPTURE(encode, page, 1)->Apply(settings);
BENCHMARK_CAPTURE(encode, gray, 8)->Apply(settings);
BENCHMARK_CAPTURE(encode, color, 24)->Apply(settings);
BENCHMARK_CAPTURE(decode, page, 1)->Apply(settings);
BENCHMARK_CAPTURE(decode, gray, 8)->Apply(settings);
BENCHMARK_CAPTURE(decode, color, 24)->Apply(settings);
BENCHMARK_CAPTURE(store, write_page, 1, true)->Apply(settings);
BENCHMARK_CAPTURE(store, write_gray, 8, true)->Apply(settings);
BENCHMARK_CAPTURE(store, write_color, 24, true)->Apply(settings);
BENCHMARK_CAPTURE(store, read_page, 1, false)->Apply(settings);
BENCHMARK_CAPTURE(store, read_gray, 8, false)->Apply(settings);
BENCHMARK_CAPTURE(store, read_color, 24, false)->Apply(settings);

} // namespace
