// Rows in and out of storage. Conventional storage is held against memcpy of the very same rows; a picture of 4 GiB
// that goes through tiles against a plain temporary file that is written and read in the same pieces.
#include "BenchSupport.h"
#include "Vkkrnx.h"
#include "kernel/storage/StorageFile.h"

#include <fstream>
#include <string>

namespace {

using namespace vk;
using namespace vk::bench;

constexpr int32_t kBits = 24;

/// A bitmap of its own for a benchmark.
struct Bitmap {
    BITMAPHANDLE handle = {};

    Bitmap(uint32_t memory, int32_t width, int32_t height, int32_t bits)
    {
        ok = V_CreateBitmap(&handle, sizeof handle, memory, width, height, bits, COLORORDER_BGR, nullptr, TOP_LEFT,
                            nullptr, 0) == V_SUCCESS;
        V_AccessBitmap(&handle);
    }
    ~Bitmap()
    {
        V_ReleaseBitmap(&handle);
        V_FreeBitmap(&handle);
    }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    bool ok = false;
};

/// Alternates rounds of the row function and of memcpy over all rows, and reports the ratio of the medians.
template <typename Move, typename Copy> void against_row_copies(benchmark::State& state, Move&& move, Copy&& copy)
{
    constexpr int kRounds = 41;
    for ([[maybe_unused]] auto _ : state) {
        std::vector<double> moves;
        std::vector<double> copies;
        for (int round = 0; round < kRounds; ++round) {
            copies.push_back(seconds_per_run(copy, 1));
            moves.push_back(seconds_per_run(move, 1));
        }
        const double time = median(moves);
        state.SetIterationTime(time);
        state.counters["x_memcpy"] = time / median(copies);
        state.counters["pixels/s"] = double{kPhotoWidth} * kPhotoHeight / time;
    }
}

void conventional_get(benchmark::State& state)
{
    Bitmap bitmap(TYPE_CONV, kPhotoWidth, kPhotoHeight, kBits);
    const size_t line = bitmap.handle.BytesPerLine;
    std::vector<uint8_t> row(line);
    against_row_copies(
        state,
        [&] {
            for (int32_t y = 0; y < kPhotoHeight; ++y)
                V_GetBitmapRow(&bitmap.handle, row.data(), y, line);
        },
        [&] {
            for (int32_t y = 0; y < kPhotoHeight; ++y) {
                std::memcpy(row.data(), bitmap.handle.Data + line * static_cast<size_t>(y), line);
                benchmark::ClobberMemory();
            }
        });
}

void conventional_put(benchmark::State& state)
{
    Bitmap bitmap(TYPE_CONV, kPhotoWidth, kPhotoHeight, kBits);
    const size_t line = bitmap.handle.BytesPerLine;
    const std::vector<uint8_t> row(line, 1);
    against_row_copies(
        state,
        [&] {
            for (int32_t y = 0; y < kPhotoHeight; ++y)
                V_PutBitmapRow(&bitmap.handle, row.data(), y, line);
        },
        [&] {
            for (int32_t y = 0; y < kPhotoHeight; ++y) {
                std::memcpy(bitmap.handle.Data + line * static_cast<size_t>(y), row.data(), line);
                benchmark::ClobberMemory();
            }
        });
}

BENCHMARK(conventional_get)->Apply(settings);
BENCHMARK(conventional_put)->Apply(settings);

/// A figure of the process in MiB, such as VmHWM; 0 where the system does not tell.
double process_mib(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1)) / 1024;
    return 0;
}

constexpr size_t kHugeLine = 65536;
constexpr int32_t kHugeRows = 65536;
constexpr double kHugeMiB = 4096;

/// Runs `move` for every row and returns MiB per second.
template <typename Move> double huge_rate(Move&& move)
{
    const auto start = Clock::now();
    for (int32_t y = 0; y < kHugeRows; ++y)
        move(y);
    return kHugeMiB / std::chrono::duration<double>(Clock::now() - start).count();
}

void tiles_4_gib(benchmark::State& state)
{
    std::vector<uint8_t> row(kHugeLine, 7);
    for ([[maybe_unused]] auto _ : state) {
        double file_rate = 0;
        {
            StorageFile file;
            if (!storage_file::open(file)) {
                state.SkipWithError("no file");
                return;
            }
            const auto at = [](int32_t y) { return static_cast<uint64_t>(y) * kHugeLine; };
            const double written =
                huge_rate([&](int32_t y) { storage_file::write_at(file, at(y), row.data(), kHugeLine); });
            const double read =
                huge_rate([&](int32_t y) { storage_file::read_at(file, at(y), row.data(), kHugeLine); });
            file_rate = 2 / (1 / written + 1 / read);
            storage_file::close(file);
        }
        Bitmap bitmap(TYPE_TILED, static_cast<int32_t>(kHugeLine), kHugeRows, 8);
        if (!bitmap.ok) {
            state.SkipWithError("no tiles");
            return;
        }
        const double before = process_mib("VmRSS");
        double most = 0;
        const auto watch = [&](int32_t y) {
            if (y % 1024 == 0)
                most = std::max(most, process_mib("VmRSS") - before);
        };
        const double written = huge_rate([&](int32_t y) {
            V_PutBitmapRow(&bitmap.handle, row.data(), y, kHugeLine);
            watch(y);
        });
        const double read = huge_rate([&](int32_t y) {
            V_GetBitmapRow(&bitmap.handle, row.data(), y, kHugeLine);
            watch(y);
        });
        const double rate = 2 / (1 / written + 1 / read);
        state.SetIterationTime(2 * kHugeMiB / rate);
        state.counters["write MiB/s"] = written;
        state.counters["read MiB/s"] = read;
        state.counters["x_file"] = rate / file_rate;
        state.counters["resident MiB"] = most;
    }
}

BENCHMARK(tiles_4_gib)->UseManualTime()->Unit(benchmark::kSecond)->Iterations(1);

} // namespace
