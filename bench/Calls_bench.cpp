// What a call costs from C and through Vkkrnx.hpp: a program of its own that links the shared library, as programs do.
//
// The two take turns, a batch each, and the result is the ratio of the fastest batches: on a shared machine the least
// time is what the call takes, the rest is other people's. Reported: calls per second of both, and their ratio.
#include "Vkkrnx.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace {

constexpr int kRounds = 400;

template <class Op> double seconds(Op& op, int times)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < times; ++i)
        op();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / times;
}

/// Both in one run, in batches of about 50 microseconds.
template <class C, class Cpp> void compare(benchmark::State& state, C&& c, Cpp&& cpp)
{
    seconds(c, 100);
    const int batch = std::max(10, static_cast<int>(50e-6 / std::max(seconds(cpp, 100), 1e-9)));
    for ([[maybe_unused]] auto _ : state) {
        double least_c = std::numeric_limits<double>::max();
        double least_cpp = least_c;
        for (int round = 0; round < kRounds; ++round) {
            least_c = std::min(least_c, seconds(c, batch));
            least_cpp = std::min(least_cpp, seconds(cpp, batch));
        }
        state.SetIterationTime(least_cpp);
        state.counters["C calls/s"] = 1 / least_c;
        state.counters["C++ calls/s"] = 1 / least_cpp;
        state.counters["C++/C"] = least_cpp / least_c;
    }
}

void trivial(benchmark::State& state)
{
    vk::Bitmap picture = vk::Bitmap::create(16, 16, 24);
    BITMAPHANDLE* const record = picture.record();
    int sum = 0;
    compare(
        state,
        [&] {
            const int code = V_BitmapHasRegion(record);
            if (code >= 0)
                sum += code;
            benchmark::DoNotOptimize(sum);
        },
        [&] {
            sum += picture.region().exists() ? 1 : 0;
            benchmark::DoNotOptimize(sum);
        });
}

void get_row(benchmark::State& state)
{
    constexpr int32_t kWidth = 4096;
    constexpr int32_t kHeight = 64;
    const auto depth = static_cast<int32_t>(state.range(0));
    vk::Bitmap picture = vk::Bitmap::create(kWidth, kHeight, depth);
    picture.fill(vk::Color(1, 2, 3));
    BITMAPHANDLE* const record = picture.record();
    std::vector<std::byte> buffer(picture.bytes_per_line());
    const vk::LockGuard guard(picture);
    int32_t row = 0;
    intptr_t bytes = 0;
    compare(
        state,
        [&] {
            const intptr_t got = V_GetBitmapRow(record, buffer.data(), row = (row + 1) % kHeight, buffer.size());
            if (got < 0)
                std::abort();
            bytes += got;
            benchmark::DoNotOptimize(bytes);
        },
        [&] {
            bytes += static_cast<intptr_t>(picture.get_row(row = (row + 1) % kHeight, buffer));
            benchmark::DoNotOptimize(bytes);
        });
}

/// The row's address by the record's fields, and as a span.
void row_in_place(benchmark::State& state)
{
    vk::Bitmap picture = vk::Bitmap::create(4096, 64, 24);
    BITMAPHANDLE* const record = picture.record();
    const vk::LockGuard guard(picture);
    int32_t row = 0;
    compare(
        state,
        [&] {
            row = (row + 1) % 64;
            benchmark::DoNotOptimize(record->Data +
                                     static_cast<size_t>(record->BytesPerLine) * static_cast<size_t>(row));
        },
        [&] {
            row = (row + 1) % 64;
            benchmark::DoNotOptimize(picture.row(row).data());
        });
}

void settings(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Unit(benchmark::kNanosecond)->Iterations(1)->Repetitions(5);
}
BENCHMARK(trivial)->Apply(settings);
BENCHMARK(get_row)->Arg(8)->Arg(24)->Arg(32)->Apply(settings);
BENCHMARK(row_in_place)->Apply(settings);

} // namespace
