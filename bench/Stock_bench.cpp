// What a new bitmap costs: operations that make one, and free it again, beside the same work into storage that exists,
// and beside themselves with no stock of freed memory; then small bitmaps by the second, by one thread and by many.
#include "BenchSupport.h"

#include "Vkkrnx.h"
#include "kernel/convert/Convert.h"

#include <atomic>
#include <thread>

namespace {

using namespace vk;
using namespace vk::bench;

/// A photograph of 24 bits, and bitmaps to be filled.
struct Pictures {
    std::vector<uint8_t> pixels = photo(kPhotoWidth, kPhotoHeight, 3);
    BITMAPHANDLE source = {};
    BITMAPHANDLE there = {};

    Pictures(int32_t width, int32_t height, int32_t bits)
    {
        V_CreateBitmap(&source, sizeof source, TYPE_USER, kPhotoWidth, kPhotoHeight, 24, COLORORDER_BGR, nullptr,
                       TOP_LEFT, pixels.data(), pixels.size());
        V_CreateBitmap(&there, sizeof there, TYPE_CONV, width, height, bits, COLORORDER_BGR, nullptr, TOP_LEFT, nullptr,
                       0);
    }
    ~Pictures()
    {
        V_FreeBitmap(&there);
        V_FreeBitmap(&source);
    }
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;
};

/// `make` makes a bitmap and frees it, `fill` does the same work into one that is there. Rounds alternate.
template <class Make, class Fill> void compare(benchmark::State& state, Make&& make, Fill&& fill)
{
    constexpr int kRounds = 15;
    for ([[maybe_unused]] auto _ : state) {
        std::vector<double> made, filled, unstocked;
        seconds_per_run(make, 1);
        for (int round = 0; round < kRounds; ++round) {
            made.push_back(seconds_per_run(make, 1));
            filled.push_back(seconds_per_run(fill, 1));
        }
        V_SetMemoryStock(0);
        for (int round = 0; round < kRounds; ++round)
            unstocked.push_back(seconds_per_run(make, 1));
        V_SetMemoryStock(MEMORYSTOCK_DEFAULT);
        const double time = median(made);
        state.SetIterationTime(time);
        state.counters["x_existing"] = time / median(filled);
        state.counters["x_without_stock"] = time / median(unstocked);
    }
}

void new_24_to_32(benchmark::State& state)
{
    Pictures pictures(kPhotoWidth, kPhotoHeight, 32);
    ConvertJob job;
    job.width = kPhotoWidth;
    job.src_bits = 24;
    job.dst_bits = 32;
    job.src_order = job.dst_order = COLORORDER_BGR;
    compare(
        state,
        [&] {
            BITMAPHANDLE made{};
            V_ColorResBitmap(&pictures.source, &made, sizeof made, 32, COLORRES_ORDER_BGR, nullptr, nullptr, 0);
            V_FreeBitmap(&made);
        },
        [&] {
            convert_rows({pictures.pixels.data(), size_t{3} * kPhotoWidth},
                         {pictures.there.Data, pictures.there.BytesPerLine}, kPhotoHeight, job);
        });
}

void new_from_dib(benchmark::State& state)
{
    Pictures pictures(kPhotoWidth, kPhotoHeight, 24);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = kPhotoWidth;
    info.bmiHeader.biHeight = -kPhotoHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    compare(
        state,
        [&] {
            BITMAPHANDLE made{};
            V_ConvertFromDIB(&made, sizeof made, &info, pictures.pixels.data());
            V_FreeBitmap(&made);
        },
        [&] { V_CopyBitmapData(&pictures.there, &pictures.source); });
}

void new_resampled(benchmark::State& state)
{
    Pictures pictures(kPhotoWidth / 3, kPhotoHeight / 3, 24);
    compare(
        state,
        [&] {
            BITMAPHANDLE turned{};
            V_CreateBitmap(&turned, sizeof turned, TYPE_USER, kPhotoWidth, kPhotoHeight, 24, COLORORDER_BGR, nullptr,
                           TOP_LEFT, pictures.pixels.data(), pictures.pixels.size());
            V_ResampleBitmap(&turned, kPhotoWidth / 3, kPhotoHeight / 3);
            V_FreeBitmap(&turned);
        },
        [&] { V_IntResampleBitmap(&pictures.source, &pictures.there); });
}

/// Nothing rotates into storage that exists; the quotient is of a copy into it.
void new_rotated(benchmark::State& state)
{
    Pictures pictures(kPhotoWidth, kPhotoHeight, 24);
    compare(
        state,
        [&] {
            BITMAPHANDLE turned{};
            V_CreateBitmap(&turned, sizeof turned, TYPE_USER, kPhotoWidth, kPhotoHeight, 24, COLORORDER_BGR, nullptr,
                           TOP_LEFT, pictures.pixels.data(), pictures.pixels.size());
            V_RotateBitmap(&turned, 730, 0, 0);
            V_FreeBitmap(&turned);
        },
        [&] { V_CopyBitmapData(&pictures.there, &pictures.source); });
}

BENCHMARK(new_24_to_32)->Apply(settings);
BENCHMARK(new_from_dib)->Apply(settings);
BENCHMARK(new_resampled)->Apply(settings);
BENCHMARK(new_rotated)->Apply(settings);

/// Bitmaps of 32 bits made and freed: range(0) threads, range(1) pixels along a side.
void made_per_second(benchmark::State& state)
{
    const auto side = static_cast<int32_t>(state.range(1));
    for ([[maybe_unused]] auto _ : state) {
        std::atomic<bool> stop{false};
        std::atomic<int64_t> made{0};
        std::vector<std::thread> threads;
        const auto start = Clock::now();
        for (int64_t t = 0; t < state.range(0); ++t)
            threads.emplace_back([&] {
                int64_t count = 0;
                for (; !stop.load(std::memory_order_relaxed); ++count) {
                    BITMAPHANDLE bitmap{};
                    V_CreateBitmap(&bitmap, sizeof bitmap, TYPE_CONV, side, side, 32, COLORORDER_BGR, nullptr, TOP_LEFT,
                                   nullptr, 0);
                    std::memset(bitmap.Data, 1, size_t{bitmap.BytesPerLine} * static_cast<size_t>(side));
                    V_FreeBitmap(&bitmap);
                }
                made += count;
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds / static_cast<double>(made.load()));
        state.counters["made/s"] = static_cast<double>(made.load()) / seconds;
    }
}
BENCHMARK(made_per_second)->ArgNames({"threads", "side"})->ArgsProduct({{1, 2, 8, 16}, {32, 256}})->Apply(settings);

} // namespace
