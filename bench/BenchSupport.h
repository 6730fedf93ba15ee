// What the benchmarks share: timing an operation beside memcpy, and pictures to work on.
//
// Absolute times mean little on a shared machine. Each measurement therefore alternates the operation with a memcpy
// that reads plus writes the same number of bytes between buffers of its own, and reports the ratio of the two medians
// as `x_memcpy` (lower is better), next to pixels per second.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <new>
#include <ratio>
#include <vector>

namespace vk::bench {

#if defined(VKKRNX_BENCH_CPU_TIME)
/// The time for which the process had a processor: steadier where others keep the machine busy, and of no use for what
/// runs on several threads.
struct Clock {
    using duration = std::chrono::duration<std::clock_t, std::ratio<1, CLOCKS_PER_SEC>>;
    using time_point = std::chrono::time_point<Clock, duration>;
    static time_point now() { return time_point(duration(std::clock())); }
};
#else
using Clock = std::chrono::steady_clock;
#endif

/// Seconds that `times` runs of a callable take, per run.
template <class Op> double seconds_per_run(Op& op, int64_t times)
{
    const auto start = Clock::now();
    for (int64_t i = 0; i < times; ++i) {
        op();
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double>(Clock::now() - start).count() / static_cast<double>(times);
}

inline double median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The yardstick: one memcpy of half the bytes, which reads and writes all of them together. Its two buffers lie half a
/// page apart modulo the page size, so that loads do not wait for stores to the same low address bits.
class Yardstick {
public:
    Yardstick(uint64_t bytes_read, uint64_t bytes_written)
        : bytes_(static_cast<size_t>((bytes_read + bytes_written + 1) / 2)), memory_(2 * bytes_ + 4 * kPage, 1)
    {
        const auto start = reinterpret_cast<uintptr_t>(memory_.data());
        const size_t first = kPage - start % kPage;
        from_ = memory_.data() + first;
        to_ = from_ + (bytes_ + kPage - 1) / kPage * kPage + kPage / 2;
    }
    void operator()()
    {
        std::memcpy(to_, from_, bytes_);
        benchmark::DoNotOptimize(to_);
    }

private:
    static constexpr size_t kPage = 4096;
    size_t bytes_;
    std::vector<uint8_t> memory_;
    uint8_t* from_;
    uint8_t* to_;
};

/// Runs a benchmark: `op` handles `pixels` pixels, reads and writes so many bytes. Short operations run in batches long
/// enough for the clock; the time reported is that of one. `prepare` comes before each batch, and does not count.
template <class Op, class Prepare>
void against_memcpy(benchmark::State& state, uint64_t bytes_read, uint64_t bytes_written, uint64_t pixels, Op&& op,
                    Prepare&& prepare)
{
    constexpr double kLeastBatch = 50e-6;
    constexpr double kLeastTotal = 0.4;
    constexpr size_t kLeastRounds = 11;
    Yardstick copy(bytes_read, bytes_written);
    prepare();
    seconds_per_run(op, 1); // warms both up
    seconds_per_run(copy, 1);
    const double once = std::max(std::min(seconds_per_run(op, 2), seconds_per_run(copy, 2)), 1e-9);
    const auto batch = static_cast<int64_t>(std::max(1.0, kLeastBatch / once));

    for ([[maybe_unused]] auto _ : state) {
        std::vector<double> op_times;
        std::vector<double> copy_times;
        const auto start = Clock::now();
        do {
            prepare();
            copy_times.push_back(seconds_per_run(copy, batch));
            op_times.push_back(seconds_per_run(op, batch));
        } while (op_times.size() < kLeastRounds ||
                 std::chrono::duration<double>(Clock::now() - start).count() < kLeastTotal);
        const double op_time = median(op_times);
        state.SetIterationTime(op_time);
        state.counters["x_memcpy"] = op_time / median(copy_times);
        state.counters["pixels/s"] = static_cast<double>(pixels) / op_time;
    }
}

template <class Op>
void against_memcpy(benchmark::State& state, uint64_t bytes_read, uint64_t bytes_written, uint64_t pixels, Op&& op)
{
    against_memcpy(state, bytes_read, bytes_written, pixels, op, [] {});
}

/// Memory that begins at a page, as the library's own storage does.
template <class T> struct PageAllocator {
    using value_type = T;
    static constexpr std::align_val_t kPage{4096};
    PageAllocator() = default;
    template <class U> explicit PageAllocator(const PageAllocator<U>&) {}
    T* allocate(size_t count) { return static_cast<T*>(::operator new(count * sizeof(T), kPage)); }
    void deallocate(T* block, size_t) { ::operator delete(block, kPage); }
    bool operator==(const PageAllocator&) const { return true; }
};
using Block = std::vector<uint8_t, PageAllocator<uint8_t>>;

inline Block block_of(const std::vector<uint8_t>& bytes)
{
    return Block(bytes.begin(), bytes.end());
}

/// Registers with BENCHMARK(...)->Apply(vk::bench::settings): against_memcpy repeats by itself.
inline void settings(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);
}

/// The sizes that figures are given for.
constexpr int32_t kPhotoWidth = 4096;
constexpr int32_t kPhotoHeight = 3072;
constexpr int32_t kPageWidth = 4960;
constexpr int32_t kPageHeight = 7016;

/// Photograph-like samples: smooth shades with grain, `channels` bytes per pixel, rows without padding.
inline std::vector<uint8_t> photo(int32_t width, int32_t height, int32_t channels)
{
    std::vector<uint8_t> pixels;
    pixels.reserve(static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(channels));
    uint32_t noise = 1;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const int32_t blob = (((x >> 5) * (y >> 6)) & 63) + ((x * 96) / width) + ((y * 64) / height);
            for (int32_t c = 0; c < channels; ++c) {
                noise = noise * 1664525u + 1013904223u;
                pixels.push_back(static_cast<uint8_t>(blob + c * 11 + static_cast<int32_t>(noise >> 28)));
            }
        }
    }
    return pixels;
}

/// A text-like page of 1-bit pixels, most significant bit first, `stride` bytes per row: lines of letter-sized strokes
/// with white between them.
inline std::vector<uint8_t> page(int32_t width, int32_t height, size_t stride)
{
    std::vector<uint8_t> rows(stride * static_cast<size_t>(height), 0);
    uint32_t noise = 7;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = rows.data() + stride * static_cast<size_t>(y);
        if (y % 64 >= 40 || y < height / 16 || y > height - height / 16) {
            continue;
        }
        for (int32_t x = width / 12; x < width - width / 12;) {
            noise = noise * 1664525u + 1013904223u;
            const int32_t stroke = 3 + static_cast<int32_t>(noise >> 29);
            const int32_t gap = 8 + static_cast<int32_t>((noise >> 20) & 31u);
            for (int32_t end = std::min(x + stroke, width); x < end; ++x) {
                row[x / 8] = static_cast<uint8_t>(row[x / 8] | (0x80u >> (x % 8)));
            }
            x += gap;
        }
    }
    return rows;
}

} // namespace vk::bench
