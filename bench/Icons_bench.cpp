// The life of a small picture beside the same in other libraries: made of rows, averaged down, turned gray and freed.
// python/bench/icons.py does it from Python, beside Pillow.
#include "BenchSupport.h"
#include "Icons.h"

#include "Vkkrnx.h"

#if defined(VKKRNX_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace vk::bench;

void live(const uint8_t* rows)
{
    BITMAPHANDLE icon{};
    V_CreateBitmap(&icon, sizeof icon, TYPE_CONV, kIcon, kIcon, 24, COLORORDER_BGR, nullptr, TOP_LEFT, nullptr, 0);
    for (int32_t y = 0; y < kIcon; ++y)
        V_PutBitmapRow(&icon, rows + y * kIconRow, y, kIconRow);
    V_SizeBitmap(&icon, kSmallIcon, kSmallIcon, SIZEFLAG_RESAMPLE);
    V_GrayScaleBitmap(&icon, 8);
    benchmark::DoNotOptimize(*icon.Data);
    V_FreeBitmap(&icon);
}

#if defined(VKKRNX_BENCH_OPENCV)
void live_opencv(const uint8_t* rows)
{
    cv::Mat icon(kIcon, kIcon, CV_8UC3), small, gray;
    for (int32_t y = 0; y < kIcon; ++y)
        std::memcpy(icon.ptr(y), rows + y * kIconRow, kIconRow);
    cv::resize(icon, small, cv::Size(kSmallIcon, kSmallIcon), 0, 0, cv::INTER_AREA);
    cv::cvtColor(small, gray, cv::COLOR_BGR2GRAY);
    benchmark::DoNotOptimize(*gray.data);
}
#endif

/// Lives a second, of the best of some rounds.
void lives(benchmark::State& state, void (*live_once)(const uint8_t*))
{
    constexpr int kRounds = 9;
    constexpr int64_t kBatch = 5000;
    const std::vector<uint8_t> rows = photo(kIcon, kIcon, 3);
    const auto op = [&] { live_once(rows.data()); };
    for ([[maybe_unused]] auto _ : state) {
        std::vector<double> times;
        for (int round = 0; round < kRounds; ++round)
            times.push_back(seconds_per_run(op, kBatch));
        const double best = *std::min_element(times.begin(), times.end());
        state.SetIterationTime(best);
        state.counters["lives/s"] = 1 / best;
    }
}

BENCHMARK_CAPTURE(lives, icons, live)->Apply(settings);
#if defined(VKKRNX_BENCH_OPENCV)
BENCHMARK_CAPTURE(lives, icons_opencv, live_opencv)->Apply(settings);
#endif
#if defined(VKKRNX_BENCH_FREEIMAGE)
BENCHMARK_CAPTURE(lives, icons_freeimage, live_freeimage)->Apply(settings);
#endif

} // namespace
