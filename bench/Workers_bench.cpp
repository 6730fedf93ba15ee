// Operations on a photograph by one worker and by two, in turns, through exported functions. Reported: the least time
// of either in milliseconds, how many times as fast two are, how much processor time two take of what one takes, and
// how many times as fast they would be if each had a processor: one's processor time by that of the busier of two
// threads, of which the calling one does alone what is not shared.
#include "bench/Pictures.h"

#include <ctime>

namespace {

using namespace vk::bench;

constexpr int kRounds = 25;

struct Operation {
    const char* name;
    int (*run)(BITMAPHANDLE* bitmap);
    uint32_t memory = TYPE_CONV;
};

template <int32_t kBits, uint32_t kFlags, uint32_t kColors, int32_t kMethod> int change(BITMAPHANDLE* bitmap)
{
    bitmap->DitheringMethod = kMethod;
    return V_ColorResBitmap(bitmap, bitmap, sizeof *bitmap, kBits, kFlags, nullptr, nullptr, kColors);
}
template <int32_t kPercent, int (*kResample)(BITMAPHANDLE*, int32_t, int32_t)> int scale(BITMAPHANDLE* bitmap)
{
    return kResample(bitmap, bitmap->Width * kPercent / 100, bitmap->Height * kPercent / 100);
}
template <uint32_t kFlags> int rotate(BITMAPHANDLE* bitmap)
{
    return V_RotateBitmap(bitmap, 1700, ROTATEFLAG_GROW | kFlags, 0);
}
template <uint32_t kFlags> int warp(BITMAPHANDLE* bitmap)
{
    const V_MATRIX matrix{{{0.9, 0.1, 0.00002}, {-0.1, 0.8, 0}, {200, 400, 1}}};
    return V_WarpBitmap(bitmap, &matrix, kPhotoWidth, kPhotoHeight, kFlags, 0);
}

constexpr Operation kOperations[] = {
    {"area resize to 37 %", scale<37, V_ResampleBitmap>},
    {"bicubic resize to 150 %", scale<150, V_BicubicResampleBitmap>},
    {"rotate, nearest", rotate<0>},
    {"rotate, linear", rotate<ROTATEFLAG_RESAMPLE>},
    {"rotate, cubic", rotate<ROTATEFLAG_BICUBIC>},
    {"warp, cubic", warp<WARP_CUBIC>},
    {"exact matching, 256 colours", change<8, COLORRES_NODITHER, 0, DITHER_NONE>},
    {"exact matching, 16 colours", change<4, COLORRES_NODITHER, 0, DITHER_NONE>},
    {"ordered dithering", change<8, 0, 0, DITHER_ORDERED>},
    {"optimized palette, matched", change<8, COLORRES_PALETTE_OPTIMIZED | COLORRES_NODITHER, 256, DITHER_NONE>},
    {"Floyd-Steinberg, 256 colours", change<8, 0, 0, DITHER_FLOYD_STEINBERG>},
    {"Floyd-Steinberg, 16 colours", change<4, 0, 0, DITHER_FLOYD_STEINBERG>},
    {"Stucki, 256 colours", change<8, 0, 0, DITHER_STUCKI>},
    {"24 to 32 bits", change<32, 0, 0, DITHER_NONE>},
    {"tiles, area resize to 37 %", scale<37, V_ResampleBitmap>, TYPE_TILED},
    {"tiles, bicubic resize to 150 %", scale<150, V_BicubicResampleBitmap>, TYPE_TILED},
    {"tiles, rotate, nearest", rotate<0>, TYPE_TILED},
    {"tiles, rotate, linear", rotate<ROTATEFLAG_RESAMPLE>, TYPE_TILED},
    {"tiles, rotate, cubic", rotate<ROTATEFLAG_BICUBIC>, TYPE_TILED},
    {"tiles, warp, cubic", warp<WARP_CUBIC>, TYPE_TILED},
    {"disk, area resize to 37 %", scale<37, V_ResampleBitmap>, TYPE_DISK},
    {"disk, bicubic resize to 150 %", scale<150, V_BicubicResampleBitmap>, TYPE_DISK},
    {"disk, rotate, cubic", rotate<ROTATEFLAG_BICUBIC>, TYPE_DISK},
    {"super-compressed, warp, cubic", warp<WARP_CUBIC>, TYPE_SUPERCOMPRESSED},
};

struct Least {
    double wall = 1e9;
    double work = 1e9;
    double longest = 1e9; ///< of the threads
};

double seconds_of(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void measure(BITMAPHANDLE* source, const Operation& operation, int32_t workers, Least& least)
{
    BITMAPHANDLE bitmap{};
    bitmap.StructSize = sizeof bitmap;
    if (V_CopyBitmap(&bitmap, source, sizeof bitmap) != SUCCESS)
        throw std::bad_alloc();
    V_SetWorkers(workers);
    const auto start = std::chrono::steady_clock::now();
    const double all_before = seconds_of(CLOCK_PROCESS_CPUTIME_ID);
    const double own_before = seconds_of(CLOCK_THREAD_CPUTIME_ID);
    const int result = operation.run(&bitmap);
    const double own = seconds_of(CLOCK_THREAD_CPUTIME_ID) - own_before;
    const double all = seconds_of(CLOCK_PROCESS_CPUTIME_ID) - all_before;
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    V_SetWorkers(1);
    V_FreeBitmap(&bitmap);
    if (result != SUCCESS)
        throw std::bad_alloc();
    least.wall = std::min(least.wall, wall.count());
    least.work = std::min(least.work, all);
    least.longest = std::min(least.longest, std::max(own, all - own));
}

void workers(benchmark::State& state)
{
    const Operation& operation = kOperations[state.range(0)];
    Bitmap source({24, COLORORDER_BGR});
    if (V_SetBitmapMemoryInfo(source.get(), operation.memory, 0, 0, 0, 0, 0, 0) != SUCCESS)
        throw std::bad_alloc();
    Least one;
    Least two;
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < kRounds; ++i) {
            measure(source.get(), operation, 1, one);
            measure(source.get(), operation, 2, two);
        }
        state.SetIterationTime(two.wall);
    }
    state.counters["one_ms"] = one.wall * 1e3;
    state.counters["two_ms"] = two.wall * 1e3;
    state.counters["times"] = one.wall / two.wall;
    state.counters["work"] = two.work / one.work;
    state.counters["by_thread"] = one.work / two.longest;
    state.SetLabel(operation.name);
}
BENCHMARK(workers)->DenseRange(0, static_cast<int>(std::size(kOperations)) - 1)->Apply(settings);

} // namespace
