// Rows one at a time through the exported functions, as codecs call them: what a call costs at 64, 512 and 4096 pixels.
#include "BenchSupport.h"

#include "Vkkrnx.h"

namespace vk::bench {
namespace {

/// Calls `call(row, pixels)` for a row of `pixels` pixels at `bits` bits read and written each.
template <class Call> void rows(benchmark::State& state, int32_t bits, Call call)
{
    const auto pixels = static_cast<int32_t>(state.range(0));
    const auto bytes = static_cast<uint64_t>(pixels) * static_cast<uint64_t>(bits) / 8;
    std::vector<uint8_t> row(static_cast<size_t>(pixels) * 8 + 64);
    uint32_t noise = 1;
    for (uint8_t& byte : row) {
        noise = noise * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(noise >> 24);
    }
    against_memcpy(state, bytes, bytes, static_cast<uint64_t>(pixels), [&] { call(row.data(), pixels); });
}

void convert(benchmark::State& state, int32_t from, int32_t order, int32_t to, int32_t to_order, int32_t custom)
{
    RGBQUAD palette[256];
    for (uint32_t i = 0; i < 256; ++i)
        palette[i] = {static_cast<uint8_t>(i * 7), static_cast<uint8_t>(i * 3), static_cast<uint8_t>(255 - i), 0};
    rows(state, from, [&](uint8_t* row, int32_t pixels) {
        V_ConvertBuffer(row, pixels, from, to, order, to_order, nullptr, custom ? palette : nullptr);
    });
}

/// A bitmap of a hundred rows.
struct Rows {
    BITMAPHANDLE bitmap{};
    Rows(int32_t width, int32_t bits, int32_t order)
    {
        V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, width, 100, bits, order, nullptr, TOP_LEFT, nullptr, 0);
    }
    ~Rows() { V_FreeBitmap(&bitmap); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
};

void get_row(benchmark::State& state)
{
    Rows source(static_cast<int32_t>(state.range(0)), 24, COLORORDER_BGR);
    rows(state, 24, [&](uint8_t* row, int32_t) { V_GetBitmapRow(&source.bitmap, row, 7, source.bitmap.BytesPerLine); });
}

void put_row(benchmark::State& state)
{
    Rows target(static_cast<int32_t>(state.range(0)), 24, COLORORDER_BGR);
    rows(state, 24, [&](uint8_t* row, int32_t) { V_PutBitmapRow(&target.bitmap, row, 7, target.bitmap.BytesPerLine); });
}

void dither_row(benchmark::State& state, int32_t method)
{
    Rows source(static_cast<int32_t>(state.range(0)), 8, COLORORDER_GRAY);
    std::vector<uint8_t> to(static_cast<size_t>(state.range(0)));
    source.bitmap.Order = COLORORDER_GRAY;
    source.bitmap.DitheringMethod = method;
    V_StartDithering(&source.bitmap, nullptr, 2);
    rows(state, 8, [&](uint8_t* row, int32_t) { V_DitherLine(&source.bitmap, row, to.data()); });
    V_StopDithering(&source.bitmap);
}

void widths(benchmark::internal::Benchmark* benchmark)
{
    settings(benchmark);
    benchmark->Arg(64)->Arg(512)->Arg(4096)->Unit(benchmark::kNanosecond);
}

constexpr int32_t kBgr = COLORORDER_BGR, kGray = COLORORDER_GRAY;
BENCHMARK_CAPTURE(convert, 24_32, 24, kBgr, 32, kBgr, 0)->Name("row/convert/24 to 32")->Apply(widths);
BENCHMARK_CAPTURE(convert, gray_1, 8, kGray, 1, kBgr, 0)->Name("row/convert/gray to 1")->Apply(widths);
BENCHMARK_CAPTURE(convert, index_1, 8, kBgr, 1, kBgr, 1)->Name("row/convert/8 to 1, given")->Apply(widths);
BENCHMARK_CAPTURE(convert, 24_8, 24, kBgr, 8, kBgr, 0)->Name("row/convert/24 to 8, fixed")->Apply(widths);
BENCHMARK_CAPTURE(convert, 24_8_given, 24, kBgr, 8, kBgr, 1)->Name("row/convert/24 to 8, given")->Apply(widths);
BENCHMARK(get_row)->Name("row/get/24")->Apply(widths);
BENCHMARK(put_row)->Name("row/put/24")->Apply(widths);
BENCHMARK_CAPTURE(dither_row, ordered, DITHER_ORDERED)->Name("row/dither/ordered, gray to 1")->Apply(widths);
BENCHMARK_CAPTURE(dither_row, floyd, DITHER_FLOYD_STEINBERG)->Name("row/dither/Floyd-Steinberg")->Apply(widths);

} // namespace
} // namespace vk::bench
