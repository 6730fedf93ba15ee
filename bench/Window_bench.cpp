// Window level on 16-bit gray: whole bitmaps with fresh storage, and rows alone; straight windows, those by table, and
// what reads and writes as much and does nothing else.
#include "BenchSupport.h"
#include "Limits.h"
#include "Vkkrnx.h"
#include "kernel/window/Samples.h"

namespace {

using namespace vk;
using namespace vk::bench;

constexpr simd::Level kLevels[] = {simd::Level::plain, simd::Level::avx2, simd::Level::avx512};
constexpr uint64_t kPixels = uint64_t{kPhotoWidth} * kPhotoHeight;

V_WINDOW window_of(int64_t function)
{
    return {sizeof(V_WINDOW), static_cast<uint32_t>(function), 0, 0, 20000, 30000};
}

/// Smooth 16-bit samples with grain.
std::vector<uint8_t> samples()
{
    const std::vector<uint8_t> levels = photo(kPhotoWidth, kPhotoHeight, 1);
    std::vector<uint8_t> rows(2 * levels.size());
    for (size_t i = 0; i < levels.size(); ++i) {
        const uint32_t sample = levels[i] * 190u + (i * 40503u & 0xFF);
        rows[2 * i] = static_cast<uint8_t>(sample);
        rows[2 * i + 1] = static_cast<uint8_t>(sample >> 8);
    }
    return rows;
}

void window_bitmap(benchmark::State& state)
{
    const std::vector<uint8_t> rows = samples();
    const V_WINDOW window = window_of(state.range(0));
    BITMAPHANDLE from = {};
    V_CreateBitmap(&from, sizeof from, TYPE_CONV, kPhotoWidth, kPhotoHeight, 16, COLORORDER_GRAY, nullptr, TOP_LEFT,
                   nullptr, 0);
    V_AccessBitmap(&from);
    V_PutBitmapRow(&from, rows.data(), 0, rows.size());
    simd::limit_level(kLevels[state.range(1)]);
    against_memcpy(state, 2 * kPixels, kPixels, kPixels, [&] {
        BITMAPHANDLE to = {};
        V_WindowBitmap(&to, &from, sizeof to, &window, 8);
        V_FreeBitmap(&to);
    });
    simd::limit_level(simd::Level::avx512);
    V_ReleaseBitmap(&from);
    V_FreeBitmap(&from);
}

void window_rows(benchmark::State& state)
{
    const Block rows = block_of(samples());
    Block levels(kPixels);
    const V_WINDOW window = window_of(state.range(0));
    SampleForm form;
    form.bits = 16;
    form.significant = gray_range_within(16, 0, 15);
    simd::limit_level(kLevels[state.range(1)]);
    WindowRows plan;
    plan.open(form, &window);
    simd::limit_level(simd::Level::avx512);
    against_memcpy(state, 2 * kPixels, kPixels, kPixels, [&] {
        for (size_t y = 0; y < kPhotoHeight; ++y)
            plan.run(rows.data() + y * kPhotoWidth * 2, 0, kPhotoWidth, levels.data() + y * kPhotoWidth, true);
    });
}

void window_limit(benchmark::State& state)
{
    Limit limit(Traffic::stream, 2 * kPixels, kPixels);
    against_memcpy(state, 2 * kPixels, kPixels, kPixels, limit);
}

BENCHMARK(window_limit)->Apply(settings);
BENCHMARK(window_bitmap)->Apply(settings)->ArgsProduct({{WINDOW_LINEAR, WINDOW_SIGMOID}, {0, 1, 2}});
BENCHMARK(window_rows)->Apply(settings)->ArgsProduct({{WINDOW_LINEAR, WINDOW_SIGMOID}, {0, 1, 2}});

} // namespace
